// The "orvane.cfg" format in memory: the reader of the grammar, its value scanner, the cache of
// sections and the writer of the file text. Files themselves are the handler's business.
#include "orvanecfgformat.h"

#include "configmessages.h"

#include <cstring>
#include <initializer_list>
#include <memory>
#include <string_view>
#include <utility>

namespace Orvane {
namespace Core {

namespace {

using namespace ConfigMessages;
using Orvanecfg::format;
using Orvanecfg::kByteOrderMarkSize;

const char kByteOrderMark[] = "\xEF\xBB\xBF";
const char* const kListSeparator = "<|>";

// The grammar trims blanks, tabs, CR and LF, nothing else.
bool isTrimmed(char c) {
    return c == ' ' || c == '\t' || c == '\r' || c == '\n';
}

std::string_view trim(std::string_view text) {
    std::size_t begin = 0;
    std::size_t end = text.size();
    while (begin < end && isTrimmed(text[begin]))
        ++begin;
    while (end > begin && isTrimmed(text[end - 1]))
        --end;
    return text.substr(begin, end - begin);
}

// Whether the text holds any of the characters of `set` (a short set: one pass over the text).
bool containsAny(std::string_view text, std::string_view set) {
    for (const char c : text) {
        for (const char candidate : set) {
            if (c == candidate) return true;
        }
    }
    return false;
}

// White space as the C library's isspace sees it in the "C" locale.
bool isCSpace(char c) {
    return c == ' ' || (c >= '\t' && c <= '\r');
}

int hexDigit(char c) {
    if (c >= '0' && c <= '9') return c - '0';
    if (c >= 'a' && c <= 'f') return c - 'a' + 10;
    if (c >= 'A' && c <= 'F') return c - 'A' + 10;
    return -1;
}

// The two characters of a "\xHH" code read as strtoul reads them with base 16: leading white
// space, an optional sign, digits up to the first other character (a "0x" prefix needs a digit
// after it, for which two characters leave no room). False when no digit converts. Two digits
// never exceed the range of unsigned long, so the out-of-range failure cannot arise here.
bool convertCode(const char (&code)[2], unsigned char& byte) {
    std::size_t i = 0;
    while (i < 2 && isCSpace(code[i]))
        ++i;
    bool negative = false;
    if (i < 2 && (code[i] == '+' || code[i] == '-')) {
        negative = code[i] == '-';
        ++i;
    }
    unsigned long value = 0;
    bool converted = false;
    for (; i < 2 && hexDigit(code[i]) >= 0; ++i) {
        value = value * 16 + static_cast<unsigned long>(hexDigit(code[i]));
        converted = true;
    }
    if (!converted) return false;
    // strtoul negates in unsigned arithmetic; the byte is the low eight bits of that.
    if (negative) value = 0UL - value;
    byte = static_cast<unsigned char>(value & 0xFFu);
    return true;
}

// Splits an unquoted value at every "<|>"; the pieces are trimmed, empty ones kept.
void appendUnquoted(std::string_view pending, Orvanecfg::Entry& values) {
    pending = trim(pending);
    if (pending.empty()) return;
    std::size_t start = 0;
    for (;;) {
        const std::size_t separator = pending.find(kListSeparator, start);
        const std::size_t end = separator == std::string_view::npos ? pending.size() : separator;
        const std::string_view piece = trim(pending.substr(start, end - start));
        values.append(piece);
        if (separator == std::string_view::npos) break;
        start = separator + 3;
    }
}

// Reads a value that holds quotes or a comment, one character at a time. Outside quotes the text
// is kept until "#"; a quoted string replaces the text before it and becomes one value; inside
// quotes "\\" starts an escape and "\\x" takes the next two characters as a code.
class ValueScanner {
public:
    enum Outcome { Complete, UnknownEscape, UnfinishedCode, InvalidCode, MissingQuote };

    ValueScanner(std::string& buffer, Orvanecfg::Entry& values)
        : m_buffer(buffer), m_values(values) {
        m_buffer.clear();
    }

