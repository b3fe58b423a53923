// Events, event depots, broadcasters and timelines: outcomes and orderings under concurrency.
#include "qorcommon/event.h"
#include "qorcommon/thread.h"
#include "qorcommon/timeline.h"

#include "testsupport.h"

#include <gtest/gtest.h>

#include <atomic>
#include <chrono>
#include <memory>
#include <mutex>
#include <stdexcept>
#include <string>
#include <vector>

using namespace Orvane::Core;

using QorTest::eventually;

// ---- Event -------------------------------------------------------------------------------------

TEST(Event, ResetModesAndTimeLimits) {
    Event automatic;
    EXPECT_EQ(automatic.mode(), Event::AutoReset);
    EXPECT_FALSE(automatic.wait(0));
    EXPECT_FALSE(automatic.wait(5)); // the limit passes without a set
    automatic.set();
    automatic.set(); // a second set while set changes nothing
    EXPECT_TRUE(automatic.isSet());
    EXPECT_TRUE(automatic.wait(0));
    EXPECT_FALSE(automatic.isSet());
    EXPECT_FALSE(automatic.wait(0));

    Event manual(Event::ManualReset, true);
    EXPECT_TRUE(manual.wait(0));
    EXPECT_TRUE(manual.wait(-1));
    manual.reset();
    EXPECT_FALSE(manual.wait(1));
}

TEST(Event, AutomaticSetLetsOneWaiterPassManualLetsAll) {
    Event automatic;
    std::atomic<int> passed{0};
    Thread first, second;
    auto waiter = [&](const StopToken&) {
        if (automatic.wait(-1)) ++passed;
    };
    ASSERT_TRUE(first.start(waiter));
    ASSERT_TRUE(second.start(waiter));
    automatic.set();
    EXPECT_TRUE(eventually([&] { return passed.load() >= 1; }));
    Thread::sleep(20);
    EXPECT_EQ(passed.load(), 1);
    automatic.set();
    ASSERT_TRUE(first.join(-1));
    ASSERT_TRUE(second.join(-1));
    EXPECT_EQ(passed.load(), 2);

    Event manual(Event::ManualReset);
    std::atomic<int> through{0};
    std::vector<Thread*> threads;
    for (int i = 0; i < 4; ++i) {
        threads.push_back(new Thread);
        ASSERT_TRUE(threads.back()->start([&](const StopToken&) {
            if (manual.wait(-1)) ++through;
        }));
    }
    manual.set();
    for (Thread* thread : threads) {
        EXPECT_TRUE(thread->join(-1));
        delete thread;
    }
    EXPECT_EQ(through.load(), 4);
    EXPECT_TRUE(manual.isSet());
}

// ---- EventDepot --------------------------------------------------------------------------------

TEST(EventDepot, KeepsOrderAcrossThreads) {
    EventDepot<int> depot;
    constexpr int count = 20000;
    Thread producer;
    ASSERT_TRUE(producer.start([&](const StopToken&) {
        for (int i = 0; i < count; ++i)
            depot.push(i);
    }));
    int expected = 0;
    bool inOrder = true;
    std::vector<int> batch;
    while (expected < count) {
        int value = -1;
        if (expected % 2) {
            ASSERT_TRUE(depot.pop(value, -1));
            inOrder = inOrder && value == expected++;
        } else {
            batch.clear();
            ASSERT_GT(depot.popAll(batch, -1), 0u);
            for (int item : batch)
                inOrder = inOrder && item == expected++;
        }
    }
    EXPECT_TRUE(inOrder);
    EXPECT_TRUE(producer.join(-1));
    EXPECT_TRUE(depot.empty());
}

