#include "qorcommon/datetime.h"
#include "qorcommon/libraryservices.h"
#include "qorcommon/macroreplacer.h"
#include "qorcommon/memoryconfighandler.h"

#include "platform/platform.h"

#include "testsupport.h"

#include <gtest/gtest.h>

#include <atomic>
#include <new>
#include <stdexcept>
#include <string>
#include <thread>
#include <vector>

using namespace Orvane::Core;

namespace {

using Texts = std::vector<std::string>;

struct Expansion {
    std::string text;
    Texts errors;
    bool ok = false;
};

Expansion expand(const std::string& text, MacroReplacerHelper* helper = nullptr) {
    Expansion e;
    e.text = text;
    StringList errors;
    e.ok = MacroReplacer(helper).replace(e.text, errors);
    e.errors = errors.asVector();
    return e;
}

std::string value(const std::string& text, MacroReplacerHelper* helper = nullptr) {
    Expansion e = expand(text, helper);
    EXPECT_TRUE(e.ok) << text << ": " << (e.errors.empty() ? "" : e.errors.front());
    return e.text;
}

// Expects the text and exactly these errors.
void expectFailure(const std::string& text, const std::string& expected, const Texts& errors,
                   MacroReplacerHelper* helper = nullptr) {
    Expansion e = expand(text, helper);
    EXPECT_FALSE(e.ok) << text;
    EXPECT_EQ(expected, e.text) << text;
    EXPECT_EQ(errors, e.errors) << text;
}

std::string nested(const std::string& open, int levels, const std::string& inner) {
    std::string text;
    for (int i = 0; i < levels; ++i)
        text += open;
    return text + inner + std::string(static_cast<std::size_t>(levels), ')');
}

// Supplies a few context values.
class ContextHelper : public MacroReplacerHelper {
public:
    using MacroReplacerHelper::getCustomValue;
    using MacroReplacerHelper::MacroReplacerHelper;
    bool getCustomValue(const std::string& name, const StringList& args, std::string& result,
                        StringList& errors) override {
        if (name == "message") {
            result = "hello";
        } else if (name == "args") {
            result = std::to_string(args.size());
        } else if (name == "echo") {
            result = args.join("|");
        } else if (name == "function" && args.isEmpty()) {
            result = "context function";
        } else if (name == "macro_text") {
            result = "$(nl)"; // a value is final: never expanded
        } else if (name == "failing") {
            errors.append("failing: no luck");
            return false;
        } else {
            return false;
        }
        return true;
    }
};

// Restores the library slots after a test that fills them.
struct LibrarySlots {
    ~LibrarySlots() {
        QOR::setLibraryConfigHandler(GC<ConfigHandler>());
        QOR::setLoadedModulesProvider(QOR::LoadedModulesProvider());
    }
};

} // namespace

TEST(MacroReplacer, TextWithoutMacrosAndCharacterMacros) {
    EXPECT_EQ("plain (text) {with} \"marks\", and: ')'",
              value("plain (text) {with} \"marks\", and: ')'"));
    EXPECT_EQ("a b", value("a$(sp)b"));
    EXPECT_EQ("\n", value("$(nl)"));
    EXPECT_EQ("x\ty", value("x$(tab)y"));
    EXPECT_EQ("", value(""));
    EXPECT_EQ("z", value("$(//:a comment with $(unknown) and $(if) inside)z"));
}

TEST(MacroReplacer, StringMacros) {
    EXPECT_EQ("abc", value("$(str:a,b,c)"));
    EXPECT_EQ("ab", value("$(str_cat:a,b)"));
    EXPECT_EQ("", value("$(str)"));
    EXPECT_EQ("hell0 w0rld", value("$(str_replace:hello world,o,0)"));
    EXPECT_EQ("aXbXc", value("$(str_replace:a--b--c,--,X)"));
    EXPECT_EQ("abc", value("$(str_replace:abc,,X)"));
    EXPECT_EQ("a, b, c", value("$(strl_join:{, },a,b,c)"));
    EXPECT_EQ("", value("$(strl_join:;)"));
    expectFailure("$(str_replace:a,b)", "[no value]",
                  {"str_replace: usage: $(str_replace:<source>,<old>,<new>)"});
    expectFailure("$(strl_join)", "[no value]",
                  {"strl_join: usage: $(strl_join:<delimiter>[,<str1>[,<str2>[,...]]])"});
}

