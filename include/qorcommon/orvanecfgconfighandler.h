// The configuration file handler: entries read from "orvane.cfg", served from a cache, changed in
// the cache when the file allows it and written back on flush.
//
// The file, UTF-8 with an optional byte order mark, taken as bytes:
//
//     # a comment
//     [GLOBAL]                          # a section; its name has at least one character
//     LOG_FILE = orvane.log             # one value
//     PLUGINS = a.dll <|> b.dll         # unquoted: values separated by "<|>", each trimmed
//     GREETING = "hello world" "\x41\n" # quoted: one value per quoted string, escapes
//                                       # \" \\ \n \r \t \xHH; text between the strings is dropped
//     EMPTY =                           # an empty list
//
// Every grammar error is recorded with the file and line ("{file}:{line}: Missing ']' closing.")
// and does not stop the reading: a value with an error is dropped, the rest is read. An update
// that recorded any error still publishes what it read but fails (status OperationFailed); its
// getLastErrorInfo() is the record "Cannot initialize config handler properly" whose hint holds
// the recorded messages joined by CR LF, and the thread's getLastError() holds those messages.
// A "\xHH" code of which no digit converts aborts the update as a whole ("invalid stoul
// argument"): the previous cache stays.
//
// Decisions of this implementation:
//   * A later entry of the same path replaces the earlier one.
//   * Section names are stored as they stand, "/" included, so "[A/B]" holds "A/B/KEY". Paths
//     are split at their last "/" into section and entry name, also when a file names an entry
//     with a "/": "B/KEY = 1" under "[A]" is the entry KEY of the section "A/B". The writer writes
//     each section as one header line with its full name, so files read back the same.
//   * Entries above the first section belong to the section "": no path reaches them, but they
//     are kept and the writer puts them first, without a header. An entry whose name is empty
//     (nothing before the "=", or a name ending in "/") is not stored.
//   * Key lists (readKeyList) hold the entry names of a section in byte order, the order in
//     which the writer writes them.
//   * The writer quotes a single value that is empty or contains "<|>", besides the values that
//     contain "#", blank, double quote, LF, CR or TAB, so that reading the file back gives the
//     same list. Backslashes are written as they are.
//   * With DEBUG_WRITING enabled a flush also prints the text it wrote (without the byte order
//     mark) to standard output.
//   * Changing the cache while neither writing nor setting is enabled fails with status
//     OperationFailed and "setting of entry value is not enabled" / "setting of config key is not
//     enabled".
//
// Concurrency: readers take the current cache, an immutable snapshot, by a pointer copy under a
// short lock and never wait for an update or a write; an update or a cache write builds a new
// snapshot aside and publishes it at once, so readers see the old cache or the new one. A flush
// writes a temporary file beside the target and renames it into place.
#pragma once

#include "qorcommon/confighandler.h"
#include "qorcommon/errorinfo.h"

#include <string>

namespace Orvane {
namespace Core {

/// Thread safety: thread-safe.
class QORCOMMON_API OrvanecfgConfigHandler : public ConfigHandler {
public:
    /// The three settings, read from the file itself (boolean words) at the end of each update.
    static const char* const WritingEnabledPath; // "ORVANE_CONFIG_HANDLER/IS_WRITING_ENABLED"
    static const char* const SettingEnabledPath; // "ORVANE_CONFIG_HANDLER/IS_SETTING_ENABLED"
    static const char* const DebugWritingPath;   // "ORVANE_CONFIG_HANDLER/DEBUG_WRITING"

    /// The settings record, one for all handlers of this class in the process: the handler that
    /// updated last has set it. All false until then.
    struct Settings {
        /// Writing the file and changing the cache.
        bool writingEnabled = false;
        /// Changing the cache only.
        bool settingEnabled = false;
        /// A flush prints what it writes to standard output.
        bool debugWriting = false;
    };

    /// An empty cache until init() or updateCache().
    explicit OrvanecfgConfigHandler(GC<ConfigHandler> base = GC<ConfigHandler>());
    ~OrvanecfgConfigHandler() override;

    /// "Orvane::Core::OrvanecfgConfigHandler".
    const char* typeName() const override;

    /// updateCache(true): the base handlers first, then this file.
    bool init();

    /// ReadingEntries, KeepingCache, UpdatingCache and ReadingKeys always; WritingEntries and
    /// WritingKeys while writing or setting is enabled; FlushingCache while writing is enabled.
    bool isOperationSupported(Operation operation) const override;

    using ConfigHandler::flushCurrentCache;
    using ConfigHandler::updateCurrentCache;
    /// Reads the file at getOrvanecfgPath() into a new cache and publishes it. An unopenable file
    /// fails with "Cannot open config file '{0}'." and keeps the old cache.
    bool updateCurrentCache() override;
    /// Writes the cache to the file at getOrvanecfgPath(). Fails with "writing of orvane config
    /// file is not enabled", or "Cannot open config file '{0}'." / "Cannot write config file
    /// '{0}'." when the file cannot be made; the file is then as it was.
    bool flushCurrentCache() override;

    /// The record of the last update that failed (an empty record before the first failure).
    ErrorInfo getLastErrorInfo() const;

    /// The file of all handlers of this class. Empty: "orvane.cfg" in the current directory.
    static void setOrvanecfgPath(const std::string& path);
    static std::string getOrvanecfgPath();

    /// A copy of the current settings.
    static Settings settings();

protected:
    /// Paths are "SECTION/ENTRY" ("Incorrect config path: '{0}'." without a "/", "Section and
    /// entry cannot be empty in config path: '{0}'." with an empty part); a missing entry fails
    /// with "{0}: Entry not found: {1}".
    bool readEntryAsStringList(const std::string& path, StringList& out) override;
    /// The first value alone, without copying the list.
    bool readEntryAsString(const std::string& path, std::string& out) override;
    /// The entry names of the section `path`; "{0}: Key not found: {1}" when it has none.
    bool readKeyList(const std::string& path, StringList& out) override;
    bool entryIsExisting(const std::string& path, bool& exists) override;
    bool keyIsExisting(const std::string& path, bool& exists) override;
    /// Sets the entry in the cache (a new entry joins its section's key list).
    bool writeEntryAsStringList(const std::string& path, const StringList& values) override;
    /// Adds the section `path` to the cache, with no entries when it is new.
    bool writeKey(const std::string& path) override;

private:
    /// Fails with the path messages unless `path` has a non-empty section and entry name.
    bool checkPath(const std::string& path);
    bool entryNotFound(const std::string& path);

    struct Private;
    Private* d;
};

} // namespace Core
} // namespace Orvane
