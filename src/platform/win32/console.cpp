// Standard input as a console on Win32.
#include "platform/platform.h"
#include "platform/win32/win32support.h"

#include <cstdio>

namespace Orvane {
namespace Core {
namespace Platform {

namespace {

bool consoleMode(HANDLE input, DWORD& mode) {
    return input != INVALID_HANDLE_VALUE && input != nullptr && GetConsoleMode(input, &mode) != 0;
}

} // namespace

bool isStandardInputTerminal() {
    DWORD mode = 0;
    return consoleMode(GetStdHandle(STD_INPUT_HANDLE), mode);
}

bool readStandardInputLine(std::string& line, bool echo) {
    line.clear();
    const HANDLE input = GetStdHandle(STD_INPUT_HANDLE);
    DWORD saved = 0;
    if (!consoleMode(input, saved)) {
        // Redirected input: bytes as they come, taken to be UTF-8.
        bool readAny = false;
        int character;
        while ((character = std::getc(stdin)) != EOF) {
            readAny = true;
            if (character == '\n') break;
            line += static_cast<char>(character);
        }
        if (!line.empty() && line.back() == '\r') line.pop_back();
        return readAny;
    }
    if (!echo) SetConsoleMode(input, saved & ~static_cast<DWORD>(ENABLE_ECHO_INPUT));
    // The console hands out UTF-16, so typed text arrives whatever the code page.
    std::wstring wide;
    bool readAny = false;
    for (;;) {
        wchar_t character = 0;
        DWORD count = 0;
        if (!ReadConsoleW(input, &character, 1, &count, nullptr) || count == 0) break;
        readAny = true;
        if (character == L'\n') break;
        if (character != L'\r') wide += character;
    }
    if (!echo) SetConsoleMode(input, saved);
    line = Win32::toUtf8(wide);
    return readAny;
}

} // namespace Platform
} // namespace Core
} // namespace Orvane
