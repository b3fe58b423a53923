#include "qorcommon/globals.h"

#include "qorcommon/applicationinfo.h"
#include "qorcommon/assertion.h"
#include "qorcommon/envconfighandler.h"
#include "qorcommon/feature.h"
#include "qorcommon/framework.h"
#include "qorcommon/guiprovider.h"
#include "qorcommon/orvanecfgconfighandler.h"
#include "qorcommon/threadmanagedobject.h"

#include "globalsprivate.h"

#include <cstdio>

namespace Orvane {
namespace Core {
namespace QOR {

using namespace Internal;

namespace {

/// One diagnostic line of shut-down, written at once.
void diagnostic(const std::string& line) {
    std::fprintf(stderr, "%s\n", line.c_str());
    std::fflush(stderr);
}

} // namespace

/// The steps of start-up, in the order init runs them. A step records its failures and start-up
/// goes on; the result is the first failure.
class Globals::Private::Startup {
public:
    Startup(Globals& globals, Private& state)
        : m_globals(globals), d(state),
          m_here("Orvane::Core::QOR::Globals::init", CodeLocation::Plain) {}

    const Result& result() const { return m_result; }

    /// The base of the chain: the command line may name it, else the configuration file.
    void makeBaseConfigHandler(const char* configFile) {
        m_base = d.baseConfigHandler;
        if (!m_base) {
            m_base = baseNamedOnCommandLine();
            if (!m_base) m_base = configurationFileHandler(configFile);
            if (!m_base) QOR_ASSERT_FAILED("priv->baseConfigHandler");
            d.baseConfigHandler = m_base;
        }
        d.partialChain.exchange(m_base);
    }

    void setThreadObjectCollectorPeriod() {
        long interval = 0;
        if (m_base->getLongEntry(kGcIntervalPath, interval)) {
            if (ThreadManagedObjectGC* gc = ensureThreadLocalVariableGC()) gc->setPeriod(interval);
        }
    }

    void startGuiProvider() {
        const Result gui = initGuiProvider(entryOf(m_base, kGuiPluginPath));
        if (!gui) {
            ErrorInfo error = gui.errorInfo();
            if (error.errorText().empty()) error.setErrorText("cannot initialize GUI handler");
            error.setModuleInfo(getModuleInfo());
            record(error);
        }
    }

    void setCoreEncoding() {
        std::string encoding;
        if (!m_base->getEntryAsString(kCoreEncodingPath, encoding)) return;
        String word(encoding);
        word.trim();
        word.toLower();
        if (word.str() == "utf8") {
            String::setCoreEncoding(String::UTF8);
        } else if (word.str() == "locale") {
            String::setCoreEncoding(String::Locale);
        } else {
            record(frameworkError(withName("unexpected CORE_ENCODING definition: '{0}'", encoding),
                                  std::string(), m_here));
        }
    }

    /// A host given without information gets it from the base, else from the executable.
    void fillHostModuleInfo() {
        MutexLocker lock(d.stateMutex);
        const bool fill = d.host.isEmpty();
        lock.unlock();
        if (!fill) return;
        std::string name = entryOf(m_base, kAppNamePath);
        std::string version = entryOf(m_base, kAppVersionPath);
        std::string type = entryOf(m_base, kAppTypePath);
        if (name.empty()) name = ApplicationInfo::executableName();
        if (version.empty()) version = ApplicationInfo::version();
        if (type.empty()) type = ApplicationInfo::executableExtension();
        MutexLocker again(d.stateMutex);
        d.host = ModuleInfo(name, type, Version::fromString(version));
    }

    void loadPlugins() {
        std::string directory = entryOf(m_base, kPluginDirPath);
        if (directory == ".\\" || directory == "./") directory.clear();
        StringList names;
        if (!m_base->getEntryAsStringList(kPluginsPath, names)) return;
        for (const std::string& entry : names) {
            const std::string name = trimmed(entry);
            if (!name.empty()) loadPlugin(directory, name);
        }
    }

