#include "qorcommon/guiprovider.h"

#include "guiengine.h"
#include "platform/platform.h"
#include "qorcommon/libraryloader.h"
#include "qorcommon/libraryservices.h"
#include "qorcommon/mutex.h"

#include <cctype>
#include <utility>

namespace Orvane {
namespace Core {

GuiProvider::~GuiProvider() = default;

// ---- the text provider ------------------------------------------------------------------------

namespace {

const char* titleOf(const std::string& requestName) {
    if (requestName == GuiRequest::ShowErrorName) return "Error";
    if (requestName == GuiRequest::ShowWarningName) return "Warning";
    if (requestName == GuiRequest::LogonName) return "Log-on";
    return nullptr;
}

// A field name without its kind mark, as a person reads it.
std::string labelOf(const std::string& name) {
    return GuiRequest::isNumberField(name) || GuiRequest::isSecretField(name) ? name.substr(1)
                                                                              : name;
}

Result writeText(std::FILE* out, const std::string& text) {
    if (std::fputs(text.c_str(), out) < 0 || std::fflush(out) != 0)
        return Result(
            ErrorInfo("cannot write the form as text: " + Platform::lastSystemErrorText()), false);
    return true;
}

} // namespace

TextGuiProvider::TextGuiProvider() : m_out(stderr) {}

TextGuiProvider::TextGuiProvider(std::FILE* out) : m_out(out ? out : stderr) {}

TextGuiProvider::~TextGuiProvider() = default;

std::string TextGuiProvider::formatRequest(const GuiRequest& request) {
    const char* title = titleOf(request.name());
    const std::string titleLine = "==== " + (title ? std::string(title) : request.name()) + " ====";
    std::string text = titleLine + "\n";
    for (const GuiRequest::Field& field : request.fields()) {
        text += labelOf(field.first) + ":";
        if (!field.second.empty()) {
            if (GuiRequest::isSecretField(field.first)) {
                text += " (hidden)";
            } else {
                text += ' ';
                // Further lines are indented so that a multi-line value reads as one field.
                for (const char character : field.second) {
                    text += character;
                    if (character == '\n') text += "  ";
                }
            }
        }
        text += '\n';
    }
    text.append(titleLine.size(), '=');
    text += '\n';
    return text;
}

Result TextGuiProvider::showError(const GuiRequest& request) {
    return writeText(m_out, formatRequest(request));
}

Result TextGuiProvider::showWarning(const GuiRequest& request) {
    return writeText(m_out, formatRequest(request));
}

GuiProvider::Answer TextGuiProvider::logon(const GuiRequest& request, GuiRequest& answer,
                                           ErrorInfo& failure) {
    // Without a person at a terminal nobody could answer: a service or a test must not hang.
    if (!Platform::isStandardInputTerminal()) {
        writeText(m_out, "Log-on cancelled: standard input is not a terminal\n");
        return Cancelled;
    }
    // One form at a time owns the terminal, so that the prompts of two forms do not mix.
    static Mutex* const terminal = new Mutex;
    MutexLocker lock(*terminal);
    const Result written = writeText(m_out, formatRequest(request));
    if (!written) {
        failure = written.errorInfo();
        return Failed;
    }
    GuiRequest given = answer;
    for (const GuiRequest::Field& field : answer.fields()) {
        const bool secret = GuiRequest::isSecretField(field.first);
        std::string prompt = labelOf(field.first);
        if (!secret && !field.second.empty()) prompt += " [" + field.second + "]";
        prompt += ": ";
        writeText(m_out, prompt);
        std::string line;
        const bool read = Platform::readStandardInputLine(line, !secret);
        // The terminal did not echo the line end of a hidden answer.
        if (secret) writeText(m_out, "\n");
        if (!read) {
            writeText(m_out, secret ? "Log-on cancelled\n" : "\nLog-on cancelled\n");
            return Cancelled;
        }
        if (!line.empty()) given.setField(field.first, line);
    }
    answer = given;
    return Accepted;
}

// ---- the current provider ---------------------------------------------------------------------

namespace {

struct GuiState {
    Mutex mutex;
    std::shared_ptr<GuiProvider> defaultProvider = std::make_shared<TextGuiProvider>();
    // Null while the default provider is current.
    std::shared_ptr<GuiProvider> current;
    bool hookInstalled = false;
    Result::ShowErrorHandler previousHandler = nullptr;
    void* previousContext = nullptr;
    // The plug-in loaded by initGuiProvider and the provider it replaced.
    std::shared_ptr<GuiProvider> initPlugin;
    std::shared_ptr<GuiProvider> beforeInitPlugin;
};

// Never destroyed: errors may still be shown while static objects are torn down.
GuiState& state() {
    static GuiState* guiState = new GuiState;
    return *guiState;
}

void reportFallback(const Result& failure) {
    const std::string text =
        "(the GUI provider could not show this form: " + failure.errorInfo().errorText() +
        (failure.errorInfo().hint().empty() ? std::string() : "; " + failure.errorInfo().hint()) +
        ")\n";
    std::fputs(text.c_str(), stderr);
    std::fflush(stderr);
}

// The show-error handler of Result::showError while the provider is installed.
void showThroughProvider(const ErrorInfo& errorInfo, const CodeLocation&, int x, int y, void*) {
    GuiRequest request = GuiRequest::showError(errorInfo);
    request.setPosition(x, y);
    guiShowError(request);
}

std::string withLibrarySuffix(const std::string& path) {
    const std::string suffix = LibraryLoader::suffix();
    if (path.size() >= suffix.size()) {
        bool same = true;
        for (std::size_t i = 0; i < suffix.size(); ++i) {
            const auto a = static_cast<unsigned char>(path[path.size() - suffix.size() + i]);
            const auto b = static_cast<unsigned char>(suffix[i]);
            if (std::tolower(a) != std::tolower(b)) same = false;
        }
        if (same) return path;
    }
    return path + suffix;
}

Result loadPlugin(const std::string& path, std::shared_ptr<GuiProvider>& loaded) {
    const std::string file = withLibrarySuffix(path);
    auto engine = std::make_shared<Internal::GuiEngine>();
    std::string reason;
    if (!engine->load(file, reason)) {
        CustomInfo info;
        info.set("gui_plugin", file);
        info.set("reason", reason);
        return Result(ErrorInfo(QOR::getModuleInfo(), QOR_CODE_LOCATION, -1,
                                "cannot load GUI plug-in '" + file + "'", reason, info),
                      false);
    }
    loaded = std::move(engine);
    return true;
}

} // namespace

std::shared_ptr<GuiProvider> guiProvider() {
    GuiState& s = state();
    MutexLocker lock(s.mutex);
    return s.current ? s.current : s.defaultProvider;
}

std::shared_ptr<GuiProvider> setGuiProvider(std::shared_ptr<GuiProvider> provider) {
    GuiState& s = state();
    MutexLocker lock(s.mutex);
    std::shared_ptr<GuiProvider> previous = s.current ? s.current : s.defaultProvider;
    s.current = provider == s.defaultProvider ? nullptr : std::move(provider);
    return previous;
}

std::shared_ptr<GuiProvider> defaultGuiProvider() {
    GuiState& s = state();
    MutexLocker lock(s.mutex);
    return s.defaultProvider;
}

void guiShowError(const GuiRequest& request) {
    const std::shared_ptr<GuiProvider> provider = guiProvider();
    const Result shown = provider->showError(request);
    if (shown) return;
    const std::shared_ptr<GuiProvider> text = defaultGuiProvider();
    if (provider != text && text->showError(request)) reportFallback(shown);
}

void guiShowWarning(const GuiRequest& request) {
    const std::shared_ptr<GuiProvider> provider = guiProvider();
    const Result shown = provider->showWarning(request);
    if (shown) return;
    const std::shared_ptr<GuiProvider> text = defaultGuiProvider();
    if (provider != text && text->showWarning(request)) reportFallback(shown);
}

GuiProvider::Answer guiLogon(const GuiRequest& request, GuiRequest& answer) {
    const std::shared_ptr<GuiProvider> provider = guiProvider();
    ErrorInfo failure;
    const GuiProvider::Answer result = provider->logon(request, answer, failure);
    const std::shared_ptr<GuiProvider> text = defaultGuiProvider();
    if (result != GuiProvider::Failed || provider == text) return result;
    return text->logon(request, answer, failure);
}

Result loadGuiPlugin(const std::string& path) {
    std::shared_ptr<GuiProvider> loaded;
    const Result result = loadPlugin(path, loaded);
    if (result) setGuiProvider(std::move(loaded));
    return result;
}

bool unloadGuiPlugin() {
    GuiState& s = state();
    std::shared_ptr<GuiProvider> released;
    std::shared_ptr<GuiProvider> initPlugin;
    {
        MutexLocker lock(s.mutex);
        if (!dynamic_cast<Internal::GuiEngine*>(s.current.get())) return false;
        released = std::move(s.current);
        if (released == s.initPlugin) initPlugin = std::move(s.initPlugin);
    }
    // Released outside the lock: unloading calls into the plug-in.
    return true;
}

bool isGuiPluginLoaded() {
    GuiState& s = state();
    MutexLocker lock(s.mutex);
    return dynamic_cast<Internal::GuiEngine*>(s.current.get()) != nullptr;
}

void setGuiLogger(const GC<Logger>& logger) {
    Internal::GuiEngine::setLogger(logger);
}

Result initGuiProvider(const std::string& pluginPath) {
    GuiState& s = state();
    {
        MutexLocker lock(s.mutex);
        if (!s.hookInstalled) {
            s.previousHandler =
                Result::setShowErrorHandler(&showThroughProvider, nullptr, &s.previousContext);
            s.hookInstalled = true;
        }
    }
    if (pluginPath.empty()) return true;

    std::shared_ptr<GuiProvider> loaded;
    const Result result = loadPlugin(pluginPath, loaded);
    if (!result) {
        CustomInfo info = result.errorInfo().customInfo();
        return Result(ErrorInfo(QOR::getModuleInfo(), QOR_CODE_LOCATION, -1,
                                "cannot initialize GUI handler", result.errorInfo().hint(), info),
                      false);
    }
    // Providers replaced here are released after the lock: unloading calls into a plug-in.
    std::shared_ptr<GuiProvider> replaced;
    std::shared_ptr<GuiProvider> previousPlugin;
    {
        MutexLocker lock(s.mutex);
        if (!s.initPlugin) s.beforeInitPlugin = s.current;
        previousPlugin = std::move(s.initPlugin);
        replaced = std::move(s.current);
        s.current = loaded;
        s.initPlugin = std::move(loaded);
    }
    return true;
}

void deinitGuiProvider() {
    GuiState& s = state();
    std::shared_ptr<GuiProvider> released;
    std::shared_ptr<GuiProvider> plugin;
    {
        MutexLocker lock(s.mutex);
        if (s.hookInstalled) {
            void* theirContext = nullptr;
            const Result::ShowErrorHandler current =
                Result::setShowErrorHandler(s.previousHandler, s.previousContext, &theirContext);
            // Someone replaced the provider's handler meanwhile: theirs stays.
            if (current != &showThroughProvider) Result::setShowErrorHandler(current, theirContext);
            s.hookInstalled = false;
            s.previousHandler = nullptr;
            s.previousContext = nullptr;
        }
        if (s.initPlugin && s.current == s.initPlugin) {
            released = std::move(s.current);
            s.current = std::move(s.beforeInitPlugin);
        }
        plugin = std::move(s.initPlugin);
        s.beforeInitPlugin.reset();
    }
    // Released outside the lock: unloading calls into the plug-in.
}

} // namespace Core
} // namespace Orvane
