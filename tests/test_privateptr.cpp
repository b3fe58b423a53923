// The private-pointer template and the promises the value classes build on it: reading a default
// or moved-from object and moving never allocate, copying an exception cannot throw, and a
// shared block is copied only when one of its holders writes.
#include "qorcommon/datetime.h"
#include "qorcommon/errorinfo.h"
#include "qorcommon/exception.h"
#include "qorcommon/logentry.h"
#include "qorcommon/macroreplacer.h"
#include "qorcommon/privateptr.h"
#include "qorcommon/result.h"

#include <gtest/gtest.h>

#include <cstdlib>
#include <new>
#include <string>
#include <thread>
#include <type_traits>
#include <utility>
#include <vector>

using namespace Orvane::Core;

// ---- allocation counting ----------------------------------------------------------------------
//
// Every allocation of this program goes through these; the count is per thread, so the library's
// own threads do not disturb a measurement.

namespace {
thread_local long t_allocations = 0;

void* counted(std::size_t size) {
    ++t_allocations;
    if (void* p = std::malloc(size ? size : 1)) return p;
    throw std::bad_alloc();
}
} // namespace

void* operator new(std::size_t size) {
    return counted(size);
}
void* operator new[](std::size_t size) {
    return counted(size);
}
void operator delete(void* p) noexcept {
    std::free(p);
}
void operator delete[](void* p) noexcept {
    std::free(p);
}
void operator delete(void* p, std::size_t) noexcept {
    std::free(p);
}
void operator delete[](void* p, std::size_t) noexcept {
    std::free(p);
}

namespace {

// Allocations made by `work` on this thread.
template <typename Work> long allocationsOf(Work&& work) {
    const long before = t_allocations;
    work();
    return t_allocations - before;
}

// Where the library has its own allocator (a DLL with a static C++ runtime), its allocations
// cannot be seen from here.
bool libraryAllocationsAreVisible() {
    return allocationsOf([] { CodeLocation("a.c", 1); }) > 0;
}

// ---- the template, with blocks of the test's own -------------------------------------------

struct Block {
    std::string text = "empty";
};

struct SharedBlock : SharedPrivate {
    std::string text = "empty";
};

} // namespace

static_assert(sizeof(PrivatePtr<Block>) == sizeof(void*), "one pointer");
static_assert(sizeof(SharedPrivatePtr<SharedBlock>) == sizeof(void*), "one pointer");
static_assert(std::is_nothrow_move_constructible<PrivatePtr<Block>>::value, "");
static_assert(std::is_nothrow_move_assignable<PrivatePtr<Block>>::value, "");
static_assert(std::is_nothrow_copy_constructible<SharedPrivatePtr<SharedBlock>>::value, "");
static_assert(std::is_nothrow_copy_assignable<SharedPrivatePtr<SharedBlock>>::value, "");

TEST(PrivatePtr, EmptyHoldersShareOneBlockUntilTheyWrite) {
    PrivatePtr<Block> a;
    PrivatePtr<Block> b;
    EXPECT_EQ(a.get(), b.get());
    EXPECT_EQ(allocationsOf([&] {
                  PrivatePtr<Block> copy(a);
                  copy = b;
                  EXPECT_EQ(copy->text, "empty");
              }),
              0);
    EXPECT_EQ(allocationsOf([&] { a.write()->text = "a"; }), 1);
    EXPECT_NE(a.get(), b.get());
    EXPECT_EQ(b->text, "empty");

    // Deep copies, in both directions of emptiness.
    PrivatePtr<Block> copy(a);
    EXPECT_NE(copy.get(), a.get());
    copy.write()->text = "changed";
    EXPECT_EQ(a->text, "a");
    copy = b;
    EXPECT_TRUE(copy.isEmpty());
    b = a;
    EXPECT_EQ(b->text, "a");
    b = b;
    EXPECT_EQ(b->text, "a");

    PrivatePtr<Block> moved;
    EXPECT_EQ(allocationsOf([&] { moved = std::move(a); }), 0);
    EXPECT_TRUE(a.isEmpty()); // NOLINT(bugprone-use-after-move)
    EXPECT_EQ(moved->text, "a");
    moved.reset();
    EXPECT_TRUE(moved.isEmpty());
}

