// Per-thread values when the system hands the id of an ended thread to a new one: the new thread
// starts empty, and what the old one left is freed rather than inherited.
#include "qorcommon/threadmanagedobject.h"

#include "platform/platform.h"
#include "threadobjectdepot.h"

#include <gtest/gtest.h>

#include <atomic>
#include <set>
#include <thread>

namespace P = Orvane::Core::Platform;
using Orvane::Core::ThreadLocalVariable;
using Orvane::Core::Internal::ThreadObjectDepot;

namespace {

struct Counted {
    static std::atomic<int> alive;
    long owner;
    explicit Counted(long id) : owner(id) { ++alive; }
    ~Counted() { --alive; }
};
std::atomic<int> Counted::alive{0};

} // namespace

// A store of its own is not emptied by the thread-exit hook, so every ended thread leaves its
// object behind: exactly the state a recycled id must not inherit. Linux hands out ids in a
// cycle, Windows reuses them at once; threads are started until a few ids have come back.
TEST(ThreadIdReuse, ANewThreadNeverSeesTheObjectOfAnEndedOneWithItsId) {
    ThreadObjectDepot depot;
    const int id =
        depot.registerObject([] { return static_cast<void*>(new Counted(P::currentThreadId())); },
                             [](void* object) { delete static_cast<Counted*>(object); });

    std::set<long> seen;
    int reused = 0, threads = 0;
    constexpr int kMaxThreads = 40000, kWantedReuses = 3;
    while (reused < kWantedReuses && threads < kMaxThreads) {
        long threadId = -1;
        bool startedEmpty = false, madeFresh = false;
        std::thread([&] {
            threadId = P::currentThreadId();
            startedEmpty = !depot.hasObject(id);
            int created = 0;
            auto* value = static_cast<Counted*>(depot.getObject(id, &created));
            madeFresh = created == 1 && value->owner == threadId;
        }).join();
        ++threads;
        const bool again = !seen.insert(threadId).second;
        ASSERT_TRUE(startedEmpty) << "thread " << threads << (again ? " with a reused id" : "");
        ASSERT_TRUE(madeFresh) << "thread " << threads;
        if (again) {
            ++reused;
            // The ended thread's object went when the new one took the id.
            EXPECT_EQ(depot.objectCount(id), seen.size());
            EXPECT_EQ(Counted::alive.load(), static_cast<int>(seen.size()));
        }
    }
    if (reused == 0) GTEST_SKIP() << "no thread id came back in " << threads << " threads";

    std::vector<long> ended;
    EXPECT_EQ(depot.cleanUp(id, {}, ended), seen.size()) << "every owner has ended";
    EXPECT_EQ(Counted::alive.load(), 0);
}

// The library's own variables: values go as their threads end, so however often an id comes
// back, nothing piles up and each thread starts from its creator.
TEST(ThreadIdReuse, VariablesStartEmptyOnEveryThread) {
    Counted::alive = 0;
    ThreadLocalVariable<Counted> variable([] { return new Counted(P::currentThreadId()); });
    for (int round = 0; round < 500; ++round) {
        std::thread([&] {
            EXPECT_FALSE(variable.hasValue());
            EXPECT_EQ(variable->owner, P::currentThreadId());
        }).join();
    }
    P::runPendingThreadExits();
    EXPECT_EQ(variable.size(), 0u);
    EXPECT_EQ(Counted::alive.load(), 0);
}
