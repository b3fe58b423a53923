// Proleptic Gregorian calendar arithmetic. The C runtime of Windows refuses times before 1970,
// so UTC conversions are computed here for the whole range of a year in `tm`.
#pragma once

#include <climits>
#include <cstdint>
#include <ctime>

namespace Orvane {
namespace Core {
namespace Platform {
namespace Calendar {

constexpr std::int64_t kSecondsPerDay = 86400;

inline std::int64_t floorDiv(std::int64_t value, std::int64_t divisor) {
    const std::int64_t quotient = value / divisor;
    return (value % divisor != 0 && (value < 0) != (divisor < 0)) ? quotient - 1 : quotient;
}

/// Days since 1970-01-01 of a date; month 1-12, day 1-31.
inline std::int64_t daysFromCivil(std::int64_t year, unsigned month, unsigned day) {
    year -= month <= 2 ? 1 : 0;
    const std::int64_t era = floorDiv(year, 400);
    const std::int64_t yearOfEra = year - era * 400;
    const std::int64_t dayOfYear = (153 * (month > 2 ? month - 3 : month + 9) + 2) / 5 + day - 1;
    const std::int64_t dayOfEra = yearOfEra * 365 + yearOfEra / 4 - yearOfEra / 100 + dayOfYear;
    return era * 146097 + dayOfEra - 719468;
}

struct Date {
    std::int64_t year;
    unsigned month; // 1-12
    unsigned day;   // 1-31
};

inline Date civilFromDays(std::int64_t days) {
    days += 719468;
    const std::int64_t era = floorDiv(days, 146097);
    const std::int64_t dayOfEra = days - era * 146097;
    const std::int64_t yearOfEra =
        (dayOfEra - dayOfEra / 1460 + dayOfEra / 36524 - dayOfEra / 146096) / 365;
    const std::int64_t dayOfYear = dayOfEra - (365 * yearOfEra + yearOfEra / 4 - yearOfEra / 100);
    const std::int64_t shiftedMonth = (5 * dayOfYear + 2) / 153;
    const auto day = static_cast<unsigned>(dayOfYear - (153 * shiftedMonth + 2) / 5 + 1);
    const auto month =
        static_cast<unsigned>(shiftedMonth < 10 ? shiftedMonth + 3 : shiftedMonth - 9);
    return Date{yearOfEra + era * 400 + (month <= 2 ? 1 : 0), month, day};
}

/// Calendar fields of seconds since the epoch, taken as UTC; false when the year leaves `tm`.
inline bool fieldsFromSeconds(std::int64_t seconds, std::tm& out) {
    const std::int64_t days = floorDiv(seconds, kSecondsPerDay);
    const std::int64_t secondOfDay = seconds - days * kSecondsPerDay;
    const Date date = civilFromDays(days);
    if (date.year - 1900 < INT_MIN || date.year - 1900 > INT_MAX) return false;
    out = std::tm{};
    out.tm_year = static_cast<int>(date.year - 1900);
    out.tm_mon = static_cast<int>(date.month) - 1;
    out.tm_mday = static_cast<int>(date.day);
    out.tm_hour = static_cast<int>(secondOfDay / 3600);
    out.tm_min = static_cast<int>(secondOfDay / 60 % 60);
    out.tm_sec = static_cast<int>(secondOfDay % 60);
    out.tm_wday = static_cast<int>(floorDiv(days + 4, 7) * -7 + days + 4); // 1970-01-01: Thursday
    out.tm_yday = static_cast<int>(days - daysFromCivil(date.year, 1, 1));
    out.tm_isdst = 0;
    return true;
}

/// Seconds since the epoch of calendar fields taken as UTC; fields out of their range carry
/// over as with timegm (month 12 is January of the next year, second 60 the next minute).
inline std::int64_t secondsFromFields(const std::tm& fields) {
    const std::int64_t year =
        static_cast<std::int64_t>(fields.tm_year) + 1900 + floorDiv(fields.tm_mon, 12);
    const auto month = static_cast<unsigned>(fields.tm_mon - floorDiv(fields.tm_mon, 12) * 12 + 1);
    const std::int64_t days = daysFromCivil(year, month, 1) + fields.tm_mday - 1;
    return days * kSecondsPerDay + static_cast<std::int64_t>(fields.tm_hour) * 3600 +
           static_cast<std::int64_t>(fields.tm_min) * 60 + fields.tm_sec;
}

} // namespace Calendar
} // namespace Platform
} // namespace Core
} // namespace Orvane
