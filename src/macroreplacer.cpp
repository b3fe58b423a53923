// The macro replacer: a parser that turns a template into literal pieces and macro nodes once, and
// an engine that expands the parsed form. replace(text) parses through a small shared cache, so a
// text used again (a log format) is not parsed again, and expanding never scans text.
#include "qorcommon/macroreplacer.h"

#include "qorcommon/confighandler.h"
#include "qorcommon/datetime.h"
#include "qorcommon/errorinfo.h"
#include "qorcommon/libraryservices.h"
#include "qorcommon/mutex.h"

#include "platform/platform.h"

#include <atomic>
#include <charconv>
#include <climits>
#include <list>
#include <cmath>
#include <memory>
#include <unordered_map>
#include <utility>
#include <vector>

namespace Orvane {
namespace Core {

namespace Internal {

// ---- the parsed form ---------------------------------------------------------------------------

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

namespace {

const char* const kNoValue = "[no value]";
const char* const kUnknownMacro = "unknown macro: ";
const char* const kMissingColon = "syntax error: missing ':' after macro name";
const char* const kUnexpectedParen = "syntax error: unexpected ')'";
const char* const kMissingParen = "syntax error: missing ')'";
const char* const kTooManyParens = "syntax error: too many ')'";
const char* const kTooManyEmbedding = "too many enbedding";
const char* const kStackOverflow = "stack overflow";
const char* const kTooLong = "macro expansion is too long";

bool isBlank(char c) {
    return c == ' ' || c == '\t' || c == '\n' || c == '\r' || c == '\v' || c == '\f';
}

std::string trimmed(const std::string& text, std::size_t begin, std::size_t end) {
    while (begin < end && isBlank(text[begin]))
        ++begin;
    while (end > begin && isBlank(text[end - 1]))
        --end;
    return text.substr(begin, end - begin);
}

bool isValidName(const std::string& name) {
    for (char c : name) {
        if (isBlank(c)) return false;
        switch (c) {
        case '(':
        case ')':
        case '{':
        case '}':
        case '"':
        case ',':
        case '$':
            return false;
        default:
            break;
        }
    }
    return true;
}

int hexValue(char c) {
    if (c >= '0' && c <= '9') return c - '0';
    if (c >= 'a' && c <= 'f') return c - 'a' + 10;
    if (c >= 'A' && c <= 'F') return c - 'A' + 10;
    return -1;
}

// The escapes of a quoted argument.
std::string unescaped(const std::string& text) {
    std::string out;
    out.reserve(text.size());
    for (std::size_t i = 0; i < text.size(); ++i) {
        const char c = text[i];
        if (c != '\\' || i + 1 >= text.size()) {
            out += c;
            continue;
        }
        const char e = text[i + 1];
        char converted = 0;
        switch (e) {
        case '"':
            converted = '"';
            break;
        case '\\':
            converted = '\\';
            break;
        case 'n':
            converted = '\n';
            break;
        case 'r':
            converted = '\r';
            break;
        case 't':
            converted = '\t';
            break;
        case 'v':
            converted = '\v';
            break;
        case 'f':
            converted = '\f';
            break;
        case 's':
            converted = ' ';
            break;
        case 'x': {
            int value = 0;
            std::size_t digits = 0;
            while (digits < 2 && i + 2 + digits < text.size()) {
                const int h = hexValue(text[i + 2 + digits]);
                if (h < 0) break;
                value = value * 16 + h;
                ++digits;
            }
            if (digits == 0) {
                out += c; // "\x" without digits stays as written
                continue;
            }
            out += static_cast<char>(value);
            i += 1 + digits;
            continue;
        }
        default:
            out += c; // an unknown escape stays as written
            continue;
        }
        out += converted;
        ++i;
    }
    return out;
}

} // namespace

const Builtin* findBuiltin(const std::string& name);
TemplatePtr parseTemplate(std::string text, long level);

namespace {

// Where the parts of one macro lie, found by a single scan from behind its "$(".
struct MacroScan {
    std::size_t colon = std::string::npos;
    std::size_t end = std::string::npos; // the closing ")"
    std::vector<std::size_t> commas;
    bool unterminated = false;
    bool surplusParen = false;
};

void scanMacro(const std::string& s, std::size_t i, MacroScan& scan) {
    long parens = 1;
    // Per open brace group: the parentheses opened inside it.
    std::vector<long> braceParens;
    bool quoted = false;
    for (const std::size_t n = s.size(); i < n; ++i) {
        const char c = s[i];
        if (quoted) {
            if (c == '\\')
                ++i;
            else if (c == '"')
                quoted = false;
            continue;
        }
        switch (c) {
        case '"':
            quoted = true;
            break;
        case '{':
            braceParens.push_back(0);
            break;
        case '}':
            if (!braceParens.empty()) braceParens.pop_back();
            break;
        case '(':
            if (braceParens.empty())
                ++parens;
            else
                ++braceParens.back();
            break;
        case ')':
            if (!braceParens.empty()) {
                if (braceParens.back() == 0)
                    scan.surplusParen = true;
                else
                    --braceParens.back();
            } else if (--parens == 0) {
                scan.end = i;
                return;
            }
            break;
        case ':':
            if (parens == 1 && braceParens.empty() && scan.colon == std::string::npos)
                scan.colon = i;
            break;
        case ',':
            if (parens == 1 && braceParens.empty() && scan.colon != std::string::npos)
                scan.commas.push_back(i);
            break;
        default:
            break;
        }
    }
    scan.unterminated = true;
}

CompiledArg makeArg(const std::string& s, std::size_t begin, std::size_t end, long level) {
    CompiledArg arg;
    std::string text = trimmed(s, begin, end);
    if (text.size() > 1 && text[0] == '{') {
        arg.braced = true;
        arg.text = text.substr(1, text.size() - 2);
    } else if (text.size() > 1 && text[0] == '"') {
        arg.text = unescaped(text.substr(1, text.size() - 2));
    } else {
        arg.text = std::move(text);
    }
    if (arg.text.find("$(") != std::string::npos) arg.tmpl = parseTemplate(arg.text, level);
    return arg;
}

void addLiteral(CompiledTemplate& t, std::string& literal) {
    if (literal.empty()) return;
    CompiledNode node;
    node.text.swap(literal);
    t.nodes.push_back(std::move(node));
}

void addMalformed(CompiledTemplate& t, const char* error, std::string inserted) {
    CompiledNode node;
    node.kind = CompiledNode::Malformed;
    node.error = error;
    node.text = std::move(inserted);
    t.nodes.push_back(std::move(node));
    t.constant = false;
}

void addMacro(CompiledTemplate& t, const std::string& s, std::size_t nameBegin,
              const MacroScan& scan, long level) {
    const bool hasArgs = scan.colon != std::string::npos;
    std::string name = trimmed(s, nameBegin, hasArgs ? scan.colon : scan.end);
    if (scan.surplusParen) return addMalformed(t, kTooManyParens, kNoValue);
    if (name.empty() && !hasArgs) return addMalformed(t, kUnexpectedParen, kNoValue);
    if (!isValidName(name)) return addMalformed(t, kMissingColon, kNoValue);

    CompiledNode node;
    node.kind = CompiledNode::Macro;
    node.builtin = findBuiltin(name);
    node.text = std::move(name);
    if (hasArgs) {
        node.args.reserve(scan.commas.size() + 1);
        std::size_t begin = scan.colon + 1;
        for (std::size_t comma : scan.commas) {
            node.args.push_back(makeArg(s, begin, comma, level + 1));
            begin = comma + 1;
        }
        node.args.push_back(makeArg(s, begin, scan.end, level + 1));
    }
    t.nodes.push_back(std::move(node));
    t.constant = false;
}

void parseInto(CompiledTemplate& t, long level) {
    const std::string& s = t.text;
    std::string literal;
    std::size_t pos = 0;
    while (pos < s.size()) {
        const std::size_t start = s.find("$(", pos);
        if (start == std::string::npos) {
            literal.append(s, pos, std::string::npos);
            break;
        }
        literal.append(s, pos, start - pos);
        MacroScan scan;
        scanMacro(s, start + 2, scan);
        addLiteral(t, literal);
        if (scan.unterminated) {
            addMalformed(t, kMissingParen, s.substr(start));
            return;
        }
        addMacro(t, s, start + 2, scan, level);
        pos = scan.end + 1;
    }
    addLiteral(t, literal);
}

} // namespace

/// Parses `text` for expansion at nesting `level` (1 for a whole template).
TemplatePtr parseTemplate(std::string text, long level) {
    auto t = std::make_shared<CompiledTemplate>();
    t->text = std::move(text);
    if (level > MacroReplacer::MaxEmbedding) {
        // Reached only through expansion levels that fail first, unless the text is expanded
        // from a shallower place (a function body); it is parsed then.
        t->deferred = true;
        t->constant = false;
        return t;
    }
    parseInto(*t, level);
    return t;
}

namespace {

// Parsed texts recently given to replace(), shared by all replacers. Long texts are not kept, so
// the cache stays small whatever it is fed.
class TemplateCache {
public:
    TemplatePtr get(const std::string& text) {
        if (text.size() > MaxText) return parseTemplate(text, 1);
        ScopedLock<Platform::Mutex> lock(m_mutex);
        for (Entry& entry : m_entries) {
            if (entry.tmpl->text == text) {
                entry.lastUse = ++m_clock;
                return entry.tmpl;
            }
        }
        lock.unlock();
        TemplatePtr parsed = parseTemplate(text, 1);
        ScopedLock<Platform::Mutex> relock(m_mutex);
        if (m_entries.size() < Slots) {
            m_entries.push_back({parsed, ++m_clock});
        } else {
            Entry* oldest = &m_entries[0];
            for (Entry& entry : m_entries)
                if (entry.lastUse < oldest->lastUse) oldest = &entry;
            *oldest = {parsed, ++m_clock};
        }
        return parsed;
    }

private:
    static constexpr std::size_t Slots = 32;
    static constexpr std::size_t MaxText = 4096;
    struct Entry {
        TemplatePtr tmpl;
        std::uint64_t lastUse;
    };
    Platform::Mutex m_mutex;
    std::vector<Entry> m_entries;
    std::uint64_t m_clock = 0;
};

TemplateCache& templateCache() {
    // Never destroyed: loggers may still expand templates during static destruction.
    static TemplateCache* cache = new TemplateCache;
    return *cache;
}

} // namespace

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

// Scratch stacks of finished expansions, for the next ones: a few slots taken and filled with
// atomic exchanges, so threads share them without a lock. Never destroyed, like the other caches.
class ScratchPool {
public:
    ScratchStack* take() {
        for (std::atomic<ScratchStack*>& slot : m_slots)
            if (ScratchStack* stack = slot.exchange(nullptr, std::memory_order_acquire))
                return stack;
        return nullptr;
    }
    void giveBack(ScratchStack* stack) {
        // Deep nesting is rare: the areas it needed are not kept.
        constexpr std::size_t KeepLevels = 16;
        if (stack->items.size() > KeepLevels) stack->items.resize(KeepLevels);
        for (std::atomic<ScratchStack*>& slot : m_slots) {
            ScratchStack* empty = nullptr;
            if (slot.compare_exchange_strong(empty, stack, std::memory_order_release)) return;
        }
        delete stack;
    }

private:
    std::atomic<ScratchStack*> m_slots[16] = {};
};

ScratchPool& scratchPool() {
    static ScratchPool* pool = new ScratchPool;
    return *pool;
}

// ---- session frames ----------------------------------------------------------------------------

namespace RunTimeSession {

// Made by the first variable: most expansions set none, and a session is made per expansion.
struct Frame::Private {
    std::map<std::string, std::string> variables;
};

Frame::Frame() : d(nullptr) {}

Frame::~Frame() {
    delete d;
}

bool Frame::variable(const std::string& name, std::string& value) const {
    if (!d) return false;
    auto it = d->variables.find(name);
    if (it == d->variables.end()) return false;
    value = it->second;
    return true;
}

void Frame::setVariable(const std::string& name, const std::string& value) {
    if (!d) d = new Private;
    d->variables[name] = value;
}

const std::map<std::string, std::string>& Frame::variables() const {
    static const auto* none = new std::map<std::string, std::string>;
    return d ? d->variables : *none;
}

MainFrame::MainFrame() = default;
MainFrame::~MainFrame() = default;

StackFrame::StackFrame(const std::string& functionName) : m_functionName(functionName) {}
StackFrame::~StackFrame() = default;

const std::string& StackFrame::functionName() const {
    return m_functionName;
}

} // namespace RunTimeSession
} // namespace Internal

// ---- the session -------------------------------------------------------------------------------

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
};

MacroReplacer_RunTimeSession::Custom::~Custom() = default;

MacroReplacer_RunTimeSession::MacroReplacer_RunTimeSession(Custom* custom) : d(new Private) {
    d->custom = custom;
}

MacroReplacer_RunTimeSession::~MacroReplacer_RunTimeSession() {
    delete d;
}

MacroReplacer_RunTimeSession::Custom* MacroReplacer_RunTimeSession::custom() const {
    return d->custom;
}

MacroReplacer* MacroReplacer_RunTimeSession::replacer() const {
    return d->replacer;
}

bool MacroReplacer_RunTimeSession::variable(const std::string& name, std::string& value) const {
    if (!d->calls.empty() && d->calls.back()->variable(name, value)) return true;
    return d->mainFrame.variable(name, value);
}

void MacroReplacer_RunTimeSession::setVariable(const std::string& name, const std::string& value) {
    currentFrame().setVariable(name, value);
}

Internal::RunTimeSession::MainFrame& MacroReplacer_RunTimeSession::mainFrame() {
    return d->mainFrame;
}

Internal::RunTimeSession::Frame& MacroReplacer_RunTimeSession::currentFrame() {
    if (d->calls.empty()) return d->mainFrame;
    return *d->calls.back();
}

std::size_t MacroReplacer_RunTimeSession::callDepth() const {
    return d->calls.size();
}

bool MacroReplacer_RunTimeSession::hasFunction(const std::string& name) const {
    return d->functions.count(name) != 0;
}

bool MacroReplacer_RunTimeSession::hasPendingReturn() const {
    return d->returning;
}

const std::string& MacroReplacer_RunTimeSession::pendingReturnValue() const {
    return d->returnValue;
}

// ---- helpers -----------------------------------------------------------------------------------

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

struct MacroReplacer::Private {
    MacroReplacerHelper* helper = nullptr;
    std::unique_ptr<MacroReplacerHelper> ownHelper;
};

// The empty template is the shared empty block (no parsed form).
struct MacroTemplate::Private : SharedPrivate {
    Private() = default;
    explicit Private(Internal::TemplatePtr parsed) : tmpl(std::move(parsed)) {}
    Internal::TemplatePtr tmpl;
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

struct Builtin {
    const char* name;
    BuiltinFunction function;
    /// The arguments are not expanded before the call.
    bool rawArguments;
    /// It fails without arguments.
    bool needsArguments;
};

// One expansion step: a session, the helper asked for values and the error list.
struct MacroEngine {
    using SessionData = MacroReplacer_RunTimeSession::Private;

