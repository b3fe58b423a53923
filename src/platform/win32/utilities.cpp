// Folders, child processes, shared memory and version resources on Win32.
#include "platform/platform.h"
#include "platform/win32/win32support.h"

#include <cstring>

namespace Orvane {
namespace Core {
namespace Platform {

bool isTerminal(int stream) {
    // A console handle answers GetConsoleMode; files and pipes do not.
    const HANDLE handle = GetStdHandle(stream == 2 ? STD_ERROR_HANDLE : STD_OUTPUT_HANDLE);
    DWORD mode = 0;
    return handle != nullptr && handle != INVALID_HANDLE_VALUE && GetConsoleMode(handle, &mode);
}

bool enableColourSequences(int stream) {
    const HANDLE handle = GetStdHandle(stream == 2 ? STD_ERROR_HANDLE : STD_OUTPUT_HANDLE);
    DWORD mode = 0;
    if (handle == nullptr || handle == INVALID_HANDLE_VALUE || !GetConsoleMode(handle, &mode))
        return false;
    return (mode & ENABLE_VIRTUAL_TERMINAL_PROCESSING) != 0 ||
           SetConsoleMode(handle, mode | ENABLE_VIRTUAL_TERMINAL_PROCESSING);
}

bool removeDirectory(const std::string& path, std::string& error) {
    if (RemoveDirectoryW(Win32::toWidePath(path).c_str())) return true;
    error = Win32::errorText(GetLastError());
    return false;
}

namespace {

// Quotes one argument so that CommandLineToArgvW and the C runtime read it back unchanged:
// backslashes double only where they precede a quote.
void appendQuoted(std::wstring& line, const std::wstring& argument) {
    if (!argument.empty() && argument.find_first_of(L" \t\n\v\"") == std::wstring::npos) {
        line += argument;
        return;
    }
    line += L'"';
    size_t backslashes = 0;
    for (const wchar_t character : argument) {
        if (character == L'\\') {
            ++backslashes;
            continue;
        }
        line.append(character == L'"' ? backslashes * 2 + 1 : backslashes, L'\\');
        backslashes = 0;
        line += character;
    }
    line.append(backslashes * 2, L'\\');
    line += L'"';
}

} // namespace

int runProcess(const std::string& program, const std::vector<std::string>& arguments,
               std::string& error) {
    const std::wstring application = Win32::toWidePath(program);
    std::wstring line;
    appendQuoted(line, application);
    for (const std::string& argument : arguments) {
        line += L' ';
        appendQuoted(line, Win32::toWide(argument));
    }
    STARTUPINFOW startup{};
    startup.cb = sizeof startup;
    PROCESS_INFORMATION process{};
    if (!CreateProcessW(application.c_str(), &line[0], nullptr, nullptr, FALSE, 0, nullptr, nullptr,
                        &startup, &process)) {
        error = Win32::errorText(GetLastError());
        return -1;
    }
    CloseHandle(process.hThread);
    DWORD code = 0;
    const bool waited = WaitForSingleObject(process.hProcess, INFINITE) == WAIT_OBJECT_0 &&
                        GetExitCodeProcess(process.hProcess, &code);
    if (!waited) error = Win32::errorText(GetLastError());
    CloseHandle(process.hProcess);
    return waited ? static_cast<int>(code) : -1;
}

namespace {

// Blocks live in the session's namespace, which needs no privilege.
bool systemName(const std::string& name, std::wstring& out, std::string& error) {
    if (name.empty() || name.size() > 200 || name.find('/') != std::string::npos ||
        name.find('\\') != std::string::npos) {
        error = "invalid shared memory name '" + name + "'";
        return false;
    }
    out = L"Local\\" + Win32::toWide(name);
    return true;
}

bool mapView(HANDLE handle, SharedMapping& mapping, std::string& error) {
    void* address = MapViewOfFile(handle, FILE_MAP_ALL_ACCESS, 0, 0, 0);
    MEMORY_BASIC_INFORMATION region{};
    if (!address || VirtualQuery(address, &region, sizeof region) == 0) {
        error = Win32::errorText(GetLastError());
        if (address) UnmapViewOfFile(address);
        CloseHandle(handle);
        return false;
    }
    mapping.address = address;
    mapping.length = region.RegionSize;
    mapping.handle = handle;
    return true;
}

} // namespace

bool createSharedMemory(const std::string& name, std::size_t length, SharedMapping& mapping,
                        std::string& error) {
    std::wstring wide;
    if (!systemName(name, wide, error)) return false;
    if (length == 0) {
        error = "a shared memory block needs at least one byte";
        return false;
    }
    const unsigned long long size = length;
    HANDLE handle = CreateFileMappingW(INVALID_HANDLE_VALUE, nullptr, PAGE_READWRITE,
                                       static_cast<DWORD>(size >> 32),
                                       static_cast<DWORD>(size & 0xffffffffULL), wide.c_str());
    if (!handle) {
        error = Win32::errorText(GetLastError());
        return false;
    }
    if (GetLastError() == ERROR_ALREADY_EXISTS) {
        CloseHandle(handle);
        error = Win32::errorText(ERROR_ALREADY_EXISTS);
        return false;
    }
    return mapView(handle, mapping, error);
}

bool openSharedMemory(const std::string& name, SharedMapping& mapping, std::string& error) {
    std::wstring wide;
    if (!systemName(name, wide, error)) return false;
    HANDLE handle = OpenFileMappingW(FILE_MAP_ALL_ACCESS, FALSE, wide.c_str());
    if (!handle) {
        error = Win32::errorText(GetLastError());
        return false;
    }
    return mapView(handle, mapping, error);
}

void closeSharedMemory(SharedMapping& mapping) {
    if (mapping.address) UnmapViewOfFile(mapping.address);
    if (mapping.handle) CloseHandle(static_cast<HANDLE>(mapping.handle));
    mapping = SharedMapping();
}

bool removeSharedMemory(const std::string& name, std::string& error) {
    std::wstring wide;
    return systemName(name, wide, error);
}

std::string fileVersion(const std::string& path) {
    const std::wstring wide = Win32::toWidePath(path);
    DWORD ignored = 0;
    const DWORD size = GetFileVersionInfoSizeW(wide.c_str(), &ignored);
    if (size == 0) return std::string();
    std::string data(size, '\0');
    if (!GetFileVersionInfoW(wide.c_str(), 0, size, &data[0])) return std::string();
    void* value = nullptr;
    UINT length = 0;
    if (!VerQueryValueW(&data[0], L"\\", &value, &length) || length < sizeof(VS_FIXEDFILEINFO))
        return std::string();
    VS_FIXEDFILEINFO info;
    std::memcpy(&info, value, sizeof info);
    if (info.dwSignature != 0xFEEF04BD) return std::string();
    return std::to_string(HIWORD(info.dwFileVersionMS)) + "." +
           std::to_string(LOWORD(info.dwFileVersionMS)) + "." +
           std::to_string(HIWORD(info.dwFileVersionLS)) + "." +
           std::to_string(LOWORD(info.dwFileVersionLS));
}

} // namespace Platform
} // namespace Core
} // namespace Orvane
