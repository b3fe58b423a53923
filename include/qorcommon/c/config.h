/* Configuration handlers for C callers.
 *
 * A handler handle holds one use of a configuration handler; release it with orv_config_destruct
 * (a handle from the framework with its own detach function). Paths are "SECTION/ENTRY" texts.
 * Booleans are 16-bit integers, non-zero meaning true; every function that does something returns
 * 1 on success and 0 on failure, and the reason of a failure is orv_config_GetLastError().
 *
 * Getters ask the base handlers too, and write their outputs only on success. Texts and arrays
 * that they hand out live in buffers of the calling thread, one per function: valid until the
 * same thread calls the same function again, never freed by the caller. Lists come in two forms:
 * form 1 hands out the function's string list object (do not destruct it), form 2 an array of
 * texts with its count (the array is also terminated by a null pointer).
 *
 * A null handler fails the check "configHandler.obj != nullptr", a null path "path != nullptr",
 * a null output "ret != nullptr" or "count != nullptr", a null input "value != nullptr" or
 * "value.obj != nullptr"; the call then returns 0 and changes nothing. Valid C99. */
#ifndef QORCOMMON_C_CONFIG_H
#define QORCOMMON_C_CONFIG_H

#include "qorcommon/c/export.h"
#include "qorcommon/c/stringlist.h"

QORCOMMON_EXTERN_C_BEGIN

typedef struct {
    void* obj;
} orv_ConfigHandler_ptr;

/* The operations of orv_config_IsOperationSupported. */
typedef enum {
    orv_ConfigOperation_ReadingEntries = 0,
    orv_ConfigOperation_KeepingCache = 1,
    orv_ConfigOperation_UpdatingCache = 2,
    orv_ConfigOperation_Reserved3 = 3,
    orv_ConfigOperation_WritingEntries = 4,
    orv_ConfigOperation_ReadingKeys = 5,
    orv_ConfigOperation_WritingKeys = 6,
    orv_ConfigOperation_FlushingCache = 7,
    orv_ConfigOperation_Reserved8 = 8
} orv_ConfigOperation;

/* The values of orv_config_GetHandlerStatus. */
typedef enum {
    orv_ConfigStatus_NoError = 0,
    orv_ConfigStatus_NotSupported = 1,
    orv_ConfigStatus_Failed = 2
} orv_ConfigStatus;

/* ---- handlers -------------------------------------------------------------------------------- */

/* A new in-memory handler over `base` (a null handle: no base). It reads and writes entries and
 * keys and keeps no cache. A null handle when memory runs out. */
QORCOMMON_API orv_ConfigHandler_ptr orv_config_constructMemoryHandler(orv_ConfigHandler_ptr base)
    QORCOMMON_NOEXCEPT;
/* A new handler reading environment variables, over `base`; its prefix is read from `base`. */
QORCOMMON_API orv_ConfigHandler_ptr orv_config_constructEnvVarHandler(orv_ConfigHandler_ptr base)
    QORCOMMON_NOEXCEPT;
/* A new handler reading the process's "-c" command-line arguments, over `base`. */
QORCOMMON_API orv_ConfigHandler_ptr orv_config_constructCLAHandler(orv_ConfigHandler_ptr base)
    QORCOMMON_NOEXCEPT;
/* Releases the handle's use of its handler (the handler goes with its last use). */
QORCOMMON_API void orv_config_destruct(orv_ConfigHandler_ptr configHandler) QORCOMMON_NOEXCEPT;

/* ---- reading -----------------------------------------------------------------------------------
 */

QORCOMMON_API short orv_config_GetEntryAsString(orv_ConfigHandler_ptr configHandler,
                                                const char* path,
                                                const char** ret) QORCOMMON_NOEXCEPT;
QORCOMMON_API short orv_config_GetStringEntry(orv_ConfigHandler_ptr configHandler, const char* path,
                                              const char** ret) QORCOMMON_NOEXCEPT;
QORCOMMON_API short orv_config_GetLongEntry(orv_ConfigHandler_ptr configHandler, const char* path,
                                            long* ret) QORCOMMON_NOEXCEPT;
QORCOMMON_API short orv_config_GetBooleanEntry(orv_ConfigHandler_ptr configHandler,
                                               const char* path, short* ret) QORCOMMON_NOEXCEPT;
QORCOMMON_API short orv_config_GetEntryAsStringList1(orv_ConfigHandler_ptr configHandler,
                                                     const char* path,
                                                     orv_StringList_ptr* ret) QORCOMMON_NOEXCEPT;
QORCOMMON_API short orv_config_GetEntryAsStringList2(orv_ConfigHandler_ptr configHandler,
                                                     const char* path, const char*** ret,
                                                     long* count) QORCOMMON_NOEXCEPT;
QORCOMMON_API short orv_config_GetStringListEntry1(orv_ConfigHandler_ptr configHandler,
                                                   const char* path,
                                                   orv_StringList_ptr* ret) QORCOMMON_NOEXCEPT;
QORCOMMON_API short orv_config_GetStringListEntry2(orv_ConfigHandler_ptr configHandler,
                                                   const char* path, const char*** ret,
                                                   long* count) QORCOMMON_NOEXCEPT;
QORCOMMON_API short orv_config_GetLongListEntry(orv_ConfigHandler_ptr configHandler,
                                                const char* path, const long** ret,
                                                long* count) QORCOMMON_NOEXCEPT;
