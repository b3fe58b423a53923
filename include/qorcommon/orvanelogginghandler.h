// The standard logging handler: renders every entry into one text line with a macro format and
// writes it to a rotating log file and/or the console.
//
//     GC<LoggingHandler> handler = makeOrvaneLoggingHandler(config);   // reads the settings
//     GC<Logger> logger = handler->getLogger(module);
//     QOR_LOGGING_SCOPE(logger);  // "<thread>: <time> Function start: f [module] {a.cpp:12}"
//
// Settings (section ORVANE_LOGGING_HANDLER; the first four fall back to GLOBAL/<ENTRY>):
//   LOG_FILE          path of the log file; default "$(current_dir)/orvane.log" (macros expanded)
//   LOG_DEST          "File" and/or "Console" (standard output); default "File"
//   LOG_LEVEL         "No Logging", "Level 1" .. "Level 4" (or 0 .. 4); default "Level 4"
//   LOG_FILE_SIZE     maximum size in bytes before the file is renamed aside, 1024 .. 2000000000;
//                     default 10485760
//   LOG_PRIORITIES    priority words: "all", "info", "hint", "status", "message", "warning",
//                     "error", "fatal"/"fatalerror", or their first letters; default "all"
//   LOG_CONTEXTS      "Begin Logging", "End Logging", "Custom", "General", "Status"; default all
//   LOG_FORMAT        "Default", "Compat" or a macro format of its own
//   FILE_HEADER       macro format written at the head of every new log file; default none
//   FILE_FOOTER       macro format written at the foot of a log file renamed aside; default none
//   LOGGER_NAME       pattern of default logger names; default "$(module_name)"
//   FLUSH             "line" (every line reaches the system before addEntry returns) or
//                     "buffered" (lines wait at most FLUSH_INTERVAL milliseconds); default "line"
//   FLUSH_INTERVAL    milliseconds a buffered line may wait, 1 .. 60000; default 200
//   KEEP_FILES        how many renamed files to keep (the oldest go); default -1, keep all
//
// An entry is written when its priority is selected by the level AND named in LOG_PRIORITIES,
// and its context is named in LOG_CONTEXTS. Level 1 selects Warning, Error and FatalError;
// level 2 adds Message, level 3 Status, level 4 everything.
#pragma once

#include "qorcommon/configdefinition.h"
#include "qorcommon/confighandler.h"
#include "qorcommon/export.h"
#include "qorcommon/gc.h"
#include "qorcommon/logginghandler.h"

#include <cstdint>
#include <string>

namespace Orvane {
namespace Core {

/// The settings of a file logging handler, shared by the handler and all its loggers. Fill them
/// (or let the handler read them) before the first logger is made; afterwards they are read-only.
class QORCOMMON_API OrvaneLoggingSettings : public GCObject {
public:
    /// Where lines go; a bit set.
    enum Destination : unsigned { ToFile = 1, ToConsole = 2 };
    enum FlushPolicy : int {
        /// Every line is handed to the system before addEntry returns.
        FlushEachLine = 0,
        /// Lines wait in memory at most flushIntervalMs(); flushed when the buffer is full, on a
        /// FatalError entry and when the handler goes.
        FlushBuffered = 1
    };

    /// The built-in values, taken from the process-wide settings below.
    OrvaneLoggingSettings();
    ~OrvaneLoggingSettings() override;
    OrvaneLoggingSettings(const OrvaneLoggingSettings&) = delete;
    OrvaneLoggingSettings& operator=(const OrvaneLoggingSettings&) = delete;

    const char* typeName() const override;

    /// Reads every entry that the configuration holds (see the top of this header); entries that
    /// are missing or cannot be read keep their value. A null handler changes nothing.
    void readConfiguration(const GC<ConfigHandler>& config);

    /// The log file's path with its macros expanded.
    const std::string& logFile() const;
    void setLogFile(const std::string& path);
    unsigned destinations() const;
    void setDestinations(unsigned destinations);
    long level() const;
    /// 0 .. 4; other values are brought into that range.
    void setLevel(long level);
    std::int64_t maxFileSize() const;
    /// Brought into 1024 .. 2000000000.
    void setMaxFileSize(std::int64_t bytes);
    /// Bit n set: priority n is named (bits 0 .. 7).
    unsigned priorities() const;
    void setPriorities(unsigned mask);
    /// Bit n set: context n is named (bits 0 .. 4, see LogEntry::Context).
    unsigned contexts() const;
    void setContexts(unsigned mask);
    const std::string& format() const;
    /// "Default" and "Compat" stand for their formats; anything else is a format itself.
    void setFormat(const std::string& format);
    const std::string& fileHeader() const;
    void setFileHeader(const std::string& format);
    const std::string& fileFooter() const;
    void setFileFooter(const std::string& format);
    const std::string& loggerNamePattern() const;
    void setLoggerNamePattern(const std::string& pattern);
    FlushPolicy flushPolicy() const;
    void setFlushPolicy(FlushPolicy policy);
    long flushIntervalMs() const;
    void setFlushIntervalMs(long milliseconds);
    /// How many renamed files stay; negative: all.
    long keepFiles() const;
    void setKeepFiles(long count);

