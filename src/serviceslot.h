// A slot holding one use of a service that many threads read and few replace.
//
// Reading costs no lock: a reader announces itself on one of two counters, loads the pointer and
// takes its own use of the object. A writer publishes the new pointer, switches readers to the
// other counter and waits until the readers announced on the old one are gone; only then does it
// give back the slot's use of the old object. With sequentially consistent operations a reader
// whose announcement the writer missed loads the pointer after the exchange, so it never sees
// the old object, and a reader that loaded the old pointer is counted until it holds its own use.
#pragma once

#include "qorcommon/gc.h"
#include "qorcommon/mutex.h"

#include <atomic>
#include <thread>

namespace Orvane {
namespace Core {
namespace QOR {
namespace Internal {

/// Thread safety: thread-safe.
template <class T> class ServiceSlot {
public:
    ServiceSlot() = default;
    ServiceSlot(const ServiceSlot&) = delete;
    ServiceSlot& operator=(const ServiceSlot&) = delete;
    ~ServiceSlot() { exchange(GC<T>()); }

    /// A handle on the service; null when the slot is empty.
    GC<T> get() const {
        const unsigned side = m_epoch.load() & 1u;
        m_readers[side].fetch_add(1);
        GC<T> held(m_object.load());
        m_readers[side].fetch_sub(1);
        return held;
    }

    /// Whether the slot holds a service (no use is taken).
    bool isSet() const { return m_object.load(std::memory_order_acquire) != nullptr; }

    /// Puts `object` in place and returns the previous service.
    GC<T> exchange(const GC<T>& object) {
        MutexLocker lock(m_writer);
        T* incoming = object.ptr();
        // The slot's own use of the new object: a handle copy whose pointer is forgotten.
        GC<T> use(object);
        use.reset();
        T* old = m_object.exchange(incoming);
        const unsigned side = m_epoch.fetch_add(1) & 1u;
        while (m_readers[side].load() != 0)
            std::this_thread::yield();
        return Adopted(old);
    }

private:
    // Takes over a use that the slot holds, without taking another.
    struct Adopted : GC<T> {
        explicit Adopted(T* p) { this->m_ptr = p; }
    };

    std::atomic<T*> m_object{nullptr};
    std::atomic<unsigned> m_epoch{0};
    mutable std::atomic<int> m_readers[2] = {{0}, {0}};
    Mutex m_writer;
};

} // namespace Internal
} // namespace QOR
} // namespace Core
} // namespace Orvane
