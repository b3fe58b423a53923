// The library's only view of the operating system. Everything outside src/platform/ calls these
// functions; src/platform/posix/ and src/platform/win32/ implement them. Texts crossing this
// interface (paths, names, environment values, error texts) are UTF-8.
//
// Not part of the installed headers and not exported: the test suite reaches these functions
// through the static library.
#pragma once

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
long currentThreadId();
/// The system's id of this process.
long currentProcessId();
/// Whether the thread with this id still runs in this process.
bool isThreadAlive(long threadId);
/// Gives up the rest of the calling thread's time slice.
void yieldThread();
/// Sleeps the calling thread for at least this many milliseconds.
void sleepMs(long milliseconds);

/// Called with the id of a thread once the thread has ended, for every thread that called
/// armThreadExitHook() before. One hook per process; set it once before threads arm it. On POSIX
/// the hook runs on the ending thread; on Win32 it runs later, from runPendingThreadExits().
using ThreadExitHook = void (*)(long threadId);
void setThreadExitHook(ThreadExitHook hook);
/// Makes sure the hook runs when the calling thread ends; cheap after the first call per thread.
void armThreadExitHook();

/// The calling thread's serial: a number given on the thread's first call, never given to another
/// thread of this process. The system reuses thread ids; an id with its serial names one thread.
std::uint64_t currentThreadSerial();
/// Whether the thread with this id and serial still runs. Exact for threads that took a serial:
/// their end is recorded as they end, before anyone can join them.
bool isThreadAlive(long threadId, std::uint64_t serial);
/// Runs the exit hook for threads whose end was recorded but not yet reported. The Win32 loader
/// tells the library of a thread's end under its lock, where no callback may run, so there the
/// hook runs only here, on the thread that calls this; on POSIX it runs on the ending thread and
/// this finds nothing to do. Cheap when nothing waits.
void runPendingThreadExits();

