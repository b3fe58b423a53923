// Calendar time values: local calendar fields with optional milliseconds, their ISO form, a small
// token language for formats ("YYYYMMDDHH24MISS"), and conversions to and from POSIX time and the
// standard `tm` record.
#pragma once

#include "qorcommon/object.h"
#include "qorcommon/privateptr.h"
#include "qorcommon/string.h"

#include <cstddef>
#include <cstdint>
#include <ctime>
#include <map>
#include <string>
#include <type_traits>
#include <vector>

namespace Orvane {
namespace Core {

class DateTimeFormat;

/// A point in local time held as calendar fields (year, month 1-12, day 1-31, hour 0-23, minute,
/// second, and milliseconds 0-999 or none).
///
/// The fields are local time: every conversion to a point in time (asPosixTime, asSeconds,
/// comparisons, the UTC ISO form) reads them as local time of the running system, and every
/// conversion from one (POSIX seconds, now(), an ISO text with a zone) produces local fields.
/// now(true) is the one exception: it holds the UTC wall clock for display, and conversions
/// still read those fields as local time.
///
/// An empty value (default-constructed or cleared) has all fields 0 and stands for the POSIX
/// epoch wherever a point in time is needed.
/// Thread safety: reentrant.
class QORCOMMON_API DateTime : public StorageObject {
    template <class I>
    using EnableIfInteger =
        std::enable_if_t<std::is_integral<I>::value && !std::is_same<I, bool>::value>;

public:
    /// How the local fields relate to daylight-saving time. The values are those of `tm_isdst`.
    enum DaylightSaving : int {
        /// Let the system decide from the date. In the hour that repeats when clocks go back
        /// the system picks one of the two readings; values made from a point in time record
        /// the system's answer instead, so that they convert back to the same point.
        DaylightSavingAuto = -1,
        /// The fields are standard (winter) time.
        DaylightSavingOff = 0,
        /// The fields are daylight-saving (summer) time.
        DaylightSavingOn = 1
    };

    /// An empty value.
    DateTime();
    explicit DateTime(Object* parent);

    /// From numbers (see fromNumbers). The fields are stored as given, without checks.
    DateTime(int year, int month, int day, int hour, int minute, int second,
             Object* parent = nullptr);
    DateTime(int year, int month, int day, int hour, int minute, int second,
             DaylightSaving daylightSaving, Object* parent = nullptr);
    DateTime(int year, int month, int day, int hour, int minute, int second, int milliseconds,
             Object* parent = nullptr);
    DateTime(int year, int month, int day, int hour, int minute, int second, int milliseconds,
             DaylightSaving daylightSaving, Object* parent = nullptr);

    /// From POSIX time with a fractional part (rounded to milliseconds).
    explicit DateTime(double posixSeconds, Object* parent = nullptr);
    DateTime(double posixSeconds, DaylightSaving daylightSaving, Object* parent = nullptr);

    // From POSIX seconds (see fromPosixTime). The integer forms are templates so that a plain
    // literal picks them rather than the double form, and a literal 0 as milliseconds is not
    // taken for a null parent.
    template <class I, class = EnableIfInteger<I>>
    explicit DateTime(I posixSeconds, Object* parent = nullptr)
        : DateTime(PosixTag(), static_cast<std::int64_t>(posixSeconds), -1, DaylightSavingAuto,
                   parent) {}
    template <class I, class = EnableIfInteger<I>>
    DateTime(I posixSeconds, DaylightSaving daylightSaving, Object* parent = nullptr)
        : DateTime(PosixTag(), static_cast<std::int64_t>(posixSeconds), -1, daylightSaving,
                   parent) {}
    template <class I, class M, class = EnableIfInteger<I>, class = EnableIfInteger<M>>
    DateTime(I posixSeconds, M milliseconds, Object* parent = nullptr)
        : DateTime(PosixTag(), static_cast<std::int64_t>(posixSeconds),
                   static_cast<long>(milliseconds), DaylightSavingAuto, parent) {}
    template <class I, class M, class = EnableIfInteger<I>, class = EnableIfInteger<M>>
    DateTime(I posixSeconds, M milliseconds, DaylightSaving daylightSaving,
             Object* parent = nullptr)
        : DateTime(PosixTag(), static_cast<std::int64_t>(posixSeconds),
                   static_cast<long>(milliseconds), daylightSaving, parent) {}

