/* Strings for C callers.
 *
 * A string handle owns a library string made by one of the construct functions; free it with
 * orv_string_destruct (or hand it to an object-stack frame). Texts are NUL-terminated and held in
 * the core encoding. A null handle or a null text argument is reported through the assertion
 * handler with the argument's name ("obj.obj", "other.obj", "str.obj", "str") and the call then
 * does nothing and returns 0, false, an empty text or a null handle. Valid C99. */
#ifndef QORCOMMON_C_STRING_H
#define QORCOMMON_C_STRING_H

#include "qorcommon/c/export.h"
#include "qorcommon/c/object.h"

#include <stdbool.h>
#include <stddef.h>

QORCOMMON_EXTERN_C_BEGIN

typedef struct {
    void* obj;
} orv_String_ptr;

/* Encodings of the conversion functions. */
typedef enum {
    orv_Encoding_Locale = 0, /* the operating system's locale code page */
    orv_Encoding_UTF8 = 1,
    orv_Encoding_Latin1 = 2 /* ISO 8859-1 */
} orv_Encoding;

/* Matching backends of the isMatch functions; only the built-in wildcard matcher exists. */
typedef enum { orv_IsMatchBackend_Wildcard = 0 } orv_IsMatchBackend;

/* A new empty string; a null handle when memory runs out. */
QORCOMMON_API orv_String_ptr orv_string_constructEmpty(void) QORCOMMON_NOEXCEPT;
QORCOMMON_API orv_String_ptr orv_string_constructFromData(const char* str) QORCOMMON_NOEXCEPT;
QORCOMMON_API orv_String_ptr orv_string_constructCopy(orv_String_ptr str) QORCOMMON_NOEXCEPT;
QORCOMMON_API void orv_string_destruct(orv_String_ptr obj) QORCOMMON_NOEXCEPT;

/* The text; valid until the string is changed or freed. */
QORCOMMON_API const char* orv_string_data(orv_String_ptr obj) QORCOMMON_NOEXCEPT;
/* The length in bytes. */
QORCOMMON_API size_t orv_string_length(orv_String_ptr obj) QORCOMMON_NOEXCEPT;
QORCOMMON_API void orv_string_clear(orv_String_ptr obj) QORCOMMON_NOEXCEPT;
/* Assigns the other's text and returns obj. */
QORCOMMON_API orv_String_ptr orv_string_set(orv_String_ptr obj,
                                            orv_String_ptr other) QORCOMMON_NOEXCEPT;
QORCOMMON_API void orv_string_setData(orv_String_ptr obj, const char* str) QORCOMMON_NOEXCEPT;
/* Appends the other's text and returns obj. */
QORCOMMON_API orv_String_ptr orv_string_append(orv_String_ptr obj,
                                               orv_String_ptr other) QORCOMMON_NOEXCEPT;
QORCOMMON_API orv_String_ptr orv_string_appendData(orv_String_ptr obj,
                                                   const char* str) QORCOMMON_NOEXCEPT;
/* Byte-wise equality. */
QORCOMMON_API bool orv_string_equals(orv_String_ptr obj, orv_String_ptr other) QORCOMMON_NOEXCEPT;
QORCOMMON_API bool orv_string_equalsData(orv_String_ptr obj, const char* str) QORCOMMON_NOEXCEPT;

/* Wildcard match ("*" any run, "?" one byte), case-sensitive; 1 on a match, else 0. A backend
 * other than orv_IsMatchBackend_Wildcard is reported and gives 0. */
QORCOMMON_API short orv_string_isMatch1(orv_String_ptr obj, const char* pattern,
                                        int backend) QORCOMMON_NOEXCEPT;
QORCOMMON_API short orv_string_isMatch2(const char* str, const char* pattern,
                                        int backend) QORCOMMON_NOEXCEPT;

/* Converts `str` from one orv_Encoding into another and writes the result, cut to fit and
 * always NUL-terminated, into `buffer` of `bufferLength` bytes (a null buffer or a length of 0
 * writes nothing). Returns the length of the whole converted text without its NUL, as snprintf
 * does, so a caller can size the buffer with a first call. A text that does not convert gives
 * "(encoding error)". */
QORCOMMON_API size_t orv_string_convert1(const char* str, int from, int to, size_t bufferLength,
                                         char* buffer) QORCOMMON_NOEXCEPT;
/* As orv_string_convert1, returning `buffer`; a null buffer is reported as "buffer". */
QORCOMMON_API char* orv_string_convert2(const char* str, int from, int to, size_t bufferLength,
                                        char* buffer) QORCOMMON_NOEXCEPT;

QORCOMMON_API orv_Object_ptr orv_string_asObject(orv_String_ptr obj) QORCOMMON_NOEXCEPT;
QORCOMMON_API orv_BaseObject_ptr orv_string_asBaseObject(orv_String_ptr obj) QORCOMMON_NOEXCEPT;

QORCOMMON_EXTERN_C_END

#endif
