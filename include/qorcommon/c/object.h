/* Objects of the C face and the per-thread object stack.
 *
 * Every object made by a C function starts without a parent and is freed by its destruct
 * function, or handed to a frame of the calling thread's object stack, which frees it together
 * with the frame:
 *
 *     orv_objectStack_newFrame();
 *     ... make objects, hang them on orv_objectStack_actualFrame() ...
 *     orv_objectStack_setToOutValue(result);      keeps `result` past the frame
 *     orv_objectStack_deleteActualFrame();
 *
 * Handles are records passed by value; a null handle is one whose obj is null. */
#ifndef QORCOMMON_C_OBJECT_H
#define QORCOMMON_C_OBJECT_H

#include "qorcommon/c/export.h"

QORCOMMON_EXTERN_C_BEGIN

/* An object that can own children (views of strings and other values are also objects). */
typedef struct {
    void* obj;
} orv_Object_ptr;

/* An object that can have a parent. */
typedef struct {
    void* obj;
} orv_BaseObject_ptr;

/* A frame of the object stack. */
typedef struct {
    void* obj;
} orv_ObjectStackFrame_ptr;

/* Makes a frame whose parent is orv_objectStack_actualFrame() and makes it the calling thread's
 * current frame. */
QORCOMMON_API orv_ObjectStackFrame_ptr orv_objectStack_newFrame(void) QORCOMMON_NOEXCEPT;
/* The calling thread's current frame, or its root frame when no frame is pushed. */
QORCOMMON_API orv_ObjectStackFrame_ptr orv_objectStack_actualFrame(void) QORCOMMON_NOEXCEPT;
/* Pops the current frame (its parent frame becomes current) and frees it with every object on
 * it; with no frame pushed, frees the objects of the root frame, which stays. */
QORCOMMON_API void orv_objectStack_deleteActualFrame(void) QORCOMMON_NOEXCEPT;
/* The calling thread's root frame, made on first use and freed when the thread ends. */
QORCOMMON_API orv_ObjectStackFrame_ptr orv_objectStack_rootFrame(void) QORCOMMON_NOEXCEPT;
/* Moves an object to the root frame: it survives every frame deletion but one at root level. */
QORCOMMON_API void orv_objectStack_setToGlobalValue(orv_Object_ptr o) QORCOMMON_NOEXCEPT;
/* Moves an object to the parent of the current frame (the root frame when no frame is pushed),
 * so that it survives the deletion of the current frame. */
QORCOMMON_API void orv_objectStack_setToOutValue(orv_Object_ptr o) QORCOMMON_NOEXCEPT;

/* A frame with the given parent (may be null); it is not made current. */
QORCOMMON_API orv_ObjectStackFrame_ptr orv_ObjectStackFrame_construct(orv_Object_ptr parent)
    QORCOMMON_NOEXCEPT;
/* Frees a frame and its objects. The calling thread's root frame is only emptied. */
QORCOMMON_API void orv_ObjectStackFrame_destruct(orv_ObjectStackFrame_ptr obj) QORCOMMON_NOEXCEPT;
QORCOMMON_API orv_Object_ptr orv_ObjectStackFrame_as_Object(orv_ObjectStackFrame_ptr obj)
    QORCOMMON_NOEXCEPT;

QORCOMMON_API orv_BaseObject_ptr orv_Object_asBaseObject(orv_Object_ptr obj) QORCOMMON_NOEXCEPT;
/* Frees an object and its children. */
QORCOMMON_API void orv_Object_destruct(orv_Object_ptr obj) QORCOMMON_NOEXCEPT;
/* How many children the object has (0 for a null handle, after a failed check). */
QORCOMMON_API long orv_Object_getChildCount(orv_Object_ptr obj) QORCOMMON_NOEXCEPT;
/* The object's parent; a null handle when it has none. */
QORCOMMON_API orv_Object_ptr orv_BaseObject_parentObject(orv_BaseObject_ptr obj) QORCOMMON_NOEXCEPT;
/* Frees an object (and its children if it has any). */
QORCOMMON_API void orv_BaseObject_destruct(orv_BaseObject_ptr obj) QORCOMMON_NOEXCEPT;

QORCOMMON_EXTERN_C_END

#endif
