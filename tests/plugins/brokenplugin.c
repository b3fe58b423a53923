/* Plug-ins that fail one step of loading each; BROKEN selects which:
 *   1  its API revision is 2;
 *   2  it has no orv_plugin_getApiRevision;
 *   3  orv_plugin_checkApiRevision refuses;
 *   4  orv_plugin_attach returns no plug-in. */
#include "qorcommon/c/framework.h"

#include <stddef.h>

#if defined(_WIN32)
#define TESTPLUGIN_EXPORT __declspec(dllexport)
#else
#define TESTPLUGIN_EXPORT __attribute__((visibility("default")))
#endif

#if BROKEN != 2
TESTPLUGIN_EXPORT int orv_plugin_getApiRevision(void) {
    return BROKEN == 1 ? 2 : 3;
}
#endif

TESTPLUGIN_EXPORT short orv_plugin_checkApiRevision(int revision, const char** message) {
    (void)revision;
#if BROKEN == 3
    *message = "this plugin wants API revision 4";
    return 0;
#else
    (void)message;
    return 1;
#endif
}

TESTPLUGIN_EXPORT qor_Plugin_ptr orv_plugin_attach(void) {
    qor_Plugin_ptr plugin;
    plugin.obj = NULL;
    return plugin;
}

TESTPLUGIN_EXPORT void orv_plugin_detach(qor_Plugin_ptr plugin) {
    (void)plugin;
}
