#include "qorcommon/globals.h"

#include "qorcommon/applicationinfo.h"
#include "qorcommon/assertion.h"
#include "qorcommon/builtinfeatures.h"
#include "qorcommon/envconfighandler.h"
#include "qorcommon/errorinfocollectorfeature.h"
#include "qorcommon/fileinfo.h"
#include "qorcommon/framework.h"
#include "qorcommon/guiprovider.h"
#include "qorcommon/libraryservices.h"
#include "qorcommon/loggingclientregistry.h"
#include "qorcommon/memoryconfighandler.h"
#include "qorcommon/mutex.h"
#include "qorcommon/orvanecfgconfighandler.h"
#include "qorcommon/orvanelogginghandler.h"
#include "qorcommon/plugin.h"
#include "qorcommon/string.h"
#include "qorcommon/threadmanagedobject.h"

#include "serviceslot.h"

#include <algorithm>
#include <atomic>
#include <cstdio>
#include <map>
#include <memory>
#include <string>
#include <thread>
#include <utility>
#include <vector>

namespace Orvane {
namespace Core {
namespace QOR {

namespace {

const char* const kBaseConfigHandlerPath = "GLOBAL/BASE_CONFIG_HANDLER";
const char* const kConfigHandlerPath = "GLOBAL/CONFIG_HANDLER";
const char* const kLoggingHandlerPath = "GLOBAL/LOGGING_HANDLER";
const char* const kErrorInfoCollectorPath = "GLOBAL/ERROR_INFO_COLLECTOR";
const char* const kClientRegistryPath = "GLOBAL/CLIENT_REGISTRY";
const char* const kGuiPluginPath = "GLOBAL/GUI_PLUGIN";
const char* const kCoreEncodingPath = "GLOBAL/CORE_ENCODING";
const char* const kAppNamePath = "GLOBAL/APP_NAME";
const char* const kAppTypePath = "GLOBAL/APP_TYPE";
const char* const kAppVersionPath = "GLOBAL/APP_VERSION";
const char* const kPluginDirPath = "GLOBAL/PLUGIN_DIR";
const char* const kPluginsPath = "GLOBAL/PLUGINS";
const char* const kGcIntervalPath = "GLOBAL/THREAD_OBJECT_GC_INTERVAL";

/// The default client registry's feature name.
const char* const kDefaultClientRegistry = "logging";
/// The feature made when no logging handler is configured.
const char* const kDefaultLoggingHandler = "orvanelog";

std::string trimmed(const std::string& text) {
    String s(text);
    s.trim();
    return s.str();
}

/// The value of `path` in `config`, trimmed; "" when there is none.
std::string entryOf(const GC<ConfigHandler>& config, const char* path) {
    std::string value;
    if (!config || !config->getEntryAsString(path, value)) return std::string();
    return trimmed(value);
}

/// "{0}" of `pattern` replaced by `value`.
std::string withName(const char* pattern, const std::string& value) {
    return String(pattern).a(value).str();
}

/// A record of the framework: the library as origin, the given place.
ErrorInfo frameworkError(const std::string& text, const std::string& hint,
                         const CodeLocation& location) {
    return ErrorInfo(getModuleInfo(), location, -1, text, hint);
}

/// One diagnostic line of shut-down, written at once.
void diagnostic(const std::string& line) {
    std::fprintf(stderr, "%s\n", line.c_str());
    std::fflush(stderr);
}

/// The feature of `type` and `name` as the concrete feature base F, or null.
template <class F> F* featureAs(const GC<Feature>& feature) {
    return dynamic_cast<F*>(feature.ptr());
}

/// Hands every entry on to the listeners registered with the framework, so that they stay
/// attached when the logging handler is replaced.
class FrameworkLoggingListener : public LoggingListener {
public:
    using List = std::vector<GC<LoggingListener>>;

    const char* typeName() const override { return "Orvane::Core::QOR::FrameworkLoggingListener"; }

    void onLogEntry(const std::string& loggerName, Logger::Priority prio, const LogEntry& entry,
                    const StringList& stack, const DateTime& timestamp, double diff) override {
        std::shared_ptr<const List> listeners = snapshot();
        if (!listeners) return;
        for (const GC<LoggingListener>& listener : *listeners)
            listener->onLogEntry(loggerName, prio, entry, stack, timestamp, diff);
    }

    bool add(const GC<LoggingListener>& listener) {
        MutexLocker lock(m_mutex);
        List next = m_listeners ? *m_listeners : List();
        if (std::find(next.begin(), next.end(), listener) != next.end()) return false;
        next.push_back(listener);
        m_listeners = std::make_shared<const List>(std::move(next));
        return true;
    }

