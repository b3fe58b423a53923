// The C face of error records: record builders, buffers, the conversions of CWrapper and the C
// show-error handler.
#include "qorcommon/c/errorinfo.h"

#include "cboundary.h"
#include "chandles.h"
#include "ctext.h"
#include "qorcommon/cwrapper.h"
#include "qorcommon/hash.h"
#include "qorcommon/mutex.h"
#include "qorcommon/result.h"

#include <cstring>
#include <deque>
#include <string>
#include <vector>

namespace Orvane {
namespace Core {
namespace CWrapper {

// ---- BufferStorage --------------------------------------------------------------------------

struct BufferStorage::Private {
    // Deques never move their elements when they grow, so the addresses handed out stay put.
    std::deque<std::string> texts;
    std::deque<std::vector<orv_CustomInfoItem>> itemArrays;
};

BufferStorage::BufferStorage() : d(new Private) {}

BufferStorage::~BufferStorage() {
    delete d;
}

void BufferStorage::clear() {
    d->texts.clear();
    d->itemArrays.clear();
}

const char* BufferStorage::keep(const std::string& text) {
    d->texts.push_back(text);
    return d->texts.back().c_str();
}

orv_CustomInfo BufferStorage::keep(const CustomInfo& customInfo) {
    orv_CustomInfo record = {0, nullptr};
    if (customInfo.isEmpty()) return record;
    std::vector<orv_CustomInfoItem> items;
    items.reserve(customInfo.size());
    for (const auto& pair : customInfo.values()) {
        orv_CustomInfoItem item;
        item.key = keep(pair.first);
        item.value = keep(pair.second);
        items.push_back(item);
    }
    d->itemArrays.push_back(std::move(items));
    record.count = static_cast<unsigned>(d->itemArrays.back().size());
    record.items = d->itemArrays.back().data();
    return record;
}

// ---- conversions ----------------------------------------------------------------------------

namespace {

using CApi::textOf;

CustomInfo customInfoOf(unsigned count, const orv_CustomInfoItem* items) {
    CustomInfo info;
    if (count == 0 || !QOR_CHECK(items)) return info;
    for (unsigned i = 0; i < count; ++i)
        info.set(textOf(items[i].key), textOf(items[i].value));
    return info;
}

template <class Record> CodeLocation codeLocationOf(const Record& record) {
    CodeLocation location;
    if (record.file && *record.file) location.setFile(record.file);
    if (record.line >= 0) location.setLine(record.line);
    if (record.function ? *record.function != '\0' : record.language != orv_Language_None) {
        location.setFunction(record.function, static_cast<CodeLocation::Language>(record.language));
    }
    if (record.comment && *record.comment) location.setComment(record.comment);
    if (record.customInfo.count) {
        location.setCustomInfo(customInfoOf(record.customInfo.count, record.customInfo.items));
    }
    return location;
}

orv_CodeLocation codeLocationInto(const CodeLocation& location, BufferStorage& buffer) {
    orv_CodeLocation record;
    record.file = buffer.keep(location.file());
    record.line = location.line() < 0 ? -1 : location.line();
    record.function = buffer.keep(location.function());
    record.language = location.language();
    record.comment = buffer.keep(location.comment());
    record.customInfo = buffer.keep(location.customInfo());
    return record;
}

} // namespace

orv_CustomInfo fromCustomInfo(const CustomInfo& customInfo, orv_CustomInfo_Buffer& buffer) {
    buffer.clear();
    return buffer.keep(customInfo);
}

CustomInfo toCustomInfo(const orv_CustomInfo& record) {
    return customInfoOf(record.count, record.items);
}

CustomInfo toCustomInfo(const _orv_CustomInfoInput& record) {
    return customInfoOf(record.count, record.items);
}

orv_CodeLocation fromCodeLocation(const CodeLocation& codeLocation,
                                  orv_CodeLocation_Buffer& buffer) {
    buffer.clear();
    return codeLocationInto(codeLocation, buffer);
}

CodeLocation toCodeLocation(const orv_CodeLocation& record) {
    return codeLocationOf(record);
}

CodeLocation toCodeLocation(const _orv_CodeLocationInput& record) {
    return codeLocationOf(record);
}

orv_NameInfo toNameInfo(const NameInfo& nameInfo, orv_NameInfo_Buffer& buffer) {
    buffer.clear();
    orv_NameInfo record;
    record.name = buffer.keep(nameInfo.name());
    record.description = buffer.keep(nameInfo.description());
    record.customInfo = buffer.keep(nameInfo.customInfo());
    return record;
}

NameInfo toNameInfo(const orv_NameInfo& record) {
    return NameInfo(textOf(record.name), textOf(record.description),
                    customInfoOf(record.customInfo.count, record.customInfo.items));
}

orv_ModuleInfo fromModuleInfo(const ModuleInfo& moduleInfo, orv_ModuleInfo_Buffer& buffer) {
    buffer.clear();
    orv_ModuleInfo record;
    record.name = buffer.keep(moduleInfo.name());
    record.type = buffer.keep(moduleInfo.type());
    record.versionMajor = moduleInfo.version().major();
    record.versionMinor = moduleInfo.version().minor();
    record.versionPatch = moduleInfo.version().patch();
    record.versionBuild = moduleInfo.version().build();
    record.uniqueId = moduleInfo.uniqueId();
    return record;
}

ModuleInfo toModuleInfo(const orv_ModuleInfo& record) {
    const Version version(record.versionMajor, record.versionMinor, record.versionPatch,
                          record.versionBuild);
    if (record.uniqueId == 0) return ModuleInfo(textOf(record.name), textOf(record.type), version);
    return ModuleInfo(textOf(record.name), textOf(record.type), version, record.uniqueId);
}

orv_NameInfo moduleAsNameInfo(const ModuleInfo& moduleInfo, BufferStorage& buffer) {
    orv_NameInfo record;
    record.name = buffer.keep(moduleInfo.name());
    record.description = buffer.keep(moduleInfo.asString().str());
    CustomInfo identity;
    if (!moduleInfo.isEmpty()) {
        identity.set("type", moduleInfo.type());
        identity.set("version", moduleInfo.version().toString());
        identity.set("unique_id", Identifier(moduleInfo.uniqueId()).toString());
    }
    record.customInfo = buffer.keep(identity);
    return record;
}

ModuleInfo moduleFromNameInfo(const orv_NameInfo& record) {
    const CustomInfo identity = customInfoOf(record.customInfo.count, record.customInfo.items);
    const std::string empty;
    Version version;
    Version::parse(identity.get("version", empty), version);
    ModuleInfo module(textOf(record.name), identity.get("type", empty), version);
    Identifier id;
    if (Identifier::parse(identity.get("unique_id", empty), id)) module.setUniqueId(id.value());
    return module;
}

orv_ErrorInfo fromErrorInfo(const ErrorInfo& errorInfo, orv_ErrorInfo_Buffer& buffer) {
    buffer.clear();
    orv_ErrorInfo record;
    std::memset(&record, 0, sizeof record);
    record.moduleInfo = moduleAsNameInfo(errorInfo.moduleInfo(), buffer);
    record.codeLocation = codeLocationInto(errorInfo.codeLocation(), buffer);
    record.errorCode = errorInfo.errorCode();
    record.errorText = buffer.keep(errorInfo.errorText());
    record.hint = buffer.keep(errorInfo.hint());
    record.customInfo = buffer.keep(errorInfo.customInfo());
    errorInfo.dateTime().toTM(record.dateTime);
    return record;
}

ErrorInfo toErrorInfo(const orv_ErrorInfo& record) {
    return ErrorInfo(moduleFromNameInfo(record.moduleInfo), toCodeLocation(record.codeLocation),
                     record.errorCode, textOf(record.errorText), textOf(record.hint),
                     customInfoOf(record.customInfo.count, record.customInfo.items),
                     DateTime(record.dateTime));
}

} // namespace CWrapper
} // namespace Core
} // namespace Orvane

