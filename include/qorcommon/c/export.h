/* Export macro and C linkage helpers shared by the C and the C++ headers. Valid C99. */
#ifndef QORCOMMON_C_EXPORT_H
#define QORCOMMON_C_EXPORT_H

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
#else
#define QORCOMMON_EXTERN_C_BEGIN
#define QORCOMMON_EXTERN_C_END
#endif

#endif
