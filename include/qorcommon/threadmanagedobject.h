// Objects that keep data per thread, the collector that frees the data of ended threads, the
// per-thread object store, and thread-local variables over that store.
//
// The library keeps per-thread values itself, keyed by the system's thread id, rather than in the
// system's thread-local storage: a value is made on a thread's first use, and freed when that
// thread ends (through the platform's thread-exit hook) or, at the latest, by the next periodic
// collection, which frees the values of every thread that no longer runs.
#pragma once

#include "qorcommon/export.h"

#include <atomic>
#include <cstddef>
#include <functional>
#include <vector>

namespace Orvane {
namespace Core {

class TimerThread;

/// An object that holds data per thread and is told when that data may go.
/// Thread safety: thread-safe (cleanUp runs on the collector's thread).
class QORCOMMON_API ThreadManagedObject {
public:
    ThreadManagedObject();
    ThreadManagedObject(const ThreadManagedObject&) = delete;
    ThreadManagedObject& operator=(const ThreadManagedObject&) = delete;
    virtual ~ThreadManagedObject();

    /// Frees the data of thread `threadId`; -1 frees the data of every thread that has ended.
    virtual void cleanUp(long threadId) = 0;
    /// cleanUp(-1).
    virtual void cleanUp();
};

/// Calls cleanUp() periodically, on a timer thread of its own, on every registered object.
/// Thread safety: thread-safe.
class QORCOMMON_API ThreadManagedObjectGC {
public:
    // An enumerator rather than a static member: a DLL would have to export the member.
    enum : long { DefaultPeriodSeconds = 60 };

    /// A collector with a period of DefaultPeriodSeconds.
    ThreadManagedObjectGC();
    /// A collector with the given period; a period that is not positive runs no timer, and the
    /// collection then happens only through cleanUp().
    explicit ThreadManagedObjectGC(long seconds);
    /// Stops the timer, allowing a running collection twice the period before the timer thread
    /// is terminated.
    ~ThreadManagedObjectGC();
    ThreadManagedObjectGC(const ThreadManagedObjectGC&) = delete;
    ThreadManagedObjectGC& operator=(const ThreadManagedObjectGC&) = delete;

    void registerObject(ThreadManagedObject* object);
    /// Forgets the object; once this returns, no collection touches it any more.
    void unregisterObject(ThreadManagedObject* object);
    bool isRegistered(ThreadManagedObject* object) const;
    std::size_t objectCount() const;

    /// Calls cleanUp(threadId) on every registered object, in pointer order.
    void cleanUp(long threadId);
    /// cleanUp(id of the calling thread): what a thread runs as it ends.
    void cleanUpCurrentThread();

    /// Restarts the timer with a new period (not positive: stops it); false when the timer
    /// thread cannot be started. Not to be called from a collection.
    bool setPeriod(long seconds);
    long periodSeconds() const;

    /// The timer thread that runs the collections (null if the collector could not be made).
    TimerThread* internal() const;

private:
    class Destroyer;
    Destroyer* d;
};

namespace QOR {

/// The library's collector for thread-local variables: null until the library first needs it
/// (see ensureThreadLocalVariableGC); once made it stays for the life of the process.
extern QORCOMMON_API std::atomic<ThreadManagedObjectGC*> threadLocalVariableGC;

/// The library's collector, made (and its timer started) on the first call.
QORCOMMON_API ThreadManagedObjectGC* ensureThreadLocalVariableGC();

/// Stops the library collector's timer after one last collection of ended threads. Variables
/// keep working; the collector starts again through setPeriod().
QORCOMMON_API void shutdownThreadLocalVariableGC();

} // namespace QOR

namespace Internal {

/// The store behind thread-local variables: for each variable (an int id) and each thread (its
/// system id) one object, made by the variable's creator and freed by its destroyer.
///
/// Operations that take a creator or a destroyer use the given one when it is set and the
/// variable's own otherwise. Operations on an id that was never registered register it on the
/// spot, without a creator or destroyer. Creators and destroyers run without the store's lock,
/// so they may use thread-local variables themselves.
/// Thread safety: thread-safe.
class QORCOMMON_API ThreadObjectDepot {
public:
    using Creator = std::function<void*()>;
    using Destroyer = std::function<void(void*)>;
    using Visitor = std::function<void(long threadId, void* object)>;

    ThreadObjectDepot();
    /// Frees every object still held, with its variable's destroyer.
    ~ThreadObjectDepot();
    ThreadObjectDepot(const ThreadObjectDepot&) = delete;
    ThreadObjectDepot& operator=(const ThreadObjectDepot&) = delete;

    /// Registers a variable; returns its id (positive, never reused by this store).
    int registerObject(Creator creator, Destroyer destroyer);
    /// Stores `object` as the calling thread's object of variable `id` without making one;
    /// false (and nothing stored) when the thread already has one.
    bool registerObject(int id, const void* object);
    /// Frees every thread's object of the variable and forgets the variable.
    void unregisterObject(int id, const Destroyer& destroyer = Destroyer());