using namespace Orvane::Core;
using namespace Orvane::Core::CApi;
using namespace Orvane::Core::CWrapper;

namespace {

template <class Buffer, class Handle> void destructBuffer(Handle buffer) {
    if (QOR_CHECK(buffer.obj)) delete objectOf<Buffer>(buffer);
}

// The record of empty texts that a failed _copy returns.
template <class Record> Record emptyRecord() {
    Record record;
    std::memset(&record, 0, sizeof record);
    return record;
}

const char* const kEmpty = kEmptyText;

orv_CodeLocation emptyCodeLocation() {
    orv_CodeLocation record = emptyRecord<orv_CodeLocation>();
    record.file = record.function = record.comment = kEmpty;
    record.line = -1;
    record.language = orv_Language_None;
    return record;
}

orv_NameInfo emptyNameInfo() {
    orv_NameInfo record = emptyRecord<orv_NameInfo>();
    record.name = record.description = kEmpty;
    return record;
}

orv_ErrorInfo emptyErrorInfo() {
    orv_ErrorInfo record = emptyRecord<orv_ErrorInfo>();
    record.moduleInfo = emptyNameInfo();
    record.codeLocation = emptyCodeLocation();
    record.errorText = record.hint = kEmpty;
    return record;
}

orv_ModuleInfo emptyModuleInfo() {
    orv_ModuleInfo record = emptyRecord<orv_ModuleInfo>();
    record.name = record.type = kEmpty;
    return record;
}

// The text forms of the calling thread, one per function.
struct TextBuffers {
    std::string shortError;
    std::string longError;
    std::string codeLocation;
};

// ---- the C show-error handler ---------------------------------------------------------------

struct CShowErrorHook {
    Mutex mutex;
    orv_ShowErrorHandler handler = nullptr;
    void* context = nullptr;
};

// Never destroyed: errors may still be shown while static objects are torn down.
CShowErrorHook& cShowErrorHook() {
    static CShowErrorHook* hook = new CShowErrorHook;
    return *hook;
}

// The C++ handler through which the C handler is called.
void callCShowErrorHandler(const ErrorInfo& errorInfo, const CodeLocation& location, int x, int y,
                           void*) {
    CShowErrorHook& hook = cShowErrorHook();
    hook.mutex.lock();
    const orv_ShowErrorHandler handler = hook.handler;
    void* const context = hook.context;
    hook.mutex.unlock();
    if (!handler) {
        Result::defaultShowErrorHandler(errorInfo, location, x, y, nullptr);
        return;
    }
    orv_ErrorInfo_Buffer errorBuffer;
    orv_CodeLocation_Buffer locationBuffer;
    const orv_ErrorInfo error = fromErrorInfo(errorInfo, errorBuffer);
    const orv_CodeLocation where = fromCodeLocation(location, locationBuffer);
    handler(&error, &where, x, y, context);
}

} // namespace

