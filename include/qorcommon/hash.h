// The library's 64-bit hash of texts and bytes, and 64-bit identifiers made from it.
//
// The hash is XXH64 (Yann Collet's xxHash, 64-bit variant): fast on short names, well
// distributed, with a seed, and with published test vectors. Ids made from it (feature ids, for
// instance) are stable across platforms and releases, so the algorithm must never change.
#pragma once

#include "qorcommon/export.h"

#include <cstddef>
#include <cstdint>
#include <functional>
#include <string>

namespace Orvane {
namespace Core {

// Not exported as a whole, only its functions: an exported class would make the seed a DLL
// import on Windows instead of a compile-time constant.
/// Thread safety: thread-safe.
class Hash {
public:
    /// The seed under which the library hashes names into ids.
    static constexpr std::uint64_t DefaultSeed = 0xA526FF344BC14A8EULL;

    /// XXH64 of `length` bytes at `data` (a null `data` hashes as empty). No default seed here:
    /// with one, hash64("text", seed) would pick this overload and read `seed` bytes.
    QORCOMMON_API static std::uint64_t hash64(const void* data, std::size_t length,
                                              std::uint64_t seed);
    static std::uint64_t hash64(const std::string& text, std::uint64_t seed = DefaultSeed) {
        return hash64(text.data(), text.size(), seed);
    }
    /// A null text hashes as empty.
    QORCOMMON_API static std::uint64_t hash64(const char* text, std::uint64_t seed = DefaultSeed);
};

inline std::uint64_t hash64(const std::string& text, std::uint64_t seed = Hash::DefaultSeed) {
    return Hash::hash64(text.data(), text.size(), seed);
}
inline std::uint64_t hash64(const char* text, std::uint64_t seed = Hash::DefaultSeed) {
    return Hash::hash64(text, seed);
}

/// A 64-bit id, written as 16 lower-case hexadecimal digits.
/// Thread safety: reentrant.
class QORCOMMON_API Identifier {
public:
    constexpr Identifier() = default;
    constexpr explicit Identifier(std::uint64_t value) : m_value(value) {}

    /// The id of a name: its hash under `seed`.
    static Identifier fromName(const std::string& name, std::uint64_t seed = Hash::DefaultSeed) {
        return Identifier(hash64(name, seed));
    }
    /// Reads 1 to 16 hexadecimal digits (either case, nothing else); false leaves `out` as is.
    static bool parse(const std::string& text, Identifier& out);

    constexpr std::uint64_t value() const { return m_value; }
    constexpr bool isNull() const { return m_value == 0; }
    /// "00000000000000ff" for 255.
    std::string toString() const;

    constexpr bool operator==(const Identifier& o) const { return m_value == o.m_value; }
    constexpr bool operator!=(const Identifier& o) const { return m_value != o.m_value; }
    constexpr bool operator<(const Identifier& o) const { return m_value < o.m_value; }

private:
    std::uint64_t m_value = 0;
};

} // namespace Core
} // namespace Orvane

namespace std {
template <> struct hash<Orvane::Core::Identifier> {
    size_t operator()(const Orvane::Core::Identifier& id) const noexcept {
        return static_cast<size_t>(id.value());
    }
};
} // namespace std
