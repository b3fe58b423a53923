// Replacing a file's contents as a whole: what the target keeps, and that a writer killed at any
// point leaves either the old or the new file.
#include "platform/platform.h"
#include "testsupport.h"

#include <gtest/gtest.h>

#include <chrono>
#include <cstdlib>
#include <fstream>
#include <random>
#include <string>
#include <thread>

#ifdef _WIN32
#ifndef NOMINMAX
#define NOMINMAX
#endif
#include <windows.h>
#else
#include <csignal>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>
#endif

namespace P = Orvane::Core::Platform;

namespace {

std::string readFile(const std::string& path) {
    std::ifstream file(path, std::ios::binary);
    return std::string(std::istreambuf_iterator<char>(file), std::istreambuf_iterator<char>());
}

bool replace(const std::string& path, const std::string& text, std::string& error) {
    return P::replaceFileContents(path, text.data(), text.size(), error);
}

// Two contents of different sizes whose every byte depends on its position, so that a mix of
// the two or a cut-off copy cannot pass for either.
std::string content(char seed, std::size_t size) {
    std::string text(size, '\0');
    for (std::size_t i = 0; i < size; ++i)
        text[i] = static_cast<char>(seed + (i * 131 + i / 4096) % 61);
    return text;
}

} // namespace

TEST(FileReplace, WritesNewAndExistingFilesLeavingNoTemporary) {
    QorTest::ScratchDir scratch("filereplace_basic");
    const std::string path = scratch.file("data.cfg");
    std::string error;
    ASSERT_TRUE(replace(path, "first", error)) << error;
    EXPECT_EQ(readFile(path), "first");
    ASSERT_TRUE(replace(path, "second, longer", error)) << error;
    EXPECT_EQ(readFile(path), "second, longer");
    ASSERT_TRUE(replace(path, "", error)) << error;
    EXPECT_EQ(P::fileSize(path), 0);
    EXPECT_EQ(P::listDirectory(scratch.path(), "*"), std::vector<std::string>{"data.cfg"});

    // Forward slashes are taken on both platforms.
    ASSERT_TRUE(replace(scratch.path() + "/slashed.cfg", "x", error)) << error;
    EXPECT_EQ(readFile(scratch.file("slashed.cfg")), "x");
}

TEST(FileReplace, FailuresKeepTheOldFileAndSayWhy) {
    QorTest::ScratchDir scratch("filereplace_fail");
    std::string error;

    const std::string missing = scratch.file("no_such_folder");
    EXPECT_FALSE(replace(missing + P::pathSeparator() + "data.cfg", "x", error));
    EXPECT_NE(error.find("no_such_folder"), std::string::npos) << error;
    EXPECT_FALSE(P::fileExists(missing));

    const std::string folder = scratch.file("folder");
    ASSERT_TRUE(P::createDirectories(folder, error)) << error;
    error.clear();
    EXPECT_FALSE(replace(folder, "x", error)) << "a folder is not replaced by a file";
    EXPECT_FALSE(error.empty());
    EXPECT_TRUE(P::isDirectory(folder));

    error.clear();
    EXPECT_FALSE(replace("", "x", error));
    EXPECT_FALSE(error.empty());

#ifndef _WIN32
    // A folder the process may not write to; the super-user writes anywhere, so it is skipped.
    if (geteuid() != 0) {
        const std::string locked = scratch.file("locked");
        ASSERT_TRUE(P::createDirectories(locked, error)) << error;
        const std::string path = locked + "/data.cfg";
        ASSERT_TRUE(replace(path, "old", error)) << error;
        ASSERT_EQ(chmod(locked.c_str(), 0555), 0);
        error.clear();
        EXPECT_FALSE(replace(path, "new", error));
        EXPECT_NE(error.find("temporary"), std::string::npos) << error;
        EXPECT_NE(error.find(locked), std::string::npos) << error;
        chmod(locked.c_str(), 0755);
        EXPECT_EQ(readFile(path), "old");
        EXPECT_EQ(P::listDirectory(locked, "*"), std::vector<std::string>{"data.cfg"});
    }
#endif
}

