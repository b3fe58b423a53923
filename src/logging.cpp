// Loggers, log elements, listeners, the per-thread frame stacks and logging frames.
#include "qorcommon/logging.h"

#include "qorcommon/mutex.h"
#include "qorcommon/threadmanagedobject.h"

#include "platform/platform.h"

#include <algorithm>
#include <atomic>
#include <cstdio>
#include <memory>
#include <string>
#include <utility>

namespace Orvane {
namespace Core {

namespace {

using Lock = ScopedLock<Platform::Mutex>;

// Handed to storeEntry when nobody reads the stack list; never changed, so threads share it.
const StringList& emptyStack() {
    static const StringList* const empty = new StringList;
    return *empty;
}

} // namespace

// ---- Logger -------------------------------------------------------------------------------------

struct Logger::Private {
    GC<LoggerHelper> helper;
    std::string name;
    ModuleInfo moduleInfo;
    mutable Platform::Mutex lastLock; // guards `last`, which every writing thread updates
    GC<LogElement> last;
    ErrorInfoBuilder* builder = nullptr;
    bool usesStack = true;
};

Logger::Logger(const GC<LoggerHelper>& helper, const std::string& name,
               const ModuleInfo& moduleInfo)
    : d(new Private) {
    // A logger always has a helper, so that frames and listeners work without null checks.
    d->helper = helper ? helper : GC<LoggerHelper>(new LoggerHelper);
    d->name = name;
    d->moduleInfo = moduleInfo;
}

Logger::~Logger() {
    delete d;
}

const char* Logger::typeName() const {
    return "Orvane::Core::Logger";
}

void Logger::addEntry(Priority prio, const LogEntry& entry, const DateTime& timestamp,
                      double diff) {
    // The stack list costs a string per frame; it is built only when someone reads it.
    if (!d->usesStack && !d->helper->hasListeners()) {
        addEntry(prio, entry, emptyStack(), timestamp, diff);
        return;
    }
    StringList stack;
    std::string text;
    for (const LoggingFrame* frame : d->helper->stack()) {
        if (frame->stackText(text)) stack.append(text);
    }
    addEntry(prio, entry, stack, timestamp, diff);
}

void Logger::addEntry(Priority prio, const LogEntry& entry, const StringList& stack,
                      const DateTime& timestamp, double diff) {
    d->helper->callListeners(d->name, prio, entry, stack, timestamp, diff);
    {
        Lock lock(d->lastLock);
        if (d->last)
            d->last->init(prio, entry, timestamp);
        else
            d->last = new LogElement(prio, entry, timestamp);
    }
    storeEntry(prio, entry, stack, timestamp, diff);
}

void Logger::storeBatch(const std::list<GC<LogElement>>& elements) {
    for (const GC<LogElement>& element : elements) {
        if (element)
            storeEntry(element->prio(), element->entry(), emptyStack(), element->timestamp(), 0.0);
    }
}

void Logger::forwardEntry(Priority prio, const LogEntry& entry, const StringList& stack,
                          const DateTime& timestamp, double diff) {
    storeEntry(prio, entry, stack, timestamp, diff);
}

bool Logger::pushFrame(LoggingFrame* frame) {
    return d->helper->pushFrame(frame);
}

bool Logger::popFrame(LoggingFrame* frame) {
    return d->helper->popFrame(frame);
}

LoggingFrame* Logger::currentFrame() const {
    return d->helper->currentFrame();
}

const std::string& Logger::name() const {
    return d->name;
}

const ModuleInfo& Logger::moduleInfo() const {
    return d->moduleInfo;
}

GC<LogElement> Logger::elementTree() const {
    Lock lock(d->lastLock);
    return d->last ? GC<LogElement>(new LogElement(*d->last)) : GC<LogElement>();
}

void Logger::setErrorInfoBuilder(ErrorInfoBuilder* builder) {
    d->builder = builder;
}

ErrorInfoBuilder* Logger::errorInfoBuilder() const {
    return d->builder;
}

ErrorInfo Logger::getErrorInfo() const {
    const GC<LogElement> last = elementTree();
    return last ? last->buildErrorInfo(d->moduleInfo) : ErrorInfo();
}

const char* Logger::priorityName(Priority prio) {
    switch (prio) {
    case Info:
        return "Info";
    case Hint:
        return "Hint";
    case Status:
        return "Status";
    case Message:
        return "Message";
    case Warning:
        return "Warning";
    case Error:
        return "Error";
    case FatalError:
        return "FatalError";
    }
    return "";
}

const char* Logger::priorityPrefix(Priority prio) {
    switch (prio) {
    case Info:
        return "Info: ";
    case Hint:
        return "Hint: ";
    case Status:
        return "Status: ";
    case Message:
        return "Message: ";
    case Warning:
        return "Warning: ";
    case Error:
        return "Error: ";
    case FatalError:
        return "Fatal Error: ";
    }
    return "";
}

const GC<LoggerHelper>& Logger::loggerHelper() const {
    return d->helper;
}

void Logger::setUsesStack(bool usesStack) {
    d->usesStack = usesStack;
}

bool Logger::usesStack() const {
    return d->usesStack;
}

// ---- LogElement ---------------------------------------------------------------------------------

struct LogElement::Private {
    Logger::Priority prio;
    LogEntry entry;
    DateTime timestamp;
    GC<LogElement> parent;
    std::list<GC<LogElement>> subElements;
};

LogElement::LogElement(Logger::Priority prio, const LogEntry& entry, const DateTime& timestamp,
                       const GC<LogElement>& parent)
    : d(new Private{prio, entry, timestamp, parent, {}}) {}

LogElement::LogElement(const LogElement& other) = default;
LogElement::~LogElement() = default;

const char* LogElement::typeName() const {
    return "Orvane::Core::LogElement";
}

void LogElement::init(Logger::Priority prio, const LogEntry& entry, const DateTime& timestamp) {
    Private* p = d.write();
    p->prio = prio;
    p->entry = entry;
    p->timestamp = timestamp;
}

Logger::Priority LogElement::prio() const {
    return d->prio;
}

const LogEntry& LogElement::entry() const {
    return d->entry;
}

const DateTime& LogElement::timestamp() const {
    return d->timestamp;
}

const GC<LogElement>& LogElement::parent() const {
    return d->parent;
}

std::list<GC<LogElement>>& LogElement::subElements() {
    return d.write()->subElements;
}

const std::list<GC<LogElement>>& LogElement::subElements() const {
    return d->subElements;
}

ErrorInfo LogElement::buildErrorInfo(const ModuleInfo& moduleInfo) const {
    const LogEntry& entry = d->entry;
    const std::string text = entry.context() == LogEntry::Custom
                                 ? entry.customContext() + "=" + entry.text()
                                 : entry.text();
    const long code = entry.statusCode() != 0 ? entry.statusCode() : -1;
    CustomInfo annotations;
    annotations.set("log_priority", Logger::priorityName(d->prio));
    annotations.set("log_context", std::to_string(static_cast<int>(entry.context())));
    return ErrorInfo(moduleInfo, entry.location(), code, text, std::string(), annotations,
                     d->timestamp);
}

// ---- LoggingListener ----------------------------------------------------------------------------

LoggingListener::LoggingListener() = default;
LoggingListener::~LoggingListener() = default;

const char* LoggingListener::typeName() const {
    return "Orvane::Core::LoggingListener";
}

// ---- LoggerHelper -------------------------------------------------------------------------------

namespace {

using ListenerList = std::vector<GC<LoggingListener>>;

} // namespace

struct LoggerHelper::Private {
    ThreadLocalVariable<FrameStack> frames;

