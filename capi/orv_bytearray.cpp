// The C face of ByteArray. A failed allocation gives a null handle or leaves the array unchanged.
#include "qorcommon/c/bytearray.h"

#include "cboundary.h"
#include "chandles.h"
#include "qorcommon/bytearray.h"

#include <algorithm>
#include <cstring>
#include <memory>

using namespace Orvane::Core;
using namespace Orvane::Core::CApi;

namespace {

ByteArray* asArray(orv_ByteArray_ptr handle) noexcept {
    return objectOf<ByteArray>(handle);
}

// Null data is allowed only with a size of 0.
bool dataPresent(const unsigned char* data, size_t size) {
    return size == 0 || QOR_CHECK(data);
}

} // namespace

extern "C" {

QORCOMMON_API orv_ByteArray_ptr orv_bytearray_constructEmpty(size_t size) noexcept {
    return QOR_C_GUARDED(nullHandle<orv_ByteArray_ptr>(),
                         [&] { return construct<orv_ByteArray_ptr, ByteArray>(size); });
}

QORCOMMON_API orv_ByteArray_ptr orv_bytearray_constructFromData(const unsigned char* data,
                                                                size_t size) noexcept {
    return QOR_C_GUARDED(nullHandle<orv_ByteArray_ptr>(), [&] {
        if (!dataPresent(data, size)) return nullHandle<orv_ByteArray_ptr>();
        return construct<orv_ByteArray_ptr, ByteArray>(data, size);
    });
}

QORCOMMON_API orv_ByteArray_ptr orv_bytearray_constructCopy(orv_ByteArray_ptr obj) noexcept {
    return QOR_C_GUARDED(nullHandle<orv_ByteArray_ptr>(), [&] {
        if (!QOR_CHECK(obj.obj)) return nullHandle<orv_ByteArray_ptr>();
        return construct<orv_ByteArray_ptr, ByteArray>(asArray(obj)->bytes());
    });
}

QORCOMMON_API orv_ByteArray_ptr orv_bytearray_constructCopyFrom(orv_ByteArray_ptr obj,
                                                                const unsigned char* data,
                                                                size_t size) noexcept {
    return QOR_C_GUARDED(nullHandle<orv_ByteArray_ptr>(), [&] {
        if (!QOR_CHECK(obj.obj)) return nullHandle<orv_ByteArray_ptr>();
        if (data) return construct<orv_ByteArray_ptr, ByteArray>(data, size);
        const ByteArray& source = *asArray(obj);
        std::unique_ptr<ByteArray> copy(new ByteArray(size));
        std::memcpy(copy->data(), source.data(), std::min(size, source.size()));
        return handleOf<orv_ByteArray_ptr>(copy.release());
    });
}

QORCOMMON_API void orv_bytearray_destruct(orv_ByteArray_ptr obj) noexcept {
    QOR_C_GUARDED_VOID([&] {
        if (QOR_CHECK(obj.obj)) delete asArray(obj);
    });
}

QORCOMMON_API unsigned char* orv_bytearray_data(orv_ByteArray_ptr obj) noexcept {
    return QOR_C_GUARDED(static_cast<unsigned char*>(nullptr), [&]() -> unsigned char* {
        if (!QOR_CHECK(obj.obj)) return nullptr;
        return asArray(obj)->data();
    });
}

QORCOMMON_API size_t orv_bytearray_size(orv_ByteArray_ptr obj) noexcept {
    return QOR_C_GUARDED(size_t(0), [&] {
        if (!QOR_CHECK(obj.obj)) return size_t(0);
        return asArray(obj)->size();
    });
}

QORCOMMON_API void orv_bytearray_resize(orv_ByteArray_ptr obj, size_t size) noexcept {
    QOR_C_GUARDED_VOID([&] {
        if (QOR_CHECK(obj.obj)) asArray(obj)->resizeBuffer(size);
    });
}

QORCOMMON_API void orv_bytearray_appendData(orv_ByteArray_ptr obj, const unsigned char* data,
                                            size_t size) noexcept {
    QOR_C_GUARDED_VOID([&] {
        if (QOR_CHECK(obj.obj) && dataPresent(data, size)) asArray(obj)->appendData(data, size);
    });
}

QORCOMMON_API orv_Object_ptr orv_bytearray_asObject(orv_ByteArray_ptr obj) noexcept {
    return QOR_C_GUARDED(nullHandle<orv_Object_ptr>(), [&] {
        return handleOf<orv_Object_ptr>(QOR_CHECK(obj.obj) ? static_cast<Object*>(asArray(obj))
                                                           : nullptr);
    });
}

QORCOMMON_API orv_BaseObject_ptr orv_bytearray_asBaseObject(orv_ByteArray_ptr obj) noexcept {
    return QOR_C_GUARDED(nullHandle<orv_BaseObject_ptr>(), [&] {
        return handleOf<orv_BaseObject_ptr>(
            QOR_CHECK(obj.obj) ? static_cast<BaseObject*>(asArray(obj)) : nullptr);
    });
}

} // extern "C"