    bool remove(const GC<LoggingListener>& listener) {
        std::shared_ptr<const List> previous;
        MutexLocker lock(m_mutex);
        if (!m_listeners) return false;
        List next = *m_listeners;
        auto found = std::find(next.begin(), next.end(), listener);
        if (found == next.end()) return false;
        next.erase(found);
        previous = std::move(m_listeners);
        m_listeners = std::make_shared<const List>(std::move(next));
        lock.unlock();
        return true;
    }

private:
    std::shared_ptr<const List> snapshot() const {
        MutexLocker lock(m_mutex);
        return m_listeners;
    }

    mutable Mutex m_mutex;
    std::shared_ptr<const List> m_listeners;
};

} // namespace

/// The collector that answers other threads while start-up runs: it hands every record to
/// Globals::addErrorInfo, which keeps it for the real collector, so nothing is lost and listeners
/// hear each record once, when the real collector takes it.
class StartupErrorInfoCollector : public ErrorInfoCollector {
public:
    explicit StartupErrorInfoCollector(Globals* globals) : m_globals(globals) {}
    const char* typeName() const override { return "Orvane::Core::QOR::StartupErrorInfoCollector"; }
    Result add(const ErrorInfo& errorInfo, const ModuleInfo& moduleInfo,
               const CodeLocation& codeLocation) override {
        return storeErrorInfo(errorInfo, moduleInfo, codeLocation);
    }

protected:
    Result storeErrorInfo(const ErrorInfo& errorInfo, const ModuleInfo& moduleInfo,
                          const CodeLocation& codeLocation) override {
        ErrorInfo record(errorInfo);
        record.setModuleInfo(moduleInfo);
        if (record.codeLocation().isEmpty()) record.setCodeLocation(codeLocation);
        m_globals->addErrorInfo(record);
        return true;
    }

private:
    Globals* m_globals;
};

// ---- Instance -----------------------------------------------------------------------------------

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

// ---- Globals: state -----------------------------------------------------------------------------

struct Globals::Private {
    struct ModuleEntry {
        ModuleInfo info;
        Module* module = nullptr;
        std::list<Instance*> instances;
    };

    explicit Private(Client* c) : client(c) {}

    Client* client;
    /// The base handler passed to the constructor, or the one init made.
    GC<ConfigHandler> baseConfigHandler;
    GC<LoggingHandler> initialLoggingHandler;
    GC<FrameworkLoggingListener> loggingListener{new FrameworkLoggingListener};
    /// The default client registry's feature, told the host and the logging handler once known.
    GC<LoggingClientRegistryFeature> registryFeature{new LoggingClientRegistryFeature};

    Internal::ServiceSlot<ConfigHandler> configHandler;
    /// The chain as far as it is made, for the answers during start-up.
    Internal::ServiceSlot<ConfigHandler> partialChain;
    Internal::ServiceSlot<LoggingHandler> loggingHandler;
    Internal::ServiceSlot<ErrorInfoCollector> collector;
    Internal::ServiceSlot<ClientRegistry> clientRegistry;
    /// Serialises the making of services (recursive: a feature may ask for another service).
    RecursiveMutex serviceMutex;

    /// Guards everything below.
    mutable Mutex stateMutex;
    ModuleInfo host;
    std::map<std::int64_t, GC<Feature>> features;
    std::map<std::uint64_t, ModuleEntry> modules;
    /// Every instance made by registerModule, in registration order.
    std::list<Instance*> instances;
    Instance* hostInstance = nullptr;
    std::list<std::unique_ptr<PluginHolder>> plugins;
    /// Records waiting for the collector.
    std::list<ErrorInfo> gathered;

    Semaphore init_sem{1, 1};
    std::atomic<bool> initializing{false};
    std::atomic<std::thread::id> initThread{};

    void registerClientListeners(const GC<ErrorInfoCollector>& target) {
        if (!client || !target) return;
        for (ErrorInfoCollectorListener* listener : client->getErrorInfoCollectorListners())
            target->registerListener(listener);
    }

