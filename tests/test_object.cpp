// Parent ownership, protected variables and scope guards, the per-thread object store, the
// collector of thread-managed objects, and the per-thread side of the C object stack.
#include "qorcommon/c/object.h"
#include "qorcommon/globalvariable.h"
#include "qorcommon/mutex.h"
#include "qorcommon/object.h"
#include "qorcommon/threadmanagedobject.h"
#include "qorcommon/timerthread.h"

#include "platform/platform.h"
#include "threadobjectdepot.h"
#include "testsupport.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <atomic>
#include <map>
#include <thread>
#include <vector>

using namespace Orvane::Core;

namespace {

// Records the order in which objects are deleted.
struct DeathLog {
    std::vector<const BaseObject*> order;
    std::atomic<int> count{0};
};

struct Probe : Object {
    Probe(DeathLog* deaths, Object* parent, UsageType usage = Standalone)
        : Object(usage, parent), log(deaths) {}
    Probe(const Probe& other) : Object(other), log(other.log) {}
    Probe& operator=(const Probe& other) {
        Object::operator=(other);
        return *this;
    }
    ~Probe() override {
        if (log) {
            log->order.push_back(this);
            log->count.fetch_add(1);
        }
        if (onDeath) onDeath();
    }
    DeathLog* log;
    std::function<void()> onDeath;
};

// Counts the registry calls that reach a parent.
struct CountingParent : Object {
    void registerChildObject(BaseObject* child) override {
        ++registrations;
        Object::registerChildObject(child);
    }
    void unregisterChildObject(BaseObject* child) override {
        ++unregistrations;
        Object::unregisterChildObject(child);
    }
    int registrations = 0;
    int unregistrations = 0;
};

bool contains(const std::vector<BaseObject*>& children, const BaseObject* child) {
    return std::find(children.begin(), children.end(), child) != children.end();
}

} // namespace

// ---- parent ownership ---------------------------------------------------------------------------

TEST(ObjectOwnership, ParentDeletesItsChildrenInPointerOrder) {
    DeathLog log;
    auto* parent = new Object;
    std::vector<Probe*> made;
    for (int i = 0; i < 5; ++i)
        made.push_back(new Probe(&log, parent));
    auto* grandChild = new Probe(&log, made[2]);

    std::vector<BaseObject*> children = parent->getChildren();
    ASSERT_EQ(children.size(), 5u);
    EXPECT_TRUE(std::is_sorted(children.begin(), children.end()));
    EXPECT_EQ(made[0]->parentObject(), parent);

    delete parent;
    EXPECT_EQ(log.count.load(), 6);
    // The grandchild goes with its parent, inside that parent's destructor; the children go in
    // ascending pointer order.
    std::vector<const BaseObject*> childOrder;
    for (const BaseObject* dead : log.order)
        if (dead != grandChild) childOrder.push_back(dead);
    EXPECT_TRUE(std::is_sorted(childOrder.begin(), childOrder.end()));

    // A child deleted on its own leaves its parent's registry.
    Object survivor;
    delete new Object(BaseObject::Owned, &survivor);
    EXPECT_TRUE(survivor.getChildren().empty());
    survivor.destroyChildren(); // nothing registered: nothing happens
}

TEST(ObjectOwnership, CopiesFollowTheUsage) {
    DeathLog log;
    auto* parent = new Object;
    Probe standalone(&log, parent);
    standalone.log = nullptr; // lives on the stack; the parent must not delete it
    Probe standaloneCopy(standalone);
    EXPECT_EQ(standaloneCopy.parentObject(), nullptr);
    EXPECT_EQ(standaloneCopy.usageType(), BaseObject::Standalone);
    standalone.setParentObject(nullptr);

    auto* owned = new Probe(&log, parent, BaseObject::Owned);
    auto* ownedCopy = new Probe(*owned);
    EXPECT_EQ(ownedCopy->parentObject(), parent);
    EXPECT_EQ(ownedCopy->usageType(), BaseObject::Owned);
    EXPECT_TRUE(contains(parent->getChildren(), ownedCopy));

    // A copy of an object starts without children.
    new Probe(&log, owned);
    Probe childless(*owned);
    EXPECT_TRUE(childless.getChildren().empty());
    EXPECT_EQ(owned->getChildren().size(), 1u);
    childless.setParentObject(nullptr);

    // Assignment is no ownership change either.
    *ownedCopy = standaloneCopy;
    EXPECT_EQ(ownedCopy->parentObject(), parent);

    delete parent;
    EXPECT_EQ(log.count.load(), 3); // owned, its copy, and owned's child
}

