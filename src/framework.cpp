#include "qorcommon/framework.h"

#include "qorcommon/globalvariable.h"
#include "qorcommon/guiprovider.h"
#include "qorcommon/libraryservices.h"
#include "qorcommon/threadmanagedobject.h"

#include <atomic>

namespace Orvane {
namespace Core {
namespace QOR {

namespace {

// The one Globals, behind the lock that init, deinit and registerModule take. The variable is
// never destroyed: a late deinit from a static destructor still finds it.
GlobalVariablePtr<Globals>& globalsVariable() {
    static auto* variable = new GlobalVariablePtr<Globals>();
    return *variable;
}

// The same pointer for readers that must not wait while start-up holds the lock; set once
// start-up has run.
std::atomic<Globals*> publishedGlobals{nullptr};

Instance* start(const GC<ConfigHandler>& base, const char* configFile, const ModuleInfo& host,
                const std::list<GC<Feature>>& features, Client* client) {
    GlobalVariablePtr<Globals>& variable = globalsVariable();
    auto lock = variable.access();
    Globals* globals = variable.pointer();
    if (!globals) {
        globals = new Globals(base, host, features, client);
        variable.set(globals);
        const Result result = globals->init(configFile);
        // Published once started: a reader never meets a Globals whose base is still being made.
        publishedGlobals.store(globals);
        if (!result)
            result.showError(CodeLocation("Orvane::Core::QOR::init", CodeLocation::Plain), -1, -1);
    }
    return globals->hostInstance();
}

} // namespace

Instance* init(const GC<ConfigHandler>& base, const ModuleInfo& host,
               const std::list<GC<Feature>>& features) {
    return start(base, nullptr, host, features, nullptr);
}

Instance* init(const char* configFile, const ModuleInfo& host,
               const std::list<GC<Feature>>& features) {
    return start(GC<ConfigHandler>(), configFile, host, features, nullptr);
}

Instance* init(const ModuleInfo& host, const std::list<GC<Feature>>& features) {
    return start(GC<ConfigHandler>(), nullptr, host, features, nullptr);
}

Instance* init(Client* client, const char* configFile) {
    return start(GC<ConfigHandler>(), configFile, ModuleInfo(), {}, client);
}

void deinit() {
    {
        GlobalVariablePtr<Globals>& variable = globalsVariable();
        auto lock = variable.access();
        if (Globals* globals = variable.pointer()) {
            globals->deinit();
            publishedGlobals.store(nullptr);
            variable.clear();
            deinitGuiProvider();
        }
    }
    shutdownThreadLocalVariableGC();
}

bool isInitialized() {
    return publishedGlobals.load() != nullptr;
}

Globals* globals() {
    return publishedGlobals.load();
}

Instance* registerModule(Module* module) {
    GlobalVariablePtr<Globals>& variable = globalsVariable();
    auto lock = variable.access();
    if (!variable.pointer()) start(GC<ConfigHandler>(), nullptr, ModuleInfo(), {}, nullptr);
    return variable.pointer()->registerModule(module);
}

Instance* registerModule(const ModuleInfo& info) {
    GlobalVariablePtr<Globals>& variable = globalsVariable();
    auto lock = variable.access();
    if (!variable.pointer()) start(GC<ConfigHandler>(), nullptr, ModuleInfo(), {}, nullptr);
    return variable.pointer()->registerModule(info);
}

void unregisterModule(Instance* instance) {
    if (!instance) return;
    GlobalVariablePtr<Globals>& variable = globalsVariable();
    auto lock = variable.access();
    if (Globals* globals = variable.pointer()) globals->unregisterModule(instance);
}

Version getVersion() {
    return getModuleInfo().version();
}

} // namespace QOR
} // namespace Core
} // namespace Orvane
