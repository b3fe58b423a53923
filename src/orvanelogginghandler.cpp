// The file logging handler: settings, line rendering, loggers and the handler itself.
//
// A line format is parsed once. When it uses only the handler's own value macros (the usual
// case, and both named formats) it is rendered by a direct writer into a stack buffer; any other
// format goes through the macro replacer with a helper that supplies the same values, so both
// paths produce the same text.
#include "qorcommon/orvanelogginghandler.h"

#include "qorcommon/globalvariable.h"
#include "qorcommon/macroreplacer.h"
#include "qorcommon/mutex.h"
#include "qorcommon/string.h"

#include "logfilewriter.h"
#include "platform/platform.h"

#include <atomic>
#include <cctype>
#include <cstdio>
#include <cstring>
#include <memory>
#include <string>
#include <utility>
#include <vector>

namespace Orvane {
namespace Core {

namespace {

using Lock = ScopedLock<Platform::Mutex>;

const char* const DefaultFormat = "$(thread_id): $(timestamp:iso) $(stack_prefix)$(message) "
                                  "[$(logger_name)] {$(code_location:{$(file):$(line)})}";
const char* const CompatFormat = "$(timestamp_with_diff) $(message)";
const char* const DefaultLogFile = "$(current_dir)/orvane.log";
const char* const Section = "ORVANE_LOGGING_HANDLER/";

const std::int64_t MinFileSize = 1024;
const std::int64_t MaxFileSize = 2000000000;
const std::int64_t DefaultFileSize = 10 * 1024 * 1024;
// Bits 0-7: the priorities; bit 8: any other value, selected only by "all".
const unsigned AllPriorities = 0x1FF;
// Bits 0-4: the contexts; bit 5: any other value.
const unsigned AllContexts = 0x3F;
const unsigned NotFound = ~0u;

// Configuration words compare without case and surrounding blanks.
std::string lowerCase(const std::string& text) {
    return String(text).toLower().str();
}

std::string trimmed(const std::string& text) {
    return String(text).trim().str();
}

// Every value of a list, each also split at commas: "File,Console" reads like two values.
std::vector<std::string> words(const StringList& values) {
    std::vector<std::string> out;
    for (const std::string& value : values) {
        std::size_t start = 0;
        for (;;) {
            const std::size_t comma = value.find(',', start);
            const std::string word = trimmed(value.substr(start, comma - start));
            if (!word.empty()) out.push_back(word);
            if (comma == std::string::npos) break;
            start = comma + 1;
        }
    }
    return out;
}

unsigned priorityBit(int prio) {
    return prio >= 0 && prio <= 7 ? 1u << prio : 1u << 8;
}

unsigned contextBit(int context) {
    return context >= 0 && context <= 4 ? 1u << context : 1u << 5;
}

// ---- the process-wide settings ------------------------------------------------------------------

struct ProcessSettings {
    std::string logFile = DefaultLogFile;
    unsigned destinations = OrvaneLoggingSettings::ToFile;
    long level = 4;
    std::int64_t maxSize = DefaultFileSize;
};

GlobalVariable<ProcessSettings>& processSettings() {
    static GlobalVariable<ProcessSettings>* const settings = new GlobalVariable<ProcessSettings>;
    return *settings;
}

// ---- text helpers of the renderer ---------------------------------------------------------------

// A line under construction: on the stack up to its inline size, on the heap beyond.
class LineBuffer {
public:
    LineBuffer() : m_data(m_inline), m_size(0), m_capacity(sizeof m_inline) {}
    LineBuffer(const LineBuffer&) = delete;
    LineBuffer& operator=(const LineBuffer&) = delete;

    void append(const char* text, std::size_t length) {
        if (m_size + length > m_capacity) grow(m_size + length);
        std::memcpy(m_data + m_size, text, length);
        m_size += length;
    }
    void append(const std::string& text) { append(text.data(), text.size()); }
    void append(const char* text) { append(text, std::strlen(text)); }
    void append(char c) {
        if (m_size + 1 > m_capacity) grow(m_size + 1);
        m_data[m_size++] = c;
    }
    void appendBlanks(std::size_t count) {
        if (m_size + count > m_capacity) grow(m_size + count);
        std::memset(m_data + m_size, ' ', count);
        m_size += count;
    }
    void appendNumber(long long value) {
        char text[24];
        char* end = text + sizeof text;
        char* p = end;
        // Negated as unsigned so that the smallest value has a magnitude too.
        unsigned long long magnitude = value < 0 ? 0ull - static_cast<unsigned long long>(value)
                                                 : static_cast<unsigned long long>(value);
        do {
            *--p = static_cast<char>('0' + magnitude % 10);
            magnitude /= 10;
        } while (magnitude);
        if (value < 0) *--p = '-';
        append(p, static_cast<std::size_t>(end - p));
    }
    void appendHex8(unsigned long value) {
        char text[8];
        std::uint32_t v = static_cast<std::uint32_t>(value);
        for (int i = 7; i >= 0; --i, v >>= 4)
            text[i] = "0123456789abcdef"[v & 15];
        append(text, 8);
    }
    // Two digits of a small number.
    void append2(int value) {
        append(static_cast<char>('0' + value / 10 % 10));
        append(static_cast<char>('0' + value % 10));
    }

    const char* data() const { return m_data; }
    std::size_t size() const { return m_size; }

private:
    void grow(std::size_t needed) {
        std::size_t capacity = m_capacity * 2;
        while (capacity < needed)
            capacity *= 2;
        std::string bigger;
        bigger.resize(capacity);
        std::memcpy(&bigger[0], m_data, m_size);
        m_heap.swap(bigger);
        m_data = &m_heap[0];
        m_capacity = capacity;
    }

