// The private-implementation pointer of the library's value classes.
//
// A class keeps its data in a `struct Private` that only its source file defines, and holds it
// through one of these pointer-sized holders:
//
//     PrivatePtr<P>        deep copy: every copy owns its own block;
//     SharedPrivatePtr<P>  copy-on-write: copies share one block (P derives from SharedPrivate)
//                          until one of them writes.
//
// Both read through `operator->` (const only) and write through `write()`, so every write is
// visibly a write. A default-constructed or moved-from holder points at one shared, never-written
// empty `P`: reading a default or moved-from object never allocates, and a move never allocates.
// A holder gets a block of its own on its first write.
//
// Why this shape:
// - The empty block is built in static storage on first use (a function-local static: thread-safe
//   and independent of the order of static initialisation) and never destroyed, so it is valid
//   during start-up and shutdown alike. Holders recognise it by the address of its storage, which
//   is known without building it, so a copy, move or destruction has no guard to test.
// - Only the constructors that take a block or make the empty one build it. Every other holder is
//   a copy or a move of one of those, so moves and resets, which may not fail, never build it:
//   they neither allocate nor throw, even where P() allocates.
// - P is complete only in the library's source files. The classes declare their special members
//   in the header and default them in the source, so every member of the template is
//   instantiated inside the library: one empty block per P, on either side of a DLL boundary,
//   and the layout of a class stays one pointer.
//
// Thread safety: reentrant; the count of SharedPrivatePtr is atomic, so copies of one object may
// be made and dropped from several threads at once.
#pragma once

#include <atomic>
#include <new>

