// The C face of logging: loggers, frames, entries and listeners.
#include "qorcommon/c/logging.h"

#include "cboundary.h"
#include "chandles.h"
#include "ctext.h"
#include "qorcommon/cwrapper.h"
#include "qorcommon/libraryservices.h"
#include "qorcommon/logging.h"
#include "qorcommon/loggingcwrapper.h"
#include "qorcommon/logginghandler.h"
#include "qorcommon/object.h"

#include <cstdarg>
#include <cstdio>
#include <string>
#include <utility>
#include <vector>

namespace Orvane {
namespace Core {

// ---- CWrapper -----------------------------------------------------------------------------------

namespace CWrapper {

struct orv_LogEntry_Buffer::Private {
    orv_CodeLocation_Buffer location;
};

orv_LogEntry_Buffer::orv_LogEntry_Buffer() : d(new Private) {}

orv_LogEntry_Buffer::~orv_LogEntry_Buffer() {
    delete d;
}

orv_CodeLocation_Buffer& orv_LogEntry_Buffer::locationBuffer() {
    return d->location;
}

orv_LogEntry fromLogEntry(const LogEntry& entry, orv_LogEntry_Buffer& buffer) {
    buffer.clear();
    orv_LogEntry record;
    record.context = static_cast<int>(entry.context());
    record.text = buffer.keep(entry.text());
    record.statusCode = entry.statusCode();
    record.location = fromCodeLocation(entry.location(), buffer.locationBuffer());
    record.customContext = buffer.keep(entry.customContext());
    return record;
}

LogEntry toLogEntry(const orv_LogEntry* record) {
    if (!QOR_CHECK(record)) return LogEntry();
    const auto context = static_cast<LogEntry::Context>(record->context);
    const std::string text = record->text ? record->text : "";
    const std::string customContext = record->customContext ? record->customContext : "";
    const CodeLocation location = toCodeLocation(record->location);
    // An entry without a location shares the empty one instead of holding its own copy.
    if (location.isEmpty()) return LogEntry(context, text, record->statusCode, customContext);
    return LogEntry(context, text, record->statusCode, location, customContext);
}

} // namespace CWrapper

/// Reaches the helper of a logger, which Logger keeps protected.
struct LoggerHelperAccess {
    static const GC<LoggerHelper>& of(const Logger& logger) { return logger.loggerHelper(); }
};

namespace {

// The object behind an orv_LogEntry_ptr: a storage object, so that an object-stack frame can
// own it.
class LogEntryObject : public StorageObject {
public:
    explicit LogEntryObject(LogEntry value) : entry(std::move(value)) {}
    LogEntry entry;
};

// A listener that hands every entry to a C callback.
class CLoggingListener : public LoggingListener {
public:
    CLoggingListener(orv_LoggingListenerCallback callback, void* context)
        : m_callback(callback), m_context(context) {}

    const char* typeName() const override { return "Orvane::Core::CLoggingListener"; }

