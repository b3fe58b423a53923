// Threads with a controlled stop, their names, per-thread values that go with their thread, and
// timer threads.
#include "qorcommon/event.h"
#include "qorcommon/thread.h"
#include "qorcommon/threadmanagedobject.h"
#include "qorcommon/timerthread.h"

#include "testsupport.h"

#include <gtest/gtest.h>

#include <atomic>
#include <stdexcept>

using namespace Orvane::Core;

using QorTest::eventually;

TEST(StopToken, RequestReachesEveryCopyOnce) {
    StopToken inert;
    EXPECT_FALSE(inert.stopRequested());
    EXPECT_FALSE(inert.stopPossible());
    EXPECT_FALSE(inert.waitForStop(0));
    EXPECT_FALSE(inert.waitForStop(-1)); // nothing can stop it: no endless wait

    StopToken copy;
    {
        StopSource source;
        StopToken token = source.token();
        copy = token;
        EXPECT_TRUE(copy.stopPossible());
        EXPECT_FALSE(token.waitForStop(1));
        EXPECT_TRUE(source.requestStop());
        EXPECT_FALSE(source.requestStop());
        EXPECT_TRUE(token.stopRequested());
        EXPECT_TRUE(token.waitForStop(-1));
    }
    // The request outlives its source.
    EXPECT_TRUE(copy.stopRequested());
    EXPECT_TRUE(copy.stopPossible());
}

TEST(StopToken, WaitWakesOnRequestFromAnotherThread) {
    StopSource source;
    Event waiting(Event::ManualReset);
    std::atomic<bool> woke{false};
    Thread waiter;
    ASSERT_TRUE(waiter.start([&](const StopToken&) {
        waiting.set();
        woke = source.token().waitForStop(-1);
    }));
    ASSERT_TRUE(waiting.wait(-1));
    source.requestStop();
    ASSERT_TRUE(waiter.join(-1));
    EXPECT_TRUE(woke.load());
}

TEST(Thread, StopRequestIsHonouredAndJoinKeepsItsLimit) {
    Thread thread("worker");
    std::atomic<int> rounds{0};
    std::atomic<bool> sawOwnToken{false};
    EXPECT_FALSE(thread.start(Thread::Function()));
    EXPECT_TRUE(thread.join(0)); // never ran
    ASSERT_TRUE(thread.start([&](const StopToken& token) {
        sawOwnToken = !Thread::currentStopToken().stopRequested() &&
                      Thread::currentStopToken().stopPossible();
        while (!token.waitForStop(5))
            ++rounds;
        sawOwnToken = sawOwnToken && Thread::currentStopToken().stopRequested();
    }));
    EXPECT_TRUE(thread.isRunning());
    EXPECT_NE(thread.threadId(), -1);
    EXPECT_NE(thread.threadId(), Thread::currentThreadId());
    EXPECT_FALSE(thread.start([](const StopToken&) {})); // still running
    // Not asked to stop yet: the limited join gives up and the thread goes on.
    EXPECT_FALSE(thread.join(20));
    EXPECT_TRUE(thread.isRunning());
    EXPECT_FALSE(thread.stopRequested());

    EXPECT_TRUE(thread.stopAndJoin(-1));
    EXPECT_TRUE(thread.stopRequested());
    EXPECT_TRUE(sawOwnToken.load());
    EXPECT_FALSE(thread.isRunning());
    EXPECT_EQ(thread.threadId(), -1);

    // A second run gets a fresh request.
    std::atomic<bool> freshRequest{false};
    ASSERT_TRUE(
        thread.start([&](const StopToken& token) { freshRequest = !token.stopRequested(); }));
    EXPECT_TRUE(thread.join(-1));
    EXPECT_TRUE(freshRequest.load());
    EXPECT_FALSE(Thread::currentStopToken().stopPossible());
}

TEST(Thread, DestructorStopsAndWaitsAndSelfJoinIsRefused) {
    std::atomic<bool> ended{false};
    std::atomic<int> selfJoin{-1};
    {
        Thread thread;
        Thread* self = &thread;
        ASSERT_TRUE(thread.start([&, self](const StopToken& token) {
            selfJoin = self->join(0) ? 1 : 0;
            token.waitForStop(-1);
            ended = true;
        }));
    }
    EXPECT_TRUE(ended.load());
    EXPECT_EQ(selfJoin.load(), 0);
}

