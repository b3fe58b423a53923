#include "qorcommon/hash.h"
#include "qorcommon/version.h"

#include <gtest/gtest.h>

#include <string>
#include <unordered_set>

using Orvane::Core::Hash;
using Orvane::Core::Identifier;
using Orvane::Core::Version;

TEST(Hash, PublishedXxh64Vectors) {
    struct Vector {
        const char* text;
        std::uint64_t seed;
        std::uint64_t hash;
    };
    const Vector vectors[] = {
        {"", 0, 0xEF46DB3751D8E999ULL},
        {"", 668718853, 0x04E830582A31A119ULL},
        {"a", 0, 0xD24EC4F1A98C6E5BULL},
        {"a", 191961062, 0x6E05BA2887C97977ULL},
        {"abc", 0, 0x44BC2CF5AD770999ULL},
        {"ABC", 0, 0xE66AE7354FCFEE98ULL},
        {"xxhash", 0, 0x32DD38952C4BC720ULL},
        // 31, 32 and 33 bytes: the tail paths, one full stripe, a stripe and a tail byte.
        {"abcdefghijklmnopqrstuvwxyz12345", 0, 0x467605901B01D6F6ULL},
        {"abcdefghijklmnopqrstuvwxyz12345", 877380273, 0x37B562EC5715E132ULL},
        {"abcdefghijklmnopqrstuvwxyz123456", 0, 0x0022EE3B5A18531BULL},
        {"abcdefghijklmnopqrstuvwxyz1234567", 0, 0x23BBD16D29353C5FULL},
    };
    for (const Vector& v : vectors) {
        EXPECT_EQ(Hash::hash64(std::string(v.text), v.seed), v.hash) << v.text << "/" << v.seed;
    }
    // Multi-byte UTF-8 input hashes as its bytes.
    EXPECT_EQ(Hash::hash64(std::string("\xE6\xB5\x8B\xE8\xAF\x95"), 0), 0x403D66837E9BC61FULL);
}

TEST(Hash, SeedsNullDataAndEveryTailLength) {
    EXPECT_NE(Orvane::Core::hash64("name_type"), Orvane::Core::hash64("name_type", 0));
    EXPECT_EQ(Hash::hash64(nullptr, 10, 0), 0xEF46DB3751D8E999ULL);
    // Every length up to two stripes hashes differently (catches a skipped tail byte).
    std::unordered_set<std::uint64_t> seen;
    std::string text;
    for (int i = 0; i < 70; ++i) {
        seen.insert(Orvane::Core::hash64(text));
        text += static_cast<char>('a' + i % 26);
    }
    EXPECT_EQ(seen.size(), 70u);
}

TEST(Identifier, TextFormAndParsing) {
    EXPECT_EQ(Identifier(255).toString(), "00000000000000ff");
    EXPECT_EQ(Identifier(0xEF46DB3751D8E999ULL).toString(), "ef46db3751d8e999");
    Identifier id;
    EXPECT_TRUE(id.isNull());
    EXPECT_TRUE(Identifier::parse("EF46db3751D8E999", id));
    EXPECT_EQ(id.value(), 0xEF46DB3751D8E999ULL);
    EXPECT_TRUE(Identifier::parse("1f", id));
    EXPECT_EQ(id, Identifier(31));
    for (const char* bad : {"", "0x1f", "12345678901234567", "1g", " 1", "-1"}) {
        EXPECT_FALSE(Identifier::parse(bad, id)) << bad;
    }
    EXPECT_EQ(id, Identifier(31));
}

TEST(Version, ParseAndRender) {
    const struct {
        const char* text;
        Version value;
        const char* rendered;
    } cases[] = {{"3.35.4", Version(3, 35, 4), "3.35.4"},
                 {"3.35.4.1", Version(3, 35, 4, 1), "3.35.4.1"},
                 {"7", Version(7, 0, 0, 0), "7.0.0"},
                 {"2147483647.0", Version(2147483647, 0), "2147483647.0.0"}};
    for (const auto& c : cases) {
        Version v;
        ASSERT_TRUE(Version::parse(c.text, v)) << c.text;
        EXPECT_EQ(v, c.value) << c.text;
        EXPECT_EQ(v.toString(), c.rendered);
    }
    EXPECT_EQ(Version(3, 35, 4, 1).toString(2), "3.35");
    EXPECT_EQ(Version(3, 35, 4).toString(4), "3.35.4.0");
    EXPECT_EQ(Version(1, 2).toString(9), "1.2.0.0");
}

TEST(Version, MalformedTextsFailAndLeaveTheValue) {
    const Version before(1, 2, 3, 4);
    for (const char* bad :
         {"", ".", "1.", ".1", "1..2", "1.2.3.4.5", "-1", " 1", "1 ", "1.a", "2147483648", "1,2"}) {
        Version v = before;
        EXPECT_FALSE(Version::parse(bad, v)) << bad;
        EXPECT_EQ(v, before) << bad;
    }
    EXPECT_TRUE(Version::fromString("junk").isNull());
}

TEST(Version, OrderIsNumericFieldByField) {
    EXPECT_LT(Version(3, 9, 0), Version(3, 35, 0));
    EXPECT_LT(Version(3, 35, 4), Version(3, 35, 4, 1));
    EXPECT_GT(Version(4, 0, 0), Version(3, 99, 99, 99));
    EXPECT_EQ(Version::fromString("3.35.4.0"), Version(3, 35, 4));
    EXPECT_LE(Version(1, 0), Version(1, 0));
    EXPECT_NE(Version(1, 0, 1), Version(1, 0, 0, 1));
}
