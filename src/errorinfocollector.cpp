// The error collector, its process-wide listener list, the event result that carries a record,
// and the collector that keeps nothing.
//
// Re-entry: listeners run under the list's lock, and that lock is recursive (the default lock of
// a protected variable), so a listener may store a further error or register and unregister
// listeners on the same thread. The walk runs over a copy of the list taken when it starts, and
// the list counts its changes: when a change happened during the walk, each listener is looked up
// in the live list before it is called. So a listener added during a walk first hears the next
// record, and one removed during a walk is not called again, not even by the walk that was under
// way when it was removed.
#include "qorcommon/errorinfocollector.h"

#include "qorcommon/globalvariable.h"

#include <algorithm>
#include <cstdint>
#include <exception>
#include <list>
#include <string>
#include <vector>

namespace Orvane {
namespace Core {

namespace {

struct ListenerList {
    std::list<ErrorInfoCollectorListener*> entries;
    // Bumped by every change, so that a walk can tell whether its copy is still the list.
    std::uint64_t changes = 0;

    bool contains(const ErrorInfoCollectorListener* listener) const {
        return std::find(entries.begin(), entries.end(), listener) != entries.end();
    }
};

using ListenerVariable = GlobalVariable<ListenerList>;

// Never deleted: errors may be stored while static objects are torn down, and a deleted variable
// would take its lock with it. Its value goes at unload (below); later uses then fail the proxy's
// check "_var != nullptr" instead of touching freed memory.
ListenerVariable& listenerVariable() {
    static auto* variable = new ListenerVariable();
    return *variable;
}

struct ListenerListTeardown {
    ListenerListTeardown() { listenerVariable(); }
    ~ListenerListTeardown() { listenerVariable().destroy(); }
    ListenerListTeardown(const ListenerListTeardown&) = delete;
    ListenerListTeardown& operator=(const ListenerListTeardown&) = delete;
};

const ListenerListTeardown teardown;

Result failure(const std::string& text, const CodeLocation& location) {
    return Result(ErrorInfo(text, location), false);
}

// A throwing listener must not end the walk nor reach the storing caller; the fault is reported
// as a failed check, as every misuse of the library is.
void notify(ErrorInfoCollectorListener* listener, const ErrorInfo& errorInfo,
            const ModuleInfo& moduleInfo, const CodeLocation& codeLocation) {
    try {
        listener->errorInfoAdded(errorInfo, moduleInfo, codeLocation);
    } catch (const std::exception& e) {
        const std::string text = std::string("error info collector listener threw: ") + e.what();
        QOR_ASSERT_FAILED(text.c_str());
    } catch (...) {
        QOR_ASSERT_FAILED("error info collector listener threw");
    }
}

} // namespace

// ---- ErrorInfoCollectorListener -----------------------------------------------------------------

ErrorInfoCollectorListener::ErrorInfoCollectorListener() = default;
ErrorInfoCollectorListener::ErrorInfoCollectorListener(const ErrorInfoCollectorListener&) = default;
ErrorInfoCollectorListener&
ErrorInfoCollectorListener::operator=(const ErrorInfoCollectorListener&) = default;
ErrorInfoCollectorListener::~ErrorInfoCollectorListener() = default;

// ---- ErrorInfoCollector -------------------------------------------------------------------------

ErrorInfoCollector::ErrorInfoCollector() = default;
ErrorInfoCollector::~ErrorInfoCollector() = default;

const char* ErrorInfoCollector::typeName() const {
    return "Orvane::Core::ErrorInfoCollector";
}

Result ErrorInfoCollector::add(const ErrorInfo& errorInfo, const ModuleInfo& moduleInfo,
                               const CodeLocation& codeLocation) {
    ListenerVariable::Proxy locked = listenerVariable().access();
    const Result result = storeErrorInfo(errorInfo, moduleInfo, codeLocation);
    ListenerList* list = locked.get();
    if (!list || list->entries.empty()) return result;

    const std::vector<ErrorInfoCollectorListener*> walk(list->entries.begin(), list->entries.end());
    const std::uint64_t changesAtStart = list->changes;
    for (ErrorInfoCollectorListener* listener : walk) {
        if (list->changes != changesAtStart && !list->contains(listener)) continue;
        notify(listener, errorInfo, moduleInfo, codeLocation);
    }
    return result;
}

Result ErrorInfoCollector::registerListener(ErrorInfoCollectorListener* listener) {
    if (!QOR_CHECK(listener != nullptr)) {
        return failure("no error info collector listener given", QOR_CODE_LOCATION);
    }
    ListenerVariable::Proxy locked = listenerVariable().access();
    ListenerList* list = locked.get();
    if (!list) return failure("the error info collector listener list is gone", QOR_CODE_LOCATION);
    if (list->contains(listener)) return Result(true);
    if (list->entries.size() >= list->entries.max_size()) {
        return failure("list too long", QOR_CODE_LOCATION);
    }
    list->entries.push_back(listener);
    ++list->changes;
    return Result(true);
}

void ErrorInfoCollector::unregisterListener(ErrorInfoCollectorListener* listener) {
    ListenerVariable::Proxy locked = listenerVariable().access();
    ListenerList* list = locked.get();
    if (!list) return;
    const std::size_t before = list->entries.size();
    list->entries.remove(listener);
    if (list->entries.size() != before) ++list->changes;
}

std::size_t ErrorInfoCollector::listenerCount() {
    ListenerVariable::Proxy locked = listenerVariable().access();
    const ListenerList* list = locked.get();
    return list ? list->entries.size() : 0;
}

// ---- ErrorInfoEventResult -----------------------------------------------------------------------

ErrorInfoEventResult::ErrorInfoEventResult(const ErrorInfo& errorInfo) : m_errorInfo(errorInfo) {}
ErrorInfoEventResult::~ErrorInfoEventResult() = default;

const ErrorInfo& ErrorInfoEventResult::errorInfo() const {
    return m_errorInfo;
}

// ---- DummyErrorInfoCollector --------------------------------------------------------------------

namespace QOR {

DummyErrorInfoCollector::DummyErrorInfoCollector() = default;
DummyErrorInfoCollector::~DummyErrorInfoCollector() = default;

const char* DummyErrorInfoCollector::typeName() const {
    return "Orvane::Core::QOR::DummyErrorInfoCollector";
}

Result DummyErrorInfoCollector::storeErrorInfo(const ErrorInfo&, const ModuleInfo&,
                                               const CodeLocation&) {
    return Result(true);
}

} // namespace QOR
} // namespace Core
} // namespace Orvane
