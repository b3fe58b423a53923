#include "qorcommon/logentry.h"
#include "qorcommon/logging.h"
#include "qorcommon/c/logging.h"
#include "qorcommon/loggingcwrapper.h"
#include "qorcommon/logginghandler.h"
#include "qorcommon/operationobject.h"

#include "testsupport.h"

#include <gtest/gtest.h>

#include <atomic>
#include <list>
#include <sstream>
#include <string>
#include <thread>
#include <vector>

using namespace Orvane::Core;

namespace {

const DateTime kStart(2024, 1, 31, 23, 59, 59, 0);
const DateTime kLater(2024, 1, 31, 23, 59, 59, 500);
const DateTime kMuchLater(2024, 2, 1, 0, 0, 1, 250);

CodeLocation at(const std::string& file, int line, const char* function) {
    return CodeLocation(file, line, function, CodeLocation::Plain);
}

// One call seen by a listener or a logger, in the order they happened.
struct Seen {
    std::string who;
    Logger::Priority prio;
    LogEntry entry;
    std::vector<std::string> stack;
    double diff;
};

using Journal = std::vector<Seen>;

std::vector<std::string> asVector(const StringList& list) {
    return list.asVector();
}

class RecordingLogger : public Logger {
public:
    RecordingLogger(const GC<LoggerHelper>& helper, Journal& journal, bool usesStack = true)
        : Logger(helper, "recorder", ModuleInfo("core", "dll", Version(3, 35, 4))),
          m_journal(journal) {
        setUsesStack(usesStack);
    }

    // The last element as it was when storeEntry ran.
    std::string lastElementText;

protected:
    void storeEntry(Priority prio, const LogEntry& entry, const StringList& stack, const DateTime&,
                    double diff) override {
        const GC<LogElement> last = elementTree();
        lastElementText = last ? last->entry().text() : "<none>";
        m_journal.push_back({"store", prio, entry, asVector(stack), diff});
    }

private:
    Journal& m_journal;
};

class RecordingListener : public LoggingListener {
public:
    RecordingListener(std::string name, Journal& journal)
        : m_name(std::move(name)), m_journal(journal) {}

    void onLogEntry(const std::string& loggerName, Logger::Priority prio, const LogEntry& entry,
                    const StringList& stack, const DateTime&, double diff) override {
        m_journal.push_back({m_name + "@" + loggerName, prio, entry, asVector(stack), diff});
    }

private:
    std::string m_name;
    Journal& m_journal;
};

class CountingListener : public LoggingListener {
public:
    void onLogEntry(const std::string&, Logger::Priority, const LogEntry&, const StringList&,
                    const DateTime&, double) override {
        calls.fetch_add(1);
    }
    std::atomic<long> calls{0};
};

struct AssertionAt {
    std::string text;
    std::string file;
    int line = 0;
};

void recordAssertionAt(const char* expression, const char* file, int line, void* context) {
    auto* seen = static_cast<AssertionAt*>(context);
    seen->text = expression;
    seen->file = file;
    seen->line = line;
}

} // namespace

// ---- entries ------------------------------------------------------------------------------------

TEST(LogEntry, DefaultIsNullGeneralWithStatusMinusOne) {
    const LogEntry entry;
    EXPECT_TRUE(entry.isNull());
    EXPECT_EQ(entry.context(), LogEntry::General);
    EXPECT_EQ(entry.statusCode(), -1);
    EXPECT_EQ(entry.text(), "");
    EXPECT_TRUE(entry.location().isEmpty());
    // The status rule of General entries holds for the null entry too.
    EXPECT_EQ(entry.asString(), "(-1)");
}

TEST(LogEntry, FactoriesFillContextTextStatusAndLocation) {
    EXPECT_EQ(LogEntry::fromStatus(3).context(), LogEntry::Status);
    EXPECT_EQ(LogEntry::fromStatus(3).text(), "");
    EXPECT_EQ(LogEntry::fromStatus(3, "x").text(), "x");
    EXPECT_EQ(LogEntry::fromStatus(3, at("a.c", 1, "f")).location().line(), 1);
    EXPECT_EQ(LogEntry::fromStatus(3, "x", at("a.c", 1, "f")).statusCode(), 3);

    const LogEntry general = LogEntry::fromGeneralMessage("hello");
    EXPECT_EQ(general.context(), LogEntry::General);
    EXPECT_EQ(general.statusCode(), 0);
    EXPECT_FALSE(general.isNull());
    EXPECT_EQ(LogEntry::fromGeneralMessage("m", at("x.c", 5, "h")).location().file(), "x.c");

    const LogEntry custom = LogEntry::fromCustomContext("key", "value");
    EXPECT_EQ(custom.context(), LogEntry::Custom);
    EXPECT_EQ(custom.customContext(), "key");
    EXPECT_EQ(custom.text(), "value");
    EXPECT_EQ(custom.statusCode(), 0);

    EXPECT_EQ(LogEntry::fromVariable_str("x", "5").text(), "x='5'");
    EXPECT_EQ(LogEntry::fromVariable_str("x", "5", "int").text(), "x='5' (int)");
    EXPECT_EQ(LogEntry::fromVariable_str("x", "5", at("v.c", 2, "f")).text(), "x='5'");
    const LogEntry typed = LogEntry::fromVariable_str("x", "5", "int", at("v.c", 2, "f"));
    EXPECT_EQ(typed.text(), "x='5' (int)");
    EXPECT_EQ(typed.location().file(), "v.c");
    EXPECT_EQ(typed.context(), LogEntry::General);
}

