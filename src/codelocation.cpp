// CodeLocation, with the reduction of compiler-supplied function signatures.
#include "qorcommon/errorinfo.h"

#include "qorcommon/assertion.h"

#include <cctype>
#include <iterator>
#include <list>
#include <utility>

namespace Orvane {
namespace Core {

namespace {

const std::string& emptyText() {
    static const std::string empty;
    return empty;
}

} // namespace

// ---- reduction of function signatures -------------------------------------------------------

namespace {

bool isIdentifierChar(char c) {
    return std::isalnum(static_cast<unsigned char>(c)) || c == '_' || c == '$';
}

bool isBlank(char c) {
    return c == ' ' || c == '\t' || c == '\n' || c == '\r';
}

std::string trimmed(const std::string& text) {
    std::size_t begin = 0;
    std::size_t end = text.size();
    while (begin < end && isBlank(text[begin]))
        ++begin;
    while (end > begin && isBlank(text[end - 1]))
        --end;
    return text.substr(begin, end - begin);
}

// Marks in the skeleton below; control characters never occur in signatures.
constexpr char kParameters = '\x01'; // a parameter list that was dropped
constexpr char kInnerBlank = '\x02'; // a blank that belongs to a name ("operator new")

/// Reduces a C++ signature to its qualified name.
///
/// The text is first turned into a skeleton: every top-level bracket group is dropped (template
/// arguments, GCC's "[with ...]" and "[abi:...]", the contents of "decltype(...)"), except that a
/// parameter list leaves a kParameters mark, a group that is itself a part of the name (Clang's
/// "(anonymous namespace)::", a lambda) is kept, and an operator name is copied whole. Blanks
/// inside kept parts become kInnerBlank. The name is then the blank-separated word of the
/// skeleton that holds the first parameter mark: what precedes it is the return type and calling
/// convention, what follows the qualifiers.
class SignatureReducer {
public:
    explicit SignatureReducer(const std::string& text) : m_text(text) {}

    /// The name, or "" when the text cannot be read as a signature.
    std::string reduce() {
        buildSkeleton();
        return m_malformed ? std::string() : nameFromSkeleton();
    }

private:
    // The index just behind the group that opens at `open`, or npos when it does not close.
    std::size_t skipGroup(std::size_t open) const {
        int depth = 0;
        for (std::size_t i = open; i < m_text.size(); ++i) {
            const char c = m_text[i];
            if (c == '(' || c == '<' || c == '[' || c == '{') {
                ++depth;
            } else if (c == ')' || c == '>' || c == ']' || c == '}') {
                // "->" inside a group (a trailing return type) closes nothing.
                if (c == '>' && i > 0 && m_text[i - 1] == '-') continue;
                if (--depth == 0) return i + 1;
            }
        }
        return std::string::npos;
    }

    void appendKept(std::size_t begin, std::size_t end) {
        for (std::size_t i = begin; i < end; ++i) {
            m_skeleton += isBlank(m_text[i]) ? kInnerBlank : m_text[i];
        }
    }

    bool followsScope(std::size_t end) const { return m_text.compare(end, 2, "::") == 0; }

    // A group right behind a name is its parameter list: "f()::<lambda()>".
    bool followsName(std::size_t open) const {
        return open > 0 && (isIdentifierChar(m_text[open - 1]) || m_text[open - 1] == '>');
    }

    bool precededByWord(std::size_t pos, const char* word) const {
        const std::string w(word);
        if (pos < w.size() || m_text.compare(pos - w.size(), w.size(), w) != 0) return false;
        const std::size_t start = pos - w.size();
        return start == 0 || !isIdentifierChar(m_text[start - 1]);
    }

