// The log file of the file logging handler: appending, rotation under a lock shared between
// processes, retention, and recovery from a full disk or a file moved away.
#include "logfilewriter.h"

#include "qorcommon/datetime.h"
#include "qorcommon/mutex.h"

#include <algorithm>
#include <cctype>
#include <cstdio>
#include <utility>
#include <vector>

namespace Orvane {
namespace Core {
namespace Internal {

namespace {

using Lock = ScopedLock<Platform::Mutex>;

// How often a writer looks whether its file is still the one at the path (moved or deleted by an
// operator, renamed by another process).
const std::uint64_t IdentityCheckNs = 1000ull * 1000 * 1000;
// A buffered writer hands its lines over once this much has gathered.
const std::size_t BufferLimit = 64 * 1024;

struct PathParts {
    std::string directory; // with its closing separator, or empty
    std::string base;
    std::string extension; // without the dot, or empty
};

PathParts splitPath(const std::string& path) {
    PathParts parts;
    const std::size_t slash = path.find_last_of("/\\");
    parts.directory = slash == std::string::npos ? std::string() : path.substr(0, slash + 1);
    const std::string name = slash == std::string::npos ? path : path.substr(slash + 1);
    const std::size_t dot = name.rfind('.');
    if (dot == std::string::npos || dot == 0) {
        parts.base = name;
    } else {
        parts.base = name.substr(0, dot);
        parts.extension = name.substr(dot + 1);
    }
    return parts;
}

std::string joinName(const PathParts& parts, const std::string& suffix) {
    std::string name = parts.directory + parts.base + suffix;
    if (!parts.extension.empty()) name += "." + parts.extension;
    return name;
}

void printToStandardOutput(const std::string& text) {
    std::fwrite(text.data(), 1, text.size(), stdout);
    std::fflush(stdout);
}

void printToStandardError(const std::string& text) {
    std::fwrite(text.data(), 1, text.size(), stderr);
    std::fflush(stderr);
}

// A renamed file's sort key: its time stamp, then its "_<n>" number (none sorts first).
struct RotatedFile {
    std::string name;
    std::string stamp;
    long number;
};

} // namespace

struct LogFileWriter::Private {
    LogFileOptions options;
    PathParts parts;
    Platform::Mutex mutex;
    Platform::AppendFile file;
    Platform::FileLock fileLock;
    bool lockOpened = false;
    Platform::FileIdentity identity;
    // The file's size as last seen plus what this writer added since; other processes' lines
    // are counted when the size is read again, every syncEvery bytes.
    std::int64_t knownSize = 0;
    std::int64_t sinceSync = 0;
    std::int64_t syncEvery = 0;
    std::int64_t rotateAt = 0;
    std::uint64_t nextIdentityCheck = 0;
    std::string buffer;
    bool writeFailing = false;
    bool renameFailing = false;
    bool lockFailing = false;
    // The last renamed name's stamp and number, so that many renames within one second do not
    // probe every taken name again.
    std::string lastStamp;
    long lastNumber = 0;
    Platform::PeriodicTimer timer;
    // Where the system's append mode is not atomic between processes, writes take the lock too.
    const bool appendsAtomic = Platform::appendsAreAtomic();

    // Holds the advisory lock for a scope when it could be taken; the handler's mutex is held.
    class FileLockScope {
    public:
        explicit FileLockScope(Private& owner) : m_owner(owner) {
            m_locked = owner.lockOpened && owner.fileLock.lock();
        }
        ~FileLockScope() {
            if (m_locked) m_owner.fileLock.unlock();
        }
        FileLockScope(const FileLockScope&) = delete;
        FileLockScope& operator=(const FileLockScope&) = delete;

    private:
        Private& m_owner;
        bool m_locked;
    };

    void ensureDirectory() {
        if (parts.directory.empty() || Platform::isDirectory(parts.directory)) return;
        std::string error;
        Platform::createDirectories(parts.directory, error);
    }

