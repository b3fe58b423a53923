// The store behind thread-local variables, private to the library (and its tests).
#pragma once

#include "qorcommon/export.h"

#include <cstddef>
#include <cstdint>
#include <functional>
#include <vector>

namespace Orvane {
namespace Core {

namespace Internal {

/// The store behind thread-local variables: for each variable (an int id) and each thread one
/// object, made by the variable's creator and freed by its destroyer. A thread is known by its
/// system id and its serial (Platform::currentThreadSerial): the system reuses ids, and a new
/// thread that gets the id of an ended one never sees that thread's objects, which are freed.
///
/// Operations that take a creator or a destroyer use the given one when it is set and the
/// variable's own otherwise. Operations on an id that was never registered register it on the
/// spot, without a creator or destroyer. Creators and destroyers run without the store's lock,
/// so they may use thread-local variables themselves.
// Exported only for the tests, which link the shared library.
class ThreadObjectDepot {
public:
    using Creator = std::function<void*()>;
    using Destroyer = std::function<void(void*)>;
    using Visitor = std::function<void(long threadId, void* object)>;

    ThreadObjectDepot();
    /// Frees every object still held, with its variable's destroyer.
    ~ThreadObjectDepot();
    ThreadObjectDepot(const ThreadObjectDepot&) = delete;
    ThreadObjectDepot& operator=(const ThreadObjectDepot&) = delete;

    /// Registers a variable; returns its id (positive, never reused by this store).
    int registerObject(Creator creator, Destroyer destroyer);
    /// Stores `object` as the calling thread's object of variable `id` without making one;
    /// false (and nothing stored) when the thread already has one.
    bool registerObject(int id, const void* object);
    /// Frees every thread's object of the variable and forgets the variable.
    void unregisterObject(int id, const Destroyer& destroyer = Destroyer());

    /// The calling thread's slot of variable `id`. On the thread's first use the slot is made,
    /// holding the creator's object (null without a creator), and *created is set to 1 (to 0
    /// otherwise). The reference stays valid until the slot is destroyed.
    void*& getObject(int id, int* created = nullptr, const Creator& creator = Creator());
    /// Whether the calling thread has a slot for variable `id`; makes nothing.
    bool hasObject(int id) const;
    /// Puts `object` in the calling thread's slot (made if missing, without the creator) and
    /// returns the object it held, which the caller now owns.
    void* setObject(int id, const void* object, const Creator& creator = Creator());

    /// Frees the calling thread's object of the variable; false when it had none.
    bool destroyObject(int id, const Destroyer& destroyer = Destroyer());
    /// Frees the object of thread `threadId`; false when that thread had none.
    bool destroyObject(long threadId, int id, const Destroyer& destroyer = Destroyer());
    /// Frees every thread's object of the variable, which stays registered; returns the count.
    std::size_t destroyAllObjects(int id, const Destroyer& destroyer = Destroyer());
    /// Frees every object of every variable; returns the count.
    std::size_t destroyAllObjects(const Destroyer& destroyer = Destroyer());
    /// Frees every object of thread `threadId` in all variables; returns the count.
    std::size_t destroyThreadObjects(long threadId);

    /// Calls `visitor` for each thread's object of the variable, in thread-id order, under the
    /// store's lock: the visitor may read the store but must not free objects of this variable.
    void forEach(int id, const Visitor& visitor) const;
    /// Frees the objects of the variable held by threads that no longer run and appends those
    /// threads' ids to `threadIds`; returns the number freed.
    std::size_t cleanUp(int id, const Destroyer& destroyer, std::vector<long>& threadIds);

    /// How many threads have an object of the variable.
    std::size_t objectCount(int id) const;

private:
    struct Private;
    Private* d;
};

/// The store used by ThreadLocalVariable; it lives for the life of the process.
ThreadObjectDepot& threadObjectDepot();

} // namespace Internal

} // namespace Core
} // namespace Orvane
