// The library started as a host for a command of the tool.
#pragma once

#include "cli.h"

#include <string>

namespace Orvane {
namespace Core {
namespace QOR {
class Globals;
}
} // namespace Core
} // namespace Orvane

namespace Qorctl {

/// Starts the library over the configuration file when there is one (as any host does), else
/// over the -c arguments and the built-in values, so that start-up has no missing file to
/// report. Stops the library when it goes: let go of every service handle first, since a
/// plug-in's code may be behind it.
class HostSession {
public:
    /// Throws ProblemError when a file named with --config cannot be read or the library does not
    /// start.
    explicit HostSession(const Context& context);
    ~HostSession();
    HostSession(const HostSession&) = delete;
    HostSession& operator=(const HostSession&) = delete;

    Orvane::Core::QOR::Globals* globals() const { return m_globals; }
    /// Whether start-up read the configuration file, and its name.
    bool fromFile() const { return m_fromFile; }
    const std::string& file() const { return m_file; }

private:
    Orvane::Core::QOR::Globals* m_globals = nullptr;
    bool m_fromFile = false;
    std::string m_file;
};

} // namespace Qorctl
