// CWrapper::orv_ErrorListener, the C adapter of ErrorListener: here rather than beside
// ErrorListener because it fills the C error record.
#include "qorcommon/assertion.h"
#include "qorcommon/c/errorinfo.h"
#include "qorcommon/cwrapper.h"
#include "qorcommon/errorlistener.h"

namespace Orvane {
namespace Core {
namespace CWrapper {

struct orv_ErrorListener::Private {
    void* user = nullptr;
    Callback cb = nullptr;
};

orv_ErrorListener::orv_ErrorListener(void* user, Callback callback) : priv(new Private) {
    priv.write()->user = user;
    priv.write()->cb = callback;
}

orv_ErrorListener::orv_ErrorListener(const orv_ErrorListener& other) = default;
orv_ErrorListener& orv_ErrorListener::operator=(const orv_ErrorListener& other) = default;
orv_ErrorListener::~orv_ErrorListener() = default;

bool orv_ErrorListener::add(const ErrorInfo& errorInfo) {
    if (!QOR_CHECK(priv->cb)) return false;
    orv_ErrorInfo_Buffer buffer;
    const orv_ErrorInfo record = fromErrorInfo(errorInfo, buffer);
    return priv->cb(priv->user, &record) != 0;
}

} // namespace CWrapper
} // namespace Core
} // namespace Orvane
