// File information and paths. The parts of a path come from std::filesystem; everything that
// touches the disk goes through the platform layer, which reports the system's own error text.
#include "qorcommon/fileinfo.h"

#include "platform/platform.h"

#include <algorithm>
#include <filesystem>
#include <system_error>

namespace Orvane {
namespace Core {

namespace fs = std::filesystem;

struct FileInfo::Private {
    std::string path;
};

namespace {

fs::path toPath(const std::string& text) {
    return fs::u8path(text);
}

std::string fromPath(const fs::path& path) {
    return path.u8string();
}

bool fail(std::string* error, const std::string& what, const std::string& reason) {
    if (error) *error = what + ": " + reason;
    return false;
}

// ---- file-name patterns ------------------------------------------------------------------------

// Invalid UTF-8 bytes become values above the Unicode range so that they only match themselves.
std::u32string decodeUtf8(const std::string& text) {
    std::u32string out;
    out.reserve(text.size());
    size_t i = 0;
    while (i < text.size()) {
        const unsigned char lead = static_cast<unsigned char>(text[i]);
        size_t extra = 0;
        char32_t value = lead;
        if (lead >= 0xF0 && lead <= 0xF4) {
            extra = 3;
            value = lead & 0x07u;
        } else if (lead >= 0xE0) {
            extra = lead <= 0xEF ? 2 : 0;
            value = lead & 0x0Fu;
        } else if (lead >= 0xC2) {
            extra = 1;
            value = lead & 0x1Fu;
        }
        bool valid = lead < 0x80 || extra > 0;
        for (size_t k = 1; valid && k <= extra; ++k) {
            if (i + k >= text.size() || (static_cast<unsigned char>(text[i + k]) & 0xC0u) != 0x80u)
                valid = false;
            else
                value = (value << 6) | (static_cast<unsigned char>(text[i + k]) & 0x3Fu);
        }
        if (!valid) {
            out.push_back(0x110000u + lead);
            ++i;
            continue;
        }
        out.push_back(value);
        i += extra + 1;
    }
    return out;
}

// Simple case folding for the scripts that file names commonly use; other characters compare
// exactly.
char32_t foldCase(char32_t c) {
    if (c >= U'A' && c <= U'Z') return c + 32;
    if (c < 0xC0) return c;
    if ((c >= 0xC0 && c <= 0xDE && c != 0xD7)) return c + 32;
    if (c >= 0x100 && c <= 0x17F) {
        // Latin Extended-A pairs upper/lower case as even/odd, shifted by one in two stretches.
        if ((c >= 0x139 && c <= 0x148) || (c >= 0x179 && c <= 0x17E)) return (c & 1u) ? c + 1 : c;
        if (c == 0x178) return 0xFF;
        if (c == 0x130 || c == 0x131 || c == 0x138 || c == 0x149 || c == 0x17F) return c;
        return (c & 1u) ? c : c + 1;
    }
    if (c >= 0x391 && c <= 0x3AB && c != 0x3A2) return c + 32;
    if (c >= 0x400 && c <= 0x40F) return c + 80;
    if (c >= 0x410 && c <= 0x42F) return c + 32;
    return c;
}

// One pattern against the whole name. '*' keeps one resume point: on a mismatch the pattern
// restarts after the last '*' with the name advanced by one, which is enough without classes.
bool matchOne(const std::u32string& name, const std::u32string& pattern) {
    size_t n = 0, p = 0;
    size_t starPattern = std::u32string::npos, starName = 0;
    while (n < name.size()) {
        if (p < pattern.size() && pattern[p] == U'*') {
            starPattern = ++p;
            starName = n;
        } else if (p < pattern.size() &&
                   (pattern[p] == U'?' || foldCase(pattern[p]) == foldCase(name[n]))) {
            ++p;
            ++n;
        } else if (starPattern != std::u32string::npos) {
            p = starPattern;
            n = ++starName;
        } else {
            return false;
        }
    }
    while (p < pattern.size() && pattern[p] == U'*')
        ++p;
    return p == pattern.size();
}

} // namespace

bool FileInfo::matchesPattern(const std::string& name, const std::string& patterns) {
    if (patterns == "*.*") return true;
    const std::u32string decodedName = decodeUtf8(name);
    size_t begin = 0;
    while (begin < patterns.size()) {
        size_t end = patterns.find(';', begin);
        if (end == std::string::npos) end = patterns.size();
        size_t first = begin;
        while (first < end && patterns[first] == ' ')
            ++first;
        if (first < end && matchOne(decodedName, decodeUtf8(patterns.substr(first, end - first))))
            return true;
        begin = end + 1;
    }
    return false;
}

// ---- the value ---------------------------------------------------------------------------------

FileInfo::FileInfo() : d(new Private) {}

FileInfo::FileInfo(const std::string& path) : d(new Private{path}) {}

// A moved-from object has no record and reads as an empty path.
FileInfo::FileInfo(const FileInfo& other) : d(new Private{other.path()}) {}

FileInfo::FileInfo(FileInfo&& other) noexcept : d(other.d) {
    other.d = nullptr;
}

FileInfo& FileInfo::operator=(const FileInfo& other) {
    if (this != &other) {
        setPath(other.path());
    }
    return *this;
}

FileInfo& FileInfo::operator=(FileInfo&& other) noexcept {
    std::swap(d, other.d);
    return *this;
}

FileInfo::~FileInfo() {
    delete d;
}

const std::string& FileInfo::path() const {
    static const std::string empty;
    return d ? d->path : empty;
}

void FileInfo::setPath(const std::string& path) {
    if (!d) d = new Private;
    d->path = path;
}

std::string FileInfo::absolutePath() const {
    std::error_code ignored;
    fs::path absolute = fs::absolute(toPath(path()), ignored);
    if (absolute.empty()) absolute = toPath(currentDir()) / toPath(path());
    return fromPath(absolute.lexically_normal());
}

std::string FileInfo::directory() const {
    return fromPath(toPath(path()).parent_path());
}

std::string FileInfo::fileName() const {
    return fromPath(toPath(path()).filename());
}

std::string FileInfo::baseName() const {
    return fromPath(toPath(path()).stem());
}

std::string FileInfo::extension() const {
    const std::string dotted = fromPath(toPath(path()).extension());
    return dotted.empty() ? dotted : dotted.substr(1);
}

bool FileInfo::exists() const {
    return Platform::fileExists(path());
}

bool FileInfo::isDirectory() const {
    return Platform::isDirectory(path());
}

bool FileInfo::isFile() const {
    return exists() && !isDirectory();
}

std::int64_t FileInfo::size() const {
    return Platform::fileSize(path());
}

bool FileInfo::createDirectories(std::string* error) const {
    std::string reason;
    if (Platform::createDirectories(path(), reason)) return true;
    return fail(error, "cannot create the folder '" + path() + "'", reason);
}

bool FileInfo::copyTo(const std::string& target, bool overwrite, std::string* error) const {
    std::string reason;
    if (Platform::copyFile(path(), target, overwrite, reason)) return true;
    return fail(error, "cannot copy '" + path() + "' to '" + target + "'", reason);
}

bool FileInfo::moveTo(const std::string& target, std::string* error) {
    std::string reason;
    if (!Platform::renameFile(path(), target, reason))
        return fail(error, "cannot move '" + path() + "' to '" + target + "'", reason);
    setPath(target);
    return true;
}

bool FileInfo::remove(std::string* error) const {
    std::string reason;
    const bool removed = isDirectory() ? Platform::removeDirectory(path(), reason)
                                       : Platform::removeFile(path(), reason);
    return removed || fail(error, "cannot delete '" + path() + "'", reason);
}

std::vector<std::string> FileInfo::list(const std::string& patterns) const {
    std::vector<std::string> names;
    std::error_code failed;
    fs::directory_iterator entries(toPath(path().empty() ? "." : path()), failed);
    for (; !failed && entries != fs::directory_iterator(); entries.increment(failed)) {
        const std::string name = fromPath(entries->path().filename());
        if (patterns.empty() || matchesPattern(name, patterns)) names.push_back(name);
    }
    std::sort(names.begin(), names.end());
    return names;
}

std::string FileInfo::join(const std::string& head, const std::string& tail) {
    if (head.empty()) return tail;
    if (tail.empty()) return head;
    return fromPath(toPath(head) / toPath(tail));
}

std::string FileInfo::currentDir() {
    return Platform::currentDirectory();
}

char FileInfo::separator() {
    return Platform::pathSeparator();
}

} // namespace Core
} // namespace Orvane