    // Opens the file at the path; the caller holds the advisory lock when `locked`.
    bool open(bool locked) {
        file.close();
        ensureDirectory();
        std::string error;
        for (int attempt = 1; attempt <= 2; ++attempt) {
            if (file.open(options.path, error)) break;
            printToStandardOutput("cannot open logfile (" + std::to_string(attempt) +
                                  "): " + options.path + "\n");
            // The directory may have gone between the check and the open.
            ensureDirectory();
        }
        if (!file.isOpen()) return false;
        if (!lockOpened) {
            lockOpened = fileLock.open(options.path + ".lock", error);
            if (!lockOpened && !lockFailing) {
                lockFailing = true;
                printToStandardError("QorCommon: cannot open the lock file of '" + options.path +
                                     "' (" + error +
                                     "); rotation is not coordinated with "
                                     "other processes\n");
            }
        }
        if (locked) {
            begin();
        } else {
            FileLockScope scope(*this);
            begin();
        }
        return true;
    }

    // A file just opened: its header when it is new, and what later writes compare against.
    void begin() {
        knownSize = file.size();
        if (knownSize == 0 && options.header) {
            std::string header = options.header();
            if (!header.empty()) {
                if (header.back() != '\n') header += '\n';
                std::string error;
                if (file.write(header.data(), header.size(), error))
                    knownSize += static_cast<std::int64_t>(header.size());
            }
        }
        sinceSync = 0;
        file.identity(identity);
        nextIdentityCheck = Platform::monotonicNs() + IdentityCheckNs;
    }

    bool ensureOpen() {
        if (!file.isOpen()) return open(false);
        const std::uint64_t now = Platform::monotonicNs();
        if (now < nextIdentityCheck) return true;
        nextIdentityCheck = now + IdentityCheckNs;
        Platform::FileIdentity atPath;
        if (Platform::fileIdentity(options.path, atPath) && atPath == identity) return true;
        // Moved, deleted or renamed aside by another process: begin the file at the path again.
        return open(false);
    }

    void rotate() {
        FileLockScope scope(*this);
        Platform::FileIdentity atPath;
        if (!Platform::fileIdentity(options.path, atPath) || atPath != identity) {
            // Another writer renamed it already.
            open(true);
            return;
        }
        const std::int64_t size = file.size();
        if (size >= 0 && size < rotateAt) {
            knownSize = size;
            return;
        }
        const std::string stamp = DateTime::now().asString("YYYYMMDDHH24MISSSSMMM").str();
        std::string target = rotatedName(options.path, stamp);
        std::string error;
        bool renamed = false;
        long number = stamp == lastStamp ? lastNumber + 1 : 0;
        for (long attempts = 0; attempts < 100000; ++attempts, ++number) {
            if (number > 0) target = joinName(parts, "_" + stamp + "_" + std::to_string(number));
            bool exists = false;
            renamed = Platform::renameFileNoReplace(options.path, target, exists, error);
            if (renamed || !exists) break;
        }
        if (renamed) {
            lastStamp = stamp;
            lastNumber = number;
        }
        if (!renamed) {
            // The file stays in use; the next attempt comes at the next threshold.
            if (!renameFailing) {
                renameFailing = true;
                printToStandardError("QorCommon: cannot rename log file '" + options.path +
                                     "' to '" + target + "' (" + error +
                                     "); logging goes on in the same file\n");
            }
            rotateAt = (size >= 0 ? size : knownSize) + options.maxSize;
            return;
        }
        renameFailing = false;
        rotateAt = options.maxSize;
        if (options.footer) {
            // The open handle now refers to the renamed file.
            std::string footer = options.footer();
            if (!footer.empty()) {
                if (footer.back() != '\n') footer += '\n';
                file.write(footer.data(), footer.size(), error);
            }
        }
        open(true);
        if (options.keepFiles >= 0) removeOldFiles();
    }

