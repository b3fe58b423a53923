// Reference-counted objects and the handles that count their uses.
//
// A GCObject starts with a use count of 0. Every GC<T> handle that holds it takes one use and
// gives it back when it lets go; the release that brings the count back to 0 deletes the object.
// An object that no handle ever took is not deleted by the counting: its maker deletes it.
#pragma once

#include "qorcommon/assertion.h"
#include "qorcommon/export.h"

#include <atomic>
#include <cstddef>
#include <cstdint>
#include <type_traits>
#include <utility>

namespace Orvane {
namespace Core {

class GCReferenceRegistry;

/// Base of every reference-counted object.
/// Thread safety: thread-safe (the use count); the subclass's own state is its own concern.
class QORCOMMON_API GCObject {
public:
    GCObject();
    /// A copy is a new object: it starts with a use count of 0.
    GCObject(const GCObject& other);
    /// Assignment copies no count: each object keeps its own uses.
    GCObject& operator=(const GCObject& other);
    virtual ~GCObject();

    /// The fully qualified class name of the concrete class.
    virtual const char* typeName() const;

    /// The object's identity: its address widened to 64 bits.
    std::uint64_t objectId() const {
        return static_cast<std::uint64_t>(reinterpret_cast<std::uintptr_t>(this));
    }

    /// The object's reference registry, made on first access.
    GCReferenceRegistry& referenceRegistry() const;

    /// The current number of uses (for diagnostics; it may change at once in other threads).
    std::int32_t useCount() const { return m_useCount.load(std::memory_order_relaxed); }

private:
    friend class GCObjectReference;

    // The use count lives in the object itself rather than in a separately allocated block: a
    // handle copy then touches one cache line and object creation allocates nothing. An atomic
    // compare-and-swap keeps every rule of the counting (never below zero, an untaken release is
    // refused, exactly one releasing thread deletes) without a mutex per object. This field's
    // layout is frozen; everything else lives behind `d`.
    std::atomic<std::int32_t> m_useCount;
    struct Private;
    mutable std::atomic<Private*> d;
};

/// A registry of names attached to an object, for diagnostics: callers may note who holds the
/// object. Nothing in the library depends on its contents.
/// Thread safety: thread-safe.
class QORCOMMON_API GCReferenceRegistry {
public:
    GCReferenceRegistry();
    ~GCReferenceRegistry();
    GCReferenceRegistry(const GCReferenceRegistry&) = delete;
    GCReferenceRegistry& operator=(const GCReferenceRegistry&) = delete;

    /// Notes one more holder with this name.
    void add(const char* holder);
    /// Forgets one holder with this name; false when none was noted.
    bool remove(const char* holder);
    /// How many holders with this name are noted.
    long count(const char* holder) const;
    /// How many holders are noted in all.
    long size() const;

private:
    struct Private;
    Private* d;
};

/// Base of every handle: the counting operations on a GCObject.
/// Thread safety: reentrant.
class QORCOMMON_API GCObjectReference {
public:
    GCObjectReference() = default;
    GCObjectReference(const GCObjectReference&) = default;
    GCObjectReference& operator=(const GCObjectReference&) = default;
    virtual ~GCObjectReference() = default;

protected:
    /// Takes one use of `o`; null does nothing.
    static void useObject(GCObject* o) {
        if (!o) return;
        const std::int32_t before = o->m_useCount.fetch_add(1, std::memory_order_relaxed);
        if (before < 0) reportAssertion("ref_counter >= 0", "gc", __LINE__);
    }

    /// Gives back one use of `o` and deletes it when none is left. Returns true when the count
    /// reached 0; a null object or a count already at 0 changes nothing and returns false.
    static bool unuseObject(GCObject* o) { return unuseObject(o, false); }

    /// As unuseObject(o), but with `keep` the object is not deleted at 0: the caller takes over.
    static bool unuseObject(GCObject* o, bool keep) {
        if (!o) return false;
        std::int32_t count = o->m_useCount.load(std::memory_order_relaxed);
        do {
            if (count <= 0) return false;
        } while (!o->m_useCount.compare_exchange_weak(count, count - 1, std::memory_order_acq_rel,
                                                      std::memory_order_relaxed));
        if (count != 1) return false;
        // Only the thread whose exchange took the count from 1 to 0 gets here, so exactly one
        // thread deletes.
        if (!keep) delete o;
        return true;
    }

