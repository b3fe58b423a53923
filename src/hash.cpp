#include "qorcommon/hash.h"

#include <cstdio>
#include <cstring>

namespace Orvane {
namespace Core {
namespace {

constexpr std::uint64_t prime1 = 0x9E3779B185EBCA87ULL;
constexpr std::uint64_t prime2 = 0xC2B2AE3D27D4EB4FULL;
constexpr std::uint64_t prime3 = 0x165667B19E3779F9ULL;
constexpr std::uint64_t prime4 = 0x85EBCA77C2B2AE63ULL;
constexpr std::uint64_t prime5 = 0x27D4EB2F165667C5ULL;

constexpr std::uint64_t rotateLeft(std::uint64_t x, int bits) {
    return (x << bits) | (x >> (64 - bits));
}

// Little-endian reads byte by byte: the result is the same on every host, and compilers turn
// them into single loads where that is allowed.
std::uint64_t read64(const unsigned char* p) {
    std::uint64_t v = 0;
    for (int i = 7; i >= 0; --i)
        v = (v << 8) | p[i];
    return v;
}

std::uint32_t read32(const unsigned char* p) {
    return static_cast<std::uint32_t>(p[0]) | static_cast<std::uint32_t>(p[1]) << 8 |
           static_cast<std::uint32_t>(p[2]) << 16 | static_cast<std::uint32_t>(p[3]) << 24;
}

std::uint64_t mixLane(std::uint64_t accumulator, std::uint64_t input) {
    accumulator += input * prime2;
    return rotateLeft(accumulator, 31) * prime1;
}

std::uint64_t mergeRound(std::uint64_t accumulator, std::uint64_t lane) {
    accumulator ^= mixLane(0, lane);
    return accumulator * prime1 + prime4;
}

std::uint64_t avalanche(std::uint64_t h) {
    h ^= h >> 33;
    h *= prime2;
    h ^= h >> 29;
    h *= prime3;
    h ^= h >> 32;
    return h;
}

} // namespace

std::uint64_t Hash::hash64(const void* data, std::size_t length, std::uint64_t seed) {
    const auto* p = static_cast<const unsigned char*>(data);
    if (!p) length = 0;
    const unsigned char* const end = p + length;
    std::uint64_t h;

    if (length >= 32) {
        std::uint64_t lane1 = seed + prime1 + prime2;
        std::uint64_t lane2 = seed + prime2;
        std::uint64_t lane3 = seed;
        std::uint64_t lane4 = seed - prime1;
        const unsigned char* const lastStripe = end - 32;
        do {
            lane1 = mixLane(lane1, read64(p));
            lane2 = mixLane(lane2, read64(p + 8));
            lane3 = mixLane(lane3, read64(p + 16));
            lane4 = mixLane(lane4, read64(p + 24));
            p += 32;
        } while (p <= lastStripe);
        h = rotateLeft(lane1, 1) + rotateLeft(lane2, 7) + rotateLeft(lane3, 12) +
            rotateLeft(lane4, 18);
        h = mergeRound(h, lane1);
        h = mergeRound(h, lane2);
        h = mergeRound(h, lane3);
        h = mergeRound(h, lane4);
    } else {
        h = seed + prime5;
    }
    h += static_cast<std::uint64_t>(length);

    for (; end - p >= 8; p += 8) {
        h ^= mixLane(0, read64(p));
        h = rotateLeft(h, 27) * prime1 + prime4;
    }
    if (end - p >= 4) {
        h ^= static_cast<std::uint64_t>(read32(p)) * prime1;
        h = rotateLeft(h, 23) * prime2 + prime3;
        p += 4;
    }
    for (; p < end; ++p) {
        h ^= *p * prime5;
        h = rotateLeft(h, 11) * prime1;
    }
    return avalanche(h);
}

std::uint64_t Hash::hash64(const char* text, std::uint64_t seed) {
    return hash64(text, text ? std::strlen(text) : 0, seed);
}

bool Identifier::parse(const std::string& text, Identifier& out) {
    if (text.empty() || text.size() > 16) return false;
    std::uint64_t value = 0;
    for (char c : text) {
        int digit;
        if (c >= '0' && c <= '9') {
            digit = c - '0';
        } else if (c >= 'a' && c <= 'f') {
            digit = c - 'a' + 10;
        } else if (c >= 'A' && c <= 'F') {
            digit = c - 'A' + 10;
        } else {
            return false;
        }
        value = (value << 4) | static_cast<std::uint64_t>(digit);
    }
    out = Identifier(value);
    return true;
}

std::string Identifier::toString() const {
    char buffer[24];
    std::snprintf(buffer, sizeof buffer, "%016llx", static_cast<unsigned long long>(m_value));
    return buffer;
}

} // namespace Core
} // namespace Orvane
