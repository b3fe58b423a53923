// Process-wide slots through which the framework hands its services to the rest of the library:
// the configuration chain and the logging handler of the library instance, and the list of
// loaded modules. Start-up fills
// them and shut-down empties them; until then they answer as an uninitialised library does.
// Every function is safe to call from any thread.
#pragma once

#include "qorcommon/confighandler.h"
#include "qorcommon/export.h"
#include "qorcommon/gc.h"
#include "qorcommon/logginghandler.h"
#include "qorcommon/moduleinfo.h"

#include <functional>
#include <list>

namespace Orvane {
namespace Core {
namespace QOR {

/// Sets the configuration chain of the library instance (null: not initialised).
QORCOMMON_API void setLibraryConfigHandler(const GC<ConfigHandler>& handler);
/// The configuration chain of the library instance; null before initialisation.
QORCOMMON_API GC<ConfigHandler> libraryConfigHandler();

/// Sets the logging handler of the library instance (null: not initialised).
QORCOMMON_API void setLibraryLoggingHandler(const GC<LoggingHandler>& handler);
/// The logging handler of the library instance; null before initialisation.
QORCOMMON_API GC<LoggingHandler> libraryLoggingHandler();

using LoadedModulesProvider = std::function<std::list<ModuleInfo>()>;
/// Sets the function that lists the loaded modules (an empty function removes it). It is called
/// without any lock of the library held.
QORCOMMON_API void setLoadedModulesProvider(LoadedModulesProvider provider);
/// The loaded modules as the provider lists them; without a provider, the library itself.
QORCOMMON_API std::list<ModuleInfo> loadedModules();

/// The library's own module: name "QorCommon3", type "dll" (on every platform, so that the id is
/// the same everywhere), version 3.35.4, and the id that name and type give
/// (ModuleInfo::makeUniqueId).
QORCOMMON_API const ModuleInfo& getModuleInfo();

} // namespace QOR
} // namespace Core
} // namespace Orvane