    void onLogEntry(const std::string& loggerName, Logger::Priority prio, const LogEntry& entry,
                    const StringList& stack, const DateTime& timestamp, double diff) override {
        CWrapper::orv_LogEntry_Buffer buffer;
        std::vector<const char*> frames;
        frames.reserve(stack.size());
        for (const std::string& text : stack)
            frames.push_back(text.c_str());

        orv_LogEvent event;
        event.loggerName = loggerName.c_str();
        event.priority = static_cast<int>(prio);
        event.entry = CWrapper::fromLogEntry(entry, buffer);
        event.stackCount = static_cast<unsigned>(frames.size());
        event.stack = frames.empty() ? nullptr : frames.data();
        timestamp.toTM(event.time);
        event.milliseconds = timestamp.milliseconds();
        event.diff = diff;
        m_callback(&event, m_context);
    }

private:
    orv_LoggingListenerCallback m_callback;
    void* m_context;
};

GC<Logger>* loggerHandle(orv_Logger_ptr logger) {
    return static_cast<GC<Logger>*>(logger.obj);
}

LoggingFrame* frameOf(orv_LoggingFrame_ptr loggingFrame) {
    return static_cast<LoggingFrame*>(loggingFrame.obj);
}

LogEntryObject* entryObject(orv_LogEntry_ptr entry) {
    return static_cast<LogEntryObject*>(entry.obj);
}

GC<LoggingListener>* listenerHandle(orv_LoggingListener_ptr listener) {
    return static_cast<GC<LoggingListener>*>(listener.obj);
}

orv_LoggingFrame_ptr frameHandle(LoggingFrame* frame) {
    return CApi::handleOf<orv_LoggingFrame_ptr>(frame);
}

orv_LogEntry_ptr entryHandle(LogEntry entry) {
    return CApi::construct<orv_LogEntry_ptr, LogEntryObject>(std::move(entry));
}

using CApi::textOf;

// The texts and records that the calling thread was handed, one per function.
struct ResultBuffers {
    CWrapper::orv_LogEntry_Buffer entry;
    std::string entryText;
    std::string loggerName;
};

ResultBuffers& buffers() {
    return CApi::threadBuffers<ResultBuffers>();
}

Logger::Priority priorityOf(int priority) {
    return static_cast<Logger::Priority>(priority);
}

// printf formatting: the length is measured first, then the text is formatted into a buffer of
// exactly that length. A null format is reported as "format" and gives an empty text.
std::string formatted(const char* format, va_list args) {
    if (!QOR_CHECK(format)) return std::string();
    va_list probe;
    va_copy(probe, args);
    const int length = std::vsnprintf(nullptr, 0, format, probe);
    va_end(probe);
    if (length <= 0) return std::string();
    std::string text(static_cast<std::size_t>(length), '\0');
    std::vsnprintf(&text[0], text.size() + 1, format, args);
    return text;
}

// The location of a "2" variant: the function, given by name. No name gives no location.
bool functionLocation(const char* functionName, CodeLocation& out) {
    if (!functionName || !*functionName) return false;
    out = CodeLocation(functionName, CodeLocation::Plain);
    return true;
}

bool frameIsSet(orv_LoggingFrame_ptr loggingFrame) {
    return QOR_CHECK(loggingFrame.obj);
}

bool loggerIsSet(orv_Logger_ptr logger) {
    return QOR_CHECK(logger.obj);
}

bool entryIsSet(orv_LogEntry_ptr entry) {
    return QOR_CHECK(entry.obj);
}

bool listenerIsSet(orv_LoggingListener_ptr listener) {
    return QOR_CHECK(listener.obj);
}

orv_LoggingFrame_ptr beginFrame(orv_Logger_ptr logger, const orv_CodeLocation& location) {
    if (!loggerIsSet(logger)) return frameHandle(nullptr);
    return frameHandle(LoggingFrame::begin(*loggerHandle(logger),
                                           CWrapper::toCodeLocation(location), DateTime::now()));
}

void endFrame(orv_LoggingFrame_ptr loggingFrame, const orv_CodeLocation& location) {
    LoggingFrame::end(frameOf(loggingFrame), CWrapper::toCodeLocation(location), DateTime::now());
}

void endFrameWithText(orv_LoggingFrame_ptr loggingFrame, const orv_CodeLocation& location,
                      const std::string& text) {
    LoggingFrame::end_str(frameOf(loggingFrame), text, CWrapper::toCodeLocation(location),
                          DateTime::now());
}

void endFrameWithText(orv_LoggingFrame_ptr loggingFrame, const char* functionName,
                      const std::string& text) {
    CodeLocation location;
    if (functionLocation(functionName, location))
        LoggingFrame::end_str(frameOf(loggingFrame), text, location, DateTime::now());
    else
        LoggingFrame::end_str(frameOf(loggingFrame), text, DateTime::now());
}

short addEntry(orv_LoggingFrame_ptr loggingFrame, int priority, const LogEntry& entry) {
    return frameOf(loggingFrame)->addEntry(priorityOf(priority), entry, DateTime::now()) ? 1 : 0;
}

LogEntry callEntry(const std::string& text, const CodeLocation* location) {
    return location ? LogEntry(LogEntry::General, text, 0, *location)
                    : LogEntry(LogEntry::General, text, 0);
}

LogEntry variableEntry(const char* name, const char* type, const std::string& value,
                       const CodeLocation* location) {
    if (type) {
        return location ? LogEntry::fromVariable_str(textOf(name), value, type, *location)
                        : LogEntry::fromVariable_str(textOf(name), value, std::string(type));
    }
    return location ? LogEntry::fromVariable_str(textOf(name), value, *location)
                    : LogEntry::fromVariable_str(textOf(name), value);
}

orv_LogEntry emptyLocationRecord(orv_LogEntry record) {
    record.location.file = nullptr;
    record.location.line = -1;
    record.location.function = nullptr;
    record.location.language = orv_Language_None;
    record.location.comment = nullptr;
    record.location.customInfo.count = 0;
    record.location.customInfo.items = nullptr;
    return record;
}

orv_LogEntry fillRecord(orv_LogEntry* target, orv_LogEntry record) {
    if (target) *target = record;
    return record;
}

orv_LogEntry makeRecord(int context, const char* text, long statusCode, const char* customContext) {
    orv_LogEntry record;
    record.context = context;
    record.text = text;
    record.statusCode = statusCode;
    record.customContext = customContext;
    return emptyLocationRecord(record);
}

} // namespace
} // namespace Core
} // namespace Orvane

