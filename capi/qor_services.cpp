// The C face of the services a module instance reaches: the configuration chain, loggers and
// logging listeners, the error collector and its listeners, and the feature table.
#include "qorcommon/c/errorinfocollector.h"
#include "qorcommon/c/framework.h"

#include "cboundary.h"
#include "cerrorlisteners.h"
#include "cframework.h"
#include "chandles.h"
#include "confighandles.h"
#include "ctext.h"
#include "qorcommon/cwrapper.h"
#include "qorcommon/framework.h"

#include <string>
#include <vector>

namespace Orvane {
namespace Core {
namespace {

using CApi::cBool;
using CApi::nullHandle;
using CApi::releaseGC;
using CApi::unwrapGC;
using CApi::wrapGC;

QOR::Globals* globalsOf(qor_Instance_ptr instance) {
    return static_cast<QOR::Instance*>(instance.obj)->globals();
}

struct FeatureBuffers {
    std::vector<GC<QOR::Feature>> features;
    std::vector<qor_Feature_ptr> handles;
};

FeatureBuffers& featureBuffers() {
    return CApi::threadBuffers<FeatureBuffers>();
}

} // namespace

void CApi::releaseThreadFeatureList() {
    FeatureBuffers& buffers = featureBuffers();
    buffers.handles.clear();
    buffers.features.clear();
}

} // namespace Core
} // namespace Orvane

using namespace Orvane::Core;

// ---- configuration ------------------------------------------------------------------------------

QORCOMMON_API orv_ConfigHandler_ptr qor_GetConfigHandler(qor_Instance_ptr instance) noexcept {
    return QOR_C_GUARDED(nullHandle<orv_ConfigHandler_ptr>(), [&]() -> orv_ConfigHandler_ptr {
        if (!QOR_CHECK(instance.obj != nullptr)) return nullHandle<orv_ConfigHandler_ptr>();
        return CWrapper::wrapConfigHandler(globalsOf(instance)->getConfigHandler());
    });
}

QORCOMMON_API void qor_DetachConfigHandler(orv_ConfigHandler_ptr configHandler) noexcept {
    QOR_C_GUARDED_VOID([&] {
        if (QOR_CHECK(configHandler.obj != nullptr)) releaseGC<ConfigHandler>(configHandler);
    });
}

// ---- logging ------------------------------------------------------------------------------------

QORCOMMON_API orv_Logger_ptr qor_GetLogger(qor_Instance_ptr instance,
                                           const char* loggerName) noexcept {
    return QOR_C_GUARDED(nullHandle<orv_Logger_ptr>(), [&]() -> orv_Logger_ptr {
        if (!QOR_CHECK(instance.obj != nullptr)) return nullHandle<orv_Logger_ptr>();
        const QOR::Instance* owner = static_cast<QOR::Instance*>(instance.obj);
        GC<LoggingHandler> handler = owner->globals()->getLoggingHandler();
        return wrapGC<orv_Logger_ptr>(
            handler->getLogger(CApi::textOf(loggerName), owner->moduleInfo()));
    });
}

QORCOMMON_API void qor_DetachLogger(orv_Logger_ptr logger) noexcept {
    QOR_C_GUARDED_VOID([&] {
        if (QOR_CHECK(logger.obj != nullptr)) releaseGC<Logger>(logger);
    });
}

QORCOMMON_API void qor_RegisterLoggingListener(qor_Instance_ptr instance,
                                               orv_LoggingListener_ptr listener) noexcept {
    QOR_C_GUARDED_VOID([&] {
        if (!QOR_CHECK(instance.obj) || !QOR_CHECK(listener.obj)) return;
        globalsOf(instance)->registerLoggingListener(unwrapGC<LoggingListener>(listener));
    });
}

QORCOMMON_API void qor_UnregisterLoggingListener(qor_Instance_ptr instance,
                                                 orv_LoggingListener_ptr listener) noexcept {
    QOR_C_GUARDED_VOID([&] {
        if (!QOR_CHECK(instance.obj) || !QOR_CHECK(listener.obj)) return;
        globalsOf(instance)->unregisterLoggingListener(unwrapGC<LoggingListener>(listener));
    });
}

// ---- errors -------------------------------------------------------------------------------------

QORCOMMON_API orv_ErrorInfoCollector_ptr
qor_GetErroInfoCollector(qor_Instance_ptr instance) noexcept {
    return QOR_C_GUARDED(
        nullHandle<orv_ErrorInfoCollector_ptr>(), [&]() -> orv_ErrorInfoCollector_ptr {
            if (!QOR_CHECK(instance.obj)) return nullHandle<orv_ErrorInfoCollector_ptr>();
            return wrapGC<orv_ErrorInfoCollector_ptr>(globalsOf(instance)->getErrorInfoCollector());
        });
}

