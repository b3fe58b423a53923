// FileInfo: path parts, the Windows shell's pattern rules on every platform, listing, copying,
// moving with replacement, deleting and creating folders.
#include "qorcommon/fileinfo.h"

#include "platform/platform.h"
#include "testsupport.h"

#include <gtest/gtest.h>

#include <cstdio>
#include <string>
#include <vector>

using Orvane::Core::FileInfo;
using Names = std::vector<std::string>;

namespace {

void writeFile(const std::string& path, const std::string& content) {
    std::FILE* file = Orvane::Core::Platform::openFile(path, "wb");
    ASSERT_NE(file, nullptr) << path;
    std::fwrite(content.data(), 1, content.size(), file);
    std::fclose(file);
}

std::string readFile(const std::string& path) {
    std::string content;
    if (std::FILE* file = Orvane::Core::Platform::openFile(path, "rb")) {
        char buffer[256];
        size_t got;
        while ((got = std::fread(buffer, 1, sizeof buffer, file)) > 0)
            content.append(buffer, got);
        std::fclose(file);
    }
    return content;
}

struct PatternCase {
    const char* name;
    const char* pattern;
    bool matches;
};

// The rules of the Windows shell's file patterns, which both platforms follow.
const PatternCase patternCases[] = {
    // '*' is any run, dots included, and may be empty.
    {"orvane.log", "*.log", true},
    {"orvane.log1", "*.log", false},
    {"orvane.log", "*", true},
    {"orvane", "orvane*", true},
    {"a.b.c", "*.c", true},
    {"a.b.c", "a*c", true},
    {"abcabd", "*abd", true},
    {"abcab", "*abd", false},
    {".log", "*.log", true},
    {"x", "**x**", true},
    // '?' is exactly one character: never none, never two.
    {"orvane.log1", "orvane.log?", true},
    {"orvane.log", "orvane.log?", false},
    {"orvane.log12", "orvane.log?", false},
    {"a.b", "a?b", true},
    {"ab", "???", false},
    // Letters compare without case, also beyond ASCII.
    {"ORVANE.LOG", "orvane.log", true},
    {"Orvane.Log", "*.LOG", true},
    {"\xC3\x89t\xC3\xA9.txt", "\xC3\xA9T\xC3\x89.TXT", true}, // "Été.txt" / "éTÉ.TXT"
    {"\xD0\x96\xD1\x83\xD1\x80.log", "\xD0\xB6*.log", true},  // Cyrillic "Жур.log" / "ж*.log"
    {"gr\xC3\xBC\xC3\x9F"
     "e.log",
     "gr??e.log", true}, // "grüße": one '?' per character
    // "*.*" as the whole pattern matches every name, also one without a dot ...
    {"README", "*.*", true},
    {"a.b", "*.*", true},
    // ... but inside a list it is an ordinary pattern that needs a dot.
    {"README", "*.txt;*.*", false},
    {"a.b", "*.txt;*.*", true},
    // "*." needs a trailing dot (unlike the command interpreter's "dir *.").
    {"README", "*.", false},
    {"README.", "*.", true},
    // A list separated by ';', leading spaces of each pattern ignored, trailing ones kept.
    {"a.txt", "*.log;*.txt", true},
    {"a.txt", "*.log; *.txt", true},
    {"a.txt", "*.txt ;*.log", false},
    {"a.doc", "*.log;*.txt", false},
    {"a.txt", ";;*.txt", true},
    // An empty list matches nothing; there are no character classes.
    {"a.txt", "", false},
    {"a.txt", " ", false},
    {"[a].txt", "[a].txt", true},
    {"a.txt", "[a].txt", false},
    // Separators are ordinary characters.
    {"dir\\a.txt", "*.txt", true},
    {"dir/a.txt", "dir?a.txt", true},
};

} // namespace

