// Loggers and the per-thread stack of function scopes.
//
// Client code writes entries through a LoggingFrame, one per function scope: begin() pushes the
// frame on the calling thread's frame stack and writes a begin entry, addEntry() writes further
// entries, end() writes the end entry and pops the frame. Every entry goes through one funnel,
// Logger::addEntry: first to the listeners of the logger's helper, in registration order, then
// into the logger's last element, then to the concrete logger's storeEntry.
//
//     void Parser::run(const GC<Logger>& logger) {
//         QOR_LOGGING_SCOPE(logger);
//         QOR_LOG(Logger::Info, LogEntry::fromGeneralMessage("parsing"));
//         ...
//     }   // the end entry is written here
#pragma once

#include "qorcommon/datetime.h"
#include "qorcommon/errorinfo.h"
#include "qorcommon/export.h"
#include "qorcommon/privateptr.h"
#include "qorcommon/gc.h"
#include "qorcommon/logentry.h"
#include "qorcommon/moduleinfo.h"
#include "qorcommon/stringlist.h"

#include <cstdint>
#include <functional>
#include <list>
#include <string>
#include <utility>
#include <vector>

namespace Orvane {
namespace Core {

class ErrorInfoBuilder;
class LogElement;
class LoggerHelper;
class LoggingFrame;

/// The abstract sink of log entries. Concrete loggers implement storeEntry.
/// Thread safety: thread-safe (setUsesStack and setErrorInfoBuilder: set once at start-up).
class QORCOMMON_API Logger : public GCObject {
public:
    /// How important an entry is. The numbers are part of the C face and of the line formats.
    /// 0 has no name: it is the lowest value, included when a filter says "all".
    enum Priority : std::int32_t {
        Info = 1,
        Hint = 2,
        Status = 3,
        Message = 4,
        Warning = 5,
        Error = 6,
        FatalError = 7
    };

    Logger(const GC<LoggerHelper>& helper, const std::string& name, const ModuleInfo& moduleInfo);
    ~Logger() override;
    Logger(const Logger&) = delete;
    Logger& operator=(const Logger&) = delete;

    const char* typeName() const override;

    /// Builds the stack list of the calling thread's frames and calls the funnel below.
    void addEntry(Priority prio, const LogEntry& entry, const DateTime& timestamp, double diff);
    /// The single funnel of every entry: the helper's listeners in registration order, then the
    /// last element (elementTree), then storeEntry.
    void addEntry(Priority prio, const LogEntry& entry, const StringList& stack,
                  const DateTime& timestamp, double diff);

    /// The frame stack of the calling thread, through the helper.
    bool pushFrame(LoggingFrame* frame);
    bool popFrame(LoggingFrame* frame);
    LoggingFrame* currentFrame() const;

    const std::string& name() const;
    const ModuleInfo& moduleInfo() const;
    /// A copy of the element that holds the last entry written, made under the logger's lock so
    /// that it can be read while other threads write; null before the first entry.
    GC<LogElement> elementTree() const;

    /// A builder kept for the logger's owner (not owned; null by default).
    void setErrorInfoBuilder(ErrorInfoBuilder* builder);
    ErrorInfoBuilder* errorInfoBuilder() const;
    /// The last entry as an error record (LogElement::buildErrorInfo with the logger's module);
    /// an empty record before the first entry.
    ErrorInfo getErrorInfo() const;

