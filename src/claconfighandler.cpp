// Configuration entries from "-c" command-line arguments.
#include "qorcommon/envconfighandler.h"

#include "qorcommon/string.h"

#include "platform/platform.h"

#include <map>
#include <utility>

namespace Orvane {
namespace Core {

namespace {

std::string trimmed(const std::string& text) {
    String copy(text);
    copy.trim();
    return std::move(copy.str());
}

std::vector<std::string> processArguments() {
    std::vector<std::string> arguments = Platform::commandLineArguments();
    if (!arguments.empty()) arguments.erase(arguments.begin());
    // The platform hands out UTF-8; library strings are in the core encoding.
    if (String::coreEncoding() != String::UTF8) {
        for (std::string& argument : arguments)
            argument = String::toCoreEncoding(argument, String::UTF8);
    }
    return arguments;
}

} // namespace

struct CLAConfigHandler::Private {
    // Filled once by the constructor and never changed, so readers need no lock.
    std::map<std::string, StringList> entries;

    void parse(const std::vector<std::string>& arguments) {
        for (const std::string& argument : arguments) {
            if (argument.compare(0, 2, "-c") != 0) continue;
            const std::string definition = argument.substr(2);
            const std::string::size_type equals = definition.find('=');
            const std::string path = trimmed(definition.substr(0, equals));
            if (path.empty()) continue;
            // Everything after the first "=" is the value, further "=" included.
            const std::string value = equals == std::string::npos
                                          ? std::string()
                                          : trimmed(definition.substr(equals + 1));
            entries[path] = StringList::split(value, "<|>");
        }
    }
};

CLAConfigHandler::CLAConfigHandler(GC<ConfigHandler> base)
    : CLAConfigHandler(processArguments(), std::move(base)) {}

CLAConfigHandler::CLAConfigHandler(const std::vector<std::string>& arguments,
                                   GC<ConfigHandler> base)
    : ConfigHandler(std::move(base)), d(new Private) {
    d->parse(arguments);
}

CLAConfigHandler::~CLAConfigHandler() {
    delete d;
}

bool CLAConfigHandler::isOperationSupported(Operation operation) const {
    return operation == ReadingEntries || operation == KeepingCache;
}

StringList CLAConfigHandler::paths() const {
    StringList result;
    for (const auto& entry : d->entries)
        result.append(entry.first);
    return result;
}

bool CLAConfigHandler::readEntryAsStringList(const std::string& path, StringList& out) {
    auto it = d->entries.find(path);
    if (it == d->entries.end()) return false;
    out = it->second;
    return true;
}

bool CLAConfigHandler::readEntryAsString(const std::string& path, std::string& out) {
    auto it = d->entries.find(path);
    if (it == d->entries.end()) return false;
    out = it->second.front();
    return true;
}

} // namespace Core
} // namespace Orvane
