#include "qorcommon/orvanecfgconfighandler.h"

#include "orvanecfgformat.h"
#include "platform/platform.h"
#include "testsupport.h"

#include <gtest/gtest.h>

#include <atomic>
#include <fstream>
#include <iterator>
#include <sstream>
#include <string>
#include <thread>
#include <vector>

using Orvane::Core::ConfigHandler;
using Orvane::Core::GC;
using Orvane::Core::OrvanecfgConfigHandler;
using Orvane::Core::StringList;
namespace Orvanecfg = Orvane::Core::Orvanecfg;
namespace Platform = Orvane::Core::Platform;

namespace {

using Texts = std::vector<std::string>;

const char* const kType = "Orvane::Core::OrvanecfgConfigHandler";
const std::string kBom = "\xEF\xBB\xBF";

// The protected primitives, for the existence queries.
class ExposedHandler : public OrvanecfgConfigHandler {
public:
    using OrvanecfgConfigHandler::entryIsExisting;
    using OrvanecfgConfigHandler::keyIsExisting;
};

void writeBytes(const std::string& path, const std::string& bytes) {
    std::ofstream out(path, std::ios::binary | std::ios::trunc);
    out << bytes;
}

std::string readBytes(const std::string& path) {
    std::ifstream in(path, std::ios::binary);
    return std::string(std::istreambuf_iterator<char>(in), std::istreambuf_iterator<char>());
}

Texts readList(ConfigHandler& handler, const std::string& path) {
    StringList list;
    if (!handler.getEntryAsStringList(path, list)) return {"<failed: " + handler.getLastError()};
    return list.asVector();
}

Texts keyList(ConfigHandler& handler, const std::string& path) {
    StringList list;
    if (!handler.getKeyList(path, list)) return {"<failed: " + handler.getLastError()};
    return list.asVector();
}

Orvanecfg::Cache parseText(const std::string& text) {
    Orvanecfg::Cache cache;
    const Orvanecfg::ParseReport report = Orvanecfg::parse(text.data(), text.size(), "f", cache);
    EXPECT_TRUE(report.messages.empty()) << report.messages.front();
    return cache;
}

// Every test works on its own file; the file path and the settings are process-wide, so each
// test sets them again.
class OrvanecfgTest : public ::testing::Test {
protected:
    OrvanecfgTest() : m_dir("orvanecfg") { OrvanecfgConfigHandler::setOrvanecfgPath(file()); }
    ~OrvanecfgTest() override { OrvanecfgConfigHandler::setOrvanecfgPath(""); }

    std::string file() const { return m_dir.file("orvane.cfg"); }

    // A handler over `text` written to the file; its first update must succeed.
    GC<ExposedHandler> load(const std::string& text) {
        OrvanecfgConfigHandler::setOrvanecfgPath(file());
        writeBytes(file(), text);
        GC<ExposedHandler> handler(new ExposedHandler());
        EXPECT_TRUE(handler->init()) << handler->getLastError();
        return handler;
    }

    QorTest::ScratchDir m_dir;
};

const char* const kWritable = "[ORVANE_CONFIG_HANDLER]\nIS_WRITING_ENABLED = yes\n";

} // namespace

// ---- grammar ------------------------------------------------------------------------------------

