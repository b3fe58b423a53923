// qorctl: configuration, macros and log files of the library from the command line.
#include "commands.h"
#include "configchain.h"

#include "qorcommon/c/framework.h"
#include "qorcommon/qorcommonversion.h"

#include <exception>
#include <iostream>

namespace {

using namespace Qorctl;

// Splits off the options shared by all commands: -c entries, --config FILE and --version.
// Returns the command's own arguments.
std::vector<std::string> sharedOptions(const std::vector<std::string>& all, Context& context,
                                       bool& version) {
    std::vector<std::string> rest;
    bool optionsEnded = false;
    for (std::size_t i = 0; i < all.size(); ++i) {
        const std::string& arg = all[i];
        if (optionsEnded) {
            rest.push_back(arg);
        } else if (arg == "--") {
            optionsEnded = true;
            rest.push_back(arg);
        } else if (arg.size() > 2 && arg[0] == '-' && arg[1] == 'c') {
            context.configArguments.push_back(arg);
        } else if (arg == "--config" || arg.compare(0, 9, "--config=") == 0) {
            if (arg.size() > 8) {
                context.configFile = arg.substr(9);
            } else if (i + 1 < all.size()) {
                context.configFile = all[++i];
            } else {
                throw UsageError("", "option --config needs a value");
            }
            if (context.configFile.empty()) throw UsageError("", "option --config needs a value");
        } else if (arg == "--version" && rest.empty()) {
            version = true;
        } else {
            rest.push_back(arg);
        }
    }
    return rest;
}

int dispatch(const std::vector<std::string>& all) {
    Context context;
    bool version = false;
    std::vector<std::string> rest = sharedOptions(all, context, version);
    if (version) {
        std::cout << "qorctl " << QORCOMMON_VERSION_STRING << " (" << QORCOMMON_LIBRARY_NAME
                  << ")\n";
        return ExitOk;
    }
    if (rest.empty()) throw UsageError("", "missing command");
    const std::string command = rest[0];
    if (command == "--help" || command == "help") {
        // "qorctl help log view" is "qorctl log view --help".
        std::string topic;
        for (std::size_t i = 1; i < rest.size(); ++i)
            topic += (topic.empty() ? "" : " ") + rest[i];
        const std::string text = helpText(topic);
        if (text.empty()) throw UsageError("", "no help on '" + topic + "'");
        std::cout << text;
        return ExitOk;
    }
    context.args.assign(rest.begin() + 1, rest.end());
    const bool wantsHelp = context.args.size() == 1 && context.args[0] == "--help";
    if (command == "config") {
        if (wantsHelp) return std::cout << helpText("config"), ExitOk;
        return configCommand(context);
    }
    if (command == "macro") return macroCommand(context);
    if (command == "run") {
        if (wantsHelp) return std::cout << helpText("run"), ExitOk;
        return runCommand(context);
    }
    if (command == "log") {
        if (wantsHelp) return std::cout << helpText("log"), ExitOk;
        return logCommand(context);
    }
    throw UsageError("", "unknown command '" + command + "'");
}

} // namespace

int main(int argc, char** argv) {
    // Every command ends with the library shut down, started or not: its per-thread values and
    // their collector thread go before the process's static objects do.
    struct LibraryShutdown {
        ~LibraryShutdown() { qor_Deinit(); }
    } shutdown;
    try {
        Style::init();
        std::vector<std::string> args(argv + 1, argv + argc);
        const int status = dispatch(args);
        std::cout.flush();
        return status;
    } catch (const UsageError& error) {
        printError(error.what());
        const std::string help =
            error.command().empty() ? "qorctl --help" : "qorctl " + error.command() + " --help";
        std::cerr << "Try '" << help << "'.\n";
        return ExitUsage;
    } catch (const ProblemError& error) {
        printError(error.what());
        return ExitProblem;
    } catch (const std::exception& error) {
        printError(std::string("unexpected failure: ") + error.what());
        return ExitProblem;
    } catch (...) {
        printError("unexpected failure");
        return ExitProblem;
    }
}
