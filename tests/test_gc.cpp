// Reference counting: the counting rules of handles, conversions, and deletion from racing
// threads.
#include "qorcommon/gc.h"

#include "testsupport.h"

#include <gtest/gtest.h>

#include <atomic>
#include <memory>
#include <thread>
#include <type_traits>
#include <vector>

using namespace Orvane::Core;

namespace QorGcTypes {

struct Tracked : GCObject {
    explicit Tracked(std::atomic<int>* counter = nullptr) : deaths(counter) {}
    ~Tracked() override {
        if (deaths) deaths->fetch_add(1);
    }
    std::atomic<int>* deaths;
};

struct Derived : Tracked {
    using Tracked::Tracked;
    int value = 7;
};

} // namespace QorGcTypes

using QorGcTypes::Derived;
using QorGcTypes::Tracked;

namespace {

// The counting operations are protected: a handle-like helper reaches them.
struct Counting : GCObjectReference {
    static void use(GCObject* o) { useObject(o); }
    static bool unuse(GCObject* o) { return unuseObject(o); }
    static bool unuse(GCObject* o, bool keep) { return unuseObject(o, keep); }
    static void barrier(GCObject* o) {
        refObject(o);
        unrefObject(o);
    }
};

} // namespace

TEST(GCCounting, HandlesTakeAndGiveBackUsesAndTheLastOneDeletes) {
    std::atomic<int> deaths{0};
    auto* object = new Tracked(&deaths);
    EXPECT_EQ(object->useCount(), 0);
    {
        GC<Tracked> first(object);
        EXPECT_EQ(object->useCount(), 1);
        {
            GC<Tracked> second(first);
            GC<Tracked> third;
            third = second;
            EXPECT_EQ(object->useCount(), 3);
        }
        EXPECT_EQ(object->useCount(), 1);
        EXPECT_EQ(deaths.load(), 0);
        // Assigning another object releases the old one and takes the new.
        auto* other = new Tracked(&deaths);
        GC<Tracked> holderOfOther(other);
        GC<Tracked> holder(first);
        first.dispose();
        holder = holderOfOther;
        EXPECT_EQ(deaths.load(), 1);
        EXPECT_EQ(other->useCount(), 2);
        EXPECT_TRUE(first.isNull());
    }
    EXPECT_EQ(deaths.load(), 2);
}

TEST(GCCounting, UntakenReleasesChangeNothing) {
    // Held by a unique_ptr: a deletion by the counting would be a double free that ASan reports.
    auto owner = std::make_unique<Tracked>();
    Tracked& untaken = *owner;
    EXPECT_FALSE(Counting::unuse(nullptr));
    EXPECT_FALSE(Counting::unuse(nullptr, true));
    // Never taken: the release is refused, the object is not deleted and the count does not go
    // below zero.
    EXPECT_FALSE(Counting::unuse(&untaken));
    EXPECT_FALSE(Counting::unuse(&untaken));
    EXPECT_EQ(untaken.useCount(), 0);
    Counting::use(nullptr);
    Counting::barrier(&untaken);
    Counting::barrier(nullptr);
    EXPECT_EQ(untaken.useCount(), 0);
}

TEST(GCCounting, KeepLeavesTheObjectToTheCaller) {
    std::atomic<int> deaths{0};
    auto* object = new Tracked(&deaths);
    Counting::use(object);
    Counting::use(object);
    EXPECT_FALSE(Counting::unuse(object, true));
    EXPECT_TRUE(Counting::unuse(object, true));
    EXPECT_EQ(deaths.load(), 0);
    EXPECT_EQ(object->useCount(), 0);
    EXPECT_FALSE(Counting::unuse(object)); // already at zero: a second release does nothing
    EXPECT_EQ(deaths.load(), 0);
    // Taken again after reaching zero, it is counted afresh.
    Counting::use(object);
    EXPECT_TRUE(Counting::unuse(object));
    EXPECT_EQ(deaths.load(), 1);
}

TEST(GCCounting, NullHandlesAndSelfAssignment) {
    GC<Tracked> empty(nullptr);
    GC<Tracked> copy(empty);
    EXPECT_TRUE(copy == nullptr);
    empty.dispose();

    std::atomic<int> deaths{0};
    GC<Tracked> handle(new Tracked(&deaths));
    Tracked* object = handle.ptr();
    // Handing a handle its own object again must not release it first: that would delete an
    // object held only here.
    GC<Tracked>& alias = handle;
    handle = alias;
    handle = object;
    handle = static_cast<const GCBase<Tracked>&>(alias);
    EXPECT_EQ(deaths.load(), 0);
    EXPECT_EQ(object->useCount(), 1);

    handle = empty; // assigning null releases the last use
    EXPECT_EQ(deaths.load(), 1);
    EXPECT_TRUE(handle.isNull());
}

