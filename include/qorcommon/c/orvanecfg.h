/* The configuration file handler ("orvane.cfg") for C callers.
 *
 * The handler is read and written through the orv_config_* functions of "qorcommon/c/config.h";
 * release it with orv_config_destruct. Valid C99. */
#ifndef QORCOMMON_C_ORVANECFG_H
#define QORCOMMON_C_ORVANECFG_H

#include "qorcommon/c/config.h"
#include "qorcommon/c/export.h"

QORCOMMON_EXTERN_C_BEGIN

/* Sets the file of all file handlers of the process (UTF-8 in the core encoding); an empty text
 * gives back the default, "orvane.cfg" in the current directory. A null path fails the check
 * "path != nullptr" and changes nothing. */
QORCOMMON_API void
orv_orvanecfg_config_handler_setOrvanecfgPath(const char* path) QORCOMMON_NOEXCEPT;

/* A new file handler over `base` (a null handle: no base), with its cache read: the base handlers
 * are updated first, then the file. A file that cannot be read or holds errors still gives a
 * handler; orv_config_GetLastError and orv_config_GetHandlerStatus then tell why. A null handle
 * when memory runs out. */
QORCOMMON_API orv_ConfigHandler_ptr
orv_orvanecfg_config_handler_construct(orv_ConfigHandler_ptr base) QORCOMMON_NOEXCEPT;

QORCOMMON_EXTERN_C_END

#endif
