// The C face of DateTime. No exception leaves these functions: a failed allocation gives a null
// handle.
#include "qorcommon/c/datetime.h"

#include "qorcommon/assertion.h"
#include "qorcommon/datetime.h"

#include <new>
#include <utility>

using Orvane::Core::BaseObject;
using Orvane::Core::DateTime;
using Orvane::Core::Object;
using Orvane::Core::ObjectStackFrame;
using Orvane::Core::String;

namespace {

DateTime* asDateTime(orv_DateTime_ptr handle) {
    return static_cast<DateTime*>(handle.obj);
}

orv_DateTime_ptr makeHandle(DateTime* value) {
    orv_DateTime_ptr handle;
    handle.obj = value;
    return handle;
}

} // namespace

extern "C" {

QORCOMMON_API orv_DateTime_ptr orv_datetime_constructFromTM(const struct tm* tmRecord) {
    if (!QOR_CHECK(tmRecord)) return makeHandle(nullptr);
    return makeHandle(new (std::nothrow) DateTime(*tmRecord));
}

QORCOMMON_API orv_DateTime_ptr orv_datetime_constructFromISODateTime(const char* isoText) {
    if (!QOR_CHECK(isoText)) return makeHandle(nullptr);
    return makeHandle(new (std::nothrow) DateTime(isoText));
}

QORCOMMON_API struct tm orv_datetime_asTM(orv_DateTime_ptr obj) {
    struct tm record = {};
    if (QOR_CHECK(obj.obj)) asDateTime(obj)->toTM(record);
    return record;
}

QORCOMMON_API orv_String_ptr orv_datetime_asISODateTime(orv_DateTime_ptr obj) {
    orv_String_ptr result;
    result.obj = nullptr;
    if (!QOR_CHECK(obj.obj)) return result;
    try {
        auto* frame = static_cast<ObjectStackFrame*>(orv_objectStack_actualFrame().obj);
        String text = asDateTime(obj)->asISODateTime(false);
        result.obj = new String(std::move(text.str()), frame);
    } catch (...) {
        result.obj = nullptr;
    }
    return result;
}

QORCOMMON_API void orv_datetime_destruct(orv_DateTime_ptr obj) {
    if (!QOR_CHECK(obj.obj)) return;
    delete asDateTime(obj);
}

QORCOMMON_API orv_Object_ptr orv_datetime_asObject(orv_DateTime_ptr obj) {
    orv_Object_ptr view;
    view.obj = QOR_CHECK(obj.obj) ? static_cast<Object*>(asDateTime(obj)) : nullptr;
    return view;
}

QORCOMMON_API orv_BaseObject_ptr orv_datetime_asBaseObject(orv_DateTime_ptr obj) {
    orv_BaseObject_ptr view;
    view.obj = QOR_CHECK(obj.obj) ? static_cast<BaseObject*>(asDateTime(obj)) : nullptr;
    return view;
}

} // extern "C"
