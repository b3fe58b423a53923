/* Date and time values for C callers.
 *
 * A date-time handle owns a library DateTime made by one of the construct functions; free it with
 * orv_datetime_destruct (or hand it to an object-stack frame). The value holds local calendar
 * time. A null handle or a null argument is reported through the assertion handler with the
 * argument's name ("obj.obj", "tmRecord", "isoText") and the call then does nothing and returns
 * a null handle or a zeroed record. Valid C99. */
#ifndef QORCOMMON_C_DATETIME_H
#define QORCOMMON_C_DATETIME_H

#include "qorcommon/c/export.h"
#include "qorcommon/c/object.h"
#include "qorcommon/c/string.h"

#include <time.h>

QORCOMMON_EXTERN_C_BEGIN

typedef struct {
    void* obj;
} orv_DateTime_ptr;

/* A new value from the calendar fields of the record (tm_wday and tm_yday are not read;
 * tm_isdst tells the daylight saving, negative for "let the system decide"). A null handle when
 * memory runs out. */
QORCOMMON_API orv_DateTime_ptr orv_datetime_constructFromTM(const struct tm* tmRecord)
    QORCOMMON_NOEXCEPT;
/* A new value read from an ISO text such as "2024-01-31T23:59:59.007" (a trailing "Z" or offset
 * is converted to local time); a malformed text gives an empty value. */
QORCOMMON_API orv_DateTime_ptr orv_datetime_constructFromISODateTime(const char* isoText)
    QORCOMMON_NOEXCEPT;
/* Reads an ISO text as orv_datetime_constructFromISODateTime does, and tells whether it could:
 * 1 with a new value in *out, or 0 with a null handle in *out when the text is malformed (or
 * memory runs out). A null `out` fails the check "out" and returns 0. */
QORCOMMON_API short orv_datetime_parseISODateTime(const char* isoText,
                                                  orv_DateTime_ptr* out) QORCOMMON_NOEXCEPT;
/* The value as a calendar record, with weekday and day of the year; an empty value gives the
 * local record of the POSIX epoch. */
QORCOMMON_API struct tm orv_datetime_asTM(orv_DateTime_ptr obj) QORCOMMON_NOEXCEPT;
/* A new string object holding the local ISO form ("2024-01-31T23:59:59", ".007" behind when the
 * value has milliseconds). The string is registered in the calling thread's current object-stack
 * frame and freed with it, or earlier with orv_string_destruct. */
QORCOMMON_API orv_String_ptr orv_datetime_asISODateTime(orv_DateTime_ptr obj) QORCOMMON_NOEXCEPT;
QORCOMMON_API void orv_datetime_destruct(orv_DateTime_ptr obj) QORCOMMON_NOEXCEPT;

QORCOMMON_API orv_Object_ptr orv_datetime_asObject(orv_DateTime_ptr obj) QORCOMMON_NOEXCEPT;
QORCOMMON_API orv_BaseObject_ptr orv_datetime_asBaseObject(orv_DateTime_ptr obj) QORCOMMON_NOEXCEPT;

QORCOMMON_EXTERN_C_END

#endif
