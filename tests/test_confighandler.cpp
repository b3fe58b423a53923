// The C handle helpers are private to the C face; their hold on a use is tested here.
#include "../capi/confighandles.h"
#include "qorcommon/confighandler.h"
#include "qorcommon/memoryconfighandler.h"

#include "testsupport.h"

#include <gtest/gtest.h>

#include <atomic>
#include <map>
#include <string>
#include <thread>
#include <vector>

using Orvane::Core::ConfigHandler;
using Orvane::Core::GC;
using Orvane::Core::MemoryConfigHandler;
using Orvane::Core::StringList;
namespace CWrapper = Orvane::Core::CWrapper;

namespace {

using Texts = std::vector<std::string>;
using Log = std::vector<std::string>;
using Entries = std::map<std::string, Texts>;

// Overrides nothing but the one required primitive (and, on request, the operations it claims),
// so every typed read runs through the defaults. Its protected slots are opened for the tests.
class ListHandler : public ConfigHandler {
public:
    explicit ListHandler(Entries entries = {}, GC<ConfigHandler> base = GC<ConfigHandler>(),
                         std::vector<Operation> claimed = {ReadingEntries})
        : ConfigHandler(base), m_entries(std::move(entries)), m_claimed(std::move(claimed)) {}

    bool isOperationSupported(Operation operation) const override {
        for (Operation claimed : m_claimed)
            if (claimed == operation) return true;
        return false;
    }

    using ConfigHandler::entryIsExisting;
    using ConfigHandler::keyIsExisting;
    using ConfigHandler::setHandlerStatus;
    using ConfigHandler::setLastError;

protected:
    bool readEntryAsStringList(const std::string& path, StringList& out) override {
        auto it = m_entries.find(path);
        if (it == m_entries.end()) return false;
        out = StringList(it->second);
        return true;
    }

private:
    Entries m_entries;
    std::vector<Operation> m_claimed;
};

// A memory handler that notes, under its name, every cache call and existence query.
class RecordingHandler : public MemoryConfigHandler {
public:
    RecordingHandler(std::string name, Log& log, GC<ConfigHandler> base = GC<ConfigHandler>())
        : MemoryConfigHandler(base), m_name(std::move(name)), m_log(log) {}

    using ConfigHandler::flushCurrentCache;
    using ConfigHandler::updateCurrentCache;
    bool updateCurrentCache() override {
        m_log.push_back("update " + m_name);
        return m_name != "failing";
    }
    bool flushCurrentCache() override {
        m_log.push_back("flush " + m_name);
        return true;
    }

protected:
    bool entryIsExisting(const std::string& path, bool& exists) override {
        m_log.push_back("entry? " + m_name);
        return MemoryConfigHandler::entryIsExisting(path, exists);
    }
    bool keyIsExisting(const std::string& path, bool& exists) override {
        m_log.push_back("key? " + m_name);
        return MemoryConfigHandler::keyIsExisting(path, exists);
    }

private:
    std::string m_name;
    Log& m_log;
};

class OpenMemoryHandler : public MemoryConfigHandler {
public:
    using MemoryConfigHandler::entryIsExisting;
    using MemoryConfigHandler::keyIsExisting;
};

std::string readString(ConfigHandler& handler, const std::string& path, bool askBase = true) {
    std::string value = "<untouched>";
    handler.getStringEntry(path, value, askBase);
    return value;
}

Texts readList(ConfigHandler& handler, const std::string& path) {
    StringList list;
    if (!handler.getEntryAsStringList(path, list)) return {"<failed>"};
    return list.asVector();
}

} // namespace

// ---- the value model
// ----------------------------------------------------------------------------------

