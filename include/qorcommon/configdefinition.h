// Configuration definitions: descriptions, for tools and documentation, of the entries that a
// component reads (paths, labels, descriptions, defaults). They carry no values; the values live
// in the configuration handlers.
#pragma once

#include "qorcommon/gc.h"
#include "qorcommon/moduleinfo.h"
#include "qorcommon/stringlist.h"

#include <functional>
#include <map>
#include <string>
#include <vector>

namespace Orvane {
namespace Core {

class ConfigEntryDefinition;

/// A described group of configuration entries, possibly with nested groups.
/// Thread safety: set once at start-up (filled before it is handed out, then only read).
class QORCOMMON_API ConfigDefinition : public GCObject {
public:
    enum Type : int {
        /// The settings of one component.
        Component = 0,
        /// A group of settings inside another definition.
        Group = 1
    };
    /// How a path is to be read.
    enum PathPositioning : int {
        /// As it stands.
        AbsolutePath = 0,
        /// Below the base path of the definition that holds it.
        RelativePath = 1
    };

    using EntryList = std::vector<GC<ConfigEntryDefinition>>;
    using DefinitionList = std::vector<GC<ConfigDefinition>>;

    ConfigDefinition();
    ConfigDefinition(const ConfigDefinition&) = delete;
    ConfigDefinition& operator=(const ConfigDefinition&) = delete;
    ~ConfigDefinition() override;

    /// Default: Component.
    virtual Type type() const;
    /// Default: "".
    virtual std::string basePath() const;
    /// Default: AbsolutePath.
    virtual PathPositioning basePathPositioning() const;
    /// Name, description and annotations of the definition.
    virtual NameInfo nameInfo() const = 0;
    /// The entries that the definition describes.
    virtual EntryList entryDefinitions() const = 0;
    /// The definitions nested in this one.
    virtual DefinitionList nestedDefinitions() const = 0;
};

/// A described configuration entry.
/// Thread safety: set once at start-up (filled before it is handed out, then only read).
class QORCOMMON_API ConfigEntryDefinition : public GCObject {
public:
    enum ValueType : int { BooleanValue = 0, StringValue = 1, LongValue = 2, FilePathValue = 3 };
    /// How a user picks the value.
    enum SelectionPolicy : int {
        /// Any value.
        FreeValue = 0,
        /// One of getAvailableValues().
        OneOfAvailable = 1,
        /// Several of getAvailableValues().
        SomeOfAvailable = 2
    };
    /// Whether the entry holds one value or a list.
    enum Multiplicity : int { MultipleValues = 0, SingleValue = 1 };

    /// A value that a user may choose, with its label and description.
    struct ValueDefinition {
        std::string value;
        NameInfo nameInfo;

        ValueDefinition() = default;
        ValueDefinition(const std::string& text, const NameInfo& info)
            : value(text), nameInfo(info) {}
        bool operator==(const ValueDefinition& other) const {
            return value == other.value && nameInfo == other.nameInfo;
        }
    };
    using ValueList = std::vector<ValueDefinition>;
    /// Macro name -> its label and description.
    using MacroMap = std::map<std::string, NameInfo>;

    ConfigEntryDefinition();
    ConfigEntryDefinition(const ConfigEntryDefinition&) = delete;
    ConfigEntryDefinition& operator=(const ConfigEntryDefinition&) = delete;
    ~ConfigEntryDefinition() override;

    virtual ValueType valueType() const = 0;
    /// Default: FreeValue.
    virtual SelectionPolicy selectionPolicy() const;
    virtual Multiplicity multiplicity() const = 0;
    /// The entry's configuration path, "SECTION/ENTRY".
    virtual std::string path() const = 0;
    /// Default: AbsolutePath.
    virtual ConfigDefinition::PathPositioning pathPositioning() const;
    /// Label, description and annotations of the entry.
    virtual NameInfo nameInfo() const = 0;
    /// Default: none.
    virtual ValueList getAvailableValues() const;
    /// Default: none.
    virtual StringList getDefaultValues() const;
    /// The macros that the entry's value may use. Default: none.
    virtual MacroMap getAvailableMacros() const;
};

/// The ready-made definition: a record of name information, its entries and its nested
/// definitions. With a generator set, the nested definitions are made by calling it at every
/// request instead of being taken from the record. Fill it before handing it out; a filled
/// record may be read from several threads.
/// Thread safety: set once at start-up (filled before it is handed out, then only read).
class QORCOMMON_API QORConfig : public ConfigDefinition {
public:
    using Generator = std::function<DefinitionList()>;

    QORConfig();
    explicit QORConfig(const NameInfo& nameInfo);
    ~QORConfig() override;

    NameInfo nameInfo() const override;
    EntryList entryDefinitions() const override;
    DefinitionList nestedDefinitions() const override;

    void setNameInfo(const NameInfo& nameInfo);
    void appendEntry(const GC<ConfigEntryDefinition>& entry);
    void setEntries(const EntryList& entries);
    void appendDefinition(const GC<ConfigDefinition>& definition);
    void setDefinitions(const DefinitionList& definitions);
    /// An empty generator returns to the stored list.
    void setGenerator(Generator generator);

private:
    struct Private;
    Private* d;
};

/// The ready-made entry: a record returning its stored fields. Fill it before handing it out.
/// Thread safety: set once at start-up (filled before it is handed out, then only read).
class QORCOMMON_API QOREntry : public ConfigEntryDefinition {
public:
    /// A string entry of one value without path or label.
    QOREntry();
    QOREntry(const std::string& path, const NameInfo& nameInfo, ValueType valueType,
             Multiplicity multiplicity, const StringList& defaultValues = StringList());
    ~QOREntry() override;

    ValueType valueType() const override;
    SelectionPolicy selectionPolicy() const override;
    Multiplicity multiplicity() const override;
    std::string path() const override;
    NameInfo nameInfo() const override;
    ValueList getAvailableValues() const override;
    StringList getDefaultValues() const override;
    MacroMap getAvailableMacros() const override;

    void setValueType(ValueType valueType);
    void setSelectionPolicy(SelectionPolicy policy);
    void setMultiplicity(Multiplicity multiplicity);
    void setPath(const std::string& path);
    void setNameInfo(const NameInfo& nameInfo);
    void setAvailableValues(const ValueList& values);
    void appendAvailableValue(const ValueDefinition& value);
    void setDefaultValues(const StringList& values);
    void setAvailableMacros(const MacroMap& macros);
    void addAvailableMacro(const std::string& name, const NameInfo& nameInfo);

private:
    struct Private;
    Private* d;
};

// ---- the definitions that the library's configuration handlers publish ------------------------

/// The three settings of the configuration-file handler (writing, setting and debug writing, each
/// a boolean defaulting to "false"), under the name information of the handler's feature.
QORCOMMON_API GC<ConfigDefinition> makeOrvanecfgConfigDefinition(const NameInfo& nameInfo);
/// The same under the file handler's own name: "orvanecfg", "ORVANE.CFG based configuration.".
QORCOMMON_API GC<ConfigDefinition> makeOrvanecfgConfigDefinition();

/// The environment handler's prefix setting, "ENVVAR_CONFIG_HANDLER/PREFIX" (default "ORVANE"),
/// under the name information of the handler's feature.
QORCOMMON_API GC<ConfigDefinition> makeEnvVarConfigDefinition(const NameInfo& nameInfo);
/// The same under "Environment Variables", "Environment variables based configuration handler".
QORCOMMON_API GC<ConfigDefinition> makeEnvVarConfigDefinition();

} // namespace Core
} // namespace Orvane
