// The files of a log: the files renamed aside by rotation (<dir><base>_<stamp>[_<n>].<ext>)
// and the file itself, read whole or followed as they grow and rotate.
#pragma once

#include <cstdint>
#include <functional>
#include <set>
#include <string>
#include <vector>

namespace Qorctl {

/// The rotated files of the log at `path`, oldest first (by time stamp, then number).
std::vector<std::string> rotatedLogFiles(const std::string& path);

/// Reads the rotated files and then the log file itself, line by line (line ends removed). The
/// callback returns false to stop. False when the log file and all rotated files are missing.
bool readLogFiles(const std::string& path, const std::function<bool(const std::string&)>& line);

/// Follows a log like "tail -F": everything there is first (rotated files included), then what
/// is appended, across rotations. A line is handed on once its line end has arrived; a line
/// left without one when its file is renamed aside is handed on as it is.
class LogFollower {
public:
    using LineHandler = std::function<bool(const std::string&)>;

    LogFollower(const std::string& path, LineHandler handler);
    /// Reads what is new; false once the handler asked to stop.
    bool poll();
    /// Polls until the handler asks to stop, sleeping `intervalMs` when nothing is new.
    void run(long intervalMs);

private:
    // Reads `file` from `offset` to its current end; the new offset is returned through it.
    bool readFrom(const std::string& file, std::uint64_t& offset, bool wholeLinesOnly);
    bool flushPartial();
    bool deliver(const std::string& text);

    std::string m_path;
    LineHandler m_handler;
    std::set<std::string> m_seenRotated;
    std::uint64_t m_offset = 0;
    // The first bytes of the file being read at the path, to notice that another file took its
    // place.
    std::string m_head;
    std::string m_partial;
    bool m_started = false;
    bool m_stopped = false;
    bool m_progress = false;
};

} // namespace Qorctl
