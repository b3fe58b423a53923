// The value returned by fallible operations: success, or failure with an error record.
//
//     Result load(const String& name) {
//         if (!exists(name)) return Result(ErrorInfo("no such file", QOR_CODE_LOCATION), false);
//         return true;
//     }
#pragma once

#include "qorcommon/errorinfo.h"
#include "qorcommon/export.h"
#include "qorcommon/privateptr.h"

namespace Orvane {
namespace Core {

/// Thread safety: reentrant (setShowErrorHandler is thread-safe).
class QORCOMMON_API Result {
public:
    /// Shows an error to the user: the record, the place from which it is shown, and two values
    /// that the display interprets (passed through unchanged). `context` is the pointer given
    /// with the handler.
    using ShowErrorHandler = void (*)(const ErrorInfo& errorInfo, const CodeLocation& location,
                                      int x, int y, void* context);

    /// A result without an error record.
    Result(bool ok = true);
    /// A result carrying `errorInfo`; a failure unless `ok` says otherwise.
    Result(const ErrorInfo& errorInfo, bool ok = false);
    Result(const Result& other);
    Result(Result&& other) noexcept;
    Result& operator=(const Result& other);
    Result& operator=(Result&& other) noexcept;
    ~Result();

    bool isOk() const;
    explicit operator bool() const { return isOk(); }
    const ErrorInfo& errorInfo() const;
    operator const ErrorInfo&() const { return errorInfo(); }

    /// Hands the error record to the installed show-error handler (see setShowErrorHandler),
    /// with the place from which it is shown and the two display values.
    void showError(const CodeLocation& location, int x, int y) const;

    // Showing errors belongs to the user-interaction layer, which installs its handler here;
    // the C face installs C handlers in the same place (orv_setShowErrorHandler), so there is
    // one hook for both. Until a handler is installed, the default writes the record's long
    // form to standard error.

    /// Installs `handler` (null restores the default) and returns the previous one; its context
    /// is stored into *previousContext when that pointer is not null. Thread-safe; a handler
    /// that is running while it is replaced finishes its call.
    static ShowErrorHandler setShowErrorHandler(ShowErrorHandler handler, void* context = nullptr,
                                                void** previousContext = nullptr);
    /// The handler in place until another is installed: writes "Error shown at " and the
    /// location's asString(), then the record's asLongString(), to standard error.
    static void defaultShowErrorHandler(const ErrorInfo& errorInfo, const CodeLocation& location,
                                        int x, int y, void* context);

private:
    struct Private;
    PrivatePtr<Private> d;
};

} // namespace Core
} // namespace Orvane
