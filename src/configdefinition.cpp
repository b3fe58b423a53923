// Configuration definitions, the ready-made records, and the definitions that the library's own
// configuration handlers publish.
#include "qorcommon/configdefinition.h"

#include <utility>

namespace Orvane {
namespace Core {

// ---- ConfigDefinition
// --------------------------------------------------------------------------------

ConfigDefinition::ConfigDefinition() = default;
ConfigDefinition::~ConfigDefinition() = default;

ConfigDefinition::Type ConfigDefinition::type() const {
    return Component;
}

std::string ConfigDefinition::basePath() const {
    return std::string();
}

ConfigDefinition::PathPositioning ConfigDefinition::basePathPositioning() const {
    return AbsolutePath;
}

// ---- ConfigEntryDefinition
// ---------------------------------------------------------------------------

ConfigEntryDefinition::ConfigEntryDefinition() = default;
ConfigEntryDefinition::~ConfigEntryDefinition() = default;

ConfigEntryDefinition::SelectionPolicy ConfigEntryDefinition::selectionPolicy() const {
    return FreeValue;
}

ConfigDefinition::PathPositioning ConfigEntryDefinition::pathPositioning() const {
    return ConfigDefinition::AbsolutePath;
}

ConfigEntryDefinition::ValueList ConfigEntryDefinition::getAvailableValues() const {
    return ValueList();
}

StringList ConfigEntryDefinition::getDefaultValues() const {
    return StringList();
}

ConfigEntryDefinition::MacroMap ConfigEntryDefinition::getAvailableMacros() const {
    return MacroMap();
}

// ---- QORConfig
// ---------------------------------------------------------------------------------------

struct QORConfig::Private {
    NameInfo nameInfo;
    EntryList entries;
    DefinitionList definitions;
    Generator generator;
};

QORConfig::QORConfig() : d(new Private) {}

QORConfig::QORConfig(const NameInfo& nameInfo) : d(new Private) {
    d->nameInfo = nameInfo;
}

QORConfig::~QORConfig() {
    delete d;
}

NameInfo QORConfig::nameInfo() const {
    return d->nameInfo;
}

ConfigDefinition::EntryList QORConfig::entryDefinitions() const {
    return d->entries;
}

ConfigDefinition::DefinitionList QORConfig::nestedDefinitions() const {
    return d->generator ? d->generator() : d->definitions;
}

void QORConfig::setNameInfo(const NameInfo& nameInfo) {
    d->nameInfo = nameInfo;
}

void QORConfig::appendEntry(const GC<ConfigEntryDefinition>& entry) {
    d->entries.push_back(entry);
}

void QORConfig::setEntries(const EntryList& entries) {
    d->entries = entries;
}

void QORConfig::appendDefinition(const GC<ConfigDefinition>& definition) {
    d->definitions.push_back(definition);
}

void QORConfig::setDefinitions(const DefinitionList& definitions) {
    d->definitions = definitions;
}

void QORConfig::setGenerator(Generator generator) {
    d->generator = std::move(generator);
}

// ---- QOREntry
// ----------------------------------------------------------------------------------------

struct QOREntry::Private {
    ValueType valueType = StringValue;
    SelectionPolicy selectionPolicy = FreeValue;
    Multiplicity multiplicity = SingleValue;
    std::string path;
    NameInfo nameInfo;
    ValueList availableValues;
    std::vector<std::string> defaultValues;
    MacroMap macros;
};

QOREntry::QOREntry() : d(new Private) {}

QOREntry::QOREntry(const std::string& path, const NameInfo& nameInfo, ValueType valueType,
                   Multiplicity multiplicity, const StringList& defaultValues)
    : d(new Private) {
    d->path = path;
    d->nameInfo = nameInfo;
    d->valueType = valueType;
    d->multiplicity = multiplicity;
    d->defaultValues = defaultValues.asVector();
}

QOREntry::~QOREntry() {
    delete d;
}

ConfigEntryDefinition::ValueType QOREntry::valueType() const {
    return d->valueType;
}

ConfigEntryDefinition::SelectionPolicy QOREntry::selectionPolicy() const {
    return d->selectionPolicy;
}

ConfigEntryDefinition::Multiplicity QOREntry::multiplicity() const {
    return d->multiplicity;
}

std::string QOREntry::path() const {
    return d->path;
}

NameInfo QOREntry::nameInfo() const {
    return d->nameInfo;
}

ConfigEntryDefinition::ValueList QOREntry::getAvailableValues() const {
    return d->availableValues;
}

StringList QOREntry::getDefaultValues() const {
    return StringList(d->defaultValues);
}

ConfigEntryDefinition::MacroMap QOREntry::getAvailableMacros() const {
    return d->macros;
}

void QOREntry::setValueType(ValueType valueType) {
    d->valueType = valueType;
}

void QOREntry::setSelectionPolicy(SelectionPolicy policy) {
    d->selectionPolicy = policy;
}

void QOREntry::setMultiplicity(Multiplicity multiplicity) {
    d->multiplicity = multiplicity;
}

void QOREntry::setPath(const std::string& path) {
    d->path = path;
}

void QOREntry::setNameInfo(const NameInfo& nameInfo) {
    d->nameInfo = nameInfo;
}

void QOREntry::setAvailableValues(const ValueList& values) {
    d->availableValues = values;
}

void QOREntry::appendAvailableValue(const ValueDefinition& value) {
    d->availableValues.push_back(value);
}

void QOREntry::setDefaultValues(const StringList& values) {
    d->defaultValues = values.asVector();
}

void QOREntry::setAvailableMacros(const MacroMap& macros) {
    d->macros = macros;
}

void QOREntry::addAvailableMacro(const std::string& name, const NameInfo& nameInfo) {
    d->macros[name] = nameInfo;
}

// ---- published definitions
// ---------------------------------------------------------------------------

namespace {

struct BooleanSetting {
    const char* path;
    const char* label;
    const char* description;
};

// The misspelling "copnfiguration" is part of the published text.
const BooleanSetting kOrvanecfgSettings[] = {
    {"ORVANE_CONFIG_HANDLER/IS_WRITING_ENABLED", "Enable Writing",
     "Enables writing of configuration file and setting of values in cache"},
    {"ORVANE_CONFIG_HANDLER/IS_SETTING_ENABLED", "Enable Setting",
     "Enables setting copnfiguration values in cache"},
    {"ORVANE_CONFIG_HANDLER/DEBUG_WRITING", "Enable Debug Writing",
     "Writing data in standard output."},
};

} // namespace

GC<ConfigDefinition> makeOrvanecfgConfigDefinition(const NameInfo& nameInfo) {
    GC<QORConfig> definition(new QORConfig(nameInfo));
    for (const BooleanSetting& setting : kOrvanecfgSettings) {
        definition->appendEntry(GC<ConfigEntryDefinition>(
            new QOREntry(setting.path, NameInfo(setting.label, setting.description),
                         ConfigEntryDefinition::BooleanValue, ConfigEntryDefinition::SingleValue,
                         StringList(std::string("false")))));
    }
    return definition;
}

GC<ConfigDefinition> makeOrvanecfgConfigDefinition() {
    return makeOrvanecfgConfigDefinition(NameInfo("orvanecfg", "ORVANE.CFG based configuration."));
}

GC<ConfigDefinition> makeEnvVarConfigDefinition(const NameInfo& nameInfo) {
    GC<QORConfig> definition(new QORConfig(nameInfo));
    definition->appendEntry(GC<ConfigEntryDefinition>(
        new QOREntry("ENVVAR_CONFIG_HANDLER/PREFIX",
                     NameInfo("Prefix", "Standard prefix for used environment variables"),
                     ConfigEntryDefinition::StringValue, ConfigEntryDefinition::SingleValue,
                     StringList(std::string("ORVANE")))));
    return definition;
}

GC<ConfigDefinition> makeEnvVarConfigDefinition() {
    return makeEnvVarConfigDefinition(
        NameInfo("Environment Variables", "Environment variables based configuration handler"));
}

} // namespace Core
} // namespace Orvane