TEST(Thread, NamesReachTheSystem) {
    Thread thread("qor-named-worker-with-a-long-name");
    EXPECT_EQ(thread.name(), "qor-named-worker-with-a-long-name");
    std::string seen;
    std::atomic<bool> named{false};
    ASSERT_TRUE(thread.start([&](const StopToken&) {
        seen = Thread::currentThreadName();
        named = !seen.empty();
    }));
    ASSERT_TRUE(thread.join(-1));
    // Systems without thread names report none; those with them keep at least 15 bytes.
    if (named) {
        EXPECT_EQ(seen.substr(0, 15), "qor-named-worke");
    }

    Thread plain;
    std::string renamed;
    ASSERT_TRUE(plain.start([&](const StopToken&) {
        if (Thread::setCurrentThreadName("r\xC3\xA9nom\xC3\xA9-thread-\xC3\xA9t\xC3\xA9"))
            renamed = Thread::currentThreadName();
    }));
    ASSERT_TRUE(plain.join(-1));
    // A cut never splits a character.
    if (!renamed.empty()) {
        EXPECT_EQ(std::string("r\xC3\xA9nom\xC3\xA9-thread-\xC3\xA9t\xC3\xA9").rfind(renamed, 0),
                  0u);
    }
    EXPECT_LE(renamed.size(), 40u);
}

TEST(Thread, EscapingExceptionIsReportedAndEndsOnlyThatThread) {
    QorTest::AssertionRecorder recorder;
    Thread thread;
    ASSERT_TRUE(thread.start([](const StopToken&) { throw std::runtime_error("boom"); }));
    ASSERT_TRUE(thread.join(-1));
    EXPECT_EQ(recorder.texts().size(), 1u);
}

namespace {

struct Counted {
    static std::atomic<int> alive;
    Counted() { ++alive; }
    ~Counted() { --alive; }
    int value = 0;
};
std::atomic<int> Counted::alive{0};

} // namespace

TEST(Thread, PerThreadValuesGoWithTheirThreadAndSurviveShutdown) {
    ThreadLocalVariable<Counted> variable;
    const int before = Counted::alive;
    variable->value = 1;
    {
        Thread a, b;
        auto body = [&](const StopToken&) {
            variable->value = static_cast<int>(Thread::currentThreadId());
            EXPECT_TRUE(variable.hasValue());
        };
        ASSERT_TRUE(a.start(body));
        ASSERT_TRUE(b.start(body));
        ASSERT_TRUE(a.join(-1));
        ASSERT_TRUE(b.join(-1));
    }
    // Only the main thread's value is left once the workers' ends have been processed.
    EXPECT_TRUE(eventually([&] { return variable.size() == 1; }));
    EXPECT_EQ(Counted::alive.load(), before + 1);
    EXPECT_EQ(variable->value, 1);

    QOR::shutdownThreadLocalVariableGC();
    ThreadManagedObjectGC* gc = QOR::threadLocalVariableGC.load();
    ASSERT_NE(gc, nullptr);
    EXPECT_FALSE(gc->internal()->isRunning());
    // Variables keep working after the shut-down, and the collector can start again.
    EXPECT_EQ(variable->value, 1);
    Thread late;
    ASSERT_TRUE(late.start([&](const StopToken&) { variable->value = 2; }));
    ASSERT_TRUE(late.join(-1));
    EXPECT_TRUE(eventually([&] { return variable.size() == 1; }));
    EXPECT_TRUE(gc->setPeriod(ThreadManagedObjectGC::DefaultPeriodSeconds));
    EXPECT_TRUE(gc->internal()->isRunning());
}

TEST(TimerThread, SingleShotRestartAndPeriodChange) {
    TimerThread timer;
    std::atomic<int> ticks{0};
    EXPECT_FALSE(timer.restart()); // never started
    EXPECT_FALSE(timer.setPeriod(0));
    ASSERT_TRUE(timer.start(
        5, [&] { ++ticks; }, false));
    EXPECT_FALSE(timer.isRepeating());
    EXPECT_TRUE(eventually([&] { return ticks.load() == 1 && !timer.isRunning(); }));
    EXPECT_TRUE(timer.stop());
    EXPECT_EQ(ticks.load(), 1);

    // A stopped timer keeps a new period for its next start.
    EXPECT_TRUE(timer.setPeriod(7));
    EXPECT_EQ(timer.periodMs(), 7);
    EXPECT_FALSE(timer.isRunning());
    ASSERT_TRUE(timer.restart());
    EXPECT_TRUE(eventually([&] { return ticks.load() == 2; }));

    // A repeating timer restarts with its new period.
    ASSERT_TRUE(timer.stop());
    ASSERT_TRUE(timer.start(1000000, [&] { ++ticks; }));
    EXPECT_TRUE(timer.setPeriod(2));
    EXPECT_TRUE(timer.isRunning());
    const int seen = ticks;
    EXPECT_TRUE(eventually([&] { return ticks.load() >= seen + 3; }));
    EXPECT_TRUE(timer.stop(-1));
    EXPECT_FALSE(timer.isRunning());
}
