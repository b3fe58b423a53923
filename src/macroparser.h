// The parsed form of macro templates and the parser that makes it (macroparser.cpp). Private to
// the library: the macro engine (macroengine.h) expands this form.
#pragma once

#include <memory>
#include <string>
#include <vector>

namespace Orvane {
namespace Core {
namespace Internal {

/// Inserted for a macro that yields no value, and for a malformed one.
inline constexpr const char* kNoValue = "[no value]";

struct CompiledTemplate;
using TemplatePtr = std::shared_ptr<const CompiledTemplate>;
struct Builtin;

struct CompiledArg {
    /// Braced: the verbatim inner text; otherwise the text to expand (unquoted).
    std::string text;
    bool braced = false;
    /// The parsed `text`; null when the text holds no "$(", its value then being the text.
    TemplatePtr tmpl;
};

struct CompiledNode {
    enum Kind : unsigned char { Literal, Macro, Malformed };
    Kind kind = Literal;
    /// Literal: the text; Macro: the name; Malformed: what is inserted in its place.
    std::string text;
    /// Malformed: the syntax error.
    const char* error = nullptr;
    /// Macro: the built-in of that name (built-ins are asked first, so the name decides).
    const Builtin* builtin = nullptr;
    std::vector<CompiledArg> args;
};

struct CompiledTemplate {
    std::string text;
    std::vector<CompiledNode> nodes;
    /// Parsed only when expanded: the text was found deeper than expansion may nest, and is
    /// parsed again for the level at which it is really expanded.
    bool deferred = false;
    bool constant = true;
};

/// The built-in of that name, or null (macrobuiltins.cpp). Built-ins are bound when a template is
/// parsed, since they are asked before any other source.
const Builtin* findBuiltin(const std::string& name);

/// Parses `text` for expansion at nesting `level` (1 for a whole template).
TemplatePtr parseTemplate(std::string text, long level);

/// `text` parsed at level 1, through a small cache shared by all replacers: recently used texts
/// (a log format) are not parsed again. Long texts are not kept.
TemplatePtr cachedTemplate(const std::string& text);

} // namespace Internal
} // namespace Core
} // namespace Orvane
