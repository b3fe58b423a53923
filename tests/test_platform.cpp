// The operating-system layer, exercised against the real system on each platform.
#include "platform/platform.h"
#include "testsupport.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <atomic>
#include <chrono>
#include <cstdlib>
#include <fstream>
#include <memory>
#include <mutex>
#include <thread>

namespace P = Orvane::Core::Platform;

namespace {

std::string joinPath(const std::string& folder, const std::string& name) {
    return folder + P::pathSeparator() + name;
}

void writeFile(const std::string& path, const std::string& content) {
    std::ofstream(path, std::ios::binary) << content;
}

std::string readFile(const std::string& path) {
    std::ifstream file(path, std::ios::binary);
    return std::string(std::istreambuf_iterator<char>(file), std::istreambuf_iterator<char>());
}

bool contains(const std::string& text, const std::string& part) {
    return text.find(part) != std::string::npos;
}

} // namespace

// ---- threads -----------------------------------------------------------------------------------

TEST(PlatformThread, IdsDifferAndThreadIsGoneAfterJoin) {
    const long mainId = P::currentThreadId();
    EXPECT_NE(mainId, -1);
    EXPECT_TRUE(P::isThreadAlive(mainId));
    EXPECT_GT(P::currentProcessId(), 0);

    P::Semaphore mayEnd(0, 1);
    std::atomic<long> seenInside{-1};
    P::Thread thread;
    EXPECT_EQ(thread.threadId(), -1);
    ASSERT_TRUE(thread.start([&] {
        seenInside = P::currentThreadId();
        mayEnd.acquire(-1);
    }));
    const long id = thread.threadId();
    EXPECT_NE(id, -1);
    EXPECT_NE(id, mainId);
    EXPECT_TRUE(thread.isRunning());
    EXPECT_TRUE(P::isThreadAlive(id));
    EXPECT_FALSE(thread.start([] {})) << "a running thread cannot be started again";
    EXPECT_FALSE(thread.join(0));

    mayEnd.release();
    ASSERT_TRUE(thread.join(-1));
    EXPECT_EQ(seenInside.load(), id);
    EXPECT_FALSE(thread.isRunning());
    EXPECT_EQ(thread.threadId(), -1);
    EXPECT_FALSE(P::isThreadAlive(id));
    EXPECT_TRUE(thread.join(0)) << "nothing left to wait for";

    // The object can run a second body once the first has ended.
    std::atomic<bool> ranAgain{false};
    ASSERT_TRUE(thread.start([&] { ranAgain = true; }));
    EXPECT_TRUE(thread.join(-1));
    EXPECT_TRUE(ranAgain);
}

TEST(PlatformThread, RefusesBadInputAndJoiningItself) {
    EXPECT_FALSE(P::isThreadAlive(-1));
    EXPECT_FALSE(P::isThreadAlive(0));

    P::Thread thread;
    EXPECT_FALSE(thread.start(std::function<void()>()));
    EXPECT_TRUE(thread.terminate()) << "no thread: nothing to end";

    std::atomic<int> selfJoin{-1};
    ASSERT_TRUE(thread.start([&] { selfJoin = thread.join(-1) ? 1 : 0; }));
    ASSERT_TRUE(thread.join(-1));
    EXPECT_EQ(selfJoin.load(), 0);
}

TEST(PlatformThread, DestructorWaitsForTheBody) {
    std::atomic<bool> finished{false};
    {
        P::Thread thread;
        ASSERT_TRUE(thread.start([&] {
            P::sleepMs(20);
            finished = true;
        }));
    }
    EXPECT_TRUE(finished);
}

namespace {

std::mutex g_endedMutex;
std::vector<long> g_endedThreads;

void recordEndedThread(long threadId) {
    std::lock_guard<std::mutex> lock(g_endedMutex);
    g_endedThreads.push_back(threadId);
}

std::vector<long> endedThreads() {
    std::lock_guard<std::mutex> lock(g_endedMutex);
    return g_endedThreads;
}

} // namespace

