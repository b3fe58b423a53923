// The C face of the configuration handlers. A failed allocation makes the call fail (0) or gives
// a null handle.
#include "qorcommon/c/config.h"

#include "cboundary.h"
#include "chandles.h"
#include "confighandles.h"
#include "ctext.h"
#include "qorcommon/envconfighandler.h"
#include "qorcommon/memoryconfighandler.h"

#include <string>
#include <vector>

using Orvane::Core::CLAConfigHandler;
using Orvane::Core::ConfigHandler;
using Orvane::Core::EnvVarConfigHandler;
using Orvane::Core::GC;
using Orvane::Core::MemoryConfigHandler;
using Orvane::Core::StringList;
using namespace Orvane::Core::CApi;
namespace CWrapper = Orvane::Core::CWrapper;

namespace {

// A list handed out as an array of texts: the pointers point into `list` and end with a null.
struct TextArrayBuffer {
    StringList list;
    std::vector<const char*> texts;

    void publish(const char*** ret, long* count) {
        texts.clear();
        texts.reserve(list.size() + 1);
        for (const std::string& text : list)
            texts.push_back(text.c_str());
        texts.push_back(nullptr);
        *ret = texts.data();
        *count = static_cast<long>(list.size());
    }
};

// The result buffers of the calling thread, one per function.
struct ResultBuffers {
    std::string entryAsString;
    std::string stringEntry;
    StringList entryAsStringList1;
    StringList stringListEntry1;
    StringList keyList1;
    TextArrayBuffer entryAsStringList2;
    TextArrayBuffer stringListEntry2;
    TextArrayBuffer keyList2;
    std::vector<long> longList;
    std::vector<short> booleanList;
};

ResultBuffers& buffers() {
    return threadBuffers<ResultBuffers>();
}

// The handler behind a handle; null (after the check failed) for a null handle or one that
// holds no handler.
ConfigHandler* handlerOf(orv_ConfigHandler_ptr configHandler) {
    if (!QOR_CHECK(configHandler.obj != nullptr)) return nullptr;
    ConfigHandler* handler = static_cast<GC<ConfigHandler>*>(configHandler.obj)->ptr();
    if (!handler) QOR_ASSERT_FAILED("configHandler.obj != nullptr");
    return handler;
}

// Runs `call`, which says whether it succeeded, for a C result.
template <class Call> short run(Call call) {
    return cBool(call());
}

// A handle on a new handler of type Handler over `base`.
template <class Handler> orv_ConfigHandler_ptr constructHandler(orv_ConfigHandler_ptr base) {
    GC<Handler> handler(new Handler(CWrapper::unwrapConfigHandler(base)));
    return CWrapper::wrapConfigHandler(handler);
}

// The string getters: the text is copied into the function's buffer.
template <class Get>
short getString(orv_ConfigHandler_ptr configHandler, const char* path, const char** ret,
                std::string& buffer, Get get) {
    ConfigHandler* handler = handlerOf(configHandler);
    if (!handler || !QOR_CHECK(path != nullptr) || !QOR_CHECK(ret != nullptr)) return 0;
    return run([&] {
        if (!(handler->*get)(path, buffer, true)) return false;
        *ret = buffer.c_str();
        return true;
    });
}

template <class Get>
short getList1(orv_ConfigHandler_ptr configHandler, const char* path, orv_StringList_ptr* ret,
               StringList& buffer, Get get) {
    ConfigHandler* handler = handlerOf(configHandler);
    if (!handler || !QOR_CHECK(path != nullptr) || !QOR_CHECK(ret != nullptr)) return 0;
    return run([&] {
        // Cleared first: a handler that appends instead of replacing must not see old results.
        buffer.clear();
        if (!(handler->*get)(path, buffer, true)) return false;
        ret->obj = &buffer;
        return true;
    });
}

template <class Get>
short getList2(orv_ConfigHandler_ptr configHandler, const char* path, const char*** ret,
               long* count, TextArrayBuffer& buffer, Get get) {
    ConfigHandler* handler = handlerOf(configHandler);
    if (!handler || !QOR_CHECK(path != nullptr) || !QOR_CHECK(ret != nullptr) ||
        !QOR_CHECK(count != nullptr))
        return 0;
    return run([&] {
        buffer.list.clear();
        if (!(handler->*get)(path, buffer.list, true)) return false;
        buffer.publish(ret, count);
        return true;
    });
}

template <class Set>
short setText(orv_ConfigHandler_ptr configHandler, const char* path, const char* value, short here,
              Set set) {
    ConfigHandler* handler = handlerOf(configHandler);
    if (!handler || !QOR_CHECK(path != nullptr) || !QOR_CHECK(value != nullptr)) return 0;
    return run([&] { return (handler->*set)(path, value, here != 0); });
}

template <class Set>
short setList1(orv_ConfigHandler_ptr configHandler, const char* path, orv_StringList_ptr value,
               short here, Set set) {
    ConfigHandler* handler = handlerOf(configHandler);
    if (!handler || !QOR_CHECK(path != nullptr) || !QOR_CHECK(value.obj != nullptr)) return 0;
    return run(
        [&] { return (handler->*set)(path, *static_cast<StringList*>(value.obj), here != 0); });
}

// A null array is accepted for an empty list only.
bool validArray(const void* value, long count) {
    if (count > 0) return QOR_CHECK(value != nullptr);
    return QOR_CHECK(count >= 0);
}

template <class Set>
short setList2(orv_ConfigHandler_ptr configHandler, const char* path, const char* const* value,
               long count, short here, Set set) {
    ConfigHandler* handler = handlerOf(configHandler);
    if (!handler || !QOR_CHECK(path != nullptr) || !validArray(value, count)) return 0;
    return run([&] {
        const StringList list = count > 0 ? StringList(value, count) : StringList();
        return (handler->*set)(path, list, here != 0);
    });
}

template <class Cache> short cache(orv_ConfigHandler_ptr configHandler, Cache call) {
    ConfigHandler* handler = handlerOf(configHandler);
    if (!handler) return 0;
    return run([&] { return call(handler); });
}

template <class Cache>
short cacheWithPath(orv_ConfigHandler_ptr configHandler, const char* path, Cache call) {
    ConfigHandler* handler = handlerOf(configHandler);
    if (!handler || !QOR_CHECK(path != nullptr)) return 0;
    return run([&] { return call(handler); });
}

} // namespace

