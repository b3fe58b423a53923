// The configuration handler contract: typed values over string lists, the fall-back through the
// chain, the search for the owner of an entry, the cache recursion and the per-thread last error.
#include "qorcommon/confighandler.h"

#include "qorcommon/string.h"
#include "qorcommon/threadmanagedobject.h"

#include "platform/platform.h"
#include "configmessages.h"

#include <atomic>
#include <cctype>
#include <cstdlib>
#include <utility>

namespace Orvane {
namespace Core {

namespace {

using namespace ConfigMessages;

std::string fill(const char* pattern, const char* value) {
    String text(pattern);
    text.a(value);
    return text.str();
}

std::string fill(const char* pattern, const std::string& value) {
    String text(pattern);
    text.a(value);
    return text.str();
}

} // namespace

struct ConfigHandler::Private {
    explicit Private(GC<ConfigHandler> baseHandler) : base(std::move(baseHandler)) {}

    // Readers copy the base handle while another thread may replace it; the lock makes the copy
    // and the replacement atomic. It is held only for the copy, never while a handler runs.
    mutable Platform::Mutex baseLock;
    GC<ConfigHandler> base;
    std::atomic<int> status{NoError};
    // The last error text per thread. The library's thread-local variables are a map keyed by
    // the thread id under a lock, like the map this contract describes, with a per-thread cache
    // of the slot in front: a thread that fails repeatedly reaches its text without the lock, and
    // a thread's text is freed when the thread ends, so a later thread that reuses the id starts
    // with "" as a thread that never failed must.
    ThreadLocalVariable<std::string> lastError;

    GC<ConfigHandler> baseHandle() const {
        baseLock.lock();
        GC<ConfigHandler> copy(base);
        baseLock.unlock();
        return copy;
    }

    // Asks `first`, then (with askBase) each base down the chain until one answers. `read` calls
    // the primitive of the handler it is given; the output is passed through by reference, so
    // nothing is copied on the way.
    template <class Read> static bool readChain(ConfigHandler* first, bool askBase, Read read) {
        if (read(first)) return true;
        if (!askBase) return false;
        for (GC<ConfigHandler> handler = first->d->baseHandle(); handler;
             handler = handler->d->baseHandle()) {
            if (read(handler.ptr())) return true;
        }
        return false;
    }

    // Writes into the handler that has the entry, this one when none has it (or with `here`).
    template <class Write>
    static bool writeToOwner(ConfigHandler* self, const std::string& path, bool here, Write write) {
        if (here) return write(self);
        bool exists = false;
        if (self->entryIsExisting(path, exists) && exists) return write(self);
        for (GC<ConfigHandler> handler = self->d->baseHandle(); handler;
             handler = handler->d->baseHandle()) {
            exists = false;
            if (handler->entryIsExisting(path, exists) && exists) return write(handler.ptr());
        }
        return write(self);
    }

    // The default of updateCurrentCache / flushCurrentCache: an error when the handler claims
    // what it does not implement, "not supported" otherwise.
    static bool cacheOperationMissing(ConfigHandler* handler, Operation second,
                                      const char* message) {
        if (handler->isOperationSupported(KeepingCache) || handler->isOperationSupported(second)) {
            handler->setLastError(fill(message, handler->typeName()), OperationFailed);
        } else {
            handler->setHandlerStatus(OperationNotSupported);
        }
        return false;
    }