TEST(PlatformThread, ExitHookFiresOnceForArmedThreadsOnly) {
    P::setThreadExitHook(recordEndedThread);
    {
        std::lock_guard<std::mutex> lock(g_endedMutex);
        g_endedThreads.clear();
    }

    long armedStd = -1;
    std::thread armed([&] {
        armedStd = P::currentThreadId();
        P::armThreadExitHook();
        P::armThreadExitHook(); // repeats must not add a second call
    });
    armed.join();

    std::thread unarmed([] { P::yieldThread(); });
    unarmed.join();

#ifdef _WIN32
    // The loader reports ends under its lock; the hook runs only when asked for, off that lock
    // (a join of the library's own threads asks).
    EXPECT_TRUE(endedThreads().empty());
#endif

    P::Thread platformThread;
    long armedPlatform = -1;
    ASSERT_TRUE(platformThread.start([&] {
        armedPlatform = P::currentThreadId();
        P::armThreadExitHook();
    }));
    ASSERT_TRUE(platformThread.join(-1));
    P::runPendingThreadExits();
    std::vector<long> ended = endedThreads();
    std::sort(ended.begin(), ended.end());
    std::vector<long> expected{armedStd, armedPlatform};
    std::sort(expected.begin(), expected.end());
    EXPECT_EQ(ended, expected);
    P::setThreadExitHook(nullptr);
}

TEST(PlatformThread, SerialsNameOneThreadEach) {
    const std::uint64_t mine = P::currentThreadSerial();
    EXPECT_NE(mine, 0u);
    EXPECT_EQ(P::currentThreadSerial(), mine);
    EXPECT_TRUE(P::isThreadAlive(P::currentThreadId(), mine));

    P::Semaphore mayEnd(0, 1), started(0, 1);
    std::atomic<std::uint64_t> serial{0};
    std::atomic<long> id{-1};
    std::thread worker([&] {
        id = P::currentThreadId();
        serial = P::currentThreadSerial();
        started.release();
        mayEnd.acquire(-1);
    });
    started.acquire(-1);
    EXPECT_NE(serial.load(), mine);
    EXPECT_TRUE(P::isThreadAlive(id, serial));
    EXPECT_FALSE(P::isThreadAlive(id, serial + 1000)) << "the id alone does not make it alive";
    mayEnd.release();
    worker.join();
    // The end is recorded before the thread can be joined.
    EXPECT_FALSE(P::isThreadAlive(id, serial));

    std::uint64_t later = 0;
    std::thread([&] { later = P::currentThreadSerial(); }).join();
    EXPECT_GT(later, serial.load()) << "serials only grow";
    EXPECT_FALSE(P::isThreadAlive(-1, mine));
}

// ---- mutexes and semaphores --------------------------------------------------------------------

TEST(PlatformMutex, ExcludesUnderContention) {
    P::Mutex mutex;
    long counter = 0; // deliberately not atomic: only the mutex protects it
    constexpr int threads = 4, rounds = 20000;
    std::vector<std::thread> workers;
    for (int i = 0; i < threads; ++i) {
        workers.emplace_back([&] {
            for (int round = 0; round < rounds; ++round) {
                mutex.lock();
                ++counter;
                mutex.unlock();
            }
        });
    }
    for (std::thread& worker : workers)
        worker.join();
    EXPECT_EQ(counter, long(threads) * rounds);

    mutex.lock();
    bool otherGotIt = true;
    std::thread([&] { otherGotIt = mutex.tryLock(); }).join();
    EXPECT_FALSE(otherGotIt);
    mutex.unlock();
    EXPECT_TRUE(mutex.tryLock());
    mutex.unlock();
}

TEST(PlatformMutex, RecursiveMutexIsHeldUntilTheLastUnlock) {
    P::RecursiveMutex mutex;
    mutex.lock();
    EXPECT_TRUE(mutex.tryLock());
    auto otherCanLock = [&] {
        bool got = false;
        std::thread([&] {
            got = mutex.tryLock();
            if (got) mutex.unlock();
        }).join();
        return got;
    };
    mutex.unlock();
    EXPECT_FALSE(otherCanLock()) << "still held once";
    mutex.unlock();
    EXPECT_TRUE(otherCanLock());
}

TEST(PlatformSemaphore, CountsTokensWithinItsMaximum) {
    P::Semaphore semaphore(1, 2);
    EXPECT_TRUE(semaphore.tryAcquire());
    EXPECT_FALSE(semaphore.tryAcquire());
    EXPECT_FALSE(semaphore.acquire(10)) << "no token: the wait times out";
    EXPECT_TRUE(semaphore.release(2));
    EXPECT_FALSE(semaphore.release(1)) << "would pass the maximum of 2";
    EXPECT_FALSE(semaphore.release(5));
    EXPECT_TRUE(semaphore.release(0));
    EXPECT_TRUE(semaphore.acquire(0));
    EXPECT_TRUE(semaphore.acquire(-1));
    EXPECT_FALSE(semaphore.tryAcquire()) << "a refused release added nothing";

    P::Semaphore clamped(5, 2);
    EXPECT_TRUE(clamped.tryAcquire());
    EXPECT_TRUE(clamped.tryAcquire());
    EXPECT_FALSE(clamped.tryAcquire()) << "the initial count is capped by the maximum";
}