TEST(MacroReplacer, ArgumentsAreTrimmedSplitAndUnquoted) {
    ContextHelper helper;
    EXPECT_EQ("a|b c|d", value("$(echo:  a ,\tb c , d )", &helper));
    EXPECT_EQ("0", value("$(args)", &helper));
    EXPECT_EQ("1", value("$(args:)", &helper));
    // Braces, quotes and nested macros keep their commas and colons.
    EXPECT_EQ("a,b|x:y|c,d|e", value("$(echo:{a,b},\"x:y\",$(str:c,{,},d),e)", &helper));
    // A braced argument is verbatim, a quoted one is expanded after its escapes.
    EXPECT_EQ("$(nl)| x |a\"b\n\r\t\v\f c\\q\\x",
              value("$(echo:{$(nl)},{ x },\"a\\\"b\\n\\r\\t\\v\\f\\sc\\\\q\\x\")", &helper));
    EXPECT_EQ("AB\n", value("$(str:\"\\x41\\x42$(nl)\")"));
    // Only the first and last characters go, whatever they are.
    EXPECT_EQ("a}b|x\"", value("$(echo:{a}b},\"x\"y)", &helper));
    EXPECT_EQ("$(nl)", value("$(macro_text)", &helper));
}

TEST(MacroReplacer, UnknownMacrosAndSyntaxErrors) {
    expectFailure("a$(foo)b", "a[no value]b", {"unknown macro: foo"});
    expectFailure("a$(foo:1,2)b$(bar)", "a[no value]b[no value]",
                  {"unknown macro: foo", "unknown macro: bar"});
    expectFailure("x $(str:a", "x $(str:a", {"syntax error: missing ')'"});
    expectFailure("x $(str:$(nl)", "x $(str:$(nl)", {"syntax error: missing ')'"});
    expectFailure("$() $( )", "[no value] [no value]",
                  {"syntax error: unexpected ')'", "syntax error: unexpected ')'"});
    expectFailure("$(a b)$(b,x)$(a(b))", "[no value][no value][no value]",
                  {"syntax error: missing ':' after macro name",
                   "syntax error: missing ':' after macro name",
                   "syntax error: missing ':' after macro name"});
    expectFailure("$(if:true,{a)b})c", "[no value]c", {"syntax error: too many ')'"});
    // A failing source that reports its own error is not also unknown.
    ContextHelper helper;
    expectFailure("$(failing)", "[no value]", {"failing: no luck"}, &helper);
    // Errors inside braces are reported when the braced text is expanded, each time.
    EXPECT_EQ("$(nosuch)", value("$(str:{$(nosuch)})"));
    expectFailure("$(set:i,0)$(while:{$(o:$(v:i),<,2)},{$(nosuch)$(set:i,$(o:$(v:i),+,1))})",
                  "[no value][no value]", {"unknown macro: nosuch", "unknown macro: nosuch"});
}

TEST(MacroReplacer, SourcesAreAskedInOrder) {
    ContextHelper parent;
    MacroReplacerHelper helper(&parent);
    helper.registerMacroExecutor("nl", [](const std::string&, const StringList&,
                                          std::string& result, StringList&, MacroReplacer*) {
        result = "executor";
        return true;
    });
    helper.registerMacroExecutor("message", [](const std::string& name, const StringList& args,
                                               std::string& result, StringList&, MacroReplacer* r) {
        result = name + ":" + args.join(",") + (r ? "" : " without replacer");
        return true;
    });
    EXPECT_TRUE(helper.hasMacroExecutor("message"));
    EXPECT_EQ("\n", value("$(nl)", &helper)) << "built-ins come first";
    EXPECT_EQ("message:a,b", value("$(message:a,b)", &helper)) << "executors before custom values";
    EXPECT_EQ("2", value("$(args:x,y)", &helper)) << "the parent is asked last";
    EXPECT_TRUE(helper.unregisterMacroExecutor("message"));
    EXPECT_FALSE(helper.unregisterMacroExecutor("message"));
    EXPECT_EQ("hello", value("$(message)", &helper));

    std::string result;
    StringList errors;
    EXPECT_TRUE(helper.getValue("str", StringList{"a", "$(nl)"}, result, errors));
    EXPECT_EQ("a$(nl)", result) << "getValue hands arguments over as a braced text";
    EXPECT_TRUE(helper.getValue("if", StringList{"true", "$(message)"}, result, errors));
    EXPECT_EQ("hello", result);
    EXPECT_FALSE(helper.getValue("nosuch", StringList(), result, errors));
    EXPECT_TRUE(errors.isEmpty());

    // A built-in that needs arguments yields its bare name to the context.
    EXPECT_EQ("context function", value("$(function)", &helper));
    EXPECT_EQ("x", value("$(function:f,{$(return:x)})$(call:f)", &helper));
    expectFailure("$(function)", "[no value]",
                  {"function: usage: $(function:<name>,[,<arg1>,...],{<body>})"});
    // A source that fails with its own error ends the search.
    SimpleMacroReplacerHelper fallback(
        [](const std::string&, const StringList&, std::string& out, StringList&, MacroReplacer*) {
            out = "fallback";
            return true;
        });
    ContextHelper child(&fallback);
    expectFailure("$(failing)", "[no value]", {"failing: no luck"}, &child);
    EXPECT_EQ("fallback", value("$(other)", &child));
}

