// The multiple logging handler and the factories of the library's logging handlers.
#include "qorcommon/multiplelogginghandler.h"

#include "qorcommon/globalvariable.h"
#include "qorcommon/orvanelogginghandler.h"
#include "qorcommon/string.h"

#include <cctype>
#include <iostream>
#include <map>
#include <utility>

namespace Orvane {
namespace Core {

namespace {

// Configuration words compare without case and surrounding blanks.
std::string lowerCase(const std::string& text) {
    return String(text).toLower().str();
}

std::string trimmed(const std::string& text) {
    return String(text).trim().str();
}

using FactoryMap = std::map<std::string, LoggingHandlerFactory>;

GlobalVariable<FactoryMap>& factories() {
    // Never destroyed: handlers may be made while the process shuts down.
    static GlobalVariable<FactoryMap>* const map = [] {
        auto* made = new GlobalVariable<FactoryMap>;
        FactoryMap& built = *made->pointer();
        built["orvanelog"] = makeOrvaneLoggingHandler;
        built["simple"] = makeSimpleLoggingHandler;
        built["void"] = makeVoidLoggingHandler;
        built["multiple"] = makeMultipleLoggingHandler;
        return made;
    }();
    return *map;
}

// How deep multiple handlers may name multiple handlers, so that a configuration that names
// "multiple" inside itself ends.
const int MaxNesting = 4;
thread_local int t_nesting = 0;

} // namespace

// ---- MultipleLogger -----------------------------------------------------------------------------

MultipleLogger::MultipleLogger(const GC<LoggerHelper>& helper, const std::string& name,
                               const ModuleInfo& moduleInfo, const std::vector<GC<Logger>>& targets)
    : Logger(helper, name, moduleInfo), m_targets(targets) {
    // The targets may read the stack list, and it can only be built here, where the funnel runs.
    setUsesStack(true);
}

MultipleLogger::~MultipleLogger() = default;

const char* MultipleLogger::typeName() const {
    return "Orvane::Core::MultipleLogger";
}

const std::vector<GC<Logger>>& MultipleLogger::targets() const {
    return m_targets;
}

void MultipleLogger::storeEntry(Priority prio, const LogEntry& entry, const StringList& stack,
                                const DateTime& timestamp, double diff) {
    for (const GC<Logger>& target : m_targets) {
        if (target) target->forwardEntry(prio, entry, stack, timestamp, diff);
    }
}

// ---- MultipleLoggingHandler ---------------------------------------------------------------------

struct MultipleLoggingHandler::Private {
    GC<ConfigHandler> config;
    std::vector<GC<LoggingHandler>> handlers;
    bool initialised = false;
    bool valid = true;
};

MultipleLoggingHandler::MultipleLoggingHandler(const GC<ConfigHandler>& config) : d(new Private) {
    d->config = config;
}

MultipleLoggingHandler::MultipleLoggingHandler(const std::vector<GC<LoggingHandler>>& handlers)
    : d(new Private) {
    d->initialised = true;
    for (const GC<LoggingHandler>& handler : handlers) {
        if (!handler) continue;
        handler->setLoggerHelper(loggerHelper());
        d->handlers.push_back(handler);
    }
}

MultipleLoggingHandler::~MultipleLoggingHandler() {
    delete d;
}

const char* MultipleLoggingHandler::typeName() const {
    return "Orvane::Core::MultipleLoggingHandler";
}

bool MultipleLoggingHandler::init() {
    if (d->initialised) return d->valid;
    d->initialised = true;
    StringList names;
    if (!d->config || !d->config->getStringListEntry("MULTIPLE_LOGGING_HANDLER/HANDLERS", names))
        names = StringList(std::string("orvanelog"));
    if (t_nesting >= MaxNesting) {
        d->valid = false;
        return false;
    }
    ++t_nesting;
    for (const std::string& value : names) {
        const std::string name = trimmed(value);
        if (name.empty()) continue;
        const LoggingHandlerFactory factory = Logging::handlerFactory(name);
        GC<LoggingHandler> handler = factory ? factory(d->config) : GC<LoggingHandler>();
        if (!handler) {
            d->valid = false;
            continue;
        }
        handler->setLoggerHelper(loggerHelper());
        d->handlers.push_back(handler);
    }
    --t_nesting;
    return d->valid;
}

const std::vector<GC<LoggingHandler>>& MultipleLoggingHandler::handlers() const {
    return d->handlers;
}

GC<Logger> MultipleLoggingHandler::makeLogger(const std::string& name,
                                              const ModuleInfo& moduleInfo) {
    if (!d->initialised) init();
    std::vector<GC<Logger>> targets;
    for (const GC<LoggingHandler>& handler : d->handlers)
        targets.push_back(handler->getLogger(name, moduleInfo));
    return GC<Logger>(new MultipleLogger(loggerHelper(), name, moduleInfo, targets));
}

GC<ConfigDefinition> MultipleLoggingHandler::configDefinition() {
    GC<QORConfig> definition(
        new QORConfig(NameInfo("multiple", "Logging into several logging handlers.")));
    GC<QOREntry> entry(
        new QOREntry("MULTIPLE_LOGGING_HANDLER/HANDLERS",
                     NameInfo("Logging Handlers", "The logging handlers that receive every entry."),
                     ConfigEntryDefinition::StringValue, ConfigEntryDefinition::MultipleValues,
                     StringList(std::string("orvanelog"))));
    definition->appendEntry(GC<ConfigEntryDefinition>(entry));
    return definition;
}

// ---- factories ----------------------------------------------------------------------------------

GC<LoggingHandler> makeSimpleLoggingHandler(const GC<ConfigHandler>& config) {
    std::string stream;
    const bool toOutput = config &&
                          config->getStringEntry("SIMPLE_LOGGING_HANDLER/STREAM", stream) &&
                          lowerCase(trimmed(stream)) == "stdout";
    GC<LoggingHandler> handler(toOutput ? new SimpleLoggingHandler(std::cout)
                                        : new SimpleLoggingHandler(std::cerr));
    handler->init();
    return handler;
}

GC<ConfigDefinition> makeSimpleLoggingConfigDefinition() {
    GC<QORConfig> definition(
        new QORConfig(NameInfo("simple", "One plain line per entry on a standard stream.")));
    GC<QOREntry> entry(
        new QOREntry("SIMPLE_LOGGING_HANDLER/STREAM", NameInfo("Stream", "Where the lines go."),
                     ConfigEntryDefinition::StringValue, ConfigEntryDefinition::SingleValue,
                     StringList(std::string("stderr"))));
    entry->appendAvailableValue(
        ConfigEntryDefinition::ValueDefinition("stderr", NameInfo("stderr", "Standard error")));
    entry->appendAvailableValue(
        ConfigEntryDefinition::ValueDefinition("stdout", NameInfo("stdout", "Standard output")));
    entry->setSelectionPolicy(ConfigEntryDefinition::OneOfAvailable);
    definition->appendEntry(GC<ConfigEntryDefinition>(entry));
    return definition;
}

GC<LoggingHandler> makeVoidLoggingHandler(const GC<ConfigHandler>&) {
    GC<LoggingHandler> handler(new QOR::VoidLoggingHandler);
    handler->init();
    return handler;
}

GC<LoggingHandler> makeMultipleLoggingHandler(const GC<ConfigHandler>& config) {
    GC<LoggingHandler> handler(new MultipleLoggingHandler(config));
    handler->init();
    return handler;
}

namespace Logging {

void registerHandlerFactory(const std::string& name, LoggingHandlerFactory factory) {
    auto locked = factories().access();
    (*locked)[lowerCase(name)] = std::move(factory);
}

LoggingHandlerFactory handlerFactory(const std::string& name) {
    auto locked = factories().access();
    const auto found = locked->find(lowerCase(name));
    return found == locked->end() ? LoggingHandlerFactory() : found->second;
}

} // namespace Logging

} // namespace Core
} // namespace Orvane