TEST(ConfigHandler, StringsAndListsRestOnTheOnePrimitive) {
    ListHandler handler({{"S/ONE", {"a", "b"}}, {"S/EMPTY", {}}});
    std::string text;
    EXPECT_TRUE(handler.getEntryAsString("S/ONE", text));
    EXPECT_EQ(text, "a");
    EXPECT_TRUE(handler.getStringEntry("S/EMPTY", text));
    EXPECT_EQ(text, "");
    EXPECT_EQ(readList(handler, "S/ONE"), (Texts{"a", "b"}));
    EXPECT_EQ(readList(handler, "S/EMPTY"), Texts{});

    StringList list{"old"};
    EXPECT_TRUE(handler.getStringListEntry("S/EMPTY", list));
    EXPECT_TRUE(list.isEmpty());
    std::vector<long> longs{9};
    EXPECT_TRUE(handler.getLongListEntry("S/EMPTY", longs));
    EXPECT_TRUE(longs.empty());
    std::vector<bool> booleans{true};
    EXPECT_TRUE(handler.getBooleanListEntry("S/EMPTY", booleans));
    EXPECT_TRUE(booleans.empty());

    // A missing entry fails without touching the output.
    EXPECT_EQ(readString(handler, "S/MISSING"), "<untouched>");
    long number = 5;
    EXPECT_FALSE(handler.getLongEntry("S/MISSING", number));
    EXPECT_EQ(number, 5);
}

TEST(ConfigHandler, LongsFollowTheAtolRule) {
    ListHandler handler({{"N/MIXED", {"12abc"}},
                         {"N/WORD", {"abc"}},
                         {"N/SIGNED", {"  -42"}},
                         {"N/LIST", {"1", "x", "+3", " 7 8", ""}}});
    long value = -1;
    EXPECT_TRUE(handler.getLongEntry("N/MIXED", value));
    EXPECT_EQ(value, 12);
    EXPECT_TRUE(handler.getLongEntry("N/WORD", value));
    EXPECT_EQ(value, 0);
    EXPECT_TRUE(handler.getLongEntry("N/SIGNED", value));
    EXPECT_EQ(value, -42);
    std::vector<long> values;
    EXPECT_TRUE(handler.getLongListEntry("N/LIST", values));
    EXPECT_EQ(values, (std::vector<long>{1, 0, 3, 7, 0}));
    EXPECT_EQ(handler.handlerStatus(), ConfigHandler::NoError);
    EXPECT_EQ(handler.getLastError(), "");
}

TEST(ConfigHandler, BooleanWords) {
    for (const char* word : {"on", "TRUE", "Yes", "y", "1", "Ja", "J"}) {
        bool value = false;
        EXPECT_TRUE(ConfigHandler::parseBoolean(word, value)) << word;
        EXPECT_TRUE(value) << word;
    }
    for (const char* word : {"OFF", "false", "no", "N", "0", "NEIN"}) {
        bool value = true;
        EXPECT_TRUE(ConfigHandler::parseBoolean(word, value)) << word;
        EXPECT_FALSE(value) << word;
    }
    for (const char* word : {"", " true", "true ", "ye", "nei", "2", "falsey", "oui"}) {
        bool value = true;
        EXPECT_FALSE(ConfigHandler::parseBoolean(word, value)) << word;
        EXPECT_TRUE(value) << word;
    }
}

TEST(ConfigHandler, InvalidBooleansFailWithTheWordRead) {
    ListHandler handler({{"B/ON", {"ON"}},
                         {"B/BLANK", {" true"}},
                         {"B/EMPTY", {""}},
                         {"B/LIST", {"true", "maybe", "false"}},
                         {"B/GOOD", {"ja", "nein", "1"}}});
    bool value = false;
    EXPECT_TRUE(handler.getBooleanEntry("B/ON", value));
    EXPECT_TRUE(value);

    EXPECT_FALSE(handler.getBooleanEntry("B/BLANK", value));
    EXPECT_EQ(handler.getLastError(), "invalid boolean value: ' true'");
    EXPECT_EQ(handler.handlerStatus(), ConfigHandler::OperationFailed);
    EXPECT_FALSE(handler.getBooleanEntry("B/EMPTY", value));
    EXPECT_EQ(handler.getLastError(), "invalid boolean value: ''");

    std::vector<bool> values;
    EXPECT_FALSE(handler.getBooleanListEntry("B/LIST", values));
    EXPECT_EQ(handler.getLastError(), "invalid boolean value: 'maybe'");
    ASSERT_EQ(values.size(), 3u);
    EXPECT_TRUE(values[0]);
    EXPECT_TRUE(handler.getBooleanListEntry("B/GOOD", values));
    EXPECT_EQ(values, (std::vector<bool>{true, false, true}));
}

