// Start-up and shut-down of the framework with a typical configuration and the file logging
// handler, and the cost of a service getter once started, against a plain atomic load (the
// floor) and a getter that copies the handle under a mutex (what a locked getter would cost).
#include "qorcommon/c/framework.h"
#include "qorcommon/framework.h"
#include "qorcommon/mutex.h"

#include <benchmark/benchmark.h>

#include <atomic>
#include <cstdio>
#include <filesystem>
#include <fstream>
#include <string>

using namespace Orvane::Core;

namespace {

/// A scratch folder with the configuration a host usually ships: the file handler, the
/// environment after it, the file logging handler writing into the folder.
std::string typicalConfig() {
    static const std::string path = [] {
        const std::filesystem::path dir =
            std::filesystem::temp_directory_path() / "qor_bench_framework";
        std::filesystem::create_directories(dir);
        const std::string file = (dir / "orvane.cfg").string();
        std::ofstream(file) << "[GLOBAL]\n"
                               "APP_NAME = benchhost\n"
                               "APP_VERSION = 1.0.0\n"
                               "CONFIG_HANDLER = envvar\n"
                               "LOGGING_HANDLER = orvanelog\n"
                               "CORE_ENCODING = utf8\n"
                               "[ORVANE_LOGGING_HANDLER]\n"
                               "LOG_FILE = "
                            << (dir / "bench.log").string()
                            << "\n"
                               "LOG_LEVEL = Level 3\n"
                               "LOG_FILE_SIZE = 1048576\n";
        return file;
    }();
    return path;
}

// Shut-down writes its stages to standard error; the benchmark's own report goes to standard
// output, so the lines are sent away once for the whole run.
void quietStandardError() {
    static const bool done = std::freopen("/dev/null", "w", stderr) != nullptr;
    (void)done;
}

void BM_InitDeinit(benchmark::State& state) {
    const std::string config = typicalConfig();
    quietStandardError();
    for (auto _ : state) {
        qor_Instance_ptr host = qor_Init2(config.c_str(), nullptr);
        benchmark::DoNotOptimize(host.obj);
        qor_Deinit();
    }
}
BENCHMARK(BM_InitDeinit)->Unit(benchmark::kMillisecond);

struct Started {
    Started() {
        quietStandardError();
        host = QOR::init(typicalConfig().c_str(), ModuleInfo(), {});
        // Make the services once, as start-up does.
        host->globals()->getLoggingHandler();
    }
    QOR::Instance* host = nullptr;
};

QOR::Globals* started() {
    static Started instance;
    return instance.host->globals();
}

void BM_GetLoggingHandler(benchmark::State& state) {
    QOR::Globals* globals = started();
    for (auto _ : state) {
        GC<LoggingHandler> handler = globals->getLoggingHandler();
        benchmark::DoNotOptimize(handler.ptr());
    }
}
BENCHMARK(BM_GetLoggingHandler)->Threads(1)->Threads(2);

void BM_GetConfigHandler(benchmark::State& state) {
    QOR::Globals* globals = started();
    for (auto _ : state) {
        GC<ConfigHandler> chain = globals->getConfigHandler();
        benchmark::DoNotOptimize(chain.ptr());
    }
}
BENCHMARK(BM_GetConfigHandler)->Threads(1)->Threads(2);

std::atomic<LoggingHandler*> plainPointer{nullptr};

void BM_PlainAtomicLoad(benchmark::State& state) {
    plainPointer.store(started()->getLoggingHandler().ptr());
    for (auto _ : state) {
        LoggingHandler* handler = plainPointer.load(std::memory_order_acquire);
        benchmark::DoNotOptimize(handler);
    }
}
BENCHMARK(BM_PlainAtomicLoad)->Threads(1)->Threads(2);

Mutex lockedMutex;
GC<LoggingHandler> lockedHandler;

void BM_LockedHandleCopy(benchmark::State& state) {
    if (state.thread_index() == 0) {
        MutexLocker lock(lockedMutex);
        lockedHandler = started()->getLoggingHandler();
    }
    for (auto _ : state) {
        MutexLocker lock(lockedMutex);
        GC<LoggingHandler> handler = lockedHandler;
        benchmark::DoNotOptimize(handler.ptr());
    }
}
BENCHMARK(BM_LockedHandleCopy)->Threads(1)->Threads(2);

} // namespace