using namespace Orvane::Core;
using namespace Orvane::Core::CApi;

// ---- frames -------------------------------------------------------------------------------------

QORCOMMON_API orv_LoggingFrame_ptr orv_logging_BeginFrame(orv_Logger_ptr logger,
                                                          orv_CodeLocation location) noexcept {
    return QOR_C_GUARDED(nullHandle<orv_LoggingFrame_ptr>(),
                         [&]() -> orv_LoggingFrame_ptr { return beginFrame(logger, location); });
}

QORCOMMON_API orv_LoggingFrame_ptr orv_logging_BeginFrame1(orv_Logger_ptr logger,
                                                           orv_CodeLocation location) noexcept {
    return QOR_C_GUARDED(nullHandle<orv_LoggingFrame_ptr>(),
                         [&]() -> orv_LoggingFrame_ptr { return beginFrame(logger, location); });
}

QORCOMMON_API orv_LoggingFrame_ptr orv_logging_BeginFrame2(orv_Logger_ptr logger,
                                                           const char* functionName) noexcept {
    return QOR_C_GUARDED(nullHandle<orv_LoggingFrame_ptr>(), [&]() -> orv_LoggingFrame_ptr {
        if (!loggerIsSet(logger)) return frameHandle(nullptr);
        return frameHandle(
            LoggingFrame::begin(*loggerHandle(logger), textOf(functionName), DateTime::now()));
    });
}

QORCOMMON_API void orv_logging_EndFrame(orv_LoggingFrame_ptr loggingFrame,
                                        orv_CodeLocation location) noexcept {
    QOR_C_GUARDED_VOID([&] {
        if (frameIsSet(loggingFrame)) endFrame(loggingFrame, location);
    });
}

QORCOMMON_API void orv_logging_EndFrame1(orv_LoggingFrame_ptr loggingFrame,
                                         orv_CodeLocation location) noexcept {
    QOR_C_GUARDED_VOID([&] {
        if (frameIsSet(loggingFrame)) endFrame(loggingFrame, location);
    });
}

QORCOMMON_API void orv_logging_EndFrame2(orv_LoggingFrame_ptr loggingFrame) noexcept {
    QOR_C_GUARDED_VOID([&] {
        if (frameIsSet(loggingFrame)) LoggingFrame::end(frameOf(loggingFrame), DateTime::now());
    });
}

// Each variadic function starts its arguments in its own body (a va_list cannot be handed on
// before va_start) and hands them to one body that formats them inside the C boundary, reported
// under the C function's own name.
template <class Where>
static void endFrameFromArgs(const char* function, orv_LoggingFrame_ptr loggingFrame,
                             const Where& where, const char* format, va_list args) noexcept {
    CApi::guardedVoid(function, [&] {
        if (frameIsSet(loggingFrame))
            endFrameWithText(loggingFrame, where, formatted(format, args));
    });
}