TEST(PlatformSemaphore, WakesAWaitingThread) {
    P::Semaphore request(0, 1), reply(0, 1);
    std::thread worker([&] {
        for (int i = 0; i < 100; ++i) {
            ASSERT_TRUE(request.acquire(-1));
            ASSERT_TRUE(reply.release());
        }
    });
    for (int i = 0; i < 100; ++i) {
        ASSERT_TRUE(request.release());
        ASSERT_TRUE(reply.acquire(-1));
    }
    worker.join();
}

// ---- periodic timer ----------------------------------------------------------------------------

TEST(PlatformTimer, TicksUntilStopped) {
    P::PeriodicTimer timer;
    EXPECT_FALSE(timer.start(0, [] {})) << "a period must be positive";
    EXPECT_FALSE(timer.start(5, std::function<void()>()));

    std::atomic<int> ticks{0};
    P::Semaphore ticked(0, 1000);
    ASSERT_TRUE(timer.start(5, [&] {
        ++ticks;
        ticked.release();
    }));
    EXPECT_EQ(timer.periodMs(), 5);
    EXPECT_TRUE(timer.isRunning());
    EXPECT_FALSE(timer.start(5, [] {})) << "already running";
    for (int i = 0; i < 3; ++i)
        ASSERT_TRUE(ticked.acquire(-1));

    EXPECT_TRUE(timer.stopOrTerminate(-1));
    EXPECT_FALSE(timer.isRunning());
    const int afterStop = ticks;
    P::sleepMs(20);
    EXPECT_EQ(ticks.load(), afterStop) << "no tick after the timer stopped";
}

TEST(PlatformTimer, OneShotTicksOnce) {
    P::PeriodicTimer timer;
    std::atomic<int> ticks{0};
    P::Semaphore ticked(0, 10);
    ASSERT_TRUE(timer.start(
        1,
        [&] {
            ++ticks;
            ticked.release();
        },
        false));
    ASSERT_TRUE(ticked.acquire(-1));
    while (timer.isRunning())
        P::yieldThread();
    EXPECT_EQ(ticks.load(), 1);
    EXPECT_TRUE(timer.stopOrTerminate(0));
}

TEST(PlatformTimer, StuckTickIsTerminatedAfterTheLimit) {
    // Shared so that a thread which POSIX cannot end by force may finish after the test.
    auto entered = std::make_shared<P::Semaphore>(0, 1);
    auto mayLeave = std::make_shared<P::Semaphore>(0, 1);
    P::PeriodicTimer timer;
    ASSERT_TRUE(timer.start(1, [entered, mayLeave] {
        entered->release();
        mayLeave->acquire(-1);
    }));
    ASSERT_TRUE(entered->acquire(-1));
    EXPECT_FALSE(timer.stopOrTerminate(10));
    mayLeave->release();
}

// ---- environment and process -------------------------------------------------------------------

TEST(PlatformEnvironment, SetGetUnsetRoundTrip) {
    const std::string name = "QOR_PLATFORM_TEST_VARIABLE";
    const std::string value = "Gr\xC3\xBC\xC3\x9F"
                              "e \xE2\x82\xAC=1"; // "Grüße €=1"
    ASSERT_TRUE(P::setEnv(name, value));
    std::string read;
    ASSERT_TRUE(P::getEnv(name, read));
    EXPECT_EQ(read, value);

    const auto all = P::environment();
    EXPECT_NE(std::find(all.begin(), all.end(), std::make_pair(name, value)), all.end());

    ASSERT_TRUE(P::setEnv(name, ""));
    read = "unchanged";
    EXPECT_TRUE(P::getEnv(name, read)) << "an empty value is still set";
    EXPECT_EQ(read, "");

    EXPECT_TRUE(P::unsetEnv(name));
    EXPECT_FALSE(P::getEnv(name, read));
    EXPECT_TRUE(P::unsetEnv(name)) << "unsetting an unset variable is harmless";

    EXPECT_FALSE(P::getEnv("", read));
    EXPECT_FALSE(P::setEnv("", "x"));
    EXPECT_FALSE(P::setEnv("A=B", "x"));
}

