// Clocks, calendar conversions and the locale's code page on Win32.
#include "platform/platform.h"
#include "platform/calendar.h"
#include "platform/win32/win32support.h"

namespace Orvane {
namespace Core {
namespace Platform {

// ---- time --------------------------------------------------------------------------------------

namespace {

// FILETIME counts 100 ns steps since 1601-01-01.
constexpr std::int64_t kEpochOffsetSeconds = 11644473600LL;
constexpr std::int64_t kTicksPerSecond = 10000000LL;

std::int64_t fileTimeTicks(const FILETIME& time) {
    return static_cast<std::int64_t>((static_cast<std::uint64_t>(time.dwHighDateTime) << 32) |
                                     time.dwLowDateTime);
}

bool systemTimeFromSeconds(std::int64_t posixSeconds, SYSTEMTIME& out) {
    if (posixSeconds < -kEpochOffsetSeconds ||
        posixSeconds > INT64_MAX / kTicksPerSecond - kEpochOffsetSeconds)
        return false;
    const auto ticks =
        static_cast<std::uint64_t>((posixSeconds + kEpochOffsetSeconds) * kTicksPerSecond);
    FILETIME fileTime{static_cast<DWORD>(ticks), static_cast<DWORD>(ticks >> 32)};
    return FileTimeToSystemTime(&fileTime, &out) != 0;
}

bool secondsFromSystemTime(const SYSTEMTIME& time, std::int64_t& posixSeconds) {
    FILETIME fileTime{};
    if (!SystemTimeToFileTime(&time, &fileTime)) return false;
    posixSeconds =
        Calendar::floorDiv(fileTimeTicks(fileTime), kTicksPerSecond) - kEpochOffsetSeconds;
    return true;
}

// SYSTEMTIME of seconds since the epoch read as a wall-clock time (no zone involved).
bool wallClockToSystemTime(std::int64_t seconds, SYSTEMTIME& out) {
    std::tm fields{};
    if (!Calendar::fieldsFromSeconds(seconds, fields) || fields.tm_year < 1601 - 1900 ||
        fields.tm_year > 30827 - 1900)
        return false;
    out = SYSTEMTIME{};
    out.wYear = static_cast<WORD>(fields.tm_year + 1900);
    out.wMonth = static_cast<WORD>(fields.tm_mon + 1);
    out.wDayOfWeek = static_cast<WORD>(fields.tm_wday);
    out.wDay = static_cast<WORD>(fields.tm_mday);
    out.wHour = static_cast<WORD>(fields.tm_hour);
    out.wMinute = static_cast<WORD>(fields.tm_min);
    out.wSecond = static_cast<WORD>(fields.tm_sec);
    return true;
}

std::int64_t wallClockSeconds(const SYSTEMTIME& time) {
    std::tm fields{};
    fields.tm_year = time.wYear - 1900;
    fields.tm_mon = time.wMonth - 1;
    fields.tm_mday = time.wDay;
    fields.tm_hour = time.wHour;
    fields.tm_min = time.wMinute;
    fields.tm_sec = time.wSecond;
    return Calendar::secondsFromFields(fields);
}

// The zone's standard offset in that year, in seconds east of UTC.
std::int64_t standardOffsetSeconds(WORD year) {
    TIME_ZONE_INFORMATION zone{};
    if (!GetTimeZoneInformationForYear(year, nullptr, &zone) &&
        GetTimeZoneInformation(&zone) == TIME_ZONE_ID_INVALID)
        return 0;
    return -static_cast<std::int64_t>(zone.Bias) * 60;
}

} // namespace

std::int64_t currentTimeMs() {
    FILETIME now{};
    GetSystemTimeAsFileTime(&now);
    return fileTimeTicks(now) / 10000 - kEpochOffsetSeconds * 1000;
}

std::uint64_t monotonicNs() {
    static const std::uint64_t frequency = [] {
        LARGE_INTEGER value{};
        QueryPerformanceFrequency(&value);
        return static_cast<std::uint64_t>(value.QuadPart);
    }();
    LARGE_INTEGER counter{};
    QueryPerformanceCounter(&counter);
    const auto ticks = static_cast<std::uint64_t>(counter.QuadPart);
    // Split to keep ticks * 10^9 from overflowing.
    return ticks / frequency * 1000000000ULL + ticks % frequency * 1000000000ULL / frequency;
}

// The zone's rules come from the system, through SYSTEMTIME, which spans 1601 to 30827.
bool localTime(std::int64_t posixSeconds, std::tm& out) {
    SYSTEMTIME utc{}, local{};
    if (!systemTimeFromSeconds(posixSeconds, utc) ||
        !SystemTimeToTzSpecificLocalTime(nullptr, &utc, &local))
        return false;
    const std::int64_t offset = wallClockSeconds(local) - posixSeconds;
    if (!Calendar::fieldsFromSeconds(posixSeconds + offset, out)) return false;
    out.tm_isdst = offset != standardOffsetSeconds(local.wYear) ? 1 : 0;
    return true;
}

bool utcTime(std::int64_t posixSeconds, std::tm& out) {
    return Calendar::fieldsFromSeconds(posixSeconds, out);
}

// tm_isdst is not consulted: the system resolves a wall-clock time that occurs twice.
std::int64_t makeLocalTime(std::tm fields) {
    SYSTEMTIME local{}, utc{};
    std::int64_t posixSeconds = -1;
    if (!wallClockToSystemTime(Calendar::secondsFromFields(fields), local) ||
        !TzSpecificLocalTimeToSystemTime(nullptr, &local, &utc) ||
        !secondsFromSystemTime(utc, posixSeconds))
        return -1;
    return posixSeconds;
}

std::int64_t makeUtcTime(std::tm fields) {
    return Calendar::secondsFromFields(fields);
}

// ---- text encodings ----------------------------------------------------------------------------

bool localeToUtf16(const std::string& text, std::u16string& out) {
    out.clear();
    if (text.empty()) return true;
    const int size = static_cast<int>(text.size());
    const int length =
        MultiByteToWideChar(CP_ACP, MB_ERR_INVALID_CHARS, text.data(), size, nullptr, 0);
    if (length <= 0) return false;
    std::wstring wide(static_cast<size_t>(length), L'\0');
    MultiByteToWideChar(CP_ACP, MB_ERR_INVALID_CHARS, text.data(), size, &wide[0], length);
    out.assign(wide.begin(), wide.end());
    return true;
}

bool utf16ToLocale(const std::u16string& text, std::string& out) {
    out.clear();
    if (text.empty()) return true;
    const std::wstring wide(text.begin(), text.end());
    const int size = static_cast<int>(wide.size());
    // With UTF-8 as the code page the substitution report is not available; invalid input is
    // refused outright instead.
    const bool utf8 = GetACP() == CP_UTF8;
    const DWORD flags = utf8 ? WC_ERR_INVALID_CHARS : WC_NO_BEST_FIT_CHARS;
    BOOL substituted = FALSE;
    BOOL* substitutedOut = utf8 ? nullptr : &substituted;
    const int length =
        WideCharToMultiByte(CP_ACP, flags, wide.data(), size, nullptr, 0, nullptr, substitutedOut);
    if (length <= 0 || substituted) return false;
    out.resize(static_cast<size_t>(length));
    WideCharToMultiByte(CP_ACP, flags, wide.data(), size, &out[0], length, nullptr, nullptr);
    return true;
}

} // namespace Platform
} // namespace Core
} // namespace Orvane
