#include "qorcommon/extendedfield.h"

#include "testsupport.h"

#include <gtest/gtest.h>

#include <atomic>
#include <cstdint>
#include <functional>
#include <stdexcept>
#include <string>
#include <thread>
#include <vector>

using namespace Orvane::Core;
using State = Flag64ExtendedField::FlagState;

namespace {

const DateTime kWhen(2024, 1, 31, 23, 59, 59);
const std::string kStamp = "20240131235959";

// Each test starts and ends with an empty depot.
class DetectionDepot : public ::testing::Test {
protected:
    void SetUp() override { ExtendedField::clearDetectionDepot(); }
    void TearDown() override { ExtendedField::clearDetectionDepot(); }
};

std::string invalidArgumentText(const std::function<void()>& action) {
    try {
        action();
    } catch (const std::invalid_argument& e) {
        return e.what();
    } catch (const std::out_of_range& e) {
        return std::string("out_of_range: ") + e.what();
    }
    return "nothing thrown";
}

} // namespace

// ---- the complete string ----------------------------------------------------------------------

TEST(ExtendedField, CompleteStringIsParsedIntoValueAndUpdateTime) {
    LongExtendedField field("P");
    EXPECT_TRUE(field.init(kStamp + ";P;42"));
    EXPECT_EQ(field.value(), 42);
    EXPECT_EQ(field.updated(), kWhen);
    EXPECT_EQ(field.comment(), "");
    EXPECT_FALSE(field.isModified()) << "reading is no change";

    EXPECT_TRUE(field.init(kStamp + ";P;7;made by;the importer"));
    EXPECT_EQ(field.value(), 7);
    EXPECT_EQ(field.comment(), "made by;the importer");
}

TEST(ExtendedField, CompleteStringIsWrittenBack) {
    LongExtendedField field("P", 42);
    EXPECT_EQ(field.generateCompleteString(kWhen).str(), kStamp + ";P;42");
    field.setComment("note");
    EXPECT_EQ(field.toFormattedString().str(), "P;42;note");
    field.setUpdated(kWhen);
    EXPECT_EQ(field.generateCompleteString().str(), kStamp + ";P;42;note");

    LongExtendedField read("P");
    read.init(field.generateCompleteString().str());
    EXPECT_EQ(read.value(), 42);
    EXPECT_EQ(read.comment(), "note");
    EXPECT_EQ(read.updated(), kWhen);
}

TEST(ExtendedField, TimeStampNeedsTheSemicolonAtThe15thCharacter) {
    std::string text = kStamp + "P;42";
    LongExtendedField field("P");
    const DateTime before = field.updated();
    EXPECT_FALSE(field.prepare(text));
    EXPECT_EQ(text, kStamp + "P;42");
    EXPECT_FALSE(ExtendedField::prepareForDetection(text));
    // The text is then read without a time stamp: the update time stays, the stamp and the
    // prefix are taken for one first part.
    EXPECT_TRUE(field.init(text));
    EXPECT_EQ(field.updated(), before);

    std::string stamped = kStamp + ";P;42";
    EXPECT_TRUE(ExtendedField::prepareForDetection(stamped));
    EXPECT_EQ(stamped, "P;42");
    std::string tooShort = "2024;";
    EXPECT_FALSE(ExtendedField::prepareForDetection(tooShort));
}

TEST(ExtendedField, MalformedTimeStampFailsLikeANumber) {
    LongExtendedField field("P", 1);
    std::string text = "2024013123595X;P;42";
    EXPECT_EQ(invalidArgumentText([&] { field.prepare(text); }), "invalid stol argument");
    EXPECT_EQ(text, "2024013123595X;P;42");
    EXPECT_EQ(invalidArgumentText([&] { field.init("2024AB31235959;P;42"); }),
              "invalid stol argument");
    EXPECT_EQ(field.value(), 1);
}

TEST(ExtendedField, EmptyRestIsReported) {
    QorTest::AssertionRecorder recorder;
    StringExtendedField field("S", "kept");
    EXPECT_FALSE(field.init(kStamp + ";"));
    EXPECT_TRUE(recorder.saw({"complete_str.length()"}));
    EXPECT_EQ(field.value(), "kept");
    EXPECT_FALSE(field.init(kStamp + ";S"));
    EXPECT_EQ(recorder.texts().size(), 1u) << "a lone prefix is short, not empty";
}

TEST(ExtendedField, DetectionLooksAtThePrefixOfTheFirstPart) {
    const StringExtendedField field("NAME");
    EXPECT_EQ(field.detect("NAME;x"), SimpleExtendedField::Recognized);
    EXPECT_EQ(field.detect("NAMES;x"), SimpleExtendedField::Recognized);
    EXPECT_EQ(field.detect("NAM;x"), SimpleExtendedField::NotRecognized);
    EXPECT_EQ(field.detect("NAME"), SimpleExtendedField::NoFieldText);
    EXPECT_TRUE(field.checkPrefix("NAME"));
    EXPECT_FALSE(field.checkPrefix("name"));
}

