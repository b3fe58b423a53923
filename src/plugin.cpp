#include "qorcommon/plugin.h"

#include "qorcommon/assertion.h"
#include "qorcommon/c/framework.h"
#include "qorcommon/configdefinition.h"
#include "qorcommon/custominfo.h"
#include "qorcommon/errorinfo.h"
#include "qorcommon/fileinfo.h"
#include "qorcommon/libraryloader.h"
#include "qorcommon/libraryservices.h"

namespace Orvane {
namespace Core {
namespace QOR {

Plugin::Plugin() = default;
Plugin::~Plugin() = default;

GC<ConfigDefinition> Plugin::configDefinition() {
    return GC<ConfigDefinition>();
}

namespace {

// The entry points of a plug-in library (see plugin.h).
using GetApiRevision = int (*)();
using CheckApiRevision = short (*)(int, const char**);
using Attach = qor_Plugin_ptr (*)();
using Detach = void (*)(qor_Plugin_ptr);

const char* const kGetApiRevision = "orv_plugin_getApiRevision";
const char* const kCheckApiRevision = "orv_plugin_checkApiRevision";
const char* const kAttach = "orv_plugin_attach";
const char* const kDetach = "orv_plugin_detach";

bool isCurrentDirectory(const std::string& directory) {
    return directory.empty() || directory == ".\\" || directory == "./" || directory == ".";
}

std::string pluginPath(const std::string& directory, const std::string& name) {
    const std::string file = name + LibraryLoader::suffix();
    // A bare file name would send the loader through the system's search path instead.
    return FileInfo::join(isCurrentDirectory(directory) ? FileInfo::currentDir() : directory, file);
}

} // namespace

struct PluginHolder::Private {
    std::string name;
    std::string path;
    LibraryLoader loader;
    Detach detach = nullptr;
    Plugin* plugin = nullptr;

    // The record of a failed step: the library as origin, the plug-in and the reason attached.
    Result failure(const std::string& text, const CodeLocation& location,
                   const std::string& reason) const {
        CustomInfo info;
        info.set("plugin_name", name);
        info.set("plugin_path", path);
        info.set("reason", reason);
        return Result(ErrorInfo(getModuleInfo(), location, -1, text, std::string(), info), false);
    }
};

PluginHolder::PluginHolder(const std::string& directory, const std::string& name) : d(new Private) {
    d.write()->name = name;
    d.write()->path = pluginPath(directory, name);
}

PluginHolder::~PluginHolder() {
    unload();
}

Result PluginHolder::load() {
    Private& p = *d.write();
    if (p.plugin) return Result(true);
    if (!p.loader.load(p.path))
        return p.failure("cannot load plugin", QOR_CODE_LOCATION, p.loader.errorText());

    const auto getApiRevision = p.loader.function<GetApiRevision>(kGetApiRevision);
    if (!getApiRevision) {
        const Result result =
            p.failure("plugin has no entry point '" + std::string(kGetApiRevision) + "'",
                      QOR_CODE_LOCATION, p.loader.errorText());
        p.loader.unload();
        return result;
    }
    const int revision = getApiRevision();
    if (revision < PluginApiRevision) {
        const Result result =
            p.failure("API revision is too small", QOR_CODE_LOCATION,
                      "the plugin has API revision " + std::to_string(revision) + ", at least " +
                          std::to_string(PluginApiRevision) + " is needed");
        p.loader.unload();
        return result;
    }

    const auto checkApiRevision = p.loader.function<CheckApiRevision>(kCheckApiRevision);
    const auto attach = p.loader.function<Attach>(kAttach);
    const auto detach = p.loader.function<Detach>(kDetach);
    if (!checkApiRevision || !attach || !detach) {
        const char* missing = !checkApiRevision ? kCheckApiRevision : !attach ? kAttach : kDetach;
        const Result result = p.failure("plugin has no entry point '" + std::string(missing) + "'",
                                        QOR_CODE_LOCATION, p.loader.errorText());
        p.loader.unload();
        return result;
    }
    const char* message = nullptr;
    if (checkApiRevision(PluginApiRevision, &message) == 0) {
        const Result result =
            p.failure("Invalid API revision for plugin.", QOR_CODE_LOCATION,
                      message && *message
                          ? std::string(message)
                          : "the plugin refused API revision " + std::to_string(PluginApiRevision));
        p.loader.unload();
        return result;
    }

    auto* plugin = static_cast<Plugin*>(attach().obj);
    if (!plugin) {
        const Result result = p.failure("cannot attach to plugin.", QOR_CODE_LOCATION,
                                        std::string(kAttach) + " returned no plugin");
        p.loader.unload();
        return result;
    }
    p.plugin = plugin;
    p.detach = detach;
    return Result(true);
}

void PluginHolder::unload() {
    Private& p = *d.write();
    if (p.plugin) {
        qor_Plugin_ptr handle;
        handle.obj = p.plugin;
        p.plugin = nullptr;
        p.detach(handle);
        p.detach = nullptr;
    }
    if (p.loader.isLoaded()) p.loader.unload();
}

bool PluginHolder::isLoaded() const {
    return d->plugin != nullptr;
}

Plugin* PluginHolder::plugin() const {
    Plugin* const _plugin = d->plugin;
    QOR_CHECK(_plugin != nullptr);
    return _plugin;
}

const std::string& PluginHolder::name() const {
    return d->name;
}

const std::string& PluginHolder::path() const {
    return d->path;
}

} // namespace QOR
} // namespace Core
} // namespace Orvane
