// Files and folders on POSIX.
#include "platform/platform.h"
#include "platform/posix/posixsupport.h"

#include <algorithm>
#include <cerrno>

#include <dirent.h>
#include <fcntl.h>
#include <fnmatch.h>
#include <sys/stat.h>
#include <unistd.h>

namespace Orvane {
namespace Core {
namespace Platform {

char pathSeparator() {
    return '/';
}

bool fileExists(const std::string& path) {
    struct stat info {};
    return !path.empty() && stat(path.c_str(), &info) == 0;
}

bool isDirectory(const std::string& path) {
    struct stat info {};
    return !path.empty() && stat(path.c_str(), &info) == 0 && S_ISDIR(info.st_mode);
}

std::int64_t fileSize(const std::string& path) {
    struct stat info {};
    if (path.empty() || stat(path.c_str(), &info) != 0 || S_ISDIR(info.st_mode)) return -1;
    return static_cast<std::int64_t>(info.st_size);
}

bool createDirectories(const std::string& path, std::string& error) {
    if (path.empty()) {
        error = "empty path";
        return false;
    }
    // Create each prefix ending before a separator, then the whole path.
    for (size_t end = path.find('/', 1);; end = path.find('/', end + 1)) {
        const std::string prefix = path.substr(0, end);
        if (!prefix.empty() && mkdir(prefix.c_str(), 0777) != 0 && errno != EEXIST) {
            error = Posix::errorText(errno);
            return false;
        }
        if (end == std::string::npos) break;
    }
    if (isDirectory(path)) return true;
    error = Posix::errorText(ENOTDIR);
    return false;
}

bool renameFile(const std::string& from, const std::string& to, std::string& error) {
    if (rename(from.c_str(), to.c_str()) == 0) return true;
    error = Posix::errorText(errno);
    return false;
}

namespace {

// Closes a descriptor when the copy leaves, keeping errno of the failure that ended it.
struct Descriptor {
    int fd;
    explicit Descriptor(int value) : fd(value) {}
    ~Descriptor() {
        if (fd >= 0) {
            const int saved = errno;
            close(fd);
            errno = saved;
        }
    }
    Descriptor(const Descriptor&) = delete;
    Descriptor& operator=(const Descriptor&) = delete;
};

bool writeAll(int fd, const char* data, size_t length) {
    while (length > 0) {
        const ssize_t written = write(fd, data, length);
        if (written < 0) {
            if (errno == EINTR) continue;
            return false;
        }
        data += written;
        length -= static_cast<size_t>(written);
    }
    return true;
}

bool copyContent(int source, int target) {
    char buffer[64 * 1024];
    for (;;) {
        const ssize_t got = read(source, buffer, sizeof buffer);
        if (got == 0) return true;
        if (got < 0) {
            if (errno == EINTR) continue;
            return false;
        }
        if (!writeAll(target, buffer, static_cast<size_t>(got))) return false;
    }
}

} // namespace

bool copyFile(const std::string& from, const std::string& to, bool overwrite, std::string& error) {
    Descriptor source(open(from.c_str(), O_RDONLY | O_CLOEXEC));
    struct stat info {};
    if (source.fd < 0 || fstat(source.fd, &info) != 0) {
        error = Posix::errorText(errno);
        return false;
    }
    if (S_ISDIR(info.st_mode)) {
        error = Posix::errorText(EISDIR);
        return false;
    }
    // Truncating the target would otherwise empty the source before it is read.
    struct stat existing {};
    if (stat(to.c_str(), &existing) == 0 && existing.st_dev == info.st_dev &&
        existing.st_ino == info.st_ino) {
        error = "source and target are the same file";
        return false;
    }
    const int flags = O_WRONLY | O_CREAT | O_CLOEXEC | (overwrite ? O_TRUNC : O_EXCL);
    Descriptor target(open(to.c_str(), flags, info.st_mode & 0777));
    if (target.fd < 0 || !copyContent(source.fd, target.fd)) {
        error = Posix::errorText(errno);
        return false;
    }
    const int result = close(target.fd);
    target.fd = -1;
    if (result != 0) {
        error = Posix::errorText(errno);
        return false;
    }
    return true;
}

bool removeFile(const std::string& path, std::string& error) {
    if (unlink(path.c_str()) == 0) return true;
    error = Posix::errorText(errno);
    return false;
}

bool matchFileName(const std::string& name, const std::string& pattern) {
    // "*.*" and an empty pattern mean "every name", as they do for Win32 file patterns.
    if (pattern.empty() || pattern == "*" || pattern == "*.*") return true;
    return fnmatch(pattern.c_str(), name.c_str(), FNM_NOESCAPE) == 0;
}

std::FILE* openFile(const std::string& path, const char* mode) {
    if (path.empty() || !mode) return nullptr;
    return std::fopen(path.c_str(), mode);
}

std::vector<std::string> listDirectory(const std::string& folder, const std::string& pattern) {
    std::vector<std::string> names;
    DIR* directory = opendir(folder.empty() ? "." : folder.c_str());
    if (!directory) return names;
    while (dirent* entry = readdir(directory)) {
        const std::string name(entry->d_name);
        if (name != "." && name != ".." && matchFileName(name, pattern)) names.push_back(name);
    }
    closedir(directory);
    std::sort(names.begin(), names.end());
    return names;
}

} // namespace Platform
} // namespace Core
} // namespace Orvane
