// One function scope (begin, one entry, end) through a logger that discards everything, and the
// same three messages through an spdlog logger with a null sink when spdlog is available.
//
// Both sides format nothing that they do not have to and write nowhere; what is measured is the
// cost of the logging front end itself: entries, frame stack, elements and the funnel here; the
// level check, the payload formatting and the sink dispatch in spdlog.
#include "qorcommon/logging.h"
#include "qorcommon/logginghandler.h"

#include <benchmark/benchmark.h>

#include <thread>

#if defined(QOR_BENCH_WITH_SPDLOG)
#include <spdlog/logger.h>
#include <spdlog/sinks/null_sink.h>
#endif

using namespace Orvane::Core;

namespace {

const bool g_processIsMultiThreaded = [] {
    std::thread([] {}).join();
    return true;
}();

GC<Logger> voidLogger() {
    static GC<LoggingHandler> handler(new QOR::VoidLoggingHandler);
    static GC<Logger> logger = handler->getLogger("bench", ModuleInfo());
    return logger;
}

// A time taken once, as a caller that stamps several entries alike would pass it.
const DateTime kWhen = DateTime::now();

// The caller passes the time, so no clock is read.
void Frame_NameGivenTime(benchmark::State& state) {
    const GC<Logger> logger = voidLogger();
    const std::string name = "Parser::run";
    const LogEntry entry = LogEntry::fromGeneralMessage("parsing");
    for (auto _ : state) {
        LoggingFrame* frame = LoggingFrame::begin(logger, name, kWhen);
        frame->addEntry(Logger::Info, entry, kWhen);
        LoggingFrame::end(frame, kWhen);
    }
    state.SetItemsProcessed(3 * state.iterations());
}
BENCHMARK(Frame_NameGivenTime)->ThreadRange(1, 2)->UseRealTime();

// The usual call: the clock is read for each entry.
void Frame_NameNow(benchmark::State& state) {
    const GC<Logger> logger = voidLogger();
    const std::string name = "Parser::run";
    for (auto _ : state) {
        LoggingFrame* frame = LoggingFrame::begin(logger, name);
        frame->addEntry(Logger::Info, LogEntry::fromGeneralMessage("parsing"));
        LoggingFrame::end(frame);
    }
    state.SetItemsProcessed(3 * state.iterations());
}
BENCHMARK(Frame_NameNow);

// A frame with a code location, as QOR_LOGGING_SCOPE opens it (location made once).
void Frame_LocationGivenTime(benchmark::State& state) {
    const GC<Logger> logger = voidLogger();
    const CodeLocation where("parser.cpp", 120, "Parser::run", CodeLocation::Plain);
    const LogEntry entry = LogEntry::fromGeneralMessage("parsing");
    for (auto _ : state) {
        LoggingFrame* frame = LoggingFrame::begin(logger, where, kWhen);
        frame->addEntry(Logger::Info, entry, kWhen);
        LoggingFrame::end(frame, kWhen);
    }
    state.SetItemsProcessed(3 * state.iterations());
}
BENCHMARK(Frame_LocationGivenTime);

// With a listener registered, every entry carries the stack list of the thread's frames.
class NullListener : public LoggingListener {
public:
    void onLogEntry(const std::string&, Logger::Priority, const LogEntry& entry,
                    const StringList& stack, const DateTime&, double) override {
        benchmark::DoNotOptimize(&entry);
        benchmark::DoNotOptimize(&stack);
    }
};

void Frame_NestedWithListener(benchmark::State& state) {
    GC<LoggingHandler> handler(new QOR::VoidLoggingHandler);
    const GC<Logger> logger = handler->getLogger("bench", ModuleInfo());
    handler->loggerHelper()->registerListener(GC<LoggingListener>(new NullListener));
    const CodeLocation outerAt("main.cpp", 10, "main", CodeLocation::Plain);
    const CodeLocation innerAt("parser.cpp", 120, "Parser::run", CodeLocation::Plain);
    LoggingFrame* outer = LoggingFrame::begin(logger, outerAt, kWhen);
    const LogEntry entry = LogEntry::fromGeneralMessage("parsing");
    for (auto _ : state) {
        LoggingFrame* frame = LoggingFrame::begin(logger, innerAt, kWhen);
        frame->addEntry(Logger::Info, entry, kWhen);
        LoggingFrame::end(frame, kWhen);
    }
    LoggingFrame::end(outer, kWhen);
    state.SetItemsProcessed(3 * state.iterations());
}
BENCHMARK(Frame_NestedWithListener);

#if defined(QOR_BENCH_WITH_SPDLOG)

spdlog::logger& spdlogNull() {
    static spdlog::logger logger("bench", std::make_shared<spdlog::sinks::null_sink_mt>());
    logger.set_level(spdlog::level::trace);
    return logger;
}

// The same three messages: "begin", the entry, "end".
void Spdlog_NullSinkThreeMessages(benchmark::State& state) {
    spdlog::logger& logger = spdlogNull();
    const std::string name = "Parser::run";
    for (auto _ : state) {
        logger.debug("Begin: {}", name);
        logger.info("parsing");
        logger.debug("End: {}", name);
    }
    state.SetItemsProcessed(3 * state.iterations());
}
BENCHMARK(Spdlog_NullSinkThreeMessages)->ThreadRange(1, 2)->UseRealTime();

#endif

} // namespace