    /// From the standard calendar record (see fromTM); the forms without a DaylightSaving take
    /// it from `tm_isdst`.
    explicit DateTime(const std::tm& fields, Object* parent = nullptr);
    DateTime(const std::tm& fields, DaylightSaving daylightSaving, Object* parent = nullptr);
    template <class M, class = EnableIfInteger<M>>
    DateTime(const std::tm& fields, M milliseconds, Object* parent = nullptr)
        : DateTime(TmTag(), fields, static_cast<long>(milliseconds), daylightSavingOf(fields),
                   parent) {}
    template <class M, class = EnableIfInteger<M>>
    DateTime(const std::tm& fields, M milliseconds, DaylightSaving daylightSaving,
             Object* parent = nullptr)
        : DateTime(TmTag(), fields, static_cast<long>(milliseconds), daylightSaving, parent) {}

    /// Parsed with fromISODateTime; a text that does not parse gives an empty value.
    explicit DateTime(const char* isoText, Object* parent = nullptr);
    DateTime(const char* isoText, DaylightSaving daylightSaving, Object* parent = nullptr);
    explicit DateTime(const std::string& isoText, Object* parent = nullptr);
    DateTime(const std::string& isoText, DaylightSaving daylightSaving, Object* parent = nullptr);

    /// A copy starts without a parent; the second form gives it one.
    DateTime(const DateTime& other);
    DateTime(const DateTime& other, Object* parent);
    /// Copies the value; the parent stays.
    DateTime& operator=(const DateTime& other);
    ~DateTime() override;

    // ---- setting the value ------------------------------------------------------------------

    /// Stores the fields as given; negative milliseconds mean none.
    void fromNumbers(int year, int month, int day, int hour, int minute, int second,
                     int milliseconds = -1, DaylightSaving daylightSaving = DaylightSavingAuto);
    /// The local fields of a POSIX time. Milliseconds outside 0-999 carry into the seconds;
    /// negative milliseconds mean none. False (and the value is left as it was) when the system
    /// cannot convert the time.
    bool fromPosixTime(std::int64_t posixSeconds, long milliseconds = -1,
                       DaylightSaving daylightSaving = DaylightSavingAuto);
    /// The calendar fields of the record (tm_wday and tm_yday are not read); negative
    /// milliseconds mean none.
    void fromTM(const std::tm& fields, long milliseconds, DaylightSaving daylightSaving);
    void fromTM(const std::tm& fields, long milliseconds = -1) {
        fromTM(fields, milliseconds, daylightSavingOf(fields));
    }
    /// Makes the value empty.
    void clear();

    // ---- fields -----------------------------------------------------------------------------

    int years() const { return m_value.year; }
    int months() const { return m_value.month; }
    int days() const { return m_value.day; }
    int hours() const { return m_value.hour; }
    int minutes() const { return m_value.minute; }
    int seconds() const { return m_value.second; }
    /// 0-999, or -1 when the value has none.
    int milliseconds() const { return m_value.milliseconds; }
    DaylightSaving daylightSaving() const {
        return static_cast<DaylightSaving>(m_value.daylightSaving);
    }
    bool hasMilliseconds() const { return m_value.milliseconds >= 0; }
    bool isEmpty() const { return (m_value.flags & EmptyFlag) != 0; }

    // ---- conversions ------------------------------------------------------------------------

    /// Seconds since the POSIX epoch of the fields read as local time (0 for an empty value).
    std::int64_t asPosixTime() const;
    /// asPosixTime() plus the milliseconds as a fraction.
    double asSeconds() const;
    /// The fields as a calendar record, with weekday, day of the year, and tm_isdst from the
    /// DaylightSaving value. An empty value gives the local record of the epoch.
    void toTM(std::tm& out) const;
    operator std::tm() const;

    /// "2024-01-31T23:59:59" with ".007" behind when the value has milliseconds. With `utc` the
    /// value is converted to UTC and the text ends in "Z" (".007Z" with milliseconds); an empty
    /// value then gives the epoch.
    String asISODateTime(bool utc = false) const;
    /// Writes the ISO form without a heap allocation. Returns the length written (a NUL follows),
    /// or 0 when `size` is smaller than ISOBufferSize.
    std::size_t writeISODateTime(char* buffer, std::size_t size, bool utc = false) const;
    /// A buffer of this size holds every ISO form that writeISODateTime produces.
    static constexpr std::size_t ISOBufferSize = 96;

