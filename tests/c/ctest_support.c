#include "ctest_support.h"

#include "qorcommon/c/assertion.h"

#include <stdio.h>
#include <string.h>

int ctest_failures = 0;
int ctest_checks = 0;

static char last_assertion[256];
static int assertion_count = 0;

void ctest_fail(const char* file, int line, const char* text) {
    ++ctest_failures;
    fprintf(stderr, "%s:%d: check failed: %s\n", file, line, text);
}

static void record(const char* expression, const char* file, int line, void* context) {
    (void)file;
    (void)line;
    (void)context;
    ++assertion_count;
    strncpy(last_assertion, expression ? expression : "", sizeof last_assertion - 1);
    last_assertion[sizeof last_assertion - 1] = '\0';
}

void ctest_record_assertions(void) {
    orv_assertion_setHandler(record, NULL, NULL);
}

const char* ctest_last_assertion(void) {
    return last_assertion;
}

int ctest_assertion_count(void) {
    return assertion_count;
}

void ctest_clear_assertions(void) {
    assertion_count = 0;
    last_assertion[0] = '\0';
}

int ctest_finish(const char* suite) {
    printf("%s: %d checks\n", suite, ctest_checks);
    printf("%d passed, %d failed\n", ctest_checks - ctest_failures, ctest_failures);
    return ctest_failures == 0 ? 0 : 1;
}