TEST(PlatformProcess, DescribesThisProcess) {
    const auto arguments = P::commandLineArguments();
    ASSERT_FALSE(arguments.empty());
    EXPECT_TRUE(contains(arguments[0], "test_platform")) << arguments[0];

    const std::string executable = P::executablePath();
    EXPECT_TRUE(contains(executable, "test_platform")) << executable;
    EXPECT_TRUE(P::fileExists(executable));
    // The suite links the library statically: its code lives in this executable.
    const std::string library = P::libraryPath();
    EXPECT_TRUE(contains(library, "test_platform")) << library;
    EXPECT_TRUE(P::fileExists(library));

    EXPECT_TRUE(P::isDirectory(P::currentDirectory()));
    EXPECT_FALSE(P::userName().empty());
    EXPECT_FALSE(P::computerName().empty());
    EXPECT_FALSE(P::operatingSystemVersion().empty());
}

TEST(PlatformProcess, ChangesTheCurrentDirectory) {
    QorTest::ScratchDir scratch("platform_cwd");
    const std::string before = P::currentDirectory();
    ASSERT_TRUE(P::setCurrentDirectory(scratch.path()));
    EXPECT_TRUE(contains(P::currentDirectory(), "scratch_platform_cwd")) << P::currentDirectory();
    ASSERT_TRUE(P::setCurrentDirectory(before));
    EXPECT_EQ(P::currentDirectory(), before);
    EXPECT_FALSE(P::setCurrentDirectory(scratch.file("missing")));
    EXPECT_FALSE(P::lastSystemErrorText().empty());
}

// ---- dynamic libraries -------------------------------------------------------------------------

TEST(PlatformLibrary, MissingLibraryAndSymbolReportErrors) {
    std::string error;
    EXPECT_EQ(P::loadLibrary("no_such_library_qor.so.dll", error), nullptr);
    EXPECT_FALSE(error.empty());
    error.clear();
    EXPECT_EQ(P::loadLibrary("", error), nullptr);
    EXPECT_FALSE(error.empty());
    error.clear();
    EXPECT_EQ(P::findSymbol(nullptr, "x", error), nullptr);
    EXPECT_FALSE(error.empty());
    error.clear();
    EXPECT_FALSE(P::unloadLibrary(nullptr, error));
    EXPECT_FALSE(error.empty());
}

TEST(PlatformLibrary, FindsSymbolsOfTheSharedLibraryAndOfTheSystem) {
    std::string error;
    void* self = P::loadLibrary(QOR_SHARED_LIBRARY_FILE, error);
    ASSERT_NE(self, nullptr) << error;
    void* symbol = P::findSymbol(self, "orv_assertion_count", error);
    EXPECT_NE(symbol, nullptr) << error;
    error.clear();
    EXPECT_EQ(P::findSymbol(self, "orv_no_such_function", error), nullptr);
    EXPECT_FALSE(error.empty());
    EXPECT_TRUE(P::unloadLibrary(self, error)) << error;

#ifdef _WIN32
    const std::string systemLibrary = "kernel32.dll", systemSymbol = "GetCurrentThreadId";
#else
    const std::string systemLibrary = "libc.so.6", systemSymbol = "strlen";
#endif
    void* system = P::loadLibrary(systemLibrary, error);
    ASSERT_NE(system, nullptr) << error;
    EXPECT_NE(P::findSymbol(system, systemSymbol.c_str(), error), nullptr) << error;
    EXPECT_TRUE(P::unloadLibrary(system, error)) << error;
}

// ---- files -------------------------------------------------------------------------------------

TEST(PlatformFiles, CreatesNestedDirectories) {
    QorTest::ScratchDir scratch("platform_dirs");
    const std::string nested = joinPath(joinPath(scratch.file("a"), "b"), "c");
    std::string error;
    ASSERT_TRUE(P::createDirectories(nested, error)) << error;
    EXPECT_TRUE(P::isDirectory(nested));
    EXPECT_TRUE(P::createDirectories(nested, error)) << "an existing folder is fine";
    // Forward slashes work on both platforms.
    EXPECT_TRUE(P::createDirectories(scratch.path() + "/x/y", error)) << error;
    EXPECT_TRUE(P::isDirectory(joinPath(scratch.file("x"), "y")));

    const std::string blocker = scratch.file("file");
    writeFile(blocker, "x");
    error.clear();
    EXPECT_FALSE(P::createDirectories(joinPath(blocker, "sub"), error));
    EXPECT_FALSE(error.empty());
    EXPECT_FALSE(P::createDirectories("", error));
}

