// The C face of ByteArray. No exception leaves these functions: a failed allocation gives a null
// handle or leaves the array unchanged.
#include "qorcommon/c/bytearray.h"

#include "qorcommon/assertion.h"
#include "qorcommon/bytearray.h"

#include <algorithm>
#include <cstring>

using Orvane::Core::BaseObject;
using Orvane::Core::ByteArray;
using Orvane::Core::Object;

namespace {

ByteArray* asArray(orv_ByteArray_ptr handle) {
    return static_cast<ByteArray*>(handle.obj);
}

orv_ByteArray_ptr makeHandle(ByteArray* array) {
    orv_ByteArray_ptr handle;
    handle.obj = array;
    return handle;
}

template <class Make> orv_ByteArray_ptr construct(Make make) {
    try {
        return makeHandle(make());
    } catch (...) {
        return makeHandle(nullptr);
    }
}

// Null data is allowed only with a size of 0.
bool dataPresent(const unsigned char* data, size_t size) {
    return size == 0 || QOR_CHECK(data);
}

} // namespace

extern "C" {

QORCOMMON_API orv_ByteArray_ptr orv_bytearray_constructEmpty(size_t size) {
    return construct([&] { return new ByteArray(size); });
}

QORCOMMON_API orv_ByteArray_ptr orv_bytearray_constructFromData(const unsigned char* data,
                                                                size_t size) {
    if (!dataPresent(data, size)) return makeHandle(nullptr);
    return construct([&] { return new ByteArray(data, size); });
}

QORCOMMON_API orv_ByteArray_ptr orv_bytearray_constructCopy(orv_ByteArray_ptr obj) {
    if (!QOR_CHECK(obj.obj)) return makeHandle(nullptr);
    return construct([&] { return new ByteArray(asArray(obj)->bytes()); });
}

QORCOMMON_API orv_ByteArray_ptr orv_bytearray_constructCopyFrom(orv_ByteArray_ptr obj,
                                                                const unsigned char* data,
                                                                size_t size) {
    if (!QOR_CHECK(obj.obj)) return makeHandle(nullptr);
    return construct([&] {
        if (data) return new ByteArray(data, size);
        const ByteArray& source = *asArray(obj);
        auto* copy = new ByteArray(size);
        std::memcpy(copy->data(), source.data(), std::min(size, source.size()));
        return copy;
    });
}

QORCOMMON_API void orv_bytearray_destruct(orv_ByteArray_ptr obj) {
    if (!QOR_CHECK(obj.obj)) return;
    delete asArray(obj);
}

QORCOMMON_API unsigned char* orv_bytearray_data(orv_ByteArray_ptr obj) {
    if (!QOR_CHECK(obj.obj)) return nullptr;
    return asArray(obj)->data();
}

QORCOMMON_API size_t orv_bytearray_size(orv_ByteArray_ptr obj) {
    if (!QOR_CHECK(obj.obj)) return 0;
    return asArray(obj)->size();
}

QORCOMMON_API void orv_bytearray_resize(orv_ByteArray_ptr obj, size_t size) {
    if (!QOR_CHECK(obj.obj)) return;
    asArray(obj)->resizeBuffer(size);
}

QORCOMMON_API void orv_bytearray_appendData(orv_ByteArray_ptr obj, const unsigned char* data,
                                            size_t size) {
    if (!QOR_CHECK(obj.obj) || !dataPresent(data, size)) return;
    asArray(obj)->appendData(data, size);
}

QORCOMMON_API orv_Object_ptr orv_bytearray_asObject(orv_ByteArray_ptr obj) {
    orv_Object_ptr view;
    view.obj = QOR_CHECK(obj.obj) ? static_cast<Object*>(asArray(obj)) : nullptr;
    return view;
}

QORCOMMON_API orv_BaseObject_ptr orv_bytearray_asBaseObject(orv_ByteArray_ptr obj) {
    orv_BaseObject_ptr view;
    view.obj = QOR_CHECK(obj.obj) ? static_cast<BaseObject*>(asArray(obj)) : nullptr;
    return view;
}

} // extern "C"
