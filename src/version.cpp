#include "qorcommon/version.h"

#include <algorithm>
#include <climits>
#include <cstdio>

namespace Orvane {
namespace Core {

bool Version::parse(const std::string& text, Version& out) {
    int numbers[4] = {0, 0, 0, 0};
    int count = 0;
    std::size_t pos = 0;
    for (;;) {
        if (count == 4) return false;
        long long value = 0;
        const std::size_t start = pos;
        while (pos < text.size() && text[pos] >= '0' && text[pos] <= '9') {
            value = value * 10 + (text[pos] - '0');
            if (value > INT_MAX) return false;
            ++pos;
        }
        if (pos == start) return false;
        numbers[count++] = static_cast<int>(value);
        if (pos == text.size()) break;
        if (text[pos] != '.') return false;
        ++pos;
    }
    out = Version(numbers[0], numbers[1], numbers[2], numbers[3]);
    return true;
}

Version Version::fromString(const std::string& text) {
    Version v;
    parse(text, v);
    return v;
}

std::string Version::toString() const {
    return toString(m_build != 0 ? 4 : 3);
}

std::string Version::toString(int fields) const {
    const int numbers[4] = {m_major, m_minor, m_patch, m_build};
    fields = std::clamp(fields, 1, 4);
    std::string out;
    for (int i = 0; i < fields; ++i) {
        char buffer[16];
        std::snprintf(buffer, sizeof buffer, i ? ".%d" : "%d", numbers[i]);
        out += buffer;
    }
    return out;
}

} // namespace Core
} // namespace Orvane
