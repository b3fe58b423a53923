#include "qorcommon/libraryservices.h"

#include "qorcommon/export.h"
#include "qorcommon/mutex.h"
#include "qorcommon/version.h"

#include "platform/platform.h"

#include <utility>

namespace Orvane {
namespace Core {
namespace QOR {

namespace {

struct Slots {
    Platform::Mutex mutex;
    GC<ConfigHandler> configHandler;
    LoadedModulesProvider modulesProvider;
};

Slots& slots() {
    // Never destroyed: loggers may still expand templates during static destruction.
    static Slots* instance = new Slots;
    return *instance;
}

} // namespace

void setLibraryConfigHandler(const GC<ConfigHandler>& handler) {
    Slots& s = slots();
    // The old chain is let go outside the lock, in case that destroys it.
    GC<ConfigHandler> previous;
    ScopedLock<Platform::Mutex> lock(s.mutex);
    previous = s.configHandler;
    s.configHandler = handler;
    lock.unlock();
}

GC<ConfigHandler> libraryConfigHandler() {
    Slots& s = slots();
    ScopedLock<Platform::Mutex> lock(s.mutex);
    return s.configHandler;
}

void setLoadedModulesProvider(LoadedModulesProvider provider) {
    Slots& s = slots();
    // The old provider is destroyed with the parameter, outside the lock.
    ScopedLock<Platform::Mutex> lock(s.mutex);
    std::swap(s.modulesProvider, provider);
    lock.unlock();
}

std::list<ModuleInfo> loadedModules() {
    Slots& s = slots();
    ScopedLock<Platform::Mutex> lock(s.mutex);
    LoadedModulesProvider provider = s.modulesProvider;
    lock.unlock();
    if (provider) return provider();
    return std::list<ModuleInfo>{getModuleInfo()};
}

const ModuleInfo& getModuleInfo() {
    static const ModuleInfo info(
        QORCOMMON_LIBRARY_NAME, "dll",
        Version(QORCOMMON_VERSION_MAJOR, QORCOMMON_VERSION_MINOR, QORCOMMON_VERSION_PATCH));
    return info;
}

} // namespace QOR
} // namespace Core
} // namespace Orvane
