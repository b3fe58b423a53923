// The feature of the collector that keeps nothing: named "dummy", of type "error_info_collector",
// so a configuration can ask for it by name (GLOBAL/ERROR_INFO_COLLECTOR=dummy).
#pragma once

#include "qorcommon/errorinfocollector.h"
#include "qorcommon/export.h"
#include "qorcommon/feature.h"

namespace Orvane {
namespace Core {
namespace QOR {

/// Makes DummyErrorInfoCollector objects; the configuration is not read.
/// Thread safety: thread-safe.
class QORCOMMON_API DummyErrorInfoCollectorFeature : public ErrorInfoCollectorFeature {
public:
    DummyErrorInfoCollectorFeature();
    ~DummyErrorInfoCollectorFeature() override;

    const char* typeName() const override;
    /// "dummy".
    const char* name() const override;
    /// "Dummy Error Info Collector", with a one-line description.
    NameInfo nameInfo() override;
    GC<ErrorInfoCollector> createObject(const GC<ConfigHandler>& config) override;
};

} // namespace QOR
} // namespace Core
} // namespace Orvane
