// Reference-counted objects: everything of GCObject that is not inline in its header.
#include "qorcommon/gc.h"

#include "platform/platform.h"

#include <cstdlib>
#include <map>
#include <memory>
#include <string>
#include <typeindex>
#include <typeinfo>
#include <unordered_map>

#if __has_include(<cxxabi.h>)
#include <cxxabi.h>
#define QOR_HAVE_CXXABI 1
#endif

namespace Orvane {
namespace Core {

namespace {

std::string demangle(const char* name) {
#ifdef QOR_HAVE_CXXABI
    int status = 0;
    char* text = abi::__cxa_demangle(name, nullptr, nullptr, &status);
    if (status == 0 && text) {
        std::string result(text);
        std::free(text);
        return result;
    }
    std::free(text);
#endif
    return name;
}

// Demangled names, one per dynamic type. The strings are never freed, so the pointers handed
// out by typeName() stay valid for the life of the process.
class TypeNameCache {
public:
    const char* nameOf(const std::type_info& type) {
        m_mutex.lock();
        std::unique_ptr<std::string>& slot = m_names[std::type_index(type)];
        if (!slot) slot.reset(new std::string(demangle(type.name())));
        const char* result = slot->c_str();
        m_mutex.unlock();
        return result;
    }

private:
    Platform::Mutex m_mutex;
    std::unordered_map<std::type_index, std::unique_ptr<std::string>> m_names;
};

TypeNameCache& typeNameCache() {
    // Never destroyed: objects that live into static destruction may still ask for their name.
    static TypeNameCache* cache = new TypeNameCache;
    return *cache;
}

} // namespace

// ---- GCObject -----------------------------------------------------------------------------------

struct GCObject::Private {
    GCReferenceRegistry registry;
};

GCObject::GCObject() : m_useCount(0), d(nullptr) {}

GCObject::GCObject(const GCObject&) : m_useCount(0), d(nullptr) {}

GCObject& GCObject::operator=(const GCObject&) {
    return *this;
}

GCObject::~GCObject() {
    delete d.load(std::memory_order_acquire);
}

const char* GCObject::typeName() const {
    return typeNameCache().nameOf(typeid(*this));
}

GCReferenceRegistry& GCObject::referenceRegistry() const {
    Private* p = d.load(std::memory_order_acquire);
    if (!p) {
        Private* made = new Private;
        if (d.compare_exchange_strong(p, made, std::memory_order_acq_rel,
                                      std::memory_order_acquire)) {
            p = made;
        } else {
            delete made; // made by another thread first; p holds that one
        }
    }
    return p->registry;
}

// ---- GCReferenceRegistry ------------------------------------------------------------------------

struct GCReferenceRegistry::Private {
    mutable Platform::Mutex mutex;
    std::map<std::string, long> holders;
    long total = 0;
};

GCReferenceRegistry::GCReferenceRegistry() : d(new Private) {}

GCReferenceRegistry::~GCReferenceRegistry() {
    delete d;
}

void GCReferenceRegistry::add(const char* holder) {
    const std::string key(holder ? holder : "");
    d->mutex.lock();
    ++d->holders[key];
    ++d->total;
    d->mutex.unlock();
}

bool GCReferenceRegistry::remove(const char* holder) {
    const std::string key(holder ? holder : "");
    d->mutex.lock();
    auto it = d->holders.find(key);
    const bool found = it != d->holders.end();
    if (found) {
        if (--it->second == 0) d->holders.erase(it);
        --d->total;
    }
    d->mutex.unlock();
    return found;
}

long GCReferenceRegistry::count(const char* holder) const {
    const std::string key(holder ? holder : "");
    d->mutex.lock();
    auto it = d->holders.find(key);
    const long result = it == d->holders.end() ? 0 : it->second;
    d->mutex.unlock();
    return result;
}

long GCReferenceRegistry::size() const {
    d->mutex.lock();
    const long result = d->total;
    d->mutex.unlock();
    return result;
}

} // namespace Core
} // namespace Orvane
