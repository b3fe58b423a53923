// The GUI engine: the provider that hands the library's forms to a GUI plug-in library through
// its C interface (qorcommon/c/guiplugin.h) and brings the answers back, and the callback engine,
// the table of library services offered to the plug-in.
#pragma once

#include "qorcommon/c/guiplugin.h"
#include "qorcommon/gc.h"
#include "qorcommon/guiprovider.h"
#include "qorcommon/libraryloader.h"
#include "qorcommon/mutex.h"

#include <string>

namespace Orvane {
namespace Core {

class Logger;

namespace Internal {

class GuiEngine : public GuiProvider {
public:
    GuiEngine();
    /// Tells the plug-in to shut down and unloads it.
    ~GuiEngine() override;

    /// Loads the library, checks its revision and entry points and lets it initialise itself;
    /// false with the reason, the library unloaded again.
    bool load(const std::string& path, std::string& reason);
    const std::string& path() const;

    Result showError(const GuiRequest& request) override;
    Result showWarning(const GuiRequest& request) override;
    /// Failed without asking when the plug-in has no log-on form.
    Answer logon(const GuiRequest& request, GuiRequest& answer, ErrorInfo& failure) override;

    /// The logger of plug-in messages, for every engine (null: standard error).
    static void setLogger(const GC<Logger>& logger);

private:
    Result show(const GuiRequest& request);
    void unload();

    // One call into the plug-in at a time; recursive, since a plug-in may show a further form
    // from inside a callback.
    RecursiveMutex m_mutex;
    LibraryLoader m_loader;
    std::string m_path;
    gui_HostCallbacks m_callbacks;
    gui_plugin_show_t m_show = nullptr;
    gui_plugin_logon_t m_logon = nullptr;
    gui_plugin_shutdown_t m_shutdown = nullptr;
};

} // namespace Internal
} // namespace Core
} // namespace Orvane
