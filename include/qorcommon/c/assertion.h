/* The library's assertion handler.
 *
 * A failed check inside the library reports the text of the checked expression (for example
 * "obj.obj" or "idx < size()"), the source file and the line, and the library then goes on with
 * its documented fall-back behaviour. The default handler writes one line to standard error. */
#ifndef QORCOMMON_C_ASSERTION_H
#define QORCOMMON_C_ASSERTION_H

#include "qorcommon/c/export.h"

QORCOMMON_EXTERN_C_BEGIN

/* Called for every failed check; context is the pointer given with the handler. */
typedef void (*orv_AssertionHandler)(const char* expression, const char* file, int line,
                                     void* context);

/* Installs a handler (null restores the default) and returns the previous one; the previous
 * context is stored into *previousContext when that pointer is not null. */
QORCOMMON_API orv_AssertionHandler orv_assertion_setHandler(
    orv_AssertionHandler handler, void* context, void** previousContext) QORCOMMON_NOEXCEPT;

/* Reports a failed check through the installed handler. */
QORCOMMON_API void orv_assertion_report(const char* expression, const char* file,
                                        int line) QORCOMMON_NOEXCEPT;

/* The number of failed checks reported since the process started. */
QORCOMMON_API unsigned long orv_assertion_count(void) QORCOMMON_NOEXCEPT;

QORCOMMON_EXTERN_C_END

#endif
