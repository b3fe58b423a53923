// run: the library started as a host, what start-up set up, and a few entries through its
// services.
#include "commands.h"
#include "configchain.h"
#include "hostsession.h"

#include "qorcommon/c/framework.h"
#include "qorcommon/errorinfocollector.h"
#include "qorcommon/fileinfo.h"
#include "qorcommon/framework.h"
#include "qorcommon/globals.h"
#include "qorcommon/logging.h"
#include "qorcommon/memoryconfighandler.h"
#include "qorcommon/orvanelogginghandler.h"
#include "qorcommon/plugin.h"
#include "qorcommon/qorcommonversion.h"

#include <iostream>
#include <map>
#include <mutex>
#include <vector>

namespace Qorctl {

using namespace Orvane::Core;

namespace {

// Hears every record of every collector: the listener list is process-wide, so registering it
// before start-up lets it hear the records of start-up too.
class RecordingErrorListener : public ErrorInfoCollectorListener {
public:
    void errorInfoAdded(const ErrorInfo& errorInfo, const ModuleInfo& moduleInfo,
                        const CodeLocation&) override {
        std::lock_guard<std::mutex> lock(m_mutex);
        std::string text = errorInfo.errorText();
        if (!errorInfo.hint().empty()) text += " (" + errorInfo.hint() + ")";
        // Annotations say which plug-in failed to load and why.
        std::string annotations;
        for (const auto& item : errorInfo.customInfo().values())
            annotations += (annotations.empty() ? "" : ", ") + item.first + "=" + item.second;
        if (!annotations.empty()) text += " {" + annotations + "}";
        m_records.push_back("[" + moduleInfo.name() + "] " + text);
    }
    std::vector<std::string> records() const {
        std::lock_guard<std::mutex> lock(m_mutex);
        return m_records;
    }

private:
    mutable std::mutex m_mutex;
    std::vector<std::string> m_records;
};

class RecordingLoggingListener : public LoggingListener {
public:
    void onLogEntry(const std::string& loggerName, Logger::Priority prio, const LogEntry& entry,
                    const StringList& stack, const DateTime&, double) override {
        std::lock_guard<std::mutex> lock(m_mutex);
        std::string text = std::string(Logger::priorityName(prio)) + " [" + loggerName + "] ";
        text += std::string(2 * stack.size(), ' ');
        switch (entry.context()) {
        case LogEntry::BeginLogging:
            text += "begin " + entry.location().function();
            break;
        case LogEntry::EndLogging:
            text += "end " + entry.location().function();
            break;
        default:
            text += entry.text();
            break;
        }
        m_entries.push_back(text);
    }
    std::vector<std::string> entries() const {
        std::lock_guard<std::mutex> lock(m_mutex);
        return m_entries;
    }

private:
    mutable std::mutex m_mutex;
    std::vector<std::string> m_entries;
};

void storeStep(const GC<Logger>& logger, QOR::Globals* globals) {
    QOR_LOGGING_SCOPE(logger);
    QOR_LOG(Logger::Error, LogEntry(LogEntry::General, "the sample step failed", 0));
    globals->addErrorInfo(ErrorInfo("sample error of qorctl run",
                                    "raised on purpose to show the collector", QOR_CODE_LOCATION));
}

void middleStep(const GC<Logger>& logger, QOR::Globals* globals) {
    QOR_LOGGING_SCOPE(logger);
    QOR_LOG(Logger::Message, LogEntry(LogEntry::General, "calling the sample step", 0));
    storeStep(logger, globals);
}

void outerStep(const GC<Logger>& logger, QOR::Globals* globals) {
    QOR_LOGGING_SCOPE(logger);
    middleStep(logger, globals);
}

void heading(const std::string& text) {
    std::cout << '\n' << Style::paint(text, Style::Bold, Style::outputColoured()) << '\n';
}

// Everything that run shows while the library is started.
void report(const HostSession& host, const RecordingErrorListener& errors) {
    QOR::Globals* globals = host.globals();
    std::cout << "Library: " << QORCOMMON_LIBRARY_NAME << ' ' << qor_GetVersion(nullptr) << '\n';
    std::cout << "Host module: " << globals->hostModuleInfo().asString().str() << '\n';
    std::cout << "Configuration: "
              << (host.fromFile() ? host.file() : "built-in defaults (no " + host.file() + ")")
              << '\n';

    heading("Configuration chain (head to tail):");
    int position = 0;
    for (GC<ConfigHandler> link = globals->getConfigHandler(); link && position < 64;
         link = link->baseConfigHandler())
        std::cout << "  " << ++position << ". " << link->typeName() << '\n';

    heading("Features:");
    std::map<std::string, std::vector<std::string>> byType;
    for (const GC<QOR::Feature>& feature : globals->getFeatures(nullptr))
        byType[feature->type()].push_back(feature->name());
    for (const auto& type : byType) {
        std::string names;
        for (const std::string& name : type.second)
            names += (names.empty() ? "" : ", ") + name;
        std::cout << "  " << type.first << ": " << names << '\n';
    }

    heading("Plug-ins:");
    const std::list<QOR::Plugin*> plugins = globals->getPlugins();
    if (plugins.empty()) std::cout << "  (none)\n";
    for (QOR::Plugin* plugin : plugins)
        std::cout << "  " << plugin->moduleInfo().asString().str() << '\n';

    // Every service handle goes before the library stops: a plug-in's code may be behind it.
    GC<RecordingLoggingListener> entries(new RecordingLoggingListener());
    {
        GC<LoggingHandler> logging = globals->getLoggingHandler();
        heading("Logging:");
        std::cout << "  handler: " << (logging ? logging->typeName() : "(none)") << '\n';
        if (auto* fileLogging = dynamic_cast<OrvaneLoggingHandler*>(logging.ptr()))
            std::cout << "  log file: " << fileLogging->settings()->logFile() << '\n';

        globals->registerLoggingListener(entries);
        {
            GC<Logger> logger =
                logging ? logging->getLogger("qorctl", globals->hostModuleInfo()) : GC<Logger>();
            outerStep(logger, globals);
        }
        globals->unregisterLoggingListener(entries);
    }

    heading("Logging listener received:");
    for (const std::string& entry : entries->entries())
        std::cout << "  " << entry << '\n';
    heading("Error collector listener received:");
    const std::vector<std::string> records = errors.records();
    if (records.empty()) std::cout << "  (nothing)\n";
    for (const std::string& record : records)
        std::cout << "  " << record << '\n';
}

} // namespace

int runCommand(const Context& context) {
    Arguments args("run", context.args, {}, {});
    args.expectPositionals(0, 0);

    RecordingErrorListener errors;
    GC<ErrorInfoCollector> registrar(new QOR::DummyErrorInfoCollector());
    registrar->registerListener(&errors);
    struct Unregister {
        GC<ErrorInfoCollector>& registrar;
        RecordingErrorListener& errors;
        ~Unregister() { registrar->unregisterListener(&errors); }
    } unregister{registrar, errors};
    {
        const HostSession host(context);
        report(host, errors);
    }
    std::cout << "\nStopped.\n";
    return ExitOk;
}

} // namespace Qorctl