    MacroReplacer_RunTimeSession& session;
    SessionData& s;
    MacroReplacer* replacer;
    MacroReplacerHelper* helper;
    StringList& errors;

    static SessionData& data(MacroReplacer_RunTimeSession& session) { return *session.d; }
    ScratchStack& scratchStack() {
        if (!s.scratch) s.scratch.reset(new ScratchStack);
        return *s.scratch;
    }
    static const CompiledTemplate* compiled(const MacroTemplate& tmpl) {
        return tmpl.d->tmpl.get();
    }

    MacroEngine(MacroReplacer_RunTimeSession& session_, MacroReplacer* replacer_,
                MacroReplacerHelper* helper_, StringList& errors_)
        : session(session_), s(*session_.d), replacer(replacer_), helper(helper_), errors(errors_) {
    }

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

    /// The value from the executors and custom values of the helper chain.
    bool lookup(const std::string& name, const StringList& args, std::string& value, bool& known) {
        known = false;
        // A source that fails with an error of its own knows the name: the others are not asked.
        const std::size_t errorsBefore = errors.size();
        // A cap on the chain, so that a parent loop cannot hang an expansion.
        int hops = 0;
        for (MacroReplacerHelper* h = helper; h && hops < 256; h = h->d->parent, ++hops) {
            if (std::shared_ptr<const MacroExecutor> executor = h->d->find(name)) {
                known = true;
                value.clear();
                if ((*executor)(name, args, value, errors, replacer)) return true;
                if (stopped() || errors.size() != errorsBefore) break;
            }
            value.clear();
            if (h->getCustomValue(name, args, value, errors, session)) return true;
            if (stopped() || errors.size() != errorsBefore) break;
        }
        known = known || errors.size() != errorsBefore;
        value.clear();
        return false;
    }

