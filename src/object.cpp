// Parent ownership.
//
// Strings and the other value holders are StorageObjects made on hot paths, so an object that is
// Standalone and has no parent allocates nothing: BaseObject's private block exists only once a
// parent or the Owned usage is set, and Object's children registry only once the first child is
// registered (created lock-free with a compare-and-swap, so racing first registrations agree on
// one registry).
#include "qorcommon/object.h"

#include "platform/platform.h"

#include <memory>
#include <mutex>
#include <new>
#include <set>

namespace Orvane {
namespace Core {

// ---- BaseObject ---------------------------------------------------------------------------------

struct BaseObject::Private {
    Object* parent = nullptr;
    UsageType usage = Standalone;
};

namespace {

// A block is needed only when it would hold something other than the defaults.
bool needsBlock(BaseObject::UsageType usage, const Object* parent) {
    return parent != nullptr || usage != BaseObject::Standalone;
}

} // namespace

BaseObject::BaseObject(UsageType usage, Object* parent) : d(nullptr) {
    if (!needsBlock(usage, parent)) return;
    // Thrown rather than skipped when memory runs out: an object its parent does not know would
    // never be freed.
    std::unique_ptr<Private> block(new Private);
    block->usage = usage;
    if (parent) {
        block->parent = parent;
        parent->registerChildObject(this);
    }
    d = block.release();
}

BaseObject::BaseObject(const BaseObject& other) : d(nullptr) {
    const UsageType usage = other.usageType();
    // Only an owned object's copy joins the same parent; any other copy starts on its own.
    Object* parent = usage == Owned ? other.parentObject() : nullptr;
    if (!needsBlock(usage, parent)) return;
    // Thrown rather than skipped when memory runs out: an object its parent does not know would
    // never be freed.
    std::unique_ptr<Private> block(new Private);
    block->usage = usage;
    if (parent) {
        block->parent = parent;
        parent->registerChildObject(this);
    }
    d = block.release();
}

BaseObject& BaseObject::operator=(const BaseObject&) {
    return *this;
}

BaseObject::~BaseObject() {
    if (d && d->parent) d->parent->unregisterChildObject(this);
    delete d;
}

Object* BaseObject::parentObject() const {
    return d ? d->parent : nullptr;
}

BaseObject::UsageType BaseObject::usageType() const {
    return d ? d->usage : Standalone;
}

void BaseObject::setParentObject(Object* parent) {
    if (d && d->parent) {
        // Re-parenting to the same parent unregisters and registers again on purpose: a
        // subclass that watches its registrations sees the move.
        d->parent->unregisterChildObject(this);
        d->parent = nullptr;
    }
    if (!parent) return;
    if (!d) d = new Private;
    parent->registerChildObject(this);
    d->parent = parent;
}

// ---- Object -------------------------------------------------------------------------------------

struct Object::Private {
    Platform::Mutex mutex;
    // Ordered by pointer: getChildren and destroyChildren promise ascending pointer order.
    std::set<BaseObject*> children;
};

Object::Object(UsageType usage, Object* parent) : BaseObject(usage, parent), d(nullptr) {}

Object::Object(const Object& other) : BaseObject(other), d(nullptr) {}

Object& Object::operator=(const Object& other) {
    BaseObject::operator=(other);
    return *this;
}

Object::~Object() {
    destroyChildren();
    delete d.load(std::memory_order_acquire);
}

void Object::registerChildObject(BaseObject* child) {
    if (!child) return;
    Private* p = d.load(std::memory_order_acquire);
    if (!p) {
        // Thrown rather than skipped: a child left unregistered would never be freed.
        Private* made = new Private;
        if (d.compare_exchange_strong(p, made, std::memory_order_acq_rel,
                                      std::memory_order_acquire)) {
            p = made;
        } else {
            delete made; // another thread made the registry first; p now holds its one
        }
    }
    // A guard: the insertion may run out of memory, and the lock must not outlive it.
    std::lock_guard<Platform::Mutex> lock(p->mutex);
    p->children.insert(child);
}

void Object::unregisterChildObject(BaseObject* child) {
    Private* p = d.load(std::memory_order_acquire);
    if (!p || !child) return;
    p->mutex.lock();
    p->children.erase(child);
    p->mutex.unlock();
}

std::vector<BaseObject*> Object::getChildren() const {
    std::vector<BaseObject*> result;
    Private* p = d.load(std::memory_order_acquire);
    if (!p) return result;
    std::lock_guard<Platform::Mutex> lock(p->mutex);
    result.assign(p->children.begin(), p->children.end());
    return result;
}

void Object::destroyChildren() {
    Private* p = d.load(std::memory_order_acquire);
    if (!p) return;
    // Deleting works on a snapshot so that each child's destructor can unregister itself (and
    // children can be added) without the lock being held across user code.
    const std::vector<BaseObject*> snapshot = getChildren();
    for (BaseObject* child : snapshot) {
        // A child is deleted only if it is still registered, and it is taken out of the registry
        // before the deletion: a child whose destructor deletes a sibling, or a second
        // destroyChildren running at the same time, cannot delete anything twice.
        p->mutex.lock();
        const bool registered = p->children.erase(child) != 0;
        p->mutex.unlock();
        if (registered) delete child;
    }
}

// ---- ObjectStackFrame and StorageObject ---------------------------------------------------------

ObjectStackFrame::ObjectStackFrame(Object* parent) : Object(Owned, parent) {}

ObjectStackFrame::~ObjectStackFrame() = default;

StorageObject::StorageObject(Object* parent) : Object(Standalone, parent) {}

StorageObject::StorageObject(const StorageObject& other) : Object(other) {}

StorageObject& StorageObject::operator=(const StorageObject& other) {
    Object::operator=(other);
    return *this;
}

StorageObject::~StorageObject() = default;

} // namespace Core
} // namespace Orvane
