// Version numbers of the library, modules and applications: major.minor.patch with an optional
// fourth build number.
#pragma once

#include "qorcommon/export.h"

#include <string>

namespace Orvane {
namespace Core {

// A plain value: the four numbers are the whole of it, so they live in the object itself.
/// Thread safety: reentrant.
class QORCOMMON_API Version {
public:
    constexpr Version() = default;
    constexpr Version(int major, int minor, int patch = 0, int build = 0)
        : m_major(major), m_minor(minor), m_patch(patch), m_build(build) {}

    /// Reads one to four dot-separated decimal numbers ("3", "3.35", "3.35.4", "3.35.4.1");
    /// missing numbers are 0. Signs, blanks, empty numbers and values above INT_MAX fail, and
    /// `out` is then left unchanged.
    static bool parse(const std::string& text, Version& out);
    /// As parse, giving 0.0.0 for a text that does not read.
    static Version fromString(const std::string& text);

    constexpr int major() const { return m_major; }
    constexpr int minor() const { return m_minor; }
    constexpr int patch() const { return m_patch; }
    constexpr int build() const { return m_build; }
    constexpr bool isNull() const { return !m_major && !m_minor && !m_patch && !m_build; }

    /// "3.35.4", or "3.35.4.1" when the build number is not 0.
    std::string toString() const;
    /// The first `fields` numbers (1 to 4; other counts are clamped), "3.35.4.0" for 4.
    std::string toString(int fields) const;

    /// Orders by major, minor, patch, then build.
    constexpr int compare(const Version& other) const {
        return m_major != other.m_major   ? (m_major < other.m_major ? -1 : 1)
               : m_minor != other.m_minor ? (m_minor < other.m_minor ? -1 : 1)
               : m_patch != other.m_patch ? (m_patch < other.m_patch ? -1 : 1)
               : m_build != other.m_build ? (m_build < other.m_build ? -1 : 1)
                                          : 0;
    }
    constexpr bool operator==(const Version& o) const { return compare(o) == 0; }
    constexpr bool operator!=(const Version& o) const { return compare(o) != 0; }
    constexpr bool operator<(const Version& o) const { return compare(o) < 0; }
    constexpr bool operator<=(const Version& o) const { return compare(o) <= 0; }
    constexpr bool operator>(const Version& o) const { return compare(o) > 0; }
    constexpr bool operator>=(const Version& o) const { return compare(o) >= 0; }

private:
    int m_major = 0;
    int m_minor = 0;
    int m_patch = 0;
    int m_build = 0;
};

} // namespace Core
} // namespace Orvane
