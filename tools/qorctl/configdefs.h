// The configuration definitions that the library publishes, flattened to one record per entry.
#pragma once

#include "qorcommon/configdefinition.h"
#include "qorcommon/globals.h"

#include <string>
#include <vector>

namespace Qorctl {

struct DefinedEntry {
    /// The name of the component that reads the entry, and of the group inside it, if any.
    std::string component;
    std::string componentDescription;
    std::string group;
    /// The full path, relative paths resolved against their definitions' base paths.
    std::string path;
    std::string label;
    std::string description;
    std::string valueType;
    bool multiple = false;
    std::string selection;
    Orvane::Core::StringList defaults;
    Orvane::Core::ConfigEntryDefinition::ValueList choices;
    Orvane::Core::ConfigEntryDefinition::MacroMap macros;
};

/// Every entry that the library and its features describe, in publication order: those of the
/// running framework `globals` (plug-ins included), or with null those of the built-in features.
std::vector<DefinedEntry> definedEntries(Orvane::Core::QOR::Globals* globals = nullptr);

std::string definedEntriesAsText(const std::vector<DefinedEntry>& entries, bool coloured);
std::string definedEntriesAsJson(const std::vector<DefinedEntry>& entries);

} // namespace Qorctl