QORCOMMON_API void orv_logging_EndFrame_retval(orv_LoggingFrame_ptr loggingFrame,
                                               orv_CodeLocation location, const char* format,
                                               ...) noexcept {
    va_list args;
    va_start(args, format);
    endFrameFromArgs(__func__, loggingFrame, location, format, args);
    va_end(args);
}

QORCOMMON_API void orv_logging_EndFrame_retval1(orv_LoggingFrame_ptr loggingFrame,
                                                orv_CodeLocation location, const char* format,
                                                ...) noexcept {
    va_list args;
    va_start(args, format);
    endFrameFromArgs(__func__, loggingFrame, location, format, args);
    va_end(args);
}

QORCOMMON_API void orv_logging_EndFrame_retval2(orv_LoggingFrame_ptr loggingFrame,
                                                const char* functionName, const char* format,
                                                ...) noexcept {
    va_list args;
    va_start(args, format);
    endFrameFromArgs(__func__, loggingFrame, functionName, format, args);
    va_end(args);
}

#define QOR_END_FRAME_RETVAL(type, name, where_type)                                               \
    QORCOMMON_API type name(type value, orv_LoggingFrame_ptr loggingFrame, where_type where,       \
                            const char* format, ...) noexcept {                                    \
        va_list args;                                                                              \
        va_start(args, format);                                                                    \
        endFrameFromArgs(__func__, loggingFrame, where, format, args);                             \
        va_end(args);                                                                              \
        return value;                                                                              \
    }

QOR_END_FRAME_RETVAL(short, orv_logging_EndFrame_retval1_bool, orv_CodeLocation)
QOR_END_FRAME_RETVAL(int, orv_logging_EndFrame_retval1_int, orv_CodeLocation)
QOR_END_FRAME_RETVAL(float, orv_logging_EndFrame_retval1_float, orv_CodeLocation)
QOR_END_FRAME_RETVAL(const char*, orv_logging_EndFrame_retval1_str, orv_CodeLocation)
QOR_END_FRAME_RETVAL(short, orv_logging_EndFrame_retval2_bool, const char*)
QOR_END_FRAME_RETVAL(int, orv_logging_EndFrame_retval2_int, const char*)
QOR_END_FRAME_RETVAL(float, orv_logging_EndFrame_retval2_float, const char*)
QOR_END_FRAME_RETVAL(const char*, orv_logging_EndFrame_retval2_str, const char*)

#undef QOR_END_FRAME_RETVAL

QORCOMMON_API short orv_logging_AddEntry1(orv_LoggingFrame_ptr loggingFrame, int priority,
                                          orv_LogEntry_ptr entry) noexcept {
    return QOR_C_GUARDED(cBool(false), [&]() -> short {
        if (!frameIsSet(loggingFrame) || !entryIsSet(entry)) return 0;
        return addEntry(loggingFrame, priority, entryObject(entry)->entry);
    });
}

QORCOMMON_API short orv_logging_AddEntry2(orv_LoggingFrame_ptr loggingFrame, int priority,
                                          orv_LogEntry entry) noexcept {
    return QOR_C_GUARDED(cBool(false), [&]() -> short {
        if (!frameIsSet(loggingFrame)) return 0;
        return addEntry(loggingFrame, priority, CWrapper::toLogEntry(&entry));
    });
}

QORCOMMON_API short orv_logging_AddCall_short1(orv_LoggingFrame_ptr loggingFrame,
                                               orv_CodeLocation location, const char* format,
                                               ...) noexcept {
    va_list args;
    va_start(args, format);
    const short result = QOR_C_GUARDED(cBool(false), [&]() -> short {
        if (!frameIsSet(loggingFrame)) return 0;
        const std::string text = formatted(format, args);
        const CodeLocation where = CWrapper::toCodeLocation(location);
        return addEntry(loggingFrame, Logger::Hint, callEntry(text, &where));
    });
    va_end(args);
    return result;
}

QORCOMMON_API short orv_logging_AddCall_short2(orv_LoggingFrame_ptr loggingFrame,
                                               const char* functionName, const char* format,
                                               ...) noexcept {
    va_list args;
    va_start(args, format);
    const short result = QOR_C_GUARDED(cBool(false), [&]() -> short {
        if (!frameIsSet(loggingFrame)) return 0;
        const std::string text = formatted(format, args);
        CodeLocation where;
        const bool located = functionLocation(functionName, where);
        return addEntry(loggingFrame, Logger::Hint, callEntry(text, located ? &where : nullptr));
    });
    va_end(args);
    return result;
}

