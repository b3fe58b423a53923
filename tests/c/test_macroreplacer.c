/* Template expansion, called from C. */
#include "ctest_support.h"

#include "qorcommon/c/macroreplacer.h"
#include "qorcommon/c/stringlist.h"

#include <string.h>

static void test_expansion(void) {
    const char* first = orv_replaceStr("a$(sp)b$(nl)$(str:x,\"y\\sz\")");
    const char* second = NULL;
    orv_StringList_ptr none;
    none.obj = NULL;
    CHECK_STR(first, "a b\nxy z");
    /* Each function keeps its own buffer: the first result stays valid. */
    CHECK(orv_replaceStr2("$(o:6,*,7)", &second, none) == 1);
    CHECK_STR(second, "42");
    CHECK_STR(first, "a b\nxy z");
    CHECK_STR(orv_replaceStr("$(nosuch) $("), "[no value] $(");
    CHECK_STR(orv_replaceStr(""), "");
}

static void test_errors(void) {
    orv_StringList_ptr errors = orv_stringlist_constructEmpty();
    orv_StringList_ptr none;
    const char* result = NULL;
    none.obj = NULL;
    CHECK(orv_replaceStr2("$(o:6,*,7)", &result, errors) == 1);
    CHECK_STR(result, "42");
    CHECK(orv_stringlist_count(errors) == 0);
    CHECK(orv_replaceStr2("x$(v:nothing)$(while:{true})", &result, errors) == 0);
    CHECK_STR(result, "x[no value][no value]");
    CHECK(orv_stringlist_count(errors) == 2);
    CHECK_STR(orv_stringlist_dataAt(errors, 0), "v: undefined variable: nothing");
    CHECK_STR(orv_stringlist_dataAt(errors, 1), "while: usage: $(while:{<condition>},{<body>})");
    /* Without a list the errors are dropped, and the result still says whether there were any. */
    CHECK(orv_replaceStr2("$(get_cfg:A/B)", &result, none) == 0);
    CHECK_STR(result, "[no value]");
    orv_stringlist_destruct(errors);
}

static void test_null_arguments(void) {
    const char* result = "untouched";
    orv_StringList_ptr none;
    none.obj = NULL;
    ctest_clear_assertions();
    CHECK_STR(orv_replaceStr(NULL), "");
    CHECK_STR(ctest_last_assertion(), "text");
    CHECK(orv_replaceStr2(NULL, &result, none) == 0);
    CHECK_STR(result, "");
    CHECK_STR(ctest_last_assertion(), "text");
    CHECK(orv_replaceStr2("x", NULL, none) == 0);
    CHECK_STR(ctest_last_assertion(), "result");
    CHECK(ctest_assertion_count() == 3);
}

int main(void) {
    ctest_record_assertions();
    test_expansion();
    test_errors();
    test_null_arguments();
    return ctest_finish("macroreplacer");
}
