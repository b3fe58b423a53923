// The C face of the framework: start and stop, module instances, the client registration.
#include "qorcommon/c/framework.h"

#include "cboundary.h"
#include "cframework.h"
#include "chandles.h"
#include "ctext.h"
#include "qorcommon/cwrapper.h"
#include "qorcommon/framework.h"
#include "qorcommon/libraryservices.h"
#include "qorcommon/qorcommonversion.h"

#include <string>

namespace Orvane {
namespace Core {
namespace {

using CApi::cBool;
using CApi::handleOf;
using CApi::nullHandle;

/// The revision of the C interface, the fourth value of qor_GetVersion.
constexpr int kCInterfaceRevision = 1;

QOR::Instance* instanceOf(qor_Instance_ptr instance) {
    return static_cast<QOR::Instance*>(instance.obj);
}

ModuleInfo moduleOf(const orv_ModuleInfo* info) {
    return info ? CWrapper::toModuleInfo(*info) : ModuleInfo();
}

struct ResultBuffers {
    std::string shortError;
    CWrapper::orv_ErrorInfo_Buffer error;
};

ResultBuffers& buffers() {
    return CApi::threadBuffers<ResultBuffers>();
}

/// The registration pass of the instance's framework; a failure is shown.
Result storeClientRegistration(qor_Instance_ptr instance) {
    const Result result = instanceOf(instance)->globals()->doClientRegistration();
    if (!result)
        result.showError(CodeLocation("qor_StoreClientRegistration", CodeLocation::C), -1, -1);
    return result;
}

} // namespace
} // namespace Core
} // namespace Orvane

using namespace Orvane::Core;

QORCOMMON_API qor_Instance_ptr qor_Init1(const orv_ModuleInfo* info) noexcept {
    return QOR_C_GUARDED(nullHandle<qor_Instance_ptr>(), [&]() -> qor_Instance_ptr {
        return handleOf<qor_Instance_ptr>(QOR::init(moduleOf(info), {}));
    });
}

QORCOMMON_API qor_Instance_ptr qor_Init2(const char* configFile,
                                         const orv_ModuleInfo* info) noexcept {
    return QOR_C_GUARDED(nullHandle<qor_Instance_ptr>(), [&]() -> qor_Instance_ptr {
        return handleOf<qor_Instance_ptr>(QOR::init(configFile, moduleOf(info), {}));
    });
}

QORCOMMON_API void qor_Deinit(void) noexcept {
    QOR_C_GUARDED_VOID([&] {
        CApi::releaseThreadFeatureList();
        QOR::deinit();
    });
}

QORCOMMON_API const char* qor_GetVersion(int* version) noexcept {
    return QOR_C_GUARDED(CApi::kEmptyText, [&]() -> const char* {
        if (version) {
            const Version v = QOR::getVersion();
            version[0] = v.major();
            version[1] = v.minor();
            version[2] = v.patch();
            version[3] = kCInterfaceRevision;
        }
        return QORCOMMON_VERSION_STRING;
    });
}

QORCOMMON_API qor_Instance_ptr qor_RegisterModule(const orv_ModuleInfo* info) noexcept {
    return QOR_C_GUARDED(nullHandle<qor_Instance_ptr>(), [&]() -> qor_Instance_ptr {
        return handleOf<qor_Instance_ptr>(QOR::registerModule(moduleOf(info)));
    });
}

QORCOMMON_API void qor_UnregisterModule(qor_Instance_ptr instance) noexcept {
    QOR_C_GUARDED_VOID([&] {
        if (QOR_CHECK(instance.obj)) QOR::unregisterModule(instanceOf(instance));
    });
}

QORCOMMON_API short qor_StoreClientRegistration(qor_Instance_ptr instance,
                                                const char** errorText) noexcept {
    return QOR_C_GUARDED(cBool(false), [&]() -> short {
        if (!QOR_CHECK(instance.obj)) return 0;
        const Result result = storeClientRegistration(instance);
        if (!result && errorText)
            *errorText =
                CApi::keepText(buffers().shortError, result.errorInfo().asShortString().str());
        return cBool(result.isOk());
    });
}

QORCOMMON_API short qor_StoreClientRegistration2(qor_Instance_ptr instance,
                                                 orv_ErrorInfo* error) noexcept {
    return QOR_C_GUARDED(cBool(false), [&]() -> short {
        if (!QOR_CHECK(instance.obj)) return 0;
        const Result result = storeClientRegistration(instance);
        if (!result && error) *error = CWrapper::fromErrorInfo(result.errorInfo(), buffers().error);
        return cBool(result.isOk());
    });
}
