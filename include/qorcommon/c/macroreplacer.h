/* Template expansion for C callers: the macro language of log formats and configuration values
 * with its built-in macros (see qorcommon/macroreplacer.h).
 *
 * The expanded text is held in a buffer of the calling thread, one per function: it stays valid
 * until the same thread calls the same function again, and the caller never frees it. A null text
 * is reported through the assertion handler as "text" and gives "". Valid C99. */
#ifndef QORCOMMON_C_MACROREPLACER_H
#define QORCOMMON_C_MACROREPLACER_H

#include "qorcommon/c/export.h"
#include "qorcommon/c/stringlist.h"

QORCOMMON_EXTERN_C_BEGIN

/* `text` with its macros expanded; errors are dropped. */
QORCOMMON_API const char* orv_replaceStr(const char* text) QORCOMMON_NOEXCEPT;

/* Expands `text` into the thread's buffer of this function and points *result at it. The error
 * texts are appended to `errors` unless it is a null handle. Returns 1 when no error occurred,
 * else 0. A null `result` is reported as "result" and gives 0. */
QORCOMMON_API short orv_replaceStr2(const char* text, const char** result,
                                    orv_StringList_ptr errors) QORCOMMON_NOEXCEPT;

QORCOMMON_EXTERN_C_END

#endif
