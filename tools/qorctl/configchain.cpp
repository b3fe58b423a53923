#include "configchain.h"

#include "qorcommon/fileinfo.h"
#include "qorcommon/globals.h"
#include "qorcommon/memoryconfighandler.h"

namespace Qorctl {

using namespace Orvane::Core;

ConfigChain buildConfigChain(const Context& context) {
    ConfigChain chain;
    OrvanecfgConfigHandler::setOrvanecfgPath(context.configFile);
    chain.filePath = context.configFile.empty() ? "orvane.cfg" : context.configFile;
    chain.file = GC<OrvanecfgConfigHandler>(new OrvanecfgConfigHandler());
    chain.fileRead = FileInfo(chain.filePath).isFile();
    if (chain.fileRead) {
        // A file with grammar errors still serves what it could read; "config check" reports them.
        chain.file->init();
    } else if (!context.configFile.empty()) {
        throw ProblemError("cannot read configuration file '" + context.configFile + "'");
    }
    GC<EnvVarConfigHandler> environment(new EnvVarConfigHandler(chain.file));
    environment->init();
    chain.commandLine =
        GC<CLAConfigHandler>(new CLAConfigHandler(context.configArguments, environment));
    chain.links = {
        {"command line", chain.commandLine}, {"environment", environment}, {"file", chain.file}};
    return chain;
}

ConfigChain frameworkConfigChain(const Context& context) {
    ConfigChain chain;
    chain.host.reset(new HostSession(context));
    chain.filePath = chain.host->file();
    chain.fileRead = chain.host->fromFile();
    int count = 0;
    for (GC<ConfigHandler> link = chain.host->globals()->getConfigHandler(); link && count < 64;
         link = link->baseConfigHandler(), ++count) {
        // In the tool's host, a handler of another class comes from a plug-in.
        std::string source = std::string("plug-in handler ") + link->typeName();
        if (auto* commandLine = dynamic_cast<CLAConfigHandler*>(link.ptr())) {
            source = "command line";
            if (!chain.commandLine) chain.commandLine = GC<CLAConfigHandler>(commandLine);
        } else if (dynamic_cast<EnvVarConfigHandler*>(link.ptr())) {
            source = "environment";
        } else if (auto* file = dynamic_cast<OrvanecfgConfigHandler*>(link.ptr())) {
            source = "file";
            if (!chain.file) chain.file = GC<OrvanecfgConfigHandler>(file);
        } else if (dynamic_cast<MemoryConfigHandler*>(link.ptr())) {
            source = "built-in";
        }
        chain.links.push_back(ConfigChain::Link{source, link});
    }
    return chain;
}

std::string joinValues(const StringList& values) {
    return values.join(" <|> ");
}

} // namespace Qorctl
