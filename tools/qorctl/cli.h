// Command-line plumbing shared by the commands: options, usage errors, exit codes and the
// output streams with their colours.
#pragma once

#include <map>
#include <ostream>
#include <set>
#include <stdexcept>
#include <string>
#include <vector>

namespace Qorctl {

enum ExitCode : int { ExitOk = 0, ExitProblem = 1, ExitUsage = 2 };

/// A wrong command line; main prints it with a hint to --help and exits with ExitUsage.
class UsageError : public std::runtime_error {
public:
    UsageError(const std::string& command, const std::string& message)
        : std::runtime_error(message), m_command(command) {}
    const std::string& command() const { return m_command; }

private:
    std::string m_command;
};

/// The arguments of one command: "--name value", "--name=value" and flags, then positionals.
/// "--" ends the options.
class Arguments {
public:
    /// `valued`: options that take a value; `flags`: options that do not. --help is always a
    /// flag. Unknown options are usage errors of `command`.
    Arguments(const std::string& command, const std::vector<std::string>& args,
              const std::set<std::string>& valued, const std::set<std::string>& flags);

    bool has(const std::string& name) const { return m_options.count(name) != 0; }
    /// The value of a valued option; `fallback` when it was not given.
    std::string value(const std::string& name, const std::string& fallback = "") const;
    const std::vector<std::string>& positionals() const { return m_positionals; }
    /// Usage error unless the positionals count is within [min, max].
    void expectPositionals(std::size_t min, std::size_t max) const;
    /// A non-negative whole number; usage error otherwise.
    long number(const std::string& name, long fallback) const;

    const std::string& command() const { return m_command; }

private:
    std::string m_command;
    std::map<std::string, std::string> m_options;
    std::vector<std::string> m_positionals;
};

/// What every command receives: its arguments and the options shared by all commands.
struct Context {
    /// "-cSECTION/ENTRY=value" arguments, wherever they stood.
    std::vector<std::string> configArguments;
    /// The configuration file ("" for orvane.cfg in the current directory).
    std::string configFile;
    std::vector<std::string> args;
};

/// Terminal colours: used only when the stream is a terminal and NO_COLOR is not set.
class Style {
public:
    enum Colour { Plain, Red, BoldRed, Yellow, Green, Cyan, Dim, Bold };
    static void init();
    static bool outputColoured();
    static bool errorColoured();
    /// `text` wrapped in the colour's escape sequences when `coloured`.
    static std::string paint(const std::string& text, Colour colour, bool coloured);
};

/// A command: its context in, the exit status out.
using Command = int (*)(const Context&);

/// Runs the subcommand that the first argument names among `commands` of the command `group`
/// ("config", "log"), or prints its help when --help comes before any "--".
int dispatchSubcommand(const std::string& group, const Context& context,
                       const std::map<std::string, Command>& commands);

/// Writes "qorctl: <message>" to standard error.
void printError(const std::string& message);

/// The help text of a command ("" for the top level); empty when the command is unknown.
std::string helpText(const std::string& command);

} // namespace Qorctl