// ---- entry records ------------------------------------------------------------------------------

QORCOMMON_API orv_LogEntry orv_LogEntry_init(orv_LogEntry* record, int context, const char* text,
                                             long statusCode, orv_CodeLocation location,
                                             const char* customContext) noexcept {
    return QOR_C_GUARDED(makeRecord(0, kEmptyText, 0, kEmptyText), [&]() -> orv_LogEntry {
        orv_LogEntry filled = makeRecord(context, text, statusCode, customContext);
        filled.location = location;
        return fillRecord(record, filled);
    });
}

QORCOMMON_API orv_LogEntry orv_LogEntry_init1(orv_LogEntry* record, int context, const char* text,
                                              long statusCode, orv_CodeLocation location,
                                              const char* customContext) noexcept {
    return QOR_C_GUARDED(makeRecord(0, kEmptyText, 0, kEmptyText), [&]() -> orv_LogEntry {
        return orv_LogEntry_init(record, context, text, statusCode, location, customContext);
    });
}

QORCOMMON_API orv_LogEntry orv_LogEntry_init2(orv_LogEntry* record, int context, const char* text,
                                              long statusCode, const char* customContext) noexcept {
    return QOR_C_GUARDED(makeRecord(0, kEmptyText, 0, kEmptyText), [&]() -> orv_LogEntry {
        return fillRecord(record, makeRecord(context, text, statusCode, customContext));
    });
}

// ---- entry objects ------------------------------------------------------------------------------

QORCOMMON_API orv_LogEntry_ptr orv_LogEntry_create(int context, const char* text, long statusCode,
                                                   orv_CodeLocation location,
                                                   const char* customContext) noexcept {
    return QOR_C_GUARDED(nullHandle<orv_LogEntry_ptr>(), [&]() -> orv_LogEntry_ptr {
        const orv_LogEntry record =
            orv_LogEntry_init(nullptr, context, text, statusCode, location, customContext);
        return entryHandle(CWrapper::toLogEntry(&record));
    });
}

QORCOMMON_API orv_LogEntry_ptr orv_LogEntry_create1(int context, const char* text, long statusCode,
                                                    orv_CodeLocation location,
                                                    const char* customContext) noexcept {
    return QOR_C_GUARDED(nullHandle<orv_LogEntry_ptr>(), [&]() -> orv_LogEntry_ptr {
        return orv_LogEntry_create(context, text, statusCode, location, customContext);
    });
}

QORCOMMON_API orv_LogEntry_ptr orv_LogEntry_create2(int context, const char* text, long statusCode,
                                                    const char* customContext) noexcept {
    return QOR_C_GUARDED(nullHandle<orv_LogEntry_ptr>(), [&]() -> orv_LogEntry_ptr {
        return entryHandle(LogEntry(static_cast<LogEntry::Context>(context), textOf(text),
                                    statusCode, textOf(customContext)));
    });
}

QORCOMMON_API orv_LogEntry_ptr orv_LogEntry_createStatus(orv_CodeLocation location, long statusCode,
                                                         const char* text) noexcept {
    return QOR_C_GUARDED(nullHandle<orv_LogEntry_ptr>(), [&]() -> orv_LogEntry_ptr {
        return entryHandle(
            LogEntry::fromStatus(statusCode, textOf(text), CWrapper::toCodeLocation(location)));
    });
}

QORCOMMON_API orv_LogEntry_ptr orv_LogEntry_createStatus1(orv_CodeLocation location,
                                                          long statusCode,
                                                          const char* text) noexcept {
    return QOR_C_GUARDED(nullHandle<orv_LogEntry_ptr>(), [&]() -> orv_LogEntry_ptr {
        return orv_LogEntry_createStatus(location, statusCode, text);
    });
}

