// The macro engine: the state of an expansion (session data, call frames, scratch areas) and the
// expansion of the parsed form (macroparser.h). Private to the library. The built-in macros
// (macrobuiltins.h) run on it.
#pragma once

#include "qorcommon/macroreplacer.h"
#include "qorcommon/mutex.h"

#include "macroparser.h"
#include "platform/platform.h"

#include <atomic>
#include <cstddef>
#include <map>
#include <memory>
#include <string>
#include <vector>

namespace Orvane {
namespace Core {
namespace Internal {

/// Ends the whole expansion when an expansion level nests deeper than MaxEmbedding.
inline constexpr const char* kTooManyEmbedding = "too many enbedding";
/// Ends the whole expansion when a call nests deeper than MaxCallDepth.
inline constexpr const char* kStackOverflow = "stack overflow";
/// Ends the whole expansion when its steps or produced bytes exceed the budget.
inline constexpr const char* kTooLong = "macro expansion is too long";

namespace RunTimeSession {

/// The variables of one frame of a session.
class Frame {
public:
    virtual ~Frame();
    Frame(const Frame&) = delete;
    Frame& operator=(const Frame&) = delete;

    /// False (and `value` untouched) when the frame has no such variable.
    bool variable(const std::string& name, std::string& value) const;
    void setVariable(const std::string& name, const std::string& value);
    const std::map<std::string, std::string>& variables() const;
    virtual bool isMainFrame() const = 0;

protected:
    Frame();

private:
    struct Private;
    Private* d;
};

/// The bottom frame: the variables set outside any function.
class MainFrame : public Frame {
public:
    MainFrame();
    ~MainFrame() override;
    bool isMainFrame() const override { return true; }
};

/// The frame of one active call: the function's arguments and the variables it sets.
class StackFrame : public Frame {
public:
    explicit StackFrame(const std::string& functionName);
    ~StackFrame() override;
    bool isMainFrame() const override { return false; }
    const std::string& functionName() const;

private:
    std::string m_functionName;
};

} // namespace RunTimeSession

struct MacroFunction {
    std::vector<std::string> parameters;
    CompiledArg body;
};

// An argument as a macro receives it: the parsed argument and its value.
struct ArgValue {
    const CompiledArg* arg = nullptr;
    std::string expanded;
    const std::string* value = nullptr;
};
using ArgValues = std::vector<ArgValue>;

// What one macro evaluation works in: its arguments, the list handed to executors and helpers,
// and the value. Reused from evaluation to evaluation and from expansion to expansion, so that
// steady expansion allocates (almost) nothing. (Not in thread-local storage:
// thread_local objects with destructors hang the process exit of some Windows runtimes.)
struct Scratch {
    ArgValues args;
    StringList list;
    std::string value;

    // Big texts and long argument lists are not kept for later evaluations.
    void trim() {
        constexpr std::size_t KeepBytes = 4096;
        constexpr std::size_t KeepArgs = 16;
        if (value.capacity() > KeepBytes) std::string().swap(value);
        if (args.size() > KeepArgs) {
            ArgValues().swap(args);
            list.clear();
            return;
        }
        for (ArgValue& arg : args)
            if (arg.expanded.capacity() > KeepBytes) std::string().swap(arg.expanded);
        for (std::string& item : list)
            if (item.capacity() > KeepBytes) std::string().swap(item);
    }
};

// Evaluations within a session nest strictly, so its scratch areas are taken and given back like
// a stack.
struct ScratchStack {
    std::vector<std::unique_ptr<Scratch>> items;
    std::size_t top = 0;
};

/// A scratch stack left by a finished expansion, or null (then the session makes its own).
ScratchStack* takeScratch();
/// Keeps `stack` for a later expansion (or frees it).
void giveBackScratch(ScratchStack* stack);

} // namespace Internal

// ---- the private parts of the public classes ---------------------------------------------------

struct MacroReplacer_RunTimeSession::Private {
    Custom* custom = nullptr;
    MacroReplacer* replacer = nullptr;
    Internal::RunTimeSession::MainFrame mainFrame;
    std::vector<std::unique_ptr<Internal::RunTimeSession::StackFrame>> calls;
    std::map<std::string, std::shared_ptr<const Internal::MacroFunction>> functions;
    bool returning = false;
    std::string returnValue;
    std::unique_ptr<Internal::ScratchStack> scratch;