TEST_F(OrvanecfgTest, GrammarErrorsAreRecordedWithFileLineAndValueAndReadingGoesOn) {
    writeBytes(file(), "[AB\n"
                       "x = 1\n"
                       "[A\n"
                       "b\n"
                       "cd\n"
                       "q = \"{1}\\q\"\n"
                       "h = \"\\x4\"\n"
                       "  m = \"open   \n"
                       "[Sec] # note\n"
                       "ok = fine\n");
    GC<ExposedHandler> handler(new ExposedHandler());
    EXPECT_FALSE(handler->init());
    EXPECT_EQ(handler->handlerStatus(), ConfigHandler::OperationFailed);

    const std::string f = file();
    const std::string detail =
        f + ":1: Missing ']' closing.\r\n" + f + ":3: Missing '=' delimiter.\r\n" + f +
        ":4: Line is too small to be an entry.\r\n" + f + ":4: Missing '=' delimiter.\r\n" + f +
        ":5: Missing '=' delimiter.\r\n" + f +
        ":6: value: \"{1}\\q\" Unknown escape sequence: '\\q'.\r\n" + f +
        ":7: value: \"\\x4\" Unfinished escape sequence to insert ASCII "
        "code.\r\n" +
        f + ":8: value: \"open Missing quote closing.";
    EXPECT_EQ(handler->getLastError(), detail);
    const Orvane::Core::ErrorInfo info = handler->getLastErrorInfo();
    EXPECT_EQ(info.errorText(), "Cannot initialize config handler properly");
    EXPECT_EQ(info.hint(), detail);
    EXPECT_EQ(info.codeLocation().function(),
              "Orvane::Core::OrvanecfgConfigHandler::updateCurrentCache");

    // What could be read is served: a section without its "]" still names its section, values
    // with errors are dropped, a commented section header names its section.
    EXPECT_EQ(readList(*handler, "AB/x"), Texts{"1"});
    EXPECT_EQ(readList(*handler, "Sec/ok"), Texts{"fine"});
    EXPECT_EQ(keyList(*handler, "AB"), Texts{"x"});
    bool exists = true;
    for (const char* dropped : {"AB/q", "AB/h", "AB/m", "AB/b", "AB/cd", "AB/[A"}) {
        EXPECT_TRUE(handler->entryIsExisting(dropped, exists));
        EXPECT_FALSE(exists) << dropped;
    }
}

TEST_F(OrvanecfgTest, ValuesQuotedUnquotedListsAndEscapes) {
    GC<ExposedHandler> handler = load(kBom + "# comment\r\n"
                                             "\r\n"
                                             "[S]\r\n"
                                             "pair = \"a\", \"b\"\r\n"
                                             "plain = a <|> b\r\n"
                                             "tail = \"x\" tail\r\n"
                                             "hex = \"\\x41\\x-1\\x 9\"\r\n"
                                             "escapes = \"q\\\"b\\\\n\\nr\\rt\\t\"\r\n"
                                             "comment = value # not part of it\r\n"
                                             "hash = \"# kept \" # dropped\r\n"
                                             "empty =\r\n"
                                             "emptyQuoted = \"\"\r\n"
                                             "pieces = a<|><|> b <|>\r\n"
                                             "blanks = \"  in  \"\r\n"
                                             "twice = 1\r\n"
                                             "twice = 2\r\n"
                                             "  name with blank = x=y\r\n");
    EXPECT_EQ(readList(*handler, "S/pair"), (Texts{"a", "b"}));
    EXPECT_EQ(readList(*handler, "S/plain"), (Texts{"a", "b"}));
    EXPECT_EQ(readList(*handler, "S/tail"), (Texts{"x", "tail"}));
    EXPECT_EQ(readList(*handler, "S/hex"), (Texts{std::string("A\xFF\x09")}));
    EXPECT_EQ(readList(*handler, "S/escapes"), (Texts{"q\"b\\n\nr\rt\t"}));
    EXPECT_EQ(readList(*handler, "S/comment"), (Texts{"value"}));
    EXPECT_EQ(readList(*handler, "S/hash"), (Texts{"# kept "}));
    EXPECT_EQ(readList(*handler, "S/empty"), Texts{});
    EXPECT_EQ(readList(*handler, "S/emptyQuoted"), (Texts{""}));
    EXPECT_EQ(readList(*handler, "S/pieces"), (Texts{"a", "", "b", ""}));
    EXPECT_EQ(readList(*handler, "S/blanks"), (Texts{"  in  "}));
    EXPECT_EQ(readList(*handler, "S/twice"), (Texts{"2"}));
    EXPECT_EQ(readList(*handler, "S/name with blank"), (Texts{"x=y"}));

    std::string text = "unchanged";
    EXPECT_TRUE(handler->getStringEntry("S/empty", text));
    EXPECT_EQ(text, "");
    EXPECT_TRUE(handler->getStringEntry("S/pair", text));
    EXPECT_EQ(text, "a");
    // Key lists are in byte order and name a replaced entry once.
    EXPECT_EQ(keyList(*handler, "S"),
              (Texts{"blanks", "comment", "empty", "emptyQuoted", "escapes", "hash", "hex",
                     "name with blank", "pair", "pieces", "plain", "tail", "twice"}));
}

