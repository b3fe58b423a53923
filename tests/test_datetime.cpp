// Date and time values, their texts and the providers. Local-time expectations are computed
// through the platform's own conversions, so the tests hold in every time zone.
#include "qorcommon/datetime.h"
#include "qorcommon/datetimeprovider.h"

#include "platform/platform.h"
#include "testsupport.h"

#include <gtest/gtest.h>

#include <atomic>
#include <cstdio>
#include <cstring>
#include <memory>
#include <random>
#include <stdexcept>
#include <thread>

using namespace Orvane::Core;
using QorTest::AssertionRecorder;

namespace {

std::tm fields(int year, int month, int day, int hour, int minute, int second, int isdst = -1) {
    std::tm t{};
    t.tm_year = year - 1900;
    t.tm_mon = month - 1;
    t.tm_mday = day;
    t.tm_hour = hour;
    t.tm_min = minute;
    t.tm_sec = second;
    t.tm_isdst = isdst;
    return t;
}

std::string isoOf(const std::tm& t, int milliseconds, bool utc) {
    char text[64];
    int n = std::snprintf(text, sizeof text, "%04d-%02d-%02dT%02d:%02d:%02d", t.tm_year + 1900,
                          t.tm_mon + 1, t.tm_mday, t.tm_hour, t.tm_min, t.tm_sec);
    if (milliseconds >= 0) n += std::snprintf(text + n, sizeof text - n, ".%03d", milliseconds);
    if (utc) std::snprintf(text + n, sizeof text - n, "Z");
    return text;
}

void expectFields(const DateTime& v, int year, int month, int day, int hour, int minute, int second,
                  int milliseconds) {
    EXPECT_EQ(v.years(), year);
    EXPECT_EQ(v.months(), month);
    EXPECT_EQ(v.days(), day);
    EXPECT_EQ(v.hours(), hour);
    EXPECT_EQ(v.minutes(), minute);
    EXPECT_EQ(v.seconds(), second);
    EXPECT_EQ(v.milliseconds(), milliseconds);
}

// Points in time around the edges: 1901 and 1969 (before the epoch), leap days, month and year
// ends, the 32-bit overflow of 2038 and far beyond it.
const std::int64_t EdgeTimes[] = {
    -2208988800LL, // 1900-01-01
    -2147483649LL, // one second before the 32-bit minimum
    -86400,        -1, 0, 1,
    951782400,  // 2000-02-29
    1709164800, // 2024-02-29
    1706745599, // 2024-01-31T23:59:59
    1735689599, // 2024-12-31T23:59:59
    2147483647, // 2038-01-19T03:14:07
    2147483648LL,
    4107542399LL, // 2100-02-28T23:59:59
    4107542400LL, // 2100-03-01
    13574563200LL // 2400-02-29
};

} // namespace

// ---- ISO texts ---------------------------------------------------------------------------------

TEST(DateTimeIso, LocalAndUtcForms) {
    const DateTime plain(2024, 1, 31, 23, 59, 59);
    EXPECT_FALSE(plain.isEmpty());
    EXPECT_FALSE(plain.hasMilliseconds());
    EXPECT_EQ(plain.asISODateTime(), "2024-01-31T23:59:59");
    EXPECT_EQ(plain.asISODateTime(false), "2024-01-31T23:59:59");

    const DateTime withMs(2024, 1, 31, 23, 59, 59, 7);
    EXPECT_EQ(withMs.asISODateTime(), "2024-01-31T23:59:59.007");

    std::tm utc{};
    ASSERT_TRUE(Platform::utcTime(Platform::makeLocalTime(fields(2024, 1, 31, 23, 59, 59)), utc));
    EXPECT_EQ(plain.asISODateTime(true), isoOf(utc, -1, true));
    EXPECT_EQ(withMs.asISODateTime(true), isoOf(utc, 7, true));

    char buffer[DateTime::ISOBufferSize];
    EXPECT_EQ(withMs.writeISODateTime(buffer, sizeof buffer), 23u);
    EXPECT_STREQ(buffer, "2024-01-31T23:59:59.007");
    EXPECT_EQ(withMs.writeISODateTime(buffer, DateTime::ISOBufferSize - 1), 0u);
    EXPECT_EQ(withMs.writeISODateTime(nullptr, 200), 0u);

    EXPECT_EQ(DateTime(5, 1, 2, 3, 4, 5, 60).asISODateTime(), "0005-01-02T03:04:05.060");
    EXPECT_EQ(DateTime(12345, 1, 2, 3, 4, 5).asISODateTime(), "12345-01-02T03:04:05");
}

