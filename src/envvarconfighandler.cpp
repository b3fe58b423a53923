// Configuration entries from environment variables.
#include "qorcommon/envconfighandler.h"

#include "qorcommon/string.h"

#include "configmessages.h"
#include "platform/platform.h"

#include <utility>

namespace Orvane {
namespace Core {

bool getEnvVar(const std::string& name, std::string& value) {
    // The platform speaks UTF-8; library strings are in the core encoding.
    if (String::coreEncoding() == String::UTF8) return Platform::getEnv(name, value);
    std::string text;
    if (!Platform::getEnv(String::fromCoreEncoding(name, String::UTF8), text)) return false;
    value = String::toCoreEncoding(text, String::UTF8);
    return true;
}

const char* const EnvVarConfigHandler::PrefixPath = "ENVVAR_CONFIG_HANDLER/PREFIX";
const char* const EnvVarConfigHandler::DefaultPrefix = "ORVANE";

struct EnvVarConfigHandler::Private {
    std::string prefix = DefaultPrefix;
};

EnvVarConfigHandler::EnvVarConfigHandler(GC<ConfigHandler> base)
    : ConfigHandler(std::move(base)), d(new Private) {}

EnvVarConfigHandler::~EnvVarConfigHandler() {
    delete d;
}

void EnvVarConfigHandler::init() {
    std::string prefix;
    GC<ConfigHandler> base = baseConfigHandler();
    if (base && base->getStringEntry(PrefixPath, prefix, true)) {
        d->prefix = std::move(prefix);
    } else {
        d->prefix = DefaultPrefix;
    }
}

const std::string& EnvVarConfigHandler::prefix() const {
    return d->prefix;
}

std::string EnvVarConfigHandler::variableName(const std::string& path) const {
    std::string name;
    name.reserve(d->prefix.size() + path.size() + 8);
    if (!d->prefix.empty()) {
        name += d->prefix;
        name += "__";
    }
    for (char c : path) {
        if (c == '/') {
            name += "__";
        } else {
            name += c;
        }
    }
    return name;
}

bool EnvVarConfigHandler::readEntryAsString(const std::string& path, std::string& out) {
    const std::string name = variableName(path);
    if (!getEnvVar(name, out)) {
        String message(ConfigMessages::kCannotGetVariable);
        message.a(name);
        setLastError(message.str(), OperationFailed);
        return false;
    }
    return true;
}

bool EnvVarConfigHandler::readEntryAsStringList(const std::string& path, StringList& out) {
    std::string text;
    if (!readEntryAsString(path, text)) return false;
    out = StringList::split(text, ";");
    return true;
}

} // namespace Core
} // namespace Orvane
