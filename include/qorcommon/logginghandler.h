// Logging handlers: the makers of loggers. A handler owns the LoggerHelper that all its loggers
// share (and so their frame stacks and listeners).
#pragma once

#include "qorcommon/export.h"
#include "qorcommon/gc.h"
#include "qorcommon/logging.h"
#include "qorcommon/moduleinfo.h"

#include <cstddef>
#include <iosfwd>
#include <string>

namespace Orvane {
namespace Core {

/// Base of every logging handler.
/// Thread safety: thread-safe.
class QORCOMMON_API LoggingHandler : public GCObject {
public:
    LoggingHandler();
    ~LoggingHandler() override;
    LoggingHandler(const LoggingHandler&) = delete;
    LoggingHandler& operator=(const LoggingHandler&) = delete;

    const char* typeName() const override;
    /// Prepares the handler after construction (reads settings and the like); true when it can
    /// serve. The base has nothing to prepare.
    virtual bool init();

    /// A new logger named `name` for the module; an empty name takes getDefaultName(module).
    GC<Logger> getLogger(const std::string& name, const ModuleInfo& moduleInfo);
    /// A new logger with the default name of the module.
    GC<Logger> getLogger(const ModuleInfo& moduleInfo);

    /// The helper shared by all loggers of this handler.
    const GC<LoggerHelper>& loggerHelper() const;
    /// Makes the handler's later loggers share `helper` (frame stacks and listeners), as the
    /// handlers behind a multiple handler share its helper. A null helper changes nothing.
    void setLoggerHelper(const GC<LoggerHelper>& helper);

protected:
    /// Makes one logger over loggerHelper().
    virtual GC<Logger> makeLogger(const std::string& name, const ModuleInfo& moduleInfo) = 0;
    /// The name of a logger asked for without one: the module's name.
    virtual std::string getDefaultName(const ModuleInfo& moduleInfo) const;

private:
    struct Private;
    Private* d;
};

/// A handler that writes one plain line per entry to a stream (standard error by default):
///
///     <ISO time> <thread id> <priority>: <indent><entry text> [<logger name>] {<file>:<line>}
///
/// for example "2024-01-31T23:59:59.007 4711 Status:   Begin: Parser::run [app] {parser.cpp:12}".
/// The indent is two blanks per frame that encloses the entry's frame; the entry text is
/// LogEntry::asString(); the priority is its long name (its number when it has none); the
/// location part is left out when the entry's location names no file. Lines from several threads
/// never interleave.
/// Thread safety: thread-safe.
class QORCOMMON_API SimpleLoggingHandler : public LoggingHandler {
public:
    /// Writes to standard error.
    SimpleLoggingHandler();
    /// Writes to `stream`, which must outlive the handler and every logger it made.
    explicit SimpleLoggingHandler(std::ostream& stream);
    ~SimpleLoggingHandler() override;

    const char* typeName() const override;

    /// One line (without its line end) in the format above; `depth` is the number of frames on
    /// the writing thread's stack.
    static std::string formatLine(const std::string& loggerName, Logger::Priority prio,
                                  const LogEntry& entry, std::size_t depth,
                                  const DateTime& timestamp, long threadId);

protected:
    GC<Logger> makeLogger(const std::string& name, const ModuleInfo& moduleInfo) override;

private:
    struct Private;
    Private* d;
};

namespace QOR {

/// A logger that discards everything.
/// Thread safety: thread-safe.
class QORCOMMON_API VoidLogger : public Logger {
public:
    VoidLogger(const GC<LoggerHelper>& helper, const std::string& name,
               const ModuleInfo& moduleInfo);
    ~VoidLogger() override;
    const char* typeName() const override;

protected:
    void storeEntry(Priority prio, const LogEntry& entry, const StringList& stack,
                    const DateTime& timestamp, double diff) override;
};

/// A handler whose loggers discard everything (listeners still hear every entry).
/// Thread safety: thread-safe.
class QORCOMMON_API VoidLoggingHandler : public LoggingHandler {
public:
    VoidLoggingHandler();
    ~VoidLoggingHandler() override;
    const char* typeName() const override;

protected:
    GC<Logger> makeLogger(const std::string& name, const ModuleInfo& moduleInfo) override;
};

} // namespace QOR

namespace Logging {

/// The handler that serves before the framework has made the configured one: a
/// SimpleLoggingHandler on standard error unless setInitialHandler gave another.
QORCOMMON_API GC<LoggingHandler> initialHandler();
/// Replaces the initial handler; null brings back the default on the next initialHandler().
QORCOMMON_API void setInitialHandler(const GC<LoggingHandler>& handler);

} // namespace Logging

} // namespace Core
} // namespace Orvane