TEST_F(OrvanecfgTest, FileOfOnlyMarkBlanksAndCommentsGivesAnEmptyCache) {
    GC<ExposedHandler> handler = load(kBom + "  \n\t# one\n#two\n\n   # three  \r\n");
    EXPECT_EQ(handler->handlerStatus(), ConfigHandler::NoError);
    EXPECT_EQ(handler->getLastErrorInfo().isEmpty(), true);
    bool exists = true;
    EXPECT_TRUE(handler->keyIsExisting("S", exists));
    EXPECT_FALSE(exists);
    EXPECT_EQ(readList(*handler, "S/x"),
              Texts{std::string("<failed: ") + kType + ": Entry not found: S/x"});
}

TEST_F(OrvanecfgTest, UnconvertibleCodeAbortsTheUpdateAndKeepsTheOldCache) {
    GC<ExposedHandler> handler = load("[S]\nkept = 1\n");
    writeBytes(file(), "[S]\nnew = 1\nbad = \"\\q\"\ncode = \"\\xzz\"\nlater = 2\n");
    EXPECT_FALSE(handler->updateCache(false));
    EXPECT_EQ(handler->getLastError(), file() +
                                           ":3: value: \"\\q\" Unknown escape sequence: '\\q'.\r\n"
                                           "invalid stoul argument");
    EXPECT_EQ(handler->getLastErrorInfo().errorText(), "Cannot initialize config handler properly");
    EXPECT_EQ(readList(*handler, "S/kept"), Texts{"1"});
    bool exists = true;
    EXPECT_TRUE(handler->entryIsExisting("S/new", exists));
    EXPECT_FALSE(exists);

    // A sign or a leading blank is part of what converts; a lone "-" or "x" is not a digit.
    writeBytes(file(), "[S]\ncode = \"\\x-x\"\n");
    EXPECT_FALSE(handler->updateCache(false));
    EXPECT_EQ(handler->getLastError(), "invalid stoul argument");
}

TEST(OrvanecfgFormat, SectionAndEntryLineEdgeCases) {
    Orvanecfg::Cache cache;
    const std::string text = "top = 1\n[ A/B ]\nx = 1\n[A]\nB/y = 2\nB/x = 3\ntrailing/ = 4\n"
                             "[ ]\n = orphan\n[Empty]\n=\n";
    const Orvanecfg::ParseReport report = Orvanecfg::parse(text.data(), text.size(), "f", cache);
    EXPECT_EQ(report.messages, Texts{"f:11: Line is too small to be an entry."});
    // Entries above the first section belong to "", nested sections stand as written, a name
    // with a "/" belongs to the nested section (the later entry of a path wins), a section
    // without entries is still a key, a nameless entry is not stored.
    EXPECT_EQ(cache.find("/top")->values(), Texts{"1"});
    EXPECT_EQ(cache.find("A/B/x")->values(), Texts{"3"});
    EXPECT_EQ(cache.find("A/B/y")->values(), Texts{"2"});
    EXPECT_EQ(cache.sections.size(), 5u);
    EXPECT_EQ(cache.section("")->size(), 1u);
    EXPECT_EQ(cache.section("A/B")->size(), 2u);
    EXPECT_TRUE(cache.section("A")->empty());
    EXPECT_TRUE(cache.section("A/trailing")->empty());
    EXPECT_TRUE(cache.section("Empty")->empty());
}

// ---- paths --------------------------------------------------------------------------------------

