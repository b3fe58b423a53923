/* Configuration definitions for C callers.
 *
 * A definition handle holds one use of a definition (from a feature, a plug-in or a module);
 * release it with orv_DetachConfigDefinition. A null handle fails the check "obj.obj" and the
 * call does nothing. Valid C99. */
#ifndef QORCOMMON_C_CONFIGDEFINITION_H
#define QORCOMMON_C_CONFIGDEFINITION_H

#include "qorcommon/c/export.h"

QORCOMMON_EXTERN_C_BEGIN

typedef struct {
    void* obj;
} orv_ConfigDefinition_ptr;

/* Releases the handle's use of its definition (the definition goes with its last use). */
QORCOMMON_API void orv_DetachConfigDefinition(orv_ConfigDefinition_ptr obj) QORCOMMON_NOEXCEPT;

QORCOMMON_EXTERN_C_END

#endif
