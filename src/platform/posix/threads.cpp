// Threads and synchronisation on POSIX: kernel thread ids, pthreads and POSIX semaphores.
#include "platform/platform.h"
#include "qorcommon/assertion.h"

#include <atomic>
#include <cerrno>
#include <chrono>
#include <climits>
#include <cstdint>
#include <condition_variable>
#include <cstdio>
#include <cstring>
#include <ctime>
#include <memory>
#include <mutex>
#include <map>
#include <new>

#include <pthread.h>
#include <sched.h>
#include <semaphore.h>
#include <sys/syscall.h>
#include <unistd.h>

namespace Orvane {
namespace Core {
namespace Platform {

// ---- thread and process ids ----------------------------------------------------------------

long currentThreadId() {
    return static_cast<long>(gettid());
}

long currentProcessId() {
    return static_cast<long>(getpid());
}

// ---- thread records and the exit hook ----------------------------------------------------------

namespace {

// What the library knows of a thread that took a serial. The pthread key's value is the record,
// so the key's destructor, which runs as the thread ends and before it can be joined, marks it.
struct ThreadRecord {
    long id;
    std::uint64_t serial;
    std::atomic<bool> ended{false};
    bool armed = false; // touched by its own thread only
};

std::atomic<ThreadExitHook> g_exitHook{nullptr};
std::atomic<std::uint64_t> g_nextSerial{1};

void onThreadKeyDestroyed(void* value) {
    auto* record = static_cast<ThreadRecord*>(value);
    const long id = record->id;
    const bool armed = record->armed;
    record->ended.store(true, std::memory_order_release);
    if (!armed) return;
    if (ThreadExitHook hook = g_exitHook.load()) hook(id);
}

// Whether the kernel still knows the id as a thread of this process. Signal 0 only checks, it
// delivers nothing.
bool kernelKnowsThread(long threadId) {
    return syscall(SYS_tgkill, static_cast<long>(getpid()), threadId, 0) == 0 || errno == EPERM;
}

// The key is deleted when the library is unloaded so that threads ending later do not call into
// unmapped code.
struct ExitKey {
    pthread_key_t key{};
    bool valid = false;
    ExitKey() { valid = pthread_key_create(&key, onThreadKeyDestroyed) == 0; }
    ~ExitKey() {
        if (valid) pthread_key_delete(key);
    }
};

ExitKey& exitKey() {
    static ExitKey instance;
    return instance;
}

// The latest record of each thread id. A record goes when a new thread takes its id (the old
// thread is gone by then) or, when many have piled up, once its thread has ended and the kernel
// has let go of the id (the ending thread reads its record until then). A serial without a
// record therefore belongs to a thread that has ended.
struct Registry {
    std::mutex mutex;
    std::map<long, ThreadRecord*> records;
    std::size_t addedSincePrune = 0;

