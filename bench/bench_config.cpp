// Configuration lookups through a chain and parsing of a configuration file, against the peers a
// user would pick instead: Poco's LayeredConfiguration and IniFileConfiguration, and inih storing
// into a std::map.
//
// The chain is the usual one: command line over the file over the environment, and the entry
// looked up lives in the middle (the file). The file is generated once: 10 MB of sections of
// twenty entries, plain values, quoted lists and comments, every line within inih's line limit.
#include "qorcommon/envconfighandler.h"
#include "qorcommon/orvanecfgconfighandler.h"

#include <Poco/AutoPtr.h>
#include <Poco/Util/IniFileConfiguration.h>
#include <Poco/Util/LayeredConfiguration.h>
#include <Poco/Util/MapConfiguration.h>
#include <benchmark/benchmark.h>
#include <ini.h>

#include <cstdio>
#include <filesystem>
#include <fstream>
#include <map>
#include <string>
#include <vector>

using Orvane::Core::CLAConfigHandler;
using Orvane::Core::ConfigHandler;
using Orvane::Core::EnvVarConfigHandler;
using Orvane::Core::GC;
using Orvane::Core::OrvanecfgConfigHandler;
using Orvane::Core::StringList;

namespace {

const std::size_t kFileSize = 10 * 1024 * 1024;
const int kEntriesPerSection = 20;

std::string sectionName(int section) {
    char name[32];
    std::snprintf(name, sizeof name, "SECTION_%05d", section);
    return name;
}

std::string keyName(int key) {
    char name[16];
    std::snprintf(name, sizeof name, "KEY_%03d", key);
    return name;
}

std::string generateText(std::size_t size) {
    std::string text;
    text.reserve(size + 4096);
    for (int section = 0; text.size() < size; ++section) {
        text += "# settings of part " + std::to_string(section) + "\n";
        text += "[" + sectionName(section) + "]\n";
        for (int key = 0; key < kEntriesPerSection; ++key) {
            text += keyName(key) + " = ";
            switch (key % 4) {
            case 0:
                text += "\"quoted value " + std::to_string(key) + "\" \"second element\"\n";
                break;
            case 1:
                text += "first <|> second <|> third\n";
                break;
            default:
                text += "plain_value_" + std::to_string(section * 100 + key) + "\n";
            }
        }
        text += "\n";
    }
    return text;
}

// The 10 MB file and the small file of the lookups, written once for the whole run.
struct Files {
    std::string large;
    std::string small;
    std::size_t largeSize = 0;

