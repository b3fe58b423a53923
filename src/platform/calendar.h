// Proleptic Gregorian calendar arithmetic: days from a civil date and back, weekdays, leap years,
// and calendar fields of seconds counted as UTC. Plain arithmetic with no system call, so that
// the portable date code and the platform layers share it for every year (the C runtime of
// Windows refuses times before 1970).
#pragma once

#include <climits>
#include <cstdint>
#include <ctime>

namespace Orvane {
namespace Core {
namespace Platform {
namespace Calendar {

constexpr std::int64_t kSecondsPerDay = 86400;
/// The calendar repeats itself, weekdays included, every 400 years.
constexpr std::int64_t kDaysPer400Years = 146097;

/// Division rounding toward negative infinity.
inline std::int64_t floorDiv(std::int64_t value, std::int64_t divisor) {
    const std::int64_t quotient = value / divisor;
    return (value % divisor != 0 && (value < 0) != (divisor < 0)) ? quotient - 1 : quotient;
}

/// The remainder of floorDiv: it has the sign of the divisor.
inline std::int64_t floorMod(std::int64_t value, std::int64_t divisor) {
    return value - floorDiv(value, divisor) * divisor;
}

inline bool isLeapYear(std::int64_t year) {
    return (year % 4 == 0 && year % 100 != 0) || year % 400 == 0;
}

/// Days of a month 1-12.
inline int daysInMonth(std::int64_t year, int month) {
    static const int lengths[12] = {31, 28, 31, 30, 31, 30, 31, 31, 30, 31, 30, 31};
    return month == 2 && isLeapYear(year) ? 29 : lengths[month - 1];
}

/// Days since 1970-01-01 of a date. The month may lie outside 1-12 and carries into the year;
/// the day may lie outside the month and carries into the next ones.
inline std::int64_t daysFromCivil(std::int64_t year, std::int64_t month, std::int64_t day) {
    year += floorDiv(month - 1, 12);
    month = floorMod(month - 1, 12) + 1;
    // Count years from March so that the leap day ends the year.
    const std::int64_t y = month <= 2 ? year - 1 : year;
    const std::int64_t era = floorDiv(y, 400);
    const std::int64_t yearOfEra = y - era * 400;
    const std::int64_t monthFromMarch = month > 2 ? month - 3 : month + 9;
    const std::int64_t dayOfYear = (153 * monthFromMarch + 2) / 5 + day - 1;
    const std::int64_t dayOfEra = yearOfEra * 365 + yearOfEra / 4 - yearOfEra / 100 + dayOfYear;
    return era * kDaysPer400Years + dayOfEra - 719468;
}

struct CivilDate {
    std::int64_t year;
    int month; // 1-12
    int day;   // 1-31
};

/// The date of a day counted from 1970-01-01.
inline CivilDate civilFromDays(std::int64_t days) {
    days += 719468;
    const std::int64_t era = floorDiv(days, kDaysPer400Years);
    const std::int64_t dayOfEra = days - era * kDaysPer400Years;
    const std::int64_t yearOfEra =
        (dayOfEra - dayOfEra / 1460 + dayOfEra / 36524 - dayOfEra / 146096) / 365;
    const std::int64_t dayOfYear = dayOfEra - (365 * yearOfEra + yearOfEra / 4 - yearOfEra / 100);
    const std::int64_t monthFromMarch = (5 * dayOfYear + 2) / 153;
    CivilDate date;
    date.day = static_cast<int>(dayOfYear - (153 * monthFromMarch + 2) / 5 + 1);
    date.month = static_cast<int>(monthFromMarch < 10 ? monthFromMarch + 3 : monthFromMarch - 9);
    date.year = yearOfEra + era * 400 + (date.month <= 2 ? 1 : 0);
    return date;
}

/// The weekday of a day counted from 1970-01-01, 0 for Sunday (as tm_wday).
inline int weekday(std::int64_t days) {
    return static_cast<int>(floorMod(days + 4, 7)); // 1970-01-01 was a Thursday
}

/// Calendar fields of seconds since the epoch, taken as UTC; false when the year leaves `tm`.
inline bool fieldsFromSeconds(std::int64_t seconds, std::tm& out) {
    const std::int64_t days = floorDiv(seconds, kSecondsPerDay);
    const std::int64_t secondOfDay = seconds - days * kSecondsPerDay;
    const CivilDate date = civilFromDays(days);
    if (date.year - 1900 < INT_MIN || date.year - 1900 > INT_MAX) return false;
    out = std::tm{};
    out.tm_year = static_cast<int>(date.year - 1900);
    out.tm_mon = date.month - 1;
    out.tm_mday = date.day;
    out.tm_hour = static_cast<int>(secondOfDay / 3600);
    out.tm_min = static_cast<int>(secondOfDay / 60 % 60);
    out.tm_sec = static_cast<int>(secondOfDay % 60);
    out.tm_wday = weekday(days);
    out.tm_yday = static_cast<int>(days - daysFromCivil(date.year, 1, 1));
    out.tm_isdst = 0;
    return true;
}

/// Seconds since the epoch of calendar fields taken as UTC; fields out of their range carry
/// over as with timegm (month 12 is January of the next year, second 60 the next minute).
inline std::int64_t secondsFromFields(const std::tm& fields) {
    const std::int64_t days =
        daysFromCivil(static_cast<std::int64_t>(fields.tm_year) + 1900,
                      static_cast<std::int64_t>(fields.tm_mon) + 1, fields.tm_mday);
    return days * kSecondsPerDay + static_cast<std::int64_t>(fields.tm_hour) * 3600 +
           static_cast<std::int64_t>(fields.tm_min) * 60 + fields.tm_sec;
}

} // namespace Calendar
} // namespace Platform
} // namespace Core
} // namespace Orvane