    /// A full memory barrier on the object; changes nothing. (A read-modify-write of the count
    /// rather than a fence: it orders with the counting itself, and thread sanitizers see it.)
    static void refObject(GCObject* o) {
        if (o) o->m_useCount.fetch_add(0, std::memory_order_seq_cst);
    }
    static void unrefObject(GCObject* o) {
        if (o) o->m_useCount.fetch_add(0, std::memory_order_seq_cst);
    }
};

/// A handle holding one T*, without counting; GC<T> adds the counting.
/// Thread safety: reentrant.
template <class T> class GCBase : public GCObjectReference {
public:
    using element_type = T;

    GCBase() = default;
    GCBase(const GCBase&) = default;
    ~GCBase() override = default;

    /// The held object as a GCObject.
    virtual GCObject* object() const { return m_ptr; }
    /// Forgets the held pointer without giving back its use (ownership was handed over).
    virtual void reset() { m_ptr = nullptr; }

    T* operator->() const { return m_ptr; }
    T& operator*() const { return *m_ptr; }
    T* ptr() const { return m_ptr; }
    bool isNull() const { return m_ptr == nullptr; }
    explicit operator bool() const { return m_ptr != nullptr; }
    template <class U> bool operator==(const GCBase<U>& other) const {
        return m_ptr == other.ptr();
    }
    template <class U> bool operator!=(const GCBase<U>& other) const {
        return m_ptr != other.ptr();
    }
    bool operator==(std::nullptr_t) const { return m_ptr == nullptr; }
    bool operator!=(std::nullptr_t) const { return m_ptr != nullptr; }

    GCBase& operator=(T* p) {
        registerObject(p);
        return *this;
    }
    GCBase& operator=(const GCBase& other) {
        if (this != &other) registerObject(other.m_ptr);
        return *this;
    }
    /// Lets go of the held object.
    void dispose() { unregisterObject(); }

protected:
    /// Holds `p` in place of the current object. The base handle does not count.
    virtual void registerObject(T* p) { m_ptr = p; }
    /// Holds nothing any more.
    virtual void unregisterObject() { m_ptr = nullptr; }

    T* m_ptr = nullptr;
};

/// The counting handle: a copy takes a use, destruction or dispose() gives it back.
/// Thread safety: reentrant (one handle per thread; the object it holds is counted atomically).
template <class T> class GC : public GCBase<T> {
public:
    GC() = default;
    GC(std::nullptr_t) {}
    GC(T* p) { GC::registerObject(p); }
    GC(const GC& other) : GCBase<T>() { GC::registerObject(other.m_ptr); }
    GC(const GCBase<T>& other) : GCBase<T>() { GC::registerObject(other.ptr()); }
    /// A moved handle hands its use over; the source is left null.
    GC(GC&& other) noexcept : GCBase<T>() {
        this->m_ptr = other.m_ptr;
        other.m_ptr = nullptr;
    }
    /// Converts a handle of a derived class (only upward: a downcast must be explicit).
    template <class U, class = std::enable_if_t<std::is_convertible<U*, T*>::value>>
    GC(const GC<U>& other) : GCBase<T>() {
        GC::registerObject(other.ptr());
    }
    ~GC() override {
        GCObjectReference::unuseObject(this->m_ptr);
        this->m_ptr = nullptr;
    }

    GC& operator=(const GC& other) {
        if (this != &other) GC::registerObject(other.m_ptr);
        return *this;
    }
    GC& operator=(GC&& other) noexcept {
        if (this != &other) {
            T* old = this->m_ptr;
            this->m_ptr = other.m_ptr;
            other.m_ptr = nullptr;
            GCObjectReference::unuseObject(old);
        }
        return *this;
    }
    GC& operator=(T* p) {
        GC::registerObject(p);
        return *this;
    }
    GC& operator=(const GCBase<T>& other) {
        GC::registerObject(other.ptr());
        return *this;
    }

    /// Holds a new object: the old one is released first, then the new one is taken.
    void registerObject(T* p) override {
        T* old = this->m_ptr;
        // Handing a handle its own object again changes nothing (releasing first would delete
        // an object held only here before it is taken again).
        if (p == old) return;
        GCObjectReference::unuseObject(old);
        this->m_ptr = p;
        GCObjectReference::useObject(p);
    }
    void unregisterObject() override {
        T* old = this->m_ptr;
        this->m_ptr = nullptr;
        GCObjectReference::unuseObject(old);
    }
};

/// The handle type that signatures take by const reference.
template <class T> using GCRef = GC<T>;

/// Makes a new object held by a counting handle.
template <class T, class... Args> GC<T> makeGC(Args&&... args) {
    return GC<T>(new T(std::forward<Args>(args)...));
}

} // namespace Core
} // namespace Orvane
