// A stop watch over the system's monotonic high-resolution clock.
#pragma once

#include "qorcommon/export.h"

#include <cstdint>

namespace Orvane {
namespace Core {

/// Measures elapsed time; the spans between each start() and stop() add up. A small copyable
/// value; one object is used by one thread at a time.
class QORCOMMON_API StopWatch {
public:
    /// A stopped watch showing zero; `startNow` starts it at once.
    explicit StopWatch(bool startNow = false);
    StopWatch(const StopWatch& other);
    StopWatch& operator=(const StopWatch& other);
    ~StopWatch();

    /// Starts (or goes on) counting; no effect while running.
    void start();
    /// Stops counting and keeps the elapsed time; no effect while stopped.
    void stop();
    /// Returns the elapsed nanoseconds, sets the watch to zero and starts it.
    std::int64_t restart();
    /// Stops the watch and sets it to zero.
    void reset();
    bool isRunning() const;

    std::int64_t elapsedNs() const;
    std::int64_t elapsedUs() const;
    std::int64_t elapsedMs() const;

    /// The clock itself: nanoseconds since an arbitrary fixed point.
    static std::int64_t nowNs();

private:
    struct Private;
    Private* d;
};

} // namespace Core
} // namespace Orvane
