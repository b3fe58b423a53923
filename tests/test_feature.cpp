// Features: the unique id, the built-in features and the services they make, and features made
// from C callback tables.
#include "qorcommon/builtinfeatures.h"
#include "qorcommon/c/feature.h"
#include "qorcommon/configdefinition.h"
#include "qorcommon/confighandler.h"
#include "qorcommon/envconfighandler.h"
#include "qorcommon/hash.h"
#include "qorcommon/logginghandler.h"
#include "qorcommon/memoryconfighandler.h"
#include "qorcommon/orvanecfgconfighandler.h"
#include "qorcommon/proxyfeature.h"

#include "testsupport.h"

#include <gtest/gtest.h>

#include <cstdint>
#include <fstream>
#include <string>
#include <vector>

using namespace Orvane::Core;
using CWrapper::ProxyFeature;
using QOR::Feature;

namespace {

template <class T> GC<QOR::SimpleFeature<T>> as(const GC<Feature>& feature) {
    return GC<QOR::SimpleFeature<T>>(dynamic_cast<QOR::SimpleFeature<T>*>(feature.ptr()));
}

GC<Feature> builtin(const std::string& name) {
    for (const GC<Feature>& feature : QOR::builtinFeatures())
        if (feature->name() == name) return feature;
    return GC<Feature>();
}

GC<ConfigHandler> memoryChain() {
    GC<ConfigHandler> chain(new MemoryConfigHandler());
    chain->setStringEntry("TEST/OTHER", "from chain");
    chain->setStringEntry(EnvVarConfigHandler::PrefixPath, "QORFEATURETEST");
    return chain;
}

std::string entry(const GC<ConfigHandler>& handler, const std::string& path) {
    std::string value;
    return handler->getStringEntry(path, value) ? value : "<missing>";
}

// What a C feature's callbacks saw and did.
struct CSide {
    int destroyed = 0;
    int created = 0;
};

const char* cName(void*) {
    return "cfeature";
}
const char* cType(void*) {
    return "config_handler";
}
orv_NameInfo cNameInfo(void*) {
    orv_NameInfo info{};
    info.name = "C Feature";
    info.description = "made in C";
    return info;
}
long long cUniqueId(void*) {
    return 42;
}
orv_ConfigHandler_ptr cCreate(void* data, orv_ConfigHandler_ptr chain) {
    ++static_cast<CSide*>(data)->created;
    orv_ConfigHandler_ptr handler = orv_config_constructMemoryHandler(chain);
    orv_config_SetStringEntry(handler, "TEST/VALUE", "from C", 1);
    return handler;
}
void cDestroy(void* data) {
    ++static_cast<CSide*>(data)->destroyed;
}

qor_Feature_Callbacks fullTable() {
    qor_Feature_Callbacks cbs;
    qor_Feature_Callbacks_init(QOR_API_REVISION, &cbs);
    cbs.name = cName;
    cbs.type = cType;
    cbs.nameInfo = cNameInfo;
    cbs.uniqueId = cUniqueId;
    cbs.createObject = cCreate;
    cbs.destroy = cDestroy;
    return cbs;
}

} // namespace

TEST(Feature, UniqueIdHashesNameUnderscoreTypeWithTheFeatureSeed) {
    EXPECT_EQ(Feature::toUniqueId("config_handler", "envvar"),
              static_cast<std::int64_t>(hash64("envvar_config_handler", 0xA526FF344BC14A8EULL)));
    // Pinned, so that ids stored by earlier versions keep meaning the same feature.
    EXPECT_EQ(Feature::toUniqueId("config_handler", "envvar"), INT64_C(-1950958132102254836));
    EXPECT_NE(Feature::toUniqueId("config_handler", "envvar"),
              Feature::toUniqueId("envvar", "config_handler"));
    EXPECT_EQ(qor_Feature_toUniqueId("logging_handler", "void"),
              Feature::toUniqueId("logging_handler", "void"));
    EXPECT_EQ(qor_Feature_toUniqueId(nullptr, nullptr), Feature::toUniqueId("", ""));
}