    char m_inline[1024];
    char* m_data;
    std::size_t m_size;
    std::size_t m_capacity;
    std::string m_heap;
};

void appendXmlEscaped(LineBuffer& out, const std::string& text) {
    for (char c : text) {
        switch (c) {
        case '&':
            out.append("&amp;");
            break;
        case '<':
            out.append("&lt;");
            break;
        case '>':
            out.append("&gt;");
            break;
        case '"':
            out.append("&quot;");
            break;
        case '\'':
            out.append("&apos;");
            break;
        default:
            out.append(c);
        }
    }
}

void appendDiff(LineBuffer& out, double diff) {
    char text[48];
    const int length = std::snprintf(text, sizeof text, "%.3f", diff);
    if (length > 0) out.append(text, static_cast<std::size_t>(length));
}

void appendIso(LineBuffer& out, const DateTime& timestamp) {
    char text[DateTime::ISOBufferSize];
    out.append(text, timestamp.writeISODateTime(text, sizeof text));
}

long cachedThreadId() {
    thread_local long id = 0;
    if (id == 0) id = Platform::currentThreadId();
    return id;
}

// The function of a location split at its last "::".
std::string classOf(const std::string& function) {
    const std::size_t colons = function.rfind("::");
    return colons == std::string::npos ? std::string() : function.substr(0, colons);
}

std::string methodOf(const std::string& function) {
    const std::size_t colons = function.rfind("::");
    return colons == std::string::npos ? function : function.substr(colons + 2);
}

std::string fileNameOf(const std::string& path) {
    const std::size_t slash = path.find_last_of("/\\");
    return slash == std::string::npos ? path : path.substr(slash + 1);
}

const char* contextName(int context) {
    switch (context) {
    case LogEntry::BeginLogging:
        return "BeginLogging";
    case LogEntry::General:
        return "General";
    case LogEntry::Status:
        return "Status";
    case LogEntry::Custom:
        return "Custom";
    case LogEntry::EndLogging:
        return "EndLogging";
    }
    return "";
}

const char* log4jName(int prio) {
    switch (prio) {
    case 1:
    case 2:
    case 3:
        return "DEBUG";
    case 4:
        return "INFO";
    case 5:
        return "WARN";
    case 6:
        return "ERROR";
    case 7:
        return "FATAL";
    }
    return "TRACE";
}

// ---- one entry being rendered -------------------------------------------------------------------

struct ModuleTexts {
    std::string name;
    std::string shortName;
    std::string path;
};

struct LineValues : MacroReplacer_RunTimeSession::Custom {
    const std::string* loggerName = nullptr;
    const ModuleTexts* module = nullptr;
    Logger::Priority prio = Logger::Info;
    const LogEntry* entry = nullptr;
    const StringList* stack = nullptr;
    std::size_t depth = 0;
    const DateTime* timestamp = nullptr;
    double diff = 0;
};

void appendMessage(LineBuffer& out, const LineValues& v) {
    const LogEntry& entry = *v.entry;
    switch (entry.context()) {
    case LogEntry::BeginLogging:
        out.append("Function start: ");
        out.append(entry.location().function().empty() ? entry.text()
                                                       : entry.location().function());
        return;
    case LogEntry::General:
        out.append(Logger::priorityPrefix(v.prio));
        out.append(entry.text());
        return;
    case LogEntry::Status:
        out.append(v.prio == Logger::Error || v.prio == Logger::FatalError ? "ErrorCode="
                                                                           : "StatusCode=");
        out.appendNumber(entry.statusCode());
        if (!entry.text().empty()) {
            out.append(" (");
            out.append(entry.text());
            out.append(')');
        }
        return;
    case LogEntry::Custom:
        out.append(entry.customContext());
        out.append('=');
        out.append(entry.text());
        return;
    case LogEntry::EndLogging:
        if (entry.text().empty()) {
            out.append("Function end");
        } else {
            out.append("Function end with retval=");
            out.append(entry.text());
        }
        return;
    }
    out.append(entry.text());
}

void appendPriorityLong(LineBuffer& out, int prio) {
    const char* name = Logger::priorityName(static_cast<Logger::Priority>(prio));
    if (*name) {
        out.append(name);
    } else {
        out.appendNumber(prio);
    }
}

void appendModuleValue(LineBuffer& out, const std::string& value) {
    out.append(value.empty() ? std::string("[not found]") : value);
}

void appendStack(LineBuffer& out, const StringList& stack) {
    bool first = true;
    for (const std::string& frame : stack) {
        if (!first) out.append(" > ");
        out.append(frame);
        first = false;
    }
}

void appendCodeLocationPart(LineBuffer& out, const CodeLocation& location, bool line) {
    if (!line) {
        out.append(location.file());
    } else if (location.line() >= 0) {
        out.appendNumber(location.line());
    }
}

std::string relatedFunction(const LogEntry& entry) {
    if (!entry.location().function().empty()) return entry.location().function();
    if (entry.context() == LogEntry::BeginLogging) return entry.text();
    return std::string();
}

// ---- the parsed format --------------------------------------------------------------------------

enum class Part {
    Literal,
    ThreadId,
    ProcessId,
    TimestampIso,
    TimestampPosix,
    TimestampMilliseconds,
    TimestampWithDiff,
    Diff,
    Date,
    StackPrefix,
    StackLength,
    LogStack,
    LoggerName,
    ModuleName,
    ModulePath,
    ModuleShortName,
    SrcFile,
    SrcFilePath,
    SrcLine,
    SrcFunction,
    SrcClass,
    SrcMethod,
    SrcFunctionXml,
    SrcClassXml,
    SrcMethodXml,
    CodeLocation,
    LocationFile,
    LocationLine,
    Message,
    Priority,
    PriorityLong,
    PriorityLog4j,
    Text,
    CustomContext,
    Context,
    StatusCode,
    Function
};

struct Segment {
    Part part;
    std::string text;              // of a literal
    std::vector<Segment> children; // of a code location
};

struct NamedPart {
    const char* name;
    Part part;
};

// Value macros without arguments that the direct writer knows.
const NamedPart PlainParts[] = {{"thread_id", Part::ThreadId},
                                {"process_id", Part::ProcessId},
                                {"timestamp", Part::TimestampIso},
                                {"timestamp_with_diff", Part::TimestampWithDiff},
                                {"diff", Part::Diff},
                                {"date", Part::Date},
                                {"stack_prefix", Part::StackPrefix},
                                {"stack_length", Part::StackLength},
                                {"log_stack", Part::LogStack},
                                {"logger_name", Part::LoggerName},
                                {"module_name", Part::ModuleName},
                                {"module_path", Part::ModulePath},
                                {"module_short_name", Part::ModuleShortName},
                                {"src_file", Part::SrcFile},
                                {"src_file_path", Part::SrcFilePath},
                                {"src_line", Part::SrcLine},
                                {"src_function", Part::SrcFunction},
                                {"src_class", Part::SrcClass},
                                {"src_method", Part::SrcMethod},
                                {"src_function_xml", Part::SrcFunctionXml},
                                {"src_class_xml", Part::SrcClassXml},
                                {"src_method_xml", Part::SrcMethodXml},
                                {"message", Part::Message},
                                {"priority", Part::Priority},
                                {"text", Part::Text},
                                {"custom_context", Part::CustomContext},
                                {"context", Part::Context},
                                {"status_code", Part::StatusCode},
                                {"function", Part::Function}};

bool isNameChar(char c) {
    return std::isalnum(static_cast<unsigned char>(c)) || c == '_';
}

// Parses `text` (from `pos`) as literals and macros the direct writer can render; false when
// the text needs the macro replacer. `inner` parses a code location's template, whose only
// macros are $(file) and $(line).
bool parseDirect(const std::string& text, std::vector<Segment>& out, bool inner) {
    std::size_t pos = 0;
    std::string literal;
    auto flush = [&] {
        if (!literal.empty()) out.push_back(Segment{Part::Literal, literal, {}});
        literal.clear();
    };
    while (pos < text.size()) {
        const std::size_t start = text.find("$(", pos);
        if (start == std::string::npos) {
            literal += text.substr(pos);
            break;
        }
        literal += text.substr(pos, start - pos);
        std::size_t nameEnd = start + 2;
        while (nameEnd < text.size() && isNameChar(text[nameEnd]))
            ++nameEnd;
        if (nameEnd >= text.size()) return false;
        const std::string name = text.substr(start + 2, nameEnd - start - 2);
        if (name.empty()) return false;
        flush();
        if (text[nameEnd] == ')') {
            pos = nameEnd + 1;
            if (inner) {
                if (name == "file")
                    out.push_back(Segment{Part::LocationFile, {}, {}});
                else if (name == "line")
                    out.push_back(Segment{Part::LocationLine, {}, {}});
                else
                    return false;
                continue;
            }
            bool known = false;
            for (const NamedPart& plain : PlainParts) {
                if (name == plain.name) {
                    out.push_back(Segment{plain.part, {}, {}});
                    known = true;
                    break;
                }
            }
            if (!known) return false;
            continue;
        }
        if (inner || text[nameEnd] != ':') return false;
        // Arguments: the direct writer takes one plain word, or one braced template.
        if (name == "code_location") {
            if (nameEnd + 1 >= text.size() || text[nameEnd + 1] != '{') return false;
            const std::size_t close = text.find("})", nameEnd + 2);
            if (close == std::string::npos) return false;
            const std::string inside = text.substr(nameEnd + 2, close - nameEnd - 2);
            if (inside.find_first_of("{}\"") != std::string::npos) return false;
            Segment location{Part::CodeLocation, {}, {}};
            if (!parseDirect(inside, location.children, true)) return false;
            out.push_back(std::move(location));
            pos = close + 2;
            continue;
        }
        const std::size_t close = text.find(')', nameEnd + 1);
        if (close == std::string::npos) return false;
        const std::string argument = text.substr(nameEnd + 1, close - nameEnd - 1);
        for (char c : argument) {
            if (!isNameChar(c)) return false;
        }
        pos = close + 1;
        if (name == "priority" && argument == "long") {
            out.push_back(Segment{Part::PriorityLong, {}, {}});
        } else if (name == "priority" && argument == "log4j") {
            out.push_back(Segment{Part::PriorityLog4j, {}, {}});
        } else if (name == "timestamp" && argument == "iso") {
            out.push_back(Segment{Part::TimestampIso, {}, {}});
        } else if (name == "timestamp" && argument == "posix") {
            out.push_back(Segment{Part::TimestampPosix, {}, {}});
        } else if (name == "timestamp" && argument == "milliseconds") {
            out.push_back(Segment{Part::TimestampMilliseconds, {}, {}});
        } else {
            return false;
        }
    }
    flush();
    return true;
}

bool usesPart(const std::vector<Segment>& segments, Part part) {
    for (const Segment& segment : segments) {
        if (segment.part == part || usesPart(segment.children, part)) return true;
    }
    return false;
}

void renderSegments(LineBuffer& out, const std::vector<Segment>& segments, const LineValues& v) {
    const LogEntry& entry = *v.entry;
    const CodeLocation& location = entry.location();
    for (const Segment& segment : segments) {
        switch (segment.part) {
        case Part::Literal:
            out.append(segment.text);
            break;
        case Part::ThreadId:
            out.appendHex8(static_cast<unsigned long>(cachedThreadId()));
            break;
        case Part::ProcessId:
            out.appendHex8(static_cast<unsigned long>(Platform::currentProcessId()));
            break;
        case Part::TimestampIso:
            appendIso(out, *v.timestamp);
            break;
        case Part::TimestampPosix:
            out.appendNumber(v.timestamp->asPosixTime());
            break;
        case Part::TimestampMilliseconds:
            out.appendNumber(v.timestamp->asPosixTime() * 1000 +
                             (v.timestamp->hasMilliseconds() ? v.timestamp->milliseconds() : 0));
            break;
        case Part::TimestampWithDiff:
            appendIso(out, *v.timestamp);
            out.append(" Diff: ");
            appendDiff(out, v.diff);
            break;
        case Part::Diff:
            appendDiff(out, v.diff);
            break;
        case Part::Date: {
            const DateTime& t = *v.timestamp;
            out.appendNumber(t.years());
            out.append('-');
            out.append2(t.months());
            out.append('-');
            out.append2(t.days());
            break;
        }
        case Part::StackPrefix:
            if (v.depth > 1) out.appendBlanks(2 * (v.depth - 1));
            break;
        case Part::StackLength:
            out.appendNumber(static_cast<long long>(v.depth));
            break;
        case Part::LogStack:
            appendStack(out, *v.stack);
            break;
        case Part::LoggerName:
            out.append(*v.loggerName);
            break;
        case Part::ModuleName:
            appendModuleValue(out, v.module->name);
            break;
        case Part::ModulePath:
            appendModuleValue(out, v.module->path);
            break;
        case Part::ModuleShortName:
            appendModuleValue(out, v.module->shortName);
            break;
        case Part::SrcFile:
            out.append(fileNameOf(location.file()));
            break;
        case Part::SrcFilePath:
            out.append(location.file());
            break;
        case Part::SrcLine:
            appendCodeLocationPart(out, location, true);
            break;
        case Part::SrcFunction:
            out.append(location.function());
            break;
        case Part::SrcClass:
            out.append(classOf(location.function()));
            break;
        case Part::SrcMethod:
            out.append(methodOf(location.function()));
            break;
        case Part::SrcFunctionXml:
            appendXmlEscaped(out, location.function());
            break;
        case Part::SrcClassXml:
            appendXmlEscaped(out, classOf(location.function()));
            break;
        case Part::SrcMethodXml:
            appendXmlEscaped(out, methodOf(location.function()));
            break;
        case Part::CodeLocation:
            if (!location.file().empty() || location.line() >= 0)
                renderSegments(out, segment.children, v);
            break;
        case Part::LocationFile:
            appendCodeLocationPart(out, location, false);
            break;
        case Part::LocationLine:
            appendCodeLocationPart(out, location, true);
            break;
        case Part::Message:
            appendMessage(out, v);
            break;
        case Part::Priority:
            out.appendNumber(v.prio);
            break;
        case Part::PriorityLong:
            appendPriorityLong(out, v.prio);
            break;
        case Part::PriorityLog4j:
            out.append(log4jName(v.prio));
            break;
        case Part::Text:
            out.append(entry.text());
            break;
        case Part::CustomContext:
            out.append(entry.customContext());
            break;
        case Part::Context:
            out.append(contextName(entry.context()));
            break;
        case Part::StatusCode:
            out.appendNumber(entry.statusCode());
            break;
        case Part::Function:
            out.append(relatedFunction(entry));
            break;
        }
    }
}

// The values of one entry for the macro replacer (formats the direct writer cannot take).
class LineMacroHelper : public MacroReplacerHelper {
public:
    using MacroReplacerHelper::getCustomValue;

