// The client registry contract: the module record and the registry base, whose listing
// operations answer "not supported functionality" for registries that cannot list.
#include "qorcommon/clientregistry.h"

#include "qorcommon/libraryservices.h"

namespace Orvane {
namespace Core {

// ---- ClientRegistryModule -----------------------------------------------------------------------

struct ClientRegistryModule::Private {
    ModuleInfo moduleInfo;
    GC<ClientRegistryModule> parent;
};

ClientRegistryModule::ClientRegistryModule(const ModuleInfo& moduleInfo,
                                           const GC<ClientRegistryModule>& parent)
    : d(new Private{moduleInfo, parent}) {}

ClientRegistryModule::~ClientRegistryModule() = default;

const char* ClientRegistryModule::typeName() const {
    return "Orvane::Core::ClientRegistryModule";
}

const ModuleInfo& ClientRegistryModule::moduleInfo() const {
    return d->moduleInfo;
}

GC<ClientRegistryModule> ClientRegistryModule::parent() const {
    return d->parent;
}

// ---- ClientRegistry -----------------------------------------------------------------------------

namespace {

Result notSupported(const CodeLocation& location) {
    return Result(ErrorInfo(QOR::getModuleInfo(), location, -1, "not supported functionality"),
                  false);
}

} // namespace

struct ClientRegistry::Private {
    ModuleInfo clientInfo;
};

ClientRegistry::ClientRegistry(const ModuleInfo& clientInfo) : d(new Private{clientInfo}) {}
ClientRegistry::~ClientRegistry() = default;

const char* ClientRegistry::typeName() const {
    return "Orvane::Core::ClientRegistry";
}

Result ClientRegistry::getRegisteredModules(const GC<ClientRegistryModule>&,
                                            std::list<GC<ClientRegistryModule>>&) {
    return notSupported(QOR_CODE_LOCATION);
}

Result ClientRegistry::getRegisteredModules(std::list<GC<ClientRegistryModule>>&) {
    return notSupported(QOR_CODE_LOCATION);
}

const ModuleInfo& ClientRegistry::clientInfo() const {
    return d->clientInfo;
}

} // namespace Core
} // namespace Orvane
