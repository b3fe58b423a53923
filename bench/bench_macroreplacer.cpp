// Expanding the default log line format, as the file logging handler does for every entry, with
// fixed values from a helper: from a parsed template, through replace() (which finds the parsed
// text in its cache), parsing every time, and hand-written concatenation of the same values as the
// floor.
#include "qorcommon/datetime.h"
#include "qorcommon/errorinfo.h"
#include "qorcommon/macroreplacer.h"

#include "platform/platform.h"

#include <benchmark/benchmark.h>

#include <cstdint>
#include <cstdio>
#include <string>

using namespace Orvane::Core;

namespace {

const char* const kLineFormat = "$(thread_id): $(timestamp:iso) $(stack_prefix)$(message) "
                                "[$(logger_name)] {$(code_location:{$(file):$(line)})}";

// The values of one log entry, as the logging handler supplies them.
class EntryMacros : public MacroReplacerHelper {
public:
    EntryMacros() : m_time(2024, 1, 31, 23, 59, 59, 7), m_location("src/module/worker.cpp", 412) {}

    using MacroReplacerHelper::getCustomValue;
    bool getCustomValue(const std::string& name, const StringList& args, std::string& result,
                        StringList& errors) override {
        if (name == "timestamp") {
            result = m_time.asISODateTime(false).str();
        } else if (name == "stack_prefix") {
            result = "    ";
        } else if (name == "message") {
            result = "Info: connection to the archive server established";
        } else if (name == "logger_name") {
            result = "archive.client";
        } else if (name == "code_location") {
            result = m_location.asString(args.front(), errors).str();
        } else {
            return false;
        }
        return true;
    }

    std::string byHand() const {
        char id[16];
        std::snprintf(
            id, sizeof id, "%08lx",
            static_cast<unsigned long>(static_cast<std::uint32_t>(Platform::currentThreadId())));
        std::string line = id;
        line += ": " + m_time.asISODateTime(false).str() + " " + "    " +
                "Info: connection to the archive server established" + " [" + "archive.client" +
                "] {" + m_location.file() + ":" + std::to_string(m_location.line()) + "}";
        return line;
    }

private:
    DateTime m_time;
    CodeLocation m_location;
};

bool checked(benchmark::State& state, const std::string& line) {
    static const std::string expected = EntryMacros().byHand();
    if (line == expected) return true;
    state.SkipWithError(("unexpected line: " + line).c_str());
    return false;
}

void BM_LineFormat_Compiled(benchmark::State& state) {
    EntryMacros macros;
    MacroReplacer replacer(&macros);
    const MacroTemplate format(kLineFormat);
    std::string line;
    for (auto _ : state) {
        replacer.expand(format, line);
        benchmark::DoNotOptimize(line.data());
    }
    checked(state, line);
}
BENCHMARK(BM_LineFormat_Compiled);

void BM_LineFormat_Replace(benchmark::State& state) {
    EntryMacros macros;
    MacroReplacer replacer(&macros);
    std::string line;
    for (auto _ : state) {
        line = kLineFormat;
        replacer.replace(line);
        benchmark::DoNotOptimize(line.data());
    }
    checked(state, line);
}
BENCHMARK(BM_LineFormat_Replace);

void BM_LineFormat_ParseEachTime(benchmark::State& state) {
    EntryMacros macros;
    MacroReplacer replacer(&macros);
    std::string line;
    for (auto _ : state) {
        const MacroTemplate format(kLineFormat);
        replacer.expand(format, line);
        benchmark::DoNotOptimize(line.data());
    }
    checked(state, line);
}
BENCHMARK(BM_LineFormat_ParseEachTime);

void BM_LineFormat_ByHand(benchmark::State& state) {
    EntryMacros macros;
    std::string line;
    for (auto _ : state) {
        line = macros.byHand();
        benchmark::DoNotOptimize(line.data());
    }
    checked(state, line);
}
BENCHMARK(BM_LineFormat_ByHand);

} // namespace
