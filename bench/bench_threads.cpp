// Threads, timers and events against what a program would otherwise use:
// - an event depot carrying ints from one thread to another, against a queue made of std::mutex
//   and std::condition_variable and against Poco's NotificationQueue;
// - a broadcast to 1 and 16 listeners, against calling a vector of std::function directly;
// - how late a timeline's 10 ms periodic entry runs (p50 / p99 / max, in microseconds);
// - reading a per-thread value through thr_variable_get, against C++ thread_local and Poco's
//   ThreadLocal.
#include "qorcommon/c/thread.h"
#include "qorcommon/event.h"
#include "qorcommon/thread.h"
#include "qorcommon/timeline.h"

#include <benchmark/benchmark.h>

#include <algorithm>
#include <atomic>
#include <chrono>
#include <condition_variable>
#include <deque>
#include <functional>
#include <mutex>
#include <thread>
#include <vector>

#ifdef QOR_BENCH_WITH_POCO
#include <Poco/AutoPtr.h>
#include <Poco/Notification.h>
#include <Poco/NotificationQueue.h>
#include <Poco/ThreadLocal.h>
#endif

using namespace Orvane::Core;

namespace {

constexpr int kTransfer = 20000; // items handed over per benchmark iteration

// The queue a C++ programmer writes by hand.
class PlainQueue {
public:
    void push(int value) {
        {
            std::lock_guard<std::mutex> lock(m_mutex);
            m_items.push_back(value);
        }
        m_ready.notify_one();
    }
    int pop() {
        std::unique_lock<std::mutex> lock(m_mutex);
        m_ready.wait(lock, [this] { return !m_items.empty(); });
        const int value = m_items.front();
        m_items.pop_front();
        return value;
    }

private:
    std::mutex m_mutex;
    std::condition_variable m_ready;
    std::deque<int> m_items;
};

template <class Push, class Pop> void transfer(benchmark::State& state, Push push, Pop pop) {
    for (auto _ : state) {
        Thread producer;
        producer.start([&](const StopToken&) {
            for (int i = 0; i < kTransfer; ++i)
                push(i);
        });
        long sum = 0;
        for (int i = 0; i < kTransfer; ++i)
            sum += pop();
        producer.join();
        benchmark::DoNotOptimize(sum);
    }
    state.SetItemsProcessed(state.iterations() * kTransfer);
}

void Depot_EventDepot(benchmark::State& state) {
    EventDepot<int> depot;
    transfer(
        state, [&](int v) { depot.push(v); },
        [&] {
            int v = 0;
            depot.pop(v);
            return v;
        });
}
BENCHMARK(Depot_EventDepot)->UseRealTime()->Unit(benchmark::kMillisecond);

void Depot_PlainQueue(benchmark::State& state) {
    PlainQueue queue;
    transfer(
        state, [&](int v) { queue.push(v); }, [&] { return queue.pop(); });
}
BENCHMARK(Depot_PlainQueue)->UseRealTime()->Unit(benchmark::kMillisecond);

#ifdef QOR_BENCH_WITH_POCO
class IntNotification : public Poco::Notification {
public:
    explicit IntNotification(int value) : value(value) {}
    int value;
};

void Depot_PocoNotificationQueue(benchmark::State& state) {
    Poco::NotificationQueue queue;
    transfer(
        state, [&](int v) { queue.enqueueNotification(new IntNotification(v)); },
        [&] {
            Poco::AutoPtr<Poco::Notification> n(queue.waitDequeueNotification());
            return static_cast<IntNotification*>(n.get())->value;
        });
}
BENCHMARK(Depot_PocoNotificationQueue)->UseRealTime()->Unit(benchmark::kMillisecond);
#endif

// ---- broadcast ---------------------------------------------------------------------------------

void Broadcast_Broadcaster(benchmark::State& state) {
    Broadcaster<int> broadcaster;
    long sum = 0;
    std::vector<Subscription> subscriptions;
    for (int i = 0; i < state.range(0); ++i)
        subscriptions.push_back(broadcaster.subscribe([&sum](const int& v) { sum += v; }));
    int value = 0;
    for (auto _ : state)
        broadcaster.broadcast(++value);
    benchmark::DoNotOptimize(sum);
}
BENCHMARK(Broadcast_Broadcaster)->Arg(1)->Arg(16);

void Broadcast_FunctionVector(benchmark::State& state) {
    std::vector<std::function<void(const int&)>> listeners;
    long sum = 0;
    for (int i = 0; i < state.range(0); ++i)
        listeners.push_back([&sum](const int& v) { sum += v; });
    int value = 0;
    for (auto _ : state) {
        ++value;
        for (const auto& listener : listeners)
            listener(value);
        benchmark::ClobberMemory();
    }
    benchmark::DoNotOptimize(sum);
}
BENCHMARK(Broadcast_FunctionVector)->Arg(1)->Arg(16);

// ---- timeline jitter ---------------------------------------------------------------------------

// Each run is measured against the latest tick that was due when it started. A run later than a
// whole period makes the timeline drop the ticks it missed; those are counted apart.
void Timeline_Jitter10ms(benchmark::State& state) {
    using Clock = std::chrono::steady_clock;
    constexpr int kRuns = 300;
    constexpr auto kPeriod = std::chrono::milliseconds(10);
    std::vector<double> lateness;
    double dropped = 0;
    for (auto _ : state) {
        lateness.clear();
        lateness.reserve(kRuns);
        Timeline timeline("bench-timeline");
        std::mutex mutex;
        std::condition_variable done;
        int runs = 0;
        long long lastTick = 0;
        const Clock::time_point start = Clock::now();
        timeline.add(10, [&] {
            const Clock::time_point now = Clock::now();
            std::lock_guard<std::mutex> lock(mutex);
            if (runs >= kRuns) return;
            ++runs;
            const long long tick = (now - start) / kPeriod;
            dropped += static_cast<double>(tick - lastTick - 1);
            lastTick = tick;
            const Clock::time_point due = start + tick * kPeriod;
            lateness.push_back(std::chrono::duration<double, std::micro>(now - due).count());
            if (runs == kRuns) done.notify_one();
        }, 10);
        std::unique_lock<std::mutex> lock(mutex);
        done.wait(lock, [&] { return runs >= kRuns; });
    }
    std::sort(lateness.begin(), lateness.end());
    state.counters["p50_us"] = lateness[lateness.size() / 2];
    state.counters["p99_us"] = lateness[lateness.size() * 99 / 100];
    state.counters["max_us"] = lateness.back();
    state.counters["dropped"] = dropped;
}
BENCHMARK(Timeline_Jitter10ms)->Iterations(1)->UseRealTime()->Unit(benchmark::kMillisecond);

// The same measure for a bare thread sleeping until each tick: what the machine itself allows.
void SleepUntilLoop_Jitter10ms(benchmark::State& state) {
    using Clock = std::chrono::steady_clock;
    constexpr int kRuns = 300;
    constexpr auto kPeriod = std::chrono::milliseconds(10);
    std::vector<double> lateness;
    for (auto _ : state) {
        lateness.clear();
        const Clock::time_point start = Clock::now();
        for (int i = 1; i <= kRuns; ++i) {
            std::this_thread::sleep_until(start + i * kPeriod);
            const Clock::time_point now = Clock::now();
            const Clock::time_point due = start + ((now - start) / kPeriod) * kPeriod;
            lateness.push_back(std::chrono::duration<double, std::micro>(now - due).count());
        }
    }
    std::sort(lateness.begin(), lateness.end());
    state.counters["p50_us"] = lateness[lateness.size() / 2];
    state.counters["p99_us"] = lateness[lateness.size() * 99 / 100];
    state.counters["max_us"] = lateness.back();
}
BENCHMARK(SleepUntilLoop_Jitter10ms)->Iterations(1)->UseRealTime()->Unit(benchmark::kMillisecond);

// ---- per-thread values ---------------------------------------------------------------------------

void ThreadValue_thr_variable_get(benchmark::State& state) {
    static int value = 42;
    thr_Variable_ptr variable = thr_variable_create(nullptr);
    thr_variable_set(variable, &value);
    for (auto _ : state)
        benchmark::DoNotOptimize(thr_variable_get(variable));
    thr_variable_delete(variable);
}
BENCHMARK(ThreadValue_thr_variable_get);

thread_local int* t_value = nullptr;

void ThreadValue_cxx_thread_local(benchmark::State& state) {
    static int value = 42;
    t_value = &value;
    for (auto _ : state) {
        benchmark::DoNotOptimize(t_value);
        benchmark::ClobberMemory();
    }
}
BENCHMARK(ThreadValue_cxx_thread_local);

#ifdef QOR_BENCH_WITH_POCO
void ThreadValue_PocoThreadLocal(benchmark::State& state) {
    Poco::ThreadLocal<int*> local;
    static int value = 42;
    *local = &value;
    for (auto _ : state)
        benchmark::DoNotOptimize(*local);
}
BENCHMARK(ThreadValue_PocoThreadLocal);
#endif

} // namespace