TEST(DateTimeIso, EmptyValue) {
    DateTime empty;
    EXPECT_TRUE(empty.isEmpty());
    EXPECT_FALSE(empty.hasMilliseconds());
    EXPECT_EQ(empty.asISODateTime(true), "1970-01-01T00:00:00Z");
    EXPECT_EQ(empty.asISODateTime(), "0000-00-00T00:00:00");
    EXPECT_EQ(empty.asPosixTime(), 0);
    EXPECT_EQ(empty.asSeconds(), 0.0);
    std::tm epoch{};
    ASSERT_TRUE(Platform::localTime(0, epoch));
    std::tm t = empty;
    EXPECT_EQ(isoOf(t, -1, false), isoOf(epoch, -1, false));

    DateTime value(2024, 3, 5, 1, 2, 3, 4);
    value.clear();
    EXPECT_TRUE(value.isEmpty());
    EXPECT_EQ(value.milliseconds(), -1);
    EXPECT_EQ(value.years(), 0);
    EXPECT_EQ(value, empty);
}

// ---- conversions -------------------------------------------------------------------------------

TEST(DateTimeConversion, PosixRoundTripsAroundTheEdges) {
    for (std::int64_t t : EdgeTimes) {
        SCOPED_TRACE(t);
        const DateTime value(t);
        EXPECT_FALSE(value.hasMilliseconds());
        EXPECT_EQ(value.asPosixTime(), t);
        // The UTC form read back names the same point in time.
        DateTime back;
        ASSERT_TRUE(DateTime::fromISODateTime(value.asISODateTime(true).str(),
                                              DateTime::DaylightSavingAuto, back));
        EXPECT_EQ(back.asPosixTime(), t);
        EXPECT_EQ(back, value);
        std::tm utc{};
        if (Platform::utcTime(t, utc)) {
            EXPECT_EQ(value.asISODateTime(true), isoOf(utc, -1, true));
        }
        std::tm local{};
        if (Platform::localTime(t, local)) {
            expectFields(value, local.tm_year + 1900, local.tm_mon + 1, local.tm_mday,
                         local.tm_hour, local.tm_min, local.tm_sec, -1);
            // Local fields read back through the platform's conversion give the same point.
            DateTime fromFields(value.years(), value.months(), value.days(), value.hours(),
                                value.minutes(), value.seconds(), value.daylightSaving());
            EXPECT_EQ(fromFields.asPosixTime(), Platform::makeLocalTime(local));
            EXPECT_EQ(fromFields.asPosixTime(), t);
        }
    }
}

TEST(DateTimeConversion, MillisecondsFractionsAndTm) {
    const DateTime half(1.5);
    EXPECT_EQ(half.asPosixTime(), 1);
    EXPECT_EQ(half.milliseconds(), 500);
    const DateTime beforeEpoch(-0.25);
    EXPECT_EQ(beforeEpoch.asPosixTime(), -1);
    EXPECT_EQ(beforeEpoch.milliseconds(), 750);
    EXPECT_DOUBLE_EQ(beforeEpoch.asSeconds(), -0.25);
    EXPECT_TRUE(DateTime(std::nan("")).isEmpty());

    const DateTime carried(std::int64_t(100), 1500);
    EXPECT_EQ(carried.asPosixTime(), 101);
    EXPECT_EQ(carried.milliseconds(), 500);
    EXPECT_FALSE(DateTime(100, -1).hasMilliseconds());
    EXPECT_EQ(DateTime(100, 0).milliseconds(), 0);

    // 5 March 2024 is a Tuesday, day 64 of the year; 31 December 1969 a Wednesday.
    std::tm t = DateTime(2024, 3, 5, 10, 20, 30, DateTime::DaylightSavingOff);
    EXPECT_EQ(t.tm_wday, 2);
    EXPECT_EQ(t.tm_yday, 64);
    EXPECT_EQ(t.tm_isdst, 0);
    EXPECT_EQ(isoOf(t, -1, false), "2024-03-05T10:20:30");
    DateTime(1969, 12, 31, 0, 0, 0).toTM(t);
    EXPECT_EQ(t.tm_wday, 3);
    EXPECT_EQ(t.tm_yday, 364);
    EXPECT_EQ(t.tm_isdst, -1);

    // An explicit flag is what mktime is told.
    for (int isdst : {0, 1}) {
        const DateTime summer(2024, 7, 15, 12, 0, 0, static_cast<DateTime::DaylightSaving>(isdst));
        EXPECT_EQ(summer.asPosixTime(),
                  Platform::makeLocalTime(fields(2024, 7, 15, 12, 0, 0, isdst)));
    }
    const DateTime fromTm(fields(2024, 2, 29, 1, 2, 3, 1), 42);
    expectFields(fromTm, 2024, 2, 29, 1, 2, 3, 42);
    EXPECT_EQ(fromTm.daylightSaving(), DateTime::DaylightSavingOn);
    EXPECT_EQ(
        DateTime(fields(2024, 2, 29, 1, 2, 3, 1), DateTime::DaylightSavingOff).daylightSaving(),
        DateTime::DaylightSavingOff);
}

