// Texts at the C boundary: reading C texts, copying into caller-owned buffers, and the
// per-thread result buffers that C functions hand texts out of.
#pragma once

#include "qorcommon/threadmanagedobject.h"

#include <cstddef>
#include <cstring>
#include <string>

namespace Orvane {
namespace Core {
namespace CApi {

/// The empty text that failed calls hand out: static, so valid forever.
constexpr const char* kEmptyText = "";

/// A C text as a string; null reads as empty.
inline std::string textOf(const char* text) {
    return text ? std::string(text) : std::string();
}

/// Copies `text` into the caller's buffer of `capacity` bytes, cut to fit and NUL-terminated;
/// nothing is written when the buffer is null or has no room. Returns the length of `text`.
inline std::size_t copyToCallerBuffer(const std::string& text, char* buffer,
                                      std::size_t capacity) noexcept {
    if (buffer && capacity > 0) {
        const std::size_t n = text.size() < capacity - 1 ? text.size() : capacity - 1;
        std::memcpy(buffer, text.data(), n);
        buffer[n] = '\0';
    }
    return text.size();
}

/// The calling thread's instance of `Buffers`, a struct of result buffers of one C family. Each
/// family's struct is its own per-thread variable, freed when the thread ends.
template <class Buffers> Buffers& threadBuffers() {
    // Never destroyed: threads may still call in while the process shuts down.
    static auto* variable = new ThreadLocalVariable<Buffers>;
    return variable->get();
}

/// Stores `text` in a result buffer and hands out the buffer's text.
inline const char* keepText(std::string& buffer, std::string text) noexcept {
    buffer.swap(text);
    return buffer.c_str();
}

} // namespace CApi
} // namespace Core
} // namespace Orvane
