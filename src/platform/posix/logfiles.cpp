// Files shared by several writers on POSIX: appending, identity, advisory locks, renaming
// without replacing.
#include "platform/platform.h"
#include "platform/posix/posixsupport.h"

#include <cerrno>

#include <fcntl.h>
#include <sys/file.h>
#include <sys/stat.h>
#include <unistd.h>

namespace Orvane {
namespace Core {
namespace Platform {

namespace {

FileIdentity identityOf(const struct stat& info) {
    FileIdentity identity;
    identity.device = static_cast<std::uint64_t>(info.st_dev);
    identity.index = static_cast<std::uint64_t>(info.st_ino);
    return identity;
}

int descriptorOf(std::intptr_t handle) {
    return static_cast<int>(handle);
}

} // namespace

bool fileIdentity(const std::string& path, FileIdentity& out) {
    struct stat info {};
    if (path.empty() || stat(path.c_str(), &info) != 0) return false;
    out = identityOf(info);
    return true;
}

// ---- AppendFile -------------------------------------------------------------------------------

AppendFile::AppendFile() : m_handle(-1) {}

AppendFile::~AppendFile() {
    close();
}

bool AppendFile::open(const std::string& path, std::string& error) {
    close();
    const int fd = ::open(path.c_str(), O_WRONLY | O_APPEND | O_CREAT | O_CLOEXEC, 0666);
    if (fd < 0) {
        error = Posix::errorText(errno);
        return false;
    }
    m_handle = fd;
    return true;
}

void AppendFile::close() {
    if (m_handle >= 0) ::close(descriptorOf(m_handle));
    m_handle = -1;
}

bool AppendFile::isOpen() const {
    return m_handle >= 0;
}

bool AppendFile::write(const char* data, std::size_t size, std::string& error) {
    const int fd = descriptorOf(m_handle);
    if (fd < 0) {
        error = Posix::errorText(EBADF);
        return false;
    }
    while (size > 0) {
        const ssize_t written = ::write(fd, data, size);
        if (written < 0) {
            if (errno == EINTR) continue;
            error = Posix::errorText(errno);
            return false;
        }
        data += written;
        size -= static_cast<std::size_t>(written);
    }
    return true;
}

std::int64_t AppendFile::size() const {
    struct stat info {};
    if (m_handle < 0 || fstat(descriptorOf(m_handle), &info) != 0) return -1;
    return static_cast<std::int64_t>(info.st_size);
}

bool AppendFile::identity(FileIdentity& out) const {
    struct stat info {};
    if (m_handle < 0 || fstat(descriptorOf(m_handle), &info) != 0) return false;
    out = identityOf(info);
    return true;
}

// ---- FileLock ---------------------------------------------------------------------------------

FileLock::FileLock() : m_handle(-1) {}

FileLock::~FileLock() {
    if (m_handle >= 0) ::close(descriptorOf(m_handle));
}

bool FileLock::open(const std::string& path, std::string& error) {
    if (m_handle >= 0) return true;
    const int fd = ::open(path.c_str(), O_RDWR | O_CREAT | O_CLOEXEC, 0666);
    if (fd < 0) {
        error = Posix::errorText(errno);
        return false;
    }
    m_handle = fd;
    return true;
}

bool FileLock::isOpen() const {
    return m_handle >= 0;
}

bool FileLock::lock() {
    if (m_handle < 0) return false;
    // flock belongs to the open file description, so two FileLocks of one process exclude each
    // other too (fcntl locks would not).
    for (;;) {
        if (flock(descriptorOf(m_handle), LOCK_EX) == 0) return true;
        if (errno != EINTR) return false;
    }
}

void FileLock::unlock() {
    if (m_handle >= 0) flock(descriptorOf(m_handle), LOCK_UN);
}

bool appendsAreAtomic() {
    return true;
}

// ---- renaming and processes -------------------------------------------------------------------

bool renameFileNoReplace(const std::string& from, const std::string& to, bool& targetExists,
                         std::string& error) {
    targetExists = false;
    // A hard link fails when the target exists, which rename() would silently replace.
    if (link(from.c_str(), to.c_str()) == 0) {
        if (unlink(from.c_str()) == 0) return true;
        const int saved = errno;
        unlink(to.c_str());
        error = Posix::errorText(saved);
        return false;
    }
    const int linkError = errno;
    if (linkError == EEXIST) {
        targetExists = true;
        error = Posix::errorText(linkError);
        return false;
    }
    if (linkError != EPERM && linkError != ENOTSUP && linkError != EXDEV && linkError != EMLINK) {
        error = Posix::errorText(linkError);
        return false;
    }
    // File systems without hard links: check, then rename (callers hold their own lock).
    struct stat info {};
    if (stat(to.c_str(), &info) == 0) {
        targetExists = true;
        error = Posix::errorText(EEXIST);
        return false;
    }
    if (rename(from.c_str(), to.c_str()) == 0) return true;
    error = Posix::errorText(errno);
    return false;
}

} // namespace Platform
} // namespace Core
} // namespace Orvane
