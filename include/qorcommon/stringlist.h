// An ordered list of strings with splitting and joining.
#pragma once

#include "qorcommon/object.h"
#include "qorcommon/privateptr.h"
#include "qorcommon/string.h"

#include <cstddef>
#include <functional>
#include <initializer_list>
#include <list>
#include <string>
#include <vector>

namespace Orvane {
namespace Core {

/// Thread safety: reentrant.
class QORCOMMON_API StringList : public StorageObject {
public:
    using iterator = std::list<std::string>::iterator;
    using const_iterator = std::list<std::string>::const_iterator;

    explicit StringList(Object* parent = nullptr);
    /// A list of one element.
    explicit StringList(const std::string& first, Object* parent = nullptr);
    StringList(std::initializer_list<std::string> items, Object* parent = nullptr);
    explicit StringList(const std::list<std::string>& items, Object* parent = nullptr);
    explicit StringList(const std::vector<std::string>& items, Object* parent = nullptr);
    /// The first `count` texts of the array; null entries become empty elements.
    StringList(const char* const* array, long count, Object* parent = nullptr);
    /// The texts of an array that ends with a null pointer.
    explicit StringList(const char* const* array, Object* parent = nullptr);
    StringList(const StringList& other);
    StringList(StringList&& other) noexcept;
    ~StringList() override;

    /// Assignment copies the elements only: the object keeps its own parent.
    StringList& operator=(const StringList& other);
    StringList& operator=(StringList&& other) noexcept;

    /// Splits `text` at every occurrence of the whole `separator`, left to right, without any
    /// quoting. Empty parts are kept unless `skipEmpty`; an empty text gives one empty element
    /// (none when skipping). An empty separator is reported as "!separator.empty()" and the
    /// whole text becomes the only element.
    static StringList split(const std::string& text, const std::string& separator,
                            bool skipEmpty = false);
    /// The elements with `separator` between each two; an empty list gives an empty text.
    std::string join(const std::string& separator) const;

    /// The number of elements equal to `text`.
    std::size_t count(const std::string& text) const;
    /// The number of elements for which `predicate` returns true.
    std::size_t count(const std::function<bool(const std::string&)>& predicate) const;

    /// The element at `idx`, walking from the front. An index not less than size() is reported
    /// as "idx < size()" and yields a shared empty string.
    const std::string& operator[](std::size_t idx) const;
    /// Replaces the element at `idx`; an index out of range is reported as for operator[].
    bool set(std::size_t idx, const std::string& text);

    std::vector<std::string> asVector() const;
    /// Pointers to the elements' texts, valid while the elements live unchanged.
    std::vector<const char*> asStrings() const;

    /// A new list with every element converted from `from` into the core encoding.
    StringList toCoreEncoding(String::Encoding from) const;
    /// A new list with every element converted from the core encoding into `to`.
    StringList fromCoreEncoding(String::Encoding to) const;

    // Growing past the list's maximum size throws std::length_error("list too long").
    StringList& append(const std::string& text);
    StringList& append(std::string&& text);
    StringList& append(const StringList& other);
    StringList& prepend(const std::string& text);
    StringList& operator<<(const std::string& text) { return append(text); }
    StringList& operator<<(std::string&& text) { return append(std::move(text)); }
    StringList& operator<<(const char* text) { return append(std::string(text ? text : "")); }

    std::size_t size() const;
    bool isEmpty() const;
    bool empty() const { return isEmpty(); }
    void clear();
    /// The first / last element; a shared empty string when the list is empty.
    const std::string& front() const;
    const std::string& back() const;

    iterator begin();
    iterator end();
    const_iterator begin() const;
    const_iterator end() const;

    std::list<std::string>& list();
    const std::list<std::string>& list() const;

    bool operator==(const StringList& other) const;
    bool operator!=(const StringList& other) const { return !(*this == other); }

private:
    void checkRoomFor(std::size_t more) const;

    struct Private;
    PrivatePtr<Private> d;
};

} // namespace Core
} // namespace Orvane
