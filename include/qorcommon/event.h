// Events that threads wait for, depots of events that consumers wait on, and broadcasters that
// hand one sender's calls to many listeners.
#pragma once

#include "qorcommon/export.h"

#include <chrono>
#include <condition_variable>
#include <cstddef>
#include <deque>
#include <functional>
#include <mutex>
#include <tuple>
#include <utility>
#include <vector>

namespace Orvane {
namespace Core {

/// The base of results that travel with an event.
class QORCOMMON_API EventResult {
public:
    EventResult();
    virtual ~EventResult();
    EventResult(const EventResult&) = default;
    EventResult& operator=(const EventResult&) = default;
};

/// A flag that threads wait for. With manual reset it stays set until reset() and lets every
/// waiter pass; with automatic reset each set() lets exactly one waiter pass (or the next one to
/// come) and clears itself. Every operation may be called from any thread.
class QORCOMMON_API Event {
public:
    enum ResetMode { ManualReset, AutoReset };

    explicit Event(ResetMode mode = AutoReset, bool initiallySet = false);
    ~Event();
    Event(const Event&) = delete;
    Event& operator=(const Event&) = delete;

    void set();
    void reset();
    /// Waits at most timeoutMs (negative: no limit, 0: only looks) for the event; true when it
    /// was set. An automatic event is cleared by the waiter that passes.
    bool wait(long timeoutMs = -1);
    /// Whether the event is set, without taking it.
    bool isSet() const;
    ResetMode mode() const;

private:
    struct Private;
    Private* d;
};

/// A first-in first-out queue of events that consumers wait on. close() refuses new events and
/// wakes every waiter; what was queued before can still be taken. wakeAll() makes the consumers
/// waiting now return false once, without closing. Every operation may be called from any thread.
///
/// A consumer is signalled only when one is waiting, so a producer that stays ahead of its
/// consumers never makes a system call.
template <class T> class EventDepot {
public:
    EventDepot() = default;
    EventDepot(const EventDepot&) = delete;
    EventDepot& operator=(const EventDepot&) = delete;

    /// Appends an event; false (and the event dropped) once the depot is closed.
    bool push(T event) {
        std::unique_lock<std::mutex> lock(m_mutex);
        if (m_closed) return false;
        m_items.push_back(std::move(event));
        const bool wake = m_waiters > 0;
        lock.unlock();
        if (wake) m_ready.notify_one();
        return true;
    }

    /// Takes the oldest event, waiting at most timeoutMs (negative: no limit, 0: no wait). False
    /// on time-out, when the depot is closed and empty, or when wakeAll() interrupted the wait.
    bool pop(T& out, long timeoutMs = -1) {
        std::unique_lock<std::mutex> lock(m_mutex);
        if (m_items.empty() && !waitForItems(lock, timeoutMs)) return false;
        out = std::move(m_items.front());
        m_items.pop_front();
        return true;
    }

    /// pop() without waiting.
    bool tryPop(T& out) { return pop(out, 0); }

    /// Appends every queued event to `out`, waiting for the first as pop() does; returns how
    /// many were taken. One lock for the lot: the cheap way for a consumer to keep up.
    std::size_t popAll(std::vector<T>& out, long timeoutMs = -1) {
        std::unique_lock<std::mutex> lock(m_mutex);
        if (m_items.empty() && !waitForItems(lock, timeoutMs)) return 0;
        const std::size_t count = m_items.size();
        for (T& item : m_items)
            out.push_back(std::move(item));
        m_items.clear();
        return count;
    }

    /// Refuses further events and wakes every waiter.
    void close() {
        {
            std::lock_guard<std::mutex> lock(m_mutex);
            m_closed = true;
        }
        m_ready.notify_all();
    }
    /// Accepts events again after close().
    void reopen() {
        std::lock_guard<std::mutex> lock(m_mutex);
        m_closed = false;
    }
    bool isClosed() const {
        std::lock_guard<std::mutex> lock(m_mutex);
        return m_closed;
    }
    /// Makes every consumer waiting now return false from its wait (unless an event arrives
    /// first); later waits are not affected.
    void wakeAll() {
        {
            std::lock_guard<std::mutex> lock(m_mutex);
            ++m_wakeRound;
        }
        m_ready.notify_all();
    }
    /// Drops every queued event; returns how many.
    std::size_t clear() {
        std::lock_guard<std::mutex> lock(m_mutex);
        const std::size_t count = m_items.size();
        m_items.clear();
        return count;
    }
    std::size_t size() const {
        std::lock_guard<std::mutex> lock(m_mutex);
        return m_items.size();
    }
    bool empty() const { return size() == 0; }

private:
    // Called with the lock held and the queue empty; true when an item is there on return.
    bool waitForItems(std::unique_lock<std::mutex>& lock, long timeoutMs) {
        if (timeoutMs == 0 || m_closed) return false;
        const unsigned round = m_wakeRound;
        auto ready = [&] { return !m_items.empty() || m_closed || m_wakeRound != round; };
        ++m_waiters;
        if (timeoutMs < 0)
            m_ready.wait(lock, ready);
        else
            m_ready.wait_for(lock, std::chrono::milliseconds(timeoutMs), ready);
        --m_waiters;
        return !m_items.empty();
    }

    mutable std::mutex m_mutex;
    std::condition_variable m_ready;
    std::deque<T> m_items;
    unsigned m_waiters = 0;
    unsigned m_wakeRound = 0;
    bool m_closed = false;
};

class BroadcasterCore;

/// The identity of a listener within its broadcaster; 0 is never used.
using SubscriptionId = unsigned long long;

/// A listener's registration. Move-only; destroying it unsubscribes the listener (waiting as
/// BroadcasterCore::unsubscribe does). It may outlive its broadcaster, and then does nothing.
class QORCOMMON_API Subscription {
public:
    Subscription();
    ~Subscription();
    Subscription(Subscription&& other) noexcept;
    Subscription& operator=(Subscription&& other) noexcept;
    Subscription(const Subscription&) = delete;
    Subscription& operator=(const Subscription&) = delete;

