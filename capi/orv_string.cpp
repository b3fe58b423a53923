// The C face of String. No exception leaves these functions: a failed allocation gives a null
// handle or leaves the string unchanged.
#include "qorcommon/c/string.h"

#include "qorcommon/assertion.h"
#include "qorcommon/string.h"

#include <algorithm>
#include <cstring>
#include <new>

using Orvane::Core::BaseObject;
using Orvane::Core::Object;
using Orvane::Core::String;

namespace {

String* asString(orv_String_ptr handle) {
    return static_cast<String*>(handle.obj);
}

orv_String_ptr makeHandle(String* s) {
    orv_String_ptr handle;
    handle.obj = s;
    return handle;
}

template <class... Args> orv_String_ptr construct(Args&&... args) {
    try {
        return makeHandle(new String(std::forward<Args>(args)...));
    } catch (...) {
        return makeHandle(nullptr);
    }
}

template <class Action> void guarded(Action action) {
    try {
        action();
    } catch (...) {
        // The string keeps its previous text; allocation failure is the only cause.
    }
}

} // namespace

extern "C" {

QORCOMMON_API orv_String_ptr orv_string_constructEmpty(void) {
    return construct();
}

QORCOMMON_API orv_String_ptr orv_string_constructFromData(const char* str) {
    if (!QOR_CHECK(str)) return makeHandle(nullptr);
    return construct(str);
}

QORCOMMON_API orv_String_ptr orv_string_constructCopy(orv_String_ptr str) {
    if (!QOR_CHECK(str.obj)) return makeHandle(nullptr);
    return construct(asString(str)->str());
}

QORCOMMON_API void orv_string_destruct(orv_String_ptr obj) {
    if (!QOR_CHECK(obj.obj)) return;
    delete asString(obj);
}

QORCOMMON_API const char* orv_string_data(orv_String_ptr obj) {
    if (!QOR_CHECK(obj.obj)) return "";
    return asString(obj)->c_str();
}

QORCOMMON_API size_t orv_string_length(orv_String_ptr obj) {
    if (!QOR_CHECK(obj.obj)) return 0;
    return asString(obj)->size();
}

QORCOMMON_API void orv_string_clear(orv_String_ptr obj) {
    if (!QOR_CHECK(obj.obj)) return;
    asString(obj)->clear();
}

QORCOMMON_API orv_String_ptr orv_string_set(orv_String_ptr obj, orv_String_ptr other) {
    if (!QOR_CHECK(obj.obj) || !QOR_CHECK(other.obj)) return obj;
    guarded([&] { asString(obj)->str() = asString(other)->str(); });
    return obj;
}

QORCOMMON_API void orv_string_setData(orv_String_ptr obj, const char* str) {
    if (!QOR_CHECK(obj.obj) || !QOR_CHECK(str)) return;
    // assign() copes with `str` pointing into the string itself.
    guarded([&] { asString(obj)->str().assign(str); });
}

QORCOMMON_API orv_String_ptr orv_string_append(orv_String_ptr obj, orv_String_ptr other) {
    if (!QOR_CHECK(obj.obj) || !QOR_CHECK(other.obj)) return obj;
    guarded([&] { asString(obj)->str().append(asString(other)->str()); });
    return obj;
}

QORCOMMON_API orv_String_ptr orv_string_appendData(orv_String_ptr obj, const char* str) {
    if (!QOR_CHECK(obj.obj) || !QOR_CHECK(str)) return obj;
    guarded([&] { asString(obj)->str().append(str); });
    return obj;
}

QORCOMMON_API bool orv_string_equals(orv_String_ptr obj, orv_String_ptr other) {
    if (!QOR_CHECK(obj.obj) || !QOR_CHECK(other.obj)) return false;
    return asString(obj)->str() == asString(other)->str();
}

QORCOMMON_API bool orv_string_equalsData(orv_String_ptr obj, const char* str) {
    if (!QOR_CHECK(obj.obj) || !QOR_CHECK(str)) return false;
    return asString(obj)->str() == str;
}

QORCOMMON_API short orv_string_isMatch1(orv_String_ptr obj, const char* pattern, int backend) {
    if (!QOR_CHECK(obj.obj) || !QOR_CHECK(pattern)) return 0;
    bool matched = false;
    guarded([&] {
        matched = asString(obj)->isMatch(pattern, static_cast<String::IsMatchBackend>(backend));
    });
    return matched ? 1 : 0;
}

QORCOMMON_API short orv_string_isMatch2(const char* str, const char* pattern, int backend) {
    if (!QOR_CHECK(str) || !QOR_CHECK(pattern)) return 0;
    bool matched = false;
    guarded([&] {
        matched = String::isMatch(str, pattern, static_cast<String::IsMatchBackend>(backend));
    });
    return matched ? 1 : 0;
}

QORCOMMON_API size_t orv_string_convert1(const char* str, int from, int to, size_t bufferLength,
                                         char* buffer) {
    const bool writable = buffer && bufferLength > 0;
    if (writable) buffer[0] = '\0';
    if (!QOR_CHECK(str)) return 0;
    size_t length = 0;
    guarded([&] {
        const std::string converted = String::toString(str, static_cast<String::Encoding>(from),
                                                       static_cast<String::Encoding>(to));
        length = converted.size();
        if (writable) {
            const size_t n = std::min(length, bufferLength - 1);
            std::memcpy(buffer, converted.data(), n);
            buffer[n] = '\0';
        }
    });
    return length;
}

QORCOMMON_API char* orv_string_convert2(const char* str, int from, int to, size_t bufferLength,
                                        char* buffer) {
    if (!QOR_CHECK(buffer)) return buffer;
    orv_string_convert1(str, from, to, bufferLength, buffer);
    return buffer;
}

QORCOMMON_API orv_Object_ptr orv_string_asObject(orv_String_ptr obj) {
    orv_Object_ptr view;
    view.obj = QOR_CHECK(obj.obj) ? static_cast<Object*>(asString(obj)) : nullptr;
    return view;
}

QORCOMMON_API orv_BaseObject_ptr orv_string_asBaseObject(orv_String_ptr obj) {
    orv_BaseObject_ptr view;
    view.obj = QOR_CHECK(obj.obj) ? static_cast<BaseObject*>(asString(obj)) : nullptr;
    return view;
}

} // extern "C"