    void removeOldFiles() {
        const std::string prefix = parts.base + "_";
        const std::string suffix = parts.extension.empty() ? std::string() : "." + parts.extension;
        std::vector<RotatedFile> rotated;
        const std::string folder = parts.directory.empty() ? std::string(".") : parts.directory;
        for (const std::string& name : Platform::listDirectory(folder, prefix + "*" + suffix)) {
            if (name.size() <= prefix.size() + suffix.size()) continue;
            if (name.compare(0, prefix.size(), prefix) != 0) continue;
            if (name.compare(name.size() - suffix.size(), suffix.size(), suffix) != 0) continue;
            std::string middle =
                name.substr(prefix.size(), name.size() - prefix.size() - suffix.size());
            if (middle.empty() || !std::isdigit(static_cast<unsigned char>(middle[0]))) continue;
            long number = 0;
            const std::size_t underscore = middle.find('_');
            if (underscore != std::string::npos) {
                number = std::strtol(middle.c_str() + underscore + 1, nullptr, 10);
                middle.resize(underscore);
            }
            rotated.push_back(RotatedFile{name, middle, number});
        }
        if (rotated.size() <= static_cast<std::size_t>(options.keepFiles)) return;
        std::sort(rotated.begin(), rotated.end(), [](const RotatedFile& a, const RotatedFile& b) {
            return a.stamp != b.stamp ? a.stamp < b.stamp : a.number < b.number;
        });
        const std::size_t surplus = rotated.size() - static_cast<std::size_t>(options.keepFiles);
        std::string error;
        for (std::size_t i = 0; i < surplus; ++i)
            Platform::removeFile(parts.directory + rotated[i].name, error);
    }

    // Writes a block of whole lines: the file is opened, rotated when full, and written once.
    void writeBlock(const char* data, std::size_t size) {
        if (!ensureOpen()) return; // the lines are lost; the texts were printed
        if (knownSize >= rotateAt) rotate();
        if (!file.isOpen()) return;
        std::string error;
        bool written;
        if (appendsAtomic) {
            written = file.write(data, size, error);
        } else {
            FileLockScope scope(*this);
            written = file.write(data, size, error);
        }
        if (!written) {
            if (!writeFailing) {
                writeFailing = true;
                printToStandardError("QorCommon: cannot write log file '" + options.path + "' (" +
                                     error + "); lines are lost until writing succeeds again\n");
            }
            return;
        }
        if (writeFailing) {
            writeFailing = false;
            printToStandardError("QorCommon: writing log file '" + options.path + "' resumed\n");
        }
        knownSize += static_cast<std::int64_t>(size);
        sinceSync += static_cast<std::int64_t>(size);
        if (sinceSync >= syncEvery) {
            // Reading the size costs a system call; often enough that files shared with other
            // processes overshoot the maximum by little.
            sinceSync = 0;
            const std::int64_t actual = file.size();
            if (actual > knownSize) knownSize = actual;
        }
    }

    void flushBuffer() {
        if (buffer.empty()) return;
        writeBlock(buffer.data(), buffer.size());
        buffer.clear();
    }
};

LogFileWriter::LogFileWriter(LogFileOptions options) : d(new Private) {
    d->options = std::move(options);
    if (d->options.maxSize < 1) d->options.maxSize = 1;
    if (d->options.flushIntervalMs < 1) d->options.flushIntervalMs = 1;
    d->parts = splitPath(d->options.path);
    d->rotateAt = d->options.maxSize;
    d->syncEvery = d->options.maxSize / 64;
    if (d->options.buffered) {
        d->buffer.reserve(BufferLimit + 4096);
        Private* state = d.get();
        d->timer.start(d->options.flushIntervalMs, [state] {
            Lock lock(state->mutex);
            state->flushBuffer();
        });
    }
}

LogFileWriter::~LogFileWriter() {
    if (d->timer.isRunning()) d->timer.stopOrTerminate(10 * d->options.flushIntervalMs + 1000);
    Lock lock(d->mutex);
    d->flushBuffer();
}

void LogFileWriter::write(const char* data, std::size_t size, bool flushNow) {
    Lock lock(d->mutex);
    if (!d->options.buffered) {
        d->writeBlock(data, size);
        return;
    }
    d->buffer.append(data, size);
    if (flushNow || d->buffer.size() >= BufferLimit) d->flushBuffer();
}

void LogFileWriter::flush() {
    Lock lock(d->mutex);
    d->flushBuffer();
}

const std::string& LogFileWriter::path() const {
    return d->options.path;
}

std::string LogFileWriter::rotatedName(const std::string& path, const std::string& stampText) {
    return joinName(splitPath(path), "_" + stampText);
}

} // namespace Internal
} // namespace Core
} // namespace Orvane
