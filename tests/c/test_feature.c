/* Features and plug-ins made from C callback tables, called from C. */
#include "ctest_support.h"

#include "qorcommon/c/config.h"
#include "qorcommon/c/feature.h"
#include "qorcommon/c/plugin.h"

#include <string.h>

static int destroyed = 0;

static const char* name_cb(void* data) {
    (void)data;
    return "cmem";
}

static const char* type_cb(void* data) {
    (void)data;
    return "config_handler";
}

static orv_NameInfo info_cb(void* data) {
    orv_NameInfo info;
    (void)data;
    info.name = "C Memory";
    info.description = "An in-memory handler with one entry.";
    info.customInfo.count = 0;
    info.customInfo.items = NULL;
    return info;
}

static long long id_cb(void* data) {
    (void)data;
    return qor_Feature_toUniqueId("config_handler", "cmem");
}

static orv_ConfigHandler_ptr create_cb(void* data, orv_ConfigHandler_ptr chain) {
    orv_ConfigHandler_ptr handler = orv_config_constructMemoryHandler(chain);
    orv_config_SetStringEntry(handler, "C/OWN", (const char*)data, 1);
    return handler;
}

static void destroy_cb(void* data) {
    (void)data;
    ++destroyed;
}

static qor_Feature_ptr make_feature(void* data) {
    qor_Feature_Callbacks cbs;
    qor_Feature_ptr feature;
    qor_Feature_Callbacks_init(QOR_API_REVISION, &cbs);
    cbs.name = name_cb;
    cbs.type = type_cb;
    cbs.nameInfo = info_cb;
    cbs.uniqueId = id_cb;
    cbs.createObject = create_cb;
    cbs.destroy = destroy_cb;
    CHECK(qor_Feature_init(&feature, &cbs, data) == 1);
    return feature;
}

static void test_feature(void) {
    orv_ConfigHandler_ptr none;
    orv_ConfigHandler_ptr chain;
    orv_ConfigHandler_ptr handler;
    orv_NameInfo info;
    const char* text = NULL;
    qor_Feature_ptr feature = make_feature("own value");
    CHECK(feature.obj != NULL);
    CHECK_STR(qor_Feature_name(feature), "cmem");
    CHECK_STR(qor_Feature_type(feature), "config_handler");
    info = qor_Feature_info(feature);
    CHECK_STR(info.name, "C Memory");
    CHECK_STR(info.description, "An in-memory handler with one entry.");

    none.obj = NULL;
    chain = orv_config_constructMemoryHandler(none);
    orv_config_SetStringEntry(chain, "C/BELOW", "below", 1);
    handler = qor_Feature_createConfigHandler(feature, chain);
    orv_config_destruct(chain); /* the new handler keeps its own use of the chain */
    CHECK(handler.obj != NULL);
    CHECK(orv_config_GetStringEntry(handler, "C/OWN", &text) == 1);
    CHECK_STR(text, "own value");
    CHECK(orv_config_GetStringEntry(handler, "C/BELOW", &text) == 1);
    CHECK_STR(text, "below");
    orv_config_destruct(handler);

    CHECK(destroyed == 0);
    qor_Feature_destruct(feature);
    CHECK(destroyed == 1);
}

static orv_ModuleInfo module_cb(void* data) {
    orv_ModuleInfo info;
    (void)data;
    memset(&info, 0, sizeof info);
    info.name = "cplugin";
    info.type = "plugin";
    info.versionMajor = 1;
    return info;
}

static void features_cb(void* data, qor_Plugin_ptr plugin) {
    qor_Feature_ptr feature = make_feature(data);
    CHECK(qor_Plugin_addFeature(plugin, feature) == 1);
    qor_Feature_destruct(feature);
}

static void test_plugin(void) {
    qor_Plugin_Callbacks cbs;
    qor_Plugin_ptr plugin;
    orv_ConfigDefinition_ptr definition;
    qor_Plugin_Callbacks_init(QOR_API_REVISION, &cbs);
    CHECK(cbs.moduleInfo == NULL && cbs.features == NULL && cbs.destroy == NULL);
    cbs.moduleInfo = module_cb;
    cbs.features = features_cb;
    plugin = qor_Plugin_construct(&cbs, "plugin value");
    CHECK(plugin.obj != NULL);
    definition = orv_Plugin_configDefinition(plugin);
    CHECK(definition.obj == NULL);
    destroyed = 0;
    qor_Plugin_destruct(plugin); /* its features were never asked for: none was made */
    CHECK(destroyed == 0);
}

static void test_refusals(void) {
    qor_Feature_Callbacks cbs;
    qor_Plugin_Callbacks pcbs;
    qor_Feature_ptr none;
    qor_Plugin_ptr plugin;
    ctest_record_assertions();

    qor_Feature_Callbacks_init(QOR_API_REVISION, &cbs);
    cbs._revision = QOR_API_REVISION + 1;
    CHECK(qor_Feature_init(&none, &cbs, NULL) == 0);
    CHECK(none.obj == NULL);
    CHECK_STR(ctest_last_assertion(),
              "[cbs->_revision <= QOR_API_REVISION] unsupported API revision");

    qor_Plugin_Callbacks_init(-3, &pcbs);
    CHECK_STR(ctest_last_assertion(), "api_revision > 0");
    qor_Plugin_Callbacks_init(QOR_API_REVISION, &pcbs);
    pcbs._revision = 0;
    plugin = qor_Plugin_construct(&pcbs, NULL);
    CHECK(plugin.obj == NULL);
    CHECK_STR(ctest_last_assertion(), "cbs->_revision > 0");

    none.obj = NULL;
    CHECK_STR(qor_Feature_name(none), "");
    CHECK_STR(ctest_last_assertion(), "feature.obj");
    CHECK_STR(qor_Feature_info(none).name, "");
    plugin.obj = NULL;
    CHECK(orv_Plugin_configDefinition(plugin).obj == NULL);
    CHECK_STR(ctest_last_assertion(), "plugin.obj");
}

int main(void) {
    test_feature();
    test_plugin();
    test_refusals();
    return ctest_finish("feature");
}
