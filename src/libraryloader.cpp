// Loading of dynamic libraries over the platform layer.
#include "qorcommon/libraryloader.h"

#include "platform/platform.h"

namespace Orvane {
namespace Core {

struct LibraryLoader::Private {
    void* handle = nullptr;
    std::string path;
    std::string error;
};

LibraryLoader::LibraryLoader() : d(new Private) {}

LibraryLoader::LibraryLoader(const std::string& path) : d(new Private) {
    load(path);
}

LibraryLoader::~LibraryLoader() {
    unload();
    delete d;
}

bool LibraryLoader::load(const std::string& path) {
    if (d->handle && !unload()) return false;
    std::string reason;
    void* handle = Platform::loadLibrary(path, reason);
    if (!handle) {
        d->error = "cannot load library '" + path + "': " + reason;
        return false;
    }
    d->handle = handle;
    d->path = path;
    d->error.clear();
    return true;
}

bool LibraryLoader::unload() {
    if (!d->handle) return true;
    std::string reason;
    // The handle is given up even when the system refuses: it cannot be used safely again.
    const bool unloaded = Platform::unloadLibrary(d->handle, reason);
    d->handle = nullptr;
    if (unloaded) {
        d->error.clear();
    } else {
        d->error = "cannot unload library '" + d->path + "': " + reason;
    }
    d->path.clear();
    return unloaded;
}

bool LibraryLoader::isLoaded() const {
    return d->handle != nullptr;
}

const std::string& LibraryLoader::path() const {
    return d->path;
}

void* LibraryLoader::symbol(const char* name) {
    const std::string shown = name ? name : "(null)";
    if (!d->handle) {
        d->error = "cannot find symbol '" + shown + "': no library is loaded";
        return nullptr;
    }
    std::string reason;
    void* address = Platform::findSymbol(d->handle, name, reason);
    if (!address) {
        d->error = "cannot find symbol '" + shown + "' in '" + d->path + "': " + reason;
        return nullptr;
    }
    d->error.clear();
    return address;
}

const std::string& LibraryLoader::errorText() const {
    return d->error;
}

std::string LibraryLoader::suffix() {
    return Platform::pathSeparator() == '\\' ? ".dll" : ".so";
}

bool LibraryLoader::setSearchDirectory(const std::string& folder) {
    return Platform::setLibraryDirectory(folder);
}

} // namespace Core
} // namespace Orvane