TEST(BuiltinFeatures, ComeInRegistrationOrderWithTheirIdentity) {
    struct Expected {
        const char* name;
        const char* type;
        const char* typeName;
        bool hasDefinition;
    };
    const std::vector<Expected> expected = {
        {"orvanecfg", "config_handler", "Orvane::Core::QOR::OrvanecfgConfigHandlerFeature", true},
        {"cla", "config_handler", "Orvane::Core::QOR::CLAConfigHandlerFeature", false},
        {"envvar", "config_handler", "Orvane::Core::QOR::EnvVarConfigHandlerFeature", true},
        {"orvanelog", "logging_handler", "Orvane::Core::QOR::OrvaneLoggingHandlerFeature", true},
        {"multiple", "logging_handler", "Orvane::Core::QOR::MultipleLoggingHandlerFeature", true},
        {"void", "logging_handler", "Orvane::Core::QOR::VoidLoggingHandlerFeature", false},
        {"simple", "logging_handler", "Orvane::Core::QOR::SimpleLoggingHandlerFeature", true},
    };
    const std::list<GC<Feature>> features = QOR::builtinFeatures();
    ASSERT_EQ(features.size(), expected.size());
    auto it = expected.begin();
    for (const GC<Feature>& feature : features) {
        SCOPED_TRACE(it->name);
        EXPECT_STREQ(feature->name(), it->name);
        EXPECT_STREQ(feature->type(), it->type);
        EXPECT_STREQ(feature->typeName(), it->typeName);
        EXPECT_EQ(feature->uniqueId(), Feature::toUniqueId(it->type, it->name));
        EXPECT_FALSE(feature->nameInfo().name().empty());
        EXPECT_FALSE(feature->nameInfo().description().empty());
        EXPECT_EQ(bool(feature->configDefinition()), it->hasDefinition);
        ++it;
    }
    EXPECT_EQ(
        builtin("envvar")->nameInfo(),
        NameInfo("Environment Variables", "Environment variables based configuration handler"));
    EXPECT_EQ(
        builtin("cla")->nameInfo(),
        NameInfo("Command Line Arguments", "Configuration is defined by command line arguments."));
    EXPECT_EQ(builtin("orvanecfg")->nameInfo().description(), "ORVANE.CFG based configuration.");
    EXPECT_EQ(builtin("orvanelog")->nameInfo().description(), "Old (orvane.log) style logging.");
    // The published definitions are the handlers' own, with their labels as written.
    GC<ConfigDefinition> file = builtin("orvanecfg")->configDefinition();
    ASSERT_EQ(file->entryDefinitions().size(), 3u);
    EXPECT_EQ(file->entryDefinitions().front()->nameInfo(),
              NameInfo("Enable Writing",
                       "Enables writing of configuration file and setting of values in cache"));
    EXPECT_EQ(builtin("envvar")->configDefinition()->entryDefinitions().front()->nameInfo(),
              NameInfo("Prefix", "Standard prefix for used environment variables"));
    EXPECT_EQ(builtin("envvar")->configDefinition()->entryDefinitions().front()->path(),
              EnvVarConfigHandler::PrefixPath);
}