    // The running expansion.
    int activeExpansions = 0;
    long depth = 0;
    long steps = 0;
    std::size_t produced = 0;
    bool aborted = false;

    Internal::RunTimeSession::Frame& currentFrame() {
        if (calls.empty()) return mainFrame;
        return *calls.back();
    }
};

struct MacroReplacerHelper::Private {
    MacroReplacerHelper* parent = nullptr;
    mutable Platform::Mutex mutex;
    std::map<std::string, std::shared_ptr<const Executor>> executors;
    // Read without the lock, so that helpers without executors pay nothing for them.
    std::atomic<std::size_t> executorCount{0};

    std::shared_ptr<const Executor> find(const std::string& name) const {
        if (executorCount.load(std::memory_order_acquire) == 0) return nullptr;
        ScopedLock<Platform::Mutex> lock(mutex);
        auto it = executors.find(name);
        return it == executors.end() ? nullptr : it->second;
    }
};

// The empty template is the shared empty block (no parsed form).
struct MacroTemplate::Private : SharedPrivate {
    Private() = default;
    explicit Private(Internal::TemplatePtr parsed) : tmpl(std::move(parsed)) {}
    Internal::TemplatePtr tmpl;
};

class MacroReplacerAccess {
public:
    using SessionData = MacroReplacer_RunTimeSession::Private;
    using HelperData = MacroReplacerHelper::Private;

    static SessionData& session(MacroReplacer_RunTimeSession& session) { return *session.d; }
    static HelperData& helper(MacroReplacerHelper& helper) { return *helper.d; }
    static const Internal::CompiledTemplate* compiled(const MacroTemplate& tmpl) {
        return tmpl.d->tmpl.get();
    }
};

namespace Internal {

class ScratchLease {
public:
    explicit ScratchLease(ScratchStack& stack) : m_stack(stack) {
        if (m_stack.top == m_stack.items.size())
            m_stack.items.push_back(std::make_unique<Scratch>());
        m_scratch = m_stack.items[m_stack.top++].get();
    }
    ~ScratchLease() {
        m_scratch->trim();
        --m_stack.top;
    }
    ScratchLease(const ScratchLease&) = delete;
    ScratchLease& operator=(const ScratchLease&) = delete;

    Scratch* operator->() const { return m_scratch; }

private:
    ScratchStack& m_stack;
    Scratch* m_scratch;
};

struct BuiltinCall;
using BuiltinFunction = bool (*)(BuiltinCall& call);

// One expansion step: a session, the helper asked for values and the error list.
struct MacroEngine {
    using SessionData = MacroReplacerAccess::SessionData;

    MacroReplacer_RunTimeSession& session;
    SessionData& s;
    MacroReplacer* replacer;
    MacroReplacerHelper* helper;
    StringList& errors;

    static SessionData& data(MacroReplacer_RunTimeSession& session) {
        return MacroReplacerAccess::session(session);
    }
    ScratchStack& scratchStack() {
        if (!s.scratch) s.scratch.reset(new ScratchStack);
        return *s.scratch;
    }

    MacroEngine(MacroReplacer_RunTimeSession& session_, MacroReplacer* replacer_,
                MacroReplacerHelper* helper_, StringList& errors_)
        : session(session_), s(data(session_)), replacer(replacer_), helper(helper_),
          errors(errors_) {}

    // ---- state --------------------------------------------------------------------------------

    bool stopped() const { return s.aborted || s.returning; }

    void fail(std::string text) { errors.append(std::move(text)); }

    void abortWith(const char* text) {
        if (s.aborted) return;
        errors.append(text);
        s.aborted = true;
    }

    bool step() {
        if (++s.steps <= MacroReplacer::MaxStepsPerExpansion) return true;
        abortWith(kTooLong);
        return false;
    }

    /// Counts `bytes` of produced values against the budget.
    bool produce(std::size_t bytes) {
        s.produced += bytes;
        if (s.produced <= static_cast<std::size_t>(MacroReplacer::MaxProducedBytes)) return true;
        abortWith(kTooLong);
        return false;
    }

    bool enterLevel() {
        if (s.depth >= MacroReplacer::MaxEmbedding) {
            abortWith(kTooManyEmbedding);
            return false;
        }
        ++s.depth;
        return true;
    }

    void leaveLevel() { --s.depth; }

    // ---- expansion ----------------------------------------------------------------------------

