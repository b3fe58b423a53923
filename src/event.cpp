// Events and the listener list of broadcasters.
#include "qorcommon/event.h"

#include <algorithm>
#include <atomic>
#include <memory>

namespace Orvane {
namespace Core {

// ---- EventResult -------------------------------------------------------------------------------

EventResult::EventResult() = default;
EventResult::~EventResult() = default;

// ---- Event -------------------------------------------------------------------------------------

struct Event::Private {
    std::mutex mutex;
    std::condition_variable changed;
    ResetMode mode;
    bool set;
};

Event::Event(ResetMode mode, bool initiallySet) : d(new Private{{}, {}, mode, initiallySet}) {}

Event::~Event() {
    delete d;
}

void Event::set() {
    {
        std::lock_guard<std::mutex> lock(d->mutex);
        if (d->set) return;
        d->set = true;
    }
    if (d->mode == ManualReset)
        d->changed.notify_all();
    else
        d->changed.notify_one();
}

void Event::reset() {
    std::lock_guard<std::mutex> lock(d->mutex);
    d->set = false;
}

bool Event::wait(long timeoutMs) {
    std::unique_lock<std::mutex> lock(d->mutex);
    auto isSet = [this] { return d->set; };
    bool passed;
    if (timeoutMs < 0) {
        d->changed.wait(lock, isSet);
        passed = true;
    } else {
        passed = d->changed.wait_for(lock, std::chrono::milliseconds(timeoutMs), isSet);
    }
    if (passed && d->mode == AutoReset) d->set = false;
    return passed;
}

bool Event::isSet() const {
    std::lock_guard<std::mutex> lock(d->mutex);
    return d->set;
}

Event::ResetMode Event::mode() const {
    return d->mode;
}

// ---- broadcaster -------------------------------------------------------------------------------

namespace {

struct ListenerEntry {
    SubscriptionId id;
    BroadcasterCore::Listener listener;
    std::atomic<int> running{0};
    std::atomic<bool> removed{false};
};

using ListenerList = std::vector<std::shared_ptr<ListenerEntry>>;

// How deep the calling thread is inside listener calls of any broadcaster: an unsubscribe made
// there must not wait for other running listeners, which could be waiting for this one.
thread_local int t_listenerDepth = 0;

} // namespace

// The state of a broadcaster, counted so that subscriptions may outlive it.
struct Subscription::Private {
    std::atomic<long> references{1};
    mutable std::mutex mutex;
    std::condition_variable finished;
    // Replaced, never changed in place: a broadcast calls listeners from its own copy, unlocked.
    std::shared_ptr<const ListenerList> listeners = std::make_shared<const ListenerList>();
    SubscriptionId nextId = 1;
    bool alive = true;

    static Private* acquire(Private* state) {
        if (state) state->references.fetch_add(1, std::memory_order_relaxed);
        return state;
    }
    static void release(Private* state) {
        if (state && state->references.fetch_sub(1, std::memory_order_acq_rel) == 1) delete state;
    }

    // Called with the lock held; unlocks while waiting.
    void waitUntilIdle(std::unique_lock<std::mutex>& lock, const ListenerEntry& entry) {
        if (t_listenerDepth > 0) return;
        finished.wait(lock, [&] { return entry.running.load() == 0; });
    }

    bool remove(SubscriptionId id) {
        std::unique_lock<std::mutex> lock(mutex);
        const ListenerList& current = *listeners;
        auto found = std::find_if(current.begin(), current.end(),
                                  [id](const std::shared_ptr<ListenerEntry>& e) {
                                      return e->id == id;
                                  });
        if (found == current.end()) return false;
        std::shared_ptr<ListenerEntry> entry = *found;
        auto next = std::make_shared<ListenerList>();
        next->reserve(current.size() - 1);
        for (const auto& e : current)
            if (e != entry) next->push_back(e);
        // Marked before waiting: a broadcast that has not yet called it sees the mark and skips.
        entry->removed.store(true);
        listeners = std::move(next);
        waitUntilIdle(lock, *entry);
        return true;
    }

