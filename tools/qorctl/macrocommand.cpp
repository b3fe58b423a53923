// macro TEMPLATE | macro --help [--html]
#include "commands.h"
#include "configchain.h"

#include "qorcommon/libraryservices.h"
#include "qorcommon/macroreplacer.h"

#include <algorithm>
#include <iostream>
#include <vector>

namespace Qorctl {

using namespace Orvane::Core;

int macroCommand(const Context& context) {
    Arguments args("macro", context.args, {}, {"html"});
    if (args.has("help")) {
        args.expectPositionals(0, 0);
        if (args.has("html")) {
            std::cout << MacroReplacer::availableMacrosAsHtml().str() << '\n';
            return ExitOk;
        }
        std::cout << helpText("macro") << "\nBuilt-in macros:\n";
        // Aliases have entries of their own with the same texts: one paragraph for them all.
        std::vector<std::pair<std::vector<std::string>, NameInfo>> groups;
        for (const auto& macro : MacroReplacer::availableMacros()) {
            auto same = std::find_if(groups.begin(), groups.end(), [&](const auto& group) {
                return group.second == macro.second;
            });
            if (same == groups.end())
                groups.push_back({{macro.first}, macro.second});
            else
                same->first.push_back(macro.first);
        }
        for (const auto& group : groups) {
            std::string names;
            for (const std::string& name : group.first)
                names += (names.empty() ? "" : ", ") + name;
            std::cout << "  " << Style::paint(names, Style::Cyan, Style::outputColoured()) << '\n';
            if (!group.second.name().empty()) std::cout << "      " << group.second.name() << '\n';
            if (!group.second.description().empty())
                std::cout << "      " << group.second.description() << '\n';
        }
        return ExitOk;
    }
    if (args.has("html")) throw UsageError("macro", "--html goes with --help");
    args.expectPositionals(1, 1);
    // $(get_cfg:...) reads the library's configuration: let it see the tool's chain.
    const ConfigChain chain = buildConfigChain(context);
    QOR::setLibraryConfigHandler(chain.head());
    std::string text = args.positionals()[0];
    StringList errors;
    const bool ok = MacroReplacer().replace(text, errors);
    QOR::setLibraryConfigHandler(GC<ConfigHandler>());
    std::cout << text << '\n';
    for (const std::string& error : errors)
        printError(error);
    return ok && errors.size() == 0 ? ExitOk : ExitProblem;
}

} // namespace Qorctl
