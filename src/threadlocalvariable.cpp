// Per-thread values kept by the library itself: the object store keyed by thread id and serial,
// the collector of values left by ended threads, and the thread-exit hook that frees a thread's
// values once it has ended.
#include "qorcommon/threadmanagedobject.h"

#include "qorcommon/timerthread.h"

#include "platform/platform.h"
#include "threadobjectdepot.h"

#include <cstdint>
#include <map>
#include <mutex>
#include <new>
#include <set>
#include <utility>

namespace Orvane {
namespace Core {

// ---- ThreadManagedObject ------------------------------------------------------------------------

ThreadManagedObject::ThreadManagedObject() = default;
ThreadManagedObject::~ThreadManagedObject() = default;

void ThreadManagedObject::cleanUp() {
    cleanUp(-1);
}

// ---- ThreadManagedObjectGC ----------------------------------------------------------------------

class ThreadManagedObjectGC::Destroyer : public TimerThread {
public:
    ~Destroyer() override { stop(); }

    // The mutex is recursive: a cleanUp may free values whose destructors make or drop
    // thread-local variables, which registers or unregisters them on this same thread.
    mutable Platform::RecursiveMutex mutex;
    std::set<ThreadManagedObject*> objects;
    std::atomic<long> periodSeconds{0};
    std::atomic<long> periodMs{0};

    bool restart(long seconds) {
        control.lock();
        stop();
        periodSeconds.store(seconds);
        periodMs.store(seconds > 0 ? seconds * 1000 : 0);
        const bool started = seconds <= 0 || start(seconds * 1000);
        control.unlock();
        return started;
    }

    void collect(long threadId) {
        mutex.lock();
        // Works on a snapshot, asking the live set before each call: an object unregistered by
        // an earlier cleanUp on this thread has gone and must not be called.
        const std::vector<ThreadManagedObject*> snapshot(objects.begin(), objects.end());
        for (ThreadManagedObject* object : snapshot) {
            if (objects.count(object)) object->cleanUp(threadId);
        }
        mutex.unlock();
    }

protected:
    void onTimer() override {
        Platform::runPendingThreadExits();
        collect(-1);
    }

private:
    // A collection running now gets twice the period to finish before its thread is ended.
    void stop() { stopOrTerminate(2 * TimerThread::periodMs()); }

