// Environment, process information and dynamic libraries on POSIX.
#include "platform/platform.h"
#include "platform/posix/posixsupport.h"

#include <cerrno>
#include <climits>
#include <cstdlib>
#include <fstream>
#include <iterator>
#include <mutex>

#include <dlfcn.h>
#include <pwd.h>
#include <sys/utsname.h>
#include <unistd.h>

extern char** environ;

namespace Orvane {
namespace Core {
namespace Platform {

namespace {

// setenv and getenv are not safe against each other; the library's own calls at least agree.
std::mutex& environmentMutex() {
    static std::mutex mutex;
    return mutex;
}

bool validVariableName(const std::string& name) {
    return !name.empty() && name.find('=') == std::string::npos;
}

std::string absolutePath(const std::string& path) {
    char* resolved = realpath(path.c_str(), nullptr);
    if (!resolved) return path;
    std::string result(resolved);
    std::free(resolved);
    return result;
}

} // namespace

// ---- environment -------------------------------------------------------------------------------

bool getEnv(const std::string& name, std::string& value) {
    if (!validVariableName(name)) return false;
    std::lock_guard<std::mutex> lock(environmentMutex());
    const char* found = std::getenv(name.c_str());
    if (!found) return false;
    value = found;
    return true;
}

bool setEnv(const std::string& name, const std::string& value) {
    if (!validVariableName(name)) return false;
    std::lock_guard<std::mutex> lock(environmentMutex());
    return setenv(name.c_str(), value.c_str(), 1) == 0;
}

bool unsetEnv(const std::string& name) {
    if (!validVariableName(name)) return false;
    std::lock_guard<std::mutex> lock(environmentMutex());
    return unsetenv(name.c_str()) == 0;
}

std::vector<std::pair<std::string, std::string>> environment() {
    std::vector<std::pair<std::string, std::string>> result;
    std::lock_guard<std::mutex> lock(environmentMutex());
    for (char** entry = environ; entry && *entry; ++entry) {
        const std::string text(*entry);
        const size_t equals = text.find('=');
        if (equals == std::string::npos)
            result.emplace_back(text, std::string());
        else
            result.emplace_back(text.substr(0, equals), text.substr(equals + 1));
    }
    return result;
}

// ---- process information -----------------------------------------------------------------------

std::vector<std::string> commandLineArguments() {
    // The kernel keeps the original argument vector, each argument ended by a zero byte.
    std::ifstream file("/proc/self/cmdline", std::ios::binary);
    const std::string content((std::istreambuf_iterator<char>(file)),
                              std::istreambuf_iterator<char>());
    std::vector<std::string> arguments;
    size_t begin = 0;
    while (begin < content.size()) {
        size_t end = content.find('\0', begin);
        if (end == std::string::npos) end = content.size();
        arguments.push_back(content.substr(begin, end - begin));
        begin = end + 1;
    }
    return arguments;
}

std::string currentDirectory() {
    std::string buffer(256, '\0');
    for (;;) {
        if (getcwd(&buffer[0], buffer.size())) return buffer.c_str();
        if (errno != ERANGE) return std::string();
        buffer.resize(buffer.size() * 2);
    }
}

bool setCurrentDirectory(const std::string& path) {
    return chdir(path.c_str()) == 0;
}

std::string executablePath() {
    std::string buffer(PATH_MAX, '\0');
    for (;;) {
        const ssize_t length = readlink("/proc/self/exe", &buffer[0], buffer.size());
        if (length < 0) return std::string();
        if (static_cast<size_t>(length) < buffer.size())
            return buffer.substr(0, static_cast<size_t>(length));
        buffer.resize(buffer.size() * 2);
    }
}

std::string libraryPath() {
    Dl_info info{};
    // Any function of this library locates its shared object.
    if (dladdr(reinterpret_cast<void*>(&libraryPath), &info) == 0 || !info.dli_fname)
        return std::string();
    return absolutePath(info.dli_fname);
}

std::string userName() {
    long bufferSize = sysconf(_SC_GETPW_R_SIZE_MAX);
    std::string buffer(bufferSize > 0 ? static_cast<size_t>(bufferSize) : 4096, '\0');
    passwd entry{};
    passwd* found = nullptr;
    while (getpwuid_r(geteuid(), &entry, &buffer[0], buffer.size(), &found) == ERANGE)
        buffer.resize(buffer.size() * 2);
    if (found && found->pw_name) return found->pw_name;
    // Containers often run under ids without a password entry.
    std::string name;
    if (getEnv("USER", name) || getEnv("LOGNAME", name)) return name;
    return std::to_string(static_cast<unsigned long>(geteuid()));
}

std::string computerName() {
    char buffer[HOST_NAME_MAX + 1] = {};
    if (gethostname(buffer, sizeof buffer - 1) != 0) return std::string();
    return buffer;
}

std::string operatingSystemVersion() {
    utsname names{};
    if (uname(&names) != 0) return "POSIX";
    return std::string(names.sysname) + " " + names.release + " " + names.machine;
}

std::string lastSystemErrorText() {
    return Posix::errorText(errno);
}

// ---- dynamic libraries -------------------------------------------------------------------------

namespace {

std::mutex& libraryDirectoryMutex() {
    static std::mutex mutex;
    return mutex;
}

std::string& libraryDirectory() {
    static std::string folder;
    return folder;
}

std::string takeLoaderError(const char* fallback) {
    const char* text = dlerror();
    return text ? text : fallback;
}

} // namespace

void* loadLibrary(const std::string& path, std::string& error) {
    if (path.empty()) {
        error = "empty library path";
        return nullptr;
    }
    if (path.find('/') == std::string::npos) {
        std::string folder;
        {
            std::lock_guard<std::mutex> lock(libraryDirectoryMutex());
            folder = libraryDirectory();
        }
        if (!folder.empty()) {
            if (void* library = dlopen((folder + "/" + path).c_str(), RTLD_NOW | RTLD_LOCAL))
                return library;
        }
    }
    void* library = dlopen(path.c_str(), RTLD_NOW | RTLD_LOCAL);
    if (!library) error = takeLoaderError("the library cannot be loaded");
    return library;
}

void* findSymbol(void* library, const char* name, std::string& error) {
    if (!library || !name) {
        error = "no library or no symbol name";
        return nullptr;
    }
    dlerror();
    void* symbol = dlsym(library, name);
    if (!symbol) error = takeLoaderError("the symbol is null");
    return symbol;
}

bool unloadLibrary(void* library, std::string& error) {
    if (!library) {
        error = "no library";
        return false;
    }
    if (dlclose(library) == 0) return true;
    error = takeLoaderError("the library cannot be unloaded");
    return false;
}

bool setLibraryDirectory(const std::string& path) {
    std::lock_guard<std::mutex> lock(libraryDirectoryMutex());
    libraryDirectory() = path;
    return true;
}

} // namespace Platform
} // namespace Core
} // namespace Orvane
