/* Every C header of QorCommon: one include gives the whole C face.
 *     #include <qorcommon/c/qorcommon.h>
 * The test umbrella_headers keeps this list complete. Valid C99. */
#ifndef QORCOMMON_C_QORCOMMON_H
#define QORCOMMON_C_QORCOMMON_H

#include "qorcommon/c/assertion.h"
#include "qorcommon/c/bytearray.h"
#include "qorcommon/c/config.h"
#include "qorcommon/c/configdefinition.h"
#include "qorcommon/c/datetime.h"
#include "qorcommon/c/errorinfo.h"
#include "qorcommon/c/errorinfocollector.h"
#include "qorcommon/c/export.h"
#include "qorcommon/c/feature.h"
#include "qorcommon/c/framework.h"
#include "qorcommon/c/gui.h"
#include "qorcommon/c/guiplugin.h"
#include "qorcommon/c/logging.h"
#include "qorcommon/c/macroreplacer.h"
#include "qorcommon/c/network.h"
#include "qorcommon/c/object.h"
#include "qorcommon/c/orvanecfg.h"
#include "qorcommon/c/orvanelogging.h"
#include "qorcommon/c/plugin.h"
#include "qorcommon/c/string.h"
#include "qorcommon/c/stringlist.h"
#include "qorcommon/c/thread.h"

#endif