    bool getCustomValue(const std::string& name, const StringList& args, std::string& result,
                        StringList& errors, MacroReplacer_RunTimeSession& session) override {
        const LineValues* values = dynamic_cast<const LineValues*>(session.custom());
        if (!values) return false;
        if (name == "xml_escape") {
            LineBuffer out;
            appendXmlEscaped(out, args.size() ? args[0] : std::string());
            result.assign(out.data(), out.size());
            return true;
        }
        if (name == "code_location") {
            return codeLocation(args, result, errors, session, values->entry->location());
        }
        std::vector<Segment> segments;
        std::string macro = "$(" + name;
        if (args.size()) macro += ":" + args[0];
        macro += ")";
        if (args.size() > 1 || !parseDirect(macro, segments, false) || segments.size() != 1)
            return false;
        LineBuffer out;
        renderSegments(out, segments, *values);
        result.assign(out.data(), out.size());
        return true;
    }

private:
    static bool codeLocation(const StringList& args, std::string& result, StringList& errors,
                             MacroReplacer_RunTimeSession& session, const CodeLocation& location) {
        if (location.file().empty() && location.line() < 0) {
            result.clear();
            return true;
        }
        std::string format = args.size() ? args[0] : std::string("$(file):$(line)");
        const std::string file = location.file();
        const std::string line = location.line() >= 0 ? std::to_string(location.line()) : "";
        SimpleMacroReplacerHelper inner(
            [&](const std::string& name, const StringList&, std::string& value, StringList&,
                MacroReplacer*) {
                if (name == "file")
                    value = file;
                else if (name == "line")
                    value = line;
                else
                    return false;
                return true;
            },
            session.replacer() ? session.replacer()->helper() : nullptr);
        MacroReplacer replacer(&inner);
        replacer.replace(format, errors);
        result = format;
        return true;
    }
};

// The compiled format: direct segments, or a template for the macro replacer.
class LineRenderer {
public:
    explicit LineRenderer(const std::string& format)
        : m_direct(parseDirect(format, m_segments, false)), m_template(format),
          m_replacer(&m_helper) {
        m_usesStack = m_direct ? usesPart(m_segments, Part::LogStack)
                               : format.find("log_stack") != std::string::npos;
        // Finding the thread's frame stack costs a lookup; lines that do not show it skip it.
        m_usesDepth = !m_direct || usesPart(m_segments, Part::StackPrefix) ||
                      usesPart(m_segments, Part::StackLength);
    }

