// The client registry: a record of which modules (the library, its plug-ins, the host's
// components) take part in the running client.
#pragma once

#include "qorcommon/export.h"
#include "qorcommon/gc.h"
#include "qorcommon/moduleinfo.h"
#include "qorcommon/privateptr.h"
#include "qorcommon/result.h"

#include <list>

namespace Orvane {
namespace Core {

/// The record of one registered module, made by a registry.
/// Thread safety: immutable after construction.
class QORCOMMON_API ClientRegistryModule : public GCObject {
public:
    ~ClientRegistryModule() override;
    const char* typeName() const override;
    const ModuleInfo& moduleInfo() const;
    /// The record this one was registered under; null for a top-level module.
    GC<ClientRegistryModule> parent() const;

protected:
    ClientRegistryModule(const ModuleInfo& moduleInfo, const GC<ClientRegistryModule>& parent);

private:
    struct Private;
    PrivatePtr<Private> d;
};

/// The contract of a client registry. Implementations record modules; those that can also list
/// them override getRegisteredModules.
/// Thread safety: implementations are thread-safe.
class QORCOMMON_API ClientRegistry : public GCObject {
public:
    explicit ClientRegistry(const ModuleInfo& clientInfo);
    ~ClientRegistry() override;
    ClientRegistry(const ClientRegistry&) = delete;
    ClientRegistry& operator=(const ClientRegistry&) = delete;

    const char* typeName() const override;

    /// Registers a top-level module and hands back its record when `registered` is not null.
    virtual Result registerModule(const ModuleInfo& info, GC<ClientRegistryModule>* registered) = 0;
    /// Registers a module under `parent`.
    virtual Result registerModule(const GC<ClientRegistryModule>& parent, const ModuleInfo& info,
                                  GC<ClientRegistryModule>* registered) = 0;
    /// Removes a record and everything registered under it.
    virtual Result unregisterModule(const GC<ClientRegistryModule>& registered) = 0;
    /// The modules registered under `parent`. Here: "not supported functionality".
    virtual Result getRegisteredModules(const GC<ClientRegistryModule>& parent,
                                        std::list<GC<ClientRegistryModule>>& out);
    /// The top-level modules. Here: "not supported functionality".
    virtual Result getRegisteredModules(std::list<GC<ClientRegistryModule>>& out);
    /// The client (host) that the registry describes.
    virtual const ModuleInfo& clientInfo() const;

private:
    struct Private;
    PrivatePtr<Private> d;
};

} // namespace Core
} // namespace Orvane