TEST(EventDepot, ManyProducersAndConsumersDeliverEachEventOnce) {
    EventDepot<int> depot;
    constexpr int perProducer = 5000;
    std::atomic<long long> sum{0};
    std::atomic<int> taken{0};
    std::vector<Thread*> threads;
    for (int c = 0; c < 3; ++c) {
        threads.push_back(new Thread);
        ASSERT_TRUE(threads.back()->start([&, c](const StopToken&) {
            int value;
            std::vector<int> batch;
            // Ends when the depot is closed and drained; short limits exercise the time-outs.
            for (;;) {
                if (c == 0) {
                    batch.clear();
                    const std::size_t n = depot.popAll(batch, 1);
                    for (int v : batch)
                        sum += v;
                    taken += static_cast<int>(n);
                    if (n == 0 && depot.isClosed() && depot.empty()) break;
                } else if (depot.pop(value, c == 1 ? -1 : 2)) {
                    sum += value;
                    ++taken;
                } else if (depot.isClosed() && depot.empty()) {
                    break;
                }
            }
        }));
    }
    std::vector<Thread*> producers;
    for (int p = 0; p < 2; ++p) {
        producers.push_back(new Thread);
        ASSERT_TRUE(producers.back()->start([&](const StopToken&) {
            for (int i = 1; i <= perProducer; ++i)
                depot.push(i);
        }));
    }
    for (Thread* producer : producers) {
        EXPECT_TRUE(producer->join(-1));
        delete producer;
    }
    depot.close();
    for (Thread* thread : threads) {
        EXPECT_TRUE(thread->join(-1));
        delete thread;
    }
    EXPECT_EQ(taken.load(), 2 * perProducer);
    EXPECT_EQ(sum.load(), 2LL * perProducer * (perProducer + 1) / 2);
}

TEST(EventDepot, CloseAndWakeAllReleaseWaiters) {
    EventDepot<std::string> depot;
    std::string out;
    EXPECT_FALSE(depot.pop(out, 0));
    EXPECT_FALSE(depot.tryPop(out));
    EXPECT_FALSE(depot.pop(out, 5)); // time limit with nothing queued

    // wakeAll: a waiter returns false, the depot stays open.
    std::atomic<int> outcome{-1};
    Thread waiter;
    ASSERT_TRUE(waiter.start([&](const StopToken&) {
        std::string item;
        outcome = depot.pop(item, -1) ? 1 : 0;
    }));
    // Repeated until the waiter has gone in and been woken.
    EXPECT_TRUE(eventually([&] {
        depot.wakeAll();
        return outcome.load() != -1;
    }));
    ASSERT_TRUE(waiter.join(-1));
    EXPECT_EQ(outcome.load(), 0);
    EXPECT_FALSE(depot.isClosed());

    // close: queued items can still be taken, new ones are refused, waiters leave.
    EXPECT_TRUE(depot.push("a"));
    EXPECT_TRUE(depot.push("b"));
    std::atomic<int> woken{0};
    Thread w1, w2;
    EventDepot<int> empty;
    auto blocked = [&](const StopToken&) {
        int item;
        if (!empty.pop(item, -1)) ++woken;
    };
    ASSERT_TRUE(w1.start(blocked));
    ASSERT_TRUE(w2.start(blocked));
    empty.close();
    EXPECT_TRUE(w1.join(-1));
    EXPECT_TRUE(w2.join(-1));
    EXPECT_EQ(woken.load(), 2);
    EXPECT_FALSE(empty.push(1));

    depot.close();
    EXPECT_FALSE(depot.push("c"));
    ASSERT_TRUE(depot.pop(out, -1));
    EXPECT_EQ(out, "a");
    EXPECT_EQ(depot.size(), 1u);
    EXPECT_EQ(depot.clear(), 1u);
    EXPECT_FALSE(depot.pop(out, -1)); // closed and empty: no endless wait
    depot.reopen();
    EXPECT_TRUE(depot.push("d"));
}

// ---- Broadcaster -------------------------------------------------------------------------------

