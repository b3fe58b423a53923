// Files and folders on POSIX.
#include "platform/platform.h"
#include "platform/posix/posixsupport.h"

#include <algorithm>
#include <cerrno>

#include <dirent.h>
#include <fcntl.h>
#include <fnmatch.h>
#include <sys/random.h>
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

namespace {

std::string withReason(const std::string& what, int code) {
    return what + ": " + Posix::errorText(code);
}

// Follows a chain of symbolic links to the name that holds the data, whether or not that exists
// yet, so that the link itself is kept. Relative link texts are read against the link's folder.
bool finalName(const std::string& path, std::string& target, std::string& error) {
    target = path;
    for (int hops = 0;; ++hops) {
        struct stat info {};
        if (lstat(target.c_str(), &info) != 0 || !S_ISLNK(info.st_mode)) return true;
        if (hops == 40) {
            error = withReason("cannot follow the links of '" + path + "'", ELOOP);
            return false;
        }
        std::string link(static_cast<size_t>(info.st_size > 0 ? info.st_size : 255) + 1, '\0');
        const ssize_t length = readlink(target.c_str(), &link[0], link.size());
        if (length < 0 || static_cast<size_t>(length) >= link.size()) {
            error = withReason("cannot read the link '" + target + "'",
                               length < 0 ? errno : ENAMETOOLONG);
            return false;
        }
        link.resize(static_cast<size_t>(length));
        const size_t slash = target.rfind('/');
        if (link[0] != '/' && slash != std::string::npos) link = target.substr(0, slash + 1) + link;
        target = link;
    }
}

std::string randomSuffix() {
    unsigned char bytes[8] = {};
    size_t got = 0;
    while (got < sizeof bytes) {
        const ssize_t result = getrandom(bytes + got, sizeof bytes - got, 0);
        if (result < 0) {
            if (errno == EINTR) continue;
            break; // no kernel source: the exclusive create still refuses a planted name
        }
        got += static_cast<size_t>(result);
    }
    static const char digits[] = "0123456789abcdef";
    std::string text;
    for (unsigned char byte : bytes) {
        text += digits[byte >> 4];
        text += digits[byte & 15];
    }
    return text;
}

void syncFolder(const std::string& folder) {
    const int fd = open(folder.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC);
    if (fd < 0) return;
    fsync(fd);
    close(fd);
}

} // namespace

bool replaceFileContents(const std::string& path, const void* data, size_t size,
                         std::string& error) {
    if (path.empty()) {
        error = "empty path";
        return false;
    }
    std::string target;
    if (!finalName(path, target, error)) return false;
    const size_t slash = target.rfind('/');
    const std::string folder =
        slash == std::string::npos ? "." : (slash == 0 ? "/" : target.substr(0, slash));
    const std::string name = slash == std::string::npos ? target : target.substr(slash + 1);

    struct stat existing {};
    const bool exists = stat(target.c_str(), &existing) == 0;
    if (exists && S_ISDIR(existing.st_mode)) {
        error = withReason("cannot replace '" + target + "'", EISDIR);
        return false;
    }

    // A new file gets the mode that creating it directly would give (0666 less the umask); an
    // existing one's mode is set once the temporary is ours alone.
    std::string temporary;
    int fd = -1;
    for (int attempt = 0; attempt < 8 && fd < 0; ++attempt) {
        temporary = folder + "/." + name + "." + randomSuffix() + ".tmp";
        fd = open(temporary.c_str(), O_WRONLY | O_CREAT | O_EXCL | O_CLOEXEC, exists ? 0600 : 0666);
        if (fd < 0 && errno != EEXIST) break;
    }
    if (fd < 0) {
        error = withReason("cannot create a temporary file in '" + folder + "'", errno);
        return false;
    }

    auto fail = [&](const std::string& what, int code) {
        close(fd);
        unlink(temporary.c_str());
        error = withReason(what, code);
        return false;
    };
    if (!writeAll(fd, static_cast<const char*>(data), size))
        return fail("cannot write '" + temporary + "'", errno);
    if (exists) {
        // The owner can be given away by privileged processes only; others keep their own.
        if (fchown(fd, existing.st_uid, existing.st_gid) != 0 && errno != EPERM)
            return fail("cannot set the owner of '" + temporary + "'", errno);
        if (fchmod(fd, existing.st_mode & 07777) != 0)
            return fail("cannot set the permissions of '" + temporary + "'", errno);
    }
    if (fsync(fd) != 0) return fail("cannot flush '" + temporary + "' to disk", errno);
    if (close(fd) != 0) {
        const int code = errno;
        unlink(temporary.c_str());
        error = withReason("cannot write '" + temporary + "'", code);
        return false;
    }
    if (rename(temporary.c_str(), target.c_str()) != 0) {
        const int code = errno;
        unlink(temporary.c_str());
        error = withReason("cannot rename '" + temporary + "' to '" + target + "'", code);
        return false;
    }
    // Makes the new name durable. The replacement has taken effect whatever this gives, so a
    // folder that cannot be flushed is not reported as a failure to replace.
    syncFolder(folder);
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
