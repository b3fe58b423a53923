// The C handle helpers are private to the C face; their hold on a use is tested here.
#include "../capi/confighandles.h"
#include "qorcommon/configdefinition.h"

#include "testsupport.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

using Orvane::Core::ConfigDefinition;
using Orvane::Core::ConfigEntryDefinition;
using Orvane::Core::GC;
using Orvane::Core::NameInfo;
using Orvane::Core::QORConfig;
namespace CWrapper = Orvane::Core::CWrapper;

namespace {

using Texts = std::vector<std::string>;

Texts pathsOf(const GC<ConfigDefinition>& definition) {
    Texts paths;
    for (const GC<ConfigEntryDefinition>& entry : definition->entryDefinitions())
        paths.push_back(entry->path());
    return paths;
}

} // namespace

// The published paths are the ones the handlers read their settings from.
TEST(ConfigDefinition, HandlersPublishTheSettingsTheyRead) {
    const NameInfo feature("orvanecfg", "ORVANE.CFG based configuration.");
    const GC<ConfigDefinition> file = Orvane::Core::makeOrvanecfgConfigDefinition(feature);
    EXPECT_EQ(file->nameInfo(), feature);
    EXPECT_EQ(pathsOf(file), (Texts{"ORVANE_CONFIG_HANDLER/IS_WRITING_ENABLED",
                                    "ORVANE_CONFIG_HANDLER/IS_SETTING_ENABLED",
                                    "ORVANE_CONFIG_HANDLER/DEBUG_WRITING"}));
    for (const GC<ConfigEntryDefinition>& entry : file->entryDefinitions())
        EXPECT_EQ(entry->getDefaultValues().asVector(), Texts{"false"});

    const GC<ConfigDefinition> environment = Orvane::Core::makeEnvVarConfigDefinition();
    EXPECT_EQ(pathsOf(environment), Texts{"ENVVAR_CONFIG_HANDLER/PREFIX"});
    EXPECT_EQ(environment->entryDefinitions()[0]->getDefaultValues().asVector(), Texts{"ORVANE"});
}

TEST(ConfigDefinition, GeneratorReplacesTheStoredNestedList) {
    GC<QORConfig> stored(new QORConfig(NameInfo("stored", "")));
    GC<QORConfig> config(new QORConfig(NameInfo("outer", "with nested")));
    config->appendDefinition(stored);
    ASSERT_EQ(config->nestedDefinitions().size(), 1u);

    int calls = 0;
    config->setGenerator([&calls] {
        ++calls;
        ConfigDefinition::DefinitionList made;
        for (int i = 0; i < calls; ++i)
            made.push_back(GC<ConfigDefinition>(new QORConfig(NameInfo("made", ""))));
        return made;
    });
    EXPECT_EQ(config->nestedDefinitions().size(), 1u);
    EXPECT_EQ(config->nestedDefinitions().size(), 2u);
    EXPECT_EQ(config->nestedDefinitions()[0]->nameInfo().name(), "made");
    EXPECT_EQ(calls, 3);
    // The entries are not generated.
    EXPECT_TRUE(config->entryDefinitions().empty());

    config->setGenerator(QORConfig::Generator());
    ASSERT_EQ(config->nestedDefinitions().size(), 1u);
    EXPECT_EQ(config->nestedDefinitions()[0], stored);
}

TEST(ConfigDefinition, CHandleHoldsAUseUntilDetached) {
    GC<ConfigDefinition> definition = Orvane::Core::makeEnvVarConfigDefinition();
    const orv_ConfigDefinition_ptr handle = CWrapper::wrapConfigDefinition(definition);
    ASSERT_NE(handle.obj, nullptr);
    EXPECT_EQ(definition->useCount(), 2);
    EXPECT_EQ(CWrapper::unwrapConfigDefinition(handle), definition);
    orv_DetachConfigDefinition(handle);
    EXPECT_EQ(definition->useCount(), 1);

    QorTest::AssertionRecorder recorder;
    orv_DetachConfigDefinition(orv_ConfigDefinition_ptr{nullptr});
    EXPECT_TRUE(recorder.saw({"obj.obj"}));
    EXPECT_TRUE(CWrapper::unwrapConfigDefinition(orv_ConfigDefinition_ptr{nullptr}).isNull());
}
