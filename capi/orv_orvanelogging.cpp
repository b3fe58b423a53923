// The C face of the file logging handler's process-wide settings.
#include "qorcommon/c/orvanelogging.h"

#include "qorcommon/assertion.h"
#include "qorcommon/orvanelogginghandler.h"
#include "qorcommon/threadmanagedobject.h"

#include "cboundary.h"

#include <string>

using Orvane::Core::OrvaneLoggingSettings;
using Orvane::Core::ThreadLocalVariable;
using Orvane::Core::CApi::cBool;

namespace {

// The result buffers of the calling thread, one per function.
struct ResultBuffers {
    std::string logfilePath;
    std::string logDest;
};

ResultBuffers& buffers() {
    // Never destroyed: threads may still call in while the process shuts down.
    static auto* variable = new ThreadLocalVariable<ResultBuffers>;
    return variable->get();
}

const char* const kEmpty = "";

} // namespace

extern "C" {

QORCOMMON_API short orv_orvane_logging_handler_setLogfilePath(const char* path) noexcept {
    return QOR_C_GUARDED(short(0), [&] {
        if (!QOR_CHECK(path)) return short(0);
        return cBool(OrvaneLoggingSettings::setLogfilePath(path));
    });
}

QORCOMMON_API const char* orv_orvane_logging_handler_getLogfilePath(void) noexcept {
    return QOR_C_GUARDED(kEmpty, [&] {
        std::string& buffer = buffers().logfilePath;
        buffer = OrvaneLoggingSettings::getLogfilePath();
        return buffer.c_str();
    });
}

QORCOMMON_API short orv_orvane_logging_handler_setLogDest(const char* destination) noexcept {
    return QOR_C_GUARDED(short(0), [&] {
        if (!QOR_CHECK(destination)) return short(0);
        return cBool(OrvaneLoggingSettings::setLogDest(destination));
    });
}

QORCOMMON_API short orv_orvane_logging_handler_addLogDest(const char* destination) noexcept {
    return QOR_C_GUARDED(short(0), [&] {
        if (!QOR_CHECK(destination)) return short(0);
        return cBool(OrvaneLoggingSettings::addLogDest(destination));
    });
}

QORCOMMON_API const char* orv_orvane_logging_handler_getLogDest(void) noexcept {
    return QOR_C_GUARDED(kEmpty, [&] {
        std::string& buffer = buffers().logDest;
        buffer = OrvaneLoggingSettings::getLogDest();
        return buffer.c_str();
    });
}

QORCOMMON_API short orv_orvane_logging_handler_setLogLevel(long level) noexcept {
    return QOR_C_GUARDED(short(0),
                         [&] { return cBool(OrvaneLoggingSettings::setLogLevel(level)); });
}

QORCOMMON_API long orv_orvane_logging_handler_getLogLevel(void) noexcept {
    return QOR_C_GUARDED(-1L, [&] { return OrvaneLoggingSettings::getLogLevel(); });
}

QORCOMMON_API short orv_orvane_logging_handler_setLogMaxSize(long bytes) noexcept {
    return QOR_C_GUARDED(short(0),
                         [&] { return cBool(OrvaneLoggingSettings::setLogMaxSize(bytes)); });
}

QORCOMMON_API long orv_orvane_logging_handler_getLogMaxSize(void) noexcept {
    return QOR_C_GUARDED(-1L, [&] { return OrvaneLoggingSettings::getLogMaxSize(); });
}

} // extern "C"
