#include "logfiles.h"

#include "qorcommon/thread.h"

#include <algorithm>
#include <filesystem>
#include <fstream>
#include <system_error>

namespace Qorctl {

namespace fs = std::filesystem;

namespace {

const std::size_t HeadSize = 256;

struct Rotated {
    std::string path;
    std::string stamp;
    unsigned long number;
};

bool allDigits(const std::string& text) {
    return !text.empty() && text.find_first_not_of("0123456789") == std::string::npos;
}

std::uint64_t fileSize(const std::string& path, bool& exists) {
    std::error_code error;
    const auto size = fs::file_size(fs::u8path(path), error);
    exists = !error;
    return error ? 0 : static_cast<std::uint64_t>(size);
}

std::string readBytes(const std::string& path, std::uint64_t offset, std::uint64_t count) {
    std::ifstream in(fs::u8path(path), std::ios::binary);
    if (!in) return std::string();
    in.seekg(static_cast<std::streamoff>(offset));
    std::string data(static_cast<std::size_t>(count), '\0');
    in.read(&data[0], static_cast<std::streamsize>(count));
    data.resize(static_cast<std::size_t>(std::max<std::streamsize>(in.gcount(), 0)));
    return data;
}

} // namespace

std::vector<std::string> rotatedLogFiles(const std::string& path) {
    const fs::path file = fs::u8path(path);
    const std::string stem = file.stem().u8string();
    const std::string extension = file.extension().u8string(); // with its dot
    const std::string prefix = stem + "_";
    fs::path folder = file.parent_path();
    if (folder.empty()) folder = ".";
    std::vector<Rotated> found;
    std::error_code error;
    for (fs::directory_iterator it(folder, error), end; !error && it != end; it.increment(error)) {
        const std::string name = it->path().filename().u8string();
        if (name.size() <= prefix.size() + extension.size()) continue;
        if (name.compare(0, prefix.size(), prefix) != 0) continue;
        if (name.compare(name.size() - extension.size(), extension.size(), extension) != 0)
            continue;
        std::string middle =
            name.substr(prefix.size(), name.size() - prefix.size() - extension.size());
        unsigned long number = 0;
        const std::size_t underscore = middle.find('_');
        if (underscore != std::string::npos) {
            const std::string count = middle.substr(underscore + 1);
            if (!allDigits(count) || count.size() > 9) continue;
            number = std::stoul(count);
            middle.resize(underscore);
        }
        if (!allDigits(middle)) continue;
        found.push_back(Rotated{(folder / it->path().filename()).u8string(), middle, number});
    }
    std::sort(found.begin(), found.end(), [](const Rotated& a, const Rotated& b) {
        if (a.stamp.size() != b.stamp.size()) return a.stamp.size() < b.stamp.size();
        return a.stamp != b.stamp ? a.stamp < b.stamp : a.number < b.number;
    });
    std::vector<std::string> paths;
    for (const Rotated& rotated : found)
        paths.push_back(rotated.path);
    return paths;
}

bool readLogFiles(const std::string& path, const std::function<bool(const std::string&)>& line) {
    std::vector<std::string> files = rotatedLogFiles(path);
    files.push_back(path);
    bool any = false;
    for (const std::string& file : files) {
        std::ifstream in(fs::u8path(file), std::ios::binary);
        if (!in) continue;
        any = true;
        std::string text;
        while (std::getline(in, text)) {
            if (!text.empty() && text.back() == '\r') text.pop_back();
            if (!line(text)) return true;
        }
    }
    return any;
}

LogFollower::LogFollower(const std::string& path, LineHandler handler)
    : m_path(path), m_handler(std::move(handler)) {}

bool LogFollower::deliver(const std::string& text) {
    if (m_stopped) return false;
    std::string line = text;
    if (!line.empty() && line.back() == '\r') line.pop_back();
    if (!m_handler(line)) m_stopped = true;
    return !m_stopped;
}

bool LogFollower::flushPartial() {
    if (m_partial.empty()) return !m_stopped;
    const std::string text = std::move(m_partial);
    m_partial.clear();
    return deliver(text);
}

bool LogFollower::readFrom(const std::string& file, std::uint64_t& offset, bool wholeLinesOnly) {
    bool exists = false;
    const std::uint64_t size = fileSize(file, exists);
    if (!exists || size <= offset) return !m_stopped;
    const std::string data = readBytes(file, offset, size - offset);
    offset += data.size();
    if (!data.empty()) m_progress = true;
    std::size_t start = 0;
    while (start < data.size()) {
        const std::size_t end = data.find('\n', start);
        if (end == std::string::npos) {
            m_partial.append(data, start, std::string::npos);
            break;
        }
        m_partial.append(data, start, end - start);
        const std::string text = std::move(m_partial);
        m_partial.clear();
        if (!deliver(text)) return false;
        start = end + 1;
    }
    return wholeLinesOnly || flushPartial();
}

bool LogFollower::poll() {
    m_progress = false;
    for (int attempt = 0; attempt < 2 && !m_stopped; ++attempt) {
        // Files renamed aside since the last look: the oldest of them is the file that was being
        // read (when its head says so), to be finished from where reading stopped.
        bool first = true;
        for (const std::string& rotated : rotatedLogFiles(m_path)) {
            if (!m_seenRotated.insert(rotated).second) continue;
            if (!m_started) {
                std::uint64_t offset = 0;
                if (!readFrom(rotated, offset, false)) return false;
                continue;
            }
            std::uint64_t offset = 0;
            if (first && !m_head.empty() && readBytes(rotated, 0, m_head.size()) == m_head) {
                offset = m_offset;
            } else if (first) {
                // The file being read is gone without trace: what was left of it is lost.
                m_partial.clear();
            }
            first = false;
            if (!readFrom(rotated, offset, false)) return false;
            m_offset = 0;
            m_head.clear();
        }
        m_started = true;

        bool exists = false;
        const std::uint64_t size = fileSize(m_path, exists);
        if (!exists) return !m_stopped;
        const std::string headNow = readBytes(m_path, 0, HeadSize);
        if (!m_head.empty() && headNow.compare(0, m_head.size(), m_head) != 0) {
            // Another file took the path. Its predecessor shows up among the rotated files on
            // the second look; if it does not, the file was replaced or truncated in place.
            if (attempt == 0) continue;
            if (!flushPartial()) return false;
            m_offset = 0;
            m_head.clear();
        } else if (size < m_offset) {
            if (!flushPartial()) return false;
            m_offset = 0;
            m_head.clear();
        }
        if (!readFrom(m_path, m_offset, true)) return false;
        if (m_head.size() < HeadSize)
            m_head = headNow.substr(
                0, static_cast<std::size_t>(std::min<std::uint64_t>(m_offset, headNow.size())));
        break;
    }
    return !m_stopped;
}

void LogFollower::run(long intervalMs) {
    while (poll()) {
        if (!m_progress) Orvane::Core::Thread::sleep(intervalMs);
    }
}

} // namespace Qorctl
