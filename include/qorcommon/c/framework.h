/* The framework for C callers: start-up and shut-down, module instances and the services they
 * reach. Valid C99.
 *
 *     qor_Instance_ptr host = qor_Init2("orvane.cfg", NULL);
 *     orv_Logger_ptr logger = qor_GetLogger(host, "main");
 *     ...
 *     qor_DetachLogger(logger);
 *     qor_Deinit();
 *
 * Objects handed out (configuration handler, logger, collector, feature handles) each hold one
 * use of the service and are freed with the matching qor_Detach... function; the service lives
 * until the framework and the last handle have let it go. A null instance or handle argument is
 * reported with the argument's name ("instance.obj != nullptr"). */
#ifndef QORCOMMON_C_FRAMEWORK_H
#define QORCOMMON_C_FRAMEWORK_H

#include "qorcommon/c/export.h"

QORCOMMON_EXTERN_C_BEGIN

/* A module's handle on the framework (QOR::Instance). */
typedef struct {
    void* obj;
} qor_Instance_ptr;

/* A feature (a counted handle on a QOR::Feature). */
typedef struct {
    void* obj;
} qor_Feature_ptr;

/* The plug-in a plug-in library hands over when attached (a QOR::Plugin). */
typedef struct {
    void* obj;
} qor_Plugin_ptr;

/* A handle holding one use of an error collector. */
typedef struct {
    void* obj;
} orv_ErrorInfoCollector_ptr;

/* A C listener registered with an error collector. */
typedef struct {
    void* obj;
} orv_ErrorInfoCollectorListener_ptr;

/* The features of one type: `count` handles, valid until the calling thread calls
 * qor_GetFeatures1 or qor_Deinit; the handles are the library's and are not freed by the
 * caller. */
typedef struct {
    int count;
    const qor_Feature_ptr* features;
} qor_FeatureList;

QORCOMMON_EXTERN_C_END

#include "qorcommon/c/config.h"
#include "qorcommon/c/errorinfo.h"
#include "qorcommon/c/logging.h"

QORCOMMON_EXTERN_C_BEGIN

/* ---- start and stop ---------------------------------------------------------------------------
 */

/* Starts the library (unless started) and returns the host's instance. A null `info` lets start-up
 * take the host's identity from GLOBAL/APP_NAME, APP_VERSION, APP_TYPE or the executable. A second
 * call returns the same instance; one qor_Deinit stops the library for every caller. */
QORCOMMON_API qor_Instance_ptr qor_Init1(const orv_ModuleInfo* info) QORCOMMON_NOEXCEPT;
/* The same over the configuration file `configFile` (null: "orvane.cfg" in the current directory
 * unless the file handler was given another path). */
QORCOMMON_API qor_Instance_ptr qor_Init2(const char* configFile,
                                         const orv_ModuleInfo* info) QORCOMMON_NOEXCEPT;
/* Stops the library; without a start only the thread-local variables are shut down. Every
 * instance handle is invalid afterwards. */
QORCOMMON_API void qor_Deinit(void) QORCOMMON_NOEXCEPT;
/* "3.35.4"; when `version` is not null it receives major 3, minor 35, patch 4 and the revision of
 * the C interface, 1. */
QORCOMMON_API const char* qor_GetVersion(int* version) QORCOMMON_NOEXCEPT;

/* ---- modules ----------------------------------------------------------------------------------
 */

/* A new instance for the module `info` (starting the library first when needed). */
QORCOMMON_API qor_Instance_ptr qor_RegisterModule(const orv_ModuleInfo* info) QORCOMMON_NOEXCEPT;
/* Frees an instance made by qor_RegisterModule; the features it registered leave the table. */
QORCOMMON_API void qor_UnregisterModule(qor_Instance_ptr instance) QORCOMMON_NOEXCEPT;

/* ---- services ---------------------------------------------------------------------------------
 */

/* The configuration chain, for the orv_config_* functions; free it with qor_DetachConfigHandler
 * (not orv_config_destruct). */
QORCOMMON_API orv_ConfigHandler_ptr qor_GetConfigHandler(qor_Instance_ptr instance)
    QORCOMMON_NOEXCEPT;
