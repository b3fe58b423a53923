// Plug-ins: loading the good libraries of tests/plugins and using their features, and the record
// of each step that fails for the broken ones. Linked against the shared library, as the
// plug-ins are.
#include "qorcommon/applicationinfo.h"
#include "qorcommon/configdefinition.h"
#include "qorcommon/confighandler.h"
#include "qorcommon/custominfo.h"
#include "qorcommon/errorinfo.h"
#include "qorcommon/feature.h"
#include "qorcommon/fileinfo.h"
#include "qorcommon/libraryloader.h"
#include "qorcommon/libraryservices.h"
#include "qorcommon/memoryconfighandler.h"
#include "qorcommon/plugin.h"
#include "qorcommon/result.h"

#include "testsupport.h"

#include <gtest/gtest.h>

#include <string>

using namespace Orvane::Core;
using QOR::Feature;
using QOR::PluginHolder;

namespace {

std::string pluginDir() {
    return FileInfo::join(ApplicationInfo::executableDirectory(), "plugins");
}

std::string libraryPath(const std::string& name) {
    return FileInfo::join(pluginDir(), name + LibraryLoader::suffix());
}

// The chain a feature's handler wraps: one entry of its own.
GC<ConfigHandler> memoryChain() {
    GC<ConfigHandler> chain(new MemoryConfigHandler());
    chain->setStringEntry("TEST/OTHER", "from chain");
    return chain;
}

std::string annotation(const ErrorInfo& error, const std::string& key) {
    const std::string none;
    return error.customInfo().get(key, none);
}

GC<QOR::SimpleFeature<ConfigHandler>> onlyConfigFeature(QOR::Plugin* plugin) {
    const std::list<GC<Feature>> features = plugin->features();
    EXPECT_EQ(features.size(), 1u);
    if (features.empty()) return {};
    return GC<QOR::SimpleFeature<ConfigHandler>>(
        dynamic_cast<QOR::SimpleFeature<ConfigHandler>*>(features.front().ptr()));
}

} // namespace

TEST(PluginHolder, LoadsCppPluginWhoseFeatureWrapsTheChain) {
    int detached = 0;
    // A loader of our own keeps the library mapped after the holder unloads, so that the flag
    // it writes stays reachable.
    LibraryLoader keep(libraryPath("qortest_goodplugin"));
    ASSERT_TRUE(keep.isLoaded()) << keep.errorText();
    keep.function<void (*)(int*)>("qortest_plugin_setDetachFlag")(&detached);
    {
        PluginHolder holder(pluginDir(), "qortest_goodplugin");
        EXPECT_EQ(holder.path(), libraryPath("qortest_goodplugin"));
        const Result result = holder.load();
        ASSERT_TRUE(result.isOk()) << result.errorInfo().asLongString().c_str();
        ASSERT_TRUE(holder.isLoaded());
        EXPECT_EQ(holder.plugin()->moduleInfo().name(), "qortest_goodplugin");

        {
            auto feature = onlyConfigFeature(holder.plugin());
            ASSERT_TRUE(feature);
            EXPECT_STREQ(feature->name(), "testcfg");
            EXPECT_STREQ(feature->type(), "config_handler");
            EXPECT_EQ(feature->uniqueId(), Feature::toUniqueId("config_handler", "testcfg"));

            GC<ConfigHandler> handler = feature->createObject(memoryChain());
            ASSERT_TRUE(handler);
            std::string value;
            EXPECT_TRUE(handler->getStringEntry("TEST/VALUE", value));
            EXPECT_EQ(value, "from plugin");
            EXPECT_TRUE(handler->getStringEntry("TEST/OTHER", value));
            EXPECT_EQ(value, "from chain");
            EXPECT_FALSE(handler->getStringEntry("TEST/MISSING", value));
        }
        EXPECT_EQ(detached, 0);
        holder.unload();
        EXPECT_EQ(detached, 1);
        EXPECT_FALSE(holder.isLoaded());
        holder.unload(); // a second unload detaches nothing
    }
    EXPECT_EQ(detached, 1) << "the destructor must not detach again";
    keep.function<void (*)(int*)>("qortest_plugin_setDetachFlag")(nullptr);
}

