// CustomInfo. Its macro forms (asStringList(format)) live with the other macro forms of error
// records in recordmacros.cpp, above the macro engine.
#include "qorcommon/custominfo.h"

#include <utility>

namespace Orvane {
namespace Core {

struct CustomInfo::Private {
    Map values;
};

CustomInfo::CustomInfo() : d(new Private) {}

CustomInfo::CustomInfo(const std::string& key, const std::string& value) : d(new Private) {
    d->values[key] = value;
}

CustomInfo::CustomInfo(const Map& values) : d(new Private{values}) {}

CustomInfo::CustomInfo(const CustomInfo& other) : d(new Private(*other.ensure())) {}

CustomInfo::CustomInfo(CustomInfo&& other) noexcept : d(other.d) {
    other.d = nullptr;
}

CustomInfo& CustomInfo::operator=(const CustomInfo& other) {
    if (this != &other) *ensure() = *other.ensure();
    return *this;
}

CustomInfo& CustomInfo::operator=(CustomInfo&& other) noexcept {
    std::swap(d, other.d);
    return *this;
}

CustomInfo::~CustomInfo() {
    delete d;
}

CustomInfo::Private* CustomInfo::ensure() const {
    if (!d) d = new Private;
    return d;
}

CustomInfo& CustomInfo::operator<<(const Pair& pair) {
    return set(pair.first, pair.second);
}

CustomInfo& CustomInfo::set(const std::string& key, const std::string& value) {
    ensure()->values[key] = value;
    return *this;
}

bool CustomInfo::remove(const std::string& key) {
    return ensure()->values.erase(key) != 0;
}

void CustomInfo::clear() {
    ensure()->values.clear();
}

const std::string& CustomInfo::get(const std::string& key, const std::string& defaultValue) const {
    const Map& values = ensure()->values;
    const auto it = values.find(key);
    return it == values.end() ? defaultValue : it->second;
}

bool CustomInfo::contains(const std::string& key) const {
    return ensure()->values.count(key) != 0;
}

std::size_t CustomInfo::size() const {
    return ensure()->values.size();
}

bool CustomInfo::isEmpty() const {
    return ensure()->values.empty();
}

const CustomInfo::Map& CustomInfo::values() const {
    return ensure()->values;
}

StringList CustomInfo::asStringList() const {
    StringList list;
    // Filled through the placeholders of "{0} = {1}" like every other message: a key that
    // itself reads "{1}" is then filled with the value too, exactly as the template says.
    for (const auto& pair : ensure()->values)
        list.append(String("{0} = {1}").a(pair.first).a(pair.second).str());
    return list;
}

String CustomInfo::asString() const {
    return String(asStringList().join("\n"));
}

bool CustomInfo::operator==(const CustomInfo& other) const {
    return values() == other.values();
}

} // namespace Core
} // namespace Orvane
