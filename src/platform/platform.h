// The library's only view of the operating system. Everything outside src/platform/ calls these
// functions; src/platform/posix/ and src/platform/win32/ implement them. Texts crossing this
// interface (paths, names, environment values, error texts) are UTF-8.
//
// The declarations are exported so that the test suite can exercise them directly; they are not
// part of the installed headers.
#pragma once

#include "qorcommon/export.h"

#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <ctime>
#include <functional>
#include <string>
#include <utility>
#include <vector>

namespace Orvane {
namespace Core {
namespace Platform {

// ---- threads and processes -------------------------------------------------------------------

/// The system's id of the calling thread (gettid / GetCurrentThreadId); never -1.
QORCOMMON_API long currentThreadId();
/// The system's id of this process.
QORCOMMON_API long currentProcessId();
/// Whether the thread with this id still runs in this process.
QORCOMMON_API bool isThreadAlive(long threadId);
/// Gives up the rest of the calling thread's time slice.
QORCOMMON_API void yieldThread();
/// Sleeps the calling thread for at least this many milliseconds.
QORCOMMON_API void sleepMs(long milliseconds);

/// Called with the id of a thread as the thread ends, on that thread, for every thread that
/// called armThreadExitHook() before. One hook per process; set it once before threads arm it.
/// On Win32 the hook runs under the loader lock: it must not wait for other threads or load
/// libraries.
using ThreadExitHook = void (*)(long threadId);
QORCOMMON_API void setThreadExitHook(ThreadExitHook hook);
/// Makes sure the hook runs when the calling thread ends; cheap after the first call per thread.
QORCOMMON_API void armThreadExitHook();

/// A non-recursive mutex without heap allocation.
class QORCOMMON_API Mutex {
public:
    Mutex();
    ~Mutex();
    Mutex(const Mutex&) = delete;
    Mutex& operator=(const Mutex&) = delete;
    void lock();
    bool tryLock();
    void unlock();

private:
    alignas(8) unsigned char m_storage[64];
};

/// A mutex that the owning thread may lock again.
class QORCOMMON_API RecursiveMutex {
public:
    RecursiveMutex();
    ~RecursiveMutex();
    RecursiveMutex(const RecursiveMutex&) = delete;
    RecursiveMutex& operator=(const RecursiveMutex&) = delete;
    void lock();
    bool tryLock();
    void unlock();

private:
    alignas(8) unsigned char m_storage[64];
};

/// A counting semaphore.
class QORCOMMON_API Semaphore {
public:
    Semaphore(unsigned initialCount, unsigned maximumCount);
    ~Semaphore();
    Semaphore(const Semaphore&) = delete;
    Semaphore& operator=(const Semaphore&) = delete;
    /// Takes a token without waiting; false when none is free.
    bool tryAcquire();
    /// Takes a token, waiting at most timeoutMs (negative: without limit); false on time-out.
    bool acquire(long timeoutMs);
    /// Gives back `count` tokens; false when that would pass the maximum.
    bool release(unsigned count = 1);

private:
    alignas(8) unsigned char m_storage[64];
};

/// A thread running one function. The destructor waits for the thread to end.
class QORCOMMON_API Thread {
public:
    Thread();
    ~Thread();
    Thread(const Thread&) = delete;
    Thread& operator=(const Thread&) = delete;
    /// Starts the thread; false when it is already running or cannot be created.
    bool start(std::function<void()> body);
    /// Waits at most timeoutMs (negative: without limit) for the thread to end.
    bool join(long timeoutMs);
    /// Ends the thread by force (Win32: TerminateThread). On POSIX a thread cannot be ended
    /// safely from outside, so it is detached and left to finish; the function then returns false.
    bool terminate();
    bool isRunning() const;
    /// The system id of the running thread, -1 when none.
    long threadId() const;

private:
    struct Impl;
    Impl* d;
};

/// A thread that calls a function every period until it is stopped.
class QORCOMMON_API PeriodicTimer {
public:
    PeriodicTimer();
    /// Stops the timer, allowing it twice its period before it is terminated.
    ~PeriodicTimer();
    PeriodicTimer(const PeriodicTimer&) = delete;
    PeriodicTimer& operator=(const PeriodicTimer&) = delete;
    /// Starts calling `tick` every periodMs milliseconds (once only when `repeat` is false).
    bool start(long periodMs, std::function<void()> tick, bool repeat = true);
    /// Asks the timer to stop and waits at most timeoutMs; a timer that has not stopped by then
    /// is terminated (see Thread::terminate). True when it stopped by itself.
    bool stopOrTerminate(long timeoutMs);
    bool isRunning() const;
    long periodMs() const;

private:
    struct Impl;
    Impl* d;
};

// ---- environment and process information -----------------------------------------------------

/// Reads an environment variable; false when it is not set.
QORCOMMON_API bool getEnv(const std::string& name, std::string& value);
QORCOMMON_API bool setEnv(const std::string& name, const std::string& value);
QORCOMMON_API bool unsetEnv(const std::string& name);
/// The whole environment as name/value pairs.
QORCOMMON_API std::vector<std::pair<std::string, std::string>> environment();
/// The process's command-line arguments, the program name first
/// (Win32: GetCommandLineW + CommandLineToArgvW; Linux: the process's own argument vector).
QORCOMMON_API std::vector<std::string> commandLineArguments();
QORCOMMON_API std::string currentDirectory();
QORCOMMON_API bool setCurrentDirectory(const std::string& path);
/// Full path of the running executable.
QORCOMMON_API std::string executablePath();
/// Full path of the library's own shared object / DLL.
QORCOMMON_API std::string libraryPath();
QORCOMMON_API std::string userName();
QORCOMMON_API std::string computerName();
/// A short description of the operating system and its version.
QORCOMMON_API std::string operatingSystemVersion();
/// Text of the calling thread's last system error (errno / GetLastError).
QORCOMMON_API std::string lastSystemErrorText();

// ---- dynamic libraries -------------------------------------------------------------------------

/// Loads a library; null on failure with the system's text in `error`.
QORCOMMON_API void* loadLibrary(const std::string& path, std::string& error);
QORCOMMON_API void* findSymbol(void* library, const char* name, std::string& error);
QORCOMMON_API bool unloadLibrary(void* library, std::string& error);
/// Adds a folder searched for the dependencies of libraries loaded later (Win32:
/// SetDllDirectoryW); on POSIX the folder is tried first for relative names.
QORCOMMON_API bool setLibraryDirectory(const std::string& path);

// ---- files -------------------------------------------------------------------------------------

QORCOMMON_API char pathSeparator();
/// True for any existing entry, folders included.
QORCOMMON_API bool fileExists(const std::string& path);
QORCOMMON_API bool isDirectory(const std::string& path);
/// Size in bytes, -1 when the file cannot be examined or is a folder.
QORCOMMON_API std::int64_t fileSize(const std::string& path);
/// Creates the folder and every missing parent; true when it exists afterwards.
QORCOMMON_API bool createDirectories(const std::string& path, std::string& error);
/// Renames a file, replacing an existing target.
QORCOMMON_API bool renameFile(const std::string& from, const std::string& to, std::string& error);
QORCOMMON_API bool copyFile(const std::string& from, const std::string& to, bool overwrite,
                            std::string& error);
QORCOMMON_API bool removeFile(const std::string& path, std::string& error);
/// Matches a file name against a pattern with "*" and "?" (PathMatchSpecW / fnmatch); an
/// empty pattern and "*.*" match every name. Case matters on POSIX only, as in the file systems.
QORCOMMON_API bool matchFileName(const std::string& name, const std::string& pattern);
/// Opens a file with a C library mode ("rb", "wb", ...); other processes keep read and write
/// access to it meanwhile (Win32: _wfsopen with _SH_DENYNO). Null on failure.
QORCOMMON_API std::FILE* openFile(const std::string& path, const char* mode);
/// Names (not paths) of the entries of a folder that match the pattern, sorted.
QORCOMMON_API std::vector<std::string> listDirectory(const std::string& folder,
                                                     const std::string& pattern);

// ---- log files shared between threads and processes --------------------------------------------

/// What makes a file the same file under any name: device and inode (POSIX), volume serial number
/// and file index (Win32).
struct FileIdentity {
    std::uint64_t device = 0;
    std::uint64_t index = 0;
    bool operator==(const FileIdentity& other) const {
        return device == other.device && index == other.index;
    }
    bool operator!=(const FileIdentity& other) const { return !(*this == other); }
};

/// The identity of the file at `path`; false when there is none.
QORCOMMON_API bool fileIdentity(const std::string& path, FileIdentity& out);

/// A file opened for appending, created when missing. Each write lands whole at the end of the
/// file even while other processes append to it (O_APPEND / FILE_APPEND_DATA), and the file can
/// be renamed or deleted while it is open (Win32: shared for reading, writing and deletion).
class QORCOMMON_API AppendFile {
public:
    AppendFile();
    ~AppendFile();
    AppendFile(const AppendFile&) = delete;
    AppendFile& operator=(const AppendFile&) = delete;

