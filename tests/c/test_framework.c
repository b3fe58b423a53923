/* A whole host program on the framework's C face: start, register a module, log, store errors
 * with listeners (one of which stores from inside its callback), and stop. */
#include "ctest_support.h"

#include "qorcommon/c/config.h"
#include "qorcommon/c/errorinfo.h"
#include "qorcommon/c/errorinfocollector.h"
#include "qorcommon/c/framework.h"
#include "qorcommon/c/logging.h"

#include <stdio.h>
#include <string.h>

static qor_Instance_ptr module;
static int errorsSeen;
static int nestedStores;
static char lastError[128];
static char lastModule[64];
static int entriesSeen;
static char lastEntry[128];

static orv_ErrorInfo errorRecord(const char* text) {
    orv_ErrorInfo error;
    memset(&error, 0, sizeof error);
    error.errorCode = -1;
    error.errorText = text;
    error.hint = "";
    return error;
}

static void onError(const orv_ErrorInfo* error, const orv_ModuleInfo* info,
                    const orv_CodeLocation* location) {
    (void)location;
    ++errorsSeen;
    snprintf(lastError, sizeof lastError, "%s", error->errorText ? error->errorText : "");
    snprintf(lastModule, sizeof lastModule, "%s", info->name ? info->name : "");
    /* A listener may store a further error through the instance functions. */
    if (strcmp(lastError, "outer") == 0) {
        orv_ErrorInfo inner = errorRecord("inner");
        if (qor_StoreErrorInfo(module, &inner, NULL)) ++nestedStores;
    }
}

static void onEntry(const orv_LogEvent* event, void* context) {
    (void)context;
    ++entriesSeen;
    snprintf(lastEntry, sizeof lastEntry, "%s", event->entry.text ? event->entry.text : "");
}

static const char* writeConfig(void) {
    static const char* path = "c_framework_orvane.cfg";
    FILE* file = fopen(path, "w");
    if (!file) return NULL;
    fputs("[GLOBAL]\nAPP_NAME = chost\nLOGGING_HANDLER = void\n", file);
    fclose(file);
    return path;
}

static void test_host_program(void) {
    qor_Instance_ptr host = qor_Init2(writeConfig(), NULL);
    CHECK(host.obj != NULL);
    CHECK(qor_Init1(NULL).obj == host.obj);

    /* The configuration chain answers through the orv_config functions. */
    orv_ConfigHandler_ptr config = qor_GetConfigHandler(host);
    const char* name = NULL;
    CHECK(orv_config_GetEntryAsString(config, "GLOBAL/APP_NAME", &name) == 1);
    CHECK_STR(name, "chost");
    qor_DetachConfigHandler(config);

    orv_ModuleInfo info;
    memset(&info, 0, sizeof info);
    info.name = "cmodule";
    info.type = "dll";
    info.versionMajor = 1;
    module = qor_RegisterModule(&info);
    CHECK(module.obj != NULL && module.obj != host.obj);

    /* Logging: the framework's listeners hear the module's logger. */
    orv_LoggingListener_ptr listener = orv_LoggingListener_create(onEntry, NULL);
    qor_RegisterLoggingListener(module, listener);
    orv_Logger_ptr logger = qor_GetLogger(module, "clog");
    CHECK_STR(orv_Logger_name(logger), "clog");
    orv_LoggingFrame_ptr frame =
        orv_SimpleLogging_beginFrame(logger, orv_CodeLocation_init3("c.c", 1, "main", 1));
    orv_LogEntry entry;
    orv_LogEntry_init(&entry, 0, "hello", 0, orv_CodeLocation_init3("c.c", 2, "main", 1), "");
    orv_SimpleLogging_addEntry(frame, 3, entry);
    orv_SimpleLogging_endFrame(frame, orv_CodeLocation_init3("c.c", 3, "main", 1));
    CHECK(entriesSeen >= 3);
    qor_UnregisterLoggingListener(module, listener);
    qor_DetachLogger(logger);
    orv_LoggingListener_destruct(listener);

    /* Errors reach the listener with the storing module; a nested store is heard too. */
    orv_ErrorInfoCollectorListener_ptr lis =
        orv_RegisterErrorInfoCollectorListener(module, onError, &errorsSeen);
    CHECK(lis.obj != NULL);
    orv_ErrorInfo outer = errorRecord("outer");
    CHECK(qor_StoreErrorInfo(module, &outer, NULL) == 1);
    CHECK(nestedStores == 1);
    CHECK(errorsSeen == 2);
    CHECK_STR(lastModule, "cmodule");
    orv_UnregisterErrorInfoCollectorListener(module, lis);
    orv_ErrorInfoCollectorListener_destruct(lis);
    CHECK(qor_StoreErrorInfo(module, &outer, NULL) == 1);
    CHECK(errorsSeen == 2);

    /* The collector handle and the feature table. */
    orv_ErrorInfoCollector_ptr eic = qor_GetErroInfoCollector(host);
    CHECK(eic.obj != NULL);
    qor_DetachErrorInfoCollector(eic);
    CHECK(qor_GetFeature1(host, "logging_handler", "nosuch").obj == NULL);
    qor_FeatureList handlers = qor_GetFeatures1(host, "logging_handler");
    CHECK(handlers.count >= 1);

    const char* failure = "untouched";
    CHECK(qor_StoreClientRegistration(host, &failure) == 1);
    CHECK_STR(failure, "untouched");

    qor_UnregisterModule(module);
    qor_Deinit();
}

static void test_null_handles_are_reported_by_name(void) {
    qor_Instance_ptr none = {NULL};
    orv_ConfigHandler_ptr noConfig = {NULL};
    ctest_clear_assertions();
    CHECK(qor_GetConfigHandler(none).obj == NULL);
    CHECK_STR(ctest_last_assertion(), "instance.obj != nullptr");
    qor_DetachConfigHandler(noConfig);
    CHECK_STR(ctest_last_assertion(), "configHandler.obj != nullptr");
    qor_UnregisterModule(none);
    CHECK_STR(ctest_last_assertion(), "instance.obj");
    CHECK(qor_StoreErrorInfo(none, NULL, NULL) == 0);
    CHECK_STR(ctest_last_assertion(), "moduleInstance.obj");
    CHECK(qor_GetFeature1(none, "t", "n").obj == NULL);
    CHECK_STR(ctest_last_assertion(), "instance.obj");
}

static void test_version_and_deinit_without_init(void) {
    int version[4] = {0, 0, 0, 0};
    CHECK_STR(qor_GetVersion(NULL), "3.35.4");
    CHECK_STR(qor_GetVersion(version), "3.35.4");
    CHECK(version[0] == 3 && version[1] == 35 && version[2] == 4 && version[3] == 1);
    qor_Deinit();
}

int main(void) {
    ctest_record_assertions();
    test_version_and_deinit_without_init();
    test_host_program();
    test_null_handles_are_reported_by_name();
    return ctest_finish("framework");
}