    Platform::Mutex control; // serialises restarts
};

ThreadManagedObjectGC::ThreadManagedObjectGC() : ThreadManagedObjectGC(DefaultPeriodSeconds) {}

ThreadManagedObjectGC::ThreadManagedObjectGC(long seconds) : d(new (std::nothrow) Destroyer) {
    if (d) d->restart(seconds);
}

ThreadManagedObjectGC::~ThreadManagedObjectGC() {
    delete d;
}

void ThreadManagedObjectGC::registerObject(ThreadManagedObject* object) {
    if (!d || !object) return;
    d->mutex.lock();
    d->objects.insert(object);
    d->mutex.unlock();
}

void ThreadManagedObjectGC::unregisterObject(ThreadManagedObject* object) {
    if (!d || !object) return;
    d->mutex.lock();
    d->objects.erase(object);
    d->mutex.unlock();
}

bool ThreadManagedObjectGC::isRegistered(ThreadManagedObject* object) const {
    if (!d) return false;
    d->mutex.lock();
    const bool found = d->objects.count(object) != 0;
    d->mutex.unlock();
    return found;
}

std::size_t ThreadManagedObjectGC::objectCount() const {
    if (!d) return 0;
    d->mutex.lock();
    const std::size_t count = d->objects.size();
    d->mutex.unlock();
    return count;
}

void ThreadManagedObjectGC::cleanUp(long threadId) {
    if (d) d->collect(threadId);
}

void ThreadManagedObjectGC::cleanUpCurrentThread() {
    cleanUp(Platform::currentThreadId());
}

bool ThreadManagedObjectGC::setPeriod(long seconds) {
    return d && d->restart(seconds);
}

long ThreadManagedObjectGC::periodSeconds() const {
    return d ? d->periodSeconds.load() : 0;
}

TimerThread* ThreadManagedObjectGC::internal() const {
    return d;
}

namespace QOR {

std::atomic<ThreadManagedObjectGC*> threadLocalVariableGC{nullptr};

ThreadManagedObjectGC* ensureThreadLocalVariableGC() {
    ThreadManagedObjectGC* gc = threadLocalVariableGC.load(std::memory_order_acquire);
    if (gc) return gc;
    // A lock rather than a compare-and-swap: a losing thread would start and stop a timer thread.
    static Platform::Mutex* creation = new Platform::Mutex;
    creation->lock();
    gc = threadLocalVariableGC.load(std::memory_order_acquire);
    if (!gc) {
        gc = new (std::nothrow) ThreadManagedObjectGC();
        threadLocalVariableGC.store(gc, std::memory_order_release);
    }
    creation->unlock();
    return gc;
}

void shutdownThreadLocalVariableGC() {
    Platform::runPendingThreadExits();
    ThreadManagedObjectGC* gc = threadLocalVariableGC.load(std::memory_order_acquire);
    if (!gc) return;
    gc->cleanUp(-1);
    gc->setPeriod(0);
}

} // namespace QOR

// ---- ThreadObjectDepot --------------------------------------------------------------------------

namespace Internal {

namespace {

// Bumped whenever any store erases a slot (or is destroyed), so that a cached slot address is
// trusted only while nothing has been erased since it was cached.
std::atomic<unsigned> g_slotEpoch{1};

void slotsErased() {
    g_slotEpoch.fetch_add(1, std::memory_order_acq_rel);
}

// Lookups of the calling thread's slot sit on hot paths (every logging scope, every C object
// made on a frame), and the slow path costs a system call for the thread id, a lock and two map
// lookups. A few slot addresses per thread are therefore cached in the compiler's thread-local
// storage. This is only a cache: the store itself stays keyed by thread id, and an entry is
// used only while no slot anywhere has been erased since it was filled.
struct SlotCacheEntry {
    const ThreadObjectDepot* depot;
    int id;
    unsigned epoch;
    void** slot;
};
constexpr unsigned kSlotCacheSize = 8;
thread_local SlotCacheEntry t_slotCache[kSlotCacheSize];

// How deep the calling thread is in forEach visitors, which run under the store's lock while it
// walks a variable's slots: no slot may be freed under their feet.
thread_local int t_visiting = 0;

// Runs the exit hook for threads whose end was only recorded so far (Win32), on this thread and
// outside the loader's lock, unless a visitor is running here.
void reportEndedThreads() {
    if (t_visiting == 0) Platform::runPendingThreadExits();
}

SlotCacheEntry& cacheEntry(int id) {
    return t_slotCache[static_cast<unsigned>(id) % kSlotCacheSize];
}

struct PendingDestruction {
    void* object;
    ThreadObjectDepot::Destroyer destroyer;
};

// Runs destroyers after the store's lock is released.
void destroyAll(const std::vector<PendingDestruction>& pending) {
    for (const PendingDestruction& item : pending) {
        if (item.object && item.destroyer) item.destroyer(item.object);
    }
}

} // namespace

// The calling thread as the store knows it.
struct Caller {
    long id;
    std::uint64_t serial;
    Caller() : id(Platform::currentThreadId()), serial(Platform::currentThreadSerial()) {}
};

struct ThreadObjectDepot::Private {
    struct Slot {
        std::uint64_t serial;
        void* object;
    };
    struct Variable {
        Creator creator;
        Destroyer destroyer;
        // At most one slot per thread id: two threads that carry one id never run at once, so a
        // slot with another serial than the caller's belongs to an ended thread. Map nodes never
        // move, so a slot's address stays valid until its entry is erased.
        std::map<long, Slot> objects;
    };

    // Recursive: forEach calls its visitor under the lock, and the visitor may read the store.
    mutable Platform::RecursiveMutex mutex;
    std::map<int, Variable> variables;
    int nextId = 1;

    Variable& variable(int id) {
        auto it = variables.find(id);
        if (it == variables.end()) {
            it = variables.emplace(id, Variable()).first;
            if (id >= nextId) nextId = id + 1;
        }
        return it->second;
    }

    Variable* findVariable(int id) {
        auto it = variables.find(id);
        return it == variables.end() ? nullptr : &it->second;
    }

    static const Destroyer& choose(const Destroyer& given, const Variable& variable) {
        return given ? given : variable.destroyer;
    }

    // Moves every object of `variable` into `pending`; the caller holds the lock.
    static void takeAll(Variable& variable, const Destroyer& given,
                        std::vector<PendingDestruction>& pending) {
        for (auto& entry : variable.objects)
            pending.push_back({entry.second.object, choose(given, variable)});
        if (!variable.objects.empty()) slotsErased();
        variable.objects.clear();
    }

