// The rule by which name resolution picks one address from the resolver's list, shared by the
// platforms' resolvers (their list entries differ in type, not in shape).
#pragma once

namespace Orvane {
namespace Core {
namespace Platform {

/// The first entry of family `inet` (IPv4), else the first of family `inet6` (IPv6), else null.
/// IPv4 goes first because it is the address most peers of an application can still reach.
template <class Entry> const Entry* preferredAddress(const Entry* list, int inet, int inet6) {
    const Entry* chosen = nullptr;
    for (const Entry* entry = list; entry; entry = entry->ai_next) {
        if (entry->ai_family == inet) return entry;
        if (!chosen && entry->ai_family == inet6) chosen = entry;
    }
    return chosen;
}

} // namespace Platform
} // namespace Core
} // namespace Orvane
