/* A GUI plug-in for the tests. It appends every call to the file named with
 * qortest_gui_setRecord (tests load the library themselves first and so share its state), one line
 * per item:
 *
 *     init <revision> <library version>
 *     show <request> <x> <y>          then "<name>=<value>" per field and "end"
 *     logon <request>                 then the fields, "ask <name>=<value>" per answer, "end"
 *     shutdown
 *
 * Line breaks inside values are written as "\n". It refuses to show a warning whose text is
 * "refuse"; a log-on form of the application "cancel" is cancelled, one of "fail" fails, any
 * other is answered with user "tester" and password "s3cret". qortest_gui_claimRevision sets the
 * revision it claims. */
#include "qorcommon/c/guiplugin.h"

#include <stdio.h>
#include <string.h>

#if defined(_WIN32)
#define TESTPLUGIN_EXPORT __declspec(dllexport)
#else
#define TESTPLUGIN_EXPORT __attribute__((visibility("default")))
#endif

static char recordPath[4096];
static int claimedRevision = GUI_PLUGIN_API_REVISION;

TESTPLUGIN_EXPORT void qortest_gui_setRecord(const char* path) {
    strncpy(recordPath, path ? path : "", sizeof recordPath - 1);
}

TESTPLUGIN_EXPORT void qortest_gui_claimRevision(int revision) {
    claimedRevision = revision;
}

static FILE* openRecord(void) {
    return recordPath[0] ? fopen(recordPath, "ab") : NULL;
}

static void writeEscaped(FILE* file, const char* text) {
    for (; text && *text; ++text) {
        if (*text == '\n')
            fputs("\\n", file);
        else
            fputc(*text, file);
    }
}

static void writeFields(FILE* file, unsigned count, const char* const* names,
                        const char* const* values) {
    unsigned i;
    for (i = 0; i < count; ++i) {
        writeEscaped(file, names[i]);
        fputc('=', file);
        writeEscaped(file, values[i]);
        fputc('\n', file);
    }
}

static const char* fieldOf(const char* name, unsigned count, const char* const* names,
                           const char* const* values) {
    unsigned i;
    for (i = 0; i < count; ++i) {
        if (strcmp(names[i], name) == 0) return values[i];
    }
    return "";
}

TESTPLUGIN_EXPORT int gui_plugin_getApiRevision(void) {
    return claimedRevision;
}

TESTPLUGIN_EXPORT int gui_plugin_init(const gui_HostCallbacks* host) {
    FILE* file = openRecord();
    if (file) {
        fprintf(file, "init %d %s\n", host->apiRevision, host->libraryVersion);
        fclose(file);
    }
    host->log(host->host, gui_Priority_Status, "test GUI plug-in ready");
    return 1;
}

TESTPLUGIN_EXPORT int gui_plugin_show(const char* request, unsigned count, const char* const* names,
                                      const char* const* values, int x, int y) {
    FILE* file = openRecord();
    if (file) {
        fprintf(file, "show %s %d %d\n", request, x, y);
        writeFields(file, count, names, values);
        fputs("end\n", file);
        fclose(file);
    }
    return strcmp(fieldOf("warn_errorText", count, names, values), "refuse") != 0;
}

TESTPLUGIN_EXPORT int gui_plugin_logon(const char* request, unsigned count,
                                       const char* const* names, const char* const* values,
                                       unsigned answerCount, const char* const* answerNames,
                                       const char* const* answerValues,
                                       gui_SetAnswerFunction setAnswer, void* answer) {
    const char* application = fieldOf("logon_application", count, names, values);
    unsigned i;
    FILE* file = openRecord();
    if (file) {
        fprintf(file, "logon %s\n", request);
        writeFields(file, count, names, values);
        for (i = 0; i < answerCount; ++i) {
            fprintf(file, "ask %s=%s\n", answerNames[i], answerValues[i]);
        }
        fputs("end\n", file);
        fclose(file);
    }
    if (strcmp(application, "cancel") == 0) return 0;
    if (strcmp(application, "fail") == 0) return -1;
    setAnswer(answer, "logon_user", "tester");
    setAnswer(answer, "*logon_password", "s3cret");
    setAnswer(answer, "not_asked", "ignored");
    return 1;
}

TESTPLUGIN_EXPORT void gui_plugin_shutdown(void) {
    FILE* file = openRecord();
    if (file) {
        fputs("shutdown\n", file);
        fclose(file);
    }
}
