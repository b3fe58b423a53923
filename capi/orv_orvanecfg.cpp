// The C face of the configuration file handler.
#include "qorcommon/c/orvanecfg.h"

#include "cboundary.h"
#include "chandles.h"
#include "confighandles.h"
#include "qorcommon/orvanecfgconfighandler.h"

using namespace Orvane::Core;

extern "C" {

QORCOMMON_API void orv_orvanecfg_config_handler_setOrvanecfgPath(const char* path) noexcept {
    // When memory runs out the path stays as it was.
    QOR_C_GUARDED_VOID([&] {
        if (QOR_CHECK(path != nullptr)) OrvanecfgConfigHandler::setOrvanecfgPath(path);
    });
}

QORCOMMON_API orv_ConfigHandler_ptr
orv_orvanecfg_config_handler_construct(orv_ConfigHandler_ptr base) noexcept {
    return QOR_C_GUARDED(CApi::nullHandle<orv_ConfigHandler_ptr>(), [&] {
        GC<OrvanecfgConfigHandler> handler(
            new OrvanecfgConfigHandler(CWrapper::unwrapConfigHandler(base)));
        // A failed first read is left for the caller to inspect through the handle.
        handler->init();
        return CWrapper::wrapConfigHandler(handler);
    });
}

} // extern "C"
