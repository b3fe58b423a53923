// Clocks, calendar conversions and the locale's text encoding on POSIX.
#include "platform/platform.h"

#include <cerrno>
#include <climits>
#include <cwchar>
#include <limits>

#include <time.h>

namespace Orvane {
namespace Core {
namespace Platform {

// ---- time --------------------------------------------------------------------------------------

std::int64_t currentTimeMs() {
    timespec now{};
    clock_gettime(CLOCK_REALTIME, &now);
    return static_cast<std::int64_t>(now.tv_sec) * 1000 + now.tv_nsec / 1000000;
}

std::uint64_t monotonicNs() {
    timespec now{};
    clock_gettime(CLOCK_MONOTONIC, &now);
    return static_cast<std::uint64_t>(now.tv_sec) * 1000000000ULL +
           static_cast<std::uint64_t>(now.tv_nsec);
}

namespace {

bool fitsTimeT(std::int64_t seconds) {
    return seconds >= std::numeric_limits<time_t>::min() &&
           seconds <= std::numeric_limits<time_t>::max();
}

} // namespace

bool localTime(std::int64_t posixSeconds, std::tm& out) {
    if (!fitsTimeT(posixSeconds)) return false;
    const time_t value = static_cast<time_t>(posixSeconds);
    return localtime_r(&value, &out) != nullptr;
}

bool utcTime(std::int64_t posixSeconds, std::tm& out) {
    if (!fitsTimeT(posixSeconds)) return false;
    const time_t value = static_cast<time_t>(posixSeconds);
    return gmtime_r(&value, &out) != nullptr;
}

std::int64_t makeLocalTime(std::tm fields) {
    return static_cast<std::int64_t>(mktime(&fields));
}

std::int64_t makeUtcTime(std::tm fields) {
    return static_cast<std::int64_t>(timegm(&fields));
}

// ---- text encodings ----------------------------------------------------------------------------

// wchar_t holds UTF-32 with glibc; the conversions go through it and split or join surrogates.

bool localeToUtf16(const std::string& text, std::u16string& out) {
    out.clear();
    out.reserve(text.size());
    std::mbstate_t state{};
    const char* next = text.data();
    size_t left = text.size();
    while (left > 0) {
        wchar_t character = 0;
        size_t used = std::mbrtowc(&character, next, left, &state);
        if (used == static_cast<size_t>(-1) || used == static_cast<size_t>(-2)) return false;
        if (used == 0) // an embedded zero byte
            used = 1;
        const auto code = static_cast<std::uint32_t>(character);
        if (code > 0x10FFFF || (code >= 0xD800 && code <= 0xDFFF)) return false;
        if (code >= 0x10000) {
            out.push_back(static_cast<char16_t>(0xD800 + ((code - 0x10000) >> 10)));
            out.push_back(static_cast<char16_t>(0xDC00 + ((code - 0x10000) & 0x3FF)));
        } else {
            out.push_back(static_cast<char16_t>(code));
        }
        next += used;
        left -= used;
    }
    return true;
}

bool utf16ToLocale(const std::u16string& text, std::string& out) {
    out.clear();
    out.reserve(text.size());
    std::mbstate_t state{};
    char buffer[MB_LEN_MAX];
    for (size_t i = 0; i < text.size(); ++i) {
        std::uint32_t code = text[i];
        if (code >= 0xD800 && code <= 0xDBFF) {
            if (i + 1 >= text.size() || text[i + 1] < 0xDC00 || text[i + 1] > 0xDFFF) return false;
            code = 0x10000 + ((code - 0xD800) << 10) + (text[i + 1] - 0xDC00u);
            ++i;
        } else if (code >= 0xDC00 && code <= 0xDFFF) {
            return false;
        }
        const size_t length = std::wcrtomb(buffer, static_cast<wchar_t>(code), &state);
        if (length == static_cast<size_t>(-1)) return false;
        out.append(buffer, length);
    }
    return true;
}

} // namespace Platform
} // namespace Core
} // namespace Orvane
