// The C face of String. A failed allocation gives a null handle or leaves the string unchanged.
#include "qorcommon/c/string.h"

#include "cboundary.h"
#include "chandles.h"
#include "ctext.h"
#include "qorcommon/string.h"

using namespace Orvane::Core;
using namespace Orvane::Core::CApi;

namespace {

String* asString(orv_String_ptr handle) noexcept {
    return objectOf<String>(handle);
}

} // namespace

extern "C" {

QORCOMMON_API orv_String_ptr orv_string_constructEmpty(void) noexcept {
    return QOR_C_GUARDED(nullHandle<orv_String_ptr>(),
                         [] { return construct<orv_String_ptr, String>(); });
}

QORCOMMON_API orv_String_ptr orv_string_constructFromData(const char* str) noexcept {
    return QOR_C_GUARDED(nullHandle<orv_String_ptr>(), [&] {
        if (!QOR_CHECK(str)) return nullHandle<orv_String_ptr>();
        return construct<orv_String_ptr, String>(str);
    });
}

QORCOMMON_API orv_String_ptr orv_string_constructCopy(orv_String_ptr str) noexcept {
    return QOR_C_GUARDED(nullHandle<orv_String_ptr>(), [&] {
        if (!QOR_CHECK(str.obj)) return nullHandle<orv_String_ptr>();
        return construct<orv_String_ptr, String>(asString(str)->str());
    });
}

QORCOMMON_API void orv_string_destruct(orv_String_ptr obj) noexcept {
    QOR_C_GUARDED_VOID([&] {
        if (QOR_CHECK(obj.obj)) delete asString(obj);
    });
}

QORCOMMON_API const char* orv_string_data(orv_String_ptr obj) noexcept {
    return QOR_C_GUARDED(kEmptyText, [&] {
        if (!QOR_CHECK(obj.obj)) return kEmptyText;
        return asString(obj)->c_str();
    });
}

QORCOMMON_API size_t orv_string_length(orv_String_ptr obj) noexcept {
    return QOR_C_GUARDED(size_t(0), [&] {
        if (!QOR_CHECK(obj.obj)) return size_t(0);
        return asString(obj)->size();
    });
}

QORCOMMON_API void orv_string_clear(orv_String_ptr obj) noexcept {
    QOR_C_GUARDED_VOID([&] {
        if (QOR_CHECK(obj.obj)) asString(obj)->clear();
    });
}

QORCOMMON_API orv_String_ptr orv_string_set(orv_String_ptr obj, orv_String_ptr other) noexcept {
    QOR_C_GUARDED_VOID([&] {
        if (QOR_CHECK(obj.obj) && QOR_CHECK(other.obj))
            asString(obj)->str() = asString(other)->str();
    });
    return obj;
}

QORCOMMON_API void orv_string_setData(orv_String_ptr obj, const char* str) noexcept {
    QOR_C_GUARDED_VOID([&] {
        // assign() copes with `str` pointing into the string itself.
        if (QOR_CHECK(obj.obj) && QOR_CHECK(str)) asString(obj)->str().assign(str);
    });
}

QORCOMMON_API orv_String_ptr orv_string_append(orv_String_ptr obj, orv_String_ptr other) noexcept {
    QOR_C_GUARDED_VOID([&] {
        if (QOR_CHECK(obj.obj) && QOR_CHECK(other.obj))
            asString(obj)->str().append(asString(other)->str());
    });
    return obj;
}

QORCOMMON_API orv_String_ptr orv_string_appendData(orv_String_ptr obj, const char* str) noexcept {
    QOR_C_GUARDED_VOID([&] {
        if (QOR_CHECK(obj.obj) && QOR_CHECK(str)) asString(obj)->str().append(str);
    });
    return obj;
}

QORCOMMON_API bool orv_string_equals(orv_String_ptr obj, orv_String_ptr other) noexcept {
    return QOR_C_GUARDED(false, [&] {
        if (!QOR_CHECK(obj.obj) || !QOR_CHECK(other.obj)) return false;
        return asString(obj)->str() == asString(other)->str();
    });
}

QORCOMMON_API bool orv_string_equalsData(orv_String_ptr obj, const char* str) noexcept {
    return QOR_C_GUARDED(false, [&] {
        if (!QOR_CHECK(obj.obj) || !QOR_CHECK(str)) return false;
        return asString(obj)->str() == str;
    });
}

QORCOMMON_API short orv_string_isMatch1(orv_String_ptr obj, const char* pattern,
                                        int backend) noexcept {
    return QOR_C_GUARDED(cBool(false), [&] {
        if (!QOR_CHECK(obj.obj) || !QOR_CHECK(pattern)) return cBool(false);
        return cBool(asString(obj)->isMatch(pattern, static_cast<String::IsMatchBackend>(backend)));
    });
}

QORCOMMON_API short orv_string_isMatch2(const char* str, const char* pattern,
                                        int backend) noexcept {
    return QOR_C_GUARDED(cBool(false), [&] {
        if (!QOR_CHECK(str) || !QOR_CHECK(pattern)) return cBool(false);
        return cBool(String::isMatch(str, pattern, static_cast<String::IsMatchBackend>(backend)));
    });
}

QORCOMMON_API size_t orv_string_convert1(const char* str, int from, int to, size_t bufferLength,
                                         char* buffer) noexcept {
    // The buffer holds "" whatever happens after this.
    copyToCallerBuffer(std::string(), buffer, bufferLength);
    return QOR_C_GUARDED(size_t(0), [&] {
        if (!QOR_CHECK(str)) return size_t(0);
        return copyToCallerBuffer(String::toString(str, static_cast<String::Encoding>(from),
                                                   static_cast<String::Encoding>(to)),
                                  buffer, bufferLength);
    });
}

QORCOMMON_API char* orv_string_convert2(const char* str, int from, int to, size_t bufferLength,
                                        char* buffer) noexcept {
    return QOR_C_GUARDED(buffer, [&] {
        if (QOR_CHECK(buffer)) orv_string_convert1(str, from, to, bufferLength, buffer);
        return buffer;
    });
}

QORCOMMON_API orv_Object_ptr orv_string_asObject(orv_String_ptr obj) noexcept {
    return QOR_C_GUARDED(nullHandle<orv_Object_ptr>(), [&] {
        return handleOf<orv_Object_ptr>(QOR_CHECK(obj.obj) ? static_cast<Object*>(asString(obj))
                                                           : nullptr);
    });
}

QORCOMMON_API orv_BaseObject_ptr orv_string_asBaseObject(orv_String_ptr obj) noexcept {
    return QOR_C_GUARDED(nullHandle<orv_BaseObject_ptr>(), [&] {
        return handleOf<orv_BaseObject_ptr>(
            QOR_CHECK(obj.obj) ? static_cast<BaseObject*>(asString(obj)) : nullptr);
    });
}

} // extern "C"
