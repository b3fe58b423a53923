/* String lists for C callers.
 *
 * A list handle owns a library string list; free it with orv_stringlist_destruct (or hand it to
 * an object-stack frame). A null handle or text argument is reported through the assertion
 * handler with the argument's name ("obj.obj", "first_str", "str", "separator") and the call then
 * does nothing and returns 0, an empty text or a null handle. Valid C99. */
#ifndef QORCOMMON_C_STRINGLIST_H
#define QORCOMMON_C_STRINGLIST_H

#include "qorcommon/c/export.h"
#include "qorcommon/c/object.h"
#include "qorcommon/c/string.h"

#include <stddef.h>

QORCOMMON_EXTERN_C_BEGIN

typedef struct {
    void* obj;
} orv_StringList_ptr;

QORCOMMON_API orv_StringList_ptr orv_stringlist_constructEmpty(void) QORCOMMON_NOEXCEPT;
/* A list of one element. */
QORCOMMON_API orv_StringList_ptr orv_stringlist_constructWithFirst(const char* first_str)
    QORCOMMON_NOEXCEPT;
/* Splits `str` at every occurrence of the whole `separator`; empty parts are skipped only when
 * `skipEmpty` is exactly 1. An empty separator is reported and gives a list of the whole text. */
QORCOMMON_API orv_StringList_ptr orv_stringlist_constructWithSplitting(
    const char* str, const char* separator, short skipEmpty) QORCOMMON_NOEXCEPT;
QORCOMMON_API void orv_stringlist_destruct(orv_StringList_ptr obj) QORCOMMON_NOEXCEPT;

/* The number of elements. */
QORCOMMON_API size_t orv_stringlist_count(orv_StringList_ptr obj) QORCOMMON_NOEXCEPT;
/* The element's text, valid until the element is changed or the list freed. An index out of
 * range is reported as "idx < size()" and gives "". */
QORCOMMON_API const char* orv_stringlist_dataAt(orv_StringList_ptr obj,
                                                size_t idx) QORCOMMON_NOEXCEPT;
/* Replaces the element; an index out of range is reported as "idx < size()". */
QORCOMMON_API void orv_stringlist_setAt(orv_StringList_ptr obj, size_t idx,
                                        const char* str) QORCOMMON_NOEXCEPT;
QORCOMMON_API void orv_stringlist_append(orv_StringList_ptr obj,
                                         const char* str) QORCOMMON_NOEXCEPT;
/* A new string holding the elements with `separator` between each two; free it with
 * orv_string_destruct. */
QORCOMMON_API orv_String_ptr orv_stringlist_join(orv_StringList_ptr obj,
                                                 const char* separator) QORCOMMON_NOEXCEPT;

QORCOMMON_API orv_Object_ptr orv_stringlist_asObject(orv_StringList_ptr obj) QORCOMMON_NOEXCEPT;
QORCOMMON_API orv_BaseObject_ptr orv_stringlist_asBaseObject(orv_StringList_ptr obj)
    QORCOMMON_NOEXCEPT;

QORCOMMON_EXTERN_C_END

#endif
