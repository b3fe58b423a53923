// A thread that runs an action periodically until it is stopped.
#pragma once

#include "qorcommon/export.h"

#include <functional>

namespace Orvane {
namespace Core {

/// Calls onTimer() every period on its own thread. A subclass that overrides onTimer() must stop
/// the timer in its own destructor, before its members go away.
/// Thread safety: reentrant (onTimer runs on the timer's own thread).
class QORCOMMON_API TimerThread {
public:
    TimerThread();
    /// Stops the timer, allowing a running tick twice the period to finish before the thread is
    /// terminated.
    virtual ~TimerThread();
    TimerThread(const TimerThread&) = delete;
    TimerThread& operator=(const TimerThread&) = delete;

    /// Starts ticking every periodMs milliseconds (once only when `repeat` is false); each tick
    /// calls onTimer(), which by default runs `action`. False when the period is not positive
    /// or the timer already runs.
    bool start(long periodMs, std::function<void()> action = std::function<void()>(),
               bool repeat = true);
    /// Asks the timer to stop and waits at most timeoutMs for a running tick; a thread that has
    /// not ended by then is terminated. True when it ended by itself (or did not run). Called
    /// from a tick, it only asks: the timer ends when the tick returns.
    bool stopOrTerminate(long timeoutMs);
    /// Asks the timer to stop and waits at most timeoutMs (negative: no limit) without
    /// terminating it; true when it has ended (or did not run). Called from a tick, it only asks.
    bool stop(long timeoutMs = -1);
    /// Starts again with the action, period and repetition of the last start, stopping the
    /// running timer first (waiting for a running tick). False before the first start, or from
    /// a tick of this timer.
    bool restart();
    /// Changes the period: a running timer restarts with it (as restart()), a stopped one keeps
    /// it for restart(). False when the period is not positive or a running timer cannot restart.
    bool setPeriod(long periodMs);
    bool isRunning() const;
    /// Whether the timer ticks repeatedly (true) or once (false), as last started.
    bool isRepeating() const;
    /// The period of the last start (or setPeriod), 0 before the first.
    long periodMs() const;

protected:
    /// Called on the timer's thread at every tick; runs the action given to start().
    virtual void onTimer();

private:
    struct Private;
    Private* d;
};

} // namespace Core
} // namespace Orvane
