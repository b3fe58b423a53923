// Calendar arithmetic for UTC is done here with the proleptic Gregorian calendar, so it works for
// every year on every platform; only local time goes through the platform layer.
#include "qorcommon/datetime.h"

#include "qorcommon/assertion.h"
#include "qorcommon/threadmanagedobject.h"

#include "platform/calendar.h"
#include "platform/platform.h"

#include <cmath>
#include <cstring>
#include <memory>

namespace Orvane {
namespace Core {

// Gives the file's helpers access to the frozen value record and to compiled formats.
struct DateTimeAccess;

namespace {

using Platform::Calendar::CivilDate;
using Platform::Calendar::civilFromDays;
using Platform::Calendar::daysFromCivil;
using Platform::Calendar::daysInMonth;
using Platform::Calendar::floorDiv;
using Platform::Calendar::floorMod;

constexpr std::int64_t SecondsPerDay = Platform::Calendar::kSecondsPerDay;
constexpr std::int64_t MillisecondsPerDay = SecondsPerDay * 1000;
constexpr std::int64_t SecondsPer400Years = Platform::Calendar::kDaysPer400Years * SecondsPerDay;
constexpr std::int64_t Posix2000 = 946684800;

// The system covers a limited range of local time (Windows: 1970 to 3000). Outside it a time is
// shifted by whole 400-year cycles into the range, converted, and shifted back; this keeps every
// conversion defined and every round trip exact, with the time zone rules of the shifted year.
bool posixToLocal(std::int64_t posixSeconds, std::tm& out) {
    if (Platform::localTime(posixSeconds, out)) return true;
    const std::int64_t cycles = floorDiv(posixSeconds - Posix2000, SecondsPer400Years);
    if (cycles == 0) return false;
    if (!Platform::localTime(posixSeconds - cycles * SecondsPer400Years, out)) return false;
    out.tm_year += static_cast<int>(cycles * 400);
    return true;
}

bool localToPosix(std::tm fields, std::int64_t& out) {
    out = Platform::makeLocalTime(fields);
    if (out != -1) return true;
    // -1 is also the true answer for the fields of the second before the epoch.
    std::tm beforeEpoch{};
    if (Platform::localTime(-1, beforeEpoch) &&
        Platform::Calendar::secondsFromFields(beforeEpoch) ==
            Platform::Calendar::secondsFromFields(fields))
        return true;
    const std::int64_t cycles = floorDiv(fields.tm_year + 1900 - 2000, 400);
    if (cycles == 0) return false;
    fields.tm_year -= static_cast<int>(cycles * 400);
    const std::int64_t shifted = Platform::makeLocalTime(fields);
    if (shifted == -1) return false;
    out = shifted + cycles * SecondsPer400Years;
    return true;
}

// ---- digits ----------------------------------------------------------------------------------

const char DigitPairs[] = "00010203040506070809"
                          "10111213141516171819"
                          "20212223242526272829"
                          "30313233343536373839"
                          "40414243444546474849"
                          "50515253545556575859"
                          "60616263646566676869"
                          "70717273747576777879"
                          "80818283848586878889"
                          "90919293949596979899";

// Writes `value` as printf's "%0*lld" does: the sign, then zeros up to `width` characters.
char* writeNumber(char* out, std::int64_t value, int width) {
    char reversed[24];
    int count = 0;
    std::uint64_t magnitude =
        value < 0 ? 0 - static_cast<std::uint64_t>(value) : static_cast<std::uint64_t>(value);
    do {
        reversed[count++] = static_cast<char>('0' + magnitude % 10);
        magnitude /= 10;
    } while (magnitude != 0);
    if (value < 0) {
        *out++ = '-';
        --width;
    }
    for (int pad = width - count; pad > 0; --pad)
        *out++ = '0';
    while (count > 0)
        *out++ = reversed[--count];
    return out;
}

inline char* write2(char* out, std::int32_t value) {
    if (static_cast<std::uint32_t>(value) >= 100) return writeNumber(out, value, 2);
    std::memcpy(out, DigitPairs + 2 * value, 2);
    return out + 2;
}

inline char* write3(char* out, std::int32_t value) {
    if (static_cast<std::uint32_t>(value) >= 1000) return writeNumber(out, value, 3);
    *out = static_cast<char>('0' + value / 100);
    std::memcpy(out + 1, DigitPairs + 2 * (value % 100), 2);
    return out + 3;
}

inline char* write4(char* out, std::int32_t value) {
    if (static_cast<std::uint32_t>(value) >= 10000) return writeNumber(out, value, 4);
    std::memcpy(out, DigitPairs + 2 * (value / 100), 2);
    std::memcpy(out + 2, DigitPairs + 2 * (value % 100), 2);
    return out + 4;
}

inline char* writeISOFields(char* out, std::int32_t year, std::int32_t month, std::int32_t day,
                            std::int32_t hour, std::int32_t minute, std::int32_t second) {
    out = write4(out, year);
    *out++ = '-';
    out = write2(out, month);
    *out++ = '-';
    out = write2(out, day);
    *out++ = 'T';
    out = write2(out, hour);
    *out++ = ':';
    out = write2(out, minute);
    *out++ = ':';
    return write2(out, second);
}

// ---- ISO parsing -----------------------------------------------------------------------------

// The longest text fromISODateTime accepts: "YYYY-MM-DDThh:mm:ss.fffffffff+hh:mm".
constexpr std::size_t LongestISOText = 35;

struct ParsedISO {
    int year = 0, month = 0, day = 0, hour = 0, minute = 0, second = 0;
    int milliseconds = -1;
    bool hasZone = false;
    int zoneOffsetSeconds = 0;
};

// Reads forward through [p, end); every read is checked against `end`.
class ISOReader {
public:
    ISOReader(const char* begin, const char* end) : m_p(begin), m_end(end) {}