    static const StringList& noArgs() {
        static const StringList* empty = new StringList;
        return *empty;
    }
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

void MacroEngine::evaluate(const CompiledNode& node, std::string& out) {
    if (!step()) return;
    if (node.builtin && node.builtin->rawArguments) return; // a comment: nothing to evaluate
    bool known = true;
    const std::size_t errorsBefore = errors.size();
    if (node.builtin && node.args.empty()) {
        ArgValues none;
        std::string value;
        // A built-in that needs arguments, used without any, lets the other sources answer
        // first, so that a context value may share its name ("$(function)").
        if (node.builtin->needsArguments && helper) {
            const bool found = lookup(node.text, noArgs(), value, known);
            if (found || known || stopped())
                return insert(node, found, true, errorsBefore, value, out);
        }
        BuiltinCall call{*this, node.text, none, value};
        const bool ok = node.builtin->function(call);
        return insert(node, ok, known, errorsBefore, value, out);
    }
    ScratchLease scratch(scratchStack());
    if (!collectArgs(node, scratch->args)) return;
    scratch->value.clear();
    const bool ok = evaluate(node, scratch->args, scratch->value, scratch->list, known);
    insert(node, ok, known, errorsBefore, scratch->value, out);
}

bool MacroEngine::evaluate(const CompiledNode& node, ArgValues& args, std::string& value,
                           StringList& list, bool& known) {
    if (node.builtin) {
        BuiltinCall call{*this, node.text, args, value};
        return node.builtin->function(call);
    }
    if (!helper) {
        known = false;
        return false;
    }
    if (args.empty()) return lookup(node.text, noArgs(), value, known);
    // The list keeps its elements from the last use: resizing and assigning reuses them.
    std::list<std::string>& items = list.list();
    items.resize(args.size());
    auto item = items.begin();
    for (const ArgValue& arg : args)
        *item++ = *arg.value;
    return lookup(node.text, list, value, known);
}

void MacroEngine::insert(const CompiledNode& node, bool ok, bool known, std::size_t errorsBefore,
                         const std::string& value, std::string& out) {
    if (stopped()) return;
    if (!ok) {
        out += kNoValue;
        if (!known && errors.size() == errorsBefore) fail(kUnknownMacro + node.text);
        return;
    }
    if (!produce(value.size())) return;
    out += value;
}

// ---- built-ins ---------------------------------------------------------------------------------

namespace {

// A number of `operation`: a 64-bit integer when the text is one, else a double.
struct Number {
    bool isInteger = false;
    std::int64_t integer = 0;
    double real = 0.0;
    double asReal() const { return isInteger ? static_cast<double>(integer) : real; }
};

bool parseNumber(const std::string& text, Number& out) {
    const char* begin = text.data();
    const char* end = begin + text.size();
    if (begin != end && *begin == '+') ++begin;
    const char* digits = begin != end && *begin == '-' ? begin + 1 : begin;
    // Only digits or a point may start a number: no "inf", "nan", second sign or blank.
    if (digits == end || !((*digits >= '0' && *digits <= '9') || *digits == '.')) return false;
    std::int64_t integer = 0;
    auto asInteger = std::from_chars(begin, end, integer);
    if (asInteger.ec == std::errc() && asInteger.ptr == end) {
        out.isInteger = true;
        out.integer = integer;
        return true;
    }
    double real = 0.0;
    auto asReal = std::from_chars(begin, end, real, std::chars_format::general);
    if (asReal.ec != std::errc() || asReal.ptr != end) return false;
    out.isInteger = false;
    out.real = real;
    return true;
}

std::string formatReal(double value) {
    if (std::isnan(value)) return "nan";
    if (std::isinf(value)) return value < 0 ? "-inf" : "inf";
    char buffer[64];
    auto written = std::to_chars(buffer, buffer + sizeof buffer, value);
    return std::string(buffer, written.ptr);
}

// Lower-case hexadecimal, zero-padded to `digits`.
std::string hexText(std::uint64_t value, int digits) {
    std::string text(static_cast<std::size_t>(digits), '0');
    for (int i = digits - 1; i >= 0 && value; --i, value >>= 4)
        text[static_cast<std::size_t>(i)] = "0123456789abcdef"[value & 15];
    return text;
}

std::string hex32(long value) {
    return hexText(static_cast<std::uint32_t>(static_cast<unsigned long>(value)), 8);
}

// Asking the system costs a system call on some platforms, and log lines ask on every line.
long cachedThreadId() {
    thread_local long id = 0;
    if (id == 0) id = Platform::currentThreadId();
    return id;
}

const char* boolText(bool value) {
    return value ? "true" : "false";
}

bool comment(BuiltinCall&) {
    return true;
}

bool newLine(BuiltinCall& c) {
    c.result = "\n";
    return true;
}

bool tab(BuiltinCall& c) {
    c.result = "\t";
    return true;
}

bool space(BuiltinCall& c) {
    c.result = " ";
    return true;
}

bool strCat(BuiltinCall& c) {
    for (std::size_t i = 0; i < c.count(); ++i)
        c.result += c.arg(i);
    return true;
}

bool strReplace(BuiltinCall& c) {
    if (c.count() != 3) return c.usage("str_replace: usage: $(str_replace:<source>,<old>,<new>)");
    const std::string& source = c.arg(0);
    const std::string& from = c.arg(1);
    const std::string& to = c.arg(2);
    if (from.empty()) {
        c.result = source;
        return true;
    }
    // The size is known before building, so that one step cannot outgrow the budget.
    std::size_t occurrences = 0;
    for (std::size_t at = source.find(from); at != std::string::npos;
         at = source.find(from, at + from.size()))
        ++occurrences;
    if (to.size() > from.size() &&
        occurrences > static_cast<std::size_t>(MacroReplacer::MaxProducedBytes) /
                          (to.size() - from.size() + 1))
        return c.engine.produce(static_cast<std::size_t>(MacroReplacer::MaxProducedBytes) + 1);
    std::size_t pos = 0;
    for (std::size_t at = source.find(from); at != std::string::npos; at = source.find(from, pos)) {
        c.result.append(source, pos, at - pos);
        c.result += to;
        pos = at + from.size();
    }
    c.result.append(source, pos, std::string::npos);
    return true;
}

bool strlJoin(BuiltinCall& c) {
    if (c.count() < 1)
        return c.usage("strl_join: usage: $(strl_join:<delimiter>[,<str1>[,<str2>[,...]]])");
    for (std::size_t i = 1; i < c.count(); ++i) {
        if (i > 1) c.result += c.arg(0);
        c.result += c.arg(i);
    }
    return true;
}

bool dtPosixToIso(BuiltinCall& c) {
    const char* usage = "dt_posix_to_iso: usage: $(dt_posix_to_iso:<posix time>)";
    Number number;
    if (c.count() != 1 || !parseNumber(c.arg(0), number)) return c.usage(usage);
    DateTime dateTime;
    bool converted = false;
    if (number.isInteger) {
        converted = dateTime.fromPosixTime(number.integer);
    } else if (std::fabs(number.real) < 1e15) {
        const double seconds = std::floor(number.real);
        long milliseconds = std::lround((number.real - seconds) * 1000.0);
        converted = dateTime.fromPosixTime(static_cast<std::int64_t>(seconds), milliseconds);
    }
    if (!converted) return c.usage(usage);
    c.result = dateTime.asISODateTime(false).str();
    return true;
}

bool dtNow(BuiltinCall& c) {
    if (c.count() > 1) return c.usage("dt_now: usage: $(dt_now[:{iso|posix|<custom format>}]>)");
    const DateTime now = DateTime::now();
    const std::string format = c.count() ? c.arg(0) : std::string();
    if (format.empty() || format == "iso")
        c.result = now.asISODateTime(false).str();
    else if (format == "posix")
        c.result = std::to_string(now.asPosixTime());
    else
        c.result = now.asString(format).str();
    return true;
}

bool currentDir(BuiltinCall& c) {
    c.result = Platform::currentDirectory();
    return true;
}

bool threadId(BuiltinCall& c) {
    c.result = hex32(cachedThreadId());
    return true;
}

bool processId(BuiltinCall& c) {
    c.result = hex32(Platform::currentProcessId());
    return true;
}

bool getCfg(BuiltinCall& c) {
    GC<ConfigHandler> handler = QOR::libraryConfigHandler();
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
            result = hexText(m_module.uniqueId(), 16);
        } else {
            return false;
        }
        return true;
    }

private:
    const ModuleInfo& m_module;
};

/// Renders `module` with the format of argument `formatIndex`, if there is one.
bool renderModule(BuiltinCall& c, const ModuleInfo& module, std::size_t formatIndex,
                  std::string& out) {
    if (formatIndex >= c.count()) {
        out += module.asString().str();
        return true;
    }
    ModuleMacros macros(module, c.engine.helper);
    MacroEngine engine(c.engine.session, c.engine.replacer, &macros, c.engine.errors);
    BuiltinCall inner{engine, c.name, c.args, c.result};
    std::string text;
    if (!inner.asTemplate(formatIndex, text)) return false;
    out += text;
    return true;
}

bool getModules(BuiltinCall& c) {
    if (c.count() < 1 || c.count() > 2)
        return c.usage("get_modules: usage: $(get_modules:<delimiter>[,<module info format>])");
    std::string text;
    bool first = true;
    for (const ModuleInfo& module : QOR::loadedModules()) {
        if (!first) text += c.arg(0);
        first = false;
        if (!renderModule(c, module, 1, text)) return false;
    }
    c.result = std::move(text);
    return true;
}

bool getModuleInfo(BuiltinCall& c) {
    if (c.count() < 1 || c.count() > 2)
        return c.usage(
            "get_module_info: usage: $(get_module_info:<module (shown) name>[,<format>])");
    for (const ModuleInfo& module : QOR::loadedModules()) {
        if (module.name() != c.arg(0) && module.asString().str() != c.arg(0)) continue;
        std::string text;
        if (!renderModule(c, module, 1, text)) return false;
        c.result = std::move(text);
        return true;
    }
    c.engine.fail("get_module_info: could not find module: '" + c.arg(0) + "'");
    return false;
}

bool moduleInfo(BuiltinCall& c) {
    if (c.count() > 1) return c.usage("module_info: usage: $(module_info[:<format>])");
    std::string text;
    if (!renderModule(c, QOR::getModuleInfo(), 0, text)) return false;
    c.result = std::move(text);
    return true;
}

bool compareNumbers(const Number& a, const Number& b, int& order) {
    if (a.isInteger && b.isInteger) {
        order = a.integer < b.integer ? -1 : a.integer > b.integer ? 1 : 0;
        return true;
    }
    const double x = a.asReal(), y = b.asReal();
    if (std::isnan(x) || std::isnan(y)) return false;
    order = x < y ? -1 : x > y ? 1 : 0;
    return true;
}

bool integerPower(std::int64_t base, std::int64_t exponent, std::int64_t& out) {
    std::int64_t result = 1;
    while (exponent > 0) {
        if (exponent & 1) {
            if (__builtin_mul_overflow(result, base, &result)) return false;
        }
        exponent >>= 1;
        if (exponent > 0 && __builtin_mul_overflow(base, base, &base)) return false;
    }
    out = result;
    return true;
}

const char* const kOperationUsage =
    "operation: usage: $({o|operation}:<par1>,<operation type>[,par2])";

// Arithmetic in 64-bit integers; false when the result needs floating point.
bool integerArithmetic(const std::string& op, std::int64_t a, std::int64_t b, std::int64_t& r) {
    if (op == "+") return !__builtin_add_overflow(a, b, &r);
    if (op == "-") return !__builtin_sub_overflow(a, b, &r);
    if (op == "*") return !__builtin_mul_overflow(a, b, &r);
    if (op == "/") {
        if (a == INT64_MIN && b == -1) return false;
        r = a / b;
        return true;
    }
    if (op == "%") {
        r = b == -1 ? 0 : a % b;
        return true;
    }
    return b >= 0 && integerPower(a, b, r); // pow
}

bool arithmetic(BuiltinCall& c, const std::string& op) {
    Number a, b;
    if (!parseNumber(c.arg(0), a) || !parseNumber(c.arg(2), b)) return c.usage(kOperationUsage);
    if ((op == "/" || op == "%") && b.asReal() == 0.0)
        return c.usage("operation: division by zero");
    std::int64_t integer = 0;
    if (a.isInteger && b.isInteger && integerArithmetic(op, a.integer, b.integer, integer)) {
        c.result = std::to_string(integer);
        return true;
    }
    const double x = a.asReal(), y = b.asReal();
    double r = 0.0;
    if (op == "+")
        r = x + y;
    else if (op == "-")
        r = x - y;
    else if (op == "*")
        r = x * y;
    else if (op == "/")
        r = x / y;
    else if (op == "%")
        r = std::fmod(x, y);
    else
        r = std::pow(x, y);
    c.result = formatReal(r);
    return true;
}

bool comparison(BuiltinCall& c, const std::string& op) {
    const std::string& left = c.arg(0);
    const std::string& right = c.arg(2);
    Number a, b;
    int order = 0;
    bool ordered = true;
    if (parseNumber(left, a) && parseNumber(right, b))
        ordered = compareNumbers(a, b, order);
    else
        order = left.compare(right) < 0 ? -1 : left.compare(right) > 0 ? 1 : 0;
    bool result = false;
    if (op == "=" || op == "==")
        result = ordered && order == 0;
    else if (op == "!=" || op == "<>")
        result = !ordered || order != 0;
    else if (op == "<")
        result = ordered && order < 0;
    else if (op == "<=")
        result = ordered && order <= 0;
    else if (op == ">")
        result = ordered && order > 0;
    else
        result = ordered && order >= 0;
    c.result = boolText(result);
    return true;
}

bool operation(BuiltinCall& c) {
    if (c.count() < 2 || c.count() > 3) return c.usage(kOperationUsage);
    const std::string& op = c.arg(1);
    const bool unary = op == "not" || op == "!";
    const bool isArithmetic =
        op == "+" || op == "-" || op == "/" || op == "*" || op == "%" || op == "pow";
    const bool isComparison = op == "=" || op == "==" || op == "!=" || op == "<>" || op == "<" ||
                              op == "<=" || op == ">" || op == ">=";
    if (!unary && !isArithmetic && !isComparison) {
        c.engine.fail("unknown operation: " + op);
        return false;
    }
    if (c.count() != (unary ? 2u : 3u)) return c.usage(kOperationUsage);
    if (unary) {
        c.result = boolText(c.arg(0) != "true");
        return true;
    }
    return isArithmetic ? arithmetic(c, op) : comparison(c, op);
}

bool eval(BuiltinCall& c) {
    if (c.count() != 1) return c.usage("eval: usage: $(eval:<macro>)");
    return c.asTemplate(0, c.result);
}

bool ifMacro(BuiltinCall& c) {
    if (c.count() < 2 || c.count() > 3)
        return c.usage("if: usage: $(if:<condition>,{<then>}[,{<else>}])");
    std::string condition;
    if (!c.value(0, condition)) return true;
    if (condition == "true")
        c.value(1, c.result);
    else if (c.count() == 3)
        c.value(2, c.result);
    return true;
}

bool whileMacro(BuiltinCall& c) {
    if (c.count() != 2) return c.usage("while: usage: $(while:{<condition>},{<body>})");
    std::string condition, body;
    for (long round = 0;; ++round) {
        if (!c.value(0, condition)) return true;
        if (condition != "true") return true;
        if (round == MacroReplacer::MaxLoopRounds) return c.usage("while: loop is too long");
        // Each round is a step, so that loops in loops stay within the budget.
        if (!c.engine.step() || !c.value(1, body)) return true;
        if (!c.engine.produce(body.size())) return true;
        c.result += body;
    }
}

bool setMacro(BuiltinCall& c) {
    if (c.count() != 2 || c.arg(0).empty())
        return c.usage("set: usage: $(set:<variable name>,<value>)");
    c.engine.session.setVariable(c.arg(0), c.arg(1));
    return true;
}

bool variable(BuiltinCall& c) {
    if (c.count() != 1 || c.arg(0).empty()) return c.usage("v: usage: $(v:<variable name>)");
    if (c.engine.session.variable(c.arg(0), c.result)) return true;
    c.engine.fail("v: undefined variable: " + c.arg(0));
    return false;
}

bool function(BuiltinCall& c) {
    if (c.count() < 2 || c.arg(0).empty())
        return c.usage("function: usage: $(function:<name>,[,<arg1>,...],{<body>})");
    auto defined = std::make_shared<MacroFunction>();
    // Empty parameter slots are skipped: the usage line itself shows one after the name.
    for (std::size_t i = 1; i + 1 < c.count(); ++i)
        if (!c.arg(i).empty()) defined->parameters.push_back(c.arg(i));
    const std::size_t last = c.count() - 1;
    defined->body = c.braced(last) ? *c.args[last].arg : c.engine.runtimeArg(c.arg(last));
    c.engine.s.functions[c.arg(0)] = std::move(defined);
    return true;
}

bool call(BuiltinCall& c) {
    if (c.count() < 1 || c.arg(0).empty())
        return c.usage("call: usage: $(call:<name>[,<arg1>[,<arg2>[,...]]])");
    auto found = c.engine.s.functions.find(c.arg(0));
    if (found == c.engine.s.functions.end()) {
        c.engine.fail("call: undefined function: " + c.arg(0));
        return false;
    }
    // Held here: the body may define the function anew while it runs.
    const std::shared_ptr<const MacroFunction> called = found->second;
    if (called->parameters.size() != c.count() - 1)
        return c.usage("call: mismatch argument number");
    auto& calls = c.engine.s.calls;
    if (calls.size() >= static_cast<std::size_t>(MacroReplacer::MaxCallDepth)) {
        c.engine.abortWith(kStackOverflow);
        return false;
    }
    auto frame = std::make_unique<RunTimeSession::StackFrame>(c.arg(0));
    for (std::size_t i = 0; i < called->parameters.size(); ++i)
        frame->setVariable(called->parameters[i], c.arg(i + 1));
    calls.push_back(std::move(frame));
    std::string discarded;
    c.engine.expandArg(called->body, discarded);
    calls.pop_back();
    if (c.engine.s.returning) {
        c.result = std::move(c.engine.s.returnValue);
        c.engine.s.returnValue.clear();
        c.engine.s.returning = false;
    }
    return true;
}

bool block(BuiltinCall& c) {
    std::string value;
    for (std::size_t i = 0; i < c.count(); ++i) {
        if (!c.value(i, value)) return true;
        c.result += value;
    }
    return true;
}

bool returnMacro(BuiltinCall& c) {
    if (c.count() > 1) return c.usage("return: usage: $(return[:<return value>])");
    c.engine.s.returnValue = c.count() ? c.arg(0) : std::string();
    c.engine.s.returning = true;
    return true;
}

const Builtin kBuiltins[] = {
    {"//", comment, true, false},
    {"nl", newLine, false, false},
    {"tab", tab, false, false},
    {"sp", space, false, false},
    {"str_cat", strCat, false, false},
    {"str", strCat, false, false},
    {"str_replace", strReplace, false, true},
    {"strl_join", strlJoin, false, true},
    {"dt_posix_to_iso", dtPosixToIso, false, true},
    {"dt_now", dtNow, false, false},
    {"current_dir", currentDir, false, false},
    {"thread_id", threadId, false, false},
    {"process_id", processId, false, false},
    {"get_cfg", getCfg, false, true},
    {"get_modules", getModules, false, true},
    {"get_module_info", getModuleInfo, false, true},
    {"module_info", moduleInfo, false, false},
    {"operation", operation, false, true},
    {"o", operation, false, true},
    {"eval", eval, false, true},
    {"if", ifMacro, false, true},
    {"while", whileMacro, false, true},
    {"set", setMacro, false, true},
    {"v", variable, false, true},
    {"var", variable, false, true},
    {"function", function, false, true},
    {"call", call, false, true},
    {"block", block, false, false},
    {"b", block, false, false},
    {"return", returnMacro, false, false},
};

} // namespace

const Builtin* findBuiltin(const std::string& name) {
    static const auto* table = [] {
        auto* map = new std::unordered_map<std::string, const Builtin*>;
        for (const Builtin& builtin : kBuiltins)
            (*map)[builtin.name] = &builtin;
        return map;
    }();
    auto it = table->find(name);
    return it == table->end() ? nullptr : it->second;
}

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
        if (!m_s.scratch) m_s.scratch.reset(scratchPool().take());
    }
    ~ExpansionScope() {
        // The outermost expansion leaves its scratch areas to the next one.
        if (--m_s.activeExpansions == 0 && m_s.scratch)
            scratchPool().giveBack(m_s.scratch.release());
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

bool expandWith(MacroReplacer* replacer, MacroReplacerHelper* helper, const CompiledTemplate* t,
                std::string& out, StringList& errors, MacroReplacer_RunTimeSession& session) {
    const std::size_t errorsBefore = errors.size();
    ExpansionScope scope(session, replacer);
    out.clear();
    if (t) {
        MacroEngine engine(session, replacer, helper, errors);
        if (t->constant && !t->deferred)
            out = t->text;
        else
            engine.expandTemplate(*t, out);
    }
    scope.finish(out);
    return errors.size() == errorsBefore;
}

} // namespace Internal