TEST(LogEntry, AsStringForms) {
    EXPECT_EQ(LogEntry::fromStatus(0, "ok").asString(), "ok");
    EXPECT_EQ(LogEntry::fromStatus(12, "ok").asString(), "ok(12)");
    EXPECT_EQ(LogEntry::fromGeneralMessage("m").asString(), "m");
    EXPECT_EQ(LogEntry(LogEntry::General, "m", -3).asString(), "m(-3)");
    EXPECT_EQ(LogEntry::fromCustomContext("key", "value").asString(), "keyvalue");
    EXPECT_EQ(LogEntry(LogEntry::Custom, "v", 5, "k").asString(), "kv(5)");

    EXPECT_EQ(LogEntry(LogEntry::BeginLogging, 0, at("a.c", 1, "f")).asString(), "Begin: f");
    EXPECT_EQ(LogEntry(LogEntry::BeginLogging, "t", 0, at("a.c", 1, "f")).asString(),
              "Begin: f(t)");
    EXPECT_EQ(LogEntry(LogEntry::BeginLogging, "name", 0).asString(), "name");
    EXPECT_EQ(LogEntry(LogEntry::EndLogging, "7", 0, at("a.c", 1, "f")).asString(), "End: f(7)");
    EXPECT_EQ(LogEntry(LogEntry::EndLogging, 0, at("a.c", 1, "f")).asString(), "End: f");
    EXPECT_EQ(LogEntry(LogEntry::EndLogging, "7", 0).asString(), "7");
    // Begin and end entries show no status.
    EXPECT_EQ(LogEntry(LogEntry::EndLogging, "r", 9, at("a.c", 1, "f")).asString(), "End: f(r)");
    EXPECT_EQ(LogEntry(static_cast<LogEntry::Context>(17), "t", 3).asString(), "");
}

TEST(LogEntry, CopiesAssignmentAndMovesKeepValues) {
    LogEntry original = LogEntry::fromCustomContext("k", "v", at("a.c", 4, "f"));
    LogEntry copy(original);
    LogEntry assigned;
    assigned = original;
    assigned = assigned;
    EXPECT_EQ(copy.asString(), "kv");
    EXPECT_EQ(assigned.location().line(), 4);

    LogEntry moved(std::move(original));
    EXPECT_EQ(moved.text(), "v");
    // A moved-from entry is a usable null entry.
    EXPECT_TRUE(original.isNull()); // NOLINT(bugprone-use-after-move)
    EXPECT_EQ(original.statusCode(), -1);

    copy = LogEntry::fromStatus(1, "other");
    EXPECT_EQ(copy.text(), "other");
    EXPECT_EQ(moved.text(), "v");
    EXPECT_EQ(assigned.text(), "v");
}

TEST(Logging, ToFunctionName) {
    EXPECT_EQ(Logging::to_function_name("int f(int a)"), "int f");
    EXPECT_EQ(Logging::to_function_name("plain"), "plain");
    EXPECT_EQ(Logging::to_function_name("a(b)(c)"), "a");
    EXPECT_EQ(Logging::to_function_name(""), "");
    QorTest::AssertionRecorder recorder;
    EXPECT_EQ(Logging::to_function_name(nullptr), "");
    EXPECT_TRUE(recorder.saw({"signature"}));
}

