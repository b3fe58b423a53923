/* The process-wide settings of the file logging handler for C callers: the values that every
 * file logging handler made afterwards starts from (its configuration may still override them).
 *
 *     orv_orvane_logging_handler_setLogfilePath("logs/app.log");
 *     orv_orvane_logging_handler_setLogDest("File,Console");
 *
 * Setters return 1 when the value was taken and 0 when it was refused (an empty path, an unknown
 * destination word, a level outside 0-4, a size outside 1024-2000000000). Texts are returned in a
 * buffer of the calling thread, one per function, valid until the same thread calls the same
 * function again; the caller never frees them. A null text is reported as "path" or
 * "destination" and gives 0. Valid C99. */
#ifndef QORCOMMON_C_ORVANELOGGING_H
#define QORCOMMON_C_ORVANELOGGING_H

#include "qorcommon/c/export.h"

QORCOMMON_EXTERN_C_BEGIN

/* The log file's path; macros ("$(current_dir)") are expanded when a handler takes it. */
QORCOMMON_API short orv_orvane_logging_handler_setLogfilePath(const char* path) QORCOMMON_NOEXCEPT;
QORCOMMON_API const char* orv_orvane_logging_handler_getLogfilePath(void) QORCOMMON_NOEXCEPT;

/* Destinations: "File" and "Console", several joined by ",". */
QORCOMMON_API short
orv_orvane_logging_handler_setLogDest(const char* destination) QORCOMMON_NOEXCEPT;
QORCOMMON_API short
orv_orvane_logging_handler_addLogDest(const char* destination) QORCOMMON_NOEXCEPT;
QORCOMMON_API const char* orv_orvane_logging_handler_getLogDest(void) QORCOMMON_NOEXCEPT;

/* 0 (no logging) to 4 (everything). */
QORCOMMON_API short orv_orvane_logging_handler_setLogLevel(long level) QORCOMMON_NOEXCEPT;
QORCOMMON_API long orv_orvane_logging_handler_getLogLevel(void) QORCOMMON_NOEXCEPT;

/* Bytes at which the log file is renamed aside. */
QORCOMMON_API short orv_orvane_logging_handler_setLogMaxSize(long bytes) QORCOMMON_NOEXCEPT;
QORCOMMON_API long orv_orvane_logging_handler_getLogMaxSize(void) QORCOMMON_NOEXCEPT;

QORCOMMON_EXTERN_C_END

#endif
