// Name resolution through the system resolver on Win32 (Winsock).
#ifndef WIN32_LEAN_AND_MEAN
#define WIN32_LEAN_AND_MEAN
#endif
#ifndef NOMINMAX
#define NOMINMAX
#endif
#include <winsock2.h>
#include <ws2tcpip.h>

#include "platform/addresschoice.h"
#include "platform/platform.h"
#include "platform/win32/win32support.h"

namespace Orvane {
namespace Core {
namespace Platform {

namespace {

// Winsock is started once and left running: sockets of other parts of the process may use it
// until the process ends.
int startWinsock() {
    static const int status = [] {
        WSADATA data;
        return WSAStartup(MAKEWORD(2, 2), &data);
    }();
    return status;
}

} // namespace

bool resolveHost(const std::string& name, std::string& address, std::string& error) {
    const int started = startWinsock();
    if (started != 0) {
        error = "cannot start Winsock: " + Win32::errorText(static_cast<DWORD>(started));
        return false;
    }
    ADDRINFOW hints{};
    hints.ai_family = AF_UNSPEC;
    hints.ai_socktype = SOCK_STREAM;
    ADDRINFOW* list = nullptr;
    const int status = GetAddrInfoW(Win32::toWide(name).c_str(), nullptr, &hints, &list);
    if (status != 0) {
        error = Win32::errorText(static_cast<DWORD>(status));
        return false;
    }
    const ADDRINFOW* chosen = preferredAddress<ADDRINFOW>(list, AF_INET, AF_INET6);
    bool found = false;
    if (!chosen) {
        error = "no IPv4 or IPv6 address";
    } else {
        wchar_t text[NI_MAXHOST];
        const int written =
            GetNameInfoW(chosen->ai_addr, static_cast<socklen_t>(chosen->ai_addrlen), text,
                         NI_MAXHOST, nullptr, 0, NI_NUMERICHOST);
        if (written == 0) {
            address = Win32::toUtf8(text);
            found = true;
        } else {
            error = Win32::errorText(static_cast<DWORD>(WSAGetLastError()));
        }
    }
    FreeAddrInfoW(list);
    return found;
}

} // namespace Platform
} // namespace Core
} // namespace Orvane