    bool atEnd() const { return m_p == m_end; }
    bool peek(char c) const { return m_p != m_end && *m_p == c; }
    bool take(char c) {
        if (!peek(c)) return false;
        ++m_p;
        return true;
    }
    bool takeAny(const char* set) {
        if (m_p == m_end || *m_p == '\0' || !std::strchr(set, *m_p)) return false;
        ++m_p;
        return true;
    }
    /// Exactly `count` decimal digits.
    bool number(int count, int& value) {
        value = 0;
        for (int i = 0; i < count; ++i) {
            if (m_p == m_end || *m_p < '0' || *m_p > '9') return false;
            value = value * 10 + (*m_p++ - '0');
        }
        return true;
    }
    /// One or more digits read as a fraction of a second, in milliseconds.
    bool fraction(int& milliseconds) {
        int digits = 0;
        milliseconds = 0;
        while (m_p != m_end && *m_p >= '0' && *m_p <= '9') {
            if (++digits > 9) return false;
            if (digits <= 3) milliseconds = milliseconds * 10 + (*m_p - '0');
            ++m_p;
        }
        if (digits == 0) return false;
        for (int i = digits; i < 3; ++i)
            milliseconds *= 10;
        return true;
    }

private:
    const char* m_p;
    const char* m_end;
};

bool readZone(ISOReader& in, ParsedISO& out) {
    if (in.takeAny("Zz")) {
        out.hasZone = true;
        return true;
    }
    int sign = 0;
    if (in.take('+'))
        sign = 1;
    else if (in.take('-'))
        sign = -1;
    else
        return true;
    int hours = 0, minutes = 0;
    if (!in.number(2, hours)) return false;
    if (in.take(':')) {
        if (!in.number(2, minutes)) return false;
    } else if (!in.atEnd() && !in.number(2, minutes)) {
        return false;
    }
    if (hours > 23 || minutes > 59) return false;
    out.hasZone = true;
    out.zoneOffsetSeconds = sign * (hours * 3600 + minutes * 60);
    return true;
}

bool readTime(ISOReader& in, ParsedISO& out) {
    if (!in.number(2, out.hour) || !in.take(':') || !in.number(2, out.minute)) return false;
    if (in.take(':')) {
        if (!in.number(2, out.second)) return false;
        if (in.takeAny(".,") && !in.fraction(out.milliseconds)) return false;
    }
    return readZone(in, out);
}

bool parseISO(const char* text, std::size_t length, ParsedISO& out) {
    ISOReader in(text, text + length);
    if (!in.number(4, out.year) || !in.take('-') || !in.number(2, out.month) || !in.take('-') ||
        !in.number(2, out.day))
        return false;
    if (!in.atEnd()) {
        if (!in.takeAny("Tt ") || !readTime(in, out)) return false;
    }
    if (!in.atEnd()) return false;
    return out.month >= 1 && out.month <= 12 && out.day >= 1 &&
           out.day <= daysInMonth(out.year, out.month) && out.hour <= 23 && out.minute <= 59 &&
           out.second <= 59;
}

// ---- formats ---------------------------------------------------------------------------------

struct FormatToken {
    const char* text;
    std::size_t length;
    DateTimeFormat::Field field;
};

// The order in which the tokens claim their occurrences.
const FormatToken FormatTokens[] = {{"YYYY", 4, DateTimeFormat::Year4},
                                    {"Y", 1, DateTimeFormat::Year},
                                    {"MM", 2, DateTimeFormat::Month2},
                                    {"MI", 2, DateTimeFormat::Minute2},
                                    {"M", 1, DateTimeFormat::Month},
                                    {"DD", 2, DateTimeFormat::Day2},
                                    {"D", 1, DateTimeFormat::Day},
                                    {"HH24", 4, DateTimeFormat::Hour24},
                                    {"SSMMM", 5, DateTimeFormat::SecondsMillis},
                                    {"SS", 2, DateTimeFormat::Seconds2},
                                    {"MS", 2, DateTimeFormat::Milliseconds3},
                                    {"SM", 2, DateTimeFormat::SecondsAsMillis}};

// The most characters one field writes: "SSMMM" of two full-range 32-bit numbers.
constexpr std::size_t LongestField = 24;

struct CompiledFormat {
    struct Segment {
        DateTimeFormat::Field field;
        // A literal's place in `text`.
        std::uint32_t offset;
        std::uint32_t length;
    };

