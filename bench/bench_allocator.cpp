// Allocating and freeing small blocks from FixedBlockPool and MemoryAllocator, against
// operator new/delete doing the same, on one thread and on two threads sharing one pool.
//
// Each iteration allocates a batch of blocks, touches each, and frees the batch, as a logger
// does with the pieces of its lines; a single allocate/free pair would only measure the
// allocator's fast path on one hot block.
#include "qorcommon/memoryallocer.h"

#include <benchmark/benchmark.h>

#include <cstring>
#include <thread>

using namespace Orvane::Core;

namespace {

constexpr int batch = 64;
constexpr std::size_t blockBytes = 64;

// Like the other benchmarks: the process has started a thread, as every real program has.
const bool g_processIsMultiThreaded = [] {
    std::thread([] {}).join();
    return true;
}();

template <typename Allocate, typename Release>
void runBatches(benchmark::State& state, Allocate allocate, Release release) {
    void* blocks[batch];
    for (auto _ : state) {
        for (void*& block : blocks) {
            block = allocate();
            static_cast<char*>(block)[0] = 1;
        }
        benchmark::DoNotOptimize(blocks);
        for (void* block : blocks)
            release(block);
    }
    state.SetItemsProcessed(state.iterations() * batch);
}

FixedBlockPool& sharedPool() {
    static FixedBlockPool pool(blockBytes);
    return pool;
}

MemoryAllocator& sharedAllocator() {
    static MemoryAllocator allocator;
    return allocator;
}

void Pool_Batch(benchmark::State& state) {
    FixedBlockPool& pool = sharedPool();
    runBatches(
        state, [&] { return pool.allocate(); }, [&](void* block) { pool.deallocate(block); });
}
BENCHMARK(Pool_Batch)->Threads(1)->Threads(2)->UseRealTime();

void Allocator_Batch(benchmark::State& state) {
    MemoryAllocator& allocator = sharedAllocator();
    runBatches(
        state, [&] { return allocator.allocate(blockBytes); },
        [&](void* block) { allocator.deallocate(block, blockBytes); });
}
BENCHMARK(Allocator_Batch)->Threads(1)->Threads(2)->UseRealTime();

void NewDelete_Batch(benchmark::State& state) {
    runBatches(
        state, [] { return ::operator new(blockBytes); },
        [](void* block) { ::operator delete(block); });
}
BENCHMARK(NewDelete_Batch)->Threads(1)->Threads(2)->UseRealTime();

} // namespace
