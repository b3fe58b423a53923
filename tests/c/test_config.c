/* The configuration functions, called from C. */
#include "ctest_support.h"

#include "qorcommon/c/config.h"
#include "qorcommon/c/stringlist.h"

#include <string.h>

static orv_ConfigHandler_ptr no_handler(void) {
    orv_ConfigHandler_ptr handle;
    handle.obj = NULL;
    return handle;
}

static void test_scalars(void) {
    orv_ConfigHandler_ptr h = orv_config_constructMemoryHandler(no_handler());
    const char* text = NULL;
    const char* other = NULL;
    long number = 0;
    short flag = 0;
    CHECK(h.obj != NULL);

    CHECK(orv_config_SetEntryAsString(h, "S/TEXT", "hello", 0) == 1);
    CHECK(orv_config_SetStringEntry(h, "S/OTHER", "world", 1) == 1);
    CHECK(orv_config_SetLongEntry(h, "S/NUMBER", -17, 0) == 1);
    CHECK(orv_config_SetBooleanEntry(h, "S/FLAG", 2, 0) == 1);

    CHECK(orv_config_GetEntryAsString(h, "S/TEXT", &text) == 1);
    CHECK(orv_config_GetStringEntry(h, "S/OTHER", &other) == 1);
    /* Each function has its own buffer: the first text is still valid. */
    CHECK_STR(text, "hello");
    CHECK_STR(other, "world");
    CHECK(orv_config_GetEntryAsString(h, "S/NUMBER", &text) == 1);
    CHECK_STR(text, "-17");
    CHECK(orv_config_GetLongEntry(h, "S/NUMBER", &number) == 1);
    CHECK(number == -17);
    CHECK(orv_config_GetBooleanEntry(h, "S/FLAG", &flag) == 1);
    CHECK(flag == 1);
    CHECK(orv_config_GetEntryAsString(h, "S/FLAG", &text) == 1);
    CHECK_STR(text, "true");

    /* A failing getter leaves its output alone and says why. */
    number = 99;
    text = "kept";
    CHECK(orv_config_GetLongEntry(h, "S/MISSING", &number) == 0);
    CHECK(number == 99);
    CHECK(orv_config_GetEntryAsString(h, "S/MISSING", &text) == 0);
    CHECK_STR(text, "kept");
    CHECK(strstr(orv_config_GetLastError(h), ": Entry not found: S/MISSING") != NULL);
    CHECK(orv_config_GetHandlerStatus(h) == orv_ConfigStatus_Failed);
    CHECK(orv_config_GetBooleanEntry(h, "S/TEXT", &flag) == 0);
    CHECK(flag == 1);
    CHECK_STR(orv_config_GetLastError(h), "invalid boolean value: 'hello'");

    orv_config_destruct(h);
}

