// The C face of the configuration file handler. No exception leaves these functions.
#include "qorcommon/c/orvanecfg.h"

#include "qorcommon/assertion.h"
#include "qorcommon/orvanecfgconfighandler.h"

using Orvane::Core::ConfigHandler;
using Orvane::Core::GC;
using Orvane::Core::OrvanecfgConfigHandler;
namespace CWrapper = Orvane::Core::CWrapper;

QORCOMMON_API void orv_orvanecfg_config_handler_setOrvanecfgPath(const char* path) {
    if (!QOR_CHECK(path != nullptr)) return;
    try {
        OrvanecfgConfigHandler::setOrvanecfgPath(path);
    } catch (...) {
        // Memory ran out: the path stays as it was.
    }
}

QORCOMMON_API orv_ConfigHandler_ptr
orv_orvanecfg_config_handler_construct(orv_ConfigHandler_ptr base) {
    try {
        GC<OrvanecfgConfigHandler> handler(
            new OrvanecfgConfigHandler(CWrapper::unwrapConfigHandler(base)));
        // A failed first read is left for the caller to inspect through the handle.
        handler->init();
        return CWrapper::wrapConfigHandler(handler);
    } catch (...) {
        orv_ConfigHandler_ptr none;
        none.obj = nullptr;
        return none;
    }
}