    std::string text;
    std::vector<Segment> segments;
    // Upper bound of the rendered length.
    std::size_t longestOutput = 0;

    explicit CompiledFormat(std::string format) : text(std::move(format)) { compile(); }

private:
    void compile() {
        if (!text.empty())
            segments.push_back(
                {DateTimeFormat::Literal, 0, static_cast<std::uint32_t>(text.size())});
        std::vector<Segment> next;
        for (const FormatToken& token : FormatTokens) {
            next.clear();
            for (const Segment& segment : segments) {
                if (segment.field == DateTimeFormat::Literal)
                    claim(segment, token, next);
                else
                    next.push_back(segment);
            }
            segments.swap(next);
        }
        for (const Segment& segment : segments)
            longestOutput +=
                segment.field == DateTimeFormat::Literal ? segment.length : LongestField;
    }

    // Splits a literal at every occurrence of the token, left to right, without overlap.
    void claim(const Segment& literal, const FormatToken& token, std::vector<Segment>& out) const {
        const std::size_t end = literal.offset + literal.length;
        std::size_t position = literal.offset;
        for (;;) {
            const std::size_t hit = text.find(token.text, position, token.length);
            if (hit == std::string::npos || hit + token.length > end) break;
            if (hit > position)
                out.push_back({DateTimeFormat::Literal, static_cast<std::uint32_t>(position),
                               static_cast<std::uint32_t>(hit - position)});
            out.push_back({token.field, 0, 0});
            position = hit + token.length;
        }
        if (position < end)
            out.push_back({DateTimeFormat::Literal, static_cast<std::uint32_t>(position),
                           static_cast<std::uint32_t>(end - position)});
    }
};

// Compiled formats shared by all threads. Entries are never removed while the process runs, so
// the per-thread caches may keep plain pointers to them. Bounded: past the limit a format is
// compiled for each call instead of being kept.
class FormatRegistry {
public:
    const CompiledFormat* find(const char* text, std::size_t length) {
        m_mutex.lock();
        const CompiledFormat* found = nullptr;
        for (const std::unique_ptr<CompiledFormat>& entry : m_entries) {
            if (entry->text.size() == length &&
                std::memcmp(entry->text.data(), text, length) == 0) {
                found = entry.get();
                break;
            }
        }
        if (!found && m_entries.size() < Capacity) {
            m_entries.emplace_back(new CompiledFormat(std::string(text, length)));
            found = m_entries.back().get();
        }
        m_mutex.unlock();
        return found;
    }

private:
    static constexpr std::size_t Capacity = 64;
    Platform::Mutex m_mutex;
    std::vector<std::unique_ptr<CompiledFormat>> m_entries;
};

FormatRegistry& formatRegistry() {
    // Never destroyed: loggers may still format time stamps during static destruction.
    static FormatRegistry* registry = new FormatRegistry;
    return *registry;
}

// The formats this thread used last. A per-thread cache makes a hit cost a slot lookup and a few
// compares with no lock. It lives in the library's per-thread variables (whose own slot cache
// makes the lookup cheap) and goes when its thread ends.
struct ThreadFormatCache {
    static constexpr unsigned Slots = 8;
    const CompiledFormat* slots[Slots] = {};
    unsigned next = 0;
};

ThreadFormatCache& threadFormatCache() {
    // Never destroyed: loggers may still format time stamps during static destruction.
    static auto* variable = new ThreadLocalVariable<ThreadFormatCache>;
    return variable->get();
}

const CompiledFormat* cachedFormat(const char* text, std::size_t length) {
    ThreadFormatCache& cache = threadFormatCache();
    for (const CompiledFormat* format : cache.slots) {
        if (format && format->text.size() == length &&
            std::memcmp(format->text.data(), text, length) == 0)
            return format;
    }
    const CompiledFormat* format = formatRegistry().find(text, length);
    if (format) cache.slots[cache.next++ % ThreadFormatCache::Slots] = format;
    return format;
}

} // namespace

struct DateTimeAccess {
    static const DateTime::Value& value(const DateTime& dateTime) { return dateTime.m_value; }