TEST(FileInfoPatterns, FollowTheWindowsShellRules) {
    for (const PatternCase& row : patternCases) {
        EXPECT_EQ(FileInfo::matchesPattern(row.name, row.pattern), row.matches)
            << "name '" << row.name << "' pattern '" << row.pattern << "'";
#ifdef _WIN32
        // The system's own matcher agrees (the platform layer reads an empty pattern as "all").
        if (*row.pattern) {
            EXPECT_EQ(Orvane::Core::Platform::matchFileName(row.name, row.pattern), row.matches)
                << "system: name '" << row.name << "' pattern '" << row.pattern << "'";
        }
#endif
    }
}

TEST(FileInfoPatterns, InvalidUtf8MatchesOnlyItself) {
    EXPECT_TRUE(FileInfo::matchesPattern("a\xFF.log", "a\xFF.log"));
    EXPECT_TRUE(FileInfo::matchesPattern("a\xFF.log", "a?.log"));
    EXPECT_FALSE(FileInfo::matchesPattern("a\xFE.log", "a\xFF.log"));
    // A cut sequence is one unknown byte per byte.
    EXPECT_TRUE(FileInfo::matchesPattern("a\xC3", "a?"));
}

TEST(FileInfoPaths, SplitsAndJoins) {
    const std::string sep(1, FileInfo::separator());
    FileInfo log("logs/2024/app.log");
    EXPECT_EQ(log.directory(), "logs/2024");
    EXPECT_EQ(log.fileName(), "app.log");
    EXPECT_EQ(log.baseName(), "app");
    EXPECT_EQ(log.extension(), "log");

    FileInfo plain("app");
    EXPECT_EQ(plain.directory(), "");
    EXPECT_EQ(plain.baseName(), "app");
    EXPECT_EQ(plain.extension(), "");
    EXPECT_EQ(FileInfo("a.tar.gz").baseName(), "a.tar");
    EXPECT_EQ(FileInfo("a.tar.gz").extension(), "gz");
    EXPECT_EQ(FileInfo(".profile").baseName(), ".profile");
    EXPECT_EQ(FileInfo(".profile").extension(), "");
    EXPECT_EQ(FileInfo("/app.log").directory(), "/");

    EXPECT_EQ(FileInfo::join("logs", "app.log"), "logs" + sep + "app.log");
    EXPECT_EQ(FileInfo::join("", "app.log"), "app.log");
    EXPECT_EQ(FileInfo::join("logs", ""), "logs");

    const std::string current = FileInfo::currentDir();
    ASSERT_FALSE(current.empty());
    EXPECT_EQ(FileInfo("x/../app.log").absolutePath(), FileInfo::join(current, "app.log"));
    FileInfo absolute(current);
    EXPECT_EQ(FileInfo(FileInfo::join(current, "a.log")).absolutePath(),
              FileInfo::join(current, "a.log"));
    EXPECT_TRUE(absolute.isDirectory());

    // Copies are independent values.
    FileInfo copy = log;
    copy.setPath("other.txt");
    EXPECT_EQ(log.fileName(), "app.log");
    FileInfo moved = std::move(copy);
    EXPECT_EQ(moved.extension(), "txt");
}

TEST(FileInfoFiles, ExistenceSizeAndDirectories) {
    QorTest::ScratchDir scratch("fileinfo_files");
    FileInfo file(scratch.file("data.bin"));
    EXPECT_FALSE(file.exists());
    EXPECT_EQ(file.size(), -1);
    writeFile(file.path(), "12345");
    EXPECT_TRUE(file.exists());
    EXPECT_TRUE(file.isFile());
    EXPECT_FALSE(file.isDirectory());
    EXPECT_EQ(file.size(), 5);

    FileInfo nested(FileInfo::join(scratch.path(), FileInfo::join("a", FileInfo::join("b", "c"))));
    std::string error;
    ASSERT_TRUE(nested.createDirectories(&error)) << error;
    EXPECT_TRUE(nested.isDirectory());
    EXPECT_EQ(nested.size(), -1);
    EXPECT_TRUE(nested.createDirectories(&error)) << "an existing folder is success";

    // A folder below a file cannot be made, whoever runs the test.
    FileInfo below(FileInfo::join(file.path(), "sub"));
    EXPECT_FALSE(below.createDirectories(&error));
    EXPECT_NE(error.find("cannot create the folder '" + below.path() + "': "), std::string::npos)
        << error;
    EXPECT_GT(error.size(), below.path().size() + 30) << "the system's reason follows";
    EXPECT_FALSE(below.exists());
    EXPECT_FALSE(below.createDirectories()) << "the error text is optional";
}