static void test_lists(void) {
    orv_ConfigHandler_ptr h = orv_config_constructMemoryHandler(no_handler());
    const char* const texts[] = {"a", "", "c"};
    const long longs[] = {1, -2, 3};
    const short flags[] = {0, 5, 1};
    orv_StringList_ptr list;
    orv_StringList_ptr input = orv_stringlist_constructWithFirst("x");
    const char** array = NULL;
    const long* numbers = NULL;
    const short* booleans = NULL;
    long count = -1;

    CHECK(orv_config_SetEntryAsStringList2(h, "L/TEXTS", texts, 3, 0) == 1);
    CHECK(orv_config_SetStringListEntry2(h, "L/EMPTY", NULL, 0, 0) == 1);
    CHECK(orv_config_SetLongListEntry(h, "L/LONGS", longs, 3, 0) == 1);
    CHECK(orv_config_SetBooleanListEntry(h, "L/FLAGS", flags, 3, 0) == 1);
    orv_stringlist_append(input, "y");
    CHECK(orv_config_SetEntryAsStringList1(h, "L/OBJECT", input, 0) == 1);
    CHECK(orv_config_SetStringListEntry1(h, "M/OBJECT", input, 0) == 1);

    CHECK(orv_config_GetEntryAsStringList2(h, "L/TEXTS", &array, &count) == 1);
    CHECK(count == 3);
    CHECK_STR(array[0], "a");
    CHECK_STR(array[1], "");
    CHECK_STR(array[2], "c");
    CHECK(array[3] == NULL);
    CHECK(orv_config_GetStringListEntry2(h, "L/EMPTY", &array, &count) == 1);
    CHECK(count == 0);
    CHECK(array != NULL && array[0] == NULL);

    CHECK(orv_config_GetEntryAsStringList1(h, "L/OBJECT", &list) == 1);
    CHECK(orv_stringlist_count(list) == 2);
    CHECK_STR(orv_stringlist_dataAt(list, 1), "y");
    CHECK(orv_config_GetStringListEntry1(h, "M/OBJECT", &list) == 1);
    CHECK_STR(orv_stringlist_dataAt(list, 0), "x");

    CHECK(orv_config_GetLongListEntry(h, "L/LONGS", &numbers, &count) == 1);
    CHECK(count == 3 && numbers[0] == 1 && numbers[1] == -2 && numbers[2] == 3);
    CHECK(orv_config_GetBooleanListEntry(h, "L/FLAGS", &booleans, &count) == 1);
    CHECK(count == 3 && booleans[0] == 0 && booleans[1] == 1 && booleans[2] == 1);
    /* Texts that are no booleans fail the list; the outputs stay. */
    CHECK(orv_config_GetBooleanListEntry(h, "L/TEXTS", &booleans, &count) == 0);
    CHECK(count == 3);
    CHECK_STR(orv_config_GetLastError(h), "invalid boolean value: 'a'");

    CHECK(orv_config_SetKey(h, "EMPTYKEY", 1) == 1);
    CHECK(orv_config_GetKeyList2(h, "L", &array, &count) == 1);
    CHECK(count == 5);
    CHECK_STR(array[0], "TEXTS");
    CHECK_STR(array[4], "OBJECT");
    CHECK(orv_config_GetKeyList1(h, "EMPTYKEY", &list) == 1);
    CHECK(orv_stringlist_count(list) == 0);
    CHECK(orv_config_GetKeyList1(h, "NOKEY", &list) == 0);

    orv_stringlist_destruct(input);
    orv_config_destruct(h);
}

