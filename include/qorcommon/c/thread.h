/* Threads and per-thread variables for C callers.
 *
 * A per-thread variable holds one value (a void pointer) per thread. The variable owns its values:
 * each is given to the variable's destroy function when it is replaced, when its thread ends (on
 * that thread, or at the latest at the library collector's next round), or when the variable is
 * deleted. A thread that never set a value reads null.
 *
 * A thread handle runs one function on a thread of its own. The function may poll or wait for a
 * stop request with thr_stopRequested; thr_thread_destruct asks the thread to stop and waits for
 * it to end.
 *
 * A null handle or null function argument is reported through the assertion handler and the call
 * returns 0 / null and does nothing. Valid C99. */
#ifndef QORCOMMON_C_THREAD_H
#define QORCOMMON_C_THREAD_H

#include "qorcommon/c/export.h"

QORCOMMON_EXTERN_C_BEGIN

typedef struct {
    void* obj;
} thr_Variable_ptr;

typedef struct {
    void* obj;
} thr_Thread_ptr;

/* Frees one value of a per-thread variable; never called with null. */
typedef void (*thr_DestroyFunction)(void* value);
/* The body of a thread. */
typedef void (*thr_ThreadFunction)(void* argument);

/* A new per-thread variable; `destroy` may be null when values need no freeing. A null handle when
 * memory runs out. */
QORCOMMON_API thr_Variable_ptr thr_variable_create(thr_DestroyFunction destroy) QORCOMMON_NOEXCEPT;
/* Stores the calling thread's value; the value it replaces (if another one) is destroyed. Returns
 * 1, or 0 on a null handle. */
QORCOMMON_API short thr_variable_set(thr_Variable_ptr variable, void* value) QORCOMMON_NOEXCEPT;
/* The calling thread's value, null when it has none. */
QORCOMMON_API void* thr_variable_get(thr_Variable_ptr variable) QORCOMMON_NOEXCEPT;
/* Removes the calling thread's value without destroying it and returns it; the caller owns it. */
QORCOMMON_API void* thr_variable_take(thr_Variable_ptr variable) QORCOMMON_NOEXCEPT;
/* Destroys the values of every thread and the variable itself. */
QORCOMMON_API void thr_variable_delete(thr_Variable_ptr variable) QORCOMMON_NOEXCEPT;

/* Runs function(argument) on a new thread named `name` (may be null) for debuggers. A null handle
 * when the thread cannot be made. */
QORCOMMON_API thr_Thread_ptr thr_thread_start(thr_ThreadFunction function, void* argument,
                                              const char* name) QORCOMMON_NOEXCEPT;
/* Asks the thread to stop; its function sees it through thr_stopRequested. */
QORCOMMON_API void thr_thread_requestStop(thr_Thread_ptr thread) QORCOMMON_NOEXCEPT;
/* Waits at most timeoutMs (negative: no limit) for the thread to end; 1 when it has ended. */
QORCOMMON_API short thr_thread_join(thr_Thread_ptr thread, long timeoutMs) QORCOMMON_NOEXCEPT;
QORCOMMON_API short thr_thread_isRunning(thr_Thread_ptr thread) QORCOMMON_NOEXCEPT;
/* Asks the thread to stop, waits for its end, and frees the handle. */
QORCOMMON_API void thr_thread_destruct(thr_Thread_ptr thread) QORCOMMON_NOEXCEPT;

/* On a thread made by thr_thread_start: 1 when a stop was requested, waiting at most waitMs for the
 * request (0: only looks). On other threads nothing can ask for a stop: 0 after waitMs. */
QORCOMMON_API short thr_stopRequested(long waitMs) QORCOMMON_NOEXCEPT;
/* The system id of the calling thread. */
QORCOMMON_API long thr_currentThreadId(void) QORCOMMON_NOEXCEPT;
QORCOMMON_API void thr_sleep(long milliseconds) QORCOMMON_NOEXCEPT;

QORCOMMON_EXTERN_C_END

#endif
