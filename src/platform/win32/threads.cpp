// Threads and synchronisation on Win32.
#include "platform/platform.h"
#include "platform/win32/win32support.h"
#include "qorcommon/assertion.h"

#include <atomic>
#include <memory>
#include <new>

namespace Orvane {
namespace Core {
namespace Platform {

// ---- thread and process ids ----------------------------------------------------------------

long currentThreadId() {
    return static_cast<long>(GetCurrentThreadId());
}

long currentProcessId() {
    return static_cast<long>(GetCurrentProcessId());
}

bool isThreadAlive(long threadId) {
    if (threadId <= 0) return false;
    HANDLE thread = OpenThread(SYNCHRONIZE | THREAD_QUERY_LIMITED_INFORMATION, FALSE,
                               static_cast<DWORD>(threadId));
    if (!thread) return false;
    // The id is system-wide: a thread of another process may carry it.
    const bool alive = GetProcessIdOfThread(thread) == GetCurrentProcessId() &&
                       WaitForSingleObject(thread, 0) == WAIT_TIMEOUT;
    CloseHandle(thread);
    return alive;
}

void yieldThread() {
    SwitchToThread();
}

void sleepMs(long milliseconds) {
    if (milliseconds > 0) Sleep(static_cast<DWORD>(milliseconds));
}

// ---- thread exit hook --------------------------------------------------------------------------

namespace {

std::atomic<ThreadExitHook> g_exitHook{nullptr};
// A system slot, not a C++ thread_local: it stays readable while the loader detaches the thread.
DWORD g_exitSlot = TLS_OUT_OF_INDEXES;

} // namespace

void setThreadExitHook(ThreadExitHook hook) {
    g_exitHook = hook;
}

void armThreadExitHook() {
    if (g_exitSlot != TLS_OUT_OF_INDEXES && !TlsGetValue(g_exitSlot))
        TlsSetValue(g_exitSlot, &g_exitSlot);
}

} // namespace Platform
} // namespace Core
} // namespace Orvane

// The loader calls this on every thread that ends in the process, however the thread was made
// (CreateThread, std::thread, the thread pool). A TLS callback rather than DllMain: the same
// objects form the DLL and the static library the tests link, and only a TLS callback runs in
// an executable as well.
namespace {

void NTAPI onLoaderEvent(PVOID, DWORD reason, PVOID) {
    using namespace Orvane::Core::Platform;
    switch (reason) {
    case DLL_PROCESS_ATTACH:
        if (g_exitSlot == TLS_OUT_OF_INDEXES) g_exitSlot = TlsAlloc();
        break;
    case DLL_THREAD_DETACH:
        if (g_exitSlot != TLS_OUT_OF_INDEXES && TlsGetValue(g_exitSlot)) {
            TlsSetValue(g_exitSlot, nullptr);
            if (ThreadExitHook hook = g_exitHook.load()) hook(currentThreadId());
        }
        break;
    case DLL_PROCESS_DETACH:
        if (g_exitSlot != TLS_OUT_OF_INDEXES) TlsFree(g_exitSlot);
        g_exitSlot = TLS_OUT_OF_INDEXES;
        break;
    default:
        break;
    }
}

} // namespace

// The linker gathers the .CRT$XL* entries into the image's TLS callback table.
extern "C" {
__attribute__((section(".CRT$XLQ"), used)) const PIMAGE_TLS_CALLBACK qorcommonLoaderCallback =
    onLoaderEvent;
}

