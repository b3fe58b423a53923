// The "orvane.cfg" format in memory: the reader and the writer behind OrvanecfgConfigHandler
// (orvanecfgformat.cpp).
//
// Not part of the installed headers and not exported: the fuzzer, the tests and the benchmark
// link the static library to run the grammar without files.
#pragma once

#include <cstddef>
#include <cstdint>
#include <functional>
#include <initializer_list>
#include <map>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

namespace Orvane {
namespace Core {
namespace Orvanecfg {

/// The file text starts with a byte order mark (written always, skipped when read) of this size.
inline constexpr std::size_t kByteOrderMarkSize = 3;

/// Fills "{0}" to "{9}" of a message in one pass, so that an argument which itself holds "{1}"
/// stays as it is.
std::string format(std::string_view pattern, std::initializer_list<std::string_view> arguments);

/// The values of an entry, packed into one string: for each value its length as a base-128
/// number (seven bits a byte, low bits first) and then its bytes. A whole list costs one
/// allocation at most, a short one none, and lists of any bytes (NUL included) pack alike.
class Entry {
public:
    Entry() = default;
    explicit Entry(const std::vector<std::string>& values) {
        for (const std::string& value : values)
            append(value);
    }

    void append(std::string_view value) {
        std::size_t length = value.size();
        while (length >= 0x80) {
            m_packed += static_cast<char>((length & 0x7F) | 0x80);
            length >>= 7;
        }
        m_packed += static_cast<char>(length);
        m_packed.append(value.data(), value.size());
        ++m_count;
    }
    void clear() {
        m_packed.clear();
        m_count = 0;
        m_unquoted = false;
    }
    /// Takes the values of `other` into a buffer of their exact size.
    void assign(const Entry& other) {
        m_packed.assign(other.m_packed.data(), other.m_packed.size());
        m_count = other.m_count;
        m_unquoted = other.m_unquoted;
    }

    std::size_t size() const { return m_count; }
    bool empty() const { return m_count == 0; }
    /// Calls `visit(std::string_view)` for every value, in order.
    template <class Visit> void forEach(Visit visit) const {
        const char* position = m_packed.data();
        const char* const end = position + m_packed.size();
        while (position < end) {
            const std::size_t length = readLength(position);
            visit(std::string_view(position, length));
            position += length;
        }
    }
    /// The first value; empty for an empty list.
    std::string_view front() const {
        if (m_count == 0) return std::string_view();
        const char* position = m_packed.data();
        const std::size_t length = readLength(position);
        return std::string_view(position, length);
    }
    std::vector<std::string> values() const {
        std::vector<std::string> result;
        result.reserve(m_count);
        forEach([&](std::string_view value) { result.emplace_back(value); });
        return result;
    }

    /// Whether the writer may put the value without quotes (see mayWriteUnquoted).
    bool unquoted() const { return m_unquoted; }
    void setUnquoted(bool unquoted) { m_unquoted = unquoted; }

    bool operator==(const Entry& other) const {
        return m_count == other.m_count && m_unquoted == other.m_unquoted &&
               m_packed == other.m_packed;
    }
    bool operator!=(const Entry& other) const { return !(*this == other); }

private:
    static std::size_t readLength(const char*& position) {
        std::size_t length = 0;
        for (unsigned shift = 0;; shift += 7) {
            const unsigned char byte = static_cast<unsigned char>(*position++);
            length |= static_cast<std::size_t>(byte & 0x7F) << shift;
            if ((byte & 0x80) == 0) return length;
        }
    }

    std::string m_packed;
    std::uint32_t m_count = 0;
    bool m_unquoted = false;
};

/// The entries of one section by name, in byte order.
using Section = std::map<std::string, Entry, std::less<>>;

/// What the file holds: sections by name, in byte order, each with its entries. A full path
/// "SECTION/NAME" is split at its last "/", so an entry name never holds a "/": an entry line
/// "B/c = 1" under "[A]" is the entry "c" of the section "A/B". Splitting at the last "/" is a
/// one-to-one mapping of paths, so this is the map from full paths that the format describes,
/// grouped for the writer and for lookups without building paths.
///
/// Sections are shared between copies of a cache: a change to one entry copies the outer map and
/// that section only. Change a section only while no other cache shares it (see setEntry).
struct Cache {
    std::map<std::string, std::shared_ptr<Section>, std::less<>> sections;

    /// The entry at the full path, null when there is none.
    const Entry* find(std::string_view path) const;
    /// The section, null when there is none.
    const Section* section(std::string_view name) const;
    /// Sections and entries equal, shared or not.
    bool operator==(const Cache& other) const;
    bool operator!=(const Cache& other) const { return !(*this == other); }
};

struct ParseReport {
    /// The grammar errors, in the order of the lines, each with its file and line.
    std::vector<std::string> messages;
    /// A "\xHH" code did not convert; the cache is incomplete and must not be used. The reason
    /// ("invalid stoul argument") is the last message.
    bool aborted = false;
};

/// Reads the text of a file piece by piece into `cache`, which should be empty; a leading byte
/// order mark is skipped and lines may run across pieces. `fileName` is "{0}" of the messages.
class Reader {
public:
    Reader(const std::string& fileName, Cache& cache);
    ~Reader();
    Reader(const Reader&) = delete;
    Reader& operator=(const Reader&) = delete;

    /// The next piece of the text. After an abort the rest is ignored.
    void feed(const char* data, std::size_t size);
    /// The end of the text: reads its last line and reports.
    ParseReport finish();

private:
    struct Private;
    Private* d;
};

/// Reads the text of a file (a leading byte order mark is skipped) into `cache`, which should be
/// empty. `fileName` is "{0}" of the messages.
ParseReport parse(const char* text, std::size_t size, const std::string& fileName,
                                Cache& cache);

/// The file text of `cache`: byte order mark, sections in byte order, LF line ends.
std::string write(const Cache& cache);

/// True for a list that the writer puts without quotes: one value, not empty, with none of "#",
/// blank, double quote, LF, CR, TAB and no "<|>" (reading the file back gives the same list).
bool mayWriteUnquoted(const Entry& entry);

/// Sets the entry at the full path "SECTION/NAME" (split at its last "/"), making the section
/// when it is new. The changed section is copied first, so caches that share it do not change.
void setEntry(Cache& cache, std::string_view path, Entry values);
/// Makes the section when it is new.
void addSection(Cache& cache, std::string_view name);

} // namespace Orvanecfg
} // namespace Core
} // namespace Orvane