TEST(Logging, AssertLoggingFrameIsValidReportsTheCallersPlace) {
    AssertionAt seen;
    void* previousContext = nullptr;
    const AssertionHandler previous =
        setAssertionHandler(&recordAssertionAt, &seen, &previousContext);
    EXPECT_EQ(Logging::assert_logging_frame_is_valid(nullptr, "caller.cpp", 77), nullptr);
    EXPECT_EQ(seen.text, "__logging_frame__ cannot be nullptr");
    EXPECT_EQ(seen.file, "caller.cpp");
    EXPECT_EQ(seen.line, 77);

    EXPECT_EQ(Logging::assert_logging_frame_is_valid(nullptr, at("loc.cpp", 12, "f")), nullptr);
    EXPECT_EQ(seen.file, "loc.cpp");
    EXPECT_EQ(seen.line, 12);
    setAssertionHandler(previous, previousContext);

    Journal journal;
    GC<Logger> logger(new RecordingLogger(GC<LoggerHelper>(), journal));
    LoggingFrame* frame = LoggingFrame::begin(logger, "f", kStart);
    QorTest::AssertionRecorder recorder;
    EXPECT_EQ(Logging::assert_logging_frame_is_valid(frame, "x", 1), frame);
    EXPECT_TRUE(recorder.texts().empty());
    LoggingFrame::end(frame, kStart);
}

TEST(Logger, PriorityNamesAndPrefixes) {
    const char* names[] = {"Info", "Hint", "Status", "Message", "Warning", "Error", "FatalError"};
    const char* prefixes[] = {
        "Info: ", "Hint: ", "Status: ", "Message: ", "Warning: ", "Error: ", "Fatal Error: "};
    for (int p = 1; p <= 7; ++p) {
        EXPECT_STREQ(Logger::priorityName(static_cast<Logger::Priority>(p)), names[p - 1]);
        EXPECT_STREQ(Logger::priorityPrefix(static_cast<Logger::Priority>(p)), prefixes[p - 1]);
    }
    EXPECT_STREQ(Logger::priorityName(static_cast<Logger::Priority>(0)), "");
    EXPECT_STREQ(Logger::priorityPrefix(static_cast<Logger::Priority>(8)), "");
}

// ---- frames and the funnel ----------------------------------------------------------------------

TEST(LoggingFrame, BeginAddEndFollowTheDiffRule) {
    Journal journal;
    GC<Logger> logger(new RecordingLogger(GC<LoggerHelper>(), journal));
    LoggingFrame* frame = LoggingFrame::begin(logger, "work", kStart);
    ASSERT_NE(frame, nullptr);
    EXPECT_EQ(logger->currentFrame(), frame);
    EXPECT_TRUE(frame->addEntry(Logger::Info, LogEntry::fromGeneralMessage("step"), kLater));
    EXPECT_EQ(frame->lastEntryTime(), kLater);
    const std::list<GC<LogElement>> firstLook = frame->elements();
    ASSERT_EQ(firstLook.size(), 2u);
    EXPECT_EQ(firstLook.front()->entry().context(), LogEntry::BeginLogging);
    EXPECT_EQ(firstLook.back()->prio(), Logger::Info);
    EXPECT_EQ(firstLook.back()->timestamp(), kLater);
    frame->addEntry(Logger::Hint, LogEntry::fromGeneralMessage("more"), kLater);
    ASSERT_EQ(frame->elements().size(), 3u);
    EXPECT_EQ(frame->elements().front(), firstLook.front());
    EXPECT_EQ(frame->elements().back()->entry().text(), "more");
    EXPECT_EQ(LoggingFrame::end_str(frame, std::string("42"), kMuchLater), "42");
    EXPECT_EQ(logger->currentFrame(), nullptr);

    ASSERT_EQ(journal.size(), 4u);
    journal.erase(journal.begin() + 2);
    EXPECT_EQ(journal[0].prio, Logger::Status);
    EXPECT_EQ(journal[0].entry.context(), LogEntry::BeginLogging);
    EXPECT_EQ(journal[0].entry.text(), "work");
    EXPECT_EQ(journal[0].entry.statusCode(), 0);
    EXPECT_DOUBLE_EQ(journal[0].diff, 0.0);
    EXPECT_EQ(journal[1].prio, Logger::Info);
    EXPECT_DOUBLE_EQ(journal[1].diff, 0.5);
    EXPECT_EQ(journal[2].prio, Logger::Status);
    EXPECT_EQ(journal[2].entry.context(), LogEntry::EndLogging);
    EXPECT_EQ(journal[2].entry.text(), "42");
    EXPECT_DOUBLE_EQ(journal[2].diff, 1.75);
}

