// Locks of the library: mutexes, a counting semaphore, the lock source of protected variables and
// a scope guard.
#pragma once

#include "qorcommon/export.h"

namespace Orvane {
namespace Core {

/// A non-recursive mutex: locking it again on the owning thread deadlocks.
/// Thread safety: thread-safe.
class QORCOMMON_API Mutex {
public:
    Mutex();
    ~Mutex();
    Mutex(const Mutex&) = delete;
    Mutex& operator=(const Mutex&) = delete;

    void lock();
    /// Takes the lock without waiting; false when another thread holds it.
    bool tryLock();
    void unlock();

private:
    struct Private;
    Private* d;
};

/// A mutex that the owning thread may lock again; each lock needs its unlock.
/// Thread safety: thread-safe.
class QORCOMMON_API RecursiveMutex {
public:
    RecursiveMutex();
    ~RecursiveMutex();
    RecursiveMutex(const RecursiveMutex&) = delete;
    RecursiveMutex& operator=(const RecursiveMutex&) = delete;

    void lock();
    bool tryLock();
    void unlock();

private:
    struct Private;
    Private* d;
};

/// A counting semaphore with a maximum count.
/// Thread safety: thread-safe.
class QORCOMMON_API Semaphore {
public:
    explicit Semaphore(unsigned initialCount = 1, unsigned maximumCount = 1);
    ~Semaphore();
    Semaphore(const Semaphore&) = delete;
    Semaphore& operator=(const Semaphore&) = delete;

    /// Takes a token without waiting; false when none is free.
    bool tryAcquire();
    /// Takes a token, waiting at most timeoutMs milliseconds (negative: without limit).
    bool acquire(long timeoutMs = -1);
    /// Gives back `count` tokens; false (and nothing given back) when that would pass the maximum.
    bool release(unsigned count = 1);

private:
    struct Private;
    Private* d;
};

/// The lock source of a protected variable. By default it owns a recursive mutex, so a thread
/// that already holds a variable may access it again; several variables may share one provider's
/// mutex to be locked together.
/// Thread safety: thread-safe.
class QORCOMMON_API MutexProvider {
public:
    /// A provider with its own recursive mutex.
    MutexProvider();
    /// A provider over `shared`, which it does not own and which must outlive it.
    explicit MutexProvider(RecursiveMutex& shared);
    virtual ~MutexProvider();
    MutexProvider(const MutexProvider&) = delete;
    MutexProvider& operator=(const MutexProvider&) = delete;

    virtual void lock();
    virtual bool tryLock();
    virtual void unlock();
    /// The mutex that the provider locks.
    RecursiveMutex& mutex() const;

private:
    struct Private;
    Private* d;
};

/// Holds a lock for the length of a scope; unlock() releases it early.
/// Thread safety: reentrant.
template <class Lockable> class ScopedLock {
public:
    explicit ScopedLock(Lockable& lockable) : m_lockable(&lockable) { m_lockable->lock(); }
    ~ScopedLock() { unlock(); }
    ScopedLock(const ScopedLock&) = delete;
    ScopedLock& operator=(const ScopedLock&) = delete;

    void unlock() {
        if (!m_lockable) return;
        m_lockable->unlock();
        m_lockable = nullptr;
    }
    bool isLocked() const { return m_lockable != nullptr; }

private:
    Lockable* m_lockable;
};

using MutexLocker = ScopedLock<Mutex>;
using RecursiveMutexLocker = ScopedLock<RecursiveMutex>;

} // namespace Core
} // namespace Orvane
