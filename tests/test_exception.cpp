#include "qorcommon/exception.h"

#include <gtest/gtest.h>

#include <cstring>
#include <stdexcept>
#include <string>
#include <thread>
#include <vector>

using namespace Orvane::Core;

namespace {

const DateTime kWhen(2024, 1, 31, 23, 59, 59);
const char* const kJoint = "\n-----------\n";

ErrorInfo record(const std::string& text, long code) {
    return ErrorInfo(ModuleInfo(), CodeLocation("a.c", 1), code, text, "", CustomInfo(), kWhen);
}

// A library exception whose cause chain runs through every kind: an operation exception over a
// general exception over a standard one.
OperationException chain() {
    return OperationException(record("outer", 1),
                              new GeneralException("middle",
                                                   CodeLocation("b.c", 2, "g", CodeLocation::Plain),
                                                   new std::runtime_error("root cause")));
}

} // namespace

TEST(Exception, WhatIsTheShortForm) {
    const OperationException e(record("failed", 3));
    EXPECT_STREQ(e.what(), "[] failed (3) ");
    EXPECT_EQ(e.asShortString().str(), "[] failed (3) ");
    EXPECT_EQ(e.asLongString().str(), record("failed", 3).asLongString().str());
    EXPECT_EQ(e.parent(), nullptr);
    try {
        throw OperationException(record("thrown", 4));
    } catch (const std::exception& caught) {
        EXPECT_STREQ(caught.what(), "[] thrown (4) ");
    }
}

TEST(Exception, GeneralExceptionJoinsMessageAndLocationWithALineBreak) {
    const CodeLocation where("b.c", 2, "g", CodeLocation::Plain);
    EXPECT_STREQ(GeneralException("broken", where).what(), "broken\nb.c:2: g ");
    EXPECT_STREQ(GeneralException(where).what(), "b.c:2: g ");
    EXPECT_STREQ(GeneralException("only text", CodeLocation()).what(), "only text");
    EXPECT_STREQ(GeneralException().what(), "");
    EXPECT_EQ(GeneralException("broken", where).asLongString().str(), "broken\nb.c:2: g ");
}

TEST(Exception, LongFormFollowsTheChainToItsEnd) {
    const OperationException e = chain();
    EXPECT_EQ(e.asLongString().str(), record("outer", 1).asLongString().str() + kJoint +
                                          "middle\nb.c:2: g " + kJoint + "root cause");
    // The short form stays the exception's own.
    EXPECT_STREQ(e.what(), "[] outer (1) ");
}

TEST(Exception, ErrorInfoListHoldsTheOperationRecordsOutermostFirst) {
    const OperationException e(
        record("first", 1),
        new GeneralException("between", CodeLocation(),
                             new OperationException(record("second", 2),
                                                    new OperationException(record("third", 3)))));
    std::vector<std::string> texts;
    for (const ErrorInfo& info : e.errorInfoList())
        texts.push_back(info.errorText());
    EXPECT_EQ(texts, (std::vector<std::string>{"first", "second", "third"}));
    // A foreign cause ends the walk without a record.
    EXPECT_EQ(chain().errorInfoList().size(), 1u);
}

TEST(Exception, CopiesShareTheCauseChainSafely) {
    std::vector<OperationException> copies;
    {
        const OperationException original = chain();
        copies.push_back(original);
        copies.push_back(copies.front());
        EXPECT_EQ(copies.back().parent(), original.parent());
    }
    // The chain outlives the exception it was given to.
    EXPECT_EQ(copies.back().asLongString().str().substr(
                  copies.back().asLongString().str().rfind(kJoint) + std::strlen(kJoint)),
              "root cause");
    OperationException assigned(record("other", 9));
    const char* before = assigned.what();
    EXPECT_STREQ(before, "[] other (9) ");
    assigned = copies.front();
    EXPECT_STREQ(assigned.what(), "[] outer (1) ");
    EXPECT_EQ(assigned.errorInfoList().size(), 1u);
    GeneralException general("m", CodeLocation(), new std::logic_error("cause"));
    GeneralException generalCopy(general);
    general = GeneralException("n", CodeLocation());
    EXPECT_EQ(general.parent(), nullptr);
    EXPECT_EQ(std::string(generalCopy.parent()->what()), "cause");
}

TEST(Exception, WhatIsMadeOnceWhenThreadsAskTogether) {
    const OperationException e = chain();
    std::vector<std::thread> readers;
    std::vector<const char*> seen(4, nullptr);
    for (std::size_t i = 0; i < seen.size(); ++i) {
        readers.emplace_back([&e, &seen, i] { seen[i] = e.what(); });
    }
    for (std::thread& t : readers)
        t.join();
    for (const char* text : seen)
        EXPECT_EQ(text, seen.front());
    EXPECT_STREQ(seen.front(), "[] outer (1) ");
}
