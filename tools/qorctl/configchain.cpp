#include "configchain.h"

#include "qorcommon/fileinfo.h"

namespace Qorctl {

using namespace Orvane::Core;

std::vector<ConfigChain::Link> ConfigChain::links() const {
    return {{"command line", commandLine.ptr()},
            {"environment", environment.ptr()},
            {"file", file.ptr()}};
}

ConfigChain buildConfigChain(const Context& context) {
    ConfigChain chain;
    OrvanecfgConfigHandler::setOrvanecfgPath(context.configFile);
    chain.filePath = OrvanecfgConfigHandler::getOrvanecfgPath();
    chain.file = GC<OrvanecfgConfigHandler>(new OrvanecfgConfigHandler());
    chain.fileRead = FileInfo(chain.filePath).isFile();
    if (chain.fileRead) {
        // A file with grammar errors still serves what it could read; "config check" reports them.
        chain.file->init();
    } else if (!context.configFile.empty()) {
        throw ProblemError("cannot read configuration file '" + context.configFile + "'");
    }
    chain.environment = GC<EnvVarConfigHandler>(new EnvVarConfigHandler(chain.file));
    chain.environment->init();
    chain.commandLine =
        GC<CLAConfigHandler>(new CLAConfigHandler(context.configArguments, chain.environment));
    return chain;
}

std::string joinValues(const StringList& values) {
    return values.join(" <|> ");
}

} // namespace Qorctl