extern "C" {

// ---- handlers
// ------------------------------------------------------------------------------------

QORCOMMON_API orv_ConfigHandler_ptr
orv_config_constructMemoryHandler(orv_ConfigHandler_ptr base) noexcept {
    return QOR_C_GUARDED(nullHandle<orv_ConfigHandler_ptr>(), [&]() -> orv_ConfigHandler_ptr {
        return constructHandler<MemoryConfigHandler>(base);
    });
}

QORCOMMON_API orv_ConfigHandler_ptr
orv_config_constructEnvVarHandler(orv_ConfigHandler_ptr base) noexcept {
    return QOR_C_GUARDED(nullHandle<orv_ConfigHandler_ptr>(), [&]() -> orv_ConfigHandler_ptr {
        GC<EnvVarConfigHandler> handler(
            new EnvVarConfigHandler(CWrapper::unwrapConfigHandler(base)));
        handler->init();
        return CWrapper::wrapConfigHandler(handler);
    });
}

QORCOMMON_API orv_ConfigHandler_ptr
orv_config_constructCLAHandler(orv_ConfigHandler_ptr base) noexcept {
    return QOR_C_GUARDED(nullHandle<orv_ConfigHandler_ptr>(), [&]() -> orv_ConfigHandler_ptr {
        return constructHandler<CLAConfigHandler>(base);
    });
}

QORCOMMON_API void orv_config_destruct(orv_ConfigHandler_ptr configHandler) noexcept {
    QOR_C_GUARDED_VOID([&] {
        if (QOR_CHECK(configHandler.obj != nullptr)) releaseGC<ConfigHandler>(configHandler);
    });
}

// ---- reading
// --------------------------------------------------------------------------------------

QORCOMMON_API short orv_config_GetEntryAsString(orv_ConfigHandler_ptr configHandler,
                                                const char* path, const char** ret) noexcept {
    return QOR_C_GUARDED(cBool(false), [&]() -> short {
        return getString(configHandler, path, ret, buffers().entryAsString,
                         &ConfigHandler::getEntryAsString);
    });
}

QORCOMMON_API short orv_config_GetStringEntry(orv_ConfigHandler_ptr configHandler, const char* path,
                                              const char** ret) noexcept {
    return QOR_C_GUARDED(cBool(false), [&]() -> short {
        return getString(configHandler, path, ret, buffers().stringEntry,
                         &ConfigHandler::getStringEntry);
    });
}

QORCOMMON_API short orv_config_GetLongEntry(orv_ConfigHandler_ptr configHandler, const char* path,
                                            long* ret) noexcept {
    return QOR_C_GUARDED(cBool(false), [&]() -> short {
        ConfigHandler* handler = handlerOf(configHandler);
        if (!handler || !QOR_CHECK(path != nullptr) || !QOR_CHECK(ret != nullptr)) return 0;
        return run([&] { return handler->getLongEntry(path, *ret, true); });
    });
}

QORCOMMON_API short orv_config_GetBooleanEntry(orv_ConfigHandler_ptr configHandler,
                                               const char* path, short* ret) noexcept {
    return QOR_C_GUARDED(cBool(false), [&]() -> short {
        ConfigHandler* handler = handlerOf(configHandler);
        if (!handler || !QOR_CHECK(path != nullptr) || !QOR_CHECK(ret != nullptr)) return 0;
        return run([&] {
            bool value = false;
            if (!handler->getBooleanEntry(path, value, true)) return false;
            *ret = cBool(value);
            return true;
        });
    });
}

QORCOMMON_API short orv_config_GetEntryAsStringList1(orv_ConfigHandler_ptr configHandler,
                                                     const char* path,
                                                     orv_StringList_ptr* ret) noexcept {
    return QOR_C_GUARDED(cBool(false), [&]() -> short {
        return getList1(configHandler, path, ret, buffers().entryAsStringList1,
                        &ConfigHandler::getEntryAsStringList);
    });
}

QORCOMMON_API short orv_config_GetEntryAsStringList2(orv_ConfigHandler_ptr configHandler,
                                                     const char* path, const char*** ret,
                                                     long* count) noexcept {
    return QOR_C_GUARDED(cBool(false), [&]() -> short {
        return getList2(configHandler, path, ret, count, buffers().entryAsStringList2,
                        &ConfigHandler::getEntryAsStringList);
    });
}

QORCOMMON_API short orv_config_GetStringListEntry1(orv_ConfigHandler_ptr configHandler,
                                                   const char* path,
                                                   orv_StringList_ptr* ret) noexcept {
    return QOR_C_GUARDED(cBool(false), [&]() -> short {
        return getList1(configHandler, path, ret, buffers().stringListEntry1,
                        &ConfigHandler::getStringListEntry);
    });
}

QORCOMMON_API short orv_config_GetStringListEntry2(orv_ConfigHandler_ptr configHandler,
                                                   const char* path, const char*** ret,
                                                   long* count) noexcept {
    return QOR_C_GUARDED(cBool(false), [&]() -> short {
        return getList2(configHandler, path, ret, count, buffers().stringListEntry2,
                        &ConfigHandler::getStringListEntry);
    });
}

QORCOMMON_API short orv_config_GetLongListEntry(orv_ConfigHandler_ptr configHandler,
                                                const char* path, const long** ret,
                                                long* count) noexcept {
    return QOR_C_GUARDED(cBool(false), [&]() -> short {
        ConfigHandler* handler = handlerOf(configHandler);
        if (!handler || !QOR_CHECK(path != nullptr) || !QOR_CHECK(ret != nullptr) ||
            !QOR_CHECK(count != nullptr))
            return 0;
        return run([&] {
            std::vector<long>& buffer = buffers().longList;
            if (!handler->getLongListEntry(path, buffer, true)) return false;
            *ret = buffer.data();
            *count = static_cast<long>(buffer.size());
            return true;
        });
    });
}

QORCOMMON_API short orv_config_GetBooleanListEntry(orv_ConfigHandler_ptr configHandler,
                                                   const char* path, const short** ret,
                                                   long* count) noexcept {
    return QOR_C_GUARDED(cBool(false), [&]() -> short {
        ConfigHandler* handler = handlerOf(configHandler);
        if (!handler || !QOR_CHECK(path != nullptr) || !QOR_CHECK(ret != nullptr) ||
            !QOR_CHECK(count != nullptr))
            return 0;
        return run([&] {
            std::vector<bool> values;
            if (!handler->getBooleanListEntry(path, values, true)) return false;
            std::vector<short>& buffer = buffers().booleanList;
            buffer.assign(values.begin(), values.end());
            *ret = buffer.data();
            *count = static_cast<long>(buffer.size());
            return true;
        });
    });
}

QORCOMMON_API short orv_config_GetKeyList1(orv_ConfigHandler_ptr configHandler, const char* path,
                                           orv_StringList_ptr* ret) noexcept {
    return QOR_C_GUARDED(cBool(false), [&]() -> short {
        return getList1(configHandler, path, ret, buffers().keyList1, &ConfigHandler::getKeyList);
    });
}

QORCOMMON_API short orv_config_GetKeyList2(orv_ConfigHandler_ptr configHandler, const char* path,
                                           const char*** ret, long* count) noexcept {
    return QOR_C_GUARDED(cBool(false), [&]() -> short {
        return getList2(configHandler, path, ret, count, buffers().keyList2,
                        &ConfigHandler::getKeyList);
    });
}

// ---- writing
// --------------------------------------------------------------------------------------

QORCOMMON_API short orv_config_SetEntryAsString(orv_ConfigHandler_ptr configHandler,
                                                const char* path, const char* value,
                                                short here) noexcept {
    return QOR_C_GUARDED(cBool(false), [&]() -> short {
        return setText(configHandler, path, value, here, &ConfigHandler::setEntryAsString);
    });
}

QORCOMMON_API short orv_config_SetStringEntry(orv_ConfigHandler_ptr configHandler, const char* path,
                                              const char* value, short here) noexcept {
    return QOR_C_GUARDED(cBool(false), [&]() -> short {
        return setText(configHandler, path, value, here, &ConfigHandler::setStringEntry);
    });
}

QORCOMMON_API short orv_config_SetLongEntry(orv_ConfigHandler_ptr configHandler, const char* path,
                                            long value, short here) noexcept {
    return QOR_C_GUARDED(cBool(false), [&]() -> short {
        ConfigHandler* handler = handlerOf(configHandler);
        if (!handler || !QOR_CHECK(path != nullptr)) return 0;
        return run([&] { return handler->setLongEntry(path, value, here != 0); });
    });
}

QORCOMMON_API short orv_config_SetBooleanEntry(orv_ConfigHandler_ptr configHandler,
                                               const char* path, short value, short here) noexcept {
    return QOR_C_GUARDED(cBool(false), [&]() -> short {
        ConfigHandler* handler = handlerOf(configHandler);
        if (!handler || !QOR_CHECK(path != nullptr)) return 0;
        return run([&] { return handler->setBooleanEntry(path, value != 0, here != 0); });
    });
}

QORCOMMON_API short orv_config_SetEntryAsStringList1(orv_ConfigHandler_ptr configHandler,
                                                     const char* path, orv_StringList_ptr value,
                                                     short here) noexcept {
    return QOR_C_GUARDED(cBool(false), [&]() -> short {
        return setList1(configHandler, path, value, here, &ConfigHandler::setEntryAsStringList);
    });
}

QORCOMMON_API short orv_config_SetEntryAsStringList2(orv_ConfigHandler_ptr configHandler,
                                                     const char* path, const char* const* value,
                                                     long count, short here) noexcept {
    return QOR_C_GUARDED(cBool(false), [&]() -> short {
        return setList2(configHandler, path, value, count, here,
                        &ConfigHandler::setEntryAsStringList);
    });
}

QORCOMMON_API short orv_config_SetStringListEntry1(orv_ConfigHandler_ptr configHandler,
                                                   const char* path, orv_StringList_ptr value,
                                                   short here) noexcept {
    return QOR_C_GUARDED(cBool(false), [&]() -> short {
        return setList1(configHandler, path, value, here, &ConfigHandler::setStringListEntry);
    });
}

QORCOMMON_API short orv_config_SetStringListEntry2(orv_ConfigHandler_ptr configHandler,
                                                   const char* path, const char* const* value,
                                                   long count, short here) noexcept {
    return QOR_C_GUARDED(cBool(false), [&]() -> short {
        return setList2(configHandler, path, value, count, here,
                        &ConfigHandler::setStringListEntry);
    });
}

QORCOMMON_API short orv_config_SetLongListEntry(orv_ConfigHandler_ptr configHandler,
                                                const char* path, const long* value, long count,
                                                short here) noexcept {
    return QOR_C_GUARDED(cBool(false), [&]() -> short {
        ConfigHandler* handler = handlerOf(configHandler);
        if (!handler || !QOR_CHECK(path != nullptr) || !validArray(value, count)) return 0;
        return run([&] {
            const std::vector<long> values(value, value + (count > 0 ? count : 0));
            return handler->setLongListEntry(path, values, here != 0);
        });
    });
}

QORCOMMON_API short orv_config_SetBooleanListEntry(orv_ConfigHandler_ptr configHandler,
                                                   const char* path, const short* value, long count,
                                                   short here) noexcept {
    return QOR_C_GUARDED(cBool(false), [&]() -> short {
        ConfigHandler* handler = handlerOf(configHandler);
        if (!handler || !QOR_CHECK(path != nullptr) || !validArray(value, count)) return 0;
        return run([&] {
            std::vector<bool> values;
            for (long i = 0; i < count; ++i)
                values.push_back(value[i] != 0);
            return handler->setBooleanListEntry(path, values, here != 0);
        });
    });
}

QORCOMMON_API short orv_config_SetKey(orv_ConfigHandler_ptr configHandler, const char* path,
                                      short here) noexcept {
    return QOR_C_GUARDED(cBool(false), [&]() -> short {
        ConfigHandler* handler = handlerOf(configHandler);
        if (!handler || !QOR_CHECK(path != nullptr)) return 0;
        return run([&] { return handler->setKey(path, here != 0); });
    });
}

// ---- cache
// ------------------------------------------------------------------------------------------

QORCOMMON_API short orv_config_UpdateCache1(orv_ConfigHandler_ptr configHandler) noexcept {
    return QOR_C_GUARDED(cBool(false), [&]() -> short {
        return cache(configHandler, [](ConfigHandler* h) { return h->updateCache(true); });
    });
}

QORCOMMON_API short orv_config_UpdateCache2(orv_ConfigHandler_ptr configHandler,
                                            const char* path) noexcept {
    return QOR_C_GUARDED(cBool(false), [&]() -> short {
        return cacheWithPath(configHandler, path,
                             [&](ConfigHandler* h) { return h->updateCache(path, true); });
    });
}

QORCOMMON_API short orv_config_UpdateCache3(orv_ConfigHandler_ptr configHandler,
                                            short recursive) noexcept {
    return QOR_C_GUARDED(cBool(false), [&]() -> short {
        return cache(configHandler,
                     [&](ConfigHandler* h) { return h->updateCache(recursive != 0); });
    });
}

QORCOMMON_API short orv_config_UpdateCache4(orv_ConfigHandler_ptr configHandler, const char* path,
                                            short recursive) noexcept {
    return QOR_C_GUARDED(cBool(false), [&]() -> short {
        return cacheWithPath(configHandler, path, [&](ConfigHandler* h) {
            return h->updateCache(path, recursive != 0);
        });
    });
}

QORCOMMON_API short orv_config_FlushCache1(orv_ConfigHandler_ptr configHandler) noexcept {
    return QOR_C_GUARDED(cBool(false), [&]() -> short {
        return cache(configHandler, [](ConfigHandler* h) { return h->flushCache(true); });
    });
}

QORCOMMON_API short orv_config_FlushCache2(orv_ConfigHandler_ptr configHandler,
                                           const char* path) noexcept {
    return QOR_C_GUARDED(cBool(false), [&]() -> short {
        return cacheWithPath(configHandler, path,
                             [&](ConfigHandler* h) { return h->flushCache(path, true); });
    });
}

QORCOMMON_API short orv_config_FlushCache3(orv_ConfigHandler_ptr configHandler,
                                           short recursive) noexcept {
    return QOR_C_GUARDED(cBool(false), [&]() -> short {
        return cache(configHandler,
                     [&](ConfigHandler* h) { return h->flushCache(recursive != 0); });
    });
}

QORCOMMON_API short orv_config_FlushCache4(orv_ConfigHandler_ptr configHandler, const char* path,
                                           short recursive) noexcept {
    return QOR_C_GUARDED(cBool(false), [&]() -> short {
        return cacheWithPath(configHandler, path,
                             [&](ConfigHandler* h) { return h->flushCache(path, recursive != 0); });
    });
}

// ---- status
// -------------------------------------------------------------------------------------------

QORCOMMON_API short orv_config_IsOperationSupported(orv_ConfigHandler_ptr configHandler,
                                                    int operation) noexcept {
    return QOR_C_GUARDED(cBool(false), [&]() -> short {
        ConfigHandler* handler = handlerOf(configHandler);
        if (!handler) return 0;
        return cBool(
            handler->isOperationSupported(static_cast<ConfigHandler::Operation>(operation)));
    });
}

QORCOMMON_API int orv_config_GetHandlerStatus(orv_ConfigHandler_ptr configHandler) noexcept {
    return QOR_C_GUARDED(orv_ConfigStatus_Failed, [&]() -> int {
        ConfigHandler* handler = handlerOf(configHandler);
        if (!handler) return orv_ConfigStatus_NoError;
        return handler->handlerStatus();
    });
}

QORCOMMON_API const char* orv_config_GetLastError(orv_ConfigHandler_ptr configHandler) noexcept {
    return QOR_C_GUARDED(kEmptyText, [&]() -> const char* {
        ConfigHandler* handler = handlerOf(configHandler);
        if (!handler) return kEmptyText;
        return handler->getLastError().c_str();
    });
}

} // extern "C"