    void add(ThreadRecord* record) {
        std::lock_guard<std::mutex> lock(mutex);
        ThreadRecord*& slot = records[record->id];
        delete slot;
        slot = record;
        if (++addedSincePrune < 1024) return;
        addedSincePrune = 0;
        for (auto it = records.begin(); it != records.end();) {
            if (it->second->ended.load(std::memory_order_acquire) &&
                !kernelKnowsThread(it->first)) {
                delete it->second;
                it = records.erase(it);
            } else {
                ++it;
            }
        }
    }
};

Registry& registry() {
    // Never destroyed: threads may still end while statics are destroyed at exit.
    static Registry* instance = new Registry;
    return *instance;
}

thread_local ThreadRecord* t_record = nullptr;

ThreadRecord& ownRecord() {
    if (ThreadRecord* record = t_record) return *record;
    auto* record = new ThreadRecord{currentThreadId(), g_nextSerial.fetch_add(1), {}};
    registry().add(record);
    ExitKey& key = exitKey();
    if (key.valid) pthread_setspecific(key.key, record);
    t_record = record;
    return *record;
}

} // namespace

bool isThreadAlive(long threadId) {
    if (threadId <= 0) return false;
    {
        Registry& known = registry();
        std::lock_guard<std::mutex> lock(known.mutex);
        // The record is exact where the kernel is not: it may show a joined thread a little
        // longer. (A thread without a serial that took the id of an ended one whose record is
        // still kept counts as ended; threads that use per-thread values all take serials.)
        auto it = known.records.find(threadId);
        if (it != known.records.end()) return !it->second->ended.load(std::memory_order_acquire);
    }
    return kernelKnowsThread(threadId);
}

bool isThreadAlive(long threadId, std::uint64_t serial) {
    if (serial == 0) return isThreadAlive(threadId);
    if (threadId <= 0) return false;
    Registry& known = registry();
    std::lock_guard<std::mutex> lock(known.mutex);
    auto it = known.records.find(threadId);
    return it != known.records.end() && it->second->serial == serial &&
           !it->second->ended.load(std::memory_order_acquire);
}

std::uint64_t currentThreadSerial() {
    return ownRecord().serial;
}

void yieldThread() {
    sched_yield();
}

void sleepMs(long milliseconds) {
    if (milliseconds <= 0) return;
    timespec remaining{milliseconds / 1000, (milliseconds % 1000) * 1000000L};
    while (nanosleep(&remaining, &remaining) != 0 && errno == EINTR) {
    }
}

void setThreadExitHook(ThreadExitHook hook) {
    exitKey();
    g_exitHook = hook;
}

void armThreadExitHook() {
    ownRecord().armed = true;
}

void runPendingThreadExits() {
    // The hook runs on each ending thread itself: nothing is ever left for later here.
}

// ---- mutexes -----------------------------------------------------------------------------------

namespace {

template <typename T, typename Storage> T* storageAs(Storage& storage) {
    static_assert(sizeof(T) <= sizeof(storage), "platform object does not fit its storage");
    return std::launder(reinterpret_cast<T*>(storage));
}

void initMutex(pthread_mutex_t* mutex, int type) {
    pthread_mutexattr_t attributes;
    pthread_mutexattr_init(&attributes);
    pthread_mutexattr_settype(&attributes, type);
    pthread_mutex_init(mutex, &attributes);
    pthread_mutexattr_destroy(&attributes);
}

} // namespace

Mutex::Mutex() {
    auto* mutex = new (m_storage) pthread_mutex_t;
    initMutex(mutex, PTHREAD_MUTEX_NORMAL);
}
Mutex::~Mutex() {
    pthread_mutex_destroy(storageAs<pthread_mutex_t>(m_storage));
}
void Mutex::lock() {
    pthread_mutex_lock(storageAs<pthread_mutex_t>(m_storage));
}
bool Mutex::tryLock() {
    return pthread_mutex_trylock(storageAs<pthread_mutex_t>(m_storage)) == 0;
}
void Mutex::unlock() {
    pthread_mutex_unlock(storageAs<pthread_mutex_t>(m_storage));
}

RecursiveMutex::RecursiveMutex() {
    auto* mutex = new (m_storage) pthread_mutex_t;
    initMutex(mutex, PTHREAD_MUTEX_RECURSIVE);
}
RecursiveMutex::~RecursiveMutex() {
    pthread_mutex_destroy(storageAs<pthread_mutex_t>(m_storage));
}
void RecursiveMutex::lock() {
    pthread_mutex_lock(storageAs<pthread_mutex_t>(m_storage));
}
bool RecursiveMutex::tryLock() {
    return pthread_mutex_trylock(storageAs<pthread_mutex_t>(m_storage)) == 0;
}
void RecursiveMutex::unlock() {
    pthread_mutex_unlock(storageAs<pthread_mutex_t>(m_storage));
}

// ---- semaphore ---------------------------------------------------------------------------------

namespace {

// sem_t has no maximum; releases are serialised by a spin lock so that reading the count and
// posting form one step. Acquirers only lower the count, so they need not take the lock.
struct SemaphoreData {
    sem_t semaphore;
    pthread_spinlock_t releaseLock;
    unsigned maximum;
};

unsigned clampCount(unsigned count) {
    constexpr unsigned limit = SEM_VALUE_MAX;
    return count > limit ? limit : count;
}

bool waitWithDeadline(sem_t* semaphore, long timeoutMs) {
    timespec deadline{};
    clock_gettime(CLOCK_MONOTONIC, &deadline);
    deadline.tv_sec += timeoutMs / 1000;
    deadline.tv_nsec += (timeoutMs % 1000) * 1000000L;
    if (deadline.tv_nsec >= 1000000000L) {
        deadline.tv_sec += 1;
        deadline.tv_nsec -= 1000000000L;
    }
    for (;;) {
        if (sem_clockwait(semaphore, CLOCK_MONOTONIC, &deadline) == 0) return true;
        if (errno != EINTR) return false;
    }
}

} // namespace

Semaphore::Semaphore(unsigned initialCount, unsigned maximumCount) {
    auto* data = new (m_storage) SemaphoreData;
    data->maximum = clampCount(maximumCount == 0 ? 1 : maximumCount);
    sem_init(&data->semaphore, 0, initialCount > data->maximum ? data->maximum : initialCount);
    pthread_spin_init(&data->releaseLock, PTHREAD_PROCESS_PRIVATE);
}

Semaphore::~Semaphore() {
    auto* data = storageAs<SemaphoreData>(m_storage);
    pthread_spin_destroy(&data->releaseLock);
    sem_destroy(&data->semaphore);
    data->~SemaphoreData();
}

bool Semaphore::tryAcquire() {
    auto* data = storageAs<SemaphoreData>(m_storage);
    for (;;) {
        if (sem_trywait(&data->semaphore) == 0) return true;
        if (errno != EINTR) return false;
    }
}

bool Semaphore::acquire(long timeoutMs) {
    auto* data = storageAs<SemaphoreData>(m_storage);
    if (timeoutMs == 0) return tryAcquire();
    if (timeoutMs > 0) return waitWithDeadline(&data->semaphore, timeoutMs);
    while (sem_wait(&data->semaphore) != 0) {
        if (errno != EINTR) return false;
    }
    return true;
}

bool Semaphore::release(unsigned count) {
    auto* data = storageAs<SemaphoreData>(m_storage);
    if (count == 0) return true;
    pthread_spin_lock(&data->releaseLock);
    int value = 0;
    sem_getvalue(&data->semaphore, &value);
    // A negative value (some systems report waiters that way) counts as no free token.
    const unsigned available = value < 0 ? 0u : static_cast<unsigned>(value);
    const bool fits = count <= data->maximum && available <= data->maximum - count;
    if (fits) {
        for (unsigned i = 0; i < count; ++i)
            sem_post(&data->semaphore);
    }
    pthread_spin_unlock(&data->releaseLock);
    return fits;
}

// ---- thread ------------------------------------------------------------------------------------

namespace {

// Shared by the Thread object and its running thread: a detached thread may outlive the object.
struct ThreadState {
    std::mutex mutex;
    std::condition_variable changed;
    std::function<void()> body;
    long threadId = -1;
    bool started = false;
    bool finished = false;
};

void runBody(ThreadState& state) {
    std::function<void()> body = std::move(state.body);
    try {
        body();
    } catch (...) {
        QOR_ASSERT_FAILED("exception escaped a thread body");
    }
}

void* threadEntry(void* argument) {
    std::unique_ptr<std::shared_ptr<ThreadState>> holder(
        static_cast<std::shared_ptr<ThreadState>*>(argument));
    ThreadState& state = **holder;
    // With a record, whether the thread runs is known exactly once it has been joined.
    currentThreadSerial();
    {
        std::lock_guard<std::mutex> lock(state.mutex);
        state.threadId = currentThreadId();
        state.started = true;
    }
    state.changed.notify_all();
    runBody(state);
    {
        std::lock_guard<std::mutex> lock(state.mutex);
        state.finished = true;
    }
    state.changed.notify_all();
    return nullptr;
}

} // namespace

struct Thread::Impl {
    std::shared_ptr<ThreadState> state;
    pthread_t handle{};
    bool joinable = false;

