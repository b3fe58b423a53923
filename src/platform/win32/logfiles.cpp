// Files shared by several writers on Win32: appending, identity, advisory locks, renaming
// without replacing.
#include "platform/platform.h"
#include "platform/win32/win32support.h"

namespace Orvane {
namespace Core {
namespace Platform {

namespace {

HANDLE handleOf(std::intptr_t handle) {
    return reinterpret_cast<HANDLE>(handle);
}

const std::intptr_t NoHandle = reinterpret_cast<std::intptr_t>(INVALID_HANDLE_VALUE);

// Shared for everything, so that operators and other writers can read, rename and delete the
// file while it is open.
const DWORD ShareAll = FILE_SHARE_READ | FILE_SHARE_WRITE | FILE_SHARE_DELETE;

bool identityOfHandle(HANDLE handle, FileIdentity& out) {
    BY_HANDLE_FILE_INFORMATION information{};
    if (!GetFileInformationByHandle(handle, &information)) return false;
    out.device = information.dwVolumeSerialNumber;
    out.index =
        (static_cast<std::uint64_t>(information.nFileIndexHigh) << 32) | information.nFileIndexLow;
    return true;
}

} // namespace

bool fileIdentity(const std::string& path, FileIdentity& out) {
    if (path.empty()) return false;
    HANDLE handle = CreateFileW(Win32::toWidePath(path).c_str(), 0, ShareAll, nullptr,
                                OPEN_EXISTING, FILE_FLAG_BACKUP_SEMANTICS, nullptr);
    if (handle == INVALID_HANDLE_VALUE) return false;
    const bool known = identityOfHandle(handle, out);
    CloseHandle(handle);
    return known;
}

// ---- AppendFile -------------------------------------------------------------------------------

AppendFile::AppendFile() : m_handle(NoHandle) {}

AppendFile::~AppendFile() {
    close();
}

bool AppendFile::open(const std::string& path, std::string& error) {
    close();
    // FILE_APPEND_DATA without FILE_WRITE_DATA: every write goes to the end, atomically.
    HANDLE handle = CreateFileW(Win32::toWidePath(path).c_str(),
                                FILE_APPEND_DATA | FILE_READ_ATTRIBUTES | SYNCHRONIZE, ShareAll,
                                nullptr, OPEN_ALWAYS, FILE_ATTRIBUTE_NORMAL, nullptr);
    if (handle == INVALID_HANDLE_VALUE) {
        error = Win32::errorText(GetLastError());
        return false;
    }
    m_handle = reinterpret_cast<std::intptr_t>(handle);
    return true;
}

void AppendFile::close() {
    if (m_handle != NoHandle) CloseHandle(handleOf(m_handle));
    m_handle = NoHandle;
}

bool AppendFile::isOpen() const {
    return m_handle != NoHandle;
}

bool AppendFile::write(const char* data, std::size_t size, std::string& error) {
    if (m_handle == NoHandle) {
        error = Win32::errorText(ERROR_INVALID_HANDLE);
        return false;
    }
    while (size > 0) {
        const DWORD chunk = size > 0x40000000u ? 0x40000000u : static_cast<DWORD>(size);
        DWORD written = 0;
        if (!WriteFile(handleOf(m_handle), data, chunk, &written, nullptr)) {
            error = Win32::errorText(GetLastError());
            return false;
        }
        data += written;
        size -= written;
    }
    return true;
}

std::int64_t AppendFile::size() const {
    LARGE_INTEGER size{};
    if (m_handle == NoHandle || !GetFileSizeEx(handleOf(m_handle), &size)) return -1;
    return static_cast<std::int64_t>(size.QuadPart);
}

bool AppendFile::identity(FileIdentity& out) const {
    return m_handle != NoHandle && identityOfHandle(handleOf(m_handle), out);
}

// ---- FileLock ---------------------------------------------------------------------------------

FileLock::FileLock() : m_handle(NoHandle) {}

FileLock::~FileLock() {
    if (m_handle != NoHandle) CloseHandle(handleOf(m_handle));
}

bool FileLock::open(const std::string& path, std::string& error) {
    if (m_handle != NoHandle) return true;
    HANDLE handle = CreateFileW(Win32::toWidePath(path).c_str(), GENERIC_READ | GENERIC_WRITE,
                                ShareAll, nullptr, OPEN_ALWAYS, FILE_ATTRIBUTE_NORMAL, nullptr);
    if (handle == INVALID_HANDLE_VALUE) {
        error = Win32::errorText(GetLastError());
        return false;
    }
    m_handle = reinterpret_cast<std::intptr_t>(handle);
    return true;
}

bool FileLock::isOpen() const {
    return m_handle != NoHandle;
}

bool FileLock::lock() {
    if (m_handle == NoHandle) return false;
    OVERLAPPED overlapped{};
    return LockFileEx(handleOf(m_handle), LOCKFILE_EXCLUSIVE_LOCK, 0, 1, 0, &overlapped) != 0;
}

void FileLock::unlock() {
    if (m_handle == NoHandle) return;
    OVERLAPPED overlapped{};
    UnlockFileEx(handleOf(m_handle), 0, 1, 0, &overlapped);
}

bool appendsAreAtomic() {
    // Wine exports this function from its ntdll; Windows does not.
    static const bool underWine = [] {
        HMODULE ntdll = GetModuleHandleW(L"ntdll.dll");
        return ntdll && GetProcAddress(ntdll, "wine_get_version") != nullptr;
    }();
    return !underWine;
}

// ---- renaming and processes -------------------------------------------------------------------

bool renameFileNoReplace(const std::string& from, const std::string& to, bool& targetExists,
                         std::string& error) {
    targetExists = false;
    if (MoveFileExW(Win32::toWidePath(from).c_str(), Win32::toWidePath(to).c_str(),
                    MOVEFILE_COPY_ALLOWED))
        return true;
    const DWORD code = GetLastError();
    targetExists = code == ERROR_ALREADY_EXISTS || code == ERROR_FILE_EXISTS;
    error = Win32::errorText(code);
    return false;
}

} // namespace Platform
} // namespace Core
} // namespace Orvane
