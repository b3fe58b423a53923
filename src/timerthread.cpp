// TimerThread over the platform's periodic timer.
#include "qorcommon/timerthread.h"

#include "platform/platform.h"

namespace Orvane {
namespace Core {

struct TimerThread::Private {
    Platform::PeriodicTimer timer;
    std::function<void()> action;
    long periodMs = 0;
    bool repeat = true;
    bool everStarted = false;
};

TimerThread::TimerThread() : d(new Private) {}

TimerThread::~TimerThread() {
    stopOrTerminate(2 * d->timer.periodMs());
    delete d;
}

bool TimerThread::start(long periodMs, std::function<void()> action, bool repeat) {
    if (periodMs <= 0 || d->timer.isRunning()) return false;
    d->action = std::move(action);
    d->periodMs = periodMs;
    d->repeat = repeat;
    d->everStarted = true;
    return d->timer.start(
        periodMs, [this] { onTimer(); }, repeat);
}

bool TimerThread::stopOrTerminate(long timeoutMs) {
    return d->timer.stopOrTerminate(timeoutMs);
}

bool TimerThread::stop(long timeoutMs) {
    // The platform timer terminates only after the limit; without a limit it never gets there.
    return d->timer.stopOrTerminate(timeoutMs < 0 ? -1 : timeoutMs);
}

bool TimerThread::restart() {
    if (!d->everStarted) return false;
    if (d->timer.isRunning() && !stop(-1)) return false;
    // A tick that restarts its own timer finds it still running: the stop was only asked.
    if (d->timer.isRunning()) return false;
    return d->timer.start(
        d->periodMs, [this] { onTimer(); }, d->repeat);
}

bool TimerThread::setPeriod(long periodMs) {
    if (periodMs <= 0) return false;
    const bool wasRunning = d->timer.isRunning();
    d->periodMs = periodMs;
    if (!wasRunning) return true;
    return restart();
}

bool TimerThread::isRunning() const {
    return d->timer.isRunning();
}

bool TimerThread::isRepeating() const {
    return d->repeat;
}

long TimerThread::periodMs() const {
    return d->periodMs;
}

void TimerThread::onTimer() {
    if (d->action) d->action();
}

} // namespace Core
} // namespace Orvane
