#include "qorcommon/bytearray.h"
#include "qorcommon/string.h"

#include "testsupport.h"

#include <gtest/gtest.h>

#include <climits>
#include <sstream>
#include <thread>
#include <unordered_set>
#include <vector>

using Orvane::Core::ByteArray;
using Orvane::Core::DataBuffer;
using Orvane::Core::Object;
using Orvane::Core::String;

namespace {

const std::string errorText = "(encoding error)";

// Restores the core encoding that a test changes.
class CoreEncodingGuard {
public:
    CoreEncodingGuard() : m_saved(String::coreEncoding()) {}
    ~CoreEncodingGuard() { String::setCoreEncoding(m_saved); }

private:
    String::Encoding m_saved;
};

} // namespace

TEST(String, ConstructorsHoldTheGivenBytes) {
    EXPECT_EQ(String(static_cast<const char*>(nullptr)).str(), "");
    EXPECT_EQ(String('x').str(), "x");
    EXPECT_EQ(String(std::string("a\0b", 3)).size(), 3u);
    const unsigned char raw[] = {'h', 0, 'i'};
    EXPECT_EQ(String(ByteArray(raw, 3)).str(), std::string("h\0i", 3));
    // Wide text lands in the core encoding, UTF-8 by default.
    EXPECT_EQ(String::coreEncoding(), String::UTF8);
    EXPECT_EQ(String(std::wstring(L"\u00e9\u20ac")).str(), "\xC3\xA9\xE2\x82\xAC");
    EXPECT_EQ(String(std::wstring(L"\u00e9"), String::Latin1).str(), "\xE9");
}

TEST(String, CopiesAreIndependentAndLeaveTheParentBehind) {
    Object parent;
    auto* owned = new String("text", &parent);
    String copy(*owned);
    EXPECT_EQ(copy.parentObject(), nullptr);
    copy += "!";
    EXPECT_EQ(owned->str(), "text");
    String assigned;
    assigned = *owned;
    EXPECT_EQ(assigned.parentObject(), nullptr);
    EXPECT_EQ(parent.getChildren().size(), 1u);
    // The parent deletes its child; a leak or double delete shows under the sanitizer.
}

TEST(String, OperatorsBehaveLikeStdString) {
    String s("ab");
    EXPECT_EQ((s + "c").str(), "abc");
    EXPECT_EQ(("x" + s).str(), "xab");
    EXPECT_EQ((std::string("y") + s + 'z').str(), "yabz");
    EXPECT_TRUE(s == "ab");
    EXPECT_TRUE("ab" == s);
    EXPECT_FALSE(s == static_cast<const char*>(nullptr));
    EXPECT_TRUE(s < String("b"));
    EXPECT_TRUE(s != std::string("abc"));
    const std::string& view = s;
    EXPECT_EQ(view, "ab");
    std::unordered_set<String> set{String("a"), String("a"), String("b")};
    EXPECT_EQ(set.size(), 2u);
    std::ostringstream out;
    out << String(std::string("n\0l", 3));
    EXPECT_EQ(out.str(), std::string("n\0l", 3));
}

TEST(String, CaseAndTrim) {
    EXPECT_EQ(String("Mixed 12 Case").toUpper().str(), "MIXED 12 CASE");
    EXPECT_EQ(String("Mixed 12 Case").toLower().str(), "mixed 12 case");
    EXPECT_EQ(String(" \t\r\n\f\vin side \n").trim().str(), "in side");
    EXPECT_EQ(String(" \t ").trim().str(), "");
    EXPECT_EQ(String("").trim().str(), "");
    EXPECT_EQ(String("x").trim().str(), "x");
}

TEST(String, ReplaceSplitsAndJoins) {
    EXPECT_EQ(String("a;;b").replace(";", ", ").str(), "a, , b");
    // Left to right, non-overlapping.
    EXPECT_EQ(String("aaaa").replace("aa", "b").str(), "bb");
    EXPECT_EQ(String("aaa").replace("aa", "b").str(), "ba");
    // The replacement is not searched again.
    EXPECT_EQ(String("axb").replace("x", "xx").str(), "axxb");
    EXPECT_EQ(String("xax").replace("x", "").str(), "a");
    EXPECT_EQ(String("abc").replace("", "z").str(), "abc");
    EXPECT_EQ(String("abc").replace("abcd", "z").str(), "abc");
    EXPECT_EQ(String("abc").replace("abc", "").str(), "");
    String self("ab");
    self.replace("b", self.str());
    EXPECT_EQ(self.str(), "aab");
}

