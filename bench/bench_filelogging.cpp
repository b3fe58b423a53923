// Log lines from the logger call to the file: the file logging handler with its default format
// and rotation on, against spdlog's rotating_file_sink_mt with the equivalent pattern, Poco's
// FileChannel behind a PatternFormatter, and the physical limit (a line formatted beforehand
// written by one fwrite, or one write per line).
//
// Two flush policies: "line" (every line reaches the system before the call returns; spdlog with
// flush_on(trace), Poco's default) and "buffered" (lines may wait; spdlog's default).
// The counter allocs/line is the number of heap allocations per line in the steady state.
#include "qorcommon/logging.h"
#include "qorcommon/orvanelogginghandler.h"

#include <benchmark/benchmark.h>

#include <atomic>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <new>
#include <string>
#include <thread>

#if defined(QOR_BENCH_WITH_SPDLOG)
#include <spdlog/sinks/rotating_file_sink.h>
#include <spdlog/spdlog.h>
#endif
#if defined(QOR_BENCH_WITH_POCO)
#include <Poco/AutoPtr.h>
#include <Poco/FileChannel.h>
#include <Poco/FormattingChannel.h>
#include <Poco/Logger.h>
#include <Poco/Message.h>
#include <Poco/PatternFormatter.h>
#endif

#if defined(_WIN32)
#include <io.h>
#else
#include <fcntl.h>
#include <unistd.h>
#endif

// ---- allocation counting
// --------------------------------------------------------------------------

namespace {
std::atomic<long long> g_allocations{0};
}

void* operator new(std::size_t size) {
    g_allocations.fetch_add(1, std::memory_order_relaxed);
    if (void* p = std::malloc(size ? size : 1)) return p;
    throw std::bad_alloc();
}
void operator delete(void* p) noexcept {
    std::free(p);
}
void operator delete(void* p, std::size_t) noexcept {
    std::free(p);
}

using namespace Orvane::Core;

