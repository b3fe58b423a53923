// User interaction: the provider that shows error and warning forms and asks for log-on data.
// The default provider writes forms as text to standard error; a GUI plug-in library
// (GLOBAL/GUI_PLUGIN, see qorcommon/c/guiplugin.h) or a provider of the host can take its place.
//
//     initGuiProvider(pluginPath);     // Result::showError now goes through the provider
//     GuiRequest answer = GuiRequest::logonAnswer("alice");
//     if (guiLogon(GuiRequest::logon("Inventory"), answer) == GuiProvider::Accepted) ...
#pragma once

#include "qorcommon/errorinfo.h"
#include "qorcommon/export.h"
#include "qorcommon/gc.h"
#include "qorcommon/guirequest.h"
#include "qorcommon/result.h"

#include <cstdio>
#include <memory>
#include <string>

namespace Orvane {
namespace Core {

class Logger;

/// Shows forms to the user. Implementations are called from any thread, possibly from several at
/// once; a provider that needs one thread serialises its calls itself.
class QORCOMMON_API GuiProvider {
public:
    /// How a log-on form ended.
    enum Answer { Accepted = 1, Cancelled = 0, Failed = -1 };

    GuiProvider() = default;
    GuiProvider(const GuiProvider&) = delete;
    GuiProvider& operator=(const GuiProvider&) = delete;
    virtual ~GuiProvider();

    /// Shows a "show_error" form; a failure says why it could not be shown.
    virtual Result showError(const GuiRequest& request) = 0;
    /// Shows a "show_warning" form; a failure says why it could not be shown.
    virtual Result showWarning(const GuiRequest& request) = 0;
    /// Shows a "logon" form and asks the fields of `answer`, whose values are the pre-filled
    /// answers and, when Accepted, the user's. On Failed, `failure` says why.
    virtual Answer logon(const GuiRequest& request, GuiRequest& answer, ErrorInfo& failure) = 0;
};

/// The default provider: forms as text blocks on a stream (standard error), log-on answers read
/// from standard input when it is a terminal.
///
///     ==== Error ====
///     err_datetime: 2024-01-31T23:59:59
///     err_errorHint: first line
///       second line
///     ===============
class QORCOMMON_API TextGuiProvider : public GuiProvider {
public:
    /// Writes to standard error.
    TextGuiProvider();
    /// Writes to `out` (not owned; kept open by the caller).
    explicit TextGuiProvider(std::FILE* out);
    ~TextGuiProvider() override;

    Result showError(const GuiRequest& request) override;
    Result showWarning(const GuiRequest& request) override;
    /// Cancelled at once when standard input is not a terminal; otherwise each answer field is
    /// asked in turn (an empty line keeps the pre-filled value, secrets are read without echo,
    /// end of input cancels).
    Answer logon(const GuiRequest& request, GuiRequest& answer, ErrorInfo& failure) override;

    /// The text block of a request, as written: the title line "==== Error ====" ("Warning",
    /// "Log-on", else the request name), one "name: value" line per field (the name without its
    /// kind mark "#" or "*"; "name:" for an empty value, "(hidden)" for a secret with a value,
    /// further lines of a value indented by two blanks) and a closing line of "=" as long as the
    /// title line; every line ends in "\n".
    static std::string formatRequest(const GuiRequest& request);

private:
    std::FILE* m_out;
};

/// The current provider of the process; the shared default text provider until another is set.
/// Never null. Thread-safe.
QORCOMMON_API std::shared_ptr<GuiProvider> guiProvider();
/// Makes `provider` current (null: the default text provider) and returns the previous one. A
/// provider that is showing a form while it is replaced finishes that form. Thread-safe.
QORCOMMON_API std::shared_ptr<GuiProvider> setGuiProvider(std::shared_ptr<GuiProvider> provider);
/// The default text provider (writing to standard error).
QORCOMMON_API std::shared_ptr<GuiProvider> defaultGuiProvider();

// Showing through the current provider. When it fails, the default text provider shows the form
// instead, followed by the reason, so that no form is lost for want of a display.
QORCOMMON_API void guiShowError(const GuiRequest& request);
QORCOMMON_API void guiShowWarning(const GuiRequest& request);
/// Failed only when the text provider fails as well.
QORCOMMON_API GuiProvider::Answer guiLogon(const GuiRequest& request, GuiRequest& answer);

/// Loads a GUI plug-in library (the platform's library suffix is added when missing) and makes
/// it the current provider. A failure carries the reason as hint and as annotation "reason";
/// the current provider stays.
QORCOMMON_API Result loadGuiPlugin(const std::string& path);
/// Makes the default text provider current again when a plug-in is current; the plug-in is
/// unloaded once the last form it shows has returned. False when no plug-in was current.
QORCOMMON_API bool unloadGuiPlugin();
/// Whether a GUI plug-in is the current provider.
QORCOMMON_API bool isGuiPluginLoaded();
/// The logger that messages of GUI plug-ins go to (null: standard error).
QORCOMMON_API void setGuiLogger(const GC<Logger>& logger);

/// Installs the provider as the show-error handler of Result::showError (once, keeping the
/// previous handler) and, when `pluginPath` is not empty, loads the GUI plug-in library at that
/// path (see loadGuiPlugin) and lets it show forms from then on. A failure is the error
/// "cannot initialize GUI handler" of the library's module with the reason as hint and under the
/// annotation "reason", and the path as "gui_plugin"; the default provider stays in place.
QORCOMMON_API Result initGuiProvider(const std::string& pluginPath);
/// Unloads the GUI plug-in loaded by initGuiProvider (restoring the provider current before it)
/// and restores the show-error handler that was in place before, unless another handler has
/// replaced the provider's since.
QORCOMMON_API void deinitGuiProvider();

} // namespace Core
} // namespace Orvane
