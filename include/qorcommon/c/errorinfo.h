/* Error records for C callers.
 *
 * The records are plain data. Records that the library hands out point into a buffer object
 * (orv_ErrorInfo_Buffer_ptr and its kin) and stay valid as long as that buffer lives and is not
 * filled again. A C program that wants to keep a record it was given copies it into a buffer of
 * its own:
 *
 *     orv_ErrorInfo_Buffer_ptr buffer = orv_ErrorInfo_Buffer_construct();
 *     orv_ErrorInfo kept = orv_ErrorInfo_Buffer_copy(buffer, error);
 *     ...
 *     orv_ErrorInfo_Buffer_destruct(buffer);
 *
 * Null text pointers in records given to the library read as empty texts. Texts that the library
 * writes into records are never null (an absent text is ""). The integer widths are those of the
 * platform's C ABI. Valid C99. */
#ifndef QORCOMMON_C_ERRORINFO_H
#define QORCOMMON_C_ERRORINFO_H

#include "qorcommon/c/export.h"

#include <time.h>

QORCOMMON_EXTERN_C_BEGIN

/* One annotation. */
typedef struct orv_CustomInfoItem {
    const char* key;
    const char* value;
} orv_CustomInfoItem;

/* Annotations: `count` items (items may be null when count is 0). The library writes them in key
 * order; the keys of a record given to the library should be distinct, the last one wins. */
typedef struct orv_CustomInfo {
    unsigned count;
    const orv_CustomInfoItem* items;
} orv_CustomInfo;

/* The same layout, for records that a caller gives to the library. */
typedef struct _orv_CustomInfoInput {
    unsigned count;
    const orv_CustomInfoItem* items;
} _orv_CustomInfoInput;

/* How the function text of a code location was written (CodeLocation::Language). */
enum {
    orv_Language_None = -1, /* no function */
    orv_Language_Plain = 0, /* a name written by hand, kept */
    orv_Language_C = 1,     /* C's __func__, kept */
    orv_Language_Cpp = 2    /* a C++ compiler's signature, reduced to "ns::Class::method" */
};

/* A source position. A negative line means none. */
typedef struct orv_CodeLocation {
    const char* file;
    int line;
    const char* function;
    int language;
    const char* comment;
    orv_CustomInfo customInfo;
} orv_CodeLocation;

/* The same layout, for records that a caller gives to the library. */
typedef struct _orv_CodeLocationInput {
    const char* file;
    int line;
    const char* function;
    int language;
    const char* comment;
    _orv_CustomInfoInput customInfo;
} _orv_CodeLocationInput;

/* A display name and description with annotations.
 *
 * The module of an error record travels in this form: name is the module's name, description
 * its text form ("name (type) 3.35.4"), and the annotations "type", "version" and "unique_id"
 * (16 hexadecimal digits) carry the rest, so that the record converts back to the same module. */
typedef struct orv_NameInfo {
    const char* name;
    const char* description;
    orv_CustomInfo customInfo;
} orv_NameInfo;

/* The identity of a module. A uniqueId of 0 given to the library means "derive it from name and
 * type". */
typedef struct orv_ModuleInfo {
    const char* name;
    const char* type;
    int versionMajor;
    int versionMinor;
    int versionPatch;
    int versionBuild;
    unsigned long long uniqueId;
} orv_ModuleInfo;

/* An error record. errorCode -1 means that the error has no code. dateTime holds the local
 * calendar fields as the standard library's struct tm does (month 0-11, years since 1900). */
typedef struct orv_ErrorInfo {
    orv_NameInfo moduleInfo;
    orv_CodeLocation codeLocation;
    long errorCode;
    const char* errorText;
    const char* hint;
    orv_CustomInfo customInfo;
    struct tm dateTime;
} orv_ErrorInfo;

/* Buffers that own the texts and item arrays of records. */
typedef struct {
    void* obj;
} orv_ErrorInfo_Buffer_ptr;
typedef struct {
    void* obj;
} orv_CodeLocation_Buffer_ptr;
typedef struct {
    void* obj;
} orv_CustomInfo_Buffer_ptr;
typedef struct {
    void* obj;
} orv_NameInfo_Buffer_ptr;
typedef struct {
    void* obj;
} orv_ModuleInfo_Buffer_ptr;

/* ---- building records (nothing is copied: the record points to the caller's data) ---------- */

QORCOMMON_API orv_CodeLocation orv_CodeLocation_init(
    const char* file, int line, const char* function, int language, const char* comment,
    unsigned customInfoCount, const orv_CustomInfoItem* customInfoItems) QORCOMMON_NOEXCEPT;
/* The same as orv_CodeLocation_init. */
QORCOMMON_API orv_CodeLocation orv_CodeLocation_init1(
    const char* file, int line, const char* function, int language, const char* comment,
    unsigned customInfoCount, const orv_CustomInfoItem* customInfoItems) QORCOMMON_NOEXCEPT;
/* No annotations. */
QORCOMMON_API orv_CodeLocation orv_CodeLocation_init2(const char* file, int line,
                                                      const char* function, int language,
                                                      const char* comment) QORCOMMON_NOEXCEPT;
/* No comment, no annotations. */
QORCOMMON_API orv_CodeLocation orv_CodeLocation_init3(const char* file, int line,
                                                      const char* function,
                                                      int language) QORCOMMON_NOEXCEPT;
/* Only a position: no function (language orv_Language_None), comment or annotations. */
QORCOMMON_API orv_CodeLocation orv_CodeLocation_init4(const char* file,
                                                      int line) QORCOMMON_NOEXCEPT;
