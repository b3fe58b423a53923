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

ModuleInfo::ModuleInfo() = default;

ModuleInfo::ModuleInfo(const std::string& name, const std::string& type, const Version& version)
    : d(new Private{name, type, version, 0, false}) {
    d.write()->deriveId();
}

ModuleInfo::ModuleInfo(const std::string& name, const std::string& type, const Version& version,
                       std::uint64_t uniqueId)
    : d(new Private{name, type, version, uniqueId, true}) {}

ModuleInfo::ModuleInfo(const ModuleInfo& other) = default;
ModuleInfo::ModuleInfo(ModuleInfo&& other) noexcept = default;
ModuleInfo& ModuleInfo::operator=(const ModuleInfo& other) = default;
ModuleInfo& ModuleInfo::operator=(ModuleInfo&& other) noexcept = default;
ModuleInfo::~ModuleInfo() = default;

const std::string& ModuleInfo::name() const {
    return d->name;
}

const std::string& ModuleInfo::type() const {
    return d->type;
}

const Version& ModuleInfo::version() const {
    return d->version;
}

std::uint64_t ModuleInfo::uniqueId() const {
    return d->uniqueId;
}

void ModuleInfo::setName(const std::string& name) {
    Private* p = d.write();
    p->name = name;
    p->deriveId();
}

void ModuleInfo::setType(const std::string& type) {
    Private* p = d.write();
    p->type = type;
    p->deriveId();
}

void ModuleInfo::setVersion(const Version& version) {
    d.write()->version = version;
}

void ModuleInfo::setUniqueId(std::uint64_t uniqueId) {
    Private* p = d.write();
    p->uniqueId = uniqueId;
    p->explicitId = true;
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

NameInfo::NameInfo() = default;

NameInfo::NameInfo(const std::string& name, const std::string& description)
    : d(new Private{name, description, CustomInfo()}) {}

NameInfo::NameInfo(const std::string& name, const std::string& description,
                   const CustomInfo& customInfo)
    : d(new Private{name, description, customInfo}) {}

NameInfo::NameInfo(const NameInfo& other) = default;
NameInfo::NameInfo(NameInfo&& other) noexcept = default;
NameInfo& NameInfo::operator=(const NameInfo& other) = default;
NameInfo& NameInfo::operator=(NameInfo&& other) noexcept = default;
NameInfo::~NameInfo() = default;

const std::string& NameInfo::name() const {
    return d->name;
}

const std::string& NameInfo::description() const {
    return d->description;
}

const CustomInfo& NameInfo::customInfo() const {
    return d->customInfo;
}

CustomInfo& NameInfo::customInfo() {
    return d.write()->customInfo;
}

void NameInfo::setName(const std::string& name) {
    d.write()->name = name;
}

void NameInfo::setDescription(const std::string& description) {
    d.write()->description = description;
}

void NameInfo::setCustomInfo(const CustomInfo& customInfo) {
    d.write()->customInfo = customInfo;
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