TEST(LoggingFrame, EndFormsWriteTheirEntries) {
    Journal journal;
    GC<Logger> logger(new RecordingLogger(GC<LoggerHelper>(), journal));
    const CodeLocation where = at("e.c", 30, "fn");

    LoggingFrame::end(LoggingFrame::begin(logger, where, kStart), kStart);
    LoggingFrame::end(LoggingFrame::begin(logger, where, kStart), at("e.c", 31, "fn"), kStart);
    LoggingFrame::end_str(LoggingFrame::begin(logger, "n", kStart), std::string("r"),
                          at("e.c", 32, "fn"), kStart);
    LoggingFrame* frame = LoggingFrame::begin(logger, "m", kStart);
    EXPECT_EQ(frame->end_str(std::string("v"), kStart), "v");
    frame->end(where, kStart);
    LoggingFrame::end(frame, kStart);

    std::vector<std::string> texts;
    for (const Seen& seen : journal)
        texts.push_back(seen.entry.asString().str());
    EXPECT_EQ(texts, (std::vector<std::string>{"Begin: fn", "", "Begin: fn", "End: fn", "n",
                                               "End: fn(r)", "m", "v", "End: fn", ""}));
    // The begin entry of the location form has no text but the location.
    EXPECT_EQ(journal[0].entry.text(), "");
    EXPECT_EQ(journal[0].entry.location().line(), 30);
    EXPECT_EQ(logger->currentFrame(), nullptr);
}

TEST(LoggingFrame, NullFramesAndLoggersAreReported) {
    QorTest::AssertionRecorder recorder;
    LoggingFrame::end(nullptr, kStart);
    LoggingFrame::end(nullptr, at("a.c", 1, "f"), kStart);
    EXPECT_EQ(LoggingFrame::end_str(nullptr, std::string("x"), kStart), "x");
    EXPECT_EQ(LoggingFrame::begin(GC<Logger>(), "f", kStart), nullptr);
    EXPECT_TRUE(
        recorder.saw({"__logging_frame__ cannot be nullptr", "__logging_frame__ cannot be nullptr",
                      "__logging_frame__ cannot be nullptr", "logger"}));
}

TEST(Logger, FunnelCallsListenersInOrderThenKeepsTheElementThenStores) {
    Journal journal;
    GC<LoggerHelper> helper(new LoggerHelper);
    auto* recording = new RecordingLogger(helper, journal);
    GC<Logger> logger(recording);
    GC<LoggingListener> first(new RecordingListener("first", journal));
    GC<LoggingListener> second(new RecordingListener("second", journal));
    EXPECT_TRUE(helper->registerListener(first));
    EXPECT_TRUE(helper->registerListener(second));
    EXPECT_FALSE(helper->registerListener(first));
    EXPECT_FALSE(helper->registerListener(GC<LoggingListener>()));

    EXPECT_TRUE(logger->elementTree().isNull());
    logger->addEntry(Logger::Warning, LogEntry::fromGeneralMessage("w"), kStart, 0.25);

    ASSERT_EQ(journal.size(), 3u);
    EXPECT_EQ(journal[0].who, "first@recorder");
    EXPECT_EQ(journal[1].who, "second@recorder");
    EXPECT_EQ(journal[2].who, "store");
    for (const Seen& seen : journal) {
        EXPECT_EQ(seen.prio, Logger::Warning);
        EXPECT_EQ(seen.entry.text(), "w");
        EXPECT_DOUBLE_EQ(seen.diff, 0.25);
    }
    // The last element already held this entry when storeEntry ran.
    EXPECT_EQ(recording->lastElementText, "w");
    const GC<LogElement> last = logger->elementTree();
    ASSERT_FALSE(last.isNull());
    EXPECT_EQ(last->prio(), Logger::Warning);
    EXPECT_EQ(last->timestamp(), kStart);

    logger->addEntry(Logger::Error, LogEntry::fromStatus(3, "e"), kLater, 0.0);
    EXPECT_EQ(logger->elementTree()->entry().text(), "e");
    // The element handed out earlier is a snapshot.
    EXPECT_EQ(last->entry().text(), "w");

    EXPECT_TRUE(helper->unregisterListener(first));
    EXPECT_FALSE(helper->unregisterListener(first));
    journal.clear();
    logger->addEntry(Logger::Info, LogEntry::fromGeneralMessage("i"), kStart, 0.0);
    ASSERT_EQ(journal.size(), 2u);
    EXPECT_EQ(journal[0].who, "second@recorder");
}