static void test_chain_and_operations(void) {
    orv_ConfigHandler_ptr base = orv_config_constructMemoryHandler(no_handler());
    orv_ConfigHandler_ptr top = orv_config_constructMemoryHandler(base);
    orv_ConfigHandler_ptr cla = orv_config_constructCLAHandler(top);
    orv_ConfigHandler_ptr env = orv_config_constructEnvVarHandler(no_handler());
    const char* text = NULL;

    CHECK(orv_config_SetEntryAsString(base, "C/E", "base", 1) == 1);
    /* An existing entry is changed where it lives, unless `here` is set. */
    CHECK(orv_config_SetEntryAsString(top, "C/E", "changed", 0) == 1);
    CHECK(orv_config_GetEntryAsString(base, "C/E", &text) == 1);
    CHECK_STR(text, "changed");
    CHECK(orv_config_SetEntryAsString(top, "C/E", "top", 1) == 1);
    CHECK(orv_config_GetEntryAsString(cla, "C/E", &text) == 1);
    CHECK_STR(text, "top");
    CHECK(orv_config_GetEntryAsString(base, "C/E", &text) == 1);
    CHECK_STR(text, "changed");

    CHECK(orv_config_IsOperationSupported(top, orv_ConfigOperation_WritingEntries) == 1);
    CHECK(orv_config_IsOperationSupported(top, orv_ConfigOperation_KeepingCache) == 0);
    CHECK(orv_config_IsOperationSupported(cla, orv_ConfigOperation_KeepingCache) == 1);
    CHECK(orv_config_IsOperationSupported(env, orv_ConfigOperation_WritingEntries) == 0);

    /* The memory handlers have no cache: "not supported", without a message. */
    CHECK(orv_config_UpdateCache1(top) == 0);
    CHECK(orv_config_GetHandlerStatus(top) == orv_ConfigStatus_NotSupported);
    CHECK(orv_config_UpdateCache2(top, "ignored") == 0);
    CHECK(orv_config_UpdateCache3(top, 0) == 0);
    CHECK(orv_config_UpdateCache4(top, "ignored", 1) == 0);
    CHECK(orv_config_FlushCache1(top) == 0);
    CHECK(orv_config_FlushCache2(top, "ignored") == 0);
    CHECK(orv_config_FlushCache3(top, 1) == 0);
    CHECK(orv_config_FlushCache4(top, "ignored", 0) == 0);
    /* The command-line handler claims a cache it does not update. */
    CHECK(orv_config_UpdateCache3(cla, 0) == 0);
    CHECK(orv_config_GetHandlerStatus(cla) == orv_ConfigStatus_Failed);
    CHECK(strstr(orv_config_GetLastError(cla), "updating of cache is not implemented in ") ==
          orv_config_GetLastError(cla));

    CHECK(orv_config_GetEntryAsString(env, "QORTESTF_NO/SUCH_VARIABLE", &text) == 0);
    CHECK_STR(orv_config_GetLastError(env),
              "could not get environment variable: 'ORVANE__QORTESTF_NO__SUCH_VARIABLE'");

    /* Releasing the top handle keeps the chain alive for the other holders. */
    orv_config_destruct(cla);
    orv_config_destruct(top);
    CHECK(orv_config_GetEntryAsString(base, "C/E", &text) == 1);
    orv_config_destruct(base);
    orv_config_destruct(env);
}

static void test_null_arguments(void) {
    orv_ConfigHandler_ptr h = orv_config_constructMemoryHandler(no_handler());
    orv_StringList_ptr no_list;
    const char* text = "kept";
    const char** array = NULL;
    no_list.obj = NULL;
    ctest_record_assertions();

    CHECK(orv_config_GetEntryAsString(no_handler(), "S/E", &text) == 0);
    CHECK_STR(ctest_last_assertion(), "configHandler.obj != nullptr");
    CHECK(orv_config_GetStringEntry(h, NULL, &text) == 0);
    CHECK_STR(ctest_last_assertion(), "path != nullptr");
    CHECK(orv_config_GetLongEntry(h, "S/E", NULL) == 0);
    CHECK_STR(ctest_last_assertion(), "ret != nullptr");
    CHECK(orv_config_GetKeyList2(h, "S", &array, NULL) == 0);
    CHECK_STR(ctest_last_assertion(), "count != nullptr");
    CHECK(orv_config_SetStringEntry(h, "S/E", NULL, 0) == 0);
    CHECK_STR(ctest_last_assertion(), "value != nullptr");
    CHECK(orv_config_SetEntryAsStringList2(h, "S/E", NULL, 2, 0) == 0);
    CHECK_STR(ctest_last_assertion(), "value != nullptr");
    CHECK(orv_config_SetStringListEntry1(h, "S/E", no_list, 0) == 0);
    CHECK_STR(ctest_last_assertion(), "value.obj != nullptr");
    CHECK(orv_config_UpdateCache1(no_handler()) == 0);
    CHECK_STR(ctest_last_assertion(), "configHandler.obj != nullptr");
    CHECK_STR(orv_config_GetLastError(no_handler()), "");
    orv_config_destruct(no_handler());
    CHECK_STR(ctest_last_assertion(), "configHandler.obj != nullptr");
    CHECK(ctest_assertion_count() == 10);
    CHECK_STR(text, "kept");
    /* Nothing was written by the refused calls. */
    CHECK(orv_config_GetEntryAsString(h, "S/E", &text) == 0);
    ctest_clear_assertions();
    orv_config_destruct(h);
}

int main(void) {
    test_scalars();
    test_lists();
    test_chain_and_operations();
    test_null_arguments();
    return ctest_finish("config");
}
