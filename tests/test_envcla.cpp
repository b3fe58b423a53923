#include "qorcommon/envconfighandler.h"
#include "qorcommon/memoryconfighandler.h"

#include "platform/platform.h"
#include "testsupport.h"

#include <gtest/gtest.h>

#include <cstdlib>
#include <string>
#include <vector>

using Orvane::Core::CLAConfigHandler;
using Orvane::Core::ConfigHandler;
using Orvane::Core::EnvVarConfigHandler;
using Orvane::Core::GC;
using Orvane::Core::MemoryConfigHandler;
using Orvane::Core::StringList;
namespace Platform = Orvane::Core::Platform;

namespace {

using Texts = std::vector<std::string>;

// Sets environment variables for the length of a test.
class ScopedEnv {
public:
    ~ScopedEnv() {
        for (const std::string& name : m_names)
            Platform::unsetEnv(name);
    }
    void set(const std::string& name, const std::string& value) {
        ASSERT_TRUE(Platform::setEnv(name, value));
        m_names.push_back(name);
    }

private:
    std::vector<std::string> m_names;
};

GC<EnvVarConfigHandler> envHandler(GC<ConfigHandler> base) {
    GC<EnvVarConfigHandler> handler(new EnvVarConfigHandler(base));
    handler->init();
    return handler;
}

GC<ConfigHandler> baseWithPrefix(const std::string& prefix) {
    GC<ConfigHandler> base(new MemoryConfigHandler());
    base->setStringEntry("ENVVAR_CONFIG_HANDLER/PREFIX", prefix, true);
    return base;
}

Texts readList(ConfigHandler& handler, const std::string& path) {
    StringList list;
    if (!handler.getEntryAsStringList(path, list)) return {"<failed>"};
    return list.asVector();
}

std::string readString(ConfigHandler& handler, const std::string& path) {
    std::string value = "<failed>";
    handler.getStringEntry(path, value);
    return value;
}

} // namespace

// ---- environment
// -------------------------------------------------------------------------------------

TEST(EnvVarConfigHandler, PrefixComesFromTheBaseChain) {
    EXPECT_EQ(envHandler(GC<ConfigHandler>())->prefix(), "ORVANE");
    EXPECT_EQ(envHandler(GC<ConfigHandler>())->variableName("GLOBAL/LOG_FILE"),
              "ORVANE__GLOBAL__LOG_FILE");
    EXPECT_EQ(envHandler(GC<ConfigHandler>(new MemoryConfigHandler()))->prefix(), "ORVANE");

    // The prefix entry may live further down the base's chain.
    GC<ConfigHandler> chain(new MemoryConfigHandler(baseWithPrefix("MYAPP")));
    EXPECT_EQ(envHandler(chain)->variableName("A/B/C"), "MYAPP__A__B__C");
    // Without a prefix there is no leading "__"; the case stays as written.
    EXPECT_EQ(envHandler(baseWithPrefix(""))->variableName("Sec/entry"), "Sec__entry");

    GC<EnvVarConfigHandler> uninitialised(new EnvVarConfigHandler(baseWithPrefix("X")));
    EXPECT_EQ(uninitialised->prefix(), "ORVANE");
}

TEST(EnvVarConfigHandler, ReadsValuesAndUntrimmedLists) {
    ScopedEnv env;
    env.set("QORTESTF__S__TEXT", " spaced text ");
    env.set("QORTESTF__S__LIST", "a;b;");
    env.set("QORTESTF__S__PADDED", " a ; b");
    env.set("QORTESTF__S__NUMBER", "42x");
    env.set("QORTESTF__S__FLAG", "Yes");
    GC<ConfigHandler> handler = envHandler(baseWithPrefix("QORTESTF"));

    EXPECT_EQ(readString(*handler, "S/TEXT"), " spaced text ");
    EXPECT_EQ(readList(*handler, "S/LIST"), (Texts{"a", "b", ""}));
    EXPECT_EQ(readList(*handler, "S/PADDED"), (Texts{" a ", " b"}));
    long number = 0;
    EXPECT_TRUE(handler->getLongEntry("S/NUMBER", number));
    EXPECT_EQ(number, 42);
    bool flag = false;
    EXPECT_TRUE(handler->getBooleanEntry("S/FLAG", flag));
    EXPECT_TRUE(flag);
    EXPECT_EQ(handler->getLastError(), "");

    // The environment is read anew at every request.
    env.set("QORTESTF__S__TEXT", "changed");
    EXPECT_EQ(readString(*handler, "S/TEXT"), "changed");
}

TEST(EnvVarConfigHandler, MissingVariableAndUnsupportedOperations) {
    GC<ConfigHandler> handler = envHandler(baseWithPrefix("QORTESTF"));
    std::string value = "untouched";
    EXPECT_FALSE(handler->getStringEntry("S/MISSING", value, false));
    EXPECT_EQ(value, "untouched");
    EXPECT_EQ(handler->getLastError(),
              "could not get environment variable: 'QORTESTF__S__MISSING'");
    EXPECT_EQ(handler->handlerStatus(), ConfigHandler::OperationFailed);
    StringList list;
    EXPECT_FALSE(handler->getEntryAsStringList("S/MISSING2", list, false));
    EXPECT_EQ(handler->getLastError(),
              "could not get environment variable: 'QORTESTF__S__MISSING2'");

    // Only reading is claimed: the cache defaults report "not supported" without a message.
    for (int op = 0; op <= 8; ++op)
        EXPECT_EQ(handler->isOperationSupported(static_cast<ConfigHandler::Operation>(op)),
                  op == 0);
    EXPECT_FALSE(handler->updateCache(false));
    EXPECT_EQ(handler->handlerStatus(), ConfigHandler::OperationNotSupported);
    EXPECT_FALSE(handler->setEntryAsString("S/E", "v", true));
    EXPECT_EQ(handler->getLastError(),
              std::string("writing of entry is not supported by ") + handler->typeName());
}

