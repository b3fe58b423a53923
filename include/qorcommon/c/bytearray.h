/* Byte arrays for C callers.
 *
 * A byte array handle owns a library byte array; free it with orv_bytearray_destruct (or hand it
 * to an object-stack frame). A null handle is reported as "obj.obj", null data with a non-zero
 * size as "data"; the call then does nothing and returns 0 or a null handle. Valid C99. */
#ifndef QORCOMMON_C_BYTEARRAY_H
#define QORCOMMON_C_BYTEARRAY_H

#include "qorcommon/c/export.h"
#include "qorcommon/c/object.h"

#include <stddef.h>

QORCOMMON_EXTERN_C_BEGIN

typedef struct {
    void* obj;
} orv_ByteArray_ptr;

/* `size` zero bytes. */
QORCOMMON_API orv_ByteArray_ptr orv_bytearray_constructEmpty(size_t size) QORCOMMON_NOEXCEPT;
/* A copy of `size` bytes at `data`. */
QORCOMMON_API orv_ByteArray_ptr orv_bytearray_constructFromData(const unsigned char* data,
                                                                size_t size) QORCOMMON_NOEXCEPT;
QORCOMMON_API orv_ByteArray_ptr orv_bytearray_constructCopy(orv_ByteArray_ptr obj)
    QORCOMMON_NOEXCEPT;
/* A new array of `size` bytes: copied from `data` when it is not null, otherwise the first
 * `size` bytes of `obj` (zero bytes beyond its end). */
QORCOMMON_API orv_ByteArray_ptr orv_bytearray_constructCopyFrom(orv_ByteArray_ptr obj,
                                                                const unsigned char* data,
                                                                size_t size) QORCOMMON_NOEXCEPT;
QORCOMMON_API void orv_bytearray_destruct(orv_ByteArray_ptr obj) QORCOMMON_NOEXCEPT;

/* The first byte; valid until the array is resized or freed. Never null for a valid array. */
QORCOMMON_API unsigned char* orv_bytearray_data(orv_ByteArray_ptr obj) QORCOMMON_NOEXCEPT;
QORCOMMON_API size_t orv_bytearray_size(orv_ByteArray_ptr obj) QORCOMMON_NOEXCEPT;
/* Grows with zero bytes or shrinks. */
QORCOMMON_API void orv_bytearray_resize(orv_ByteArray_ptr obj, size_t size) QORCOMMON_NOEXCEPT;
QORCOMMON_API void orv_bytearray_appendData(orv_ByteArray_ptr obj, const unsigned char* data,
                                            size_t size) QORCOMMON_NOEXCEPT;

QORCOMMON_API orv_Object_ptr orv_bytearray_asObject(orv_ByteArray_ptr obj) QORCOMMON_NOEXCEPT;
QORCOMMON_API orv_BaseObject_ptr orv_bytearray_asBaseObject(orv_ByteArray_ptr obj)
    QORCOMMON_NOEXCEPT;

QORCOMMON_EXTERN_C_END

#endif
