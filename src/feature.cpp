#include "qorcommon/feature.h"

#include "qorcommon/configdefinition.h"
#include "qorcommon/hash.h"

#include <atomic>
#include <string>

namespace Orvane {
namespace Core {
namespace QOR {

struct Feature::Private {
    std::atomic<Globals*> globals{nullptr};
    Private() = default;
    Private(const Private& other) : globals(other.globals.load()) {}
};

Feature::Feature() : d(new Private) {}
Feature::~Feature() = default;

const char* Feature::typeName() const {
    return "Orvane::Core::QOR::Feature";
}

NameInfo Feature::nameInfo() {
    return NameInfo(name(), std::string());
}

std::int64_t Feature::uniqueId() const {
    return toUniqueId(type(), name());
}

GC<ConfigDefinition> Feature::configDefinition() {
    return GC<ConfigDefinition>();
}

ReferenceRegistry<Module>* Feature::moduleReferenceRegistry() {
    // One registry for every feature that keeps no book; a function-local static is built once
    // even when several threads ask first, and it is never destroyed so late callers stay safe.
    static auto* none = new VoidReferenceRegistry<Module>();
    return none;
}

Globals* Feature::globals() const {
    return d->globals.load(std::memory_order_acquire);
}

void Feature::setGlobals(Globals* globals) {
    d.write()->globals.store(globals, std::memory_order_release);
}

std::int64_t Feature::toUniqueId(const char* type, const char* name) {
    std::string text = name ? name : "";
    text += '_';
    text += type ? type : "";
    return static_cast<std::int64_t>(hash64(text, UniqueIdSeed));
}

const char* ConfigHandlerFeature::type() const {
    return "config_handler";
}

const char* LoggingHandlerFeature::type() const {
    return "logging_handler";
}

const char* ErrorInfoCollectorFeature::type() const {
    return "error_info_collector";
}

const char* ClientRegistryFeature::type() const {
    return "client_registry";
}

} // namespace QOR
} // namespace Core
} // namespace Orvane
