/* The string, string list and byte array functions, called from C. */
#include "ctest_support.h"

#include "qorcommon/c/bytearray.h"
#include "qorcommon/c/object.h"
#include "qorcommon/c/string.h"
#include "qorcommon/c/stringlist.h"

#include <string.h>

static void test_string_basics(void) {
    orv_String_ptr s = orv_string_constructFromData("abc");
    orv_String_ptr empty = orv_string_constructEmpty();
    orv_String_ptr copy = orv_string_constructCopy(s);
    CHECK(s.obj != NULL && empty.obj != NULL && copy.obj != NULL);
    CHECK_STR(orv_string_data(s), "abc");
    CHECK(orv_string_length(s) == 3);
    CHECK(orv_string_length(empty) == 0);
    CHECK(orv_string_equals(s, copy));
    CHECK(!orv_string_equals(s, empty));
    CHECK(orv_string_equalsData(s, "abc"));
    CHECK(!orv_string_equalsData(s, "ab"));

    CHECK(orv_string_append(s, copy).obj == s.obj);
    CHECK(orv_string_appendData(s, "!").obj == s.obj);
    CHECK_STR(orv_string_data(s), "abcabc!");
    CHECK_STR(orv_string_data(copy), "abc");
    /* Appending a string to itself. */
    orv_string_append(copy, copy);
    CHECK_STR(orv_string_data(copy), "abcabc");

    CHECK(orv_string_set(empty, s).obj == empty.obj);
    CHECK_STR(orv_string_data(empty), "abcabc!");
    orv_string_setData(empty, "new");
    CHECK_STR(orv_string_data(empty), "new");
    orv_string_clear(empty);
    CHECK(orv_string_length(empty) == 0);
    CHECK_STR(orv_string_data(empty), "");

    CHECK(orv_string_asObject(s).obj != NULL);
    CHECK(orv_string_asBaseObject(s).obj != NULL);

    orv_string_destruct(s);
    orv_string_destruct(empty);
    orv_string_destruct(copy);
}

static void test_string_match(void) {
    orv_String_ptr s = orv_string_constructFromData("abc");
    CHECK(orv_string_isMatch1(s, "a*", orv_IsMatchBackend_Wildcard) == 1);
    CHECK(orv_string_isMatch1(s, "a?c", 0) == 1);
    CHECK(orv_string_isMatch1(s, "a?", 0) == 0);
    CHECK(orv_string_isMatch2("", "*", 0) == 1);
    CHECK(orv_string_isMatch2("abc", "ab", 0) == 0);
    ctest_clear_assertions();
    CHECK(orv_string_isMatch2("abc", "*", 3) == 0);
    CHECK_STR(ctest_last_assertion(), "the given IsMatchBackend is not supported");
    orv_string_destruct(s);
}

static void test_string_convert(void) {
    char buffer[32];
    size_t n = orv_string_convert1("caf\xC3\xA9", orv_Encoding_UTF8, orv_Encoding_Latin1,
                                   sizeof buffer, buffer);
    CHECK(n == 4);
    CHECK_STR(buffer, "caf\xE9");
    /* Cut to fit, NUL-terminated, full length returned. */
    n = orv_string_convert1("\xE9t\xE9", orv_Encoding_Latin1, orv_Encoding_UTF8, 4, buffer);
    CHECK(n == 5);
    CHECK_STR(buffer, "\xC3\xA9t");
    CHECK(orv_string_convert1("abc", orv_Encoding_UTF8, orv_Encoding_Latin1, 0, NULL) == 3);
    CHECK_STR(
        orv_string_convert2("\xC3", orv_Encoding_UTF8, orv_Encoding_Latin1, sizeof buffer, buffer),
        "(encoding error)");

    ctest_clear_assertions();
    CHECK(orv_string_convert2("abc", 1, 2, 10, NULL) == NULL);
    CHECK_STR(ctest_last_assertion(), "buffer");
}

