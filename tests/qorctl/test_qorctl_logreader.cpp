// The log reading of qorctl in-process: line formats, the order of rotated files, and following a
// log through renames, truncation and replacement, which the end-to-end test cannot stage.
#include "logfiles.h"
#include "logformat.h"

#include <gtest/gtest.h>

#include <filesystem>
#include <fstream>
#include <string>
#include <vector>

namespace fs = std::filesystem;
using Qorctl::LogFollower;
using Qorctl::LogFormat;
using Qorctl::LogLine;

namespace {

class Folder {
public:
    explicit Folder(const std::string& name) : m_path(fs::current_path() / name) {
        fs::remove_all(m_path);
        fs::create_directories(m_path);
    }
    ~Folder() {
        std::error_code ignored;
        fs::remove_all(m_path, ignored);
    }
    std::string file(const std::string& name) const { return (m_path / name).u8string(); }

private:
    fs::path m_path;
};

void append(const std::string& path, const std::string& text) {
    std::ofstream(fs::u8path(path), std::ios::binary | std::ios::app) << text;
}

void replace(const std::string& path, const std::string& text) {
    std::ofstream(fs::u8path(path), std::ios::binary | std::ios::trunc) << text;
}

// A follower over `path` that collects the lines it hands on.
struct Collector {
    std::vector<std::string> lines;
    LogFollower follower;
    explicit Collector(const std::string& path)
        : follower(path, [this](const std::string& line) {
              lines.push_back(line);
              return true;
          }) {}
    std::vector<std::string> poll() {
        lines.clear();
        follower.poll();
        return lines;
    }
};

using Lines = std::vector<std::string>;

} // namespace

TEST(QorctlLogFormat, DefaultFormatFindsItsFieldsAndThePriorityInTheMessage) {
    const LogFormat format("Default");
    LogLine line;
    format.parse("00001a2f: 2026-01-02T10:00:00.125+01:00     Fatal Error: a [b] c [lg] {f.cpp:3}",
                 line);
    ASSERT_TRUE(line.matched);
    EXPECT_EQ(line.thread, "00001a2f");
    EXPECT_EQ(line.timestamp, "2026-01-02T10:00:00.125+01:00");
    EXPECT_EQ(line.message, "Fatal Error: a [b] c");
    EXPECT_EQ(line.logger, "lg");
    EXPECT_EQ(line.priority, 7);

    format.parse("00001a2f: 2026-01-02T10:00:00.125 ErrorCode=5 (x) [lg] {}", line);
    EXPECT_EQ(line.priority, 6);
    format.parse("00001a2f: 2026-01-02T10:00:00.125 Function end [lg] {}", line);
    EXPECT_EQ(line.priority, 3);
    format.parse("00001a2f: 2026-01-02T10:00:00.125 key=value [lg] {}", line);
    EXPECT_TRUE(line.matched);
    EXPECT_EQ(line.priority, 0);

    // Torn and foreign lines.
    for (const char* text : {"00001a2f: 2026-01-02T10:00:00.125 Info: cut", "", "plain text",
                             "00001a2f: 2026-01-02 10:00:00 Info: x [lg] {}",
                             "zz: 2026-01-02T10:00:00.125 Info: x [lg] {}"}) {
        format.parse(text, line);
        EXPECT_FALSE(line.matched) << text;
        EXPECT_EQ(line.text, text);
    }
}