    void buildSkeleton() {
        std::size_t i = 0;
        while (i < m_text.size()) {
            const char c = m_text[i];
            if (c == '`') { // MSVC quotes special names: `anonymous namespace'
                const std::size_t close = m_text.find('\'', i + 1);
                const std::size_t end = close == std::string::npos ? m_text.size() : close + 1;
                appendKept(i, end);
                i = end;
            } else if (isIdentifierChar(c)) {
                i = readWord(i);
            } else if (c == '(' || c == '<' || c == '[' || c == '{') {
                i = readGroup(i);
            } else {
                m_skeleton += c;
                ++i;
            }
        }
    }

    std::size_t readWord(std::size_t begin) {
        std::size_t end = begin;
        while (end < m_text.size() && isIdentifierChar(m_text[end]))
            ++end;
        m_skeleton.append(m_text, begin, end - begin);
        if (m_text.compare(begin, end - begin, "operator") == 0) return readOperator(end);
        return end;
    }

    // Copies the operator's own name ("()", "<<=", "new[]", or the type of a conversion).
    std::size_t readOperator(std::size_t i) {
        std::size_t begin = i;
        while (i < m_text.size() && isBlank(m_text[i]))
            ++i;
        if (m_text.compare(i, 2, "()") == 0 || m_text.compare(i, 2, "[]") == 0) {
            i += 2;
        } else if (i < m_text.size() && !isIdentifierChar(m_text[i]) && m_text[i] != '(') {
            while (i < m_text.size() &&
                   std::string("+-*/%^&|~!=<>,").find(m_text[i]) != std::string::npos) {
                ++i;
            }
        } else {
            // new, delete or a conversion: up to the parameter list.
            int depth = 0;
            while (i < m_text.size() && !(depth == 0 && m_text[i] == '(')) {
                if (m_text[i] == '<') ++depth;
                if (m_text[i] == '>') --depth;
                ++i;
            }
            while (i > begin && isBlank(m_text[i - 1]))
                --i;
        }
        appendKept(begin, i);
        return i;
    }

    std::size_t readGroup(std::size_t open) {
        const std::size_t end = skipGroup(open);
        if (end == std::string::npos) { // unbalanced: no signature
            m_malformed = true;
            return m_text.size();
        }
        const char c = m_text[open];
        const std::string inner = m_text.substr(open, end - open);
        if (inner.compare(0, 7, "<lambda") == 0 || inner.compare(0, 8, "(lambda ") == 0) {
            m_skeleton += "<lambda>";
        } else if (c == '(' && followsScope(end) && !followsName(open)) {
            appendKept(open, end); // a name part: "(anonymous namespace)::"
        } else if (c == '{' && followsScope(end)) {
            appendKept(open, end); // GCC: "{anonymous}::"
        } else if (c == '(' && !precededByWord(open, "decltype") &&
                   !precededByWord(open, "noexcept") && !precededByWord(open, "throw") &&
                   !precededByWord(open, "__attribute__")) {
            m_skeleton += kParameters;
        }
        return end;
    }

    std::string nameFromSkeleton() const {
        const std::size_t mark = m_skeleton.find(kParameters);
        std::size_t begin;
        std::size_t end;
        if (mark == std::string::npos) {
            // No parameter list (__func__, MSVC's __FUNCTION__): the last word.
            end = m_skeleton.find_last_not_of(" \t\r\n");
            if (end == std::string::npos) return std::string();
            ++end;
            begin = m_skeleton.find_last_of(" \t\r\n", end - 1);
        } else {
            begin = mark == 0 ? std::string::npos : m_skeleton.find_last_of(" \t\r\n", mark - 1);
            end = m_skeleton.find_first_of(" \t\r\n", mark);
            if (end == std::string::npos) end = m_skeleton.size();
        }
        begin = begin == std::string::npos ? 0 : begin + 1;
        std::string name;
        for (std::size_t i = begin; i < end; ++i) {
            const char c = m_skeleton[i];
            if (c == kParameters) continue;
            name += c == kInnerBlank ? ' ' : c;
        }
        // A pointer or reference return type written against the name ("int *f()").
        const std::size_t first = name.find_first_not_of("*&");
        return first == std::string::npos ? std::string() : name.substr(first);
    }