TEST(EnvVarConfigHandler, AnswersBelowOtherHandlers) {
    ScopedEnv env;
    env.set("ORVANE__GLOBAL__QORTESTF_LEVEL", "7");
    GC<ConfigHandler> env_handler = envHandler(GC<ConfigHandler>());
    GC<ConfigHandler> top(new MemoryConfigHandler(env_handler));
    long level = 0;
    EXPECT_TRUE(top->getLongEntry("GLOBAL/QORTESTF_LEVEL", level));
    EXPECT_EQ(level, 7);
    // The environment cannot tell whether it has an entry, so a write stays on top.
    EXPECT_TRUE(top->setLongEntry("GLOBAL/QORTESTF_LEVEL", 9));
    EXPECT_TRUE(top->getLongEntry("GLOBAL/QORTESTF_LEVEL", level));
    EXPECT_EQ(level, 9);
    EXPECT_EQ(readString(*env_handler, "GLOBAL/QORTESTF_LEVEL"), "7");
}

// ---- command line
// --------------------------------------------------------------------------------------

TEST(CLAConfigHandler, ParsesDashCArguments) {
    GC<CLAConfigHandler> handler(new CLAConfigHandler({
        "program",
        "-cGLOBAL/LOG_LEVEL=3",
        "-c X/Y = a=b ",
        "-cL/IST= a<|> b <|>c ",
        "-cE/MPTY=",
        "-cFLAG/ONLY",
        "-c",
        "-c = orphan",
        "--cNOT/THIS=1",
        "-CNOT/THIS=1",
        "x-cNOT/THIS=1",
        "-cGLOBAL/LOG_LEVEL=4",
    }));
    EXPECT_EQ(handler->paths().asVector(),
              (Texts{"E/MPTY", "FLAG/ONLY", "GLOBAL/LOG_LEVEL", "L/IST", "X/Y"}));
    EXPECT_EQ(readList(*handler, "GLOBAL/LOG_LEVEL"), Texts{"4"});
    EXPECT_EQ(readList(*handler, "X/Y"), Texts{"a=b"});
    EXPECT_EQ(readList(*handler, "L/IST"), (Texts{"a", " b ", "c"}));
    EXPECT_EQ(readList(*handler, "E/MPTY"), Texts{""});
    EXPECT_EQ(readList(*handler, "FLAG/ONLY"), Texts{""});
    EXPECT_EQ(readString(*handler, "L/IST"), "a");
    long level = 0;
    EXPECT_TRUE(handler->getLongEntry("GLOBAL/LOG_LEVEL", level));
    EXPECT_EQ(level, 4);
}

TEST(CLAConfigHandler, MissesSilentlySoTheBaseAnswers) {
    GC<ConfigHandler> base(new MemoryConfigHandler());
    base->setStringEntry("S/E", "from base", true);
    GC<CLAConfigHandler> handler(new CLAConfigHandler({"-cS/OTHER=1"}, base));
    std::string value;
    EXPECT_FALSE(handler->getStringEntry("S/E", value, false));
    EXPECT_EQ(handler->getLastError(), "");
    EXPECT_EQ(handler->handlerStatus(), ConfigHandler::NoError);
    EXPECT_EQ(readString(*handler, "S/E"), "from base");
}

TEST(CLAConfigHandler, ClaimsACacheItDoesNotUpdate) {
    GC<CLAConfigHandler> handler(new CLAConfigHandler(std::vector<std::string>{}));
    for (int op = 0; op <= 8; ++op) {
        EXPECT_EQ(handler->isOperationSupported(static_cast<ConfigHandler::Operation>(op)),
                  op == 0 || op == 1);
    }
    EXPECT_FALSE(handler->updateCache(true));
    EXPECT_EQ(handler->handlerStatus(), ConfigHandler::OperationFailed);
    EXPECT_EQ(handler->getLastError(),
              "updating of cache is not implemented in Orvane::Core::CLAConfigHandler.");
    EXPECT_FALSE(handler->flushCache(true));
    EXPECT_EQ(handler->getLastError(),
              "flushing of cache is not implemented in Orvane::Core::CLAConfigHandler.");
}

// The real command line: the test runs itself again with "-c" arguments; in that child this test
// finds them, in the ordinary run it finds none (the program name and the test flags are no
// options).
TEST(CLAConfigHandler, ReadsTheProcessCommandLine) {
    GC<CLAConfigHandler> own(new CLAConfigHandler());
    if (!own->paths().isEmpty()) {
        EXPECT_EQ(own->paths().asVector(), (Texts{"CHILD/LIST", "CHILD/VALUE"}));
        EXPECT_EQ(readList(*own, "CHILD/VALUE"), Texts{"x=y"});
        EXPECT_EQ(readList(*own, "CHILD/LIST"), (Texts{"a", "b c"}));
        return;
    }
    std::string command = "\"" + Platform::executablePath() + "\"" +
                          " --gtest_filter=CLAConfigHandler.ReadsTheProcessCommandLine" +
                          " \"-cCHILD/VALUE = x=y\" \"-cCHILD/LIST=a<|>b c\"";
#ifdef _WIN32
    // cmd strips the outermost pair of quotes of a command that holds several.
    command = "\"" + command + "\"";
#endif
    EXPECT_EQ(std::system(command.c_str()), 0);
}
