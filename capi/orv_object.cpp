// The C object stack: per thread, a root frame and a current frame, both kept in thread-local
// variables so that a thread's root frame (with everything on it) goes when the thread ends.
#include "qorcommon/c/object.h"

#include "cboundary.h"
#include "chandles.h"
#include "qorcommon/object.h"
#include "qorcommon/threadmanagedobject.h"

using namespace Orvane::Core;
using namespace Orvane::Core::CApi;

namespace {

struct CurrentFrame {
    ObjectStackFrame* frame = nullptr;
};

// Both variables are made on first use and never destroyed: C callers may use the stack from
// threads that outlive the static destructors at process exit.
ThreadLocalVariable<CurrentFrame>& currentFrameVariable() {
    static auto* variable = new ThreadLocalVariable<CurrentFrame>;
    return *variable;
}

ThreadLocalVariable<ObjectStackFrame>& rootFrameVariable() {
    static auto* variable = new ThreadLocalVariable<ObjectStackFrame>;
    return *variable;
}

ObjectStackFrame* rootFrame() {
    return &rootFrameVariable().get();
}

ObjectStackFrame*& currentFrame() {
    return currentFrameVariable().get().frame;
}

ObjectStackFrame* actualFrame() {
    ObjectStackFrame* frame = currentFrame();
    return frame ? frame : rootFrame();
}

// The frame that becomes current when `frame` goes: its parent if that is a frame above root
// level, otherwise none (root level).
ObjectStackFrame* frameAbove(Object* frame, ObjectStackFrame* root) {
    auto* parent = dynamic_cast<ObjectStackFrame*>(frame->parentObject());
    return parent == root ? nullptr : parent;
}

bool isAncestorOrSelf(const Object* candidate, const Object* object) {
    for (const Object* o = object; o; o = o->parentObject()) {
        if (o == candidate) return true;
    }
    return false;
}

// Frees an object handed in through the C face without leaving the calling thread's stack
// pointing at freed frames: the root frame is only emptied, and a current frame on or below
// the object is replaced by the frame above the object.
void destroyObject(BaseObject* object) {
    auto* asObject = dynamic_cast<Object*>(object);
    if (asObject) {
        ObjectStackFrame* root = rootFrameVariable().hasValue() ? rootFrame() : nullptr;
        if (asObject == root) {
            currentFrame() = nullptr;
            root->destroyChildren();
            return;
        }
        ObjectStackFrame*& current = currentFrame();
        if (current && isAncestorOrSelf(asObject, current)) current = frameAbove(asObject, root);
    }
    delete object;
}

orv_ObjectStackFrame_ptr frameHandle(ObjectStackFrame* frame) {
    return orv_ObjectStackFrame_ptr{frame};
}

ObjectStackFrame* frameOf(orv_ObjectStackFrame_ptr handle) {
    return static_cast<ObjectStackFrame*>(handle.obj);
}

Object* objectOf(orv_Object_ptr handle) {
    return static_cast<Object*>(handle.obj);
}

} // namespace