    const std::string& m_text;
    std::string m_skeleton;
    bool m_malformed = false;
};

} // namespace

std::string CodeLocation::reduceFunction(const std::string& function, Language language) {
    const std::string text = trimmed(function);
    if (language != Cpp) return text;
    std::string name = SignatureReducer(text).reduce();
    return name.empty() ? text : name;
}

// ---- CodeLocation ---------------------------------------------------------------------------

struct CodeLocation::Private {
    std::string file;
    int line = -1;
    std::string comment;
    std::string function;
    CustomInfo customInfo;
    Language language = NoLanguage;
    // Only a default-constructed location is empty; so is the shared empty block.
    bool empty = true;

    Private() = default;
    explicit Private(bool isEmpty) : empty(isEmpty) {}
};

CodeLocation::CodeLocation() = default;

CodeLocation::CodeLocation(const std::string& position) : d(new Private(false)) {
    setPosition(position);
}

CodeLocation::CodeLocation(const std::string& file, int line) : d(new Private(false)) {
    d.write()->file = file;
    d.write()->line = line;
}

CodeLocation::CodeLocation(const std::string& position, const std::string& comment)
    : CodeLocation(position) {
    d.write()->comment = comment;
}

CodeLocation::CodeLocation(const std::string& file, int line, const std::string& comment)
    : CodeLocation(file, line) {
    d.write()->comment = comment;
}

CodeLocation::CodeLocation(const std::string& position, const std::string& comment,
                           const CustomInfo& customInfo)
    : CodeLocation(position, comment) {
    d.write()->customInfo = customInfo;
}

CodeLocation::CodeLocation(const std::string& file, int line, const std::string& comment,
                           const CustomInfo& customInfo)
    : CodeLocation(file, line, comment) {
    d.write()->customInfo = customInfo;
}

CodeLocation::CodeLocation(const char* function, Language language) : d(new Private(false)) {
    setFunction(function, language);
}

CodeLocation::CodeLocation(const char* function, Language language, const std::string& comment)
    : CodeLocation(function, language) {
    d.write()->comment = comment;
}

CodeLocation::CodeLocation(const char* function, Language language, const std::string& comment,
                           const CustomInfo& customInfo)
    : CodeLocation(function, language, comment) {
    d.write()->customInfo = customInfo;
}

CodeLocation::CodeLocation(const std::string& position, const char* function, Language language)
    : CodeLocation(position) {
    setFunction(function, language);
}

CodeLocation::CodeLocation(const std::string& position, const char* function, Language language,
                           const std::string& comment)
    : CodeLocation(position, function, language) {
    d.write()->comment = comment;
}

CodeLocation::CodeLocation(const std::string& position, const char* function, Language language,
                           const std::string& comment, const CustomInfo& customInfo)
    : CodeLocation(position, function, language, comment) {
    d.write()->customInfo = customInfo;
}

CodeLocation::CodeLocation(const std::string& file, int line, const char* function,
                           Language language)
    : CodeLocation(file, line) {
    setFunction(function, language);
}

CodeLocation::CodeLocation(const std::string& file, int line, const char* function,
                           Language language, const std::string& comment)
    : CodeLocation(file, line, function, language) {
    d.write()->comment = comment;
}

CodeLocation::CodeLocation(const std::string& file, int line, const char* function,
                           Language language, const std::string& comment,
                           const CustomInfo& customInfo)
    : CodeLocation(file, line, function, language, comment) {
    d.write()->customInfo = customInfo;
}

CodeLocation::CodeLocation(const CodeLocation& other) = default;
CodeLocation::CodeLocation(CodeLocation&& other) noexcept = default;
CodeLocation& CodeLocation::operator=(const CodeLocation& other) = default;
CodeLocation& CodeLocation::operator=(CodeLocation&& other) noexcept = default;
CodeLocation::~CodeLocation() = default;

const std::string& CodeLocation::file() const {
    return d->file;
}

int CodeLocation::line() const {
    return d->line;
}

const std::string& CodeLocation::function() const {
    return d->function;
}

const std::string& CodeLocation::comment() const {
    return d->comment;
}

CodeLocation::Language CodeLocation::language() const {
    return d->language;
}

const CustomInfo& CodeLocation::customInfo() const {
    return d->customInfo;
}

CustomInfo& CodeLocation::customInfo() {
    return d.write()->customInfo;
}

const std::string& CodeLocation::customInfo(const std::string& key) const {
    return d->customInfo.get(key, emptyText());
}

bool CodeLocation::isEmpty() const {
    return d->empty;
}

void CodeLocation::setFunction(const char* function, Language language) {
    if (!function) {
        QOR_ASSERT_FAILED("codeLocation->function");
        return;
    }
    Private* codeLocation = d.write();
    codeLocation->function = reduceFunction(function, language);
    codeLocation->language = language;
    codeLocation->empty = false;
}

void CodeLocation::setFile(const std::string& file) {
    Private* p = d.write();
    p->file = file;
    p->empty = false;
}

void CodeLocation::setLine(int line) {
    Private* p = d.write();
    p->line = line;
    p->empty = false;
}

void CodeLocation::setComment(const std::string& comment) {
    Private* p = d.write();
    p->comment = comment;
    p->empty = false;
}

void CodeLocation::setCustomInfo(const CustomInfo& customInfo) {
    Private* p = d.write();
    p->customInfo = customInfo;
    p->empty = false;
}

namespace {

// The leading decimal number of a line text, or -1 when it starts with none.
int lineNumberOf(const std::string& text) {
    std::size_t i = 0;
    while (i < text.size() && isBlank(text[i]))
        ++i;
    long value = -1;
    for (; i < text.size() && std::isdigit(static_cast<unsigned char>(text[i])); ++i) {
        if (value < 0) value = 0;
        value = value * 10 + (text[i] - '0');
        if (value > 0x7FFFFFFFL) return -1;
    }
    return static_cast<int>(value);
}

bool isDriveLetter(const std::string& part, const std::string& next) {
    return part.size() == 1 && std::isalpha(static_cast<unsigned char>(part[0])) && !next.empty() &&
           (next[0] == '\\' || next[0] == '/');
}

} // namespace

void CodeLocation::setPosition(const std::string& position) {
    StringList parts = StringList::split(position, ":");
    std::list<std::string>& items = parts.list();
    if (items.size() >= 2 && isDriveLetter(items.front(), *std::next(items.begin()))) {
        const std::string drive = items.front() + ":";
        items.pop_front();
        items.front() = drive + items.front();
    }
    Private* p = d.write();
    p->file = items.front();
    p->line = items.size() >= 2 ? lineNumberOf(*std::next(items.begin())) : -1;
    p->empty = false;
}

String CodeLocation::locationAsString() const {
    const Private* p = d.get();
    std::string text = p->file.empty() ? std::string("(unknown)") : p->file;
    if (p->line >= 0) text += ":" + std::to_string(p->line);
    return String(std::move(text));
}

String CodeLocation::asString() const {
    const Private* p = d.get();
    std::string text = locationAsString().str();
    if (!p->function.empty()) text += ": " + p->function + " ";
    if (!p->comment.empty()) text += "(" + p->comment + ")";
    return String(std::move(text));
}

bool CodeLocation::operator==(const CodeLocation& other) const {
    const Private* a = d.get();
    const Private* b = other.d.get();
    return a->file == b->file && a->line == b->line && a->comment == b->comment &&
           a->function == b->function && a->language == b->language &&
           a->customInfo == b->customInfo && a->empty == b->empty;
}

} // namespace Core
} // namespace Orvane
