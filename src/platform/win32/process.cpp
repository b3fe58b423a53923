// Environment, process information and dynamic libraries on Win32.
#include "platform/platform.h"
#include "platform/win32/win32support.h"

#include <shellapi.h>

namespace Orvane {
namespace Core {
namespace Platform {

namespace {

bool validVariableName(const std::string& name) {
    return !name.empty() && name.find('=') == std::string::npos;
}

// Calls `get(buffer, size)`, which returns the length needed (with the terminating zero) when
// the buffer is too small and the length written otherwise, until the text fits.
template <typename Getter> std::string readSystemText(Getter get, DWORD initialSize = 260) {
    std::wstring buffer(initialSize, L'\0');
    for (;;) {
        const DWORD length = get(&buffer[0], static_cast<DWORD>(buffer.size()));
        if (length == 0) return std::string();
        if (length < buffer.size()) return Win32::toUtf8(buffer.data(), length);
        buffer.resize(length + 1);
    }
}

} // namespace

// ---- environment -------------------------------------------------------------------------------

bool getEnv(const std::string& name, std::string& value) {
    if (!validVariableName(name)) return false;
    const std::wstring wideName = Win32::toWide(name);
    std::wstring buffer(128, L'\0');
    for (;;) {
        SetLastError(ERROR_SUCCESS);
        const DWORD length = GetEnvironmentVariableW(wideName.c_str(), &buffer[0],
                                                     static_cast<DWORD>(buffer.size()));
        // An empty value also yields 0, but leaves the error code alone.
        if (length == 0 && GetLastError() == ERROR_ENVVAR_NOT_FOUND) return false;
        if (length < buffer.size()) {
            value = Win32::toUtf8(buffer.data(), length);
            return true;
        }
        buffer.resize(length);
    }
}

bool setEnv(const std::string& name, const std::string& value) {
    if (!validVariableName(name)) return false;
    return SetEnvironmentVariableW(Win32::toWide(name).c_str(), Win32::toWide(value).c_str()) != 0;
}

bool unsetEnv(const std::string& name) {
    if (!validVariableName(name)) return false;
    const std::wstring wideName = Win32::toWide(name);
    // Removing a variable that is not set fails on some versions; the outcome is what counts.
    SetEnvironmentVariableW(wideName.c_str(), nullptr);
    return GetEnvironmentVariableW(wideName.c_str(), nullptr, 0) == 0 &&
           GetLastError() == ERROR_ENVVAR_NOT_FOUND;
}

std::vector<std::pair<std::string, std::string>> environment() {
    std::vector<std::pair<std::string, std::string>> result;
    wchar_t* block = GetEnvironmentStringsW();
    if (!block) return result;
    for (const wchar_t* entry = block; *entry; entry += wcslen(entry) + 1) {
        const std::string text = Win32::toUtf8(entry);
        // Entries such as "=C:=C:\work" are the shell's per-drive folders, not variables.
        const size_t equals = text.find('=', 1);
        if (text[0] == '=') continue;
        if (equals == std::string::npos)
            result.emplace_back(text, std::string());
        else
            result.emplace_back(text.substr(0, equals), text.substr(equals + 1));
    }
    FreeEnvironmentStringsW(block);
    return result;
}

// ---- process information -----------------------------------------------------------------------

std::vector<std::string> commandLineArguments() {
    std::vector<std::string> arguments;
    int count = 0;
    wchar_t** vector = CommandLineToArgvW(GetCommandLineW(), &count);
    if (!vector) return arguments;
    for (int i = 0; i < count; ++i)
        arguments.push_back(Win32::toUtf8(vector[i]));
    LocalFree(vector);
    return arguments;
}

std::string currentDirectory() {
    return readSystemText(
        [](wchar_t* buffer, DWORD size) { return GetCurrentDirectoryW(size, buffer); });
}

bool setCurrentDirectory(const std::string& path) {
    return !path.empty() && SetCurrentDirectoryW(Win32::toWidePath(path).c_str()) != 0;
}

namespace {

std::string moduleFileName(HMODULE module) {
    // GetModuleFileNameW returns the buffer size, not the size needed, when the path is cut.
    std::wstring buffer(MAX_PATH, L'\0');
    for (;;) {
        const DWORD size = static_cast<DWORD>(buffer.size());
        const DWORD length = GetModuleFileNameW(module, &buffer[0], size);
        if (length == 0) return std::string();
        if (length < size) return Win32::toUtf8(buffer.data(), length);
        buffer.resize(buffer.size() * 2);
    }
}

} // namespace

std::string executablePath() {
    return moduleFileName(nullptr);
}

std::string libraryPath() {
    HMODULE module = nullptr;
    // Any function of this library locates its DLL.
    const DWORD flags =
        GET_MODULE_HANDLE_EX_FLAG_FROM_ADDRESS | GET_MODULE_HANDLE_EX_FLAG_UNCHANGED_REFCOUNT;
    if (!GetModuleHandleExW(flags, reinterpret_cast<LPCWSTR>(&libraryPath), &module))
        return std::string();
    return moduleFileName(module);
}

std::string userName() {
    wchar_t buffer[257] = {}; // UNLEN + 1
    DWORD size = 257;
    if (!GetUserNameW(buffer, &size) || size == 0) return std::string();
    return Win32::toUtf8(buffer, size - 1);
}

std::string computerName() {
    wchar_t buffer[MAX_COMPUTERNAME_LENGTH + 1] = {};
    DWORD size = MAX_COMPUTERNAME_LENGTH + 1;
    if (!GetComputerNameW(buffer, &size)) return std::string();
    return Win32::toUtf8(buffer, size);
}

std::string operatingSystemVersion() {
    // GetVersionExW reports the version named in the executable's manifest, not the real one;
    // RtlGetVersion does not pretend.
    using RtlGetVersionFunction = LONG(WINAPI*)(OSVERSIONINFOW*);
    OSVERSIONINFOW info{};
    info.dwOSVersionInfoSize = sizeof info;
    HMODULE ntdll = GetModuleHandleW(L"ntdll.dll");
    FARPROC address = ntdll ? GetProcAddress(ntdll, "RtlGetVersion") : nullptr;
    auto getVersion = reinterpret_cast<RtlGetVersionFunction>(reinterpret_cast<void*>(address));
    if (!getVersion || getVersion(&info) != 0) return "Windows";
    std::string text = "Windows " + std::to_string(info.dwMajorVersion) + "." +
                       std::to_string(info.dwMinorVersion) + "." +
                       std::to_string(info.dwBuildNumber);
    const std::string servicePack = Win32::toUtf8(info.szCSDVersion);
    if (!servicePack.empty()) text += " " + servicePack;
    return text;
}

std::string lastSystemErrorText() {
    return Win32::errorText(GetLastError());
}

// ---- dynamic libraries -------------------------------------------------------------------------

void* loadLibrary(const std::string& path, std::string& error) {
    if (path.empty()) {
        error = "empty library path";
        return nullptr;
    }
    HMODULE library = LoadLibraryW(Win32::toWidePath(path).c_str());
    if (!library) error = Win32::errorText(GetLastError());
    return reinterpret_cast<void*>(library);
}

void* findSymbol(void* library, const char* name, std::string& error) {
    if (!library || !name) {
        error = "no library or no symbol name";
        return nullptr;
    }
    FARPROC symbol = GetProcAddress(static_cast<HMODULE>(library), name);
    if (!symbol) error = Win32::errorText(GetLastError());
    return reinterpret_cast<void*>(symbol);
}

bool unloadLibrary(void* library, std::string& error) {
    if (!library) {
        error = "no library";
        return false;
    }
    if (FreeLibrary(static_cast<HMODULE>(library))) return true;
    error = Win32::errorText(GetLastError());
    return false;
}

bool setLibraryDirectory(const std::string& path) {
    // An empty path restores the default search order.
    if (path.empty()) return SetDllDirectoryW(nullptr) != 0;
    return SetDllDirectoryW(Win32::toWidePath(path).c_str()) != 0;
}

} // namespace Platform
} // namespace Core
} // namespace Orvane