    /// Whether an entry of this priority and context is written.
    bool accepts(int priority, int context) const;

    // ---- word forms of the settings -----------------------------------------------------------

    /// Priority words (case ignored): "all", "info", "hint", "status", "message", "warning",
    /// "error", "fatal", "fatalerror", and the one-letter forms "a", "i", "h", "s", "m", "w",
    /// "e", "f". False (mask untouched) when a word is unknown.
    static bool parsePriorities(const StringList& words, unsigned& mask);
    /// "Begin Logging", "End Logging", "Custom", "General", "Status" (case and blanks ignored).
    static bool parseContexts(const StringList& words, unsigned& mask);
    /// "No Logging", "Level 1" .. "Level 4", or a number 0 .. 4.
    static bool parseLevel(const std::string& word, long& level);
    /// "File", "Console" (case ignored).
    static bool parseDestinations(const StringList& words, unsigned& destinations);
    /// The priorities a level selects, as a mask.
    static unsigned levelMask(long level);

    static const char* defaultFormat();
    static const char* compatFormat();

    // ---- process-wide settings: the built-in values of handlers made afterwards ----------------

    static bool setLogfilePath(const std::string& path);
    static std::string getLogfilePath();
    /// One destination word, or several joined by ",".
    static bool setLogDest(const std::string& destinations);
    static bool addLogDest(const std::string& destination);
    /// The destinations as words joined by "," ("File,Console").
    static std::string getLogDest();
    static bool setLogLevel(long level);
    static long getLogLevel();
    static bool setLogMaxSize(long bytes);
    static long getLogMaxSize();

private:
    friend class OrvaneLogger;
    friend class OrvaneLoggingHandler;
    struct Private;
    Private* d;
};

/// A logger of the file logging handler.
class QORCOMMON_API OrvaneLogger : public Logger {
public:
    OrvaneLogger(const GC<OrvaneLoggingSettings>& settings, const GC<LoggerHelper>& helper,
                 const std::string& name, const ModuleInfo& moduleInfo);
    ~OrvaneLogger() override;

    const char* typeName() const override;

    /// The line that `entry` renders to (without its line end), as storeEntry would write it;
    /// `depth` is the number of frames enclosing it.
    std::string renderLine(Priority prio, const LogEntry& entry, const StringList& stack,
                           std::size_t depth, const DateTime& timestamp, double diff) const;

protected:
    void storeEntry(Priority prio, const LogEntry& entry, const StringList& stack,
                    const DateTime& timestamp, double diff) override;

private:
    struct Private;
    Private* d;
};

/// The standard logging handler.
class QORCOMMON_API OrvaneLoggingHandler : public LoggingHandler {
public:
    /// Reads its settings from `config` (null: the built-in values) in init().
    explicit OrvaneLoggingHandler(const GC<ConfigHandler>& config = GC<ConfigHandler>());
    /// Uses the given settings as they are.
    explicit OrvaneLoggingHandler(const GC<OrvaneLoggingSettings>& settings);
    ~OrvaneLoggingHandler() override;

    const char* typeName() const override;
    /// Reads the settings (once) and prepares the output; true when the format parsed and every
    /// configured value could be used.
    bool init() override;
    /// A logger with the default name of the module.
    GC<Logger> createLogger(const ModuleInfo& moduleInfo);
    const GC<OrvaneLoggingSettings>& settings() const;
    /// Hands buffered lines to the system now.
    void flush();

    /// What the handler reads, as a configuration definition.
    static GC<ConfigDefinition> configDefinition();

protected:
    GC<Logger> makeLogger(const std::string& name, const ModuleInfo& moduleInfo) override;

private:
    /// The logger-name pattern expanded for the module.
    std::string getDefaultName(const ModuleInfo& moduleInfo) const override;
    struct Private;
    Private* d;
};

/// A handler made from the configuration chain and initialised (the feature factories).
QORCOMMON_API GC<LoggingHandler> makeOrvaneLoggingHandler(const GC<ConfigHandler>& config);

} // namespace Core
} // namespace Orvane
