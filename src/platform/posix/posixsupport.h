// Helpers shared by the POSIX implementation files.
#pragma once

#include <cstring>
#include <string>

namespace Orvane {
namespace Core {
namespace Platform {
namespace Posix {

// glibc offers the GNU strerror_r (returning a pointer) or the XSI one (returning an int)
// depending on feature macros; overloads pick whichever was declared.
inline const char* pickErrorText(const char* result, const char*) {
    return result;
}
inline const char* pickErrorText(int result, const char* buffer) {
    return result == 0 ? buffer : "Unknown error";
}

inline std::string errorText(int code) {
    char buffer[256] = {};
    return pickErrorText(strerror_r(code, buffer, sizeof buffer), buffer);
}

} // namespace Posix
} // namespace Platform
} // namespace Core
} // namespace Orvane
