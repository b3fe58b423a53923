// The C face of plug-ins.
#include "qorcommon/c/plugin.h"

#include "qorcommon/assertion.h"
#include "qorcommon/cplugin.h"
#include "qorcommon/feature.h"

#include "callbacktables.h"
#include "cboundary.h"
#include "chandles.h"
#include "confighandles.h"

using namespace Orvane::Core;
using Orvane::Core::CWrapper::CPlugin;
using Orvane::Core::QOR::Plugin;

namespace {

// The plug-in behind a handle: attach hands over a QOR::Plugin*.
Plugin* pluginOf(qor_Plugin_ptr plugin) {
    return static_cast<Plugin*>(plugin.obj);
}

} // namespace

extern "C" {

QORCOMMON_API void qor_Plugin_Callbacks_init(int api_revision, qor_Plugin_Callbacks* cbs) noexcept {
    QOR_C_GUARDED_VOID([&] {
        if (!QOR_CHECK_REVISION(api_revision, "api_revision")) return;
        if (!QOR_CHECK(cbs)) return;
        *cbs = qor_Plugin_Callbacks{};
        cbs->_revision = api_revision;
    });
}

QORCOMMON_API qor_Plugin_ptr qor_Plugin_construct(const qor_Plugin_Callbacks* cbs,
                                                  void* user_data) noexcept {
    return QOR_C_GUARDED(CApi::nullHandle<qor_Plugin_ptr>(), [&] {
        if (!QOR_CHECK(cbs)) return CApi::nullHandle<qor_Plugin_ptr>();
        if (!QOR_CHECK_REVISION(cbs->_revision, "cbs->_revision"))
            return CApi::nullHandle<qor_Plugin_ptr>();
        Plugin* plugin = new CPlugin(cbs, user_data);
        return CApi::handleOf<qor_Plugin_ptr>(plugin);
    });
}

QORCOMMON_API void qor_Plugin_destruct(qor_Plugin_ptr plugin) noexcept {
    QOR_C_GUARDED_VOID([&] {
        if (QOR_CHECK(plugin.obj)) delete pluginOf(plugin);
    });
}

QORCOMMON_API short qor_Plugin_addFeature(qor_Plugin_ptr plugin, qor_Feature_ptr feature) noexcept {
    return QOR_C_GUARDED(short(0), [&] {
        if (!QOR_CHECK(plugin.obj) || !QOR_CHECK(feature.obj)) return short(0);
        auto* cplugin = dynamic_cast<CPlugin*>(pluginOf(plugin));
        if (!cplugin) return short(0);
        cplugin->addFeature(CApi::unwrapGC<QOR::Feature>(feature));
        return short(1);
    });
}

QORCOMMON_API orv_ConfigDefinition_ptr orv_Plugin_configDefinition(qor_Plugin_ptr plugin) noexcept {
    return QOR_C_GUARDED(CApi::nullHandle<orv_ConfigDefinition_ptr>(), [&] {
        if (!QOR_CHECK(plugin.obj)) return CApi::nullHandle<orv_ConfigDefinition_ptr>();
        const GC<ConfigDefinition> definition = pluginOf(plugin)->configDefinition();
        if (!definition) return CApi::nullHandle<orv_ConfigDefinition_ptr>();
        return CWrapper::wrapConfigDefinition(definition);
    });
}

} // extern "C"
