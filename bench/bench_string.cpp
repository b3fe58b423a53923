// String::a and StringList::split against plain std::string code doing the same work.
#include "qorcommon/string.h"
#include "qorcommon/stringlist.h"

#include <benchmark/benchmark.h>

#include <list>
#include <string>
#include <vector>

using Orvane::Core::String;
using Orvane::Core::StringList;

namespace {

std::string hundredFieldLine() {
    std::string line;
    for (int i = 0; i < 100; ++i) {
        if (i) line += ';';
        line += "field" + std::to_string(i);
    }
    return line;
}

template <class Container> Container splitPlain(const std::string& text, const std::string& sep) {
    Container parts;
    std::size_t pos = 0;
    for (;;) {
        const std::size_t hit = text.find(sep, pos);
        if (hit == std::string::npos) {
            parts.emplace_back(text, pos);
            return parts;
        }
        parts.emplace_back(text, pos, hit - pos);
        pos = hit + sep.size();
    }
}

void replaceAll(std::string& text, const std::string& from, const std::string& to) {
    for (std::size_t pos = text.find(from); pos != std::string::npos;
         pos = text.find(from, pos + to.size())) {
        text.replace(pos, from.size(), to);
    }
}

const std::string templateText = "{0}: value {1} changed ({2} times)";

} // namespace

static void BM_StringList_split(benchmark::State& state) {
    const std::string line = hundredFieldLine();
    for (auto _ : state) {
        StringList parts = StringList::split(line, ";");
        benchmark::DoNotOptimize(parts);
    }
}
BENCHMARK(BM_StringList_split);

static void BM_StdString_split_list(benchmark::State& state) {
    const std::string line = hundredFieldLine();
    for (auto _ : state) {
        auto parts = splitPlain<std::list<std::string>>(line, ";");
        benchmark::DoNotOptimize(parts);
    }
}
BENCHMARK(BM_StdString_split_list);

static void BM_StdString_split_vector(benchmark::State& state) {
    const std::string line = hundredFieldLine();
    for (auto _ : state) {
        auto parts = splitPlain<std::vector<std::string>>(line, ";");
        benchmark::DoNotOptimize(parts);
    }
}
BENCHMARK(BM_StdString_split_vector);

static void BM_String_a_threePlaceholders(benchmark::State& state) {
    const std::string key = "GLOBAL/LOG_FILE";
    const std::string value = "orvane.log";
    for (auto _ : state) {
        String s(templateText);
        s.a(key).a(value).a(42);
        benchmark::DoNotOptimize(s);
    }
}
BENCHMARK(BM_String_a_threePlaceholders);

static void BM_StdString_replace_threePlaceholders(benchmark::State& state) {
    const std::string key = "GLOBAL/LOG_FILE";
    const std::string value = "orvane.log";
    for (auto _ : state) {
        std::string s(templateText);
        replaceAll(s, "{0}", key);
        replaceAll(s, "{1}", value);
        replaceAll(s, "{2}", std::to_string(42));
        benchmark::DoNotOptimize(s);
    }
}
BENCHMARK(BM_StdString_replace_threePlaceholders);