TEST(BuiltinFeatures, ConfigHandlersWrapTheGivenChain) {
    QorTest::ScratchDir dir("builtinfeatures");
    {
        std::ofstream file(dir.file("orvane.cfg"));
        file << "[TEST]\nVALUE = from file\n";
    }
    OrvanecfgConfigHandler::setOrvanecfgPath(dir.file("orvane.cfg"));
    GC<ConfigHandler> fromFile =
        as<ConfigHandler>(builtin("orvanecfg"))->createObject(memoryChain());
    OrvanecfgConfigHandler::setOrvanecfgPath("");
    ASSERT_TRUE(fromFile);
    EXPECT_EQ(entry(fromFile, "TEST/VALUE"), "from file") << "the file was read at creation";
    EXPECT_EQ(entry(fromFile, "TEST/OTHER"), "from chain");

    GC<ConfigHandler> cla = as<ConfigHandler>(builtin("cla"))->createObject(memoryChain());
    ASSERT_TRUE(cla);
    EXPECT_EQ(entry(cla, "TEST/OTHER"), "from chain");

    GC<ConfigHandler> env = as<ConfigHandler>(builtin("envvar"))->createObject(memoryChain());
    ASSERT_TRUE(env);
    EXPECT_EQ(entry(env, "TEST/OTHER"), "from chain");
    auto* envHandler = dynamic_cast<EnvVarConfigHandler*>(env.ptr());
    ASSERT_NE(envHandler, nullptr);
    EXPECT_EQ(envHandler->prefix(), "QORFEATURETEST") << "the prefix comes from the chain";

    // Without a chain each handler ends the chain itself.
    for (const char* name : {"cla", "envvar"})
        EXPECT_TRUE(as<ConfigHandler>(builtin(name))->createObject(GC<ConfigHandler>())) << name;
}

TEST(BuiltinFeatures, LoggingHandlersAreMadeFromTheConfiguration) {
    const std::vector<std::pair<const char*, const char*>> made = {
        {"orvanelog", "Orvane::Core::OrvaneLoggingHandler"},
        {"multiple", "Orvane::Core::MultipleLoggingHandler"},
        {"simple", "Orvane::Core::SimpleLoggingHandler"},
        {"void", "Orvane::Core::QOR::VoidLoggingHandler"},
    };
    for (const auto& [name, typeName] : made) {
        GC<LoggingHandler> handler =
            as<LoggingHandler>(builtin(name))
                ->createObject(GC<ConfigHandler>(new MemoryConfigHandler()));
        ASSERT_TRUE(handler) << name;
        EXPECT_STREQ(handler->typeName(), typeName);
    }
    // The void handler's loggers discard: they are VoidLoggers.
    GC<LoggingHandler> none = QOR::VoidLoggingHandlerFeature().createObject(GC<ConfigHandler>());
    EXPECT_STREQ(none->getLogger("x", ModuleInfo())->typeName(), "Orvane::Core::QOR::VoidLogger");
}

TEST(ProxyFeature, AnswersThroughTheCopiedTableAndFreesTheUserDataOnce) {
    CSide side;
    {
        qor_Feature_Callbacks cbs = fullTable();
        GC<Feature> feature = CWrapper::makeCFeature(&cbs, &side);
        cbs = qor_Feature_Callbacks{}; // the feature keeps its own copy
        EXPECT_STREQ(feature->name(), "cfeature");
        EXPECT_STREQ(feature->type(), "config_handler");
        EXPECT_EQ(feature->nameInfo(), NameInfo("C Feature", "made in C"));
        EXPECT_EQ(feature->uniqueId(), 42);

        // A C config_handler feature is found as a configuration-handler feature.
        auto maker = as<ConfigHandler>(feature);
        ASSERT_TRUE(maker);
        GC<ConfigHandler> handler = maker->createObject(memoryChain());
        ASSERT_TRUE(handler);
        EXPECT_EQ(side.created, 1);
        EXPECT_EQ(entry(handler, "TEST/VALUE"), "from C");
        EXPECT_EQ(entry(handler, "TEST/OTHER"), "from chain");
        // Without a chain the C side gets a null handle and its handler ends the chain.
        handler = maker->createObject(GC<ConfigHandler>());
        ASSERT_TRUE(handler);
        EXPECT_EQ(side.created, 2);
        EXPECT_EQ(entry(handler, "TEST/VALUE"), "from C");
        EXPECT_FALSE(handler->baseConfigHandler());
        EXPECT_EQ(side.destroyed, 0);
    }
    EXPECT_EQ(side.destroyed, 1);
}

