/* Logging for C callers: loggers, function scopes (frames) and log entries.
 *
 *     orv_Logger_ptr logger = orv_SimpleLogging_init(&module, NULL);
 *
 *     int parse(orv_Logger_ptr logger, const char* text) {
 *         orv_LoggingFrame_ptr frame = orv_logging_BeginFrame2(logger, "parse");
 *         orv_logging_AddCall_short2(frame, "parse", "text='%s'", text);
 *         ...
 *         return orv_logging_EndFrame_retval2_int(count, frame, "parse", "%d", count);
 *     }
 *
 *     orv_SimpleLogging_deinit(logger);
 *
 * The "1" variants take a code location record and use it as the entry's location; the "2"
 * variants take a plain function name instead. Times are taken when a function is called.
 * Formats follow printf. A frame must be ended, exactly once, on the thread that began it, the
 * innermost frame first.
 *
 * Null handles are reported with the texts "logger.obj", "loggingFrame.obj", "entry.obj" and
 * "listener.obj"; the call then does nothing and returns a null handle, 0, or (for the _retval
 * functions) the value it was given. Valid C99. */
#ifndef QORCOMMON_C_LOGGING_H
#define QORCOMMON_C_LOGGING_H

#include "qorcommon/c/errorinfo.h"
#include "qorcommon/c/export.h"
#include "qorcommon/c/object.h"

#include <time.h>

#if defined(__GNUC__) && defined(_WIN32)
#define ORV_LOGGING_PRINTF(fmt, args) __attribute__((format(gnu_printf, fmt, args)))
#elif defined(__GNUC__)
#define ORV_LOGGING_PRINTF(fmt, args) __attribute__((format(printf, fmt, args)))
#else
#define ORV_LOGGING_PRINTF(fmt, args)
#endif

QORCOMMON_EXTERN_C_BEGIN

/* A logger (a counted handle on it: orv_SimpleLogging_deinit lets it go). */
typedef struct {
    void* obj;
} orv_Logger_ptr;

/* A function scope: from orv_logging_BeginFrame* to the matching orv_logging_EndFrame*. */
typedef struct {
    void* obj;
} orv_LoggingFrame_ptr;

/* A log entry object made by orv_LogEntry_create*; freed by orv_LogEntry_destruct or with the
 * object-stack frame it is handed to (orv_LogEntry_asObject). */
typedef struct {
    void* obj;
} orv_LogEntry_ptr;

/* A listener made by orv_LoggingListener_create; freed by orv_LoggingListener_destruct. */
typedef struct {
    void* obj;
} orv_LoggingListener_ptr;

/* Contexts of an entry (LogEntry::Context). */
enum {
    orv_LogContext_BeginLogging = 0,
    orv_LogContext_General = 1,
    orv_LogContext_Status = 2,
    orv_LogContext_Custom = 3,
    orv_LogContext_EndLogging = 4
};

/* Priorities (Logger::Priority). */
enum {
    orv_LogPriority_Info = 1,
    orv_LogPriority_Hint = 2,
    orv_LogPriority_Status = 3,
    orv_LogPriority_Message = 4,
    orv_LogPriority_Warning = 5,
    orv_LogPriority_Error = 6,
    orv_LogPriority_FatalError = 7
};

/* A log entry as plain data. Null texts given to the library read as empty texts; texts that the
 * library writes are never null. */
typedef struct orv_LogEntry {
    int context;
    const char* text;
    long statusCode;
    orv_CodeLocation location;
    const char* customContext;
} orv_LogEntry;

/* ---- frames ------------------------------------------------------------------------------- */

