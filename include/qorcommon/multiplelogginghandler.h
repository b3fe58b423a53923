// The multiple logging handler, which hands every entry to several other handlers, and the
// factories of the library's logging handlers by name.
//
// Settings:
//   MULTIPLE_LOGGING_HANDLER/HANDLERS   names of the handlers to feed, in order ("orvanelog",
//                                       "simple", "void", or any registered name); default
//                                       "orvanelog"
//   SIMPLE_LOGGING_HANDLER/STREAM       "stderr" (default) or "stdout": where the simple handler
//                                       writes
// The void handler reads nothing.
#pragma once

#include "qorcommon/configdefinition.h"
#include "qorcommon/confighandler.h"
#include "qorcommon/export.h"
#include "qorcommon/gc.h"
#include "qorcommon/logginghandler.h"

#include <functional>
#include <string>
#include <vector>

namespace Orvane {
namespace Core {

/// Makes an initialised handler from the configuration chain (null: built-in values).
using LoggingHandlerFactory = std::function<GC<LoggingHandler>(const GC<ConfigHandler>&)>;

/// A logger that hands each entry to one logger of every handler behind it. Listeners hear the
/// entry once, through this logger.
class QORCOMMON_API MultipleLogger : public Logger {
public:
    MultipleLogger(const GC<LoggerHelper>& helper, const std::string& name,
                   const ModuleInfo& moduleInfo, const std::vector<GC<Logger>>& targets);
    ~MultipleLogger() override;
    const char* typeName() const override;
    const std::vector<GC<Logger>>& targets() const;

protected:
    void storeEntry(Priority prio, const LogEntry& entry, const StringList& stack,
                    const DateTime& timestamp, double diff) override;

private:
    std::vector<GC<Logger>> m_targets;
};

/// A handler whose loggers feed the loggers of several handlers. The handlers behind it share its
/// helper, so frames, depths and listeners are those of this handler.
class QORCOMMON_API MultipleLoggingHandler : public LoggingHandler {
public:
    /// Reads MULTIPLE_LOGGING_HANDLER/HANDLERS in init() and makes each named handler.
    explicit MultipleLoggingHandler(const GC<ConfigHandler>& config = GC<ConfigHandler>());
    /// Feeds the given handlers.
    explicit MultipleLoggingHandler(const std::vector<GC<LoggingHandler>>& handlers);
    ~MultipleLoggingHandler() override;

    const char* typeName() const override;
    /// Makes the configured handlers; false when a name is unknown or a handler failed its own
    /// init (the others still serve).
    bool init() override;
    const std::vector<GC<LoggingHandler>>& handlers() const;

    static GC<ConfigDefinition> configDefinition();

protected:
    GC<Logger> makeLogger(const std::string& name, const ModuleInfo& moduleInfo) override;

private:
    struct Private;
    Private* d;
};

/// A SimpleLoggingHandler on the stream SIMPLE_LOGGING_HANDLER/STREAM names.
QORCOMMON_API GC<LoggingHandler> makeSimpleLoggingHandler(const GC<ConfigHandler>& config);
QORCOMMON_API GC<ConfigDefinition> makeSimpleLoggingConfigDefinition();
/// A void handler (it reads nothing).
QORCOMMON_API GC<LoggingHandler> makeVoidLoggingHandler(const GC<ConfigHandler>& config);
/// A multiple handler over the handlers its configuration names.
QORCOMMON_API GC<LoggingHandler> makeMultipleLoggingHandler(const GC<ConfigHandler>& config);

namespace Logging {

/// Adds or replaces the factory of a handler name. The library registers "orvanelog",
/// "simple", "multiple" and "void".
QORCOMMON_API void registerHandlerFactory(const std::string& name, LoggingHandlerFactory factory);
/// The factory of a name (case ignored); empty when none is registered.
QORCOMMON_API LoggingHandlerFactory handlerFactory(const std::string& name);

} // namespace Logging

} // namespace Core
} // namespace Orvane