static void test_string_null_handles(void) {
    orv_String_ptr null_string = {NULL};
    orv_String_ptr s = orv_string_constructFromData("x");

    ctest_clear_assertions();
    orv_string_destruct(null_string);
    CHECK_STR(ctest_last_assertion(), "obj.obj");
    CHECK_STR(orv_string_data(null_string), "");
    CHECK(orv_string_length(null_string) == 0);
    CHECK(orv_string_constructCopy(null_string).obj == NULL);
    CHECK_STR(ctest_last_assertion(), "str.obj");
    CHECK(orv_string_constructFromData(NULL).obj == NULL);
    CHECK_STR(ctest_last_assertion(), "str");
    CHECK(!orv_string_equals(s, null_string));
    CHECK_STR(ctest_last_assertion(), "other.obj");
    orv_string_append(s, null_string);
    CHECK_STR(ctest_last_assertion(), "other.obj");
    orv_string_appendData(s, NULL);
    CHECK_STR(ctest_last_assertion(), "str");
    CHECK(orv_string_isMatch1(null_string, "*", 0) == 0);
    CHECK_STR(ctest_last_assertion(), "obj.obj");
    CHECK(orv_string_asObject(null_string).obj == NULL);
    CHECK(ctest_assertion_count() == 10);
    CHECK_STR(orv_string_data(s), "x");
    orv_string_destruct(s);
}

static void test_stringlist(void) {
    orv_StringList_ptr list = orv_stringlist_constructWithSplitting("a;;b", ";", 0);
    orv_StringList_ptr skipping = orv_stringlist_constructWithSplitting("a;;b", ";", 1);
    /* Only exactly 1 skips empty parts. */
    orv_StringList_ptr not_skipping = orv_stringlist_constructWithSplitting("a;;b", ";", 2);
    orv_StringList_ptr first = orv_stringlist_constructWithFirst("only");
    orv_StringList_ptr empty = orv_stringlist_constructEmpty();
    orv_String_ptr joined;

    CHECK(orv_stringlist_count(list) == 3);
    CHECK_STR(orv_stringlist_dataAt(list, 1), "");
    CHECK_STR(orv_stringlist_dataAt(list, 2), "b");
    CHECK(orv_stringlist_count(skipping) == 2);
    CHECK(orv_stringlist_count(not_skipping) == 3);
    CHECK(orv_stringlist_count(first) == 1);
    CHECK_STR(orv_stringlist_dataAt(first, 0), "only");
    CHECK(orv_stringlist_count(empty) == 0);

    orv_stringlist_setAt(list, 1, "mid");
    orv_stringlist_append(list, "end");
    joined = orv_stringlist_join(list, ", ");
    CHECK_STR(orv_string_data(joined), "a, mid, b, end");
    orv_string_destruct(joined);
    joined = orv_stringlist_join(empty, ", ");
    CHECK_STR(orv_string_data(joined), "");
    orv_string_destruct(joined);

    ctest_clear_assertions();
    CHECK_STR(orv_stringlist_dataAt(list, 4), "");
    CHECK_STR(ctest_last_assertion(), "idx < size()");
    orv_stringlist_setAt(list, 9, "x");
    CHECK(ctest_assertion_count() == 2);
    CHECK(orv_stringlist_constructWithSplitting("a", NULL, 0).obj == NULL);
    CHECK_STR(ctest_last_assertion(), "separator");
    CHECK(orv_stringlist_constructWithFirst(NULL).obj == NULL);
    CHECK_STR(ctest_last_assertion(), "first_str");
    {
        orv_StringList_ptr null_list = {NULL};
        CHECK(orv_stringlist_count(null_list) == 0);
        CHECK_STR(ctest_last_assertion(), "obj.obj");
        CHECK(orv_stringlist_join(list, NULL).obj == NULL);
        CHECK_STR(ctest_last_assertion(), "separator");
    }
    CHECK(orv_stringlist_asObject(list).obj != NULL);
    CHECK(orv_stringlist_asBaseObject(list).obj != NULL);

    orv_stringlist_destruct(list);
    orv_stringlist_destruct(skipping);
    orv_stringlist_destruct(not_skipping);
    orv_stringlist_destruct(first);
    orv_stringlist_destruct(empty);
}