QORCOMMON_API orv_LoggingFrame_ptr
orv_logging_BeginFrame(orv_Logger_ptr logger, orv_CodeLocation location) QORCOMMON_NOEXCEPT;
QORCOMMON_API orv_LoggingFrame_ptr
orv_logging_BeginFrame1(orv_Logger_ptr logger, orv_CodeLocation location) QORCOMMON_NOEXCEPT;
/* The begin entry's text is the function name. */
QORCOMMON_API orv_LoggingFrame_ptr
orv_logging_BeginFrame2(orv_Logger_ptr logger, const char* functionName) QORCOMMON_NOEXCEPT;

/* Write the end entry (no text) and free the frame. */
QORCOMMON_API void orv_logging_EndFrame(orv_LoggingFrame_ptr loggingFrame,
                                        orv_CodeLocation location) QORCOMMON_NOEXCEPT;
QORCOMMON_API void orv_logging_EndFrame1(orv_LoggingFrame_ptr loggingFrame,
                                         orv_CodeLocation location) QORCOMMON_NOEXCEPT;
QORCOMMON_API void orv_logging_EndFrame2(orv_LoggingFrame_ptr loggingFrame) QORCOMMON_NOEXCEPT;

/* Write an end entry whose text is the formatted return value and free the frame. */
QORCOMMON_API void orv_logging_EndFrame_retval(orv_LoggingFrame_ptr loggingFrame,
                                               orv_CodeLocation location, const char* format,
                                               ...) QORCOMMON_NOEXCEPT ORV_LOGGING_PRINTF(3, 4);
QORCOMMON_API void orv_logging_EndFrame_retval1(orv_LoggingFrame_ptr loggingFrame,
                                                orv_CodeLocation location, const char* format,
                                                ...) QORCOMMON_NOEXCEPT ORV_LOGGING_PRINTF(3, 4);
QORCOMMON_API void orv_logging_EndFrame_retval2(orv_LoggingFrame_ptr loggingFrame,
                                                const char* functionName, const char* format,
                                                ...) QORCOMMON_NOEXCEPT ORV_LOGGING_PRINTF(3, 4);

/* As orv_logging_EndFrame_retval1 / _retval2, returning `value` unchanged, so that a function
 * ends its frame and returns in one expression. Booleans are 16-bit, as everywhere in the C
 * face. */
QORCOMMON_API short orv_logging_EndFrame_retval1_bool(short value,
                                                      orv_LoggingFrame_ptr loggingFrame,
                                                      orv_CodeLocation location, const char* format,
                                                      ...) QORCOMMON_NOEXCEPT
    ORV_LOGGING_PRINTF(4, 5);
QORCOMMON_API int orv_logging_EndFrame_retval1_int(int value, orv_LoggingFrame_ptr loggingFrame,
                                                   orv_CodeLocation location, const char* format,
                                                   ...) QORCOMMON_NOEXCEPT ORV_LOGGING_PRINTF(4, 5);
QORCOMMON_API float orv_logging_EndFrame_retval1_float(float value,
                                                       orv_LoggingFrame_ptr loggingFrame,
                                                       orv_CodeLocation location,
                                                       const char* format, ...) QORCOMMON_NOEXCEPT
    ORV_LOGGING_PRINTF(4, 5);
QORCOMMON_API const char*
orv_logging_EndFrame_retval1_str(const char* value, orv_LoggingFrame_ptr loggingFrame,
                                 orv_CodeLocation location, const char* format,
                                 ...) QORCOMMON_NOEXCEPT ORV_LOGGING_PRINTF(4, 5);
QORCOMMON_API short orv_logging_EndFrame_retval2_bool(short value,
                                                      orv_LoggingFrame_ptr loggingFrame,
                                                      const char* functionName, const char* format,
                                                      ...) QORCOMMON_NOEXCEPT
    ORV_LOGGING_PRINTF(4, 5);
QORCOMMON_API int orv_logging_EndFrame_retval2_int(int value, orv_LoggingFrame_ptr loggingFrame,
                                                   const char* functionName, const char* format,
                                                   ...) QORCOMMON_NOEXCEPT ORV_LOGGING_PRINTF(4, 5);