    Outcome scan(std::string_view raw) {
        for (const char c : raw) {
            switch (m_state) {
            case Unquoted:
                if (c == '#') return finish();
                if (c == '"') {
                    // Text before a quoted string (or between two) is dropped.
                    m_state = Quoted;
                    m_buffer.clear();
                } else {
                    m_buffer += c;
                }
                break;
            case Quoted:
                if (c == '\\') {
                    m_state = Escape;
                } else if (c == '"') {
                    m_values.append(m_buffer);
                    m_buffer.clear();
                    m_state = Unquoted;
                } else {
                    m_buffer += c;
                }
                break;
            case Escape:
                if (!escape(c)) {
                    m_offending = c;
                    return UnknownEscape;
                }
                break;
            case Code:
                if (c == '"') return UnfinishedCode;
                // A code takes the next two characters, whatever they are.
                m_code[m_codeLength++] = c;
                if (m_codeLength == 2) {
                    unsigned char byte = 0;
                    if (!convertCode(m_code, byte)) return InvalidCode;
                    m_buffer += static_cast<char>(byte);
                    m_state = Quoted;
                }
                break;
            }
        }
        return finish();
    }

    /// The character after the backslash of an unknown escape.
    const char& offending() const { return m_offending; }

private:
    enum State : unsigned char { Unquoted, Quoted, Escape, Code };

    // The character after a backslash; false for an unknown escape.
    bool escape(char c) {
        m_state = Quoted;
        switch (c) {
        case '"':
        case '\\':
            m_buffer += c;
            return true;
        case 'n':
            m_buffer += '\n';
            return true;
        case 'r':
            m_buffer += '\r';
            return true;
        case 't':
            m_buffer += '\t';
            return true;
        case 'x':
            m_state = Code;
            m_codeLength = 0;
            return true;
        default:
            return false;
        }
    }

    Outcome finish() {
        if (m_state != Unquoted) return MissingQuote;
        appendUnquoted(m_buffer, m_values);
        return Complete;
    }

    std::string& m_buffer;
    Orvanecfg::Entry& m_values;
    State m_state = Unquoted;
    char m_code[2] = {0, 0};
    std::size_t m_codeLength = 0;
    char m_offending = 0;
};

// Reads the text line by line as it comes, in pieces of any size: a line that runs across two
// pieces is carried over, so a file is read without holding all of it.
class Parser {
public:
    Parser(const std::string& fileName, Orvanecfg::Cache& cache)
        : m_fileName(fileName), m_cache(cache) {}

    void feed(const char* data, std::size_t size) {
        if (m_report.aborted) return;
        if (!m_markChecked) {
            // The byte order mark needs the first three bytes together.
            m_carry.append(data, size);
            if (m_carry.size() < kByteOrderMarkSize) return;
            m_markChecked = true;
            std::string first;
            first.swap(m_carry);
            const std::size_t skip =
                first.compare(0, kByteOrderMarkSize, kByteOrderMark) == 0 ? kByteOrderMarkSize : 0;
            lines(first.data() + skip, first.size() - skip);
            return;
        }
        lines(data, size);
    }

    Orvanecfg::ParseReport finish() {
        // A text shorter than a byte order mark has none; the last line needs no line feed.
        m_markChecked = true;
        if (!m_report.aborted && !m_carry.empty()) endLine(m_carry);
        m_carry.clear();
        return std::move(m_report);
    }

private:
    void lines(const char* data, std::size_t size) {
        std::size_t position = 0;
        while (position < size && !m_report.aborted) {
            const void* found = std::memchr(data + position, '\n', size - position);
            if (!found) {
                m_carry.append(data + position, size - position);
                return;
            }
            const std::size_t end =
                static_cast<std::size_t>(static_cast<const char*>(found) - data);
            if (m_carry.empty()) {
                endLine(std::string_view(data + position, end - position));
            } else {
                m_carry.append(data + position, end - position);
                endLine(m_carry);
                m_carry.clear();
            }
            position = end + 1;
        }
    }

    void endLine(std::string_view text) {
        ++m_lineNumber;
        line(trim(text));
    }

    void line(std::string_view text) {
        if (text.empty()) return;
        if (text.size() >= 3 && text[0] == '[') {
            sectionLine(text);
        } else if (text[0] != '#') {
            entryLine(text);
        }
    }