TEST_F(OrvanecfgTest, PathRulesAndNotFoundMessages) {
    GC<ExposedHandler> handler = load("[S]\na = 1\n[N/M]\nb = 2\n");
    bool exists = false;
    EXPECT_FALSE(handler->entryIsExisting("NOSLASH", exists));
    EXPECT_EQ(handler->getLastError(), "Incorrect config path: 'NOSLASH'.");
    EXPECT_EQ(handler->handlerStatus(), ConfigHandler::OperationFailed);
    for (const char* path : {"/a", "S/", "/"}) {
        EXPECT_EQ(
            readList(*handler, path),
            Texts{std::string("<failed: Section and entry cannot be empty in config path: '") +
                  path + "'."});
    }
    EXPECT_EQ(readList(*handler, "S/zz"),
              Texts{std::string("<failed: ") + kType + ": Entry not found: S/zz"});
    EXPECT_EQ(keyList(*handler, "N"),
              Texts{std::string("<failed: ") + kType + ": Key not found: N"});
    EXPECT_TRUE(handler->entryIsExisting("N/M/b", exists));
    EXPECT_TRUE(exists);
    EXPECT_TRUE(handler->keyIsExisting("N/M", exists));
    EXPECT_TRUE(exists);
}

// ---- settings and writing the cache -------------------------------------------------------------

TEST_F(OrvanecfgTest, SettingsDecideWhatIsSupported) {
    auto supported = [](const ConfigHandler& handler) {
        std::string bits;
        for (int op = 0; op <= 8; ++op)
            bits +=
                handler.isOperationSupported(static_cast<ConfigHandler::Operation>(op)) ? '1' : '0';
        return bits;
    };
    GC<ExposedHandler> handler = load("[ORVANE_CONFIG_HANDLER]\nIS_WRITING_ENABLED = maybe\n");
    EXPECT_EQ(supported(*handler), "111001000");
    EXPECT_FALSE(OrvanecfgConfigHandler::settings().writingEnabled);

    load("[ORVANE_CONFIG_HANDLER]\nIS_SETTING_ENABLED = Ja\nDEBUG_WRITING = on\n");
    // The settings are shared: the older handler sees what the newer one read.
    EXPECT_EQ(supported(*handler), "111011100");
    EXPECT_TRUE(OrvanecfgConfigHandler::settings().debugWriting);

    load(kWritable);
    EXPECT_EQ(supported(*handler), "111011110");
}

TEST_F(OrvanecfgTest, ChangingTheCacheIsRefusedUnlessEnabled) {
    GC<ExposedHandler> handler = load("[S]\na = 1\n");
    const std::string before = readBytes(file());
    EXPECT_FALSE(handler->setStringEntry("S/a", "2", true));
    EXPECT_EQ(handler->getLastError(), "setting of entry value is not enabled");
    EXPECT_FALSE(handler->setKey("T", true));
    EXPECT_EQ(handler->getLastError(), "setting of config key is not enabled");
    EXPECT_EQ(handler->handlerStatus(), ConfigHandler::OperationFailed);
    EXPECT_FALSE(handler->flushCache(false));
    EXPECT_EQ(handler->getLastError(), "writing of orvane config file is not enabled");
    EXPECT_EQ(readList(*handler, "S/a"), Texts{"1"});
    EXPECT_EQ(readBytes(file()), before);

    // Setting alone changes the cache but does not write the file.
    handler = load("[ORVANE_CONFIG_HANDLER]\nIS_SETTING_ENABLED = 1\n[S]\na = 1\n");
    EXPECT_TRUE(handler->setStringEntry("S/a", "2"));
    EXPECT_TRUE(handler->setLongListEntry("T/new", {3, 4}));
    EXPECT_TRUE(handler->setKey("U"));
    EXPECT_EQ(readList(*handler, "S/a"), Texts{"2"});
    EXPECT_EQ(readList(*handler, "T/new"), (Texts{"3", "4"}));
    EXPECT_EQ(keyList(*handler, "T"), Texts{"new"});
    EXPECT_EQ(keyList(*handler, "U"), Texts{});
    EXPECT_FALSE(handler->setStringEntry("bad", "x"));
    EXPECT_EQ(handler->getLastError(), "Incorrect config path: 'bad'.");
    EXPECT_FALSE(handler->flushCache(false));
    EXPECT_EQ(handler->getLastError(), "writing of orvane config file is not enabled");
    // An update reads the file again and forgets the changes.
    EXPECT_TRUE(handler->updateCache(false));
    EXPECT_EQ(readList(*handler, "S/a"), Texts{"1"});
}

// ---- the writer ---------------------------------------------------------------------------------

