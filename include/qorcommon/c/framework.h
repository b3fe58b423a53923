/* The framework for C callers: start-up and shut-down, module instances and the services they
 * reach. Valid C99. */
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

QORCOMMON_EXTERN_C_END

#endif
