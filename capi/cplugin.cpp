// Plug-ins over C callback tables.
#include "qorcommon/cplugin.h"

#include "qorcommon/assertion.h"
#include "qorcommon/c/plugin.h"
#include "qorcommon/configdefinition.h"
#include "qorcommon/cwrapper.h"
#include "qorcommon/feature.h"

#include "confighandles.h"

namespace Orvane {
namespace Core {
namespace CWrapper {

struct CPlugin::Private {
    qor_Plugin_Callbacks cbs;
    void* userData;
    std::list<GC<QOR::Feature>> features;
    bool featuresAsked = false;
};

CPlugin::CPlugin(const qor_Plugin_Callbacks* cbs, void* userData)
    : priv(new Private{*cbs, userData, {}, false}) {}

CPlugin::~CPlugin() {
    // The features go first: they may use what the user data holds.
    priv->features.clear();
    if (priv->cbs.destroy) priv->cbs.destroy(priv->userData);
    delete priv;
}

ModuleInfo CPlugin::moduleInfo() const {
    if (!QOR_CHECK(priv->cbs.moduleInfo)) return ModuleInfo();
    return toModuleInfo(priv->cbs.moduleInfo(priv->userData));
}

std::list<GC<QOR::Feature>> CPlugin::features() {
    if (!priv->featuresAsked) {
        priv->featuresAsked = true;
        qor_Plugin_ptr self;
        self.obj = static_cast<QOR::Plugin*>(this);
        if (priv->cbs.features) priv->cbs.features(priv->userData, self);
    }
    return priv->features;
}

GC<ConfigDefinition> CPlugin::configDefinition() {
    if (!priv->cbs.configDefinition) return GC<ConfigDefinition>();
    const orv_ConfigDefinition_ptr handle = priv->cbs.configDefinition(priv->userData);
    const GC<ConfigDefinition> definition = unwrapConfigDefinition(handle);
    CApi::releaseGC<ConfigDefinition>(handle);
    return definition;
}

void CPlugin::addFeature(const GC<QOR::Feature>& feature) {
    if (feature) priv->features.push_back(feature);
}

} // namespace CWrapper
} // namespace Core
} // namespace Orvane
