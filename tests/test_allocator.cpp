// FixedBlockPool and MemoryAllocator: block layout and reuse, chunk growth, size classes, and
// many threads sharing one pool (run under ThreadSanitizer too).
#include "qorcommon/memoryallocer.h"

#include <gtest/gtest.h>

#include <cstdint>
#include <cstring>
#include <set>
#include <thread>
#include <vector>

using Orvane::Core::FixedBlockPool;
using Orvane::Core::MemoryAllocator;

namespace {

bool aligned(const void* block) {
    return reinterpret_cast<std::uintptr_t>(block) % 16 == 0;
}

} // namespace

TEST(FixedBlockPool, HandsOutDistinctAlignedBlocksAndReusesThem) {
    FixedBlockPool pool(24, 4);
    EXPECT_EQ(pool.blockSize(), 32u) << "rounded up to the alignment";
    EXPECT_EQ(pool.blocksPerChunk(), 4u);
    EXPECT_EQ(pool.chunkCount(), 0u) << "nothing is allocated before the first block";

    std::vector<unsigned char*> blocks;
    for (int i = 0; i < 10; ++i) {
        auto* block = static_cast<unsigned char*>(pool.allocate());
        ASSERT_NE(block, nullptr);
        EXPECT_TRUE(aligned(block));
        std::memset(block, i, pool.blockSize());
        blocks.push_back(block);
    }
    EXPECT_EQ(pool.chunkCount(), 3u);
    EXPECT_EQ(pool.blocksInUse(), 10u);
    // Each block kept its own content: none overlaps another.
    for (int i = 0; i < 10; ++i) {
        for (size_t k = 0; k < pool.blockSize(); ++k)
            ASSERT_EQ(blocks[i][k], i);
    }
    EXPECT_EQ(std::set<unsigned char*>(blocks.begin(), blocks.end()).size(), 10u);

    pool.deallocate(blocks[3]);
    pool.deallocate(blocks[7]);
    pool.deallocate(nullptr);
    EXPECT_EQ(pool.blocksInUse(), 8u);
    EXPECT_EQ(pool.allocate(), blocks[7]) << "the latest returned block comes first";
    EXPECT_EQ(pool.allocate(), blocks[3]);
    EXPECT_EQ(pool.chunkCount(), 3u) << "reused blocks need no new chunk";
    // Blocks still handed out at destruction go back with their chunks (ASan checks the leak).
}

TEST(FixedBlockPool, DefaultChunkAndTinyBlocks) {
    FixedBlockPool tiny(0);
    EXPECT_EQ(tiny.blockSize(), 16u);
    EXPECT_EQ(tiny.blocksPerChunk(), 64u * 1024 / 16);
    FixedBlockPool huge(100000);
    EXPECT_EQ(huge.blocksPerChunk(), 8u) << "a chunk holds a few blocks even when large";
    void* block = huge.allocate();
    ASSERT_NE(block, nullptr);
    std::memset(block, 0xAB, huge.blockSize());
    huge.deallocate(block);
}

TEST(FixedBlockPool, ThreadsShareOnePool) {
    FixedBlockPool pool(48, 16);
    constexpr int threadCount = 4;
    constexpr int rounds = 200;
    constexpr int perRound = 50;
    std::vector<std::thread> threads;
    std::vector<int> damaged(threadCount, 0);
    for (int t = 0; t < threadCount; ++t) {
        threads.emplace_back([&pool, &damaged, t] {
            std::vector<unsigned char*> mine;
            for (int round = 0; round < rounds; ++round) {
                for (int i = 0; i < perRound; ++i) {
                    auto* block = static_cast<unsigned char*>(pool.allocate());
                    std::memset(block, t + 1, pool.blockSize());
                    mine.push_back(block);
                }
                // Another thread holding the same block would have overwritten the marks.
                for (unsigned char* block : mine) {
                    for (size_t k = 0; k < pool.blockSize(); ++k)
                        if (block[k] != t + 1) ++damaged[static_cast<size_t>(t)];
                    pool.deallocate(block);
                }
                mine.clear();
            }
        });
    }
    for (std::thread& thread : threads)
        thread.join();
    for (int count : damaged)
        EXPECT_EQ(count, 0);
    EXPECT_EQ(pool.blocksInUse(), 0u);
    // At most every thread's blocks at once were out, so the chunks stay bounded.
    EXPECT_LE(pool.chunkCount(), static_cast<size_t>(threadCount * perRound / 16 + threadCount));
}

TEST(MemoryAllocator, ServesEverySizeClassAndLargerRequests) {
    MemoryAllocator allocator;
    const std::size_t sizes[] = {0, 1, 16, 17, 100, 512, 1000, 1024, 1025, 100000};
    std::vector<std::pair<void*, std::size_t>> blocks;
    for (std::size_t size : sizes) {
        void* block = allocator.allocate(size);
        ASSERT_NE(block, nullptr) << size;
        EXPECT_TRUE(aligned(block)) << size;
        std::memset(block, 0x5A, size);
        blocks.emplace_back(block, size);
    }
    for (auto& block : blocks)
        allocator.deallocate(block.first, block.second);
    allocator.deallocate(nullptr, 10);

    // A freed block of a class is handed out again for any size of that class.
    void* first = allocator.allocate(33);
    allocator.deallocate(first, 33);
    EXPECT_EQ(allocator.allocate(64), first);
    allocator.deallocate(first, 64);
}

TEST(MemoryAllocator, ThreadsAllocateMixedSizes) {
    MemoryAllocator allocator;
    std::vector<std::thread> threads;
    for (int t = 0; t < 4; ++t) {
        threads.emplace_back([&allocator, t] {
            std::vector<std::pair<unsigned char*, std::size_t>> mine;
            for (int i = 0; i < 2000; ++i) {
                const std::size_t size = static_cast<std::size_t>((i * 37 + t * 11) % 1500 + 1);
                auto* block = static_cast<unsigned char*>(allocator.allocate(size));
                block[0] = static_cast<unsigned char>(t);
                block[size - 1] = static_cast<unsigned char>(t);
                mine.emplace_back(block, size);
                if (mine.size() > 20) {
                    auto oldest = mine.front();
                    EXPECT_EQ(oldest.first[0], t);
                    EXPECT_EQ(oldest.first[oldest.second - 1], t);
                    allocator.deallocate(oldest.first, oldest.second);
                    mine.erase(mine.begin());
                }
            }
            for (auto& block : mine)
                allocator.deallocate(block.first, block.second);
        });
    }
    for (std::thread& thread : threads)
        thread.join();
}