    // Copy on write: callers take the current list under the lock and call the listeners
    // without it, so a listener may register or unregister listeners, and registration never
    // waits for a listener to return. A published list is never changed.
    mutable Platform::Mutex listenerLock;
    std::shared_ptr<const ListenerList> listeners;
    std::atomic<bool> hasListeners{false};

    std::shared_ptr<const ListenerList> snapshot() const {
        Lock lock(listenerLock);
        return listeners;
    }
};

LoggerHelper::LoggerHelper() : d(new Private) {}

LoggerHelper::~LoggerHelper() {
    delete d;
}

const char* LoggerHelper::typeName() const {
    return "Orvane::Core::LoggerHelper";
}

bool LoggerHelper::pushFrame(LoggingFrame* frame) {
    d->frames.get().push_back(frame);
    return true;
}

bool LoggerHelper::popFrame(LoggingFrame* frame) {
    FrameStack& frames = d->frames.get();
    if (frames.empty() || frames.back() != frame) {
        std::fputs("frames stack has been corrupted\n", stdout);
        std::fflush(stdout);
        return false;
    }
    frames.pop_back();
    return true;
}

LoggingFrame* LoggerHelper::currentFrame() {
    FrameStack& frames = d->frames.get();
    return frames.empty() ? nullptr : frames.back();
}

LoggerHelper::FrameStack& LoggerHelper::stack() {
    return d->frames.get();
}

bool LoggerHelper::registerListener(const GC<LoggingListener>& listener) {
    if (!listener) return false;
    Lock lock(d->listenerLock);
    auto next = d->listeners ? std::make_shared<ListenerList>(*d->listeners)
                             : std::make_shared<ListenerList>();
    if (std::find(next->begin(), next->end(), listener) != next->end()) return false;
    next->push_back(listener);
    d->listeners = std::move(next);
    d->hasListeners.store(true, std::memory_order_release);
    return true;
}

bool LoggerHelper::unregisterListener(const GC<LoggingListener>& listener) {
    std::shared_ptr<const ListenerList> previous;
    {
        Lock lock(d->listenerLock);
        if (!d->listeners) return false;
        auto next = std::make_shared<ListenerList>(*d->listeners);
        const auto it = std::find(next->begin(), next->end(), listener);
        if (it == next->end()) return false;
        next->erase(it);
        d->hasListeners.store(!next->empty(), std::memory_order_release);
        previous = std::move(d->listeners);
        d->listeners = std::move(next);
    }
    // The old list may hold the last use of the listener: it goes outside the lock, since a
    // listener's destructor may use this helper.
    previous.reset();
    return true;
}

std::list<GC<LoggingListener>> LoggerHelper::listeners() const {
    const auto snapshot = d->snapshot();
    if (!snapshot) return {};
    return std::list<GC<LoggingListener>>(snapshot->begin(), snapshot->end());
}

bool LoggerHelper::hasListeners() const {
    return d->hasListeners.load(std::memory_order_acquire);
}

void LoggerHelper::foreachListeners(
    const std::function<bool(const GC<LoggingListener>&)>& visitor) const {
    if (!visitor) return;
    const auto snapshot = d->snapshot();
    if (!snapshot) return;
    for (const GC<LoggingListener>& listener : *snapshot) {
        if (!visitor(listener)) return;
    }
}

void LoggerHelper::callListeners(const std::string& loggerName, Logger::Priority prio,
                                 const LogEntry& entry, const StringList& stack,
                                 const DateTime& timestamp, double diff) const {
    if (!hasListeners()) return;
    const auto snapshot = d->snapshot();
    if (!snapshot) return;
    for (const GC<LoggingListener>& listener : *snapshot) {
        listener->onLogEntry(loggerName, prio, entry, stack, timestamp, diff);
    }
}

// ---- LoggingFrame -------------------------------------------------------------------------------

struct LoggingFrame::Private {
    GC<Logger> logger;
    DateTime last;
    // The entries written through the frame. Their LogElement objects are made when someone
    // asks for them (elements()): most frames are never asked, and three allocations per entry
    // would be most of the cost of logging.
    struct Written {
        Logger::Priority prio;
        LogEntry entry;
        DateTime timestamp;
    };
    std::vector<Written> written;
    mutable std::list<GC<LogElement>> elements; // the first `made` entries of `written`
    mutable std::size_t made = 0;
    // The frame's part of every stack list, made on first need: it never changes once the
    // first element exists.
    mutable std::string stackText;
    mutable bool stackTextReady = false;
    // On the calling thread's stack (set by the constructor, cleared when popped).
    bool pushed = false;
    // Ended while frames above it were still open: it stays on the stack, as the rule for a
    // corrupted stack says, and is deleted once it is back on top.
    bool ended = false;
};

LoggingFrame::LoggingFrame(const GC<Logger>& logger, const DateTime& start) : d(new Private) {
    // Room for begin, one entry and end without growing.
    d->written.reserve(4);
    d->logger = logger;
    d->last = start;
    if (d->logger) d->pushed = d->logger->pushFrame(this);
}

LoggingFrame::~LoggingFrame() {
    if (d->pushed && !d->logger->popFrame(this)) {
        // Deleted directly while not on top: the stack must not keep a pointer to it.
        LoggerHelper::FrameStack& frames = d->logger->loggerHelper()->stack();
        frames.erase(std::remove(frames.begin(), frames.end(), this), frames.end());
    }
    delete d;
}

const char* LoggingFrame::typeName() const {
    return "Orvane::Core::LoggingFrame";
}

void LoggingFrame::finish(LoggingFrame* frame) {
    const GC<Logger> logger = frame->d->logger;
    if (!logger) {
        delete frame;
        return;
    }
    if (!logger->popFrame(frame)) {
        frame->d->ended = true;
        return;
    }
    frame->d->pushed = false;
    delete frame;
    // Frames ended out of order below it can go now.
    while (LoggingFrame* top = logger->currentFrame()) {
        if (!top->d->ended) break;
        logger->popFrame(top);
        top->d->pushed = false;
        delete top;
    }
}

LoggingFrame* LoggingFrame::begin(const GC<Logger>& logger, const std::string& functionName,
                                  const DateTime& timestamp) {
    if (!QOR_CHECK(logger)) return nullptr;
    auto* frame = new LoggingFrame(logger, timestamp);
    frame->addEntry(Logger::Status, LogEntry(LogEntry::BeginLogging, functionName, 0), timestamp);
    return frame;
}

LoggingFrame* LoggingFrame::begin(const GC<Logger>& logger, const CodeLocation& location,
                                  const DateTime& timestamp) {
    if (!QOR_CHECK(logger)) return nullptr;
    auto* frame = new LoggingFrame(logger, timestamp);
    frame->addEntry(Logger::Status, LogEntry(LogEntry::BeginLogging, 0, location), timestamp);
    return frame;
}

void LoggingFrame::end(const DateTime& timestamp) {
    addEntry(Logger::Status, LogEntry(LogEntry::EndLogging, 0), timestamp);
}

void LoggingFrame::end(const CodeLocation& location, const DateTime& timestamp) {
    addEntry(Logger::Status, LogEntry(LogEntry::EndLogging, 0, location), timestamp);
}

const std::string& LoggingFrame::end_str(const std::string& retval, const DateTime& timestamp) {
    addEntry(Logger::Status, LogEntry(LogEntry::EndLogging, retval, 0), timestamp);
    return retval;
}

const std::string& LoggingFrame::end_str(const std::string& retval, const CodeLocation& location,
                                         const DateTime& timestamp) {
    addEntry(Logger::Status, LogEntry(LogEntry::EndLogging, retval, 0, location), timestamp);
    return retval;
}

namespace {

bool frameIsValid(LoggingFrame* frame) {
    if (frame) return true;
    QOR_ASSERT_FAILED("__logging_frame__ cannot be nullptr");
    return false;
}

} // namespace

void LoggingFrame::end(LoggingFrame* frame, const DateTime& timestamp) {
    if (!frameIsValid(frame)) return;
    frame->end(timestamp);
    finish(frame);
}

void LoggingFrame::end(LoggingFrame* frame, const CodeLocation& location,
                       const DateTime& timestamp) {
    if (!frameIsValid(frame)) return;
    frame->end(location, timestamp);
    finish(frame);
}

const std::string& LoggingFrame::end_str(LoggingFrame* frame, const std::string& retval,
                                         const DateTime& timestamp) {
    if (!frameIsValid(frame)) return retval;
    frame->end_str(retval, timestamp);
    finish(frame);
    return retval;
}

const std::string& LoggingFrame::end_str(LoggingFrame* frame, const std::string& retval,
                                         const CodeLocation& location, const DateTime& timestamp) {
    if (!frameIsValid(frame)) return retval;
    frame->end_str(retval, location, timestamp);
    finish(frame);
    return retval;
}

namespace {

bool sameFields(const DateTime& a, const DateTime& b) {
    return a.isEmpty() == b.isEmpty() && a.years() == b.years() && a.months() == b.months() &&
           a.days() == b.days() && a.hours() == b.hours() && a.minutes() == b.minutes() &&
           a.seconds() == b.seconds() && a.milliseconds() == b.milliseconds() &&
           a.daylightSaving() == b.daylightSaving();
}

// Seconds from `from` to `to`. Equal values need no conversion: a time made from calendar
// fields converts through the C library's local-time rules, which costs microseconds, and
// entries often share one time stamp (a frame's begin entry always does).
double secondsBetween(const DateTime& from, const DateTime& to) {
    if (sameFields(from, to)) return 0.0;
    return to.asSeconds() - from.asSeconds();
}

} // namespace

bool LoggingFrame::addEntry(Logger::Priority prio, const LogEntry& entry,
                            const DateTime& timestamp) {
    const double diff = secondsBetween(d->last, timestamp);
    d->last = timestamp;
    d->written.push_back({prio, entry, timestamp});
    if (d->logger) d->logger->addEntry(prio, entry, timestamp, diff);
    return true;
}

const GC<Logger>& LoggingFrame::logger() const {
    return d->logger;
}

const DateTime& LoggingFrame::lastEntryTime() const {
    return d->last;
}

const std::list<GC<LogElement>>& LoggingFrame::elements() const {
    for (; d->made < d->written.size(); ++d->made) {
        const Private::Written& w = d->written[d->made];
        d->elements.emplace_back(new LogElement(w.prio, w.entry, w.timestamp));
    }
    return d->elements;
}

bool LoggingFrame::stackText(std::string& out) const {
    if (d->written.empty()) return false;
    if (!d->stackTextReady) {
        d->stackText = d->written.front().entry.location().asString().str();
        d->stackTextReady = true;
    }
    out = d->stackText;
    return true;
}

// ---- Logging ------------------------------------------------------------------------------------

namespace Logging {

std::string to_function_name(const char* signature) {
    if (!QOR_CHECK(signature)) return std::string();
    const StringList strl = StringList::split(signature, "(");
    if (!QOR_CHECK(strl.size())) return std::string();
    return strl.front();
}

LoggingFrame* assert_logging_frame_is_valid(LoggingFrame* frame, const char* file, long line) {
    if (frame) return frame;
    reportAssertion("__logging_frame__ cannot be nullptr", file ? file : "",
                    static_cast<int>(line));
    return nullptr;
}

LoggingFrame* assert_logging_frame_is_valid(LoggingFrame* frame, const CodeLocation& location) {
    return assert_logging_frame_is_valid(frame, location.file().c_str(), location.line());
}

} // namespace Logging

} // namespace Core
} // namespace Orvane