TEST(PlatformFiles, SizesAndExistence) {
    QorTest::ScratchDir scratch("platform_size");
    const std::string file = scratch.file("data.bin");
    writeFile(file, std::string(12345, 'q'));
    EXPECT_TRUE(P::fileExists(file));
    EXPECT_FALSE(P::isDirectory(file));
    EXPECT_EQ(P::fileSize(file), 12345);
    writeFile(file, "");
    EXPECT_EQ(P::fileSize(file), 0);

    EXPECT_EQ(P::fileSize(scratch.file("missing")), -1);
    EXPECT_EQ(P::fileSize(scratch.path()), -1) << "a folder has no file size";
    EXPECT_FALSE(P::fileExists(scratch.file("missing")));
    EXPECT_FALSE(P::fileExists(""));
    EXPECT_TRUE(P::fileExists(scratch.path()));
}

TEST(PlatformFiles, RenameCopyRemove) {
    QorTest::ScratchDir scratch("platform_files");
    const std::string source = scratch.file("source.txt");
    const std::string target = scratch.file("target.txt");
    writeFile(source, "new content");
    writeFile(target, "old");
    std::string error;

    ASSERT_TRUE(P::renameFile(source, target, error)) << error;
    EXPECT_FALSE(P::fileExists(source));
    EXPECT_EQ(readFile(target), "new content") << "the existing target was replaced";
    EXPECT_FALSE(P::renameFile(source, target, error));
    EXPECT_FALSE(error.empty());

    const std::string copy = scratch.file("copy.txt");
    ASSERT_TRUE(P::copyFile(target, copy, false, error)) << error;
    EXPECT_EQ(readFile(copy), "new content");
    writeFile(target, "third");
    error.clear();
    EXPECT_FALSE(P::copyFile(target, copy, false, error)) << "no overwrite requested";
    EXPECT_FALSE(error.empty());
    EXPECT_EQ(readFile(copy), "new content");
    ASSERT_TRUE(P::copyFile(target, copy, true, error)) << error;
    EXPECT_EQ(readFile(copy), "third");
    error.clear();
    EXPECT_FALSE(P::copyFile(copy, copy, true, error)) << "a file is not copied onto itself";
    EXPECT_FALSE(error.empty());
    EXPECT_EQ(readFile(copy), "third");
    EXPECT_EQ(readFile(target), "third");
    error.clear();
    EXPECT_FALSE(P::copyFile(scratch.file("missing"), copy, true, error));
    EXPECT_FALSE(error.empty());

    ASSERT_TRUE(P::removeFile(copy, error)) << error;
    EXPECT_FALSE(P::fileExists(copy));
    error.clear();
    EXPECT_FALSE(P::removeFile(copy, error));
    EXPECT_FALSE(error.empty());
}

TEST(PlatformFiles, ListsAndMatchesNames) {
    QorTest::ScratchDir scratch("platform_list");
    const std::string umlaut = "gr\xC3\xBC\xC3\x9F"
                               "e.log"; // "grüße.log"
    for (const char* name : {"b.log", "a.log", "a.txt", "orvane.log1"})
        writeFile(scratch.file(name), name);
    std::string error;
    // Written through the layer so that the name crosses it in UTF-8.
    ASSERT_TRUE(P::copyFile(scratch.file("a.txt"), joinPath(scratch.path(), umlaut), false, error))
        << error;
    ASSERT_TRUE(P::createDirectories(scratch.file("sub.log"), error)) << error;

    EXPECT_EQ(P::listDirectory(scratch.path(), "*.log"),
              (std::vector<std::string>{"a.log", "b.log", umlaut, "sub.log"}));
    EXPECT_EQ(P::listDirectory(scratch.path(), "a.*"),
              (std::vector<std::string>{"a.log", "a.txt"}));
    EXPECT_EQ(P::listDirectory(scratch.path(), "*").size(), 6u);
    EXPECT_EQ(P::listDirectory(scratch.path(), "").size(), 6u);
    EXPECT_TRUE(P::listDirectory(scratch.file("missing"), "*").empty());

    EXPECT_TRUE(P::matchFileName("orvane.log", "*.log"));
    EXPECT_FALSE(P::matchFileName("orvane.log1", "*.log"));
    EXPECT_TRUE(P::matchFileName("orvane.log1", "orvane.log?"));
    EXPECT_FALSE(P::matchFileName("orvane.log12", "orvane.log?"));
    EXPECT_TRUE(P::matchFileName("orvane_2024.log", "orvane*.log"));
    EXPECT_TRUE(P::matchFileName("anything", "*.*"));
    EXPECT_TRUE(P::matchFileName(umlaut, "gr*e.log"));
}

