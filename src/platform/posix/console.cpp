// Standard input as a terminal on POSIX.
#include "platform/platform.h"

#include <cstdio>

#include <termios.h>
#include <unistd.h>

namespace Orvane {
namespace Core {
namespace Platform {

bool isStandardInputTerminal() {
    return isatty(STDIN_FILENO) == 1;
}

bool readStandardInputLine(std::string& line, bool echo) {
    // Echo is switched with TCSANOW: what the user typed ahead is kept for the next question.
    termios saved{};
    const bool quiet = !echo && isatty(STDIN_FILENO) == 1 && tcgetattr(STDIN_FILENO, &saved) == 0;
    if (quiet) {
        termios silent = saved;
        silent.c_lflag &= ~static_cast<tcflag_t>(ECHO);
        tcsetattr(STDIN_FILENO, TCSANOW, &silent);
    }
    line.clear();
    bool readAny = false;
    int character;
    while ((character = std::getc(stdin)) != EOF) {
        readAny = true;
        if (character == '\n') break;
        line += static_cast<char>(character);
    }
    if (quiet) {
        tcsetattr(STDIN_FILENO, TCSANOW, &saved);
    }
    if (!line.empty() && line.back() == '\r') line.pop_back();
    return readAny;
}

} // namespace Platform
} // namespace Core
} // namespace Orvane
