// The C face of the GUI plug-in loader.
#include "qorcommon/c/gui.h"

#include "cboundary.h"
#include "ctext.h"
#include "qorcommon/guiprovider.h"

#include <string>

using namespace Orvane::Core;
using namespace Orvane::Core::CApi;

namespace {

struct GuiBuffers {
    std::string lastError;
};

} // namespace

extern "C" {

QORCOMMON_API short gui_load(const char* path) noexcept {
    return QOR_C_GUARDED(cBool(false), [&] {
        std::string& lastError = threadBuffers<GuiBuffers>().lastError;
        if (!QOR_CHECK(path)) {
            lastError = "no path given";
            return cBool(false);
        }
        const Result loaded = loadGuiPlugin(path);
        lastError = loaded ? std::string()
                           : loaded.errorInfo().errorText() + ": " + loaded.errorInfo().hint();
        return cBool(loaded.isOk());
    });
}

QORCOMMON_API short gui_unload(void) noexcept {
    return QOR_C_GUARDED(cBool(false), [] { return cBool(unloadGuiPlugin()); });
}

QORCOMMON_API short gui_isLoaded(void) noexcept {
    return QOR_C_GUARDED(cBool(false), [] { return cBool(isGuiPluginLoaded()); });
}

QORCOMMON_API const char* gui_lastError(void) noexcept {
    return QOR_C_GUARDED(kEmptyText, [] { return threadBuffers<GuiBuffers>().lastError.c_str(); });
}

} // extern "C"