TEST(DateTimeConversion, NowAndParents) {
    const std::int64_t before = Platform::currentTimeMs();
    const DateTime local = DateTime::now();
    const DateTime utc = DateTime::now(true);
    const std::int64_t after = Platform::currentTimeMs();
    ASSERT_TRUE(local.hasMilliseconds());
    const std::int64_t localMs = local.asPosixTime() * 1000 + local.milliseconds();
    EXPECT_GE(localMs, before);
    EXPECT_LE(localMs, after);
    // The UTC wall clock, read as a UTC text, is the same moment.
    DateTime utcPoint;
    ASSERT_TRUE(DateTime::fromISODateTime(utc.asISODateTime() + "Z", DateTime::DaylightSavingAuto,
                                          utcPoint));
    const std::int64_t utcMs = utcPoint.asPosixTime() * 1000 + utcPoint.milliseconds();
    EXPECT_GE(utcMs, before);
    EXPECT_LE(utcMs, after);

    auto* parent = new Object();
    auto* child = new DateTime(2024, 1, 1, 0, 0, 0, parent);
    auto* copy = new DateTime(*child, parent);
    const DateTime unowned(*child);
    EXPECT_EQ(child->parentObject(), parent);
    EXPECT_EQ(copy->parentObject(), parent);
    EXPECT_EQ(unowned.parentObject(), nullptr);
    EXPECT_EQ(parent->getChildren().size(), 2u);
    delete parent; // frees both children
    EXPECT_EQ(unowned.asISODateTime(), "2024-01-01T00:00:00");
}

TEST(DateTimeConversion, ComparisonsArePointsInTime) {
    const DateTime a(2024, 1, 31, 23, 59, 59);
    const DateTime b(2024, 2, 1, 0, 0, 0);
    EXPECT_TRUE(a < b && a <= b && b > a && b >= a && a != b && !(a == b));
    // Missing milliseconds count as 0.
    EXPECT_EQ(a, DateTime(2024, 1, 31, 23, 59, 59, 0));
    EXPECT_LT(a, DateTime(2024, 1, 31, 23, 59, 59, 1));
    // A value made from POSIX time equals the same local fields.
    const DateTime fromPosix(a.asPosixTime());
    EXPECT_EQ(fromPosix, a);
    EXPECT_EQ(fromPosix.compare(a), 0);
    // The empty value is the epoch.
    EXPECT_EQ(DateTime(), DateTime(std::int64_t(0)));
    EXPECT_LT(DateTime(-1), DateTime());
    // Fields out of range still compare by the moment they name (mktime normalises them).
    EXPECT_EQ(DateTime(2024, 1, 32, 12, 0, 0), DateTime(2024, 2, 1, 12, 0, 0));
}

// ---- parsing -----------------------------------------------------------------------------------

