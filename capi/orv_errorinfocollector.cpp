// The C face of the error collector: the C collector listener and its registration on a collector
// handle. Collector handles hold one use of the collector (CApi::wrapGC), as the framework makes
// them.
#include "cerrorlisteners.h"

#include "cboundary.h"
#include "chandles.h"
#include "qorcommon/cwrapper.h"

namespace Orvane {
namespace Core {
namespace CApi {

CErrorInfoCollectorListener::CErrorInfoCollectorListener(orv_ErrorInfoCollectorCallback callback,
                                                         void* tag)
    : m_callback(callback), m_tag(tag) {}

CErrorInfoCollectorListener::~CErrorInfoCollectorListener() {
    // The list is one for the process, so any collector reaches it; this one keeps nothing.
    QOR::DummyErrorInfoCollector list;
    list.unregisterListener(this);
}

void CErrorInfoCollectorListener::errorInfoAdded(const ErrorInfo& errorInfo,
                                                 const ModuleInfo& moduleInfo,
                                                 const CodeLocation& codeLocation) {
    if (!m_callback) return;
    CWrapper::orv_ErrorInfo_Buffer errorBuffer;
    CWrapper::orv_ModuleInfo_Buffer moduleBuffer;
    CWrapper::orv_CodeLocation_Buffer locationBuffer;
    const orv_ErrorInfo error = CWrapper::fromErrorInfo(errorInfo, errorBuffer);
    const orv_ModuleInfo module = CWrapper::fromModuleInfo(moduleInfo, moduleBuffer);
    const orv_CodeLocation location = CWrapper::fromCodeLocation(codeLocation, locationBuffer);
    m_callback(&error, &module, &location);
}

orv_ErrorInfoCollectorListener_ptr registerCListener(const GC<ErrorInfoCollector>& collector,
                                                     orv_ErrorInfoCollectorCallback callback,
                                                     void* tag) {
    if (!QOR_CHECK(!collector.isNull()) || !QOR_CHECK(callback)) {
        return nullHandle<orv_ErrorInfoCollectorListener_ptr>();
    }
    auto* listener = new CErrorInfoCollectorListener(callback, tag);
    if (!collector->registerListener(listener).isOk()) {
        delete listener;
        return nullHandle<orv_ErrorInfoCollectorListener_ptr>();
    }
    return handleOf<orv_ErrorInfoCollectorListener_ptr>(listener);
}

void unregisterCListener(const GC<ErrorInfoCollector>& collector,
                         orv_ErrorInfoCollectorListener_ptr lis) {
    if (!QOR_CHECK(lis.obj) || !QOR_CHECK(!collector.isNull())) return;
    collector->unregisterListener(objectOf<CErrorInfoCollectorListener>(lis));
}

} // namespace CApi
} // namespace Core
} // namespace Orvane

using namespace Orvane::Core;
using namespace Orvane::Core::CApi;

extern "C" {

QORCOMMON_API orv_ErrorInfoCollectorListener_ptr orv_ErrorInfoCollector_registerListener1(
    orv_ErrorInfoCollector_ptr obj, orv_ErrorInfoCollectorCallback callback, void* tag) noexcept {
    return QOR_C_GUARDED(nullHandle<orv_ErrorInfoCollectorListener_ptr>(),
                         [&]() -> orv_ErrorInfoCollectorListener_ptr {
                             if (!QOR_CHECK(obj.obj))
                                 return nullHandle<orv_ErrorInfoCollectorListener_ptr>();
                             return registerCListener(unwrapGC<ErrorInfoCollector>(obj), callback,
                                                      tag);
                         });
}

QORCOMMON_API void
orv_ErrorInfoCollector_unregisterListener(orv_ErrorInfoCollector_ptr obj,
                                          orv_ErrorInfoCollectorListener_ptr lis) noexcept {
    QOR_C_GUARDED_VOID([&] {
        if (!QOR_CHECK(obj.obj)) return;
        unregisterCListener(unwrapGC<ErrorInfoCollector>(obj), lis);
    });
}

QORCOMMON_API void*
orv_ErrorInfoCollectorListener_tag(orv_ErrorInfoCollectorListener_ptr lis) noexcept {
    return QOR_C_GUARDED(static_cast<void*>(nullptr), [&]() -> void* {
        if (!QOR_CHECK(lis.obj)) return nullptr;
        return objectOf<CErrorInfoCollectorListener>(lis)->tag();
    });
}

QORCOMMON_API void
orv_ErrorInfoCollectorListener_destruct(orv_ErrorInfoCollectorListener_ptr lis) noexcept {
    QOR_C_GUARDED_VOID([&] {
        if (QOR_CHECK(lis.obj)) delete objectOf<CErrorInfoCollectorListener>(lis);
    });
}

} // extern "C"
