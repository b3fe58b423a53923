// Configuration from the process's environment variables and from its command line.
//
// Both handlers only read: writing, key lists, existence queries and the cache operations fall to
// the defaults of ConfigHandler and, through the chain, to the base handler.
#pragma once

#include "qorcommon/confighandler.h"

#include <string>
#include <vector>

namespace Orvane {
namespace Core {

/// Reads the environment variable `name` (given and returned in the core encoding); false when
/// it is not set.
QORCOMMON_API bool getEnvVar(const std::string& name, std::string& value);

/// Entries from environment variables: the path "SECTION/ENTRY" is read from the variable
/// PREFIX__SECTION__ENTRY (every "/" becomes "__"; without a prefix the name starts with the
/// section), the case unchanged. A list is the variable's text split at every ";", untrimmed.
/// The environment is read anew at every request.
/// Thread safety: set once at start-up (init() reads the prefix; reading entries is thread-safe).
class QORCOMMON_API EnvVarConfigHandler : public ConfigHandler {
public:
    /// The path of the prefix setting, read from the base handler by init().
    static const char* const PrefixPath; // "ENVVAR_CONFIG_HANDLER/PREFIX"
    /// The prefix when the base handler has none.
    static const char* const DefaultPrefix; // "ORVANE"

    /// The prefix is DefaultPrefix until init().
    explicit EnvVarConfigHandler(GC<ConfigHandler> base = GC<ConfigHandler>());
    ~EnvVarConfigHandler() override;

    /// Takes the prefix from the base handler's PrefixPath (asking down its chain), or
    /// DefaultPrefix when there is no base or no such entry. Call it before sharing the handler.
    void init();

    const std::string& prefix() const;
    /// The name of the variable that holds the entry at `path`.
    std::string variableName(const std::string& path) const;

protected:
    /// Fails with "could not get environment variable: '{0}'" (the variable's name).
    bool readEntryAsString(const std::string& path, std::string& out) override;
    bool readEntryAsStringList(const std::string& path, StringList& out) override;

private:
    struct Private;
    Private* d;
};

/// Entries from "-c" command-line arguments, read once at construction:
///   -cSECTION/ENTRY=value          one value
///   -cSECTION/ENTRY=a<|>b          the values a and b
///   -cSECTION/ENTRY=x=y            the value x=y (only the first "=" separates)
///   -cSECTION/ENTRY                one empty value, as with a "=" and nothing after it
/// The path and the value are trimmed, each value of a list is taken as it stands between the
/// "<|>" separators. A later argument for the same path replaces an earlier one; an argument with
/// an empty path, and every argument that does not start with "-c", is ignored. A missing entry
/// fails without a message, so the base handler may answer.
///
/// Claims ReadingEntries and KeepingCache (the arguments are its cache, fixed for the life of the
/// process) and nothing else.
/// Thread safety: thread-safe (the arguments are read once, by the constructor).
class QORCOMMON_API CLAConfigHandler : public ConfigHandler {
public:
    /// Over the process's own arguments (the program name, the first of them, is never an
    /// option).
    explicit CLAConfigHandler(GC<ConfigHandler> base = GC<ConfigHandler>());
    /// Over the given arguments, every one of them taken as an argument.
    explicit CLAConfigHandler(const std::vector<std::string>& arguments,
                              GC<ConfigHandler> base = GC<ConfigHandler>());
    ~CLAConfigHandler() override;

    bool isOperationSupported(Operation operation) const override;

    /// The paths that the arguments define, in byte order.
    StringList paths() const;

protected:
    bool readEntryAsStringList(const std::string& path, StringList& out) override;
    /// The first value without building a list: lookups that miss here on their way down a chain
    /// stay free of allocations.
    bool readEntryAsString(const std::string& path, std::string& out) override;

private:
    struct Private;
    Private* d;
};

} // namespace Core
} // namespace Orvane