QORCOMMON_API void qor_DetachConfigHandler(orv_ConfigHandler_ptr configHandler) QORCOMMON_NOEXCEPT;
/* A logger of the framework's logging handler for the instance's module; `loggerName` null or
 * empty takes the module's default name. Free it with qor_DetachLogger. */
QORCOMMON_API orv_Logger_ptr qor_GetLogger(qor_Instance_ptr instance,
                                           const char* loggerName) QORCOMMON_NOEXCEPT;
QORCOMMON_API void qor_DetachLogger(orv_Logger_ptr logger) QORCOMMON_NOEXCEPT;
/* The error collector (for the orv_ErrorInfoCollector_* functions). */
QORCOMMON_API orv_ErrorInfoCollector_ptr qor_GetErroInfoCollector(qor_Instance_ptr instance)
    QORCOMMON_NOEXCEPT;
QORCOMMON_API void qor_DetachErrorInfoCollector(orv_ErrorInfoCollector_ptr eic) QORCOMMON_NOEXCEPT;
/* Adds or removes a listener that hears every entry of the framework's logging handler, also
 * after the handler is replaced. The listener stays the caller's (orv_LoggingListener_destruct
 * after unregistering). */
QORCOMMON_API void qor_RegisterLoggingListener(qor_Instance_ptr instance,
                                               orv_LoggingListener_ptr listener) QORCOMMON_NOEXCEPT;
QORCOMMON_API void
qor_UnregisterLoggingListener(qor_Instance_ptr instance,
                              orv_LoggingListener_ptr listener) QORCOMMON_NOEXCEPT;

/* ---- features ---------------------------------------------------------------------------------
 */

/* Registers a feature through the instance; 0 when a feature of the same name and type is
 * registered already (the first registration wins). */
QORCOMMON_API short qor_RegisterFeature(qor_Instance_ptr instance,
                                        qor_Feature_ptr feature) QORCOMMON_NOEXCEPT;
/* The feature of `type` and `name`, or the null handle; free it with qor_Feature_destruct. */
QORCOMMON_API qor_Feature_ptr qor_GetFeature1(qor_Instance_ptr instance, const char* type,
                                              const char* name) QORCOMMON_NOEXCEPT;
/* The registered features of `type` (null: all). */
QORCOMMON_API qor_FeatureList qor_GetFeatures1(qor_Instance_ptr instance,
                                               const char* type) QORCOMMON_NOEXCEPT;

/* ---- errors and the client registry ------------------------------------------------------------
 */

/* Stores an error with the collector; the module is the instance's. 1 when the collector stored
 * it. */
QORCOMMON_API short qor_StoreErrorInfo(qor_Instance_ptr moduleInstance, const orv_ErrorInfo* error,
                                       const orv_CodeLocation* location) QORCOMMON_NOEXCEPT;
/* Makes a C collector listener and registers it; free it with
 * orv_ErrorInfoCollectorListener_destruct. The callback has the type
 * orv_ErrorInfoCollectorCallback (qorcommon/c/errorinfocollector.h); `tag` is the caller's own
 * word, never passed to the callback. */
QORCOMMON_API orv_ErrorInfoCollectorListener_ptr orv_RegisterErrorInfoCollectorListener(
    qor_Instance_ptr instance,
    void (*callback)(const orv_ErrorInfo* error, const orv_ModuleInfo* module,
                     const orv_CodeLocation* location),
    void* tag) QORCOMMON_NOEXCEPT;
QORCOMMON_API void
orv_UnregisterErrorInfoCollectorListener(qor_Instance_ptr instance,
                                         orv_ErrorInfoCollectorListener_ptr lis) QORCOMMON_NOEXCEPT;
/* Registers the library, the host and the plug-ins with the client registry. 1 on success; on
 * failure the error is shown and *errorText (when not null) receives its short form, valid until
 * the thread calls this function again. */
QORCOMMON_API short qor_StoreClientRegistration(qor_Instance_ptr instance,
                                                const char** errorText) QORCOMMON_NOEXCEPT;
/* The same; on failure *error (when not null) receives the whole record, valid until the thread
 * calls this function again. */
QORCOMMON_API short qor_StoreClientRegistration2(qor_Instance_ptr instance,
                                                 orv_ErrorInfo* error) QORCOMMON_NOEXCEPT;

QORCOMMON_EXTERN_C_END

#endif