TEST(MacroReplacer, ThrowingSourcesBecomeErrorsOfTheirMacro) {
    MacroReplacerHelper helper;
    helper.registerMacroExecutor(
        "boom",
        [](const std::string&, const StringList&, std::string&, StringList&,
           MacroReplacer*) -> bool { throw std::runtime_error("disk on fire"); });
    helper.registerMacroExecutor("odd",
                                 [](const std::string&, const StringList&, std::string&,
                                    StringList&, MacroReplacer*) -> bool { throw 42; });
    // The rest of the text still expands, and later macros are still asked.
    expectFailure("a$(boom:x)b$(nl)$(odd)c", "a[no value]b\n[no value]c",
                  {"macro 'boom' failed with an exception: disk on fire",
                   "macro 'odd' failed with an exception"},
                  &helper);

    // A helper's getCustomValue and the executor of a simple helper are guarded the same way,
    // also inside a function call and a braced branch, and for a parsed template.
    struct ThrowingHelper : MacroReplacerHelper {
        using MacroReplacerHelper::getCustomValue;
        bool getCustomValue(const std::string& name, const StringList&, std::string&,
                            StringList&) override {
            if (name == "fragile") throw std::logic_error("broken");
            return false;
        }
    } throwing;
    expectFailure("$(function:f,{$(return:$(fragile))})$(call:f)|$(if:true,{$(fragile)})",
                  "[no value]|[no value]",
                  {"macro 'fragile' failed with an exception: broken",
                   "macro 'fragile' failed with an exception: broken"},
                  &throwing);
    MacroReplacer simple([](const std::string&, const StringList&, std::string&, StringList&,
                            MacroReplacer*) -> bool { throw std::bad_alloc(); });
    std::string result;
    StringList errors;
    EXPECT_FALSE(simple.expand(MacroTemplate("<$(any)>"), result, errors));
    EXPECT_EQ("<[no value]>", result);
    EXPECT_EQ(Texts{"macro 'any' failed with an exception: std::bad_alloc"}, errors.asVector());
}

TEST(MacroReplacer, SimpleHelperSessionsAndCustomContext) {
    struct Entry : MacroReplacer_RunTimeSession::Custom {
        std::string text;
    };
    // The session overload sees the caller's context and expands within the session.
    struct SessionHelper : MacroReplacerHelper {
        using MacroReplacerHelper::getCustomValue;
        bool getCustomValue(const std::string& name, const StringList&, std::string& result,
                            StringList& errors, MacroReplacer_RunTimeSession& session) override {
            if (name == "entry") {
                auto* entry = dynamic_cast<Entry*>(session.custom());
                result = entry ? entry->text : "none";
                return true;
            }
            if (name != "twice") return false;
            result = "$(v:x)$(v:x)";
            return session.replacer()->replace(result, errors, session);
        }
    } helper;
    Entry entry;
    entry.text = "the entry";
    std::string text = "$(entry) $(set:x,ab)$(twice)";
    StringList errors;
    EXPECT_TRUE(MacroReplacer(&helper).replace(text, errors, &entry));
    EXPECT_EQ("the entry abab", text);

    MacroReplacer simple([](const std::string& name, const StringList& args, std::string& result,
                            StringList&, MacroReplacer* replacer) {
        if (name != "up" || !replacer) return false;
        result = "[" + args.join("") + "]";
        return true;
    });
    ASSERT_NE(nullptr, simple.helper());
    text = "$(up:$(str:a,b))";
    EXPECT_TRUE(simple.replace(text));
    EXPECT_EQ("[ab]", text);
    EXPECT_EQ(nullptr, MacroReplacer().helper());
    EXPECT_EQ("x\n", replaceStr("x$(nl)").str());
}