TEST(ObjectOwnership, ReparentingMovesTheChildAndSameParentRegistersAgain) {
    CountingParent first, second;
    Object child;
    child.setParentObject(&first);
    child.setParentObject(&first);
    EXPECT_EQ(first.registrations, 2);
    EXPECT_EQ(first.unregistrations, 1);
    EXPECT_EQ(first.getChildren().size(), 1u);

    child.setParentObject(&second);
    EXPECT_TRUE(first.getChildren().empty());
    EXPECT_EQ(second.getChildren().size(), 1u);
    child.setParentObject(nullptr);
    EXPECT_TRUE(second.getChildren().empty());
    EXPECT_EQ(child.parentObject(), nullptr);

    first.registerChildObject(&child);
    first.registerChildObject(&child); // twice: one entry
    EXPECT_EQ(first.getChildren().size(), 1u);
    first.unregisterChildObject(&child);
    first.unregisterChildObject(nullptr);
    first.registerChildObject(nullptr);
    EXPECT_TRUE(first.getChildren().empty());
}

TEST(ObjectOwnership, ChildrenAddedDuringDestroyChildrenStay) {
    DeathLog log;
    Object parent;
    auto* first = new Probe(&log, &parent);
    auto* second = new Probe(&log, &parent);
    Probe* late = nullptr;
    first->onDeath = [&] { late = new Probe(&log, &parent); };
    parent.destroyChildren();
    EXPECT_EQ(log.count.load(), 2);
    ASSERT_NE(late, nullptr);
    EXPECT_EQ(parent.getChildren(), std::vector<BaseObject*>{late});
    (void)second;
    parent.destroyChildren();
    EXPECT_EQ(log.count.load(), 3);
    EXPECT_TRUE(parent.getChildren().empty());
}

TEST(ObjectOwnership, AChildDeletingASiblingDoesNotDeleteItTwice) {
    DeathLog log;
    auto* parent = new Object;
    auto* a = new Probe(&log, parent);
    auto* b = new Probe(&log, parent);
    Probe* low = a < b ? a : b;
    Probe* high = a < b ? b : a;
    low->onDeath = [high] { delete high; };
    delete parent;
    EXPECT_EQ(log.count.load(), 2);
}

TEST(ObjectOwnership, ChildrenRegisteredFromSeveralThreads) {
    DeathLog log;
    auto* parent = new Object; // its registry is made by whichever thread comes first
    constexpr int threads = 4, perThread = 500;
    std::atomic<bool> go{false};
    std::vector<std::thread> workers;
    for (int t = 0; t < threads; ++t) {
        workers.emplace_back([&] {
            while (!go.load())
                std::this_thread::yield();
            std::vector<Object*> mine;
            for (int i = 0; i < perThread; ++i)
                mine.push_back(new Object(BaseObject::Owned, parent));
            // Half leave again, so registration and removal interleave across threads.
            for (int i = 0; i < perThread; i += 2)
                delete mine[i];
        });
    }
    go.store(true);
    for (auto& worker : workers)
        worker.join();
    EXPECT_EQ(parent->getChildren().size(), static_cast<size_t>(threads * perThread / 2));
    new Probe(&log, parent);
    delete parent;
    EXPECT_EQ(log.count.load(), 1);
}

// ---- locks, protected variables and guards ---------------------------------------------------

TEST(GlobalVariables, ProxiesSerialiseAccess) {
    GlobalVariable<std::map<int, int>> table;
    constexpr int threads = 4, rounds = 2000;
    std::vector<std::thread> workers;
    for (int t = 0; t < threads; ++t) {
        workers.emplace_back([&table] {
            for (int i = 0; i < rounds; ++i) {
                auto locked = table.access();
                ++(*locked)[i % 7];
            }
        });
    }
    for (auto& worker : workers)
        worker.join();
    int total = 0;
    for (const auto& entry : *table.access())
        total += entry.second;
    EXPECT_EQ(total, threads * rounds);
    EXPECT_EQ(table->size(), 7u);
}