TEST(Broadcaster, CallsListenersInOrderAndSubscriptionsEndThem) {
    Broadcaster<int, std::string> broadcaster;
    std::vector<std::string> calls;
    Subscription a = broadcaster.subscribe(
        [&](const int& n, const std::string& s) { calls.push_back("a" + s + std::to_string(n)); });
    Subscription b = broadcaster.subscribe(
        [&](const int& n, const std::string& s) { calls.push_back("b" + s + std::to_string(n)); });
    EXPECT_NE(a.id(), b.id());
    EXPECT_NE(a.id(), 0u);
    EXPECT_FALSE(broadcaster.subscribe(Broadcaster<int, std::string>::Listener()).isActive());
    EXPECT_EQ(broadcaster.broadcast(1, "x"), 2u);
    EXPECT_EQ(calls, (std::vector<std::string>{"ax1", "bx1"}));

    {
        Subscription moved = std::move(a);
        EXPECT_FALSE(a.isActive());
        EXPECT_TRUE(moved.isActive());
    } // unsubscribes
    calls.clear();
    EXPECT_EQ(broadcaster.broadcast(2, "y"), 1u);
    EXPECT_EQ(calls, (std::vector<std::string>{"by2"}));

    const SubscriptionId kept = b.release();
    EXPECT_EQ(broadcaster.listenerCount(), 1u);
    EXPECT_TRUE(broadcaster.unsubscribe(kept));
    EXPECT_FALSE(broadcaster.unsubscribe(kept));
    EXPECT_EQ(broadcaster.broadcast(3, "z"), 0u);

    // A subscription that outlives its broadcaster does nothing.
    Subscription orphan;
    {
        Broadcaster<> shortLived;
        orphan = shortLived.subscribe([] {});
        EXPECT_TRUE(orphan.isActive());
    }
    EXPECT_FALSE(orphan.isActive());
    EXPECT_FALSE(orphan.unsubscribe());
}

TEST(Broadcaster, ListenersLeaveMidBroadcastWithoutDeadlock) {
    Broadcaster<int> broadcaster;
    std::vector<std::string> calls;
    SubscriptionId secondId = 0, thirdId = 0;
    Subscription first = broadcaster.subscribe([&](const int&) {
        calls.push_back("first");
        broadcaster.unsubscribe(thirdId); // another listener, later in this broadcast
    });
    Subscription second = broadcaster.subscribe([&](const int&) {
        calls.push_back("second");
        broadcaster.unsubscribe(secondId); // itself
    });
    Subscription third = broadcaster.subscribe([&](const int&) { calls.push_back("third"); });
    secondId = second.id();
    thirdId = third.id();

    EXPECT_EQ(broadcaster.broadcast(0), 2u);
    EXPECT_EQ(calls, (std::vector<std::string>{"first", "second"}));
    EXPECT_FALSE(second.isActive());
    EXPECT_FALSE(third.isActive());
    calls.clear();
    broadcaster.broadcast(0);
    EXPECT_EQ(calls, (std::vector<std::string>{"first"}));

    // Dropping every listener from inside a callback.
    Subscription clearer = broadcaster.subscribe([&](const int&) { broadcaster.unsubscribeAll(); });
    broadcaster.broadcast(0);
    EXPECT_EQ(broadcaster.listenerCount(), 0u);
}

TEST(Broadcaster, UnsubscribeWaitsForARunningListener) {
    Broadcaster<> broadcaster;
    std::atomic<bool> gone{false};
    std::atomic<bool> calledAfterGone{false};
    std::atomic<bool> stop{false};
    std::atomic<long> calls{0};
    for (int round = 0; round < 50; ++round) {
        gone = false;
        Subscription subscription = broadcaster.subscribe([&] {
            if (gone) calledAfterGone = true;
            ++calls;
            Thread::yield();
            if (gone) calledAfterGone = true;
        });
        stop = false;
        Thread sender;
        ASSERT_TRUE(sender.start([&](const StopToken&) {
            while (!stop)
                broadcaster.broadcast();
        }));
        const long seen = calls;
        EXPECT_TRUE(eventually([&] { return calls.load() > seen; }));
        subscription.unsubscribe();
        gone = true;
        Thread::sleep(1);
        stop = true;
        ASSERT_TRUE(sender.join(-1));
    }
    EXPECT_FALSE(calledAfterGone.load());
}

// ---- Timeline ----------------------------------------------------------------------------------