    /// "Info", "Hint", "Status", "Message", "Warning", "Error", "FatalError"; "" for any other
    /// value.
    static const char* priorityName(Priority prio);
    /// The prefix of a rendered General message: "Info: ", "Hint: ", "Status: ", "Message: ",
    /// "Warning: ", "Error: ", "Fatal Error: "; "" for any other value.
    static const char* priorityPrefix(Priority prio);

protected:
    /// The concrete logger's sink: filters and writes one entry. Called on the writing thread,
    /// possibly from several threads at once.
    virtual void storeEntry(Priority prio, const LogEntry& entry, const StringList& stack,
                            const DateTime& timestamp, double diff) = 0;

public:
    /// Stores each element in turn, as an entry with an empty stack and a diff of 0.
    virtual void storeBatch(const std::list<GC<LogElement>>& elements);
    /// Hands an entry straight to storeEntry, past the listeners and the last element: for
    /// loggers that fan entries out to other loggers, whose funnel has already run.
    void forwardEntry(Priority prio, const LogEntry& entry, const StringList& stack,
                      const DateTime& timestamp, double diff);

protected:
    const GC<LoggerHelper>& loggerHelper() const;
    /// Whether storeEntry reads the stack list. A logger that does not (the default is that it
    /// does) lets entries skip building it when no listener is registered either.
    void setUsesStack(bool usesStack);
    bool usesStack() const;

private:
    friend class LoggingFrame;
    // The C face registers listeners with the helper of a logger it was handed.
    friend struct LoggerHelperAccess;
    struct Private;
    Private* d;
};

/// One entry placed in time and in the call tree.
/// Thread safety: reentrant.
class QORCOMMON_API LogElement : public GCObject {
public:
    LogElement(Logger::Priority prio, const LogEntry& entry, const DateTime& timestamp,
               const GC<LogElement>& parent = GC<LogElement>());
    /// A copy of the first three fields, the parent and the sub-element handles.
    LogElement(const LogElement& other);
    ~LogElement() override;
    LogElement& operator=(const LogElement&) = delete;

    const char* typeName() const override;

    /// Re-fills priority, entry and time stamp.
    void init(Logger::Priority prio, const LogEntry& entry, const DateTime& timestamp);

    Logger::Priority prio() const;
    const LogEntry& entry() const;
    const DateTime& timestamp() const;
    const GC<LogElement>& parent() const;
    std::list<GC<LogElement>>& subElements();
    const std::list<GC<LogElement>>& subElements() const;

    /// The element as an error record of module `moduleInfo`:
    ///   text: the entry's text; a Custom entry gives "customContext=text";
    ///   code: the entry's status code, or -1 ("no code") when it is 0;
    ///   location: the entry's location; time: the element's time stamp;
    ///   annotations: "log_priority" (the priority's name) and "log_context" (the context's
    ///   number), so that a reader can tell where the record came from.
    ErrorInfo buildErrorInfo(const ModuleInfo& moduleInfo) const;

private:
    struct Private;
    PrivatePtr<Private> d;
};

/// The observer of every entry that any logger of a helper receives.
/// Thread safety: thread-safe (entries arrive from several threads at once).
class QORCOMMON_API LoggingListener : public GCObject {
public:
    LoggingListener();
    ~LoggingListener() override;
    LoggingListener(const LoggingListener&) = delete;
    LoggingListener& operator=(const LoggingListener&) = delete;

    const char* typeName() const override;

    /// Called on the writing thread, before the logger's own storeEntry. Entries may arrive from
    /// several threads at once.
    virtual void onLogEntry(const std::string& loggerName, Logger::Priority prio,
                            const LogEntry& entry, const StringList& stack,
                            const DateTime& timestamp, double diff) = 0;
};

/// The state shared by all loggers of one handler: the frame stacks (one per thread) and the
/// listeners.
/// Thread safety: thread-safe.
class QORCOMMON_API LoggerHelper : public GCObject {
public:
    /// The frames of one thread, the innermost at the back.
    using FrameStack = std::vector<LoggingFrame*>;

    LoggerHelper();
    ~LoggerHelper() override;
    LoggerHelper(const LoggerHelper&) = delete;
    LoggerHelper& operator=(const LoggerHelper&) = delete;

    const char* typeName() const override;

