// The features that the library brings along: the configuration handlers and logging handlers a
// configuration can name ("GLOBAL/CONFIG_HANDLER", "GLOBAL/LOGGING_HANDLER") without any
// plug-in.
//
//     GC<ConfigHandler> chain = QOR::EnvVarConfigHandlerFeature().createObject(base);
#pragma once

#include "qorcommon/export.h"
#include "qorcommon/feature.h"

#include <list>

namespace Orvane {
namespace Core {
namespace QOR {

/// "orvanecfg": the configuration-file handler over the given chain, its cache read at once
/// (a file that cannot be read leaves an empty cache; see OrvanecfgConfigHandler::init).
class QORCOMMON_API OrvanecfgConfigHandlerFeature : public ConfigHandlerFeature {
public:
    const char* typeName() const override;
    const char* name() const override;
    NameInfo nameInfo() override;
    GC<ConfigDefinition> configDefinition() override;
    GC<ConfigHandler> createObject(const GC<ConfigHandler>& chain) override;
};

/// "cla": the command-line handler over the given chain.
class QORCOMMON_API CLAConfigHandlerFeature : public ConfigHandlerFeature {
public:
    const char* typeName() const override;
    const char* name() const override;
    NameInfo nameInfo() override;
    GC<ConfigHandler> createObject(const GC<ConfigHandler>& chain) override;
};

/// "envvar" ("Environment Variables"): the environment-variable handler over the given chain,
/// its prefix read from that chain.
class QORCOMMON_API EnvVarConfigHandlerFeature : public ConfigHandlerFeature {
public:
    const char* typeName() const override;
    const char* name() const override;
    NameInfo nameInfo() override;
    GC<ConfigDefinition> configDefinition() override;
    GC<ConfigHandler> createObject(const GC<ConfigHandler>& chain) override;
};

/// "orvanelog": the file logging handler, its settings read from the chain.
class QORCOMMON_API OrvaneLoggingHandlerFeature : public LoggingHandlerFeature {
public:
    const char* typeName() const override;
    const char* name() const override;
    NameInfo nameInfo() override;
    GC<ConfigDefinition> configDefinition() override;
    GC<LoggingHandler> createObject(const GC<ConfigHandler>& config) override;
};

/// "multiple": a handler passing every entry to the handlers its configuration names.
class QORCOMMON_API MultipleLoggingHandlerFeature : public LoggingHandlerFeature {
public:
    const char* typeName() const override;
    const char* name() const override;
    NameInfo nameInfo() override;
    GC<ConfigDefinition> configDefinition() override;
    GC<LoggingHandler> createObject(const GC<ConfigHandler>& config) override;
};

/// "simple": one plain line per entry on standard error or standard output.
class QORCOMMON_API SimpleLoggingHandlerFeature : public LoggingHandlerFeature {
public:
    const char* typeName() const override;
    const char* name() const override;
    NameInfo nameInfo() override;
    GC<ConfigDefinition> configDefinition() override;
    GC<LoggingHandler> createObject(const GC<ConfigHandler>& config) override;
};

/// "void": a VoidLoggingHandler, which discards everything; it reads no configuration.
class QORCOMMON_API VoidLoggingHandlerFeature : public LoggingHandlerFeature {
public:
    const char* typeName() const override;
    const char* name() const override;
    NameInfo nameInfo() override;
    GC<LoggingHandler> createObject(const GC<ConfigHandler>& config) override;
};

/// New instances of the built-in features in the order start-up registers them: orvanecfg, cla,
/// envvar, orvanelog, multiple, void, simple.
QORCOMMON_API std::list<GC<Feature>> builtinFeatures();

} // namespace QOR
} // namespace Core
} // namespace Orvane
