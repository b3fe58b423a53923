// The macro language of templates: log formats, file names, headers and configuration values.
//
// A template is literal text with macros "$(name)" and "$(name:arg1,arg2,...)". Expanding it
// replaces every macro by its value. Values come from three sources, asked in this order: the
// built-in macros (availableMacros()), the executors registered by name on a helper
// (MacroReplacerHelper::registerMacroExecutor), and the helper's virtual getCustomValue; a helper
// chained to a parent helper asks the parent last. The first source that produces a value wins;
// a source that fails and reports an error of its own ends the search (it knew the name). A
// built-in that needs arguments but is used without any ("$(function)") lets the other sources
// answer first, so that a context value may share its name; its usage error comes only when none
// of them knows the name.
//
// Syntax
// - A macro starts at "$(". Its name runs to the first ":" or to the closing ")"; blanks around it
//   are ignored. The closing ")" is found by counting parentheses, so nested macros stay whole.
//   Inside a macro "{...}" and "\"...\"" group text: commas, colons and parentheses inside them do
//   not count (a backslash in a quoted group protects the next character). Parentheses inside a
//   "{...}" group must balance, because a braced text is itself a template.
// - Arguments are split at the commas that are in no group and no nested macro, and trimmed of
//   white space. "$(x)" has no argument, "$(x:)" one empty argument.
// - An argument of more than one character that begins with "{" or with a double quote loses its
//   first and last character. A braced argument is kept verbatim: it is not expanded before the
//   macro is called. In a quoted argument the escapes \" \\ \n \r \t \v \f, \s (a blank) and
//   \xH or \xHH (the byte of that value) are converted; other backslashes stay as written.
//   Every argument that is not braced (quoted ones included) is then expanded.
// - Values are final: the text a macro yields is inserted as it is and never scanned again.
// - Text outside macros is literal: braces, quotes and parentheses there mean nothing.
//
// Control macros and braced arguments
// - if, while and block expand a braced argument when they need its value (a condition each
//   round, the branch taken, a body); an argument that is not braced was expanded before the call
//   and is used as it is. eval expands the value of its argument (so a braced text is expanded
//   once and a computed text is expanded as a template). function keeps its body as text; call
//   expands it in a new frame. Every other macro, set and return included, receives a braced
//   argument as its verbatim text.
// - Unknown macros and syntax errors inside a braced argument are reported when (and each time)
//   the argument is expanded, not when it is read.
// - set writes a variable of the current frame; v reads the current frame and then the main frame,
//   so functions see the variables set outside them. Functions are known to the whole session.
// - return ends the function being called: nothing more of its body is expanded, and the call
//   yields the returned value (a call that does not return yields nothing; the text its body
//   produces is discarded). A return outside any function ends the whole expansion, whose result
//   is then the returned value.
//
// Errors
// Expansion never throws. A failing macro appends its error text to the error list and yields
// "[no value]"; a name that no source knows also records "unknown macro: " and the name. An
// exception thrown by an executor or a helper's getCustomValue is such a failure: it records
// "macro '<name>' failed with an exception: " and the exception's what() text. The
// syntax errors are "syntax error: missing ':' after macro name" (the name is followed by
// something else, or holds blanks, commas, braces, quotes, parentheses or "$"), "syntax error:
// unexpected ')'" (an empty name, "$()"), "syntax error: too many ')'" (a ")" in a braced group
// that closes no "(" of the group) and "syntax error: missing ')'" (the text ends inside a macro;
// the rest of the text is then kept as it is). The malformed macro yields "[no value]".
//
// Limits (each stops the whole expansion: the error is recorded once, and the text expanded so far
// is kept): "too many enbedding" when expansion levels (a template, each expanded argument, each
// branch and body) nest deeper than MaxEmbedding; "stack overflow" when a call would nest deeper
// than MaxCallDepth calls; "macro expansion is too long" after MaxStepsPerExpansion steps (a
// step is a macro evaluated or a loop round run) in one expansion, or once the values produced
// pass MaxProducedBytes, so that nested loops cannot multiply into endless work. A while loop whose
// condition is still "true" after MaxLoopRounds rounds fails with "while: loop is too long" (the
// loop yields "[no value]"; the expansion goes on).
//
// Choices of the built-ins
// - thread_id and process_id: the low 32 bits in lower-case hexadecimal, 8 digits ("00001a2f").
// - dt_now: "iso" (the default) is the local ISO form with milliseconds, "posix" the POSIX
//   seconds, anything else a DateTime::asString format ("YYYYMMDD", "HH24:MI:SS").
//   dt_posix_to_iso takes integer or decimal POSIX seconds and gives the local ISO form.
// - operation: two integers compute in 64-bit integers ("/" truncates toward zero, "%" keeps the
//   sign of the dividend, "pow" with a negative exponent or an overflowing result goes to floating
//   point, as does any overflow); otherwise in double precision, written in the shortest form that
//   reads back to the same value ("0.5", "1e+30", "inf", "nan"). Operands of arithmetic must be
//   numbers, else the usage error is reported; division by zero reports "operation: division by
//   zero". Comparisons compare numerically when both operands are numbers, else byte-wise as
//   text. "not" and "!" give "false" for "true" and "true" for anything else.
// - get_cfg, get_modules, get_module_info and module_info read services of the library; they are
//   built-ins like the others, registered by the library's services when the library is loaded.
// - get_cfg reads the first value of the entry through QOR::libraryConfigHandler(), asking the
//   whole chain; the value is inserted as read (not expanded).
// - get_modules, get_module_info and module_info render a module as ModuleInfo::asString() unless
//   a format is given. A format (give it in braces) is a template with the macros $(module)
//   (ModuleInfo::asString()), $(module_name), $(module_type), $(module_version) and $(module_id)
//   (16 lower-case hexadecimal digits). get_module_info finds a module by its name or by its
//   asString() text.
// - Usage errors of macros that have no text of their own in the catalogue ("<name>: usage: "
//   followed by the catalogue usage): dt_now, module_info and return.
// - "//" does not expand its argument, so a comment may hold anything.
#pragma once

