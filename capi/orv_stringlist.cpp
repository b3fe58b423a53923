// The C face of StringList. No exception leaves these functions: a failed allocation gives a
// null handle or leaves the list unchanged.
#include "qorcommon/c/stringlist.h"

#include "qorcommon/assertion.h"
#include "qorcommon/stringlist.h"

using Orvane::Core::BaseObject;
using Orvane::Core::Object;
using Orvane::Core::String;
using Orvane::Core::StringList;

namespace {

StringList* asList(orv_StringList_ptr handle) {
    return static_cast<StringList*>(handle.obj);
}

orv_StringList_ptr makeHandle(StringList* list) {
    orv_StringList_ptr handle;
    handle.obj = list;
    return handle;
}

template <class Make> orv_StringList_ptr construct(Make make) {
    try {
        return makeHandle(make());
    } catch (...) {
        return makeHandle(nullptr);
    }
}

} // namespace

extern "C" {

QORCOMMON_API orv_StringList_ptr orv_stringlist_constructEmpty(void) {
    return construct([] { return new StringList; });
}

QORCOMMON_API orv_StringList_ptr orv_stringlist_constructWithFirst(const char* first_str) {
    if (!QOR_CHECK(first_str)) return makeHandle(nullptr);
    return construct([&] { return new StringList(std::string(first_str)); });
}

QORCOMMON_API orv_StringList_ptr orv_stringlist_constructWithSplitting(const char* str,
                                                                       const char* separator,
                                                                       short skipEmpty) {
    if (!QOR_CHECK(str) || !QOR_CHECK(separator)) return makeHandle(nullptr);
    return construct(
        [&] { return new StringList(StringList::split(str, separator, skipEmpty == 1)); });
}

QORCOMMON_API void orv_stringlist_destruct(orv_StringList_ptr obj) {
    if (!QOR_CHECK(obj.obj)) return;
    delete asList(obj);
}

QORCOMMON_API size_t orv_stringlist_count(orv_StringList_ptr obj) {
    if (!QOR_CHECK(obj.obj)) return 0;
    return asList(obj)->size();
}

QORCOMMON_API const char* orv_stringlist_dataAt(orv_StringList_ptr obj, size_t idx) {
    if (!QOR_CHECK(obj.obj)) return "";
    return (*asList(obj))[idx].c_str();
}

QORCOMMON_API void orv_stringlist_setAt(orv_StringList_ptr obj, size_t idx, const char* str) {
    if (!QOR_CHECK(obj.obj) || !QOR_CHECK(str)) return;
    try {
        asList(obj)->set(idx, str);
    } catch (...) {
        // The element keeps its text.
    }
}

QORCOMMON_API void orv_stringlist_append(orv_StringList_ptr obj, const char* str) {
    if (!QOR_CHECK(obj.obj) || !QOR_CHECK(str)) return;
    try {
        asList(obj)->append(std::string(str));
    } catch (...) {
        // Out of memory, or the list is at its maximum size ("list too long").
    }
}

QORCOMMON_API orv_String_ptr orv_stringlist_join(orv_StringList_ptr obj, const char* separator) {
    orv_String_ptr result;
    result.obj = nullptr;
    if (!QOR_CHECK(obj.obj) || !QOR_CHECK(separator)) return result;
    try {
        result.obj = new String(asList(obj)->join(separator));
    } catch (...) {
        result.obj = nullptr;
    }
    return result;
}

QORCOMMON_API orv_Object_ptr orv_stringlist_asObject(orv_StringList_ptr obj) {
    orv_Object_ptr view;
    view.obj = QOR_CHECK(obj.obj) ? static_cast<Object*>(asList(obj)) : nullptr;
    return view;
}

QORCOMMON_API orv_BaseObject_ptr orv_stringlist_asBaseObject(orv_StringList_ptr obj) {
    orv_BaseObject_ptr view;
    view.obj = QOR_CHECK(obj.obj) ? static_cast<BaseObject*>(asList(obj)) : nullptr;
    return view;
}

} // extern "C"
