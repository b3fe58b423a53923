// Threads with a controlled stop: a stop request that the thread's function polls or sleeps on,
// joins with a time limit, names that debuggers show, and a last-resort forced end.
#pragma once

#include "qorcommon/export.h"

#include <functional>
#include <string>

namespace Orvane {
namespace Core {

class StopSource;

/// The receiving side of a stop request. Copies share one request; a default-made token can
/// never be stopped. Every operation may be called from any thread.
class QORCOMMON_API StopToken {
public:
    StopToken();
    StopToken(const StopToken& other);
    StopToken& operator=(const StopToken& other);
    ~StopToken();

    /// Whether a stop has been requested.
    bool stopRequested() const;
    /// Whether a stop can still be requested through some source.
    bool stopPossible() const;
    /// Sleeps until a stop is requested or timeoutMs milliseconds have passed (negative: no
    /// limit); returns stopRequested(). The way for a worker to pause between rounds. A token
    /// that can never be stopped sleeps the time given, or returns false at once without limit.
    bool waitForStop(long timeoutMs) const;

private:
    friend class StopSource;
    friend class Thread;
    struct Private;
    explicit StopToken(Private* state);
    Private* d;
};

/// The asking side of a stop request. Every operation may be called from any thread.
class QORCOMMON_API StopSource {
public:
    StopSource();
    ~StopSource();
    StopSource(const StopSource&) = delete;
    StopSource& operator=(const StopSource&) = delete;

    /// Requests the stop and wakes every waitForStop(); true for the call that made the request.
    bool requestStop();
    bool stopRequested() const;
    StopToken token() const;

private:
    StopToken::Private* d;
};

/// A thread running one function with a stop token. The destructor requests a stop and waits
/// for the thread to end. requestStop, stopRequested, stopToken, isRunning, threadId and name
/// may be called from any thread; start, join, terminate and the destructor belong to the owner.
class QORCOMMON_API Thread {
public:
    using Function = std::function<void(const StopToken&)>;

    Thread();
    /// A thread that will carry `name` (see setName).
    explicit Thread(const std::string& name);
    ~Thread();
    Thread(const Thread&) = delete;
    Thread& operator=(const Thread&) = delete;

    /// The name given to the next run's system thread, for debuggers and process viewers.
    void setName(const std::string& name);
    std::string name() const;

    /// Runs `function` on a new thread with a fresh stop request. False when the function is
    /// empty, the thread still runs, or the system cannot make a thread.
    bool start(Function function);
    /// Asks the running function to stop; true when this call made the request.
    bool requestStop();
    bool stopRequested() const;
    /// The token of the current (or last) run; an inert token before the first start.
    StopToken stopToken() const;
    /// Waits at most timeoutMs (negative: no limit) for the thread to end; true when it has
    /// ended or never ran. False from the thread itself, which cannot wait for its own end.
    bool join(long timeoutMs = -1);
    /// requestStop() and join(timeoutMs).
    bool stopAndJoin(long timeoutMs = -1);
    /// Last resort, unsafe: ends the thread without letting it clean up. On Windows the thread
    /// is terminated, and locks it held stay locked for ever; on POSIX a thread cannot be ended
    /// from outside, so it is detached and left to finish, and the call returns false.
    bool terminate();
    /// stopAndJoin(timeoutMs), then terminate() when the thread has not ended; true when it
    /// ended by itself.
    bool stopOrTerminate(long timeoutMs);
    bool isRunning() const;
    /// The system id of the running thread, -1 when none runs.
    long threadId() const;

    /// The system id of the calling thread.
    static long currentThreadId();
    /// The stop token of the Thread that runs the caller; an inert token on other threads.
    static StopToken currentStopToken();
    static void sleep(long milliseconds);
    static void yield();
    /// Names the calling thread for debuggers (Linux keeps 15 bytes); false when refused.
    static bool setCurrentThreadName(const std::string& name);
    /// The calling thread's name as the system knows it; empty when unknown.
    static std::string currentThreadName();

private:
    struct Private;
    Private* d;
};

} // namespace Core
} // namespace Orvane
