// TimerThread over the platform's periodic timer.
#include "qorcommon/timerthread.h"

#include "platform/platform.h"

namespace Orvane {
namespace Core {

struct TimerThread::Private {
    Platform::PeriodicTimer timer;
    std::function<void()> action;
};

TimerThread::TimerThread() : d(new Private) {}

TimerThread::~TimerThread() {
    stopOrTerminate(2 * d->timer.periodMs());
    delete d;
}

bool TimerThread::start(long periodMs, std::function<void()> action, bool repeat) {
    if (periodMs <= 0 || d->timer.isRunning()) return false;
    d->action = std::move(action);
    return d->timer.start(
        periodMs, [this] { onTimer(); }, repeat);
}

bool TimerThread::stopOrTerminate(long timeoutMs) {
    return d->timer.stopOrTerminate(timeoutMs);
}

bool TimerThread::isRunning() const {
    return d->timer.isRunning();
}

long TimerThread::periodMs() const {
    return d->timer.periodMs();
}

void TimerThread::onTimer() {
    if (d->action) d->action();
}

} // namespace Core
} // namespace Orvane