TEST(Logger, StackListHoldsTheBeginLocationsOutermostFirst) {
    Journal journal;
    GC<Logger> logger(new RecordingLogger(GC<LoggerHelper>(), journal));
    LoggingFrame* outer = LoggingFrame::begin(logger, at("a.cpp", 10, "outer"), kStart);
    LoggingFrame* named = LoggingFrame::begin(logger, "byName", kStart);
    LoggingFrame* inner = LoggingFrame::begin(logger, at("b.cpp", 20, "inner"), kStart);
    inner->addEntry(Logger::Info, LogEntry::fromGeneralMessage("deep"), kStart);
    LoggingFrame::end(inner, kStart);
    LoggingFrame::end(named, kStart);
    LoggingFrame::end(outer, kStart);

    ASSERT_EQ(journal.size(), 7u);
    EXPECT_EQ(journal[0].stack, (std::vector<std::string>{"a.cpp:10: outer "}));
    // A frame begun by name has an empty location.
    const std::vector<std::string> deep{"a.cpp:10: outer ", "(unknown)", "b.cpp:20: inner "};
    EXPECT_EQ(journal[3].stack, deep);
    EXPECT_EQ(journal[4].stack, deep); // the end entry is written before the frame leaves
    EXPECT_EQ(journal[6].stack, (std::vector<std::string>{"a.cpp:10: outer "}));
}

TEST(Logger, StackListIsBuiltOnlyForItsReaders) {
    Journal journal;
    GC<LoggerHelper> helper(new LoggerHelper);
    GC<Logger> logger(new RecordingLogger(helper, journal, false));
    LoggingFrame* frame = LoggingFrame::begin(logger, at("a.cpp", 1, "f"), kStart);
    EXPECT_TRUE(journal.back().stack.empty());

    GC<LoggingListener> listener(new RecordingListener("l", journal));
    helper->registerListener(listener);
    frame->addEntry(Logger::Info, LogEntry::fromGeneralMessage("x"), kStart);
    EXPECT_EQ(journal.back().stack, (std::vector<std::string>{"a.cpp:1: f "}));
    helper->unregisterListener(listener);
    LoggingFrame::end(frame, kStart);
    EXPECT_TRUE(journal.back().stack.empty());
}

TEST(LoggerHelper, EndingAnOuterFrameFirstReportsACorruptedStack) {
    Journal journal;
    GC<LoggerHelper> helper(new LoggerHelper);
    GC<Logger> logger(new RecordingLogger(helper, journal));
    LoggingFrame* outer = LoggingFrame::begin(logger, "outer", kStart);
    LoggingFrame* inner = LoggingFrame::begin(logger, "inner", kStart);

    testing::internal::CaptureStdout();
    LoggingFrame::end(outer, kStart);
    EXPECT_EQ(testing::internal::GetCapturedStdout(), "frames stack has been corrupted\n");
    ASSERT_EQ(helper->stack().size(), 2u);
    EXPECT_EQ(helper->stack()[0], outer);
    EXPECT_EQ(helper->currentFrame(), inner);

    // Logging goes on at the same depth; ending the inner frame lets both go.
    inner->addEntry(Logger::Info, LogEntry::fromGeneralMessage("still"), kStart);
    EXPECT_EQ(journal.back().stack.size(), 2u);
    LoggingFrame::end(inner, kStart);
    EXPECT_TRUE(helper->stack().empty());

    // popFrame itself; a frame deleted while not on the stack says so too.
    testing::internal::CaptureStdout();
    {
        LoggingFrame other(logger, kStart);
        EXPECT_FALSE(helper->popFrame(nullptr));
        EXPECT_TRUE(helper->popFrame(&other));
        EXPECT_FALSE(helper->popFrame(&other));
    }
    std::string expected;
    for (int i = 0; i < 3; ++i)
        expected += "frames stack has been corrupted\n";
    EXPECT_EQ(testing::internal::GetCapturedStdout(), expected);
    EXPECT_TRUE(helper->stack().empty());
}

TEST(LoggerHelper, FramesOnSeveralThreadsKeepTheirOwnStacks) {
    GC<LoggerHelper> helper(new LoggerHelper);
    constexpr int kThreads = 6;
    constexpr int kRounds = 200;
    std::vector<Journal> journals(kThreads);
    std::vector<GC<Logger>> loggers;
    for (int t = 0; t < kThreads; ++t)
        loggers.emplace_back(new RecordingLogger(helper, journals[t]));
    std::atomic<int> failures{0};

    std::vector<std::thread> threads;
    for (int t = 0; t < kThreads; ++t) {
        threads.emplace_back([&, t] {
            const std::string file = "thread" + std::to_string(t) + ".cpp";
            for (int round = 0; round < kRounds; ++round) {
                LoggingFrame* outer = LoggingFrame::begin(loggers[t], at(file, 1, "outer"));
                LoggingFrame* inner = LoggingFrame::begin(loggers[t], at(file, 2, "inner"));
                if (helper->stack().size() != 2 || helper->currentFrame() != inner) ++failures;
                inner->addEntry(Logger::Info, LogEntry::fromGeneralMessage("x"));
                LoggingFrame::end(inner);
                LoggingFrame::end(outer);
                if (!helper->stack().empty()) ++failures;
            }
        });
    }
    for (std::thread& thread : threads)
        thread.join();
    EXPECT_EQ(failures.load(), 0);

    for (int t = 0; t < kThreads; ++t) {
        const std::string file = "thread" + std::to_string(t) + ".cpp";
        ASSERT_EQ(journals[t].size(), static_cast<std::size_t>(5 * kRounds));
        const std::vector<std::string> own{file + ":1: outer ", file + ":2: inner "};
        EXPECT_EQ(journals[t][2].stack, own);
        EXPECT_EQ(journals[t].back().stack, std::vector<std::string>{own[0]});
    }
    EXPECT_TRUE(helper->stack().empty());
}

