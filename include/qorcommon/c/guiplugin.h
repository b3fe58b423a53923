/* The interface of GUI plug-in libraries: what a library exports to show the forms of the
 * library (errors, warnings, log-on) in its own way. Any language that can export C functions can
 * implement it; this header only declares types and names, nothing to link against.
 *
 * A form is a request name ("show_error", "show_warning", "logon") and `count` fields given as two
 * arrays of NUL-terminated UTF-8 texts, names[i] and values[i], in the order the form lists them.
 * A name starting with '#' holds a whole number, one starting with '*' a secret. The texts, and
 * the setAnswer function with its answer pointer, are valid during the call only.
 *
 * Entry points (exported under exactly these names):
 *
 *   int  gui_plugin_getApiRevision(void)                        required; returns
 *                                                                GUI_PLUGIN_API_REVISION
 *   int  gui_plugin_show(request, count, names, values, x, y)   required; 1 shown, 0 not shown
 *                                                                (the library then shows the form
 *                                                                as text); x and y suggest a
 *                                                                screen position, -1 for none
 *   int  gui_plugin_init(const gui_HostCallbacks* host)         optional; called once after
 *                                                                loading, 0 refuses the load; the
 *                                                                table stays valid until shutdown
 *   int  gui_plugin_logon(request, count, names, values,
 *                         answerCount, answerNames, answerValues,
 *                         setAnswer, answer)                     optional; asks the answer fields
 *                                                                (pre-filled with answerValues)
 *                                                                and reports each value with
 *                                                                setAnswer(answer, name, value);
 *                                                                1 accepted, 0 cancelled, negative
 *                                                                failed. Without it the library
 *                                                                asks log-on forms as text.
 *   void gui_plugin_shutdown(void)                              optional; called before unloading
 *
 * Calls into one plug-in never overlap; they may come from different threads. Valid C99. */
#ifndef QORCOMMON_C_GUIPLUGIN_H
#define QORCOMMON_C_GUIPLUGIN_H

#ifdef __cplusplus
extern "C" {
#endif

/* The revision of this interface. Later revisions with the same number only append members to
 * gui_HostCallbacks and add optional entry points. */
#define GUI_PLUGIN_API_REVISION 1

#define GUI_PLUGIN_GET_API_REVISION "gui_plugin_getApiRevision"
#define GUI_PLUGIN_INIT "gui_plugin_init"
#define GUI_PLUGIN_SHOW "gui_plugin_show"
#define GUI_PLUGIN_LOGON "gui_plugin_logon"
#define GUI_PLUGIN_SHUTDOWN "gui_plugin_shutdown"

/* Message priorities of gui_HostCallbacks.log, the library's logging priorities. */
enum {
    gui_Priority_Info = 1,
    gui_Priority_Hint = 2,
    gui_Priority_Status = 3,
    gui_Priority_Message = 4,
    gui_Priority_Warning = 5,
    gui_Priority_Error = 6,
    gui_Priority_FatalError = 7
};

/* What the library offers a plug-in. `size` is sizeof the table the library filled: read a
 * member only when it lies within that size. */
typedef struct gui_HostCallbacks {
    unsigned size;
    int apiRevision;
    /* The library's version, "3.35.4". */
    const char* libraryVersion;
    /* Passed back as the first argument of every callback. */
    void* host;
    /* Writes a message of the plug-in into the library's log. */
    void (*log)(void* host, int priority, const char* text);
} gui_HostCallbacks;

/* Reports the user's value of one answer field of a log-on form; unknown names are ignored. */
typedef void (*gui_SetAnswerFunction)(void* answer, const char* name, const char* value);

typedef int (*gui_plugin_getApiRevision_t)(void);
typedef int (*gui_plugin_init_t)(const gui_HostCallbacks* host);
typedef int (*gui_plugin_show_t)(const char* request, unsigned count, const char* const* names,
                                 const char* const* values, int x, int y);
typedef int (*gui_plugin_logon_t)(const char* request, unsigned count, const char* const* names,
                                  const char* const* values, unsigned answerCount,
                                  const char* const* answerNames, const char* const* answerValues,
                                  gui_SetAnswerFunction setAnswer, void* answer);
typedef void (*gui_plugin_shutdown_t)(void);

#ifdef __cplusplus
}
#endif

#endif
