#include "qorcommon/stringlist.h"

#include "testsupport.h"

#include <gtest/gtest.h>

#include <list>
#include <string>
#include <thread>
#include <vector>

using Orvane::Core::Object;
using Orvane::Core::String;
using Orvane::Core::StringList;

namespace {
using Parts = std::vector<std::string>;

Parts split(const std::string& text, const std::string& separator, bool skipEmpty = false) {
    return StringList::split(text, separator, skipEmpty).asVector();
}
} // namespace

TEST(StringList, SplitKeepsOrSkipsEmptyParts) {
    EXPECT_EQ(split("a;;b", ";"), (Parts{"a", "", "b"}));
    EXPECT_EQ(split("a;;b", ";", true), (Parts{"a", "b"}));
    EXPECT_EQ(split("abc", ";"), (Parts{"abc"}));
    EXPECT_EQ(split("", ";"), (Parts{""}));
    EXPECT_EQ(split("", ";", true), (Parts{}));
    EXPECT_EQ(split(";a;", ";"), (Parts{"", "a", ""}));
    EXPECT_EQ(split(";;", ";"), (Parts{"", "", ""}));
    EXPECT_EQ(split(";;", ";", true), (Parts{}));
}

TEST(StringList, SplitMatchesTheWholeSeparator) {
    EXPECT_EQ(split("a::b:c", "::"), (Parts{"a", "b:c"}));
    EXPECT_EQ(split("a:b", "::"), (Parts{"a:b"}));
    EXPECT_EQ(split("x", "long separator"), (Parts{"x"}));
    // Occurrences are taken left to right without overlap.
    EXPECT_EQ(split("aaa", "aa"), (Parts{"", "a"}));
    EXPECT_EQ(split("a\"b;c\";d", ";"), (Parts{"a\"b", "c\"", "d"}));
}

TEST(StringList, SplitWithAnEmptySeparatorIsReported) {
    QorTest::AssertionRecorder recorder;
    EXPECT_EQ(split("a;b", ""), (Parts{"a;b"}));
    EXPECT_TRUE(recorder.saw({"!separator.empty()"}));
}

TEST(StringList, JoinIsTheInverseOfSplit) {
    EXPECT_EQ(StringList().join(", "), "");
    EXPECT_EQ(StringList(std::string("one")).join(", "), "one");
    EXPECT_EQ((StringList{"a", "", "b"}).join("--"), "a----b");
    for (const std::string text : {"", ";", "a;;b;", ";x;y"}) {
        EXPECT_EQ(StringList::split(text, ";").join(";"), text);
    }
}

TEST(StringList, Counting) {
    const StringList list{"a", "b", "a", "", "a"};
    EXPECT_EQ(list.count("a"), 3u);
    EXPECT_EQ(list.count(std::string()), 1u);
    EXPECT_EQ(list.count("z"), 0u);
    EXPECT_EQ(list.count([](const std::string& s) { return s.size() == 1; }), 4u);
    EXPECT_EQ(list.count(std::function<bool(const std::string&)>()), 0u);
}

TEST(StringList, IndexOutOfRangeIsReportedAndGivesTheSharedEmptyString) {
    StringList list{"x", "y", "z"};
    EXPECT_EQ(list[0], "x");
    EXPECT_EQ(list[2], "z");
    QorTest::AssertionRecorder recorder;
    const std::string& missing = list[3];
    EXPECT_EQ(missing, "");
    EXPECT_EQ(&StringList()[0], &missing);
    EXPECT_FALSE(list.set(3, "w"));
    EXPECT_TRUE(recorder.saw({"idx < size()", "idx < size()", "idx < size()"}));
    EXPECT_TRUE(list.set(1, "Y"));
    EXPECT_EQ(list.join(""), "xYz");
}

TEST(StringList, Constructors) {
    const char* withNull[] = {"a", nullptr, "c"};
    EXPECT_EQ(StringList(withNull, 3L).asVector(), (Parts{"a", "", "c"}));
    EXPECT_EQ(StringList(withNull, 1L).asVector(), (Parts{"a"}));
    const char* terminated[] = {"p", "q", nullptr};
    EXPECT_EQ(StringList(terminated).asVector(), (Parts{"p", "q"}));
    EXPECT_EQ(StringList(static_cast<const char* const*>(nullptr)).size(), 0u);
    EXPECT_EQ(StringList(std::list<std::string>{"l1", "l2"}).asVector(), (Parts{"l1", "l2"}));
    EXPECT_EQ(StringList(Parts{"v1", "v2"}).asVector(), (Parts{"v1", "v2"}));
    EXPECT_EQ(StringList(std::string("first")).asVector(), (Parts{"first"}));
}

TEST(StringList, CopiesAndAppending) {
    Object parent;
    auto* owned = new StringList({"a"}, &parent);
    StringList copy(*owned);
    EXPECT_EQ(copy.parentObject(), nullptr);
    copy << "b" << std::string("c");
    EXPECT_EQ(owned->size(), 1u);
    copy.append(copy);
    EXPECT_EQ(copy.join(""), "abcabc");
    copy.prepend("0");
    EXPECT_EQ(copy.front(), "0");
    EXPECT_EQ(copy.back(), "c");
    EXPECT_EQ(StringList().front(), "");
    EXPECT_TRUE(copy != *owned);
    *owned = copy;
    EXPECT_TRUE(copy == *owned);
    EXPECT_EQ(owned->parentObject(), &parent);
}

TEST(StringList, VectorAndPointerViews) {
    StringList list{"one", "two"};
    const std::vector<const char*> pointers = list.asStrings();
    ASSERT_EQ(pointers.size(), 2u);
    EXPECT_STREQ(pointers[0], "one");
    EXPECT_EQ(pointers[1], list[1].c_str());
    std::string concatenated;
    for (const std::string& s : list)
        concatenated += s;
    EXPECT_EQ(concatenated, "onetwo");
}

TEST(StringList, EncodingConversionOfEveryElement) {
    const StringList latin{"caf\xE9", "plain"};
    const StringList core = latin.toCoreEncoding(String::Latin1);
    EXPECT_EQ(core.asVector(), (Parts{"caf\xC3\xA9", "plain"}));
    EXPECT_EQ(core.fromCoreEncoding(String::Latin1).asVector(), latin.asVector());
    EXPECT_EQ((StringList{"\xFF"}).fromCoreEncoding(String::Latin1)[0], "(encoding error)");
}

TEST(StringList, ConcurrentReadersOfOneList) {
    // Reading a list from several threads, including the reported out-of-range case, is safe.
    const StringList list = StringList::split("a,b,c,d,e", ",");
    QorTest::AssertionRecorder recorder;
    std::vector<std::thread> threads;
    bool ok[4] = {true, true, true, true};
    for (int t = 0; t < 4; ++t) {
        threads.emplace_back([&list, &ok, t] {
            for (int i = 0; i < 500; ++i) {
                if (list[static_cast<std::size_t>(i % 5)] != std::string(1, char('a' + i % 5)))
                    ok[t] = false;
                if (!list[5].empty()) ok[t] = false;
            }
        });
    }
    for (std::thread& t : threads)
        t.join();
    for (bool b : ok)
        EXPECT_TRUE(b);
    EXPECT_EQ(recorder.texts().size(), 2000u);
}
