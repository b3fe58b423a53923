// CustomInfo. Its macro forms (asStringList(format)) live with the other macro forms of error
// records in recordmacros.cpp, above the macro engine.
#include "qorcommon/custominfo.h"

#include <utility>

namespace Orvane {
namespace Core {

struct CustomInfo::Private {
    Map values;
};

CustomInfo::CustomInfo() = default;

CustomInfo::CustomInfo(const std::string& key, const std::string& value)
    : d(new Private{Map{{key, value}}}) {}

CustomInfo::CustomInfo(const Map& values) : d(new Private{values}) {}

CustomInfo::CustomInfo(const CustomInfo& other) = default;
CustomInfo::CustomInfo(CustomInfo&& other) noexcept = default;
CustomInfo& CustomInfo::operator=(const CustomInfo& other) = default;
CustomInfo& CustomInfo::operator=(CustomInfo&& other) noexcept = default;
CustomInfo::~CustomInfo() = default;

CustomInfo& CustomInfo::operator<<(const Pair& pair) {
    return set(pair.first, pair.second);
}

CustomInfo& CustomInfo::set(const std::string& key, const std::string& value) {
    d.write()->values[key] = value;
    return *this;
}

bool CustomInfo::remove(const std::string& key) {
    return d->values.count(key) != 0 && d.write()->values.erase(key) != 0;
}

void CustomInfo::clear() {
    d.reset();
}

const std::string& CustomInfo::get(const std::string& key, const std::string& defaultValue) const {
    const Map& values = d->values;
    const auto it = values.find(key);
    return it == values.end() ? defaultValue : it->second;
}

bool CustomInfo::contains(const std::string& key) const {
    return d->values.count(key) != 0;
}

std::size_t CustomInfo::size() const {
    return d->values.size();
}

bool CustomInfo::isEmpty() const {
    return d->values.empty();
}

const CustomInfo::Map& CustomInfo::values() const {
    return d->values;
}

StringList CustomInfo::asStringList() const {
    StringList list;
    // Filled through the placeholders of "{0} = {1}" like every other message: a key that
    // itself reads "{1}" is then filled with the value too, exactly as the template says.
    for (const auto& pair : d->values)
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
