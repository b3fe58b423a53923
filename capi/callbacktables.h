// Checks shared by the C functions that take callback tables (features, plug-ins).
#pragma once

#include "qorcommon/assertion.h"
#include "qorcommon/c/feature.h"

/// True for a table revision in 1..QOR_API_REVISION; otherwise reports "<field> > 0" or
/// "[<field> <= QOR_API_REVISION] unsupported API revision" (`text` spells the field).
#define QOR_CHECK_REVISION(revision, text)                                                         \
    (QOR_CHECK(revision > 0) &&                                                                    \
     ((revision) <= QOR_API_REVISION                                                               \
          ? true                                                                                   \
          : (QOR_ASSERT_FAILED("[" text " <= QOR_API_REVISION] unsupported API revision"),         \
             false)))