// ---- the chain: reading
// ------------------------------------------------------------------------------

TEST(ConfigHandler, ReadingFallsBackDownTheChainOnlyWhenAsked) {
    GC<ConfigHandler> deepest(new ListHandler(Entries{{"A/DEEP", {"deepest"}}, {"A/ALL", {"3"}}}));
    GC<ConfigHandler> middle(
        new ListHandler(Entries{{"A/MID", {"middle"}}, {"A/ALL", {"2"}}}, deepest));
    GC<ConfigHandler> top(new ListHandler(Entries{{"A/ALL", {"1"}}}, middle));

    EXPECT_EQ(readString(*top, "A/ALL"), "1");
    EXPECT_EQ(readString(*top, "A/MID"), "middle");
    EXPECT_EQ(readString(*top, "A/DEEP"), "deepest");
    EXPECT_EQ(readString(*middle, "A/ALL"), "2");
    EXPECT_EQ(readString(*top, "A/DEEP", false), "<untouched>");
    EXPECT_EQ(readString(*top, "A/NOWHERE"), "<untouched>");

    long number = 0;
    EXPECT_FALSE(top->getLongEntry("A/MID", number, false));
    EXPECT_TRUE(top->getLongEntry("A/ALL", number, true));
    EXPECT_EQ(number, 1);
    StringList keys;
    EXPECT_FALSE(top->getKeyList("A", keys));
}

TEST(ConfigHandler, AFailingChainLeavesEachHandlersOwnError) {
    GC<ConfigHandler> base(new MemoryConfigHandler());
    GC<ConfigHandler> top(new MemoryConfigHandler(base));
    std::string value;
    EXPECT_FALSE(top->getStringEntry("S/E", value));
    const std::string type = top->typeName();
    EXPECT_EQ(top->getLastError(), type + ": Entry not found: S/E");
    EXPECT_EQ(base->getLastError(), type + ": Entry not found: S/E");
    EXPECT_FALSE(top->getStringEntry("NOSLASH", value));
    EXPECT_EQ(base->getLastError(), "Incorrect config path: 'NOSLASH'.");
    EXPECT_EQ(base->handlerStatus(), ConfigHandler::OperationFailed);
}

TEST(ConfigHandler, ReplacingTheBaseReleasesTheOldOne) {
    GC<ConfigHandler> first(new ListHandler(Entries{{"X/Y", {"first"}}}));
    GC<ConfigHandler> top(new ListHandler({}, first));
    EXPECT_EQ(first->useCount(), 2);
    top->setBaseConfigHandler(GC<ConfigHandler>(new ListHandler(Entries{{"X/Y", {"second"}}})));
    EXPECT_EQ(first->useCount(), 1);
    EXPECT_EQ(readString(*top, "X/Y"), "second");
    top->setBaseConfigHandler(GC<ConfigHandler>());
    EXPECT_TRUE(top->baseConfigHandler().isNull());
    EXPECT_EQ(readString(*top, "X/Y"), "<untouched>");
}

// ---- the chain: writing
// ------------------------------------------------------------------------------

TEST(ConfigHandler, WritingChangesAnEntryWhereItLives) {
    Log log;
    GC<MemoryConfigHandler> base(new RecordingHandler("base", log));
    GC<MemoryConfigHandler> top(new RecordingHandler("top", log, base));
    ASSERT_TRUE(base->setEntryAsString("S/OLD", "base value", true));

    EXPECT_TRUE(top->setEntryAsString("S/OLD", "changed", false));
    EXPECT_EQ(readString(*base, "S/OLD"), "changed");
    EXPECT_EQ(top->entryCount(), 0u);
    EXPECT_EQ(log, (Log{"entry? top", "entry? base"}));

    log.clear();
    EXPECT_TRUE(top->setEntryAsString("S/OLD", "here", true));
    EXPECT_TRUE(log.empty());
    EXPECT_EQ(readString(*top, "S/OLD"), "here");
    EXPECT_EQ(readString(*base, "S/OLD"), "changed");

    // A new entry lands in the handler asked.
    EXPECT_TRUE(top->setLongEntry("S/NEW", -12));
    EXPECT_EQ(readList(*top, "S/NEW"), Texts{"-12"});
    EXPECT_EQ(base->entryCount(), 1u);

    // setKey searches with the entry query, not the key query.
    log.clear();
    EXPECT_TRUE(top->setKey("S/KEY"));
    EXPECT_EQ(log, (Log{"entry? top", "entry? base"}));
}

