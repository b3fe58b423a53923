// The C face of user interaction: errors, warnings and log-on forms through the current provider
// and through the text provider.
#include "qorcommon/c/gui.h"

#include "cboundary.h"
#include "ctext.h"
#include "qorcommon/cwrapper.h"
#include "qorcommon/guiprovider.h"

#include <cstring>
#include <string>

using namespace Orvane::Core;
using namespace Orvane::Core::CApi;

namespace {

GuiRequest errorRequest(const orv_ErrorInfo& record, int x, int y) {
    GuiRequest request = GuiRequest::showError(CWrapper::toErrorInfo(record));
    request.setPosition(x, y);
    return request;
}

// One log-on form through `provider` (null: the current provider with its fall-back).
int logonThrough(GuiProvider* provider, const char* application, char* user, size_t userCapacity,
                 char* password, size_t passwordCapacity) {
    if (!QOR_CHECK(user) || !QOR_CHECK(password)) return orv_Logon_Failed;
    if (userCapacity == 0 || passwordCapacity == 0) return orv_Logon_Failed;
    const GuiRequest request = GuiRequest::logon(textOf(application));
    GuiRequest answer = GuiRequest::logonAnswer(std::string(user, strnlen(user, userCapacity)));
    GuiProvider::Answer outcome;
    if (provider) {
        ErrorInfo failure;
        outcome = provider->logon(request, answer, failure);
    } else {
        outcome = guiLogon(request, answer);
    }
    if (outcome != GuiProvider::Accepted) return outcome;
    const std::string& name = answer.field("logon_user");
    const std::string& secret = answer.field("*logon_password");
    if (name.size() >= userCapacity || secret.size() >= passwordCapacity) return orv_Logon_TooLong;
    copyToCallerBuffer(name, user, userCapacity);
    copyToCallerBuffer(secret, password, passwordCapacity);
    return orv_Logon_Accepted;
}

} // namespace

extern "C" {

QORCOMMON_API void orv_ShowErrorInfo1(const orv_ErrorInfo* error) noexcept {
    QOR_C_GUARDED_VOID([&] {
        if (QOR_CHECK(error))
            guiShowError(errorRequest(*error, GuiRequest::NoPosition, GuiRequest::NoPosition));
    });
}

QORCOMMON_API void orv_ShowErrorInfoXY(const orv_ErrorInfo* error, int x, int y) noexcept {
    QOR_C_GUARDED_VOID([&] {
        if (QOR_CHECK(error)) guiShowError(errorRequest(*error, x, y));
    });
}

QORCOMMON_API void orv_ShowWarningInfo(const orv_ErrorInfo* warning, int autoCloseDelay) noexcept {
    QOR_C_GUARDED_VOID([&] {
        if (QOR_CHECK(warning))
            guiShowWarning(
                GuiRequest::showWarning(CWrapper::toErrorInfo(*warning), autoCloseDelay));
    });
}

QORCOMMON_API int orv_Logon(const char* application, char* user, size_t userCapacity,
                            char* password, size_t passwordCapacity) noexcept {
    return QOR_C_GUARDED(static_cast<int>(orv_Logon_Failed), [&] {
        return logonThrough(nullptr, application, user, userCapacity, password, passwordCapacity);
    });
}

QORCOMMON_API void orv_def_gui_showError(const orv_ErrorInfo* error, int x, int y) noexcept {
    QOR_C_GUARDED_VOID([&] {
        if (QOR_CHECK(error)) defaultGuiProvider()->showError(errorRequest(*error, x, y));
    });
}

QORCOMMON_API void orv_def_gui_showWarning(const orv_ErrorInfo* warning,
                                           int autoCloseDelay) noexcept {
    QOR_C_GUARDED_VOID([&] {
        if (QOR_CHECK(warning)) {
            defaultGuiProvider()->showWarning(
                GuiRequest::showWarning(CWrapper::toErrorInfo(*warning), autoCloseDelay));
        }
    });
}

QORCOMMON_API int orv_def_gui_logon(const char* application, char* user, size_t userCapacity,
                                    char* password, size_t passwordCapacity) noexcept {
    return QOR_C_GUARDED(static_cast<int>(orv_Logon_Failed), [&] {
        return logonThrough(defaultGuiProvider().get(), application, user, userCapacity, password,
                            passwordCapacity);
    });
}

} // extern "C"