QORCOMMON_API _orv_CodeLocationInput orv_CodeLocationInput_init(
    const char* file, int line, const char* function, int language, const char* comment,
    unsigned customInfoCount, const orv_CustomInfoItem* customInfoItems) QORCOMMON_NOEXCEPT;
QORCOMMON_API orv_CustomInfo orv_CustomInfo_init(unsigned count, const orv_CustomInfoItem* items)
    QORCOMMON_NOEXCEPT;
QORCOMMON_API _orv_CustomInfoInput
orv_CustomInfoInput_init(unsigned count, const orv_CustomInfoItem* items) QORCOMMON_NOEXCEPT;

/* ---- buffers ------------------------------------------------------------------------------- *
 *
 * _construct makes an empty buffer (a null handle when memory runs out); _destruct frees it and
 * so invalidates the records that point into it. _copy reads a record the way the library reads
 * records given to it and writes the result into the buffer, which first forgets what it held:
 * the copy has its own texts, its annotations in key order and a function name reduced by its
 * language. A null buffer handle is reported as "buffer.obj", a null record as "record"; _copy
 * then returns a record of empty texts (held by the library). */

QORCOMMON_API orv_ErrorInfo_Buffer_ptr orv_ErrorInfo_Buffer_construct(void) QORCOMMON_NOEXCEPT;
QORCOMMON_API void
orv_ErrorInfo_Buffer_destruct(orv_ErrorInfo_Buffer_ptr buffer) QORCOMMON_NOEXCEPT;
QORCOMMON_API orv_ErrorInfo orv_ErrorInfo_Buffer_copy(
    orv_ErrorInfo_Buffer_ptr buffer, const orv_ErrorInfo* record) QORCOMMON_NOEXCEPT;

QORCOMMON_API orv_CodeLocation_Buffer_ptr orv_CodeLocation_Buffer_construct(void)
    QORCOMMON_NOEXCEPT;
QORCOMMON_API void
orv_CodeLocation_Buffer_destruct(orv_CodeLocation_Buffer_ptr buffer) QORCOMMON_NOEXCEPT;
QORCOMMON_API orv_CodeLocation orv_CodeLocation_Buffer_copy(
    orv_CodeLocation_Buffer_ptr buffer, const orv_CodeLocation* record) QORCOMMON_NOEXCEPT;

QORCOMMON_API orv_CustomInfo_Buffer_ptr orv_CustomInfo_Buffer_construct(void) QORCOMMON_NOEXCEPT;
QORCOMMON_API void
orv_CustomInfo_Buffer_destruct(orv_CustomInfo_Buffer_ptr buffer) QORCOMMON_NOEXCEPT;
QORCOMMON_API orv_CustomInfo orv_CustomInfo_Buffer_copy(
    orv_CustomInfo_Buffer_ptr buffer, const orv_CustomInfo* record) QORCOMMON_NOEXCEPT;

QORCOMMON_API orv_NameInfo_Buffer_ptr orv_NameInfo_Buffer_construct(void) QORCOMMON_NOEXCEPT;
QORCOMMON_API void orv_NameInfo_Buffer_destruct(orv_NameInfo_Buffer_ptr buffer) QORCOMMON_NOEXCEPT;
QORCOMMON_API orv_NameInfo orv_NameInfo_Buffer_copy(orv_NameInfo_Buffer_ptr buffer,
                                                    const orv_NameInfo* record) QORCOMMON_NOEXCEPT;

QORCOMMON_API orv_ModuleInfo_Buffer_ptr orv_ModuleInfo_Buffer_construct(void) QORCOMMON_NOEXCEPT;
QORCOMMON_API void
orv_ModuleInfo_Buffer_destruct(orv_ModuleInfo_Buffer_ptr buffer) QORCOMMON_NOEXCEPT;
QORCOMMON_API orv_ModuleInfo orv_ModuleInfo_Buffer_copy(
    orv_ModuleInfo_Buffer_ptr buffer, const orv_ModuleInfo* record) QORCOMMON_NOEXCEPT;

/* ---- text forms ---------------------------------------------------------------------------- *
 *
 * The texts of ErrorInfo::asShortString, ErrorInfo::asLongString and CodeLocation::asString.
 * Each function keeps its text in a buffer of the calling thread, valid until the same thread
 * calls the same function again; never free it. A null record is reported as "record" and
 * gives "". */

QORCOMMON_API const char*
orv_ErrorInfo_asShortString(const orv_ErrorInfo* record) QORCOMMON_NOEXCEPT;
QORCOMMON_API const char*
orv_ErrorInfo_asLongString(const orv_ErrorInfo* record) QORCOMMON_NOEXCEPT;
QORCOMMON_API const char*
orv_CodeLocation_asString(const orv_CodeLocation* record) QORCOMMON_NOEXCEPT;

/* ---- showing errors ------------------------------------------------------------------------ *
 *
 * Errors shown by the library (Result::showError) go to one handler. Until one is installed,
 * the default writes the record's long form to standard error. The records given to a handler
 * are valid during the call only. x and y are display values passed through unchanged. */

typedef void (*orv_ShowErrorHandler)(const orv_ErrorInfo* error, const orv_CodeLocation* location,
                                     int x, int y, void* context);

/* Installs a C handler (null restores the default) in place of the current handler, C or C++.
 * Returns the previous handler when it was a C handler, else null; its context is stored into
 * *previousContext (null for a handler that is not a C one) when that pointer is not null. */
QORCOMMON_API orv_ShowErrorHandler orv_setShowErrorHandler(
    orv_ShowErrorHandler handler, void* context, void** previousContext) QORCOMMON_NOEXCEPT;

QORCOMMON_EXTERN_C_END

#endif