    /// The full chain, and the application's identity as the whole chain gives it.
    void completeChainAndAppInfo() {
        GC<ConfigHandler> chain = m_globals.getConfigHandler();
        const std::string name = entryOf(chain, kAppNamePath);
        const std::string version = entryOf(chain, kAppVersionPath);
        const std::string type = entryOf(chain, kAppTypePath);
        MutexLocker lock(d.stateMutex);
        if (!name.empty()) d.host.setName(name);
        if (!version.empty()) d.host.setVersion(Version::fromString(version));
        if (!type.empty()) d.host.setType(type);
        d.registryFeature->setClientInfo(d.host);
    }

    void makeLoggingHandler() { m_globals.getLoggingHandler(); }

    /// A collector made earlier in start-up (a plug-in may ask for it) gets the client's
    /// listeners here; registering one twice changes nothing.
    void makeCollector() { d.registerClientListeners(m_globals.getErrorInfoCollector()); }

private:
    void record(const ErrorInfo& error) {
        ErrorInfo stamped(error);
        if (stamped.moduleInfo().isEmpty()) stamped.setModuleInfo(getModuleInfo());
        m_globals.addErrorInfo(stamped);
        if (m_result.isOk()) m_result = Result(stamped);
    }

    /// The handler of the feature that the command line names as base; null when it names none
    /// or the feature cannot make one.
    GC<ConfigHandler> baseNamedOnCommandLine() {
        GC<ConfigHandler> commandLine(new CLAConfigHandler(GC<ConfigHandler>()));
        const std::string name = entryOf(commandLine, kBaseConfigHandlerPath);
        if (name.empty()) return GC<ConfigHandler>();
        GC<ConfigHandler> base;
        auto* feature =
            featureAs<ConfigHandlerFeature>(m_globals.getFeature("config_handler", name.c_str()));
        if (feature) base = feature->createObject(GC<ConfigHandler>());
        if (!base)
            record(frameworkError("cannot create base config handler",
                                  withName("base_config_handler_name='{0}'", name), m_here));
        return base;
    }

    GC<ConfigHandler> configurationFileHandler(const char* configFile) {
        if (configFile && *configFile) OrvanecfgConfigHandler::setOrvanecfgPath(configFile);
        GC<OrvanecfgConfigHandler> file(new OrvanecfgConfigHandler());
        if (!file->init()) record(file->getLastErrorInfo());
        return file;
    }

    void loadPlugin(const std::string& directory, const std::string& name) {
        auto holder = std::make_unique<PluginHolder>(directory, name);
        const Result loaded = holder->load();
        if (!loaded) {
            record(loaded.errorInfo());
            return;
        }
        Plugin* plugin = holder->plugin();
        {
            MutexLocker lock(d.stateMutex);
            d.plugins.push_back(std::move(holder));
        }
        if (plugin) m_globals.registerModule(plugin);
    }

    Globals& m_globals;
    Private& d;
    const CodeLocation m_here;
    Result m_result{true};
    /// The base handler that the steps after the first read.
    GC<ConfigHandler> m_base;
};

Result Globals::init(const char* configFile) {
    if (!d->init_sem.acquire()) QOR_ASSERT_FAILED("priv->init_sem.wait()");
    d->initThread.store(std::this_thread::get_id());
    d->initializing.store(true);

    Private::Startup startup(*this, *d);
    startup.makeBaseConfigHandler(configFile);
    startup.setThreadObjectCollectorPeriod();
    startup.startGuiProvider();
    startup.setCoreEncoding();
    startup.fillHostModuleInfo();
    startup.loadPlugins();
    startup.completeChainAndAppInfo();
    startup.makeLoggingHandler();
    startup.makeCollector();
    setLoadedModulesProvider([this] { return loadedModuleInfos(); });

    d->initializing.store(false);
    d->initThread.store(std::thread::id());
    if (!d->init_sem.release()) QOR_ASSERT_FAILED("priv->init_sem.post()");
    return startup.result();
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

} // namespace QOR
} // namespace Core
} // namespace Orvane
