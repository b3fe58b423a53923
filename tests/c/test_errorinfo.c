/* Error records built, copied and printed from C. */
#include "ctest_support.h"

#include "qorcommon/c/errorinfo.h"

#include <string.h>
#include <time.h>

static struct tm january31(void) {
    struct tm t;
    memset(&t, 0, sizeof t);
    t.tm_year = 124;
    t.tm_mon = 0;
    t.tm_mday = 31;
    t.tm_hour = 23;
    t.tm_min = 59;
    t.tm_sec = 59;
    t.tm_isdst = -1;
    return t;
}

static void test_builders(void) {
    static const orv_CustomInfoItem items[] = {{"k", "v"}};
    orv_CodeLocation full = orv_CodeLocation_init("a.c", 12, "f", orv_Language_C, "note", 1, items);
    orv_CodeLocation one = orv_CodeLocation_init1("a.c", 12, "f", orv_Language_C, "note", 1, items);
    orv_CodeLocation two = orv_CodeLocation_init2("a.c", 12, "f", orv_Language_C, "note");
    orv_CodeLocation three = orv_CodeLocation_init3("a.c", 12, "f", orv_Language_C);
    orv_CodeLocation four = orv_CodeLocation_init4("a.c", 12);
    _orv_CodeLocationInput input =
        orv_CodeLocationInput_init("a.c", 12, "f", orv_Language_C, "note", 1, items);
    orv_CustomInfo info = orv_CustomInfo_init(1, items);
    _orv_CustomInfoInput infoInput = orv_CustomInfoInput_init(1, items);

    CHECK_STR(full.file, "a.c");
    CHECK(full.line == 12);
    CHECK_STR(full.function, "f");
    CHECK(full.language == orv_Language_C);
    CHECK_STR(full.comment, "note");
    CHECK(full.customInfo.count == 1 && full.customInfo.items == items);
    CHECK(one.file == full.file && one.line == full.line && one.function == full.function);
    CHECK(one.language == full.language && one.comment == full.comment);
    CHECK(one.customInfo.count == 1 && one.customInfo.items == items);
    CHECK(two.customInfo.count == 0 && two.customInfo.items == NULL);
    CHECK(three.comment == NULL && three.customInfo.items == NULL);
    CHECK_STR(three.function, "f");
    CHECK(four.function == NULL && four.language == -1 && four.comment == NULL);
    CHECK(four.customInfo.count == 0 && four.customInfo.items == NULL);
    CHECK(input.customInfo.items == items && input.language == orv_Language_C);
    CHECK(info.count == 1 && info.items == items);
    CHECK(infoInput.count == 1 && infoInput.items == items);
}

static void test_location_text(void) {
    orv_CodeLocation located = orv_CodeLocation_init3("a.c", 12, "f", orv_Language_C);
    orv_CodeLocation nowhere = orv_CodeLocation_init4(NULL, -1);
    orv_CodeLocation reduced =
        orv_CodeLocation_init3("b.cpp", 3, "virtual void ns::A::run() const", orv_Language_Cpp);
    CHECK_STR(orv_CodeLocation_asString(&located), "a.c:12: f ");
    CHECK_STR(orv_CodeLocation_asString(&nowhere), "(unknown)");
    CHECK_STR(orv_CodeLocation_asString(&reduced), "b.cpp:3: ns::A::run ");
}

static void test_error_text(void) {
    orv_ErrorInfo error;
    memset(&error, 0, sizeof error);
    error.codeLocation = orv_CodeLocation_init4("a.c", 12);
    error.errorCode = 5;
    error.errorText = "x";
    error.dateTime = january31();
    CHECK_STR(orv_ErrorInfo_asShortString(&error), "[] x (5) ");
    CHECK_STR(orv_ErrorInfo_asLongString(&error), "Location: a.c:12\n"
                                                  "Date: 2024-01-31T23:59:59\n"
                                                  "Error Text: x\n"
                                                  "Error Code: 5\n"
                                                  "Error Hint: \n"
                                                  "\n");
    error.errorCode = -1;
    error.hint = "retry";
    CHECK_STR(orv_ErrorInfo_asLongString(&error), "Location: a.c:12\n"
                                                  "Date: 2024-01-31T23:59:59\n"
                                                  "Error Text: x\n"
                                                  "Error Hint: \n"
                                                  "retry\n");
}