TEST(ConfigHandler, TypedSettersWriteTheirTexts) {
    GC<ConfigHandler> handler(new MemoryConfigHandler());
    EXPECT_TRUE(handler->setBooleanEntry("T/B", true));
    EXPECT_TRUE(handler->setBooleanListEntry("T/BL", {false, true}));
    EXPECT_TRUE(handler->setLongListEntry("T/LL", {0, -5, 2147483647}));
    EXPECT_TRUE(handler->setStringListEntry("T/SL", StringList{"x", ""}));
    EXPECT_TRUE(handler->setEntryAsStringList("T/EMPTY", StringList()));
    EXPECT_TRUE(handler->setStringEntry("T/S", "text"));
    EXPECT_EQ(readList(*handler, "T/B"), Texts{"true"});
    EXPECT_EQ(readList(*handler, "T/BL"), (Texts{"false", "true"}));
    EXPECT_EQ(readList(*handler, "T/LL"), (Texts{"0", "-5", "2147483647"}));
    EXPECT_EQ(readList(*handler, "T/SL"), (Texts{"x", ""}));
    EXPECT_EQ(readList(*handler, "T/EMPTY"), Texts{});
    EXPECT_EQ(readString(*handler, "T/EMPTY"), "");
    EXPECT_EQ(readString(*handler, "T/S"), "text");
}

TEST(ConfigHandler, AHandlerThatCannotTellExistenceIsNotTheOwner) {
    Log log;
    GC<ConfigHandler> base(new ListHandler(Entries{{"S/E", {"read only"}}}));
    GC<MemoryConfigHandler> top(new RecordingHandler("top", log, base));
    EXPECT_TRUE(top->setEntryAsString("S/E", "new"));
    EXPECT_EQ(readString(*top, "S/E"), "new");
    EXPECT_EQ(base->getLastError(),
              std::string("getting info about entry existence is not supported by ") +
                  base->typeName() + ".");
}

TEST(ConfigHandler, UnsupportedOperationsFailWithTheirMessages) {
    GC<ListHandler> handler(new ListHandler());
    const std::string type = handler->typeName();
    StringList keys;
    EXPECT_FALSE(handler->getKeyList("S", keys));
    EXPECT_EQ(handler->getLastError(), "reading of key list is not supported by " + type + ".");
    EXPECT_EQ(handler->handlerStatus(), ConfigHandler::OperationFailed);
    bool exists = true;
    EXPECT_FALSE(handler->keyIsExisting("S", exists));
    EXPECT_EQ(handler->getLastError(),
              "getting info about key existence is not supported by " + type + ".");
    EXPECT_TRUE(exists);
    EXPECT_FALSE(handler->setEntryAsString("S/E", "v"));
    EXPECT_EQ(handler->getLastError(), "writing of entry is not supported by " + type);
    EXPECT_FALSE(handler->setBooleanListEntry("S/E", {true}, true));
    EXPECT_EQ(handler->getLastError(), "writing of entry is not supported by " + type);
    EXPECT_FALSE(handler->setKey("S", true));
    EXPECT_EQ(handler->getLastError(), "writing of key is not supported by " + type);
    EXPECT_TRUE(handler->isOperationSupported(ConfigHandler::ReadingEntries));
}

// ---- cache
// -----------------------------------------------------------------------------------------------

TEST(ConfigHandler, CacheOperationsRunDeepestFirst) {
    Log log;
    GC<ConfigHandler> deepest(new RecordingHandler("deepest", log));
    GC<ConfigHandler> middle(new RecordingHandler("failing", log, deepest));
    GC<ConfigHandler> top(new RecordingHandler("top", log, middle));

    EXPECT_TRUE(top->updateCache(true));
    EXPECT_EQ(log, (Log{"update deepest", "update failing", "update top"}));
    log.clear();
    EXPECT_TRUE(top->flushCache("ignored/path", true));
    EXPECT_EQ(log, (Log{"flush deepest", "flush failing", "flush top"}));
    log.clear();
    EXPECT_TRUE(top->updateCache("ignored/path", false));
    EXPECT_TRUE(top->flushCache(false));
    EXPECT_EQ(log, (Log{"update top", "flush top"}));
    log.clear();
    // The result is the handler's own, not that of its bases.
    EXPECT_FALSE(middle->updateCache(true));
    EXPECT_EQ(log, (Log{"update deepest", "update failing"}));
}