TEST(String, WildcardMatch) {
    struct Case {
        const char* text;
        const char* pattern;
        bool match;
    };
    const Case cases[] = {
        {"abc", "a*", true},
        {"abc", "*c", true},
        {"abc", "a?c", true},
        {"abc", "*", true},
        {"abc", "ab", false},
        {"abc", "a?", false},
        {"", "*", true},
        {"", "", true},
        {"", "?", false},
        {"abc", "", false},
        {"abc", "ABC", false},
        {"abc", "***", true},
        {"abc", "a**c", true},
        {"mississippi", "m*iss*ppi", true},
        {"mississippi", "m*iss*pi", true},
        {"mississippi", "m*x*", false},
        {"abcbd", "a*bd", true},
        {"abcbe", "a*bd", false},
        {"ab", "a*b*c", false},
        {"a*c", "a\\*c", false},
        {"aXbXc", "a*c", true},
        {"log_2024.txt", "log_????.txt", true},
        {"log_24.txt", "log_????.txt", false},
    };
    for (const Case& c : cases) {
        EXPECT_EQ(String::isMatch(c.text, c.pattern), c.match) << c.text << " ~ " << c.pattern;
        EXPECT_EQ(String(c.text).isMatch(c.pattern), c.match) << c.text << " ~ " << c.pattern;
    }
}

TEST(String, UnsupportedMatchBackendIsReportedAndFails) {
    QorTest::AssertionRecorder recorder;
    EXPECT_FALSE(String::isMatch("abc", "*", static_cast<String::IsMatchBackend>(1)));
    EXPECT_TRUE(recorder.saw({"the given IsMatchBackend is not supported"}));
}

TEST(String, PlaceholdersFillTheLowestNumberEverywhere) {
    EXPECT_EQ(String("{0} = {1}").a("key").a("value").str(), "key = value");
    String s("{1} {0} {1}");
    s.a("x");
    EXPECT_EQ(s.str(), "{1} x {1}");
    s.a("y");
    EXPECT_EQ(s.str(), "y x y");
    s.a("z");
    EXPECT_EQ(s.str(), "y x y");
    // Numbers need not start at 0 and gaps are skipped.
    EXPECT_EQ(String("{7} {3}").a("a").a("b").str(), "b a");
    EXPECT_EQ(String("{999}").a("n").str(), "n");
}

TEST(String, PlaceholderSyntaxEdges) {
    // Four digits are never a placeholder, also when lower than the others.
    EXPECT_EQ(String("{1000} {0005} {5}").a("x").str(), "{1000} {0005} x");
    // Only the plain spelling of the lowest number is replaced.
    EXPECT_EQ(String("{01} {1}").a("x").str(), "{01} x");
    EXPECT_EQ(String("{00} {1}").a("x").str(), "{00} {1}");
    EXPECT_EQ(String("{} {a} {-1} {0").a("x").str(), "{} {a} {-1} {0");
    EXPECT_EQ(String("{{0}}").a("x").str(), "{x}");
    EXPECT_EQ(String("{0}{0}{0}").a("ab").str(), "ababab");
    // A filled-in value is not scanned again by the same call, but is by the next.
    EXPECT_EQ(String("{0} {1}").a("{1}").str(), "{1} {1}");
    EXPECT_EQ(String("no placeholders").a("x").str(), "no placeholders");
    EXPECT_EQ(String("{0}|").a(static_cast<const char*>(nullptr)).str(), "|");
}

