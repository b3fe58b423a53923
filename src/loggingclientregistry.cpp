// The logging client registry and its feature.
#include "qorcommon/loggingclientregistry.h"

#include "qorcommon/libraryservices.h"
#include "qorcommon/logentry.h"
#include "qorcommon/mutex.h"

#include <map>
#include <string>
#include <utility>
#include <vector>

namespace Orvane {
namespace Core {

namespace {

using Records = std::list<GC<ClientRegistryModule>>;

class Record : public ClientRegistryModule {
public:
    Record(const ModuleInfo& info, const GC<ClientRegistryModule>& parent)
        : ClientRegistryModule(info, parent) {}
    const char* typeName() const override { return "Orvane::Core::LoggingClientRegistryModule"; }
};

Result failure(const char* text, const CodeLocation& location) {
    return Result(ErrorInfo(QOR::getModuleInfo(), location, -1, text), false);
}

} // namespace

// ---- LoggingClientRegistry ----------------------------------------------------------------------

struct LoggingClientRegistry::Private {
    GC<Logger> logger;
    Mutex mutex;
    Records topLevel;
    // Every record of the registry, with the records directly under it. Children hold their
    // parent (ClientRegistryModule::parent) and the registry holds both, so no record holds
    // itself through a cycle.
    std::map<const ClientRegistryModule*, Records> children;

    void log(const std::string& text) const {
        logger->addEntry(Logger::Info, LogEntry::fromGeneralMessage(text), DateTime::now(), 0.0);
    }

    // The list a record of `parent` belongs in; null when the parent is not registered.
    Records* siblingsUnder(const GC<ClientRegistryModule>& parent) {
        if (parent.isNull()) return &topLevel;
        const auto found = children.find(parent.ptr());
        return found == children.end() ? nullptr : &found->second;
    }

    // Takes `record` and everything under it out of the table, the record first.
    void takeSubtree(const GC<ClientRegistryModule>& record,
                     std::vector<GC<ClientRegistryModule>>& out) {
        out.push_back(record);
        const auto found = children.find(record.ptr());
        if (found == children.end()) return;
        const Records under = std::move(found->second);
        children.erase(found);
        for (const auto& child : under)
            takeSubtree(child, out);
    }
};

LoggingClientRegistry::LoggingClientRegistry(const ModuleInfo& client,
                                             const GC<LoggingHandler>& handler)
    : ClientRegistry(client), d(new Private) {
    const GC<LoggingHandler> target = handler.isNull() ? Logging::initialHandler() : handler;
    const std::string name = client.name().empty() ? "client_registry" : client.name();
    d->logger = target->getLogger(name, client);
}

LoggingClientRegistry::~LoggingClientRegistry() {
    delete d;
}

const char* LoggingClientRegistry::typeName() const {
    return "Orvane::Core::LoggingClientRegistry";
}

Result LoggingClientRegistry::registerModule(const ModuleInfo& info,
                                             GC<ClientRegistryModule>* registered) {
    return registerModule(GC<ClientRegistryModule>(), info, registered);
}

Result LoggingClientRegistry::registerModule(const GC<ClientRegistryModule>& parent,
                                             const ModuleInfo& info,
                                             GC<ClientRegistryModule>* registered) {
    GC<ClientRegistryModule> record;
    bool added = false;
    {
        MutexLocker lock(d->mutex);
        Records* siblings = d->siblingsUnder(parent);
        if (!siblings) return failure("parent module is not registered", QOR_CODE_LOCATION);
        for (const auto& sibling : *siblings) {
            if (sibling->moduleInfo() == info) {
                record = sibling;
                break;
            }
        }
        if (record.isNull()) {
            record = GC<ClientRegistryModule>(new Record(info, parent));
            siblings->push_back(record);
            d->children[record.ptr()];
            added = true;
        }
    }
    if (registered) *registered = record;
    if (added) {
        std::string text = "module registered: " + info.asString().str();
        if (!parent.isNull()) text += " under " + parent->moduleInfo().asString().str();
        d->log(text);
    }
    return Result(true);
}

Result LoggingClientRegistry::unregisterModule(const GC<ClientRegistryModule>& registered) {
    std::vector<GC<ClientRegistryModule>> removed;
    {
        MutexLocker lock(d->mutex);
        if (registered.isNull() || d->children.find(registered.ptr()) == d->children.end()) {
            return failure("module is not registered", QOR_CODE_LOCATION);
        }
        Records* siblings = d->siblingsUnder(registered->parent());
        if (siblings) siblings->remove(registered);
        d->takeSubtree(registered, removed);
    }
    for (const auto& record : removed) {
        d->log("module unregistered: " + record->moduleInfo().asString().str());
    }
    return Result(true);
}

Result LoggingClientRegistry::getRegisteredModules(const GC<ClientRegistryModule>& parent,
                                                   std::list<GC<ClientRegistryModule>>& out) {
    MutexLocker lock(d->mutex);
    const Records* under = parent.isNull() ? nullptr : d->siblingsUnder(parent);
    if (!under) return failure("parent module is not registered", QOR_CODE_LOCATION);
    out = *under;
    return Result(true);
}

Result LoggingClientRegistry::getRegisteredModules(std::list<GC<ClientRegistryModule>>& out) {
    MutexLocker lock(d->mutex);
    out = d->topLevel;
    return Result(true);
}

GC<Logger> LoggingClientRegistry::logger() const {
    return d->logger;
}

// ---- LoggingClientRegistryFeature ---------------------------------------------------------------

namespace QOR {

struct LoggingClientRegistryFeature::Private {
    mutable Mutex mutex;
    ModuleInfo client;
    GC<LoggingHandler> handler;
};

LoggingClientRegistryFeature::LoggingClientRegistryFeature() : d(new Private) {}

LoggingClientRegistryFeature::LoggingClientRegistryFeature(const ModuleInfo& client,
                                                           const GC<LoggingHandler>& handler)
    : d(new Private) {
    d->client = client;
    d->handler = handler;
}

LoggingClientRegistryFeature::~LoggingClientRegistryFeature() {
    delete d;
}

const char* LoggingClientRegistryFeature::typeName() const {
    return "Orvane::Core::QOR::LoggingClientRegistryFeature";
}

const char* LoggingClientRegistryFeature::name() const {
    return "logging";
}

NameInfo LoggingClientRegistryFeature::nameInfo() {
    return NameInfo("Logging Client Registry",
                    "Records the modules of the client in the log and lists them.");
}

GC<ClientRegistry> LoggingClientRegistryFeature::createObject(const GC<ConfigHandler>&) {
    ModuleInfo client;
    GC<LoggingHandler> handler;
    {
        MutexLocker lock(d->mutex);
        client = d->client;
        handler = d->handler;
    }
    return makeGC<LoggingClientRegistry>(client, handler);
}

void LoggingClientRegistryFeature::setClientInfo(const ModuleInfo& client) {
    MutexLocker lock(d->mutex);
    d->client = client;
}

ModuleInfo LoggingClientRegistryFeature::clientInfo() const {
    MutexLocker lock(d->mutex);
    return d->client;
}

void LoggingClientRegistryFeature::setLoggingHandler(const GC<LoggingHandler>& handler) {
    MutexLocker lock(d->mutex);
    d->handler = handler;
}

GC<LoggingHandler> LoggingClientRegistryFeature::loggingHandler() const {
    MutexLocker lock(d->mutex);
    return d->handler;
}

} // namespace QOR
} // namespace Core
} // namespace Orvane
