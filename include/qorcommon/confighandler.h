// Configuration sources and their chain.
//
// A ConfigHandler answers for entries addressed by "SECTION/ENTRY" paths; every value is a list of
// strings, a scalar being a list of one. A handler may have a base handler that is asked when it
// cannot answer itself, so handlers form a chain. Concrete handlers override a few primitives
// (at least readEntryAsStringList); the typed values, the fall-back through the chain, the
// defaults for what a handler does not support and the calling thread's last error text live here.
//
// No operation throws for a missing entry or an unsupported operation: it returns false and
// leaves the reason as the calling thread's last error text (getLastError) and, for failures that
// carry one, in handlerStatus().
#pragma once

#include "qorcommon/gc.h"
#include "qorcommon/stringlist.h"

#include <string>
#include <vector>

namespace Orvane {
namespace Core {

/// Thread safety: thread-safe.
class QORCOMMON_API ConfigHandler : public GCObject {
public:
    /// What isOperationSupported is asked about. The numbers are part of the C face.
    enum Operation : int {
        ReadingEntries = 0,
        /// The handler keeps a cache; it then implements updateCurrentCache and flushCurrentCache.
        KeepingCache = 1,
        UpdatingCache = 2,
        ReservedOperation3 = 3,
        WritingEntries = 4,
        /// Reading key lists and whether entries and keys exist.
        ReadingKeys = 5,
        WritingKeys = 6,
        FlushingCache = 7,
        ReservedOperation8 = 8
    };

    /// The state left by the last operation that set one.
    enum HandlerStatus : int {
        NoError = 0,
        /// The operation is not supported by this handler; no message is left with it.
        OperationNotSupported = 1,
        /// The operation failed; the last error text says why.
        OperationFailed = 2
    };

    /// A handler over `base` (which may be null: the handler ends the chain).
    explicit ConfigHandler(GC<ConfigHandler> base = GC<ConfigHandler>());
    ConfigHandler(const ConfigHandler&) = delete;
    ConfigHandler& operator=(const ConfigHandler&) = delete;
    ~ConfigHandler() override;

    // ---- virtual slots, public group -----------------------------------------------------------
    // typeName() of GCObject is the second slot: the class name, "{0}" of the messages below.

    /// Default: only ReadingEntries.
    virtual bool isOperationSupported(Operation operation) const;
    /// Default: updateCurrentCache(); the path is ignored.
    virtual bool updateCurrentCache(const std::string& path);
    /// Default: fails. When the handler claims KeepingCache or UpdatingCache it leaves
    /// "updating of cache is not implemented in {0}." and OperationFailed (a handler that claims a
    /// cache must implement this); otherwise OperationNotSupported without a message.
    virtual bool updateCurrentCache();
    /// Default: flushCurrentCache(); the path is ignored.
    virtual bool flushCurrentCache(const std::string& path);
    /// Default: as updateCurrentCache() with KeepingCache or FlushingCache claimed and the text
    /// "flushing of cache is not implemented in {0}.".
    virtual bool flushCurrentCache();

    // ---- the chain -----------------------------------------------------------------------------

    /// Replaces the base handler (null ends the chain here). Safe while other threads read.
    void setBaseConfigHandler(const GC<ConfigHandler>& base);
    GC<ConfigHandler> baseConfigHandler() const;

    // ---- reading
    // ---------------------------------------------------------------------------------
    //
    // Each getter asks this handler's primitive first; when that fails and `askBase` is true, the
    // base handlers are asked in turn, down the chain, and the first one that has the entry wins.
    // The output is written only by the handler that answers. A failing chain leaves the last
    // error of the handler that failed last. The string getters call the primitives
    // readEntryAsString / readEntryAsStringList directly, so a handler that overrides only those
    // is complete.

    bool getEntryAsString(const std::string& path, std::string& out, bool askBase = true);
    bool getStringEntry(const std::string& path, std::string& out, bool askBase = true);
    bool getEntryAsStringList(const std::string& path, StringList& out, bool askBase = true);
    bool getStringListEntry(const std::string& path, StringList& out, bool askBase = true);
    bool getLongEntry(const std::string& path, long& out, bool askBase = true);
    bool getLongListEntry(const std::string& path, std::vector<long>& out, bool askBase = true);
    bool getBooleanEntry(const std::string& path, bool& out, bool askBase = true);
    bool getBooleanListEntry(const std::string& path, std::vector<bool>& out, bool askBase = true);
    /// The names of the entries under the key `path`.
    bool getKeyList(const std::string& path, StringList& out, bool askBase = true);

    // ---- writing
    // ---------------------------------------------------------------------------------
    //
    // With `here` true the value is written into this handler. Otherwise the chain is searched
    // from this handler down for one whose entryIsExisting reports the entry (a handler that
    // cannot tell counts as not having it); that handler is written, and when none has the entry
    // this handler is. So an existing entry changes where it lives and a new one lands here.