TEST(LoggerHelper, RegistrationWhileOtherThreadsCallListeners) {
    GC<LoggerHelper> helper(new LoggerHelper);
    GC<CountingListener> steady(new CountingListener);
    helper->registerListener(GC<LoggingListener>(steady));
    constexpr int kWriters = 3;
    constexpr int kEntries = 2000;
    std::atomic<bool> writing{true};

    std::thread registrar([&] {
        while (writing.load()) {
            GC<LoggingListener> passing(new CountingListener);
            helper->registerListener(passing);
            helper->foreachListeners([](const GC<LoggingListener>&) { return true; });
            helper->unregisterListener(passing);
        }
    });
    std::vector<std::thread> writers;
    for (int w = 0; w < kWriters; ++w) {
        writers.emplace_back([&] {
            for (int i = 0; i < kEntries; ++i) {
                helper->callListeners("w", Logger::Info, LogEntry::fromGeneralMessage("x"),
                                      StringList(), kStart, 0.0);
            }
        });
    }
    for (std::thread& writer : writers)
        writer.join();
    writing.store(false);
    registrar.join();

    EXPECT_EQ(steady->calls.load(), kWriters * kEntries);
    EXPECT_EQ(helper->listeners().size(), 1u);
}

namespace {

// Unregisters itself on its first call and registers `next` instead.
class HandOverListener : public LoggingListener {
public:
    HandOverListener(LoggerHelper& helper, GC<LoggingListener> next)
        : m_helper(helper), m_next(std::move(next)) {}
    void onLogEntry(const std::string&, Logger::Priority, const LogEntry&, const StringList&,
                    const DateTime&, double) override {
        ++calls;
        m_helper.unregisterListener(GC<LoggingListener>(this));
        m_helper.registerListener(m_next);
    }
    int calls = 0;

private:
    LoggerHelper& m_helper;
    GC<LoggingListener> m_next;
};

} // namespace

TEST(LoggerHelper, ListenersMayChangeTheListWhileCalled) {
    GC<LoggerHelper> helper(new LoggerHelper);
    GC<CountingListener> next(new CountingListener);
    GC<HandOverListener> handOver(new HandOverListener(*helper, GC<LoggingListener>(next)));
    helper->registerListener(GC<LoggingListener>(handOver));

    // The call that runs keeps its snapshot: the new listener hears from the next entry on.
    helper->callListeners("n", Logger::Info, LogEntry(), StringList(), kStart, 0.0);
    EXPECT_EQ(handOver->calls, 1);
    EXPECT_EQ(next->calls.load(), 0);
    helper->callListeners("n", Logger::Info, LogEntry(), StringList(), kStart, 0.0);
    EXPECT_EQ(handOver->calls, 1);
    EXPECT_EQ(next->calls.load(), 1);

    int visited = 0;
    helper->registerListener(GC<LoggingListener>(new CountingListener));
    helper->foreachListeners([&](const GC<LoggingListener>&) { return ++visited < 1; });
    EXPECT_EQ(visited, 1);
    EXPECT_EQ(helper->listeners().size(), 2u);
}

// ---- elements and error records -----------------------------------------------------------------