TEST(PluginHolder, LoadsCPluginWhoseProxyFeatureMakesHandlers) {
    int destroyed = 0;
    LibraryLoader keep(libraryPath("qortest_cplugin"));
    ASSERT_TRUE(keep.isLoaded()) << keep.errorText();
    keep.function<void (*)(int*)>("qortest_plugin_setDestroyFlag")(&destroyed);
    {
        PluginHolder holder(pluginDir(), "qortest_cplugin");
        const Result result = holder.load();
        ASSERT_TRUE(result.isOk()) << result.errorInfo().asLongString().c_str();
        const ModuleInfo info = holder.plugin()->moduleInfo();
        EXPECT_EQ(info.name(), "qortest_cplugin");
        EXPECT_EQ(info.version().toString(), Version(2, 0, 1, 0).toString());
        EXPECT_FALSE(holder.plugin()->configDefinition());

        auto feature = onlyConfigFeature(holder.plugin());
        ASSERT_TRUE(feature) << "a C config_handler feature is a config handler feature";
        EXPECT_STREQ(feature->name(), "ctestcfg");
        EXPECT_EQ(feature->nameInfo().name(), "C Test Configuration");
        EXPECT_EQ(feature->uniqueId(), Feature::toUniqueId("config_handler", "ctestcfg"));
        // Asking again hands out the same feature, not a second one.
        EXPECT_EQ(holder.plugin()->features().front().ptr(), static_cast<Feature*>(feature.ptr()));

        GC<ConfigHandler> handler = feature->createObject(memoryChain());
        ASSERT_TRUE(handler);
        std::string value;
        EXPECT_TRUE(handler->getStringEntry("TEST/C_VALUE", value));
        EXPECT_EQ(value, "from C plugin");
        EXPECT_TRUE(handler->getStringEntry("TEST/OTHER", value));
        EXPECT_EQ(value, "from chain");

        handler = GC<ConfigHandler>();
        feature = GC<QOR::SimpleFeature<ConfigHandler>>();
        EXPECT_EQ(destroyed, 0) << "the plug-in still holds its feature";
        holder.unload();
        EXPECT_EQ(destroyed, 1);
    }
    keep.function<void (*)(int*)>("qortest_plugin_setDestroyFlag")(nullptr);
}

TEST(PluginHolder, EachFailingStepGivesItsRecord) {
    struct Case {
        const char* plugin;
        const char* text;
    };
    const Case cases[] = {
        {"qortest_nosuchplugin", "cannot load plugin"},
        {"qortest_notalibrary", "cannot load plugin"},
        {"qortest_noentry", "plugin has no entry point 'orv_plugin_getApiRevision'"},
        {"qortest_revision2", "API revision is too small"},
        {"qortest_refuses", "Invalid API revision for plugin."},
        {"qortest_noattach", "cannot attach to plugin."},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.plugin);
        PluginHolder holder(pluginDir(), c.plugin);
        const Result result = holder.load();
        ASSERT_FALSE(result.isOk());
        const ErrorInfo& error = result.errorInfo();
        EXPECT_EQ(error.errorText(), c.text);
        EXPECT_EQ(error.moduleInfo(), QOR::getModuleInfo());
        EXPECT_FALSE(error.codeLocation().isEmpty());
        EXPECT_EQ(annotation(error, "plugin_name"), c.plugin);
        EXPECT_EQ(annotation(error, "plugin_path"), libraryPath(c.plugin));
        EXPECT_FALSE(annotation(error, "reason").empty());
        EXPECT_FALSE(holder.isLoaded());
    }
}

TEST(PluginHolder, ReasonsNameWhatWentWrong) {
    // The loader's reason carries the file; the refusal carries the plug-in's own message.
    PluginHolder missing(pluginDir(), "qortest_nosuchplugin");
    EXPECT_NE(annotation(missing.load().errorInfo(), "reason").find("qortest_nosuchplugin"),
              std::string::npos);
    PluginHolder refuses(pluginDir(), "qortest_refuses");
    EXPECT_EQ(annotation(refuses.load().errorInfo(), "reason"), "this plugin wants API revision 4");
    PluginHolder old(pluginDir(), "qortest_revision2");
    EXPECT_NE(annotation(old.load().errorInfo(), "reason").find("revision 2"), std::string::npos);
}

TEST(PluginHolder, CurrentDirectoryAndMissingPlugin) {
    for (const char* dir : {"./", ".\\", ""}) {
        PluginHolder holder(dir, "name");
        EXPECT_EQ(holder.path(),
                  FileInfo::join(FileInfo::currentDir(), "name" + LibraryLoader::suffix()));
    }
    QorTest::AssertionRecorder recorder;
    PluginHolder holder(pluginDir(), "qortest_goodplugin");
    EXPECT_EQ(holder.plugin(), nullptr);
    EXPECT_TRUE(recorder.saw({"_plugin != nullptr"}));
}