QORCOMMON_API void qor_DetachErrorInfoCollector(orv_ErrorInfoCollector_ptr eic) noexcept {
    QOR_C_GUARDED_VOID([&] {
        if (QOR_CHECK(eic.obj)) releaseGC<ErrorInfoCollector>(eic);
    });
}

QORCOMMON_API short qor_StoreErrorInfo(qor_Instance_ptr moduleInstance, const orv_ErrorInfo* error,
                                       const orv_CodeLocation* location) noexcept {
    return QOR_C_GUARDED(cBool(false), [&]() -> short {
        if (!QOR_CHECK(moduleInstance.obj)) return 0;
        if (!QOR_CHECK(error)) return 0;
        const QOR::Instance* owner = static_cast<QOR::Instance*>(moduleInstance.obj);
        const ErrorInfo record = CWrapper::toErrorInfo(*error);
        const CodeLocation at = location ? CWrapper::toCodeLocation(*location) : CodeLocation();
        GC<ErrorInfoCollector> collector = owner->globals()->getErrorInfoCollector();
        return cBool(collector->add(record, owner->moduleInfo(), at).isOk());
    });
}

QORCOMMON_API orv_ErrorInfoCollectorListener_ptr orv_RegisterErrorInfoCollectorListener(
    qor_Instance_ptr instance,
    void (*callback)(const orv_ErrorInfo* error, const orv_ModuleInfo* module,
                     const orv_CodeLocation* location),
    void* tag) noexcept {
    return QOR_C_GUARDED(nullHandle<orv_ErrorInfoCollectorListener_ptr>(),
                         [&]() -> orv_ErrorInfoCollectorListener_ptr {
                             if (!QOR_CHECK(instance.obj))
                                 return nullHandle<orv_ErrorInfoCollectorListener_ptr>();
                             return CApi::registerCListener(
                                 globalsOf(instance)->getErrorInfoCollector(), callback, tag);
                         });
}

QORCOMMON_API void
orv_UnregisterErrorInfoCollectorListener(qor_Instance_ptr instance,
                                         orv_ErrorInfoCollectorListener_ptr lis) noexcept {
    QOR_C_GUARDED_VOID([&] {
        if (!QOR_CHECK(instance.obj)) return;
        CApi::unregisterCListener(globalsOf(instance)->getErrorInfoCollector(), lis);
    });
}

// ---- features -----------------------------------------------------------------------------------

QORCOMMON_API short qor_RegisterFeature(qor_Instance_ptr instance,
                                        qor_Feature_ptr feature) noexcept {
    return QOR_C_GUARDED(cBool(false), [&]() -> short {
        if (!QOR_CHECK(instance.obj) || !QOR_CHECK(feature.obj)) return 0;
        return cBool(static_cast<QOR::Instance*>(instance.obj)
                         ->registerFeature(unwrapGC<QOR::Feature>(feature)));
    });
}

QORCOMMON_API qor_Feature_ptr qor_GetFeature1(qor_Instance_ptr instance, const char* type,
                                              const char* name) noexcept {
    return QOR_C_GUARDED(nullHandle<qor_Feature_ptr>(), [&]() -> qor_Feature_ptr {
        if (!QOR_CHECK(instance.obj) || !QOR_CHECK(type) || !QOR_CHECK(name))
            return nullHandle<qor_Feature_ptr>();
        GC<QOR::Feature> feature = globalsOf(instance)->getFeature(type, name);
        if (!feature) return nullHandle<qor_Feature_ptr>();
        return wrapGC<qor_Feature_ptr>(feature);
    });
}

QORCOMMON_API qor_FeatureList qor_GetFeatures1(qor_Instance_ptr instance,
                                               const char* type) noexcept {
    const qor_FeatureList none = {0, nullptr};
    return QOR_C_GUARDED(none, [&]() -> qor_FeatureList {
        if (!QOR_CHECK(instance.obj)) return none;
        FeatureBuffers& buffers = featureBuffers();
        buffers.handles.clear();
        buffers.features.clear();
        for (const GC<QOR::Feature>& feature : globalsOf(instance)->getFeatures(type))
            buffers.features.push_back(feature);
        // The handles point at the kept GC<> objects, as handles made by wrapGC do.
        for (GC<QOR::Feature>& feature : buffers.features)
            buffers.handles.push_back(CApi::handleOf<qor_Feature_ptr>(&feature));
        qor_FeatureList list;
        list.count = static_cast<int>(buffers.handles.size());
        list.features = buffers.handles.empty() ? nullptr : buffers.handles.data();
        return list;
    });
}