#include "qorcommon/export.h"
#include "qorcommon/privateptr.h"
#include "qorcommon/moduleinfo.h"
#include "qorcommon/string.h"
#include "qorcommon/stringlist.h"

#include <cstddef>
#include <functional>
#include <map>
#include <string>

namespace Orvane {
namespace Core {

class MacroReplacer;
class MacroReplacer_RunTimeSession;
// The engine's way into the private parts of the classes below (defined inside the library).
class MacroReplacerAccess;

/// The function behind a named macro: macro name, arguments (braced ones as their verbatim inner
/// text, the others expanded), the value (out), the error list to append to, and the replacer
/// that is expanding (for expanding texts of its own). True when it produced a value.
using MacroExecutor =
    std::function<bool(const std::string& name, const StringList& args, std::string& result,
                       StringList& errors, MacroReplacer* replacer)>;

/// The state of one expansion: variables, macro functions, the call frames and a pending return.
/// A helper that overrides the session form of getValue / getCustomValue sees it, and can expand
/// texts of its own within it with MacroReplacer::replace(text, errors, session). Not shared
/// between threads.
/// Thread safety: reentrant.
class QORCOMMON_API MacroReplacer_RunTimeSession {
public:
    /// Context that the caller of replace passes through to its own helper (dynamic_cast it back).
    /// Thread safety: reentrant.
    class QORCOMMON_API Custom {
    public:
        virtual ~Custom();
    };

    explicit MacroReplacer_RunTimeSession(Custom* custom = nullptr);
    ~MacroReplacer_RunTimeSession();
    MacroReplacer_RunTimeSession(const MacroReplacer_RunTimeSession&) = delete;
    MacroReplacer_RunTimeSession& operator=(const MacroReplacer_RunTimeSession&) = delete;

