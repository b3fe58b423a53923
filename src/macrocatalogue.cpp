// The catalogue of built-in macros: usage and description of each, and its HTML table. Built-ins
// registered from above the engine add their entries when they are registered.
#include "macrobuiltins.h"

#include <initializer_list>
#include <vector>

namespace Orvane {
namespace Core {

namespace {

std::map<std::string, NameInfo>& catalogue() {
    // Never destroyed, like the other tables of the engine.
    static auto* catalogue = [] {
        auto* map = new std::map<std::string, NameInfo>;
        auto add = [map](std::initializer_list<const char*> names, const char* usage,
                         const std::string& description) {
            for (const char* name : names)
                map->emplace(name, NameInfo(usage, description));
        };
        add({"//"}, "$(//:<comment>)", "Only a comment.");
        add({"nl"}, "$(nl)", "Inserts a new line character.");
        add({"tab"}, "$(tab)", "Inserts a tab character.");
        add({"sp"}, "$(sp)", "Inserts a space character.");
        add({"str_cat", "str"}, "$({str_cat|str}:[<str_1>][,[<str_2>[,...]]])",
            "Concatenates the strings.");
        add({"str_replace"}, "$(str_replace:<source>,<old>,<new>)",
            "Replaces <old> to <new> in <source>");
        add({"strl_join"}, "$(strl_join:<delimiter>[,<str1>[,<str2>[,...]]])",
            "Joins string with <delimiter>.");
        add({"dt_posix_to_iso"}, "$(dt_posix_to_iso:<posix time>)",
            "Generates ISO8601 date time format from <posix time>");
        add({"dt_now"}, "$(dt_now[:{iso|posix|<custom format>}]>)",
            "Inserts date and time as iso or as <custom format>.");
        add({"current_dir"}, "", "Inserts the current directory.");
        add({"thread_id"}, "", "Inserts the current thread ID as hexa.");
        add({"process_id"}, "", "Inserts the current process ID as hexa.");
        add({"operation", "o"}, "$({o|operation}:<par1>,<operation type>[,par2])",
            std::string("Executes the <operation>.") +
                "Supported operations are: \nnot, !, +, -, /, *, %, pow, =, ==, !=, <>, <, <=, "
                ">, >=");
        add({"eval"}, "$(eval:<macro>)", "Evaluates the <macro>.");
        add({"if"}, "$(if:<condition>,{<then>}[,{<else>}])", "Conditional macro.");
        add({"while"}, "$(while:{<condition>},{<body>})", "Implements a conditional cycle.");
        add({"set"}, "$(set:<variable name>,<value>)", "Declares and sets a variable.");
        add({"v", "var"}, "$({v|var}:<variable name>)", "Inserts value of variable.");
        add({"function"}, "$(function:<name>,[,<arg1>,...],{<body>})", "Defines a macro function.");
        add({"call"}, "$(call:<name>[,<arg1>[,<arg2>[,...]]])",
            "Calls a macro function and inserts its return value.");
        add({"block", "b"}, "$({b|block}[,<macro1>[,<macro2>[,...]]])",
            "Evaluates a block of macros.");
        add({"return"}, "$(return[:<return value>])", "Returns from the current function.");
        return map;
    }();
    return *catalogue;
}

std::string htmlEscaped(const std::string& text) {
    std::string out;
    out.reserve(text.size());
    for (char c : text) {
        switch (c) {
        case '&':
            out += "&amp;";
            break;
        case '<':
            out += "&lt;";
            break;
        case '>':
            out += "&gt;";
            break;
        default:
            out += c;
            break;
        }
    }
    return out;
}

} // namespace

namespace Internal {

void addCatalogueEntry(const std::string& name, const std::string& usage,
                       const std::string& description) {
    catalogue().emplace(name, NameInfo(usage, description));
}

} // namespace Internal

const std::map<std::string, NameInfo>& MacroReplacer::availableMacros() {
    return catalogue();
}

String MacroReplacer::availableMacrosAsHtml() {
    String html("<table>");
    html += "<tr><th>Macro</th><th>Short Description</th></tr>";
    std::vector<const NameInfo*> shown;
    for (const auto& entry : availableMacros()) {
        const NameInfo& info = entry.second;
        bool alias = false;
        for (const NameInfo* other : shown)
            alias = alias || *other == info;
        if (alias) continue;
        shown.push_back(&info);
        html += String("<tr><td>{0}</td><td>{1}</td></tr>")
                    .a(htmlEscaped(info.name()))
                    .a(htmlEscaped(info.description()));
    }
    html += "</table>";
    return html;
}

} // namespace Core
} // namespace Orvane
