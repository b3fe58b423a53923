// Start-up with plug-ins: GLOBAL/PLUGINS loads the test plug-ins of tests/plugins, a broken or
// missing one is recorded, and GLOBAL/CONFIG_HANDLER names a plug-in's handler feature. Linked
// against the shared library, as the plug-ins are.
#include "qorcommon/applicationinfo.h"
#include "qorcommon/fileinfo.h"
#include "qorcommon/framework.h"
#include "qorcommon/orvanecfgconfighandler.h"
#include "qorcommon/plugin.h"

#include "testsupport.h"

#include <gtest/gtest.h>

#include <fstream>
#include <string>
#include <vector>

using namespace Orvane::Core;
using namespace Orvane::Core::QOR;

namespace {

std::vector<std::string> texts;

class RecordingCollector : public ErrorInfoCollector {
protected:
    Result storeErrorInfo(const ErrorInfo& e, const ModuleInfo&, const CodeLocation&) override {
        texts.push_back(e.errorText());
        return true;
    }
};

class RecordingCollectorFeature : public ErrorInfoCollectorFeature {
public:
    const char* name() const override { return "recording"; }
    GC<ErrorInfoCollector> createObject(const GC<ConfigHandler>&) override {
        return GC<ErrorInfoCollector>(new RecordingCollector);
    }
};

bool recorded(const std::string& text) {
    for (const std::string& t : texts)
        if (t == text) return true;
    return false;
}

TEST(FrameworkPlugins, PluginsLoadTheirFeaturesEnterTheChainAndLeaveAtShutDown) {
    QorTest::ScratchDir scratch("frameworkplugins");
    const std::string config = scratch.file("orvane.cfg");
    std::ofstream(config) << "[GLOBAL]\n"
                          << "PLUGIN_DIR = "
                          << FileInfo::join(ApplicationInfo::executableDirectory(), "plugins")
                          << "\nPLUGINS = qortest_goodplugin <|> qortest_revision2 <|> "
                             "qortest_nosuch <|> qortest_cplugin\n"
                             "CONFIG_HANDLER = testcfg\nERROR_INFO_COLLECTOR = recording\n";
    testing::internal::CaptureStderr();
    Instance* host = QOR::init(config.c_str(), ModuleInfo("host", "exe", Version(1, 0)),
                               {GC<Feature>(new RecordingCollectorFeature)});
    testing::internal::GetCapturedStderr();
    Globals* globals = host->globals();

    std::string value;
    EXPECT_TRUE(globals->getConfigHandler()->getEntryAsString("TEST/VALUE", value));
    EXPECT_EQ(value, "from plugin");
    EXPECT_EQ(globals->getPlugins().size(), 2u);
    EXPECT_EQ(globals->getModules().size(), 2u);
    EXPECT_TRUE(globals->getFeature("config_handler", "testcfg"));
    EXPECT_TRUE(recorded("API revision is too small"));
    EXPECT_TRUE(recorded("cannot load plugin"));
    EXPECT_TRUE(globals->doClientRegistration().isOk());

    testing::internal::CaptureStderr();
    QOR::deinit();
    const std::string written = testing::internal::GetCapturedStderr();
    EXPECT_NE(written.find(
                  "disposing " +
                  ModuleInfo("qortest_goodplugin", "plugin", Version(1, 2, 3, 4)).asString().str() +
                  "... ..done\n"),
              std::string::npos)
        << written;
    EXPECT_LT(written.find("force dispose... ..done"), written.find("detach plugins..."));
    OrvanecfgConfigHandler::setOrvanecfgPath(std::string());
}

} // namespace
