/* An example host program in C: starts the framework, reads a setting through the configuration
 * chain, logs a function scope, stores an error that a registered listener hears, registers the
 * client's modules and stops the framework.
 *
 *     host_c [config-file] [-cSECTION/ENTRY=value ...] */
#include "qorcommon/c/config.h"
#include "qorcommon/c/errorinfo.h"
#include "qorcommon/c/errorinfocollector.h"
#include "qorcommon/c/framework.h"
#include "qorcommon/c/logging.h"

#include <stdio.h>
#include <string.h>

/* The records are valid during the call only: a listener that keeps one copies it. */
static void onError(const orv_ErrorInfo* error, const orv_ModuleInfo* module,
                    const orv_CodeLocation* location) {
    printf("collector: '%s' from %s at %s:%d\n", error->errorText, module->name, location->file,
           location->line);
}

static int countRounds(qor_Instance_ptr host, long times) {
    orv_Logger_ptr logger = qor_GetLogger(host, "rounds");
    orv_CodeLocation here =
        orv_CodeLocation_init3(__FILE__, __LINE__, "countRounds", orv_Language_C);
    orv_LoggingFrame_ptr frame = orv_SimpleLogging_beginFrame(logger, here);
    long i;
    for (i = 0; i < times; ++i) {
        orv_LogEntry entry;
        char text[32];
        sprintf(text, "round %ld", i);
        orv_LogEntry_init(&entry, orv_LogContext_General, text, 0, here, NULL);
        orv_SimpleLogging_addEntry(frame, orv_LogPriority_Info, entry);
    }
    orv_SimpleLogging_endFrame(frame, here);
    qor_DetachLogger(logger);
    return (int)times;
}

int main(int argc, char** argv) {
    const char* configFile = "orvane.cfg";
    orv_ModuleInfo info;
    qor_Instance_ptr host;
    orv_ConfigHandler_ptr config;
    orv_ErrorInfoCollectorListener_ptr listener;
    orv_ErrorInfo error;
    orv_CodeLocation location;
    const char* registrationError = NULL;
    const char* text = "(no greeting)";
    long times = 1;
    int i;

    for (i = 1; i < argc; ++i)
        if (argv[i][0] != '-') configFile = argv[i];

    memset(&info, 0, sizeof info);
    info.name = "example_host_c";
    info.type = "exe";
    info.versionMajor = 1;
    host = qor_Init2(configFile, &info);
    printf("QorCommon %s started\n", qor_GetVersion(NULL));

    listener = orv_RegisterErrorInfoCollectorListener(host, onError, NULL);

    config = qor_GetConfigHandler(host);
    orv_config_GetStringEntry(config, "GREETING/TEXT", &text);
    orv_config_GetLongEntry(config, "GREETING/TIMES", &times);
    qor_DetachConfigHandler(config);
    printf("greeting: %s (x%ld)\n", text, times);

    printf("logged %d rounds\n", countRounds(host, times));

    memset(&error, 0, sizeof error); /* null texts read as empty */
    error.errorText = "printer out of paper";
    error.errorCode = 42;
    location = orv_CodeLocation_init3(__FILE__, __LINE__, "main", orv_Language_C);
    error.codeLocation = location; /* where the error arose; `location` is where it is stored */
    printf("stored: %d\n", qor_StoreErrorInfo(host, &error, &location));

    printf("client registration: %s\n",
           qor_StoreClientRegistration(host, &registrationError) ? "stored" : registrationError);

    orv_UnregisterErrorInfoCollectorListener(host, listener);
    orv_ErrorInfoCollectorListener_destruct(listener);
    fflush(stdout);
    qor_Deinit();
    return 0;
}