TEST(GlobalVariables, TheProxyHoldsTheLockUntilDeactivated) {
    GlobalVariable<int> value(5);
    auto takenElsewhere = [&value] {
        bool taken = false;
        std::thread([&] {
            taken = value.provider().tryLock();
            if (taken) value.provider().unlock();
        }).join();
        return taken;
    };
    auto proxy = value.access();
    EXPECT_TRUE(proxy.isActive());
    EXPECT_FALSE(takenElsewhere());
    EXPECT_EQ(*value.access(), 5); // the lock is recursive: a nested access on this thread works
    proxy.deactivate();
    EXPECT_FALSE(proxy.isActive());
    EXPECT_TRUE(takenElsewhere());
    proxy.deactivate(); // a second time changes nothing
    EXPECT_TRUE(takenElsewhere());
}

TEST(GlobalVariables, MissingValuesFailTheirCheck) {
    QorTest::AssertionRecorder recorder;
    GlobalVariable<int> value(1);
    value.destroy();
    EXPECT_EQ(value.pointer(), nullptr);
    EXPECT_FALSE(value.access().exists());
    EXPECT_EQ(value.access().get(), nullptr);
    EXPECT_TRUE(recorder.saw({"_var != nullptr"}));
    value.assign(9);
    EXPECT_EQ(*value.access(), 9);

    GlobalVariablePtr<std::vector<int>> pointer;
    EXPECT_EQ(pointer.operator->().get(), nullptr);
    auto deactivated = pointer.access();
    deactivated.deactivate();
    EXPECT_EQ(deactivated.get(), nullptr);
    EXPECT_TRUE(recorder.saw({"_var != nullptr", "_var != nullptr", "_var != nullptr"}));

    pointer.set(new std::vector<int>{1, 2});
    EXPECT_EQ(pointer->size(), 2u);
    std::vector<int>* taken = pointer.take();
    EXPECT_EQ(pointer.pointer(), nullptr);
    delete taken;
    EXPECT_EQ(recorder.texts().size(), 3u);
}

namespace {

struct CountingVariable : ProtectedVariable {
    void attach() override {}
    void detach() override { ++detached; }
    int detached = 0;
};

} // namespace

TEST(Guards, DetachersRunOnce) {
    CountingVariable variable;
    { VariableDetacher fromReference(variable); }
    {
        VariableDetacher fromPointer(&variable);
        fromPointer.deactivate();
        EXPECT_FALSE(fromPointer.isActive());
        fromPointer.deactivate();
    }
    VariableDetacher nothing(static_cast<ProtectedVariable*>(nullptr));
    EXPECT_EQ(variable.detached, 2);

    // A Detacher runs when its last copy goes, unless dismissed.
    int runs = 0;
    {
        Detacher outer([&runs] { ++runs; });
        {
            Detacher copy(outer);
            Detacher assigned([] {});
            assigned = copy;
        }
        EXPECT_EQ(runs, 0);
        Detacher dismissed([&runs] { ++runs; });
        Detacher copy(dismissed);
        copy.dismiss();
    }
    EXPECT_EQ(runs, 1);
}

// ---- the per-thread object store ---------------------------------------------------------------

using Internal::ThreadObjectDepot;

namespace {

struct Counters {
    std::atomic<int> made{0};
    std::atomic<int> freed{0};
};

ThreadObjectDepot::Creator makeInt(Counters& counters, int value) {
    return [&counters, value] {
        counters.made.fetch_add(1);
        return static_cast<void*>(new int(value));
    };
}

ThreadObjectDepot::Destroyer freeInt(Counters& counters) {
    return [&counters](void* object) {
        counters.freed.fetch_add(1);
        delete static_cast<int*>(object);
    };
}

int& asInt(void* object) {
    return *static_cast<int*>(object);
}

} // namespace

