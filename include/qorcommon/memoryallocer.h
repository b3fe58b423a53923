// Pools of fixed-size memory blocks for code that allocates many small objects of a few sizes
// (log lines, socket buffers).
#pragma once

#include "qorcommon/export.h"

#include <cstddef>

namespace Orvane {
namespace Core {

/// Hands out blocks of one size, carved from chunks that it allocates in bulk; returned blocks
/// are kept on a free list for reuse. All chunks go back to the system when the pool is
/// destroyed, which makes every block still handed out invalid. Thread-safe.
class QORCOMMON_API FixedBlockPool {
public:
    /// Blocks of at least `blockSize` bytes (rounded up to a multiple of 16, 16-byte aligned);
    /// `blocksPerChunk` 0 picks about 64 KiB per chunk.
    explicit FixedBlockPool(std::size_t blockSize, std::size_t blocksPerChunk = 0);
    ~FixedBlockPool();
    FixedBlockPool(const FixedBlockPool&) = delete;
    FixedBlockPool& operator=(const FixedBlockPool&) = delete;

    /// A block; null only when the system has no memory for a new chunk.
    void* allocate();
    /// Gives back a block of this pool; null is ignored.
    void deallocate(void* block);

    std::size_t blockSize() const;
    std::size_t blocksPerChunk() const;
    /// Chunks allocated so far.
    std::size_t chunkCount() const;
    /// Blocks handed out and not yet given back.
    std::size_t blocksInUse() const;

private:
    struct Private;
    Private* d;
};

/// Pools for the sizes 16, 32, 64, ... 1024 bytes; larger requests go to operator new. The
/// caller passes the size again when giving a block back. Thread-safe.
class QORCOMMON_API MemoryAllocator {
public:
    MemoryAllocator();
    ~MemoryAllocator();
    MemoryAllocator(const MemoryAllocator&) = delete;
    MemoryAllocator& operator=(const MemoryAllocator&) = delete;

    /// At least `size` bytes, 16-byte aligned; null only when the system is out of memory.
    void* allocate(std::size_t size);
    /// Gives back a block from allocate() with the same `size`; null is ignored.
    void deallocate(void* block, std::size_t size);

    /// The largest size served from a pool.
    static constexpr std::size_t largestPooledSize = 1024;

private:
    struct Private;
    Private* d;
};

} // namespace Core
} // namespace Orvane
