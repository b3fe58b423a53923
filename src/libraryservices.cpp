#include "qorcommon/libraryservices.h"

#include "qorcommon/export.h"
#include "qorcommon/mutex.h"
#include "qorcommon/version.h"

#include "macrobuiltins.h"
#include "platform/platform.h"

#include <utility>

namespace Orvane {
namespace Core {
namespace QOR {

namespace {

struct Slots {
    Platform::Mutex mutex;
    GC<ConfigHandler> configHandler;
    GC<LoggingHandler> loggingHandler;
    LoadedModulesProvider modulesProvider;
};

Slots& slots() {
    // Never destroyed: loggers may still expand templates during static destruction.
    static Slots* instance = new Slots;
    return *instance;
}

// ---- the macros of the services
// ------------------------------------------------------------------ The macro engine sits below
// configuration and the framework, so the macros that read these services are registered into it
// from here, when the library is loaded.

bool getCfgMacro(Internal::BuiltinCall& c) {
    GC<ConfigHandler> handler = libraryConfigHandler();
    if (!handler) return c.usage("get_cfg: cannot be used before initializing QorCommon");
    if (c.count() < 1 || c.count() > 2 || c.arg(0).empty())
        return c.usage("get_cfg: usage: $(get_cfg:<cfg path>[,<default value>])");
    std::string value;
    if (handler->getEntryAsString(c.arg(0), value, true)) {
        c.result = std::move(value);
        return true;
    }
    if (c.count() == 2) {
        c.result = c.arg(1);
        return true;
    }
    return c.usage("get_cfg: entry not found in configuration");
}

// The macros of a module format.
class ModuleMacros : public MacroReplacerHelper {
public:
    ModuleMacros(const ModuleInfo& module, MacroReplacerHelper* parent)
        : MacroReplacerHelper(parent), m_module(module) {}

    using MacroReplacerHelper::getCustomValue;
    bool getCustomValue(const std::string& name, const StringList&, std::string& result,
                        StringList&) override {
        if (name == "module") {
            result = m_module.asString().str();
        } else if (name == "module_name") {
            result = m_module.name();
        } else if (name == "module_type") {
            result = m_module.type();
        } else if (name == "module_version") {
            result = m_module.version().toString();
        } else if (name == "module_id") {
            result = Internal::hexText(m_module.uniqueId(), 16);
        } else {
            return false;
        }
        return true;
    }

private:
    const ModuleInfo& m_module;
};

/// Renders `module` with the format of argument `formatIndex`, if there is one.
bool renderModule(Internal::BuiltinCall& c, const ModuleInfo& module, std::size_t formatIndex,
                  std::string& out) {
    if (formatIndex >= c.count()) {
        out += module.asString().str();
        return true;
    }
    ModuleMacros macros(module, c.engine.helper);
    Internal::MacroEngine engine(c.engine.session, c.engine.replacer, &macros, c.engine.errors);
    Internal::BuiltinCall inner{engine, c.name, c.args, c.result};
    std::string text;
    if (!inner.asTemplate(formatIndex, text)) return false;
    out += text;
    return true;
}

bool getModulesMacro(Internal::BuiltinCall& c) {
    if (c.count() < 1 || c.count() > 2)
        return c.usage("get_modules: usage: $(get_modules:<delimiter>[,<module info format>])");
    std::string text;
    bool first = true;
    for (const ModuleInfo& module : loadedModules()) {
        if (!first) text += c.arg(0);
        first = false;
        if (!renderModule(c, module, 1, text)) return false;
    }
    c.result = std::move(text);
    return true;
}

bool getModuleInfoMacro(Internal::BuiltinCall& c) {
    if (c.count() < 1 || c.count() > 2)
        return c.usage(
            "get_module_info: usage: $(get_module_info:<module (shown) name>[,<format>])");
    for (const ModuleInfo& module : loadedModules()) {
        if (module.name() != c.arg(0) && module.asString().str() != c.arg(0)) continue;
        std::string text;
        if (!renderModule(c, module, 1, text)) return false;
        c.result = std::move(text);
        return true;
    }
    c.engine.fail("get_module_info: could not find module: '" + c.arg(0) + "'");
    return false;
}

bool moduleInfoMacro(Internal::BuiltinCall& c) {
    if (c.count() > 1) return c.usage("module_info: usage: $(module_info[:<format>])");
    std::string text;
    if (!renderModule(c, getModuleInfo(), 0, text)) return false;
    c.result = std::move(text);
    return true;
}

void registerServiceMacros() {
    using Internal::registerBuiltin;
    registerBuiltin("get_cfg", getCfgMacro, true, "$(get_cfg:<cfg path>[,<default value>])",
                    "Inserts a configuration entry from common config handler.");
    registerBuiltin("get_modules", getModulesMacro, true,
                    "$(get_modules:<delimiter>[, <module info format>])",
                    "Inserts the list of all loaded modules.");
    registerBuiltin("get_module_info", getModuleInfoMacro, true,
                    "$(get_module_info:<module(shown) name>[, <format>])",
                    "Inserts the information about the given loaded module.");
    registerBuiltin("module_info", moduleInfoMacro, false, "$(module_info[:<format>])",
                    "Inserts the information about the QorCommon module.");
}

// Before any caller of the library can expand a template.
struct ServiceMacrosRegistrar {
    ServiceMacrosRegistrar() { registerServiceMacros(); }
} serviceMacrosRegistrar;

} // namespace

namespace {

// Replaces one service slot; the old service is let go outside the lock, in case that destroys it.
template <class T> void storeSlot(GC<T> Slots::*slot, const GC<T>& value) {
    Slots& s = slots();
    GC<T> previous;
    ScopedLock<Platform::Mutex> lock(s.mutex);
    previous = s.*slot;
    s.*slot = value;
    lock.unlock();
}

template <class T> GC<T> loadSlot(GC<T> Slots::*slot) {
    Slots& s = slots();
    ScopedLock<Platform::Mutex> lock(s.mutex);
    return s.*slot;
}

} // namespace

void setLibraryConfigHandler(const GC<ConfigHandler>& handler) {
    storeSlot(&Slots::configHandler, handler);
}

GC<ConfigHandler> libraryConfigHandler() {
    return loadSlot(&Slots::configHandler);
}

void setLibraryLoggingHandler(const GC<LoggingHandler>& handler) {
    storeSlot(&Slots::loggingHandler, handler);
}

GC<LoggingHandler> libraryLoggingHandler() {
    return loadSlot(&Slots::loggingHandler);
}

void setLoadedModulesProvider(LoadedModulesProvider provider) {
    Slots& s = slots();
    // The old provider is destroyed with the parameter, outside the lock.
    ScopedLock<Platform::Mutex> lock(s.mutex);
    std::swap(s.modulesProvider, provider);
    lock.unlock();
}

std::list<ModuleInfo> loadedModules() {
    Slots& s = slots();
    ScopedLock<Platform::Mutex> lock(s.mutex);
    LoadedModulesProvider provider = s.modulesProvider;
    lock.unlock();
    if (provider) return provider();
    return std::list<ModuleInfo>{getModuleInfo()};
}

const ModuleInfo& getModuleInfo() {
    static const ModuleInfo info(
        QORCOMMON_LIBRARY_NAME, "dll",
        Version(QORCOMMON_VERSION_MAJOR, QORCOMMON_VERSION_MINOR, QORCOMMON_VERSION_PATCH));
    return info;
}

} // namespace QOR
} // namespace Core
} // namespace Orvane