    SubscriptionId id() const;
    /// Whether the listener is still subscribed.
    bool isActive() const;
    /// Unsubscribes now; false when it was no longer subscribed.
    bool unsubscribe();
    /// Lets go of the listener without unsubscribing it: it stays for the broadcaster's life
    /// (or until unsubscribed by id). Returns its id.
    SubscriptionId release();

private:
    friend class BroadcasterCore;
    struct Private;
    Subscription(Private* state, SubscriptionId id);
    Private* d;
    SubscriptionId m_id;
};

/// The untyped listener list under Broadcaster<Args...>; arguments travel as one pointer.
///
/// A listener may unsubscribe itself or another from inside a callback: a listener removed during
/// a broadcast is not called afterwards. Called outside any callback, unsubscribe() returns only
/// when the listener is not running on another thread; inside a callback it does not wait.
/// Every operation may be called from any thread; concurrent broadcasts run listeners
/// concurrently.
class QORCOMMON_API BroadcasterCore {
public:
    using Listener = std::function<void(const void* arguments)>;

    BroadcasterCore();
    /// Drops every listener; no broadcast may run any more.
    ~BroadcasterCore();
    BroadcasterCore(const BroadcasterCore&) = delete;
    BroadcasterCore& operator=(const BroadcasterCore&) = delete;

    /// Adds a listener, called after those already there. An empty listener gives an inactive
    /// subscription.
    Subscription subscribe(Listener listener);
    /// False when no listener has this id.
    bool unsubscribe(SubscriptionId id);
    /// Removes every listener (waiting as unsubscribe does).
    void unsubscribeAll();
    /// Calls every listener in subscription order; returns how many were called. An exception
    /// from a listener ends the broadcast and reaches the caller.
    std::size_t broadcast(const void* arguments) const;
    std::size_t listenerCount() const;

private:
    friend class Subscription;
    Subscription::Private* d;
};

/// One sender, many listeners, called with `const Args&...` in subscription order.
template <class... Args> class Broadcaster {
public:
    using Listener = std::function<void(const Args&...)>;

    Broadcaster() = default;
    Broadcaster(const Broadcaster&) = delete;
    Broadcaster& operator=(const Broadcaster&) = delete;

    Subscription subscribe(Listener listener) {
        if (!listener) return m_core.subscribe(BroadcasterCore::Listener());
        return m_core.subscribe([listener = std::move(listener)](const void* arguments) {
            std::apply(listener, *static_cast<const std::tuple<const Args&...>*>(arguments));
        });
    }
    bool unsubscribe(SubscriptionId id) { return m_core.unsubscribe(id); }
    void unsubscribeAll() { m_core.unsubscribeAll(); }
    std::size_t broadcast(const Args&... arguments) const {
        const std::tuple<const Args&...> packed(arguments...);
        return m_core.broadcast(&packed);
    }
    std::size_t listenerCount() const { return m_core.listenerCount(); }

private:
    BroadcasterCore m_core;
};

} // namespace Core
} // namespace Orvane
