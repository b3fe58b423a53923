// A plug-in made from C callbacks (qor_Plugin_Callbacks of qorcommon/c/plugin.h).
#pragma once

#include "qorcommon/export.h"
#include "qorcommon/plugin.h"

#include <list>

struct qor_Plugin_Callbacks;

namespace Orvane {
namespace Core {
namespace CWrapper {

/// A plug-in whose identity, features and configuration definition come from C callbacks.
/// Thread safety: the framework calls it from the starting thread.
class QORCOMMON_API CPlugin : public QOR::Plugin {
public:
    /// Copies `cbs` (of a supported revision); `userData` goes to every callback and to the
    /// destroy callback when the plug-in is freed.
    CPlugin(const qor_Plugin_Callbacks* cbs, void* userData);
    ~CPlugin() override;

    /// The moduleInfo callback's answer; without one, the check "priv->cbs.moduleInfo" fails
    /// and the identity is empty.
    ModuleInfo moduleInfo() const override;
    /// The features added so far; the first call lets the features callback add its own.
    std::list<GC<QOR::Feature>> features() override;
    GC<ConfigDefinition> configDefinition() override;

    /// Adds a feature to the list that features() returns.
    void addFeature(const GC<QOR::Feature>& feature);

private:
    struct Private;
    Private* priv;
};

} // namespace CWrapper
} // namespace Core
} // namespace Orvane
