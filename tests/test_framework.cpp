// Start-up, services, modules and shut-down of the framework.
#include "qorcommon/framework.h"

#include "qorcommon/applicationinfo.h"
#include "qorcommon/c/framework.h"
#include "qorcommon/errorinfocollector.h"
#include "qorcommon/libraryservices.h"
#include "qorcommon/logginghandler.h"
#include "qorcommon/memoryconfighandler.h"
#include "qorcommon/orvanecfgconfighandler.h"
#include "qorcommon/threadmanagedobject.h"

#include "testsupport.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <fstream>
#include <mutex>
#include <string>
#include <thread>
#include <vector>

using namespace Orvane::Core;
using namespace Orvane::Core::QOR;

namespace {

// ---- test services ------------------------------------------------------------------------------

struct Stored {
    std::string text;
    std::string hint;
    std::string module;
};

std::mutex storedMutex;
std::vector<Stored> stored;

std::vector<Stored> storedRecords() {
    std::lock_guard<std::mutex> lock(storedMutex);
    return stored;
}

bool wasStored(const std::string& text, const std::string& hint) {
    for (const Stored& record : storedRecords())
        if (record.text == text && record.hint == hint) return true;
    return false;
}

class RecordingCollector : public ErrorInfoCollector {
protected:
    Result storeErrorInfo(const ErrorInfo& e, const ModuleInfo& m, const CodeLocation&) override {
        std::lock_guard<std::mutex> lock(storedMutex);
        stored.push_back({e.errorText(), e.hint(), m.name()});
        return true;
    }
};

class RecordingCollectorFeature : public ErrorInfoCollectorFeature {
public:
    const char* name() const override { return "recording"; }
    GC<ErrorInfoCollector> createObject(const GC<ConfigHandler>&) override {
        return GC<ErrorInfoCollector>(new RecordingCollector);
    }
};

// A handler over the chain that names `next` as the following link (nothing when empty).
class NamingHandlerFeature : public ConfigHandlerFeature {
public:
    NamingHandlerFeature(std::string name, std::string next)
        : m_name(std::move(name)), m_next(std::move(next)) {}
    const char* name() const override { return m_name.c_str(); }
    GC<ConfigHandler> createObject(const GC<ConfigHandler>& chain) override {
        ++made;
        GC<ConfigHandler> handler(new MemoryConfigHandler(chain));
        if (!m_next.empty()) handler->setEntryAsString("GLOBAL/CONFIG_HANDLER", m_next, true);
        handler->setEntryAsString("TEST/MADE_BY", m_name, true);
        return handler;
    }
    int made = 0;

private:
    std::string m_name;
    std::string m_next;
};

class TestModule : public Module {
public:
    TestModule(const std::string& name, std::list<GC<Feature>> features)
        : m_info(name, "dll", Version(1, 2, 3)), m_features(std::move(features)) {}
    ModuleInfo moduleInfo() const override { return m_info; }
    std::list<GC<Feature>> features() override { return m_features; }

private:
    ModuleInfo m_info;
    std::list<GC<Feature>> m_features;
};

class CountingListener : public LoggingListener {
public:
    void onLogEntry(const std::string&, Logger::Priority, const LogEntry& entry, const StringList&,
                    const DateTime&, double) override {
        texts.push_back(entry.text());
    }
    std::vector<std::string> texts;
};

// ---- fixture ------------------------------------------------------------------------------------

class FrameworkTest : public ::testing::Test {
protected:
    FrameworkTest() : scratch("framework") {}
    void SetUp() override {
        std::lock_guard<std::mutex> lock(storedMutex);
        stored.clear();
    }
    void TearDown() override {
        testing::internal::CaptureStderr();
        QOR::deinit();
        testing::internal::GetCapturedStderr();
        OrvanecfgConfigHandler::setOrvanecfgPath(std::string());
    }

    /// A configuration file with the [GLOBAL] lines given.
    std::string config(const std::string& lines) {
        const std::string path = scratch.file("orvane.cfg");
        std::ofstream(path) << "[GLOBAL]\n" << lines;
        return path;
    }

