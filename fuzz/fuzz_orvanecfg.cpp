// Fuzzes the "orvane.cfg" grammar. Beyond finding crashes and sanitizer reports it checks:
//   * reading the text in pieces gives what reading it whole gives (lines across pieces);
//   * a cache that the format can express is written and read back unchanged, with no errors,
//     and writing it again gives the same bytes.
#include "orvanecfgformat.h"

#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <string>
#include <string_view>

namespace Orvanecfg = Orvane::Core::Orvanecfg;

namespace {

void require(bool condition, const char* what) {
    if (condition) return;
    std::fprintf(stderr, "fuzz_orvanecfg: %s\n", what);
    std::abort();
}

bool isTrimmed(std::string_view text) {
    auto blank = [](char c) { return c == ' ' || c == '\t' || c == '\r' || c == '\n'; };
    return text.empty() || (!blank(text.front()) && !blank(text.back()));
}

// Whether the writer's text reads back as the same cache. It does not when a name would read as
// something else ("#" in a section header starts a comment, a name starting with "#" or "[" is a
// comment or a header, outer blanks are trimmed) or when a quoted value holds a backslash, which
// the writer puts as it is.
bool writable(const Orvanecfg::Cache& cache) {
    for (const auto& section : cache.sections) {
        const std::string& name = section.first;
        if (!isTrimmed(name) || name.find('#') != std::string::npos) return false;
        for (const auto& entry : *section.second) {
            const std::string& key = entry.first;
            if (!isTrimmed(key) || key[0] == '#' || key[0] == '[') return false;
            if (entry.second.unquoted()) continue;
            bool backslash = false;
            entry.second.forEach([&](std::string_view value) {
                backslash = backslash || value.find('\\') != std::string_view::npos;
            });
            if (backslash) return false;
        }
    }
    return true;
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    const char* text = reinterpret_cast<const char*>(data);

    Orvanecfg::Cache whole;
    const Orvanecfg::ParseReport report = Orvanecfg::parse(text, size, "fuzz.cfg", whole);

    // The same text in pieces of one to sixteen bytes.
    Orvanecfg::Cache pieces;
    Orvanecfg::Reader reader("fuzz.cfg", pieces);
    const std::size_t step = size ? 1 + data[0] % 16 : 1;
    for (std::size_t offset = 0; offset < size; offset += step)
        reader.feed(text + offset, size - offset < step ? size - offset : step);
    const Orvanecfg::ParseReport piecewise = reader.finish();
    require(piecewise.aborted == report.aborted, "pieces: abort differs");
    require(piecewise.messages == report.messages, "pieces: messages differ");
    if (report.aborted) return 0;
    require(pieces == whole, "pieces: cache differs");

    if (!writable(whole)) return 0;
    const std::string written = Orvanecfg::write(whole);
    Orvanecfg::Cache again;
    const Orvanecfg::ParseReport reread =
        Orvanecfg::parse(written.data(), written.size(), "fuzz.cfg", again);
    require(!reread.aborted && reread.messages.empty(), "round trip: errors reading back");
    require(again == whole, "round trip: cache differs");
    require(Orvanecfg::write(again) == written, "round trip: bytes differ");
    return 0;
}
