// The state behind Globals and the small helpers that its source files share: globals.cpp (state,
// features, modules, errors), globalsstartup.cpp (init and deinit), globalsservices.cpp (the
// services and their setters) and instance.cpp.
#pragma once

#include "qorcommon/errorinfo.h"
#include "qorcommon/globals.h"
#include "qorcommon/libraryservices.h"
#include "qorcommon/loggingclientregistry.h"
#include "qorcommon/module.h"
#include "qorcommon/mutex.h"
#include "qorcommon/plugin.h"
#include "qorcommon/string.h"

#include "serviceslot.h"

#include <algorithm>
#include <atomic>
#include <cstdint>
#include <list>
#include <map>
#include <memory>
#include <string>
#include <thread>
#include <utility>
#include <vector>

namespace Orvane {
namespace Core {
namespace QOR {
namespace Internal {

const char* const kBaseConfigHandlerPath = "GLOBAL/BASE_CONFIG_HANDLER";
const char* const kConfigHandlerPath = "GLOBAL/CONFIG_HANDLER";
const char* const kLoggingHandlerPath = "GLOBAL/LOGGING_HANDLER";
const char* const kErrorInfoCollectorPath = "GLOBAL/ERROR_INFO_COLLECTOR";
const char* const kClientRegistryPath = "GLOBAL/CLIENT_REGISTRY";
const char* const kGuiPluginPath = "GLOBAL/GUI_PLUGIN";
const char* const kCoreEncodingPath = "GLOBAL/CORE_ENCODING";
const char* const kAppNamePath = "GLOBAL/APP_NAME";
const char* const kAppTypePath = "GLOBAL/APP_TYPE";
const char* const kAppVersionPath = "GLOBAL/APP_VERSION";
const char* const kPluginDirPath = "GLOBAL/PLUGIN_DIR";
const char* const kPluginsPath = "GLOBAL/PLUGINS";
const char* const kGcIntervalPath = "GLOBAL/THREAD_OBJECT_GC_INTERVAL";

inline std::string trimmed(const std::string& text) {
    String s(text);
    s.trim();
    return s.str();
}

/// The value of `path` in `config`, trimmed; "" when there is none.
inline std::string entryOf(const GC<ConfigHandler>& config, const char* path) {
    std::string value;
    if (!config || !config->getEntryAsString(path, value)) return std::string();
    return trimmed(value);
}

/// "{0}" of `pattern` replaced by `value`.
inline std::string withName(const char* pattern, const std::string& value) {
    return String(pattern).a(value).str();
}

/// A record of the framework: the library as origin, the given place.
inline ErrorInfo frameworkError(const std::string& text, const std::string& hint,
                                const CodeLocation& location) {
    return ErrorInfo(getModuleInfo(), location, -1, text, hint);
}

/// The feature as the concrete feature base F, or null.
template <class F> F* featureAs(const GC<Feature>& feature) {
    return dynamic_cast<F*>(feature.ptr());
}

/// Hands every entry on to the listeners registered with the framework, so that they stay
/// attached when the logging handler is replaced.
class FrameworkLoggingListener : public LoggingListener {
public:
    using List = std::vector<GC<LoggingListener>>;

    const char* typeName() const override { return "Orvane::Core::QOR::FrameworkLoggingListener"; }

    void onLogEntry(const std::string& loggerName, Logger::Priority prio, const LogEntry& entry,
                    const StringList& stack, const DateTime& timestamp, double diff) override {
        std::shared_ptr<const List> listeners = snapshot();
        if (!listeners) return;
        for (const GC<LoggingListener>& listener : *listeners)
            listener->onLogEntry(loggerName, prio, entry, stack, timestamp, diff);
    }

    bool add(const GC<LoggingListener>& listener) {
        MutexLocker lock(m_mutex);
        List next = m_listeners ? *m_listeners : List();
        if (std::find(next.begin(), next.end(), listener) != next.end()) return false;
        next.push_back(listener);
        m_listeners = std::make_shared<const List>(std::move(next));
        return true;
    }

    bool remove(const GC<LoggingListener>& listener) {
        std::shared_ptr<const List> previous;
        MutexLocker lock(m_mutex);
        if (!m_listeners) return false;
        List next = *m_listeners;
        auto found = std::find(next.begin(), next.end(), listener);
        if (found == next.end()) return false;
        next.erase(found);
        previous = std::move(m_listeners);
        m_listeners = std::make_shared<const List>(std::move(next));
        lock.unlock();
        return true;
    }

private:
    std::shared_ptr<const List> snapshot() const {
        MutexLocker lock(m_mutex);
        return m_listeners;
    }

    mutable Mutex m_mutex;
    std::shared_ptr<const List> m_listeners;
};

} // namespace Internal

struct Globals::Private {
    struct ModuleEntry {
        ModuleInfo info;
        Module* module = nullptr;
        std::list<Instance*> instances;
    };
    /// The steps of init, one member function each (globalsstartup.cpp).
    class Startup;

    explicit Private(Client* c) : client(c) {}

    Client* client;
    /// The base handler passed to the constructor, or the one init made.
    GC<ConfigHandler> baseConfigHandler;
    GC<LoggingHandler> initialLoggingHandler;
    GC<Internal::FrameworkLoggingListener> loggingListener{new Internal::FrameworkLoggingListener};
    /// The default client registry's feature, told the host and the logging handler once known.
    GC<LoggingClientRegistryFeature> registryFeature{new LoggingClientRegistryFeature};

    Internal::ServiceSlot<ConfigHandler> configHandler;
    /// The chain as far as it is made, for the answers during start-up.
    Internal::ServiceSlot<ConfigHandler> partialChain;
    Internal::ServiceSlot<LoggingHandler> loggingHandler;
    Internal::ServiceSlot<ErrorInfoCollector> collector;
    Internal::ServiceSlot<ClientRegistry> clientRegistry;
    /// Serialises the making of services (recursive: a feature may ask for another service).
    RecursiveMutex serviceMutex;

    /// Guards everything below.
    mutable Mutex stateMutex;
    ModuleInfo host;
    std::map<std::int64_t, GC<Feature>> features;
    std::map<std::uint64_t, ModuleEntry> modules;
    /// Every instance made by registerModule, in registration order.
    std::list<Instance*> instances;
    Instance* hostInstance = nullptr;
    std::list<std::unique_ptr<PluginHolder>> plugins;
    /// Records waiting for the collector.
    std::list<ErrorInfo> gathered;

    Semaphore init_sem{1, 1};
    std::atomic<bool> initializing{false};
    std::atomic<std::thread::id> initThread{};

    void registerClientListeners(const GC<ErrorInfoCollector>& target) {
        if (!client || !target) return;
        for (ErrorInfoCollectorListener* listener : client->getErrorInfoCollectorListners())
            target->registerListener(listener);
    }

    /// True while start-up runs on another thread than the caller's.
    bool initializingElsewhere() const {
        return initializing.load() && initThread.load() != std::this_thread::get_id();
    }
};

} // namespace QOR
} // namespace Core
} // namespace Orvane
