// Plug-ins: libraries of features that start-up loads from GLOBAL/PLUGIN_DIR.
//
// A plug-in library exports four C functions:
//     int  orv_plugin_getApiRevision(void);                 // at least 3
//     short orv_plugin_checkApiRevision(int libraryRevision, const char** message);
//     qor_Plugin_ptr orv_plugin_attach(void);               // null: attaching failed
//     void orv_plugin_detach(qor_Plugin_ptr plugin);
// attach hands over the plug-in's QOR::Plugin (a C++ subclass, or a CPlugin made by
// qor_Plugin_construct); detach takes it back and frees it.
#pragma once

#include "qorcommon/export.h"
#include "qorcommon/module.h"
#include "qorcommon/privateptr.h"
#include "qorcommon/result.h"

#include <string>

namespace Orvane {
namespace Core {

class ConfigDefinition;

namespace QOR {

/// The plug-in API revision of this library.
constexpr int PluginApiRevision = 3;

/// A plug-in: a module that a library hands to the framework when attached.
/// Thread safety: the framework calls it from the starting thread.
class QORCOMMON_API Plugin : public Module {
public:
    Plugin();
    ~Plugin() override;
    /// The configuration entries of the plug-in as a whole; null by default.
    virtual GC<ConfigDefinition> configDefinition();
};

/// Owns one loaded plug-in library and the plug-in it attached.
/// Thread safety: used by one thread at a time.
class QORCOMMON_API PluginHolder {
public:
    /// For plug-in `name` in `directory` (empty: the current directory). The file is the name
    /// with the platform's library suffix.
    PluginHolder(const std::string& directory, const std::string& name);
    PluginHolder(const PluginHolder&) = delete;
    PluginHolder& operator=(const PluginHolder&) = delete;
    /// Unloads (detaching first) when still loaded.
    ~PluginHolder();

    /// Loads the library, checks its revision and attaches; each failure is an error record
    /// naming the step and the operating system's reason.
    Result load();
    /// Calls detach and unloads the library; nothing when not loaded.
    void unload();

    bool isLoaded() const;
    /// The attached plug-in; fails the assertion "_plugin != nullptr" when there is none.
    Plugin* plugin() const;
    const std::string& name() const;
    /// The library file that load() opens.
    const std::string& path() const;

private:
    struct Private;
    PrivatePtr<Private> d;
};

} // namespace QOR
} // namespace Core
} // namespace Orvane