QORCOMMON_API float orv_logging_EndFrame_retval2_float(float value,
                                                       orv_LoggingFrame_ptr loggingFrame,
                                                       const char* functionName, const char* format,
                                                       ...) QORCOMMON_NOEXCEPT
    ORV_LOGGING_PRINTF(4, 5);
QORCOMMON_API const char*
orv_logging_EndFrame_retval2_str(const char* value, orv_LoggingFrame_ptr loggingFrame,
                                 const char* functionName, const char* format,
                                 ...) QORCOMMON_NOEXCEPT ORV_LOGGING_PRINTF(4, 5);

/* Write an entry through the frame; 1 when written, 0 after a failed check. */
QORCOMMON_API short orv_logging_AddEntry1(orv_LoggingFrame_ptr loggingFrame, int priority,
                                          orv_LogEntry_ptr entry) QORCOMMON_NOEXCEPT;
QORCOMMON_API short orv_logging_AddEntry2(orv_LoggingFrame_ptr loggingFrame, int priority,
                                          orv_LogEntry entry) QORCOMMON_NOEXCEPT;

/* Write a General entry of priority Hint, status 0, whose text is the formatted description of
 * a call, located at `location` (or at the function `functionName`). */
QORCOMMON_API short orv_logging_AddCall_short1(orv_LoggingFrame_ptr loggingFrame,
                                               orv_CodeLocation location, const char* format,
                                               ...) QORCOMMON_NOEXCEPT ORV_LOGGING_PRINTF(3, 4);
QORCOMMON_API short orv_logging_AddCall_short2(orv_LoggingFrame_ptr loggingFrame,
                                               const char* functionName, const char* format,
                                               ...) QORCOMMON_NOEXCEPT ORV_LOGGING_PRINTF(3, 4);

/* ---- entry records ------------------------------------------------------------------------ */

/* Fill `record` (which may be null) and return the filled record. Nothing is copied: the record
 * points to the caller's texts. */
QORCOMMON_API orv_LogEntry orv_LogEntry_init(orv_LogEntry* record, int context, const char* text,
                                             long statusCode, orv_CodeLocation location,
                                             const char* customContext) QORCOMMON_NOEXCEPT;
QORCOMMON_API orv_LogEntry orv_LogEntry_init1(orv_LogEntry* record, int context, const char* text,
                                              long statusCode, orv_CodeLocation location,
                                              const char* customContext) QORCOMMON_NOEXCEPT;
/* An empty location (line -1). */
QORCOMMON_API orv_LogEntry orv_LogEntry_init2(orv_LogEntry* record, int context, const char* text,
                                              long statusCode,
                                              const char* customContext) QORCOMMON_NOEXCEPT;

/* ---- entry objects ------------------------------------------------------------------------ */

QORCOMMON_API orv_LogEntry_ptr orv_LogEntry_create(int context, const char* text, long statusCode,
                                                   orv_CodeLocation location,
                                                   const char* customContext) QORCOMMON_NOEXCEPT;
QORCOMMON_API orv_LogEntry_ptr orv_LogEntry_create1(int context, const char* text, long statusCode,
                                                    orv_CodeLocation location,
                                                    const char* customContext) QORCOMMON_NOEXCEPT;
QORCOMMON_API orv_LogEntry_ptr orv_LogEntry_create2(int context, const char* text, long statusCode,
                                                    const char* customContext) QORCOMMON_NOEXCEPT;
/* A Status entry. */
QORCOMMON_API orv_LogEntry_ptr orv_LogEntry_createStatus(orv_CodeLocation location, long statusCode,
                                                         const char* text) QORCOMMON_NOEXCEPT;
QORCOMMON_API orv_LogEntry_ptr orv_LogEntry_createStatus1(orv_CodeLocation location,
                                                          long statusCode,
                                                          const char* text) QORCOMMON_NOEXCEPT;
