/* A tiny library that the loader tests load, look into and unload. */
#if defined(_WIN32)
#define TESTPLUGIN_EXPORT __declspec(dllexport)
#else
#define TESTPLUGIN_EXPORT __attribute__((visibility("default")))
#endif

static int loadCount = 0;

TESTPLUGIN_EXPORT int qortest_plugin_twice(int value) {
    return 2 * value;
}

/* Counts calls, so that a test sees whether two loads share one copy of the library. */
TESTPLUGIN_EXPORT int qortest_plugin_count(void) {
    return ++loadCount;
}