    static char* render(const CompiledFormat& format, const DateTime::Value& v, char* out) {
        const std::int32_t milliseconds = v.milliseconds < 0 ? 0 : v.milliseconds;
        for (const CompiledFormat::Segment& segment : format.segments) {
            switch (segment.field) {
            case DateTimeFormat::Literal:
                std::memcpy(out, format.text.data() + segment.offset, segment.length);
                out += segment.length;
                break;
            case DateTimeFormat::Year4:
                out = write4(out, v.year);
                break;
            case DateTimeFormat::Year:
                out = writeNumber(out, v.year, 0);
                break;
            case DateTimeFormat::Month2:
                out = write2(out, v.month);
                break;
            case DateTimeFormat::Minute2:
                out = write2(out, v.minute);
                break;
            case DateTimeFormat::Month:
                out = writeNumber(out, v.month, 0);
                break;
            case DateTimeFormat::Day2:
                out = write2(out, v.day);
                break;
            case DateTimeFormat::Day:
                out = writeNumber(out, v.day, 0);
                break;
            case DateTimeFormat::Hour24:
                out = write2(out, v.hour);
                break;
            case DateTimeFormat::SecondsMillis:
                out = write2(out, v.second);
                *out++ = '.';
                out = write3(out, milliseconds);
                break;
            case DateTimeFormat::Seconds2:
                out = write2(out, v.second);
                break;
            case DateTimeFormat::Milliseconds3:
                out = write3(out, milliseconds);
                break;
            case DateTimeFormat::SecondsAsMillis:
                out = writeNumber(out, std::int64_t(v.second) * 1000 + milliseconds, 0);
                break;
            }
        }
        return out;
    }

    static String format(const CompiledFormat& format, const DateTime::Value& v) {
        char buffer[256];
        if (format.longestOutput <= sizeof buffer)
            return String(std::string(buffer, render(format, v, buffer)));
        std::string text(format.longestOutput, '\0');
        text.resize(static_cast<std::size_t>(render(format, v, &text[0]) - text.data()));
        return String(std::move(text));
    }

    static void appendTo(std::string& out, const CompiledFormat& format, const DateTime::Value& v) {
        char buffer[256];
        if (format.longestOutput <= sizeof buffer) {
            out.append(buffer, render(format, v, buffer));
            return;
        }
        const std::size_t start = out.size();
        out.resize(start + format.longestOutput);
        out.resize(static_cast<std::size_t>(render(format, v, &out[start]) - out.data()));
    }