TEST(QorctlLogFormat, OtherFormats) {
    LogLine line;
    LogFormat("Compat").parse("2026-01-02T10:00:00.125 Diff: 0.250 Warning: w", line);
    ASSERT_TRUE(line.matched);
    EXPECT_EQ(line.timestamp, "2026-01-02T10:00:00.125");
    EXPECT_EQ(line.priority, 5);

    const LogFormat numbered("[$(priority)] $(process_id)/$(thread_id) $(text)");
    numbered.parse("[4] 0000ffff/00000001 hello (world)", line);
    ASSERT_TRUE(line.matched);
    EXPECT_EQ(line.thread, "00000001");
    EXPECT_EQ(line.priority, 4);
    numbered.parse("[9] 0000ffff/00000001 out of range", line);
    EXPECT_TRUE(line.matched);
    EXPECT_EQ(line.priority, 0);

    // Two free fields side by side still match; a format without macros matches itself.
    const LogFormat adjacent("$(message)$(logger_name)!");
    adjacent.parse("Error: x!", line);
    EXPECT_TRUE(line.matched);
    EXPECT_EQ(line.priority, 6);
    const LogFormat constant("just text");
    constant.parse("just text", line);
    EXPECT_TRUE(line.matched);
    constant.parse("just text and more", line);
    EXPECT_FALSE(line.matched);
}

TEST(QorctlLogFiles, RotatedFilesOldestFirstAndOnlyTheirNames) {
    Folder folder("qorctl_rotated");
    for (const char* name :
         {"app_20260102100000000_2.log", "app_20260102100000000.log", "app_20260101100000000.log",
          "app_20260102100000000_10.log", "app_old.log", "app_2026.txt",
          "other_20260101100000000.log", "app_.log", "app.log"})
        append(folder.file(name), "x\n");
    std::vector<std::string> names;
    for (const std::string& path : Qorctl::rotatedLogFiles(folder.file("app.log")))
        names.push_back(fs::u8path(path).filename().u8string());
    EXPECT_EQ(names, (Lines{"app_20260101100000000.log", "app_20260102100000000.log",
                            "app_20260102100000000_2.log", "app_20260102100000000_10.log"}));
}

TEST(QorctlLogFollower, HandsOnWholeLinesAndFollowsRenamesTruncationAndReplacement) {
    Folder folder("qorctl_follow");
    const std::string log = folder.file("app.log");
    append(folder.file("app_20260101000000000.log"), "old 1\nold 2\n");
    append(log, "line 1\r\nline 2\nhalf");
    Collector c(log);
    EXPECT_EQ(c.poll(), (Lines{"old 1", "old 2", "line 1", "line 2"}));
    EXPECT_EQ(c.poll(), Lines{});

    // The torn line waits for its end.
    append(log, " done\nline 4\n");
    EXPECT_EQ(c.poll(), (Lines{"half done", "line 4"}));

    // Renamed aside with more written to it first, and with an unfinished line: the rest of the
    // old file comes before the new file.
    append(log, "line 5\nunfinished");
    fs::rename(fs::u8path(log), fs::u8path(folder.file("app_20260102000000000.log")));
    append(log, "new 1\n");
    EXPECT_EQ(c.poll(), (Lines{"line 5", "unfinished", "new 1"}));

    // Two renames between polls: both files come whole, in order.
    append(log, "new 2\n");
    fs::rename(fs::u8path(log), fs::u8path(folder.file("app_20260103000000000.log")));
    append(log, "newer 1\n");
    fs::rename(fs::u8path(log), fs::u8path(folder.file("app_20260103000000000_1.log")));
    append(log, "newest 1\n");
    EXPECT_EQ(c.poll(), (Lines{"new 2", "newer 1", "newest 1"}));

    // Truncated in place: read again from the start.
    replace(log, "");
    EXPECT_EQ(c.poll(), Lines{});
    append(log, "after truncation\n");
    EXPECT_EQ(c.poll(), Lines{"after truncation"});

    // Replaced by another file that is longer than what was read: its head differs.
    replace(log, "a different file with a longer first line\nsecond\n");
    EXPECT_EQ(c.poll(), (Lines{"a different file with a longer first line", "second"}));
}

TEST(QorctlLogFollower, WaitsForAFileThatDoesNotExistYetAndStopsWhenAsked) {
    Folder folder("qorctl_wait");
    const std::string log = folder.file("late.log");
    int calls = 0;
    LogFollower follower(log, [&](const std::string&) { return ++calls < 2; });
    EXPECT_TRUE(follower.poll());
    append(log, "1\n2\n3\n");
    EXPECT_FALSE(follower.poll());
    EXPECT_EQ(calls, 2);
}
