// The built-in client registry: it records the composition of the client in the log and keeps
// the registered modules, so they can be listed.
//
//     GC<ClientRegistry> registry = makeGC<LoggingClientRegistry>(hostInfo, handler);
//     GC<ClientRegistryModule> host;
//     registry->registerModule(hostInfo, &host);
//     registry->registerModule(host, pluginInfo, nullptr);
//
// writes, through a logger named after the client, one Info entry per module:
//
//     module registered: host (exe) 1.0.0
//     module registered: plugin (dll) 2.1.0 under host (exe) 1.0.0
#pragma once

#include "qorcommon/clientregistry.h"
#include "qorcommon/export.h"
#include "qorcommon/feature.h"
#include "qorcommon/gc.h"
#include "qorcommon/logginghandler.h"
#include "qorcommon/moduleinfo.h"

namespace Orvane {
namespace Core {

/// Keeps a tree of module records and logs each change as an Info entry of a General message:
/// "module registered: <module>", "module registered: <module> under <parent>" and, for every
/// record that unregisterModule removes (the record first, then what was under it),
/// "module unregistered: <module>", where <module> is ModuleInfo::asString(). A module that is
/// already registered under the same parent (equal ModuleInfo) is not recorded again: its
/// record is handed back and nothing is logged.
/// Thread safety: thread-safe; entries are written after the registry's lock is let go, so a
/// logging listener may call the registry.
class QORCOMMON_API LoggingClientRegistry : public ClientRegistry {
public:
    /// Logs through `handler`, or the process's initial handler (Logging::initialHandler()) when
    /// it is null, with a logger named after the client ("client_registry" when the client has
    /// no name) and of the client's module.
    explicit LoggingClientRegistry(const ModuleInfo& client,
                                   const GC<LoggingHandler>& handler = GC<LoggingHandler>());
    ~LoggingClientRegistry() override;

    const char* typeName() const override;

    Result registerModule(const ModuleInfo& info, GC<ClientRegistryModule>* registered) override;
    /// A null parent registers a top-level module; a record that is not (or no longer) in this
    /// registry fails with "parent module is not registered".
    Result registerModule(const GC<ClientRegistryModule>& parent, const ModuleInfo& info,
                          GC<ClientRegistryModule>* registered) override;
    /// Removes the record and everything under it; "module is not registered" for a record not
    /// in this registry.
    Result unregisterModule(const GC<ClientRegistryModule>& registered) override;
    /// Replaces `out` with the records directly under `parent`, in registration order;
    /// "parent module is not registered" for a record not in this registry.
    Result getRegisteredModules(const GC<ClientRegistryModule>& parent,
                                std::list<GC<ClientRegistryModule>>& out) override;
    /// Replaces `out` with the top-level records, in registration order.
    Result getRegisteredModules(std::list<GC<ClientRegistryModule>>& out) override;

    /// The logger the entries go to.
    GC<Logger> logger() const;

private:
    struct Private;
    Private* d;
};

namespace QOR {

/// The "client_registry" feature named "logging": makes LoggingClientRegistry objects. The
/// registry describes the client given here (an empty ModuleInfo until set) and logs through
/// the handler given here (the initial handler until set); the framework sets both once it
/// knows its host and its logging handler. The configuration passed to createObject is not read.
/// Thread safety: thread-safe.
class QORCOMMON_API LoggingClientRegistryFeature : public ClientRegistryFeature {
public:
    LoggingClientRegistryFeature();
    explicit LoggingClientRegistryFeature(const ModuleInfo& client,
                                          const GC<LoggingHandler>& handler = GC<LoggingHandler>());
    ~LoggingClientRegistryFeature() override;

    const char* typeName() const override;
    /// "logging".
    const char* name() const override;
    /// "Logging Client Registry", with a one-line description.
    NameInfo nameInfo() override;
    GC<ClientRegistry> createObject(const GC<ConfigHandler>& config) override;

    /// The client of registries made from now on.
    void setClientInfo(const ModuleInfo& client);
    ModuleInfo clientInfo() const;
    /// The logging handler of registries made from now on (null: the initial handler).
    void setLoggingHandler(const GC<LoggingHandler>& handler);
    GC<LoggingHandler> loggingHandler() const;

private:
    struct Private;
    Private* d;
};

} // namespace QOR
} // namespace Core
} // namespace Orvane
