/* User interaction and name resolution from C, against the shared library. */
#include "ctest_support.h"

#include "qorcommon/c/gui.h"
#include "qorcommon/c/network.h"

static void test_resolution(void) {
    CHECK_STR(qor_ResolveToIPAddress("127.0.0.1"), "127.0.0.1");
    CHECK_STR(qor_GetResolveError(), "");
    CHECK_STR(qor_ResolveToIPAddress(NULL), "");
    CHECK_STR(qor_GetResolveError(), "host name is null");
    CHECK_STR(qor_ResolveToIPAddress(""), "");
    CHECK_STR(qor_GetResolveError(), "host name is empty");
}

static void test_plugin_loader(void) {
    CHECK(gui_load("no_such_gui_plugin") == 0);
    CHECK(strstr(gui_lastError(), "cannot load GUI plug-in") != NULL);
    CHECK(gui_isLoaded() == 0);
    CHECK(gui_unload() == 0);

    ctest_clear_assertions();
    CHECK(gui_load(NULL) == 0);
    CHECK_STR(ctest_last_assertion(), "path");
}

static void test_null_arguments(void) {
    char user[8] = "";
    ctest_clear_assertions();
    orv_ShowErrorInfo1(NULL);
    CHECK_STR(ctest_last_assertion(), "error");
    orv_ShowWarningInfo(NULL, 0);
    CHECK_STR(ctest_last_assertion(), "warning");
    CHECK(orv_def_gui_logon("app", user, sizeof user, NULL, 8) == orv_Logon_Failed);
    CHECK_STR(ctest_last_assertion(), "password");
    CHECK(orv_Logon("app", user, 0, user, sizeof user) == orv_Logon_Failed);
    CHECK(ctest_assertion_count() == 3);
}

int main(void) {
    ctest_record_assertions();
    test_resolution();
    test_plugin_loader();
    test_null_arguments();
    return ctest_finish("gui");
}