extern "C" {

// ---- record builders ------------------------------------------------------------------------

QORCOMMON_API orv_CodeLocation orv_CodeLocation_init(
    const char* file, int line, const char* function, int language, const char* comment,
    unsigned customInfoCount, const orv_CustomInfoItem* customInfoItems) noexcept {
    return QOR_C_GUARDED(emptyCodeLocation(), [&]() -> orv_CodeLocation {
        orv_CodeLocation record;
        record.file = file;
        record.line = line;
        record.function = function;
        record.language = language;
        record.comment = comment;
        record.customInfo = orv_CustomInfo_init(customInfoCount, customInfoItems);
        return record;
    });
}

QORCOMMON_API orv_CodeLocation orv_CodeLocation_init1(
    const char* file, int line, const char* function, int language, const char* comment,
    unsigned customInfoCount, const orv_CustomInfoItem* customInfoItems) noexcept {
    return QOR_C_GUARDED(emptyCodeLocation(), [&]() -> orv_CodeLocation {
        return orv_CodeLocation_init(file, line, function, language, comment, customInfoCount,
                                     customInfoItems);
    });
}

QORCOMMON_API orv_CodeLocation orv_CodeLocation_init2(const char* file, int line,
                                                      const char* function, int language,
                                                      const char* comment) noexcept {
    return QOR_C_GUARDED(emptyCodeLocation(), [&]() -> orv_CodeLocation {
        return orv_CodeLocation_init(file, line, function, language, comment, 0, nullptr);
    });
}

QORCOMMON_API orv_CodeLocation orv_CodeLocation_init3(const char* file, int line,
                                                      const char* function, int language) noexcept {
    return QOR_C_GUARDED(emptyCodeLocation(), [&]() -> orv_CodeLocation {
        return orv_CodeLocation_init(file, line, function, language, nullptr, 0, nullptr);
    });
}

QORCOMMON_API orv_CodeLocation orv_CodeLocation_init4(const char* file, int line) noexcept {
    return QOR_C_GUARDED(emptyCodeLocation(), [&]() -> orv_CodeLocation {
        return orv_CodeLocation_init(file, line, nullptr, orv_Language_None, nullptr, 0, nullptr);
    });
}

QORCOMMON_API _orv_CodeLocationInput orv_CodeLocationInput_init(
    const char* file, int line, const char* function, int language, const char* comment,
    unsigned customInfoCount, const orv_CustomInfoItem* customInfoItems) noexcept {
    return QOR_C_GUARDED(emptyRecord<_orv_CodeLocationInput>(), [&]() -> _orv_CodeLocationInput {
        _orv_CodeLocationInput record;
        record.file = file;
        record.line = line;
        record.function = function;
        record.language = language;
        record.comment = comment;
        record.customInfo = orv_CustomInfoInput_init(customInfoCount, customInfoItems);
        return record;
    });
}

QORCOMMON_API orv_CustomInfo orv_CustomInfo_init(unsigned count,
                                                 const orv_CustomInfoItem* items) noexcept {
    return QOR_C_GUARDED(emptyRecord<orv_CustomInfo>(), [&]() -> orv_CustomInfo {
        orv_CustomInfo record;
        record.count = count;
        record.items = items;
        return record;
    });
}

QORCOMMON_API _orv_CustomInfoInput
orv_CustomInfoInput_init(unsigned count, const orv_CustomInfoItem* items) noexcept {
    return QOR_C_GUARDED(emptyRecord<_orv_CustomInfoInput>(), [&]() -> _orv_CustomInfoInput {
        _orv_CustomInfoInput record;
        record.count = count;
        record.items = items;
        return record;
    });
}

// ---- buffers --------------------------------------------------------------------------------

QORCOMMON_API orv_ErrorInfo_Buffer_ptr orv_ErrorInfo_Buffer_construct(void) noexcept {
    return QOR_C_GUARDED(nullHandle<orv_ErrorInfo_Buffer_ptr>(), [&]() -> orv_ErrorInfo_Buffer_ptr {
        return construct<orv_ErrorInfo_Buffer_ptr, orv_ErrorInfo_Buffer>();
    });
}

QORCOMMON_API void orv_ErrorInfo_Buffer_destruct(orv_ErrorInfo_Buffer_ptr buffer) noexcept {
    QOR_C_GUARDED_VOID([&] { destructBuffer<orv_ErrorInfo_Buffer>(buffer); });
}

QORCOMMON_API orv_ErrorInfo orv_ErrorInfo_Buffer_copy(orv_ErrorInfo_Buffer_ptr buffer,
                                                      const orv_ErrorInfo* record) noexcept {
    return QOR_C_GUARDED(emptyErrorInfo(), [&]() -> orv_ErrorInfo {
        if (!QOR_CHECK(buffer.obj) || !QOR_CHECK(record)) return emptyErrorInfo();
        auto* target = static_cast<orv_ErrorInfo_Buffer*>(buffer.obj);
        return fromErrorInfo(toErrorInfo(*record), *target);
    });
}

QORCOMMON_API orv_CodeLocation_Buffer_ptr orv_CodeLocation_Buffer_construct(void) noexcept {
    return QOR_C_GUARDED(
        nullHandle<orv_CodeLocation_Buffer_ptr>(), [&]() -> orv_CodeLocation_Buffer_ptr {
            return construct<orv_CodeLocation_Buffer_ptr, orv_CodeLocation_Buffer>();
        });
}

QORCOMMON_API void orv_CodeLocation_Buffer_destruct(orv_CodeLocation_Buffer_ptr buffer) noexcept {
    QOR_C_GUARDED_VOID([&] { destructBuffer<orv_CodeLocation_Buffer>(buffer); });
}

QORCOMMON_API orv_CodeLocation orv_CodeLocation_Buffer_copy(
    orv_CodeLocation_Buffer_ptr buffer, const orv_CodeLocation* record) noexcept {
    return QOR_C_GUARDED(emptyCodeLocation(), [&]() -> orv_CodeLocation {
        if (!QOR_CHECK(buffer.obj) || !QOR_CHECK(record)) return emptyCodeLocation();
        auto* target = static_cast<orv_CodeLocation_Buffer*>(buffer.obj);
        return fromCodeLocation(toCodeLocation(*record), *target);
    });
}

QORCOMMON_API orv_CustomInfo_Buffer_ptr orv_CustomInfo_Buffer_construct(void) noexcept {
    return QOR_C_GUARDED(nullHandle<orv_CustomInfo_Buffer_ptr>(),
                         [&]() -> orv_CustomInfo_Buffer_ptr {
                             return construct<orv_CustomInfo_Buffer_ptr, orv_CustomInfo_Buffer>();
                         });
}

QORCOMMON_API void orv_CustomInfo_Buffer_destruct(orv_CustomInfo_Buffer_ptr buffer) noexcept {
    QOR_C_GUARDED_VOID([&] { destructBuffer<orv_CustomInfo_Buffer>(buffer); });
}

QORCOMMON_API orv_CustomInfo orv_CustomInfo_Buffer_copy(orv_CustomInfo_Buffer_ptr buffer,
                                                        const orv_CustomInfo* record) noexcept {
    return QOR_C_GUARDED(emptyRecord<orv_CustomInfo>(), [&]() -> orv_CustomInfo {
        if (!QOR_CHECK(buffer.obj) || !QOR_CHECK(record)) return emptyRecord<orv_CustomInfo>();
        auto* target = static_cast<orv_CustomInfo_Buffer*>(buffer.obj);
        return fromCustomInfo(toCustomInfo(*record), *target);
    });
}

QORCOMMON_API orv_NameInfo_Buffer_ptr orv_NameInfo_Buffer_construct(void) noexcept {
    return QOR_C_GUARDED(nullHandle<orv_NameInfo_Buffer_ptr>(), [&]() -> orv_NameInfo_Buffer_ptr {
        return construct<orv_NameInfo_Buffer_ptr, orv_NameInfo_Buffer>();
    });
}

QORCOMMON_API void orv_NameInfo_Buffer_destruct(orv_NameInfo_Buffer_ptr buffer) noexcept {
    QOR_C_GUARDED_VOID([&] { destructBuffer<orv_NameInfo_Buffer>(buffer); });
}

QORCOMMON_API orv_NameInfo orv_NameInfo_Buffer_copy(orv_NameInfo_Buffer_ptr buffer,
                                                    const orv_NameInfo* record) noexcept {
    return QOR_C_GUARDED(emptyNameInfo(), [&]() -> orv_NameInfo {
        if (!QOR_CHECK(buffer.obj) || !QOR_CHECK(record)) return emptyNameInfo();
        auto* target = static_cast<orv_NameInfo_Buffer*>(buffer.obj);
        return toNameInfo(toNameInfo(*record), *target);
    });
}

QORCOMMON_API orv_ModuleInfo_Buffer_ptr orv_ModuleInfo_Buffer_construct(void) noexcept {
    return QOR_C_GUARDED(nullHandle<orv_ModuleInfo_Buffer_ptr>(),
                         [&]() -> orv_ModuleInfo_Buffer_ptr {
                             return construct<orv_ModuleInfo_Buffer_ptr, orv_ModuleInfo_Buffer>();
                         });
}

QORCOMMON_API void orv_ModuleInfo_Buffer_destruct(orv_ModuleInfo_Buffer_ptr buffer) noexcept {
    QOR_C_GUARDED_VOID([&] { destructBuffer<orv_ModuleInfo_Buffer>(buffer); });
}

QORCOMMON_API orv_ModuleInfo orv_ModuleInfo_Buffer_copy(orv_ModuleInfo_Buffer_ptr buffer,
                                                        const orv_ModuleInfo* record) noexcept {
    return QOR_C_GUARDED(emptyModuleInfo(), [&]() -> orv_ModuleInfo {
        if (!QOR_CHECK(buffer.obj) || !QOR_CHECK(record)) return emptyModuleInfo();
        auto* target = static_cast<orv_ModuleInfo_Buffer*>(buffer.obj);
        return fromModuleInfo(toModuleInfo(*record), *target);
    });
}

// ---- text forms -----------------------------------------------------------------------------

QORCOMMON_API const char* orv_ErrorInfo_asShortString(const orv_ErrorInfo* record) noexcept {
    return QOR_C_GUARDED(kEmptyText, [&]() -> const char* {
        if (!QOR_CHECK(record)) return kEmpty;
        return keepText(threadBuffers<TextBuffers>().shortError,
                        toErrorInfo(*record).asShortString().str());
    });
}

QORCOMMON_API const char* orv_ErrorInfo_asLongString(const orv_ErrorInfo* record) noexcept {
    return QOR_C_GUARDED(kEmptyText, [&]() -> const char* {
        if (!QOR_CHECK(record)) return kEmpty;
        return keepText(threadBuffers<TextBuffers>().longError,
                        toErrorInfo(*record).asLongString().str());
    });
}

QORCOMMON_API const char* orv_CodeLocation_asString(const orv_CodeLocation* record) noexcept {
    return QOR_C_GUARDED(kEmptyText, [&]() -> const char* {
        if (!QOR_CHECK(record)) return kEmpty;
        return keepText(threadBuffers<TextBuffers>().codeLocation,
                        toCodeLocation(*record).asString().str());
    });
}

// ---- showing errors -------------------------------------------------------------------------

QORCOMMON_API orv_ShowErrorHandler orv_setShowErrorHandler(orv_ShowErrorHandler handler,
                                                           void* context,
                                                           void** previousContext) noexcept {
    return QOR_C_GUARDED(static_cast<orv_ShowErrorHandler>(nullptr), [&]() -> orv_ShowErrorHandler {
        CShowErrorHook& hook = cShowErrorHook();
        MutexLocker lock(hook.mutex);
        void* previousCppContext = nullptr;
        const Result::ShowErrorHandler previous = Result::setShowErrorHandler(
            handler ? &callCShowErrorHandler : nullptr, nullptr, &previousCppContext);
        const bool previousWasC = previous == &callCShowErrorHandler;
        const orv_ShowErrorHandler previousC = previousWasC ? hook.handler : nullptr;
        if (previousContext) *previousContext = previousWasC ? hook.context : nullptr;
        hook.handler = handler;
        hook.context = handler ? context : nullptr;
        return previousC;
    });
}

} // extern "C"