// ---- time --------------------------------------------------------------------------------------

namespace {

struct KnownUtc {
    std::int64_t seconds;
    int year, month, day, hour, minute, second, weekday, yearDay;
};

} // namespace

TEST(PlatformTime, UtcFieldsOfKnownTimesAndBack) {
    const KnownUtc known[] = {
        {0, 1970, 1, 1, 0, 0, 0, 4, 0},
        {-1, 1969, 12, 31, 23, 59, 59, 3, 364},
        {-2208988800LL, 1900, 1, 1, 0, 0, 0, 1, 0},
        {-11644473600LL, 1601, 1, 1, 0, 0, 0, 1, 0},
        {951782400, 2000, 2, 29, 0, 0, 0, 2, 59},
        {2147483648LL, 2038, 1, 19, 3, 14, 8, 2, 18},
        {4102444800LL, 2100, 1, 1, 0, 0, 0, 5, 0},
    };
    for (const KnownUtc& k : known) {
        std::tm fields{};
        ASSERT_TRUE(P::utcTime(k.seconds, fields)) << k.seconds;
        EXPECT_EQ(fields.tm_year + 1900, k.year) << k.seconds;
        EXPECT_EQ(fields.tm_mon + 1, k.month) << k.seconds;
        EXPECT_EQ(fields.tm_mday, k.day) << k.seconds;
        EXPECT_EQ(fields.tm_hour, k.hour) << k.seconds;
        EXPECT_EQ(fields.tm_min, k.minute) << k.seconds;
        EXPECT_EQ(fields.tm_sec, k.second) << k.seconds;
        EXPECT_EQ(fields.tm_wday, k.weekday) << k.seconds;
        EXPECT_EQ(fields.tm_yday, k.yearDay) << k.seconds;
        EXPECT_EQ(P::makeUtcTime(fields), k.seconds);
    }
    std::tm fields{};
    EXPECT_FALSE(P::utcTime(INT64_MAX, fields));
}

TEST(PlatformTime, MakeUtcTimeCarriesOverflowingFields) {
    std::tm fields{};
    fields.tm_year = 99;
    fields.tm_mon = 12; // the 13th month of 1999 is January 2000
    fields.tm_mday = 1;
    EXPECT_EQ(P::makeUtcTime(fields), 946684800);
    fields.tm_mon = 1;
    fields.tm_mday = 30; // 30 February 1999 is 2 March
    fields.tm_sec = -1;
    EXPECT_EQ(P::makeUtcTime(fields), 920332800 - 1);
}

TEST(PlatformTime, ClocksAdvance) {
    const std::int64_t wall = P::currentTimeMs();
    EXPECT_GT(wall, 1577836800000LL) << "after 2020";
    const std::int64_t systemWall = std::chrono::duration_cast<std::chrono::milliseconds>(
                                        std::chrono::system_clock::now().time_since_epoch())
                                        .count();
    EXPECT_LT(std::llabs(systemWall - wall), 60000LL);

    std::uint64_t previous = P::monotonicNs();
    for (int i = 0; i < 1000; ++i) {
        const std::uint64_t now = P::monotonicNs();
        ASSERT_GE(now, previous);
        previous = now;
    }
    P::sleepMs(2);
    EXPECT_GE(P::monotonicNs() - previous, 1000000u) << "a 2 ms sleep lasts at least 1 ms";
}

// ---- text encodings ----------------------------------------------------------------------------

TEST(PlatformEncoding, AsciiRoundTripAndRefusals) {
    const std::string ascii = "Hello, World! 0123456789 ~{}[]";
    std::u16string wide;
    ASSERT_TRUE(P::localeToUtf16(ascii, wide));
    EXPECT_EQ(wide, u"Hello, World! 0123456789 ~{}[]");
    std::string back = "stale";
    ASSERT_TRUE(P::utf16ToLocale(wide, back));
    EXPECT_EQ(back, ascii);

    ASSERT_TRUE(P::localeToUtf16("", wide));
    EXPECT_TRUE(wide.empty());
    ASSERT_TRUE(P::utf16ToLocale(u"", back));
    EXPECT_TRUE(back.empty());

    EXPECT_FALSE(P::utf16ToLocale(std::u16string(1, char16_t(0xD800)), back))
        << "a lone surrogate has no character";
}