// ---- MacroReplacerHelper -----------------------------------------------------------------------

MacroReplacerHelper::MacroReplacerHelper() : d(new Private) {}

MacroReplacerHelper::MacroReplacerHelper(MacroReplacerHelper* parent) : d(new Private) {
    d->parent = parent;
}

MacroReplacerHelper::~MacroReplacerHelper() {
    delete d;
}

bool MacroReplacerHelper::getCustomValue(const std::string&, const StringList&, std::string&,
                                         StringList&) {
    return false;
}

bool MacroReplacerHelper::getCustomValue(const std::string& name, const StringList& args,
                                         std::string& result, StringList& errors,
                                         MacroReplacer_RunTimeSession&) {
    return getCustomValue(name, args, result, errors);
}

bool MacroReplacerHelper::getValue(const std::string& name, const StringList& args,
                                   std::string& result, StringList& errors) {
    MacroReplacer_RunTimeSession session;
    return getValue(name, args, result, errors, session);
}

bool MacroReplacerHelper::getValue(const std::string& name, const StringList& args,
                                   std::string& result, StringList& errors,
                                   MacroReplacer_RunTimeSession& session) {
    // Executors receive a replacer; one over this helper stands in when no expansion runs.
    std::unique_ptr<MacroReplacer> standIn;
    MacroReplacer* replacer = session.replacer();
    if (!replacer) {
        standIn.reset(new MacroReplacer(this));
        replacer = standIn.get();
    }
    Internal::ExpansionScope scope(session, replacer);
    Internal::MacroEngine engine(session, replacer, this, errors);
    result.clear();
    bool ok = false;
    if (const Internal::Builtin* builtin = Internal::findBuiltin(name)) {
        std::vector<Internal::CompiledArg> parsed;
        parsed.reserve(args.size());
        for (const std::string& arg : args)
            parsed.push_back(engine.runtimeArg(arg));
        Internal::ArgValues values(parsed.size());
        for (std::size_t i = 0; i < parsed.size(); ++i) {
            values[i].arg = &parsed[i];
            values[i].value = &parsed[i].text;
        }
        Internal::BuiltinCall call{engine, name, values, result};
        ok = builtin->function(call);
    } else {
        bool known = false;
        ok = engine.lookup(name, args, result, known);
    }
    if (!ok) result.clear();
    return ok;
}

