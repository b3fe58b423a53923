// A simpler listener for error records, and its adapter for C callbacks.
#pragma once

#include "qorcommon/errorinfo.h"
#include "qorcommon/export.h"
#include "qorcommon/privateptr.h"

namespace Orvane {
namespace Core {

/// Receives error records one at a time.
/// Thread safety: as the implementation says.
class QORCOMMON_API ErrorListener {
public:
    ErrorListener(const ErrorListener& other);
    ErrorListener& operator=(const ErrorListener& other);
    virtual ~ErrorListener();

    /// Takes one record; false when the listener could not handle it.
    virtual bool add(const ErrorInfo& errorInfo) = 0;

protected:
    ErrorListener();
};

namespace CWrapper {

/// An ErrorListener that hands each record to a C callback as an orv_ErrorInfo valid during the
/// call. The callback is `short (*)(void* user, const orv_ErrorInfo* error)`, passed as a plain
/// function pointer here so that this header needs no C header.
/// Thread safety: as thread-safe as the callback.
class QORCOMMON_API orv_ErrorListener : public ErrorListener {
public:
    using Callback = short (*)(void* user, const void* error);

    orv_ErrorListener(void* user, Callback callback);
    orv_ErrorListener(const orv_ErrorListener& other);
    orv_ErrorListener& operator=(const orv_ErrorListener& other);
    ~orv_ErrorListener() override;

    /// Fails the assertion "priv->cb" without a callback; true when the callback answers non-zero.
    bool add(const ErrorInfo& errorInfo) override;

private:
    struct Private;
    PrivatePtr<Private> priv;
};

} // namespace CWrapper
} // namespace Core
} // namespace Orvane
