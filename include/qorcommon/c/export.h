/* Export macro and C linkage helpers shared by the C and the C++ headers. Valid C99. */
#ifndef QORCOMMON_C_EXPORT_H
#define QORCOMMON_C_EXPORT_H

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
#else
#define QORCOMMON_EXTERN_C_BEGIN
#define QORCOMMON_EXTERN_C_END
#endif

#define QORCOMMON_VERSION_MAJOR 3
#define QORCOMMON_VERSION_MINOR 35
#define QORCOMMON_VERSION_PATCH 4
#define QORCOMMON_VERSION_STRING "3.35.4"
#define QORCOMMON_LIBRARY_NAME "QorCommon3"

#endif