TEST(DateTimeParse, AcceptsWrittenAndFurtherForms) {
    DateTime v;
    ASSERT_TRUE(DateTime::fromISODateTime("2024-01-31T23:59:59", DateTime::DaylightSavingOff, v));
    expectFields(v, 2024, 1, 31, 23, 59, 59, -1);
    EXPECT_EQ(v.daylightSaving(), DateTime::DaylightSavingOff);
    ASSERT_TRUE(
        DateTime::fromISODateTime("2024-01-31T23:59:59.007", DateTime::DaylightSavingAuto, v));
    expectFields(v, 2024, 1, 31, 23, 59, 59, 7);
    ASSERT_TRUE(DateTime::fromISODateTime("2024-02-29 08:15", DateTime::DaylightSavingAuto, v));
    expectFields(v, 2024, 2, 29, 8, 15, 0, -1);
    ASSERT_TRUE(DateTime::fromISODateTime("2023-12-31", DateTime::DaylightSavingAuto, v));
    expectFields(v, 2023, 12, 31, 0, 0, 0, -1);
    ASSERT_TRUE(
        DateTime::fromISODateTime("2023-12-31t01:02:03,5", DateTime::DaylightSavingAuto, v));
    EXPECT_EQ(v.milliseconds(), 500);
    ASSERT_TRUE(DateTime::fromISODateTime("2023-12-31T01:02:03.123456789",
                                          DateTime::DaylightSavingAuto, v));
    EXPECT_EQ(v.milliseconds(), 123);

    // Every written form reads back to an equal value, local and UTC, with and without ms.
    for (const DateTime& written :
         {DateTime(2024, 1, 31, 23, 59, 59), DateTime(2024, 1, 31, 23, 59, 59, 7),
          DateTime(1969, 7, 20, 20, 17, 40, 999), DateTime(2040, 12, 31, 12, 0, 0)}) {
        for (bool utc : {false, true}) {
            const String text = written.asISODateTime(utc);
            SCOPED_TRACE(text.str());
            DateTime back;
            ASSERT_TRUE(DateTime::fromISODateTime(text.str(), DateTime::DaylightSavingAuto, back));
            EXPECT_EQ(back, written);
            EXPECT_EQ(back.asISODateTime(utc), text);
            EXPECT_EQ(DateTime(text.c_str()), written);
        }
    }

    // Zones: the same moment however it is written.
    const DateTime zulu("2024-06-01T12:00:00Z");
    EXPECT_EQ(zulu.asPosixTime(), 1717243200);
    EXPECT_EQ(DateTime("2024-06-01T14:00:00+02:00"), zulu);
    EXPECT_EQ(DateTime("2024-06-01T14:00:00+0200"), zulu);
    EXPECT_EQ(DateTime("2024-06-01T14:00:00+02"), zulu);
    EXPECT_EQ(DateTime("2024-06-01T06:30:00-05:30"), zulu);
    EXPECT_EQ(DateTime("2024-06-01T12:00z"), zulu);
    EXPECT_EQ(DateTime("2024-06-01T12:00:00.250Z").milliseconds(), 250);
}

TEST(DateTimeParse, RejectsMalformedTextsAndKeepsTheTarget) {
    // clang-format off
    const char* const bad[] = {
        "", "2024", "2024-01", "2024-1-31", "24-01-31", "2024/01/31", "2024-00-10", "2024-13-01",
        "2024-02-30", "2023-02-29", "2100-02-29", "2024-04-31", "2024-01-00", "2024-01-31T",
        "2024-01-31T23", "2024-01-31T23:5", "2024-01-31T24:00:00", "2024-01-31T23:60:00",
        "2024-01-31T23:59:60", "2024-01-31T23:59:59.", "2024-01-31T23:59:59.1234567890",
        "2024-01-31T23:59.5", "2024-01-31T23:59:59+", "2024-01-31T23:59:59+1",
        "2024-01-31T23:59:59+01:", "2024-01-31T23:59:59+013", "2024-01-31T23:59:59+24:00",
        "2024-01-31T23:59:59+01:60", "2024-01-31T23:59:59ZZ", "2024-01-31T23:59:59 ",
        " 2024-01-31T23:59:59", "2024-01-31X23:59:59", "2024-01-31T23:59:59Zjunk",
        "2024-01-31T23:59:59.007+01:00:00", "\xEF\xBC\x92\x30\x32\x34-01-31"};
    // clang-format on
    const DateTime original(1999, 12, 31, 23, 59, 58, 1);
    for (const char* text : bad) {
        SCOPED_TRACE(text);
        DateTime target(original);
        EXPECT_FALSE(DateTime::fromISODateTime(text, DateTime::DaylightSavingAuto, target));
        EXPECT_EQ(target.asISODateTime(), "1999-12-31T23:59:58.001");
        EXPECT_TRUE(DateTime(text).isEmpty());
    }
    DateTime target;
    EXPECT_FALSE(DateTime::fromISODateTime(nullptr, DateTime::DaylightSavingAuto, target));
    EXPECT_FALSE(
        DateTime::fromISODateTime(std::string(1000, '2'), DateTime::DaylightSavingAuto, target));
    EXPECT_FALSE(DateTime::fromISODateTime(std::string(1000, '2').c_str(),
                                           DateTime::DaylightSavingAuto, target));
    EXPECT_FALSE(DateTime::fromISODateTime(std::string("2024-01-31\0T00:00", 16),
                                           DateTime::DaylightSavingAuto, target));
}

