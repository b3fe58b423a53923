// The C face of configuration definitions.
#include "qorcommon/c/configdefinition.h"

#include "qorcommon/assertion.h"
#include "qorcommon/configdefinition.h"

using Orvane::Core::ConfigDefinition;
using Orvane::Core::GC;

extern "C" {

QORCOMMON_API void orv_DetachConfigDefinition(orv_ConfigDefinition_ptr obj) {
    if (!QOR_CHECK(obj.obj)) return;
    delete static_cast<GC<ConfigDefinition>*>(obj.obj);
}

} // extern "C"