QORCOMMON_API orv_LogEntry_ptr orv_LogEntry_createStatus2(long statusCode,
                                                          const char* text) noexcept {
    return QOR_C_GUARDED(nullHandle<orv_LogEntry_ptr>(), [&]() -> orv_LogEntry_ptr {
        return entryHandle(LogEntry::fromStatus(statusCode, textOf(text)));
    });
}

QORCOMMON_API orv_LogEntry_ptr orv_LogEntry_createCustom(orv_CodeLocation location,
                                                         const char* customContext,
                                                         const char* text) noexcept {
    return QOR_C_GUARDED(nullHandle<orv_LogEntry_ptr>(), [&]() -> orv_LogEntry_ptr {
        return entryHandle(LogEntry::fromCustomContext(textOf(customContext), textOf(text),
                                                       CWrapper::toCodeLocation(location)));
    });
}

QORCOMMON_API orv_LogEntry_ptr orv_LogEntry_createCustom1(orv_CodeLocation location,
                                                          const char* customContext,
                                                          const char* text) noexcept {
    return QOR_C_GUARDED(nullHandle<orv_LogEntry_ptr>(), [&]() -> orv_LogEntry_ptr {
        return orv_LogEntry_createCustom(location, customContext, text);
    });
}

QORCOMMON_API orv_LogEntry_ptr orv_LogEntry_createCustom2(const char* customContext,
                                                          const char* text) noexcept {
    return QOR_C_GUARDED(nullHandle<orv_LogEntry_ptr>(), [&]() -> orv_LogEntry_ptr {
        return entryHandle(LogEntry::fromCustomContext(textOf(customContext), textOf(text)));
    });
}

// The bodies of the printf-style constructors: each C function starts its argument list and
// hands it over, so the boundary reports the C function's own name.
static orv_LogEntry_ptr generalEntryFromArgs(const char* function, const orv_CodeLocation* location,
                                             const char* format, va_list args) noexcept {
    return CApi::guarded(function, nullHandle<orv_LogEntry_ptr>(), [&]() -> orv_LogEntry_ptr {
        const std::string text = formatted(format, args);
        if (!location) return entryHandle(LogEntry::fromGeneralMessage(text));
        return entryHandle(LogEntry::fromGeneralMessage(text, CWrapper::toCodeLocation(*location)));
    });
}

static orv_LogEntry_ptr variableEntryFromArgs(const char* function,
                                              const orv_CodeLocation* location, const char* name,
                                              const char* type, const char* format,
                                              va_list args) noexcept {
    return CApi::guarded(function, nullHandle<orv_LogEntry_ptr>(), [&]() -> orv_LogEntry_ptr {
        const std::string value = formatted(format, args);
        if (!location) return entryHandle(variableEntry(name, type, value, nullptr));
        const CodeLocation where = CWrapper::toCodeLocation(*location);
        return entryHandle(variableEntry(name, type, value, &where));
    });
}

QORCOMMON_API orv_LogEntry_ptr orv_LogEntry_createGeneral(orv_CodeLocation location,
                                                          const char* format, ...) noexcept {
    va_list args;
    va_start(args, format);
    const orv_LogEntry_ptr result = generalEntryFromArgs(__func__, &location, format, args);
    va_end(args);
    return result;
}

QORCOMMON_API orv_LogEntry_ptr orv_LogEntry_createGeneral1(orv_CodeLocation location,
                                                           const char* format, ...) noexcept {
    va_list args;
    va_start(args, format);
    const orv_LogEntry_ptr result = generalEntryFromArgs(__func__, &location, format, args);
    va_end(args);
    return result;
}

QORCOMMON_API orv_LogEntry_ptr orv_LogEntry_createGeneral2(const char* format, ...) noexcept {
    va_list args;
    va_start(args, format);
    const orv_LogEntry_ptr result = generalEntryFromArgs(__func__, nullptr, format, args);
    va_end(args);
    return result;
}

QORCOMMON_API orv_LogEntry_ptr orv_LogEntry_createFromVariable(orv_CodeLocation location,
                                                               const char* name, const char* type,
                                                               const char* format, ...) noexcept {
    va_list args;
    va_start(args, format);
    const orv_LogEntry_ptr result =
        variableEntryFromArgs(__func__, &location, name, type, format, args);
    va_end(args);
    return result;
}

