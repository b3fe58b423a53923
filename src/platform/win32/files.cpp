// Files and folders on Win32. Paths may use "/" or "\" as separators.
#include "platform/platform.h"
#include "platform/win32/win32support.h"

#include <share.h>
#include <shlwapi.h>

#include <algorithm>
#include <cstdio>

namespace Orvane {
namespace Core {
namespace Platform {

char pathSeparator() {
    return '\\';
}

namespace {

bool attributesOf(const std::string& path, WIN32_FILE_ATTRIBUTE_DATA& data) {
    return !path.empty() &&
           GetFileAttributesExW(Win32::toWidePath(path).c_str(), GetFileExInfoStandard, &data);
}

bool isSeparator(wchar_t character) {
    return character == L'\\' || character == L'/';
}

} // namespace

bool fileExists(const std::string& path) {
    WIN32_FILE_ATTRIBUTE_DATA data{};
    return attributesOf(path, data);
}

bool isDirectory(const std::string& path) {
    WIN32_FILE_ATTRIBUTE_DATA data{};
    return attributesOf(path, data) && (data.dwFileAttributes & FILE_ATTRIBUTE_DIRECTORY) != 0;
}

std::int64_t fileSize(const std::string& path) {
    WIN32_FILE_ATTRIBUTE_DATA data{};
    if (!attributesOf(path, data) || (data.dwFileAttributes & FILE_ATTRIBUTE_DIRECTORY) != 0)
        return -1;
    return static_cast<std::int64_t>((static_cast<std::uint64_t>(data.nFileSizeHigh) << 32) |
                                     data.nFileSizeLow);
}

bool createDirectories(const std::string& path, std::string& error) {
    if (path.empty()) {
        error = "empty path";
        return false;
    }
    // Each prefix ending before a separator is created in turn. Prefixes such as "C:" or
    // "\\server" cannot be created and fail harmlessly; only the final outcome counts.
    const std::wstring wide = Win32::toWidePath(path);
    DWORD lastError = ERROR_SUCCESS;
    for (size_t end = 1; end <= wide.size(); ++end) {
        if (end < wide.size() && !isSeparator(wide[end])) continue;
        if (isSeparator(wide[end - 1])) continue;
        const std::wstring prefix = wide.substr(0, end);
        const DWORD attributes = GetFileAttributesW(prefix.c_str());
        if (attributes != INVALID_FILE_ATTRIBUTES && (attributes & FILE_ATTRIBUTE_DIRECTORY))
            continue;
        if (!CreateDirectoryW(prefix.c_str(), nullptr) && GetLastError() != ERROR_ALREADY_EXISTS)
            lastError = GetLastError();
    }
    if (isDirectory(path)) return true;
    error = Win32::errorText(lastError != ERROR_SUCCESS ? lastError : ERROR_PATH_NOT_FOUND);
    return false;
}

bool renameFile(const std::string& from, const std::string& to, std::string& error) {
    const DWORD flags = MOVEFILE_REPLACE_EXISTING | MOVEFILE_COPY_ALLOWED;
    if (MoveFileExW(Win32::toWidePath(from).c_str(), Win32::toWidePath(to).c_str(), flags))
        return true;
    error = Win32::errorText(GetLastError());
    return false;
}

bool copyFile(const std::string& from, const std::string& to, bool overwrite, std::string& error) {
    if (CopyFileW(Win32::toWidePath(from).c_str(), Win32::toWidePath(to).c_str(),
                  overwrite ? FALSE : TRUE))
        return true;
    error = Win32::errorText(GetLastError());
    return false;
}

bool removeFile(const std::string& path, std::string& error) {
    if (DeleteFileW(Win32::toWidePath(path).c_str())) return true;
    error = Win32::errorText(GetLastError());
    return false;
}

namespace {

bool matchWide(const std::wstring& name, const std::wstring& pattern) {
    return pattern.empty() || PathMatchSpecW(name.c_str(), pattern.c_str());
}

} // namespace

bool matchFileName(const std::string& name, const std::string& pattern) {
    return matchWide(Win32::toWide(name), Win32::toWide(pattern));
}

std::FILE* openFile(const std::string& path, const char* mode) {
    if (path.empty() || !mode) return nullptr;
    return _wfsopen(Win32::toWidePath(path).c_str(), Win32::toWide(mode).c_str(), _SH_DENYNO);
}

std::vector<std::string> listDirectory(const std::string& folder, const std::string& pattern) {
    std::vector<std::string> names;
    std::wstring query = Win32::toWidePath(folder.empty() ? "." : folder);
    if (!isSeparator(query.back())) query += L'\\';
    query += L'*';
    WIN32_FIND_DATAW found{};
    HANDLE search = FindFirstFileW(query.c_str(), &found);
    if (search == INVALID_HANDLE_VALUE) return names;
    const std::wstring widePattern = Win32::toWide(pattern);
    do {
        const std::wstring name(found.cFileName);
        if (name != L"." && name != L".." && matchWide(name, widePattern))
            names.push_back(Win32::toUtf8(name));
    } while (FindNextFileW(search, &found));
    FindClose(search);
    std::sort(names.begin(), names.end());
    return names;
}

} // namespace Platform
} // namespace Core
} // namespace Orvane