TEST(ThreadObjectDepotTest, EachThreadGetsItsOwnSlotMadeOnFirstUse) {
    Counters counters;
    ThreadObjectDepot depot;
    const int id = depot.registerObject(makeInt(counters, 1), freeInt(counters));
    EXPECT_GT(id, 0);
    EXPECT_NE(depot.registerObject(nullptr, nullptr), id);

    int created = -1;
    void*& slot = depot.getObject(id, &created);
    EXPECT_EQ(created, 1);
    asInt(slot) = 5;
    void*& again = depot.getObject(id, &created);
    EXPECT_EQ(created, 0);
    EXPECT_EQ(&again, &slot);

    void* other = nullptr;
    int otherCreated = -1;
    long otherThread = -1;
    std::thread([&] {
        otherThread = Platform::currentThreadId();
        other = depot.getObject(id, &otherCreated);
    }).join();
    EXPECT_EQ(otherCreated, 1);
    ASSERT_NE(other, slot);
    EXPECT_EQ(asInt(other), 1);
    EXPECT_EQ(depot.objectCount(id), 2u);

    // The ended thread's object goes with the next clean-up, which names the thread.
    std::vector<long> ended;
    EXPECT_EQ(depot.cleanUp(id, {}, ended), 1u);
    EXPECT_EQ(ended, std::vector<long>{otherThread});
    EXPECT_EQ(counters.freed.load(), 1);
    EXPECT_EQ(depot.objectCount(id), 1u);
    EXPECT_EQ(depot.cleanUp(id, {}, ended), 0u);
    EXPECT_EQ(asInt(depot.getObject(id)), 5);
}

TEST(ThreadObjectDepotTest, DestroyedSlotsAreMadeAgain) {
    Counters counters;
    ThreadObjectDepot depot;
    const int id = depot.registerObject(makeInt(counters, 1), freeInt(counters));
    const long self = Platform::currentThreadId();
    depot.getObject(id);
    EXPECT_TRUE(depot.hasObject(id));
    EXPECT_TRUE(depot.destroyObject(id));
    EXPECT_FALSE(depot.destroyObject(id));
    EXPECT_FALSE(depot.hasObject(id));
    EXPECT_EQ(counters.freed.load(), 1);

    int created = 0;
    asInt(depot.getObject(id, &created)) = 8;
    EXPECT_EQ(created, 1);
    // Another thread frees this thread's object: the next lookup here must not reuse it.
    std::thread([&] { EXPECT_TRUE(depot.destroyObject(self, id)); }).join();
    EXPECT_EQ(asInt(depot.getObject(id, &created)), 1);
    EXPECT_EQ(created, 1);
    EXPECT_EQ(counters.made.load(), 3);
    EXPECT_EQ(counters.freed.load(), 2);
}

TEST(ThreadObjectDepotTest, StoredAndReplacedObjectsAndUnknownIds) {
    Counters counters;
    ThreadObjectDepot depot;
    const int id = depot.registerObject(makeInt(counters, 1), freeInt(counters));
    int mine = 3, replacement = 4;
    EXPECT_TRUE(depot.registerObject(id, &mine));
    EXPECT_FALSE(depot.registerObject(id, &replacement));
    int created = -1;
    EXPECT_EQ(depot.getObject(id, &created), &mine);
    EXPECT_EQ(created, 0);
    EXPECT_EQ(depot.setObject(id, &replacement), &mine);
    EXPECT_EQ(depot.getObject(id), &replacement);
    EXPECT_EQ(depot.setObject(id, nullptr), &replacement);
    EXPECT_EQ(counters.made.load(), 0);

    // An id nobody registered gets an empty slot instead of failing, and is not handed out.
    EXPECT_EQ(depot.getObject(4242, &created), nullptr);
    EXPECT_EQ(created, 1);
    EXPECT_GT(depot.registerObject(nullptr, nullptr), 4242);
}

TEST(ThreadObjectDepotTest, DestroyingManyAndGivenDestroyers) {
    Counters counters, viaArgument;
    ThreadObjectDepot depot;
    const int a = depot.registerObject(makeInt(counters, 1), freeInt(counters));
    const int b = depot.registerObject(makeInt(counters, 2), freeInt(counters));
    // A store of its own has no thread-exit hook: the objects of these threads stay.
    for (int t = 0; t < 3; ++t) {
        std::thread([&] {
            depot.getObject(a);
            depot.getObject(b);
        }).join();
    }
    depot.getObject(a);

    std::vector<long> seen;
    depot.forEach(a, [&](long threadId, void* object) {
        seen.push_back(threadId);
        EXPECT_EQ(asInt(object), 1);
        EXPECT_TRUE(depot.hasObject(a)); // the visitor may read the store
    });
    EXPECT_EQ(seen.size(), 4u);
    EXPECT_TRUE(std::is_sorted(seen.begin(), seen.end()));

    EXPECT_EQ(depot.destroyAllObjects(a, freeInt(viaArgument)), 4u);
    EXPECT_EQ(viaArgument.freed.load(), 4);
    EXPECT_EQ(asInt(depot.getObject(a)), 1); // the variable stays registered
    EXPECT_EQ(depot.destroyAllObjects(), 4u);
    depot.getObject(b);
    depot.unregisterObject(b);
    EXPECT_EQ(counters.freed.load(), 5);
    EXPECT_EQ(depot.objectCount(b), 0u);
}

