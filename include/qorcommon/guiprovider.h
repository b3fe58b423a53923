// User interaction: the provider that shows error and warning forms and asks for log-on data.
// The default provider writes forms as text to standard error; a GUI plug-in library
// (GLOBAL/GUI_PLUGIN) can take its place.
#pragma once

#include "qorcommon/errorinfo.h"
#include "qorcommon/export.h"
#include "qorcommon/result.h"

#include <string>

namespace Orvane {
namespace Core {

/// Installs the default provider as the show-error handler of Result::showError and, when
/// `pluginPath` is not empty, loads the GUI plug-in library at that path (the platform's library
/// suffix is added when missing) and lets it show forms from then on. A failure is the error
/// "cannot initialize GUI handler" with the reason; the default provider stays in place.
QORCOMMON_API Result initGuiProvider(const std::string& pluginPath);
/// Unloads the GUI plug-in and restores the show-error handler that was in place before.
QORCOMMON_API void deinitGuiProvider();

} // namespace Core
} // namespace Orvane