TEST(LogElement, BuildErrorInfoMapsTheEntry) {
    const ModuleInfo module("core", "dll", Version(3, 35, 4));
    const LogElement status(Logger::Error, LogEntry::fromStatus(12, "disk", at("a.c", 5, "f")),
                            kLater);
    const ErrorInfo error = status.buildErrorInfo(module);
    EXPECT_EQ(error.errorText(), "disk");
    EXPECT_EQ(error.errorCode(), 12);
    EXPECT_EQ(error.codeLocation().line(), 5);
    EXPECT_EQ(error.dateTime(), kLater);
    EXPECT_EQ(error.moduleInfo(), module);
    EXPECT_EQ(error.customInfo().get("log_priority", ""), "Error");
    EXPECT_EQ(error.customInfo().get("log_context", ""), "2");

    const ErrorInfo custom = LogElement(Logger::Info, LogEntry::fromCustomContext("k", "v"), kStart)
                                 .buildErrorInfo(ModuleInfo());
    EXPECT_EQ(custom.errorText(), "k=v");
    EXPECT_EQ(custom.errorCode(), -1);

    GC<LogElement> parent(new LogElement(Logger::Info, LogEntry(), kStart));
    LogElement child(Logger::Hint, LogEntry::fromGeneralMessage("c"), kStart, parent);
    child.subElements().push_back(parent);
    const LogElement copy(child);
    EXPECT_EQ(copy.parent(), parent);
    EXPECT_EQ(copy.subElements().size(), 1u);
    child.init(Logger::Message, LogEntry::fromGeneralMessage("again"), kLater);
    EXPECT_EQ(child.prio(), Logger::Message);
    EXPECT_EQ(copy.entry().text(), "c");

    Journal journal;
    GC<Logger> logger(new RecordingLogger(GC<LoggerHelper>(), journal));
    EXPECT_TRUE(logger->getErrorInfo().isEmpty());
    logger->addEntry(Logger::Warning, LogEntry::fromStatus(4, "low"), kStart, 0.0);
    EXPECT_EQ(logger->getErrorInfo().errorText(), "low");
    EXPECT_EQ(logger->getErrorInfo().moduleInfo().name(), "core");
}

// ---- handlers -----------------------------------------------------------------------------------

TEST(SimpleLoggingHandler, WritesOnePlainLinePerEntry) {
    EXPECT_EQ(SimpleLoggingHandler::formatLine(
                  "app", Logger::Status,
                  LogEntry(LogEntry::BeginLogging, 0, at("parser.cpp", 12, "Parser::run")), 2,
                  kLater, 4711),
              "2024-01-31T23:59:59.500 4711 Status:   Begin: Parser::run [app] {parser.cpp:12}");
    EXPECT_EQ(SimpleLoggingHandler::formatLine("app", static_cast<Logger::Priority>(0),
                                               LogEntry::fromGeneralMessage("m"), 0, kStart, 1),
              "2024-01-31T23:59:59.000 1 0: m [app]");

    std::ostringstream out;
    GC<LoggingHandler> handler(new SimpleLoggingHandler(out));
    const GC<Logger> logger = handler->getLogger(ModuleInfo("mod", "dll", Version(1, 0, 0)));
    EXPECT_EQ(logger->name(), "mod");
    EXPECT_EQ(handler->getLogger("named", ModuleInfo())->name(), "named");
    LoggingFrame* frame = LoggingFrame::begin(logger, "f", kStart);
    frame->addEntry(Logger::Warning, LogEntry::fromStatus(3, "hot"), kLater);
    LoggingFrame::end(frame, kLater);
    std::istringstream lines(out.str());
    std::string line;
    std::vector<std::string> tails;
    while (std::getline(lines, line))
        tails.push_back(line.substr(line.find(' ', line.find(' ') + 1) + 1));
    EXPECT_EQ(tails, (std::vector<std::string>{"Status: f [mod]", "Warning: hot(3) [mod]",
                                               "Status:  [mod]"}));
}

TEST(SimpleLoggingHandler, LinesFromSeveralThreadsDoNotInterleave) {
    std::ostringstream out;
    GC<LoggingHandler> handler(new SimpleLoggingHandler(out));
    const GC<Logger> logger = handler->getLogger("t", ModuleInfo());
    std::vector<std::thread> threads;
    for (int t = 0; t < 4; ++t) {
        threads.emplace_back([&] {
            for (int i = 0; i < 100; ++i)
                logger->addEntry(Logger::Info, LogEntry::fromGeneralMessage("abcdef"), kStart, 0);
        });
    }
    for (std::thread& thread : threads)
        thread.join();
    std::istringstream lines(out.str());
    std::string line;
    int count = 0;
    while (std::getline(lines, line)) {
        ++count;
        EXPECT_EQ(line.substr(line.size() - 16), "Info: abcdef [t]");
    }
    EXPECT_EQ(count, 400);
}

