// The C face of the macro replacer. No exception leaves these functions: a failed allocation
// gives "" (and 0).
#include "qorcommon/c/macroreplacer.h"

#include "qorcommon/assertion.h"
#include "qorcommon/macroreplacer.h"
#include "qorcommon/threadmanagedobject.h"

#include <string>

using Orvane::Core::MacroReplacer;
using Orvane::Core::StringList;
using Orvane::Core::ThreadLocalVariable;

namespace {

// The result buffers of the calling thread, one per function.
struct ResultBuffers {
    std::string replaced;
    std::string replaced2;
};

ResultBuffers& buffers() {
    // Never destroyed: threads may still call in while the process shuts down.
    static auto* variable = new ThreadLocalVariable<ResultBuffers>;
    return variable->get();
}

const char* const kEmpty = "";

} // namespace

extern "C" {

QORCOMMON_API const char* orv_replaceStr(const char* text) {
    if (!QOR_CHECK(text)) return kEmpty;
    try {
        std::string& buffer = buffers().replaced;
        buffer = text;
        MacroReplacer().replace(buffer);
        return buffer.c_str();
    } catch (...) {
        return kEmpty;
    }
}

QORCOMMON_API short orv_replaceStr2(const char* text, const char** result,
                                    orv_StringList_ptr errors) {
    if (!QOR_CHECK(result)) return 0;
    *result = kEmpty;
    if (!QOR_CHECK(text)) return 0;
    try {
        std::string& buffer = buffers().replaced2;
        buffer = text;
        StringList dropped;
        StringList& list = errors.obj ? *static_cast<StringList*>(errors.obj) : dropped;
        const bool ok = MacroReplacer().replace(buffer, list);
        *result = buffer.c_str();
        return ok ? 1 : 0;
    } catch (...) {
        return 0;
    }
}

} // extern "C"
