// The C face of DateTime. A failed allocation gives a null handle.
#include "qorcommon/c/datetime.h"

#include "cboundary.h"
#include "chandles.h"
#include "qorcommon/datetime.h"

#include <memory>
#include <utility>

using namespace Orvane::Core;
using namespace Orvane::Core::CApi;

namespace {

DateTime* asDateTime(orv_DateTime_ptr handle) noexcept {
    return objectOf<DateTime>(handle);
}

} // namespace

extern "C" {

QORCOMMON_API orv_DateTime_ptr orv_datetime_constructFromTM(const struct tm* tmRecord) noexcept {
    return QOR_C_GUARDED(nullHandle<orv_DateTime_ptr>(), [&] {
        if (!QOR_CHECK(tmRecord)) return nullHandle<orv_DateTime_ptr>();
        return construct<orv_DateTime_ptr, DateTime>(*tmRecord);
    });
}

QORCOMMON_API orv_DateTime_ptr orv_datetime_constructFromISODateTime(const char* isoText) noexcept {
    return QOR_C_GUARDED(nullHandle<orv_DateTime_ptr>(), [&] {
        if (!QOR_CHECK(isoText)) return nullHandle<orv_DateTime_ptr>();
        return construct<orv_DateTime_ptr, DateTime>(isoText);
    });
}

QORCOMMON_API short orv_datetime_parseISODateTime(const char* isoText,
                                                  orv_DateTime_ptr* out) noexcept {
    return QOR_C_GUARDED(cBool(false), [&] {
        if (!QOR_CHECK(out)) return cBool(false);
        // Null first: a failure after this point leaves no stale handle behind.
        *out = nullHandle<orv_DateTime_ptr>();
        if (!QOR_CHECK(isoText)) return cBool(false);
        std::unique_ptr<DateTime> value(new DateTime);
        if (!DateTime::fromISODateTime(isoText, DateTime::DaylightSavingAuto, *value))
            return cBool(false);
        *out = handleOf<orv_DateTime_ptr>(value.release());
        return cBool(true);
    });
}

QORCOMMON_API struct tm orv_datetime_asTM(orv_DateTime_ptr obj) noexcept {
    return QOR_C_GUARDED(tm{}, [&] {
        struct tm record = {};
        if (QOR_CHECK(obj.obj)) asDateTime(obj)->toTM(record);
        return record;
    });
}

QORCOMMON_API orv_String_ptr orv_datetime_asISODateTime(orv_DateTime_ptr obj) noexcept {
    return QOR_C_GUARDED(nullHandle<orv_String_ptr>(), [&] {
        if (!QOR_CHECK(obj.obj)) return nullHandle<orv_String_ptr>();
        auto* frame = objectOf<ObjectStackFrame>(orv_objectStack_actualFrame());
        // No frame: the object stack could not be made, which it has reported already.
        if (!frame) return nullHandle<orv_String_ptr>();
        String text = asDateTime(obj)->asISODateTime(false);
        return construct<orv_String_ptr, String>(std::move(text.str()), frame);
    });
}

QORCOMMON_API void orv_datetime_destruct(orv_DateTime_ptr obj) noexcept {
    QOR_C_GUARDED_VOID([&] {
        if (QOR_CHECK(obj.obj)) delete asDateTime(obj);
    });
}

QORCOMMON_API orv_Object_ptr orv_datetime_asObject(orv_DateTime_ptr obj) noexcept {
    return QOR_C_GUARDED(nullHandle<orv_Object_ptr>(), [&] {
        return handleOf<orv_Object_ptr>(QOR_CHECK(obj.obj) ? static_cast<Object*>(asDateTime(obj))
                                                           : nullptr);
    });
}

QORCOMMON_API orv_BaseObject_ptr orv_datetime_asBaseObject(orv_DateTime_ptr obj) noexcept {
    return QOR_C_GUARDED(nullHandle<orv_BaseObject_ptr>(), [&] {
        return handleOf<orv_BaseObject_ptr>(
            QOR_CHECK(obj.obj) ? static_cast<BaseObject*>(asDateTime(obj)) : nullptr);
    });
}

} // extern "C"