    void sectionLine(std::string_view text) {
        const std::size_t comment = text.find('#');
        if (comment != std::string_view::npos) text = trim(text.substr(0, comment));
        // The text still starts with "[": the comment can only start after it.
        std::string_view name;
        if (text.size() >= 2 && text.back() == ']') {
            name = text.substr(1, text.size() - 2);
        } else {
            record(kMissingBracket);
            name = text.substr(1);
        }
        name = trim(name);
        m_section.assign(name.data(), name.size());
        // A section exists from its header on, so it is kept without entries; all but "", which
        // the writer cannot name and which therefore exists through its entries only.
        m_current = m_section.empty() ? nullptr : &sectionNamed(m_section);
    }

    void entryLine(std::string_view text) {
        if (text.size() < 2) record(kTooSmall);
        const std::size_t equals = text.find('=');
        if (equals == std::string_view::npos) {
            record(kMissingDelimiter);
            return;
        }
        const std::string_view name = trim(text.substr(0, equals));
        const std::string_view raw = trim(text.substr(equals + 1));
        m_values.clear();
        if (scanValue(raw, m_values)) store(name);
    }

    // False when the value recorded an error: it is then dropped.
    bool scanValue(std::string_view raw, Orvanecfg::Entry& values) {
        // Most values are plain text: no quotes, no comment.
        if (!containsAny(raw, "\"#")) {
            appendUnquoted(raw, values);
            return true;
        }
        ValueScanner scanner(m_buffer, values);
        switch (scanner.scan(raw)) {
        case ValueScanner::Complete:
            return true;
        case ValueScanner::UnknownEscape:
            record(kUnknownEscape, raw, std::string_view(&scanner.offending(), 1));
            return false;
        case ValueScanner::UnfinishedCode:
            record(kUnfinishedCode, raw);
            return false;
        case ValueScanner::InvalidCode:
            abort(kInvalidCode);
            return false;
        case ValueScanner::MissingQuote:
            record(kMissingQuote, raw);
            return false;
        }
        return false;
    }

    // The path is the section, "/" and the name, split again at its last "/": a name with a "/"
    // belongs to a nested section. A later entry of the same path replaces the earlier one.
    void store(std::string_view name) {
        Orvanecfg::Section* section = m_current;
        const std::size_t slash = name.rfind('/');
        if (slash != std::string_view::npos) {
            m_path.assign(m_section);
            m_path += '/';
            m_path.append(name.data(), slash);
            section = &sectionNamed(m_path);
            name.remove_prefix(slash + 1);
        }
        // Nothing could address an entry without a name.
        if (name.empty()) return;
        if (!section) section = m_current = &sectionNamed(m_section);
        auto slot = section->lower_bound(name);
        if (slot == section->end() || slot->first != name)
            slot = section->emplace_hint(slot, std::string(name), Orvanecfg::Entry());
        m_values.setUnquoted(Orvanecfg::mayWriteUnquoted(m_values));
        slot->second.assign(m_values);
    }

    Orvanecfg::Section& sectionNamed(const std::string& name) {
        std::shared_ptr<Orvanecfg::Section>& section = m_cache.sections[name];
        if (!section) section = std::make_shared<Orvanecfg::Section>();
        return *section;
    }

    void record(const char* pattern, std::string_view raw = std::string_view(),
                std::string_view character = std::string_view()) {
        const std::string lineNumber = std::to_string(m_lineNumber);
        m_report.messages.push_back(format(pattern, {m_fileName, lineNumber, raw, character}));
    }

    void abort(const char* message) {
        m_report.messages.emplace_back(message);
        m_report.aborted = true;
    }