    bool open(const std::string& path, std::string& error);
    void close();
    bool isOpen() const;
    /// Writes all bytes with one system call where the system takes them at once.
    bool write(const char* data, std::size_t size, std::string& error);
    /// The size of the open file, -1 on failure.
    std::int64_t size() const;
    bool identity(FileIdentity& out) const;

private:
    std::intptr_t m_handle;
};

/// An advisory lock on a side file, excluding other holders in this and in other processes
/// (flock / LockFileEx). The lock file is created when missing and left in place.
class QORCOMMON_API FileLock {
public:
    FileLock();
    ~FileLock();
    FileLock(const FileLock&) = delete;
    FileLock& operator=(const FileLock&) = delete;

    bool open(const std::string& path, std::string& error);
    bool isOpen() const;
    /// Waits for the lock; false when the file is not open or the system refuses.
    bool lock();
    void unlock();

private:
    std::intptr_t m_handle;
};

/// Whether appends of several processes to one file land whole without further locking: true on
/// POSIX and Windows; false under Wine, whose append mode seeks to the end and then writes.
QORCOMMON_API bool appendsAreAtomic();

/// Renames a file unless the target exists; `targetExists` tells that case apart from others.
QORCOMMON_API bool renameFileNoReplace(const std::string& from, const std::string& to,
                                       bool& targetExists, std::string& error);

/// Runs a program with the arguments (the program name not among them), waits for it and returns
/// its exit code; -1 when it could not be started.
QORCOMMON_API int runProcess(const std::string& program, const std::vector<std::string>& arguments);

// ---- time --------------------------------------------------------------------------------------

/// Milliseconds since the POSIX epoch, UTC (GetSystemTimeAsFileTime / clock_gettime).
QORCOMMON_API std::int64_t currentTimeMs();
/// Nanoseconds of a monotonic clock (QueryPerformanceCounter / CLOCK_MONOTONIC).
QORCOMMON_API std::uint64_t monotonicNs();
/// Calendar fields of a POSIX time in local time / in UTC; false when out of range.
QORCOMMON_API bool localTime(std::int64_t posixSeconds, std::tm& out);
QORCOMMON_API bool utcTime(std::int64_t posixSeconds, std::tm& out);
/// POSIX time of calendar fields read as local time (mktime) / as UTC (timegm / _mkgmtime).
QORCOMMON_API std::int64_t makeLocalTime(std::tm fields);
QORCOMMON_API std::int64_t makeUtcTime(std::tm fields);

// ---- text encodings ----------------------------------------------------------------------------

/// Converts between the locale's code page (Win32: CP_ACP; POSIX: the C library's current
/// locale) and UTF-16; false when a character cannot be converted.
QORCOMMON_API bool localeToUtf16(const std::string& text, std::u16string& out);
QORCOMMON_API bool utf16ToLocale(const std::u16string& text, std::string& out);

} // namespace Platform
} // namespace Core
} // namespace Orvane