    /// True while start-up runs on another thread than the caller's.
    bool initializingElsewhere() const {
        return initializing.load() && initThread.load() != std::this_thread::get_id();
    }
};

Globals::Globals(const GC<ConfigHandler>& base, const ModuleInfo& host,
                 const std::list<GC<Feature>>& features, Client* client)
    : d(new Private(client)) {
    d->baseConfigHandler = base;
    d->host = host;

    // The handler that serves until the configured one is made: built-in settings, the log file
    // in the current directory.
    GC<OrvaneLoggingSettings> settings(new OrvaneLoggingSettings);
    settings->setLogFile(FileInfo::join(FileInfo::currentDir(), "orvane.log"));
    GC<OrvaneLoggingHandler> initial(new OrvaneLoggingHandler(settings));
    initial->init();
    d->initialLoggingHandler = initial;
    Logging::setInitialHandler(d->initialLoggingHandler);

    for (const GC<Feature>& feature : builtinFeatures())
        registerFeature(feature);
    registerFeature(d->registryFeature);
    registerFeature(GC<Feature>(new DummyErrorInfoCollectorFeature));
    for (const GC<Feature>& feature : features)
        registerFeature(feature);
}

Globals::~Globals() {
    std::list<Instance*> instances;
    std::list<std::unique_ptr<PluginHolder>> plugins;
    Instance* host = nullptr;
    {
        MutexLocker lock(d->stateMutex);
        instances.swap(d->instances);
        plugins.swap(d->plugins);
        host = d->hostInstance;
        d->hostInstance = nullptr;
        d->modules.clear();
    }
    for (Instance* instance : instances)
        delete instance;
    delete host;
    // Services may come from plug-ins: they go before the plug-in libraries.
    d->configHandler.clear();
    d->partialChain.clear();
    d->loggingHandler.clear();
    d->collector.clear();
    d->clientRegistry.clear();
    d->baseConfigHandler = GC<ConfigHandler>();
    d->registryFeature->setLoggingHandler(GC<LoggingHandler>());
    {
        MutexLocker lock(d->stateMutex);
        d->features.clear();
    }
    while (!plugins.empty()) {
        plugins.back()->unload();
        plugins.pop_back();
    }
    delete d;
}

// ---- start-up -----------------------------------------------------------------------------------

Result Globals::init(const char* configFile) {
    const CodeLocation here("Orvane::Core::QOR::Globals::init", CodeLocation::Plain);
    if (!d->init_sem.acquire()) QOR_ASSERT_FAILED("priv->init_sem.wait()");
    d->initThread.store(std::this_thread::get_id());
    d->initializing.store(true);

    Result result(true);
    auto record = [&](const ErrorInfo& error) {
        ErrorInfo stamped(error);
        if (stamped.moduleInfo().isEmpty()) stamped.setModuleInfo(getModuleInfo());
        addErrorInfo(stamped);
        if (result.isOk()) result = Result(stamped);
    };

    // The base of the chain: the command line may name it, else the configuration file.
    GC<ConfigHandler> base = d->baseConfigHandler;
    if (!base) {
        GC<ConfigHandler> commandLine(new CLAConfigHandler(GC<ConfigHandler>()));
        const std::string name = entryOf(commandLine, kBaseConfigHandlerPath);
        if (!name.empty()) {
            auto* feature =
                featureAs<ConfigHandlerFeature>(getFeature("config_handler", name.c_str()));
            if (feature) base = feature->createObject(GC<ConfigHandler>());
            if (!base)
                record(frameworkError("cannot create base config handler",
                                      withName("base_config_handler_name='{0}'", name), here));
        }
        if (!base) {
            if (configFile && *configFile) OrvanecfgConfigHandler::setOrvanecfgPath(configFile);
            GC<OrvanecfgConfigHandler> file(new OrvanecfgConfigHandler());
            if (!file->init()) record(file->getLastErrorInfo());
            base = file;
        }
        if (!base) QOR_ASSERT_FAILED("priv->baseConfigHandler");
        d->baseConfigHandler = base;
    }
    d->partialChain.exchange(base);

    long interval = 0;
    if (base->getLongEntry(kGcIntervalPath, interval)) {
        if (ThreadManagedObjectGC* gc = ensureThreadLocalVariableGC()) gc->setPeriod(interval);
    }

    const Result gui = initGuiProvider(entryOf(base, kGuiPluginPath));
    if (!gui) {
        ErrorInfo error = gui.errorInfo();
        if (error.errorText().empty()) error.setErrorText("cannot initialize GUI handler");
        error.setModuleInfo(getModuleInfo());
        record(error);
    }

    std::string encoding;
    if (base->getEntryAsString(kCoreEncodingPath, encoding)) {
        String word(encoding);
        word.trim();
        word.toLower();
        if (word.str() == "utf8") {
            String::setCoreEncoding(String::UTF8);
        } else if (word.str() == "locale") {
            String::setCoreEncoding(String::Locale);
        } else {
            record(frameworkError(withName("unexpected CORE_ENCODING definition: '{0}'", encoding),
                                  std::string(), here));
        }
    }

    {
        MutexLocker lock(d->stateMutex);
        const bool fill = d->host.isEmpty();
        lock.unlock();
        if (fill) {
            std::string name = entryOf(base, kAppNamePath);
            std::string version = entryOf(base, kAppVersionPath);
            std::string type = entryOf(base, kAppTypePath);
            if (name.empty()) name = ApplicationInfo::executableName();
            if (version.empty()) version = ApplicationInfo::version();
            if (type.empty()) type = ApplicationInfo::executableExtension();
            MutexLocker again(d->stateMutex);
            d->host = ModuleInfo(name, type, Version::fromString(version));
        }
    }

    std::string directory = entryOf(base, kPluginDirPath);
    if (directory == ".\\" || directory == "./") directory.clear();
    StringList names;
    if (base->getEntryAsStringList(kPluginsPath, names)) {
        for (const std::string& entry : names) {
            const std::string name = trimmed(entry);
            if (name.empty()) continue;
            auto holder = std::make_unique<PluginHolder>(directory, name);
            const Result loaded = holder->load();
            if (!loaded) {
                record(loaded.errorInfo());
                continue;
            }
            Plugin* plugin = holder->plugin();
            {
                MutexLocker lock(d->stateMutex);
                d->plugins.push_back(std::move(holder));
            }
            if (plugin) registerModule(plugin);
        }
    }

    // The full chain, and the application's identity as the whole chain gives it.
    GC<ConfigHandler> chain = getConfigHandler();
    {
        const std::string name = entryOf(chain, kAppNamePath);
        const std::string version = entryOf(chain, kAppVersionPath);
        const std::string type = entryOf(chain, kAppTypePath);
        MutexLocker lock(d->stateMutex);
        if (!name.empty()) d->host.setName(name);
        if (!version.empty()) d->host.setVersion(Version::fromString(version));
        if (!type.empty()) d->host.setType(type);
        d->registryFeature->setClientInfo(d->host);
    }

    getLoggingHandler();

    // A collector made earlier in start-up (a plug-in may ask for it) gets the client's
    // listeners here; registering one twice changes nothing.
    d->registerClientListeners(getErrorInfoCollector());

    setLoadedModulesProvider([this] { return loadedModuleInfos(); });

    d->initializing.store(false);
    d->initThread.store(std::thread::id());
    if (!d->init_sem.release()) QOR_ASSERT_FAILED("priv->init_sem.post()");
    return result;
}

void Globals::deinit() {
    diagnostic("QorCommon deinit...");
    diagnostic("force dispose...");
    for (;;) {
        Instance* last = nullptr;
        {
            MutexLocker lock(d->stateMutex);
            if (d->instances.empty()) break;
            last = d->instances.back();
        }
        const std::string text = last->moduleInfo().asString().str();
        diagnostic("disposing " + text + "...");
        unregisterModule(last);
        diagnostic("disposing " + text + "... ..done");
    }
    diagnostic("force dispose... ..done");

    // The library's own slots and every service let go before any plug-in code is unloaded.
    setLoadedModulesProvider(LoadedModulesProvider());
    setLibraryConfigHandler(GC<ConfigHandler>());
    setLibraryLoggingHandler(GC<LoggingHandler>());
    Logging::setInitialHandler(GC<LoggingHandler>());
    if (GC<LoggingHandler> handler = d->loggingHandler.get())
        handler->loggerHelper()->unregisterListener(d->loggingListener);
    d->configHandler.clear();
    d->partialChain.clear();
    d->loggingHandler.clear();
    d->collector.clear();
    d->clientRegistry.clear();
    d->baseConfigHandler = GC<ConfigHandler>();
    d->registryFeature->setLoggingHandler(GC<LoggingHandler>());
    std::list<GC<Feature>> features;
    std::list<std::unique_ptr<PluginHolder>> plugins;
    {
        MutexLocker lock(d->stateMutex);
        // Features of plug-ins are code of the plug-ins.
        for (auto& entry : d->features)
            features.push_back(entry.second);
        d->features.clear();
        plugins.swap(d->plugins);
    }
    features.clear();

    diagnostic("detach plugins...");
    while (!plugins.empty()) {
        plugins.back()->unload();
        plugins.pop_back();
    }
    diagnostic("detach plugins... ..done");
    diagnostic("QorCommon deinit... ..done");
}

bool Globals::isInitializing() const {
    return d->initializing.load();
}

// ---- services -----------------------------------------------------------------------------------

GC<ConfigHandler> Globals::getConfigHandler() {
    if (GC<ConfigHandler> chain = d->configHandler.get()) return chain;
    const CodeLocation here("Orvane::Core::QOR::Globals::getConfigHandler", CodeLocation::Plain);

    if (d->initializingElsewhere()) {
        addErrorInfo(frameworkError(
            "the qorcommon is under initializetion, config handler still cannot be created. the "
            "current part of configuration chain is used temporary",
            std::string(), here));
        GC<ConfigHandler> part = d->partialChain.get();
        if (!part) part = GC<ConfigHandler>(new MemoryConfigHandler());
        return part;
    }

    RecursiveMutexLocker lock(d->serviceMutex);
    if (GC<ConfigHandler> chain = d->configHandler.get()) return chain;
    GC<ConfigHandler> current = d->baseConfigHandler;
    if (!current) {
        // Asked before start-up made the base: an empty source that is not kept.
        QOR_ASSERT_FAILED("!priv->configHandler.isNull()");
        return GC<ConfigHandler>(new MemoryConfigHandler());
    }
    d->partialChain.exchange(current);

    // Each link may name the next. A name equal to the one just applied means that the new head
    // names nothing of its own (the answer came from further down): the chain is complete. Any
    // other name applied before would loop: it is recorded and the walk ends.
    std::vector<std::string> applied;
    for (;;) {
        const std::string name = entryOf(current, kConfigHandlerPath);
        if (name.empty() || (!applied.empty() && applied.back() == name)) break;
        if (std::find(applied.begin(), applied.end(), name) != applied.end()) {
            std::string path;
            for (const std::string& step : applied)
                path += step + " -> ";
            addErrorInfo(
                frameworkError("config handler cannot be created",
                               withName("config_handler_name='{0}'", name) +
                                   "\nthe configuration handler chain names it a second time (" +
                                   path + name + "); the chain ends before it",
                               here));
            break;
        }
        auto* feature = featureAs<ConfigHandlerFeature>(getFeature("config_handler", name.c_str()));
        GC<ConfigHandler> next = feature ? feature->createObject(current) : GC<ConfigHandler>();
        if (!next) {
            addErrorInfo(frameworkError("config handler cannot be created",
                                        withName("config_handler_name='{0}'", name), here));
            break;
        }
        applied.push_back(name);
        current = next;
        d->partialChain.exchange(current);
    }
    d->configHandler.exchange(current);
    setLibraryConfigHandler(current);
    return current;
}

GC<LoggingHandler> Globals::getLoggingHandler() {
    if (GC<LoggingHandler> handler = d->loggingHandler.get()) return handler;
    if (d->initializingElsewhere()) return d->initialLoggingHandler;

    const CodeLocation here("Orvane::Core::QOR::Globals::getLoggingHandler", CodeLocation::Plain);
    RecursiveMutexLocker lock(d->serviceMutex);
    if (GC<LoggingHandler> handler = d->loggingHandler.get()) return handler;
    GC<ConfigHandler> config = getConfigHandler();
    const std::string configured = entryOf(config, kLoggingHandlerPath);
    const std::string name = configured.empty() ? kDefaultLoggingHandler : configured;
    auto* feature = featureAs<LoggingHandlerFeature>(getFeature("logging_handler", name.c_str()));
    GC<LoggingHandler> handler = feature ? feature->createObject(config) : GC<LoggingHandler>();
    if (!handler) {
        addErrorInfo(frameworkError(
            "logging handler cannot be created",
            withName("logging_handler_name='{0}'\nthe default logging handler will be used", name),
            here));
        handler = d->initialLoggingHandler;
    }
    setLoggingHandler(handler);
    return handler;
}

GC<ErrorInfoCollector> Globals::getErrorInfoCollector() {
    if (GC<ErrorInfoCollector> collector = d->collector.get()) return collector;
    if (d->initializingElsewhere())
        return GC<ErrorInfoCollector>(new StartupErrorInfoCollector(this));

    const CodeLocation here("Orvane::Core::QOR::Globals::getErrorInfoCollector",
                            CodeLocation::Plain);
    RecursiveMutexLocker lock(d->serviceMutex);
    if (GC<ErrorInfoCollector> collector = d->collector.get()) return collector;
    GC<ConfigHandler> config = getConfigHandler();
    const std::string name = entryOf(config, kErrorInfoCollectorPath);
    GC<ErrorInfoCollector> collector;
    if (!name.empty()) {
        auto* feature =
            featureAs<ErrorInfoCollectorFeature>(getFeature("error_info_collector", name.c_str()));
        if (feature) collector = feature->createObject(config);
        if (!collector)
            addErrorInfo(frameworkError("error info collector cannot be created",
                                        withName("error_info_collector_name='{0}'", name), here));
    }
    if (!collector) collector = GC<ErrorInfoCollector>(new DummyErrorInfoCollector);
    // The client's listeners hear the records of start-up too, which the collector receives now.
    if (d->initializing.load()) d->registerClientListeners(collector);
    setErrorInfoCollector(collector);
    return collector;
}

GC<ClientRegistry> Globals::getClientRegistry() {
    if (GC<ClientRegistry> registry = d->clientRegistry.get()) return registry;
    const CodeLocation here("Orvane::Core::QOR::Globals::getClientRegistry", CodeLocation::Plain);

    auto makeDefault = [&](const GC<ConfigHandler>& config) {
        auto* feature =
            featureAs<ClientRegistryFeature>(getFeature("client_registry", kDefaultClientRegistry));
        GC<ClientRegistry> made = feature ? feature->createObject(config) : GC<ClientRegistry>();
        if (!made)
            addErrorInfo(
                frameworkError("client registry could not be allocated", std::string(), here));
        return made;
    };

    if (d->initializingElsewhere()) {
        GC<ConfigHandler> part = d->partialChain.get();
        addErrorInfo(frameworkError(
            "the qorcommon is under initializetion, the required client registry still cannot be "
            "created",
            withName("client_registry_name='{0}'\nthe default client regitry will be used "
                     "temporary",
                     entryOf(part, kClientRegistryPath)),
            here));
        return makeDefault(part);
    }

    RecursiveMutexLocker lock(d->serviceMutex);
    if (GC<ClientRegistry> registry = d->clientRegistry.get()) return registry;
    GC<ConfigHandler> config = getConfigHandler();
    const std::string name = entryOf(config, kClientRegistryPath);
    GC<ClientRegistry> registry;
    if (!name.empty()) {
        auto* feature =
            featureAs<ClientRegistryFeature>(getFeature("client_registry", name.c_str()));
        if (feature) registry = feature->createObject(config);
        if (!registry)
            addErrorInfo(frameworkError(
                "the required client registry cannot be created",
                withName("client_registry_name='{0}'\nthe default client regitry will be used",
                         name),
                here));
    }
    if (!registry) registry = makeDefault(config);
    if (registry) setClientRegistry(registry);
    return registry;
}

void Globals::setLoggingHandler(const GC<LoggingHandler>& handler) {
    if (!QOR_CHECK(handler)) return;
    GC<LoggingHandler> previous = d->loggingHandler.exchange(handler);
    if (previous == handler) return;
    if (previous) previous->loggerHelper()->unregisterListener(d->loggingListener);
    handler->loggerHelper()->registerListener(d->loggingListener);
    d->registryFeature->setLoggingHandler(handler);
    setLibraryLoggingHandler(handler);
}

void Globals::setErrorInfoCollector(const GC<ErrorInfoCollector>& collector) {
    if (!QOR_CHECK(collector)) return;
    // Under the state lock, so that a record either waits in the list or reaches this collector.
    std::list<ErrorInfo> waiting;
    {
        MutexLocker lock(d->stateMutex);
        d->collector.exchange(collector);
        waiting.swap(d->gathered);
    }
    for (const ErrorInfo& record : waiting)
        collector->add(record, record.moduleInfo(), record.codeLocation());
}

void Globals::setClientRegistry(const GC<ClientRegistry>& registry) {
    if (!QOR_CHECK(registry)) return;
    d->clientRegistry.exchange(registry);
}

GC<ConfigDefinition> Globals::getConfigDefinition() {
    using Entry = ConfigEntryDefinition;
    GC<QORConfig> definition(
        new QORConfig(NameInfo(getModuleInfo().name(), "Global settings of the framework")));
    auto add = [&](const char* path, const char* title, const char* description,
                   Entry::ValueType type, Entry::Multiplicity multiplicity,
                   const StringList& defaults, const char* featureType) {
        GC<QOREntry> entry(
            new QOREntry(path, NameInfo(title, description), type, multiplicity, defaults));
        if (featureType) {
            for (const GC<Feature>& feature : getFeatures(featureType))
                entry->appendAvailableValue(
                    Entry::ValueDefinition(feature->name(), feature->nameInfo()));
        }
        definition->appendEntry(entry);
        return entry;
    };
    const StringList none;
    add(kAppNamePath, "Application Name", "", Entry::StringValue, Entry::SingleValue, none,
        nullptr);
    add(kAppTypePath, "Application Type", "", Entry::StringValue, Entry::SingleValue, none,
        nullptr);
    add(kAppVersionPath, "Application Version", "", Entry::StringValue, Entry::SingleValue, none,
        nullptr);
    add(kBaseConfigHandlerPath, "Base Configuration Handler", "", Entry::StringValue,
        Entry::SingleValue, none, "config_handler");
    add(kConfigHandlerPath, "Configuration Handler",
        "Next configuration handler in configuration handler chain.", Entry::StringValue,
        Entry::SingleValue, none, "config_handler");
    add(kClientRegistryPath, "Client Registry", "", Entry::StringValue, Entry::SingleValue,
        StringList(std::string(kDefaultClientRegistry)), "client_registry");
    GC<QOREntry> encoding =
        add(kCoreEncodingPath, "Core Encoding", "Encoding of core layer strings",
            Entry::StringValue, Entry::SingleValue, none, nullptr);
    encoding->setSelectionPolicy(Entry::OneOfAvailable);
    encoding->appendAvailableValue(Entry::ValueDefinition("utf8", NameInfo("UTF-8", "")));
    encoding->appendAvailableValue(Entry::ValueDefinition(
        "locale", NameInfo("Locale", "Locale string encoding defined by operating system.")));
    add(kErrorInfoCollectorPath, "Error Info Collector", "", Entry::StringValue, Entry::SingleValue,
        none, "error_info_collector");
    add(kGuiPluginPath, "GUI Plugin", "", Entry::FilePathValue, Entry::SingleValue, none, nullptr);
    add(kLoggingHandlerPath, "Logging Handler", "", Entry::StringValue, Entry::SingleValue,
        StringList(std::string(kDefaultLoggingHandler)), "logging_handler");
    add(kPluginsPath, "Core Layer Plugins", "", Entry::StringValue, Entry::MultipleValues, none,
        nullptr);
    add(kPluginDirPath, "Plugin Directory", "", Entry::FilePathValue, Entry::SingleValue, none,
        nullptr);
    add(kGcIntervalPath, "Thread Object GC Intervall (secs)",
        "Interval of runnung of thread managed object's garbage collector", Entry::LongValue,
        Entry::SingleValue, StringList(std::string("60")), nullptr);
    // The settings of every registered feature, as they are registered at the time of asking.
    definition->setGenerator([this] {
        ConfigDefinition::DefinitionList nested;
        for (const GC<Feature>& feature : getFeatures(nullptr)) {
            GC<ConfigDefinition> own = feature->configDefinition();
            if (own) nested.push_back(own);
        }
        return nested;
    });
    return definition;
}

// ---- features, modules, plug-ins ----------------------------------------------------------------

std::list<GC<Feature>> Globals::getFeatures(const char* type) const {
    std::list<GC<Feature>> out;
    MutexLocker lock(d->stateMutex);
    for (const auto& entry : d->features) {
        if (!type || std::string(entry.second->type()) == type) out.push_back(entry.second);
    }
    return out;
}

GC<Feature> Globals::getFeature(const char* type, const char* name) const {
    if (!type || !name) return GC<Feature>();
    const std::int64_t id = Feature::toUniqueId(type, name);
    MutexLocker lock(d->stateMutex);
    auto found = d->features.find(id);
    return found == d->features.end() ? GC<Feature>() : found->second;
}

bool Globals::registerFeature(const GC<Feature>& feature) {
    if (!feature) return false;
    const std::int64_t id = feature->uniqueId();
    MutexLocker lock(d->stateMutex);
    if (d->features.count(id)) return false;
    feature->setGlobals(this);
    d->features.emplace(id, feature);
    return true;
}

std::list<Module*> Globals::getModules() const {
    std::list<Module*> out;
    MutexLocker lock(d->stateMutex);
    for (Instance* instance : d->instances) {
        Module* module = instance->module();
        if (module && std::find(out.begin(), out.end(), module) == out.end()) out.push_back(module);
    }
    return out;
}

std::list<Plugin*> Globals::getPlugins() const {
    std::list<Plugin*> out;
    MutexLocker lock(d->stateMutex);
    for (const auto& holder : d->plugins)
        out.push_back(holder->plugin());
    return out;
}

Client* Globals::client() const {
    return d->client;
}

ModuleInfo Globals::hostModuleInfo() const {
    MutexLocker lock(d->stateMutex);
    return d->host;
}

std::list<ModuleInfo> Globals::loadedModuleInfos() const {
    std::list<ModuleInfo> out{getModuleInfo()};
    MutexLocker lock(d->stateMutex);
    if (!d->host.isEmpty()) out.push_back(d->host);
    for (const auto& entry : d->modules)
        out.push_back(entry.second.info);
    return out;
}

Instance* Globals::hostInstance() {
    MutexLocker lock(d->stateMutex);
    if (!d->hostInstance) d->hostInstance = new Instance(this, nullptr, d->host);
    return d->hostInstance;
}

Instance* Globals::registerModule(Module* module) {
    if (!QOR_CHECK(module)) return nullptr;
    const ModuleInfo info = module->moduleInfo();
    Instance* instance = new Instance(this, module, info);
    {
        MutexLocker lock(d->stateMutex);
        Private::ModuleEntry& entry = d->modules[info.uniqueId()];
        if (entry.instances.empty()) {
            entry.info = info;
            entry.module = module;
        }
        entry.instances.push_back(instance);
        d->instances.push_back(instance);
    }
    for (const GC<Feature>& feature : module->features())
        instance->registerFeature(feature);
    return instance;
}

Instance* Globals::registerModule(const ModuleInfo& info) {
    Instance* instance = new Instance(this, nullptr, info);
    MutexLocker lock(d->stateMutex);
    Private::ModuleEntry& entry = d->modules[info.uniqueId()];
    if (entry.instances.empty()) entry.info = info;
    entry.instances.push_back(instance);
    d->instances.push_back(instance);
    return instance;
}

void Globals::unregisterModule(Instance* instance) {
    std::list<GC<Feature>> removed;
    {
        MutexLocker lock(d->stateMutex);
        auto found = std::find(d->instances.begin(), d->instances.end(), instance);
        if (found == d->instances.end()) return;
        d->instances.erase(found);
        auto entry = d->modules.find(instance->moduleInfo().uniqueId());
        if (entry != d->modules.end()) {
            entry->second.instances.remove(instance);
            if (entry->second.instances.empty()) d->modules.erase(entry);
        }
        for (std::int64_t id : instance->registeredFeatureIds()) {
            auto feature = d->features.find(id);
            if (feature == d->features.end()) continue;
            removed.push_back(feature->second);
            d->features.erase(feature);
        }
    }
    // Features and the instance go outside the lock: their destructors may call back.
    removed.clear();
    delete instance;
}

// ---- errors, registration, listeners ------------------------------------------------------------

void Globals::addErrorInfo(const ErrorInfo& errorInfo) {
    GC<ErrorInfoCollector> collector;
    {
        MutexLocker lock(d->stateMutex);
        collector = d->collector.get();
        if (!collector) {
            d->gathered.push_back(errorInfo);
            return;
        }
    }
    const ModuleInfo module =
        errorInfo.moduleInfo().isEmpty() ? getModuleInfo() : errorInfo.moduleInfo();
    collector->add(errorInfo, module, errorInfo.codeLocation());
}

Result Globals::doClientRegistration() {
    const CodeLocation here("Orvane::Core::QOR::Globals::doClientRegistration",
                            CodeLocation::Plain);
    GC<ClientRegistry> registry = getClientRegistry();
    if (!registry)
        return Result(
            frameworkError("the required client registry cannot be created", std::string(), here));
    Result result(true);
    auto note = [&](const Result& step) {
        if (step) return;
        addErrorInfo(step.errorInfo());
        if (result) result = step;
    };
    GC<ClientRegistryModule> library;
    note(registry->registerModule(getModuleInfo(), &library));
    const ModuleInfo host = hostModuleInfo();
    if (!host.isEmpty()) note(registry->registerModule(host, nullptr));

    std::list<PluginHolder*> holders;
    {
        MutexLocker lock(d->stateMutex);
        for (const auto& holder : d->plugins)
            holders.push_back(holder.get());
    }
    for (PluginHolder* holder : holders) {
        Plugin* plugin = holder->plugin();
        if (!plugin) continue;
        // Plug-ins are parts of the library: their records hang under the library's.
        if (library) {
            note(registry->registerModule(library, plugin->moduleInfo(), nullptr));
        } else {
            note(registry->registerModule(plugin->moduleInfo(), nullptr));
        }
    }
    return result;
}

bool Globals::registerLoggingListener(const GC<LoggingListener>& listener) {
    return listener && d->loggingListener->add(listener);
}

bool Globals::unregisterLoggingListener(const GC<LoggingListener>& listener) {
    return listener && d->loggingListener->remove(listener);
}

} // namespace QOR
} // namespace Core
} // namespace Orvane
