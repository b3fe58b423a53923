// log write | view | stats
#include "commands.h"
#include "configchain.h"
#include "logfiles.h"
#include "logformat.h"

#include "qorcommon/datetime.h"
#include "qorcommon/logentry.h"
#include "qorcommon/logging.h"
#include "qorcommon/orvanelogginghandler.h"
#include "qorcommon/qorcommonversion.h"

#include <algorithm>
#include <iostream>
#include <map>

namespace Qorctl {

using namespace Orvane::Core;

namespace {

/// True for "YYYY-MM-DD", optionally followed by "T" or " " and "hh", ":mm", ":ss" and ".f" to
/// ".fff", each part only after the one before it.
bool isTimePrefix(const std::string& text) {
    static const char* const shape = "dddd-dd-dd_dd:dd:dd.ddd";
    static const std::size_t ends[] = {10, 13, 16, 19, 21, 22, 23};
    std::size_t i = 0;
    for (; i < text.size() && shape[i]; ++i) {
        const char c = text[i], want = shape[i];
        const bool ok = want == 'd'   ? (c >= '0' && c <= '9')
                        : want == '_' ? (c == 'T' || c == ' ')
                                      : c == want;
        if (!ok) return false;
    }
    if (i != text.size()) return false;
    for (std::size_t end : ends)
        if (i == end) return true;
    return false;
}

GC<OrvaneLoggingSettings> configuredSettings(const ConfigChain& chain) {
    GC<OrvaneLoggingSettings> settings(new OrvaneLoggingSettings());
    settings->readConfiguration(chain.head());
    return settings;
}

/// The priorities of a word list such as "w,e,f" or "warning,error", as a mask of bits 1 .. 7.
unsigned priorityMask(const std::string& command, const std::string& words) {
    unsigned mask = 0;
    if (!OrvaneLoggingSettings::parsePriorities(StringList::split(words, ","), mask))
        throw UsageError(command, "unknown priority in '" + words + "'");
    return mask;
}

Style::Colour colourOf(int priority) {
    switch (priority) {
    case Logger::FatalError:
        return Style::BoldRed;
    case Logger::Error:
        return Style::Red;
    case Logger::Warning:
        return Style::Yellow;
    case Logger::Message:
        return Style::Plain;
    case Logger::Info:
    case Logger::Hint:
    case Logger::Status:
        return Style::Dim;
    default:
        return Style::Plain;
    }
}

std::string normalisedThread(std::string id) {
    std::transform(id.begin(), id.end(), id.begin(),
                   [](unsigned char c) { return static_cast<char>(std::tolower(c)); });
    const std::size_t digit = id.find_first_not_of('0');
    return digit == std::string::npos ? "0" : id.substr(digit);
}

int write(const Context& context) {
    Arguments args("log write", context.args, {"priority"}, {});
    args.expectPositionals(1, 1);
    long priority = Logger::Message;
    if (args.has("priority")) {
        const unsigned mask = priorityMask("log write", args.value("priority"));
        int found = 0;
        for (int prio = Logger::Info; prio <= Logger::FatalError; ++prio) {
            if (mask & (1u << prio)) {
                priority = prio;
                ++found;
            }
        }
        if (found != 1)
            throw UsageError("log write", "--priority needs exactly one priority, not '" +
                                              args.value("priority") + "'");
    }
    const ConfigChain chain = buildConfigChain(context);
    GC<LoggingHandler> handler = makeOrvaneLoggingHandler(chain.head());
    auto* fileHandler = dynamic_cast<OrvaneLoggingHandler*>(handler.ptr());
    if (fileHandler &&
        !fileHandler->settings()->accepts(static_cast<int>(priority), LogEntry::General)) {
        printError(std::string("the configuration does not log entries of priority ") +
                   Logger::priorityName(static_cast<Logger::Priority>(priority)));
        return ExitProblem;
    }
    const ModuleInfo module(
        "qorctl", "tool",
        Version(QORCOMMON_VERSION_MAJOR, QORCOMMON_VERSION_MINOR, QORCOMMON_VERSION_PATCH));
    GC<Logger> logger = handler->getLogger(module);
    logger->addEntry(static_cast<Logger::Priority>(priority),
                     LogEntry(LogEntry::General, args.positionals()[0], 0), DateTime::now(), 0);
    if (fileHandler) fileHandler->flush();
    return ExitOk;
}

// The filters of "log view" over the lines of a log. Lines outside the format go with the entry
// before them.
class LineFilter {
public:
    LineFilter(const Arguments& args, const LogFormat& format) : m_format(format) {
        if (args.has("priority")) {
            m_priorities = priorityMask("log view", args.value("priority"));
            m_filtered = true;
        }
        if (args.has("thread")) {
            if (!format.hasThread()) throw ProblemError("the log format has no thread id");
            m_thread = normalisedThread(args.value("thread"));
            m_filtered = true;
        }
        if (args.has("since")) {
            m_since = args.value("since");
            if (!isTimePrefix(m_since))
                throw UsageError("log view",
                                 "--since needs a time like 2026-01-31T12:30:00, not '" + m_since +
                                     "'");
            std::replace(m_since.begin(), m_since.end(), ' ', 'T');
            if (!format.hasIsoTimestamp()) throw ProblemError("the log format has no time stamp");
            m_filtered = true;
        }
    }

