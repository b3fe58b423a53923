// The C face of name resolution.
#include "qorcommon/c/network.h"

#include "cboundary.h"
#include "ctext.h"
#include "qorcommon/network.h"

#include <string>

using namespace Orvane::Core;
using namespace Orvane::Core::CApi;

namespace {

// The calling thread's last address and the reason of its last failure.
struct ResolveBuffers {
    std::string address;
    std::string error;
};

} // namespace

extern "C" {

QORCOMMON_API const char* qor_ResolveToIPAddress(const char* host) noexcept {
    return QOR_C_GUARDED(kEmptyText, [&] {
        ResolveBuffers& buffers = threadBuffers<ResolveBuffers>();
        // A missing name is an ordinary "no address", told apart from an empty one by its reason.
        if (!host) {
            buffers.error = "host name is null";
            return keepText(buffers.address, std::string());
        }
        std::string error;
        std::string address = resolveToIPAddress(host, &error);
        buffers.error.swap(error);
        return keepText(buffers.address, std::move(address));
    });
}

QORCOMMON_API const char* qor_GetResolveError(void) noexcept {
    return QOR_C_GUARDED(kEmptyText, [&] { return threadBuffers<ResolveBuffers>().error.c_str(); });
}

} // extern "C"
