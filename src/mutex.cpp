// The public locks over the platform's mutexes and semaphores.
#include "qorcommon/mutex.h"

#include "platform/platform.h"

namespace Orvane {
namespace Core {

struct Mutex::Private {
    Platform::Mutex mutex;
};

Mutex::Mutex() : d(new Private) {}
Mutex::~Mutex() {
    delete d;
}
void Mutex::lock() {
    d->mutex.lock();
}
bool Mutex::tryLock() {
    return d->mutex.tryLock();
}
void Mutex::unlock() {
    d->mutex.unlock();
}

struct RecursiveMutex::Private {
    Platform::RecursiveMutex mutex;
};

RecursiveMutex::RecursiveMutex() : d(new Private) {}
RecursiveMutex::~RecursiveMutex() {
    delete d;
}
void RecursiveMutex::lock() {
    d->mutex.lock();
}
bool RecursiveMutex::tryLock() {
    return d->mutex.tryLock();
}
void RecursiveMutex::unlock() {
    d->mutex.unlock();
}

struct Semaphore::Private {
    Private(unsigned initialCount, unsigned maximumCount) : semaphore(initialCount, maximumCount) {}
    Platform::Semaphore semaphore;
};

Semaphore::Semaphore(unsigned initialCount, unsigned maximumCount)
    : d(new Private(initialCount, maximumCount)) {}
Semaphore::~Semaphore() {
    delete d;
}
bool Semaphore::tryAcquire() {
    return d->semaphore.tryAcquire();
}
bool Semaphore::acquire(long timeoutMs) {
    return d->semaphore.acquire(timeoutMs);
}
bool Semaphore::release(unsigned count) {
    return d->semaphore.release(count);
}

struct MutexProvider::Private {
    RecursiveMutex* mutex;
    bool owned;
};

MutexProvider::MutexProvider() : d(new Private{new RecursiveMutex, true}) {}
MutexProvider::MutexProvider(RecursiveMutex& shared) : d(new Private{&shared, false}) {}
MutexProvider::~MutexProvider() {
    if (d->owned) delete d->mutex;
    delete d;
}
void MutexProvider::lock() {
    d->mutex->lock();
}
bool MutexProvider::tryLock() {
    return d->mutex->tryLock();
}
void MutexProvider::unlock() {
    d->mutex->unlock();
}
RecursiveMutex& MutexProvider::mutex() const {
    return *d->mutex;
}

} // namespace Core
} // namespace Orvane
