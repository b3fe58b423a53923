#include "qorcommon/assertion.h"

#include <atomic>
#include <cstdio>
#include <mutex>

namespace Orvane {
namespace Core {
namespace {

void writeToStandardError(const char* expression, const char* file, int line, void*) {
    std::fprintf(stderr, "QorCommon: assertion failed: %s (%s:%d)\n", expression ? expression : "",
                 file ? file : "", line);
    std::fflush(stderr);
}

struct HandlerSlot {
    std::mutex mutex;
    AssertionHandler handler = &writeToStandardError;
    void* context = nullptr;
};

HandlerSlot& slot() {
    static HandlerSlot instance;
    return instance;
}

std::atomic<unsigned long> failures{0};

} // namespace

AssertionHandler setAssertionHandler(AssertionHandler handler, void* context,
                                     void** previousContext) {
    HandlerSlot& s = slot();
    std::lock_guard<std::mutex> lock(s.mutex);
    AssertionHandler previous = s.handler;
    if (previousContext) *previousContext = s.context;
    s.handler = handler ? handler : &writeToStandardError;
    s.context = handler ? context : nullptr;
    return previous == &writeToStandardError ? nullptr : previous;
}

void reportAssertion(const char* expression, const char* file, int line) {
    failures.fetch_add(1, std::memory_order_relaxed);
    AssertionHandler handler;
    void* context;
    {
        HandlerSlot& s = slot();
        std::lock_guard<std::mutex> lock(s.mutex);
        handler = s.handler;
        context = s.context;
    }
    // Called outside the lock so that a handler may report or replace the handler itself.
    handler(expression, file, line, context);
}

unsigned long assertionCount() {
    return failures.load(std::memory_order_relaxed);
}

} // namespace Core
} // namespace Orvane
