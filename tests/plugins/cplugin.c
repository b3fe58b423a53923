/* A plug-in written in C: one configuration-handler feature, "ctestcfg", made from callbacks,
 * whose handler holds TEST/C_VALUE and leaves every other entry to the chain it wraps. */
#include "qorcommon/c/config.h"
#include "qorcommon/c/feature.h"
#include "qorcommon/c/plugin.h"

#include <stddef.h>

#if defined(_WIN32)
#define TESTPLUGIN_EXPORT __declspec(dllexport)
#else
#define TESTPLUGIN_EXPORT __attribute__((visibility("default")))
#endif

static int* destroyFlag = NULL;

static const char* featureName(void* data) {
    (void)data;
    return "ctestcfg";
}

static const char* featureType(void* data) {
    (void)data;
    return "config_handler";
}

static orv_NameInfo featureNameInfo(void* data) {
    orv_NameInfo info;
    (void)data;
    info.name = "C Test Configuration";
    info.description = "Holds TEST/C_VALUE.";
    info.customInfo.count = 0;
    info.customInfo.items = NULL;
    return info;
}

static long long featureId(void* data) {
    (void)data;
    return qor_Feature_toUniqueId("config_handler", "ctestcfg");
}

static orv_ConfigHandler_ptr featureCreate(void* data, orv_ConfigHandler_ptr chain) {
    orv_ConfigHandler_ptr handler = orv_config_constructMemoryHandler(chain);
    (void)data;
    if (handler.obj != NULL) orv_config_SetStringEntry(handler, "TEST/C_VALUE", "from C plugin", 1);
    return handler;
}

static void featureDestroy(void* data) {
    (void)data;
    if (destroyFlag != NULL) ++*destroyFlag;
}

static orv_ModuleInfo pluginInfo(void* data) {
    orv_ModuleInfo info;
    (void)data;
    info.name = "qortest_cplugin";
    info.type = "plugin";
    info.versionMajor = 2;
    info.versionMinor = 0;
    info.versionPatch = 1;
    info.versionBuild = 0;
    info.uniqueId = 0;
    return info;
}

static void pluginFeatures(void* data, qor_Plugin_ptr plugin) {
    qor_Feature_Callbacks cbs;
    qor_Feature_ptr feature;
    (void)data;
    qor_Feature_Callbacks_init(QOR_API_REVISION, &cbs);
    cbs.name = featureName;
    cbs.type = featureType;
    cbs.nameInfo = featureNameInfo;
    cbs.uniqueId = featureId;
    cbs.createObject = featureCreate;
    cbs.destroy = featureDestroy;
    if (qor_Feature_init(&feature, &cbs, NULL)) {
        qor_Plugin_addFeature(plugin, feature);
        qor_Feature_destruct(feature);
    }
}

TESTPLUGIN_EXPORT int orv_plugin_getApiRevision(void) {
    return QOR_PLUGIN_API_REVISION;
}

TESTPLUGIN_EXPORT short orv_plugin_checkApiRevision(int revision, const char** message) {
    (void)message;
    return revision == QOR_PLUGIN_API_REVISION;
}

TESTPLUGIN_EXPORT qor_Plugin_ptr orv_plugin_attach(void) {
    qor_Plugin_Callbacks cbs;
    qor_Plugin_Callbacks_init(QOR_API_REVISION, &cbs);
    cbs.moduleInfo = pluginInfo;
    cbs.features = pluginFeatures;
    return qor_Plugin_construct(&cbs, NULL);
}

TESTPLUGIN_EXPORT void orv_plugin_detach(qor_Plugin_ptr plugin) {
    qor_Plugin_destruct(plugin);
}

/* For the tests: counts the destroy calls of the feature's user data into *flag. */
TESTPLUGIN_EXPORT void qortest_plugin_setDestroyFlag(int* flag) {
    destroyFlag = flag;
}