TEST(SharedPrivatePtr, CopiesShareUntilOneWrites) {
    SharedPrivatePtr<SharedBlock> a(new SharedBlock);
    a.write()->text = "a";
    SharedPrivatePtr<SharedBlock> b;
    EXPECT_EQ(allocationsOf([&] { b = a; }), 0);
    EXPECT_EQ(a.get(), b.get());
    EXPECT_TRUE(a.isShared());

    // Reading never detaches.
    EXPECT_EQ(b->text, "a");
    EXPECT_EQ(a.get(), b.get());

    EXPECT_EQ(allocationsOf([&] { b.write()->text = "b"; }), 1);
    EXPECT_NE(a.get(), b.get());
    EXPECT_EQ(a->text, "a");
    EXPECT_FALSE(a.isShared());
    // A sole holder writes in place.
    const SharedBlock* before = b.get();
    EXPECT_EQ(allocationsOf([&] { b.write()->text = "b2"; }), 0);
    EXPECT_EQ(b.get(), before);

    SharedPrivatePtr<SharedBlock> moved(std::move(b));
    EXPECT_TRUE(b.isEmpty()); // NOLINT(bugprone-use-after-move)
    EXPECT_EQ(b->text, "empty");
    EXPECT_EQ(moved->text, "b2");
    moved = moved;
    EXPECT_EQ(moved->text, "b2");
}

TEST(SharedPrivatePtr, ThreadsCopyAndDropOneBlockTogether) {
    SharedPrivatePtr<SharedBlock> original(new SharedBlock);
    original.write()->text = "shared";
    std::vector<std::thread> threads;
    for (int t = 0; t < 4; ++t) {
        threads.emplace_back([&original] {
            for (int i = 0; i < 2000; ++i) {
                SharedPrivatePtr<SharedBlock> copy(original);
                if (copy->text != "shared") ADD_FAILURE();
                if (i % 100 == 0) copy.write()->text = "own";
            }
        });
    }
    for (std::thread& t : threads)
        t.join();
    EXPECT_FALSE(original.isShared());
    EXPECT_EQ(original->text, "shared");
}

// ---- the library's classes ---------------------------------------------------------------------

static_assert(std::is_nothrow_copy_constructible<GeneralException>::value, "");
static_assert(std::is_nothrow_copy_constructible<OperationException>::value, "");
static_assert(std::is_nothrow_copy_assignable<OperationException>::value, "");
static_assert(std::is_nothrow_copy_constructible<LogEntry>::value, "");
static_assert(std::is_nothrow_copy_constructible<DateTimeFormat>::value, "");
static_assert(std::is_nothrow_copy_constructible<MacroTemplate>::value, "");

template <typename... T> constexpr bool nothrowMovable() {
    return ((std::is_nothrow_move_constructible<T>::value &&
             std::is_nothrow_move_assignable<T>::value) &&
            ...);
}
static_assert(nothrowMovable<ErrorInfo, CodeLocation, CustomInfo, ModuleInfo, NameInfo, Result,
                             LogEntry, StringList, MacroTemplate>(),
              "");

template <typename... T> constexpr bool onePointer() {
    return ((sizeof(T) == sizeof(void*)) && ...);
}
static_assert(onePointer<ErrorInfo, CodeLocation, CustomInfo, ModuleInfo, NameInfo, Result,
                         LogEntry, DateTimeFormat, MacroTemplate>(),
              "the layout of the value classes is frozen");

TEST(PrivatePtr, ReadingDefaultObjectsAllocatesNothing) {
    if (!libraryAllocationsAreVisible()) GTEST_SKIP() << "the library allocates on its own heap";
    const long n = allocationsOf([] {
        const CodeLocation location;
        EXPECT_TRUE(location.isEmpty());
        EXPECT_EQ(location.file(), "");
        EXPECT_EQ(location.customInfo("key"), "");
        const CustomInfo info;
        EXPECT_TRUE(info.isEmpty());
        EXPECT_FALSE(info.contains("key"));
        const ModuleInfo module;
        EXPECT_TRUE(module.isEmpty());
        const NameInfo name;
        EXPECT_TRUE(name.isEmpty());
        const LogEntry entry;
        EXPECT_TRUE(entry.isNull());
        EXPECT_TRUE(entry.location().isEmpty());
        const MacroTemplate tmpl;
        EXPECT_TRUE(tmpl.isEmpty());
        const StringList list;
        EXPECT_EQ(list.size(), 0u);
        EXPECT_EQ(list.front(), "");
    });
    EXPECT_EQ(n, 0);
}