    bool setEntryAsString(const std::string& path, const std::string& value, bool here = false);
    bool setStringEntry(const std::string& path, const std::string& value, bool here = false);
    bool setEntryAsStringList(const std::string& path, const StringList& value, bool here = false);
    bool setStringListEntry(const std::string& path, const StringList& value, bool here = false);
    bool setLongEntry(const std::string& path, long value, bool here = false);
    bool setLongListEntry(const std::string& path, const std::vector<long>& value,
                          bool here = false);
    bool setBooleanEntry(const std::string& path, bool value, bool here = false);
    bool setBooleanListEntry(const std::string& path, const std::vector<bool>& value,
                             bool here = false);
    /// Writes a key. The owner is searched with entryIsExisting, as for the values, on purpose:
    /// keys and entries of one path live in the same handler.
    bool setKey(const std::string& path, bool here = false);

    // ---- cache
    // -----------------------------------------------------------------------------------
    //
    // With `recursive` the base handler is handled first (so the deepest handler comes first;
    // its result is not used), then this handler's updateCurrentCache() / flushCurrentCache(),
    // whose result is returned. The forms with a path ignore it.

    bool updateCache(bool recursive = true);
    bool updateCache(const std::string& path, bool recursive = true);
    bool flushCache(bool recursive = true);
    bool flushCache(const std::string& path, bool recursive = true);

    // ---- status
    // ----------------------------------------------------------------------------------

    /// The status left by the last operation that set one (shared by all threads).
    HandlerStatus handlerStatus() const;
    /// The calling thread's last error text on this handler; "" on a thread that never failed.
    /// Valid until the thread's next failing call on this handler.
    const std::string& getLastError() const;

    // ---- conversions of the value model -------------------------------------------------------

    /// Parses a boolean word after lowering its case (no trimming): "on", "true", "yes", "y",
    /// "1", "ja", "j" are true; "off", "false", "no", "n", "0", "nein" false; false for anything
    /// else, `value` then unchanged.
    static bool parseBoolean(const std::string& text, bool& value);
    /// The C library's atol rule: leading blanks, an optional sign, decimal digits up to the
    /// first other character; a text that is no number gives 0 (beyond the range of long: the
    /// nearest limit).
    static long toLong(const std::string& text);
    static const char* booleanText(bool value) { return value ? "true" : "false"; }

protected:
    // ---- virtual slots, protected group
    // ----------------------------------------------------------

    /// The one primitive every handler provides: true when the entry exists and `out` holds its
    /// values; `out` is untouched otherwise.
    virtual bool readEntryAsStringList(const std::string& path, StringList& out) = 0;
    /// Default: the first value read by readEntryAsStringList, "" for an empty list.
    virtual bool readEntryAsString(const std::string& path, std::string& out);
    /// Default: readEntryAsStringList.
    virtual bool readStringListEntry(const std::string& path, StringList& out);
    /// Default: readEntryAsString.
    virtual bool readStringEntry(const std::string& path, std::string& out);
    /// Default: every value converted by toLong.
    virtual bool readLongListEntry(const std::string& path, std::vector<long>& out);
    /// Default: the string converted by toLong; `out` is written only when the read succeeds.
    virtual bool readLongEntry(const std::string& path, long& out);
    /// Default: every value parsed by parseBoolean. At the first invalid word it fails with
    /// "invalid boolean value: '{0}'"; the values before it are already set.
    virtual bool readBooleanListEntry(const std::string& path, std::vector<bool>& out);
    /// Default: the string parsed by parseBoolean; "invalid boolean value: '{0}'" when invalid.
    virtual bool readBooleanEntry(const std::string& path, bool& out);
    /// Default: fails with "reading of key list is not supported by {0}.".
    virtual bool readKeyList(const std::string& path, StringList& out);
    /// Default: fails with "getting info about entry existence is not supported by {0}.".
    virtual bool entryIsExisting(const std::string& path, bool& exists);
    /// Default: fails with "getting info about key existence is not supported by {0}.".
    virtual bool keyIsExisting(const std::string& path, bool& exists);
    /// Default: fails with "writing of entry is not supported by {0}".
    virtual bool writeEntryAsStringList(const std::string& path, const StringList& values);
    /// Default: writeEntryAsStringList with a list of one value.
    virtual bool writeEntryAsString(const std::string& path, const std::string& value);
    /// Default: writeEntryAsStringList.
    virtual bool writeStringListEntry(const std::string& path, const StringList& values);
    /// Default: writeEntryAsString.
    virtual bool writeStringEntry(const std::string& path, const std::string& value);
    /// Default: the values as decimal texts through writeEntryAsStringList.
    virtual bool writeLongListEntry(const std::string& path, const std::vector<long>& values);
    /// Default: the decimal text through writeEntryAsString.
    virtual bool writeLongEntry(const std::string& path, long value);
    /// Default: "true" / "false" per value through writeEntryAsStringList.
    virtual bool writeBooleanListEntry(const std::string& path, const std::vector<bool>& values);
    /// Default: "true" or "false" through writeEntryAsString.
    virtual bool writeBooleanEntry(const std::string& path, bool value);
    /// Default: fails with "writing of key is not supported by {0}".
    virtual bool writeKey(const std::string& path);

    // ---- status for subclasses ---------------------------------------------------------------

    /// Replaces the calling thread's last error text; the status stays.
    void setLastError(const std::string& text);
    /// Replaces the calling thread's last error text and the status.
    void setLastError(const std::string& text, HandlerStatus status);
    /// Sets the status alone (OperationNotSupported is set without a message).
    void setHandlerStatus(HandlerStatus status);

private:
    struct Private;
    Private* d;
};

} // namespace Core
} // namespace Orvane