TEST(MacroReplacer, TimeAndProcessMacros) {
    EXPECT_EQ(DateTime(std::int64_t(0)).asISODateTime(false).str(), value("$(dt_posix_to_iso:0)"));
    EXPECT_EQ(DateTime(std::int64_t(1700000000), 250).asISODateTime(false).str(),
              value("$(dt_posix_to_iso:1700000000.25)"));
    for (const char* bad :
         {"$(dt_posix_to_iso)", "$(dt_posix_to_iso:soon)", "$(dt_posix_to_iso:1,2)"})
        expectFailure(bad, "[no value]",
                      {"dt_posix_to_iso: usage: $(dt_posix_to_iso:<posix time>)"});

    const std::int64_t before = DateTime::now().asPosixTime();
    const std::string iso = value("$(dt_now)");
    const std::string posix = value("$(dt_now:posix)");
    const std::string year = value("$(dt_now:YYYY)");
    const std::int64_t after = DateTime::now().asPosixTime();
    DateTime parsed;
    EXPECT_TRUE(DateTime::fromISODateTime(iso, DateTime::DaylightSavingAuto, parsed)) << iso;
    EXPECT_TRUE(parsed.hasMilliseconds());
    EXPECT_TRUE(
        DateTime::fromISODateTime(value("$(dt_now:iso)"), DateTime::DaylightSavingAuto, parsed));
    EXPECT_GE(std::stoll(posix), before);
    EXPECT_LE(std::stoll(posix), after);
    EXPECT_EQ(4u, year.size());
    expectFailure("$(dt_now:a,b)", "[no value]",
                  {"dt_now: usage: $(dt_now[:{iso|posix|<custom format>}]>)"});

    EXPECT_EQ(Platform::currentDirectory(), value("$(current_dir)"));
    char expected[16];
    std::snprintf(
        expected, sizeof expected, "%08lx",
        static_cast<unsigned long>(static_cast<std::uint32_t>(Platform::currentProcessId())));
    EXPECT_EQ(expected, value("$(process_id)"));
    std::snprintf(
        expected, sizeof expected, "%08lx",
        static_cast<unsigned long>(static_cast<std::uint32_t>(Platform::currentThreadId())));
    EXPECT_EQ(expected, value("$(thread_id)"));
    std::string other;
    std::thread([&] { other = value("$(thread_id)"); }).join();
    EXPECT_EQ(8u, other.size());
    EXPECT_NE(expected, other);
}

TEST(MacroReplacer, Operations) {
    const std::vector<std::pair<std::string, std::string>> cases = {
        {"$(o:1,+,2)", "3"},
        {"$(operation:7,-,10)", "-3"},
        {"$(o:7,/,2)", "3"},
        {"$(o:-7,%,3)", "-1"},
        {"$(o:7.0,/,2)", "3.5"},
        {"$(o:0.1,+,0.2)", "0.30000000000000004"},
        {"$(o:2,pow,10)", "1024"},
        {"$(o:2,pow,-1)", "0.5"},
        {"$(o:2,pow,64)", "18446744073709551616"},
        {"$(o:9223372036854775807,+,1)", "9223372036854775808"},
        {"$(o:+5,*,-2)", "-10"},
        {"$(o:1e3,*,2)", "2000"},
        {"$(o:1,==,1.0)", "true"},
        {"$(o:1,=,2)", "false"},
        {"$(o:abc,=,abc)", "true"},
        {"$(o:abc,<>,abd)", "true"},
        {"$(o:10,>,9)", "true"},
        {"$(o:10,<,9)", "false"},
        {"$(o:b,>=,a)", "true"},
        {"$(o:a,<=,a)", "true"},
        {"$(o:10,<,9a)", "true"},
        {"$(o:true,not)", "false"},
        {"$(o:false,!)", "true"},
        {"$(o:anything,not)", "true"},
    };
    for (const auto& c : cases)
        EXPECT_EQ(c.second, value(c.first)) << c.first;
    const std::string usage = "operation: usage: $({o|operation}:<par1>,<operation type>[,par2])";
    for (const char* bad :
         {"$(o:1)", "$(o:1,+)", "$(o:1,+,2,3)", "$(o:x,+,1)", "$(o:1,not,2)", "$(o:inf,+,1)"})
        expectFailure(bad, "[no value]", {usage});
    expectFailure("$(o:1,and,2)", "[no value]", {"unknown operation: and"});
    expectFailure("$(o:1,/,0)$(o:1.5,%,0.0)", "[no value][no value]",
                  {"operation: division by zero", "operation: division by zero"});
}