TEST(String, PlaceholderOverloadsFormatNumbers) {
    EXPECT_EQ(String("{0}").a(42).str(), "42");
    EXPECT_EQ(String("{0}").a(42, 5).str(), "00042");
    EXPECT_EQ(String("{0}").a(255L, 0, String::Hexadecimal).str(), "ff");
    EXPECT_EQ(String("{0}").a(255UL, 4, String::Hexadecimal).str(), "00ff");
    EXPECT_EQ(String("{0}").a(-7LL).str(), "-7");
    EXPECT_EQ(String("{0}").a(3.14159, 0, 2).str(), "3.14");
    EXPECT_EQ(String("{0}{1}").a('c').a(true).str(), "c1");
    EXPECT_EQ(String("{0}").a(String("s")).str(), "s");
}

TEST(String, IntegerFormatting) {
    EXPECT_EQ(String::toString(0), "0");
    EXPECT_EQ(String::toString(-42), "-42");
    EXPECT_EQ(String::toString(42L, 5), "00042");
    EXPECT_EQ(String::toString(-42L, 5), "-0042");
    EXPECT_EQ(String::toString(123456L, 3), "123456");
    EXPECT_EQ(String::toString(LLONG_MIN), "-9223372036854775808");
    EXPECT_EQ(String::toString(ULLONG_MAX), "18446744073709551615");
    EXPECT_EQ(String::toString(ULLONG_MAX, 22), "0018446744073709551615");
    EXPECT_EQ(String::toString(4000000000u), "4000000000");
    // Hexadecimal without width: the low 32 bits only, on purpose.
    EXPECT_EQ(String::toString(0x100000001LL, 0, String::Hexadecimal), "1");
    EXPECT_EQ(String::toString(0xABCDEF0123456789ULL, 0, String::Hexadecimal), "23456789");
    EXPECT_EQ(String::toString(-1, 0, String::Hexadecimal), "ffffffff");
    EXPECT_EQ(String::toString(-1LL, -3, String::Hexadecimal), "ffffffff");
    // With a width: the whole 64-bit value.
    EXPECT_EQ(String::toString(0x100000001LL, 1, String::Hexadecimal), "100000001");
    EXPECT_EQ(String::toString(-1L, 4, String::Hexadecimal), "ffffffffffffffff");
    EXPECT_EQ(String::toString(255, 6, String::Hexadecimal), "0000ff");
    EXPECT_EQ(String::toString('q'), "q");
    EXPECT_EQ(String::toString("text"), "text");
    EXPECT_EQ(String::toString(static_cast<const char*>(nullptr)), "");
    // Widths beyond the cap still format, padded to the cap.
    EXPECT_EQ(String::toString(1L, 100000).size(), 65535u);
}

TEST(String, FloatingPointFormatting) {
    EXPECT_EQ(String::toString(3.14159, 8, 2), "00003.14");
    EXPECT_EQ(String::toString(-3.14159, 8, 2), "-0003.14");
    EXPECT_EQ(String::toString(3.14159, 0, 3), "3.142");
    EXPECT_EQ(String::toString(2.6, 0, 0), "3");
    EXPECT_EQ(String::toString(3.7, 5), "00004");
    EXPECT_EQ(String::toString(2.5), "2.500000");
    EXPECT_EQ(String::toString(1e20, 0, 1), "100000000000000000000.0");
}

TEST(String, Utf8ToWideAndBack) {
    const std::string utf8 = "a\xC3\xA9\xE2\x82\xAC\xF0\x9F\x98\x80";
    const std::wstring wide = L"a\u00e9\u20ac\U0001F600";
    EXPECT_EQ(String::toWString(utf8, String::UTF8), wide);
    EXPECT_EQ(String(utf8).toWString(), wide);
    EXPECT_EQ(String::fromCoreEncoding(utf8), wide);
    EXPECT_EQ(String::toString(wide, String::UTF8), utf8);
    EXPECT_EQ(String::toCoreEncoding(wide), utf8);
    // 16-bit characters: the emoji takes two.
    EXPECT_EQ(String(utf8).length(String::UTF8), 5u);
    EXPECT_EQ(String("\xE9\xE9").length(String::Latin1), 2u);
}