namespace {

const bool g_processIsMultiThreaded = [] {
    std::thread([] {}).join();
    return true;
}();

const std::int64_t kMaxSize = 32 * 1024 * 1024;
const char* const kText = "parsing the input data of the request";

std::string outputDir() {
    static const std::string dir = [] {
        const std::filesystem::path path =
            std::filesystem::current_path() / "bench_filelogging_out";
        std::error_code ignored;
        std::filesystem::remove_all(path, ignored);
        std::filesystem::create_directories(path);
        return path.string();
    }();
    return dir;
}

// ---- QorCommon
// ------------------------------------------------------------------------------------

GC<OrvaneLoggingHandler> makeHandler(const std::string& name, bool buffered) {
    GC<OrvaneLoggingSettings> settings(new OrvaneLoggingSettings);
    settings->setLogFile(outputDir() + "/" + name + ".log");
    settings->setDestinations(OrvaneLoggingSettings::ToFile);
    settings->setMaxFileSize(kMaxSize);
    settings->setKeepFiles(2);
    settings->setFormat("Default");
    settings->setFlushPolicy(buffered ? OrvaneLoggingSettings::FlushBuffered
                                      : OrvaneLoggingSettings::FlushEachLine);
    return GC<OrvaneLoggingHandler>(new OrvaneLoggingHandler(settings));
}

GC<OrvaneLoggingHandler> qorHandler(bool buffered) {
    static GC<OrvaneLoggingHandler> line = makeHandler("qor_line", false);
    static GC<OrvaneLoggingHandler> buffer = makeHandler("qor_buffered", true);
    return buffered ? buffer : line;
}

const ModuleInfo kModule("bench", "exe", Version(1, 0, 0));

void runQor(benchmark::State& state, const GC<Logger>& logger) {
    const LogEntry entry = LogEntry::fromGeneralMessage(
        kText, CodeLocation("parser.cpp", 42, "Parser::run", CodeLocation::Plain));
    // Warm up so that the counted loop sees the steady state.
    logger->addEntry(Logger::Info, entry, DateTime::now(), 0);
    const long long before = g_allocations.load();
    for (auto _ : state)
        logger->addEntry(Logger::Info, entry, DateTime::now(), 0);
    state.counters["allocs/line"] =
        benchmark::Counter(static_cast<double>(g_allocations.load() - before) /
                           static_cast<double>(state.iterations()) / state.threads());
    state.SetItemsProcessed(state.iterations());
}

void Qor_Line(benchmark::State& state) {
    static GC<Logger> shared = qorHandler(false)->getLogger(kModule);
    // Argument 1: each thread its own logger (same file).
    const GC<Logger> logger = state.range(0) ? qorHandler(false)->getLogger(kModule) : shared;
    runQor(state, logger);
}
BENCHMARK(Qor_Line)->Arg(0)->Threads(1)->Threads(4)->UseRealTime();
BENCHMARK(Qor_Line)->Arg(1)->Threads(4)->UseRealTime();

void Qor_Buffered(benchmark::State& state) {
    static GC<Logger> shared = qorHandler(true)->getLogger(kModule);
    const GC<Logger> logger = state.range(0) ? qorHandler(true)->getLogger(kModule) : shared;
    runQor(state, logger);
}
BENCHMARK(Qor_Buffered)->Arg(0)->Threads(1)->Threads(4)->UseRealTime();
BENCHMARK(Qor_Buffered)->Arg(1)->Threads(4)->UseRealTime();

// The clock alone, as every line above reads it.
void Qor_DateTimeNow(benchmark::State& state) {
    for (auto _ : state)
        benchmark::DoNotOptimize(DateTime::now());
}
BENCHMARK(Qor_DateTimeNow);

// ---- spdlog
// ---------------------------------------------------------------------------------------

#if defined(QOR_BENCH_WITH_SPDLOG)
std::shared_ptr<spdlog::sinks::rotating_file_sink_mt> spdlogSink(bool flushEachLine) {
    static auto line = std::make_shared<spdlog::sinks::rotating_file_sink_mt>(
        outputDir() + "/spdlog_line.log", kMaxSize, 2);
    static auto buffered = std::make_shared<spdlog::sinks::rotating_file_sink_mt>(
        outputDir() + "/spdlog_buffered.log", kMaxSize, 2);
    return flushEachLine ? line : buffered;
}

std::shared_ptr<spdlog::logger> makeSpdlog(bool flushEachLine) {
    auto logger = std::make_shared<spdlog::logger>("bench", spdlogSink(flushEachLine));
    logger->set_pattern("%t: %Y-%m-%dT%H:%M:%S.%e %v [%n] {%s:%#}");
    if (flushEachLine) logger->flush_on(spdlog::level::trace);
    return logger;
}

void runSpdlog(benchmark::State& state, const std::shared_ptr<spdlog::logger>& logger) {
    const spdlog::source_loc where{"parser.cpp", 42, "Parser::run"};
    logger->log(where, spdlog::level::info, "Info: {}", kText);
    const long long before = g_allocations.load();
    for (auto _ : state)
        logger->log(where, spdlog::level::info, "Info: {}", kText);
    state.counters["allocs/line"] =
        benchmark::Counter(static_cast<double>(g_allocations.load() - before) /
                           static_cast<double>(state.iterations()) / state.threads());
    state.SetItemsProcessed(state.iterations());
}

void Spdlog_Line(benchmark::State& state) {
    static auto shared = makeSpdlog(true);
    runSpdlog(state, state.range(0) ? makeSpdlog(true) : shared);
}
BENCHMARK(Spdlog_Line)->Arg(0)->Threads(1)->Threads(4)->UseRealTime();
BENCHMARK(Spdlog_Line)->Arg(1)->Threads(4)->UseRealTime();

void Spdlog_Buffered(benchmark::State& state) {
    static auto shared = makeSpdlog(false);
    runSpdlog(state, state.range(0) ? makeSpdlog(false) : shared);
}
BENCHMARK(Spdlog_Buffered)->Arg(0)->Threads(1)->Threads(4)->UseRealTime();
BENCHMARK(Spdlog_Buffered)->Arg(1)->Threads(4)->UseRealTime();
#endif

// ---- Poco
// -----------------------------------------------------------------------------------------

#if defined(QOR_BENCH_WITH_POCO)
Poco::Logger& pocoLogger() {
    static Poco::Logger& logger = []() -> Poco::Logger& {
        Poco::AutoPtr<Poco::FileChannel> file(new Poco::FileChannel(outputDir() + "/poco.log"));
        file->setProperty("rotation", std::to_string(kMaxSize / (1024 * 1024)) + " M");
        file->setProperty("archive", "timestamp");
        file->setProperty("purgeCount", "2");
        file->setProperty("flush", "true");
        Poco::AutoPtr<Poco::PatternFormatter> formatter(
            new Poco::PatternFormatter("%I: %Y-%m-%dT%H:%M:%S.%i %t [%s] {%U:%u}"));
        formatter->setProperty("times", "local");
        Poco::AutoPtr<Poco::FormattingChannel> channel(
            new Poco::FormattingChannel(formatter, file));
        Poco::Logger& made = Poco::Logger::get("bench");
        made.setChannel(channel);
        made.setLevel(Poco::Message::PRIO_TRACE);
        return made;
    }();
    return logger;
}

void Poco_Line(benchmark::State& state) {
    Poco::Logger& logger = pocoLogger();
    const std::string text = std::string("Info: ") + kText;
    const long long before = g_allocations.load();
    for (auto _ : state)
        logger.log(Poco::Message("bench", text, Poco::Message::PRIO_INFORMATION, "parser.cpp", 42));
    state.counters["allocs/line"] =
        benchmark::Counter(static_cast<double>(g_allocations.load() - before) /
                           static_cast<double>(state.iterations()) / state.threads());
    state.SetItemsProcessed(state.iterations());
}
BENCHMARK(Poco_Line)->Threads(1)->Threads(4)->UseRealTime();
#endif

// ---- the physical limit
// ---------------------------------------------------------------------------

const std::string& preformattedLine() {
    static const std::string line = std::string("0000abcd: 2026-11-23T01:30:00.123 Info: ") +
                                    kText + " [bench] {parser.cpp:42}\n";
    return line;
}

// Lines formatted beforehand through one buffered fwrite each.
void Limit_Fwrite(benchmark::State& state) {
    static std::FILE* file = std::fopen((outputDir() + "/limit_fwrite.log").c_str(), "ab");
    const std::string& line = preformattedLine();
    for (auto _ : state)
        std::fwrite(line.data(), 1, line.size(), file);
    state.SetItemsProcessed(state.iterations());
}
BENCHMARK(Limit_Fwrite)->UseRealTime();

// One write system call per line, as the "line" policy needs at least.
void Limit_WritePerLine(benchmark::State& state) {
#if defined(_WIN32)
    static int fd = _open((outputDir() + "/limit_write.log").c_str(),
                          _O_WRONLY | _O_APPEND | _O_CREAT | _O_BINARY, 0666);
    const std::string& line = preformattedLine();
    for (auto _ : state)
        benchmark::DoNotOptimize(_write(fd, line.data(), static_cast<unsigned>(line.size())));
#else
    static int fd =
        ::open((outputDir() + "/limit_write.log").c_str(), O_WRONLY | O_APPEND | O_CREAT, 0666);
    const std::string& line = preformattedLine();
    for (auto _ : state)
        benchmark::DoNotOptimize(::write(fd, line.data(), line.size()));
#endif
    state.SetItemsProcessed(state.iterations());
}
BENCHMARK(Limit_WritePerLine)->UseRealTime();

} // namespace
