// The built-in macros of the engine: text, date and time, process values, arithmetic and the
// control macros. Macros that read services of the library are registered from above
// (macrobuiltins.h).
#include "macrobuiltins.h"

#include "qorcommon/datetime.h"

#include "platform/platform.h"

#include <atomic>
#include <charconv>
#include <climits>
#include <cmath>
#include <memory>
#include <unordered_map>
#include <utility>

namespace Orvane {
namespace Core {
namespace Internal {

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

std::string hexText(std::uint64_t value, int digits) {
    std::string text(static_cast<std::size_t>(digits), '0');
    for (int i = digits - 1; i >= 0 && value; --i, value >>= 4)
        text[static_cast<std::size_t>(i)] = "0123456789abcdef"[value & 15];
    return text;
}

namespace {

// Built-ins registered from above the engine. Lookups read them without a lock: a slot is filled
// before the count that publishes it, and registered built-ins are never removed.
class RegisteredBuiltins {
public:
    bool add(const Builtin& builtin) {
        ScopedLock<Platform::Mutex> lock(m_mutex);
        const std::size_t count = m_count.load(std::memory_order_relaxed);
        if (count == Capacity || find(builtin.name)) return false;
        m_slots[count].store(new Builtin(builtin), std::memory_order_relaxed);
        m_count.store(count + 1, std::memory_order_release);
        return true;
    }

    const Builtin* find(const std::string& name) const {
        const std::size_t count = m_count.load(std::memory_order_acquire);
        for (std::size_t i = 0; i < count; ++i) {
            const Builtin* builtin = m_slots[i].load(std::memory_order_relaxed);
            if (name == builtin->name) return builtin;
        }
        return nullptr;
    }

private:
    static constexpr std::size_t Capacity = 32;
    Platform::Mutex m_mutex;
    std::atomic<const Builtin*> m_slots[Capacity] = {};
    std::atomic<std::size_t> m_count{0};
};

const std::unordered_map<std::string, const Builtin*>& coreBuiltins() {
    static const auto* table = [] {
        auto* map = new std::unordered_map<std::string, const Builtin*>;
        for (const Builtin& builtin : kBuiltins)
            (*map)[builtin.name] = &builtin;
        return map;
    }();
    return *table;
}

RegisteredBuiltins& registeredBuiltins() {
    // Never destroyed: templates parsed before exit keep pointers into it.
    static RegisteredBuiltins* registered = new RegisteredBuiltins;
    return *registered;
}

} // namespace

const Builtin* findBuiltin(const std::string& name) {
    const auto& core = coreBuiltins();
    auto it = core.find(name);
    if (it != core.end()) return it->second;
    return registeredBuiltins().find(name);
}

bool registerBuiltin(const char* name, BuiltinFunction function, bool needsArguments,
                     const char* usage, const std::string& description) {
    if (coreBuiltins().count(name) != 0) return false;
    if (!registeredBuiltins().add(Builtin{name, function, false, needsArguments})) return false;
    addCatalogueEntry(name, usage, description);
    return true;
}

} // namespace Internal
} // namespace Core
} // namespace Orvane