    Files() {
        const std::filesystem::path dir = std::filesystem::temp_directory_path();
        large = (dir / "qor_bench_large.cfg").string();
        small = (dir / "qor_bench_small.cfg").string();
        const std::string text = generateText(kFileSize);
        largeSize = text.size();
        std::ofstream(large, std::ios::binary) << text;
        std::ofstream(small, std::ios::binary) << generateText(64 * 1024);
    }
    ~Files() {
        std::remove(large.c_str());
        std::remove(small.c_str());
    }
};

Files& files() {
    static Files instance;
    return instance;
}

const std::string kMiddleSection = sectionName(50);
const std::string kMiddlePath = kMiddleSection + "/" + keyName(10);
const std::string kMiddlePocoKey = kMiddleSection + "." + keyName(10);

std::vector<std::string> commandLine() {
    std::vector<std::string> arguments;
    for (int i = 0; i < 20; ++i)
        arguments.push_back("-cCLI_" + std::to_string(i) + "/VALUE=" + std::to_string(i));
    return arguments;
}

GC<ConfigHandler> qorChain() {
    GC<EnvVarConfigHandler> environment(new EnvVarConfigHandler());
    environment->init();
    OrvanecfgConfigHandler::setOrvanecfgPath(files().small);
    GC<OrvanecfgConfigHandler> file(new OrvanecfgConfigHandler(environment));
    file->init();
    return GC<ConfigHandler>(new CLAConfigHandler(commandLine(), file));
}

Poco::AutoPtr<Poco::Util::LayeredConfiguration> pocoChain() {
    Poco::AutoPtr<Poco::Util::LayeredConfiguration> chain(new Poco::Util::LayeredConfiguration);
    Poco::AutoPtr<Poco::Util::MapConfiguration> arguments(new Poco::Util::MapConfiguration);
    for (int i = 0; i < 20; ++i)
        arguments->setString("CLI_" + std::to_string(i) + ".VALUE", std::to_string(i));
    Poco::AutoPtr<Poco::Util::MapConfiguration> environment(new Poco::Util::MapConfiguration);
    for (int i = 0; i < 20; ++i)
        environment->setString("ENV_" + std::to_string(i) + ".VALUE", std::to_string(i));
    chain->add(arguments, 0);
    chain->add(new Poco::Util::IniFileConfiguration(files().small), 1);
    chain->add(environment, 2);
    return chain;
}

// ---- lookups
// --------------------------------------------------------------------------------------

void BM_Lookup_Qor_String(benchmark::State& state) {
    GC<ConfigHandler> chain = qorChain();
    std::string value;
    for (auto _ : state) {
        if (!chain->getStringEntry(kMiddlePath, value)) state.SkipWithError("not found");
        benchmark::DoNotOptimize(value.data());
    }
}
BENCHMARK(BM_Lookup_Qor_String);

void BM_Lookup_Qor_List(benchmark::State& state) {
    GC<ConfigHandler> chain = qorChain();
    StringList value;
    for (auto _ : state) {
        if (!chain->getStringListEntry(kMiddlePath, value)) state.SkipWithError("not found");
        benchmark::DoNotOptimize(&value);
    }
}
BENCHMARK(BM_Lookup_Qor_List);

void BM_Lookup_Poco_Layered(benchmark::State& state) {
    Poco::AutoPtr<Poco::Util::LayeredConfiguration> chain = pocoChain();
    for (auto _ : state) {
        std::string value = chain->getString(kMiddlePocoKey);
        benchmark::DoNotOptimize(value.data());
    }
}
BENCHMARK(BM_Lookup_Poco_Layered);

void BM_Lookup_StdMap(benchmark::State& state) {
    std::map<std::string, std::string> entries;
    for (int section = 0; section < 160; ++section)
        for (int key = 0; key < kEntriesPerSection; ++key)
            entries[sectionName(section) + "/" + keyName(key)] =
                "plain_value_" + std::to_string(key);
    for (auto _ : state) {
        std::string value = entries.find(kMiddlePath)->second;
        benchmark::DoNotOptimize(value.data());
    }
}
BENCHMARK(BM_Lookup_StdMap);

// ---- parsing
// ----------------------------------------------------------------------------------------

void BM_Parse_Qor_File(benchmark::State& state) {
    OrvanecfgConfigHandler::setOrvanecfgPath(files().large);
    GC<OrvanecfgConfigHandler> handler(new OrvanecfgConfigHandler());
    for (auto _ : state) {
        if (!handler->updateCache(false)) state.SkipWithError("update failed");
    }
    state.SetBytesProcessed(static_cast<std::int64_t>(state.iterations() * files().largeSize));
}
BENCHMARK(BM_Parse_Qor_File)->Unit(benchmark::kMillisecond);

int inihToMap(void* user, const char* section, const char* name, const char* value) {
    auto& entries = *static_cast<std::map<std::string, std::string>*>(user);
    entries[std::string(section) + "." + name] = value;
    return 1;
}

void BM_Parse_Inih_Map(benchmark::State& state) {
    for (auto _ : state) {
        std::map<std::string, std::string> entries;
        if (ini_parse(files().large.c_str(), inihToMap, &entries) != 0)
            state.SkipWithError("inih failed");
        benchmark::DoNotOptimize(entries.size());
    }
    state.SetBytesProcessed(static_cast<std::int64_t>(state.iterations() * files().largeSize));
}
BENCHMARK(BM_Parse_Inih_Map)->Unit(benchmark::kMillisecond);

void BM_Parse_Poco_IniFile(benchmark::State& state) {
    for (auto _ : state) {
        Poco::AutoPtr<Poco::Util::IniFileConfiguration> config(
            new Poco::Util::IniFileConfiguration(files().large));
        benchmark::DoNotOptimize(config.get());
    }
    state.SetBytesProcessed(static_cast<std::int64_t>(state.iterations() * files().largeSize));
}
BENCHMARK(BM_Parse_Poco_IniFile)->Unit(benchmark::kMillisecond);

} // namespace
