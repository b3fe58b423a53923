// config check | get | dump | set | defs
#include "commands.h"
#include "configchain.h"
#include "configdefs.h"
#include "json.h"

#include "qorcommon/errorinfo.h"
#include "qorcommon/libraryservices.h"

#include <fstream>
#include <iostream>
#include <set>

namespace Qorctl {

using namespace Orvane::Core;

namespace {

std::string trimmed(const std::string& text) {
    const std::size_t begin = text.find_first_not_of(" \t\r\n");
    if (begin == std::string::npos) return std::string();
    const std::size_t end = text.find_last_not_of(" \t\r\n");
    return text.substr(begin, end - begin + 1);
}

int check(const Context& context) {
    Arguments args("config check", context.args, {}, {});
    args.expectPositionals(1, static_cast<std::size_t>(-1));
    bool problems = false;
    for (const std::string& file : args.positionals()) {
        OrvanecfgConfigHandler::setOrvanecfgPath(file);
        GC<OrvanecfgConfigHandler> handler(new OrvanecfgConfigHandler());
        if (handler->updateCache(false)) continue;
        problems = true;
        // The record's hint holds every grammar message; an update that stopped early or could
        // not open the file leaves its reason as the last error alone.
        const std::string hint = handler->getLastErrorInfo().hint();
        const std::string text = hint.empty() ? handler->getLastError() : hint;
        for (const std::string& line : StringList::split(text, "\r\n")) {
            if (line.empty()) continue;
            // Messages without a place (an escape code that does not convert) get the file.
            const bool placed = line.compare(0, file.size(), file) == 0 ||
                                line.find("'" + file + "'") != std::string::npos;
            std::cout << (placed ? line : file + ": " + line) << '\n';
        }
    }
    return problems ? ExitProblem : ExitOk;
}

// The tool's own chain, or with --framework the one the started library builds.
ConfigChain chainOf(const Context& context, const Arguments& args) {
    return args.has("framework") ? frameworkConfigChain(context) : buildConfigChain(context);
}

int get(const Context& context) {
    Arguments args("config get", context.args, {}, {"framework"});
    args.expectPositionals(1, 1);
    const ConfigChain chain = chainOf(context, args);
    const std::string& path = args.positionals()[0];
    StringList values;
    if (!chain.head()->getEntryAsStringList(path, values)) {
        // The handler that failed last holds the reason: the deepest one with a message.
        std::string reason;
        for (auto link = chain.links.rbegin(); link != chain.links.rend() && reason.empty(); ++link)
            reason = link->handler->getLastError();
        if (reason.empty()) reason = "no value for " + path;
        printError(reason);
        return ExitProblem;
    }
    for (const std::string& value : values)
        std::cout << value << '\n';
    return ExitOk;
}

// The sections of the configuration file, from its header lines: the handler lists the entries
// of a section but not the sections themselves.
std::set<std::string> fileSections(const std::string& path) {
    std::set<std::string> sections;
    std::ifstream in(path, std::ios::binary);
    std::string line;
    while (std::getline(in, line)) {
        std::string text = trimmed(line);
        if (text.size() >= 3 && static_cast<unsigned char>(text[0]) == 0xEF) text = text.substr(3);
        if (text.empty() || text[0] != '[') continue;
        std::size_t end = text.find(']');
        if (end == std::string::npos) end = text.find('#');
        const std::string name = trimmed(text.substr(1, end == std::string::npos ? end : end - 1));
        if (!name.empty()) sections.insert(name);
    }
    return sections;
}

struct Answer {
    std::string source;
    StringList values;
};

int dump(const Context& context) {
    Arguments args("config dump", context.args, {}, {"json", "framework"});
    args.expectPositionals(0, 0);
    const ConfigChain chain = chainOf(context, args);

    std::set<std::string> paths;
    if (chain.commandLine) {
        for (const std::string& path : chain.commandLine->paths())
            paths.insert(path);
    }
    if (chain.fileRead && chain.file) {
        for (const std::string& section : fileSections(chain.filePath)) {
            StringList keys;
            if (chain.file->getKeyList(section, keys, false)) {
                for (const std::string& key : keys)
                    paths.insert(section + "/" + key);
            }
        }
    }
    std::map<std::string, DefinedEntry> defined;
    for (const DefinedEntry& entry : definedEntries(chain.host ? chain.host->globals() : nullptr))
        defined.emplace(entry.path, entry);
    for (const auto& entry : defined)
        paths.insert(entry.first);

    JsonWriter json;
    const bool asJson = args.has("json");
    if (asJson) json.beginArray();
    for (const std::string& path : paths) {
        std::vector<Answer> answers;
        for (const ConfigChain::Link& link : chain.links) {
            StringList values;
            if (link.handler->getEntryAsStringList(path, values, false))
                answers.push_back(Answer{link.source, values});
        }
        const auto definition = defined.find(path);
        if (answers.empty()) {
            if (definition == defined.end()) continue;
            answers.push_back(Answer{"default", definition->second.defaults});
        }
        if (asJson) {
            json.beginObject();
            json.field("path", path);
            json.field("source", answers[0].source);
            json.key("values");
            json.strings(answers[0].values);
            json.key("hidden");
            json.beginArray();
            for (std::size_t i = 1; i < answers.size(); ++i) {
                json.beginObject();
                json.field("source", answers[i].source);
                json.key("values");
                json.strings(answers[i].values);
                json.endObject();
            }
            json.endArray();
            json.endObject();
            continue;
        }
        std::cout << path << " = " << joinValues(answers[0].values) << "  (" << answers[0].source
                  << ")\n";
        for (std::size_t i = 1; i < answers.size(); ++i)
            std::cout << "    hides " << answers[i].source << ": " << joinValues(answers[i].values)
                      << '\n';
    }
    if (asJson) {
        json.endArray();
        std::cout << json.text();
    }
    return ExitOk;
}

int set(const Context& context) {
    Arguments args("config set", context.args, {}, {});
    args.expectPositionals(2, static_cast<std::size_t>(-1));
    const ConfigChain chain = buildConfigChain(context);
    const std::string& path = args.positionals()[0];
    const StringList values(
        std::vector<std::string>(args.positionals().begin() + 1, args.positionals().end()));
    if (!chain.file->setEntryAsStringList(path, values, true) || !chain.file->flushCache(false)) {
        printError(chain.file->getLastError());
        return ExitProblem;
    }
    // The file now holds the value, but a source above it may still answer first.
    for (const ConfigChain::Link& link : chain.links) {
        if (link.handler == chain.file) break;
        StringList hiding;
        if (link.handler->getEntryAsStringList(path, hiding, false))
            printError("note: the " + std::string(link.source) +
                       " hides the value written: " + joinValues(hiding));
    }
    return ExitOk;
}

int defs(const Context& context) {
    Arguments args("config defs", context.args, {}, {"json", "framework"});
    args.expectPositionals(0, 0);
    std::vector<DefinedEntry> entries;
    if (args.has("framework")) {
        // The records are plain copies: they outlive the library and its plug-ins.
        const HostSession host(context);
        entries = definedEntries(host.globals());
    } else {
        entries = definedEntries();
    }
    if (args.has("json")) {
        std::cout << definedEntriesAsJson(entries);
        return ExitOk;
    }
    std::cout << definedEntriesAsText(entries, Style::outputColoured());
    return ExitOk;
}

} // namespace

int configCommand(const Context& context) {
    static const std::map<std::string, Command> commands = {
        {"check", check}, {"get", get}, {"dump", dump}, {"set", set}, {"defs", defs}};
    return dispatchSubcommand("config", context, commands);
}

} // namespace Qorctl