static void test_bytearray(void) {
    static const unsigned char raw[] = {1, 0, 255};
    orv_ByteArray_ptr zeros = orv_bytearray_constructEmpty(4);
    orv_ByteArray_ptr data = orv_bytearray_constructFromData(raw, sizeof raw);
    orv_ByteArray_ptr copy = orv_bytearray_constructCopy(data);
    orv_ByteArray_ptr from_data = orv_bytearray_constructCopyFrom(data, raw + 1, 2);
    orv_ByteArray_ptr from_source = orv_bytearray_constructCopyFrom(data, NULL, 5);
    orv_ByteArray_ptr null_array = {NULL};
    static const unsigned char zero4[4] = {0, 0, 0, 0};
    static const unsigned char expect_source[5] = {1, 0, 255, 0, 0};

    CHECK(orv_bytearray_size(zeros) == 4);
    CHECK(memcmp(orv_bytearray_data(zeros), zero4, 4) == 0);
    CHECK(orv_bytearray_size(copy) == 3);
    CHECK(memcmp(orv_bytearray_data(copy), raw, 3) == 0);
    CHECK(orv_bytearray_size(from_data) == 2);
    CHECK(orv_bytearray_data(from_data)[0] == 0 && orv_bytearray_data(from_data)[1] == 255);
    CHECK(orv_bytearray_size(from_source) == 5);
    CHECK(memcmp(orv_bytearray_data(from_source), expect_source, 5) == 0);

    orv_bytearray_appendData(data, raw, 2);
    CHECK(orv_bytearray_size(data) == 5);
    CHECK(orv_bytearray_data(data)[4] == 0 && orv_bytearray_data(data)[3] == 1);
    orv_bytearray_resize(data, 1);
    CHECK(orv_bytearray_size(data) == 1);
    orv_bytearray_resize(data, 3);
    CHECK(orv_bytearray_data(data)[2] == 0);
    CHECK(orv_bytearray_size(copy) == 3);

    ctest_clear_assertions();
    CHECK(orv_bytearray_size(null_array) == 0);
    CHECK_STR(ctest_last_assertion(), "obj.obj");
    CHECK(orv_bytearray_constructFromData(NULL, 3).obj == NULL);
    CHECK_STR(ctest_last_assertion(), "data");
    {
        orv_ByteArray_ptr none = orv_bytearray_constructFromData(NULL, 0);
        CHECK(orv_bytearray_size(none) == 0);
        orv_bytearray_destruct(none);
    }
    CHECK(orv_bytearray_asObject(copy).obj != NULL);
    CHECK(orv_bytearray_asBaseObject(null_array).obj == NULL);

    orv_bytearray_destruct(zeros);
    orv_bytearray_destruct(data);
    orv_bytearray_destruct(copy);
    orv_bytearray_destruct(from_data);
    orv_bytearray_destruct(from_source);
}

/* The object views hand strings and lists to the object stack, which then frees them. */
static void test_object_stack_ownership(void) {
    orv_String_ptr kept;
    orv_StringList_ptr dropped;
    orv_objectStack_newFrame();
    kept = orv_string_constructFromData("kept");
    dropped = orv_stringlist_constructWithFirst("dropped");
    orv_objectStack_setToOutValue(orv_string_asObject(kept));
    orv_objectStack_setToGlobalValue(orv_stringlist_asObject(dropped));
    orv_objectStack_deleteActualFrame();
    CHECK_STR(orv_string_data(kept), "kept");
    CHECK_STR(orv_stringlist_dataAt(dropped, 0), "dropped");
    /* At root level the root frame's objects are freed; a leak or double free shows under the
     * sanitizer. */
    orv_objectStack_deleteActualFrame();
}

int main(void) {
    ctest_record_assertions();
    test_string_basics();
    test_string_match();
    test_string_convert();
    test_string_null_handles();
    test_stringlist();
    test_bytearray();
    test_object_stack_ownership();
    return ctest_finish("strings");
}
