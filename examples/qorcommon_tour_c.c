/* A short tour of the library's C face: object-stack frames own what is made inside them. */
#include "qorcommon/c/bytearray.h"
#include "qorcommon/c/object.h"
#include "qorcommon/c/string.h"
#include "qorcommon/c/stringlist.h"

#include <stdio.h>

static orv_Object_ptr keep(orv_Object_ptr o) {
    /* Hand the object to the current frame: deleting the frame frees it. */
    orv_objectStack_setToGlobalValue(o);
    return o;
}

int main(void) {
    orv_ObjectStackFrame_ptr frame = orv_objectStack_newFrame();
    orv_String_ptr greeting = orv_string_constructFromData("Hello");
    orv_StringList_ptr parts;
    orv_String_ptr joined;
    orv_ByteArray_ptr bytes;
    size_t i;
    (void)frame;

    orv_string_appendData(greeting, ", C caller");
    printf("string: %s (%lu bytes)\n", orv_string_data(greeting),
           (unsigned long)orv_string_length(greeting));
    printf("matches 'Hello*': %d, matches '?ello': %d\n",
           orv_string_isMatch1(greeting, "Hello*", 0), orv_string_isMatch1(greeting, "?ello", 0));

    parts = orv_stringlist_constructWithSplitting("red<|>green<|>blue", "<|>", 0);
    for (i = 0; i < orv_stringlist_count(parts); ++i)
        printf("list element %lu: %s\n", (unsigned long)i, orv_stringlist_dataAt(parts, i));
    joined = orv_stringlist_join(parts, ", ");
    printf("joined: %s\n", orv_string_data(joined));

    bytes = orv_bytearray_constructEmpty(4);
    orv_bytearray_appendData(bytes, (const unsigned char*)"xy", 2);
    printf("byte array: %lu bytes\n", (unsigned long)orv_bytearray_size(bytes));

    orv_string_destruct(greeting);
    orv_stringlist_destruct(parts);
    orv_string_destruct(joined);
    keep(orv_bytearray_asObject(bytes));
    orv_objectStack_deleteActualFrame();
    orv_objectStack_deleteActualFrame();
    printf("frames deleted; the byte array went with the root frame's children\n");
    return 0;
}
