#include "guiengine.h"

#include "qorcommon/logentry.h"
#include "qorcommon/logging.h"
#include "qorcommon/qorcommonversion.h"

#include <cstdio>
#include <vector>

namespace Orvane {
namespace Core {
namespace Internal {

namespace {

struct LoggerSlot {
    Mutex mutex;
    GC<Logger> logger;
};

// Never destroyed: a plug-in may log while static objects are torn down.
LoggerSlot& loggerSlot() {
    static LoggerSlot* slot = new LoggerSlot;
    return *slot;
}

// The callback engine's log entry: called from C, so nothing may escape.
void logFromPlugin(void*, int priority, const char* text) {
    try {
        const std::string message = text ? text : "";
        const auto prio = static_cast<Logger::Priority>(priority);
        LoggerSlot& slot = loggerSlot();
        slot.mutex.lock();
        const GC<Logger> logger = slot.logger;
        slot.mutex.unlock();
        if (logger) {
            logger->addEntry(prio, LogEntry::fromGeneralMessage(message), DateTime::now(), 0.0);
            return;
        }
        const char* name = Logger::priorityName(prio);
        const std::string line = std::string("GUI plug-in ") +
                                 (*name ? name : std::to_string(priority).c_str()) + ": " +
                                 message + "\n";
        std::fputs(line.c_str(), stderr);
        std::fflush(stderr);
    } catch (...) {
    }
}

// The fields of a request as the two arrays of C texts the plug-in reads.
struct FieldArrays {
    explicit FieldArrays(const GuiRequest& request) {
        for (const GuiRequest::Field& field : request.fields()) {
            names.push_back(field.first.c_str());
            values.push_back(field.second.c_str());
        }
    }
    unsigned count() const { return static_cast<unsigned>(names.size()); }
    const char* const* nameArray() const { return names.empty() ? nullptr : names.data(); }
    const char* const* valueArray() const { return values.empty() ? nullptr : values.data(); }

    std::vector<const char*> names;
    std::vector<const char*> values;
};

// Collects log-on answers; the plug-in can only fill fields that the form asked for.
struct AnswerCollector {
    GuiRequest* answer;
    bool failed = false;
};

void setAnswerFromPlugin(void* context, const char* name, const char* value) {
    auto* collector = static_cast<AnswerCollector*>(context);
    if (!collector || !name) return;
    try {
        if (collector->answer->hasField(name))
            collector->answer->setField(name, value ? value : "");
    } catch (...) {
        collector->failed = true;
    }
}

ErrorInfo pluginError(const std::string& text, const std::string& path) {
    ErrorInfo error(text);
    error.customInfo().set("gui_plugin", path);
    return error;
}

} // namespace

GuiEngine::GuiEngine() : m_callbacks() {
    m_callbacks.size = sizeof(gui_HostCallbacks);
    m_callbacks.apiRevision = GUI_PLUGIN_API_REVISION;
    m_callbacks.libraryVersion = QORCOMMON_VERSION_STRING;
    m_callbacks.host = this;
    m_callbacks.log = &logFromPlugin;
}

GuiEngine::~GuiEngine() {
    unload();
}

void GuiEngine::unload() {
    RecursiveMutexLocker lock(m_mutex);
    if (m_shutdown) m_shutdown();
    m_show = nullptr;
    m_logon = nullptr;
    m_shutdown = nullptr;
    m_loader.unload();
}

bool GuiEngine::load(const std::string& path, std::string& reason) {
    RecursiveMutexLocker lock(m_mutex);
    unload();
    m_path = path;
    if (!m_loader.load(path)) {
        reason = m_loader.errorText();
        return false;
    }
    // The loader keeps only its last failure, so each required entry point is checked at once.
    const auto revision =
        m_loader.function<gui_plugin_getApiRevision_t>(GUI_PLUGIN_GET_API_REVISION);
    const auto show = revision ? m_loader.function<gui_plugin_show_t>(GUI_PLUGIN_SHOW) : nullptr;
    if (!show) {
        reason = "'" + path + "' is no GUI plug-in: " + m_loader.errorText();
        m_loader.unload();
        return false;
    }
    const int found = revision();
    if (found != GUI_PLUGIN_API_REVISION) {
        reason = "'" + path + "' implements GUI plug-in revision " + std::to_string(found) +
                 ", the library needs revision " + std::to_string(GUI_PLUGIN_API_REVISION);
        m_loader.unload();
        return false;
    }
    // Optional entry points: a missing one is no failure.
    const auto init = reinterpret_cast<gui_plugin_init_t>(m_loader.symbol(GUI_PLUGIN_INIT));
    if (init && init(&m_callbacks) == 0) {
        reason = "the GUI plug-in '" + path + "' refused to initialise";
        m_loader.unload();
        return false;
    }
    m_show = show;
    m_logon = reinterpret_cast<gui_plugin_logon_t>(m_loader.symbol(GUI_PLUGIN_LOGON));
    m_shutdown = reinterpret_cast<gui_plugin_shutdown_t>(m_loader.symbol(GUI_PLUGIN_SHUTDOWN));
    return true;
}

const std::string& GuiEngine::path() const {
    return m_path;
}

Result GuiEngine::show(const GuiRequest& request) {
    const FieldArrays fields(request);
    RecursiveMutexLocker lock(m_mutex);
    if (!m_show) return Result(pluginError("no GUI plug-in is loaded", m_path), false);
    if (m_show(request.name().c_str(), fields.count(), fields.nameArray(), fields.valueArray(),
               request.x(), request.y()) == 1) {
        return true;
    }
    return Result(
        pluginError("the GUI plug-in did not show the form '" + request.name() + "'", m_path),
        false);
}

Result GuiEngine::showError(const GuiRequest& request) {
    return show(request);
}

Result GuiEngine::showWarning(const GuiRequest& request) {
    return show(request);
}

GuiProvider::Answer GuiEngine::logon(const GuiRequest& request, GuiRequest& answer,
                                     ErrorInfo& failure) {
    const FieldArrays fields(request);
    const GuiRequest asked = answer;
    const FieldArrays questions(asked);
    RecursiveMutexLocker lock(m_mutex);
    if (!m_logon) {
        failure = pluginError("the GUI plug-in has no log-on form", m_path);
        return Failed;
    }
    AnswerCollector collector{&answer};
    const int outcome = m_logon(request.name().c_str(), fields.count(), fields.nameArray(),
                                fields.valueArray(), questions.count(), questions.nameArray(),
                                questions.valueArray(), &setAnswerFromPlugin, &collector);
    if (collector.failed) {
        answer = asked;
        failure = pluginError("the answers of the GUI plug-in could not be kept", m_path);
        return Failed;
    }
    if (outcome == 1) return Accepted;
    answer = asked;
    if (outcome == 0) return Cancelled;
    failure = pluginError(
        "the GUI plug-in failed to ask the log-on form (" + std::to_string(outcome) + ")", m_path);
    return Failed;
}

void GuiEngine::setLogger(const GC<Logger>& logger) {
    LoggerSlot& slot = loggerSlot();
    GC<Logger> previous;
    slot.mutex.lock();
    previous = slot.logger;
    slot.logger = logger;
    slot.mutex.unlock();
}

} // namespace Internal
} // namespace Core
} // namespace Orvane