    void removeAll() {
        std::unique_lock<std::mutex> lock(mutex);
        std::shared_ptr<const ListenerList> old = std::move(listeners);
        listeners = std::make_shared<const ListenerList>();
        for (const auto& entry : *old)
            entry->removed.store(true);
        for (const auto& entry : *old)
            waitUntilIdle(lock, *entry);
    }

    // Ends one call of a listener; wakes an unsubscriber waiting for it.
    void leave(ListenerEntry& entry) {
        if (entry.running.fetch_sub(1) == 1 && entry.removed.load()) {
            { std::lock_guard<std::mutex> lock(mutex); }
            finished.notify_all();
        }
    }
};

Subscription::Subscription() : d(nullptr), m_id(0) {}

Subscription::Subscription(Private* state, SubscriptionId id)
    : d(Private::acquire(state)), m_id(id) {}

Subscription::~Subscription() {
    unsubscribe();
    Private::release(d);
}

Subscription::Subscription(Subscription&& other) noexcept : d(other.d), m_id(other.m_id) {
    other.d = nullptr;
    other.m_id = 0;
}

Subscription& Subscription::operator=(Subscription&& other) noexcept {
    if (this != &other) {
        unsubscribe();
        Private::release(d);
        d = other.d;
        m_id = other.m_id;
        other.d = nullptr;
        other.m_id = 0;
    }
    return *this;
}

SubscriptionId Subscription::id() const {
    return m_id;
}

bool Subscription::isActive() const {
    if (!d) return false;
    std::lock_guard<std::mutex> lock(d->mutex);
    if (!d->alive) return false;
    for (const auto& entry : *d->listeners)
        if (entry->id == m_id) return true;
    return false;
}

bool Subscription::unsubscribe() {
    if (!d) return false;
    // After the broadcaster has gone its list is empty, so nothing is found.
    const bool removed = d->remove(m_id);
    Private::release(d);
    d = nullptr;
    return removed;
}

SubscriptionId Subscription::release() {
    const SubscriptionId id = m_id;
    Private::release(d);
    d = nullptr;
    m_id = 0;
    return id;
}

BroadcasterCore::BroadcasterCore() : d(new Subscription::Private) {}

BroadcasterCore::~BroadcasterCore() {
    {
        std::lock_guard<std::mutex> lock(d->mutex);
        d->alive = false;
        d->listeners = std::make_shared<const ListenerList>();
    }
    Subscription::Private::release(d);
}

Subscription BroadcasterCore::subscribe(Listener listener) {
    if (!listener) return Subscription();
    auto entry = std::make_shared<ListenerEntry>();
    entry->listener = std::move(listener);
    std::lock_guard<std::mutex> lock(d->mutex);
    entry->id = d->nextId++;
    auto next = std::make_shared<ListenerList>(*d->listeners);
    next->push_back(entry);
    d->listeners = std::move(next);
    return Subscription(d, entry->id);
}

bool BroadcasterCore::unsubscribe(SubscriptionId id) {
    return d->remove(id);
}

void BroadcasterCore::unsubscribeAll() {
    d->removeAll();
}

std::size_t BroadcasterCore::broadcast(const void* arguments) const {
    std::shared_ptr<const ListenerList> snapshot;
    {
        std::lock_guard<std::mutex> lock(d->mutex);
        snapshot = d->listeners;
    }
    struct Call {
        Subscription::Private& state;
        ListenerEntry& entry;
        ~Call() {
            --t_listenerDepth;
            state.leave(entry);
        }
    };
    std::size_t called = 0;
    for (const auto& entry : *snapshot) {
        // Counted as running before the mark is read: an unsubscriber either sees this call and
        // waits for it, or has set the mark first and the call is skipped.
        entry->running.fetch_add(1);
        if (entry->removed.load()) {
            d->leave(*entry);
            continue;
        }
        ++t_listenerDepth;
        Call call{*d, *entry};
        entry->listener(arguments);
        ++called;
    }
    return called;
}

std::size_t BroadcasterCore::listenerCount() const {
    std::lock_guard<std::mutex> lock(d->mutex);
    return d->listeners->size();
}

} // namespace Core
} // namespace Orvane
