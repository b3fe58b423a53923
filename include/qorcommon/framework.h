// Start-up and shut-down of the library, and the handles through which modules reach it.
//
//     int main() {
//         QOR::Instance* host = QOR::init("orvane.cfg", ModuleInfo("app", "exe", Version(1, 0)),
//                                         {});
//         GC<Logger> logger = host->globals()->getLoggingHandler()->getLogger(host->moduleInfo());
//         ...
//         QOR::deinit();
//     }
#pragma once

#include "qorcommon/confighandler.h"
#include "qorcommon/export.h"
#include "qorcommon/feature.h"
#include "qorcommon/gc.h"
#include "qorcommon/globals.h"
#include "qorcommon/module.h"
#include "qorcommon/moduleinfo.h"
#include "qorcommon/privateptr.h"
#include "qorcommon/version.h"

#include <cstdint>
#include <list>

namespace Orvane {
namespace Core {
namespace QOR {

/// A module's handle on the framework. Instances are made and deleted by the framework
/// (QOR::init, QOR::registerModule, QOR::unregisterModule, QOR::deinit).
/// Thread safety: thread-safe.
class QORCOMMON_API Instance {
public:
    Instance(const Instance&) = delete;
    Instance& operator=(const Instance&) = delete;

    Globals* globals() const;
    /// The module behind the instance; null for a plain instance made from a ModuleInfo.
    Module* module() const;
    const ModuleInfo& moduleInfo() const;
    /// The host's module information.
    ModuleInfo hostModuleInfo() const;
    /// Registers a feature with the framework; false when a feature with the same unique id is
    /// registered already (the first registration wins). The instance keeps the ids it
    /// registered, and its features leave the table when it is unregistered.
    bool registerFeature(const GC<Feature>& feature);
    /// The unique ids of the features registered through this instance, in registration order.
    std::list<std::int64_t> registeredFeatureIds() const;

private:
    friend class Globals;
    Instance(Globals* globals, Module* module, const ModuleInfo& info);
    ~Instance();
    struct Private;
    Private* d;
};

/// Starts the library unless it is started, and returns the host's instance. A null `base`
/// builds the default configuration chain. A second call while started makes nothing and returns
/// the same instance; one deinit() stops the library for every caller. A failed start-up is
/// shown (Result::showError) and still yields an instance.
QORCOMMON_API Instance* init(const GC<ConfigHandler>& base, const ModuleInfo& host,
                             const std::list<GC<Feature>>& features);
/// As above over the configuration file `configFile` (null: the file handler's own path).
QORCOMMON_API Instance* init(const char* configFile, const ModuleInfo& host,
                             const std::list<GC<Feature>>& features);
QORCOMMON_API Instance* init(const ModuleInfo& host, const std::list<GC<Feature>>& features);
/// Keeps `client` (Globals::client) and starts as above with an empty host ModuleInfo.
QORCOMMON_API Instance* init(Client* client, const char* configFile);
/// Stops the library: disposes the module instances, unloads the plug-ins, deletes the Globals,
/// closes the GUI provider, and stops the thread-local variable collector (the last also when
/// the library was never started).
QORCOMMON_API void deinit();
/// Whether the library is started (false while start-up still runs).
QORCOMMON_API bool isInitialized();
/// The running Globals; null when the library is not started or start-up still runs (features
/// reach theirs through Feature::globals()).
QORCOMMON_API Globals* globals();

/// Registers a module (starting the library first when needed) and registers its features.
/// A module whose unique id is registered already gets a further instance of the entry made
/// first; the entry leaves the table with its last instance.
QORCOMMON_API Instance* registerModule(Module* module);
QORCOMMON_API Instance* registerModule(const ModuleInfo& info);
/// Deletes an instance made by registerModule; the features it registered leave the table.
QORCOMMON_API void unregisterModule(Instance* instance);

/// The library's version, 3.35.4.
QORCOMMON_API Version getVersion();

} // namespace QOR
} // namespace Core
} // namespace Orvane
