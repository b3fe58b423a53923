#include "logformat.h"

#include "qorcommon/logging.h"
#include "qorcommon/orvanelogginghandler.h"

#include <cstring>

namespace Qorctl {

using namespace Orvane::Core;

namespace {

bool isDigit(char c) {
    return c >= '0' && c <= '9';
}

bool isHex(char c) {
    return isDigit(c) || (c >= 'a' && c <= 'f') || (c >= 'A' && c <= 'F');
}

// The length of the ISO time stamp at `pos` ("2026-01-31T12:30:00", optional fraction, optional
// zone "Z", "+hh:mm" or "+hhmm"); 0 when there is none.
std::size_t isoLength(const std::string& text, std::size_t pos) {
    static const char shape[] = "dddd-dd-ddTdd:dd:dd";
    const std::size_t fixed = sizeof shape - 1;
    if (text.size() - pos < fixed) return 0;
    for (std::size_t i = 0; i < fixed; ++i) {
        const char c = text[pos + i];
        if (shape[i] == 'd' ? !isDigit(c) : c != shape[i]) return 0;
    }
    std::size_t end = pos + fixed;
    if (end + 1 < text.size() && text[end] == '.' && isDigit(text[end + 1])) {
        ++end;
        while (end < text.size() && isDigit(text[end]))
            ++end;
    }
    if (end < text.size() && text[end] == 'Z') return end + 1 - pos;
    if (end < text.size() && (text[end] == '+' || text[end] == '-')) {
        std::size_t zone = end + 1;
        std::size_t digits = 0;
        while (zone < text.size() && digits < 4 && (isDigit(text[zone]) || text[zone] == ':')) {
            if (isDigit(text[zone])) ++digits;
            ++zone;
        }
        if (digits == 4) return zone - pos;
    }
    return end - pos;
}

// The end of the macro that starts at `start` ("$("): its closing ")", found by counting
// parentheses outside braced and quoted groups; npos when it does not close.
std::size_t macroEnd(const std::string& text, std::size_t start) {
    int parens = 0;
    int braces = 0;
    bool quoted = false;
    for (std::size_t i = start + 1; i < text.size(); ++i) {
        const char c = text[i];
        if (quoted) {
            if (c == '\\')
                ++i;
            else if (c == '"')
                quoted = false;
        } else if (c == '"') {
            quoted = true;
        } else if (c == '{') {
            ++braces;
        } else if (c == '}') {
            if (braces > 0) --braces;
        } else if (braces == 0 && c == '(') {
            ++parens;
        } else if (braces == 0 && c == ')') {
            if (--parens == 0) return i;
        }
    }
    return std::string::npos;
}

} // namespace

LogFormat::LogFormat(const std::string& format) {
    std::string text = format;
    if (text == "Default" || text.empty())
        text = OrvaneLoggingSettings::defaultFormat();
    else if (text == "Compat")
        text = OrvaneLoggingSettings::compatFormat();
    auto literal = [this](const std::string& piece) {
        if (piece.empty()) return;
        if (!m_segments.empty() && m_segments.back().kind == Segment::Literal)
            m_segments.back().text += piece;
        else
            m_segments.push_back(Segment{Segment::Literal, piece, false});
    };
    auto field = [this](Segment::Kind kind) {
        m_segments.push_back(Segment{kind, std::string(), false});
        return static_cast<int>(m_segments.size() - 1);
    };
    std::size_t pos = 0;
    while (pos < text.size()) {
        const std::size_t start = text.find("$(", pos);
        const std::size_t end = start == std::string::npos ? start : macroEnd(text, start);
        if (end == std::string::npos) {
            literal(text.substr(pos));
            break;
        }
        literal(text.substr(pos, start - pos));
        std::string name = text.substr(start + 2, end - start - 2);
        std::string argument;
        const std::size_t colon = name.find(':');
        if (colon != std::string::npos) {
            argument = name.substr(colon + 1);
            name.resize(colon);
        }
        if (name == "thread_id") {
            m_thread = field(Segment::Hex);
        } else if (name == "process_id") {
            field(Segment::Hex);
        } else if (name == "timestamp" && (argument.empty() || argument == "iso")) {
            m_timestamp = field(Segment::Iso);
            m_isoTimestamp = true;
        } else if (name == "timestamp_with_diff") {
            // The ISO time stamp followed by the difference to the previous entry.
            m_timestamp = field(Segment::IsoWithDiff);
            m_isoTimestamp = true;
        } else if (name == "stack_prefix") {
            field(Segment::Blanks);
        } else if (name == "stack_length" || name == "timestamp") {
            field(Segment::Digits);
        } else if (name == "priority" && argument.empty()) {
            m_priorityNumber = field(Segment::Digits);
        } else if (name == "priority" && argument == "log4j") {
            m_priorityLog4j = field(Segment::Capitals);
        } else if (name == "priority") {
            m_priorityName = field(Segment::Letters);
        } else {
            const int index = field(Segment::Any);
            if (name == "logger_name") m_logger = index;
            if (name == "message" || name == "text") {
                if (name == "message") m_message = index;
                m_segments.back().greedy = true;
            }
        }
        pos = end + 1;
    }
}

bool LogFormat::match(const std::string& text, std::size_t segment, std::size_t pos,
                      std::vector<Span>& spans) const {
    // Fields of a kind of characters take all of them; only the free fields try several ends
    // (the shortest first, the message the longest first), so the recursion is as deep as the
    // format has pieces.
    while (segment < m_segments.size()) {
        const Segment& piece = m_segments[segment];
        std::size_t end = pos;
        switch (piece.kind) {
        case Segment::Literal:
            if (text.compare(pos, piece.text.size(), piece.text) != 0) return false;
            end = pos + piece.text.size();
            break;
        case Segment::Hex:
            while (end < text.size() && isHex(text[end]))
                ++end;
            if (end == pos) return false;
            break;
        case Segment::Digits:
            while (end < text.size() && isDigit(text[end]))
                ++end;
            if (end == pos) return false;
            break;
        case Segment::Blanks:
            while (end < text.size() && text[end] == ' ')
                ++end;
            break;
        case Segment::Letters:
        case Segment::Capitals:
            while (end < text.size() &&
                   ((text[end] >= 'A' && text[end] <= 'Z') ||
                    (piece.kind == Segment::Letters && text[end] >= 'a' && text[end] <= 'z')))
                ++end;
            if (end == pos) return false;
            break;
        case Segment::Iso:
        case Segment::IsoWithDiff: {
            const std::size_t length = isoLength(text, pos);
            if (length == 0) return false;
            end = pos + length;
            spans[segment] = Span{pos, end};
            if (piece.kind == Segment::IsoWithDiff) {
                // " Diff: " and the seconds since the previous entry ("0.125", "inf").
                static const std::string label = " Diff: ";
                if (text.compare(end, label.size(), label) != 0) return false;
                end += label.size();
                while (end < text.size() && text[end] != ' ')
                    ++end;
            }
            pos = end;
            ++segment;
            continue;
        }
        case Segment::Any: {
            const bool last = segment + 1 == m_segments.size();
            if (last) {
                spans[segment] = Span{pos, text.size()};
                return true;
            }
            const Segment& next = m_segments[segment + 1];
            if (next.kind == Segment::Literal) {
                // A final literal can only stand at the end of the line.
                if (segment + 2 == m_segments.size()) {
                    if (text.size() < pos + next.text.size()) return false;
                    const std::size_t at = text.size() - next.text.size();
                    if (text.compare(at, next.text.size(), next.text) != 0) return false;
                    spans[segment] = Span{pos, at};
                    return true;
                }
                if (piece.greedy) {
                    for (std::size_t at = text.rfind(next.text);
                         at != std::string::npos && at >= pos;
                         at = at == 0 ? std::string::npos : text.rfind(next.text, at - 1)) {
                        spans[segment] = Span{pos, at};
                        if (match(text, segment + 1, at, spans)) return true;
                    }
                    return false;
                }
                for (std::size_t at = text.find(next.text, pos); at != std::string::npos;
                     at = text.find(next.text, at + 1)) {
                    spans[segment] = Span{pos, at};
                    if (match(text, segment + 1, at, spans)) return true;
                }
                return false;
            }
            for (std::size_t i = pos; i <= text.size(); ++i) {
                const std::size_t at = piece.greedy ? text.size() - (i - pos) : i;
                spans[segment] = Span{pos, at};
                if (match(text, segment + 1, at, spans)) return true;
            }
            return false;
        }
        }
        spans[segment] = Span{pos, end};
        pos = end;
        ++segment;
    }
    return pos == text.size();
}

std::string LogFormat::field(const std::string& text, const std::vector<Span>& spans,
                             int index) const {
    if (index < 0) return std::string();
    const Span& span = spans[static_cast<std::size_t>(index)];
    return text.substr(span.begin, span.end - span.begin);
}

void LogFormat::parse(const std::string& text, LogLine& line) const {
    line = LogLine();
    line.text = text;
    std::vector<Span> spans(m_segments.size());
    if (!match(text, 0, 0, spans)) return;
    line.matched = true;
    line.thread = field(text, spans, m_thread);
    line.timestamp = field(text, spans, m_timestamp);
    line.logger = field(text, spans, m_logger);
    line.message = field(text, spans, m_message);
    if (m_priorityNumber >= 0) {
        const std::string number = field(text, spans, m_priorityNumber);
        const long value = number.size() < 3 ? std::stol(number) : 0;
        line.priority = value >= Logger::Info && value <= Logger::FatalError ? int(value) : 0;
    } else if (m_priorityName >= 0) {
        line.priority = priorityOfName(field(text, spans, m_priorityName));
    } else if (m_priorityLog4j >= 0) {
        line.priority = priorityOfLog4jName(field(text, spans, m_priorityLog4j));
    }
    if (line.priority == 0 && m_message >= 0) line.priority = priorityOfMessage(line.message);
}

int LogFormat::priorityOfMessage(const std::string& message) {
    for (int prio = Logger::Info; prio <= Logger::FatalError; ++prio) {
        const char* prefix = Logger::priorityPrefix(static_cast<Logger::Priority>(prio));
        if (message.compare(0, std::strlen(prefix), prefix) == 0) return prio;
    }
    // Frames are logged with the priority Status; status entries name their code.
    if (message.compare(0, 16, "Function start: ") == 0) return Logger::Status;
    if (message.compare(0, 12, "Function end") == 0) return Logger::Status;
    if (message.compare(0, 10, "ErrorCode=") == 0) return Logger::Error;
    if (message.compare(0, 11, "StatusCode=") == 0) return Logger::Status;
    return 0;
}

int LogFormat::priorityOfName(const std::string& name) {
    for (int prio = Logger::Info; prio <= Logger::FatalError; ++prio) {
        if (name == Logger::priorityName(static_cast<Logger::Priority>(prio))) return prio;
    }
    return 0;
}

int LogFormat::priorityOfLog4jName(const std::string& name) {
    if (name == "INFO") return Logger::Message;
    if (name == "WARN") return Logger::Warning;
    if (name == "ERROR") return Logger::Error;
    if (name == "FATAL") return Logger::FatalError;
    return 0;
}

} // namespace Qorctl
