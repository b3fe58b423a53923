// The one boundary every C function crosses: nothing thrown inside the library escapes through
// extern "C". A caught exception is reported to the assertion handler with the C function's name
// and the function returns its documented fall-back.
#pragma once

#include "qorcommon/assertion.h"

#include <exception>
#include <type_traits>
#include <utility>

namespace Orvane {
namespace Core {
namespace CApi {

/// Reports an exception caught at the C boundary: "<function>: <what>" (or "unknown exception").
/// Itself never throws: when even the text cannot be built, the function name alone is reported.
void reportCaught(const char* function, const std::exception* caught) noexcept;

/// Runs `call` and returns its result; when it throws, reports the exception and returns
/// `fallback`. The fall-back is taken by value so that it exists before the call can fail.
template <class R, class Call> R guarded(const char* function, R fallback, Call&& call) noexcept {
    // C results are plain values: handing back the fall-back must not fail in its turn.
    static_assert(std::is_nothrow_copy_constructible<R>::value,
                  "a C function's result must copy without throwing");
    try {
        return static_cast<R>(std::forward<Call>(call)());
    } catch (const std::exception& caught) {
        reportCaught(function, &caught);
    } catch (...) {
        reportCaught(function, nullptr);
    }
    return fallback;
}

/// The same for a function without a result.
template <class Call> void guardedVoid(const char* function, Call&& call) noexcept {
    try {
        std::forward<Call>(call)();
    } catch (const std::exception& caught) {
        reportCaught(function, &caught);
    } catch (...) {
        reportCaught(function, nullptr);
    }
}

/// The C face's booleans are 16-bit integers.
inline short cBool(bool value) noexcept {
    return value ? 1 : 0;
}

} // namespace CApi
} // namespace Core
} // namespace Orvane

/// Guards the body of a C function; `fallback` is what the function returns when it throws.
/// Usage: `return QOR_C_GUARDED(0, [&] { ... });`
#define QOR_C_GUARDED(fallback, ...) ::Orvane::Core::CApi::guarded(__func__, fallback, __VA_ARGS__)
#define QOR_C_GUARDED_VOID(...) ::Orvane::Core::CApi::guardedVoid(__func__, __VA_ARGS__)
