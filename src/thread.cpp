// Threads with a controlled stop, over the platform's thread.
#include "qorcommon/thread.h"

#include "platform/platform.h"

#include <atomic>
#include <chrono>
#include <condition_variable>
#include <memory>
#include <mutex>
#include <utility>

namespace Orvane {
namespace Core {

// ---- stop request ------------------------------------------------------------------------------

// One request shared by a source and its tokens, counted by hand so that the token stays a plain
// pointer in the public header.
struct StopToken::Private {
    std::atomic<long> references{1};
    std::atomic<long> sources{0};
    std::atomic<bool> stopped{false};
    std::mutex mutex;
    std::condition_variable wakeUp;

    static Private* acquire(Private* state) {
        if (state) state->references.fetch_add(1, std::memory_order_relaxed);
        return state;
    }
    static void release(Private* state) {
        if (state && state->references.fetch_sub(1, std::memory_order_acq_rel) == 1) delete state;
    }

    bool request() {
        bool expected = false;
        if (!stopped.compare_exchange_strong(expected, true, std::memory_order_acq_rel))
            return false;
        // Taking the lock orders the flag before any waiter's check-then-sleep.
        { std::lock_guard<std::mutex> lock(mutex); }
        wakeUp.notify_all();
        return true;
    }
};

StopToken::StopToken() : d(nullptr) {}

StopToken::StopToken(Private* state) : d(Private::acquire(state)) {}

StopToken::StopToken(const StopToken& other) : d(Private::acquire(other.d)) {}

StopToken& StopToken::operator=(const StopToken& other) {
    if (d != other.d) {
        Private* previous = d;
        d = Private::acquire(other.d);
        Private::release(previous);
    }
    return *this;
}

StopToken::~StopToken() {
    Private::release(d);
}

bool StopToken::stopRequested() const {
    return d && d->stopped.load(std::memory_order_acquire);
}

bool StopToken::stopPossible() const {
    return d && (d->stopped.load(std::memory_order_acquire) ||
                 d->sources.load(std::memory_order_acquire) > 0);
}

bool StopToken::waitForStop(long timeoutMs) const {
    if (!d) {
        if (timeoutMs > 0) Platform::sleepMs(timeoutMs);
        return false;
    }
    std::unique_lock<std::mutex> lock(d->mutex);
    auto stopped = [this] { return d->stopped.load(std::memory_order_acquire); };
    if (timeoutMs < 0) {
        d->wakeUp.wait(lock, stopped);
        return true;
    }
    return d->wakeUp.wait_for(lock, std::chrono::milliseconds(timeoutMs), stopped);
}

StopSource::StopSource() : d(new StopToken::Private) {
    d->sources.fetch_add(1, std::memory_order_acq_rel);
}

StopSource::~StopSource() {
    d->sources.fetch_sub(1, std::memory_order_acq_rel);
    StopToken::Private::release(d);
}

bool StopSource::requestStop() {
    return d->request();
}

bool StopSource::stopRequested() const {
    return d->stopped.load(std::memory_order_acquire);
}

StopToken StopSource::token() const {
    return StopToken(d);
}

// ---- Thread ------------------------------------------------------------------------------------

namespace {

// The stop state of the Thread running on this thread. A plain pointer (nothing to destroy at
// thread exit); the running function's own token keeps the state alive meanwhile.
thread_local void* t_currentStop = nullptr;

struct CurrentStopScope {
    explicit CurrentStopScope(void* state) { t_currentStop = state; }
    ~CurrentStopScope() { t_currentStop = nullptr; }
    CurrentStopScope(const CurrentStopScope&) = delete;
    CurrentStopScope& operator=(const CurrentStopScope&) = delete;
};

} // namespace

struct Thread::Private {
    Platform::Thread thread;
    // Guards the name and the stop source, which other threads read while the owner restarts.
    mutable std::mutex mutex;
    std::string name;
    std::unique_ptr<StopSource> stop;
};

Thread::Thread() : d(new Private) {}

Thread::Thread(const std::string& name) : d(new Private) {
    d->name = name;
}

Thread::~Thread() {
    requestStop();
    // The platform thread waits for the end, or detaches when the thread destroys itself.
    delete d;
}

void Thread::setName(const std::string& name) {
    std::lock_guard<std::mutex> lock(d->mutex);
    d->name = name;
}

std::string Thread::name() const {
    std::lock_guard<std::mutex> lock(d->mutex);
    return d->name;
}

bool Thread::start(Function function) {
    if (!function || d->thread.isRunning()) return false;
    StopToken token;
    std::string name;
    {
        std::lock_guard<std::mutex> lock(d->mutex);
        d->stop.reset(new StopSource);
        token = d->stop->token();
        name = d->name;
    }
    return d->thread.start([function = std::move(function), token, name] {
        if (!name.empty()) Platform::setCurrentThreadName(name);
        CurrentStopScope scope(token.d);
        function(token);
    });
}

bool Thread::requestStop() {
    std::lock_guard<std::mutex> lock(d->mutex);
    return d->stop && d->stop->requestStop();
}

bool Thread::stopRequested() const {
    std::lock_guard<std::mutex> lock(d->mutex);
    return d->stop && d->stop->stopRequested();
}

StopToken Thread::stopToken() const {
    std::lock_guard<std::mutex> lock(d->mutex);
    return d->stop ? d->stop->token() : StopToken();
}

bool Thread::join(long timeoutMs) {
    return d->thread.join(timeoutMs);
}

bool Thread::stopAndJoin(long timeoutMs) {
    requestStop();
    return join(timeoutMs);
}

bool Thread::terminate() {
    return d->thread.terminate();
}

bool Thread::stopOrTerminate(long timeoutMs) {
    if (stopAndJoin(timeoutMs)) return true;
    // A thread asking to end itself cannot be waited for; it ends when its function returns.
    if (d->thread.threadId() == Platform::currentThreadId()) return false;
    terminate();
    return false;
}

bool Thread::isRunning() const {
    return d->thread.isRunning();
}

long Thread::threadId() const {
    return d->thread.threadId();
}

long Thread::currentThreadId() {
    return Platform::currentThreadId();
}

StopToken Thread::currentStopToken() {
    return StopToken(static_cast<StopToken::Private*>(t_currentStop));
}

void Thread::sleep(long milliseconds) {
    Platform::sleepMs(milliseconds);
}

void Thread::yield() {
    Platform::yieldThread();
}

bool Thread::setCurrentThreadName(const std::string& name) {
    return Platform::setCurrentThreadName(name);
}

std::string Thread::currentThreadName() {
    return Platform::currentThreadName();
}

} // namespace Core
} // namespace Orvane
