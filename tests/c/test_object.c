/* The C object stack as a C caller uses it: frames, objects hung on them, values handed out of
 * a frame, and the checks on null handles. */
#include "ctest_support.h"

#include "qorcommon/c/object.h"

static orv_Object_ptr as_object(orv_ObjectStackFrame_ptr frame) {
    return orv_ObjectStackFrame_as_Object(frame);
}

static orv_BaseObject_ptr as_base(orv_ObjectStackFrame_ptr frame) {
    return orv_Object_asBaseObject(as_object(frame));
}

static long children_of(orv_ObjectStackFrame_ptr frame) {
    return orv_Object_getChildCount(as_object(frame));
}

/* An object to hang on a frame; frames are the only objects this header makes. */
static orv_ObjectStackFrame_ptr make_on(orv_ObjectStackFrame_ptr parent) {
    return orv_ObjectStackFrame_construct(as_object(parent));
}

static void null_handles_fail_their_checks(void) {
    orv_Object_ptr no_object = {NULL};
    orv_BaseObject_ptr no_base = {NULL};
    orv_ObjectStackFrame_ptr no_frame = {NULL};

    ctest_clear_assertions();
    orv_Object_destruct(no_object);
    CHECK_STR(ctest_last_assertion(), "obj.obj");
    orv_BaseObject_destruct(no_base);
    CHECK_STR(ctest_last_assertion(), "obj.obj");
    orv_ObjectStackFrame_destruct(no_frame);
    CHECK_STR(ctest_last_assertion(), "obj.obj");
    CHECK(ctest_assertion_count() == 3);

    ctest_clear_assertions();
    orv_objectStack_setToGlobalValue(no_object);
    CHECK_STR(ctest_last_assertion(), "o.obj");
    orv_objectStack_setToOutValue(no_object);
    CHECK_STR(ctest_last_assertion(), "o.obj");
    CHECK(ctest_assertion_count() == 2);

    /* Casts of null handles are null handles, without a check. */
    ctest_clear_assertions();
    CHECK(orv_ObjectStackFrame_as_Object(no_frame).obj == NULL);
    CHECK(orv_Object_asBaseObject(no_object).obj == NULL);
    CHECK(ctest_assertion_count() == 0);
}

static void root_level(void) {
    orv_ObjectStackFrame_ptr root = orv_objectStack_rootFrame();
    CHECK(root.obj != NULL);
    CHECK(orv_objectStack_actualFrame().obj == root.obj);
    CHECK(orv_BaseObject_parentObject(as_base(root)).obj == NULL);

    make_on(root);
    make_on(root);
    CHECK(children_of(root) == 2);
    /* Nothing pushed: deleting at root level empties the root frame, which stays usable. */
    orv_objectStack_deleteActualFrame();
    CHECK(children_of(root) == 0);
    CHECK(orv_objectStack_rootFrame().obj == root.obj);
    make_on(root);
    CHECK(children_of(root) == 1);
    /* Destroying the root frame through its handle only empties it as well. */
    orv_ObjectStackFrame_destruct(root);
    CHECK(children_of(orv_objectStack_rootFrame()) == 0);
    CHECK(orv_objectStack_rootFrame().obj == root.obj);
}

static void frames_push_and_pop(void) {
    orv_ObjectStackFrame_ptr root = orv_objectStack_rootFrame();
    orv_ObjectStackFrame_ptr outer = orv_objectStack_newFrame();
    orv_ObjectStackFrame_ptr inner = orv_objectStack_newFrame();
    orv_ObjectStackFrame_ptr result;
    orv_ObjectStackFrame_ptr global;
    CHECK(orv_BaseObject_parentObject(as_base(outer)).obj == as_object(root).obj);
    CHECK(orv_BaseObject_parentObject(as_base(inner)).obj == as_object(outer).obj);
    CHECK(orv_objectStack_actualFrame().obj == inner.obj);

    make_on(inner);
    result = make_on(inner);
    global = make_on(inner);
    CHECK(children_of(inner) == 3);
    orv_objectStack_setToOutValue(as_object(result));
    orv_objectStack_setToGlobalValue(as_object(global));
    CHECK(orv_BaseObject_parentObject(as_base(result)).obj == as_object(outer).obj);
    CHECK(orv_BaseObject_parentObject(as_base(global)).obj == as_object(root).obj);
    CHECK(children_of(inner) == 1);

    /* The result survives the deletion of the frame it was made on. */
    orv_objectStack_deleteActualFrame();
    CHECK(orv_objectStack_actualFrame().obj == outer.obj);
    CHECK(children_of(outer) == 1);
    CHECK(children_of(result) == 0);
    make_on(result);
    CHECK(children_of(result) == 1);

    /* Leaving the outer frame returns to root level; the global value is still there. */
    orv_objectStack_deleteActualFrame();
    CHECK(orv_objectStack_actualFrame().obj == root.obj);
    CHECK(children_of(root) == 1);
    orv_Object_destruct(as_object(global));
    CHECK(children_of(root) == 0);
}

static void out_value_at_root_level(void) {
    orv_ObjectStackFrame_ptr root = orv_objectStack_rootFrame();
    orv_Object_ptr no_parent = {NULL};
    orv_ObjectStackFrame_ptr loose = orv_ObjectStackFrame_construct(as_object(root));
    orv_BaseObject_destruct(as_base(loose));
    CHECK(children_of(root) == 0);
    loose = orv_ObjectStackFrame_construct(no_parent);
    CHECK(orv_BaseObject_parentObject(as_base(loose)).obj == NULL);
    /* Without a pushed frame an out value goes to the root frame. */
    orv_objectStack_setToOutValue(as_object(loose));
    CHECK(orv_BaseObject_parentObject(as_base(loose)).obj == as_object(root).obj);
    orv_objectStack_deleteActualFrame();
    CHECK(children_of(root) == 0);
}

static void destroying_the_current_frame_directly(void) {
    orv_ObjectStackFrame_ptr outer = orv_objectStack_newFrame();
    orv_ObjectStackFrame_ptr inner = orv_objectStack_newFrame();
    /* Freeing a frame that holds the current one makes the frame above it current. */
    orv_ObjectStackFrame_destruct(inner);
    CHECK(orv_objectStack_actualFrame().obj == outer.obj);
    orv_objectStack_newFrame();
    orv_Object_destruct(as_object(outer));
    CHECK(orv_objectStack_actualFrame().obj == orv_objectStack_rootFrame().obj);
    CHECK(children_of(orv_objectStack_rootFrame()) == 0);
}

int main(void) {
    ctest_record_assertions();
    null_handles_fail_their_checks();
    root_level();
    frames_push_and_pop();
    out_value_at_root_level();
    destroying_the_current_frame_directly();
    return ctest_finish("object");
}