    /// Whether the line is shown; `line` is parsed on the way.
    bool accept(const std::string& text, LogLine& line) {
        m_format.parse(text, line);
        if (!line.matched) {
            line.priority = m_lastPriority;
            return m_lastAccepted && (!m_filtered || m_anyEntry);
        }
        m_anyEntry = true;
        m_lastPriority = line.priority;
        m_lastAccepted = matches(line);
        return m_lastAccepted;
    }

private:
    bool matches(const LogLine& line) const {
        if (m_priorities && (line.priority == 0 || !(m_priorities & (1u << line.priority))))
            return false;
        if (!m_thread.empty() && normalisedThread(line.thread) != m_thread) return false;
        if (!m_since.empty() && line.timestamp < m_since) return false;
        return true;
    }

    const LogFormat& m_format;
    bool m_filtered = false;
    unsigned m_priorities = 0;
    std::string m_thread;
    std::string m_since;
    bool m_anyEntry = false;
    bool m_lastAccepted = true;
    int m_lastPriority = 0;
};

std::string logPath(const Arguments& args, const OrvaneLoggingSettings& settings) {
    return args.positionals().empty() ? settings.logFile() : args.positionals()[0];
}

int view(const Context& context) {
    Arguments args("log view", context.args, {"priority", "thread", "since", "count"}, {"follow"});
    args.expectPositionals(0, 1);
    const long count = args.number("count", -1);
    const ConfigChain chain = buildConfigChain(context);
    const GC<OrvaneLoggingSettings> settings = configuredSettings(chain);
    const std::string path = logPath(args, *settings);
    const LogFormat format(settings->format());
    LineFilter filter(args, format);
    const bool coloured = Style::outputColoured();
    long shown = 0;
    auto show = [&](const std::string& text) {
        if (count >= 0 && shown >= count) return false;
        LogLine line;
        if (!filter.accept(text, line)) return true;
        std::cout << Style::paint(text, colourOf(line.priority), coloured) << '\n';
        if (line.matched) ++shown;
        if (count >= 0 && shown >= count) {
            std::cout.flush();
            return false;
        }
        return true;
    };
    if (args.has("follow")) {
        LogFollower follower(path, [&](const std::string& text) {
            const bool more = show(text);
            std::cout.flush();
            return more;
        });
        follower.run(200);
        return ExitOk;
    }
    if (!readLogFiles(path, show)) throw ProblemError("cannot read log file '" + path + "'");
    return ExitOk;
}

int stats(const Context& context) {
    Arguments args("log stats", context.args, {}, {});
    args.expectPositionals(0, 1);
    const ConfigChain chain = buildConfigChain(context);
    const GC<OrvaneLoggingSettings> settings = configuredSettings(chain);
    const std::string path = logPath(args, *settings);
    const LogFormat format(settings->format());
    long entries = 0;
    long outside = 0;
    std::map<int, long> perPriority;
    std::map<std::string, long> perLogger;
    std::map<std::string, long> perMinute;
    const bool found = readLogFiles(path, [&](const std::string& text) {
        LogLine line;
        format.parse(text, line);
        if (!line.matched) {
            ++outside;
            return true;
        }
        ++entries;
        ++perPriority[line.priority];
        if (format.hasLogger()) ++perLogger[line.logger];
        if (line.timestamp.size() >= 16) ++perMinute[line.timestamp.substr(0, 16)];
        return true;
    });
    if (!found) throw ProblemError("cannot read log file '" + path + "'");
    const bool coloured = Style::outputColoured();
    std::cout << "Entries: " << entries << '\n';
    if (outside > 0) std::cout << "Lines outside the log format: " << outside << '\n';
    std::cout << "\nPer priority:\n";
    for (const auto& item : perPriority) {
        const std::string name =
            item.first ? Logger::priorityName(static_cast<Logger::Priority>(item.first))
                       : "(not shown)";
        std::cout << "  " << Style::paint(name, colourOf(item.first), coloured)
                  << std::string(name.size() < 14 ? 14 - name.size() : 1, ' ') << item.second
                  << '\n';
    }
    if (format.hasLogger()) {
        std::cout << "\nPer logger:\n";
        std::vector<std::pair<std::string, long>> loggers(perLogger.begin(), perLogger.end());
        std::stable_sort(loggers.begin(), loggers.end(),
                         [](const auto& a, const auto& b) { return a.second > b.second; });
        for (const auto& item : loggers)
            std::cout << "  " << item.first << "  " << item.second << '\n';
    }
    if (!perMinute.empty()) {
        std::vector<std::pair<std::string, long>> minutes(perMinute.begin(), perMinute.end());
        std::stable_sort(minutes.begin(), minutes.end(),
                         [](const auto& a, const auto& b) { return a.second > b.second; });
        if (minutes.size() > 10) minutes.resize(10);
        const long most = minutes.front().second;
        std::cout << "\nBusiest minutes:\n";
        for (const auto& item : minutes) {
            const long width = std::max(1L, item.second * 40 / most);
            std::cout << "  " << item.first << "  "
                      << std::string(static_cast<std::size_t>(width), '#') << ' ' << item.second
                      << '\n';
        }
    }
    return ExitOk;
}

} // namespace

int logCommand(const Context& context) {
    static const std::map<std::string, Command> commands = {
        {"write", write}, {"view", view}, {"stats", stats}};
    return dispatchSubcommand("log", context, commands);
}

} // namespace Qorctl