TEST(ThreadObjectDepotTest, CreatorsAndDestroyersMayUseTheStore) {
    ThreadObjectDepot depot;
    const int inner = depot.registerObject([] { return static_cast<void*>(new int(1)); },
                                           [](void* o) { delete static_cast<int*>(o); });
    const int outer = depot.registerObject(
        [&] { return static_cast<void*>(new int(asInt(depot.getObject(inner)) + 1)); },
        [&](void* o) {
            depot.destroyObject(inner);
            delete static_cast<int*>(o);
        });
    EXPECT_EQ(asInt(depot.getObject(outer)), 2);
    EXPECT_TRUE(depot.destroyObject(outer));
    EXPECT_FALSE(depot.hasObject(inner));
}

// ---- thread-local variables and the collector -----------------------------------------------

namespace {

std::atomic<int> g_valuesFreed{0};

struct Value {
    int n = 0;
    ~Value() { g_valuesFreed.fetch_add(1); }
};

struct RecordingObject : ThreadManagedObject {
    using ThreadManagedObject::cleanUp;
    void cleanUp(long threadId) override {
        calls.push_back(threadId);
        if (onCleanUp) onCleanUp(threadId);
    }
    std::vector<long> calls;
    std::function<void(long)> onCleanUp;
};

} // namespace

TEST(ThreadLocalVariableTest, ValuesArePerThreadAndGoWithTheirThread) {
    g_valuesFreed = 0;
    {
        ThreadLocalVariable<Value> variable;
        ThreadManagedObjectGC* gc = QOR::threadLocalVariableGC.load();
        ASSERT_NE(gc, nullptr);
        EXPECT_EQ(gc, QOR::ensureThreadLocalVariableGC());
        EXPECT_TRUE(gc->isRegistered(&variable));

        EXPECT_FALSE(variable.hasValue());
        variable->n = 1;
        int seen = -1;
        std::thread([&] {
            seen = variable->n;
            variable->n = 2;
        }).join();
        EXPECT_EQ(seen, 0);
        // On Win32 the loader reports the end under its lock and the value goes afterwards, at
        // the next use of any thread-local variable; this call stands for that.
        Platform::runPendingThreadExits();
        EXPECT_EQ(g_valuesFreed.load(), 1); // freed as its thread ended
        EXPECT_EQ(variable.size(), 1u);
        EXPECT_EQ(variable->n, 1);

        int visited = 0;
        variable.forEach([&](long threadId, Value& value) {
            EXPECT_EQ(threadId, Platform::currentThreadId());
            visited += value.n;
        });
        EXPECT_EQ(visited, 1);

        variable.set(new Value{});
        EXPECT_EQ(g_valuesFreed.load(), 2);
        EXPECT_EQ(variable->n, 0);
        variable.cleanUp(); // this thread still runs: its value stays
        EXPECT_TRUE(variable.hasValue());
        gc->cleanUpCurrentThread();
        EXPECT_FALSE(variable.hasValue());
        EXPECT_EQ(g_valuesFreed.load(), 3);
        variable.get();
        EXPECT_EQ(g_valuesFreed.load(), 3);
    }
    EXPECT_EQ(g_valuesFreed.load(), 4); // the variable takes its values along
}

