#include "cboundary.h"

#include <cstdio>

namespace Orvane {
namespace Core {
namespace CApi {

void reportCaught(const char* function, const std::exception* caught) noexcept {
    const char* name = function ? function : "C function";
    // A fixed buffer: the usual cause is memory running out, so the report must not allocate.
    char text[512];
    const char* what = caught ? caught->what() : "unknown exception";
    std::snprintf(text, sizeof text, "%s: %s", name, what ? what : "");
    try {
        reportAssertion(text, __FILE__, __LINE__);
    } catch (...) {
        // An assertion handler that throws must not take the C caller down.
    }
}

} // namespace CApi
} // namespace Core
} // namespace Orvane
