// The "orvane.cfg" configuration handler: the file grammar, the cache snapshots, the settings
// record and the writer.
#include "qorcommon/orvanecfgconfighandler.h"

#include "orvanecfgformat.h"

#include "qorcommon/globalvariable.h"
#include "qorcommon/string.h"

#include "platform/platform.h"

#include <atomic>
#include <cstdio>
#include <cstring>
#include <initializer_list>
#include <list>
#include <memory>
#include <mutex>
#include <string_view>
#include <utility>

namespace Orvane {
namespace Core {

namespace {

const char* const kMissingBracket = "{0}:{1}: Missing ']' closing.";
const char* const kTooSmall = "{0}:{1}: Line is too small to be an entry.";
const char* const kMissingDelimiter = "{0}:{1}: Missing '=' delimiter.";
const char* const kUnfinishedCode =
    "{0}:{1}: value: {2} Unfinished escape sequence to insert ASCII code.";
const char* const kUnknownEscape = "{0}:{1}: value: {2} Unknown escape sequence: '\\{3}'.";
const char* const kMissingQuote = "{0}:{1}: value: {2} Missing quote closing.";
const char* const kInvalidCode = "invalid stoul argument";

const char* const kCannotOpen = "Cannot open config file '{0}'.";
const char* const kCannotWrite = "Cannot write config file '{0}'.";
const char* const kCannotInitialize = "Cannot initialize config handler properly";
const char* const kWritingNotEnabled = "writing of orvane config file is not enabled";
const char* const kSettingEntryNotEnabled = "setting of entry value is not enabled";
const char* const kSettingKeyNotEnabled = "setting of config key is not enabled";
const char* const kIncorrectPath = "Incorrect config path: '{0}'.";
const char* const kEmptyPart = "Section and entry cannot be empty in config path: '{0}'.";
const char* const kEntryNotFound = "{0}: Entry not found: {1}";
const char* const kKeyNotFound = "{0}: Key not found: {1}";

const char kByteOrderMark[] = "\xEF\xBB\xBF";
const std::size_t kByteOrderMarkSize = 3;
const char* const kListSeparator = "<|>";

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

