// The C face of the assertion handler.
#include "qorcommon/c/assertion.h"

#include "cboundary.h"
#include "qorcommon/assertion.h"

#include <type_traits>

using namespace Orvane::Core;

// A C handler is installed as it is: both faces name the same function type.
static_assert(std::is_same<AssertionHandler, orv_AssertionHandler>::value,
              "the C and C++ assertion handlers must have the same type");

extern "C" {

QORCOMMON_API orv_AssertionHandler orv_assertion_setHandler(orv_AssertionHandler handler,
                                                            void* context,
                                                            void** previousContext) noexcept {
    return QOR_C_GUARDED(static_cast<orv_AssertionHandler>(nullptr),
                         [&] { return setAssertionHandler(handler, context, previousContext); });
}

QORCOMMON_API void orv_assertion_report(const char* expression, const char* file,
                                        int line) noexcept {
    QOR_C_GUARDED_VOID([&] { reportAssertion(expression, file, line); });
}

QORCOMMON_API unsigned long orv_assertion_count(void) noexcept {
    return assertionCount();
}

} // extern "C"