extern "C" {

QORCOMMON_API orv_ObjectStackFrame_ptr orv_objectStack_newFrame(void) noexcept {
    return QOR_C_GUARDED(nullHandle<orv_ObjectStackFrame_ptr>(), [&]() -> orv_ObjectStackFrame_ptr {
        // Everything that may fail comes before the frame is made, so a failure leaks nothing.
        ObjectStackFrame*& current = currentFrame();
        ObjectStackFrame* parent = actualFrame();
        current = new ObjectStackFrame(parent);
        return frameHandle(current);
    });
}

QORCOMMON_API orv_ObjectStackFrame_ptr orv_objectStack_actualFrame(void) noexcept {
    return QOR_C_GUARDED(nullHandle<orv_ObjectStackFrame_ptr>(),
                         [&]() -> orv_ObjectStackFrame_ptr { return frameHandle(actualFrame()); });
}

QORCOMMON_API void orv_objectStack_deleteActualFrame(void) noexcept {
    QOR_C_GUARDED_VOID([&] {
        ObjectStackFrame*& current = currentFrame();
        ObjectStackFrame* root = rootFrame();
        ObjectStackFrame* frame = current;
        if (!frame || frame == root) {
            current = nullptr;
            root->destroyChildren();
            return;
        }
        current = frameAbove(frame, root);
        delete frame;
    });
}

QORCOMMON_API orv_ObjectStackFrame_ptr orv_objectStack_rootFrame(void) noexcept {
    return QOR_C_GUARDED(nullHandle<orv_ObjectStackFrame_ptr>(),
                         [&]() -> orv_ObjectStackFrame_ptr { return frameHandle(rootFrame()); });
}

QORCOMMON_API void orv_objectStack_setToGlobalValue(orv_Object_ptr o) noexcept {
    QOR_C_GUARDED_VOID([&] {
        if (!QOR_CHECK(o.obj)) return;
        Object* object = objectOf(o);
        ObjectStackFrame* root = rootFrame();
        if (object != root) object->setParentObject(root);
    });
}

QORCOMMON_API void orv_objectStack_setToOutValue(orv_Object_ptr o) noexcept {
    QOR_C_GUARDED_VOID([&] {
        if (!QOR_CHECK(o.obj)) return;
        Object* object = objectOf(o);
        ObjectStackFrame* current = currentFrame();
        Object* target = current ? current->parentObject() : nullptr;
        if (!target) target = rootFrame();
        if (object != target) object->setParentObject(target);
    });
}

QORCOMMON_API orv_ObjectStackFrame_ptr
orv_ObjectStackFrame_construct(orv_Object_ptr parent) noexcept {
    return QOR_C_GUARDED(nullHandle<orv_ObjectStackFrame_ptr>(), [&]() -> orv_ObjectStackFrame_ptr {
        return frameHandle(new ObjectStackFrame(objectOf(parent)));
    });
}

QORCOMMON_API void orv_ObjectStackFrame_destruct(orv_ObjectStackFrame_ptr obj) noexcept {
    QOR_C_GUARDED_VOID([&] {
        if (!QOR_CHECK(obj.obj)) return;
        destroyObject(frameOf(obj));
    });
}

QORCOMMON_API orv_Object_ptr orv_ObjectStackFrame_as_Object(orv_ObjectStackFrame_ptr obj) noexcept {
    return QOR_C_GUARDED(nullHandle<orv_Object_ptr>(), [&]() -> orv_Object_ptr {
        return orv_Object_ptr{static_cast<Object*>(frameOf(obj))};
    });
}

QORCOMMON_API orv_BaseObject_ptr orv_Object_asBaseObject(orv_Object_ptr obj) noexcept {
    return QOR_C_GUARDED(nullHandle<orv_BaseObject_ptr>(), [&]() -> orv_BaseObject_ptr {
        return orv_BaseObject_ptr{static_cast<BaseObject*>(objectOf(obj))};
    });
}

QORCOMMON_API void orv_Object_destruct(orv_Object_ptr obj) noexcept {
    QOR_C_GUARDED_VOID([&] {
        if (!QOR_CHECK(obj.obj)) return;
        destroyObject(objectOf(obj));
    });
}

QORCOMMON_API long orv_Object_getChildCount(orv_Object_ptr obj) noexcept {
    return QOR_C_GUARDED(0L, [&]() -> long {
        if (!QOR_CHECK(obj.obj)) return 0;
        return static_cast<long>(objectOf(obj)->getChildren().size());
    });
}

QORCOMMON_API orv_Object_ptr orv_BaseObject_parentObject(orv_BaseObject_ptr obj) noexcept {
    return QOR_C_GUARDED(nullHandle<orv_Object_ptr>(), [&]() -> orv_Object_ptr {
        if (!QOR_CHECK(obj.obj)) return orv_Object_ptr{nullptr};
        return orv_Object_ptr{static_cast<BaseObject*>(obj.obj)->parentObject()};
    });
}

QORCOMMON_API void orv_BaseObject_destruct(orv_BaseObject_ptr obj) noexcept {
    QOR_C_GUARDED_VOID([&] {
        if (!QOR_CHECK(obj.obj)) return;
        destroyObject(static_cast<BaseObject*>(obj.obj));
    });
}

} // extern "C"
