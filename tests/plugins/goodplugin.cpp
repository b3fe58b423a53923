// A plug-in written in C++: one configuration-handler feature, "testcfg", whose handler answers
// TEST/VALUE itself and leaves every other entry to the chain it wraps.
#include "qorcommon/c/framework.h"
#include "qorcommon/confighandler.h"
#include "qorcommon/feature.h"
#include "qorcommon/plugin.h"
#include "qorcommon/stringlist.h"

#include <string>

#if defined(_WIN32)
#define TESTPLUGIN_EXPORT extern "C" __declspec(dllexport)
#else
#define TESTPLUGIN_EXPORT extern "C" __attribute__((visibility("default")))
#endif

using namespace Orvane::Core;

namespace {

int* detachFlag = nullptr;

class TestHandler : public ConfigHandler {
public:
    explicit TestHandler(const GC<ConfigHandler>& chain) : ConfigHandler(chain) {}
    const char* typeName() const override { return "TestHandler"; }

protected:
    bool readEntryAsStringList(const std::string& path, StringList& out) override {
        if (path != "TEST/VALUE") return false;
        out = StringList(std::string("from plugin"));
        return true;
    }
};

class TestFeature : public QOR::ConfigHandlerFeature {
public:
    const char* name() const override { return "testcfg"; }
    NameInfo nameInfo() override { return NameInfo("Test Configuration", "Answers TEST/VALUE."); }
    GC<ConfigHandler> createObject(const GC<ConfigHandler>& chain) override {
        return GC<ConfigHandler>(new TestHandler(chain));
    }
};

class TestPlugin : public QOR::Plugin {
public:
    ModuleInfo moduleInfo() const override {
        return ModuleInfo("qortest_goodplugin", "plugin", Version(1, 2, 3, 4));
    }
    std::list<GC<QOR::Feature>> features() override { return {GC<QOR::Feature>(new TestFeature)}; }
};

} // namespace

TESTPLUGIN_EXPORT int orv_plugin_getApiRevision() {
    return QOR::PluginApiRevision;
}

TESTPLUGIN_EXPORT short orv_plugin_checkApiRevision(int revision, const char** message) {
    if (revision == QOR::PluginApiRevision) return 1;
    *message = "unexpected revision";
    return 0;
}

TESTPLUGIN_EXPORT qor_Plugin_ptr orv_plugin_attach() {
    qor_Plugin_ptr plugin;
    plugin.obj = static_cast<QOR::Plugin*>(new TestPlugin);
    return plugin;
}

TESTPLUGIN_EXPORT void orv_plugin_detach(qor_Plugin_ptr plugin) {
    delete static_cast<QOR::Plugin*>(plugin.obj);
    if (detachFlag) ++*detachFlag;
}

// For the tests: counts the detach calls into *flag.
TESTPLUGIN_EXPORT void qortest_plugin_setDetachFlag(int* flag) {
    detachFlag = flag;
}