    /// The calling thread's slot of variable `id`. On the thread's first use the slot is made,
    /// holding the creator's object (null without a creator), and *created is set to 1 (to 0
    /// otherwise). The reference stays valid until the slot is destroyed.
    void*& getObject(int id, int* created = nullptr, const Creator& creator = Creator());
    /// Whether the calling thread has a slot for variable `id`; makes nothing.
    bool hasObject(int id) const;
    /// Puts `object` in the calling thread's slot (made if missing, without the creator) and
    /// returns the object it held, which the caller now owns.
    void* setObject(int id, const void* object, const Creator& creator = Creator());

    /// Frees the calling thread's object of the variable; false when it had none.
    bool destroyObject(int id, const Destroyer& destroyer = Destroyer());
    /// Frees the object of thread `threadId`; false when that thread had none.
    bool destroyObject(long threadId, int id, const Destroyer& destroyer = Destroyer());
    /// Frees every thread's object of the variable, which stays registered; returns the count.
    std::size_t destroyAllObjects(int id, const Destroyer& destroyer = Destroyer());
    /// Frees every object of every variable; returns the count.
    std::size_t destroyAllObjects(const Destroyer& destroyer = Destroyer());
    /// Frees every object of thread `threadId` in all variables; returns the count.
    std::size_t destroyThreadObjects(long threadId);

    /// Calls `visitor` for each thread's object of the variable, in thread-id order, under the
    /// store's lock: the visitor may read the store but must not free objects of this variable.
    void forEach(int id, const Visitor& visitor) const;
    /// Frees the objects of the variable held by threads that no longer run and appends those
    /// threads' ids to `threadIds`; returns the number freed.
    std::size_t cleanUp(int id, const Destroyer& destroyer, std::vector<long>& threadIds);

    /// How many threads have an object of the variable.
    std::size_t objectCount(int id) const;

private:
    struct Private;
    Private* d;
};

/// The store used by ThreadLocalVariable; it lives for the life of the process.
QORCOMMON_API ThreadObjectDepot& threadObjectDepot();

} // namespace Internal

/// One value of type T per thread, made on each thread's first get() and freed when the thread
/// ends. Registered with the library's collector, which frees values that ended threads left.
/// Thread safety: thread-safe.
template <class T> class ThreadLocalVariable : public ThreadManagedObject {
public:
    ThreadLocalVariable() : ThreadLocalVariable([] { return new T(); }) {}
    /// `creator` makes a thread's value; it must not return null.
    explicit ThreadLocalVariable(std::function<T*()> creator)
        : m_id(Internal::threadObjectDepot().registerObject(
              [creator] { return static_cast<void*>(creator()); },
              [](void* value) { delete static_cast<T*>(value); })) {
        if (ThreadManagedObjectGC* gc = QOR::ensureThreadLocalVariableGC())
            gc->registerObject(this);
    }
    /// Frees the values of all threads.
    ~ThreadLocalVariable() override {
        if (ThreadManagedObjectGC* gc = QOR::threadLocalVariableGC.load())
            gc->unregisterObject(this);
        Internal::threadObjectDepot().unregisterObject(m_id);
    }

    /// The calling thread's value, made on first use.
    T& get() { return *static_cast<T*>(Internal::threadObjectDepot().getObject(m_id)); }
    T* operator->() { return &get(); }
    T& operator*() { return get(); }
    /// Whether the calling thread has a value; makes none.
    bool hasValue() const { return Internal::threadObjectDepot().hasObject(m_id); }
    /// Replaces the calling thread's value with `value` (taking it over) and frees the old one.
    void set(T* value) {
        delete static_cast<T*>(Internal::threadObjectDepot().setObject(m_id, value));
    }
    /// Frees the calling thread's value; the next get() makes a new one.
    void destroy() { Internal::threadObjectDepot().destroyObject(m_id); }
    /// Frees the values of all threads.
    void destroyAll() { Internal::threadObjectDepot().destroyAllObjects(m_id); }
    /// Calls `fn(threadId, value)` for every thread's value, under the store's lock.
    template <class F> void forEach(F fn) const {
        Internal::threadObjectDepot().forEach(m_id, [&fn](long threadId, void* value) {
            if (value) fn(threadId, *static_cast<T*>(value));
        });
    }
    /// How many threads have a value.
    std::size_t size() const { return Internal::threadObjectDepot().objectCount(m_id); }

    using ThreadManagedObject::cleanUp;
    void cleanUp(long threadId) override {
        if (threadId == -1) {
            std::vector<long> ended;
            Internal::threadObjectDepot().cleanUp(m_id, {}, ended);
        } else {
            Internal::threadObjectDepot().destroyObject(threadId, m_id);
        }
    }

private:
    int m_id;
};

} // namespace Core
} // namespace Orvane