// ---- the kinds of field -----------------------------------------------------------------------

TEST(ExtendedField, LongReadsTheLeadingNumberWithinThirtyTwoBits) {
    LongExtendedField field("N");
    EXPECT_TRUE(field.setStringValue(" -12abc"));
    EXPECT_EQ(field.value(), -12);
    EXPECT_TRUE(field.setStringValue("-2147483648"));
    EXPECT_EQ(field.value(), INT32_MIN);
    EXPECT_TRUE(field.setStringValue("+2147483647"));
    EXPECT_EQ(field.value(), INT32_MAX);
    EXPECT_EQ(invalidArgumentText([&] { field.setStringValue("abc"); }), "invalid stol argument");
    EXPECT_EQ(invalidArgumentText([&] { field.setStringValue("-"); }), "invalid stol argument");
    EXPECT_EQ(invalidArgumentText([&] { field.setStringValue("2147483648"); }),
              "out_of_range: stol argument out of range");
    EXPECT_EQ(invalidArgumentText([&] { field.setStringValue("-99999999999999999999999"); }),
              "out_of_range: stol argument out of range");
    EXPECT_EQ(field.value(), INT32_MAX);
    EXPECT_EQ(field.asStringValue().str(), "2147483647");
}

TEST(ExtendedField, SettersMarkAChangeAndStringReadingDoesNot) {
    FlagExtendedField flag("F");
    EXPECT_FALSE(flag.isModified());
    EXPECT_TRUE(flag.setStringValue("1"));
    EXPECT_FALSE(flag.isModified());
    EXPECT_FALSE(flag.setStringValue("2"));
    EXPECT_TRUE(flag.value());
    EXPECT_FALSE(flag.setValue("yes"));
    EXPECT_FALSE(flag.isModified());
    EXPECT_TRUE(flag.setValue("0"));
    EXPECT_TRUE(flag.isModified());
    EXPECT_FALSE(flag.value());
    EXPECT_EQ(flag.valueAsString().str(), "false");
    EXPECT_EQ(flag.asStringValue().str(), "0");

    LongExtendedField number("N");
    const DateTime before = DateTime::now();
    number.setValue(5);
    EXPECT_TRUE(number.isModified());
    EXPECT_GE(number.updated(), DateTime(before.asPosixTime()));
    number.setModified(false);
    EXPECT_FALSE(number.isModified());
}

TEST(ExtendedField, FlagRowIsWrittenRightToLeft) {
    Flag64ExtendedField row("R",
                            std::vector<State>{Flag64ExtendedField::On, Flag64ExtendedField::Off,
                                               Flag64ExtendedField::Unknown});
    EXPECT_EQ(row.asStringValue().str(), "X01");
    EXPECT_EQ(Flag64ExtendedField("R", 4).asStringValue().str(), "XXXX");
    EXPECT_EQ(Flag64ExtendedField("R").count(), 64u);
    // A value outside the enumeration writes nothing.
    Flag64ExtendedField odd("R",
                            std::vector<State>{static_cast<State>(7), Flag64ExtendedField::On});
    EXPECT_EQ(odd.asStringValue().str(), "1");
}

TEST(ExtendedField, FlagRowIsReadRightToLeft) {
    Flag64ExtendedField row("R", 3, Flag64ExtendedField::On);
    EXPECT_TRUE(row.setStringValue("10"));
    EXPECT_EQ(row.value(0), Flag64ExtendedField::Off);
    EXPECT_EQ(row.value(1), Flag64ExtendedField::On);
    EXPECT_EQ(row.value(2), Flag64ExtendedField::On) << "flags beyond the text keep their state";
    EXPECT_TRUE(row.setStringValue("a1?0"));
    EXPECT_EQ(row.asStringValue().str(), "1X0") << "the longer text is cut at the row's end";
    EXPECT_EQ(row.value(2), Flag64ExtendedField::On);
    EXPECT_EQ(row.value(1), Flag64ExtendedField::Unknown);
}

TEST(ExtendedField, FlagRowIndexPastTheEndIsReported) {
    QorTest::AssertionRecorder recorder;
    Flag64ExtendedField row("R", 2);
    EXPECT_EQ(row.value(2), Flag64ExtendedField::Unknown);
    EXPECT_FALSE(row.setValue(5, Flag64ExtendedField::On));
    EXPECT_TRUE(recorder.saw({"idx < priv->value.size()", "idx < priv->value.size()"}));
    EXPECT_FALSE(row.isModified());
    EXPECT_TRUE(row.setValue(1, Flag64ExtendedField::On));
    EXPECT_TRUE(row.isModified());
    EXPECT_EQ(row.asStringValue().str(), "1X");
}