TEST_F(OrvanecfgTest, WriterBytesAreExact) {
    GC<ExposedHandler> handler = load("top = 0\n" + std::string(kWritable));
    ASSERT_TRUE(handler->setStringEntry("S/plain", "C:\\dir\\file"));
    ASSERT_TRUE(handler->setStringEntry("S/blank", "a b"));
    ASSERT_TRUE(handler->setStringEntry("S/back", "x\\y z"));
    ASSERT_TRUE(handler->setStringListEntry("S/list", StringList{"1", "two\t\"2\"", "3\r\n"}));
    ASSERT_TRUE(handler->setStringListEntry("S/none", StringList()));
    ASSERT_TRUE(handler->setStringEntry("S/emptyOne", ""));
    ASSERT_TRUE(handler->setStringEntry("S/sep", "a<|>b"));
    ASSERT_TRUE(handler->setStringEntry("S/hash", "#"));
    ASSERT_TRUE(handler->setBooleanEntry("A/B/flag", true));
    ASSERT_TRUE(handler->setKey("Z"));
    ASSERT_TRUE(handler->flushCache(false)) << handler->getLastError();

    EXPECT_EQ(readBytes(file()), kBom + "top = 0\n"
                                        "[A/B]\n"
                                        "flag = true\n"
                                        "[ORVANE_CONFIG_HANDLER]\n"
                                        "IS_WRITING_ENABLED = yes\n"
                                        "[S]\n"
                                        "back = \"x\\y z\"\n"
                                        "blank = \"a b\"\n"
                                        "emptyOne = \"\"\n"
                                        "hash = \"#\"\n"
                                        "list = \"1\" \"two\\t\\\"2\\\"\" \"3\\r\\n\"\n"
                                        "none =\n"
                                        "plain = C:\\dir\\file\n"
                                        "sep = \"a<|>b\"\n"
                                        "[Z]\n");
    // No temporary file is left beside the target.
    EXPECT_EQ(Platform::listDirectory(m_dir.path(), "*"), Texts{"orvane.cfg"});
}

TEST_F(OrvanecfgTest, ReadFlushReadGivesTheSameCache) {
    const std::string original = std::string(kWritable) + "first = 1\n"
                                                          "[Z]\n"
                                                          "b = \"x\" \"y y\"\n"
                                                          "a = \"tab\\there\" # c\n"
                                                          "[A/B]\n"
                                                          "e =\n"
                                                          "q = \"\"\n"
                                                          "[Empty]\n"
                                                          "[M]\n"
                                                          "hex = \"\\x41\\x0a\"\n"
                                                          "u = a<|>b\n";
    GC<ExposedHandler> handler = load(original);
    ASSERT_TRUE(handler->flushCache(false)) << handler->getLastError();
    const std::string written = readBytes(file());
    EXPECT_EQ(parseText(written), parseText(original));
    // Writing what was read back gives the same bytes.
    EXPECT_TRUE(handler->updateCache(false)) << handler->getLastError();
    ASSERT_TRUE(handler->flushCache(false));
    EXPECT_EQ(readBytes(file()), written);
    EXPECT_EQ(readList(*handler, "M/hex"), Texts{"A\n"});
}

TEST_F(OrvanecfgTest, DebugWritingPrintsTheWrittenText) {
    GC<ExposedHandler> handler = load(std::string(kWritable) + "DEBUG_WRITING = true\n");
    ::testing::internal::CaptureStdout();
    const bool flushed = handler->flushCache(false);
    const std::string printed = ::testing::internal::GetCapturedStdout();
    EXPECT_TRUE(flushed);
    EXPECT_EQ(printed, "[ORVANE_CONFIG_HANDLER]\nDEBUG_WRITING = true\nIS_WRITING_ENABLED = yes\n");
}

// ---- files that cannot be read or written -------------------------------------------------------