TEST(ThreadManagedObjectGCTest, CleanUpReachesEveryRegisteredObject) {
    ThreadManagedObjectGC gc(0);
    ASSERT_NE(gc.internal(), nullptr);
    EXPECT_FALSE(gc.internal()->isRunning());
    RecordingObject a, b;
    gc.registerObject(&a);
    gc.registerObject(&b);
    gc.registerObject(&a);
    gc.registerObject(nullptr);
    EXPECT_EQ(gc.objectCount(), 2u);

    gc.cleanUp(42);
    gc.cleanUpCurrentThread();
    const std::vector<long> expected{42, Platform::currentThreadId()};
    EXPECT_EQ(a.calls, expected);
    EXPECT_EQ(b.calls, expected);
    a.cleanUp();
    EXPECT_EQ(a.calls.back(), -1);

    gc.unregisterObject(&b);
    EXPECT_FALSE(gc.isRegistered(&b));
    gc.cleanUp(7);
    EXPECT_EQ(b.calls.size(), 2u);
    EXPECT_EQ(a.calls.back(), 7);
}

TEST(ThreadManagedObjectGCTest, AnObjectUnregisteredDuringACollectionIsNotCalled) {
    ThreadManagedObjectGC gc(0);
    RecordingObject a, b;
    RecordingObject* first = &a < &b ? &a : &b;
    RecordingObject* second = &a < &b ? &b : &a;
    first->onCleanUp = [&](long) { gc.unregisterObject(second); };
    gc.registerObject(&a);
    gc.registerObject(&b);
    gc.cleanUp(-1);
    EXPECT_EQ(first->calls.size(), 1u);
    EXPECT_TRUE(second->calls.empty());
}

TEST(ThreadManagedObjectGCTest, TheTimerCollectsEndedThreadsPeriodically) {
    ThreadManagedObjectGC defaults;
    ASSERT_NE(defaults.internal(), nullptr);
    EXPECT_TRUE(defaults.internal()->isRunning());
    EXPECT_TRUE(defaults.setPeriod(0));
    EXPECT_FALSE(defaults.internal()->isRunning());

    Semaphore ticked(0, 1000);
    RecordingObject watched;
    std::atomic<long> lastThread{0};
    watched.onCleanUp = [&](long threadId) {
        lastThread = threadId;
        ticked.release();
    };
    ThreadManagedObjectGC gc(1);
    gc.registerObject(&watched);
    EXPECT_TRUE(ticked.acquire(30000));
    EXPECT_EQ(lastThread.load(), -1);
    gc.unregisterObject(&watched);
}

TEST(TimerThreadTest, ATickMayStopItsOwnTimer) {
    TimerThread timer;
    EXPECT_FALSE(timer.start(0, [] {}));
    Semaphore checked(0, 1), done(0, 10);
    std::atomic<int> ticks{0};
    EXPECT_TRUE(timer.start(1, [&] {
        checked.acquire(30000); // the test's own checks of the running timer come first
        ++ticks;
        EXPECT_TRUE(timer.stopOrTerminate(1000)); // only asks: it cannot wait for itself
        done.release();
    }));
    EXPECT_FALSE(timer.start(1, [] {})); // already running
    checked.release();
    EXPECT_TRUE(done.acquire(30000));
    EXPECT_TRUE(timer.stopOrTerminate(30000));
    EXPECT_FALSE(timer.isRunning());
    EXPECT_EQ(ticks.load(), 1); // the loop ended after the stopping tick
}

// ---- the C object stack across threads --------------------------------------------------------

TEST(CObjectStack, EachThreadHasItsOwnRootFrameWhichGoesWithTheThread) {
    DeathLog log;
    const void* mainRoot = orv_objectStack_rootFrame().obj;
    const void* threadRoot = nullptr;
    std::thread([&] {
        threadRoot = orv_objectStack_rootFrame().obj;
        EXPECT_EQ(orv_objectStack_actualFrame().obj, threadRoot);
        auto* global = new Probe(&log, nullptr);
        orv_objectStack_setToGlobalValue(orv_Object_ptr{static_cast<Object*>(global)});
        orv_ObjectStackFrame_ptr frame = orv_objectStack_newFrame();
        new Probe(&log, static_cast<ObjectStackFrame*>(frame.obj));
        // The thread ends with a frame still pushed: the root frame takes everything along.
    }).join();
    Platform::runPendingThreadExits(); // Win32 reports thread ends after the fact
    EXPECT_NE(threadRoot, nullptr);
    EXPECT_NE(threadRoot, mainRoot);
    EXPECT_EQ(log.count.load(), 2);
    EXPECT_EQ(orv_objectStack_rootFrame().obj, mainRoot);
}