    // The value scanner. False when the value recorded an error: it is then dropped.
    bool scanValue(std::string_view raw, Orvanecfg::Entry& values) {
        // Most values are plain text: no quotes, no comment.
        if (!containsAny(raw, "\"#")) {
            appendUnquoted(raw, values);
            return true;
        }
        std::string& buffer = m_buffer;
        buffer.clear();
        bool quoted = false;
        bool escaped = false;
        bool inCode = false;
        char code[2] = {0, 0};
        std::size_t codeLength = 0;
        for (const char c : raw) {
            if (!quoted) {
                if (c == '#') break;
                if (c == '"') {
                    // Text before a quoted string (or between two) is dropped.
                    quoted = true;
                    buffer.clear();
                } else {
                    buffer += c;
                }
            } else if (escaped) {
                escaped = false;
                switch (c) {
                case '"':
                case '\\':
                    buffer += c;
                    break;
                case 'n':
                    buffer += '\n';
                    break;
                case 'r':
                    buffer += '\r';
                    break;
                case 't':
                    buffer += '\t';
                    break;
                case 'x':
                    inCode = true;
                    codeLength = 0;
                    break;
                default:
                    record(kUnknownEscape, raw, std::string_view(&c, 1));
                    return false;
                }
            } else if (c == '"') {
                if (inCode) {
                    record(kUnfinishedCode, raw);
                    return false;
                }
                values.append(buffer);
                buffer.clear();
                quoted = false;
            } else if (inCode) {
                // A code takes the next two characters, whatever they are.
                code[codeLength++] = c;
                if (codeLength == 2) {
                    unsigned char byte = 0;
                    if (!convertCode(code, byte)) {
                        abort(kInvalidCode);
                        return false;
                    }
                    buffer += static_cast<char>(byte);
                    inCode = false;
                }
            } else if (c == '\\') {
                escaped = true;
            } else {
                buffer += c;
            }
        }
        if (quoted) {
            record(kMissingQuote, raw);
            return false;
        }
        appendUnquoted(buffer, values);
        return true;
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

// ---- process-wide state ---------------------------------------------------------------------

using Settings = OrvanecfgConfigHandler::Settings;

// Never destroyed: handlers may live into static destruction.
GlobalVariable<Settings>& settingsVariable() {
    static auto* variable = new GlobalVariable<Settings>;
    return *variable;
}

GlobalVariable<std::string>& pathVariable() {
    static auto* variable = new GlobalVariable<std::string>;
    return *variable;
}

// Library texts are in the core encoding; the platform layer takes UTF-8.
std::string toPlatformText(const std::string& text) {
    if (String::coreEncoding() == String::UTF8) return text;
    return String::fromCoreEncoding(text, String::UTF8);
}

std::string fromPlatformText(const std::string& text) {
    if (String::coreEncoding() == String::UTF8) return text;
    return String::toCoreEncoding(text, String::UTF8);
}

// Reads the file into `cache` in pieces. False when it cannot be opened or read (a folder opens on
// POSIX and fails at the first read).
bool readFile(const std::string& path, Orvanecfg::Cache& cache, Orvanecfg::ParseReport& report) {
    std::FILE* file = Platform::openFile(toPlatformText(path), "rb");
    if (!file) return false;
    Orvanecfg::Reader reader(path, cache);
    char piece[32768];
    std::size_t got = 0;
    while ((got = std::fread(piece, 1, sizeof piece, file)) > 0)
        reader.feed(piece, got);
    const bool ok = std::ferror(file) == 0;
    std::fclose(file);
    report = reader.finish();
    return ok;
}

// Replaces the file as a whole, so the target is either the old file or the whole new one. The
// messages name the target.
bool replaceFile(const std::string& path, const std::string& text, std::string& message) {
    const std::string target = toPlatformText(path);
    if (Platform::isDirectory(target)) {
        message = format(kCannotOpen, {path});
        return false;
    }
    std::string error;
    if (!Platform::replaceFileContents(target, text.data(), text.size(), error)) {
        message = format(kCannotOpen, {path});
        return false;
    }
    return true;
}

bool settingOf(const Orvanecfg::Cache& cache, const char* path) {
    const Orvanecfg::Entry* entry = cache.find(path);
    bool value = false;
    if (entry && !entry->empty()) ConfigHandler::parseBoolean(std::string(entry->front()), value);
    return value;
}

std::string joinLines(const std::vector<std::string>& messages) {
    std::string text;
    for (std::size_t i = 0; i < messages.size(); ++i) {
        if (i > 0) text += "\r\n";
        text += messages[i];
    }
    return text;
}

} // namespace

// ---- the format -----------------------------------------------------------------------------

namespace Orvanecfg {

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

// ---- the handler ----------------------------------------------------------------------------

const char* const OrvanecfgConfigHandler::WritingEnabledPath =
    "ORVANE_CONFIG_HANDLER/IS_WRITING_ENABLED";
const char* const OrvanecfgConfigHandler::SettingEnabledPath =
    "ORVANE_CONFIG_HANDLER/IS_SETTING_ENABLED";
const char* const OrvanecfgConfigHandler::DebugWritingPath = "ORVANE_CONFIG_HANDLER/DEBUG_WRITING";

using CachePtr = std::shared_ptr<const Orvanecfg::Cache>;

struct OrvanecfgConfigHandler::Private {
    // Guards the pointer only: readers copy it and let go at once.
    std::mutex snapshotLock;
    CachePtr cache = std::make_shared<const Orvanecfg::Cache>();
    // Serialises the writers of the cache, so that no copy-change-publish loses another's change.
    std::mutex writeLock;
    mutable std::mutex errorLock;
    ErrorInfo lastErrorInfo;