    bool finished() const {
        std::lock_guard<std::mutex> lock(state->mutex);
        return state->finished;
    }
    bool onOwnThread() const {
        if (!state) return false;
        std::lock_guard<std::mutex> lock(state->mutex);
        return !state->finished && state->threadId == currentThreadId();
    }
    void reap() {
        if (joinable) pthread_join(handle, nullptr);
        joinable = false;
    }
};

Thread::Thread() : d(new Impl) {}

Thread::~Thread() {
    if (d->joinable) {
        // A body that destroys its own Thread object cannot wait for itself.
        if (d->onOwnThread())
            pthread_detach(d->handle);
        else
            join(-1);
    }
    delete d;
}

bool Thread::start(std::function<void()> body) {
    if (!body || isRunning()) return false;
    d->reap();
    // Set before the thread exists: its body may already ask this object about itself.
    d->state = std::make_shared<ThreadState>();
    d->state->body = std::move(body);
    auto* argument = new std::shared_ptr<ThreadState>(d->state);
    if (pthread_create(&d->handle, nullptr, threadEntry, argument) != 0) {
        delete argument;
        d->state.reset();
        return false;
    }
    d->joinable = true;
    // threadId() is valid as soon as start() returns.
    std::unique_lock<std::mutex> lock(d->state->mutex);
    d->state->changed.wait(lock, [&] { return d->state->started; });
    return true;
}

bool Thread::join(long timeoutMs) {
    if (!d->state) return true;
    if (d->onOwnThread()) return false;
    {
        std::unique_lock<std::mutex> lock(d->state->mutex);
        auto done = [&] { return d->state->finished; };
        if (timeoutMs < 0)
            d->state->changed.wait(lock, done);
        else if (!d->state->changed.wait_for(lock, std::chrono::milliseconds(timeoutMs), done))
            return false;
    }
    d->reap();
    return true;
}

bool Thread::terminate() {
    if (!d->state || d->finished()) {
        d->reap();
        return true;
    }
    if (d->joinable) pthread_detach(d->handle);
    d->joinable = false;
    return false;
}

bool Thread::isRunning() const {
    return d->state && !d->finished();
}

long Thread::threadId() const {
    if (!d->state) return -1;
    std::lock_guard<std::mutex> lock(d->state->mutex);
    return d->state->finished ? -1 : d->state->threadId;
}

} // namespace Platform
} // namespace Core
} // namespace Orvane

#include "platform/periodictimer.inl"