QORCOMMON_API short orv_config_GetBooleanListEntry(orv_ConfigHandler_ptr configHandler,
                                                   const char* path, const short** ret,
                                                   long* count) QORCOMMON_NOEXCEPT;
QORCOMMON_API short orv_config_GetKeyList1(orv_ConfigHandler_ptr configHandler, const char* path,
                                           orv_StringList_ptr* ret) QORCOMMON_NOEXCEPT;
QORCOMMON_API short orv_config_GetKeyList2(orv_ConfigHandler_ptr configHandler, const char* path,
                                           const char*** ret, long* count) QORCOMMON_NOEXCEPT;

/* ---- writing: with `here` non-zero into this handler, else where the entry lives ---------------
 */

QORCOMMON_API short orv_config_SetEntryAsString(orv_ConfigHandler_ptr configHandler,
                                                const char* path, const char* value,
                                                short here) QORCOMMON_NOEXCEPT;
QORCOMMON_API short orv_config_SetStringEntry(orv_ConfigHandler_ptr configHandler, const char* path,
                                              const char* value, short here) QORCOMMON_NOEXCEPT;
QORCOMMON_API short orv_config_SetLongEntry(orv_ConfigHandler_ptr configHandler, const char* path,
                                            long value, short here) QORCOMMON_NOEXCEPT;
QORCOMMON_API short orv_config_SetBooleanEntry(orv_ConfigHandler_ptr configHandler,
                                               const char* path, short value,
                                               short here) QORCOMMON_NOEXCEPT;
QORCOMMON_API short orv_config_SetEntryAsStringList1(orv_ConfigHandler_ptr configHandler,
                                                     const char* path, orv_StringList_ptr value,
                                                     short here) QORCOMMON_NOEXCEPT;
/* `value` may be null when `count` is 0; null texts in it are written as empty values. */
QORCOMMON_API short orv_config_SetEntryAsStringList2(orv_ConfigHandler_ptr configHandler,
                                                     const char* path, const char* const* value,
                                                     long count, short here) QORCOMMON_NOEXCEPT;
QORCOMMON_API short orv_config_SetStringListEntry1(orv_ConfigHandler_ptr configHandler,
                                                   const char* path, orv_StringList_ptr value,
                                                   short here) QORCOMMON_NOEXCEPT;
QORCOMMON_API short orv_config_SetStringListEntry2(orv_ConfigHandler_ptr configHandler,
                                                   const char* path, const char* const* value,
                                                   long count, short here) QORCOMMON_NOEXCEPT;
QORCOMMON_API short orv_config_SetLongListEntry(orv_ConfigHandler_ptr configHandler,
                                                const char* path, const long* value, long count,
                                                short here) QORCOMMON_NOEXCEPT;
QORCOMMON_API short orv_config_SetBooleanListEntry(orv_ConfigHandler_ptr configHandler,
                                                   const char* path, const short* value, long count,
                                                   short here) QORCOMMON_NOEXCEPT;
QORCOMMON_API short orv_config_SetKey(orv_ConfigHandler_ptr configHandler, const char* path,
                                      short here) QORCOMMON_NOEXCEPT;

/* ---- cache: forms 1 and 2 recurse into the base handlers, 3 and 4 when asked; paths are
 * ignored ----------------------------------------------------------------------------------------
 */

QORCOMMON_API short orv_config_UpdateCache1(orv_ConfigHandler_ptr configHandler) QORCOMMON_NOEXCEPT;
QORCOMMON_API short orv_config_UpdateCache2(orv_ConfigHandler_ptr configHandler,
                                            const char* path) QORCOMMON_NOEXCEPT;
QORCOMMON_API short orv_config_UpdateCache3(orv_ConfigHandler_ptr configHandler,
                                            short recursive) QORCOMMON_NOEXCEPT;
QORCOMMON_API short orv_config_UpdateCache4(orv_ConfigHandler_ptr configHandler, const char* path,
                                            short recursive) QORCOMMON_NOEXCEPT;
QORCOMMON_API short orv_config_FlushCache1(orv_ConfigHandler_ptr configHandler) QORCOMMON_NOEXCEPT;
QORCOMMON_API short orv_config_FlushCache2(orv_ConfigHandler_ptr configHandler,
                                           const char* path) QORCOMMON_NOEXCEPT;
QORCOMMON_API short orv_config_FlushCache3(orv_ConfigHandler_ptr configHandler,
                                           short recursive) QORCOMMON_NOEXCEPT;
QORCOMMON_API short orv_config_FlushCache4(orv_ConfigHandler_ptr configHandler, const char* path,
                                           short recursive) QORCOMMON_NOEXCEPT;

/* ---- status ------------------------------------------------------------------------------------
 */

/* Whether the handler's own class supports the operation (an orv_ConfigOperation number). */
QORCOMMON_API short orv_config_IsOperationSupported(orv_ConfigHandler_ptr configHandler,
                                                    int operation) QORCOMMON_NOEXCEPT;
/* An orv_ConfigStatus value: what the last operation that set one left. */
QORCOMMON_API int
orv_config_GetHandlerStatus(orv_ConfigHandler_ptr configHandler) QORCOMMON_NOEXCEPT;
/* The calling thread's last error text on this handler, owned by the handler; "" when the thread
 * never failed on it (and for a null handler). */
QORCOMMON_API const char*
orv_config_GetLastError(orv_ConfigHandler_ptr configHandler) QORCOMMON_NOEXCEPT;

QORCOMMON_EXTERN_C_END

#endif