TEST(ProxyFeature, WithoutCreateObjectItIsAPlainFeature) {
    CSide side;
    qor_Feature_Callbacks cbs = fullTable();
    cbs.createObject = nullptr;
    GC<Feature> feature = CWrapper::makeCFeature(&cbs, &side);
    EXPECT_FALSE(as<ConfigHandler>(feature));
    auto* proxy = dynamic_cast<ProxyFeature*>(feature.ptr());
    ASSERT_NE(proxy, nullptr);
    EXPECT_FALSE(proxy->createConfigHandler(memoryChain()));
    EXPECT_EQ(proxy->userData(), &side);
}

TEST(ProxyFeature, MissingEntriesFailTheirChecks) {
    qor_Feature_Callbacks cbs;
    qor_Feature_Callbacks_init(QOR_API_REVISION, &cbs);
    cbs.name = cName;
    GC<ProxyFeature> feature(new ProxyFeature(&cbs, nullptr));
    QorTest::AssertionRecorder recorder;
    EXPECT_STREQ(feature->type(), "");
    EXPECT_TRUE(recorder.saw({"priv->cbs.type"}));
    recorder.clear();
    EXPECT_EQ(feature->nameInfo().name(), "cfeature");
    EXPECT_TRUE(recorder.saw({"priv->cbs.nameInfo"}));
    recorder.clear();
    EXPECT_EQ(feature->uniqueId(), Feature::toUniqueId("", "cfeature"));
    EXPECT_EQ(recorder.texts().front(), "priv->cbs.uniqueId");
}

TEST(FeatureCFace, RevisionChecksOfTheTables) {
    QorTest::AssertionRecorder recorder;
    qor_Feature_Callbacks cbs = fullTable();
    qor_Feature_Callbacks_init(0, &cbs);
    qor_Feature_Callbacks_init(QOR_API_REVISION + 1, &cbs);
    EXPECT_TRUE(recorder.saw(
        {"api_revision > 0", "[api_revision <= QOR_API_REVISION] unsupported API revision"}));
    EXPECT_EQ(cbs.name, cName) << "a refused init leaves the table alone";

    recorder.clear();
    qor_Feature_Callbacks bad = fullTable();
    qor_Feature_Callbacks good;
    qor_Feature_Callbacks_init(QOR_API_REVISION, &good);
    bad._revision = 0;
    qor_Feature_Callbacks_copy(&bad, &good);
    bad._revision = 2;
    qor_Feature_Callbacks_copy(&bad, &good);
    qor_Feature_Callbacks_copy(&good, &bad);
    bad._revision = -1;
    qor_Feature_Callbacks_copy(&good, &bad);
    EXPECT_TRUE(recorder.saw({"src_cbs->_revision > 0",
                              "[src_cbs->_revision <= QOR_API_REVISION] unsupported API revision",
                              "[dst_cbs->_revision <= QOR_API_REVISION] unsupported API revision",
                              "dst_cbs->_revision > 0"}));
    EXPECT_EQ(good.name, nullptr);

    bad = fullTable();
    qor_Feature_Callbacks_copy(&bad, &good);
    EXPECT_EQ(good.name, cName);
    EXPECT_EQ(good.destroy, cDestroy);
    EXPECT_EQ(good._revision, QOR_API_REVISION);

    recorder.clear();
    CSide side;
    qor_Feature_ptr feature;
    bad._revision = 2;
    EXPECT_EQ(qor_Feature_init(&feature, &bad, &side), 0);
    EXPECT_EQ(feature.obj, nullptr);
    EXPECT_TRUE(recorder.saw({"[cbs->_revision <= QOR_API_REVISION] unsupported API revision"}));
    EXPECT_EQ(side.destroyed, 0) << "a refused table does not take over the user data";
}
