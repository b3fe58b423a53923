#include "qorcommon/clientregistry.h"
#include "qorcommon/confighandler.h"
#include "qorcommon/libraryservices.h"
#include "qorcommon/loggingclientregistry.h"

#include <gtest/gtest.h>

#include <mutex>
#include <string>
#include <thread>
#include <vector>

using namespace Orvane::Core;

namespace {

const ModuleInfo kHost("host", "exe", Version(1, 0, 0));
const ModuleInfo kPlugin("plugin", "dll", Version(2, 1, 0));
const ModuleInfo kPart("part", "dll", Version(0, 3, 0));

// Hears every entry of a handler's loggers: "<logger>|<priority name>|<text>".
class Lines : public LoggingListener {
public:
    void onLogEntry(const std::string& loggerName, Logger::Priority prio, const LogEntry& entry,
                    const StringList&, const DateTime&, double) override {
        std::lock_guard<std::mutex> lock(m_mutex);
        m_lines.push_back(loggerName + "|" + Logger::priorityName(prio) + "|" + entry.text());
    }
    std::vector<std::string> take() {
        std::lock_guard<std::mutex> lock(m_mutex);
        std::vector<std::string> lines;
        lines.swap(m_lines);
        return lines;
    }

private:
    std::mutex m_mutex;
    std::vector<std::string> m_lines;
};

struct Captured {
    GC<LoggingHandler> handler{new QOR::VoidLoggingHandler};
    GC<Lines> lines{new Lines};
    Captured() { handler->loggerHelper()->registerListener(GC<LoggingListener>(lines)); }
};

std::vector<std::string> namesOf(const std::list<GC<ClientRegistryModule>>& records) {
    std::vector<std::string> names;
    for (const auto& record : records)
        names.push_back(record->moduleInfo().name());
    return names;
}

TEST(ClientRegistry, BaseCannotListModules) {
    class Minimal : public ClientRegistry {
    public:
        Minimal() : ClientRegistry(kHost) {}
        Result registerModule(const ModuleInfo&, GC<ClientRegistryModule>*) override {
            return true;
        }
        Result registerModule(const GC<ClientRegistryModule>&, const ModuleInfo&,
                              GC<ClientRegistryModule>*) override {
            return true;
        }
        Result unregisterModule(const GC<ClientRegistryModule>&) override { return true; }
    };
    GC<ClientRegistry> registry(new Minimal);
    EXPECT_EQ(registry->clientInfo(), kHost);
    std::list<GC<ClientRegistryModule>> out;
    for (const Result& result : {registry->getRegisteredModules(out),
                                 registry->getRegisteredModules(GC<ClientRegistryModule>(), out)}) {
        EXPECT_FALSE(result.isOk());
        EXPECT_EQ(result.errorInfo().errorText(), "not supported functionality");
        EXPECT_EQ(result.errorInfo().moduleInfo(), QOR::getModuleInfo());
        EXPECT_EQ(result.errorInfo().codeLocation().function(),
                  "Orvane::Core::ClientRegistry::getRegisteredModules");
    }
    EXPECT_TRUE(out.empty());
}

TEST(LoggingClientRegistry, LogsEachModuleOnceAndListsTheTree) {
    Captured log;
    LoggingClientRegistry registry(kHost, log.handler);
    GC<ClientRegistryModule> host, plugin, again;
    ASSERT_TRUE(registry.registerModule(kHost, &host).isOk());
    ASSERT_TRUE(registry.registerModule(host, kPlugin, &plugin).isOk());
    ASSERT_TRUE(registry.registerModule(plugin, kPart, nullptr).isOk());
    ASSERT_TRUE(registry.registerModule(kHost, &again).isOk()); // known: same record, no line
    EXPECT_EQ(again.ptr(), host.ptr());
    EXPECT_EQ(plugin->parent().ptr(), host.ptr());
    EXPECT_EQ(log.lines->take(),
              (std::vector<std::string>{
                  "host|Info|module registered: host (exe) 1.0.0",
                  "host|Info|module registered: plugin (dll) 2.1.0 under host (exe) 1.0.0",
                  "host|Info|module registered: part (dll) 0.3.0 under plugin (dll) 2.1.0"}));

    std::list<GC<ClientRegistryModule>> out{plugin}; // replaced, not appended to
    ASSERT_TRUE(registry.getRegisteredModules(out).isOk());
    EXPECT_EQ(namesOf(out), std::vector<std::string>{"host"});
    ASSERT_TRUE(registry.getRegisteredModules(plugin, out).isOk());
    EXPECT_EQ(namesOf(out), std::vector<std::string>{"part"});

    // Unregistering takes the subtree, one line per module, the record first.
    ASSERT_TRUE(registry.unregisterModule(plugin).isOk());
    EXPECT_EQ(log.lines->take(),
              (std::vector<std::string>{"host|Info|module unregistered: plugin (dll) 2.1.0",
                                        "host|Info|module unregistered: part (dll) 0.3.0"}));
    ASSERT_TRUE(registry.getRegisteredModules(host, out).isOk());
    EXPECT_TRUE(out.empty());

    // Records no longer (or never) in the registry are refused.
    EXPECT_EQ(registry.unregisterModule(plugin).errorInfo().errorText(),
              "module is not registered");
    EXPECT_EQ(registry.registerModule(plugin, kPart, nullptr).errorInfo().errorText(),
              "parent module is not registered");
    EXPECT_FALSE(registry.getRegisteredModules(plugin, out).isOk());
    EXPECT_TRUE(log.lines->take().empty());
}

TEST(LoggingClientRegistry, ConcurrentRegistrationsAllArrive) {
    Captured log;
    LoggingClientRegistry registry(kHost, log.handler);
    GC<ClientRegistryModule> host;
    registry.registerModule(kHost, &host);
    constexpr int kThreads = 4, kModules = 50;
    std::vector<std::thread> threads;
    for (int t = 0; t < kThreads; ++t) {
        threads.emplace_back([&, t] {
            for (int i = 0; i < kModules; ++i) {
                const ModuleInfo info("m" + std::to_string(t) + "_" + std::to_string(i), "dll",
                                      Version(1, 0, 0));
                registry.registerModule(host, info, nullptr);
            }
        });
    }
    for (auto& thread : threads)
        thread.join();
    std::list<GC<ClientRegistryModule>> out;
    registry.getRegisteredModules(host, out);
    EXPECT_EQ(out.size(), static_cast<std::size_t>(kThreads * kModules));
    EXPECT_EQ(log.lines->take().size(), static_cast<std::size_t>(1 + kThreads * kModules));
}

TEST(LoggingClientRegistryFeature, MakesRegistriesForTheClientAndHandlerItWasGiven) {
    QOR::LoggingClientRegistryFeature feature;
    EXPECT_STREQ(feature.type(), "client_registry");
    EXPECT_STREQ(feature.name(), "logging");
    EXPECT_EQ(feature.nameInfo().name(), "Logging Client Registry");

    // Until it is told otherwise: an unnamed client, logging through the initial handler.
    Captured initial;
    Logging::setInitialHandler(initial.handler);
    GC<ClientRegistry> first = feature.createObject(GC<ConfigHandler>());
    first->registerModule(kPlugin, nullptr);
    Logging::setInitialHandler(GC<LoggingHandler>());
    EXPECT_EQ(
        initial.lines->take(),
        std::vector<std::string>{"client_registry|Info|module registered: plugin (dll) 2.1.0"});

    Captured log;
    feature.setClientInfo(kHost);
    feature.setLoggingHandler(log.handler);
    GC<ClientRegistry> second = feature.createObject(GC<ConfigHandler>());
    EXPECT_EQ(second->clientInfo(), kHost);
    second->registerModule(kPart, nullptr);
    EXPECT_EQ(log.lines->take(),
              std::vector<std::string>{"host|Info|module registered: part (dll) 0.3.0"});
    EXPECT_TRUE(initial.lines->take().empty());
}

} // namespace
