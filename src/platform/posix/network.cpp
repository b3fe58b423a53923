// Name resolution through the system resolver on POSIX.
#include "platform/addresschoice.h"
#include "platform/platform.h"
#include "platform/posix/posixsupport.h"

#include <cerrno>

#include <netdb.h>
#include <sys/socket.h>

namespace Orvane {
namespace Core {
namespace Platform {

bool resolveHost(const std::string& name, std::string& address, std::string& error) {
    addrinfo hints{};
    hints.ai_family = AF_UNSPEC;
    hints.ai_socktype = SOCK_STREAM;
    addrinfo* list = nullptr;
    const int status = getaddrinfo(name.c_str(), nullptr, &hints, &list);
    if (status != 0) {
        error = status == EAI_SYSTEM ? Posix::errorText(errno) : std::string(gai_strerror(status));
        return false;
    }
    const addrinfo* chosen = preferredAddress<addrinfo>(list, AF_INET, AF_INET6);
    bool found = false;
    if (!chosen) {
        error = "no IPv4 or IPv6 address";
    } else {
        char text[NI_MAXHOST];
        const int written = getnameinfo(chosen->ai_addr, chosen->ai_addrlen, text, sizeof text,
                                        nullptr, 0, NI_NUMERICHOST);
        if (written == 0) {
            address = text;
            found = true;
        } else {
            error = gai_strerror(written);
        }
    }
    freeaddrinfo(list);
    return found;
}

} // namespace Platform
} // namespace Core
} // namespace Orvane
