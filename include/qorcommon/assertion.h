// Assertions of the library: a failed check is reported and the caller goes on with its fall-back.
#pragma once

#include "qorcommon/export.h"

namespace Orvane {
namespace Core {

/// Called for every failed check with the checked text, the source file and line, and the
/// context given with the handler. The same type as orv_AssertionHandler of the C face.
using AssertionHandler = void (*)(const char* expression, const char* file, int line,
                                  void* context);

/// Installs a handler (null restores the default one) and returns the previous handler.
QORCOMMON_API AssertionHandler setAssertionHandler(AssertionHandler handler,
                                                   void* context = nullptr,
                                                   void** previousContext = nullptr);

/// Reports a failed check with the text of its expression.
QORCOMMON_API void reportAssertion(const char* expression, const char* file, int line);

/// The number of failed checks reported since the process started.
QORCOMMON_API unsigned long assertionCount();

} // namespace Core
} // namespace Orvane

/// Checks `expr`; on failure reports its text and yields false. Checks stay on in release builds:
/// each costs one branch, and callers rely on the report to find misuse of null handles.
#define QOR_CHECK(expr)                                                                            \
    ((expr) ? true : (::Orvane::Core::reportAssertion(#expr, __FILE__, __LINE__), false))

/// Reports `text` as a failed check (for checks whose text is not a C++ expression).
#define QOR_ASSERT_FAILED(text) ::Orvane::Core::reportAssertion(text, __FILE__, __LINE__)
