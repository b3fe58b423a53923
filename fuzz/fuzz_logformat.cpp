// Fuzzes qorctl's reader of log lines. The first input line chooses the line format ("Default",
// "Compat" or a macro format of its own); every further line is read with it. Beyond crashes,
// sanitizer reports and run-away matching (libFuzzer's time limit) it checks that every field
// read from a line is a piece of that line and that priorities stay in their range.
#include "logformat.h"

#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <string>

namespace {

void require(bool condition, const char* what) {
    if (condition) return;
    std::fprintf(stderr, "fuzz_logformat: %s\n", what);
    std::abort();
}

void checkLine(const std::string& text, const Qorctl::LogLine& line) {
    require(line.text == text, "the line's text is kept");
    require(line.priority >= 0 && line.priority <= 7, "priority in 0..7");
    if (!line.matched) return;
    for (const std::string* field : {&line.thread, &line.timestamp, &line.logger, &line.message})
        require(text.find(*field) != std::string::npos, "a field is a piece of its line");
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    const std::string input(reinterpret_cast<const char*>(data), size);
    std::size_t end = input.find('\n');
    const std::string format = input.substr(0, end);
    Qorctl::LogFormat reader(format.empty() ? std::string("Default") : format);
    while (end != std::string::npos) {
        const std::size_t begin = end + 1;
        end = input.find('\n', begin);
        const std::string text =
            input.substr(begin, end == std::string::npos ? std::string::npos : end - begin);
        Qorctl::LogLine line;
        reader.parse(text, line);
        checkLine(text, line);
    }
    return 0;
}