    static bool unsupported(ConfigHandler* handler, const char* message) {
        handler->setLastError(fill(message, handler->typeName()), OperationFailed);
        return false;
    }
};

ConfigHandler::ConfigHandler(GC<ConfigHandler> base) : d(new Private(std::move(base))) {}

ConfigHandler::~ConfigHandler() {
    delete d;
}

// ---- defaults of the public slots
// ----------------------------------------------------------------

bool ConfigHandler::isOperationSupported(Operation operation) const {
    return operation == ReadingEntries;
}

bool ConfigHandler::updateCurrentCache(const std::string& /*path*/) {
    return updateCurrentCache();
}

bool ConfigHandler::updateCurrentCache() {
    return Private::cacheOperationMissing(this, UpdatingCache, kUpdateNotImplemented);
}

bool ConfigHandler::flushCurrentCache(const std::string& /*path*/) {
    return flushCurrentCache();
}

bool ConfigHandler::flushCurrentCache() {
    return Private::cacheOperationMissing(this, FlushingCache, kFlushNotImplemented);
}

// ---- chain
// -----------------------------------------------------------------------------------------

void ConfigHandler::setBaseConfigHandler(const GC<ConfigHandler>& base) {
    GC<ConfigHandler> replaced(base);
    d->baseLock.lock();
    std::swap(d->base, replaced);
    d->baseLock.unlock();
    // The old base is released here, outside the lock: its destruction may run a whole chain.
}

GC<ConfigHandler> ConfigHandler::baseConfigHandler() const {
    return d->baseHandle();
}

// ---- reading
// ----------------------------------------------------------------------------------------

bool ConfigHandler::getEntryAsString(const std::string& path, std::string& out, bool askBase) {
    return Private::readChain(this, askBase,
                              [&](ConfigHandler* h) { return h->readEntryAsString(path, out); });
}

bool ConfigHandler::getStringEntry(const std::string& path, std::string& out, bool askBase) {
    return Private::readChain(this, askBase,
                              [&](ConfigHandler* h) { return h->readEntryAsString(path, out); });
}

bool ConfigHandler::getEntryAsStringList(const std::string& path, StringList& out, bool askBase) {
    return Private::readChain(
        this, askBase, [&](ConfigHandler* h) { return h->readEntryAsStringList(path, out); });
}

bool ConfigHandler::getStringListEntry(const std::string& path, StringList& out, bool askBase) {
    return Private::readChain(
        this, askBase, [&](ConfigHandler* h) { return h->readEntryAsStringList(path, out); });
}

bool ConfigHandler::getLongEntry(const std::string& path, long& out, bool askBase) {
    return Private::readChain(this, askBase,
                              [&](ConfigHandler* h) { return h->readLongEntry(path, out); });
}

bool ConfigHandler::getLongListEntry(const std::string& path, std::vector<long>& out,
                                     bool askBase) {
    return Private::readChain(this, askBase,
                              [&](ConfigHandler* h) { return h->readLongListEntry(path, out); });
}

bool ConfigHandler::getBooleanEntry(const std::string& path, bool& out, bool askBase) {
    return Private::readChain(this, askBase,
                              [&](ConfigHandler* h) { return h->readBooleanEntry(path, out); });
}

bool ConfigHandler::getBooleanListEntry(const std::string& path, std::vector<bool>& out,
                                        bool askBase) {
    return Private::readChain(this, askBase,
                              [&](ConfigHandler* h) { return h->readBooleanListEntry(path, out); });
}

bool ConfigHandler::getKeyList(const std::string& path, StringList& out, bool askBase) {
    return Private::readChain(this, askBase,
                              [&](ConfigHandler* h) { return h->readKeyList(path, out); });
}

// ---- writing
// ----------------------------------------------------------------------------------------

bool ConfigHandler::setEntryAsString(const std::string& path, const std::string& value, bool here) {
    return Private::writeToOwner(
        this, path, here, [&](ConfigHandler* h) { return h->writeEntryAsString(path, value); });
}

bool ConfigHandler::setStringEntry(const std::string& path, const std::string& value, bool here) {
    return Private::writeToOwner(
        this, path, here, [&](ConfigHandler* h) { return h->writeStringEntry(path, value); });
}

bool ConfigHandler::setEntryAsStringList(const std::string& path, const StringList& value,
                                         bool here) {
    return Private::writeToOwner(
        this, path, here, [&](ConfigHandler* h) { return h->writeEntryAsStringList(path, value); });
}

bool ConfigHandler::setStringListEntry(const std::string& path, const StringList& value,
                                       bool here) {
    return Private::writeToOwner(
        this, path, here, [&](ConfigHandler* h) { return h->writeStringListEntry(path, value); });
}

bool ConfigHandler::setLongEntry(const std::string& path, long value, bool here) {
    return Private::writeToOwner(this, path, here,
                                 [&](ConfigHandler* h) { return h->writeLongEntry(path, value); });
}

bool ConfigHandler::setLongListEntry(const std::string& path, const std::vector<long>& value,
                                     bool here) {
    return Private::writeToOwner(
        this, path, here, [&](ConfigHandler* h) { return h->writeLongListEntry(path, value); });
}

bool ConfigHandler::setBooleanEntry(const std::string& path, bool value, bool here) {
    return Private::writeToOwner(
        this, path, here, [&](ConfigHandler* h) { return h->writeBooleanEntry(path, value); });
}

bool ConfigHandler::setBooleanListEntry(const std::string& path, const std::vector<bool>& value,
                                        bool here) {
    return Private::writeToOwner(
        this, path, here, [&](ConfigHandler* h) { return h->writeBooleanListEntry(path, value); });
}

bool ConfigHandler::setKey(const std::string& path, bool here) {
    return Private::writeToOwner(this, path, here,
                                 [&](ConfigHandler* h) { return h->writeKey(path); });
}

// ---- cache
// --------------------------------------------------------------------------------------------

bool ConfigHandler::updateCache(bool recursive) {
    if (recursive) {
        if (GC<ConfigHandler> base = d->baseHandle()) base->updateCache(true);
    }
    return updateCurrentCache();
}

bool ConfigHandler::updateCache(const std::string& /*path*/, bool recursive) {
    return updateCache(recursive);
}

bool ConfigHandler::flushCache(bool recursive) {
    if (recursive) {
        if (GC<ConfigHandler> base = d->baseHandle()) base->flushCache(true);
    }
    return flushCurrentCache();
}

bool ConfigHandler::flushCache(const std::string& /*path*/, bool recursive) {
    return flushCache(recursive);
}

// ---- status
// ---------------------------------------------------------------------------------------------

ConfigHandler::HandlerStatus ConfigHandler::handlerStatus() const {
    return static_cast<HandlerStatus>(d->status.load(std::memory_order_acquire));
}

const std::string& ConfigHandler::getLastError() const {
    return d->lastError.get();
}

void ConfigHandler::setLastError(const std::string& text) {
    d->lastError.get() = text;
}

void ConfigHandler::setLastError(const std::string& text, HandlerStatus status) {
    setLastError(text);
    setHandlerStatus(status);
}

void ConfigHandler::setHandlerStatus(HandlerStatus status) {
    // Readers of a shared handler fail on their own threads; storing only on a change keeps them
    // from contending for the status's cache line.
    if (d->status.load(std::memory_order_relaxed) != status)
        d->status.store(status, std::memory_order_release);
}

// ---- conversions
// ------------------------------------------------------------------------------------------

bool ConfigHandler::parseBoolean(const std::string& text, bool& value) {
    // The longest word is "false"; anything longer is no boolean word.
    if (text.empty() || text.size() > 5) return false;
    char lower[6] = {0};
    for (std::size_t i = 0; i < text.size(); ++i)
        lower[i] = static_cast<char>(std::tolower(static_cast<unsigned char>(text[i])));
    const std::string word(lower, text.size());
    static const char* const trueWords[] = {"on", "true", "yes", "y", "1", "ja", "j"};
    static const char* const falseWords[] = {"off", "false", "no", "n", "0", "nein"};
    for (const char* candidate : trueWords) {
        if (word == candidate) {
            value = true;
            return true;
        }
    }
    for (const char* candidate : falseWords) {
        if (word == candidate) {
            value = false;
            return true;
        }
    }
    return false;
}

long ConfigHandler::toLong(const std::string& text) {
    // strtol gives what atol gives for every number in range and is defined beyond it.
    return std::strtol(text.c_str(), nullptr, 10);
}

// ---- defaults of the protected slots
// ------------------------------------------------------------------

bool ConfigHandler::readEntryAsString(const std::string& path, std::string& out) {
    StringList values;
    if (!readEntryAsStringList(path, values)) return false;
    if (values.isEmpty()) {
        out.clear();
    } else {
        out.swap(values.list().front());
    }
    return true;
}

bool ConfigHandler::readStringListEntry(const std::string& path, StringList& out) {
    return readEntryAsStringList(path, out);
}

bool ConfigHandler::readStringEntry(const std::string& path, std::string& out) {
    return readEntryAsString(path, out);
}

bool ConfigHandler::readLongListEntry(const std::string& path, std::vector<long>& out) {
    StringList values;
    if (!readEntryAsStringList(path, values)) return false;
    out.resize(values.size());
    std::size_t i = 0;
    for (const std::string& value : values)
        out[i++] = toLong(value);
    return true;
}

bool ConfigHandler::readLongEntry(const std::string& path, long& out) {
    std::string value;
    if (!readEntryAsString(path, value)) return false;
    out = toLong(value);
    return true;
}

bool ConfigHandler::readBooleanListEntry(const std::string& path, std::vector<bool>& out) {
    StringList values;
    if (!readEntryAsStringList(path, values)) return false;
    out.resize(values.size());
    std::size_t i = 0;
    for (const std::string& value : values) {
        bool parsed = false;
        if (!parseBoolean(value, parsed)) {
            setLastError(fill(kInvalidBoolean, value), OperationFailed);
            return false;
        }
        out[i++] = parsed;
    }
    return true;
}

bool ConfigHandler::readBooleanEntry(const std::string& path, bool& out) {
    std::string value;
    if (!readEntryAsString(path, value)) return false;
    if (!parseBoolean(value, out)) {
        setLastError(fill(kInvalidBoolean, value), OperationFailed);
        return false;
    }
    return true;
}

bool ConfigHandler::readKeyList(const std::string& /*path*/, StringList& /*out*/) {
    return Private::unsupported(this, kKeyListNotSupported);
}

bool ConfigHandler::entryIsExisting(const std::string& /*path*/, bool& /*exists*/) {
    return Private::unsupported(this, kEntryExistenceNotSupported);
}

bool ConfigHandler::keyIsExisting(const std::string& /*path*/, bool& /*exists*/) {
    return Private::unsupported(this, kKeyExistenceNotSupported);
}

bool ConfigHandler::writeEntryAsStringList(const std::string& /*path*/,
                                           const StringList& /*values*/) {
    return Private::unsupported(this, kWritingEntryNotSupported);
}

bool ConfigHandler::writeEntryAsString(const std::string& path, const std::string& value) {
    return writeEntryAsStringList(path, StringList(value));
}

bool ConfigHandler::writeStringListEntry(const std::string& path, const StringList& values) {
    return writeEntryAsStringList(path, values);
}

bool ConfigHandler::writeStringEntry(const std::string& path, const std::string& value) {
    return writeEntryAsString(path, value);
}

bool ConfigHandler::writeLongListEntry(const std::string& path, const std::vector<long>& values) {
    StringList texts;
    for (long value : values)
        texts.append(String::toString(value));
    return writeEntryAsStringList(path, texts);
}

bool ConfigHandler::writeLongEntry(const std::string& path, long value) {
    return writeEntryAsString(path, String::toString(value));
}

bool ConfigHandler::writeBooleanListEntry(const std::string& path,
                                          const std::vector<bool>& values) {
    StringList texts;
    for (bool value : values)
        texts.append(booleanText(value));
    return writeEntryAsStringList(path, texts);
}

bool ConfigHandler::writeBooleanEntry(const std::string& path, bool value) {
    return writeEntryAsString(path, booleanText(value));
}

bool ConfigHandler::writeKey(const std::string& /*path*/) {
    return Private::unsupported(this, kWritingKeyNotSupported);
}

} // namespace Core
} // namespace Orvane
