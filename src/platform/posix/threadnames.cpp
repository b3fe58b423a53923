// Thread names on POSIX: the kernel keeps 15 bytes of a thread's name.
#include "platform/platform.h"

#include <cstring>

#include <pthread.h>

namespace Orvane {
namespace Core {
namespace Platform {

namespace {

constexpr std::size_t kNameLimit = 15; // TASK_COMM_LEN - 1

// Cuts a UTF-8 text to at most `limit` bytes without splitting a character.
std::string cutUtf8(const std::string& text, std::size_t limit) {
    if (text.size() <= limit) return text;
    std::size_t end = limit;
    while (end > 0 && (static_cast<unsigned char>(text[end]) & 0xC0) == 0x80)
        --end;
    return text.substr(0, end);
}

} // namespace

bool setCurrentThreadName(const std::string& name) {
    const std::string cut = cutUtf8(name, kNameLimit);
    return pthread_setname_np(pthread_self(), cut.c_str()) == 0;
}

std::string currentThreadName() {
    char buffer[kNameLimit + 1] = {};
    if (pthread_getname_np(pthread_self(), buffer, sizeof buffer) != 0) return std::string();
    return std::string(buffer, strnlen(buffer, sizeof buffer));
}

} // namespace Platform
} // namespace Core
} // namespace Orvane
