// Free key/value annotations of error records and module names (CustomInfo).
//
// A value: copies are deep and independent. Not synchronised; hand it from thread to thread by
// copying it.
#pragma once

#include "qorcommon/export.h"
#include "qorcommon/privateptr.h"
#include "qorcommon/string.h"
#include "qorcommon/stringlist.h"

#include <cstddef>
#include <map>
#include <string>
#include <utility>

namespace Orvane {
namespace Core {

/// Key/value annotations, ordered by key (byte-wise).
/// Thread safety: reentrant.
class QORCOMMON_API CustomInfo {
public:
    using Map = std::map<std::string, std::string>;
    using Pair = std::pair<std::string, std::string>;

    CustomInfo();
    /// One pair.
    CustomInfo(const std::string& key, const std::string& value);
    explicit CustomInfo(const Map& values);
    CustomInfo(const CustomInfo& other);
    CustomInfo(CustomInfo&& other) noexcept;
    CustomInfo& operator=(const CustomInfo& other);
    CustomInfo& operator=(CustomInfo&& other) noexcept;
    ~CustomInfo();

    /// Inserts the pair, replacing the value of an existing key; chains:
    /// `info << CustomInfo::Pair("file", name) << CustomInfo::Pair("size", "12");`
    CustomInfo& operator<<(const Pair& pair);
    /// The same as operator<<.
    CustomInfo& set(const std::string& key, const std::string& value);
    /// Removes the key; false when it was absent.
    bool remove(const std::string& key);
    void clear();

    /// The value under `key`, or `defaultValue` itself when the key is absent (the reference is
    /// then the caller's own: keep the default alive as long as the result is used).
    const std::string& get(const std::string& key, const std::string& defaultValue) const;
    bool contains(const std::string& key) const;
    std::size_t size() const;
    bool isEmpty() const;
    const Map& values() const;

    /// One entry "key = value" per pair, in key order.
    StringList asStringList() const;
    /// One entry per pair, in key order: `format` expanded by the macro replacer
    /// (qorcommon/macroreplacer.h) with $(key), $(value) and $(custom_info:<key>[,<default>]).
    StringList asStringList(const std::string& format) const;
    /// As above; the error texts of the expansion ("unknown macro: ..." among them) are appended
    /// to `unresolved`.
    StringList asStringList(const std::string& format, StringList& unresolved) const;
    /// The entries of asStringList() joined with "\n".
    String asString() const;

    bool operator==(const CustomInfo& other) const;
    bool operator!=(const CustomInfo& other) const { return !(*this == other); }

private:
    struct Private;
    // A moved-from value gets a fresh empty block on its next use.
    PrivatePtr<Private> d;
};

} // namespace Core
} // namespace Orvane
