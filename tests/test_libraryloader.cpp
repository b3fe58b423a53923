// LibraryLoader: loading the test library, calling into it, unloading, and the texts of each
// kind of failure.
#include "qorcommon/fileinfo.h"
#include "qorcommon/libraryloader.h"

#include "platform/platform.h"
#include "testsupport.h"

#include <gtest/gtest.h>

#include <cstdio>
#include <string>

using Orvane::Core::FileInfo;
using Orvane::Core::LibraryLoader;

namespace {

using Twice = int (*)(int);
using Count = int (*)();

std::string pluginPath() {
    const FileInfo executable(Orvane::Core::Platform::executablePath());
    return FileInfo::join(executable.directory(), "qortestplugin" + LibraryLoader::suffix());
}

bool contains(const std::string& text, const std::string& part) {
    return text.find(part) != std::string::npos;
}

} // namespace

TEST(LibraryLoader, LoadsCallsAndUnloads) {
#ifdef _WIN32
    EXPECT_EQ(LibraryLoader::suffix(), ".dll");
#else
    EXPECT_EQ(LibraryLoader::suffix(), ".so");
#endif
    LibraryLoader loader;
    EXPECT_FALSE(loader.isLoaded());
    ASSERT_TRUE(loader.load(pluginPath())) << loader.errorText();
    EXPECT_TRUE(loader.isLoaded());
    EXPECT_EQ(loader.path(), pluginPath());
    EXPECT_TRUE(loader.errorText().empty());

    const Twice twice = loader.function<Twice>("qortest_plugin_twice");
    ASSERT_NE(twice, nullptr) << loader.errorText();
    EXPECT_EQ(twice(21), 42);

    // A second loader of the same file shares the loaded copy and its state.
    const Count count = loader.function<Count>("qortest_plugin_count");
    ASSERT_NE(count, nullptr);
    const int before = count();
    {
        LibraryLoader second(pluginPath());
        ASSERT_TRUE(second.isLoaded()) << second.errorText();
        EXPECT_EQ(second.function<Count>("qortest_plugin_count")(), before + 1);
    }
    EXPECT_EQ(count(), before + 2) << "the first loader keeps the library loaded";

    EXPECT_TRUE(loader.unload()) << loader.errorText();
    EXPECT_FALSE(loader.isLoaded());
    EXPECT_TRUE(loader.path().empty());
    EXPECT_TRUE(loader.unload()) << "nothing to unload is no failure";
    EXPECT_EQ(loader.symbol("qortest_plugin_twice"), nullptr);
    EXPECT_EQ(loader.errorText(),
              "cannot find symbol 'qortest_plugin_twice': no library is loaded");

    // Loading again after a failure works, and reloading replaces the held library.
    ASSERT_TRUE(loader.load(pluginPath())) << loader.errorText();
    ASSERT_TRUE(loader.load(pluginPath())) << loader.errorText();
    EXPECT_EQ(loader.function<Twice>("qortest_plugin_twice")(5), 10);
}

TEST(LibraryLoader, FindsBareNamesInTheSearchDirectory) {
    const std::string bareName = "qortestplugin" + LibraryLoader::suffix();
    ASSERT_TRUE(LibraryLoader::setSearchDirectory(FileInfo(pluginPath()).directory()));
    LibraryLoader loader(bareName);
    EXPECT_TRUE(loader.isLoaded()) << loader.errorText();
    EXPECT_TRUE(loader.unload()) << loader.errorText();
    EXPECT_TRUE(LibraryLoader::setSearchDirectory(""));
#ifndef _WIN32
    // Without it the system's search path does not hold the test folder (Windows searches the
    // executable's folder anyway).
    EXPECT_FALSE(loader.load(bareName));
#endif
}

TEST(LibraryLoader, ReportsEachFailureWithTheSystemsReason) {
    QorTest::ScratchDir scratch("libraryloader");

    const std::string missing = scratch.file("missing" + LibraryLoader::suffix());
    LibraryLoader absent(missing);
    EXPECT_FALSE(absent.isLoaded());
    const std::string prefix = "cannot load library '" + missing + "': ";
    EXPECT_EQ(absent.errorText().compare(0, prefix.size(), prefix), 0) << absent.errorText();
    EXPECT_GT(absent.errorText().size(), prefix.size()) << "the system's reason follows";

    // A text file with the right suffix is no library.
    const std::string bogus = scratch.file("bogus" + LibraryLoader::suffix());
    std::FILE* file = Orvane::Core::Platform::openFile(bogus, "wb");
    ASSERT_NE(file, nullptr);
    std::fputs("this is not a library\n", file);
    std::fclose(file);
    LibraryLoader notLibrary;
    EXPECT_FALSE(notLibrary.load(bogus));
    EXPECT_TRUE(contains(notLibrary.errorText(), "cannot load library '" + bogus + "': "))
        << notLibrary.errorText();
    EXPECT_NE(notLibrary.errorText(), absent.errorText());
#ifndef _WIN32
    EXPECT_TRUE(contains(notLibrary.errorText(), "bogus.so")) << "dlerror() names the file";
#endif

    LibraryLoader empty;
    EXPECT_FALSE(empty.load(""));
    EXPECT_EQ(empty.errorText(), "cannot load library '': empty library path");

    LibraryLoader loader(pluginPath());
    ASSERT_TRUE(loader.isLoaded()) << loader.errorText();
    EXPECT_EQ(loader.symbol("qortest_no_such_symbol"), nullptr);
    const std::string symbolPrefix =
        "cannot find symbol 'qortest_no_such_symbol' in '" + pluginPath() + "': ";
    EXPECT_EQ(loader.errorText().compare(0, symbolPrefix.size(), symbolPrefix), 0)
        << loader.errorText();
    EXPECT_GT(loader.errorText().size(), symbolPrefix.size());
    // load() gives up the library held before, also when the new one then fails.
    EXPECT_FALSE(loader.load(missing));
    EXPECT_FALSE(loader.isLoaded());
    EXPECT_EQ(loader.symbol("qortest_plugin_twice"), nullptr);
}
