// Fuzz target over the macro language: the input is a template, expanded through replace() with a
// helper that supplies context values, executors and a configuration chain, so that every built-in
// and control macro is reachable. The expansion must end (the limits hold), and expanding the
// parsed template must give the same text and errors as replace() on the text.
#include "qorcommon/errorinfo.h"
#include "qorcommon/libraryservices.h"
#include "qorcommon/macroreplacer.h"
#include "qorcommon/memoryconfighandler.h"

#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <string>

using namespace Orvane::Core;

namespace {

// Context values, and a value that expands a text of its own within the running session.
class FuzzHelper : public MacroReplacerHelper {
public:
    using MacroReplacerHelper::getCustomValue;
    bool getCustomValue(const std::string& name, const StringList& args, std::string& result,
                        StringList& errors, MacroReplacer_RunTimeSession& session) override {
        if (name == "message") {
            result = "a message with $(nl) and {braces}";
            return true;
        }
        if (name == "nested" && !args.isEmpty() && session.replacer()) {
            result = args.front();
            session.replacer()->replace(result, errors, session);
            return true;
        }
        return false;
    }
};

FuzzHelper& helper() {
    static FuzzHelper* instance = [] {
        auto* made = new FuzzHelper;
        made->registerMacroExecutor("join", [](const std::string&, const StringList& args,
                                               std::string& result, StringList&, MacroReplacer*) {
            result = args.join("+");
            return true;
        });
        made->registerMacroExecutor("fail", [](const std::string&, const StringList&, std::string&,
                                               StringList& errors, MacroReplacer*) {
            errors.append("fail: always");
            return false;
        });
        return made;
    }();
    return *instance;
}

void setUpLibrary() {
    GC<MemoryConfigHandler> config(new MemoryConfigHandler);
    config->setEntryAsString("GLOBAL/LOG_FILE", "$(current_dir)/orvane.log", true);
    config->setEntryAsStringList("GLOBAL/PLUGINS", StringList{"one", "two"}, true);
    QOR::setLibraryConfigHandler(config);
    QOR::setLoadedModulesProvider([] {
        return std::list<ModuleInfo>{ModuleInfo("host", "exe", Version(1, 0)),
                                     QOR::getModuleInfo()};
    });
}

// Texts whose value changes from one expansion to the next.
bool isRepeatable(const std::string& text) {
    return text.find("dt_now") == std::string::npos;
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    static const bool ready = (setUpLibrary(), true);
    (void)ready;
    const std::string input(reinterpret_cast<const char*>(data), size);

    MacroReplacer replacer(&helper());
    std::string viaText = input;
    StringList textErrors;
    const bool textOk = replacer.replace(viaText, textErrors);
    if (textOk != textErrors.isEmpty()) std::abort();

    const MacroTemplate parsed(input);
    std::string viaTemplate;
    StringList templateErrors;
    const bool templateOk = replacer.expand(parsed, viaTemplate, templateErrors);
    if (isRepeatable(input) &&
        (viaText != viaTemplate || textOk != templateOk || textErrors != templateErrors))
        std::abort();

    // The same text as the format of an error record.
    ErrorInfo record(ModuleInfo("m", "dll", Version(1, 2)),
                     CodeLocation("f.cpp", 7, "fn", CodeLocation::Plain, "c", CustomInfo("k", "v")),
                     5, "text", "hint", CustomInfo("key", "value"));
    StringList unresolved;
    record.asString(input, unresolved);
    return 0;
}
