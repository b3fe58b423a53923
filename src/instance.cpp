#include "qorcommon/framework.h"

#include "qorcommon/module.h"
#include "qorcommon/globals.h"
#include "qorcommon/mutex.h"

#include <cstdint>
#include <list>

namespace Orvane {
namespace Core {
namespace QOR {

struct Instance::Private {
    Globals* globals;
    Module* module;
    ModuleInfo info;
    mutable Mutex mutex;
    std::list<std::int64_t> featureIds;
};

Instance::Instance(Globals* globals, Module* module, const ModuleInfo& info)
    : d(new Private{globals, module, info, {}, {}}) {}

Instance::~Instance() {
    delete d;
}

Globals* Instance::globals() const {
    return d->globals;
}

Module* Instance::module() const {
    return d->module;
}

const ModuleInfo& Instance::moduleInfo() const {
    return d->info;
}

ModuleInfo Instance::hostModuleInfo() const {
    return d->globals->hostModuleInfo();
}

bool Instance::registerFeature(const GC<Feature>& feature) {
    if (!feature || !d->globals->registerFeature(feature)) return false;
    MutexLocker lock(d->mutex);
    d->featureIds.push_back(feature->uniqueId());
    return true;
}

std::list<std::int64_t> Instance::registeredFeatureIds() const {
    MutexLocker lock(d->mutex);
    return d->featureIds;
}

} // namespace QOR
} // namespace Core
} // namespace Orvane