TEST(String, InvalidInputGivesTheEncodingErrorText) {
    const char* invalid[] = {
        "\x80",             // continuation byte without a lead
        "abc\xC3",          // cut-off sequence
        "\xC0\xAF",         // overlong "/"
        "\xE0\x80\xAF",     // overlong, three bytes
        "\xED\xA0\x80",     // surrogate
        "\xF4\x90\x80\x80", // above U+10FFFF
        "\xFF",             // never valid
        "\xC3\x28",         // lead followed by ASCII
    };
    for (const char* text : invalid) {
        EXPECT_EQ(String::toString(text, String::UTF8, String::Latin1), errorText) << text;
        EXPECT_EQ(String::toWString(text, String::UTF8), L"(encoding error)") << text;
        EXPECT_EQ(String(text).length(String::UTF8), errorText.size()) << text;
    }
    // A character the target cannot hold.
    EXPECT_EQ(String::toString("\xE2\x82\xAC", String::UTF8, String::Latin1), errorText);
    // Wide text with an unpaired surrogate (or, with 32-bit wchar_t, a surrogate code point).
    EXPECT_EQ(String::toString(std::wstring(1, static_cast<wchar_t>(0xD800)), String::UTF8),
              errorText);
    EXPECT_EQ(String(std::wstring(1, static_cast<wchar_t>(0xDC00))).str(), errorText);
    // An encoding number that does not exist.
    const auto unknown = static_cast<String::Encoding>(7);
    EXPECT_EQ(String::toString("abc", unknown, unknown), errorText);
    EXPECT_EQ(String::toString("abc", String::UTF8, unknown), errorText);
}

TEST(String, ConversionsBetweenByteEncodings) {
    EXPECT_EQ(String::toString("\xC3\xA9t\xC3\xA9", String::UTF8, String::Latin1), "\xE9t\xE9");
    EXPECT_EQ(String::toString("\xE9t\xE9", String::Latin1, String::UTF8), "\xC3\xA9t\xC3\xA9");
    // Equal encodings hand the text back unchecked.
    EXPECT_EQ(String::toString("\xFF", String::UTF8, String::UTF8), "\xFF");
    String s("caf\xC3\xA9");
    EXPECT_EQ(s.convert(String::UTF8, String::Latin1).str(), "caf\xE9");
    EXPECT_EQ(s.toString(String::Latin1, String::UTF8), "caf\xC3\xA9");
    // Plain ASCII passes through the locale code page unchanged.
    EXPECT_EQ(String::toString("plain ASCII 123", String::UTF8, String::Locale), "plain ASCII 123");
    EXPECT_EQ(String::toWString("plain", String::Locale), L"plain");
    // asWString widens byte by byte without decoding.
    const std::wstring widened = String("\xC3\xA9").asWString();
    ASSERT_EQ(widened.size(), 2u);
    EXPECT_EQ(static_cast<unsigned>(widened[0]), 0xC3u);
    EXPECT_EQ(static_cast<unsigned>(widened[1]), 0xA9u);
}

TEST(String, CoreEncodingDrivesTheCoreConversions) {
    CoreEncodingGuard guard;
    String::setCoreEncoding(String::Latin1);
    EXPECT_EQ(String::coreEncoding(), String::Latin1);
    EXPECT_EQ(String(std::wstring(L"\u00e9")).str(), "\xE9");
    EXPECT_EQ(String::toCoreEncoding("\xC3\xA9", String::UTF8), "\xE9");
    EXPECT_EQ(String::fromCoreEncoding("\xE9", String::UTF8), "\xC3\xA9");
    EXPECT_EQ(String("\xE9").toWString(), L"\u00e9");
}

TEST(String, CFormattedEscaping) {
    const String text("100% \"ok\"\n\\\t\r\x01\x7F\xC3\xA9");
    EXPECT_EQ(text.toCFormatted(false), "100%% \"ok\"\n\\\t\r\x01\x7F\xC3\xA9");
    EXPECT_EQ(text.toCFormatted(true), "100%% \\\"ok\\\"\\n\\\\\\t\\r\\001\\177\xC3\xA9");
    EXPECT_EQ(String("%d%%").toCFormatted(false), "%%d%%%%");
}