TEST(LoggingHandler, VoidHandlerDiscardsButListenersHear) {
    GC<LoggingHandler> handler(new QOR::VoidLoggingHandler);
    GC<CountingListener> listener(new CountingListener);
    handler->loggerHelper()->registerListener(GC<LoggingListener>(listener));
    const GC<Logger> logger = handler->getLogger("v", ModuleInfo());
    EXPECT_STREQ(logger->typeName(), "Orvane::Core::QOR::VoidLogger");
    LoggingFrame::end(LoggingFrame::begin(logger, "f", kStart), kStart);
    EXPECT_EQ(listener->calls.load(), 2);
    // Loggers of one handler share its helper, and so its frame stacks.
    const GC<Logger> second = handler->getLogger("w", ModuleInfo());
    LoggingFrame* frame = LoggingFrame::begin(logger, "f", kStart);
    EXPECT_EQ(second->currentFrame(), frame);
    LoggingFrame::end(frame, kStart);
}

TEST(LoggingHandler, InitialHandlerIsReplaceable) {
    const GC<LoggingHandler> initial = Logging::initialHandler();
    ASSERT_FALSE(initial.isNull());
    EXPECT_STREQ(initial->typeName(), "Orvane::Core::SimpleLoggingHandler");
    EXPECT_EQ(Logging::initialHandler(), initial);

    GC<LoggingHandler> replacement(new QOR::VoidLoggingHandler);
    Logging::setInitialHandler(replacement);
    EXPECT_EQ(Logging::initialHandler(), replacement);
    Logging::setInitialHandler(GC<LoggingHandler>());
    EXPECT_STREQ(Logging::initialHandler()->typeName(), "Orvane::Core::SimpleLoggingHandler");
}

// ---- C records, scopes and operation objects ----------------------------------------------------

TEST(CWrapper, LogEntryRecordsRoundTrip) {
    CWrapper::orv_LogEntry_Buffer buffer;
    const LogEntry entry(LogEntry::Custom, "text", 9, at("w.c", 4, "fn"), "key");
    const orv_LogEntry record = CWrapper::fromLogEntry(entry, buffer);
    EXPECT_EQ(record.context, orv_LogContext_Custom);
    EXPECT_STREQ(record.text, "text");
    EXPECT_EQ(record.statusCode, 9);
    EXPECT_STREQ(record.customContext, "key");
    EXPECT_STREQ(record.location.file, "w.c");
    EXPECT_EQ(record.location.line, 4);
    EXPECT_STREQ(record.location.function, "fn");

    const LogEntry back = CWrapper::toLogEntry(&record);
    EXPECT_EQ(back.asString(), "keytext(9)");
    EXPECT_EQ(back.location(), entry.location());

    const orv_LogEntry bare = CWrapper::fromLogEntry(LogEntry::fromStatus(1), buffer);
    EXPECT_EQ(bare.location.line, -1);
    EXPECT_STREQ(bare.location.file, "");
    EXPECT_TRUE(CWrapper::toLogEntry(&bare).location().isEmpty());

    QorTest::AssertionRecorder recorder;
    EXPECT_TRUE(CWrapper::toLogEntry(nullptr).isNull());
    EXPECT_TRUE(recorder.saw({"record"}));
}

namespace {

int scopedWork(const GC<Logger>& logger) {
    QOR_LOGGING_SCOPE(logger);
    QOR_LOG(Logger::Info, LogEntry::fromGeneralMessage("inside"));
    EXPECT_EQ(QOR_LOGGING_FRAME() != nullptr, !logger.isNull());
    return qorLoggingScope.endWith(5, "5");
}

class Operation : public OperationObject {
public:
    void run(const GC<Logger>& logger) {
        endLogging(LoggingFrame::begin(logger, "run", kStart), at("op.cpp", 8, "run"));
    }
};

} // namespace

TEST(LoggingScope, MacrosOpenAndCloseTheFunctionsFrame) {
    Journal journal;
    GC<Logger> logger(new RecordingLogger(GC<LoggerHelper>(), journal));
    EXPECT_EQ(scopedWork(logger), 5);
    ASSERT_EQ(journal.size(), 3u);
    const std::string begin = journal[0].entry.asString().str();
    EXPECT_EQ(begin.rfind("Begin: ", 0), 0u) << begin;
    EXPECT_EQ(begin.substr(begin.size() - 10), "scopedWork") << begin;
    EXPECT_EQ(journal[1].entry.text(), "inside");
    EXPECT_EQ(journal[2].entry.text(), "5");
    EXPECT_EQ(logger->currentFrame(), nullptr);

    QorTest::AssertionRecorder recorder;
    EXPECT_EQ(scopedWork(GC<Logger>()), 5);
    EXPECT_TRUE(recorder.saw({"__logging_frame__ cannot be nullptr"}));

    Operation operation;
    operation.run(logger);
    EXPECT_EQ(journal.back().entry.asString(), "End: run");
    EXPECT_EQ(journal.back().entry.location().file(), "op.cpp");
    EXPECT_EQ(logger->currentFrame(), nullptr);
}