    Custom* custom() const;
    /// The replacer expanding in this session; null while none is.
    MacroReplacer* replacer() const;

    /// Reads a variable from the current frame, then from the main frame.
    bool variable(const std::string& name, std::string& value) const;
    /// Sets a variable in the current frame.
    void setVariable(const std::string& name, const std::string& value);

    /// The number of active calls.
    std::size_t callDepth() const;

    bool hasFunction(const std::string& name) const;

    /// Whether a return is being carried out; its value.
    bool hasPendingReturn() const;
    const std::string& pendingReturnValue() const;

private:
    friend class MacroReplacerAccess;
    struct Private;
    Private* d;
};

/// A value source of the replacer. Subclasses override getCustomValue to supply context values;
/// named executors can be registered at any time, also while other threads expand.
/// Thread safety: thread-safe (setParentHelper: set once at start-up).
class QORCOMMON_API MacroReplacerHelper {
public:
    using Executor = MacroExecutor;

    MacroReplacerHelper();
    /// A helper that asks `parent` (not owned; may be null) for what it cannot supply itself.
    explicit MacroReplacerHelper(MacroReplacerHelper* parent);
    virtual ~MacroReplacerHelper();
    MacroReplacerHelper(const MacroReplacerHelper&) = delete;
    MacroReplacerHelper& operator=(const MacroReplacerHelper&) = delete;

    /// A value for a macro that neither the built-ins nor the executors know. The base returns
    /// false.
    virtual bool getCustomValue(const std::string& name, const StringList& args,
                                std::string& result, StringList& errors);
    /// The same, with the session of the running expansion. The base asks the overload without
    /// the session, so that a subclass overrides whichever it needs.
    virtual bool getCustomValue(const std::string& name, const StringList& args,
                                std::string& result, StringList& errors,
                                MacroReplacer_RunTimeSession& session);

    /// The value of a macro: a built-in, then a registered executor, then getCustomValue, then
    /// the parent helper. `args` are taken as an executor receives them: the control macros
    /// expand them where they would expand a braced argument. False when no source produced a
    /// value (errors then say why, when a source knew the name).
    bool getValue(const std::string& name, const StringList& args, std::string& result,
                  StringList& errors);
    bool getValue(const std::string& name, const StringList& args, std::string& result,
                  StringList& errors, MacroReplacer_RunTimeSession& session);

    /// Adds or replaces the executor of `name`.
    void registerMacroExecutor(const std::string& name, Executor executor);
    /// False when no executor of that name was registered.
    bool unregisterMacroExecutor(const std::string& name);
    bool hasMacroExecutor(const std::string& name) const;

    MacroReplacerHelper* parentHelper() const;
    void setParentHelper(MacroReplacerHelper* parent);

private:
    friend class MacroReplacerAccess;
    struct Private;
    Private* d;
};

/// A helper whose getCustomValue calls one executor.
/// Thread safety: thread-safe as far as its executor is.
class QORCOMMON_API SimpleMacroReplacerHelper : public MacroReplacerHelper {
public:
    explicit SimpleMacroReplacerHelper(Executor executor, MacroReplacerHelper* parent = nullptr);
    ~SimpleMacroReplacerHelper() override;

    using MacroReplacerHelper::getCustomValue;
    bool getCustomValue(const std::string& name, const StringList& args, std::string& result,
                        StringList& errors) override;
    bool getCustomValue(const std::string& name, const StringList& args, std::string& result,
                        StringList& errors, MacroReplacer_RunTimeSession& session) override;

private:
    Executor m_executor;
};

/// A template parsed once: literal pieces and macros with their arguments already split, unquoted
/// and parsed in turn, so that expanding it again costs no scanning of the text. Immutable; copies
/// share the parsed form, and one template may be expanded by several threads at once.
/// Thread safety: thread-safe.
class QORCOMMON_API MacroTemplate {
public:
    /// The empty template.
    MacroTemplate();
    explicit MacroTemplate(const std::string& text);
    MacroTemplate(const MacroTemplate& other) noexcept;
    MacroTemplate(MacroTemplate&& other) noexcept;
    MacroTemplate& operator=(const MacroTemplate& other) noexcept;
    MacroTemplate& operator=(MacroTemplate&& other) noexcept;
    ~MacroTemplate();

