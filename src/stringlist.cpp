#include "qorcommon/stringlist.h"

#include "qorcommon/assertion.h"

#include <algorithm>
#include <iterator>
#include <stdexcept>
#include <utility>

namespace Orvane {
namespace Core {

struct StringList::Private {
    std::list<std::string> items;
};

namespace {
const std::string& sharedEmptyString() {
    static const std::string empty;
    return empty;
}
} // namespace

StringList::StringList(Object* parent) : StorageObject(parent) {}

StringList::StringList(const std::string& first, Object* parent)
    : StorageObject(parent), d(new Private{{first}}) {}

StringList::StringList(std::initializer_list<std::string> items, Object* parent)
    : StorageObject(parent), d(new Private{std::list<std::string>(items)}) {}

StringList::StringList(const std::list<std::string>& items, Object* parent)
    : StorageObject(parent), d(new Private{items}) {}

StringList::StringList(const std::vector<std::string>& items, Object* parent)
    : StorageObject(parent), d(new Private{std::list<std::string>(items.begin(), items.end())}) {}

StringList::StringList(const char* const* array, long count, Object* parent)
    : StorageObject(parent), d(new Private) {
    std::list<std::string>& items = d.write()->items;
    for (long i = 0; array && i < count; ++i)
        items.emplace_back(array[i] ? array[i] : "");
}

StringList::StringList(const char* const* array, Object* parent)
    : StorageObject(parent), d(new Private) {
    std::list<std::string>& items = d.write()->items;
    for (; array && *array; ++array)
        items.emplace_back(*array);
}

// The object part (parent, children) belongs to the object and is not taken over by a copy or
// a move, so the members are spelled out.
StringList::StringList(const StringList& other) : StorageObject(other), d(other.d) {}

StringList::StringList(StringList&& other) noexcept : StorageObject(other), d(std::move(other.d)) {}

StringList::~StringList() = default;

StringList& StringList::operator=(const StringList& other) {
    d = other.d;
    return *this;
}

StringList& StringList::operator=(StringList&& other) noexcept {
    d = std::move(other.d);
    return *this;
}

StringList StringList::split(const std::string& text, const std::string& separator,
                             bool skipEmpty) {
    StringList result;
    std::list<std::string>& items = result.d.write()->items;
    if (!QOR_CHECK(!separator.empty())) {
        items.push_back(text);
        return result;
    }
    std::size_t pos = 0;
    for (;;) {
        const std::size_t hit = text.find(separator, pos);
        const std::size_t end = hit == std::string::npos ? text.size() : hit;
        if (!skipEmpty || end > pos) items.emplace_back(text, pos, end - pos);
        if (hit == std::string::npos) break;
        pos = hit + separator.size();
    }
    return result;
}

std::string StringList::join(const std::string& separator) const {
    std::string out;
    if (d->items.empty()) return out;
    std::size_t total = separator.size() * (d->items.size() - 1);
    for (const std::string& item : d->items)
        total += item.size();
    out.reserve(total);
    bool first = true;
    for (const std::string& item : d->items) {
        if (!first) out += separator;
        out += item;
        first = false;
    }
    return out;
}

std::size_t StringList::count(const std::string& text) const {
    return static_cast<std::size_t>(std::count(d->items.begin(), d->items.end(), text));
}

std::size_t StringList::count(const std::function<bool(const std::string&)>& predicate) const {
    if (!predicate) return 0;
    return static_cast<std::size_t>(std::count_if(d->items.begin(), d->items.end(), predicate));
}

const std::string& StringList::operator[](std::size_t idx) const {
    if (!QOR_CHECK(idx < size())) return sharedEmptyString();
    return *std::next(d->items.begin(), static_cast<std::ptrdiff_t>(idx));
}

bool StringList::set(std::size_t idx, const std::string& text) {
    if (!QOR_CHECK(idx < size())) return false;
    *std::next(d.write()->items.begin(), static_cast<std::ptrdiff_t>(idx)) = text;
    return true;
}

std::vector<std::string> StringList::asVector() const {
    return std::vector<std::string>(d->items.begin(), d->items.end());
}

std::vector<const char*> StringList::asStrings() const {
    std::vector<const char*> out;
    out.reserve(d->items.size());
    for (const std::string& item : d->items)
        out.push_back(item.c_str());
    return out;
}

StringList StringList::toCoreEncoding(String::Encoding from) const {
    StringList out;
    for (const std::string& item : d->items)
        out.d.write()->items.push_back(String::toCoreEncoding(item, from));
    return out;
}

StringList StringList::fromCoreEncoding(String::Encoding to) const {
    StringList out;
    for (const std::string& item : d->items) {
        out.d.write()->items.push_back(String::fromCoreEncoding(item, to));
    }
    return out;
}

void StringList::checkRoomFor(std::size_t more) const {
    if (d->items.max_size() - d->items.size() < more) throw std::length_error("list too long");
}

StringList& StringList::append(const std::string& text) {
    checkRoomFor(1);
    d.write()->items.push_back(text);
    return *this;
}

StringList& StringList::append(std::string&& text) {
    checkRoomFor(1);
    d.write()->items.push_back(std::move(text));
    return *this;
}

StringList& StringList::append(const StringList& other) {
    checkRoomFor(other.size());
    // Copied first so that appending a list to itself stops at its original end.
    std::list<std::string> copy(other.d->items);
    std::list<std::string>& items = d.write()->items;
    items.splice(items.end(), copy);
    return *this;
}

StringList& StringList::prepend(const std::string& text) {
    checkRoomFor(1);
    d.write()->items.push_front(text);
    return *this;
}

std::size_t StringList::size() const {
    return d->items.size();
}
bool StringList::isEmpty() const {
    return d->items.empty();
}
void StringList::clear() {
    d.reset();
}

const std::string& StringList::front() const {
    return d->items.empty() ? sharedEmptyString() : d->items.front();
}

const std::string& StringList::back() const {
    return d->items.empty() ? sharedEmptyString() : d->items.back();
}

StringList::iterator StringList::begin() {
    return d.write()->items.begin();
}
StringList::iterator StringList::end() {
    return d.write()->items.end();
}
StringList::const_iterator StringList::begin() const {
    return d->items.begin();
}
StringList::const_iterator StringList::end() const {
    return d->items.end();
}

std::list<std::string>& StringList::list() {
    return d.write()->items;
}
const std::list<std::string>& StringList::list() const {
    return d->items;
}

bool StringList::operator==(const StringList& other) const {
    return d->items == other.d->items;
}

} // namespace Core
} // namespace Orvane