void MacroReplacerHelper::registerMacroExecutor(const std::string& name, Executor executor) {
    auto shared = std::make_shared<const Executor>(std::move(executor));
    ScopedLock<Platform::Mutex> lock(d->mutex);
    d->executors[name] = std::move(shared);
    d->executorCount.store(d->executors.size(), std::memory_order_release);
}

bool MacroReplacerHelper::unregisterMacroExecutor(const std::string& name) {
    std::shared_ptr<const Executor> removed; // destroyed outside the lock
    ScopedLock<Platform::Mutex> lock(d->mutex);
    auto it = d->executors.find(name);
    if (it == d->executors.end()) return false;
    removed = std::move(it->second);
    d->executors.erase(it);
    d->executorCount.store(d->executors.size(), std::memory_order_release);
    lock.unlock();
    return true;
}

bool MacroReplacerHelper::hasMacroExecutor(const std::string& name) const {
    return d->find(name) != nullptr;
}

MacroReplacerHelper* MacroReplacerHelper::parentHelper() const {
    return d->parent;
}

void MacroReplacerHelper::setParentHelper(MacroReplacerHelper* parent) {
    d->parent = parent;
}

// ---- SimpleMacroReplacerHelper -----------------------------------------------------------------

SimpleMacroReplacerHelper::SimpleMacroReplacerHelper(Executor executor, MacroReplacerHelper* parent)
    : MacroReplacerHelper(parent), m_executor(std::move(executor)) {}

