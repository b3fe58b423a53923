// The help texts of the commands.
#include "cli.h"

#include <map>

namespace Qorctl {

namespace {

const char* const TopHelp =
    R"(usage: qorctl [--config FILE] [-cSECTION/ENTRY=VALUE ...] COMMAND [ARGS]

Commands:
  run                       start the library as a host and show what it set up
  config check FILE...      report the errors of configuration files
  config get [--framework] PATH
                            the value of an entry as the configuration chain resolves it
  config dump [--json] [--framework]
                            every known entry, the source that answers it and what it hides
  config set PATH VALUE...  write an entry into the configuration file
  config defs [--json] [--framework]
                            the configuration entries that the library describes
  macro TEMPLATE            expand a macro template
  macro --help [--html]     the catalogue of built-in macros
  log write [--priority P] TEXT
                            write one entry through the configured logging handler
  log view [FILE] [--priority P] [--thread T] [--since TIME] [--follow] [--count N]
                            show log entries, rotated files included
  log stats [FILE]          entries per priority and logger, the busiest minutes

Options of all commands:
  --config FILE             the configuration file (default: orvane.cfg in the current directory)
  -cSECTION/ENTRY=VALUE     an entry that overrides the environment and the file
  --help                    help of a command
  --version                 the library's version

The configuration chain asks the -c arguments first, then the environment variables
ORVANE__SECTION__ENTRY, then the file.
Exit status: 0 done, 1 a problem was found, 2 wrong command line.
)";

const std::map<std::string, std::string>& texts() {
    static const std::map<std::string, std::string> map = {
        {"run", R"(usage: qorctl run [--config FILE] [-cSECTION/ENTRY=VALUE ...]
Starts the library as a host over orvane.cfg of the current directory (or FILE), prints the version, the host module, the configuration
chain from head to tail, the features by type, the plug-ins and the log file; logs a few nested
function frames and an error, shows what the logging listener and the error collector's
listener received, and stops the library. With a file, the -c arguments reach start-up through
the library's own command-line handler (GLOBAL/BASE_CONFIG_HANDLER, or the chain when it names
"cla"); without one, they are the base of the chain over the built-in values.
)"},
        {"config", R"(usage: qorctl config check|get|dump|set|defs ...
  config check FILE...                 report the errors of configuration files
  config get [--framework] PATH        the value of an entry as the chain resolves it
  config dump [--json] [--framework]   every known entry, its source and what it hides
  config set PATH VALUE...             write an entry into the configuration file
  config defs [--json] [--framework]   the configuration entries the library describes
With --framework the library is started as a host and the chain it builds is used.
)"},
        {"config check", R"(usage: qorctl config check FILE...
Reads each configuration file and prints every problem with its line number.
Prints nothing and exits with 0 when all files are clean; exits with 1 otherwise.
)"},
        {"config get", R"(usage: qorctl config get [--framework] PATH
Prints the values of the entry SECTION/ENTRY, one per line, as the first source of the chain
that has it gives them (-c arguments, environment, file). Exits with 1 when no source has it.
With --framework the library is started as a host (see qorctl run) and its chain is asked:
the one that GLOBAL/CONFIG_HANDLER describes, plug-in handlers included.
)"},
        {"config dump", R"(usage: qorctl config dump [--json] [--framework]
Lists every known entry (those of the -c arguments, of the file and of the library's
configuration definitions), the source that answers it and the values of the sources below it
that it hides. Entries that no source sets are shown with their defaults. With --framework the
library is started as a host and its chain is shown, plug-in handlers included.
)"},
        {"config set", R"(usage: qorctl config set PATH VALUE...
Writes the entry into the configuration file, one value per argument. The file must enable
writing (ORVANE_CONFIG_HANDLER/IS_WRITING_ENABLED = true); otherwise the file handler's
message is printed and the exit status is 1.
)"},
        {"config defs", R"(usage: qorctl config defs [--json] [--framework]
Lists the configuration entries that the library describes (the framework's GLOBAL entries,
whose values are the registered features, and the entries of each built-in feature): path,
label, description, value type, defaults and choices. With --framework the library is started
as a host first, so that the plug-ins that the configuration loads add their entries.
)"},
        {"macro", R"(usage: qorctl macro TEMPLATE
       qorctl macro --help [--html]
Expands TEMPLATE and prints the result. Errors go to standard error and give exit status 1.
With --help, prints the catalogue of built-in macros (as an HTML table with --html).
)"},
        {"log", R"(usage: qorctl log write|view|stats ...
  log write [--priority P] TEXT
  log view [FILE] [--priority P] [--thread T] [--since TIME] [--follow] [--count N]
  log stats [FILE]
)"},
        {"log write", R"(usage: qorctl log write [--priority P] TEXT
Writes one entry through the logging handler that the configuration describes.
P is one of info, hint, status, message, warning, error, fatal (or its first letter);
default message. Exits with 1 when the configuration does not log entries of that priority.
)"},
        {"log view",
         R"(usage: qorctl log view [FILE] [--priority P] [--thread T] [--since TIME] [--follow] [--count N]
Shows the entries of a log file (default: the configured one) and of the files renamed aside
from it, oldest first. Lines are read with the configured log format.
  --priority P   only these priorities: words or letters separated by commas ("w,e,f")
  --thread T     only entries of this thread id (hexadecimal)
  --since TIME   only entries at or after TIME (2026-01-31, 2026-01-31T12:30, ...)
  --follow       keep reading as the file grows and is renamed aside
  --count N      stop after N entries
)"},
        {"log stats", R"(usage: qorctl log stats [FILE]
Counts the entries of a log file (default: the configured one) and of its renamed files per
priority and per logger, and shows the busiest minutes as a histogram.
)"},
    };
    return map;
}

} // namespace

std::string helpText(const std::string& command) {
    if (command.empty()) return TopHelp;
    const auto found = texts().find(command);
    return found == texts().end() ? std::string() : found->second;
}

} // namespace Qorctl
