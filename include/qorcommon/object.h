// Parent ownership: a BaseObject may be registered with a parent Object, and destroying the
// parent destroys its children.
#pragma once

#include "qorcommon/export.h"

#include <atomic>
#include <vector>

namespace Orvane {
namespace Core {

class Object;

/// Base of every object that can have a parent.
/// Thread safety: reentrant.
class QORCOMMON_API BaseObject {
public:
    /// How a copy treats the parent: an Owned object's copy joins the same parent, a
    /// Standalone object's copy (any value but Owned behaves so) starts without a parent.
    enum UsageType { Owned = 0, Standalone = 1 };

    explicit BaseObject(UsageType usage = Standalone, Object* parent = nullptr);
    virtual ~BaseObject();

    /// The parent, or null.
    Object* parentObject() const;
    /// Leaves the current parent (if any) and registers with `parent` (if not null).
    void setParentObject(Object* parent);
    UsageType usageType() const;

protected:
    BaseObject(const BaseObject& other);
    /// Assignment keeps this object's own parent and usage: ownership is not a value.
    BaseObject& operator=(const BaseObject& other);

private:
    struct Private;
    Private* d;
};

/// A BaseObject that owns children.
/// Thread safety: reentrant (registering and forgetting children is thread-safe).
class QORCOMMON_API Object : public BaseObject {
public:
    explicit Object(UsageType usage = Standalone, Object* parent = nullptr);
    ~Object() override;

    /// Registers a child (thread-safe); registering it twice keeps one entry.
    virtual void registerChildObject(BaseObject* child);
    /// Forgets a child without deleting it (thread-safe).
    virtual void unregisterChildObject(BaseObject* child);

    /// A snapshot of the registered children in ascending pointer order.
    std::vector<BaseObject*> getChildren() const;
    /// Deletes every child registered when the call starts, in ascending pointer order.
    /// Children registered while it runs stay registered.
    void destroyChildren();

protected:
    /// A copy starts without children.
    Object(const Object& other);
    Object& operator=(const Object& other);

private:
    struct Private;
    // Made by the first registerChildObject, so an object that never gets children allocates
    // nothing; atomic because children may be registered from several threads at once.
    std::atomic<Private*> d;
};

/// A frame of the per-thread object stack of the C face.
/// Thread safety: reentrant.
class QORCOMMON_API ObjectStackFrame : public Object {
public:
    explicit ObjectStackFrame(Object* parent = nullptr);
    ~ObjectStackFrame() override;
};

/// Base of value holders (strings, lists, byte arrays, time stamps) that can be freed with a
/// parent. Copies start without a parent. A storage object is itself an Object, so the C face can
/// view it as one and hang further objects off it.
/// Thread safety: reentrant.
class QORCOMMON_API StorageObject : public Object {
public:
    explicit StorageObject(Object* parent = nullptr);
    StorageObject(const StorageObject& other);
    StorageObject& operator=(const StorageObject& other);
    ~StorageObject() override;
};

} // namespace Core
} // namespace Orvane