TEST_F(OrvanecfgTest, MissingAndUnreadableFilesFailAndKeepTheCache) {
    GC<ExposedHandler> handler = load(kWritable);
    const std::string missing = m_dir.file("missing.cfg");
    OrvanecfgConfigHandler::setOrvanecfgPath(missing);
    EXPECT_FALSE(handler->updateCache(false));
    EXPECT_EQ(handler->getLastError(), "Cannot open config file '" + missing + "'.");
    EXPECT_EQ(handler->handlerStatus(), ConfigHandler::OperationFailed);
    EXPECT_EQ(handler->getLastErrorInfo().errorText(), "Cannot initialize config handler properly");
    EXPECT_EQ(handler->getLastErrorInfo().hint(), "Cannot open config file '" + missing + "'.");
    EXPECT_EQ(keyList(*handler, "ORVANE_CONFIG_HANDLER"), Texts{"IS_WRITING_ENABLED"});

    // A folder in place of the file can be neither read nor replaced; nor can a file in a
    // folder that does not exist be written.
    const std::string folder = m_dir.file("folder.cfg");
    std::string error;
    ASSERT_TRUE(Platform::createDirectories(folder, error)) << error;
    const std::string noFolder = m_dir.file("no/such/orvane.cfg");
    for (const std::string& path : {folder, noFolder}) {
        OrvanecfgConfigHandler::setOrvanecfgPath(path);
        EXPECT_FALSE(handler->updateCache(false));
        EXPECT_EQ(handler->getLastError(), "Cannot open config file '" + path + "'.");
        EXPECT_FALSE(handler->flushCache(false));
        EXPECT_EQ(handler->getLastError(), "Cannot open config file '" + path + "'.");
    }
}

TEST_F(OrvanecfgTest, DefaultPathIsTheCurrentDirectory) {
    OrvanecfgConfigHandler::setOrvanecfgPath("");
    EXPECT_EQ(OrvanecfgConfigHandler::getOrvanecfgPath(),
              Platform::currentDirectory() + "/orvane.cfg");
    OrvanecfgConfigHandler::setOrvanecfgPath("x/y.cfg");
    EXPECT_EQ(OrvanecfgConfigHandler::getOrvanecfgPath(), "x/y.cfg");
}

// ---- concurrency --------------------------------------------------------------------------------

TEST_F(OrvanecfgTest, ReadersSeeTheOldOrTheNewCacheNeverHalfOfOne) {
    // Two files of forty entries each; a reader must see all names of one of them (and perhaps
    // the entry that the writer adds), never a mix or a part.
    auto makeFile = [&](const std::string& name, const char* prefix, Texts& names) {
        std::string text = std::string(kWritable) + "[S]\n";
        for (int i = 100; i < 140; ++i) {
            names.push_back(prefix + std::to_string(i));
            text += names.back() + " = 1\n";
        }
        writeBytes(m_dir.file(name), text);
        return m_dir.file(name);
    };
    Texts firstNames, secondNames;
    const std::string firstFile = makeFile("first.cfg", "a", firstNames);
    const std::string secondFile = makeFile("second.cfg", "b", secondNames);
    Texts firstWithZ = firstNames, secondWithZ = secondNames;
    firstWithZ.push_back("zz");
    secondWithZ.push_back("zz");
    OrvanecfgConfigHandler::setOrvanecfgPath(firstFile);
    GC<OrvanecfgConfigHandler> handler(new OrvanecfgConfigHandler());
    ASSERT_TRUE(handler->init());

    std::atomic<bool> done{false};
    std::atomic<int> torn{0};
    std::vector<std::thread> readers;
    for (int r = 0; r < 3; ++r) {
        readers.emplace_back([&] {
            while (!done.load()) {
                StringList names;
                handler->getKeyList("S", names);
                const Texts seen = names.asVector();
                if (seen != firstNames && seen != secondNames && seen != firstWithZ &&
                    seen != secondWithZ)
                    ++torn;
                std::string value;
                if (handler->getStringEntry("S/a120", value) && value != "1") ++torn;
            }
        });
    }
    for (int i = 0; i < 200; ++i) {
        OrvanecfgConfigHandler::setOrvanecfgPath(i % 2 ? firstFile : secondFile);
        EXPECT_TRUE(handler->updateCache(false));
        EXPECT_TRUE(handler->setStringEntry("S/zz", "3"));
    }
    done = true;
    for (std::thread& reader : readers)
        reader.join();
    EXPECT_EQ(torn.load(), 0);
}