    /// The format with its tokens replaced by the fields (see availableStringFormatMacros and
    /// DateTimeFormat). Compiled formats are cached, so repeating a format costs no parsing.
    String asString(const char* format) const;
    String asString(const std::string& format) const;
    String asString(const DateTimeFormat& format) const;

    // ---- comparisons as points in time (an empty value is the epoch, no milliseconds are 0) --

    bool operator==(const DateTime& other) const { return compare(other) == 0; }
    bool operator!=(const DateTime& other) const { return compare(other) != 0; }
    bool operator<(const DateTime& other) const { return compare(other) < 0; }
    bool operator<=(const DateTime& other) const { return compare(other) <= 0; }
    bool operator>(const DateTime& other) const { return compare(other) > 0; }
    bool operator>=(const DateTime& other) const { return compare(other) >= 0; }
    /// Negative, 0 or positive as this value lies before, at or after `other`.
    int compare(const DateTime& other) const;

    // ---- static operations ------------------------------------------------------------------

    /// The current time with milliseconds: local fields, or with `utc` the UTC wall clock.
    static DateTime now(bool utc = false);

    /// A span of time, held in the fields as counts instead of a date: years(), months(),
    /// days(), hours(), minutes(), seconds() and milliseconds() are the parts of the span. Days
    /// and the smaller units are added up (a day being 24 hours) and split again, so that hours
    /// are 0-23, minutes and seconds 0-59 and milliseconds 0-999, the remainder staying in
    /// days; months are added up with the years and split so that months are 0-11. A span has
    /// milliseconds and no daylight saving. Spans are not negative: a direction comes from the
    /// operation that applies one (DateTimeOperator); a negative total of either group is a
    /// failed check and gives an empty value. A span is meant for DateTimeOperator and for
    /// display; reading it as a point in time makes no sense.
    static DateTime fromTimeSpan(long days, long hours = 0, long minutes = 0, long seconds = 0,
                                 long milliseconds = 0, long months = 0, long years = 0);

    /// This point in time moved forward (afterSpan) or back (beforeSpan) by a span made with
    /// fromTimeSpan: years and months first, on the calendar, a day that the target month lacks
    /// becoming its last day (31 January + 1 month = the last day of February); then days and
    /// the smaller units as wall-clock time, a day being 24 hours. The result has milliseconds
    /// when this value has or the span's are not 0, and its daylight saving is left to the
    /// system. An empty value
    /// stays empty; an empty span changes nothing.
    DateTime afterSpan(const DateTime& span) const;
    DateTime beforeSpan(const DateTime& span) const;
    /// The span (days and smaller units) between two points in time, whichever comes first.
    static DateTime spanBetween(const DateTime& first, const DateTime& second);

    /// Reads an ISO text into `out`; false (and `out` untouched) when the text is malformed.
    /// Accepted: "YYYY-MM-DD", optionally followed by "T" (or a blank) and "hh:mm" or
    /// "hh:mm:ss", optionally with a fraction of 1-9 digits after "." or "," (read to
    /// milliseconds, further digits dropped), optionally followed by a zone: "Z" (or "z"),
    /// "+hh", "+hhmm" or "+hh:mm" (or "-"). Every field must be in range (month 1-12, day
    /// within the month, hour 0-23, minute and second 0-59). A text with a zone names a point in
    /// time and is converted to local fields; without a zone the fields are taken as local time
    /// with the given DaylightSaving. Nothing may follow, and the text is never read past its
    /// end (the terminating NUL, or the given length).
    static bool fromISODateTime(const char* text, DaylightSaving daylightSaving, DateTime& out);
    static bool fromISODateTime(const char* text, std::size_t length, DaylightSaving daylightSaving,
                                DateTime& out);
    static bool fromISODateTime(const std::string& text, DaylightSaving daylightSaving,
                                DateTime& out) {
        return fromISODateTime(text.data(), text.size(), daylightSaving, out);
    }