TEST(ExtendedField, DateTimeFieldUsesFourteenDigits) {
    DateTimeExtendedField field("D", kWhen);
    EXPECT_EQ(field.asStringValue().str(), kStamp);
    EXPECT_EQ(field.valueAsString().str(), "2024-01-31T23:59:59");
    DateTimeExtendedField read("D");
    EXPECT_EQ(read.asStringValue().str(), "00000000000000");
    EXPECT_TRUE(read.init("20000101000000;D;" + kStamp));
    EXPECT_EQ(read.value(), kWhen);
    EXPECT_EQ(read.updated(), DateTime(2000, 1, 1, 0, 0, 0));
    EXPECT_FALSE(read.setStringValue("2024"));
    EXPECT_TRUE(read.setStringValue("00000000000000"));
    EXPECT_TRUE(read.value().isEmpty());
    EXPECT_EQ(invalidArgumentText([&] { read.setStringValue("2024-1-31 2359"); }),
              "invalid stol argument");
}

TEST(ExtendedField, CopiesAreNewObjects) {
    GC<StringExtendedField> original(new StringExtendedField("S", "a"));
    StringExtendedField copy(*original);
    EXPECT_EQ(copy.useCount(), 0);
    copy.setValue("b");
    EXPECT_EQ(original->value(), "a");
    EXPECT_EQ(copy.prefix(), "S");
}

// ---- the detection depot ----------------------------------------------------------------------

TEST_F(DetectionDepot, MakesTheFieldOfTheRecognisingPrototype) {
    ExtendedField::addToDetectionDepot(GC<SimpleExtendedField>(new LongExtendedField("CNT")));
    ExtendedField::addToDetectionDepot(GC<SimpleExtendedField>(new StringExtendedField("NAME")));
    ExtendedField::addToDetectionDepot(GC<SimpleExtendedField>());

    GC<SimpleExtendedField> count = ExtendedField::getObject(kStamp + ";CNT;7");
    ASSERT_FALSE(count.isNull());
    EXPECT_STREQ(count->typeName(), "Orvane::Core::LongExtendedField");
    EXPECT_EQ(count->asStringValue().str(), "7");
    EXPECT_EQ(count->updated(), kWhen);

    GC<SimpleExtendedField> name = ExtendedField::getObject("NAME;x;why");
    ASSERT_FALSE(name.isNull());
    EXPECT_EQ(name->asStringValue().str(), "x");
    EXPECT_EQ(name->comment(), "why");

    EXPECT_TRUE(ExtendedField::getObject(kStamp + ";OTHER;1").isNull());
    EXPECT_TRUE(ExtendedField::getObject(kStamp + "CNT;7").isNull());
    EXPECT_TRUE(ExtendedField::getObject("").isNull());
}

TEST_F(DetectionDepot, FirstRegisteredPrototypeWins) {
    ExtendedField::addToDetectionDepot(GC<SimpleExtendedField>(new FlagExtendedField("A")));
    ExtendedField::addToDetectionDepot(GC<SimpleExtendedField>(new StringExtendedField("AB")));
    GC<SimpleExtendedField> field = ExtendedField::getObject("AB;1");
    ASSERT_FALSE(field.isNull());
    EXPECT_STREQ(field->typeName(), "Orvane::Core::FlagExtendedField");
    // The flag cannot read this value: no field, rather than a half-read one.
    EXPECT_TRUE(ExtendedField::getObject("AB;text").isNull());

    // The made field keeps the shape of its prototype.
    ExtendedField::addToDetectionDepot(GC<SimpleExtendedField>(new Flag64ExtendedField("ROW", 3)));
    GC<SimpleExtendedField> row = ExtendedField::getObject("ROW;1");
    ASSERT_FALSE(row.isNull());
    EXPECT_EQ(row->asStringValue().str(), "XX1");
}

TEST_F(DetectionDepot, UseAfterDestructionIsReported) {
    ExtendedField::destroyDetectionDepot();
    QorTest::AssertionRecorder recorder;
    ExtendedField::addToDetectionDepot(GC<SimpleExtendedField>(new LongExtendedField("CNT")));
    EXPECT_TRUE(ExtendedField::getObject("CNT;1").isNull());
    EXPECT_TRUE(recorder.saw({"_var != nullptr", "_var != nullptr"}));
    ExtendedField::clearDetectionDepot();
    ExtendedField::addToDetectionDepot(GC<SimpleExtendedField>(new LongExtendedField("CNT")));
    EXPECT_FALSE(ExtendedField::getObject("CNT;1").isNull());
    EXPECT_EQ(recorder.texts().size(), 2u);
}

TEST_F(DetectionDepot, RegistrationAndDetectionRunTogether) {
    std::atomic<int> found{0};
    std::vector<std::thread> threads;
    for (int t = 0; t < 4; ++t) {
        threads.emplace_back([t, &found] {
            const std::string prefix = "T" + std::to_string(t);
            ExtendedField::addToDetectionDepot(
                GC<SimpleExtendedField>(new LongExtendedField(prefix)));
            for (int i = 0; i < 200; ++i) {
                GC<SimpleExtendedField> f =
                    ExtendedField::getObject(kStamp + ";" + prefix + ";" + std::to_string(i));
                if (!f.isNull() && f->asStringValue().str() == std::to_string(i)) ++found;
            }
        });
    }
    for (std::thread& t : threads)
        t.join();
    EXPECT_EQ(found.load(), 4 * 200);
}
