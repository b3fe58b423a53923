// SharedMemory: a block created here is opened and written by a second process (this test
// program started again with --shm-child=<name>), and vanishes with its owner.
#include "qorcommon/applicationinfo.h"
#include "qorcommon/sharedmemory.h"

#include "platform/platform.h"

#include <gtest/gtest.h>

#include <cstring>
#include <string>

using Orvane::Core::ApplicationInfo;
using Orvane::Core::SharedMemory;

namespace {

const char ownerText[] = "written by the owner";
const char childText[] = "answered by the child";
constexpr std::size_t blockSize = 5000; // not a whole number of pages
constexpr std::size_t replyOffset = blockSize - sizeof childText;

std::string childArgument() {
    const std::string flag = "--shm-child=";
    for (const std::string& argument : Orvane::Core::Platform::commandLineArguments()) {
        if (argument.compare(0, flag.size(), flag) == 0) return argument.substr(flag.size());
    }
    return std::string();
}

std::string uniqueName(const char* word) {
    return std::string("qortest_") + word + "_" + std::to_string(ApplicationInfo::processId());
}

} // namespace

// The second process's side; skipped unless this program was started by the test below.
TEST(SharedMemoryChild, OpensAndAnswers) {
    const std::string name = childArgument();
    if (name.empty()) GTEST_SKIP() << "runs only as the second process of SharedMemory tests";
    SharedMemory block;
    ASSERT_TRUE(block.open(name)) << block.errorText();
    EXPECT_FALSE(block.isOwner());
    ASSERT_EQ(block.size(), blockSize);
    const char* bytes = static_cast<const char*>(block.data());
    ASSERT_STREQ(bytes, ownerText);
    std::memcpy(static_cast<char*>(block.data()) + replyOffset, childText, sizeof childText);
    block.close();
    EXPECT_FALSE(block.isAttached());
}

TEST(SharedMemory, IsSharedWithASecondProcess) {
    const std::string name = uniqueName("pair");
    SharedMemory::remove(name); // a name left by an earlier crashed run
    SharedMemory owner;
    ASSERT_TRUE(owner.create(name, blockSize)) << owner.errorText();
    EXPECT_TRUE(owner.isOwner());
    EXPECT_TRUE(owner.isAttached());
    EXPECT_EQ(owner.name(), name);
    ASSERT_EQ(owner.size(), blockSize);
    const char* bytes = static_cast<const char*>(owner.data());
    EXPECT_EQ(bytes[0], 0);
    EXPECT_EQ(bytes[blockSize - 1], 0) << "a new block is zero-filled";
    std::memcpy(owner.data(), ownerText, sizeof ownerText);

    std::string error;
    const int exitCode = Orvane::Core::Platform::runProcess(
        ApplicationInfo::executablePath(),
        {"--gtest_brief=1", "--gtest_filter=SharedMemoryChild.*", "--shm-child=" + name}, error);
    ASSERT_EQ(exitCode, 0) << error;
    EXPECT_STREQ(bytes + replyOffset, childText);

    // A second opener in this process sees the same bytes.
    SharedMemory reader;
    ASSERT_TRUE(reader.open(name)) << reader.errorText();
    EXPECT_STREQ(static_cast<const char*>(reader.data()) + replyOffset, childText);
    reader.close();

    owner.close();
    EXPECT_FALSE(owner.isAttached());
    EXPECT_EQ(owner.data(), nullptr);
    EXPECT_EQ(owner.size(), 0u);
    EXPECT_FALSE(reader.open(name)) << "the owner's close removed the name";
}

TEST(SharedMemory, ReportsFailures) {
    const std::string name = uniqueName("fail");
    SharedMemory::remove(name);
    SharedMemory owner;
    ASSERT_TRUE(owner.create(name, 16)) << owner.errorText();

    SharedMemory second;
    EXPECT_FALSE(second.create(name, 16)) << "the name is taken";
    const std::string createPrefix = "cannot create shared memory '" + name + "': ";
    EXPECT_EQ(second.errorText().compare(0, createPrefix.size(), createPrefix), 0)
        << second.errorText();
    EXPECT_GT(second.errorText().size(), createPrefix.size());
    EXPECT_FALSE(second.isAttached());

    const std::string missing = uniqueName("missing");
    EXPECT_FALSE(second.open(missing));
    const std::string openPrefix = "cannot open shared memory '" + missing + "': ";
    EXPECT_EQ(second.errorText().compare(0, openPrefix.size(), openPrefix), 0)
        << second.errorText();
    EXPECT_GT(second.errorText().size(), openPrefix.size());

    EXPECT_FALSE(second.create("with/slash", 16));
    EXPECT_EQ(second.errorText(),
              "cannot create shared memory 'with/slash': invalid shared memory name 'with/slash'");
    EXPECT_FALSE(second.create(uniqueName("empty"), 0));
    EXPECT_NE(second.errorText().find("invalid size 0"), std::string::npos) << second.errorText();

    // Reusing an object for another block closes the first; the owner's name goes with it.
    ASSERT_TRUE(owner.create(uniqueName("next"), 32)) << owner.errorText();
    EXPECT_FALSE(second.open(name));
}
