// An example plug-in: one configuration-handler feature, "greeting", that gives the built-in
// defaults of a host's GREETING section. A host loads it by naming it in its configuration:
//
//     [GLOBAL]
//     PLUGIN_DIR = ./
//     PLUGINS = greeting_plugin
//     CONFIG_HANDLER = greeting
//
// The handler answers the entries it knows only when nothing further down the chain (the
// configuration file, the environment, the command line) has a value for them, so users can still
// override every default.
#include "qorcommon/c/plugin.h"
#include "qorcommon/configdefinition.h"
#include "qorcommon/confighandler.h"
#include "qorcommon/feature.h"
#include "qorcommon/plugin.h"
#include "qorcommon/stringlist.h"

#include <map>
#include <string>

using namespace Orvane::Core;

namespace {

const std::map<std::string, std::string>& defaults() {
    static const std::map<std::string, std::string> values = {
        {"GREETING/TEXT", "Hello from the greeting plug-in"},
        {"GREETING/TIMES", "2"},
    };
    return values;
}

class GreetingHandler : public ConfigHandler {
public:
    explicit GreetingHandler(const GC<ConfigHandler>& chain) : ConfigHandler(chain) {}
    const char* typeName() const override { return "GreetingHandler"; }

protected:
    // The head of a chain is asked first, so a handler of defaults asks the chain it wraps
    // before it answers: a default is the last word, never the first.
    bool readEntryAsStringList(const std::string& path, StringList& out) override {
        GC<ConfigHandler> chain = baseConfigHandler();
        if (chain && chain->getEntryAsStringList(path, out)) return true;
        auto found = defaults().find(path);
        if (found == defaults().end()) return false;
        out = StringList(found->second);
        return true;
    }
};

class GreetingFeature : public QOR::ConfigHandlerFeature {
public:
    const char* name() const override { return "greeting"; }
    const char* typeName() const override { return "GreetingFeature"; }
    NameInfo nameInfo() override {
        return NameInfo("Greeting Defaults", "Built-in defaults of the GREETING section.");
    }
    GC<ConfigHandler> createObject(const GC<ConfigHandler>& chain) override {
        return GC<ConfigHandler>(new GreetingHandler(chain));
    }
};

class GreetingPlugin : public QOR::Plugin {
public:
    ModuleInfo moduleInfo() const override {
        return ModuleInfo("greeting_plugin", "plugin", Version(1, 0, 0));
    }
    std::list<GC<QOR::Feature>> features() override {
        return {GC<QOR::Feature>(new GreetingFeature)};
    }
};

} // namespace

QOR_PLUGIN_EXPORT int orv_plugin_getApiRevision(void) {
    return QOR_PLUGIN_API_REVISION;
}

QOR_PLUGIN_EXPORT short orv_plugin_checkApiRevision(int revision, const char** message) {
    if (revision >= QOR_PLUGIN_API_REVISION) return 1;
    *message = "the greeting plug-in needs plug-in API revision 3 or later";
    return 0;
}

QOR_PLUGIN_EXPORT qor_Plugin_ptr orv_plugin_attach(void) {
    qor_Plugin_ptr plugin;
    plugin.obj = static_cast<QOR::Plugin*>(new GreetingPlugin);
    return plugin;
}

QOR_PLUGIN_EXPORT void orv_plugin_detach(qor_Plugin_ptr plugin) {
    delete static_cast<QOR::Plugin*>(plugin.obj);
}