namespace Orvane {
namespace Core {

/// The one empty instance of P, in static storage that is never freed.
///
/// The instance is built on first use (thread-safe, whatever the order of static initialisation)
/// and never destroyed, so it stays valid while other statics are torn down. Its address is that
/// of the storage, known without building it: comparing a pointer with it costs no guard.
/// Thread safety: thread-safe.
template <typename P> class EmptyPrivate {
public:
    /// Builds the instance unless it exists; throws what P() throws.
    static P* instance() {
        static P* const made = ::new (static_cast<void*>(storage())) P();
        return made;
    }
    /// The instance, for a caller that knows it was built (a holder pointing at it exists).
    static P* built() noexcept { return std::launder(reinterpret_cast<P*>(storage())); }
    /// True when `p` is the empty instance; builds nothing.
    static bool is(const P* p) noexcept {
        return static_cast<const void*>(p) == static_cast<const void*>(storage());
    }

private:
    static unsigned char* storage() noexcept {
        alignas(P) static unsigned char bytes[sizeof(P)];
        return bytes;
    }
};

/// Owns a private block, copied deeply.
/// Thread safety: reentrant.
template <typename P> class PrivatePtr {
public:
    /// The shared empty block (built here on first use).
    PrivatePtr() : m_p(EmptyPrivate<P>::instance()) {}
    /// Takes a block made with new. Also builds the empty block, so that no later move or reset,
    /// which may not fail, is the first to need it.
    explicit PrivatePtr(P* block) : m_p(block) { adopt(block); }
    /// A copy of a non-empty block; the empty block is shared, not copied.
    PrivatePtr(const PrivatePtr& other) : m_p(other.isEmpty() ? other.m_p : new P(*other.m_p)) {}
    PrivatePtr(PrivatePtr&& other) noexcept : m_p(other.m_p) {
        other.m_p = EmptyPrivate<P>::built();
    }
    PrivatePtr& operator=(const PrivatePtr& other) {
        if (m_p == other.m_p) return *this;
        if (other.isEmpty()) {
            reset();
        } else if (isEmpty()) {
            m_p = new P(*other.m_p);
        } else {
            *m_p = *other.m_p;
        }
        return *this;
    }
    PrivatePtr& operator=(PrivatePtr&& other) noexcept {
        if (this != &other) {
            P* taken = other.m_p;
            other.m_p = EmptyPrivate<P>::built();
            reset();
            m_p = taken;
        }
        return *this;
    }
    ~PrivatePtr() { reset(); }

    const P* operator->() const noexcept { return m_p; }
    const P& operator*() const noexcept { return *m_p; }
    const P* get() const noexcept { return m_p; }
    /// The block for writing; the first write of an empty holder allocates.
    P* write() {
        if (isEmpty()) m_p = new P();
        return m_p;
    }
    /// True while the holder points at the shared empty block.
    bool isEmpty() const noexcept { return EmptyPrivate<P>::is(m_p); }
    /// Back to the shared empty block.
    void reset() noexcept {
        if (!isEmpty()) {
            delete m_p;
            m_p = EmptyPrivate<P>::built();
        }
    }

private:
    static void adopt(P* block) {
        try {
            EmptyPrivate<P>::instance();
        } catch (...) {
            delete block;
            throw;
        }
    }

    P* m_p;
};

/// The base of a block held by SharedPrivatePtr: the count of holders. A copied block starts
/// with a count of its own.
/// Thread safety: thread-safe.
class SharedPrivate {
public:
    SharedPrivate() noexcept = default;
    SharedPrivate(const SharedPrivate&) noexcept {}
    SharedPrivate& operator=(const SharedPrivate&) noexcept { return *this; }

protected:
    ~SharedPrivate() = default;

private:
    template <typename> friend class SharedPrivatePtr;
    mutable std::atomic<long> m_holders{1};
};

/// Shares a private block between copies; the first write of a shared copy detaches it.
///
/// Copying and moving never throw and never allocate. The empty block is never counted, so
/// default objects do not all write to one shared counter.
/// Thread safety: reentrant (copies of one holder may be made and dropped from several threads).
template <typename P> class SharedPrivatePtr {
public:
    /// The shared empty block (built here on first use).
    SharedPrivatePtr() : m_p(EmptyPrivate<P>::instance()) {}
    /// Takes a block made with new (its count is 1); builds the empty block as PrivatePtr does.
    explicit SharedPrivatePtr(P* block) : m_p(block) {
        try {
            EmptyPrivate<P>::instance();
        } catch (...) {
            delete block;
            throw;
        }
    }
    SharedPrivatePtr(const SharedPrivatePtr& other) noexcept : m_p(other.m_p) { retain(m_p); }
    SharedPrivatePtr(SharedPrivatePtr&& other) noexcept : m_p(other.m_p) {
        other.m_p = EmptyPrivate<P>::built();
    }
    SharedPrivatePtr& operator=(const SharedPrivatePtr& other) noexcept {
        P* old = m_p;
        m_p = other.m_p;
        retain(m_p);
        release(old);
        return *this;
    }
    SharedPrivatePtr& operator=(SharedPrivatePtr&& other) noexcept {
        if (this != &other) {
            P* old = m_p;
            m_p = other.m_p;
            other.m_p = EmptyPrivate<P>::built();
            release(old);
        }
        return *this;
    }
    ~SharedPrivatePtr() { release(m_p); }

    const P* operator->() const noexcept { return m_p; }
    const P& operator*() const noexcept { return *m_p; }
    const P* get() const noexcept { return m_p; }
    /// The block for writing: a new one for an empty holder, a copy of a shared one.
    P* write() {
        if (isEmpty()) {
            m_p = new P();
        } else if (m_p->m_holders.load(std::memory_order_acquire) != 1) {
            P* own = new P(*m_p);
            release(m_p);
            m_p = own;
        }
        return m_p;
    }
    bool isEmpty() const noexcept { return EmptyPrivate<P>::is(m_p); }
    /// True when another holder shares the block (never for the empty block).
    bool isShared() const noexcept {
        return !isEmpty() && m_p->m_holders.load(std::memory_order_acquire) != 1;
    }

private:
    static void retain(P* block) noexcept {
        if (!EmptyPrivate<P>::is(block)) block->m_holders.fetch_add(1, std::memory_order_relaxed);
    }
    static void release(P* block) noexcept {
        if (!EmptyPrivate<P>::is(block) &&
            block->m_holders.fetch_sub(1, std::memory_order_acq_rel) == 1)
            delete block;
    }

    P* m_p;
};

} // namespace Core
} // namespace Orvane
