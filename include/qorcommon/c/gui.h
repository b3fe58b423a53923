/* User interaction for C callers: showing errors and warnings, asking for log-on data, and the
 * GUI plug-in library that shows these forms (its interface: qorcommon/c/guiplugin.h).
 *
 * The orv_Show and orv_Logon functions go through the current provider: the GUI plug-in when
 * one is loaded, else the text provider, which writes forms to standard error. A form a plug-in
 * cannot show is shown as text. The orv_def_gui functions use the text provider directly.
 * Log-on forms of the text provider read standard input, and are cancelled at once when it is
 * not a terminal. Valid C99. */
#ifndef QORCOMMON_C_GUI_H
#define QORCOMMON_C_GUI_H

#include "qorcommon/c/errorinfo.h"
#include "qorcommon/c/export.h"

#include <stddef.h>

QORCOMMON_EXTERN_C_BEGIN

/* ---- the GUI plug-in ----------------------------------------------------------------------- */

/* Loads a GUI plug-in library (".dll" / ".so" is added when missing) and makes it the current
 * provider, in place of a plug-in loaded before. 1 on success; 0 with the reason in
 * gui_lastError. A null path is reported as "path" and gives 0. */
QORCOMMON_API short gui_load(const char* path) QORCOMMON_NOEXCEPT;
/* Makes the text provider current again; the plug-in is unloaded once the last form it shows has
 * returned. 1 when a plug-in was current, else 0. */
QORCOMMON_API short gui_unload(void) QORCOMMON_NOEXCEPT;
/* 1 when a GUI plug-in is the current provider. */
QORCOMMON_API short gui_isLoaded(void) QORCOMMON_NOEXCEPT;
/* Why the calling thread's last gui_load failed; "" after a success. Valid until the thread
 * calls gui_load again. */
QORCOMMON_API const char* gui_lastError(void) QORCOMMON_NOEXCEPT;

/* ---- showing through the current provider ------------------------------------------------- *
 *
 * A null record is reported as "error" and nothing is shown. */

/* Shows an error at a place of the provider's choosing. */
QORCOMMON_API void orv_ShowErrorInfo1(const orv_ErrorInfo* error) QORCOMMON_NOEXCEPT;
/* Shows an error; x and y suggest its screen position to graphical providers (-1: none). The
 * text provider ignores them. */
QORCOMMON_API void orv_ShowErrorInfoXY(const orv_ErrorInfo* error, int x, int y) QORCOMMON_NOEXCEPT;
/* Shows a warning that closes by itself after autoCloseDelay seconds (0: stays open). */
QORCOMMON_API void orv_ShowWarningInfo(const orv_ErrorInfo* warning,
                                       int autoCloseDelay) QORCOMMON_NOEXCEPT;

/* How a log-on form ended. */
enum {
    orv_Logon_Accepted = 1,
    orv_Logon_Cancelled = 0,
    orv_Logon_Failed = -1,
    /* Accepted, but an answer does not fit its buffer: both buffers are left as they were. */
    orv_Logon_TooLong = -2
};

/* Asks for a user name and password for `application`. `user` holds the pre-filled name (a
 * NUL-terminated text, may be empty); on orv_Logon_Accepted both buffers hold the answers. Null
 * buffers are reported ("user", "password"); they and capacities of 0 give orv_Logon_Failed. */
QORCOMMON_API int orv_Logon(const char* application, char* user, size_t userCapacity,
                            char* password, size_t passwordCapacity) QORCOMMON_NOEXCEPT;

/* ---- the text provider --------------------------------------------------------------------- */

QORCOMMON_API void orv_def_gui_showError(const orv_ErrorInfo* error, int x,
                                         int y) QORCOMMON_NOEXCEPT;
QORCOMMON_API void orv_def_gui_showWarning(const orv_ErrorInfo* warning,
                                           int autoCloseDelay) QORCOMMON_NOEXCEPT;
QORCOMMON_API int orv_def_gui_logon(const char* application, char* user, size_t userCapacity,
                                    char* password, size_t passwordCapacity) QORCOMMON_NOEXCEPT;

QORCOMMON_EXTERN_C_END

#endif
