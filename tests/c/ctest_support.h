/* A minimal check harness for the tests of the C face, compiled as C99. */
#ifndef QOR_CTEST_SUPPORT_H
#define QOR_CTEST_SUPPORT_H

#include <stddef.h>
#include <string.h>

extern int ctest_failures;
extern int ctest_checks;

void ctest_fail(const char* file, int line, const char* text);
/* Installs an assertion handler that records the texts; ctest_last_assertion() gives the newest. */
void ctest_record_assertions(void);
const char* ctest_last_assertion(void);
int ctest_assertion_count(void);
void ctest_clear_assertions(void);
/* Prints the closing line "N passed, N failed" and returns the process exit code. */
int ctest_finish(const char* suite);

#define CHECK(cond)                                                                                \
    do {                                                                                           \
        ++ctest_checks;                                                                            \
        if (!(cond)) ctest_fail(__FILE__, __LINE__, #cond);                                        \
    } while (0)

#define CHECK_STR(actual, expected)                                                                \
    do {                                                                                           \
        const char* ctest_a_ = (actual);                                                           \
        const char* ctest_e_ = (expected);                                                         \
        ++ctest_checks;                                                                            \
        if (ctest_a_ == NULL || strcmp(ctest_a_, ctest_e_) != 0)                                   \
            ctest_fail(__FILE__, __LINE__, #actual " == " #expected);                              \
    } while (0)

#endif