QORCOMMON_API orv_LogEntry_ptr orv_LogEntry_createStatus2(long statusCode,
                                                          const char* text) QORCOMMON_NOEXCEPT;
/* A Custom entry, status 0. */
QORCOMMON_API orv_LogEntry_ptr orv_LogEntry_createCustom(orv_CodeLocation location,
                                                         const char* customContext,
                                                         const char* text) QORCOMMON_NOEXCEPT;
QORCOMMON_API orv_LogEntry_ptr orv_LogEntry_createCustom1(orv_CodeLocation location,
                                                          const char* customContext,
                                                          const char* text) QORCOMMON_NOEXCEPT;
QORCOMMON_API orv_LogEntry_ptr orv_LogEntry_createCustom2(const char* customContext,
                                                          const char* text) QORCOMMON_NOEXCEPT;
/* A General entry with the formatted text. */
QORCOMMON_API orv_LogEntry_ptr orv_LogEntry_createGeneral(orv_CodeLocation location,
                                                          const char* format,
                                                          ...) QORCOMMON_NOEXCEPT
    ORV_LOGGING_PRINTF(2, 3);
QORCOMMON_API orv_LogEntry_ptr orv_LogEntry_createGeneral1(orv_CodeLocation location,
                                                           const char* format,
                                                           ...) QORCOMMON_NOEXCEPT
    ORV_LOGGING_PRINTF(2, 3);
QORCOMMON_API orv_LogEntry_ptr orv_LogEntry_createGeneral2(const char* format,
                                                           ...) QORCOMMON_NOEXCEPT
    ORV_LOGGING_PRINTF(1, 2);
/* A General entry "name='value' (type)" with the formatted value, or "name='value'" when the
 * type is null. */
QORCOMMON_API orv_LogEntry_ptr orv_LogEntry_createFromVariable(orv_CodeLocation location,
                                                               const char* name, const char* type,
                                                               const char* format,
                                                               ...) QORCOMMON_NOEXCEPT
    ORV_LOGGING_PRINTF(4, 5);
QORCOMMON_API orv_LogEntry_ptr orv_LogEntry_createFromVariable1(orv_CodeLocation location,
                                                                const char* name, const char* type,
                                                                const char* format,
                                                                ...) QORCOMMON_NOEXCEPT
    ORV_LOGGING_PRINTF(4, 5);
QORCOMMON_API orv_LogEntry_ptr orv_LogEntry_createFromVariable3(const char* name, const char* type,
                                                                const char* format,
                                                                ...) QORCOMMON_NOEXCEPT
    ORV_LOGGING_PRINTF(3, 4);
/* A General entry with `text` whose location names the function of `signature`: the part
 * before the first "(" ("int f(int a)" gives "int f"). fromFunctionName1 keeps the file, line
 * and comment of `location` and replaces its function. */
QORCOMMON_API orv_LogEntry_ptr orv_LogEntry_fromFunctionName1(orv_CodeLocation location,
                                                              const char* signature,
                                                              const char* text) QORCOMMON_NOEXCEPT;
QORCOMMON_API orv_LogEntry_ptr orv_LogEntry_fromFunctionName2(const char* signature,
                                                              const char* text) QORCOMMON_NOEXCEPT;

/* The entry as a record. Its texts live in a buffer of the calling thread that belongs to this
 * function, valid until the same thread calls it again; never free them. */
QORCOMMON_API orv_LogEntry orv_LogEntry_get(orv_LogEntry_ptr entry) QORCOMMON_NOEXCEPT;
/* LogEntry::asString, in a buffer of the calling thread that belongs to this function. */
QORCOMMON_API const char* orv_LogEntry_asString(orv_LogEntry_ptr entry) QORCOMMON_NOEXCEPT;
/* The entry object as an object, for the object stack. */
QORCOMMON_API orv_Object_ptr orv_LogEntry_asObject(orv_LogEntry_ptr entry) QORCOMMON_NOEXCEPT;
QORCOMMON_API void orv_LogEntry_destruct(orv_LogEntry_ptr entry) QORCOMMON_NOEXCEPT;

