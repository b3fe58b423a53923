// The C face of threads and per-thread variables. Variables live in the library's thread-keyed
// store and are registered with its collector, as ThreadLocalVariable is.
#include "qorcommon/c/thread.h"

#include "cboundary.h"

#include "qorcommon/assertion.h"
#include "qorcommon/thread.h"
#include "qorcommon/threadmanagedobject.h"
#include "threadobjectdepot.h"

#include <new>

using Orvane::Core::StopToken;
using Orvane::Core::Thread;
using Orvane::Core::ThreadManagedObject;
using Orvane::Core::ThreadManagedObjectGC;
using Orvane::Core::Internal::ThreadObjectDepot;
using Orvane::Core::Internal::threadObjectDepot;
namespace QOR = Orvane::Core::QOR;

namespace {

class CVariable : public ThreadManagedObject {
public:
    explicit CVariable(thr_DestroyFunction destroy)
        : m_destroy(destroy), m_id(threadObjectDepot().registerObject(ThreadObjectDepot::Creator(),
                                                                      [destroy](void* value) {
                                                                          if (destroy && value)
                                                                              destroy(value);
                                                                      })) {
        if (ThreadManagedObjectGC* gc = QOR::ensureThreadLocalVariableGC())
            gc->registerObject(this);
    }
    ~CVariable() override {
        if (ThreadManagedObjectGC* gc = QOR::threadLocalVariableGC.load())
            gc->unregisterObject(this);
        threadObjectDepot().unregisterObject(m_id);
    }

    // Through the slot: no lock once the calling thread's slot is cached.
    void* get() { return threadObjectDepot().getObject(m_id); }
    void set(void* value) {
        void* previous = threadObjectDepot().setObject(m_id, value);
        if (previous && previous != value && m_destroy) m_destroy(previous);
    }
    void* take() { return threadObjectDepot().setObject(m_id, nullptr); }

    using ThreadManagedObject::cleanUp;
    void cleanUp(long threadId) override {
        if (threadId == -1) {
            std::vector<long> ended;
            threadObjectDepot().cleanUp(m_id, ThreadObjectDepot::Destroyer(), ended);
        } else {
            threadObjectDepot().destroyObject(threadId, m_id);
        }
    }

private:
    thr_DestroyFunction m_destroy;
    int m_id;
};

CVariable* asVariable(thr_Variable_ptr handle) {
    return static_cast<CVariable*>(handle.obj);
}

Thread* asThread(thr_Thread_ptr handle) {
    return static_cast<Thread*>(handle.obj);
}

} // namespace

extern "C" {

QORCOMMON_API thr_Variable_ptr thr_variable_create(thr_DestroyFunction destroy) noexcept {
    thr_Variable_ptr handle;
    handle.obj = QOR_C_GUARDED(static_cast<void*>(nullptr),
                               [&]() -> void* { return new (std::nothrow) CVariable(destroy); });
    return handle;
}

QORCOMMON_API short thr_variable_set(thr_Variable_ptr variable, void* value) noexcept {
    return QOR_C_GUARDED(static_cast<short>(0), [&]() -> short {
        if (!QOR_CHECK(variable.obj)) return 0;
        asVariable(variable)->set(value);
        return 1;
    });
}

QORCOMMON_API void* thr_variable_get(thr_Variable_ptr variable) noexcept {
    return QOR_C_GUARDED(static_cast<void*>(nullptr), [&]() -> void* {
        if (!QOR_CHECK(variable.obj)) return nullptr;
        return asVariable(variable)->get();
    });
}

QORCOMMON_API void* thr_variable_take(thr_Variable_ptr variable) noexcept {
    return QOR_C_GUARDED(static_cast<void*>(nullptr), [&]() -> void* {
        if (!QOR_CHECK(variable.obj)) return nullptr;
        return asVariable(variable)->take();
    });
}

QORCOMMON_API void thr_variable_delete(thr_Variable_ptr variable) noexcept {
    QOR_C_GUARDED_VOID([&] {
        if (!QOR_CHECK(variable.obj)) return;
        delete asVariable(variable);
    });
}

QORCOMMON_API thr_Thread_ptr thr_thread_start(thr_ThreadFunction function, void* argument,
                                              const char* name) noexcept {
    thr_Thread_ptr handle;
    handle.obj = QOR_C_GUARDED(static_cast<void*>(nullptr), [&]() -> void* {
        if (!QOR_CHECK(function)) return nullptr;
        Thread* thread = new (std::nothrow) Thread(name ? name : "");
        if (!thread) return nullptr;
        if (!thread->start([function, argument](const StopToken&) { function(argument); })) {
            delete thread;
            return nullptr;
        }
        return thread;
    });
    return handle;
}

QORCOMMON_API void thr_thread_requestStop(thr_Thread_ptr thread) noexcept {
    QOR_C_GUARDED_VOID([&] {
        if (QOR_CHECK(thread.obj)) asThread(thread)->requestStop();
    });
}

QORCOMMON_API short thr_thread_join(thr_Thread_ptr thread, long timeoutMs) noexcept {
    return QOR_C_GUARDED(static_cast<short>(0), [&]() -> short {
        if (!QOR_CHECK(thread.obj)) return 0;
        return asThread(thread)->join(timeoutMs) ? 1 : 0;
    });
}

QORCOMMON_API short thr_thread_isRunning(thr_Thread_ptr thread) noexcept {
    return QOR_C_GUARDED(static_cast<short>(0), [&]() -> short {
        if (!QOR_CHECK(thread.obj)) return 0;
        return asThread(thread)->isRunning() ? 1 : 0;
    });
}

QORCOMMON_API void thr_thread_destruct(thr_Thread_ptr thread) noexcept {
    QOR_C_GUARDED_VOID([&] {
        if (QOR_CHECK(thread.obj)) delete asThread(thread);
    });
}

QORCOMMON_API short thr_stopRequested(long waitMs) noexcept {
    return QOR_C_GUARDED(static_cast<short>(0), [&]() -> short {
        const StopToken token = Thread::currentStopToken();
        return (waitMs > 0 ? token.waitForStop(waitMs) : token.stopRequested()) ? 1 : 0;
    });
}

QORCOMMON_API long thr_currentThreadId(void) noexcept {
    return QOR_C_GUARDED(-1L, [] { return Thread::currentThreadId(); });
}

QORCOMMON_API void thr_sleep(long milliseconds) noexcept {
    QOR_C_GUARDED_VOID([&] { Thread::sleep(milliseconds); });
}

} // extern "C"
