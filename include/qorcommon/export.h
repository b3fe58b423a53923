// Export macro of the C++ face; the same macro serves the C face.
#pragma once

#include "qorcommon/c/export.h"
