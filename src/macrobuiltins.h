// The built-in macros: the table the parser binds names to, the call that a built-in receives,
// and the registration of built-ins from the units above the macro engine. The engine itself
// offers only macros that need nothing above strings and time; macros that read a service of the
// library (configuration, loaded modules) are registered by the unit that owns the service
// (libraryservices.cpp), so that the engine never includes a higher layer.
#pragma once

#include "macroengine.h"

#include <cstddef>
#include <cstdint>
#include <string>

namespace Orvane {
namespace Core {
namespace Internal {

struct Builtin {
    const char* name;
    BuiltinFunction function;
    /// The arguments are not expanded before the call.
    bool rawArguments;
    /// It fails without arguments.
    bool needsArguments;
};

struct BuiltinCall {
    MacroEngine& engine;
    const std::string& name;
    ArgValues& args;
    std::string& result;

    std::size_t count() const { return args.size(); }
    const std::string& arg(std::size_t i) const { return *args[i].value; }
    bool braced(std::size_t i) const { return args[i].arg->braced; }

    bool usage(const char* text) {
        engine.fail(text);
        return false;
    }

    /// The value of an argument for a control macro: a braced one is expanded now.
    /// False when expansion stopped.
    bool value(std::size_t i, std::string& out) {
        out.clear();
        if (!braced(i)) {
            out = arg(i);
            return true;
        }
        engine.expandArg(*args[i].arg, out);
        return !engine.stopped();
    }

    /// The argument expanded as a template: braced, its text; otherwise its value.
    bool asTemplate(std::size_t i, std::string& out) {
        out.clear();
        if (braced(i))
            engine.expandArg(*args[i].arg, out);
        else
            engine.expandArg(engine.runtimeArg(arg(i)), out);
        return !engine.stopped();
    }
};

/// Adds a built-in macro from a unit above the engine, with its catalogue entry (usage and
/// description, as availableMacros() shows them). Meant for load time, before any template that
/// names it is parsed: templates bind built-ins when they are parsed. `name` and `usage` must
/// have static storage. A name that is already a built-in is not replaced (false).
bool registerBuiltin(const char* name, BuiltinFunction function, bool needsArguments,
                     const char* usage, const std::string& description);

/// Adds an entry to the catalogue (macrocatalogue.cpp).
void addCatalogueEntry(const std::string& name, const std::string& usage,
                       const std::string& description);

/// Lower-case hexadecimal, zero-padded to `digits`.
std::string hexText(std::uint64_t value, int digits);

} // namespace Internal
} // namespace Core
} // namespace Orvane
