// The configuration chain of a command: the -c arguments over the environment over the file, as
// the tool builds it, or the chain that the library builds at start-up (plug-in handlers
// included).
#pragma once

#include "cli.h"
#include "hostsession.h"

#include "qorcommon/confighandler.h"
#include "qorcommon/envconfighandler.h"
#include "qorcommon/orvanecfgconfighandler.h"

#include <memory>
#include <string>
#include <vector>

namespace Qorctl {

struct ConfigChain {
    /// The started library of a chain that it built; declared first so that it stops after
    /// every handle below is gone.
    std::unique_ptr<HostSession> host;
    /// The links that the tool knows by their class; null when the chain has none of them.
    Orvane::Core::GC<Orvane::Core::CLAConfigHandler> commandLine;
    Orvane::Core::GC<Orvane::Core::OrvanecfgConfigHandler> file;
    /// The file that was read, and whether it could be.
    std::string filePath;
    bool fileRead = false;

    /// One link with the name of its source ("command line", "environment", "file", "built-in",
    /// or "plug-in handler" and the handler's class).
    struct Link {
        std::string source;
        Orvane::Core::GC<Orvane::Core::ConfigHandler> handler;
    };
    /// Head first.
    std::vector<Link> links;

    Orvane::Core::GC<Orvane::Core::ConfigHandler> head() const { return links.front().handler; }
};

/// Builds the chain of the tool. A missing default file is no problem (the built-in values
/// answer); a file named with --config that cannot be opened is, and throws a ProblemError.
ConfigChain buildConfigChain(const Context& context);

/// Starts the library as a host and takes the chain it built (see HostSession).
ConfigChain frameworkConfigChain(const Context& context);

/// A failure that main reports with exit status 1.
class ProblemError : public std::runtime_error {
public:
    using std::runtime_error::runtime_error;
};

/// The values of an entry as the file writes them: "a <|> b".
std::string joinValues(const Orvane::Core::StringList& values);

} // namespace Qorctl
