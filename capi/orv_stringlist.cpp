// The C face of StringList. A failed allocation gives a null handle or leaves the list unchanged.
#include "qorcommon/c/stringlist.h"

#include "cboundary.h"
#include "chandles.h"
#include "ctext.h"
#include "qorcommon/stringlist.h"

#include <memory>
#include <utility>

using namespace Orvane::Core;
using namespace Orvane::Core::CApi;

namespace {

StringList* asList(orv_StringList_ptr handle) noexcept {
    return objectOf<StringList>(handle);
}

} // namespace

extern "C" {

QORCOMMON_API orv_StringList_ptr orv_stringlist_constructEmpty(void) noexcept {
    return QOR_C_GUARDED(nullHandle<orv_StringList_ptr>(),
                         [] { return construct<orv_StringList_ptr, StringList>(); });
}

QORCOMMON_API orv_StringList_ptr orv_stringlist_constructWithFirst(const char* first_str) noexcept {
    return QOR_C_GUARDED(nullHandle<orv_StringList_ptr>(), [&] {
        if (!QOR_CHECK(first_str)) return nullHandle<orv_StringList_ptr>();
        return construct<orv_StringList_ptr, StringList>(std::string(first_str));
    });
}

QORCOMMON_API orv_StringList_ptr orv_stringlist_constructWithSplitting(const char* str,
                                                                       const char* separator,
                                                                       short skipEmpty) noexcept {
    return QOR_C_GUARDED(nullHandle<orv_StringList_ptr>(), [&] {
        if (!QOR_CHECK(str) || !QOR_CHECK(separator)) return nullHandle<orv_StringList_ptr>();
        StringList parts = StringList::split(str, separator, skipEmpty == 1);
        std::unique_ptr<StringList> list(new StringList);
        // Move-assigned rather than move-constructed: the assignment only swaps, while the move
        // constructor allocates (and must not fail).
        *list = std::move(parts);
        return handleOf<orv_StringList_ptr>(list.release());
    });
}

QORCOMMON_API void orv_stringlist_destruct(orv_StringList_ptr obj) noexcept {
    QOR_C_GUARDED_VOID([&] {
        if (QOR_CHECK(obj.obj)) delete asList(obj);
    });
}

QORCOMMON_API size_t orv_stringlist_count(orv_StringList_ptr obj) noexcept {
    return QOR_C_GUARDED(size_t(0), [&] {
        if (!QOR_CHECK(obj.obj)) return size_t(0);
        return asList(obj)->size();
    });
}

QORCOMMON_API const char* orv_stringlist_dataAt(orv_StringList_ptr obj, size_t idx) noexcept {
    return QOR_C_GUARDED(kEmptyText, [&] {
        if (!QOR_CHECK(obj.obj)) return kEmptyText;
        return (*asList(obj))[idx].c_str();
    });
}

QORCOMMON_API void orv_stringlist_setAt(orv_StringList_ptr obj, size_t idx,
                                        const char* str) noexcept {
    QOR_C_GUARDED_VOID([&] {
        if (QOR_CHECK(obj.obj) && QOR_CHECK(str)) asList(obj)->set(idx, str);
    });
}

QORCOMMON_API void orv_stringlist_append(orv_StringList_ptr obj, const char* str) noexcept {
    // Fails when memory runs out or the list is at its maximum size ("list too long").
    QOR_C_GUARDED_VOID([&] {
        if (QOR_CHECK(obj.obj) && QOR_CHECK(str)) asList(obj)->append(std::string(str));
    });
}

QORCOMMON_API orv_String_ptr orv_stringlist_join(orv_StringList_ptr obj,
                                                 const char* separator) noexcept {
    return QOR_C_GUARDED(nullHandle<orv_String_ptr>(), [&] {
        if (!QOR_CHECK(obj.obj) || !QOR_CHECK(separator)) return nullHandle<orv_String_ptr>();
        return construct<orv_String_ptr, String>(asList(obj)->join(separator));
    });
}

QORCOMMON_API orv_Object_ptr orv_stringlist_asObject(orv_StringList_ptr obj) noexcept {
    return QOR_C_GUARDED(nullHandle<orv_Object_ptr>(), [&] {
        return handleOf<orv_Object_ptr>(QOR_CHECK(obj.obj) ? static_cast<Object*>(asList(obj))
                                                           : nullptr);
    });
}

QORCOMMON_API orv_BaseObject_ptr orv_stringlist_asBaseObject(orv_StringList_ptr obj) noexcept {
    return QOR_C_GUARDED(nullHandle<orv_BaseObject_ptr>(), [&] {
        return handleOf<orv_BaseObject_ptr>(
            QOR_CHECK(obj.obj) ? static_cast<BaseObject*>(asList(obj)) : nullptr);
    });
}

} // extern "C"
