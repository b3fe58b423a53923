// The C face of the macro replacer. A failed allocation gives "" (and 0).
#include "qorcommon/c/macroreplacer.h"

#include "cboundary.h"
#include "ctext.h"
#include "qorcommon/macroreplacer.h"

#include <string>

using namespace Orvane::Core;
using namespace Orvane::Core::CApi;

namespace {

// The result buffers of the calling thread, one per function.
struct ResultBuffers {
    std::string replaced;
    std::string replaced2;
};

} // namespace

extern "C" {

QORCOMMON_API const char* orv_replaceStr(const char* text) noexcept {
    return QOR_C_GUARDED(kEmptyText, [&] {
        if (!QOR_CHECK(text)) return kEmptyText;
        std::string& buffer = threadBuffers<ResultBuffers>().replaced;
        buffer = text;
        MacroReplacer().replace(buffer);
        return buffer.c_str();
    });
}

QORCOMMON_API short orv_replaceStr2(const char* text, const char** result,
                                    orv_StringList_ptr errors) noexcept {
    return QOR_C_GUARDED(cBool(false), [&] {
        if (!QOR_CHECK(result)) return cBool(false);
        *result = kEmptyText;
        if (!QOR_CHECK(text)) return cBool(false);
        std::string& buffer = threadBuffers<ResultBuffers>().replaced2;
        buffer = text;
        StringList dropped;
        StringList& list = errors.obj ? *static_cast<StringList*>(errors.obj) : dropped;
        const bool ok = MacroReplacer().replace(buffer, list);
        *result = buffer.c_str();
        return cBool(ok);
    });
}

} // extern "C"
