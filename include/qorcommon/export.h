/* Export macro, linkage helpers and version numbers shared by the C and the C++ faces. Macros
 * only, valid C99: both faces include it, and it includes only the generated version header. */
#ifndef QORCOMMON_EXPORT_H
#define QORCOMMON_EXPORT_H

#include "qorcommon/qorcommonversion.h"

/* QORCOMMON_STATIC: linked against the static library, which the project's own tests use. */
#if defined(QORCOMMON_STATIC) && !defined(QORCOMMON_BUILDING)
#define QORCOMMON_API
#elif defined(_WIN32) || defined(__CYGWIN__)
#if defined(QORCOMMON_BUILDING)
#define QORCOMMON_API __declspec(dllexport)
#else
#define QORCOMMON_API __declspec(dllimport)
#endif
#else
#define QORCOMMON_API __attribute__((visibility("default")))
#endif

#ifdef __cplusplus
#define QORCOMMON_EXTERN_C_BEGIN extern "C" {
#define QORCOMMON_EXTERN_C_END }
/* No C function lets an exception out: C++ callers may rely on it. */
#define QORCOMMON_NOEXCEPT noexcept
#else
#define QORCOMMON_EXTERN_C_BEGIN
#define QORCOMMON_EXTERN_C_END
#define QORCOMMON_NOEXCEPT
#endif


#endif
