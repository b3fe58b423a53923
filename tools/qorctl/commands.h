// The commands of the tool. Each takes the shared context and returns the exit status; wrong
// command lines throw UsageError, problems that end a command throw ProblemError.
#pragma once

#include "cli.h"

namespace Qorctl {

int configCommand(const Context& context);
int macroCommand(const Context& context);
int logCommand(const Context& context);
int runCommand(const Context& context);

} // namespace Qorctl
