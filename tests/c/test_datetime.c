/* The date-time functions, called from C. */
#include "ctest_support.h"

#include "qorcommon/c/datetime.h"
#include "qorcommon/c/object.h"
#include "qorcommon/c/string.h"

#include <string.h>
#include <time.h>

static void test_from_tm(void) {
    struct tm record;
    struct tm back;
    orv_DateTime_ptr value;
    orv_String_ptr text;
    memset(&record, 0, sizeof record);
    record.tm_year = 124;
    record.tm_mon = 0;
    record.tm_mday = 31;
    record.tm_hour = 23;
    record.tm_min = 59;
    record.tm_sec = 59;
    record.tm_isdst = -1;
    record.tm_wday = 6; /* not read */

    value = orv_datetime_constructFromTM(&record);
    CHECK(value.obj != NULL);
    text = orv_datetime_asISODateTime(value);
    CHECK_STR(orv_string_data(text), "2024-01-31T23:59:59");

    back = orv_datetime_asTM(value);
    CHECK(back.tm_year == 124 && back.tm_mon == 0 && back.tm_mday == 31);
    CHECK(back.tm_hour == 23 && back.tm_min == 59 && back.tm_sec == 59);
    CHECK(back.tm_wday == 3); /* a Wednesday */
    CHECK(back.tm_yday == 30);
    CHECK(back.tm_isdst == -1);

    orv_string_destruct(text);
    orv_datetime_destruct(value);
}

static void test_from_iso_text(void) {
    orv_DateTime_ptr value = orv_datetime_constructFromISODateTime("2024-03-05T04:06:08.007");
    orv_DateTime_ptr bad = orv_datetime_constructFromISODateTime("2024-02-30T00:00:00");
    struct tm record;
    CHECK(value.obj != NULL && bad.obj != NULL);
    CHECK_STR(orv_string_data(orv_datetime_asISODateTime(value)), "2024-03-05T04:06:08.007");
    record = orv_datetime_asTM(value);
    CHECK(record.tm_mon == 2 && record.tm_mday == 5 && record.tm_wday == 2);
    /* A malformed text gives an empty value, whose record is the local epoch. */
    CHECK_STR(orv_string_data(orv_datetime_asISODateTime(bad)), "0000-00-00T00:00:00");
    record = orv_datetime_asTM(bad);
    CHECK(record.tm_year == 69 || record.tm_year == 70);
    /* The ISO strings above hang on the root frame; this frees them. */
    orv_objectStack_deleteActualFrame();
    orv_datetime_destruct(value);
    orv_datetime_destruct(bad);
}

static void test_parse_tells_whether_the_text_was_read(void) {
    orv_DateTime_ptr value;
    orv_DateTime_ptr stale;
    CHECK(orv_datetime_parseISODateTime("2024-03-05T04:06:08.007", &value) == 1);
    CHECK(value.obj != NULL);
    CHECK_STR(orv_string_data(orv_datetime_asISODateTime(value)), "2024-03-05T04:06:08.007");

    /* A malformed text (the 30th of February, trailing text, nothing) gives 0 and a null
     * handle, whatever the handle held before; nothing is reported for a malformed text. */
    ctest_clear_assertions();
    stale = value;
    CHECK(orv_datetime_parseISODateTime("2024-02-30T00:00:00", &stale) == 0);
    CHECK(stale.obj == NULL);
    stale = value;
    CHECK(orv_datetime_parseISODateTime("2024-03-05T04:06:08 and more", &stale) == 0);
    CHECK(stale.obj == NULL);
    CHECK(orv_datetime_parseISODateTime("", &stale) == 0);
    CHECK(stale.obj == NULL);
    CHECK(ctest_assertion_count() == 0);

    /* Null arguments are reported; a null text still clears the output. */
    stale = value;
    CHECK(orv_datetime_parseISODateTime(NULL, &stale) == 0);
    CHECK(stale.obj == NULL);
    CHECK_STR(ctest_last_assertion(), "isoText");
    CHECK(orv_datetime_parseISODateTime("2024-03-05", NULL) == 0);
    CHECK_STR(ctest_last_assertion(), "out");
    CHECK(ctest_assertion_count() == 2);

    orv_objectStack_deleteActualFrame();
    orv_datetime_destruct(value);
}

static void test_strings_join_the_current_frame(void) {
    orv_DateTime_ptr value = orv_datetime_constructFromISODateTime("1969-07-20T20:17:40");
    orv_String_ptr kept;
    orv_objectStack_newFrame();
    /* Freed with the frame. */
    CHECK(orv_datetime_asISODateTime(value).obj != NULL);
    kept = orv_datetime_asISODateTime(value);
    orv_objectStack_setToOutValue(orv_string_asObject(kept));
    orv_objectStack_deleteActualFrame();
    CHECK_STR(orv_string_data(kept), "1969-07-20T20:17:40");
    orv_string_destruct(kept);

    /* The object views free the value like its destruct function. */
    CHECK(orv_datetime_asBaseObject(value).obj != NULL);
    orv_Object_destruct(orv_datetime_asObject(value));
}

static void test_null_arguments(void) {
    orv_DateTime_ptr none;
    struct tm record;
    none.obj = NULL;
    ctest_clear_assertions();

    CHECK(orv_datetime_asISODateTime(none).obj == NULL);
    CHECK_STR(ctest_last_assertion(), "obj.obj");
    record = orv_datetime_asTM(none);
    CHECK(record.tm_year == 0 && record.tm_mday == 0);
    CHECK(orv_datetime_asObject(none).obj == NULL);
    CHECK(orv_datetime_asBaseObject(none).obj == NULL);
    orv_datetime_destruct(none);
    CHECK(ctest_assertion_count() == 5);
    CHECK_STR(ctest_last_assertion(), "obj.obj");

    CHECK(orv_datetime_constructFromTM(NULL).obj == NULL);
    CHECK_STR(ctest_last_assertion(), "tmRecord");
    CHECK(orv_datetime_constructFromISODateTime(NULL).obj == NULL);
    CHECK_STR(ctest_last_assertion(), "isoText");
    CHECK(ctest_assertion_count() == 7);
}

int main(void) {
    ctest_record_assertions();
    test_from_tm();
    test_from_iso_text();
    test_parse_tells_whether_the_text_was_read();
    test_strings_join_the_current_frame();
    test_null_arguments();
    return ctest_finish("datetime");
}