TEST(MacroReplacer, ConditionsLoopsAndVariables) {
    EXPECT_EQ("yes", value("$(if:$(o:1,<,2),{yes},{no})"));
    EXPECT_EQ("no", value("$(if:false,{yes},{no})"));
    EXPECT_EQ("", value("$(if:TRUE,{yes})"));
    EXPECT_EQ("a", value("$(if:{$(str:tr,ue)},a)")) << "a braced condition is expanded by if";
    expectFailure("$(if:true,{$(set:x,1)},{$(set:y,1)})$(v:x)$(var:y)", "1[no value]",
                  {"v: undefined variable: y"});
    expectFailure("$(if:true)", "[no value]", {"if: usage: $(if:<condition>,{<then>}[,{<else>}])"});

    EXPECT_EQ("01234",
              value("$(set:i,0)$(while:{$(o:$(v:i),<,5)},{$(v:i)$(set:i,$(o:$(v:i),+,1))})"));
    EXPECT_EQ("", value("$(while:{false},{x})"));
    EXPECT_EQ(1000u,
              value("$(set:i,0)$(while:{$(o:$(v:i),<,1000)},{x$(set:i,$(o:$(v:i),+,1))})").size());
    expectFailure("a$(while:{true},{x})b", "a[no value]b", {"while: loop is too long"});
    expectFailure("$(while:{true})", "[no value]",
                  {"while: usage: $(while:{<condition>},{<body>})"});

    EXPECT_EQ("a,b", value("$(set:list,{a,b})$(v:list)"));
    expectFailure("$(v:nothing)", "[no value]", {"v: undefined variable: nothing"});
    expectFailure("$(set:x)", "[no value]", {"set: usage: $(set:<variable name>,<value>)"});
    expectFailure("$(v)$(var:)", "[no value][no value]",
                  {"v: usage: $(v:<variable name>)", "v: usage: $(v:<variable name>)"});
    EXPECT_EQ("xy", value("$(b:{$(set:s,x)},{$(v:s)},y)"));
    EXPECT_EQ("\n", value("$(eval:{$(nl)})"));
    EXPECT_EQ("\n", value("$(set:t,{$(nl)})$(eval:$(v:t))")) << "eval expands a computed template";
    expectFailure("$(eval:a,b)", "[no value]", {"eval: usage: $(eval:<macro>)"});
}

TEST(MacroReplacer, FunctionsFramesAndReturn) {
    EXPECT_EQ("3628800", value("$(function:fact,n,{$(if:$(o:$(v:n),<=,1),{$(return:1)})"
                               "$(return:$(o:$(v:n),*,$(call:fact,$(o:$(v:n),-,1))))})"
                               "$(call:fact,10)"));
    // The body's own text is discarded; a call without return yields nothing.
    EXPECT_EQ("[]", value("$(function:f,{text})[$(call:f)]"));
    // Functions read the main frame; their own variables stay in their frame.
    EXPECT_EQ("outer-inner-outer",
              value("$(set:x,outer)$(function:f,{$(set:x,inner)$(return:$(v:x))})"
                    "$(v:x)-$(call:f)-$(v:x)"));
    EXPECT_EQ("a+b", value("$(function:j,,p,q,{$(return:$(v:p)+$(v:q))})$(call:j,a,b)"));
    EXPECT_EQ("x", value("$(function:g,{$(return:x)$(nosuch)})$(call:g)"))
        << "return ends the body";
    EXPECT_EQ("early", value("before $(if:true,{$(return:early)}) after $(nosuch)"))
        << "a return outside functions ends the expansion with its value";
    expectFailure("$(call:none)", "[no value]", {"call: undefined function: none"});
    expectFailure("$(function:f,a,{})$(call:f)", "[no value]", {"call: mismatch argument number"});
    expectFailure("$(call)", "[no value]", {"call: usage: $(call:<name>[,<arg1>[,<arg2>[,...]]])"});
    expectFailure("$(function:f)", "[no value]",
                  {"function: usage: $(function:<name>,[,<arg1>,...],{<body>})"});
    expectFailure("$(return:a,b)", "[no value]", {"return: usage: $(return[:<return value>])"});

    // A call depth of 100 is allowed; the 101st nested call stops the whole expansion.
    const std::string countdown =
        "$(function:down,n,{$(if:$(o:$(v:n),>,0),{$(call:down,$(o:$(v:n),-,1))})"
        "$(return:$(v:n))})";
    EXPECT_EQ("99", value(countdown + "$(call:down,99)"));
    expectFailure(countdown + "a$(call:down,100)b", "a", {"stack overflow"});
    expectFailure("$(function:f,{$(call:f)$(call:f)})x$(call:f)y", "x", {"stack overflow"});
}

