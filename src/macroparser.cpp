// The parser of macro templates: one scan of the text turns it into literal pieces and macro
// nodes whose arguments are split, unquoted and parsed in turn, so that expansion never scans text.
#include "macroparser.h"

#include "qorcommon/macroreplacer.h"
#include "qorcommon/mutex.h"

#include "platform/platform.h"

#include <cstdint>
#include <utility>

namespace Orvane {
namespace Core {
namespace Internal {

namespace {

const char* const kMissingColon = "syntax error: missing ':' after macro name";
const char* const kUnexpectedParen = "syntax error: unexpected ')'";
const char* const kMissingParen = "syntax error: missing ')'";
const char* const kTooManyParens = "syntax error: too many ')'";

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

TemplatePtr cachedTemplate(const std::string& text) {
    return templateCache().get(text);
}

} // namespace Internal
} // namespace Core
} // namespace Orvane
