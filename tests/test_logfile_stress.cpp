// Many writers on one rotating log file: threads of one process, and several processes (this
// program started again with "--log-child").
#include "qorcommon/logging.h"
#include "qorcommon/orvanelogginghandler.h"

#include "platform/platform.h"
#include "testsupport.h"

#include <gtest/gtest.h>

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <map>
#include <string>
#include <thread>
#include <vector>

using namespace Orvane::Core;
namespace fs = std::filesystem;

namespace {

const ModuleInfo kModule("stress", "exe", Version(1, 0, 0));
const std::string kPayload = "-abcdefghijklmnopqrstuvwxyz-0123456789";

GC<OrvaneLoggingSettings> stressSettings(const std::string& path, std::int64_t maxSize) {
    GC<OrvaneLoggingSettings> settings(new OrvaneLoggingSettings);
    settings->setLogFile(path);
    settings->setDestinations(OrvaneLoggingSettings::ToFile);
    settings->setMaxFileSize(maxSize);
    settings->setFormat("$(text)");
    return settings;
}

std::string lineText(const std::string& writer, int index) {
    return writer + ":" + std::to_string(index) + kPayload;
}

void writeLines(const GC<Logger>& logger, const std::string& writer, int count) {
    const DateTime now = DateTime::now();
    for (int i = 0; i < count; ++i)
        logger->addEntry(Logger::Info, LogEntry::fromGeneralMessage(lineText(writer, i)), now, 0);
}

// A child process: "--log-child <path> <writer> <count> <max size>".
struct ChildMode {
    ChildMode() {
        const std::vector<std::string> args = Platform::commandLineArguments();
        if (args.size() != 6 || args[1] != "--log-child") return;
        {
            OrvaneLoggingHandler handler(stressSettings(args[2], std::atoll(args[5].c_str())));
            writeLines(handler.getLogger(kModule), args[3], std::atoi(args[4].c_str()));
        }
        std::exit(0);
    }
} childMode;

// Every line of every file of the log's folder that belongs to the log: writer -> indices seen.
struct Census {
    std::map<std::string, std::vector<int>> counts;
    std::size_t files = 0;
    std::size_t broken = 0;
};

Census census(const std::string& folder, const std::string& base, int perWriter) {
    Census result;
    for (const auto& item : fs::directory_iterator(folder)) {
        const std::string name = item.path().filename().string();
        if (name.compare(0, base.size(), base) != 0 || name.find(".lock") != std::string::npos)
            continue;
        ++result.files;
        std::ifstream in(item.path(), std::ios::binary);
        std::string line;
        while (std::getline(in, line)) {
            const std::size_t colon = line.find(':');
            const std::size_t payload = line.find(kPayload);
            if (colon == std::string::npos || payload == std::string::npos ||
                payload + kPayload.size() != line.size()) {
                ++result.broken;
                continue;
            }
            std::vector<int>& seen = result.counts[line.substr(0, colon)];
            if (seen.empty()) seen.assign(static_cast<std::size_t>(perWriter), 0);
            const int index = std::atoi(line.c_str() + colon + 1);
            if (index < 0 || index >= perWriter || lineText(line.substr(0, colon), index) != line)
                ++result.broken;
            else
                ++seen[static_cast<std::size_t>(index)];
        }
    }
    return result;
}

void expectEveryLineOnce(const Census& result, int writers) {
    EXPECT_EQ(result.broken, 0u);
    ASSERT_EQ(result.counts.size(), static_cast<std::size_t>(writers));
    for (const auto& writer : result.counts) {
        int missing = 0, doubled = 0;
        for (int count : writer.second) {
            missing += count == 0;
            doubled += count > 1;
        }
        EXPECT_EQ(missing, 0) << writer.first;
        EXPECT_EQ(doubled, 0) << writer.first;
    }
}

} // namespace

TEST(LogFileStress, EightThreadsWithATinyMaximumSize) {
    QorTest::ScratchDir dir("stress_threads");
    const int threads = 8, lines = 50000;
    {
        OrvaneLoggingHandler handler(stressSettings(dir.file("s.log"), 16 * 1024));
        std::vector<std::thread> workers;
        for (int t = 0; t < threads; ++t) {
            workers.emplace_back([&handler, t] {
                writeLines(handler.getLogger(kModule), "t" + std::to_string(t), lines);
            });
        }
        for (std::thread& worker : workers)
            worker.join();
    }
    const Census result = census(dir.path(), "s", lines);
    EXPECT_GT(result.files, 100u);
    expectEveryLineOnce(result, threads);
}

TEST(LogFileStress, FourProcessesShareOneRotatingFile) {
    QorTest::ScratchDir dir("stress_processes");
    const int processes = 4, lines = 20000;
    const std::string path = dir.file("p.log");
    const std::string program = Platform::executablePath();
    std::vector<int> exitCodes(processes, -2);
    std::vector<std::thread> starters;
    for (int p = 0; p < processes; ++p) {
        starters.emplace_back([&, p] {
            std::string error;
            exitCodes[static_cast<std::size_t>(p)] =
                Platform::runProcess(program, {"--log-child", path, "p" + std::to_string(p),
                                               std::to_string(lines), std::to_string(32 * 1024)},
                                     error);
        });
    }
    for (std::thread& starter : starters)
        starter.join();
    for (int code : exitCodes)
        EXPECT_EQ(code, 0);
    const Census result = census(dir.path(), "p", lines);
    EXPECT_GT(result.files, 20u);
    expectEveryLineOnce(result, processes);
}