SimpleMacroReplacerHelper::~SimpleMacroReplacerHelper() = default;

bool SimpleMacroReplacerHelper::getCustomValue(const std::string& name, const StringList& args,
                                               std::string& result, StringList& errors) {
    if (!m_executor) return false;
    MacroReplacer replacer(this);
    return m_executor(name, args, result, errors, &replacer);
}

bool SimpleMacroReplacerHelper::getCustomValue(const std::string& name, const StringList& args,
                                               std::string& result, StringList& errors,
                                               MacroReplacer_RunTimeSession& session) {
    if (!m_executor) return false;
    if (!session.replacer()) return getCustomValue(name, args, result, errors);
    return m_executor(name, args, result, errors, session.replacer());
}

// ---- MacroTemplate -----------------------------------------------------------------------------

MacroTemplate::MacroTemplate() = default;

MacroTemplate::MacroTemplate(const std::string& text)
    : d(new Private(Internal::parseTemplate(text, 1))) {}

MacroTemplate::MacroTemplate(const MacroTemplate& other) noexcept = default;
MacroTemplate::MacroTemplate(MacroTemplate&& other) noexcept = default;
MacroTemplate& MacroTemplate::operator=(const MacroTemplate& other) noexcept = default;
MacroTemplate& MacroTemplate::operator=(MacroTemplate&& other) noexcept = default;
MacroTemplate::~MacroTemplate() = default;