TEST(String, FromCFormattedFormatsLikePrintf) {
    EXPECT_EQ(String::fromCFormatted("%s=%05d|%.2f|%x", "k", 42, 1.5, 255u).str(),
              "k=00042|1.50|ff");
    EXPECT_EQ(String::fromCFormatted("%lld", LLONG_MIN).str(), "-9223372036854775808");
    const std::string longText(1000, 'x');
    EXPECT_EQ(String::fromCFormatted("[%s]", longText.c_str()).size(), 1002u);

    Object parent;
    String* owned = String::fromCFormatted(&parent, "%d items", 3);
    EXPECT_EQ(owned->str(), "3 items");
    EXPECT_EQ(owned->parentObject(), &parent);

    QorTest::AssertionRecorder recorder;
    EXPECT_EQ(String::fromCFormatted(static_cast<const char*>(nullptr)).str(), "");
    EXPECT_TRUE(recorder.saw({"format"}));
}

TEST(String, GetLineReadsLinesAndDelimitedParts) {
    std::istringstream lines("one\ntwo\n\nlast");
    String s;
    std::vector<std::string> got;
    while (s.getLine(lines))
        got.push_back(s.str());
    EXPECT_EQ(got, (std::vector<std::string>{"one", "two", "", "last"}));

    std::istringstream parts("a;b;;c");
    got.clear();
    while (s.getLine(parts, ';'))
        got.push_back(s.str());
    EXPECT_EQ(got, (std::vector<std::string>{"a", "b", "", "c"}));
}

TEST(String, DataBufferInterface) {
    String s("abc");
    DataBuffer<char>& buffer = s;
    EXPECT_TRUE(buffer.appendData("de", 2));
    EXPECT_EQ(s.str(), "abcde");
    EXPECT_FALSE(buffer.appendData(nullptr, 1));
    EXPECT_TRUE(buffer.appendData(nullptr, 0));
    EXPECT_EQ(s.str(), "abcde");

    char out[8] = {};
    EXPECT_EQ(buffer.copyDataTo(out, 3, 10), 2u);
    EXPECT_EQ(std::string(out), "de");
    EXPECT_EQ(buffer.copyDataTo(out, 5, 1), 0u);
    EXPECT_EQ(buffer.copyDataTo(nullptr, 0, 1), 0u);

    EXPECT_TRUE(buffer.resizeBuffer(7));
    EXPECT_EQ(s.str(), std::string("abcde\0\0", 7));
    EXPECT_TRUE(buffer.copyDataFrom("xy", 2));
    EXPECT_EQ(s.str(), "xy");
    EXPECT_FALSE(buffer.copyDataFrom(nullptr, 2));
    EXPECT_EQ(buffer.bufferSize(), 2u);
    buffer.buffer()[0] = 'z';
    EXPECT_EQ(s.str(), "zy");
    buffer.reset();
    EXPECT_EQ(buffer.bufferSize(), 0u);
    EXPECT_NE(buffer.buffer(), nullptr);

    // The interface is reachable by a cross cast from the object view, on either side of the
    // library boundary.
    Object* object = new String("cast");
    auto* viaCast = dynamic_cast<DataBuffer<char>*>(object);
    ASSERT_NE(viaCast, nullptr);
    EXPECT_EQ(viaCast->bufferSize(), 4u);
    delete object;
}

TEST(String, ThreadsFormatIndependently) {
    // Formatting keeps no shared scratch state: concurrent fills never mix their texts.
    auto work = [](int id, bool* ok) {
        for (int i = 0; i < 2000; ++i) {
            String s("{0}:{1}:{2}");
            s.a(id).a(i, 6).a(static_cast<double>(i) / 4, 0, 2);
            const std::string expected = std::to_string(id) + ":" + String::toString(i, 6) + ":" +
                                         String::toString(i / 4.0, 0, 2);
            if (s.str() != expected) *ok = false;
        }
    };
    bool ok[4] = {true, true, true, true};
    std::vector<std::thread> threads;
    for (int t = 0; t < 4; ++t)
        threads.emplace_back(work, t, &ok[t]);
    for (std::thread& t : threads)
        t.join();
    for (bool b : ok)
        EXPECT_TRUE(b);
}
