// Threads and synchronisation on Win32.
#include "platform/platform.h"
#include "platform/win32/win32support.h"
#include "qorcommon/assertion.h"

#include <atomic>
#include <cstdint>
#include <map>
#include <memory>
#include <new>
#include <vector>

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

// ---- thread records and the exit hook ----------------------------------------------------------

namespace {

// What the library knows of a thread that took a serial. The record holds a handle to its thread,
// which also keeps the system from giving the thread's id to a new thread until the record goes.
struct ThreadRecord {
    long id = 0;
    std::uint64_t serial = 0;
    HANDLE handle = nullptr;
    bool armed = false;                // touched by its own thread only
    std::atomic<bool> ended{false};    // set by the loader's detach notification
    ThreadRecord* nextEnded = nullptr; // link in the list of ended threads
};

std::atomic<ThreadExitHook> g_exitHook{nullptr};
std::atomic<std::uint64_t> g_nextSerial{1};
// A system slot, not a C++ thread_local: it stays readable while the loader detaches the thread.
DWORD g_exitSlot = TLS_OUT_OF_INDEXES;
// Threads whose end the loader reported and that wait for runPendingThreadExits; pushed without
// a lock, since the loader's lock is held while they are pushed.
std::atomic<ThreadRecord*> g_ended{nullptr};

// The latest record of each thread id, and the records of reported threads that had not quite
// left when reported. Never taken under the loader lock.
SRWLOCK g_registryLock = SRWLOCK_INIT;
std::map<long, ThreadRecord*>* g_records = nullptr;
std::vector<ThreadRecord*>* g_leaving = nullptr;

struct RegistryLock {
    RegistryLock() {
        AcquireSRWLockExclusive(&g_registryLock);
        if (!g_records) {
            // Never freed: threads may still end while statics are destroyed at exit.
            g_records = new std::map<long, ThreadRecord*>;
            g_leaving = new std::vector<ThreadRecord*>;
        }
    }
    ~RegistryLock() { ReleaseSRWLockExclusive(&g_registryLock); }
    RegistryLock(const RegistryLock&) = delete;
    RegistryLock& operator=(const RegistryLock&) = delete;
};

void freeRecord(ThreadRecord* record) {
    if (record->handle) CloseHandle(record->handle);
    delete record;
}

// Frees the records, reported before, of threads that have now wholly left. The caller holds the
// registry lock.
void freeLeftRecords() {
    std::vector<ThreadRecord*>& leaving = *g_leaving;
    for (std::size_t i = 0; i < leaving.size();) {
        ThreadRecord* record = leaving[i];
        if (record->handle && WaitForSingleObject(record->handle, 0) == WAIT_TIMEOUT) {
            ++i;
            continue;
        }
        auto it = g_records->find(record->id);
        if (it != g_records->end() && it->second == record) g_records->erase(it);
        freeRecord(record);
        leaving[i] = leaving.back();
        leaving.pop_back();
    }
}

ThreadRecord* ownRecord() {
    if (g_exitSlot == TLS_OUT_OF_INDEXES) return nullptr;
    if (auto* record = static_cast<ThreadRecord*>(TlsGetValue(g_exitSlot))) return record;
    auto* record = new ThreadRecord;
    record->id = static_cast<long>(GetCurrentThreadId());
    record->serial = g_nextSerial.fetch_add(1);
    record->handle = OpenThread(SYNCHRONIZE, FALSE, GetCurrentThreadId());
    {
        RegistryLock lock;
        ThreadRecord*& slot = (*g_records)[record->id];
        // A record left under this id belongs to a thread that is gone. One the loader reported
        // is freed by runPendingThreadExits; one it never reported (a terminated thread) here.
        if (slot && !slot->ended.load(std::memory_order_acquire)) freeRecord(slot);
        slot = record;
        freeLeftRecords();
    }
    TlsSetValue(g_exitSlot, record);
    return record;
}

// Runs under the loader lock: only marks the record and pushes it, taking no lock.
void recordThreadEnd() {
    if (g_exitSlot == TLS_OUT_OF_INDEXES) return;
    auto* record = static_cast<ThreadRecord*>(TlsGetValue(g_exitSlot));
    if (!record || record->ended.exchange(true, std::memory_order_acq_rel)) return;
    ThreadRecord* head = g_ended.load(std::memory_order_relaxed);
    do {
        record->nextEnded = head;
    } while (!g_ended.compare_exchange_weak(head, record, std::memory_order_release,
                                            std::memory_order_relaxed));
}

} // namespace

bool isThreadAlive(long threadId, std::uint64_t serial) {
    if (serial == 0) return isThreadAlive(threadId);
    if (threadId <= 0) return false;
    RegistryLock lock;
    auto it = g_records->find(threadId);
    if (it == g_records->end() || it->second->serial != serial ||
        it->second->ended.load(std::memory_order_acquire))
        return false;
    // A terminated thread is never reported by the loader; its handle tells.
    HANDLE handle = it->second->handle;
    return !handle || WaitForSingleObject(handle, 0) == WAIT_TIMEOUT;
}

std::uint64_t currentThreadSerial() {
    ThreadRecord* record = ownRecord();
    return record ? record->serial : 0;
}

void setThreadExitHook(ThreadExitHook hook) {
    g_exitHook = hook;
}

void armThreadExitHook() {
    if (ThreadRecord* record = ownRecord()) record->armed = true;
}

void runPendingThreadExits() {
    if (!g_ended.load(std::memory_order_acquire)) return;
    ThreadRecord* record = g_ended.exchange(nullptr, std::memory_order_acquire);
    while (record) {
        ThreadRecord* next = record->nextEnded;
        if (record->armed) {
            if (ThreadExitHook hook = g_exitHook.load()) hook(record->id);
        }
        RegistryLock lock;
        g_leaving->push_back(record);
        freeLeftRecords();
        record = next;
    }
}

} // namespace Platform
} // namespace Core
} // namespace Orvane

// The loader calls this on every thread that ends in the process, however the thread was made
// (CreateThread, std::thread, the thread pool). A TLS callback rather than DllMain: the same
// objects form the DLL and the static library the tests link, and only a TLS callback runs in
// an executable as well. The loader holds its lock meanwhile, so a thread's end is only recorded
// here and reported by runPendingThreadExits.
namespace {

void NTAPI onLoaderEvent(PVOID, DWORD reason, PVOID) {
    using namespace Orvane::Core::Platform;
    switch (reason) {
    case DLL_PROCESS_ATTACH:
        if (g_exitSlot == TLS_OUT_OF_INDEXES) g_exitSlot = TlsAlloc();
        break;
    case DLL_THREAD_DETACH:
        recordThreadEnd();
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
    // The thread's detach notification ran before its handle was signalled; reporting its end now
    // means a joined thread's per-thread values are gone when join returns, as on POSIX.
    runPendingThreadExits();
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
