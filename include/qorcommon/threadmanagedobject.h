// Objects that keep data per thread, the collector that frees the data of ended threads, and
// thread-local variables.
//
// The library keeps per-thread values itself, keyed by the system's thread id and a serial that
// tells apart threads the system gave the same id, rather than in the system's thread-local
// storage: a value is made on a thread's first use, and freed when that thread ends (through the
// platform's thread-exit hook) or, at the latest, by the next periodic collection, which frees
// the values of every thread that no longer runs.
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

/// The untyped part of ThreadLocalVariable, kept in the library.
/// Thread safety: thread-safe.
class QORCOMMON_API ThreadLocalVariableBase : public ThreadManagedObject {
public:
    /// Frees the values of all threads.
    ~ThreadLocalVariableBase() override;

    /// Whether the calling thread has a value; makes none.
    bool hasValue() const;
    /// Frees the calling thread's value; the next use makes a new one.
    void destroy();
    /// Frees the values of all threads.
    void destroyAll();
    /// How many threads have a value.
    std::size_t size() const;

    using ThreadManagedObject::cleanUp;
    /// Frees the value of thread `threadId`; -1 frees the values of every thread that has ended.
    void cleanUp(long threadId) override;

protected:
    /// `creator` makes a thread's value on its first use; `destroyer` frees a value.
    ThreadLocalVariableBase(std::function<void*()> creator, void (*destroyer)(void*));
    /// The calling thread's value, made on first use.
    void* value();
    /// Puts `value` in the calling thread's place and returns the value it held (or null).
    void* exchange(void* value);
    /// Calls `visitor(threadId, value)` for every thread's value, under the store's lock.
    void visit(const std::function<void(long threadId, void* value)>& visitor) const;

private:
    int m_id;
};

/// One value of type T per thread, made on each thread's first get() and freed when the thread
/// ends. Registered with the library's collector, which frees values that ended threads left.
/// Thread safety: thread-safe.
template <class T> class ThreadLocalVariable : public ThreadLocalVariableBase {
public:
    ThreadLocalVariable() : ThreadLocalVariable([] { return new T(); }) {}
    /// `creator` makes a thread's value; it must not return null.
    explicit ThreadLocalVariable(std::function<T*()> creator)
        : ThreadLocalVariableBase([creator] { return static_cast<void*>(creator()); },
                                  [](void* value) { delete static_cast<T*>(value); }) {}

    /// The calling thread's value, made on first use.
    T& get() { return *static_cast<T*>(value()); }
    T* operator->() { return &get(); }
    T& operator*() { return get(); }
    /// Replaces the calling thread's value with `value` (taking it over) and frees the old one.
    void set(T* value) { delete static_cast<T*>(exchange(value)); }
    /// Calls `fn(threadId, value)` for every thread's value, under the store's lock.
    template <class F> void forEach(F fn) const {
        visit([&fn](long threadId, void* value) {
            if (value) fn(threadId, *static_cast<T*>(value));
        });
    }
};

} // namespace Core
} // namespace Orvane