namespace Orvane {
namespace Core {
namespace Platform {

// ---- mutexes -----------------------------------------------------------------------------------

namespace {

template <typename T, typename Storage> T* storageAs(Storage& storage) {
    static_assert(sizeof(T) <= sizeof(storage), "platform object does not fit its storage");
    return std::launder(reinterpret_cast<T*>(storage));
}

} // namespace

Mutex::Mutex() {
    InitializeSRWLock(new (m_storage) SRWLOCK);
}
// SRW locks need no clean-up.
Mutex::~Mutex() {}
void Mutex::lock() {
    AcquireSRWLockExclusive(storageAs<SRWLOCK>(m_storage));
}
bool Mutex::tryLock() {
    return TryAcquireSRWLockExclusive(storageAs<SRWLOCK>(m_storage)) != 0;
}
void Mutex::unlock() {
    ReleaseSRWLockExclusive(storageAs<SRWLOCK>(m_storage));
}

RecursiveMutex::RecursiveMutex() {
    InitializeCriticalSection(new (m_storage) CRITICAL_SECTION);
}
RecursiveMutex::~RecursiveMutex() {
    DeleteCriticalSection(storageAs<CRITICAL_SECTION>(m_storage));
}
void RecursiveMutex::lock() {
    EnterCriticalSection(storageAs<CRITICAL_SECTION>(m_storage));
}
bool RecursiveMutex::tryLock() {
    return TryEnterCriticalSection(storageAs<CRITICAL_SECTION>(m_storage)) != 0;
}
void RecursiveMutex::unlock() {
    LeaveCriticalSection(storageAs<CRITICAL_SECTION>(m_storage));
}

// ---- semaphore ---------------------------------------------------------------------------------

namespace {

LONG clampCount(unsigned count) {
    constexpr unsigned limit = 0x7FFFFFFF;
    return static_cast<LONG>(count > limit ? limit : count);
}

HANDLE semaphoreHandle(unsigned char* storage) {
    return *storageAs<HANDLE>(storage);
}

} // namespace

Semaphore::Semaphore(unsigned initialCount, unsigned maximumCount) {
    const LONG maximum = clampCount(maximumCount == 0 ? 1 : maximumCount);
    const LONG initial = clampCount(initialCount) > maximum ? maximum : clampCount(initialCount);
    *new (m_storage) HANDLE = CreateSemaphoreW(nullptr, initial, maximum, nullptr);
}

Semaphore::~Semaphore() {
    if (HANDLE handle = semaphoreHandle(m_storage)) CloseHandle(handle);
}

bool Semaphore::tryAcquire() {
    return acquire(0);
}

bool Semaphore::acquire(long timeoutMs) {
    HANDLE handle = semaphoreHandle(m_storage);
    return handle && WaitForSingleObject(handle, Win32::toWaitTime(timeoutMs)) == WAIT_OBJECT_0;
}

bool Semaphore::release(unsigned count) {
    if (count == 0) return true;
    // ReleaseSemaphore refuses, changing nothing, when the count would pass the maximum.
    HANDLE handle = semaphoreHandle(m_storage);
    return handle && count <= 0x7FFFFFFF &&
           ReleaseSemaphore(handle, static_cast<LONG>(count), nullptr) != 0;
}

// ---- thread ------------------------------------------------------------------------------------

namespace {

void runBody(std::function<void()>& slot) {
    std::function<void()> body = std::move(slot);
    try {
        body();
    } catch (...) {
        QOR_ASSERT_FAILED("exception escaped a thread body");
    }
}

DWORD WINAPI threadEntry(LPVOID argument) {
    // The body is owned here: a terminated thread leaks it instead of leaving it half destroyed.
    std::unique_ptr<std::function<void()>> body(static_cast<std::function<void()>*>(argument));
    runBody(*body);
    return 0;
}

} // namespace

struct Thread::Impl {
    HANDLE handle = nullptr;
    DWORD id = 0;

    bool running() const { return handle && WaitForSingleObject(handle, 0) == WAIT_TIMEOUT; }
    bool onOwnThread() const { return handle && id == GetCurrentThreadId(); }
    void release() {
        if (handle) CloseHandle(handle);
        handle = nullptr;
        id = 0;
    }
};

Thread::Thread() : d(new Impl) {}

Thread::~Thread() {
    // A body that destroys its own Thread object cannot wait for itself; it runs on unowned.
    if (!d->onOwnThread()) join(-1);
    d->release();
    delete d;
}

bool Thread::start(std::function<void()> body) {
    if (!body || d->running()) return false;
    d->release();
    auto* argument = new std::function<void()>(std::move(body));
    // Created suspended so that handle and id are stored before the body can ask for them.
    d->handle = CreateThread(nullptr, 0, threadEntry, argument, CREATE_SUSPENDED, &d->id);
    if (!d->handle) {
        delete argument;
        d->id = 0;
        return false;
    }
    ResumeThread(d->handle);
    return true;
}

bool Thread::join(long timeoutMs) {
    if (!d->handle) return true;
    if (d->onOwnThread()) return false;
    if (WaitForSingleObject(d->handle, Win32::toWaitTime(timeoutMs)) != WAIT_OBJECT_0) return false;
    d->release();
    return true;
}

bool Thread::terminate() {
    if (!d->running()) {
        d->release();
        return true;
    }
    const bool ended = TerminateThread(d->handle, 1) != 0;
    // TerminateThread only starts the ending; the handle is signalled once the thread is gone.
    if (ended) WaitForSingleObject(d->handle, INFINITE);
    d->release();
    return ended;
}

bool Thread::isRunning() const {
    return d->running();
}

long Thread::threadId() const {
    return d->running() ? static_cast<long>(d->id) : -1;
}

} // namespace Platform
} // namespace Core
} // namespace Orvane

#include "platform/periodictimer.inl"