const std::string& MacroTemplate::text() const {
    static const std::string* empty = new std::string;
    return d->tmpl ? d->tmpl->text : *empty;
}

bool MacroTemplate::isEmpty() const {
    return !d->tmpl || d->tmpl->text.empty();
}

bool MacroTemplate::isConstant() const {
    return !d->tmpl || d->tmpl->constant;
}

// ---- MacroReplacer -----------------------------------------------------------------------------

MacroReplacer::MacroReplacer() : d(new Private) {}

MacroReplacer::MacroReplacer(MacroReplacerHelper* helper) : d(new Private) {
    d->helper = helper;
}

MacroReplacer::MacroReplacer(Executor executor) : d(new Private) {
    d->ownHelper.reset(new SimpleMacroReplacerHelper(std::move(executor)));
    d->helper = d->ownHelper.get();
}

MacroReplacer::~MacroReplacer() {
    delete d;
}

MacroReplacerHelper* MacroReplacer::helper() const {
    return d->helper;
}

bool MacroReplacer::replace(std::string& text) {
    StringList errors;
    return replace(text, errors);
}

bool MacroReplacer::replace(std::string& text, StringList& errors) {
    MacroReplacer_RunTimeSession session;
    return replace(text, errors, session);
}

bool MacroReplacer::replace(std::string& text, StringList& errors,
                            MacroReplacer_RunTimeSession::Custom* custom) {
    MacroReplacer_RunTimeSession session(custom);
    return replace(text, errors, session);
}