#ifndef _WIN32

TEST(FileReplace, KeepsPermissionsAndWritesThroughLinks) {
    QorTest::ScratchDir scratch("filereplace_links");
    std::string error;
    const std::string path = scratch.file("data.cfg");
    ASSERT_TRUE(replace(path, "old", error)) << error;
    ASSERT_EQ(chmod(path.c_str(), 0640), 0);
    ASSERT_TRUE(replace(path, "new", error)) << error;
    struct stat info {};
    ASSERT_EQ(stat(path.c_str(), &info), 0);
    EXPECT_EQ(info.st_mode & 07777, 0640u);

    // A relative link to a link to the file: both links stay, the file gets the data.
    ASSERT_EQ(symlink("data.cfg", scratch.file("inner.lnk").c_str()), 0);
    ASSERT_EQ(symlink(scratch.file("inner.lnk").c_str(), scratch.file("outer.lnk").c_str()), 0);
    ASSERT_TRUE(replace(scratch.file("outer.lnk"), "through", error)) << error;
    EXPECT_EQ(readFile(path), "through");
    struct stat link {};
    ASSERT_EQ(lstat(scratch.file("outer.lnk").c_str(), &link), 0);
    EXPECT_TRUE(S_ISLNK(link.st_mode));
    ASSERT_EQ(lstat(scratch.file("inner.lnk").c_str(), &link), 0);
    EXPECT_TRUE(S_ISLNK(link.st_mode));
    ASSERT_EQ(stat(path.c_str(), &info), 0);
    EXPECT_EQ(info.st_mode & 07777, 0640u);

    // A link whose target does not exist yet makes the target.
    ASSERT_EQ(symlink("later.cfg", scratch.file("dangling.lnk").c_str()), 0);
    ASSERT_TRUE(replace(scratch.file("dangling.lnk"), "made", error)) << error;
    EXPECT_EQ(readFile(scratch.file("later.cfg")), "made");
    ASSERT_EQ(lstat(scratch.file("dangling.lnk").c_str(), &link), 0);
    EXPECT_TRUE(S_ISLNK(link.st_mode));

    // A loop of links is refused without touching anything.
    ASSERT_EQ(symlink("loop.b", scratch.file("loop.a").c_str()), 0);
    ASSERT_EQ(symlink("loop.a", scratch.file("loop.b").c_str()), 0);
    error.clear();
    EXPECT_FALSE(replace(scratch.file("loop.a"), "x", error));
    EXPECT_FALSE(error.empty());
    EXPECT_EQ(P::listDirectory(scratch.path(), "*.cfg"),
              (std::vector<std::string>{"data.cfg", "later.cfg"}));
}

TEST(FileReplace, AWriterKilledAtAnyPointLeavesOneWholeFile) {
    QorTest::ScratchDir scratch("filereplace_kill");
    const std::string path = scratch.file("data.cfg");
    const std::string first = content('A', 3 << 17), second = content('a', 1 << 18);
    std::string error;
    ASSERT_TRUE(replace(path, first, error)) << error;

    std::mt19937 random(std::random_device{}());
    std::uniform_int_distribution<int> delayUs(0, 20000);
    constexpr int kTrials = 100;

    for (int trial = 0; trial < kTrials; ++trial) {
        const pid_t child = fork();
        ASSERT_GE(child, 0);
        if (child == 0) {
            // Rewrites the file until it is killed; stops by itself should the parent vanish.
            std::string ignored;
            for (int round = 0; round < 100000; ++round) {
                const std::string& text = (round + trial) % 2 ? first : second;
                P::replaceFileContents(path, text.data(), text.size(), ignored);
            }
            _exit(0);
        }
        std::this_thread::sleep_for(std::chrono::microseconds(delayUs(random)));
        kill(child, SIGKILL);
        int status = 0;
        ASSERT_EQ(waitpid(child, &status, 0), child);
        const std::string now = readFile(path);
        ASSERT_TRUE(now == first || now == second)
            << "trial " << trial << ": " << now.size() << " bytes, neither version";
    }

    // The killed writers may leave their temporaries; the file itself is the only other entry.
    for (const std::string& name : P::listDirectory(scratch.path(), "*")) {
        if (name != "data.cfg") {
            EXPECT_EQ(name.rfind(".data.cfg.", 0), 0u) << name;
            P::removeFile(scratch.file(name), error);
        }
    }
}