TEST(DateTimeParse, NeverReadsPastTheGivenLength) {
    // Each prefix lives in a block of exactly its own size, so a read past it is a fault that
    // the address sanitizer reports.
    const std::string full = "2024-01-31T23:59:59.007+01:00";
    for (std::size_t length = 0; length <= full.size(); ++length) {
        std::unique_ptr<char[]> exact(new char[length == 0 ? 1 : length]);
        std::memcpy(exact.get(), full.data(), length);
        DateTime v;
        const bool read =
            DateTime::fromISODateTime(exact.get(), length, DateTime::DaylightSavingAuto, v);
        const bool expected = length == 10 || length == 16 || length == 19 ||
                              (length >= 21 && length <= 23) || length == 26 || length == 29;
        EXPECT_EQ(read, expected) << "length " << length;
    }
    // A length shorter than the text stops the reading there.
    DateTime v;
    ASSERT_TRUE(DateTime::fromISODateTime(full.data(), 19, DateTime::DaylightSavingAuto, v));
    EXPECT_FALSE(v.hasMilliseconds());
}

// ---- token formats -----------------------------------------------------------------------------

namespace {

// The ordered textual replacement, written straightforwardly: each token in turn replaces every
// occurrence still in the text. Produced characters are kept in bytes 0x80-0x8B until the end so
// that no later token reads them.
std::string referenceFormat(std::string text, const DateTime& v) {
    const auto number = [](long long value, int width) {
        char out[32];
        std::snprintf(out, sizeof out, "%0*lld", width, value);
        return std::string(out);
    };
    const long long ms = v.hasMilliseconds() ? v.milliseconds() : 0;
    const std::pair<const char*, std::string> tokens[] = {
        {"YYYY", number(v.years(), 4)},
        {"Y", number(v.years(), 0)},
        {"MM", number(v.months(), 2)},
        {"MI", number(v.minutes(), 2)},
        {"M", number(v.months(), 0)},
        {"DD", number(v.days(), 2)},
        {"D", number(v.days(), 0)},
        {"HH24", number(v.hours(), 2)},
        {"SSMMM", number(v.seconds(), 2) + "." + number(ms, 3)},
        {"SS", number(v.seconds(), 2)},
        {"MS", number(ms, 3)},
        {"SM", number(v.seconds() * 1000LL + ms, 0)}};
    const std::string produced = "0123456789.-";
    for (const auto& token : tokens) {
        std::string value = token.second;
        for (char& c : value)
            c = static_cast<char>(0x80 + produced.find(c));
        const std::string from = token.first;
        for (std::size_t at = text.find(from); at != std::string::npos;
             at = text.find(from, at + value.size())) {
            text.replace(at, from.size(), value);
        }
    }
    for (char& c : text) {
        const auto byte = static_cast<unsigned char>(c);
        if (byte >= 0x80 && byte < 0x80 + produced.size()) c = produced[byte - 0x80];
    }
    return text;
}

std::vector<DateTimeFormat::Field> fieldsOf(const char* format) {
    std::vector<DateTimeFormat::Field> result;
    for (const auto& segment : DateTimeFormat(format).segments())
        result.push_back(segment.field);
    return result;
}

} // namespace

// Exact texts that anchor the reference replacement below.
TEST(DateTimeFormatTokens, TheTableInOrder) {
    const DateTime v(2024, 1, 31, 23, 59, 59, 7);
    EXPECT_EQ(v.asString("YYYYMMDDHH24MISS"), "20240131235959");
    // MM and M come before SSMMM, MS and SM in the order and claim their letters first.
    EXPECT_EQ(v.asString("SSMMM"), "59011");
    EXPECT_EQ(v.asString("SM"), "S1");
    const DateTime march(2024, 3, 5, 4, 6, 8);
    EXPECT_EQ(march.asString("Day D, Month M"), "5ay 5, 3onth 3");
    EXPECT_EQ(march.asString("MIMS"), "063S");
    EXPECT_EQ(march.asString(static_cast<const char*>(nullptr)), "");
    // A literal "HH" before a day of 24 is not read as the hour token.
    EXPECT_EQ(DateTime(2024, 3, 24, 4, 6, 8).asString("HHD"), "HH24");
    EXPECT_EQ(DateTime().asString("YYYY-MM-DD SS.MI"), "0000-00-00 00.00");
}