TEST(MacroReplacer, LimitsHold) {
    EXPECT_EQ("x", value(nested("$(str:", 255, "x")));
    expectFailure(nested("$(str:", 256, "x"), "", {"too many enbedding"});
    expectFailure("a" + nested("$(str:", 300, "x") + "b", "a", {"too many enbedding"});
    // Braced levels count when they are expanded, also from a shallow place.
    const std::string deep = nested("$(str:", 200, "x");
    EXPECT_EQ("xx", value(nested("$(str:", 100, "$(function:f,{$(return:" + deep + ")})") +
                          "$(call:f)$(eval:{" + deep + "})"));

    // Nested loops cannot multiply into endless work.
    Expansion e = expand("$(while:{true},{$(while:{true},{$(while:{true},{x})})})");
    EXPECT_FALSE(e.ok);
    EXPECT_EQ("macro expansion is too long", e.errors.back());
    e = expand("$(set:s,x)$(while:{true},{$(set:s,$(v:s)$(v:s))})");
    EXPECT_EQ(Texts{"macro expansion is too long"}, e.errors);
    // Each replacement multiplies the length by 64: the last would make 1 GiB.
    const std::string x64(64, 'x');
    e = expand("$(str_replace:$(str_replace:$(str_replace:$(str_replace:" + x64 + ",x," + x64 +
               "),x," + x64 + "),x," + x64 + "),x," + x64 + ")");
    EXPECT_EQ(Texts{"macro expansion is too long"}, e.errors);
}

TEST(MacroReplacer, ConfigurationEntries) {
    LibrarySlots restore;
    expectFailure("$(get_cfg:A/B,x)", "[no value]",
                  {"get_cfg: cannot be used before initializing QorCommon"});
    GC<MemoryConfigHandler> base(new MemoryConfigHandler);
    GC<MemoryConfigHandler> top(new MemoryConfigHandler(base));
    ASSERT_TRUE(base->setEntryAsString("LOG/FILE", "$(current_dir)/a.log", true));
    ASSERT_TRUE(top->setEntryAsStringList("LOG/LIST", StringList{"first", "second"}, true));
    QOR::setLibraryConfigHandler(top);
    EXPECT_EQ("$(current_dir)/a.log", value("$(get_cfg:LOG/FILE)"))
        << "read through the chain, not expanded";
    EXPECT_EQ("first", value("$(get_cfg:LOG/LIST,x)"));
    EXPECT_EQ("fallback", value("$(get_cfg:LOG/NONE,fallback)"));
    EXPECT_EQ("", value("$(get_cfg:LOG/NONE,)"));
    expectFailure("$(get_cfg:LOG/NONE)", "[no value]",
                  {"get_cfg: entry not found in configuration"});
    for (const char* bad : {"$(get_cfg)", "$(get_cfg:)", "$(get_cfg:a,b,c)"})
        expectFailure(bad, "[no value]",
                      {"get_cfg: usage: $(get_cfg:<cfg path>[,<default value>])"});
}

TEST(MacroReplacer, ModuleMacros) {
    LibrarySlots restore;
    const ModuleInfo& own = QOR::getModuleInfo();
    EXPECT_EQ("QorCommon3", own.name());
    EXPECT_EQ("QorCommon3 (dll) 3.35.4", value("$(module_info)"));
    EXPECT_EQ("QorCommon3 (dll) 3.35.4", value("$(get_modules:;)"))
        << "the library before start-up";
    const ModuleInfo host("host", "exe", Version(1, 2), 0x1f);
    QOR::setLoadedModulesProvider([&] { return std::list<ModuleInfo>{host, own}; });
    EXPECT_EQ("host 1.2.0 exe 000000000000001f; QorCommon3",
              value("$(get_modules:{; },{$(module_name)$(if:$(o:$(module_type),=,exe),{ "
                    "$(module_version) $(module_type) $(module_id)})})"));
    EXPECT_EQ("host (exe) 1.2.0", value("$(get_module_info:host)"));
    EXPECT_EQ("host", value("$(get_module_info:host (exe) 1.2.0,{$(module_name)})"));
    EXPECT_EQ("3.35.4", value("$(module_info:{$(module_version)})"));
    expectFailure("$(get_module_info:guest)", "[no value]",
                  {"get_module_info: could not find module: 'guest'"});
    expectFailure("$(get_module_info)", "[no value]",
                  {"get_module_info: usage: $(get_module_info:<module (shown) name>[,<format>])"});
    expectFailure("$(get_modules)", "[no value]",
                  {"get_modules: usage: $(get_modules:<delimiter>[,<module info format>])"});
    expectFailure("$(module_info:a,b)", "[no value]",
                  {"module_info: usage: $(module_info[:<format>])"});
}

