// Folders, child processes, shared memory and version resources on POSIX.
#include "platform/platform.h"
#include "platform/posix/posixsupport.h"

#include <cerrno>
#include <csignal>

#include <fcntl.h>
#include <spawn.h>
#include <sys/mman.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

extern char** environ;

namespace Orvane {
namespace Core {
namespace Platform {

bool isTerminal(int stream) {
    return isatty(stream == 2 ? STDERR_FILENO : STDOUT_FILENO) == 1;
}

bool enableColourSequences(int stream) {
    return isTerminal(stream);
}

bool removeDirectory(const std::string& path, std::string& error) {
    if (rmdir(path.c_str()) == 0) return true;
    error = Posix::errorText(errno);
    return false;
}

int runProcess(const std::string& program, const std::vector<std::string>& arguments,
               std::string& error) {
    std::vector<char*> argv;
    argv.push_back(const_cast<char*>(program.c_str()));
    for (const std::string& argument : arguments)
        argv.push_back(const_cast<char*>(argument.c_str()));
    argv.push_back(nullptr);
    pid_t child = 0;
    const int started =
        posix_spawn(&child, program.c_str(), nullptr, nullptr, argv.data(), environ);
    if (started != 0) {
        error = Posix::errorText(started);
        return -1;
    }
    int status = 0;
    while (waitpid(child, &status, 0) < 0) {
        if (errno != EINTR) {
            error = Posix::errorText(errno);
            return -1;
        }
    }
    if (WIFEXITED(status)) return WEXITSTATUS(status);
    error = "the process was ended by signal " + std::to_string(WTERMSIG(status));
    return -1;
}

namespace {

// shm_open names begin with one slash and contain no other.
bool systemName(const std::string& name, std::string& out, std::string& error) {
    if (name.empty() || name.size() > 200 || name.find('/') != std::string::npos ||
        name.find('\\') != std::string::npos) {
        error = "invalid shared memory name '" + name + "'";
        return false;
    }
    out = "/" + name;
    return true;
}

bool mapDescriptor(int fd, std::size_t length, SharedMapping& mapping, std::string& error) {
    void* address = mmap(nullptr, length, PROT_READ | PROT_WRITE, MAP_SHARED, fd, 0);
    if (address == MAP_FAILED) {
        error = Posix::errorText(errno);
        return false;
    }
    mapping.address = address;
    mapping.length = length;
    mapping.handle = nullptr;
    return true;
}

} // namespace

bool createSharedMemory(const std::string& name, std::size_t length, SharedMapping& mapping,
                        std::string& error) {
    std::string path;
    if (!systemName(name, path, error)) return false;
    if (length == 0) {
        error = "a shared memory block needs at least one byte";
        return false;
    }
    const int fd = shm_open(path.c_str(), O_RDWR | O_CREAT | O_EXCL, 0600);
    if (fd < 0) {
        error = Posix::errorText(errno);
        return false;
    }
    bool mapped = ftruncate(fd, static_cast<off_t>(length)) == 0;
    if (!mapped) error = Posix::errorText(errno);
    mapped = mapped && mapDescriptor(fd, length, mapping, error);
    close(fd);
    if (!mapped) shm_unlink(path.c_str());
    return mapped;
}

bool openSharedMemory(const std::string& name, SharedMapping& mapping, std::string& error) {
    std::string path;
    if (!systemName(name, path, error)) return false;
    const int fd = shm_open(path.c_str(), O_RDWR, 0);
    if (fd < 0) {
        error = Posix::errorText(errno);
        return false;
    }
    struct stat info {};
    bool mapped = fstat(fd, &info) == 0;
    if (!mapped) error = Posix::errorText(errno);
    if (mapped && info.st_size <= 0) {
        error = "the shared memory block is empty";
        mapped = false;
    }
    mapped = mapped && mapDescriptor(fd, static_cast<std::size_t>(info.st_size), mapping, error);
    close(fd);
    return mapped;
}

void closeSharedMemory(SharedMapping& mapping) {
    if (mapping.address) munmap(mapping.address, mapping.length);
    mapping = SharedMapping();
}

bool removeSharedMemory(const std::string& name, std::string& error) {
    std::string path;
    if (!systemName(name, path, error)) return false;
    if (shm_unlink(path.c_str()) == 0) return true;
    error = Posix::errorText(errno);
    return false;
}

std::string fileVersion(const std::string&) {
    return std::string();
}

} // namespace Platform
} // namespace Core
} // namespace Orvane
