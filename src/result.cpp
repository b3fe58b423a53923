#include "qorcommon/result.h"

#include "qorcommon/mutex.h"

#include <cstdio>
#include <utility>

namespace Orvane {
namespace Core {

namespace {

struct ShowErrorHook {
    Mutex mutex;
    Result::ShowErrorHandler handler = &Result::defaultShowErrorHandler;
    void* context = nullptr;
};

// Never destroyed: errors may still be shown while static objects are torn down.
ShowErrorHook& showErrorHook() {
    static ShowErrorHook* hook = new ShowErrorHook;
    return *hook;
}

} // namespace

struct Result::Private {
    ErrorInfo errorInfo;
    bool ok = true;
};

// The record inside is stamped with the time of construction, so even a plain result has a
// block of its own; only a moved-from result shares the empty one.
Result::Result(bool ok) : d(new Private) {
    d.write()->ok = ok;
}

Result::Result(const ErrorInfo& errorInfo, bool ok) : d(new Private{errorInfo, ok}) {}

Result::Result(const Result& other) = default;
Result::Result(Result&& other) noexcept = default;
Result& Result::operator=(const Result& other) = default;
Result& Result::operator=(Result&& other) noexcept = default;
Result::~Result() = default;

bool Result::isOk() const {
    return d->ok;
}

const ErrorInfo& Result::errorInfo() const {
    return d->errorInfo;
}

void Result::showError(const CodeLocation& location, int x, int y) const {
    ShowErrorHook& hook = showErrorHook();
    hook.mutex.lock();
    const ShowErrorHandler handler = hook.handler;
    void* const context = hook.context;
    hook.mutex.unlock();
    // Called outside the lock, so that a handler may show further errors or replace itself.
    handler(errorInfo(), location, x, y, context);
}

Result::ShowErrorHandler Result::setShowErrorHandler(ShowErrorHandler handler, void* context,
                                                     void** previousContext) {
    ShowErrorHook& hook = showErrorHook();
    ScopedLock<Mutex> lock(hook.mutex);
    const ShowErrorHandler previous = hook.handler;
    if (previousContext) *previousContext = hook.context;
    hook.handler = handler ? handler : &Result::defaultShowErrorHandler;
    hook.context = handler ? context : nullptr;
    return previous;
}

void Result::defaultShowErrorHandler(const ErrorInfo& errorInfo, const CodeLocation& location, int,
                                     int, void*) {
    const std::string text =
        "Error shown at " + location.asString().str() + "\n" + errorInfo.asLongString().str();
    std::fputs(text.c_str(), stderr);
    std::fflush(stderr);
}

} // namespace Core
} // namespace Orvane