TEST(Timeline, RunsEntriesInDueOrder) {
    Timeline timeline("test-timeline");
    std::mutex mutex;
    std::vector<int> order;
    auto record = [&](int n) {
        return [&, n] {
            std::lock_guard<std::mutex> lock(mutex);
            order.push_back(n);
        };
    };
    // Hold the thread so that everything below is queued before anything runs.
    Event gate(Event::ManualReset);
    ASSERT_NE(timeline.add(0, [&] { gate.wait(-1); }), 0u);
    EXPECT_NE(timeline.add(800, record(3)), 0u);
    EXPECT_NE(timeline.add(0, record(1)), 0u);
    EXPECT_NE(timeline.add(400, record(2)), 0u);
    EXPECT_NE(timeline.add(0, record(11)), 0u); // same due time: after the one added earlier
    const Timeline::Id late = timeline.add(100000, record(99));
    gate.set();
    EXPECT_TRUE(eventually([&] {
        std::lock_guard<std::mutex> lock(mutex);
        return order.size() == 4;
    }));
    {
        std::lock_guard<std::mutex> lock(mutex);
        EXPECT_EQ(order, (std::vector<int>{1, 11, 2, 3}));
    }
    EXPECT_TRUE(timeline.isScheduled(late));
    EXPECT_EQ(timeline.size(), 1u);
    // Moved forward, it runs now; a one-time entry is gone after its run.
    EXPECT_TRUE(timeline.reschedule(late, 0));
    EXPECT_TRUE(eventually([&] { return !timeline.isScheduled(late); }));
    {
        std::lock_guard<std::mutex> lock(mutex);
        EXPECT_EQ(order.back(), 99);
    }
    EXPECT_FALSE(timeline.reschedule(late, 0));
    EXPECT_FALSE(timeline.cancel(late));
    EXPECT_EQ(timeline.add(-1, [] {}), 0u);
    EXPECT_EQ(timeline.add(0, Timeline::Callback()), 0u);
}

TEST(Timeline, CancelRacingCallbacksNeverLetsThemRunAfterwards) {
    Timeline timeline;
    std::atomic<bool> violation{false};
    for (int round = 0; round < 40; ++round) {
        auto cancelled = std::make_shared<std::atomic<bool>>(false);
        auto runs = std::make_shared<std::atomic<int>>(0);
        const Timeline::Id id = timeline.add(
            0,
            [cancelled, runs, &violation] {
                if (*cancelled) violation = true;
                ++*runs;
                Thread::yield();
                if (*cancelled) violation = true;
            },
            1);
        ASSERT_NE(id, 0u);
        EXPECT_TRUE(eventually([&] { return runs->load() >= 1 + round % 3; }));
        EXPECT_TRUE(timeline.cancel(id));
        *cancelled = true;
        EXPECT_FALSE(timeline.isScheduled(id));
    }
    Thread::sleep(10);
    EXPECT_FALSE(violation.load());
}

TEST(Timeline, CallbacksMayCancelThemselvesAndOthers) {
    QorTest::AssertionRecorder recorder;
    Timeline timeline;
    std::atomic<int> selfRuns{0}, otherRuns{0}, afterThrow{0};
    std::atomic<Timeline::Id> self{0}, other{0};
    Event done(Event::ManualReset);
    other = timeline.add(100000, [&] { ++otherRuns; });
    self = timeline.add(
        0,
        [&] {
            while (self.load() == 0) // the id is stored once add() has returned
                Thread::yield();
            ++selfRuns;
            EXPECT_TRUE(timeline.cancel(self));
            EXPECT_TRUE(timeline.cancel(other));
            done.set();
        },
        1);
    ASSERT_TRUE(done.wait(-1));
    EXPECT_TRUE(eventually([&] { return timeline.size() == 0; }));
    EXPECT_EQ(selfRuns.load(), 1);
    EXPECT_EQ(otherRuns.load(), 0);

    // An exception from a callback is reported; the timeline goes on.
    timeline.add(0, [] { throw std::runtime_error("boom"); });
    timeline.add(0, [&] { ++afterThrow; });
    EXPECT_TRUE(eventually([&] { return afterThrow.load() == 1; }));
    EXPECT_EQ(recorder.texts().size(), 1u);

    timeline.stop();
    EXPECT_EQ(timeline.add(0, [] {}), 0u);
    EXPECT_EQ(timeline.size(), 0u);
}