#else

namespace {

const char* const kTargetVariable = "QOR_TEST_REWRITE_TARGET";
const char* const kReadyVariable = "QOR_TEST_REWRITE_READY";
constexpr std::size_t kFirstSize = 3 << 17, kSecondSize = 1 << 18;

} // namespace

// The writer of the test below, run in a child process started by it: it rewrites the file until
// it is terminated. Disabled, so that only that test runs it.
TEST(FileReplace, DISABLED_RewritesUntilTerminated) {
    const char* path = std::getenv(kTargetVariable);
    const char* ready = std::getenv(kReadyVariable);
    ASSERT_TRUE(path && ready);
    const std::string first = content('A', kFirstSize), second = content('a', kSecondSize);
    HANDLE event = OpenEventA(EVENT_MODIFY_STATE, FALSE, ready);
    ASSERT_NE(event, nullptr);
    std::string error;
    for (int round = 0; round < 100000; ++round) {
        const std::string& text = round % 2 ? first : second;
        P::replaceFileContents(path, text.data(), text.size(), error);
        if (round == 0) SetEvent(event);
    }
    CloseHandle(event);
}

TEST(FileReplace, AWriterTerminatedAtAnyPointLeavesOneWholeFile) {
    QorTest::ScratchDir scratch("filereplace_kill");
    const std::string path = scratch.file("data.cfg");
    const std::string first = content('A', kFirstSize), second = content('a', kSecondSize);
    std::string error;
    ASSERT_TRUE(replace(path, first, error)) << error;

    wchar_t program[MAX_PATH + 1] = {};
    ASSERT_GT(GetModuleFileNameW(nullptr, program, MAX_PATH), 0u);
    std::wstring command = std::wstring(L"\"") + program +
                           L"\" --gtest_filter=FileReplace.DISABLED_RewritesUntilTerminated "
                           L"--gtest_also_run_disabled_tests --gtest_brief=1";
    const std::string readyName = "QorTestRewriteReady" + std::to_string(GetCurrentProcessId());
    HANDLE ready = CreateEventA(nullptr, TRUE, FALSE, readyName.c_str());
    ASSERT_NE(ready, nullptr);
    SetEnvironmentVariableA(kTargetVariable, path.c_str());
    SetEnvironmentVariableA(kReadyVariable, readyName.c_str());

    std::mt19937 random(std::random_device{}());
    std::uniform_int_distribution<int> delayMs(0, 20);
    constexpr int kTrials = 100;
    for (int trial = 0; trial < kTrials; ++trial) {
        ResetEvent(ready);
        STARTUPINFOW startup{};
        startup.cb = sizeof startup;
        PROCESS_INFORMATION child{};
        ASSERT_TRUE(CreateProcessW(nullptr, &command[0], nullptr, nullptr, FALSE, 0, nullptr,
                                   nullptr, &startup, &child));
        // Waits for the first whole rewrite, so that the end falls among the writes.
        HANDLE waits[2] = {ready, child.hProcess};
        const DWORD woken = WaitForMultipleObjects(2, waits, FALSE, 60000);
        Sleep(static_cast<DWORD>(delayMs(random)));
        TerminateProcess(child.hProcess, 1);
        WaitForSingleObject(child.hProcess, INFINITE);
        CloseHandle(child.hThread);
        CloseHandle(child.hProcess);
        ASSERT_EQ(woken, WAIT_OBJECT_0) << "the writer did not start writing";
        const std::string now = readFile(path);
        ASSERT_TRUE(now == first || now == second)
            << "trial " << trial << ": " << now.size() << " bytes, neither version";
    }
    CloseHandle(ready);
    SetEnvironmentVariableA(kTargetVariable, nullptr);
    SetEnvironmentVariableA(kReadyVariable, nullptr);
}

#endif
