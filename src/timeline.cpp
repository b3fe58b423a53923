// A schedule of timed callbacks served by one thread.
#include "qorcommon/timeline.h"

#include "qorcommon/assertion.h"
#include "qorcommon/thread.h"

#include <chrono>
#include <condition_variable>
#include <map>
#include <memory>
#include <mutex>
#include <set>
#include <tuple>

namespace Orvane {
namespace Core {

namespace {

using Clock = std::chrono::steady_clock;

// The queue's order: due time, then the order of scheduling.
struct QueueKey {
    Clock::time_point due;
    unsigned long long sequence;
    Timeline::Id id;
    bool operator<(const QueueKey& other) const {
        return std::tie(due, sequence) < std::tie(other.due, other.sequence);
    }
};

struct TimelineEntry {
    // Shared so that a run keeps its callback while a cancel from inside it erases the entry.
    std::shared_ptr<Timeline::Callback> callback;
    QueueKey key;
    Clock::duration period{};
    bool queued = false;
};

} // namespace

struct Timeline::Private {
    std::string name;
    Thread thread;
    mutable std::mutex mutex;
    std::condition_variable changed;  // wakes the timeline's thread
    std::condition_variable finished; // wakes cancellers waiting for a run to end
    std::map<Id, TimelineEntry> entries;
    std::set<QueueKey> queue;
    Id nextId = 1;
    unsigned long long nextSequence = 1;
    Id running = 0;
    bool started = false;
    bool stopping = false;

    void enqueue(TimelineEntry& entry, Id id, Clock::time_point due) {
        entry.key = {due, nextSequence++, id};
        queue.insert(entry.key);
        entry.queued = true;
    }

    void dequeue(TimelineEntry& entry) {
        if (entry.queued) queue.erase(entry.key);
        entry.queued = false;
    }

    bool onOwnThread() const { return thread.threadId() == Thread::currentThreadId(); }

    void run() {
        std::unique_lock<std::mutex> lock(mutex);
        while (!stopping) {
            if (queue.empty()) {
                changed.wait(lock);
                continue;
            }
            const QueueKey first = *queue.begin();
            if (first.due > Clock::now()) {
                changed.wait_until(lock, first.due);
                continue;
            }
            queue.erase(queue.begin());
            TimelineEntry& entry = entries[first.id];
            entry.queued = false;
            const std::shared_ptr<Callback> callback = entry.callback;
            running = first.id;
            lock.unlock();
            try {
                (*callback)();
            } catch (...) {
                QOR_ASSERT_FAILED("exception escaped a timeline callback");
            }
            lock.lock();
            running = 0;
            auto it = entries.find(first.id);
            // A reschedule during the run has queued the entry already.
            if (it != entries.end() && !it->second.queued) {
                TimelineEntry& done = it->second;
                if (done.period > Clock::duration::zero()) {
                    // Runs missed by a slow callback are dropped, keeping the original phase.
                    Clock::time_point next = first.due + done.period;
                    const Clock::time_point now = Clock::now();
                    if (next <= now) {
                        const auto missed = (now - next) / done.period + 1;
                        next += missed * done.period;
                    }
                    enqueue(done, first.id, next);
                } else {
                    entries.erase(it);
                }
            }
            finished.notify_all();
        }
    }
};

Timeline::Timeline(const std::string& name) : d(new Private) {
    d->name = name;
    d->thread.setName(name);
}

Timeline::~Timeline() {
    stop();
    delete d;
}

Timeline::Id Timeline::add(long delayMs, Callback callback, long periodMs) {
    if (!callback || delayMs < 0) return 0;
    std::lock_guard<std::mutex> lock(d->mutex);
    if (d->stopping) return 0;
    if (!d->started) {
        if (!d->thread.start([this](const StopToken&) { d->run(); })) return 0;
        d->started = true;
    }
    const Id id = d->nextId++;
    TimelineEntry& entry = d->entries[id];
    entry.callback = std::make_shared<Callback>(std::move(callback));
    entry.period = std::chrono::milliseconds(periodMs > 0 ? periodMs : 0);
    const bool first = d->queue.empty();
    d->enqueue(entry, id, Clock::now() + std::chrono::milliseconds(delayMs));
    // The thread sleeps until its earliest entry; only a new earliest one needs to wake it.
    if (first || d->queue.begin()->id == id) d->changed.notify_one();
    return id;
}

bool Timeline::cancel(Id id) {
    std::unique_lock<std::mutex> lock(d->mutex);
    auto it = d->entries.find(id);
    if (it == d->entries.end()) return false;
    d->dequeue(it->second);
    d->entries.erase(it);
    if (d->running == id && !d->onOwnThread())
        d->finished.wait(lock, [&] { return d->running != id; });
    return true;
}

bool Timeline::reschedule(Id id, long delayMs, long periodMs) {
    if (delayMs < 0) return false;
    std::lock_guard<std::mutex> lock(d->mutex);
    auto it = d->entries.find(id);
    if (it == d->entries.end()) return false;
    TimelineEntry& entry = it->second;
    if (periodMs >= 0) entry.period = std::chrono::milliseconds(periodMs);
    d->dequeue(entry);
    d->enqueue(entry, id, Clock::now() + std::chrono::milliseconds(delayMs));
    d->changed.notify_one();
    return true;
}

bool Timeline::isScheduled(Id id) const {
    std::lock_guard<std::mutex> lock(d->mutex);
    return d->entries.count(id) != 0;
}

std::size_t Timeline::size() const {
    std::lock_guard<std::mutex> lock(d->mutex);
    return d->entries.size();
}

void Timeline::stop() {
    {
        std::lock_guard<std::mutex> lock(d->mutex);
        d->stopping = true;
        d->queue.clear();
        d->entries.clear();
    }
    d->changed.notify_all();
    if (!d->onOwnThread()) d->thread.join();
}

} // namespace Core
} // namespace Orvane
