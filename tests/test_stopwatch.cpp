// StopWatch and ApplicationInfo: the watch adds up running spans only; the process facts come
// from the running test program.
#include "qorcommon/applicationinfo.h"
#include "qorcommon/fileinfo.h"
#include "qorcommon/stopwatch.h"

#include "platform/platform.h"

#include <gtest/gtest.h>

using Orvane::Core::ApplicationInfo;
using Orvane::Core::FileInfo;
using Orvane::Core::StopWatch;

TEST(StopWatch, CountsOnlyWhileRunning) {
    StopWatch watch;
    EXPECT_FALSE(watch.isRunning());
    EXPECT_EQ(watch.elapsedNs(), 0);

    watch.start();
    EXPECT_TRUE(watch.isRunning());
    Orvane::Core::Platform::sleepMs(5);
    watch.stop();
    EXPECT_FALSE(watch.isRunning());
    const std::int64_t first = watch.elapsedNs();
    EXPECT_GE(first, 5 * 1000000);
    EXPECT_EQ(watch.elapsedUs(), first / 1000);
    EXPECT_EQ(watch.elapsedMs(), first / 1000000);

    // Stopped, it shows the same time; stopping twice changes nothing.
    Orvane::Core::Platform::sleepMs(2);
    watch.stop();
    EXPECT_EQ(watch.elapsedNs(), first);

    // A second span adds to the first.
    watch.start();
    watch.start();
    Orvane::Core::Platform::sleepMs(2);
    EXPECT_GE(watch.elapsedNs(), first + 2 * 1000000) << "readable while running";
    const StopWatch copy = watch;
    EXPECT_TRUE(copy.isRunning());

    const std::int64_t total = watch.restart();
    EXPECT_GE(total, first + 2 * 1000000);
    EXPECT_TRUE(watch.isRunning());
    EXPECT_LT(watch.elapsedNs(), total) << "restart begins at zero";
    EXPECT_GE(copy.elapsedNs(), total) << "the copy runs on independently";

    watch.reset();
    EXPECT_FALSE(watch.isRunning());
    EXPECT_EQ(watch.elapsedNs(), 0);
    EXPECT_TRUE(StopWatch(true).isRunning());
    const std::int64_t earlier = StopWatch::nowNs();
    EXPECT_LE(earlier, StopWatch::nowNs());
}

TEST(ApplicationInfo, DescribesTheRunningProgram) {
    const std::string path = ApplicationInfo::executablePath();
    ASSERT_FALSE(path.empty());
    EXPECT_TRUE(FileInfo(path).isFile());
    EXPECT_EQ(ApplicationInfo::executableName(), "test_stopwatch");
    EXPECT_TRUE(FileInfo(ApplicationInfo::executableDirectory()).isDirectory());
    EXPECT_EQ(FileInfo::join(ApplicationInfo::executableDirectory(),
                             ApplicationInfo::executableName() +
                                 (ApplicationInfo::executableExtension().empty()
                                      ? std::string()
                                      : "." + ApplicationInfo::executableExtension())),
              path);
#ifdef _WIN32
    EXPECT_EQ(ApplicationInfo::executableExtension(), "exe");
#else
    EXPECT_EQ(ApplicationInfo::executableExtension(), "");
#endif

    // On Windows this program carries a version resource; elsewhere there is none.
#ifdef _WIN32
    const std::string own = "1.2.3.4";
#else
    const std::string own = "0.0.0";
#endif
    EXPECT_EQ(ApplicationInfo::version(), own);
    ApplicationInfo::setVersion("2.5.1");
    EXPECT_EQ(ApplicationInfo::version(), "2.5.1");
    ApplicationInfo::setVersion("");
    EXPECT_EQ(ApplicationInfo::version(), own);

    EXPECT_GT(ApplicationInfo::processId(), 0);
    EXPECT_FALSE(ApplicationInfo::userName().empty());
    EXPECT_FALSE(ApplicationInfo::computerName().empty());
}
