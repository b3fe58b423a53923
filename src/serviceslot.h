// A slot holding one use of a service that many threads read and few replace.
//
// Reading costs no lock and nothing besides the use the reader takes: an atomic load of the
// pointer and the increment of the object's use count. That is safe because an object that was
// ever in the slot keeps the slot's use until clear(): a replaced object moves to the retired
// list instead of being let go, so a reader that loaded the old pointer just before the exchange
// still increments a live object. Replacements are rare (a setter of Globals, or the first
// making of a service), so the retired list stays short; it is emptied when the framework stops.
#pragma once

#include "qorcommon/gc.h"
#include "qorcommon/mutex.h"

#include <atomic>
#include <vector>

namespace Orvane {
namespace Core {
namespace QOR {
namespace Internal {

/// Thread safety: get, isSet and exchange are thread-safe; clear must not run while another
/// thread reads (the framework calls it while stopping).
template <class T> class ServiceSlot {
public:
    ServiceSlot() = default;
    ServiceSlot(const ServiceSlot&) = delete;
    ServiceSlot& operator=(const ServiceSlot&) = delete;
    ~ServiceSlot() { clear(); }

    /// A handle on the service; null when the slot is empty.
    GC<T> get() const { return GC<T>(m_object.load(std::memory_order_acquire)); }

    /// Whether the slot holds a service (no use is taken).
    bool isSet() const { return m_object.load(std::memory_order_acquire) != nullptr; }

    /// Puts `object` in place and returns the previous service. The slot keeps its use of the
    /// previous one until clear().
    GC<T> exchange(const GC<T>& object) {
        MutexLocker lock(m_writer);
        // The slot's own use of the new object: a handle copy whose pointer is forgotten.
        GC<T> use(object);
        use.reset();
        T* old = m_object.exchange(object.ptr(), std::memory_order_acq_rel);
        if (old) m_retired.push_back(old);
        return GC<T>(old);
    }

    /// Empties the slot and gives back every use it holds.
    void clear() {
        std::vector<T*> held;
        {
            MutexLocker lock(m_writer);
            held.swap(m_retired);
            if (T* current = m_object.exchange(nullptr, std::memory_order_acq_rel))
                held.push_back(current);
        }
        // Given back outside the lock: a service's destructor may reach the framework again.
        for (T* object : held)
            Adopted release(object);
    }

private:
    // Takes over a use that the slot holds, without taking another.
    struct Adopted : GC<T> {
        explicit Adopted(T* p) { this->m_ptr = p; }
    };

    std::atomic<T*> m_object{nullptr};
    std::vector<T*> m_retired;
    Mutex m_writer;
};

} // namespace Internal
} // namespace QOR
} // namespace Core
} // namespace Orvane
