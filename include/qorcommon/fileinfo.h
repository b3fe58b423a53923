// File information and paths: the parts of a path, existence and size, folders, copying,
// moving, deleting, and file-name patterns that behave the same on every platform.
#pragma once

#include "qorcommon/export.h"

#include <cstdint>
#include <string>
#include <vector>

namespace Orvane {
namespace Core {

/// Names one path (UTF-8) and answers questions about it. A copyable value: nothing is read from
/// the file system until a question is asked, so the answers are always current. Fallible
/// operations return false and, when `error` is given, store the system's reason there.
class QORCOMMON_API FileInfo {
public:
    FileInfo();
    explicit FileInfo(const std::string& path);
    FileInfo(const FileInfo& other);
    FileInfo(FileInfo&& other) noexcept;
    FileInfo& operator=(const FileInfo& other);
    FileInfo& operator=(FileInfo&& other) noexcept;
    ~FileInfo();

    /// The path as given.
    const std::string& path() const;
    void setPath(const std::string& path);

    /// The absolute form, made from the current directory, with "." and ".." resolved as text.
    std::string absolutePath() const;
    /// The folder part: "logs" for "logs/app.log", "/" for "/app.log", empty for "app.log".
    std::string directory() const;
    /// The last part, "app.log".
    std::string fileName() const;
    /// The last part without its last extension: "app" for "app.log", "a.tar" for "a.tar.gz",
    /// ".profile" for ".profile".
    std::string baseName() const;
    /// The last extension without its dot: "log" for "app.log", empty when there is none.
    std::string extension() const;

    bool exists() const;
    bool isDirectory() const;
    bool isFile() const;
    /// Size in bytes; -1 when the path is missing or a folder.
    std::int64_t size() const;

    /// Creates this path as a folder with every missing parent; true when it is one afterwards.
    bool createDirectories(std::string* error = nullptr) const;
    /// Copies the file to `target`; an existing target is replaced only when `overwrite` is set.
    bool copyTo(const std::string& target, bool overwrite = false,
                std::string* error = nullptr) const;
    /// Moves or renames the file or folder to `target`, replacing an existing target file; on
    /// success this object names `target`.
    bool moveTo(const std::string& target, std::string* error = nullptr);
    /// Deletes the file, or the folder when it is empty.
    bool remove(std::string* error = nullptr) const;
    /// Names (not paths) of this folder's entries that match `patterns` (see matchesPattern;
    /// empty: every entry), sorted; empty when the folder cannot be read.
    std::vector<std::string> list(const std::string& patterns = std::string()) const;

    /// Joins two paths with the platform's separator; `tail` replaces `head` when it is absolute.
    static std::string join(const std::string& head, const std::string& tail);
    /// The process's current directory.
    static std::string currentDir();
    /// "\\" on Windows, "/" elsewhere.
    static char separator();
    /// Whether `name` matches a pattern list with the Windows shell's rules, on every platform:
    /// "*" any run of characters, "?" exactly one, letters compared without case, patterns
    /// separated by ";" (leading spaces ignored). "*.*" as the whole list matches every name,
    /// also one without a dot; an empty list matches nothing.
    static bool matchesPattern(const std::string& name, const std::string& patterns);

private:
    struct Private;
    Private* d;
};

} // namespace Core
} // namespace Orvane
