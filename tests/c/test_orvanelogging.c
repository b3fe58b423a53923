/* The process-wide settings of the file logging handler, called from C. */
#include "ctest_support.h"

#include "qorcommon/c/orvanelogging.h"

static void test_path(void) {
    const char* first = orv_orvane_logging_handler_getLogfilePath();
    CHECK_STR(first, "$(current_dir)/orvane.log");
    CHECK(orv_orvane_logging_handler_setLogfilePath("logs/c.log") == 1);
    CHECK(orv_orvane_logging_handler_setLogfilePath("") == 0);
    CHECK_STR(orv_orvane_logging_handler_getLogfilePath(), "logs/c.log");
}

static void test_destinations(void) {
    CHECK_STR(orv_orvane_logging_handler_getLogDest(), "File");
    CHECK(orv_orvane_logging_handler_setLogDest("Console") == 1);
    CHECK_STR(orv_orvane_logging_handler_getLogDest(), "Console");
    CHECK(orv_orvane_logging_handler_addLogDest("file") == 1);
    CHECK_STR(orv_orvane_logging_handler_getLogDest(), "File,Console");
    CHECK(orv_orvane_logging_handler_setLogDest("Printer") == 0);
    CHECK(orv_orvane_logging_handler_addLogDest("") == 0);
    CHECK_STR(orv_orvane_logging_handler_getLogDest(), "File,Console");
}

static void test_level_and_size(void) {
    CHECK(orv_orvane_logging_handler_getLogLevel() == 4);
    CHECK(orv_orvane_logging_handler_setLogLevel(1) == 1);
    CHECK(orv_orvane_logging_handler_setLogLevel(5) == 0);
    CHECK(orv_orvane_logging_handler_getLogLevel() == 1);
    CHECK(orv_orvane_logging_handler_getLogMaxSize() == 10485760L);
    CHECK(orv_orvane_logging_handler_setLogMaxSize(1024) == 1);
    CHECK(orv_orvane_logging_handler_setLogMaxSize(1023) == 0);
    CHECK(orv_orvane_logging_handler_getLogMaxSize() == 1024);
}

static void test_null_arguments(void) {
    CHECK(orv_orvane_logging_handler_setLogfilePath(NULL) == 0);
    CHECK_STR(ctest_last_assertion(), "path");
    CHECK(orv_orvane_logging_handler_setLogDest(NULL) == 0);
    CHECK_STR(ctest_last_assertion(), "destination");
    CHECK(orv_orvane_logging_handler_addLogDest(NULL) == 0);
    CHECK_STR(ctest_last_assertion(), "destination");
}

int main(void) {
    ctest_record_assertions();
    test_path();
    test_destinations();
    test_level_and_size();
    test_null_arguments();
    return ctest_finish("orvanelogging");
}