    bool isDirect() const { return m_direct; }
    bool usesStack() const { return m_usesStack; }
    bool usesDepth() const { return m_usesDepth; }

    void render(LineBuffer& out, LineValues& values) {
        if (m_direct) {
            renderSegments(out, m_segments, values);
            return;
        }
        std::string line;
        StringList errors;
        m_replacer.expand(m_template, line, errors, &values);
        out.append(line);
    }

private:
    std::vector<Segment> m_segments;
    bool m_direct;
    MacroTemplate m_template;
    LineMacroHelper m_helper;
    MacroReplacer m_replacer;
    bool m_usesStack = false;
    bool m_usesDepth = true;
};

std::string expandPlain(const std::string& text) {
    if (text.find("$(") == std::string::npos) return text;
    std::string expanded = text;
    MacroReplacer replacer;
    StringList errors;
    replacer.replace(expanded, errors);
    return expanded;
}

bool readFirst(const GC<ConfigHandler>& config, const std::string& entry, const char* fallback,
               std::string& out) {
    if (config->getStringEntry(Section + entry, out)) return true;
    return fallback && config->getStringEntry(fallback, out);
}

bool readList(const GC<ConfigHandler>& config, const std::string& entry, const char* fallback,
              StringList& out) {
    if (config->getStringListEntry(Section + entry, out)) return true;
    return fallback && config->getStringListEntry(fallback, out);
}

} // namespace

// ---- OrvaneLoggingSettings ----------------------------------------------------------------------

struct OrvaneLoggingSettings::Private {
    std::string logFile;
    unsigned destinations = ToFile;
    long level = 4;
    std::int64_t maxSize = DefaultFileSize;
    unsigned priorities = AllPriorities;
    unsigned contexts = AllContexts;
    std::string format = DefaultFormat;
    std::string header;
    std::string footer;
    std::string loggerNamePattern = "$(module_name)";
    FlushPolicy flushPolicy = FlushEachLine;
    long flushIntervalMs = 200;
    long keepFiles = -1;
    bool configurationValid = true;