TEST(ConfigHandler, ClaimedButUnimplementedCacheIsAnError) {
    using Op = ConfigHandler::Operation;
    const auto check = [](std::vector<Op> claimed, bool update, bool error) {
        GC<ListHandler> handler(new ListHandler({}, GC<ConfigHandler>(), claimed));
        handler->setLastError("earlier", ConfigHandler::NoError);
        EXPECT_FALSE(update ? handler->updateCache(true) : handler->flushCache(true));
        const std::string type = handler->typeName();
        if (error) {
            EXPECT_EQ(handler->handlerStatus(), ConfigHandler::OperationFailed);
            EXPECT_EQ(handler->getLastError(), std::string(update ? "updating" : "flushing") +
                                                   " of cache is not implemented in " + type + ".");
        } else {
            EXPECT_EQ(handler->handlerStatus(), ConfigHandler::OperationNotSupported);
            EXPECT_EQ(handler->getLastError(), "earlier");
        }
    };
    check({ConfigHandler::KeepingCache}, true, true);
    check({ConfigHandler::UpdatingCache}, true, true);
    check({ConfigHandler::FlushingCache}, true, false);
    check({ConfigHandler::ReadingEntries}, true, false);
    check({ConfigHandler::KeepingCache}, false, true);
    check({ConfigHandler::FlushingCache}, false, true);
    check({ConfigHandler::UpdatingCache}, false, false);
    check({}, false, false);
}

// ---- threads
// ----------------------------------------------------------------------------------------------

TEST(ConfigHandler, LastErrorIsKeptPerThread) {
    GC<MemoryConfigHandler> handler(new MemoryConfigHandler());
    std::thread([&] {
        std::string value;
        EXPECT_FALSE(handler->getStringEntry("NOSLASH", value));
    }).join();
    EXPECT_EQ(handler->getLastError(), "");
    EXPECT_EQ(handler->handlerStatus(), ConfigHandler::OperationFailed);

    constexpr int kThreads = 4;
    std::atomic<int> mismatches{0};
    std::vector<std::thread> threads;
    for (int t = 0; t < kThreads; ++t) {
        threads.emplace_back([&, t] {
            std::string value;
            for (int i = 0; i < 300; ++i) {
                const std::string path = "T" + std::to_string(t) + "/" + std::to_string(i);
                handler->getStringEntry(path, value);
                if (handler->getLastError() !=
                    std::string(handler->typeName()) + ": Entry not found: " + path)
                    ++mismatches;
            }
        });
    }
    for (std::thread& thread : threads)
        thread.join();
    EXPECT_EQ(mismatches.load(), 0);
    EXPECT_EQ(handler->getLastError(), "");
}

TEST(ConfigHandler, SharedChainIsReadWhileItsBaseIsReplaced) {
    GC<ConfigHandler> one(new ListHandler(Entries{{"S/V", {"1"}}}));
    GC<ConfigHandler> two(new ListHandler(Entries{{"S/V", {"2"}}}));
    GC<ConfigHandler> middle(new ListHandler({}, one));
    GC<MemoryConfigHandler> top(new MemoryConfigHandler(middle));
    ASSERT_TRUE(top->setEntryAsString("S/TOP", "t", true));

    std::atomic<bool> stop{false};
    std::atomic<int> wrong{0};
    std::vector<std::thread> readers;
    for (int r = 0; r < 3; ++r) {
        readers.emplace_back([&] {
            std::string value;
            long number = 0;
            while (!stop.load()) {
                if (!top->getStringEntry("S/V", value) || (value != "1" && value != "2")) ++wrong;
                if (!top->getLongEntry("S/TOP", number) || number != 0) ++wrong;
            }
        });
    }
    for (int i = 0; i < 2000; ++i) {
        middle->setBaseConfigHandler(i % 2 ? one : two);
        top->setLongEntry("S/OTHER", i);
    }
    stop = true;
    for (std::thread& reader : readers)
        reader.join();
    EXPECT_EQ(wrong.load(), 0);
}