    /// Appends the frame to the calling thread's stack; always true.
    bool pushFrame(LoggingFrame* frame);
    /// Removes the frame from the back of the calling thread's stack. When the stack is empty or
    /// its back is another frame, writes "frames stack has been corrupted" to standard output,
    /// leaves the stack as it is and returns false.
    bool popFrame(LoggingFrame* frame);
    /// The calling thread's innermost frame, or null.
    LoggingFrame* currentFrame();
    /// The calling thread's stack. Per thread, so it needs no lock.
    FrameStack& stack();

    /// Adds a listener at the end of the list; false (and nothing changes) for a null listener
    /// or one that is registered already. Safe while other threads call the listeners.
    bool registerListener(const GC<LoggingListener>& listener);
    /// Removes a listener; false when it was not registered. A call of the listeners that had
    /// already begun on another thread may still reach it once.
    bool unregisterListener(const GC<LoggingListener>& listener);
    /// The listeners in registration order (a snapshot).
    std::list<GC<LoggingListener>> listeners() const;
    bool hasListeners() const;
    /// Visits the listeners in registration order until the visitor returns false. The visitor
    /// runs on a snapshot, without a lock: it may register and unregister listeners.
    void foreachListeners(const std::function<bool(const GC<LoggingListener>&)>& visitor) const;
    /// Gives the entry to every listener, in registration order.
    void callListeners(const std::string& loggerName, Logger::Priority prio, const LogEntry& entry,
                       const StringList& stack, const DateTime& timestamp, double diff) const;

private:
    struct Private;
    Private* d;
};

/// One function scope on the calling thread's frame stack. Made by begin() and ended (and
/// deleted) by the static end() forms, on the thread that began it, the innermost frame first.
/// Thread safety: reentrant (used only on the thread that began it).
class QORCOMMON_API LoggingFrame : public GCObject {
public:
    /// Pushes the frame on the calling thread's stack; `start` is the time of its last entry.
    LoggingFrame(const GC<Logger>& logger, const DateTime& start);
    /// Pops the frame from the calling thread's stack.
    ~LoggingFrame() override;
    LoggingFrame(const LoggingFrame&) = delete;
    LoggingFrame& operator=(const LoggingFrame&) = delete;

    const char* typeName() const override;

    /// Makes a frame, pushes it and writes its begin entry (Status priority, BeginLogging, text
    /// the function name). Pass the frame to exactly one static end().
    static LoggingFrame* begin(const GC<Logger>& logger, const std::string& functionName,
                               const DateTime& timestamp = DateTime::now());
    /// As above; the begin entry has no text and the given location.
    static LoggingFrame* begin(const GC<Logger>& logger, const CodeLocation& location,
                               const DateTime& timestamp = DateTime::now());

    /// Writes the end entry (Status priority, EndLogging, no text, status 0).
    void end(const DateTime& timestamp = DateTime::now());
    void end(const CodeLocation& location, const DateTime& timestamp = DateTime::now());
    /// Writes an end entry whose text is the return value, and returns that same text.
    const std::string& end_str(const std::string& retval,
                               const DateTime& timestamp = DateTime::now());
    const std::string& end_str(const std::string& retval, const CodeLocation& location,
                               const DateTime& timestamp = DateTime::now());

    // The static forms also delete the frame. A null frame is reported as
    // "__logging_frame__ cannot be nullptr".
    static void end(LoggingFrame* frame, const DateTime& timestamp = DateTime::now());
    static void end(LoggingFrame* frame, const CodeLocation& location,
                    const DateTime& timestamp = DateTime::now());
    static const std::string& end_str(LoggingFrame* frame, const std::string& retval,
                                      const DateTime& timestamp = DateTime::now());
    static const std::string& end_str(LoggingFrame* frame, const std::string& retval,
                                      const CodeLocation& location,
                                      const DateTime& timestamp = DateTime::now());

    /// Writes one entry: diff is the time since the frame's previous entry, the entry is kept
    /// as an element of the frame and handed to the logger. Returns true.
    bool addEntry(Logger::Priority prio, const LogEntry& entry,
                  const DateTime& timestamp = DateTime::now());