    void expandTemplate(const CompiledTemplate& t, std::string& out) {
        if (stopped() || !enterLevel()) return;
        if (t.deferred)
            run(*parseTemplate(t.text, s.depth), out);
        else
            run(t, out);
        leaveLevel();
    }

    void run(const CompiledTemplate& t, std::string& out) {
        for (const CompiledNode& node : t.nodes) {
            if (stopped()) return;
            switch (node.kind) {
            case CompiledNode::Literal:
                out += node.text;
                break;
            case CompiledNode::Malformed:
                errors.append(node.error);
                out += node.text;
                break;
            case CompiledNode::Macro:
                evaluate(node, out);
                break;
            }
        }
    }

    /// Expands an argument text (one expansion level, also when it holds no macro).
    void expandArg(const CompiledArg& arg, std::string& out) {
        if (arg.tmpl) return expandTemplate(*arg.tmpl, out);
        if (stopped() || !enterLevel()) return;
        out += arg.text;
        leaveLevel();
    }

    /// An argument made at run time from a value, to be expanded as a template.
    CompiledArg runtimeArg(const std::string& text) const {
        CompiledArg arg;
        arg.text = text;
        arg.braced = true;
        if (text.find("$(") != std::string::npos) arg.tmpl = parseTemplate(text, s.depth + 1);
        return arg;
    }

    /// False when expansion stopped while the arguments were expanded.
    bool collectArgs(const CompiledNode& node, ArgValues& values) {
        values.resize(node.args.size());
        for (std::size_t i = 0; i < node.args.size(); ++i) {
            const CompiledArg& arg = node.args[i];
            ArgValue& value = values[i];
            value.arg = &arg;
            if (arg.braced) {
                value.value = &arg.text;
                continue;
            }
            value.expanded.clear();
            expandArg(arg, value.expanded);
            if (stopped()) return false;
            value.value = arg.tmpl ? &value.expanded : &arg.text;
        }
        return true;
    }

    void evaluate(const CompiledNode& node, std::string& out);

    bool evaluate(const CompiledNode& node, ArgValues& args, std::string& value, StringList& list,
                  bool& known);

    void insert(const CompiledNode& node, bool ok, bool known, std::size_t errorsBefore,
                const std::string& value, std::string& out);

    /// The value from the executors and custom values of the helper chain. `known` tells whether
    /// a source knew the name (it failed with an error of its own).
    bool lookup(const std::string& name, const StringList& args, std::string& value, bool& known);

    /// Runs a value source of the caller (executor or helper); an exception it throws becomes an
    /// error of the macro `name` (false).
    template <typename Source> bool callGuarded(const std::string& name, Source&& source);

    static const StringList& noArgs() {
        static const StringList* empty = new StringList;
        return *empty;
    }
};

// Runs one outermost or nested expansion on a session: binds the replacer, resets the counters of
// a fresh expansion, and turns a return from the main frame into the result.
class ExpansionScope {
public:
    ExpansionScope(MacroReplacer_RunTimeSession& session, MacroReplacer* replacer)
        : m_s(MacroEngine::data(session)), m_previousReplacer(m_s.replacer) {
        if (replacer) m_s.replacer = replacer;
        if (m_s.activeExpansions++ != 0) return;
        m_s.depth = 0;
        m_s.steps = 0;
        m_s.produced = 0;
        m_s.aborted = false;
        m_s.returning = false;
        if (!m_s.scratch) m_s.scratch.reset(takeScratch());
    }
    ~ExpansionScope() {
        // The outermost expansion leaves its scratch areas to the next one.
        if (--m_s.activeExpansions == 0 && m_s.scratch) giveBackScratch(m_s.scratch.release());
        m_s.replacer = m_previousReplacer;
    }
    ExpansionScope(const ExpansionScope&) = delete;
    ExpansionScope& operator=(const ExpansionScope&) = delete;

    void finish(std::string& out) {
        if (m_s.activeExpansions != 1 || !m_s.returning || !m_s.calls.empty()) return;
        out = std::move(m_s.returnValue);
        m_s.returnValue.clear();
        m_s.returning = false;
    }

private:
    MacroEngine::SessionData& m_s;
    MacroReplacer* m_previousReplacer;
};

/// Expands `t` (null: the empty template) into `out`; true when no error was recorded.
bool expandWith(MacroReplacer* replacer, MacroReplacerHelper* helper, const CompiledTemplate* t,
                std::string& out, StringList& errors, MacroReplacer_RunTimeSession& session);

} // namespace Internal
} // namespace Core
} // namespace Orvane