TEST(DateTimeFormatTokens, SegmentsOfOddFormats) {
    using F = DateTimeFormat;
    EXPECT_EQ(fieldsOf("MIMS"), (std::vector<F::Field>{F::Minute2, F::Month, F::Literal}));
    EXPECT_EQ(fieldsOf("YYYYY"), (std::vector<F::Field>{F::Year4, F::Year}));
    EXPECT_EQ(fieldsOf("MMM"), (std::vector<F::Field>{F::Month2, F::Month}));
    EXPECT_EQ(fieldsOf("SSS"), (std::vector<F::Field>{F::Seconds2, F::Literal}));
    EXPECT_EQ(fieldsOf("SSMMMM"), (std::vector<F::Field>{F::Seconds2, F::Month2, F::Month2}));
    EXPECT_EQ(fieldsOf("HH24SM"), (std::vector<F::Field>{F::Hour24, F::Literal, F::Month}));
    EXPECT_TRUE(fieldsOf("").empty());
    const auto month = DateTimeFormat("Month").segments();
    ASSERT_EQ(month.size(), 2u);
    EXPECT_EQ(month[0].field, F::Month);
    EXPECT_EQ(month[0].literal, "");
    EXPECT_EQ(month[1].literal, "onth");

    DateTimeFormat format("[YYYY]");
    DateTimeFormat copy(format);
    format = DateTimeFormat("D");
    EXPECT_EQ(copy.text(), "[YYYY]");
    std::string line = "at ";
    copy.appendTo(line, DateTime(2024, 3, 5, 0, 0, 0));
    EXPECT_EQ(line, "at [2024]");
    EXPECT_EQ(DateTime(2024, 3, 5, 0, 0, 0).asString(format), "5");
}

TEST(DateTimeFormatTokens, CompiledFormsMatchTheOrderedReplacement) {
    const DateTime values[] = {
        DateTime(2024, 3, 24, 4, 6, 8), DateTime(1999, 12, 31, 23, 59, 59, 7),
        DateTime(24, 2, 4, 24, 42, 2, 424), DateTime(-5, 11, 1, 0, 0, 0), DateTime()};
    const char* const fixed[] = {"Month",
                                 "YYYYY",
                                 "MMM",
                                 "SSS",
                                 "MIMS",
                                 "SSMMMM",
                                 "HHD",
                                 "HH2M",
                                 "MMMIMM",
                                 "SSSMMM",
                                 "SMS",
                                 "YMDHMS",
                                 "HH24HH24",
                                 "DDDDD",
                                 "MS",
                                 "D.M.Y",
                                 "no tokens here",
                                 "",
                                 "MSMSM",
                                 "SSSSMMMSSMMM",
                                 "YYYYMMDDHH24MISSSSMMM"};
    for (const char* format : fixed) {
        for (const DateTime& v : values) {
            SCOPED_TRACE(format);
            EXPECT_EQ(v.asString(format).str(), referenceFormat(format, v));
        }
    }
    // Random texts over the letters of the tokens and a few others.
    std::mt19937 random(20240131);
    const char alphabet[] = "YMDHSI24MSSMYDo. -";
    for (int i = 0; i < 4000; ++i) {
        std::string format(random() % 14, ' ');
        for (char& c : format)
            c = alphabet[random() % (sizeof alphabet - 1)];
        const DateTime& v = values[i % 5];
        SCOPED_TRACE(format);
        const std::string expected = referenceFormat(format, v);
        ASSERT_EQ(v.asString(format).str(), expected);
        ASSERT_EQ(DateTimeFormat(format).format(v).str(), expected);
    }
}