    // What the loggers use, made on first use from the values above.
    Platform::Mutex preparing;
    std::atomic<bool> prepared{false};
    std::unique_ptr<LineRenderer> renderer;
    GC<Internal::LogFileWriter> writer;
    unsigned acceptMask = AllPriorities;

    void prepare() {
        if (prepared.load(std::memory_order_acquire)) return;
        Lock lock(preparing);
        if (prepared.load(std::memory_order_relaxed)) return;
        renderer.reset(new LineRenderer(format));
        acceptMask = OrvaneLoggingSettings::levelMask(level) & priorities;
        if (destinations & ToFile) {
            Internal::LogFileOptions options;
            options.path = logFile;
            options.maxSize = maxSize;
            options.keepFiles = keepFiles;
            options.buffered = flushPolicy == FlushBuffered;
            options.flushIntervalMs = flushIntervalMs;
            const std::string path = logFile;
            if (!header.empty()) {
                const std::string text = header;
                options.header = [text] { return expandPlain(text); };
            }
            if (!footer.empty()) {
                const std::string text = footer;
                options.footer = [text] { return expandPlain(text); };
            }
            writer = new Internal::LogFileWriter(std::move(options));
        }
        prepared.store(true, std::memory_order_release);
    }
};

OrvaneLoggingSettings::OrvaneLoggingSettings() : d(new Private) {
    ProcessSettings defaults;
    {
        auto locked = processSettings().access();
        defaults = *locked;
    }
    d->logFile = expandPlain(defaults.logFile);
    d->destinations = defaults.destinations;
    d->level = defaults.level;
    d->maxSize = defaults.maxSize;
}

OrvaneLoggingSettings::~OrvaneLoggingSettings() {
    delete d;
}

const char* OrvaneLoggingSettings::typeName() const {
    return "Orvane::Core::OrvaneLoggingSettings";
}

namespace {

// One setting that must parse: a value that was found is parsed and applied, or, when it does not
// parse, leaves the setting as it was and marks the configuration invalid.
template <class T, class Input, class Parse, class Apply>
void applyParsed(bool found, const Input& input, Parse parse, Apply apply, bool& valid) {
    if (!found) return;
    T parsed{};
    if (parse(input, parsed))
        apply(parsed);
    else
        valid = false;
}

bool parseFileSize(const std::string& text, long long& bytes) {
    const std::string digits = trimmed(text);
    char* end = nullptr;
    bytes = std::strtoll(digits.c_str(), &end, 10);
    return end && *end == '\0' && !digits.empty();
}

bool parseFlushPolicy(const std::string& text, OrvaneLoggingSettings::FlushPolicy& policy) {
    const std::string word = lowerCase(trimmed(text));
    if (word == "line")
        policy = OrvaneLoggingSettings::FlushEachLine;
    else if (word == "buffered")
        policy = OrvaneLoggingSettings::FlushBuffered;
    else
        return false;
    return true;
}

} // namespace

void OrvaneLoggingSettings::readConfiguration(const GC<ConfigHandler>& config) {
    if (!config) return;
    std::string value;
    StringList list;
    bool valid = true;
    if (readFirst(config, "LOG_FILE", "GLOBAL/LOG_FILE", value) && !trimmed(value).empty())
        setLogFile(trimmed(value));
    applyParsed<unsigned>(
        readList(config, "LOG_DEST", "GLOBAL/LOG_DEST", list), list, parseDestinations,
        [this](unsigned v) { setDestinations(v); }, valid);
    applyParsed<long>(
        readFirst(config, "LOG_LEVEL", "GLOBAL/LOG_LEVEL", value), value, parseLevel,
        [this](long v) { setLevel(v); }, valid);
    applyParsed<long long>(
        readFirst(config, "LOG_FILE_SIZE", "GLOBAL/LOG_FILE_SIZE", value), value, parseFileSize,
        [this](long long v) { setMaxFileSize(v); }, valid);
    list = StringList();
    applyParsed<unsigned>(
        readList(config, "LOG_PRIORITIES", nullptr, list), list, parsePriorities,
        [this](unsigned v) { setPriorities(v); }, valid);
    list = StringList();
    applyParsed<unsigned>(
        readList(config, "LOG_CONTEXTS", nullptr, list), list, parseContexts,
        [this](unsigned v) { setContexts(v); }, valid);
    if (readFirst(config, "LOG_FORMAT", nullptr, value)) setFormat(value);
    if (readFirst(config, "FILE_HEADER", nullptr, value)) setFileHeader(value);
    if (readFirst(config, "FILE_FOOTER", nullptr, value)) setFileFooter(value);
    if (readFirst(config, "LOGGER_NAME", nullptr, value) && !value.empty())
        setLoggerNamePattern(value);
    applyParsed<FlushPolicy>(
        readFirst(config, "FLUSH", nullptr, value), value, parseFlushPolicy,
        [this](FlushPolicy v) { setFlushPolicy(v); }, valid);
    long number = 0;
    if (config->getLongEntry(std::string(Section) + "FLUSH_INTERVAL", number))
        setFlushIntervalMs(number);
    if (config->getLongEntry(std::string(Section) + "KEEP_FILES", number)) setKeepFiles(number);
    d->configurationValid = valid;
}

const std::string& OrvaneLoggingSettings::logFile() const {
    return d->logFile;
}

void OrvaneLoggingSettings::setLogFile(const std::string& path) {
    d->logFile = expandPlain(path);
}

unsigned OrvaneLoggingSettings::destinations() const {
    return d->destinations;
}

void OrvaneLoggingSettings::setDestinations(unsigned destinations) {
    d->destinations = destinations & (ToFile | ToConsole);
}

long OrvaneLoggingSettings::level() const {
    return d->level;
}

void OrvaneLoggingSettings::setLevel(long level) {
    d->level = level < 0 ? 0 : level > 4 ? 4 : level;
}

std::int64_t OrvaneLoggingSettings::maxFileSize() const {
    return d->maxSize;
}

void OrvaneLoggingSettings::setMaxFileSize(std::int64_t bytes) {
    d->maxSize = bytes < MinFileSize ? MinFileSize : bytes > MaxFileSize ? MaxFileSize : bytes;
}

unsigned OrvaneLoggingSettings::priorities() const {
    return d->priorities;
}

void OrvaneLoggingSettings::setPriorities(unsigned mask) {
    d->priorities = mask & AllPriorities;
}

unsigned OrvaneLoggingSettings::contexts() const {
    return d->contexts;
}

void OrvaneLoggingSettings::setContexts(unsigned mask) {
    d->contexts = mask & AllContexts;
}

const std::string& OrvaneLoggingSettings::format() const {
    return d->format;
}

void OrvaneLoggingSettings::setFormat(const std::string& format) {
    const std::string word = lowerCase(trimmed(format));
    if (word == "default")
        d->format = DefaultFormat;
    else if (word == "compat")
        d->format = CompatFormat;
    else
        d->format = format;
}

const std::string& OrvaneLoggingSettings::fileHeader() const {
    return d->header;
}

void OrvaneLoggingSettings::setFileHeader(const std::string& format) {
    d->header = format;
}

const std::string& OrvaneLoggingSettings::fileFooter() const {
    return d->footer;
}

void OrvaneLoggingSettings::setFileFooter(const std::string& format) {
    d->footer = format;
}

const std::string& OrvaneLoggingSettings::loggerNamePattern() const {
    return d->loggerNamePattern;
}

void OrvaneLoggingSettings::setLoggerNamePattern(const std::string& pattern) {
    d->loggerNamePattern = pattern;
}

OrvaneLoggingSettings::FlushPolicy OrvaneLoggingSettings::flushPolicy() const {
    return d->flushPolicy;
}

void OrvaneLoggingSettings::setFlushPolicy(FlushPolicy policy) {
    d->flushPolicy = policy;
}

long OrvaneLoggingSettings::flushIntervalMs() const {
    return d->flushIntervalMs;
}

void OrvaneLoggingSettings::setFlushIntervalMs(long milliseconds) {
    d->flushIntervalMs = milliseconds < 1 ? 1 : milliseconds > 60000 ? 60000 : milliseconds;
}

long OrvaneLoggingSettings::keepFiles() const {
    return d->keepFiles;
}

void OrvaneLoggingSettings::setKeepFiles(long count) {
    d->keepFiles = count < 0 ? -1 : count;
}

bool OrvaneLoggingSettings::accepts(int priority, int context) const {
    return (levelMask(d->level) & d->priorities & priorityBit(priority)) != 0 &&
           (d->contexts & contextBit(context)) != 0;
}

bool OrvaneLoggingSettings::parsePriorities(const StringList& list, unsigned& mask) {
    static const struct {
        const char* word;
        unsigned bits;
    } known[] = {{"all", AllPriorities},  {"a", AllPriorities}, {"info", 1u << 1},
                 {"i", 1u << 1},          {"hint", 1u << 2},    {"h", 1u << 2},
                 {"status", 1u << 3},     {"s", 1u << 3},       {"message", 1u << 4},
                 {"m", 1u << 4},          {"warning", 1u << 5}, {"w", 1u << 5},
                 {"error", 1u << 6},      {"e", 1u << 6},       {"fatal", 1u << 7},
                 {"fatalerror", 1u << 7}, {"f", 1u << 7}};
    unsigned result = 0;
    for (const std::string& word : words(list)) {
        const std::string lower = lowerCase(word);
        unsigned bits = NotFound;
        for (const auto& entry : known) {
            if (lower == entry.word) bits = entry.bits;
        }
        if (bits == NotFound) return false;
        result |= bits;
    }
    mask = result;
    return true;
}

bool OrvaneLoggingSettings::parseContexts(const StringList& list, unsigned& mask) {
    unsigned result = 0;
    for (const std::string& word : words(list)) {
        std::string compact;
        for (char c : lowerCase(word)) {
            if (c != ' ' && c != '_') compact += c;
        }
        if (compact == "beginlogging")
            result |= 1u << LogEntry::BeginLogging;
        else if (compact == "general")
            result |= 1u << LogEntry::General;
        else if (compact == "status")
            result |= 1u << LogEntry::Status;
        else if (compact == "custom")
            result |= 1u << LogEntry::Custom;
        else if (compact == "endlogging")
            result |= 1u << LogEntry::EndLogging;
        else if (compact == "all")
            result |= AllContexts;
        else
            return false;
    }
    mask = result;
    return true;
}

bool OrvaneLoggingSettings::parseLevel(const std::string& text, long& level) {
    const std::string word = lowerCase(trimmed(text));
    if (word == "no logging") {
        level = 0;
        return true;
    }
    std::string digits = word;
    if (word.compare(0, 5, "level") == 0) digits = trimmed(word.substr(5));
    if (digits.size() == 1 && digits[0] >= '0' && digits[0] <= '4') {
        level = digits[0] - '0';
        return true;
    }
    return false;
}

bool OrvaneLoggingSettings::parseDestinations(const StringList& list, unsigned& destinations) {
    unsigned result = 0;
    for (const std::string& word : words(list)) {
        const std::string lower = lowerCase(word);
        if (lower == "file")
            result |= ToFile;
        else if (lower == "console")
            result |= ToConsole;
        else
            return false;
    }
    destinations = result;
    return true;
}

unsigned OrvaneLoggingSettings::levelMask(long level) {
    switch (level) {
    case 0:
        return 0;
    case 1:
        return (1u << 5) | (1u << 6) | (1u << 7);
    case 2:
        return (1u << 4) | (1u << 5) | (1u << 6) | (1u << 7);
    case 3:
        return (1u << 3) | (1u << 4) | (1u << 5) | (1u << 6) | (1u << 7);
    }
    return level > 4 ? AllPriorities : level < 0 ? 0 : AllPriorities;
}

const char* OrvaneLoggingSettings::defaultFormat() {
    return DefaultFormat;
}

const char* OrvaneLoggingSettings::compatFormat() {
    return CompatFormat;
}

bool OrvaneLoggingSettings::setLogfilePath(const std::string& path) {
    if (trimmed(path).empty()) return false;
    processSettings()->logFile = path;
    return true;
}

std::string OrvaneLoggingSettings::getLogfilePath() {
    return processSettings()->logFile;
}

bool OrvaneLoggingSettings::setLogDest(const std::string& destinations) {
    unsigned parsed = 0;
    if (!parseDestinations(StringList(destinations), parsed)) return false;
    processSettings()->destinations = parsed;
    return true;
}

bool OrvaneLoggingSettings::addLogDest(const std::string& destination) {
    unsigned parsed = 0;
    if (!parseDestinations(StringList(destination), parsed) || parsed == 0) return false;
    processSettings()->destinations |= parsed;
    return true;
}

std::string OrvaneLoggingSettings::getLogDest() {
    const unsigned destinations = processSettings()->destinations;
    std::string text;
    if (destinations & ToFile) text = "File";
    if (destinations & ToConsole) text += text.empty() ? "Console" : ",Console";
    return text;
}

bool OrvaneLoggingSettings::setLogLevel(long level) {
    if (level < 0 || level > 4) return false;
    processSettings()->level = level;
    return true;
}

long OrvaneLoggingSettings::getLogLevel() {
    return processSettings()->level;
}

bool OrvaneLoggingSettings::setLogMaxSize(long bytes) {
    if (bytes < MinFileSize || bytes > MaxFileSize) return false;
    processSettings()->maxSize = bytes;
    return true;
}

long OrvaneLoggingSettings::getLogMaxSize() {
    return static_cast<long>(processSettings()->maxSize);
}

// ---- OrvaneLogger -------------------------------------------------------------------------------

struct OrvaneLogger::Private {
    GC<OrvaneLoggingSettings> settings;
    ModuleTexts module;
};

OrvaneLogger::OrvaneLogger(const GC<OrvaneLoggingSettings>& settings,
                           const GC<LoggerHelper>& helper, const std::string& name,
                           const ModuleInfo& moduleInfo)
    : Logger(helper, name, moduleInfo), d(new Private) {
    d->settings = settings ? settings : GC<OrvaneLoggingSettings>(new OrvaneLoggingSettings);
    d->settings->d->prepare();
    d->module.name = moduleInfo.name();
    d->module.shortName = fileNameOf(moduleInfo.name());
    const std::size_t dot = d->module.shortName.rfind('.');
    if (dot != std::string::npos && dot > 0) d->module.shortName.resize(dot);
    d->module.path = Platform::executablePath();
    setUsesStack(d->settings->d->renderer->usesStack());
}

OrvaneLogger::~OrvaneLogger() {
    delete d;
}

const char* OrvaneLogger::typeName() const {
    return "Orvane::Core::OrvaneLogger";
}

std::string OrvaneLogger::renderLine(Priority prio, const LogEntry& entry, const StringList& stack,
                                     std::size_t depth, const DateTime& timestamp,
                                     double diff) const {
    LineValues values;
    values.loggerName = &name();
    values.module = &d->module;
    values.prio = prio;
    values.entry = &entry;
    values.stack = &stack;
    values.depth = depth;
    values.timestamp = &timestamp;
    values.diff = diff;
    LineBuffer out;
    d->settings->d->renderer->render(out, values);
    return std::string(out.data(), out.size());
}

void OrvaneLogger::storeEntry(Priority prio, const LogEntry& entry, const StringList& stack,
                              const DateTime& timestamp, double diff) {
    OrvaneLoggingSettings::Private& settings = *d->settings->d;
    if ((settings.acceptMask & priorityBit(prio)) == 0 ||
        (settings.contexts & contextBit(entry.context())) == 0)
        return;
    LineValues values;
    values.loggerName = &name();
    values.module = &d->module;
    values.prio = prio;
    values.entry = &entry;
    values.stack = &stack;
    values.depth = settings.renderer->usesDepth() ? loggerHelper()->stack().size() : 0;
    values.timestamp = &timestamp;
    values.diff = diff;
    // Rendered on the writing thread without any lock; only the write itself is serialised.
    LineBuffer out;
    settings.renderer->render(out, values);
    out.append('\n');
    const bool urgent = prio == FatalError;
    if (settings.writer) settings.writer->write(out.data(), out.size(), urgent);
    if (settings.destinations & OrvaneLoggingSettings::ToConsole) {
        std::fwrite(out.data(), 1, out.size(), stdout);
        if (settings.flushPolicy == OrvaneLoggingSettings::FlushEachLine || urgent)
            std::fflush(stdout);
    }
}

// ---- OrvaneLoggingHandler -----------------------------------------------------------------------

struct OrvaneLoggingHandler::Private {
    GC<ConfigHandler> config;
    GC<OrvaneLoggingSettings> settings;
    bool initialised = false;
    bool valid = true;
};

OrvaneLoggingHandler::OrvaneLoggingHandler(const GC<ConfigHandler>& config) : d(new Private) {
    d->config = config;
    d->settings = new OrvaneLoggingSettings;
}

OrvaneLoggingHandler::OrvaneLoggingHandler(const GC<OrvaneLoggingSettings>& settings)
    : d(new Private) {
    d->settings = settings ? settings : GC<OrvaneLoggingSettings>(new OrvaneLoggingSettings);
    d->initialised = true;
}

OrvaneLoggingHandler::~OrvaneLoggingHandler() {
    flush();
    delete d;
}

const char* OrvaneLoggingHandler::typeName() const {
    return "Orvane::Core::OrvaneLoggingHandler";
}

bool OrvaneLoggingHandler::init() {
    if (!d->initialised) {
        d->initialised = true;
        d->settings->readConfiguration(d->config);
        d->valid = d->settings->d->configurationValid;
    }
    d->settings->d->prepare();
    return d->valid;
}

GC<Logger> OrvaneLoggingHandler::createLogger(const ModuleInfo& moduleInfo) {
    return getLogger(moduleInfo);
}

const GC<OrvaneLoggingSettings>& OrvaneLoggingHandler::settings() const {
    return d->settings;
}

void OrvaneLoggingHandler::flush() {
    OrvaneLoggingSettings::Private& settings = *d->settings->d;
    if (settings.prepared.load(std::memory_order_acquire) && settings.writer)
        settings.writer->flush();
    std::fflush(stdout);
}

GC<Logger> OrvaneLoggingHandler::makeLogger(const std::string& name, const ModuleInfo& moduleInfo) {
    if (!d->initialised) init();
    return GC<Logger>(new OrvaneLogger(d->settings, loggerHelper(), name, moduleInfo));
}

std::string OrvaneLoggingHandler::getDefaultName(const ModuleInfo& moduleInfo) const {
    std::string name = d->settings->loggerNamePattern();
    const std::string moduleName = moduleInfo.name();
    const std::string moduleType = moduleInfo.type();
    const std::string version = moduleInfo.version().toString();
    MacroReplacer replacer([&](const std::string& macro, const StringList&, std::string& value,
                               StringList&, MacroReplacer*) {
        if (macro == "module_name")
            value = moduleName;
        else if (macro == "module_type")
            value = moduleType;
        else if (macro == "module_version")
            value = version;
        else
            return false;
        if (value.empty()) value = "[not found]";
        return true;
    });
    StringList errors;
    replacer.replace(name, errors);
    return name;
}

GC<ConfigDefinition> OrvaneLoggingHandler::configDefinition() {
    GC<QORConfig> definition(
        new QORConfig(NameInfo("orvanelog", "Old (orvane.log) style logging.")));
    auto add = [&](const char* entry, const char* fallback, const char* label,
                   const char* description, ConfigEntryDefinition::ValueType type,
                   ConfigEntryDefinition::Multiplicity multiplicity, const StringList& defaults,
                   const std::vector<std::string>& available,
                   ConfigEntryDefinition::SelectionPolicy policy) {
        CustomInfo annotations;
        if (fallback) annotations << CustomInfo::Pair("fallback", fallback);
        GC<QOREntry> record(new QOREntry(std::string(Section) + entry,
                                         NameInfo(label, description, annotations), type,
                                         multiplicity, defaults));
        for (const std::string& value : available)
            record->appendAvailableValue(
                ConfigEntryDefinition::ValueDefinition(value, NameInfo(value, "")));
        record->setSelectionPolicy(policy);
        definition->appendEntry(GC<ConfigEntryDefinition>(record));
    };
    using E = ConfigEntryDefinition;
    add("LOG_FILE", "GLOBAL/LOG_FILE", "Logfile", "Path of the log file.", E::FilePathValue,
        E::SingleValue, StringList(std::string(DefaultLogFile)), {}, E::FreeValue);
    add("LOG_DEST", "GLOBAL/LOG_DEST", "Log Destination", "Where log lines are written.",
        E::StringValue, E::MultipleValues, StringList(std::string("File")), {"File", "Console"},
        E::SomeOfAvailable);
    add("LOG_LEVEL", "GLOBAL/LOG_LEVEL", "Log Level", "Which priorities are written.",
        E::StringValue, E::SingleValue, StringList(std::string("Level 4")),
        {"No Logging", "Level 1", "Level 2", "Level 3", "Level 4"}, E::OneOfAvailable);
    add("LOG_FILE_SIZE", "GLOBAL/LOG_FILE_SIZE", "Maximum Size of Logfile",
        "Size in bytes at which the log file is renamed aside (1024 to 2000000000).", E::LongValue,
        E::SingleValue, StringList(std::to_string(DefaultFileSize)), {"1024", "2000000000"},
        E::FreeValue);
    add("LOG_PRIORITIES", nullptr, "Log Priorities", "The priorities that are written.",
        E::StringValue, E::MultipleValues, StringList(std::string("all")),
        {"all", "info", "hint", "status", "message", "warning", "error", "fatal", "fatalerror"},
        E::SomeOfAvailable);
    add("LOG_CONTEXTS", nullptr, "Log Contexts", "The kinds of entries that are written.",
        E::StringValue, E::MultipleValues, StringList(),
        {"Begin Logging", "End Logging", "Custom", "General", "Status"}, E::SomeOfAvailable);
    add("LOG_FORMAT", nullptr, "Log Format", "The format of a line (a macro format).",
        E::StringValue, E::SingleValue, StringList(std::string("Default")), {"Default", "Compat"},
        E::FreeValue);
    add("FILE_HEADER", nullptr, "File Header", "A macro format for the head of a log file.",
        E::StringValue, E::SingleValue, StringList(), {}, E::FreeValue);
    add("FILE_FOOTER", nullptr, "File Footer", "A macro format for the foot of a log file.",
        E::StringValue, E::SingleValue, StringList(), {}, E::FreeValue);
    add("LOGGER_NAME", nullptr, "Logger Name", "The pattern of logger names.", E::StringValue,
        E::SingleValue, StringList(std::string("$(module_name)")), {}, E::FreeValue);
    add("FLUSH", nullptr, "Flush Policy",
        "\"line\": every line reaches the system at once; \"buffered\": lines may wait.",
        E::StringValue, E::SingleValue, StringList(std::string("line")), {"line", "buffered"},
        E::OneOfAvailable);
    add("FLUSH_INTERVAL", nullptr, "Flush Interval",
        "Milliseconds a buffered line may wait (1 to 60000).", E::LongValue, E::SingleValue,
        StringList(std::string("200")), {}, E::FreeValue);
    add("KEEP_FILES", nullptr, "Kept Logfiles",
        "How many renamed log files are kept; -1 keeps all.", E::LongValue, E::SingleValue,
        StringList(std::string("-1")), {}, E::FreeValue);
    return definition;
}

GC<LoggingHandler> makeOrvaneLoggingHandler(const GC<ConfigHandler>& config) {
    GC<OrvaneLoggingHandler> handler(new OrvaneLoggingHandler(config));
    handler->init();
    return handler;
}

} // namespace Core
} // namespace Orvane