TEST(MacroReplacer, Catalogue) {
    const std::map<std::string, std::pair<std::string, std::string>> expected = {
        {"//", {"$(//:<comment>)", "Only a comment."}},
        {"nl", {"$(nl)", "Inserts a new line character."}},
        {"tab", {"$(tab)", "Inserts a tab character."}},
        {"sp", {"$(sp)", "Inserts a space character."}},
        {"str_cat", {"$({str_cat|str}:[<str_1>][,[<str_2>[,...]]])", "Concatenates the strings."}},
        {"str", {"$({str_cat|str}:[<str_1>][,[<str_2>[,...]]])", "Concatenates the strings."}},
        {"str_replace",
         {"$(str_replace:<source>,<old>,<new>)", "Replaces <old> to <new> in <source>"}},
        {"strl_join",
         {"$(strl_join:<delimiter>[,<str1>[,<str2>[,...]]])", "Joins string with <delimiter>."}},
        {"dt_posix_to_iso",
         {"$(dt_posix_to_iso:<posix time>)",
          "Generates ISO8601 date time format from <posix time>"}},
        {"dt_now",
         {"$(dt_now[:{iso|posix|<custom format>}]>)",
          "Inserts date and time as iso or as <custom format>."}},
        {"current_dir", {"", "Inserts the current directory."}},
        {"thread_id", {"", "Inserts the current thread ID as hexa."}},
        {"process_id", {"", "Inserts the current process ID as hexa."}},
        {"get_cfg",
         {"$(get_cfg:<cfg path>[,<default value>])",
          "Inserts a configuration entry from common config handler."}},
        {"get_modules",
         {"$(get_modules:<delimiter>[, <module info format>])",
          "Inserts the list of all loaded modules."}},
        {"get_module_info",
         {"$(get_module_info:<module(shown) name>[, <format>])",
          "Inserts the information about the given loaded module."}},
        {"module_info",
         {"$(module_info[:<format>])", "Inserts the information about the QorCommon module."}},
        {"operation",
         {"$({o|operation}:<par1>,<operation type>[,par2])",
          "Executes the <operation>.Supported operations are: \nnot, !, +, -, /, *, %, pow, =, ==, "
          "!=, <>, <, <=, >, >="}},
        {"o",
         {"$({o|operation}:<par1>,<operation type>[,par2])",
          "Executes the <operation>.Supported operations are: \nnot, !, +, -, /, *, %, pow, =, ==, "
          "!=, <>, <, <=, >, >="}},
        {"eval", {"$(eval:<macro>)", "Evaluates the <macro>."}},
        {"if", {"$(if:<condition>,{<then>}[,{<else>}])", "Conditional macro."}},
        {"while", {"$(while:{<condition>},{<body>})", "Implements a conditional cycle."}},
        {"set", {"$(set:<variable name>,<value>)", "Declares and sets a variable."}},
        {"v", {"$({v|var}:<variable name>)", "Inserts value of variable."}},
        {"var", {"$({v|var}:<variable name>)", "Inserts value of variable."}},
        {"function", {"$(function:<name>,[,<arg1>,...],{<body>})", "Defines a macro function."}},
        {"call",
         {"$(call:<name>[,<arg1>[,<arg2>[,...]]])",
          "Calls a macro function and inserts its return value."}},
        {"block", {"$({b|block}[,<macro1>[,<macro2>[,...]]])", "Evaluates a block of macros."}},
        {"b", {"$({b|block}[,<macro1>[,<macro2>[,...]]])", "Evaluates a block of macros."}},
        {"return", {"$(return[:<return value>])", "Returns from the current function."}},
    };
    const auto& catalogue = MacroReplacer::availableMacros();
    ASSERT_EQ(expected.size(), catalogue.size());
    for (const auto& entry : expected) {
        auto it = catalogue.find(entry.first);
        ASSERT_NE(catalogue.end(), it) << entry.first;
        EXPECT_EQ(entry.second.first, it->second.name()) << entry.first;
        EXPECT_EQ(entry.second.second, it->second.description()) << entry.first;
        // Every catalogued name is a built-in: none of them is unknown.
        Expansion e = expand("$(" + entry.first + ")");
        for (const std::string& error : e.errors)
            EXPECT_NE(0u, error.find("unknown macro")) << entry.first;
    }

    const std::string html = MacroReplacer::availableMacrosAsHtml().str();
    EXPECT_EQ(0u, html.find("<table><tr><th>Macro</th><th>Short Description</th></tr>"));
    EXPECT_EQ(html.size() - 8, html.find("</table>"));
    EXPECT_NE(std::string::npos,
              html.find("<tr><td>$(str_replace:&lt;source&gt;,&lt;old&gt;,&lt;new&gt;)</td>"
                        "<td>Replaces &lt;old&gt; to &lt;new&gt; in &lt;source&gt;</td></tr>"));
    EXPECT_NE(std::string::npos,
              html.find("<tr><td></td><td>Inserts the current directory.</td></tr>"));
    std::size_t rows = 0;
    for (std::size_t at = html.find("<tr><td>"); at != std::string::npos;
         at = html.find("<tr><td>", at + 1))
        ++rows;
    EXPECT_EQ(expected.size() - 4, rows) << "aliases share one row";
}

