/* The configuration file handler, called from C. */
#include "ctest_support.h"

#include "qorcommon/c/config.h"
#include "qorcommon/c/orvanecfg.h"

#include <stdio.h>
#include <string.h>

static const char* const kFile = "c_orvanecfg_test.cfg";

static orv_ConfigHandler_ptr no_handler(void) {
    orv_ConfigHandler_ptr handle;
    handle.obj = NULL;
    return handle;
}

static int write_file(const char* path, const char* text) {
    FILE* file = fopen(path, "wb");
    if (!file) return 0;
    fputs(text, file);
    return fclose(file) == 0;
}

static void test_reading_through_the_c_face(void) {
    orv_ConfigHandler_ptr h;
    const char* text = NULL;
    const char** array = NULL;
    const long* numbers = NULL;
    long number = 0;
    long count = 0;
    short flag = 0;

    CHECK(write_file(kFile, "\xEF\xBB\xBF[S]\n"
                            "name = \"hello world\"\n"
                            "number = 42\n"
                            "flag = Ja\n"
                            "list = 1 <|> 2 <|> 3\n"));
    orv_orvanecfg_config_handler_setOrvanecfgPath(kFile);
    h = orv_orvanecfg_config_handler_construct(no_handler());
    CHECK(h.obj != NULL);
    CHECK(orv_config_GetHandlerStatus(h) == orv_ConfigStatus_NoError);

    CHECK(orv_config_GetStringEntry(h, "S/name", &text) == 1);
    CHECK_STR(text, "hello world");
    CHECK(orv_config_GetLongEntry(h, "S/number", &number) == 1);
    CHECK(number == 42);
    CHECK(orv_config_GetBooleanEntry(h, "S/flag", &flag) == 1);
    CHECK(flag == 1);
    CHECK(orv_config_GetLongListEntry(h, "S/list", &numbers, &count) == 1);
    CHECK(count == 3 && numbers[0] == 1 && numbers[2] == 3);
    CHECK(orv_config_GetKeyList2(h, "S", &array, &count) == 1);
    CHECK(count == 4 && strcmp(array[0], "flag") == 0 && strcmp(array[3], "number") == 0);

    CHECK(orv_config_GetStringEntry(h, "S/missing", &text) == 0);
    CHECK_STR(orv_config_GetLastError(h),
              "Orvane::Core::OrvanecfgConfigHandler: Entry not found: S/missing");

    /* Neither writing nor setting is enabled in this file. */
    CHECK(orv_config_IsOperationSupported(h, orv_ConfigOperation_WritingEntries) == 0);
    CHECK(orv_config_SetStringEntry(h, "S/name", "x", 1) == 0);
    CHECK_STR(orv_config_GetLastError(h), "setting of entry value is not enabled");
    CHECK(orv_config_FlushCache3(h, 0) == 0);
    CHECK_STR(orv_config_GetLastError(h), "writing of orvane config file is not enabled");
    orv_config_destruct(h);
}

static void test_writing_and_missing_files(void) {
    orv_ConfigHandler_ptr h;
    const char* text = NULL;
    char expected[256];

    CHECK(write_file(kFile, "[ORVANE_CONFIG_HANDLER]\nIS_WRITING_ENABLED = true\n"));
    orv_orvanecfg_config_handler_setOrvanecfgPath(kFile);
    h = orv_orvanecfg_config_handler_construct(no_handler());
    CHECK(orv_config_SetStringEntry(h, "S/name", "a b", 0) == 1);
    CHECK(orv_config_FlushCache1(h) == 1);
    CHECK(orv_config_UpdateCache3(h, 0) == 1);
    CHECK(orv_config_GetStringEntry(h, "S/name", &text) == 1);
    CHECK_STR(text, "a b");
    orv_config_destruct(h);
    remove(kFile);

    /* A missing file still gives a handler, which says why it is empty. */
    h = orv_orvanecfg_config_handler_construct(no_handler());
    CHECK(h.obj != NULL);
    CHECK(orv_config_GetHandlerStatus(h) == orv_ConfigStatus_Failed);
    snprintf(expected, sizeof expected, "Cannot open config file '%s'.", kFile);
    CHECK_STR(orv_config_GetLastError(h), expected);
    CHECK(orv_config_GetStringEntry(h, "S/name", &text) == 0);
    orv_config_destruct(h);
}

static void test_null_path(void) {
    ctest_record_assertions();
    orv_orvanecfg_config_handler_setOrvanecfgPath(NULL);
    CHECK_STR(ctest_last_assertion(), "path != nullptr");
    orv_orvanecfg_config_handler_setOrvanecfgPath("");
}

int main(void) {
    test_reading_through_the_c_face();
    test_writing_and_missing_files();
    test_null_path();
    return ctest_finish("orvanecfg");
}