    static String formatText(const char* text, std::size_t length, const DateTime::Value& v) {
        if (const CompiledFormat* compiled = cachedFormat(text, length))
            return format(*compiled, v);
        return format(CompiledFormat(std::string(text, length)), v);
    }
};

// ---- DateTime --------------------------------------------------------------------------------

DateTime::DateTime() : StorageObject(nullptr), m_value() {
    clear();
}

DateTime::DateTime(Object* parent) : StorageObject(parent), m_value() {
    clear();
}

DateTime::DateTime(int year, int month, int day, int hour, int minute, int second, Object* parent)
    : DateTime(year, month, day, hour, minute, second, -1, DaylightSavingAuto, parent) {}

DateTime::DateTime(int year, int month, int day, int hour, int minute, int second,
                   DaylightSaving daylightSaving, Object* parent)
    : DateTime(year, month, day, hour, minute, second, -1, daylightSaving, parent) {}

DateTime::DateTime(int year, int month, int day, int hour, int minute, int second, int milliseconds,
                   Object* parent)
    : DateTime(year, month, day, hour, minute, second, milliseconds, DaylightSavingAuto, parent) {}

DateTime::DateTime(int year, int month, int day, int hour, int minute, int second, int milliseconds,
                   DaylightSaving daylightSaving, Object* parent)
    : StorageObject(parent), m_value() {
    fromNumbers(year, month, day, hour, minute, second, milliseconds, daylightSaving);
}

DateTime::DateTime(double posixSeconds, Object* parent)
    : DateTime(posixSeconds, DaylightSavingAuto, parent) {}

DateTime::DateTime(double posixSeconds, DaylightSaving daylightSaving, Object* parent)
    : StorageObject(parent), m_value() {
    clear();
    if (!std::isfinite(posixSeconds) || std::fabs(posixSeconds) > 9.0e15) return;
    const double whole = std::floor(posixSeconds);
    const long milliseconds = std::lround((posixSeconds - whole) * 1000.0);
    fromPosixTime(static_cast<std::int64_t>(whole), milliseconds, daylightSaving);
}

DateTime::DateTime(PosixTag, std::int64_t posixSeconds, long milliseconds,
                   DaylightSaving daylightSaving, Object* parent)
    : StorageObject(parent), m_value() {
    clear();
    fromPosixTime(posixSeconds, milliseconds, daylightSaving);
}

DateTime::DateTime(const std::tm& fields, Object* parent)
    : DateTime(TmTag(), fields, -1, daylightSavingOf(fields), parent) {}

DateTime::DateTime(const std::tm& fields, DaylightSaving daylightSaving, Object* parent)
    : DateTime(TmTag(), fields, -1, daylightSaving, parent) {}

DateTime::DateTime(TmTag, const std::tm& fields, long milliseconds, DaylightSaving daylightSaving,
                   Object* parent)
    : StorageObject(parent), m_value() {
    fromTM(fields, milliseconds, daylightSaving);
}

DateTime::DateTime(const char* isoText, Object* parent)
    : DateTime(isoText, DaylightSavingAuto, parent) {}

DateTime::DateTime(const char* isoText, DaylightSaving daylightSaving, Object* parent)
    : StorageObject(parent), m_value() {
    clear();
    fromISODateTime(isoText, daylightSaving, *this);
}

DateTime::DateTime(const std::string& isoText, Object* parent)
    : DateTime(isoText, DaylightSavingAuto, parent) {}

DateTime::DateTime(const std::string& isoText, DaylightSaving daylightSaving, Object* parent)
    : StorageObject(parent), m_value() {
    clear();
    fromISODateTime(isoText, daylightSaving, *this);
}

DateTime::DateTime(const DateTime& other) : StorageObject(other), m_value(other.m_value) {}

DateTime::DateTime(const DateTime& other, Object* parent)
    : StorageObject(parent), m_value(other.m_value) {}

DateTime& DateTime::operator=(const DateTime& other) {
    m_value = other.m_value;
    return *this;
}

DateTime::~DateTime() = default;

void DateTime::clear() {
    m_value = Value();
    m_value.milliseconds = -1;
    m_value.daylightSaving = DaylightSavingAuto;
    m_value.flags = EmptyFlag;
}

void DateTime::fromNumbers(int year, int month, int day, int hour, int minute, int second,
                           int milliseconds, DaylightSaving daylightSaving) {
    Value v = Value();
    v.year = year;
    v.month = month;
    v.day = day;
    v.hour = hour;
    v.minute = minute;
    v.second = second;
    v.milliseconds = milliseconds < 0 ? -1 : milliseconds;
    v.daylightSaving = static_cast<std::int8_t>(daylightSaving);
    m_value = v;
}

bool DateTime::fromPosixTime(std::int64_t posixSeconds, long milliseconds,
                             DaylightSaving daylightSaving) {
    if (milliseconds >= 1000) {
        posixSeconds += milliseconds / 1000;
        milliseconds %= 1000;
    }
    std::tm local{};
    if (!posixToLocal(posixSeconds, local)) return false;
    const DaylightSaving systemFlag = daylightSavingOf(local);
    Value v = Value();
    v.year = local.tm_year + 1900;
    v.month = local.tm_mon + 1;
    v.day = local.tm_mday;
    v.hour = local.tm_hour;
    v.minute = local.tm_min;
    v.second = local.tm_sec;
    v.milliseconds = milliseconds < 0 ? -1 : static_cast<std::int32_t>(milliseconds);
    v.daylightSaving = static_cast<std::int8_t>(
        daylightSaving == DaylightSavingAuto ? systemFlag : daylightSaving);
    // A flag that contradicts the system's describes another point in time; the conversions then
    // follow the fields and the flag.
    if (daylightSaving == DaylightSavingAuto || daylightSaving == systemFlag) {
        v.posixSeconds = posixSeconds;
        v.flags = PosixKnownFlag;
    }
    m_value = v;
    return true;
}

void DateTime::fromTM(const std::tm& fields, long milliseconds, DaylightSaving daylightSaving) {
    fromNumbers(fields.tm_year + 1900, fields.tm_mon + 1, fields.tm_mday, fields.tm_hour,
                fields.tm_min, fields.tm_sec, static_cast<int>(milliseconds), daylightSaving);
}

std::int64_t DateTime::asPosixTime() const {
    if (isEmpty()) return 0;
    if (m_value.flags & PosixKnownFlag) return m_value.posixSeconds;
    std::tm fields{};
    fields.tm_year = m_value.year - 1900;
    fields.tm_mon = m_value.month - 1;
    fields.tm_mday = m_value.day;
    fields.tm_hour = m_value.hour;
    fields.tm_min = m_value.minute;
    fields.tm_sec = m_value.second;
    fields.tm_isdst = m_value.daylightSaving;
    std::int64_t posixSeconds = -1;
    localToPosix(fields, posixSeconds);
    return posixSeconds;
}

double DateTime::asSeconds() const {
    const double fraction = hasMilliseconds() ? m_value.milliseconds / 1000.0 : 0.0;
    return static_cast<double>(asPosixTime()) + fraction;
}

void DateTime::toTM(std::tm& out) const {
    out = std::tm();
    if (isEmpty()) {
        posixToLocal(0, out);
        return;
    }
    out.tm_year = m_value.year - 1900;
    out.tm_mon = m_value.month - 1;
    out.tm_mday = m_value.day;
    out.tm_hour = m_value.hour;
    out.tm_min = m_value.minute;
    out.tm_sec = m_value.second;
    out.tm_isdst = m_value.daylightSaving;
    const std::int64_t day = daysFromCivil(m_value.year, m_value.month, m_value.day);
    out.tm_wday = Platform::Calendar::weekday(day);
    const std::int64_t year = m_value.year + floorDiv(m_value.month - 1, 12);
    out.tm_yday = static_cast<int>(day - daysFromCivil(year, 1, 1));
}

DateTime::operator std::tm() const {
    std::tm out;
    toTM(out);
    return out;
}

std::size_t DateTime::writeISODateTime(char* buffer, std::size_t size, bool utc) const {
    if (!buffer || size < ISOBufferSize) return 0;
    char* out;
    if (utc) {
        const std::int64_t posixSeconds = asPosixTime();
        const std::int64_t day = floorDiv(posixSeconds, SecondsPerDay);
        const std::int64_t secondOfDay = posixSeconds - day * SecondsPerDay;
        const CivilDate date = civilFromDays(day);
        out = writeISOFields(buffer, static_cast<std::int32_t>(date.year), date.month, date.day,
                             static_cast<std::int32_t>(secondOfDay / 3600),
                             static_cast<std::int32_t>(secondOfDay / 60 % 60),
                             static_cast<std::int32_t>(secondOfDay % 60));
    } else {
        out = writeISOFields(buffer, m_value.year, m_value.month, m_value.day, m_value.hour,
                             m_value.minute, m_value.second);
    }
    if (hasMilliseconds()) {
        *out++ = '.';
        out = write3(out, m_value.milliseconds);
    }
    if (utc) *out++ = 'Z';
    *out = '\0';
    return static_cast<std::size_t>(out - buffer);
}

String DateTime::asISODateTime(bool utc) const {
    char buffer[ISOBufferSize];
    const std::size_t length = writeISODateTime(buffer, sizeof buffer, utc);
    return String(std::string(buffer, length));
}

String DateTime::asString(const char* format) const {
    if (!format) return String();
    return DateTimeAccess::formatText(format, std::strlen(format), m_value);
}

String DateTime::asString(const std::string& format) const {
    return DateTimeAccess::formatText(format.data(), format.size(), m_value);
}

String DateTime::asString(const DateTimeFormat& format) const {
    return format.format(*this);
}

int DateTime::compare(const DateTime& other) const {
    const std::int64_t mine = asPosixTime();
    const std::int64_t theirs = other.asPosixTime();
    if (mine != theirs) return mine < theirs ? -1 : 1;
    const int myMilliseconds = hasMilliseconds() ? m_value.milliseconds : 0;
    const int theirMilliseconds = other.hasMilliseconds() ? other.m_value.milliseconds : 0;
    return myMilliseconds < theirMilliseconds ? -1 : myMilliseconds > theirMilliseconds ? 1 : 0;
}

DateTime DateTime::now(bool utc) {
    const std::int64_t milliseconds = Platform::currentTimeMs();
    const std::int64_t posixSeconds = floorDiv(milliseconds, 1000);
    const long fraction = static_cast<long>(milliseconds - posixSeconds * 1000);
    DateTime result;
    if (!utc) {
        // Log lines read the clock many times a second: the calendar fields of the current
        // second are kept per thread, so the local-time conversion runs once a second.
        struct LastSecond {
            std::int64_t posixSeconds;
            Value value;
            bool known;
        };
        thread_local LastSecond last{};
        if (last.known && last.posixSeconds == posixSeconds) {
            result.m_value = last.value;
            result.m_value.milliseconds = static_cast<std::int32_t>(fraction);
            return result;
        }
        if (result.fromPosixTime(posixSeconds, fraction)) {
            last.posixSeconds = posixSeconds;
            last.value = result.m_value;
            last.known = true;
        }
        return result;
    }
    const std::int64_t day = floorDiv(posixSeconds, SecondsPerDay);
    const std::int64_t secondOfDay = posixSeconds - day * SecondsPerDay;
    const CivilDate date = civilFromDays(day);
    result.fromNumbers(static_cast<int>(date.year), date.month, date.day,
                       static_cast<int>(secondOfDay / 3600),
                       static_cast<int>(secondOfDay / 60 % 60), static_cast<int>(secondOfDay % 60),
                       static_cast<int>(fraction), DaylightSavingOff);
    return result;
}

DateTime DateTime::spanOf(std::int64_t totalMilliseconds, std::int64_t totalMonths) {
    DateTime span;
    std::int64_t rest = totalMilliseconds;
    const int spanMilliseconds = static_cast<int>(rest % 1000);
    rest /= 1000;
    const int spanSeconds = static_cast<int>(rest % 60);
    rest /= 60;
    const int spanMinutes = static_cast<int>(rest % 60);
    rest /= 60;
    span.fromNumbers(static_cast<int>(totalMonths / 12), static_cast<int>(totalMonths % 12),
                     static_cast<int>(rest / 24), static_cast<int>(rest % 24), spanMinutes,
                     spanSeconds, spanMilliseconds, DaylightSavingOff);
    return span;
}

DateTime DateTime::fromTimeSpan(long days, long hours, long minutes, long seconds,
                                long milliseconds, long months, long years) {
    const std::int64_t totalMilliseconds =
        (((std::int64_t(days) * 24 + hours) * 60 + minutes) * 60 + seconds) * 1000 + milliseconds;
    const std::int64_t totalMonths = std::int64_t(years) * 12 + months;
    if (!QOR_CHECK(totalMilliseconds >= 0 && totalMonths >= 0)) return DateTime();
    return spanOf(totalMilliseconds, totalMonths);
}

DateTime DateTime::shifted(const DateTime& span, int direction) const {
    if (isEmpty() || span.isEmpty()) return DateTime(*this);
    const Value& by = span.m_value;
    const std::int64_t spanMonths = std::int64_t(by.year) * 12 + by.month;
    const std::int64_t monthIndex =
        std::int64_t(m_value.year) * 12 + (m_value.month - 1) + direction * spanMonths;
    const std::int64_t year = floorDiv(monthIndex, 12);
    const int month = static_cast<int>(floorMod(monthIndex, 12)) + 1;
    std::int64_t day = m_value.day;
    if (spanMonths != 0 && day > daysInMonth(year, month)) day = daysInMonth(year, month);

    const auto millisecondsOfDay = [](const Value& v) {
        return ((std::int64_t(v.hour) * 60 + v.minute) * 60 + v.second) * 1000 +
               (v.milliseconds < 0 ? 0 : v.milliseconds);
    };
    const std::int64_t total =
        daysFromCivil(year, month, day) * MillisecondsPerDay + millisecondsOfDay(m_value) +
        direction * (std::int64_t(by.day) * MillisecondsPerDay + millisecondsOfDay(by));
    const std::int64_t dayNumber = floorDiv(total, MillisecondsPerDay);
    std::int64_t rest = total - dayNumber * MillisecondsPerDay;
    const CivilDate date = civilFromDays(dayNumber);
    const int milliseconds = static_cast<int>(rest % 1000);
    rest /= 1000;
    DateTime result;
    result.fromNumbers(
        static_cast<int>(date.year), date.month, date.day, static_cast<int>(rest / 3600),
        static_cast<int>(rest / 60 % 60), static_cast<int>(rest % 60),
        hasMilliseconds() || by.milliseconds > 0 ? milliseconds : -1, DaylightSavingAuto);
    return result;
}

DateTime DateTime::afterSpan(const DateTime& span) const {
    return shifted(span, 1);
}

DateTime DateTime::beforeSpan(const DateTime& span) const {
    return shifted(span, -1);
}

DateTime DateTime::spanBetween(const DateTime& first, const DateTime& second) {
    const auto pointInMilliseconds = [](const DateTime& v) {
        return v.asPosixTime() * 1000 + (v.hasMilliseconds() ? v.m_value.milliseconds : 0);
    };
    const std::int64_t difference = pointInMilliseconds(first) - pointInMilliseconds(second);
    return spanOf(difference < 0 ? -difference : difference, 0);
}

bool DateTime::fromISODateTime(const char* text, DaylightSaving daylightSaving, DateTime& out) {
    if (!text) return false;
    // Look for the end no further than the longest accepted text could reach.
    std::size_t length = 0;
    while (length <= LongestISOText && text[length] != '\0')
        ++length;
    if (length > LongestISOText) return false;
    return fromISODateTime(text, length, daylightSaving, out);
}

bool DateTime::fromISODateTime(const char* text, std::size_t length, DaylightSaving daylightSaving,
                               DateTime& out) {
    ParsedISO parsed;
    if (!text || length > LongestISOText || !parseISO(text, length, parsed)) return false;
    if (!parsed.hasZone) {
        out.fromNumbers(parsed.year, parsed.month, parsed.day, parsed.hour, parsed.minute,
                        parsed.second, parsed.milliseconds, daylightSaving);
        return true;
    }
    const std::int64_t posixSeconds =
        daysFromCivil(parsed.year, parsed.month, parsed.day) * SecondsPerDay + parsed.hour * 3600 +
        parsed.minute * 60 + parsed.second - parsed.zoneOffsetSeconds;
    return out.fromPosixTime(posixSeconds, parsed.milliseconds, daylightSaving);
}

std::map<String, String> DateTime::availableStringFormatMacros() {
    return {{"YYYY", "Year (4 digits)"},
            {"Y", "Year"},
            {"MM", "Month (2 digits)"},
            {"M", "Month"},
            {"DD", "Day (2 digits)"},
            {"D", "Day"},
            {"HH24", "Hour (2 Digits)"},
            {"SSMMM", "<seconds (2 digits)>.<milliseconds> (3 digits)"},
            {"SS", "Seconds (2 digist)"},
            {"MS", "Milliseconds (3 digist)"},
            {"SM", "Seconds + Milliseconds as Milliseconds"}};
}

// ---- DateTimeFormat --------------------------------------------------------------------------

// Immutable once compiled, so copies share it.
struct DateTimeFormat::Private : SharedPrivate {
    Private() : compiled(std::string()) {}
    explicit Private(std::string text) : compiled(std::move(text)) {}
    CompiledFormat compiled;
};

DateTimeFormat::DateTimeFormat(const char* format)
    : d(new Private(format ? std::string(format) : std::string())) {}

DateTimeFormat::DateTimeFormat(const std::string& format) : d(new Private(format)) {}

DateTimeFormat::DateTimeFormat(const DateTimeFormat& other) noexcept = default;
DateTimeFormat& DateTimeFormat::operator=(const DateTimeFormat& other) noexcept = default;
DateTimeFormat::~DateTimeFormat() = default;

const std::string& DateTimeFormat::text() const {
    return d->compiled.text;
}

std::vector<DateTimeFormat::Segment> DateTimeFormat::segments() const {
    std::vector<Segment> result;
    result.reserve(d->compiled.segments.size());
    for (const CompiledFormat::Segment& segment : d->compiled.segments) {
        Segment item;
        item.field = segment.field;
        if (segment.field == Literal)
            item.literal = d->compiled.text.substr(segment.offset, segment.length);
        result.push_back(std::move(item));
    }
    return result;
}

String DateTimeFormat::format(const DateTime& value) const {
    return DateTimeAccess::format(d->compiled, DateTimeAccess::value(value));
}

void DateTimeFormat::appendTo(std::string& out, const DateTime& value) const {
    DateTimeAccess::appendTo(out, d->compiled, DateTimeAccess::value(value));
}

} // namespace Core
} // namespace Orvane
