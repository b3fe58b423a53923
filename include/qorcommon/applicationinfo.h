// Facts about the running process: its executable, version, user and computer.
#pragma once

#include "qorcommon/export.h"

#include <string>

namespace Orvane {
namespace Core {

/// Static functions only; each asks the system when called and is safe from any thread.
class QORCOMMON_API ApplicationInfo {
public:
    ApplicationInfo() = delete;

    /// Full path of the running executable (UTF-8).
    static std::string executablePath();
    /// Its folder.
    static std::string executableDirectory();
    /// Its file name without the extension: "myapp" for "myapp.exe".
    static std::string executableName();
    /// Its extension without the dot: "exe" on Windows, usually empty elsewhere.
    static std::string executableExtension();

    /// The version a host set with setVersion(); otherwise the file version of the executable's
    /// version resource (Windows); otherwise "0.0.0".
    static std::string version();
    /// Sets the version that version() reports; an empty text returns to the executable's own.
    static void setVersion(const std::string& version);

    static long processId();
    /// The name of the user the process runs as.
    static std::string userName();
    static std::string computerName();

    /// The standard streams a tool writes to.
    enum StandardStream : int { StandardOutput = 1, StandardError = 2 };
    /// Whether the stream is an interactive terminal (not a file or a pipe), for tools that
    /// colour their output only there.
    static bool isTerminal(StandardStream stream);
    /// Lets the terminal on the stream interpret ANSI colour sequences (a Windows console needs
    /// them switched on); false when the stream is no terminal or its terminal cannot.
    static bool enableColourSequences(StandardStream stream);
};

} // namespace Core
} // namespace Orvane
