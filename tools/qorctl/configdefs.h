// The configuration definitions that the library publishes, flattened to one record per entry.
#pragma once

#include "qorcommon/configdefinition.h"

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

/// Every entry that the library and its built-in features describe, in publication order.
std::vector<DefinedEntry> definedEntries();

std::string definedEntriesAsText(const std::vector<DefinedEntry>& entries, bool coloured);
std::string definedEntriesAsJson(const std::vector<DefinedEntry>& entries);

} // namespace Qorctl