    const std::string& text() const;
    bool isEmpty() const;
    /// True when the text holds no macro (and no syntax error): it expands to itself.
    bool isConstant() const;

private:
    friend class MacroReplacerAccess;
    struct Private;
    SharedPrivatePtr<Private> d;
};

/// Expands templates. The replacer holds no state of an expansion, so one replacer may expand on
/// several threads at once as far as its helper allows.
/// Thread safety: thread-safe as far as its helper is.
class QORCOMMON_API MacroReplacer {
public:
    using Executor = MacroExecutor;

    enum Limits : long {
        /// Expansion levels deeper than this fail with "too many enbedding".
        MaxEmbedding = 256,
        /// A while loop fails with "while: loop is too long" after this many rounds.
        MaxLoopRounds = 1000,
        /// Calls nested deeper than this fail with "stack overflow".
        MaxCallDepth = 100,
        /// Macros evaluated and loop rounds run in one expansion before it fails with "macro
        /// expansion is too long".
        MaxStepsPerExpansion = 200000,
        /// Bytes of values produced in one expansion before it fails the same way.
        MaxProducedBytes = 16L * 1024 * 1024
    };

    /// A replacer with the built-ins only.
    MacroReplacer();
    /// A replacer over `helper` (not owned; may be null).
    explicit MacroReplacer(MacroReplacerHelper* helper);
    /// A replacer over a SimpleMacroReplacerHelper of its own that calls `executor`.
    explicit MacroReplacer(Executor executor);
    ~MacroReplacer();
    MacroReplacer(const MacroReplacer&) = delete;
    MacroReplacer& operator=(const MacroReplacer&) = delete;

    /// The helper (the replacer's own one when made from an executor); null when there is none.
    MacroReplacerHelper* helper() const;

    /// Expands `text` in place; true when no error occurred. Errors are appended to `errors`;
    /// `custom` is handed to the helper through the session. Recently used texts stay parsed in a
    /// small cache shared by all replacers.
    bool replace(std::string& text);
    bool replace(std::string& text, StringList& errors);
    bool replace(std::string& text, StringList& errors,
                 MacroReplacer_RunTimeSession::Custom* custom);
    /// Expands `text` within a running session (variables, functions and limits shared with
    /// it), for helpers and executors that expand texts of their own.
    bool replace(std::string& text, StringList& errors, MacroReplacer_RunTimeSession& session);

    /// Expands a parsed template into `result` (replacing its content); the same results and
    /// errors as replace() on the template's text.
    bool expand(const MacroTemplate& tmpl, std::string& result);
    bool expand(const MacroTemplate& tmpl, std::string& result, StringList& errors);
    bool expand(const MacroTemplate& tmpl, std::string& result, StringList& errors,
                MacroReplacer_RunTimeSession::Custom* custom);
    bool expand(const MacroTemplate& tmpl, std::string& result, StringList& errors,
                MacroReplacer_RunTimeSession& session);

    /// The built-in macros: name -> NameInfo(usage text, description text). Aliases have entries
    /// of their own with the same texts.
    static const std::map<std::string, NameInfo>& availableMacros();
    /// The catalogue as an HTML table: "<table>", a head row, one row per macro (usage and
    /// description, with "&", "<" and ">" escaped; aliases share their row), "</table>".
    static String availableMacrosAsHtml();

private:
    friend class MacroReplacerAccess;
    struct Private;
    Private* d;
};

/// `text` expanded by a replacer over `helper` (null: the built-ins only).
QORCOMMON_API String replaceStr(const std::string& text);
QORCOMMON_API String replaceStr(const std::string& text, StringList& errors,
                                MacroReplacerHelper* helper = nullptr);

} // namespace Core
} // namespace Orvane
