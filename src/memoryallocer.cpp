// Fixed-size block pools. A pool keeps an intrusive free list of returned blocks and carves new
// blocks from its newest chunk only when the list is empty, so a fresh chunk costs no loop over
// its blocks. A spin lock guards each pool: the critical sections are a few instructions, far
// shorter than a sleep and wake-up of a mutex.
#include "qorcommon/memoryallocer.h"

#include "platform/platform.h"

#include <atomic>
#include <new>

namespace Orvane {
namespace Core {

namespace {

constexpr std::size_t alignment = 16;

std::size_t roundUp(std::size_t value) {
    return (value + alignment - 1) / alignment * alignment;
}

struct FreeBlock {
    FreeBlock* next;
};

// Each chunk begins with this record, padded to the block alignment.
struct ChunkHeader {
    ChunkHeader* previous;
};

class SpinLock {
public:
    void lock() {
        for (unsigned spins = 0; m_locked.exchange(true, std::memory_order_acquire); ++spins) {
            while (m_locked.load(std::memory_order_relaxed)) {
                if (++spins > 64) {
                    Platform::yieldThread();
                    spins = 0;
                }
            }
        }
    }
    void unlock() { m_locked.store(false, std::memory_order_release); }

private:
    std::atomic<bool> m_locked{false};
};

class SpinGuard {
public:
    explicit SpinGuard(SpinLock& lock) : m_lock(lock) { m_lock.lock(); }
    ~SpinGuard() { m_lock.unlock(); }
    SpinGuard(const SpinGuard&) = delete;
    SpinGuard& operator=(const SpinGuard&) = delete;

private:
    SpinLock& m_lock;
};

} // namespace

struct FixedBlockPool::Private {
    SpinLock lock;
    std::size_t blockSize = 0;
    std::size_t blocksPerChunk = 0;
    FreeBlock* freeList = nullptr;
    ChunkHeader* chunks = nullptr;
    unsigned char* carve = nullptr; // next unused block of the newest chunk
    unsigned char* carveEnd = nullptr;
    std::size_t chunkCount = 0;
    std::size_t inUse = 0;

    bool addChunk() {
        const std::size_t bytes = roundUp(sizeof(ChunkHeader)) + blockSize * blocksPerChunk;
        auto* memory = static_cast<unsigned char*>(::operator new(bytes, std::nothrow));
        if (!memory) return false;
        auto* header = reinterpret_cast<ChunkHeader*>(memory);
        header->previous = chunks;
        chunks = header;
        carve = memory + roundUp(sizeof(ChunkHeader));
        carveEnd = memory + bytes;
        ++chunkCount;
        return true;
    }
};

FixedBlockPool::FixedBlockPool(std::size_t blockSize, std::size_t blocksPerChunk) : d(new Private) {
    d->blockSize = roundUp(blockSize == 0 ? 1 : blockSize);
    if (blocksPerChunk == 0) {
        blocksPerChunk = (64 * 1024) / d->blockSize;
        if (blocksPerChunk < 8) blocksPerChunk = 8;
    }
    d->blocksPerChunk = blocksPerChunk;
}

FixedBlockPool::~FixedBlockPool() {
    for (ChunkHeader* chunk = d->chunks; chunk;) {
        ChunkHeader* previous = chunk->previous;
        ::operator delete(static_cast<void*>(chunk));
        chunk = previous;
    }
    delete d;
}

void* FixedBlockPool::allocate() {
    SpinGuard guard(d->lock);
    void* block = nullptr;
    if (d->freeList) {
        block = d->freeList;
        d->freeList = d->freeList->next;
    } else {
        if (d->carve == d->carveEnd && !d->addChunk()) return nullptr;
        block = d->carve;
        d->carve += d->blockSize;
    }
    ++d->inUse;
    return block;
}

void FixedBlockPool::deallocate(void* block) {
    if (!block) return;
    auto* freed = static_cast<FreeBlock*>(block);
    SpinGuard guard(d->lock);
    freed->next = d->freeList;
    d->freeList = freed;
    --d->inUse;
}

std::size_t FixedBlockPool::blockSize() const {
    return d->blockSize;
}

std::size_t FixedBlockPool::blocksPerChunk() const {
    return d->blocksPerChunk;
}

std::size_t FixedBlockPool::chunkCount() const {
    SpinGuard guard(d->lock);
    return d->chunkCount;
}

std::size_t FixedBlockPool::blocksInUse() const {
    SpinGuard guard(d->lock);
    return d->inUse;
}

// ---- size classes ------------------------------------------------------------------------------

namespace {

constexpr std::size_t classCount = 7; // 16, 32, ... 1024

std::size_t sizeClass(std::size_t size) {
    std::size_t index = 0;
    for (std::size_t capacity = 16; capacity < size; capacity <<= 1)
        ++index;
    return index;
}

} // namespace

struct MemoryAllocator::Private {
    FixedBlockPool* pools[classCount] = {};
};

MemoryAllocator::MemoryAllocator() : d(new Private) {
    for (std::size_t i = 0; i < classCount; ++i)
        d->pools[i] = new FixedBlockPool(16u << i);
}

MemoryAllocator::~MemoryAllocator() {
    for (FixedBlockPool* pool : d->pools)
        delete pool;
    delete d;
}

void* MemoryAllocator::allocate(std::size_t size) {
    if (size > largestPooledSize) return ::operator new(size, std::nothrow);
    return d->pools[sizeClass(size)]->allocate();
}

void MemoryAllocator::deallocate(void* block, std::size_t size) {
    if (!block) return;
    if (size > largestPooledSize) {
        ::operator delete(block);
        return;
    }
    d->pools[sizeClass(size)]->deallocate(block);
}

} // namespace Core
} // namespace Orvane
