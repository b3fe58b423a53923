#include "cli.h"

#include "qorcommon/applicationinfo.h"
#include "qorcommon/envconfighandler.h"

#include <iostream>

namespace Qorctl {

Arguments::Arguments(const std::string& command, const std::vector<std::string>& args,
                     const std::set<std::string>& valued, const std::set<std::string>& flags)
    : m_command(command) {
    bool optionsEnded = false;
    for (std::size_t i = 0; i < args.size(); ++i) {
        const std::string& arg = args[i];
        if (optionsEnded || arg.size() < 3 || arg.compare(0, 2, "--") != 0) {
            if (!optionsEnded && arg == "--") {
                optionsEnded = true;
                continue;
            }
            m_positionals.push_back(arg);
            continue;
        }
        std::string name = arg.substr(2);
        std::string value;
        bool hasValue = false;
        const std::size_t equals = name.find('=');
        if (equals != std::string::npos) {
            value = name.substr(equals + 1);
            name.resize(equals);
            hasValue = true;
        }
        if (valued.count(name)) {
            if (!hasValue) {
                if (i + 1 >= args.size())
                    throw UsageError(command, "option --" + name + " needs a value");
                value = args[++i];
            }
            m_options[name] = value;
        } else if (flags.count(name) || name == "help") {
            if (hasValue) throw UsageError(command, "option --" + name + " takes no value");
            m_options[name] = std::string();
        } else {
            throw UsageError(command, "unknown option --" + name);
        }
    }
}

std::string Arguments::value(const std::string& name, const std::string& fallback) const {
    const auto found = m_options.find(name);
    return found == m_options.end() ? fallback : found->second;
}

void Arguments::expectPositionals(std::size_t min, std::size_t max) const {
    if (m_positionals.size() < min) throw UsageError(m_command, "missing argument");
    if (m_positionals.size() > max)
        throw UsageError(m_command, "unexpected argument '" + m_positionals[max] + "'");
}

long Arguments::number(const std::string& name, long fallback) const {
    if (!has(name)) return fallback;
    const std::string text = value(name);
    if (text.empty() || text.size() > 9 ||
        text.find_first_not_of("0123456789") != std::string::npos)
        throw UsageError(m_command,
                         "option --" + name + " needs a whole number, not '" + text + "'");
    return std::stol(text);
}

namespace {

bool g_outputColoured = false;
bool g_errorColoured = false;

} // namespace

void Style::init() {
    using Orvane::Core::ApplicationInfo;
    std::string ignored;
    // Any NO_COLOR, even an empty one, switches colours off.
    const bool allowed = !Orvane::Core::getEnvVar("NO_COLOR", ignored);
    g_outputColoured =
        allowed && ApplicationInfo::enableColourSequences(ApplicationInfo::StandardOutput);
    g_errorColoured =
        allowed && ApplicationInfo::enableColourSequences(ApplicationInfo::StandardError);
}

bool Style::outputColoured() {
    return g_outputColoured;
}

bool Style::errorColoured() {
    return g_errorColoured;
}

std::string Style::paint(const std::string& text, Colour colour, bool coloured) {
    if (!coloured || colour == Plain) return text;
    const char* code = "";
    switch (colour) {
    case Red:
        code = "31";
        break;
    case BoldRed:
        code = "1;31";
        break;
    case Yellow:
        code = "33";
        break;
    case Green:
        code = "32";
        break;
    case Cyan:
        code = "36";
        break;
    case Dim:
        code = "2";
        break;
    case Bold:
        code = "1";
        break;
    case Plain:
        break;
    }
    return std::string("\x1b[") + code + "m" + text + "\x1b[0m";
}

int dispatchSubcommand(const std::string& group, const Context& context,
                       const std::map<std::string, Command>& commands) {
    if (context.args.empty()) throw UsageError(group, "missing subcommand");
    const std::string sub = context.args[0];
    const auto found = commands.find(sub);
    if (found == commands.end()) throw UsageError(group, "unknown subcommand '" + sub + "'");
    Context rest = context;
    rest.args.erase(rest.args.begin());
    for (const std::string& arg : rest.args) {
        if (arg == "--") break;
        if (arg == "--help") {
            std::cout << helpText(group + " " + sub);
            return ExitOk;
        }
    }
    return found->second(rest);
}

void printError(const std::string& message) {
    std::cerr << Style::paint("qorctl:", Style::Red, Style::errorColoured()) << ' ' << message
              << '\n';
}

} // namespace Qorctl