    /// The tokens of asString with their descriptions, in key order.
    static std::map<String, String> availableStringFormatMacros();

private:
    struct PosixTag {};
    struct TmTag {};
    DateTime(PosixTag, std::int64_t posixSeconds, long milliseconds, DaylightSaving daylightSaving,
             Object* parent);
    DateTime(TmTag, const std::tm& fields, long milliseconds, DaylightSaving daylightSaving,
             Object* parent);
    DateTime shifted(const DateTime& span, int direction) const;
    static DateTime spanOf(std::int64_t totalMilliseconds, std::int64_t totalMonths);
    static DaylightSaving daylightSavingOf(const std::tm& fields) {
        return fields.tm_isdst < 0    ? DaylightSavingAuto
               : fields.tm_isdst == 0 ? DaylightSavingOff
                                      : DaylightSavingOn;
    }

    friend class DateTimeFormat;
    friend struct DateTimeAccess;

    enum : std::uint8_t {
        EmptyFlag = 1,
        // `posixSeconds` holds the point in time that the fields were made from.
        PosixKnownFlag = 2
    };

    // The fields live in the object rather than behind a private pointer: a time stamp is made
    // and copied for every log entry, and a heap block per copy would dominate that cost. The
    // fields are fixed by what a calendar time is; this layout is frozen.
    struct Value {
        std::int64_t posixSeconds;
        std::int32_t year;
        std::int32_t month;
        std::int32_t day;
        std::int32_t hour;
        std::int32_t minute;
        std::int32_t second;
        std::int32_t milliseconds;
        std::int8_t daylightSaving;
        std::uint8_t flags;
        std::uint8_t reserved[2];
    };
    Value m_value;
};

/// A compiled asString format: the text cut once into literal parts and fields, so that
/// rendering is a single pass. Keep one where the same format is used often; DateTime::asString
/// also keeps recently used formats compiled.
///
/// The cut gives exactly what the ordered textual replacement of the tokens gives: each token in
/// turn (YYYY, Y, MM, MI, M, DD, D, HH24, SSMMM, SS, MS, SM) claims its occurrences, left to
/// right and without overlap, in the parts of the text that no earlier token claimed. Digits
/// that a field produced are never read again, so a literal "HH" in front of a day that happens
/// to be 24 stays "HH24" rather than turning into the hour. Because "MM" and "M" come early in
/// the order, they take the letters of "SSMMM", "MS" and "SM" before those have their turn:
/// "SSMMM" renders as seconds, 2-digit month, month, and "MIMS" as minute, month, "S".
/// Thread safety: thread-safe (immutable; copies share the compiled form).
class QORCOMMON_API DateTimeFormat {
public:
    /// What a segment produces.
    enum Field : int {
        Literal = 0,
        Year4,          ///< "YYYY": the year, at least 4 digits
        Year,           ///< "Y": the year
        Month2,         ///< "MM": the month, 2 digits
        Minute2,        ///< "MI": the minute, 2 digits
        Month,          ///< "M": the month
        Day2,           ///< "DD": the day, 2 digits
        Day,            ///< "D": the day
        Hour24,         ///< "HH24": the hour 0-23, 2 digits
        SecondsMillis,  ///< "SSMMM": seconds, 2 digits, ".", milliseconds, 3 digits
        Seconds2,       ///< "SS": the seconds, 2 digits
        Milliseconds3,  ///< "MS": the milliseconds, 3 digits
        SecondsAsMillis ///< "SM": seconds * 1000 + milliseconds
    };
    struct Segment {
        Field field;
        /// The text of a Literal segment; empty for a field.
        std::string literal;
    };

    explicit DateTimeFormat(const char* format);
    explicit DateTimeFormat(const std::string& format);
    DateTimeFormat(const DateTimeFormat& other) noexcept;
    DateTimeFormat& operator=(const DateTimeFormat& other) noexcept;
    ~DateTimeFormat();

    /// The format text as given.
    const std::string& text() const;
    /// The segments in output order.
    std::vector<Segment> segments() const;

    /// The value rendered with this format (missing milliseconds are rendered as 0).
    String format(const DateTime& value) const;
    /// Appends the rendered value to `out`.
    void appendTo(std::string& out, const DateTime& value) const;

private:
    friend struct DateTimeAccess;
    struct Private;
    SharedPrivatePtr<Private> d;
};

} // namespace Core
} // namespace Orvane