TEST(DateTimeFormatTokens, MacroDescriptionsAsWritten) {
    const std::map<String, String> macros = DateTime::availableStringFormatMacros();
    const std::vector<std::pair<std::string, std::string>> expected = {
        {"D", "Day"},
        {"DD", "Day (2 digits)"},
        {"HH24", "Hour (2 Digits)"},
        {"M", "Month"},
        {"MM", "Month (2 digits)"},
        {"MS", "Milliseconds (3 digist)"},
        {"SM", "Seconds + Milliseconds as Milliseconds"},
        {"SS", "Seconds (2 digist)"},
        {"SSMMM", "<seconds (2 digits)>.<milliseconds> (3 digits)"},
        {"Y", "Year"},
        {"YYYY", "Year (4 digits)"}};
    std::vector<std::pair<std::string, std::string>> actual;
    for (const auto& entry : macros)
        actual.emplace_back(entry.first.str(), entry.second.str());
    EXPECT_EQ(actual, expected);
    EXPECT_EQ(macros.count("MI"), 0u);
}

TEST(DateTimeFormatTokens, CachedFormatsFromManyThreads) {
    // More formats than the per-thread and the shared cache hold, from several threads at once.
    std::vector<std::string> formats;
    for (int i = 0; i < 100; ++i)
        formats.push_back("YYYY-MM-DD #" + std::to_string(i) + " HH24:MI");
    const DateTime v(2024, 3, 5, 4, 6, 8);
    std::atomic<int> mismatches(0);
    std::vector<std::thread> threads;
    for (int t = 0; t < 4; ++t) {
        threads.emplace_back([&, t] {
            for (int round = 0; round < 20; ++round) {
                for (std::size_t i = 0; i < formats.size(); ++i) {
                    const std::string& format = formats[(i * 7 + t) % formats.size()];
                    if (v.asString(format).str() != referenceFormat(format, v)) ++mismatches;
                }
            }
        });
    }
    for (std::thread& thread : threads)
        thread.join();
    EXPECT_EQ(mismatches.load(), 0);
}

// ---- spans and providers -----------------------------------------------------------------------

TEST(DateTimeSpan, NormalisedParts) {
    const DateTime span = DateTime::fromTimeSpan(1, 25, 61, 61, 1001, 13, 2);
    expectFields(span, 3, 1, 2, 2, 2, 2, 1);
    EXPECT_EQ(span.daylightSaving(), DateTime::DaylightSavingOff);
    // Negative parts are fine while the totals are not negative.
    expectFields(DateTime::fromTimeSpan(1, -1), 0, 0, 0, 23, 0, 0, 0);
    AssertionRecorder recorder;
    EXPECT_TRUE(DateTime::fromTimeSpan(0, -1).isEmpty());
    EXPECT_TRUE(DateTime::fromTimeSpan(0, 0, 0, 0, 0, 0, -1).isEmpty());
    EXPECT_TRUE(recorder.saw({"totalMilliseconds >= 0 && totalMonths >= 0",
                              "totalMilliseconds >= 0 && totalMonths >= 0"}));
}

TEST(DateTimeSpan, CalendarArithmetic) {
    const DateTime month = DateTime::fromTimeSpan(0, 0, 0, 0, 0, 1);
    const DateTime year = DateTime::fromTimeSpan(0, 0, 0, 0, 0, 0, 1);
    const DateTime day = DateTime::fromTimeSpan(1);
    const DateTime ms = DateTime::fromTimeSpan(0, 0, 0, 0, 1);
    const struct {
        DateTime start;
        bool after;
        DateTime span;
        const char* expected;
    } cases[] = {{DateTime(2024, 1, 31, 10, 0, 0), true, month, "2024-02-29T10:00:00"},
                 {DateTime(2023, 1, 31, 10, 0, 0), true, month, "2023-02-28T10:00:00"},
                 {DateTime(2024, 3, 31, 10, 0, 0), false, month, "2024-02-29T10:00:00"},
                 {DateTime(2024, 12, 15, 0, 0, 0), true, month, "2025-01-15T00:00:00"},
                 {DateTime(2024, 2, 29, 0, 0, 0), true, year, "2025-02-28T00:00:00"},
                 {DateTime(2024, 2, 28, 12, 0, 0), true, day, "2024-02-29T12:00:00"},
                 {DateTime(2100, 2, 28, 12, 0, 0), true, day, "2100-03-01T12:00:00"},
                 {DateTime(2000, 2, 28, 12, 0, 0), true, day, "2000-02-29T12:00:00"},
                 {DateTime(1970, 1, 1, 0, 0, 0, 0), false, ms, "1969-12-31T23:59:59.999"},
                 {DateTime(2023, 12, 31, 23, 59, 59, 999), true, ms, "2024-01-01T00:00:00.000"},
                 {DateTime(2024, 1, 1, 0, 0, 0), true, DateTime(), "2024-01-01T00:00:00"}};
    for (const auto& c : cases) {
        const DateTime moved = c.after ? c.start.afterSpan(c.span) : c.start.beforeSpan(c.span);
        EXPECT_EQ(moved.asISODateTime(), c.expected) << c.start.asISODateTime().str();
    }
    EXPECT_TRUE(DateTime().afterSpan(day).isEmpty());

    const DateTime between = DateTime::spanBetween(DateTime("2024-03-01T00:00:00Z"),
                                                   DateTime("2024-02-28T22:30:15.500Z"));
    expectFields(between, 0, 0, 1, 1, 29, 44, 500);
    EXPECT_EQ(DateTime::spanBetween(DateTime("2024-02-28T22:30:15.500Z"),
                                    DateTime("2024-03-01T00:00:00Z")),
              between);
}

