// Logging handlers: the base, the plain stream handler, the void handler, and the initial
// handler of the process.
#include "qorcommon/logginghandler.h"

#include "qorcommon/mutex.h"

#include "platform/platform.h"

#include <iostream>
#include <string>
#include <utility>

namespace Orvane {
namespace Core {

namespace {

using Lock = ScopedLock<Platform::Mutex>;

} // namespace

// ---- LoggingHandler -----------------------------------------------------------------------------

struct LoggingHandler::Private {
    GC<LoggerHelper> helper{new LoggerHelper};
};

LoggingHandler::LoggingHandler() : d(new Private) {}

LoggingHandler::~LoggingHandler() {
    delete d;
}

const char* LoggingHandler::typeName() const {
    return "Orvane::Core::LoggingHandler";
}

bool LoggingHandler::init() {
    return true;
}

GC<Logger> LoggingHandler::getLogger(const std::string& name, const ModuleInfo& moduleInfo) {
    return makeLogger(name.empty() ? getDefaultName(moduleInfo) : name, moduleInfo);
}

GC<Logger> LoggingHandler::getLogger(const ModuleInfo& moduleInfo) {
    return getLogger(std::string(), moduleInfo);
}

const GC<LoggerHelper>& LoggingHandler::loggerHelper() const {
    return d->helper;
}

void LoggingHandler::setLoggerHelper(const GC<LoggerHelper>& helper) {
    if (helper) d->helper = helper;
}

std::string LoggingHandler::getDefaultName(const ModuleInfo& moduleInfo) const {
    return moduleInfo.name();
}

// ---- SimpleLoggingHandler -----------------------------------------------------------------------

namespace {

// The stream and its lock, shared by the handler and its loggers, which may outlive it.
class StreamSink : public GCObject {
public:
    explicit StreamSink(std::ostream& stream) : m_stream(stream) {}

    void write(const std::string& line) {
        Lock lock(m_mutex);
        m_stream.write(line.data(), static_cast<std::streamsize>(line.size()));
        m_stream.flush();
    }

private:
    std::ostream& m_stream;
    Platform::Mutex m_mutex;
};

class SimpleLogger : public Logger {
public:
    SimpleLogger(const GC<LoggerHelper>& helper, const std::string& name,
                 const ModuleInfo& moduleInfo, const GC<StreamSink>& sink)
        : Logger(helper, name, moduleInfo), m_sink(sink) {
        // The depth comes from the frame stack itself; the stack list is not read.
        setUsesStack(false);
    }

    const char* typeName() const override { return "Orvane::Core::SimpleLogger"; }

protected:
    void storeEntry(Priority prio, const LogEntry& entry, const StringList&,
                    const DateTime& timestamp, double) override {
        std::string line =
            SimpleLoggingHandler::formatLine(name(), prio, entry, loggerHelper()->stack().size(),
                                             timestamp, Platform::currentThreadId());
        line += '\n';
        m_sink->write(line);
    }

private:
    GC<StreamSink> m_sink;
};

} // namespace

struct SimpleLoggingHandler::Private {
    GC<StreamSink> sink;
};

SimpleLoggingHandler::SimpleLoggingHandler() : SimpleLoggingHandler(std::cerr) {}

SimpleLoggingHandler::SimpleLoggingHandler(std::ostream& stream)
    : d(new Private{GC<StreamSink>(new StreamSink(stream))}) {}

SimpleLoggingHandler::~SimpleLoggingHandler() {
    delete d;
}

const char* SimpleLoggingHandler::typeName() const {
    return "Orvane::Core::SimpleLoggingHandler";
}

std::string SimpleLoggingHandler::formatLine(const std::string& loggerName, Logger::Priority prio,
                                             const LogEntry& entry, std::size_t depth,
                                             const DateTime& timestamp, long threadId) {
    char time[DateTime::ISOBufferSize];
    const std::size_t timeLength = timestamp.writeISODateTime(time, sizeof time);
    std::string line(time, timeLength);
    line += ' ';
    line += std::to_string(threadId);
    line += ' ';
    const char* priority = Logger::priorityName(prio);
    line += *priority ? std::string(priority) : std::to_string(static_cast<int>(prio));
    line += ": ";
    if (depth > 1) line.append(2 * (depth - 1), ' ');
    line += entry.asString().str();
    line += " [";
    line += loggerName;
    line += ']';
    if (!entry.location().file().empty()) {
        line += " {";
        line += entry.location().locationAsString().str();
        line += '}';
    }
    return line;
}

GC<Logger> SimpleLoggingHandler::makeLogger(const std::string& name, const ModuleInfo& moduleInfo) {
    return GC<Logger>(new SimpleLogger(loggerHelper(), name, moduleInfo, d->sink));
}

// ---- the void handler ---------------------------------------------------------------------------

namespace QOR {

VoidLogger::VoidLogger(const GC<LoggerHelper>& helper, const std::string& name,
                       const ModuleInfo& moduleInfo)
    : Logger(helper, name, moduleInfo) {
    setUsesStack(false);
}

VoidLogger::~VoidLogger() = default;

const char* VoidLogger::typeName() const {
    return "Orvane::Core::QOR::VoidLogger";
}

void VoidLogger::storeEntry(Priority, const LogEntry&, const StringList&, const DateTime&, double) {
}

VoidLoggingHandler::VoidLoggingHandler() = default;
VoidLoggingHandler::~VoidLoggingHandler() = default;

const char* VoidLoggingHandler::typeName() const {
    return "Orvane::Core::QOR::VoidLoggingHandler";
}

GC<Logger> VoidLoggingHandler::makeLogger(const std::string& name, const ModuleInfo& moduleInfo) {
    return GC<Logger>(new VoidLogger(loggerHelper(), name, moduleInfo));
}

} // namespace QOR

// ---- the initial handler ------------------------------------------------------------------------

namespace {

struct InitialHandlerSlot {
    Platform::Mutex mutex;
    GC<LoggingHandler> handler;
};

InitialHandlerSlot& initialHandlerSlot() {
    static InitialHandlerSlot slot;
    return slot;
}

} // namespace

namespace Logging {

GC<LoggingHandler> initialHandler() {
    InitialHandlerSlot& slot = initialHandlerSlot();
    Lock lock(slot.mutex);
    if (!slot.handler) slot.handler = new SimpleLoggingHandler();
    return slot.handler;
}

void setInitialHandler(const GC<LoggingHandler>& handler) {
    InitialHandlerSlot& slot = initialHandlerSlot();
    GC<LoggingHandler> previous;
    {
        Lock lock(slot.mutex);
        previous = slot.handler;
        slot.handler = handler;
    }
    // The old handler may go here: outside the lock, since its destruction may log.
}

} // namespace Logging

} // namespace Core
} // namespace Orvane