TEST(MacroReplacer, CompiledTemplatesExpandAsText) {
    LibrarySlots restore;
    GC<MemoryConfigHandler> config(new MemoryConfigHandler);
    ASSERT_TRUE(config->setEntryAsString("A/B", "cfg", true));
    QOR::setLibraryConfigHandler(config);
    ContextHelper helper;
    const Texts templates = {
        "",
        "plain",
        "a$(sp)b$(nl)c$(tab)",
        "$(message) [$(echo:a, b ,{c,d})]",
        "$(str:\"q\\x41\\s\",{$(nl)})",
        "$(foo)$(bar:1)",
        "$(",
        "x$(str:a",
        "$()",
        "$(a b)",
        "$(if:true,{a)b})",
        "$(if:$(o:1,<,2),{y$(message)},{n})",
        "$(set:i,0)$(while:{$(o:$(v:i),<,20)},{$(v:i),$(set:i,$(o:$(v:i),+,1))})",
        "$(function:f,n,{$(if:$(o:$(v:n),>,0),{$(return:$(o:$(v:n),+,$(call:f,$(o:$(v:n),-,1))))})$"
        "(return:0)})$(call:f,30)",
        "$(get_cfg:A/B) $(get_cfg:A/C,dflt) $(get_cfg:A/D)",
        "$(module_info:{$(module_name)})",
        "$(while:{true},{x})",
        "a$(return:r)b",
        "$(eval:$(str:{$(},{nl)}))",
        "$(o:1,/,0)$(o:2,pow,0.5)",
        nested("$(str:", 256, "deep"),
        "$(b:{$(set:z,1)},{$(v:z)},$(v:z))",
        "$(macro_text)$(failing)",
        "$(strl_join:{, },$(echo:1,2),$(args:),$(args))",
    };
    MacroReplacer replacer(&helper);
    for (const std::string& text : templates) {
        const MacroTemplate parsed(text);
        EXPECT_EQ(text, parsed.text());
        for (int round = 0; round < 2; ++round) {
            std::string viaText = text;
            StringList textErrors;
            const bool textOk = replacer.replace(viaText, textErrors);
            std::string viaTemplate = "old content";
            StringList templateErrors;
            const bool templateOk = replacer.expand(parsed, viaTemplate, templateErrors);
            EXPECT_EQ(viaText, viaTemplate) << text;
            EXPECT_EQ(textErrors.asVector(), templateErrors.asVector()) << text;
            EXPECT_EQ(textOk, templateOk) << text;
        }
    }
    EXPECT_TRUE(MacroTemplate("a {b}").isConstant());
    EXPECT_FALSE(MacroTemplate("a $(b)").isConstant());
    EXPECT_FALSE(MacroTemplate("a $(").isConstant());
    EXPECT_TRUE(MacroTemplate().isEmpty());
    std::string out = "x";
    EXPECT_TRUE(replacer.expand(MacroTemplate(), out));
    EXPECT_EQ("", out);
}

TEST(MacroReplacer, ExpandsOnSeveralThreadsAtOnce) {
    ContextHelper helper;
    auto dot = [](const std::string&, const StringList&, std::string& result, StringList&,
                  MacroReplacer*) {
        result = ".";
        return true;
    };
    helper.registerMacroExecutor("dot", dot);
    MacroReplacer replacer(&helper);
    const MacroTemplate parsed(
        "$(message):$(set:i,0)$(while:{$(o:$(v:i),<,50)},{$(dot)$(set:i,$(o:$(v:i),+,1))})");
    const std::string expected = "hello:" + std::string(50, '.');
    std::atomic<int> failures{0};
    std::vector<std::thread> threads;
    for (int t = 0; t < 4; ++t) {
        threads.emplace_back([&, t] {
            for (int i = 0; i < 200; ++i) {
                if (t == 0) {
                    // Executors change while the others expand.
                    helper.registerMacroExecutor("dot", dot);
                    helper.registerMacroExecutor("other" + std::to_string(i), dot);
                    helper.unregisterMacroExecutor("other" + std::to_string(i));
                    continue;
                }
                std::string line;
                StringList errors;
                if (!replacer.expand(parsed, line, errors) || line != expected) ++failures;
                line = parsed.text();
                if (!replacer.replace(line) || line != expected) ++failures;
            }
        });
    }
    for (std::thread& thread : threads)
        thread.join();
    EXPECT_EQ(0, failures.load());
}
