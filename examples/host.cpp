// An example host program in C++: starts the framework over a configuration chain of its own
// (command line, environment, file, and the greeting plug-in's defaults on top), reads its
// settings through it, logs nested function scopes, hears every error through the collector and
// stops the framework.
//
//     host [config-file] [-cSECTION/ENTRY=value ...]
#include "qorcommon/configdefinition.h"
#include "qorcommon/confighandler.h"
#include "qorcommon/envconfighandler.h"
#include "qorcommon/errorinfocollector.h"
#include "qorcommon/feature.h"
#include "qorcommon/framework.h"
#include "qorcommon/globals.h"
#include "qorcommon/logging.h"
#include "qorcommon/logginghandler.h"
#include "qorcommon/module.h"
#include "qorcommon/orvanecfgconfighandler.h"
#include "qorcommon/plugin.h"
#include "qorcommon/result.h"

#include <cstdio>
#include <string>

using namespace Orvane::Core;

namespace {

// Every error of every module reaches the listeners of the one collector.
class ErrorPrinter : public ErrorInfoCollectorListener {
public:
    void errorInfoAdded(const ErrorInfo& error, const ModuleInfo& module,
                        const CodeLocation& location) override {
        std::printf("collector: '%s' from %s at %s\n", error.errorText().c_str(),
                    module.asString().c_str(), location.asString().c_str());
    }
};

// A component of the host that registers with the framework on its own.
class Scheduler : public QOR::Module {
public:
    ModuleInfo moduleInfo() const override {
        return ModuleInfo("scheduler", "component", Version(1, 4, 0));
    }
};

Result planWork(const GC<Logger>& logger, long times) {
    QOR_LOGGING_SCOPE(logger); // begin and end entries around this function
    for (long i = 0; i < times; ++i)
        QOR_LOG(Logger::Info, LogEntry::fromVariable_str("round", std::to_string(i), "long"));
    if (times > 3) return Result(ErrorInfo("too many rounds requested", QOR_CODE_LOCATION), false);
    return true;
}

} // namespace

int main(int argc, char** argv) {
    // The first argument that is not "-c..." names the configuration file.
    std::string configFile = "orvane.cfg";
    for (int i = 1; i < argc; ++i)
        if (argv[i][0] != '-') configFile = argv[i];

    // The base of the chain, asked from the head down: the command line ("-cPATH=VALUE"), then
    // the environment (ORVANE__SECTION__ENTRY), then the file. The handler that the file names
    // in GLOBAL/CONFIG_HANDLER (the greeting plug-in's) is put on top of it at start-up.
    OrvanecfgConfigHandler::setOrvanecfgPath(configFile);
    GC<OrvanecfgConfigHandler> file(new OrvanecfgConfigHandler());
    if (!file->init())
        std::fprintf(stderr, "%s\n", file->getLastErrorInfo().asLongString().c_str());
    GC<EnvVarConfigHandler> environment(new EnvVarConfigHandler(file));
    environment->init(); // takes its variable prefix from the file (default "ORVANE")
    GC<ConfigHandler> base(new CLAConfigHandler(environment));

    QOR::Instance* host = QOR::init(base, ModuleInfo("example_host", "exe", Version(1, 0, 0)), {});
    QOR::Globals* globals = host->globals();
    std::printf("QorCommon %s started for %s\n", QOR::getVersion().toString(3).c_str(),
                host->moduleInfo().asString().c_str());

    ErrorPrinter printer;
    GC<ErrorInfoCollector> collector = globals->getErrorInfoCollector();
    collector->registerListener(&printer);

    for (QOR::Plugin* plugin : globals->getPlugins())
        std::printf("plug-in: %s\n", plugin->moduleInfo().asString().c_str());

    // The greeting plug-in supplies defaults that the file, ORVANE__GREETING__TEXT or
    // -cGREETING/TEXT=... override.
    GC<ConfigHandler> config = globals->getConfigHandler();
    std::string text = "(no greeting)";
    long times = 1;
    config->getStringEntry("GREETING/TEXT", text);
    config->getLongEntry("GREETING/TIMES", times);
    std::printf("greeting: %s (x%ld)\n", text.c_str(), times);

    Scheduler scheduler;
    QOR::Instance* schedulerInstance = QOR::registerModule(&scheduler);
    GC<Logger> logger = globals->getLoggingHandler()->getLogger(schedulerInstance->moduleInfo());
    std::printf("logging to the handler %s as '%s'\n", globals->getLoggingHandler()->typeName(),
                logger->name().c_str());
    Result planned = planWork(logger, times);
    if (!planned)
        collector->add(planned.errorInfo(), schedulerInstance->moduleInfo(), QOR_CODE_LOCATION);
    collector->add(ErrorInfo("disk almost full", QOR_CODE_LOCATION), host->moduleInfo(),
                   QOR_CODE_LOCATION);

    Result registered = globals->doClientRegistration();
    std::printf("client registration: %s\n", registered ? "stored" : "failed");

    collector->unregisterListener(&printer);
    collector = GC<ErrorInfoCollector>();
    config = GC<ConfigHandler>();
    base = GC<ConfigHandler>();
    environment = GC<EnvVarConfigHandler>();
    file = GC<OrvanecfgConfigHandler>();
    logger = GC<Logger>();
    QOR::unregisterModule(schedulerInstance);
    std::fflush(stdout);
    QOR::deinit(); // writes its stages to standard error
    return 0;
}
