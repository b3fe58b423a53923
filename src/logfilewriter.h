// The output of the file logging handler: one log file, appended to by any number of threads and
// processes, renamed aside when it reaches its maximum size.
#pragma once

#include "qorcommon/gc.h"

#include "platform/platform.h"

#include <cstddef>
#include <cstdint>
#include <functional>
#include <memory>
#include <string>

namespace Orvane {
namespace Core {
namespace Internal {

struct LogFileOptions {
    std::string path;
    std::int64_t maxSize = 10 * 1024 * 1024;
    /// Renamed files kept; negative: all.
    long keepFiles = -1;
    bool buffered = false;
    long flushIntervalMs = 200;
    /// Texts written at the head of a new file and the foot of a renamed one (made on demand;
    /// an empty result writes nothing).
    std::function<std::string()> header;
    std::function<std::string()> footer;
};

/// Writes whole lines to one log file.
///
/// Every line is one system write in append mode, so lines of several writers never interleave.
/// Rotation happens under an advisory lock on "<path>.lock": the writer that finds the file full
/// renames it to "<dir><base>_<YYYYMMDDHH24MISSSSMMM>.<ext>" (a further "_<n>" when that name is
/// taken) and begins a fresh file; the other writers see the file's identity change and reopen.
class LogFileWriter : public GCObject {
public:
    explicit LogFileWriter(LogFileOptions options);
    ~LogFileWriter() override;
    LogFileWriter(const LogFileWriter&) = delete;
    LogFileWriter& operator=(const LogFileWriter&) = delete;

    /// Writes one line (line end included). With the buffered policy the line may wait unless
    /// `flushNow`.
    void write(const char* data, std::size_t size, bool flushNow);
    /// Hands buffered lines to the system.
    void flush();

    const std::string& path() const;

    /// The name a file renamed at `stampText` gets (without the "_<n>" of a taken name).
    static std::string rotatedName(const std::string& path, const std::string& stampText);

private:
    struct Private;
    std::unique_ptr<Private> d;
};

} // namespace Internal
} // namespace Core
} // namespace Orvane
