/* Export macro, linkage helpers and version numbers shared by the C and the C++ faces. Macros
 * only, valid C99: both faces include it, and it includes nothing. */
#ifndef QORCOMMON_EXPORT_H
#define QORCOMMON_EXPORT_H

#if defined(_WIN32) || defined(__CYGWIN__)
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

#define QORCOMMON_VERSION_MAJOR 3
#define QORCOMMON_VERSION_MINOR 35
#define QORCOMMON_VERSION_PATCH 4
#define QORCOMMON_VERSION_STRING "3.35.4"
#define QORCOMMON_LIBRARY_NAME "QorCommon3"

#endif
