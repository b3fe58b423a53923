#include "qorcommon/network.h"

#include "platform/platform.h"

namespace Orvane {
namespace Core {

std::string resolveToIPAddress(const std::string& host, std::string* error) {
    std::string address;
    std::string reason;
    if (host.empty()) {
        reason = "host name is empty";
    } else if (!Platform::resolveHost(host, address, reason)) {
        reason = "cannot resolve '" + host + "': " + reason;
        address.clear();
    }
    if (error) *error = reason;
    return address;
}

} // namespace Core
} // namespace Orvane