TEST(PrivatePtr, MovesAndMovedFromObjectsAllocateNothing) {
    if (!libraryAllocationsAreVisible()) GTEST_SKIP() << "the library allocates on its own heap";
    ErrorInfo error("failed", QOR_CODE_LOCATION);
    Result result(error);
    StringList list{"a", "b"};
    LogEntry entry = LogEntry::fromGeneralMessage("text");
    CustomInfo info("key", "value");
    ErrorInfo errorTarget;
    Result resultTarget;
    StringList listTarget{"c"};
    const long n = allocationsOf([&] {
        ErrorInfo movedError(std::move(error));
        Result movedResult(std::move(result));
        StringList movedList(std::move(list));
        LogEntry movedEntry(std::move(entry));
        CustomInfo movedInfo(std::move(info));
        // NOLINTBEGIN(bugprone-use-after-move)
        EXPECT_TRUE(error.isEmpty());
        EXPECT_EQ(error.codeLocation().line(), -1);
        EXPECT_TRUE(result.isOk());
        EXPECT_TRUE(list.isEmpty());
        EXPECT_TRUE(entry.isNull());
        EXPECT_TRUE(info.isEmpty());
        // NOLINTEND(bugprone-use-after-move)
        errorTarget = std::move(movedError);
        resultTarget = std::move(movedResult);
        listTarget = std::move(movedList);
    });
    EXPECT_EQ(n, 0);
    EXPECT_EQ(errorTarget.errorText(), "failed");
    EXPECT_FALSE(resultTarget.isOk());
    EXPECT_EQ(listTarget.join(","), "a,b");
    // A moved-from object is usable again.
    error.setErrorText("again"); // NOLINT(bugprone-use-after-move)
    EXPECT_EQ(error.errorText(), "again");
}

TEST(PrivatePtr, CopyingExceptionsAndEntriesAllocatesNothing) {
    if (!libraryAllocationsAreVisible()) GTEST_SKIP() << "the library allocates on its own heap";
    const OperationException thrown(ErrorInfo("failed"), new std::runtime_error("cause"));
    const GeneralException general("message", QOR_CODE_LOCATION);
    const LogEntry entry = LogEntry::fromGeneralMessage("text", QOR_CODE_LOCATION);
    const long n = allocationsOf([&] {
        OperationException copy(thrown);
        GeneralException generalCopy(general);
        LogEntry entryCopy(entry);
        EXPECT_EQ(copy.errorInfo().errorText(), "failed");
        EXPECT_EQ(generalCopy.message(), "message");
        EXPECT_EQ(entryCopy.text(), "text");
    });
    EXPECT_EQ(n, 0);
}

namespace {
// A subclass with its own short form: a sliced copy shares its record but not its what() text.
class Tagged : public GeneralException {
public:
    using GeneralException::GeneralException;

protected:
    String shortString() const override { return String("tagged"); }
};
} // namespace

TEST(Exception, SlicedCopySharesTheRecordButKeepsItsOwnWhat) {
    const Tagged tagged("message", CodeLocation());
    EXPECT_STREQ(tagged.what(), "tagged");
    const GeneralException sliced(tagged);
    EXPECT_STREQ(sliced.what(), "message");
    EXPECT_STREQ(tagged.what(), "tagged");
    // Copies of one type share the text made once.
    const Tagged copy(tagged);
    EXPECT_EQ(copy.what(), tagged.what());
}

TEST(Exception, ThreadsCopyOneExceptionAndReadIt) {
    const OperationException original(ErrorInfo("failed"), new std::runtime_error("cause"));
    std::vector<std::thread> threads;
    for (int t = 0; t < 4; ++t) {
        threads.emplace_back([&original] {
            for (int i = 0; i < 500; ++i) {
                const OperationException copy(original);
                if (std::string(copy.what()) != "[] failed (-1) ") ADD_FAILURE();
                if (std::string(copy.parent()->what()) != "cause") ADD_FAILURE();
            }
        });
    }
    for (std::thread& t : threads)
        t.join();
}
