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

struct EntryText {
    std::string path, label, description;
    Texts defaults;
};

std::vector<EntryText> describe(const GC<ConfigDefinition>& definition) {
    std::vector<EntryText> result;
    for (const GC<ConfigEntryDefinition>& entry : definition->entryDefinitions()) {
        const NameInfo info = entry->nameInfo();
        result.push_back(
            {entry->path(), info.name(), info.description(), entry->getDefaultValues().asVector()});
    }
    return result;
}

} // namespace

TEST(ConfigDefinition, FileHandlerPublishesItsThreeSettings) {
    const NameInfo feature("orvanecfg", "ORVANE.CFG based configuration.");
    const GC<ConfigDefinition> definition = Orvane::Core::makeOrvanecfgConfigDefinition(feature);
    EXPECT_EQ(definition->nameInfo(), feature);
    EXPECT_EQ(Orvane::Core::makeOrvanecfgConfigDefinition()->nameInfo(), feature);
    EXPECT_EQ(definition->type(), 0);
    EXPECT_EQ(definition->basePath(), "");
    EXPECT_EQ(definition->basePathPositioning(), 0);
    EXPECT_TRUE(definition->nestedDefinitions().empty());

    const std::vector<EntryText> entries = describe(definition);
    ASSERT_EQ(entries.size(), 3u);
    EXPECT_EQ(entries[0].path, "ORVANE_CONFIG_HANDLER/IS_WRITING_ENABLED");
    EXPECT_EQ(entries[0].label, "Enable Writing");
    EXPECT_EQ(entries[0].description,
              "Enables writing of configuration file and setting of values in cache");
    EXPECT_EQ(entries[1].path, "ORVANE_CONFIG_HANDLER/IS_SETTING_ENABLED");
    EXPECT_EQ(entries[1].label, "Enable Setting");
    EXPECT_EQ(entries[1].description, "Enables setting copnfiguration values in cache");
    EXPECT_EQ(entries[2].path, "ORVANE_CONFIG_HANDLER/DEBUG_WRITING");
    EXPECT_EQ(entries[2].label, "Enable Debug Writing");
    EXPECT_EQ(entries[2].description, "Writing data in standard output.");
    for (const GC<ConfigEntryDefinition>& entry : definition->entryDefinitions()) {
        EXPECT_EQ(entry->valueType(), 0);
        EXPECT_EQ(entry->multiplicity(), 1);
        EXPECT_EQ(entry->selectionPolicy(), 0);
        EXPECT_EQ(entry->pathPositioning(), 0);
        EXPECT_EQ(entry->getDefaultValues().asVector(), Texts{"false"});
        EXPECT_TRUE(entry->getAvailableValues().empty());
        EXPECT_TRUE(entry->getAvailableMacros().empty());
    }
}

TEST(ConfigDefinition, EnvironmentHandlerPublishesItsPrefix) {
    const GC<ConfigDefinition> definition = Orvane::Core::makeEnvVarConfigDefinition();
    EXPECT_EQ(definition->nameInfo().name(), "Environment Variables");
    EXPECT_EQ(definition->nameInfo().description(),
              "Environment variables based configuration handler");
    const std::vector<EntryText> entries = describe(definition);
    ASSERT_EQ(entries.size(), 1u);
    EXPECT_EQ(entries[0].path, "ENVVAR_CONFIG_HANDLER/PREFIX");
    EXPECT_EQ(entries[0].description, "Standard prefix for used environment variables");
    EXPECT_EQ(entries[0].defaults, Texts{"ORVANE"});
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
