#include "qorcommon/moduleinfo.h"

#include "qorcommon/custominfo.h"
#include "qorcommon/hash.h"

#include <utility>

namespace Orvane {
namespace Core {

// ---- ModuleInfo -----------------------------------------------------------------------------

struct ModuleInfo::Private {
    std::string name;
    std::string type;
    Version version;
    std::uint64_t uniqueId = 0;
    bool explicitId = false;

    void deriveId() {
        if (!explicitId) uniqueId = makeUniqueId(name, type);
    }
};

ModuleInfo::ModuleInfo() : d(new Private) {}

ModuleInfo::ModuleInfo(const std::string& name, const std::string& type, const Version& version)
    : d(new Private{name, type, version, 0, false}) {
    d->deriveId();
}

ModuleInfo::ModuleInfo(const std::string& name, const std::string& type, const Version& version,
                       std::uint64_t uniqueId)
    : d(new Private{name, type, version, uniqueId, true}) {}

ModuleInfo::ModuleInfo(const ModuleInfo& other) : d(new Private(*other.ensure())) {}

ModuleInfo::ModuleInfo(ModuleInfo&& other) noexcept : d(other.d) {
    other.d = nullptr;
}

ModuleInfo& ModuleInfo::operator=(const ModuleInfo& other) {
    if (this != &other) *ensure() = *other.ensure();
    return *this;
}

ModuleInfo& ModuleInfo::operator=(ModuleInfo&& other) noexcept {
    std::swap(d, other.d);
    return *this;
}

ModuleInfo::~ModuleInfo() {
    delete d;
}

ModuleInfo::Private* ModuleInfo::ensure() const {
    if (!d) d = new Private;
    return d;
}

const std::string& ModuleInfo::name() const {
    return ensure()->name;
}

const std::string& ModuleInfo::type() const {
    return ensure()->type;
}

const Version& ModuleInfo::version() const {
    return ensure()->version;
}

std::uint64_t ModuleInfo::uniqueId() const {
    return ensure()->uniqueId;
}

void ModuleInfo::setName(const std::string& name) {
    ensure()->name = name;
    d->deriveId();
}

void ModuleInfo::setType(const std::string& type) {
    ensure()->type = type;
    d->deriveId();
}

void ModuleInfo::setVersion(const Version& version) {
    ensure()->version = version;
}

void ModuleInfo::setUniqueId(std::uint64_t uniqueId) {
    ensure()->uniqueId = uniqueId;
    d->explicitId = true;
}

std::uint64_t ModuleInfo::makeUniqueId(const std::string& name, const std::string& type) {
    if (name.empty() && type.empty()) return 0;
    return hash64(name + "_" + type);
}

bool ModuleInfo::isEmpty() const {
    return name().empty() && type().empty() && version().isNull() && uniqueId() == 0;
}

String ModuleInfo::asString() const {
    std::string text = name();
    if (!type().empty()) {
        if (!text.empty()) text += ' ';
        text += "(" + type() + ")";
    }
    if (!version().isNull()) {
        if (!text.empty()) text += ' ';
        text += version().toString();
    }
    return String(std::move(text));
}

bool ModuleInfo::operator==(const ModuleInfo& other) const {
    return name() == other.name() && type() == other.type() && version() == other.version() &&
           uniqueId() == other.uniqueId();
}

// ---- NameInfo -------------------------------------------------------------------------------

struct NameInfo::Private {
    std::string name;
    std::string description;
    CustomInfo customInfo;
};

NameInfo::NameInfo() : d(new Private) {}

NameInfo::NameInfo(const std::string& name, const std::string& description)
    : d(new Private{name, description, CustomInfo()}) {}

NameInfo::NameInfo(const std::string& name, const std::string& description,
                   const CustomInfo& customInfo)
    : d(new Private{name, description, customInfo}) {}

NameInfo::NameInfo(const NameInfo& other) : d(new Private(*other.ensure())) {}

NameInfo::NameInfo(NameInfo&& other) noexcept : d(other.d) {
    other.d = nullptr;
}

NameInfo& NameInfo::operator=(const NameInfo& other) {
    if (this != &other) *ensure() = *other.ensure();
    return *this;
}

NameInfo& NameInfo::operator=(NameInfo&& other) noexcept {
    std::swap(d, other.d);
    return *this;
}

NameInfo::~NameInfo() {
    delete d;
}

NameInfo::Private* NameInfo::ensure() const {
    // A moved-from record gets a fresh empty block on its next use.
    if (!d) d = new Private;
    return d;
}

const std::string& NameInfo::name() const {
    return ensure()->name;
}

const std::string& NameInfo::description() const {
    return ensure()->description;
}

const CustomInfo& NameInfo::customInfo() const {
    return ensure()->customInfo;
}

CustomInfo& NameInfo::customInfo() {
    return ensure()->customInfo;
}

void NameInfo::setName(const std::string& name) {
    ensure()->name = name;
}

void NameInfo::setDescription(const std::string& description) {
    ensure()->description = description;
}

void NameInfo::setCustomInfo(const CustomInfo& customInfo) {
    ensure()->customInfo = customInfo;
}

bool NameInfo::isEmpty() const {
    return name().empty() && description().empty() && customInfo().isEmpty();
}

bool NameInfo::operator==(const NameInfo& other) const {
    return name() == other.name() && description() == other.description() &&
           customInfo() == other.customInfo();
}

} // namespace Core
} // namespace Orvane
