#include "qorcommon/globals.h"

#include "qorcommon/assertion.h"
#include "qorcommon/configdefinition.h"
#include "qorcommon/errorinfocollectorfeature.h"
#include "qorcommon/feature.h"
#include "qorcommon/memoryconfighandler.h"

#include "globalsprivate.h"

namespace Orvane {
namespace Core {
namespace QOR {

using namespace Internal;

namespace {

/// The default client registry's feature name.
const char* const kDefaultClientRegistry = "logging";
/// The feature made when no logging handler is configured.
const char* const kDefaultLoggingHandler = "orvanelog";

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

// ---- the configuration chain --------------------------------------------------------------------

/// The answer to another thread while start-up runs: the part of the chain made so far.
GC<ConfigHandler> temporaryChain(Globals& globals, const ServiceSlot<ConfigHandler>& partialChain,
                                 const CodeLocation& here) {
    globals.addErrorInfo(frameworkError(
        "the qorcommon is under initializetion, config handler still cannot be created. the "
        "current part of configuration chain is used temporary",
        std::string(), here));
    GC<ConfigHandler> part = partialChain.get();
    if (!part) part = GC<ConfigHandler>(new MemoryConfigHandler());
    return part;
}

/// Records that `name` comes a second time after the links `applied`.
void recordLoop(Globals& globals, const std::vector<std::string>& applied, const std::string& name,
                const CodeLocation& here) {
    std::string path;
    for (const std::string& step : applied)
        path += step + " -> ";
    globals.addErrorInfo(
        frameworkError("config handler cannot be created",
                       withName("config_handler_name='{0}'", name) +
                           "\nthe configuration handler chain names it a second time (" + path +
                           name + "); the chain ends before it",
                       here));
}

/// The link that the feature `name` makes over `current`; null (recorded) when it cannot.
GC<ConfigHandler> nextLink(Globals& globals, const std::string& name,
                           const GC<ConfigHandler>& current, const CodeLocation& here) {
    auto* feature =
        featureAs<ConfigHandlerFeature>(globals.getFeature("config_handler", name.c_str()));
    GC<ConfigHandler> next = feature ? feature->createObject(current) : GC<ConfigHandler>();
    if (!next)
        globals.addErrorInfo(frameworkError("config handler cannot be created",
                                            withName("config_handler_name='{0}'", name), here));
    return next;
}

/// Each link may name the next. A name equal to the one just applied means that the new head
/// names nothing of its own (the answer came from further down): the chain is complete. Any other
/// name applied before would loop: it is recorded and the walk ends. `partialChain` follows the
/// head as it grows.
GC<ConfigHandler> walkChain(Globals& globals, GC<ConfigHandler> current,
                            ServiceSlot<ConfigHandler>& partialChain, const CodeLocation& here) {
    std::vector<std::string> applied;
    for (;;) {
        const std::string name = entryOf(current, kConfigHandlerPath);
        if (name.empty() || (!applied.empty() && applied.back() == name)) break;
        if (std::find(applied.begin(), applied.end(), name) != applied.end()) {
            recordLoop(globals, applied, name, here);
            break;
        }
        GC<ConfigHandler> next = nextLink(globals, name, current, here);
        if (!next) break;
        applied.push_back(name);
        current = next;
        partialChain.exchange(current);
    }
    return current;
}

// ---- collector and client registry --------------------------------------------------------------

/// The collector that `config` names; null (recorded when a name was given) otherwise.
GC<ErrorInfoCollector> configuredCollector(Globals& globals, const GC<ConfigHandler>& config,
                                           const CodeLocation& here) {
    const std::string name = entryOf(config, kErrorInfoCollectorPath);
    if (name.empty()) return GC<ErrorInfoCollector>();
    GC<ErrorInfoCollector> collector;
    auto* feature = featureAs<ErrorInfoCollectorFeature>(
        globals.getFeature("error_info_collector", name.c_str()));
    if (feature) collector = feature->createObject(config);
    if (!collector)
        globals.addErrorInfo(frameworkError("error info collector cannot be created",
                                            withName("error_info_collector_name='{0}'", name),
                                            here));
    return collector;
}

GC<ClientRegistry> defaultClientRegistry(Globals& globals, const GC<ConfigHandler>& config,
                                         const CodeLocation& here) {
    auto* feature = featureAs<ClientRegistryFeature>(
        globals.getFeature("client_registry", kDefaultClientRegistry));
    GC<ClientRegistry> made = feature ? feature->createObject(config) : GC<ClientRegistry>();
    if (!made)
        globals.addErrorInfo(
            frameworkError("client registry could not be allocated", std::string(), here));
    return made;
}

/// The registry that `config` names; null (recorded when a name was given) otherwise.
GC<ClientRegistry> configuredClientRegistry(Globals& globals, const GC<ConfigHandler>& config,
                                            const CodeLocation& here) {
    const std::string name = entryOf(config, kClientRegistryPath);
    if (name.empty()) return GC<ClientRegistry>();
    GC<ClientRegistry> registry;
    auto* feature =
        featureAs<ClientRegistryFeature>(globals.getFeature("client_registry", name.c_str()));
    if (feature) registry = feature->createObject(config);
    if (!registry)
        globals.addErrorInfo(frameworkError(
            "the required client registry cannot be created",
            withName("client_registry_name='{0}'\nthe default client regitry will be used", name),
            here));
    return registry;
}

} // namespace

// ---- services -----------------------------------------------------------------------------------

GC<ConfigHandler> Globals::getConfigHandler() {
    if (GC<ConfigHandler> chain = d->configHandler.get()) return chain;
    const CodeLocation here("Orvane::Core::QOR::Globals::getConfigHandler", CodeLocation::Plain);
    if (d->initializingElsewhere()) return temporaryChain(*this, d->partialChain, here);

    RecursiveMutexLocker lock(d->serviceMutex);
    if (GC<ConfigHandler> chain = d->configHandler.get()) return chain;
    GC<ConfigHandler> current = d->baseConfigHandler;
    if (!current) {
        // Asked before start-up made the base: an empty source that is not kept.
        QOR_ASSERT_FAILED("!priv->configHandler.isNull()");
        return GC<ConfigHandler>(new MemoryConfigHandler());
    }
    d->partialChain.exchange(current);
    current = walkChain(*this, current, d->partialChain, here);
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
    GC<ErrorInfoCollector> collector = configuredCollector(*this, config, here);
    if (!collector) collector = GC<ErrorInfoCollector>(new DummyErrorInfoCollector);
    // The client's listeners hear the records of start-up too, which the collector receives now.
    if (d->initializing.load()) d->registerClientListeners(collector);
    setErrorInfoCollector(collector);
    return collector;
}

GC<ClientRegistry> Globals::getClientRegistry() {
    if (GC<ClientRegistry> registry = d->clientRegistry.get()) return registry;
    const CodeLocation here("Orvane::Core::QOR::Globals::getClientRegistry", CodeLocation::Plain);

    if (d->initializingElsewhere()) {
        GC<ConfigHandler> part = d->partialChain.get();
        addErrorInfo(frameworkError(
            "the qorcommon is under initializetion, the required client registry still cannot be "
            "created",
            withName("client_registry_name='{0}'\nthe default client regitry will be used "
                     "temporary",
                     entryOf(part, kClientRegistryPath)),
            here));
        return defaultClientRegistry(*this, part, here);
    }

    RecursiveMutexLocker lock(d->serviceMutex);
    if (GC<ClientRegistry> registry = d->clientRegistry.get()) return registry;
    GC<ConfigHandler> config = getConfigHandler();
    GC<ClientRegistry> registry = configuredClientRegistry(*this, config, here);
    if (!registry) registry = defaultClientRegistry(*this, config, here);
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

} // namespace QOR
} // namespace Core
} // namespace Orvane
