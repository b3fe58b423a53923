// Helpers shared by the Win32 implementation files: UTF-8 <-> UTF-16 crossings, system error
// texts and paths in the system's form.
#pragma once

#ifndef WIN32_LEAN_AND_MEAN
#define WIN32_LEAN_AND_MEAN
#endif
#ifndef NOMINMAX
#define NOMINMAX
#endif
#include <windows.h>

#include <string>

namespace Orvane {
namespace Core {
namespace Platform {
namespace Win32 {

/// UTF-8 to UTF-16; malformed bytes become U+FFFD.
inline std::wstring toWide(const std::string& text) {
    if (text.empty()) return std::wstring();
    const int size = static_cast<int>(text.size());
    const int length = MultiByteToWideChar(CP_UTF8, 0, text.data(), size, nullptr, 0);
    std::wstring result(static_cast<size_t>(length > 0 ? length : 0), L'\0');
    if (length > 0) MultiByteToWideChar(CP_UTF8, 0, text.data(), size, &result[0], length);
    return result;
}

/// UTF-16 to UTF-8; unpaired surrogates become U+FFFD.
inline std::string toUtf8(const wchar_t* text, size_t count) {
    if (!text || count == 0) return std::string();
    const int size = static_cast<int>(count);
    const int length = WideCharToMultiByte(CP_UTF8, 0, text, size, nullptr, 0, nullptr, nullptr);
    std::string result(static_cast<size_t>(length > 0 ? length : 0), '\0');
    if (length > 0)
        WideCharToMultiByte(CP_UTF8, 0, text, size, &result[0], length, nullptr, nullptr);
    return result;
}

inline std::string toUtf8(const std::wstring& text) {
    return toUtf8(text.data(), text.size());
}

inline std::string toUtf8(const wchar_t* text) {
    return text ? toUtf8(text, wcslen(text)) : std::string();
}

/// The path in UTF-16 with "/" turned into "\", which not every Win32 function accepts.
inline std::wstring toWidePath(const std::string& path) {
    std::wstring result = toWide(path);
    for (wchar_t& character : result) {
        if (character == L'/') character = L'\\';
    }
    return result;
}

/// The system's message for an error code, without its closing line break.
inline std::string errorText(DWORD code) {
    wchar_t* buffer = nullptr;
    const DWORD length = FormatMessageW(
        FORMAT_MESSAGE_ALLOCATE_BUFFER | FORMAT_MESSAGE_FROM_SYSTEM | FORMAT_MESSAGE_IGNORE_INSERTS,
        nullptr, code, 0, reinterpret_cast<wchar_t*>(&buffer), 0, nullptr);
    std::string text = length > 0 ? toUtf8(buffer, length) : std::string();
    if (buffer) LocalFree(buffer);
    while (!text.empty() && (text.back() == '\n' || text.back() == '\r' || text.back() == ' '))
        text.pop_back();
    if (text.empty()) text = "system error " + std::to_string(static_cast<unsigned long>(code));
    return text;
}

/// A time-out in milliseconds as Win32 waits take it; negative means without limit.
inline DWORD toWaitTime(long timeoutMs) {
    if (timeoutMs < 0) return INFINITE;
    const unsigned long value = static_cast<unsigned long>(timeoutMs);
    return value >= INFINITE ? INFINITE - 1 : static_cast<DWORD>(value);
}

} // namespace Win32
} // namespace Platform
} // namespace Core
} // namespace Orvane
