#include "logformat.h"

#include "qorcommon/logging.h"
#include "qorcommon/orvanelogginghandler.h"

#include <cstring>

namespace Qorctl {

using namespace Orvane::Core;

namespace {

const char* const IsoPattern =
    R"(\d{4}-\d{2}-\d{2}T\d{2}:\d{2}:\d{2}(?:\.\d+)?(?:Z|[+-]\d{2}:?\d{2})?)";

std::string escaped(const std::string& literal) {
    std::string out;
    for (char c : literal) {
        if (std::strchr(R"(\^$.|?*+()[]{}/)", c) && c != '\0') out += '\\';
        out += c;
    }
    return out;
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
    std::string pattern = "^";
    int group = 0;
    std::size_t pos = 0;
    while (pos < text.size()) {
        const std::size_t start = text.find("$(", pos);
        const std::size_t end = start == std::string::npos ? start : macroEnd(text, start);
        if (end == std::string::npos) {
            pattern += escaped(text.substr(pos));
            break;
        }
        pattern += escaped(text.substr(pos, start - pos));
        std::string body = text.substr(start + 2, end - start - 2);
        std::string argument;
        const std::size_t colon = body.find(':');
        if (colon != std::string::npos) {
            argument = body.substr(colon + 1);
            body.resize(colon);
        }
        ++group;
        if (body == "thread_id" || body == "process_id") {
            pattern += "([0-9a-fA-F]+)";
            if (body == "thread_id") m_thread = group;
        } else if (body == "timestamp" && (argument.empty() || argument == "iso")) {
            pattern += std::string("(") + IsoPattern + ")";
            m_timestamp = group;
            m_isoTimestamp = true;
        } else if (body == "timestamp_with_diff" && m_timestamp == 0) {
            // The ISO time stamp followed by the difference to the previous entry.
            pattern += std::string("(") + IsoPattern + ")[^ ]*";
            m_timestamp = group;
            m_isoTimestamp = true;
        } else if (body == "stack_prefix") {
            pattern += "( *)";
        } else if (body == "stack_length" || body == "timestamp") {
            pattern += "([0-9]+)";
        } else if (body == "priority" && argument.empty()) {
            pattern += "([0-9]+)";
            m_priorityNumber = group;
        } else if (body == "priority" && argument == "log4j") {
            pattern += "([A-Z]+)";
            m_priorityLog4j = group;
        } else if (body == "priority") {
            pattern += "([A-Za-z]+)";
            m_priorityName = group;
        } else {
            if (body == "logger_name") m_logger = group;
            if (body == "message") m_message = group;
            pattern += "(.*?)";
        }
        pos = end + 1;
    }
    pattern += "$";
    m_pattern = std::regex(pattern, std::regex::ECMAScript | std::regex::optimize);
}

void LogFormat::parse(const std::string& text, LogLine& line) const {
    line = LogLine();
    line.text = text;
    std::smatch match;
    if (!std::regex_match(text, match, m_pattern)) return;
    line.matched = true;
    if (m_thread) line.thread = match[m_thread];
    if (m_timestamp) line.timestamp = match[m_timestamp];
    if (m_logger) line.logger = match[m_logger];
    if (m_message) line.message = match[m_message];
    if (m_priorityNumber) {
        const std::string number = match[m_priorityNumber];
        const long value = number.size() < 3 ? std::stol(number) : 0;
        line.priority = value >= Logger::Info && value <= Logger::FatalError ? int(value) : 0;
    } else if (m_priorityName) {
        line.priority = priorityOfName(match[m_priorityName]);
    } else if (m_priorityLog4j) {
        line.priority = priorityOfLog4jName(match[m_priorityLog4j]);
    }
    if (line.priority == 0 && m_message) line.priority = priorityOfMessage(line.message);
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
