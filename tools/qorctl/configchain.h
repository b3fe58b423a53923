// The configuration chain of the tool: the -c arguments over the environment over the file.
#pragma once

#include "cli.h"

#include "qorcommon/confighandler.h"
#include "qorcommon/envconfighandler.h"
#include "qorcommon/orvanecfgconfighandler.h"

#include <string>
#include <vector>

namespace Qorctl {

struct ConfigChain {
    Orvane::Core::GC<Orvane::Core::CLAConfigHandler> commandLine;
    Orvane::Core::GC<Orvane::Core::EnvVarConfigHandler> environment;
    Orvane::Core::GC<Orvane::Core::OrvanecfgConfigHandler> file;
    /// The file that was read.
    std::string filePath;
    /// Whether the file could be opened.
    bool fileRead = false;

    /// The head of the chain.
    Orvane::Core::GC<Orvane::Core::ConfigHandler> head() const { return commandLine; }

    /// One link of the chain with the name the tool shows for it.
    struct Link {
        const char* source;
        Orvane::Core::ConfigHandler* handler;
    };
    std::vector<Link> links() const;
};

/// Builds the chain. A missing default file is no problem (the built-in values answer); a file
/// named with --config that cannot be opened is, and throws a ProblemError.
ConfigChain buildConfigChain(const Context& context);

/// A failure that main reports with exit status 1.
class ProblemError : public std::runtime_error {
public:
    using std::runtime_error::runtime_error;
};

/// The values of an entry as the file writes them: "a <|> b".
std::string joinValues(const Orvane::Core::StringList& values);

} // namespace Qorctl