QORCOMMON_API orv_LogEntry_ptr orv_LogEntry_createFromVariable1(orv_CodeLocation location,
                                                                const char* name, const char* type,
                                                                const char* format, ...) noexcept {
    va_list args;
    va_start(args, format);
    const orv_LogEntry_ptr result =
        variableEntryFromArgs(__func__, &location, name, type, format, args);
    va_end(args);
    return result;
}

QORCOMMON_API orv_LogEntry_ptr orv_LogEntry_createFromVariable3(const char* name, const char* type,
                                                                const char* format, ...) noexcept {
    va_list args;
    va_start(args, format);
    const orv_LogEntry_ptr result =
        variableEntryFromArgs(__func__, nullptr, name, type, format, args);
    va_end(args);
    return result;
}

QORCOMMON_API orv_LogEntry_ptr orv_LogEntry_fromFunctionName1(orv_CodeLocation location,
                                                              const char* signature,
                                                              const char* text) noexcept {
    return QOR_C_GUARDED(nullHandle<orv_LogEntry_ptr>(), [&]() -> orv_LogEntry_ptr {
        CodeLocation where = CWrapper::toCodeLocation(location);
        where.setFunction(Logging::to_function_name(signature).c_str(), CodeLocation::Plain);
        return entryHandle(LogEntry(LogEntry::General, textOf(text), 0, where));
    });
}

QORCOMMON_API orv_LogEntry_ptr orv_LogEntry_fromFunctionName2(const char* signature,
                                                              const char* text) noexcept {
    return QOR_C_GUARDED(nullHandle<orv_LogEntry_ptr>(), [&]() -> orv_LogEntry_ptr {
        const CodeLocation where(Logging::to_function_name(signature).c_str(), CodeLocation::Plain);
        return entryHandle(LogEntry(LogEntry::General, textOf(text), 0, where));
    });
}

QORCOMMON_API orv_LogEntry orv_LogEntry_get(orv_LogEntry_ptr entry) noexcept {
    return QOR_C_GUARDED(makeRecord(0, kEmptyText, 0, kEmptyText), [&]() -> orv_LogEntry {
        CWrapper::orv_LogEntry_Buffer& buffer = buffers().entry;
        if (!entryIsSet(entry)) return CWrapper::fromLogEntry(LogEntry(), buffer);
        return CWrapper::fromLogEntry(entryObject(entry)->entry, buffer);
    });
}

QORCOMMON_API const char* orv_LogEntry_asString(orv_LogEntry_ptr entry) noexcept {
    return QOR_C_GUARDED(kEmptyText, [&]() -> const char* {
        return keepText(buffers().entryText, entryIsSet(entry)
                                                 ? entryObject(entry)->entry.asString().str()
                                                 : std::string());
    });
}

QORCOMMON_API orv_Object_ptr orv_LogEntry_asObject(orv_LogEntry_ptr entry) noexcept {
    return QOR_C_GUARDED(nullHandle<orv_Object_ptr>(), [&]() -> orv_Object_ptr {
        orv_Object_ptr object;
        object.obj = entryIsSet(entry) ? static_cast<Object*>(entryObject(entry)) : nullptr;
        return object;
    });
}

QORCOMMON_API void orv_LogEntry_destruct(orv_LogEntry_ptr entry) noexcept {
    QOR_C_GUARDED_VOID([&] {
        if (entryIsSet(entry)) delete entryObject(entry);
    });
}

// ---- simple logging -----------------------------------------------------------------------------

QORCOMMON_API orv_Logger_ptr orv_SimpleLogging_init(const orv_ModuleInfo* moduleInfo,
                                                    const char* loggerName) noexcept {
    return QOR_C_GUARDED(nullHandle<orv_Logger_ptr>(), [&]() -> orv_Logger_ptr {
        const ModuleInfo module = moduleInfo ? CWrapper::toModuleInfo(*moduleInfo) : ModuleInfo();
        // The started framework's handler; before start-up, the initial one.
        GC<LoggingHandler> handler = QOR::libraryLoggingHandler();
        if (!handler) handler = Logging::initialHandler();
        return wrapGC<orv_Logger_ptr>(handler->getLogger(textOf(loggerName), module));
    });
}