bool MacroReplacer::replace(std::string& text, StringList& errors,
                            MacroReplacer_RunTimeSession& session) {
    Internal::TemplatePtr parsed = Internal::templateCache().get(text);
    std::string out;
    const bool ok = Internal::expandWith(this, d->helper, parsed.get(), out, errors, session);
    text.swap(out);
    return ok;
}

bool MacroReplacer::expand(const MacroTemplate& tmpl, std::string& result) {
    StringList errors;
    return expand(tmpl, result, errors);
}

bool MacroReplacer::expand(const MacroTemplate& tmpl, std::string& result, StringList& errors) {
    MacroReplacer_RunTimeSession session;
    return expand(tmpl, result, errors, session);
}

bool MacroReplacer::expand(const MacroTemplate& tmpl, std::string& result, StringList& errors,
                           MacroReplacer_RunTimeSession::Custom* custom) {
    MacroReplacer_RunTimeSession session(custom);
    return expand(tmpl, result, errors, session);
}

bool MacroReplacer::expand(const MacroTemplate& tmpl, std::string& result, StringList& errors,
                           MacroReplacer_RunTimeSession& session) {
    return Internal::expandWith(this, d->helper, Internal::MacroEngine::compiled(tmpl), result,
                                errors, session);
}

// ---- the catalogue -----------------------------------------------------------------------------

const std::map<std::string, NameInfo>& MacroReplacer::availableMacros() {
    static const auto* catalogue = [] {
        auto* map = new std::map<std::string, NameInfo>;
        auto add = [map](std::initializer_list<const char*> names, const char* usage,
                         const std::string& description) {
            for (const char* name : names)
                map->emplace(name, NameInfo(usage, description));
        };
        add({"//"}, "$(//:<comment>)", "Only a comment.");
        add({"nl"}, "$(nl)", "Inserts a new line character.");
        add({"tab"}, "$(tab)", "Inserts a tab character.");
        add({"sp"}, "$(sp)", "Inserts a space character.");
        add({"str_cat", "str"}, "$({str_cat|str}:[<str_1>][,[<str_2>[,...]]])",
            "Concatenates the strings.");
        add({"str_replace"}, "$(str_replace:<source>,<old>,<new>)",
            "Replaces <old> to <new> in <source>");
        add({"strl_join"}, "$(strl_join:<delimiter>[,<str1>[,<str2>[,...]]])",
            "Joins string with <delimiter>.");
        add({"dt_posix_to_iso"}, "$(dt_posix_to_iso:<posix time>)",
            "Generates ISO8601 date time format from <posix time>");
        add({"dt_now"}, "$(dt_now[:{iso|posix|<custom format>}]>)",
            "Inserts date and time as iso or as <custom format>.");
        add({"current_dir"}, "", "Inserts the current directory.");
        add({"thread_id"}, "", "Inserts the current thread ID as hexa.");
        add({"process_id"}, "", "Inserts the current process ID as hexa.");
        add({"get_cfg"}, "$(get_cfg:<cfg path>[,<default value>])",
            "Inserts a configuration entry from common config handler.");
        add({"get_modules"}, "$(get_modules:<delimiter>[, <module info format>])",
            "Inserts the list of all loaded modules.");
        add({"get_module_info"}, "$(get_module_info:<module(shown) name>[, <format>])",
            "Inserts the information about the given loaded module.");
        add({"module_info"}, "$(module_info[:<format>])",
            "Inserts the information about the QorCommon module.");
        add({"operation", "o"}, "$({o|operation}:<par1>,<operation type>[,par2])",
            std::string("Executes the <operation>.") +
                "Supported operations are: \nnot, !, +, -, /, *, %, pow, =, ==, !=, <>, <, <=, "
                ">, >=");
        add({"eval"}, "$(eval:<macro>)", "Evaluates the <macro>.");
        add({"if"}, "$(if:<condition>,{<then>}[,{<else>}])", "Conditional macro.");
        add({"while"}, "$(while:{<condition>},{<body>})", "Implements a conditional cycle.");
        add({"set"}, "$(set:<variable name>,<value>)", "Declares and sets a variable.");
        add({"v", "var"}, "$({v|var}:<variable name>)", "Inserts value of variable.");
        add({"function"}, "$(function:<name>,[,<arg1>,...],{<body>})", "Defines a macro function.");
        add({"call"}, "$(call:<name>[,<arg1>[,<arg2>[,...]]])",
            "Calls a macro function and inserts its return value.");
        add({"block", "b"}, "$({b|block}[,<macro1>[,<macro2>[,...]]])",
            "Evaluates a block of macros.");
        add({"return"}, "$(return[:<return value>])", "Returns from the current function.");
        return map;
    }();
    return *catalogue;
}

namespace {

std::string htmlEscaped(const std::string& text) {
    std::string out;
    out.reserve(text.size());
    for (char c : text) {
        switch (c) {
        case '&':
            out += "&amp;";
            break;
        case '<':
            out += "&lt;";
            break;
        case '>':
            out += "&gt;";
            break;
        default:
            out += c;
            break;
        }
    }
    return out;
}

} // namespace

String MacroReplacer::availableMacrosAsHtml() {
    String html("<table>");
    html += "<tr><th>Macro</th><th>Short Description</th></tr>";
    std::vector<const NameInfo*> shown;
    for (const auto& entry : availableMacros()) {
        const NameInfo& info = entry.second;
        bool alias = false;
        for (const NameInfo* other : shown)
            alias = alias || *other == info;
        if (alias) continue;
        shown.push_back(&info);
        html += String("<tr><td>{0}</td><td>{1}</td></tr>")
                    .a(htmlEscaped(info.name()))
                    .a(htmlEscaped(info.description()));
    }
    html += "</table>";
    return html;
}

// ---- free functions ----------------------------------------------------------------------------

String replaceStr(const std::string& text) {
    StringList errors;
    return replaceStr(text, errors);
}

String replaceStr(const std::string& text, StringList& errors, MacroReplacerHelper* helper) {
    MacroReplacer replacer(helper);
    std::string copy = text;
    replacer.replace(copy, errors);
    return String(std::move(copy));
}

} // namespace Core
} // namespace Orvane
