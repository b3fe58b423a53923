// Name resolution: the address of a host name through the system's resolver.
#pragma once

#include "qorcommon/export.h"

#include <string>

namespace Orvane {
namespace Core {

/// The first address of `host` (a name or a numeric address) in numeric text form, "127.0.0.1"
/// or "::1". An IPv4 address is preferred: the first IPv4 address when the host has one, else its
/// first IPv6 address. An empty or unknown host gives "" and, when `error` is not null, the reason
/// there ("" on success). Thread-safe; may wait for the network.
QORCOMMON_API std::string resolveToIPAddress(const std::string& host, std::string* error = nullptr);

} // namespace Core
} // namespace Orvane
