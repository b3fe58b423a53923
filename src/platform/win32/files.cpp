// Files and folders on Win32. Paths may use "/" or "\" as separators.
#include "platform/platform.h"
#include "platform/win32/win32support.h"

#include <ntsecapi.h>
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

std::string withReason(const std::string& what, DWORD code) {
    return what + ": " + Win32::errorText(code);
}

// A symbolic link or junction is written through: the name is replaced by the final path of
// what it points to, so that the link itself stays.
bool finalName(const std::wstring& path, std::wstring& target, std::string& error) {
    target = path;
    const DWORD attributes = GetFileAttributesW(path.c_str());
    if (attributes == INVALID_FILE_ATTRIBUTES || !(attributes & FILE_ATTRIBUTE_REPARSE_POINT))
        return true;
    HANDLE file =
        CreateFileW(path.c_str(), 0, FILE_SHARE_READ | FILE_SHARE_WRITE | FILE_SHARE_DELETE,
                    nullptr, OPEN_EXISTING, FILE_FLAG_BACKUP_SEMANTICS, nullptr);
    if (file == INVALID_HANDLE_VALUE) {
        error = withReason("cannot follow the link '" + Win32::toUtf8(path) + "'", GetLastError());
        return false;
    }
    wchar_t buffer[MAX_PATH + 1];
    std::wstring resolved;
    DWORD length = GetFinalPathNameByHandleW(file, buffer, MAX_PATH + 1, FILE_NAME_NORMALIZED);
    if (length > MAX_PATH) {
        resolved.assign(length, L'\0');
        length = GetFinalPathNameByHandleW(file, &resolved[0], length, FILE_NAME_NORMALIZED);
        resolved.resize(length);
    } else if (length > 0) {
        resolved.assign(buffer, length);
    }
    const DWORD code = GetLastError();
    CloseHandle(file);
    if (length == 0) {
        error = withReason("cannot follow the link '" + Win32::toUtf8(path) + "'", code);
        return false;
    }
    target = resolved;
    return true;
}

std::wstring randomSuffix() {
    unsigned char bytes[8] = {};
    // Without the system's generator the exclusive create still refuses a planted name.
    if (!RtlGenRandom(bytes, sizeof bytes)) {
        const std::uint64_t fallback =
            GetTickCount64() ^ (std::uint64_t(GetCurrentThreadId()) << 32);
        for (size_t i = 0; i < sizeof bytes; ++i)
            bytes[i] = static_cast<unsigned char>(fallback >> (8 * i));
    }
    static const wchar_t digits[] = L"0123456789abcdef";
    std::wstring text;
    for (unsigned char byte : bytes) {
        text += digits[byte >> 4];
        text += digits[byte & 15];
    }
    return text;
}

bool writeAll(HANDLE file, const void* data, size_t size) {
    const char* next = static_cast<const char*>(data);
    while (size > 0) {
        const DWORD piece = size > 0x40000000 ? 0x40000000 : static_cast<DWORD>(size);
        DWORD written = 0;
        if (!WriteFile(file, next, piece, &written, nullptr) || written == 0) return false;
        next += written;
        size -= written;
    }
    return true;
}

} // namespace

bool replaceFileContents(const std::string& path, const void* data, size_t size,
                         std::string& error) {
    if (path.empty()) {
        error = "empty path";
        return false;
    }
    std::wstring target;
    if (!finalName(Win32::toWidePath(path), target, error)) return false;
    const std::string targetText = Win32::toUtf8(target);
    const DWORD attributes = GetFileAttributesW(target.c_str());
    const bool exists = attributes != INVALID_FILE_ATTRIBUTES;
    if (exists && (attributes & FILE_ATTRIBUTE_DIRECTORY)) {
        error = withReason("cannot replace '" + targetText + "'", ERROR_DIRECTORY);
        return false;
    }
    const size_t slash = target.find_last_of(L"\\");
    const std::wstring folder = slash == std::wstring::npos ? L"." : target.substr(0, slash);
    const std::wstring name = slash == std::wstring::npos ? target : target.substr(slash + 1);

    std::wstring temporary;
    HANDLE file = INVALID_HANDLE_VALUE;
    DWORD code = ERROR_SUCCESS;
    for (int attempt = 0; attempt < 8 && file == INVALID_HANDLE_VALUE; ++attempt) {
        temporary = folder + L"\\" + name + L"." + randomSuffix() + L".tmp";
        file = CreateFileW(temporary.c_str(), GENERIC_WRITE, 0, nullptr, CREATE_NEW,
                           FILE_ATTRIBUTE_NORMAL, nullptr);
        code = GetLastError();
        if (file == INVALID_HANDLE_VALUE && code != ERROR_FILE_EXISTS) break;
    }
    if (file == INVALID_HANDLE_VALUE) {
        error =
            withReason("cannot create a temporary file in '" + Win32::toUtf8(folder) + "'", code);
        return false;
    }
    const std::string temporaryText = Win32::toUtf8(temporary);
    const bool written = writeAll(file, data, size);
    code = GetLastError();
    const bool flushed = written && FlushFileBuffers(file);
    if (written && !flushed) code = GetLastError();
    if (!CloseHandle(file) && flushed) {
        code = GetLastError();
        DeleteFileW(temporary.c_str());
        error = withReason("cannot write '" + temporaryText + "'", code);
        return false;
    }
    if (!flushed) {
        DeleteFileW(temporary.c_str());
        error =
            withReason((written ? "cannot flush '" : "cannot write '") + temporaryText + "'", code);
        return false;
    }

    // A rename, which replaces the target in one step (ReplaceFileW, which would also carry the
    // target's security over, is not one step everywhere). A read-only target refuses it, as it
    // refuses writing. The target's other attributes are put back afterwards.
    if (MoveFileExW(temporary.c_str(), target.c_str(),
                    MOVEFILE_REPLACE_EXISTING | MOVEFILE_WRITE_THROUGH)) {
        const DWORD kept = exists ? attributes & (FILE_ATTRIBUTE_HIDDEN | FILE_ATTRIBUTE_SYSTEM |
                                                  FILE_ATTRIBUTE_NOT_CONTENT_INDEXED)
                                  : 0;
        if (kept) SetFileAttributesW(target.c_str(), kept);
        return true;
    }
    code = GetLastError();
    DeleteFileW(temporary.c_str());
    error = withReason("cannot replace '" + targetText + "'", code);
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
