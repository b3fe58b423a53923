// Loading of dynamic libraries (plug-ins) and lookup of their exported functions.
#pragma once

#include "qorcommon/export.h"

#include <string>

namespace Orvane {
namespace Core {

/// Owns one loaded library; the destructor unloads it. Used by one thread at a time (it keeps
/// the text of its last failure); separate loaders of the same file share the system's count,
/// so the file stays loaded until the last of them unloads it.
class QORCOMMON_API LibraryLoader {
public:
    LibraryLoader();
    /// Loads `path` at once; check isLoaded() and errorText().
    explicit LibraryLoader(const std::string& path);
    ~LibraryLoader();
    LibraryLoader(const LibraryLoader&) = delete;
    LibraryLoader& operator=(const LibraryLoader&) = delete;

    /// Loads the library, unloading the one held before; false with errorText() set.
    bool load(const std::string& path);
    /// Unloads the library; true when none is held.
    bool unload();
    bool isLoaded() const;
    /// The path given to the last successful load; empty when nothing is loaded.
    const std::string& path() const;

    /// The address of an exported symbol; null with errorText() set when it is missing.
    void* symbol(const char* name);
    /// The address of an exported function as a function pointer type, e.g.
    /// `loader.function<int (*)(int)>("twice")`.
    template <typename Function> Function function(const char* name) {
        return reinterpret_cast<Function>(symbol(name));
    }

    /// Why the last failed call failed: what was attempted, then the system's reason
    /// (dlerror() / FormatMessageW). Empty after a successful call.
    const std::string& errorText() const;

    /// The file name suffix of libraries on this platform: ".dll" or ".so".
    static std::string suffix();
    /// A folder searched first for libraries loaded later by a bare file name and, on Windows,
    /// for their dependencies (SetDllDirectoryW); empty restores the system's search order.
    static bool setSearchDirectory(const std::string& folder);

private:
    struct Private;
    Private* d;
};

} // namespace Core
} // namespace Orvane