TEST(GCCounting, MovesResetAndUncountedHandlesHandOverWithoutCounting) {
    std::atomic<int> deaths{0};
    GC<Tracked> source(new Tracked(&deaths));
    Tracked* object = source.ptr();
    GC<Tracked> target(std::move(source));
    EXPECT_TRUE(source.isNull()); // NOLINT(bugprone-use-after-move): the rule under test
    GC<Tracked> other(new Tracked(&deaths));
    other = std::move(target);
    EXPECT_EQ(deaths.load(), 1); // other's previous object
    EXPECT_EQ(object->useCount(), 1);

    other.reset(); // forgets without releasing
    EXPECT_EQ(object->useCount(), 1);
    GCBase<Tracked> plain;
    plain = object; // the base handle does not count
    GC<Tracked> counted(plain);
    EXPECT_EQ(object->useCount(), 2);
    EXPECT_FALSE(Counting::unuse(object));
    counted.dispose();
    EXPECT_EQ(deaths.load(), 2);
}

TEST(GCCounting, ConvertingHandlesShareTheCount) {
    static_assert(std::is_convertible<GC<Derived>, GC<Tracked>>::value, "upcast converts");
    static_assert(!std::is_convertible<GC<Tracked>, GC<Derived>>::value, "no implicit downcast");
    static_assert(!std::is_constructible<GC<Derived>, GC<Tracked>>::value, "no downcast at all");

    std::atomic<int> deaths{0};
    GC<Derived> derived = makeGC<Derived>(&deaths);
    GC<Tracked> base(derived);
    GC<GCObject> root;
    root = base;
    EXPECT_EQ(derived->useCount(), 3);
    EXPECT_TRUE(base == derived);
    derived.dispose();
    base.dispose();
    EXPECT_EQ(deaths.load(), 0);
    root.dispose();
    EXPECT_EQ(deaths.load(), 1);
}

TEST(GCObjectTest, TypeNameIsTheQualifiedDynamicTypeAndStable) {
    GC<Tracked> derived = makeGC<Derived>();
    const char* name = derived->typeName();
    EXPECT_STREQ(name, "QorGcTypes::Derived");
    EXPECT_EQ(name, derived->typeName());
    Tracked other;
    EXPECT_STREQ(other.typeName(), "QorGcTypes::Tracked");
    EXPECT_EQ(Derived().typeName(), name); // one text per type, not per object
}

TEST(GCObjectTest, CopiesIdentityAndReferenceRegistry) {
    Tracked object;
    Counting::use(&object);
    Tracked copy(object);
    copy = object;
    EXPECT_EQ(copy.useCount(), 0); // a copy is a new object with uses of its own
    EXPECT_EQ(object.useCount(), 1);

    GCReferenceRegistry& registry = object.referenceRegistry();
    EXPECT_EQ(&registry, &object.referenceRegistry());
    registry.add("logger");
    registry.add("logger");
    registry.add("collector");
    EXPECT_TRUE(registry.remove("logger"));
    EXPECT_FALSE(registry.remove("nobody"));
    EXPECT_EQ(registry.count("logger"), 1);
    EXPECT_EQ(registry.size(), 2);
}

TEST(GCConcurrency, ManyThreadsCopyingOneHandleDeleteExactlyOnce) {
    std::atomic<int> deaths{0};
    auto* shared = new Tracked(&deaths);
    auto handle = std::make_unique<GC<Tracked>>(shared);
    std::atomic<bool> go{false};
    std::vector<std::thread> threads;
    std::vector<GC<Tracked>> starts(8, *handle);
    for (int t = 0; t < 8; ++t) {
        threads.emplace_back([&, t] {
            GC<Tracked> mine = std::move(starts[t]);
            while (!go.load())
                std::this_thread::yield();
            for (int i = 0; i < 20000; ++i) {
                GC<Tracked> copy(mine);
                GC<Tracked> other;
                other = copy;
                copy.dispose();
            }
        });
    }
    handle.reset(); // the threads now hold the only uses
    go.store(true);
    for (auto& thread : threads)
        thread.join();
    EXPECT_EQ(deaths.load(), 1);
}

TEST(GCConcurrency, TwoReleasesRacingToZeroDeleteOnce) {
    std::atomic<int> deaths{0};
    constexpr int rounds = 2000;
    std::vector<GC<Tracked>> left(rounds), right(rounds);
    for (int i = 0; i < rounds; ++i) {
        left[i] = new Tracked(&deaths);
        right[i] = left[i];
    }
    std::atomic<int> ready{0};
    auto release = [&ready](std::vector<GC<Tracked>>& handles) {
        ready.fetch_add(1);
        while (ready.load() < 2)
            std::this_thread::yield();
        for (auto& handle : handles)
            handle.dispose();
    };
    std::thread a(release, std::ref(left));
    std::thread b(release, std::ref(right));
    a.join();
    b.join();
    EXPECT_EQ(deaths.load(), rounds);
}