QORCOMMON_API void orv_SimpleLogging_deinit(orv_Logger_ptr logger) noexcept {
    QOR_C_GUARDED_VOID([&] {
        if (loggerIsSet(logger)) releaseGC<Logger>(logger);
    });
}

QORCOMMON_API orv_LoggingFrame_ptr
orv_SimpleLogging_beginFrame(orv_Logger_ptr logger, orv_CodeLocation location) noexcept {
    return QOR_C_GUARDED(nullHandle<orv_LoggingFrame_ptr>(),
                         [&]() -> orv_LoggingFrame_ptr { return beginFrame(logger, location); });
}

QORCOMMON_API short orv_SimpleLogging_endFrame(orv_LoggingFrame_ptr loggingFrame,
                                               orv_CodeLocation location) noexcept {
    return QOR_C_GUARDED(cBool(false), [&]() -> short {
        if (!frameIsSet(loggingFrame)) return 0;
        endFrame(loggingFrame, location);
        return 1;
    });
}

QORCOMMON_API short orv_SimpleLogging_endFrame_rv(orv_LoggingFrame_ptr loggingFrame,
                                                  orv_CodeLocation location,
                                                  const char* retval) noexcept {
    return QOR_C_GUARDED(cBool(false), [&]() -> short {
        if (!frameIsSet(loggingFrame)) return 0;
        endFrameWithText(loggingFrame, location, textOf(retval));
        return 1;
    });
}

QORCOMMON_API void orv_SimpleLogging_addEntry(orv_LoggingFrame_ptr loggingFrame, int priority,
                                              orv_LogEntry entry) noexcept {
    QOR_C_GUARDED_VOID([&] {
        if (frameIsSet(loggingFrame))
            addEntry(loggingFrame, priority, CWrapper::toLogEntry(&entry));
    });
}

QORCOMMON_API const char* orv_Logger_name(orv_Logger_ptr logger) noexcept {
    return QOR_C_GUARDED(kEmptyText, [&]() -> const char* {
        return keepText(buffers().loggerName, loggerIsSet(logger) && *loggerHandle(logger)
                                                  ? (*loggerHandle(logger))->name()
                                                  : std::string());
    });
}

// ---- listeners ----------------------------------------------------------------------------------

QORCOMMON_API orv_LoggingListener_ptr
orv_LoggingListener_create(orv_LoggingListenerCallback callback, void* context) noexcept {
    return QOR_C_GUARDED(nullHandle<orv_LoggingListener_ptr>(), [&]() -> orv_LoggingListener_ptr {
        if (!QOR_CHECK(callback)) return nullHandle<orv_LoggingListener_ptr>();
        return wrapGC<orv_LoggingListener_ptr>(
            GC<LoggingListener>(new CLoggingListener(callback, context)));
    });
}

QORCOMMON_API void orv_LoggingListener_destruct(orv_LoggingListener_ptr listener) noexcept {
    QOR_C_GUARDED_VOID([&] {
        if (listenerIsSet(listener)) releaseGC<LoggingListener>(listener);
    });
}

QORCOMMON_API short orv_Logger_registerListener(orv_Logger_ptr logger,
                                                orv_LoggingListener_ptr listener) noexcept {
    return QOR_C_GUARDED(cBool(false), [&]() -> short {
        if (!loggerIsSet(logger) || !listenerIsSet(listener) || !*loggerHandle(logger)) return 0;
        const GC<LoggerHelper>& helper = LoggerHelperAccess::of(**loggerHandle(logger));
        return helper->registerListener(*listenerHandle(listener)) ? 1 : 0;
    });
}

QORCOMMON_API short orv_Logger_unregisterListener(orv_Logger_ptr logger,
                                                  orv_LoggingListener_ptr listener) noexcept {
    return QOR_C_GUARDED(cBool(false), [&]() -> short {
        if (!loggerIsSet(logger) || !listenerIsSet(listener) || !*loggerHandle(logger)) return 0;
        const GC<LoggerHelper>& helper = LoggerHelperAccess::of(**loggerHandle(logger));
        return helper->unregisterListener(*listenerHandle(listener)) ? 1 : 0;
    });
}