    /// Starts quietly (the failed start-up is shown on standard error).
    Instance* start(const std::string& lines, std::list<GC<Feature>> features = {}) {
        testing::internal::CaptureStderr();
        Instance* host =
            QOR::init(config(lines).c_str(), ModuleInfo("host", "exe", Version(2, 0)), features);
        startOutput = testing::internal::GetCapturedStderr();
        return host;
    }

    QorTest::ScratchDir scratch;
    std::string startOutput;
};

// ---- start-up -----------------------------------------------------------------------------------

TEST_F(FrameworkTest, StartUpRecordsEveryFailureAndHandsThemToTheConfiguredCollectorInOrder) {
    Instance* host = start("CORE_ENCODING = latin1\nCONFIG_HANDLER = nosuchcfg\n"
                           "LOGGING_HANDLER = nosuchlog\nERROR_INFO_COLLECTOR = recording\n",
                           {GC<Feature>(new RecordingCollectorFeature)});
    ASSERT_NE(host, nullptr);
    const std::vector<Stored> records = storedRecords();
    ASSERT_EQ(records.size(), 3u);
    EXPECT_EQ(records[0].text, "unexpected CORE_ENCODING definition: 'latin1'");
    EXPECT_EQ(records[1].text, "config handler cannot be created");
    EXPECT_EQ(records[1].hint, "config_handler_name='nosuchcfg'");
    EXPECT_EQ(records[2].text, "logging handler cannot be created");
    EXPECT_EQ(records[2].hint,
              "logging_handler_name='nosuchlog'\nthe default logging handler will be used");
    EXPECT_EQ(records[0].module, "QorCommon3");
    // The failed start-up was shown, and the services are the fall-backs.
    EXPECT_NE(startOutput.find("unexpected CORE_ENCODING definition"), std::string::npos);
    GC<LoggingHandler> logging = host->globals()->getLoggingHandler();
    EXPECT_STREQ(logging->typeName(), "Orvane::Core::OrvaneLoggingHandler");
    EXPECT_EQ(logging, Logging::initialHandler());
    EXPECT_STREQ(host->globals()->getConfigHandler()->typeName(),
                 "Orvane::Core::OrvanecfgConfigHandler");
    EXPECT_EQ(host->moduleInfo().name(), "host");
}

TEST_F(FrameworkTest, UnknownCollectorAndRegistryFallBackToTheDefaults) {
    Instance* host = start("ERROR_INFO_COLLECTOR = nosuch\nCLIENT_REGISTRY = nosuchreg\n");
    Globals* globals = host->globals();
    GC<ErrorInfoCollector> collector = globals->getErrorInfoCollector();
    EXPECT_STREQ(collector->typeName(), "Orvane::Core::QOR::DummyErrorInfoCollector");
    // From now on every record reaches the installed collector.
    globals->setErrorInfoCollector(GC<ErrorInfoCollector>(new RecordingCollector));
    GC<ClientRegistry> registry = globals->getClientRegistry();
    ASSERT_TRUE(registry);
    EXPECT_STREQ(registry->typeName(), "Orvane::Core::LoggingClientRegistry");
    EXPECT_TRUE(wasStored("the required client registry cannot be created",
                          "client_registry_name='nosuchreg'\nthe default client regitry will be "
                          "used"));
    EXPECT_EQ(globals->getClientRegistry(), registry);
    EXPECT_TRUE(globals->doClientRegistration().isOk());
}

TEST_F(FrameworkTest, ConfigurationChainFollowsNamedHandlersAndStopsAtALoop) {
    GC<NamingHandlerFeature> first(new NamingHandlerFeature("first", "second"));
    GC<NamingHandlerFeature> second(new NamingHandlerFeature("second", "first"));
    Instance* host = start("CONFIG_HANDLER = first\nERROR_INFO_COLLECTOR = recording\n",
                           {first, second, GC<Feature>(new RecordingCollectorFeature)});
    EXPECT_EQ(first->made, 1);
    EXPECT_EQ(second->made, 1);
    std::string madeBy;
    host->globals()->getConfigHandler()->getEntryAsString("TEST/MADE_BY", madeBy);
    EXPECT_EQ(madeBy, "second");
    const std::vector<Stored> records = storedRecords();
    ASSERT_EQ(records.size(), 1u);
    EXPECT_EQ(records[0].text, "config handler cannot be created");
    EXPECT_EQ(records[0].hint.rfind("config_handler_name='first'\n", 0), 0u);
}

TEST_F(FrameworkTest, AChainWhoseHeadNamesNothingNewEndsWithoutARecord) {
    GC<NamingHandlerFeature> last(new NamingHandlerFeature("last", ""));
    Instance* host = start("CONFIG_HANDLER = last\nAPP_NAME = configured\n"
                           "ERROR_INFO_COLLECTOR = recording\n",
                           {last, GC<Feature>(new RecordingCollectorFeature)});
    EXPECT_EQ(last->made, 1);
    EXPECT_TRUE(storedRecords().empty());
    // The application's name from the full chain overrides the given one; the chain is the
    // library's too.
    EXPECT_EQ(host->hostModuleInfo().name(), "configured");
    EXPECT_EQ(libraryConfigHandler(), host->globals()->getConfigHandler());
}

TEST_F(FrameworkTest, ServicesAskedFromAnotherThreadDuringStartUpGetTemporaryAnswers) {
    struct Seen {
        GC<ConfigHandler> chain;
        GC<LoggingHandler> logging;
        GC<LoggingHandler> initial;
        GC<ClientRegistry> registry;
    } seen;
    // A handler feature of the chain that asks for every service from a thread of its own while
    // start-up waits for it.
    class ProbeFeature : public ConfigHandlerFeature {
    public:
        explicit ProbeFeature(Seen& seen) : m_seen(seen) {}
        const char* name() const override { return "probe"; }
        GC<ConfigHandler> createObject(const GC<ConfigHandler>& chain) override {
            std::thread side([this] {
                Globals* g = globals();
                m_seen.chain = g->getConfigHandler();
                m_seen.logging = g->getLoggingHandler();
                m_seen.initial = Logging::initialHandler();
                g->getErrorInfoCollector()->add(ErrorInfo("from the side thread"),
                                                ModuleInfo("side", "t", Version(1, 0)),
                                                CodeLocation());
                m_seen.registry = g->getClientRegistry();
            });
            side.join();
            return GC<ConfigHandler>(new MemoryConfigHandler(chain));
        }

    private:
        Seen& m_seen;
    };
    Instance* host =
        start("CONFIG_HANDLER = probe\nERROR_INFO_COLLECTOR = recording\n",
              {GC<Feature>(new ProbeFeature(seen)), GC<Feature>(new RecordingCollectorFeature)});
    ASSERT_TRUE(seen.chain);
    EXPECT_STREQ(seen.chain->typeName(), "Orvane::Core::OrvanecfgConfigHandler");
    EXPECT_EQ(seen.logging, seen.initial);
    EXPECT_TRUE(seen.registry);
    EXPECT_NE(host->globals()->getConfigHandler(), seen.chain);
    // Nothing stored meanwhile is lost: the records reach the configured collector once.
    EXPECT_TRUE(wasStored("from the side thread", ""));
    EXPECT_TRUE(wasStored("the qorcommon is under initializetion, config handler still cannot be "
                          "created. the current part of configuration chain is used temporary",
                          ""));
    EXPECT_TRUE(wasStored("the qorcommon is under initializetion, the required client registry "
                          "still cannot be created",
                          "client_registry_name=''\nthe default client regitry will be used "
                          "temporary"));
}

TEST_F(FrameworkTest, AClientsListenersHearStartUpAndTheSettingsOfTheBaseApply) {
    class Listener : public ErrorInfoCollectorListener {
    public:
        void errorInfoAdded(const ErrorInfo& e, const ModuleInfo&, const CodeLocation&) override {
            texts.push_back(e.errorText());
        }
        std::vector<std::string> texts;
    } listener;
    class TestClient : public Client {
    public:
        explicit TestClient(ErrorInfoCollectorListener* l) : m_listener(l) {}
        std::list<ErrorInfoCollectorListener*> getErrorInfoCollectorListners() override {
            return {m_listener};
        }

    private:
        ErrorInfoCollectorListener* m_listener;
    } client(&listener);

    const std::string path =
        config("GUI_PLUGIN = " + scratch.file("nosuchgui") + "\nTHREAD_OBJECT_GC_INTERVAL = 7\n");
    testing::internal::CaptureStderr();
    Instance* host = QOR::init(&client, path.c_str());
    testing::internal::GetCapturedStderr();
    EXPECT_EQ(host->globals()->client(), &client);
    EXPECT_EQ(listener.texts, std::vector<std::string>{"cannot initialize GUI handler"});
    ASSERT_NE(threadLocalVariableGC.load(), nullptr);
    EXPECT_EQ(threadLocalVariableGC.load()->periodSeconds(), 7);
    // The host's identity came from the executable.
    EXPECT_EQ(host->moduleInfo().name(), ApplicationInfo::executableName());
    host->globals()->getErrorInfoCollector()->unregisterListener(&listener);
}

// ---- instances, modules, features ---------------------------------------------------------------

TEST_F(FrameworkTest, ASecondInitReturnsTheSameInstanceAndInitAfterDeinitStartsAfresh) {
    Instance* first = start("");
    Instance* again = QOR::init(ModuleInfo("other", "exe", Version(1, 0)), {});
    EXPECT_EQ(first, again);
    EXPECT_EQ(again->moduleInfo().name(), "host");

    testing::internal::CaptureStderr();
    QOR::deinit();
    testing::internal::GetCapturedStderr();
    EXPECT_FALSE(QOR::isInitialized());
    EXPECT_FALSE(libraryConfigHandler());

    Instance* fresh = start("APP_NAME = fresh\n");
    EXPECT_TRUE(QOR::isInitialized());
    EXPECT_EQ(fresh->hostModuleInfo().name(), "fresh");
}

TEST_F(FrameworkTest, FirstFeatureRegistrationWinsAndLeavesWithItsInstance) {
    Instance* host = start("");
    GC<Feature> a(new NamingHandlerFeature("shared", ""));
    GC<Feature> b(new NamingHandlerFeature("shared", ""));
    TestModule one("one", {a});
    TestModule two("two", {b});
    Instance* i1 = QOR::registerModule(&one);
    Instance* i2 = QOR::registerModule(&two);
    EXPECT_EQ(i1->registeredFeatureIds().size(), 1u);
    EXPECT_TRUE(i2->registeredFeatureIds().empty());
    EXPECT_EQ(host->globals()->getFeature("config_handler", "shared"), a);
    EXPECT_FALSE(host->registerFeature(b));
    EXPECT_FALSE(host->globals()->getFeature("config_handler", "nosuch"));

    QOR::unregisterModule(i1);
    EXPECT_FALSE(host->globals()->getFeature("config_handler", "shared"));
    EXPECT_TRUE(i2->registerFeature(b));
    std::list<Module*> modules = host->globals()->getModules();
    EXPECT_EQ(modules, std::list<Module*>{&two});
}

TEST_F(FrameworkTest, ModulesOfOneUniqueIdShareTheirEntryUntilTheLastInstanceGoes) {
    Instance* host = start("");
    const ModuleInfo info("twin", "dll", Version(1, 0));
    Instance* a = QOR::registerModule(info);
    Instance* b = QOR::registerModule(info);
    EXPECT_NE(a, b);
    auto count = [&] {
        const std::list<ModuleInfo> all = host->globals()->loadedModuleInfos();
        return std::count_if(all.begin(), all.end(),
                             [](const ModuleInfo& m) { return m.name() == "twin"; });
    };
    EXPECT_EQ(count(), 1);
    QOR::unregisterModule(a);
    EXPECT_EQ(count(), 1);
    QOR::unregisterModule(b);
    EXPECT_EQ(count(), 0);
    // The macro of the loaded modules reads the framework's list.
    const std::list<ModuleInfo> listed = loadedModules();
    EXPECT_EQ(listed.front().name(), "QorCommon3");
    EXPECT_EQ(listed.back().name(), "host");
}

TEST_F(FrameworkTest, DeinitWritesEachStageAndDisposesTheRemainingModules) {
    start("");
    const ModuleInfo info("leftover", "dll", Version(4, 5, 6));
    QOR::registerModule(info);
    const std::string text = info.asString().str();
    testing::internal::CaptureStderr();
    QOR::deinit();
    const std::string written = testing::internal::GetCapturedStderr();
    EXPECT_NE(written.find("QorCommon deinit...\nforce dispose...\ndisposing " + text +
                           "...\ndisposing " + text +
                           "... ..done\nforce dispose... ..done\ndetach plugins...\ndetach "
                           "plugins... ..done\nQorCommon deinit... ..done\n"),
              std::string::npos)
        << written;

    // Without a start only the thread-local machinery stops: nothing is written.
    testing::internal::CaptureStderr();
    QOR::deinit();
    EXPECT_EQ(testing::internal::GetCapturedStderr(), "");
}

// ---- services after start-up --------------------------------------------------------------------

TEST_F(FrameworkTest, FrameworkLoggingListenersFollowAReplacedHandler) {
    Instance* host = start("");
    Globals* globals = host->globals();
    GC<CountingListener> listener(new CountingListener);
    EXPECT_TRUE(globals->registerLoggingListener(listener));
    EXPECT_FALSE(globals->registerLoggingListener(listener));
    auto log = [](const GC<Logger>& logger, const std::string& text) {
        logger->addEntry(Logger::Message, LogEntry(LogEntry::General, text, 0), DateTime::now(), 0);
    };
    log(globals->getLoggingHandler()->getLogger(host->moduleInfo()), "one");
    globals->setLoggingHandler(GC<LoggingHandler>(new VoidLoggingHandler));
    GC<Logger> logger = globals->getLoggingHandler()->getLogger(host->moduleInfo());
    log(logger, "two");
    EXPECT_EQ(listener->texts, (std::vector<std::string>{"one", "two"}));
    // The C face hands out loggers of the same handler.
    EXPECT_EQ(libraryLoggingHandler(), globals->getLoggingHandler());
    EXPECT_TRUE(globals->unregisterLoggingListener(listener));
    log(logger, "three");
    EXPECT_EQ(listener->texts.size(), 2u);
}

TEST_F(FrameworkTest, ConfigurationDefinitionNamesTheGlobalEntries) {
    Instance* host = start("");
    GC<ConfigDefinition> definition = host->globals()->getConfigDefinition();
    std::map<std::string, NameInfo> titles;
    for (const GC<ConfigEntryDefinition>& entry : definition->entryDefinitions())
        titles[entry->path()] = entry->nameInfo();
    EXPECT_EQ(titles.size(), 13u);
    EXPECT_EQ(titles["GLOBAL/THREAD_OBJECT_GC_INTERVAL"].name(),
              "Thread Object GC Intervall (secs)");
    EXPECT_EQ(titles["GLOBAL/THREAD_OBJECT_GC_INTERVAL"].description(),
              "Interval of runnung of thread managed object's garbage collector");
    EXPECT_EQ(titles["GLOBAL/PLUGINS"].name(), "Core Layer Plugins");
    EXPECT_EQ(titles["GLOBAL/CONFIG_HANDLER"].description(),
              "Next configuration handler in configuration handler chain.");
}

TEST(FrameworkCTest, VersionIsFilledOnlyWhenAsked) {
    EXPECT_STREQ(qor_GetVersion(nullptr), "3.35.4");
    int version[4] = {0, 0, 0, 0};
    EXPECT_STREQ(qor_GetVersion(version), "3.35.4");
    EXPECT_EQ(version[0], 3);
    EXPECT_EQ(version[1], 35);
    EXPECT_EQ(version[2], 4);
    EXPECT_EQ(version[3], 1);
    EXPECT_EQ(QOR::getVersion().toString(), "3.35.4");
}

} // namespace
