#include "qorcommon/logging.h"
#include "qorcommon/memoryconfighandler.h"
#include "qorcommon/multiplelogginghandler.h"
#include "qorcommon/orvanelogginghandler.h"

#include "testsupport.h"

#include <gtest/gtest.h>

#include <fstream>
#include <sstream>
#include <string>
#include <vector>

using namespace Orvane::Core;

namespace {

const ModuleInfo kModule("app", "exe", Version(1, 0, 0));

std::string readFile(const std::string& path) {
    std::ifstream in(path, std::ios::binary);
    std::stringstream text;
    text << in.rdbuf();
    return text.str();
}

// Records what reaches it: "<logger>|<priority>|<depth>|<text>".
class RecordingHandler : public LoggingHandler {
public:
    std::vector<std::string> lines;

protected:
    GC<Logger> makeLogger(const std::string& name, const ModuleInfo& moduleInfo) override {
        return GC<Logger>(new Recorder(loggerHelper(), name, moduleInfo, lines));
    }

private:
    class Recorder : public Logger {
    public:
        Recorder(const GC<LoggerHelper>& helper, const std::string& name, const ModuleInfo& module,
                 std::vector<std::string>& lines)
            : Logger(helper, name, module), m_lines(lines) {}

    protected:
        void storeEntry(Priority prio, const LogEntry& entry, const StringList& stack,
                        const DateTime&, double) override {
            m_lines.push_back(name() + "|" + std::to_string(prio) + "|" +
                              std::to_string(stack.size()) + "|" + entry.asString().str());
        }

    private:
        std::vector<std::string>& m_lines;
    };
};

class CountingListener : public LoggingListener {
public:
    int calls = 0;
    void onLogEntry(const std::string&, Logger::Priority, const LogEntry&, const StringList&,
                    const DateTime&, double) override {
        ++calls;
    }
};

} // namespace

TEST(MultipleLoggingHandler, FeedsEveryHandlerWithOneFunnel) {
    QorTest::ScratchDir dir("multiple_feed");
    GC<OrvaneLoggingSettings> settings(new OrvaneLoggingSettings);
    settings->setLogFile(dir.file("m.log"));
    settings->setFormat("$(stack_prefix)$(message) [$(logger_name)]");
    GC<RecordingHandler> recording(new RecordingHandler);
    MultipleLoggingHandler handler(std::vector<GC<LoggingHandler>>{
        GC<LoggingHandler>(new OrvaneLoggingHandler(settings)), GC<LoggingHandler>(recording)});
    GC<CountingListener> listener(new CountingListener);
    handler.loggerHelper()->registerListener(GC<LoggingListener>(listener));
    GC<Logger> logger = handler.getLogger(kModule);
    {
        LoggingScope outer(logger, "outer");
        LoggingScope inner(logger, "inner");
        inner.addEntry(Logger::Warning, LogEntry::fromGeneralMessage("deep"));
    }
    handler.loggerHelper()->unregisterListener(GC<LoggingListener>(listener));
    EXPECT_EQ(listener->calls, 5);
    EXPECT_EQ(readFile(dir.file("m.log")), "Function start: outer [app]\n"
                                           "  Function start: inner [app]\n"
                                           "  Warning: deep [app]\n"
                                           "  Function end [app]\n"
                                           "Function end [app]\n");
    ASSERT_EQ(recording->lines.size(), 5u);
    EXPECT_EQ(recording->lines[2], "app|5|2|deep");
}

TEST(MultipleLoggingHandler, MadeFromTheConfiguredNames) {
    Logging::registerHandlerFactory("Recording", [](const GC<ConfigHandler>&) {
        return GC<LoggingHandler>(new RecordingHandler);
    });
    GC<MemoryConfigHandler> config(new MemoryConfigHandler);
    StringList names;
    names << "void"
          << "recording";
    config->setStringListEntry("MULTIPLE_LOGGING_HANDLER/HANDLERS", names);
    GC<LoggingHandler> made = Logging::handlerFactory("multiple")(GC<ConfigHandler>(config));
    auto* multiple = dynamic_cast<MultipleLoggingHandler*>(made.ptr());
    ASSERT_NE(multiple, nullptr);
    ASSERT_EQ(multiple->handlers().size(), 2u);
    EXPECT_STREQ(multiple->handlers()[0]->typeName(), "Orvane::Core::QOR::VoidLoggingHandler");
    auto* recording = dynamic_cast<RecordingHandler*>(multiple->handlers()[1].ptr());
    ASSERT_NE(recording, nullptr);
    made->getLogger("named", kModule)
        ->addEntry(Logger::Error, LogEntry::fromStatus(7), DateTime::now(), 0);
    EXPECT_EQ(recording->lines, (std::vector<std::string>{"named|6|0|(7)"}));

    // An unknown name, or a handler that names itself without end, leaves a working handler
    // that reports the fault from init().
    names = StringList();
    names << "nosuch"
          << "multiple"
          << "void";
    config->setStringListEntry("MULTIPLE_LOGGING_HANDLER/HANDLERS", names);
    MultipleLoggingHandler faulty{GC<ConfigHandler>(config)};
    EXPECT_FALSE(faulty.init());
    ASSERT_EQ(faulty.handlers().size(), 2u);
    faulty.getLogger(kModule)->addEntry(Logger::Info, LogEntry::fromGeneralMessage("x"),
                                        DateTime::now(), 0);
}

TEST(LoggingHandlerFactories, EveryBuiltInNameAndTheSimpleStream) {
    for (const char* name : {"orvanelog", "Simple", "multiple", "VOID"})
        EXPECT_TRUE(static_cast<bool>(Logging::handlerFactory(name))) << name;
    EXPECT_FALSE(static_cast<bool>(Logging::handlerFactory("printer")));

    GC<MemoryConfigHandler> config(new MemoryConfigHandler);
    config->setStringEntry("SIMPLE_LOGGING_HANDLER/STREAM", "stdout");
    GC<LoggingHandler> simple = makeSimpleLoggingHandler(GC<ConfigHandler>(config));
    testing::internal::CaptureStdout();
    simple->getLogger(kModule)->addEntry(Logger::Info, LogEntry::fromGeneralMessage("to out"),
                                         DateTime::now(), 0);
    const std::string printed = testing::internal::GetCapturedStdout();
    EXPECT_NE(printed.find("Info: to out [app]"), std::string::npos) << printed;

    EXPECT_EQ(makeSimpleLoggingConfigDefinition()->entryDefinitions()[0]->path(),
              "SIMPLE_LOGGING_HANDLER/STREAM");
    EXPECT_EQ(MultipleLoggingHandler::configDefinition()->entryDefinitions()[0]->path(),
              "MULTIPLE_LOGGING_HANDLER/HANDLERS");
}
