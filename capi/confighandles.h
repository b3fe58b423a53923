// C handles on configuration handlers and definitions: each holds one use of a GC<> of the
// library, released by orv_config_destruct or orv_DetachConfigDefinition.
#pragma once

#include "chandles.h"
#include "qorcommon/c/config.h"
#include "qorcommon/c/configdefinition.h"
#include "qorcommon/configdefinition.h"
#include "qorcommon/confighandler.h"

namespace Orvane {
namespace Core {
namespace CWrapper {

/// A C handle on `handler`, holding a use of it; throws when memory runs out.
inline orv_ConfigHandler_ptr wrapConfigHandler(const GC<ConfigHandler>& handler) {
    return CApi::wrapGC<orv_ConfigHandler_ptr>(handler);
}

/// The handler of a handle (null for a null handle).
inline GC<ConfigHandler> unwrapConfigHandler(orv_ConfigHandler_ptr handle) {
    return CApi::unwrapGC<ConfigHandler>(handle);
}

/// A C handle on `definition`, holding a use of it; throws when memory runs out.
inline orv_ConfigDefinition_ptr wrapConfigDefinition(const GC<ConfigDefinition>& definition) {
    return CApi::wrapGC<orv_ConfigDefinition_ptr>(definition);
}

/// The definition of a handle (null for a null handle).
inline GC<ConfigDefinition> unwrapConfigDefinition(orv_ConfigDefinition_ptr handle) {
    return CApi::unwrapGC<ConfigDefinition>(handle);
}

} // namespace CWrapper
} // namespace Core
} // namespace Orvane
