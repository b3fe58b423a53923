#include "qorcommon/errorinfocollectorfeature.h"

namespace Orvane {
namespace Core {
namespace QOR {

DummyErrorInfoCollectorFeature::DummyErrorInfoCollectorFeature() = default;
DummyErrorInfoCollectorFeature::~DummyErrorInfoCollectorFeature() = default;

const char* DummyErrorInfoCollectorFeature::typeName() const {
    return "Orvane::Core::QOR::DummyErrorInfoCollectorFeature";
}

const char* DummyErrorInfoCollectorFeature::name() const {
    return "dummy";
}

NameInfo DummyErrorInfoCollectorFeature::nameInfo() {
    return NameInfo("Dummy Error Info Collector",
                    "Keeps no error records; the registered listeners are still told of every "
                    "error.");
}

GC<ErrorInfoCollector> DummyErrorInfoCollectorFeature::createObject(const GC<ConfigHandler>&) {
    return makeGC<DummyErrorInfoCollector>();
}

} // namespace QOR
} // namespace Core
} // namespace Orvane
