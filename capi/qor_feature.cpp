// The C face of features.
#include "qorcommon/c/feature.h"

#include "qorcommon/assertion.h"
#include "qorcommon/cwrapper.h"
#include "qorcommon/proxyfeature.h"
#include "qorcommon/threadmanagedobject.h"

#include "callbacktables.h"
#include "cboundary.h"
#include "chandles.h"
#include "confighandles.h"

#include <string>

using namespace Orvane::Core;
using Orvane::Core::QOR::Feature;

namespace {

// The result buffers of the calling thread, one per function.
struct ResultBuffers {
    CWrapper::orv_NameInfo_Buffer info;
    std::string name;
    std::string type;
};

ResultBuffers& buffers() {
    // Never destroyed: threads may still call in while the process shuts down.
    static auto* variable = new ThreadLocalVariable<ResultBuffers>;
    return variable->get();
}

const char* const kEmpty = "";

orv_NameInfo emptyNameInfo() {
    orv_NameInfo record{};
    record.name = record.description = kEmpty;
    return record;
}

} // namespace

extern "C" {

QORCOMMON_API void qor_Feature_Callbacks_init(int api_revision,
                                              qor_Feature_Callbacks* cbs) noexcept {
    QOR_C_GUARDED_VOID([&] {
        if (!QOR_CHECK_REVISION(api_revision, "api_revision")) return;
        if (!QOR_CHECK(cbs)) return;
        *cbs = qor_Feature_Callbacks{};
        cbs->_revision = api_revision;
    });
}

QORCOMMON_API void qor_Feature_Callbacks_copy(const qor_Feature_Callbacks* src_cbs,
                                              qor_Feature_Callbacks* dst_cbs) noexcept {
    QOR_C_GUARDED_VOID([&] {
        if (!QOR_CHECK(src_cbs) || !QOR_CHECK(dst_cbs)) return;
        if (!QOR_CHECK_REVISION(src_cbs->_revision, "src_cbs->_revision")) return;
        if (!QOR_CHECK_REVISION(dst_cbs->_revision, "dst_cbs->_revision")) return;
        // Revision 1 is the only one: both tables hold the same six entries.
        const int revision = dst_cbs->_revision;
        *dst_cbs = *src_cbs;
        dst_cbs->_revision = revision;
    });
}

QORCOMMON_API short qor_Feature_init(qor_Feature_ptr* feature, const qor_Feature_Callbacks* cbs,
                                     void* user_data) noexcept {
    return QOR_C_GUARDED(short(0), [&] {
        if (!QOR_CHECK(feature)) return short(0);
        *feature = CApi::nullHandle<qor_Feature_ptr>();
        if (!QOR_CHECK(cbs)) return short(0);
        if (!QOR_CHECK_REVISION(cbs->_revision, "cbs->_revision")) return short(0);
        *feature = CApi::wrapGC<qor_Feature_ptr>(CWrapper::makeCFeature(cbs, user_data));
        return short(1);
    });
}

QORCOMMON_API void qor_Feature_destruct(qor_Feature_ptr feature) noexcept {
    QOR_C_GUARDED_VOID([&] {
        if (QOR_CHECK(feature.obj)) CApi::releaseGC<Feature>(feature);
    });
}

QORCOMMON_API orv_NameInfo qor_Feature_info(qor_Feature_ptr feature) noexcept {
    return QOR_C_GUARDED(emptyNameInfo(), [&] {
        if (!QOR_CHECK(feature.obj)) return emptyNameInfo();
        const GC<Feature> object = CApi::unwrapGC<Feature>(feature);
        if (!object) return emptyNameInfo();
        return CWrapper::toNameInfo(object->nameInfo(), buffers().info);
    });
}

QORCOMMON_API const char* qor_Feature_name(qor_Feature_ptr feature) noexcept {
    return QOR_C_GUARDED(kEmpty, [&] {
        if (!QOR_CHECK(feature.obj)) return kEmpty;
        const GC<Feature> object = CApi::unwrapGC<Feature>(feature);
        if (!object) return kEmpty;
        std::string& buffer = buffers().name;
        buffer = object->name();
        return buffer.c_str();
    });
}

QORCOMMON_API const char* qor_Feature_type(qor_Feature_ptr feature) noexcept {
    return QOR_C_GUARDED(kEmpty, [&] {
        if (!QOR_CHECK(feature.obj)) return kEmpty;
        const GC<Feature> object = CApi::unwrapGC<Feature>(feature);
        if (!object) return kEmpty;
        std::string& buffer = buffers().type;
        buffer = object->type();
        return buffer.c_str();
    });
}

QORCOMMON_API long long qor_Feature_toUniqueId(const char* type, const char* name) noexcept {
    return QOR_C_GUARDED(0LL,
                         [&] { return static_cast<long long>(Feature::toUniqueId(type, name)); });
}

QORCOMMON_API orv_ConfigHandler_ptr
qor_Feature_createConfigHandler(qor_Feature_ptr feature, orv_ConfigHandler_ptr chain) noexcept {
    return QOR_C_GUARDED(CApi::nullHandle<orv_ConfigHandler_ptr>(), [&] {
        if (!QOR_CHECK(feature.obj)) return CApi::nullHandle<orv_ConfigHandler_ptr>();
        const GC<Feature> object = CApi::unwrapGC<Feature>(feature);
        auto* maker = dynamic_cast<QOR::SimpleFeature<ConfigHandler>*>(object.ptr());
        if (!maker) return CApi::nullHandle<orv_ConfigHandler_ptr>();
        const GC<ConfigHandler> handler = maker->createObject(CWrapper::unwrapConfigHandler(chain));
        if (!handler) return CApi::nullHandle<orv_ConfigHandler_ptr>();
        return CWrapper::wrapConfigHandler(handler);
    });
}

} // extern "C"
