// PeriodicTimer on top of Platform::Thread and the standard library's condition variable, shared
// by both platforms: only the thread underneath differs. Included by one source of each platform.
#include <chrono>
#include <climits>
#include <condition_variable>
#include <memory>
#include <mutex>

namespace Orvane {
namespace Core {
namespace Platform {

namespace TimerDetail {

// Owned jointly by the timer and its thread, so that a thread which outlives its timer (POSIX
// cannot end it by force) never touches freed memory.
struct TimerState {
    std::mutex mutex;
    std::condition_variable wakeUp;
    bool stopRequested = false;
    std::function<void()> tick;
};

inline void runTimer(const std::shared_ptr<TimerState>& state, long periodMs, bool repeat) {
    using Clock = std::chrono::steady_clock;
    const auto period = std::chrono::milliseconds(periodMs);
    auto next = Clock::now() + period;
    for (;;) {
        {
            std::unique_lock<std::mutex> lock(state->mutex);
            if (state->wakeUp.wait_until(lock, next, [&] { return state->stopRequested; })) return;
        }
        state->tick();
        if (!repeat) return;
        // Ticks keep to the original schedule; ticks missed by a slow callback are dropped
        // rather than fired in a burst.
        next += period;
        const auto now = Clock::now();
        if (next < now) next = now + period;
    }
}

} // namespace TimerDetail

struct PeriodicTimer::Impl {
    Thread thread;
    std::shared_ptr<TimerDetail::TimerState> state;
    long periodMs = 0;
};

PeriodicTimer::PeriodicTimer() : d(new Impl) {}

PeriodicTimer::~PeriodicTimer() {
    // Twice the period, without overflowing a 32-bit long for very long periods.
    const long limit = d->periodMs > LONG_MAX / 2 ? LONG_MAX : 2 * d->periodMs;
    stopOrTerminate(limit);
    delete d;
}

bool PeriodicTimer::start(long periodMs, std::function<void()> tick, bool repeat) {
    if (periodMs <= 0 || !tick || d->thread.isRunning()) return false;
    // Set before the thread exists: a tick may stop its own timer.
    d->state = std::make_shared<TimerDetail::TimerState>();
    d->state->tick = std::move(tick);
    d->periodMs = periodMs;
    auto state = d->state;
    if (d->thread.start(
            [state, periodMs, repeat] { TimerDetail::runTimer(state, periodMs, repeat); }))
        return true;
    d->state.reset();
    return false;
}

bool PeriodicTimer::stopOrTerminate(long timeoutMs) {
    if (!d->state) return true;
    {
        std::lock_guard<std::mutex> lock(d->state->mutex);
        d->state->stopRequested = true;
    }
    d->state->wakeUp.notify_all();
    // A tick that stops its own timer cannot wait for itself; the loop ends when the tick returns.
    if (d->thread.threadId() == currentThreadId()) return true;
    if (d->thread.join(timeoutMs)) return true;
    d->thread.terminate();
    return false;
}

bool PeriodicTimer::isRunning() const {
    return d->thread.isRunning();
}

long PeriodicTimer::periodMs() const {
    return d->periodMs;
}

} // namespace Platform
} // namespace Core
} // namespace Orvane
