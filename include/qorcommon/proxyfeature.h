// Features made from C callback tables (qor_Feature_Callbacks of qorcommon/c/feature.h).
//
// ProxyFeature answers every question by calling the table. A C feature can make services only
// of a type that the C face can build and hand over as a handle: configuration handlers. Such a
// feature is registered through ProxyConfigHandlerFeature, a ConfigHandlerFeature over the
// proxy, so that the framework finds it as it finds any configuration-handler feature;
// makeCFeature chooses.
#pragma once

#include "qorcommon/export.h"
#include "qorcommon/feature.h"

#include <cstdint>

struct qor_Feature_Callbacks;

namespace Orvane {
namespace Core {
namespace CWrapper {

/// A feature whose operations call C callbacks.
/// Thread safety: as thread-safe as the callbacks.
class QORCOMMON_API ProxyFeature : public QOR::Feature {
public:
    /// Copies `cbs` (of a supported revision); `userData` goes to every callback and to the
    /// destroy callback when the feature is freed.
    ProxyFeature(const qor_Feature_Callbacks* cbs, void* userData);
    ~ProxyFeature() override;

    const char* typeName() const override;
    /// The callbacks' answers; a missing callback fails the check "priv->cbs.<entry>" and gives
    /// "" (name, type), the name alone (nameInfo) or toUniqueId(type(), name()) (uniqueId).
    const char* name() const override;
    const char* type() const override;
    NameInfo nameInfo() override;
    std::int64_t uniqueId() const override;

    /// Whether the table has a createObject callback.
    bool canCreateObjects() const;
    /// A handler made by the createObject callback over `chain`; null when there is no such
    /// callback, the feature is not of the type "config_handler" or the callback made nothing.
    GC<ConfigHandler> createConfigHandler(const GC<ConfigHandler>& chain);
    void* userData() const;

private:
    struct Private;
    Private* priv;
};

/// A C "config_handler" feature as the framework sees configuration-handler features: every
/// operation is the proxy's.
/// Thread safety: as the proxy.
class QORCOMMON_API ProxyConfigHandlerFeature : public QOR::ConfigHandlerFeature {
public:
    explicit ProxyConfigHandlerFeature(const GC<ProxyFeature>& proxy);
    ~ProxyConfigHandlerFeature() override;

    const char* typeName() const override;
    const char* name() const override;
    const char* type() const override;
    NameInfo nameInfo() override;
    std::int64_t uniqueId() const override;
    GC<ConfigHandler> createObject(const GC<ConfigHandler>& chain) override;
    const GC<ProxyFeature>& proxy() const;

private:
    GC<ProxyFeature> m_proxy;
};

/// The feature for a C table: a ProxyConfigHandlerFeature when the table's type is
/// "config_handler" and it has a createObject callback, otherwise the ProxyFeature itself.
QORCOMMON_API GC<QOR::Feature> makeCFeature(const qor_Feature_Callbacks* cbs, void* userData);

} // namespace CWrapper
} // namespace Core
} // namespace Orvane
