#include "configdefs.h"

#include "cli.h"
#include "json.h"

#include "qorcommon/builtinfeatures.h"
#include "qorcommon/globals.h"
#include "qorcommon/memoryconfighandler.h"

#include <sstream>

namespace Qorctl {

using namespace Orvane::Core;

namespace {

std::string joinPath(const std::string& base, const std::string& path) {
    if (base.empty()) return path;
    if (path.empty()) return base;
    return base + "/" + path;
}

const char* valueTypeName(ConfigEntryDefinition::ValueType type) {
    switch (type) {
    case ConfigEntryDefinition::BooleanValue:
        return "boolean";
    case ConfigEntryDefinition::StringValue:
        return "string";
    case ConfigEntryDefinition::LongValue:
        return "number";
    case ConfigEntryDefinition::FilePathValue:
        return "file path";
    }
    return "unknown";
}

const char* selectionName(ConfigEntryDefinition::SelectionPolicy policy) {
    switch (policy) {
    case ConfigEntryDefinition::FreeValue:
        return "free";
    case ConfigEntryDefinition::OneOfAvailable:
        return "one of the choices";
    case ConfigEntryDefinition::SomeOfAvailable:
        return "some of the choices";
    }
    return "unknown";
}

void collect(const GC<ConfigDefinition>& definition, const std::string& parentBase,
             const DefinedEntry& owner, std::vector<DefinedEntry>& out, int depth) {
    // Definitions are objects of other modules: a cycle among them must not hang the tool.
    if (!definition || depth > 32) return;
    const std::string base = definition->basePathPositioning() == ConfigDefinition::RelativePath
                                 ? joinPath(parentBase, definition->basePath())
                                 : definition->basePath();
    DefinedEntry context = owner;
    const NameInfo info = definition->nameInfo();
    if (depth == 0 || definition->type() == ConfigDefinition::Component) {
        context.component = info.name();
        context.componentDescription = info.description();
        context.group.clear();
    } else {
        context.group = joinPath(context.group, info.name());
    }
    for (const GC<ConfigEntryDefinition>& entry : definition->entryDefinitions()) {
        if (!entry) continue;
        DefinedEntry record = context;
        record.path = entry->pathPositioning() == ConfigDefinition::RelativePath
                          ? joinPath(base, entry->path())
                          : entry->path();
        const NameInfo entryInfo = entry->nameInfo();
        record.label = entryInfo.name();
        record.description = entryInfo.description();
        record.valueType = valueTypeName(entry->valueType());
        record.multiple = entry->multiplicity() == ConfigEntryDefinition::MultipleValues;
        record.selection = selectionName(entry->selectionPolicy());
        record.defaults = entry->getDefaultValues();
        record.choices = entry->getAvailableValues();
        record.macros = entry->getAvailableMacros();
        out.push_back(std::move(record));
    }
    for (const GC<ConfigDefinition>& nested : definition->nestedDefinitions())
        collect(nested, base, context, out, depth + 1);
}

} // namespace

std::vector<DefinedEntry> definedEntries(QOR::Globals* globals) {
    std::vector<DefinedEntry> entries;
    if (globals) {
        collect(globals->getConfigDefinition(), std::string(), DefinedEntry(), entries, 0);
        return entries;
    }
    // The framework describes its GLOBAL entries, with the registered features as their values
    // and each feature's own definition nested. Set up over an empty source and never started,
    // it loads no plug-in and writes nothing.
    QOR::Globals local(GC<ConfigHandler>(new MemoryConfigHandler()), ModuleInfo(), {});
    collect(local.getConfigDefinition(), std::string(), DefinedEntry(), entries, 0);
    return entries;
}

std::string definedEntriesAsText(const std::vector<DefinedEntry>& entries, bool coloured) {
    std::ostringstream out;
    std::string component;
    bool first = true;
    for (const DefinedEntry& entry : entries) {
        if (first || entry.component != component) {
            if (!first) out << '\n';
            out << Style::paint(entry.component, Style::Bold, coloured);
            if (!entry.componentDescription.empty()) out << ": " << entry.componentDescription;
            out << '\n';
            component = entry.component;
            first = false;
        }
        out << "  " << Style::paint(entry.path, Style::Cyan, coloured) << '\n';
        if (!entry.label.empty() || !entry.description.empty()) {
            out << "      " << entry.label;
            if (!entry.label.empty() && !entry.description.empty()) out << " - ";
            out << entry.description << '\n';
        }
        out << "      " << entry.valueType << (entry.multiple ? ", list" : ", one value");
        if (!entry.group.empty()) out << ", group " << entry.group;
        if (entry.defaults.size() > 0) out << ", default: " << entry.defaults.join(" <|> ");
        out << '\n';
        if (!entry.choices.empty()) {
            const char* heading = entry.selection == "free"                 ? "known values:"
                                  : entry.selection == "one of the choices" ? "one of:"
                                                                            : "some of:";
            out << "      " << heading;
            for (const auto& choice : entry.choices) {
                out << "\n        " << choice.value;
                if (!choice.nameInfo.name().empty() && choice.nameInfo.name() != choice.value)
                    out << " (" << choice.nameInfo.name() << ")";
                if (!choice.nameInfo.description().empty())
                    out << " - " << choice.nameInfo.description();
            }
            out << '\n';
        }
        if (!entry.macros.empty()) {
            out << "      macros:";
            for (const auto& macro : entry.macros)
                out << ' ' << macro.first;
            out << '\n';
        }
    }
    return out.str();
}

std::string definedEntriesAsJson(const std::vector<DefinedEntry>& entries) {
    JsonWriter json;
    json.beginArray();
    for (const DefinedEntry& entry : entries) {
        json.beginObject();
        json.field("component", entry.component);
        if (!entry.group.empty()) json.field("group", entry.group);
        json.field("path", entry.path);
        json.field("label", entry.label);
        json.field("description", entry.description);
        json.field("type", entry.valueType);
        json.key("multiple");
        json.boolean(entry.multiple);
        json.field("selection", entry.selection);
        json.key("defaults");
        json.strings(entry.defaults);
        json.key("choices");
        json.beginArray();
        for (const auto& choice : entry.choices) {
            json.beginObject();
            json.field("value", choice.value);
            json.field("label", choice.nameInfo.name());
            json.field("description", choice.nameInfo.description());
            json.endObject();
        }
        json.endArray();
        json.key("macros");
        json.beginObject();
        for (const auto& macro : entry.macros) {
            json.key(macro.first);
            json.string(macro.second.description().empty() ? macro.second.name()
                                                           : macro.second.description());
        }
        json.endObject();
        json.endObject();
    }
    json.endArray();
    return json.text();
}

} // namespace Qorctl
