// A configuration handler that keeps its entries in memory.
#pragma once

#include "qorcommon/confighandler.h"

#include <cstddef>
#include <string>

namespace Orvane {
namespace Core {

/// Entries and keys held in memory, with no source behind them and so no cache to update or
/// flush: what is written is read back at once. Useful as the top of a chain for values that a
/// program sets at run time, and in tests.
///
/// Entry paths are split at their last "/" into the key (the section, which may itself contain
/// "/") and the entry name; both must be non-empty ("Incorrect config path: '{0}'.",
/// "Section and entry cannot be empty in config path: '{0}'."). Writing an entry adds its name to
/// its key's list (in the order of first writing); writeKey adds an empty key. A missing entry
/// fails with "{0}: Entry not found: {1}", a missing key with "{0}: Key not found: {1}".
///
/// Supports ReadingEntries, WritingEntries, ReadingKeys and WritingKeys. Safe to share between
/// threads: readers run in parallel, a writer alone.
/// Thread safety: thread-safe.
class QORCOMMON_API MemoryConfigHandler : public ConfigHandler {
public:
    explicit MemoryConfigHandler(GC<ConfigHandler> base = GC<ConfigHandler>());
    ~MemoryConfigHandler() override;

    bool isOperationSupported(Operation operation) const override;

    /// Removes an entry (its name stays out of its key's list); false when it did not exist.
    bool removeEntry(const std::string& path);
    /// Removes every entry and key.
    void clear();
    std::size_t entryCount() const;
    /// The paths of all entries, in byte order.
    StringList entryPaths() const;

protected:
    bool readEntryAsStringList(const std::string& path, StringList& out) override;
    bool readEntryAsString(const std::string& path, std::string& out) override;
    bool readKeyList(const std::string& path, StringList& out) override;
    bool entryIsExisting(const std::string& path, bool& exists) override;
    bool keyIsExisting(const std::string& path, bool& exists) override;
    bool writeEntryAsStringList(const std::string& path, const StringList& values) override;
    bool writeEntryAsString(const std::string& path, const std::string& value) override;
    bool writeKey(const std::string& path) override;

private:
    bool splitPath(const std::string& path, std::string& key, std::string& name);
    bool store(const std::string& path, std::vector<std::string>&& values);

    struct Private;
    Private* d;
};

} // namespace Core
} // namespace Orvane