    const std::string& m_fileName;
    Orvanecfg::Cache& m_cache;
    Orvanecfg::ParseReport m_report;
    bool m_markChecked = false;
    std::string m_carry;
    std::size_t m_lineNumber = 0;
    std::string m_section;
    // The current section; made when its header or its first entry is read.
    Orvanecfg::Section* m_current = nullptr;
    std::string m_path;
    std::string m_buffer;
    Orvanecfg::Entry m_values;
};

void appendEscaped(std::string& out, std::string_view value) {
    for (const char c : value) {
        switch (c) {
        case '\n':
            out += "\\n";
            break;
        case '\r':
            out += "\\r";
            break;
        case '\t':
            out += "\\t";
            break;
        case '"':
            out += "\\\"";
            break;
        default:
            // Backslashes too are written as they are.
            out += c;
        }
    }
}

void appendEntry(std::string& out, const std::string& name, const Orvanecfg::Entry& entry) {
    out += name;
    if (entry.empty()) {
        out += " =\n";
    } else if (entry.unquoted()) {
        out += " = ";
        out += entry.front();
        out += '\n';
    } else {
        out += " = \"";
        bool first = true;
        entry.forEach([&](std::string_view value) {
            if (!first) out += "\" \"";
            first = false;
            appendEscaped(out, value);
        });
        out += "\"\n";
    }
}

} // namespace

namespace Orvanecfg {

// Fills "{0}" to "{9}" in one pass, so that a value which itself holds "{1}" stays as it is.
std::string format(std::string_view pattern, std::initializer_list<std::string_view> arguments) {
    std::string text;
    text.reserve(pattern.size() + 64);
    for (std::size_t i = 0; i < pattern.size(); ++i) {
        const char c = pattern[i];
        if (c == '{' && i + 2 < pattern.size() && pattern[i + 2] == '}' && pattern[i + 1] >= '0' &&
            pattern[i + 1] <= '9') {
            const std::size_t index = static_cast<std::size_t>(pattern[i + 1] - '0');
            if (index < arguments.size()) {
                text.append(arguments.begin()[index]);
                i += 2;
                continue;
            }
        }
        text += c;
    }
    return text;
}

struct Reader::Private {
    Private(const std::string& name, Cache& cache) : fileName(name), parser(fileName, cache) {}
    const std::string fileName;
    Parser parser;
};

Reader::Reader(const std::string& fileName, Cache& cache) : d(new Private(fileName, cache)) {}

Reader::~Reader() {
    delete d;
}

void Reader::feed(const char* data, std::size_t size) {
    d->parser.feed(data, size);
}

ParseReport Reader::finish() {
    return d->parser.finish();
}

ParseReport parse(const char* text, std::size_t size, const std::string& fileName, Cache& cache) {
    Reader reader(fileName, cache);
    reader.feed(text, size);
    return reader.finish();
}

const Section* Cache::section(std::string_view name) const {
    auto found = sections.find(name);
    return found == sections.end() ? nullptr : found->second.get();
}

const Entry* Cache::find(std::string_view path) const {
    const std::size_t slash = path.rfind('/');
    if (slash == std::string_view::npos) return nullptr;
    const Section* entries = section(path.substr(0, slash));
    if (!entries) return nullptr;
    auto found = entries->find(path.substr(slash + 1));
    return found == entries->end() ? nullptr : &found->second;
}

bool Cache::operator==(const Cache& other) const {
    if (sections.size() != other.sections.size()) return false;
    auto theirs = other.sections.begin();
    for (const auto& mine : sections) {
        if (mine.first != theirs->first || !(*mine.second == *theirs->second)) return false;
        ++theirs;
    }
    return true;
}

std::string write(const Cache& cache) {
    std::string out(kByteOrderMark);
    for (const auto& section : cache.sections) {
        // Entries above every section belong to "", which sorts first: no header needed.
        if (!section.first.empty()) {
            out += '[';
            out += section.first;
            out += "]\n";
        }
        for (const auto& entry : *section.second)
            appendEntry(out, entry.first, entry.second);
    }
    return out;
}

bool mayWriteUnquoted(const Entry& entry) {
    if (entry.size() != 1) return false;
    const std::string_view value = entry.front();
    if (value.empty()) return false;
    return !containsAny(value, "# \"\n\r\t") && value.find(kListSeparator) == std::string::npos;
}

void setEntry(Cache& cache, std::string_view path, Entry values) {
    const std::size_t slash = path.rfind('/');
    const std::string_view name = path.substr(slash + 1);
    std::shared_ptr<Section>& slot = cache.sections[std::string(path.substr(0, slash))];
    auto section = slot ? std::make_shared<Section>(*slot) : std::make_shared<Section>();
    values.setUnquoted(mayWriteUnquoted(values));
    (*section)[std::string(name)] = std::move(values);
    slot = std::move(section);
}

void addSection(Cache& cache, std::string_view name) {
    std::shared_ptr<Section>& slot = cache.sections[std::string(name)];
    if (!slot) slot = std::make_shared<Section>();
}

} // namespace Orvanecfg
} // namespace Core
} // namespace Orvane