// ---- the in-memory handler
// ----------------------------------------------------------------------------

TEST(MemoryConfigHandler, KeysAndExistence) {
    GC<OpenMemoryHandler> handler(new OpenMemoryHandler());
    EXPECT_TRUE(handler->setEntryAsString("A/B/ZED", "1"));
    EXPECT_TRUE(handler->setEntryAsString("A/B/ALPHA", "2"));
    EXPECT_TRUE(handler->setEntryAsString("A/B/ZED", "3"));
    EXPECT_TRUE(handler->setKey("EMPTY"));

    StringList keys;
    EXPECT_TRUE(handler->getKeyList("A/B", keys));
    EXPECT_EQ(keys.asVector(), (Texts{"ZED", "ALPHA"}));
    EXPECT_TRUE(handler->getKeyList("EMPTY", keys));
    EXPECT_TRUE(keys.isEmpty());
    EXPECT_FALSE(handler->getKeyList("A", keys));
    EXPECT_EQ(handler->getLastError(), std::string(handler->typeName()) + ": Key not found: A");
    EXPECT_EQ(handler->entryPaths().asVector(), (Texts{"A/B/ALPHA", "A/B/ZED"}));

    bool exists = false;
    EXPECT_TRUE(handler->entryIsExisting("A/B/ZED", exists));
    EXPECT_TRUE(exists);
    EXPECT_TRUE(handler->entryIsExisting("A/B/NONE", exists));
    EXPECT_FALSE(exists);
    EXPECT_FALSE(handler->entryIsExisting("A", exists));
    EXPECT_TRUE(handler->keyIsExisting("EMPTY", exists));
    EXPECT_TRUE(exists);
    EXPECT_TRUE(handler->keyIsExisting("A", exists));
    EXPECT_FALSE(exists);

    EXPECT_TRUE(handler->removeEntry("A/B/ZED"));
    EXPECT_FALSE(handler->removeEntry("A/B/ZED"));
    EXPECT_TRUE(handler->getKeyList("A/B", keys));
    EXPECT_EQ(keys.asVector(), Texts{"ALPHA"});
    handler->clear();
    EXPECT_EQ(handler->entryCount(), 0u);
    EXPECT_FALSE(handler->setKey("", true));
    EXPECT_EQ(handler->getLastError(), "Incorrect config path: ''.");

    for (int op = 0; op <= 8; ++op) {
        EXPECT_EQ(handler->isOperationSupported(static_cast<ConfigHandler::Operation>(op)),
                  op == 0 || op == 4 || op == 5 || op == 6);
    }
}

TEST(MemoryConfigHandler, PathsNeedSectionAndEntry) {
    GC<MemoryConfigHandler> handler(new MemoryConfigHandler());
    EXPECT_FALSE(handler->setEntryAsString("NOSLASH", "v", true));
    EXPECT_EQ(handler->getLastError(), "Incorrect config path: 'NOSLASH'.");
    for (const char* path : {"/E", "S/", "/"}) {
        EXPECT_FALSE(handler->setEntryAsString(path, "v", true));
        EXPECT_EQ(handler->getLastError(),
                  std::string("Section and entry cannot be empty in config path: '") + path + "'.");
    }
    EXPECT_EQ(handler->entryCount(), 0u);
}

TEST(ConfigHandler, CHandlesHoldAUse) {
    GC<ConfigHandler> handler(new MemoryConfigHandler());
    orv_ConfigHandler_ptr handle = CWrapper::wrapConfigHandler(handler);
    ASSERT_NE(handle.obj, nullptr);
    EXPECT_EQ(handler->useCount(), 2);
    EXPECT_EQ(CWrapper::unwrapConfigHandler(handle), handler);
    orv_config_destruct(handle);
    EXPECT_EQ(handler->useCount(), 1);
    orv_ConfigHandler_ptr null = {nullptr};
    EXPECT_TRUE(CWrapper::unwrapConfigHandler(null).isNull());
}
