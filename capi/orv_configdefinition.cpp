// The C face of configuration definitions.
#include "qorcommon/c/configdefinition.h"

#include "cboundary.h"
#include "confighandles.h"

using namespace Orvane::Core;

extern "C" {

QORCOMMON_API void orv_DetachConfigDefinition(orv_ConfigDefinition_ptr obj) noexcept {
    QOR_C_GUARDED_VOID([&] {
        if (QOR_CHECK(obj.obj)) CApi::releaseGC<ConfigDefinition>(obj);
    });
}

} // extern "C"