/* ---- simple logging ----------------------------------------------------------------------- */

/* A logger of the process's logging handler for the module (null: an empty module), named
 * `loggerName` (null or "": the handler's default name, the module's name). Release it with
 * orv_SimpleLogging_deinit. */
QORCOMMON_API orv_Logger_ptr orv_SimpleLogging_init(const orv_ModuleInfo* moduleInfo,
                                                    const char* loggerName) QORCOMMON_NOEXCEPT;
QORCOMMON_API void orv_SimpleLogging_deinit(orv_Logger_ptr logger) QORCOMMON_NOEXCEPT;
/* As orv_logging_BeginFrame1. */
QORCOMMON_API orv_LoggingFrame_ptr
orv_SimpleLogging_beginFrame(orv_Logger_ptr logger, orv_CodeLocation location) QORCOMMON_NOEXCEPT;
/* As orv_logging_EndFrame1; 1 when written, 0 after a failed check. */
QORCOMMON_API short orv_SimpleLogging_endFrame(orv_LoggingFrame_ptr loggingFrame,
                                               orv_CodeLocation location) QORCOMMON_NOEXCEPT;
/* The end entry's text is `retval` (null: none). */
QORCOMMON_API short orv_SimpleLogging_endFrame_rv(orv_LoggingFrame_ptr loggingFrame,
                                                  orv_CodeLocation location,
                                                  const char* retval) QORCOMMON_NOEXCEPT;
QORCOMMON_API void orv_SimpleLogging_addEntry(orv_LoggingFrame_ptr loggingFrame, int priority,
                                              orv_LogEntry entry) QORCOMMON_NOEXCEPT;

/* The logger's name, in a buffer of the calling thread that belongs to this function. */
QORCOMMON_API const char* orv_Logger_name(orv_Logger_ptr logger) QORCOMMON_NOEXCEPT;

/* ---- listeners ---------------------------------------------------------------------------- */

/* One entry as a listener sees it. Everything in it is valid during the call only. */
typedef struct {
    const char* loggerName;
    int priority;
    orv_LogEntry entry;
    /* The texts of the writing thread's frames, outermost first. */
    unsigned stackCount;
    const char* const* stack;
    /* The entry's local time; milliseconds 0-999, or -1 when the time has none. */
    struct tm time;
    int milliseconds;
    /* Seconds since the previous entry of the same frame. */
    double diff;
} orv_LogEvent;

/* Called on the writing thread for every entry that a logger of the helper receives, before the
 * logger writes it. */
typedef void (*orv_LoggingListenerCallback)(const orv_LogEvent* event, void* context);

/* A listener that calls `callback` with `context`; a null callback is reported as "callback"
 * and gives a null handle. */
QORCOMMON_API orv_LoggingListener_ptr
orv_LoggingListener_create(orv_LoggingListenerCallback callback, void* context) QORCOMMON_NOEXCEPT;
/* Lets go of the handle; a listener that is still registered stays registered (and called)
 * until it is unregistered. */
QORCOMMON_API void
orv_LoggingListener_destruct(orv_LoggingListener_ptr listener) QORCOMMON_NOEXCEPT;
/* Register with / remove from the helper of the logger, which all loggers of its handler
 * share. 1 on success; 0 when the listener was registered already (or was not registered), or
 * after a failed check. */
QORCOMMON_API short
orv_Logger_registerListener(orv_Logger_ptr logger,
                            orv_LoggingListener_ptr listener) QORCOMMON_NOEXCEPT;
QORCOMMON_API short
orv_Logger_unregisterListener(orv_Logger_ptr logger,
                              orv_LoggingListener_ptr listener) QORCOMMON_NOEXCEPT;

QORCOMMON_EXTERN_C_END

#endif
