// Time stamp formatting on the logging path: the ISO form with milliseconds and the token format
// "YYYYMMDDHH24MISSSSMMM", each against strftime (plus snprintf for what strftime lacks) writing
// the same fields in the same run.
#include "qorcommon/datetime.h"

#include <benchmark/benchmark.h>

#include <cstdio>
#include <ctime>
#include <string>

using Orvane::Core::DateTime;
using Orvane::Core::DateTimeFormat;
using Orvane::Core::String;

namespace {

const DateTime& sample() {
    static const DateTime value(2024, 1, 31, 23, 59, 59, 7);
    return value;
}

// The ISO form by the C library: strftime for the calendar fields, snprintf for milliseconds.
std::size_t isoByStrftime(const std::tm& fields, int milliseconds, char* out, std::size_t size) {
    const std::size_t n = std::strftime(out, size, "%Y-%m-%dT%H:%M:%S", &fields);
    return n + static_cast<std::size_t>(std::snprintf(out + n, size - n, ".%03d", milliseconds));
}

// "YYYYMMDDHH24MISSSSMMM" renders year, month, day, hour, minute, seconds twice, the month with 2
// digits and the month without padding (MM and M take the letters of the trailing "MMM").
std::size_t tokensByStrftime(const std::tm& fields, char* out, std::size_t size) {
    const std::size_t n = std::strftime(out, size, "%Y%m%d%H%M%S%S%m", &fields);
    return n + static_cast<std::size_t>(std::snprintf(out + n, size - n, "%d", fields.tm_mon + 1));
}

bool sameTexts(benchmark::State& state, const std::string& mine, const std::string& theirs) {
    if (mine == theirs) return true;
    state.SkipWithError(("texts differ: " + mine + " / " + theirs).c_str());
    return false;
}

void BM_IsoWithMs_DateTime(benchmark::State& state) {
    for (auto _ : state) {
        String text = sample().asISODateTime();
        benchmark::DoNotOptimize(text.data());
    }
}
BENCHMARK(BM_IsoWithMs_DateTime);

void BM_IsoWithMs_Strftime(benchmark::State& state) {
    const std::tm fields = sample();
    char buffer[64];
    isoByStrftime(fields, sample().milliseconds(), buffer, sizeof buffer);
    if (!sameTexts(state, sample().asISODateTime().str(), buffer)) return;
    for (auto _ : state) {
        const std::size_t n = isoByStrftime(fields, sample().milliseconds(), buffer, sizeof buffer);
        String text(std::string(buffer, n));
        benchmark::DoNotOptimize(text.data());
    }
}
BENCHMARK(BM_IsoWithMs_Strftime);

// Without building a String: the digits alone.
void BM_IsoWithMsToBuffer_DateTime(benchmark::State& state) {
    char buffer[DateTime::ISOBufferSize];
    for (auto _ : state) {
        benchmark::DoNotOptimize(sample().writeISODateTime(buffer, sizeof buffer));
        benchmark::ClobberMemory();
    }
}
BENCHMARK(BM_IsoWithMsToBuffer_DateTime);

void BM_IsoWithMsToBuffer_Strftime(benchmark::State& state) {
    const std::tm fields = sample();
    char buffer[64];
    for (auto _ : state) {
        benchmark::DoNotOptimize(
            isoByStrftime(fields, sample().milliseconds(), buffer, sizeof buffer));
        benchmark::ClobberMemory();
    }
}
BENCHMARK(BM_IsoWithMsToBuffer_Strftime);

const char* const TokenFormat = "YYYYMMDDHH24MISSSSMMM";

void BM_Tokens_AsString(benchmark::State& state) {
    for (auto _ : state) {
        String text = sample().asString(TokenFormat);
        benchmark::DoNotOptimize(text.data());
    }
}
BENCHMARK(BM_Tokens_AsString);

void BM_Tokens_KeptFormat(benchmark::State& state) {
    const DateTimeFormat format(TokenFormat);
    for (auto _ : state) {
        String text = format.format(sample());
        benchmark::DoNotOptimize(text.data());
    }
}
BENCHMARK(BM_Tokens_KeptFormat);

void BM_Tokens_Strftime(benchmark::State& state) {
    const std::tm fields = sample();
    char buffer[64];
    tokensByStrftime(fields, buffer, sizeof buffer);
    if (!sameTexts(state, sample().asString(TokenFormat).str(), buffer)) return;
    for (auto _ : state) {
        const std::size_t n = tokensByStrftime(fields, buffer, sizeof buffer);
        String text(std::string(buffer, n));
        benchmark::DoNotOptimize(text.data());
    }
}
BENCHMARK(BM_Tokens_Strftime);

// The same token format on a fresh std::string each time: what a log line builder does.
void BM_Tokens_AppendTo(benchmark::State& state) {
    const DateTimeFormat format(TokenFormat);
    std::string line;
    line.reserve(64);
    for (auto _ : state) {
        line.clear();
        format.appendTo(line, sample());
        benchmark::DoNotOptimize(line.data());
    }
}
BENCHMARK(BM_Tokens_AppendTo);

} // namespace
