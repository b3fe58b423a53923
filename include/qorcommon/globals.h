// The process-wide state of the framework: the configuration chain, the logging handler, the error
// collector, the client registry, the feature table, the registered modules and the loaded
// plug-ins. There is one Globals while the library is started (QOR::init .. QOR::deinit); modules
// reach it through their QOR::Instance.
//
//     GC<ConfigHandler> config = instance->globals()->getConfigHandler();
//     GC<Logger> logger = instance->globals()->getLoggingHandler()->getLogger(info);
#pragma once

#include "qorcommon/clientregistry.h"
#include "qorcommon/configdefinition.h"
#include "qorcommon/confighandler.h"
#include "qorcommon/errorinfo.h"
#include "qorcommon/errorinfocollector.h"
#include "qorcommon/export.h"
#include "qorcommon/feature.h"
#include "qorcommon/gc.h"
#include "qorcommon/logging.h"
#include "qorcommon/logginghandler.h"
#include "qorcommon/module.h"
#include "qorcommon/moduleinfo.h"
#include "qorcommon/result.h"

#include <cstdint>
#include <list>

namespace Orvane {
namespace Core {
namespace QOR {

class Instance;
class Plugin;

/// Services are made on first request by the feature that the configuration names (GLOBAL/
/// CONFIG_HANDLER, LOGGING_HANDLER, ERROR_INFO_COLLECTOR, CLIENT_REGISTRY) and kept until they
/// are replaced or the framework stops; every getter hands out its own counted handle. While
/// start-up runs on one thread, the getters answer other threads with temporary services (the part
/// of the configuration chain made so far, the initial logging handler, a collector that keeps
/// the records for the real one, a default client registry).
/// Thread safety: thread-safe. Once a service exists its getter takes no lock.
class QORCOMMON_API Globals {
public:
    /// Runs the set-up: the initial logging handler, the built-in features, then `features`.
    /// A null `base` lets init() build the base configuration handler.
    Globals(const GC<ConfigHandler>& base, const ModuleInfo& host,
            const std::list<GC<Feature>>& features, Client* client = nullptr);
    Globals(const Globals&) = delete;
    Globals& operator=(const Globals&) = delete;
    /// Lets go of every service; deinit() should have run.
    ~Globals();

    /// Start-up with the configuration file `configFile` (null or empty: the file handler's
    /// own path). Never stops early: every failure is recorded (addErrorInfo) and start-up goes
    /// on; the result is the first failure, if any.
    Result init(const char* configFile);
    /// Disposes the module instances still registered, then detaches and unloads the plug-ins,
    /// writing each stage to standard error.
    void deinit();

    // ---- services ------------------------------------------------------------------------------

    /// The complete configuration chain; never null.
    GC<ConfigHandler> getConfigHandler();
    GC<LoggingHandler> getLoggingHandler();
    GC<ErrorInfoCollector> getErrorInfoCollector();
    /// Null only when not even the default registry can be made.
    GC<ClientRegistry> getClientRegistry();
    /// The GLOBAL entries that the framework reads.
    GC<ConfigDefinition> getConfigDefinition();
    /// Replaces the logging handler; the framework's logging listener moves along. Null is
    /// refused.
    void setLoggingHandler(const GC<LoggingHandler>& handler);
    /// Replaces the collector; null is refused.
    void setErrorInfoCollector(const GC<ErrorInfoCollector>& collector);
    /// Replaces the client registry; null is refused.
    void setClientRegistry(const GC<ClientRegistry>& registry);

    // ---- features, modules, plug-ins ----------------------------------------------------------

    /// The registered features of `type`, in the order of their unique ids.
    std::list<GC<Feature>> getFeatures(const char* type) const;
    /// The feature of `type` and `name`; null when none is registered.
    GC<Feature> getFeature(const char* type, const char* name) const;
    /// Enters `feature` into the table; false (table unchanged) when a feature with its unique id
    /// is registered already: the first registration wins.
    bool registerFeature(const GC<Feature>& feature);
    /// The modules registered through QOR::registerModule(Module*) and the attached plug-ins.
    std::list<Module*> getModules() const;
    std::list<Plugin*> getPlugins() const;
    /// The client given to QOR::init(Client*, ...); null otherwise.
    Client* client() const;
    /// The host's module information (completed by start-up).
    ModuleInfo hostModuleInfo() const;
    /// The ModuleInfo of every registered module instance, the library's first.
    std::list<ModuleInfo> loadedModuleInfos() const;

    // ---- errors, registration, listeners ------------------------------------------------------

    /// Hands a record to the collector; records of start-up wait for the collector and reach it
    /// when it is made.
    void addErrorInfo(const ErrorInfo& errorInfo);
    /// Registers the library, the host and every plug-in with the client registry. Failures are
    /// recorded with addErrorInfo; the result is the first one.
    Result doClientRegistration();
    /// Adds a listener that hears every entry of the framework's logging handler, whichever
    /// handler that is now or later. False when it is registered already or null.
    bool registerLoggingListener(const GC<LoggingListener>& listener);
    bool unregisterLoggingListener(const GC<LoggingListener>& listener);

    /// True while init() runs.
    bool isInitializing() const;

    // ---- instances (QOR::init, QOR::registerModule and QOR::unregisterModule use these) -------

    /// The host's instance, made on the first call.
    Instance* hostInstance();
    /// A new instance of `module`, whose features are registered through it. A unique id that is
    /// registered already gives a further instance of the module entered first (see
    /// QOR::registerModule).
    Instance* registerModule(Module* module);
    /// A new plain instance for `info`.
    Instance* registerModule(const ModuleInfo& info);
    /// Removes an instance made by registerModule and the features it registered; unknown
    /// pointers are ignored.
    void unregisterModule(Instance* instance);

private:
    friend class Instance;
    struct Private;
    Private* d;
};

} // namespace QOR
} // namespace Core
} // namespace Orvane