    CachePtr snapshot() {
        std::lock_guard<std::mutex> guard(snapshotLock);
        return cache;
    }

    // Call with writeLock held.
    void publish(CachePtr next) {
        {
            std::lock_guard<std::mutex> guard(snapshotLock);
            cache.swap(next);
        }
        // The old cache is freed here, outside the lock, unless readers still hold it.
    }
};

OrvanecfgConfigHandler::OrvanecfgConfigHandler(GC<ConfigHandler> base)
    : ConfigHandler(std::move(base)), d(new Private) {}

OrvanecfgConfigHandler::~OrvanecfgConfigHandler() {
    delete d;
}

const char* OrvanecfgConfigHandler::typeName() const {
    return "Orvane::Core::OrvanecfgConfigHandler";
}

bool OrvanecfgConfigHandler::init() {
    return updateCache(true);
}

bool OrvanecfgConfigHandler::isOperationSupported(Operation operation) const {
    switch (operation) {
    case ReadingEntries:
    case KeepingCache:
    case UpdatingCache:
    case ReadingKeys:
        return true;
    case WritingEntries:
    case WritingKeys: {
        const Settings current = settings();
        return current.writingEnabled || current.settingEnabled;
    }
    case FlushingCache:
        return settings().writingEnabled;
    default:
        return false;
    }
}

bool OrvanecfgConfigHandler::updateCurrentCache() {
    const std::string path = getOrvanecfgPath();
    auto next = std::make_shared<Orvanecfg::Cache>();
    Orvanecfg::ParseReport report;
    std::vector<std::string> failures;
    if (!readFile(path, *next, report)) {
        failures.push_back(format(kCannotOpen, {path}));
    } else {
        failures = std::move(report.messages);
        if (!report.aborted) {
            Settings read;
            read.writingEnabled = settingOf(*next, WritingEnabledPath);
            read.settingEnabled = settingOf(*next, SettingEnabledPath);
            read.debugWriting = settingOf(*next, DebugWritingPath);
            {
                std::lock_guard<std::mutex> guard(d->writeLock);
                d->publish(std::move(next));
            }
            settingsVariable().assign(read);
        }
    }
    if (failures.empty()) {
        setHandlerStatus(NoError);
        return true;
    }
    const std::string detail = joinLines(failures);
    {
        std::lock_guard<std::mutex> guard(d->errorLock);
        d->lastErrorInfo = ErrorInfo(kCannotInitialize, detail, QOR_CODE_LOCATION);
    }
    setLastError(detail, OperationFailed);
    return false;
}

bool OrvanecfgConfigHandler::flushCurrentCache() {
    const Settings current = settings();
    if (!current.writingEnabled) {
        setLastError(kWritingNotEnabled, OperationFailed);
        return false;
    }
    const std::string text = Orvanecfg::write(*d->snapshot());
    std::string message;
    if (!replaceFile(getOrvanecfgPath(), text, message)) {
        setLastError(message, OperationFailed);
        return false;
    }
    if (current.debugWriting) {
        std::fwrite(text.data() + kByteOrderMarkSize, 1, text.size() - kByteOrderMarkSize, stdout);
        std::fflush(stdout);
    }
    setHandlerStatus(NoError);
    return true;
}

ErrorInfo OrvanecfgConfigHandler::getLastErrorInfo() const {
    std::lock_guard<std::mutex> guard(d->errorLock);
    return d->lastErrorInfo;
}

void OrvanecfgConfigHandler::setOrvanecfgPath(const std::string& path) {
    pathVariable().assign(path);
}

std::string OrvanecfgConfigHandler::getOrvanecfgPath() {
    std::string path = *pathVariable().access();
    if (!path.empty()) return path;
    return fromPlatformText(Platform::currentDirectory()) + "/orvane.cfg";
}

OrvanecfgConfigHandler::Settings OrvanecfgConfigHandler::settings() {
    return *settingsVariable().access();
}

// ---- reading and writing the cache ------------------------------------------------------------

bool OrvanecfgConfigHandler::readEntryAsStringList(const std::string& path, StringList& out) {
    if (!checkPath(path)) return false;
    const CachePtr cache = d->snapshot();
    const Orvanecfg::Entry* entry = cache->find(path);
    if (!entry) return entryNotFound(path);
    std::list<std::string>& list = out.list();
    // The nodes of the caller's list are reused; only missing ones are made.
    auto node = list.begin();
    entry->forEach([&](std::string_view value) {
        if (node == list.end()) {
            list.emplace_back(value);
        } else {
            node->assign(value.data(), value.size());
            ++node;
        }
    });
    list.erase(node, list.end());
    return true;
}

bool OrvanecfgConfigHandler::readEntryAsString(const std::string& path, std::string& out) {
    if (!checkPath(path)) return false;
    const CachePtr cache = d->snapshot();
    const Orvanecfg::Entry* entry = cache->find(path);
    if (!entry) return entryNotFound(path);
    const std::string_view first = entry->front();
    out.assign(first.data(), first.size());
    return true;
}

bool OrvanecfgConfigHandler::readKeyList(const std::string& path, StringList& out) {
    const CachePtr cache = d->snapshot();
    const Orvanecfg::Section* section = cache->section(path);
    if (!section) {
        setLastError(format(kKeyNotFound, {typeName(), path}), OperationFailed);
        return false;
    }
    std::list<std::string>& names = out.list();
    names.clear();
    for (const auto& entry : *section)
        names.push_back(entry.first);
    return true;
}

bool OrvanecfgConfigHandler::entryIsExisting(const std::string& path, bool& exists) {
    if (!checkPath(path)) return false;
    exists = d->snapshot()->find(path) != nullptr;
    return true;
}

bool OrvanecfgConfigHandler::keyIsExisting(const std::string& path, bool& exists) {
    exists = d->snapshot()->section(path) != nullptr;
    return true;
}

bool OrvanecfgConfigHandler::writeEntryAsStringList(const std::string& path,
                                                    const StringList& values) {
    if (!isOperationSupported(WritingEntries)) {
        setLastError(kSettingEntryNotEnabled, OperationFailed);
        return false;
    }
    if (!checkPath(path)) return false;
    Orvanecfg::Entry entry;
    for (const std::string& value : values)
        entry.append(value);
    std::lock_guard<std::mutex> guard(d->writeLock);
    // Copies the section list and the changed section; the other sections are shared.
    auto next = std::make_shared<Orvanecfg::Cache>(*d->snapshot());
    Orvanecfg::setEntry(*next, path, std::move(entry));
    d->publish(std::move(next));
    return true;
}

bool OrvanecfgConfigHandler::writeKey(const std::string& path) {
    if (!isOperationSupported(WritingKeys)) {
        setLastError(kSettingKeyNotEnabled, OperationFailed);
        return false;
    }
    if (path.empty()) {
        setLastError(format(kIncorrectPath, {path}), OperationFailed);
        return false;
    }
    std::lock_guard<std::mutex> guard(d->writeLock);
    const CachePtr current = d->snapshot();
    if (current->section(path)) return true;
    auto next = std::make_shared<Orvanecfg::Cache>(*current);
    Orvanecfg::addSection(*next, path);
    d->publish(std::move(next));
    return true;
}

bool OrvanecfgConfigHandler::checkPath(const std::string& path) {
    const std::size_t slash = path.rfind('/');
    if (slash == std::string::npos) {
        setLastError(format(kIncorrectPath, {path}), OperationFailed);
        return false;
    }
    if (slash == 0 || slash + 1 == path.size()) {
        setLastError(format(kEmptyPart, {path}), OperationFailed);
        return false;
    }
    return true;
}

bool OrvanecfgConfigHandler::entryNotFound(const std::string& path) {
    setLastError(format(kEntryNotFound, {typeName(), path}), OperationFailed);
    return false;
}

} // namespace Core
} // namespace Orvane
