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
// The empty instance is a function-local static placed in static storage and never destroyed: it
// is built on first use (thread-safe under C++11 rules, whatever the order of static
// initialisation) and stays valid while other statics are destroyed. Only the library's source
// files, where P is complete, instantiate the member functions (the classes define their special
// members out of line), so there is exactly one empty instance per P, inside the library, on
// both sides of a DLL boundary.
//
// Thread safety: reentrant; the copy count of SharedPrivatePtr is atomic, so copies of one
// object may be made from several threads at once.
#pragma once

#include <atomic>
#include <new>

namespace Orvane {
namespace Core {

/// Where a block lives for good: the one empty instance of P, built on first use.
template <typename P> P* emptyPrivateInstance() noexcept {
    alignas(P) static unsigned char storage[sizeof(P)];
    static P* const instance = ::new (static_cast<void*>(storage)) P();
    return instance;
}

/// Owns a private block, copied deeply.
template <typename P> class PrivatePtr {
public:
    /// The shared empty block.
    PrivatePtr() noexcept : m_p(emptyPrivateInstance<P>()) {}
    /// Takes a block made with new.
    explicit PrivatePtr(P* block) noexcept : m_p(block) {}
    /// A copy of a non-empty block; the empty block is shared, not copied.
    PrivatePtr(const PrivatePtr& other) : m_p(other.isEmpty() ? other.m_p : new P(*other.m_p)) {}
    PrivatePtr(PrivatePtr&& other) noexcept : m_p(other.m_p) {
        other.m_p = emptyPrivateInstance<P>();
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
            other.m_p = emptyPrivateInstance<P>();
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
    bool isEmpty() const noexcept { return m_p == emptyPrivateInstance<P>(); }
    /// Back to the shared empty block.
    void reset() noexcept {
        if (!isEmpty()) {
            delete m_p;
            m_p = emptyPrivateInstance<P>();
        }
    }

private:
    P* m_p;
};

/// The base of a block held by SharedPrivatePtr: the count of holders. A copied block starts
/// with a count of its own.
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
template <typename P> class SharedPrivatePtr {
public:
    SharedPrivatePtr() noexcept : m_p(emptyPrivateInstance<P>()) {}
    /// Takes a block made with new (its count is 1).
    explicit SharedPrivatePtr(P* block) noexcept : m_p(block) {}
    SharedPrivatePtr(const SharedPrivatePtr& other) noexcept : m_p(other.m_p) { retain(m_p); }
    SharedPrivatePtr(SharedPrivatePtr&& other) noexcept : m_p(other.m_p) {
        other.m_p = emptyPrivateInstance<P>();
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
            other.m_p = emptyPrivateInstance<P>();
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
    bool isEmpty() const noexcept { return m_p == emptyPrivateInstance<P>(); }
    /// True when another holder shares the block (never for the empty block).
    bool isShared() const noexcept {
        return !isEmpty() && m_p->m_holders.load(std::memory_order_acquire) != 1;
    }

private:
    static void retain(P* block) noexcept {
        if (block != emptyPrivateInstance<P>())
            block->m_holders.fetch_add(1, std::memory_order_relaxed);
    }
    static void release(P* block) noexcept {
        if (block != emptyPrivateInstance<P>() &&
            block->m_holders.fetch_sub(1, std::memory_order_acq_rel) == 1)
            delete block;
    }

    P* m_p;
};

} // namespace Core
} // namespace Orvane
