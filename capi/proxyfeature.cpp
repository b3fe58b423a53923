// Features over C callback tables.
#include "qorcommon/proxyfeature.h"

#include "qorcommon/assertion.h"
#include "qorcommon/c/feature.h"
#include "qorcommon/cwrapper.h"

#include "confighandles.h"

#include <cstring>

namespace Orvane {
namespace Core {
namespace CWrapper {

namespace {

const char* const kConfigHandlerType = "config_handler";

} // namespace

struct ProxyFeature::Private {
    qor_Feature_Callbacks cbs;
    void* userData;
};

ProxyFeature::ProxyFeature(const qor_Feature_Callbacks* cbs, void* userData)
    : priv(new Private{*cbs, userData}) {}

ProxyFeature::~ProxyFeature() {
    if (priv->cbs.destroy) priv->cbs.destroy(priv->userData);
    delete priv;
}

const char* ProxyFeature::typeName() const {
    return "Orvane::Core::CWrapper::ProxyFeature";
}

const char* ProxyFeature::name() const {
    if (!QOR_CHECK(priv->cbs.name)) return "";
    const char* name = priv->cbs.name(priv->userData);
    return name ? name : "";
}

const char* ProxyFeature::type() const {
    if (!QOR_CHECK(priv->cbs.type)) return "";
    const char* type = priv->cbs.type(priv->userData);
    return type ? type : "";
}

NameInfo ProxyFeature::nameInfo() {
    if (!QOR_CHECK(priv->cbs.nameInfo)) return NameInfo(name(), std::string());
    const orv_NameInfo record = priv->cbs.nameInfo(priv->userData);
    return toNameInfo(record);
}

std::int64_t ProxyFeature::uniqueId() const {
    if (!QOR_CHECK(priv->cbs.uniqueId)) return toUniqueId(type(), name());
    return static_cast<std::int64_t>(priv->cbs.uniqueId(priv->userData));
}

bool ProxyFeature::canCreateObjects() const {
    return priv->cbs.createObject != nullptr;
}

GC<ConfigHandler> ProxyFeature::createConfigHandler(const GC<ConfigHandler>& chain) {
    if (!priv->cbs.createObject || std::strcmp(type(), kConfigHandlerType) != 0)
        return GC<ConfigHandler>();
    // The callback gets a handle of its own on the chain (a null handle for no chain), released
    // here whatever it does.
    struct ChainHandle {
        orv_ConfigHandler_ptr handle;
        ~ChainHandle() { CApi::releaseGC<ConfigHandler>(handle); }
    } chainHandle{chain ? wrapConfigHandler(chain) : CApi::nullHandle<orv_ConfigHandler_ptr>()};
    const orv_ConfigHandler_ptr made = priv->cbs.createObject(priv->userData, chainHandle.handle);
    const GC<ConfigHandler> handler = unwrapConfigHandler(made);
    CApi::releaseGC<ConfigHandler>(made);
    return handler;
}

void* ProxyFeature::userData() const {
    return priv->userData;
}

ProxyConfigHandlerFeature::ProxyConfigHandlerFeature(const GC<ProxyFeature>& proxy)
    : m_proxy(proxy) {}

ProxyConfigHandlerFeature::~ProxyConfigHandlerFeature() = default;

const char* ProxyConfigHandlerFeature::typeName() const {
    return "Orvane::Core::CWrapper::ProxyConfigHandlerFeature";
}

const char* ProxyConfigHandlerFeature::name() const {
    return m_proxy->name();
}

const char* ProxyConfigHandlerFeature::type() const {
    return m_proxy->type();
}

NameInfo ProxyConfigHandlerFeature::nameInfo() {
    return m_proxy->nameInfo();
}

std::int64_t ProxyConfigHandlerFeature::uniqueId() const {
    return m_proxy->uniqueId();
}

GC<ConfigHandler> ProxyConfigHandlerFeature::createObject(const GC<ConfigHandler>& chain) {
    return m_proxy->createConfigHandler(chain);
}

const GC<ProxyFeature>& ProxyConfigHandlerFeature::proxy() const {
    return m_proxy;
}

GC<QOR::Feature> makeCFeature(const qor_Feature_Callbacks* cbs, void* userData) {
    GC<ProxyFeature> proxy(new ProxyFeature(cbs, userData));
    // Asked here once so that the framework's lookup by service type finds the feature.
    if (proxy->canCreateObjects() && cbs->type &&
        std::strcmp(proxy->type(), kConfigHandlerType) == 0)
        return GC<QOR::Feature>(new ProxyConfigHandlerFeature(proxy));
    return GC<QOR::Feature>(proxy);
}

} // namespace CWrapper
} // namespace Core
} // namespace Orvane
