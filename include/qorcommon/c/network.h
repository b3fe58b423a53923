/* Name resolution for C callers. Valid C99. */
#ifndef QORCOMMON_C_NETWORK_H
#define QORCOMMON_C_NETWORK_H

#include "qorcommon/c/export.h"

QORCOMMON_EXTERN_C_BEGIN

/* The first address of `host` (a name or a numeric address) in numeric text form, an IPv4
 * address preferred over an IPv6 one. A null, empty or unknown host gives ""; the reason is then
 * read with qor_GetResolveError. The text is kept in a buffer of the calling thread, valid until
 * the same thread calls qor_ResolveToIPAddress again; never free it. */
QORCOMMON_API const char* qor_ResolveToIPAddress(const char* host) QORCOMMON_NOEXCEPT;
/* Why the calling thread's last qor_ResolveToIPAddress gave ""; "" after a success. Valid until
 * the thread calls qor_ResolveToIPAddress again. */
QORCOMMON_API const char* qor_GetResolveError(void) QORCOMMON_NOEXCEPT;

QORCOMMON_EXTERN_C_END

#endif