    // Removes thread `threadId`'s object of `variable` into `pending`; the caller holds the lock.
    static bool takeOne(Variable& variable, long threadId, const Destroyer& given,
                        std::vector<PendingDestruction>& pending) {
        auto it = variable.objects.find(threadId);
        if (it == variable.objects.end()) return false;
        pending.push_back({it->second.object, choose(given, variable)});
        variable.objects.erase(it);
        slotsErased();
        return true;
    }

    // The caller's slot of `variable`, null when it has none. A slot left under the caller's id
    // by an ended thread goes to `pending` with the variable's destroyer: it is never inherited.
    static Slot* own(Variable& variable, const Caller& caller,
                     std::vector<PendingDestruction>& pending) {
        auto it = variable.objects.find(caller.id);
        if (it == variable.objects.end()) return nullptr;
        if (it->second.serial == caller.serial) return &it->second;
        pending.push_back({it->second.object, variable.destroyer});
        variable.objects.erase(it);
        slotsErased();
        return nullptr;
    }

    void remember(int id, void** slot) const {
        cacheEntry(id) = {owner, id, g_slotEpoch.load(std::memory_order_acquire), slot};
    }

    const ThreadObjectDepot* owner = nullptr;
};

ThreadObjectDepot::ThreadObjectDepot() : d(new Private) {
    d->owner = this;
}

ThreadObjectDepot::~ThreadObjectDepot() {
    destroyAllObjects();
    slotsErased();
    delete d;
}

int ThreadObjectDepot::registerObject(Creator creator, Destroyer destroyer) {
    reportEndedThreads();
    d->mutex.lock();
    const int id = d->nextId++;
    Private::Variable& variable = d->variables[id];
    variable.creator = std::move(creator);
    variable.destroyer = std::move(destroyer);
    d->mutex.unlock();
    return id;
}

bool ThreadObjectDepot::registerObject(int id, const void* object) {
    reportEndedThreads();
    const Caller caller;
    std::vector<PendingDestruction> pending;
    d->mutex.lock();
    Private::Variable& variable = d->variable(id);
    const bool inserted = !Private::own(variable, caller, pending);
    if (inserted)
        variable.objects.emplace(caller.id,
                                 Private::Slot{caller.serial, const_cast<void*>(object)});
    d->mutex.unlock();
    destroyAll(pending);
    if (inserted) Platform::armThreadExitHook();
    return inserted;
}

void ThreadObjectDepot::unregisterObject(int id, const Destroyer& destroyer) {
    reportEndedThreads();
    std::vector<PendingDestruction> pending;
    d->mutex.lock();
    if (Private::Variable* variable = d->findVariable(id)) {
        Private::takeAll(*variable, destroyer, pending);
        d->variables.erase(id);
    }
    d->mutex.unlock();
    destroyAll(pending);
}

void*& ThreadObjectDepot::getObject(int id, int* created, const Creator& creator) {
    reportEndedThreads();
    const SlotCacheEntry& cached = cacheEntry(id);
    if (cached.depot == this && cached.id == id &&
        cached.epoch == g_slotEpoch.load(std::memory_order_acquire)) {
        if (created) *created = 0;
        return *cached.slot;
    }

    const Caller caller;
    std::vector<PendingDestruction> pending;
    Creator make;
    {
        // Guarded locks: the map operations may run out of memory.
        std::unique_lock<Platform::RecursiveMutex> lock(d->mutex);
        Private::Variable& variable = d->variable(id);
        if (Private::Slot* slot = Private::own(variable, caller, pending)) {
            d->remember(id, &slot->object);
            lock.unlock();
            destroyAll(pending);
            if (created) *created = 0;
            return slot->object;
        }
        make = creator ? creator : variable.creator;
    }
    destroyAll(pending);
    pending.clear();

    // The creator runs unlocked: making a value may itself use thread-local variables.
    void* object = make ? make() : nullptr;
    Private::Slot* slot = nullptr;
    bool made = false;
    Destroyer drop;
    try {
        Platform::armThreadExitHook();
        std::lock_guard<Platform::RecursiveMutex> lock(d->mutex);
        Private::Variable& variable = d->variable(id);
        drop = variable.destroyer;
        slot = Private::own(variable, caller, pending);
        // A creator that used this same variable on this thread made the slot already; that slot
        // wins and the second object goes.
        if (!slot) {
            slot = &variable.objects.emplace(caller.id, Private::Slot{caller.serial, object})
                        .first->second;
            made = true;
        }
        d->remember(id, &slot->object);
    } catch (...) {
        // No slot took the new value: it goes rather than leaks.
        destroyAll(pending);
        if (!made && drop && object) drop(object);
        throw;
    }
    if (made) drop = Destroyer();

    destroyAll(pending);
    if (drop && object) drop(object);
    if (created) *created = made ? 1 : 0;
    return slot->object;
}

bool ThreadObjectDepot::hasObject(int id) const {
    reportEndedThreads();
    const Caller caller;
    d->mutex.lock();
    Private::Variable* variable = d->findVariable(id);
    bool found = false;
    if (variable) {
        auto it = variable->objects.find(caller.id);
        found = it != variable->objects.end() && it->second.serial == caller.serial;
    }
    d->mutex.unlock();
    return found;
}

void* ThreadObjectDepot::setObject(int id, const void* object, const Creator&) {
    reportEndedThreads();
    const Caller caller;
    std::vector<PendingDestruction> pending;
    d->mutex.lock();
    Private::Variable& variable = d->variable(id);
    Private::Slot* slot = Private::own(variable, caller, pending);
    if (!slot)
        slot = &variable.objects.emplace(caller.id, Private::Slot{caller.serial, nullptr})
                    .first->second;
    void* previous = slot->object;
    slot->object = const_cast<void*>(object);
    d->remember(id, &slot->object);
    d->mutex.unlock();
    destroyAll(pending);
    Platform::armThreadExitHook();
    return previous;
}

bool ThreadObjectDepot::destroyObject(int id, const Destroyer& destroyer) {
    reportEndedThreads();
    const Caller caller;
    std::vector<PendingDestruction> pending;
    d->mutex.lock();
    Private::Variable* variable = d->findVariable(id);
    // A slot an ended thread left under the caller's id goes too, but is not the caller's.
    const bool found = variable && Private::own(*variable, caller, pending) &&
                       Private::takeOne(*variable, caller.id, destroyer, pending);
    d->mutex.unlock();
    destroyAll(pending);
    return found;
}

bool ThreadObjectDepot::destroyObject(long threadId, int id, const Destroyer& destroyer) {
    reportEndedThreads();
    std::vector<PendingDestruction> pending;
    d->mutex.lock();
    Private::Variable* variable = d->findVariable(id);
    const bool found = variable && Private::takeOne(*variable, threadId, destroyer, pending);
    d->mutex.unlock();
    destroyAll(pending);
    return found;
}

std::size_t ThreadObjectDepot::destroyAllObjects(int id, const Destroyer& destroyer) {
    reportEndedThreads();
    std::vector<PendingDestruction> pending;
    d->mutex.lock();
    if (Private::Variable* variable = d->findVariable(id))
        Private::takeAll(*variable, destroyer, pending);
    d->mutex.unlock();
    destroyAll(pending);
    return pending.size();
}

std::size_t ThreadObjectDepot::destroyAllObjects(const Destroyer& destroyer) {
    std::vector<PendingDestruction> pending;
    d->mutex.lock();
    for (auto& entry : d->variables)
        Private::takeAll(entry.second, destroyer, pending);
    d->mutex.unlock();
    destroyAll(pending);
    return pending.size();
}

std::size_t ThreadObjectDepot::destroyThreadObjects(long threadId) {
    std::vector<PendingDestruction> pending;
    d->mutex.lock();
    for (auto& entry : d->variables)
        Private::takeOne(entry.second, threadId, Destroyer(), pending);
    d->mutex.unlock();
    destroyAll(pending);
    return pending.size();
}

void ThreadObjectDepot::forEach(int id, const Visitor& visitor) const {
    if (!visitor) return;
    reportEndedThreads();
    d->mutex.lock();
    ++t_visiting;
    if (Private::Variable* variable = d->findVariable(id)) {
        for (auto& entry : variable->objects)
            visitor(entry.first, entry.second.object);
    }
    --t_visiting;
    d->mutex.unlock();
}

std::size_t ThreadObjectDepot::cleanUp(int id, const Destroyer& destroyer,
                                       std::vector<long>& threadIds) {
    reportEndedThreads();
    struct Owner {
        long id;
        std::uint64_t serial;
    };
    std::vector<Owner> candidates;
    d->mutex.lock();
    if (Private::Variable* variable = d->findVariable(id)) {
        for (auto& entry : variable->objects)
            candidates.push_back({entry.first, entry.second.serial});
    }
    d->mutex.unlock();

    // Asking whether a thread runs takes the platform's own lock, so it happens without this one.
    const std::uint64_t self = Platform::currentThreadSerial();
    std::vector<Owner> ended;
    for (const Owner& candidate : candidates) {
        if (candidate.serial != self && !Platform::isThreadAlive(candidate.id, candidate.serial))
            ended.push_back(candidate);
    }
    if (ended.empty()) return 0;

    std::vector<PendingDestruction> pending;
    d->mutex.lock();
    if (Private::Variable* variable = d->findVariable(id)) {
        for (const Owner& candidate : ended) {
            // Only the slot that was judged: the id may have a new owner since.
            auto it = variable->objects.find(candidate.id);
            if (it == variable->objects.end() || it->second.serial != candidate.serial) continue;
            if (Private::takeOne(*variable, candidate.id, destroyer, pending))
                threadIds.push_back(candidate.id);
        }
    }
    d->mutex.unlock();
    destroyAll(pending);
    return pending.size();
}

std::size_t ThreadObjectDepot::objectCount(int id) const {
    reportEndedThreads();
    d->mutex.lock();
    Private::Variable* variable = d->findVariable(id);
    const std::size_t count = variable ? variable->objects.size() : 0;
    d->mutex.unlock();
    return count;
}

namespace {

// Frees a thread's values as it ends: first through the collector, which also reaches the
// thread-managed objects that keep their data elsewhere, then whatever the store still holds.
void onThreadExit(long threadId) {
    if (ThreadManagedObjectGC* gc = QOR::threadLocalVariableGC.load(std::memory_order_acquire))
        gc->cleanUp(threadId);
    threadObjectDepot().destroyThreadObjects(threadId);
}

} // namespace

ThreadObjectDepot& threadObjectDepot() {
    // Never destroyed: threads may end, and statics holding thread-local variables may be
    // destroyed, in any order at process exit.
    static ThreadObjectDepot* depot = [] {
        Platform::setThreadExitHook(&onThreadExit);
        return new ThreadObjectDepot;
    }();
    return *depot;
}

} // namespace Internal

// ---- ThreadLocalVariableBase --------------------------------------------------------------------

ThreadLocalVariableBase::ThreadLocalVariableBase(std::function<void*()> creator,
                                                 void (*destroyer)(void*))
    : m_id(Internal::threadObjectDepot().registerObject(std::move(creator), destroyer)) {
    if (ThreadManagedObjectGC* gc = QOR::ensureThreadLocalVariableGC()) gc->registerObject(this);
}

ThreadLocalVariableBase::~ThreadLocalVariableBase() {
    if (ThreadManagedObjectGC* gc = QOR::threadLocalVariableGC.load()) gc->unregisterObject(this);
    Internal::threadObjectDepot().unregisterObject(m_id);
}

void* ThreadLocalVariableBase::value() {
    return Internal::threadObjectDepot().getObject(m_id);
}

bool ThreadLocalVariableBase::hasValue() const {
    return Internal::threadObjectDepot().hasObject(m_id);
}

void* ThreadLocalVariableBase::exchange(void* value) {
    return Internal::threadObjectDepot().setObject(m_id, value);
}

void ThreadLocalVariableBase::destroy() {
    Internal::threadObjectDepot().destroyObject(m_id);
}

void ThreadLocalVariableBase::destroyAll() {
    Internal::threadObjectDepot().destroyAllObjects(m_id);
}

void ThreadLocalVariableBase::visit(const std::function<void(long, void*)>& visitor) const {
    Internal::threadObjectDepot().forEach(m_id, visitor);
}

std::size_t ThreadLocalVariableBase::size() const {
    return Internal::threadObjectDepot().objectCount(m_id);
}

void ThreadLocalVariableBase::cleanUp(long threadId) {
    if (threadId == -1) {
        std::vector<long> ended;
        Internal::threadObjectDepot().cleanUp(m_id, {}, ended);
    } else {
        Internal::threadObjectDepot().destroyObject(threadId, m_id);
    }
}

} // namespace Core
} // namespace Orvane
