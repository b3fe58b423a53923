/* Export macro and C linkage helpers of the C face: the neutral macro header that the C++ face
 * shares. Valid C99. */
#ifndef QORCOMMON_C_EXPORT_H
#define QORCOMMON_C_EXPORT_H

#include "qorcommon/export.h"

#endif