TEST(FileInfoFiles, CopyMoveAndDeleteReplaceTargets) {
    QorTest::ScratchDir scratch("fileinfo_ops");
    const std::string first = scratch.file("first.log");
    const std::string second = scratch.file("second.log");
    writeFile(first, "first");
    writeFile(second, "second");
    std::string error;

    FileInfo source(first);
    EXPECT_FALSE(source.copyTo(second, false, &error));
    EXPECT_NE(error.find("cannot copy"), std::string::npos) << error;
    EXPECT_EQ(readFile(second), "second") << "a refused copy leaves the target alone";
    ASSERT_TRUE(source.copyTo(second, true, &error)) << error;
    EXPECT_EQ(readFile(second), "first");
    EXPECT_EQ(readFile(first), "first");

    // Moving replaces an existing target (log rotation relies on it on both platforms).
    writeFile(second, "old");
    FileInfo moving(first);
    ASSERT_TRUE(moving.moveTo(second, &error)) << error;
    EXPECT_EQ(moving.path(), second);
    EXPECT_FALSE(FileInfo(first).exists());
    EXPECT_EQ(readFile(second), "first");
    EXPECT_FALSE(FileInfo(first).moveTo(second, &error));
    EXPECT_NE(error.find("cannot move '" + first + "'"), std::string::npos) << error;

    // Folders move too and are deleted when empty.
    FileInfo folder(scratch.file("folder"));
    ASSERT_TRUE(folder.createDirectories(&error)) << error;
    writeFile(FileInfo::join(folder.path(), "inside.txt"), "x");
    ASSERT_TRUE(folder.moveTo(scratch.file("renamed"), &error)) << error;
    EXPECT_TRUE(FileInfo(FileInfo::join(folder.path(), "inside.txt")).isFile());
    EXPECT_FALSE(folder.remove(&error)) << "a folder with content stays";
    EXPECT_TRUE(folder.exists());
    ASSERT_TRUE(FileInfo(FileInfo::join(folder.path(), "inside.txt")).remove(&error)) << error;
    ASSERT_TRUE(folder.remove(&error)) << error;
    EXPECT_FALSE(folder.exists());

    FileInfo target(second);
    ASSERT_TRUE(target.remove(&error)) << error;
    EXPECT_FALSE(target.exists());
    EXPECT_FALSE(target.remove(&error));
    EXPECT_NE(error.find("cannot delete '" + second + "': "), std::string::npos) << error;
}

TEST(FileInfoFiles, ListsWithPatterns) {
    QorTest::ScratchDir scratch("fileinfo_list");
    const std::string umlaut = "Gr\xC3\xBC\xC3\x9F"
                               "e.LOG";
    for (const std::string& name :
         {std::string("b.log"), std::string("A.log"), std::string("a.txt"),
          std::string("orvane.log1"), std::string("README"), umlaut})
        writeFile(FileInfo::join(scratch.path(), name), "x"); // the name stays UTF-8
    std::string error;
    ASSERT_TRUE(FileInfo(scratch.file("sub.log")).createDirectories(&error)) << error;

    FileInfo folder(scratch.path());
    EXPECT_EQ(folder.list("*.log"), (Names{"A.log", umlaut, "b.log", "sub.log"}));
    EXPECT_EQ(folder.list("a.*"), (Names{"A.log", "a.txt"}));
    EXPECT_EQ(folder.list("*.txt;README"), (Names{"README", "a.txt"}));
    EXPECT_EQ(folder.list("*.*").size(), 7u);
    EXPECT_EQ(folder.list().size(), 7u);
    EXPECT_TRUE(folder.list("*.doc").empty());
    EXPECT_TRUE(FileInfo(scratch.file("missing")).list().empty());
    EXPECT_TRUE(FileInfo(scratch.file("README")).list().empty()) << "a file has no entries";
}
