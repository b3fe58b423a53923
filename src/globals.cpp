#include "qorcommon/globals.h"

#include "qorcommon/assertion.h"
#include "qorcommon/builtinfeatures.h"
#include "qorcommon/errorinfocollectorfeature.h"
#include "qorcommon/fileinfo.h"
#include "qorcommon/framework.h"
#include "qorcommon/orvanelogginghandler.h"

#include "globalsprivate.h"

namespace Orvane {
namespace Core {
namespace QOR {

using Internal::frameworkError;

// ---- construction -------------------------------------------------------------------------------

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