static void test_error_round_trip(void) {
    char key[] = "b";
    char text[] = "disk full";
    orv_CustomInfoItem items[2];
    orv_ErrorInfo_Buffer_ptr buffer = orv_ErrorInfo_Buffer_construct();
    orv_ErrorInfo source;
    orv_ErrorInfo copy;
    items[0].key = key;
    items[0].value = "2";
    items[1].key = "a";
    items[1].value = "1";
    memset(&source, 0, sizeof source);
    source.codeLocation = orv_CodeLocation_init3("a.c", 12, "int ns::f(int)", orv_Language_Cpp);
    source.errorCode = 5;
    source.errorText = text;
    source.hint = NULL;
    source.customInfo = orv_CustomInfo_init(2, items);
    source.dateTime = january31();
    CHECK(buffer.obj != NULL);

    copy = orv_ErrorInfo_Buffer_copy(buffer, &source);
    /* The copy owns its texts: changing the source leaves it alone. */
    key[0] = 'z';
    text[0] = 'D';
    CHECK_STR(copy.errorText, "disk full");
    CHECK_STR(copy.hint, "");
    CHECK(copy.errorCode == 5);
    CHECK_STR(copy.codeLocation.function, "ns::f");
    CHECK(copy.codeLocation.line == 12);
    CHECK(copy.customInfo.count == 2);
    CHECK_STR(copy.customInfo.items[0].key, "a");
    CHECK_STR(copy.customInfo.items[1].key, "b");
    CHECK_STR(copy.customInfo.items[1].value, "2");
    CHECK(copy.dateTime.tm_mday == 31 && copy.dateTime.tm_year == 124);
    CHECK(copy.dateTime.tm_wday == 3); /* a Wednesday */
    CHECK_STR(copy.moduleInfo.name, "");
    CHECK(copy.moduleInfo.customInfo.count == 0);
    orv_ErrorInfo_Buffer_destruct(buffer);
}

static void test_module_records(void) {
    static const orv_CustomInfoItem identity[] = {
        {"type", "dll"}, {"unique_id", "00000000000000ff"}, {"version", "3.35.4"}};
    orv_ModuleInfo_Buffer_ptr moduleBuffer = orv_ModuleInfo_Buffer_construct();
    orv_NameInfo_Buffer_ptr nameBuffer = orv_NameInfo_Buffer_construct();
    orv_ErrorInfo_Buffer_ptr errorBuffer = orv_ErrorInfo_Buffer_construct();
    orv_ModuleInfo module;
    orv_ModuleInfo copied;
    orv_NameInfo name;
    orv_ErrorInfo error;
    orv_ErrorInfo errorCopy;

    memset(&module, 0, sizeof module);
    module.name = "core";
    module.type = "dll";
    module.versionMajor = 3;
    module.versionMinor = 35;
    module.versionPatch = 4;
    copied = orv_ModuleInfo_Buffer_copy(moduleBuffer, &module);
    CHECK_STR(copied.name, "core");
    CHECK(copied.versionMinor == 35);
    CHECK(copied.uniqueId != 0); /* derived from name and type */
    module.uniqueId = 255;
    copied = orv_ModuleInfo_Buffer_copy(moduleBuffer, &module);
    CHECK(copied.uniqueId == 255);

    name.name = "Title";
    name.description = NULL;
    name.customInfo = orv_CustomInfo_init(0, NULL);
    name = orv_NameInfo_Buffer_copy(nameBuffer, &name);
    CHECK_STR(name.name, "Title");
    CHECK_STR(name.description, "");

    /* The module of an error record travels as a name record. */
    memset(&error, 0, sizeof error);
    error.moduleInfo.name = "core";
    error.moduleInfo.customInfo = orv_CustomInfo_init(3, identity);
    error.errorText = "x";
    error.errorCode = 1;
    error.codeLocation = orv_CodeLocation_init4(NULL, -1);
    error.dateTime = january31();
    errorCopy = orv_ErrorInfo_Buffer_copy(errorBuffer, &error);
    CHECK_STR(errorCopy.moduleInfo.name, "core");
    CHECK_STR(errorCopy.moduleInfo.description, "core (dll) 3.35.4");
    CHECK(errorCopy.moduleInfo.customInfo.count == 3);
    CHECK_STR(errorCopy.moduleInfo.customInfo.items[1].value, "00000000000000ff");
    CHECK_STR(orv_ErrorInfo_asShortString(&error), "[core (dll) 3.35.4] x (1) ");

    orv_ModuleInfo_Buffer_destruct(moduleBuffer);
    orv_NameInfo_Buffer_destruct(nameBuffer);
    orv_ErrorInfo_Buffer_destruct(errorBuffer);
}

static void test_null_arguments(void) {
    orv_ErrorInfo_Buffer_ptr none;
    orv_ErrorInfo_Buffer_ptr buffer = orv_ErrorInfo_Buffer_construct();
    orv_ErrorInfo result;
    none.obj = NULL;
    ctest_clear_assertions();

    result = orv_ErrorInfo_Buffer_copy(none, NULL);
    CHECK_STR(ctest_last_assertion(), "buffer.obj");
    CHECK_STR(result.errorText, "");
    CHECK_STR(result.codeLocation.file, "");
    result = orv_ErrorInfo_Buffer_copy(buffer, NULL);
    CHECK_STR(ctest_last_assertion(), "record");
    CHECK_STR(orv_ErrorInfo_asLongString(NULL), "");
    CHECK_STR(orv_CodeLocation_asString(NULL), "");
    orv_ErrorInfo_Buffer_destruct(none);
    CHECK_STR(ctest_last_assertion(), "buffer.obj");
    CHECK(ctest_assertion_count() == 5);
    orv_ErrorInfo_Buffer_destruct(buffer);
}

int main(void) {
    ctest_record_assertions();
    test_builders();
    test_location_text();
    test_error_text();
    test_error_round_trip();
    test_module_records();
    test_null_arguments();
    return ctest_finish("test_errorinfo");
}