TEST(DateTimeProviders, ValuesNowAndOperators) {
    const DateTime fixed(2024, 1, 31, 12, 0, 0);
    GC<DateTimeProvider> value(new DateTimeValue(fixed));
    EXPECT_EQ(value->getValue().asISODateTime(), "2024-01-31T12:00:00");
    EXPECT_NE(std::string(value->typeName()).find("DateTimeValue"), std::string::npos);

    GC<DateTimeProvider> now(new DateTimeNow());
    const DateTime before = DateTime::now();
    const DateTime current = now->getValue();
    const DateTime after = DateTime::now();
    EXPECT_LE(before, current);
    EXPECT_LE(current, after);
    EXPECT_TRUE(DateTimeNow(true).isUtc());

    GC<DateTimeProvider> month(new DateTimeValue(DateTime::fromTimeSpan(0, 0, 0, 0, 0, 1)));
    GC<DateTimeProvider> later(new DateTimeValue(DateTime(2024, 3, 1, 8, 0, 0)));
    using Op = DateTimeOperator;
    EXPECT_EQ(Op(value, Op::Add, month).getValue().asISODateTime(), "2024-02-29T12:00:00");
    EXPECT_EQ(Op(value, Op::Subtract, month).getValue().asISODateTime(), "2023-12-31T12:00:00");
    EXPECT_EQ(Op(value, Op::Earliest, later).getValue(), fixed);
    EXPECT_EQ(Op(later, Op::Earliest, value).getValue(), fixed);
    EXPECT_EQ(Op(value, Op::Latest, later).getValue(), later->getValue());
    const DateTime gap = Op(later, Op::Difference, value).getValue();
    EXPECT_EQ(gap.days() * 24 + gap.hours(),
              (later->getValue().asPosixTime() - fixed.asPosixTime()) / 3600);

    // Nested operators: the earliest of a time and nothing is that time.
    GC<DateTimeProvider> nothing(new DateTimeValue(DateTime()));
    GC<DateTimeProvider> nested(
        new Op(GC<DateTimeProvider>(new Op(value, Op::Add, month)), Op::Earliest, nothing));
    EXPECT_EQ(nested->getValue().asISODateTime(), "2024-02-29T12:00:00");
    Op* op = static_cast<Op*>(nested.ptr());
    EXPECT_EQ(op->operation(), Op::Earliest);
    EXPECT_EQ(op->right(), nothing);
}

TEST(DateTimeProviders, UnsupportedOperationsAndNullProviders) {
    GC<DateTimeProvider> value(new DateTimeValue(DateTime(2024, 1, 31, 12, 0, 0)));
    const auto bogus = static_cast<DateTimeOperator::Operation>(9);
    EXPECT_FALSE(DateTimeOperator::isOperationSupported(bogus));
    EXPECT_TRUE(DateTimeOperator::isOperationSupported(DateTimeOperator::Latest));
    try {
        DateTimeOperator op(value, bogus, value);
        ADD_FAILURE() << "no exception";
    } catch (const std::runtime_error& error) {
        EXPECT_STREQ(error.what(), "operation '9' is not supported");
    }
    EXPECT_THROW(DateTimeOperator::apply(DateTime(), bogus, DateTime()), std::runtime_error);

    AssertionRecorder recorder;
    DateTimeOperator withNull(value, DateTimeOperator::Latest, GC<DateTimeProvider>());
    EXPECT_EQ(withNull.getValue().asISODateTime(), "2024-01-31T12:00:00");
    EXPECT_TRUE(recorder.saw({"right"}));
}