    const GC<Logger>& logger() const;
    /// The time of the frame's last entry (its start before the first one).
    const DateTime& lastEntryTime() const;
    /// The elements written through the frame, oldest first. They are made on request, so the
    /// first call after new entries costs an allocation per entry; the handles stay the same
    /// from call to call.
    const std::list<GC<LogElement>>& elements() const;
    /// What the frame contributes to a stack list: the location text (CodeLocation::asString) of
    /// its first element; false when it has no element yet.
    bool stackText(std::string& out) const;

private:
    static void finish(LoggingFrame* frame);
    struct Private;
    Private* d;
};

namespace Logging {

/// The part of a function signature before the first "(" (the whole text when there is none):
/// "int f(int a)" gives "int f".
QORCOMMON_API std::string to_function_name(const char* signature);

/// Returns `frame`; a null frame is reported as "__logging_frame__ cannot be nullptr" with the
/// caller's file and line, and null is returned.
QORCOMMON_API LoggingFrame* assert_logging_frame_is_valid(LoggingFrame* frame, const char* file,
                                                          long line);
QORCOMMON_API LoggingFrame* assert_logging_frame_is_valid(LoggingFrame* frame,
                                                          const CodeLocation& location);

} // namespace Logging

/// A logging frame for the length of a C++ scope: begun by the constructor, ended by the
/// destructor unless it was ended before (endWith hands a return value out). A scope begun at a
/// code location ends at the same location, so its end entry names the function too.
/// Thread safety: reentrant.
class LoggingScope {
public:
    LoggingScope(const GC<Logger>& logger, CodeLocation location)
        : m_location(std::move(location)), m_located(true),
          m_frame(logger ? LoggingFrame::begin(logger, m_location) : nullptr) {}
    LoggingScope(const GC<Logger>& logger, const std::string& functionName)
        : m_located(false), m_frame(logger ? LoggingFrame::begin(logger, functionName) : nullptr) {}
    ~LoggingScope() {
        if (!m_frame) return;
        if (m_located) {
            LoggingFrame::end(m_frame, m_location);
        } else {
            LoggingFrame::end(m_frame);
        }
    }
    LoggingScope(const LoggingScope&) = delete;
    LoggingScope& operator=(const LoggingScope&) = delete;

    /// The frame, or null when the scope had no logger or has ended.
    LoggingFrame* frame() const { return m_frame; }
    /// Writes an entry through the frame; false when there is none.
    bool addEntry(Logger::Priority prio, const LogEntry& entry) {
        return m_frame && m_frame->addEntry(prio, entry);
    }
    /// Ends the frame with `retval` as the end entry's text and returns `retval`.
    template <class T> T endWith(T retval, const std::string& retvalText) {
        if (m_frame) {
            if (m_located) {
                LoggingFrame::end_str(m_frame, retvalText, m_location);
            } else {
                LoggingFrame::end_str(m_frame, retvalText);
            }
        }
        m_frame = nullptr;
        return retval;
    }

private:
    CodeLocation m_location;
    bool m_located;
    LoggingFrame* m_frame;
};

} // namespace Core
} // namespace Orvane

/// Opens a logging frame for the enclosing function, ended at scope exit. A null logger logs
/// nothing.
#define QOR_LOGGING_SCOPE(logger)                                                                  \
    ::Orvane::Core::LoggingScope qorLoggingScope((logger), QOR_CODE_LOCATION)
/// Writes an entry through the frame of QOR_LOGGING_SCOPE.
#define QOR_LOG(prio, entry) qorLoggingScope.addEntry((prio), (entry))
/// The frame of QOR_LOGGING_SCOPE; reported as "__logging_frame__ cannot be nullptr" when the
/// scope has none.
#define QOR_LOGGING_FRAME()                                                                        \
    ::Orvane::Core::Logging::assert_logging_frame_is_valid(qorLoggingScope.frame(), __FILE__,      \
                                                           __LINE__)
