// The stop watch: nanoseconds of the platform's monotonic clock, added up over running spans.
#include "qorcommon/stopwatch.h"

#include "platform/platform.h"

namespace Orvane {
namespace Core {

struct StopWatch::Private {
    std::int64_t startedAt = 0; // clock reading of the running span's start
    std::int64_t stored = 0;    // nanoseconds of the finished spans
    bool running = false;
};

StopWatch::StopWatch(bool startNow) : d(new Private) {
    if (startNow) start();
}

StopWatch::StopWatch(const StopWatch& other) : d(new Private(*other.d)) {}

StopWatch& StopWatch::operator=(const StopWatch& other) {
    *d = *other.d;
    return *this;
}

StopWatch::~StopWatch() {
    delete d;
}

void StopWatch::start() {
    if (d->running) return;
    d->startedAt = nowNs();
    d->running = true;
}

void StopWatch::stop() {
    if (!d->running) return;
    d->stored += nowNs() - d->startedAt;
    d->running = false;
}

std::int64_t StopWatch::restart() {
    const std::int64_t now = nowNs();
    const std::int64_t elapsed = d->stored + (d->running ? now - d->startedAt : 0);
    d->stored = 0;
    d->startedAt = now;
    d->running = true;
    return elapsed;
}

void StopWatch::reset() {
    *d = Private();
}

bool StopWatch::isRunning() const {
    return d->running;
}

std::int64_t StopWatch::elapsedNs() const {
    return d->stored + (d->running ? nowNs() - d->startedAt : 0);
}

std::int64_t StopWatch::elapsedUs() const {
    return elapsedNs() / 1000;
}

std::int64_t StopWatch::elapsedMs() const {
    return elapsedNs() / 1000000;
}

std::int64_t StopWatch::nowNs() {
    return static_cast<std::int64_t>(Platform::monotonicNs());
}

} // namespace Core
} // namespace Orvane
