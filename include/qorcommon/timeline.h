// Several timed callbacks run one after another on one thread, in the order they fall due.
#pragma once

#include "qorcommon/export.h"

#include <cstddef>
#include <functional>
#include <string>

namespace Orvane {
namespace Core {

/// A schedule of callbacks served by one thread of its own. Entries fall due after a delay, once
/// or periodically; entries due at the same time run in the order they were added. A periodic
/// entry keeps its original schedule: runs missed because a callback was slow are dropped rather
/// than run in a burst.
///
/// When cancel() returns, the callback is not running and will not run again, except when
/// cancel() is called from inside that same callback (which cannot wait for itself); the entry
/// then ends as the callback returns. Every operation may be called from any thread, callbacks
/// included.
class QORCOMMON_API Timeline {
public:
    using Id = unsigned long long;
    using Callback = std::function<void()>;

    /// A timeline whose thread, made with the first entry, carries `name`.
    explicit Timeline(const std::string& name = "timeline");
    /// stop(). Not to be destroyed from one of its own callbacks.
    ~Timeline();
    Timeline(const Timeline&) = delete;
    Timeline& operator=(const Timeline&) = delete;

    /// Schedules `callback` delayMs milliseconds from now (0: as soon as possible), then every
    /// periodMs milliseconds when periodMs is positive. Returns the entry's id (never 0, never
    /// reused), or 0 when the callback is empty, the delay negative, the timeline stopped, or
    /// its thread cannot be made.
    Id add(long delayMs, Callback callback, long periodMs = 0);
    /// Removes the entry, waiting for a run in progress (see the class); false when unknown.
    bool cancel(Id id);
    /// Moves the entry to delayMs from now with a new period (negative: keep the period); a run
    /// in progress is not interrupted. False when unknown.
    bool reschedule(Id id, long delayMs, long periodMs = -1);
    bool isScheduled(Id id) const;
    /// How many entries are scheduled.
    std::size_t size() const;
    /// Cancels every entry and ends the thread, waiting for a callback that runs. Later add()
    /// calls return 0. From inside a callback, the thread ends when that callback returns.
    void stop();

private:
    struct Private;
    Private* d;
};

} // namespace Core
} // namespace Orvane
