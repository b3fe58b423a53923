/* Listening to the error collector from C.
 *
 * A C collector listener is told of every error record that any collector stores (the listener
 * list is one list for the whole process):
 *
 *     static void onError(const orv_ErrorInfo* error, const orv_ModuleInfo* module,
 *                         const orv_CodeLocation* location) { ... }
 *
 *     orv_ErrorInfoCollectorListener_ptr lis =
 *         orv_ErrorInfoCollector_registerListener1(collector, onError, myTag);
 *     ...
 *     orv_ErrorInfoCollector_unregisterListener(collector, lis);
 *     orv_ErrorInfoCollectorListener_destruct(lis);
 *
 * The three records handed to the callback point into buffers that live for the duration of the
 * call only: a callback that keeps a record copies it (orv_ErrorInfo_Buffer_copy and its kin).
 * The callback runs on the thread that stores the error, one listener call at a time; it may
 * store further errors and register or unregister listeners (a listener registered from inside a
 * callback first hears the next error). Collector handles are made by the framework
 * (qor_GetErroInfoCollector). A null handle is reported with the name of its argument ("obj.obj",
 * "lis.obj"). Valid C99. */
#ifndef QORCOMMON_C_ERRORINFOCOLLECTOR_H
#define QORCOMMON_C_ERRORINFOCOLLECTOR_H

#include "qorcommon/c/errorinfo.h"
#include "qorcommon/c/export.h"
#include "qorcommon/c/framework.h"

QORCOMMON_EXTERN_C_BEGIN

/* Told of one stored error: the record, the module that stored it and the place it was stored
 * from, each valid during the call only. */
typedef void (*orv_ErrorInfoCollectorCallback)(const orv_ErrorInfo* error,
                                               const orv_ModuleInfo* module,
                                               const orv_CodeLocation* location);

/* Makes a listener calling `callback` and registers it. `tag` is the caller's own word, kept with
 * the listener and never passed to the callback nor read by the library: a caller that registers
 * several listeners tells them apart by it (orv_ErrorInfoCollectorListener_tag). The listener
 * belongs to the caller; free it with orv_ErrorInfoCollectorListener_destruct. A null handle or
 * callback gives the null listener handle. */
QORCOMMON_API orv_ErrorInfoCollectorListener_ptr orv_ErrorInfoCollector_registerListener1(
    orv_ErrorInfoCollector_ptr obj, orv_ErrorInfoCollectorCallback callback,
    void* tag) QORCOMMON_NOEXCEPT;

/* Unregisters the listener; one that is not registered is ignored. The listener is not freed. */
QORCOMMON_API void orv_ErrorInfoCollector_unregisterListener(
    orv_ErrorInfoCollector_ptr obj, orv_ErrorInfoCollectorListener_ptr lis) QORCOMMON_NOEXCEPT;

/* The tag given when the listener was made (null for the null handle). */
QORCOMMON_API void*
orv_ErrorInfoCollectorListener_tag(orv_ErrorInfoCollectorListener_ptr lis) QORCOMMON_NOEXCEPT;

/* Frees a listener. A listener still registered is unregistered first, so it is never called
 * after this returns. */
QORCOMMON_API void
orv_ErrorInfoCollectorListener_destruct(orv_ErrorInfoCollectorListener_ptr lis) QORCOMMON_NOEXCEPT;

QORCOMMON_EXTERN_C_END

#endif