/// A non-recursive mutex without heap allocation.
class Mutex {
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
class RecursiveMutex {
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
class Semaphore {
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
class Thread {
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
class PeriodicTimer {
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

// ---- thread names (threadnames.cpp) ------------------------------------------------------------

/// Names the calling thread for debuggers and process viewers (pthread_setname_np /
/// SetThreadDescription). Linux keeps the first 15 bytes, cut at a character boundary. False when
/// the system has no such service or refuses the name.
bool setCurrentThreadName(const std::string& name);
/// The calling thread's name as the system knows it; empty when it has none or cannot tell.
std::string currentThreadName();

// ---- environment and process information -----------------------------------------------------

/// Reads an environment variable; false when it is not set.
bool getEnv(const std::string& name, std::string& value);
bool setEnv(const std::string& name, const std::string& value);
bool unsetEnv(const std::string& name);
/// The whole environment as name/value pairs.
std::vector<std::pair<std::string, std::string>> environment();
/// The process's command-line arguments, the program name first
/// (Win32: GetCommandLineW + CommandLineToArgvW; Linux: the process's own argument vector).
std::vector<std::string> commandLineArguments();
std::string currentDirectory();
bool setCurrentDirectory(const std::string& path);
/// Full path of the running executable.
std::string executablePath();
/// Full path of the library's own shared object / DLL.
std::string libraryPath();
std::string userName();
std::string computerName();
/// A short description of the operating system and its version.
std::string operatingSystemVersion();
/// Text of the calling thread's last system error (errno / GetLastError).
std::string lastSystemErrorText();

// ---- dynamic libraries -------------------------------------------------------------------------

/// Loads a library; null on failure with the system's text in `error`.
void* loadLibrary(const std::string& path, std::string& error);
void* findSymbol(void* library, const char* name, std::string& error);
bool unloadLibrary(void* library, std::string& error);
/// Adds a folder searched for the dependencies of libraries loaded later (Win32:
/// SetDllDirectoryW); on POSIX the folder is tried first for relative names.
bool setLibraryDirectory(const std::string& path);

// ---- files -------------------------------------------------------------------------------------

char pathSeparator();
/// True for any existing entry, folders included.
bool fileExists(const std::string& path);
bool isDirectory(const std::string& path);
/// Size in bytes, -1 when the file cannot be examined or is a folder.
std::int64_t fileSize(const std::string& path);
/// Creates the folder and every missing parent; true when it exists afterwards.
bool createDirectories(const std::string& path, std::string& error);
/// Renames a file, replacing an existing target.
bool renameFile(const std::string& from, const std::string& to, std::string& error);
bool copyFile(const std::string& from, const std::string& to, bool overwrite, std::string& error);
bool removeFile(const std::string& path, std::string& error);
/// Matches a file name against a pattern with "*" and "?" (PathMatchSpecW / fnmatch); an
/// empty pattern and "*.*" match every name. Case matters on POSIX only, as in the file systems.
bool matchFileName(const std::string& name, const std::string& pattern);
/// Opens a file with a C library mode ("rb", "wb", ...); other processes keep read and write
/// access to it meanwhile (Win32: _wfsopen with _SH_DENYNO). Null on failure.
std::FILE* openFile(const std::string& path, const char* mode);
/// Names (not paths) of the entries of a folder that match the pattern, sorted.
std::vector<std::string> listDirectory(const std::string& folder, const std::string& pattern);

/// Replaces the contents of a file so that, whatever happens meanwhile (a crash, a full disk,
/// the process killed), the file holds either its old contents or the whole new ones. The data
/// goes to a temporary file beside the target, made exclusively under an unpredictable name, is
/// flushed to disk and renamed over the target. The target keeps its permissions (and owner
/// where the process may set it); a symbolic link is written through, staying a link. On any
/// failure the target is untouched, no temporary is left, and `error` says why.
bool replaceFileContents(const std::string& path, const void* data, std::size_t size,
                         std::string& error);

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
bool fileIdentity(const std::string& path, FileIdentity& out);

/// A file opened for appending, created when missing. Each write lands whole at the end of the
/// file even while other processes append to it (O_APPEND / FILE_APPEND_DATA), and the file can
/// be renamed or deleted while it is open (Win32: shared for reading, writing and deletion).
class AppendFile {
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
class FileLock {
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
bool appendsAreAtomic();

/// Renames a file unless the target exists; `targetExists` tells that case apart from others.
bool renameFileNoReplace(const std::string& from, const std::string& to, bool& targetExists,
                         std::string& error);

// ---- time --------------------------------------------------------------------------------------

/// Milliseconds since the POSIX epoch, UTC (GetSystemTimeAsFileTime / clock_gettime).
std::int64_t currentTimeMs();
/// Nanoseconds of a monotonic clock (QueryPerformanceCounter / CLOCK_MONOTONIC).
std::uint64_t monotonicNs();
/// Calendar fields of a POSIX time in local time / in UTC; false when out of range.
bool localTime(std::int64_t posixSeconds, std::tm& out);
bool utcTime(std::int64_t posixSeconds, std::tm& out);
/// POSIX time of calendar fields read as local time (mktime) / as UTC (timegm / _mkgmtime).
std::int64_t makeLocalTime(std::tm fields);
std::int64_t makeUtcTime(std::tm fields);

// ---- text encodings ----------------------------------------------------------------------------

/// Converts between the locale's code page (Win32: CP_ACP; POSIX: the C library's current
/// locale) and UTF-16; false when a character cannot be converted.
bool localeToUtf16(const std::string& text, std::u16string& out);
bool utf16ToLocale(const std::u16string& text, std::string& out);

// ---- platform utilities: folders, processes, shared memory, version resources ----------------

/// Whether the process's standard output (1) or standard error (2) is an interactive terminal.
bool isTerminal(int stream);
/// Lets the terminal on that stream interpret ANSI colour sequences (Win32 consoles switch them
/// on per console); false when the stream is no terminal or the terminal cannot.
bool enableColourSequences(int stream);

/// Removes an empty folder.
bool removeDirectory(const std::string& path, std::string& error);
/// Starts `program` with `arguments` (the program name not among them), waits for it to end and
/// returns its exit code; -1 with the system's text in `error` when it cannot be started, is
/// ended by a signal or cannot be waited for.
int runProcess(const std::string& program, const std::vector<std::string>& arguments,
               std::string& error);

/// One mapping of a named shared-memory block. `handle` is the Win32 mapping handle (POSIX needs
/// none once the block is mapped).
struct SharedMapping {
    void* address = nullptr;
    std::size_t length = 0;
    void* handle = nullptr;
};
/// Creates the named block of `length` bytes, zero-filled, and maps it; fails when the name
/// exists. Names are plain words without "/" or "\\".
bool createSharedMemory(const std::string& name, std::size_t length, SharedMapping& mapping,
                        std::string& error);
/// Maps an existing block; `mapping.length` is the whole mapped length (Win32: page-rounded).
bool openSharedMemory(const std::string& name, SharedMapping& mapping, std::string& error);
/// Unmaps; the mapping is empty afterwards.
void closeSharedMemory(SharedMapping& mapping);
/// Removes the name (POSIX shm_unlink); on Win32 a block ends with its last handle, so this
/// only reports success.
bool removeSharedMemory(const std::string& name, std::string& error);

/// The file version of a file's version resource as "major.minor.build.revision"; empty when it
/// has none (always on POSIX, where executables carry no such resource).
std::string fileVersion(const std::string& path);

// ---- console input (console.cpp) ---------------------------------------------------------------

/// Whether standard input is an interactive terminal (isatty / a console handle).
bool isStandardInputTerminal();
/// Reads one line of standard input without its line end (UTF-8); false at end of input with
/// nothing read. Without `echo` a terminal does not show what is typed (for passwords), nor the
/// line end: the caller writes one.
bool readStandardInputLine(std::string& line, bool echo);

// ---- name resolution (network.cpp) -------------------------------------------------------------

/// The first address of a host name (or numeric address) in numeric text form through the
/// system resolver, an IPv4 address preferred over an IPv6 one; false with the resolver's text in
/// `error` when the name does not resolve.
bool resolveHost(const std::string& name, std::string& address, std::string& error);

} // namespace Platform
} // namespace Core
} // namespace Orvane
