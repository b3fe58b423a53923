// Reading log lines back: a line format of the file logging handler turned into a pattern that
// finds the thread, time stamp, priority, logger and message of each line. The pattern is matched
// by hand, not by std::regex, whose backtracking recurses once per character and overflows the
// stack on long lines.
#pragma once

#include <cstddef>
#include <string>
#include <vector>

namespace Qorctl {

/// One line of a log file. Lines that do not follow the format (continued messages, headers,
/// torn or foreign lines) have `matched` false and only `text`.
struct LogLine {
    std::string text;
    bool matched = false;
    std::string thread;
    /// The ISO time stamp as written, "" when the format has none.
    std::string timestamp;
    std::string logger;
    std::string message;
    /// 1 (Info) .. 7 (FatalError); 0 when the line does not tell.
    int priority = 0;
};

class LogFormat {
public:
    /// `format` is a LOG_FORMAT value: "Default", "Compat" or a macro format.
    explicit LogFormat(const std::string& format);

    /// Fills `line` from `text` (without its line end).
    void parse(const std::string& text, LogLine& line) const;

    bool hasThread() const { return m_thread >= 0; }
    bool hasIsoTimestamp() const { return m_isoTimestamp; }
    bool hasLogger() const { return m_logger >= 0; }

    /// The priority that a rendered message shows by its prefix ("Warning: ", "Function
    /// start: ", "ErrorCode=" ...); 0 when it shows none.
    static int priorityOfMessage(const std::string& message);
    /// 1 .. 7 for a priority name as the handler writes it ("Warning", "FatalError"); 0
    /// otherwise.
    static int priorityOfName(const std::string& name);
    /// The same for the log4j names ("WARN"); DEBUG stands for three priorities and gives 0.
    static int priorityOfLog4jName(const std::string& name);

private:
    /// One piece of a line: a literal text or a field of some kind of characters.
    struct Segment {
        enum Kind { Literal, Hex, Digits, Blanks, Letters, Capitals, Iso, IsoWithDiff, Any };
        Kind kind;
        std::string text;
        /// A free field that takes as much as it can: the message, whose text may hold anything
        /// that the rest of the format holds.
        bool greedy = false;
    };
    struct Span {
        std::size_t begin = 0;
        std::size_t end = 0;
    };

    bool match(const std::string& text, std::size_t segment, std::size_t pos,
               std::vector<Span>& spans) const;
    std::string field(const std::string& text, const std::vector<Span>& spans, int index) const;

    std::vector<Segment> m_segments;
    // Segment indexes of the fields that the tool reads; -1 when the format has none.
    int m_thread = -1;
    int m_timestamp = -1;
    bool m_isoTimestamp = false;
    int m_logger = -1;
    int m_message = -1;
    int m_priorityNumber = -1;
    int m_priorityName = -1;
    int m_priorityLog4j = -1;
};

} // namespace Qorctl
