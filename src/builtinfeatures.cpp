#include "qorcommon/builtinfeatures.h"

#include "qorcommon/configdefinition.h"
#include "qorcommon/confighandler.h"
#include "qorcommon/envconfighandler.h"
#include "qorcommon/logginghandler.h"
#include "qorcommon/multiplelogginghandler.h"
#include "qorcommon/orvanecfgconfighandler.h"
#include "qorcommon/orvanelogginghandler.h"

namespace Orvane {
namespace Core {
namespace QOR {

// ---- configuration handlers -----------------------------------------------------------------

const char* OrvanecfgConfigHandlerFeature::typeName() const {
    return "Orvane::Core::QOR::OrvanecfgConfigHandlerFeature";
}

const char* OrvanecfgConfigHandlerFeature::name() const {
    return "orvanecfg";
}

NameInfo OrvanecfgConfigHandlerFeature::nameInfo() {
    return NameInfo("Orvane Configuration File", "ORVANE.CFG based configuration.");
}

GC<ConfigDefinition> OrvanecfgConfigHandlerFeature::configDefinition() {
    // The handler reads its own switches from the file it serves.
    return makeOrvanecfgConfigDefinition(nameInfo());
}

GC<ConfigHandler> OrvanecfgConfigHandlerFeature::createObject(const GC<ConfigHandler>& chain) {
    GC<OrvanecfgConfigHandler> handler(new OrvanecfgConfigHandler(chain));
    // A file that cannot be read is no reason to lose the chain below: the handler then answers
    // from that chain and keeps the reason in getLastErrorInfo().
    handler->init();
    return GC<ConfigHandler>(handler);
}

const char* CLAConfigHandlerFeature::typeName() const {
    return "Orvane::Core::QOR::CLAConfigHandlerFeature";
}

const char* CLAConfigHandlerFeature::name() const {
    return "cla";
}

NameInfo CLAConfigHandlerFeature::nameInfo() {
    return NameInfo("Command Line Arguments",
                    "Configuration is defined by command line arguments.");
}

GC<ConfigHandler> CLAConfigHandlerFeature::createObject(const GC<ConfigHandler>& chain) {
    return GC<ConfigHandler>(new CLAConfigHandler(chain));
}

const char* EnvVarConfigHandlerFeature::typeName() const {
    return "Orvane::Core::QOR::EnvVarConfigHandlerFeature";
}

const char* EnvVarConfigHandlerFeature::name() const {
    return "envvar";
}

NameInfo EnvVarConfigHandlerFeature::nameInfo() {
    return NameInfo("Environment Variables", "Environment variables based configuration handler");
}

GC<ConfigDefinition> EnvVarConfigHandlerFeature::configDefinition() {
    return makeEnvVarConfigDefinition(nameInfo());
}

GC<ConfigHandler> EnvVarConfigHandlerFeature::createObject(const GC<ConfigHandler>& chain) {
    GC<EnvVarConfigHandler> handler(new EnvVarConfigHandler(chain));
    handler->init();
    return GC<ConfigHandler>(handler);
}

// ---- logging handlers -----------------------------------------------------------------------

const char* OrvaneLoggingHandlerFeature::typeName() const {
    return "Orvane::Core::QOR::OrvaneLoggingHandlerFeature";
}

const char* OrvaneLoggingHandlerFeature::name() const {
    return "orvanelog";
}

NameInfo OrvaneLoggingHandlerFeature::nameInfo() {
    return NameInfo("Orvane Logging", "Old (orvane.log) style logging.");
}

GC<ConfigDefinition> OrvaneLoggingHandlerFeature::configDefinition() {
    return OrvaneLoggingHandler::configDefinition();
}

GC<LoggingHandler> OrvaneLoggingHandlerFeature::createObject(const GC<ConfigHandler>& config) {
    return makeOrvaneLoggingHandler(config);
}

const char* MultipleLoggingHandlerFeature::typeName() const {
    return "Orvane::Core::QOR::MultipleLoggingHandlerFeature";
}

const char* MultipleLoggingHandlerFeature::name() const {
    return "multiple";
}

NameInfo MultipleLoggingHandlerFeature::nameInfo() {
    return NameInfo("Multiple Logging Handlers",
                    "Every entry goes to each of several configured logging handlers.");
}

GC<ConfigDefinition> MultipleLoggingHandlerFeature::configDefinition() {
    return MultipleLoggingHandler::configDefinition();
}

GC<LoggingHandler> MultipleLoggingHandlerFeature::createObject(const GC<ConfigHandler>& config) {
    return makeMultipleLoggingHandler(config);
}

const char* SimpleLoggingHandlerFeature::typeName() const {
    return "Orvane::Core::QOR::SimpleLoggingHandlerFeature";
}

const char* SimpleLoggingHandlerFeature::name() const {
    return "simple";
}

NameInfo SimpleLoggingHandlerFeature::nameInfo() {
    return NameInfo("Simple Logging", "One plain line per entry on a standard stream.");
}

GC<ConfigDefinition> SimpleLoggingHandlerFeature::configDefinition() {
    return makeSimpleLoggingConfigDefinition();
}

GC<LoggingHandler> SimpleLoggingHandlerFeature::createObject(const GC<ConfigHandler>& config) {
    return makeSimpleLoggingHandler(config);
}

const char* VoidLoggingHandlerFeature::typeName() const {
    return "Orvane::Core::QOR::VoidLoggingHandlerFeature";
}

const char* VoidLoggingHandlerFeature::name() const {
    return "void";
}

NameInfo VoidLoggingHandlerFeature::nameInfo() {
    return NameInfo("Void Logging", "Discards every entry.");
}

GC<LoggingHandler> VoidLoggingHandlerFeature::createObject(const GC<ConfigHandler>& config) {
    return makeVoidLoggingHandler(config);
}

std::list<GC<Feature>> builtinFeatures() {
    return {
        GC<Feature>(new OrvanecfgConfigHandlerFeature),
        GC<Feature>(new CLAConfigHandlerFeature),
        GC<Feature>(new EnvVarConfigHandlerFeature),
        GC<Feature>(new OrvaneLoggingHandlerFeature),
        GC<Feature>(new MultipleLoggingHandlerFeature),
        GC<Feature>(new VoidLoggingHandlerFeature),
        GC<Feature>(new SimpleLoggingHandlerFeature),
    };
}

} // namespace QOR
} // namespace Core
} // namespace Orvane
