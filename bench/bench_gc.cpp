// Copying and dropping a counting handle, against std::shared_ptr doing the same.
//
// Fairness: libstdc++ skips the atomic instructions in shared_ptr while the process has never
// started a second thread. A thread is therefore started and joined before any benchmark runs,
// so both handles pay for atomic counting in every case, as they do in a real program.
#include "qorcommon/gc.h"

#include <benchmark/benchmark.h>

#include <memory>
#include <thread>

using namespace Orvane::Core;

namespace {

const bool g_processIsMultiThreaded = [] {
    std::thread([] {}).join();
    return true;
}();

struct Payload : GCObject {
    int value = 1;
};

struct PlainPayload {
    int value = 1;
};

void GC_CopyDestroy(benchmark::State& state) {
    GC<Payload> handle = makeGC<Payload>();
    for (auto _ : state) {
        GC<Payload> copy(handle);
        benchmark::DoNotOptimize(copy);
    }
}
BENCHMARK(GC_CopyDestroy);

void SharedPtr_CopyDestroy(benchmark::State& state) {
    auto handle = std::make_shared<PlainPayload>();
    for (auto _ : state) {
        std::shared_ptr<PlainPayload> copy(handle);
        benchmark::DoNotOptimize(copy);
    }
}
BENCHMARK(SharedPtr_CopyDestroy);

// Two threads hammering one object: every copy and drop contends for the count's cache line.
GC<Payload> g_sharedHandle = makeGC<Payload>();
std::shared_ptr<PlainPayload> g_sharedPointer = std::make_shared<PlainPayload>();

void GC_CopyDestroyContended(benchmark::State& state) {
    for (auto _ : state) {
        GC<Payload> copy(g_sharedHandle);
        benchmark::DoNotOptimize(copy);
    }
}
BENCHMARK(GC_CopyDestroyContended)->Threads(2)->UseRealTime();

void SharedPtr_CopyDestroyContended(benchmark::State& state) {
    for (auto _ : state) {
        std::shared_ptr<PlainPayload> copy(g_sharedPointer);
        benchmark::DoNotOptimize(copy);
    }
}
BENCHMARK(SharedPtr_CopyDestroyContended)->Threads(2)->UseRealTime();

} // namespace
