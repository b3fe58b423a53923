#include "qorcommon/c/errorinfo.h"
#include "qorcommon/cwrapper.h"
#include "qorcommon/errorinfo.h"
#include "qorcommon/moduleinfo.h"
#include "qorcommon/operationobject.h"
#include "qorcommon/result.h"

#include "testsupport.h"

#include <gtest/gtest.h>

#include <atomic>
#include <cstring>
#include <string>
#include <thread>
#include <vector>

using namespace Orvane::Core;
using namespace Orvane::Core::CWrapper;

namespace QorTestNs {
struct Widget {
    CodeLocation where() const { return QOR_CODE_LOCATION; }
    static int line() { return __LINE__ - 1; }
};
template <class T> struct Box {
    CodeLocation where(const T&) const { return QOR_CODE_LOCATION; }
};
} // namespace QorTestNs

namespace {

const DateTime kWhen(2024, 1, 31, 23, 59, 59);

ErrorInfo fullRecord() {
    CustomInfo custom;
    custom << CustomInfo::Pair("b", "2") << CustomInfo::Pair("a", "1");
    return ErrorInfo(ModuleInfo("core", "dll", Version(3, 35, 4)),
                     CodeLocation("a.c", 12, "f", CodeLocation::Plain), 5, "disk full",
                     "free some space", custom, kWhen);
}

// Restores the show-error handler that a test replaces.
class ShowErrorHandlerGuard {
public:
    ShowErrorHandlerGuard() {
        m_previous = Result::setShowErrorHandler(nullptr, nullptr, &m_context);
        Result::setShowErrorHandler(m_previous, m_context);
    }
    ~ShowErrorHandlerGuard() { Result::setShowErrorHandler(m_previous, m_context); }

private:
    Result::ShowErrorHandler m_previous;
    void* m_context = nullptr;
};

struct ShownError {
    std::string longForm;
    std::string location;
    int x = 0;
    int y = 0;
    int calls = 0;
};

void recordShownError(const ErrorInfo& error, const CodeLocation& location, int x, int y,
                      void* context) {
    auto* shown = static_cast<ShownError*>(context);
    shown->longForm = error.asLongString().str();
    shown->location = location.asString().str();
    shown->x = x;
    shown->y = y;
    ++shown->calls;
}

} // namespace

// ---- CustomInfo -------------------------------------------------------------------------------

TEST(CustomInfo, KeepsPairsInKeyOrderAndReplacesValues) {
    CustomInfo info("b", "2");
    info << CustomInfo::Pair("a", "1") << CustomInfo::Pair("b", "3");
    EXPECT_EQ(info.size(), 2u);
    EXPECT_EQ(info.asStringList().join("|"), "a = 1|b = 3");
    EXPECT_EQ(info.asString().str(), "a = 1\nb = 3");
    EXPECT_EQ(CustomInfo().asString().str(), "");
    // The lines are filled through the "{0} = {1}" template: a key that reads "{1}" becomes the
    // lowest placeholder left, so the value fills it too.
    EXPECT_EQ(CustomInfo("{1}", "{0}").asString().str(), "{0} = {0}");
}

TEST(CustomInfo, GetReturnsTheDefaultItselfWhenTheKeyIsMissing) {
    const CustomInfo info("key", "value");
    const std::string fallback = "none";
    EXPECT_EQ(&info.get("missing", fallback), &fallback);
    EXPECT_EQ(info.get("key", fallback), "value");
    EXPECT_TRUE(info.contains("key"));
    CustomInfo copy(info);
    copy.set("key", "changed");
    EXPECT_EQ(info.get("key", fallback), "value");
    EXPECT_TRUE(copy.remove("key"));
    EXPECT_FALSE(copy.remove("key"));
}

// ---- CodeLocation -----------------------------------------------------------------------------

TEST(CodeLocation, TextFormsAreExact) {
    EXPECT_EQ(CodeLocation("a.c", 12, "f", CodeLocation::Plain).asString().str(), "a.c:12: f ");
    EXPECT_EQ(CodeLocation("a.c", -1, "f", CodeLocation::Plain).asString().str(), "a.c: f ");
    EXPECT_EQ(CodeLocation().asString().str(), "(unknown)");
    EXPECT_EQ(CodeLocation("a.c", 12, "f", CodeLocation::Plain, "note").asString().str(),
              "a.c:12: f (note)");
    EXPECT_EQ(CodeLocation("a.c", 12, "note").asString().str(), "a.c:12(note)");
    EXPECT_EQ(CodeLocation("f", CodeLocation::C).asString().str(), "(unknown): f ");
    const CodeLocation full("a.c", 12, "f", CodeLocation::Plain, "note");
    EXPECT_EQ(full.locationAsString().str(), "a.c:12");
    EXPECT_EQ(CodeLocation("", 3).locationAsString().str(), "(unknown):3");
}

TEST(CodeLocation, ConstructorGroupsLandInTheirFields) {
    // A third string after file and line is the comment.
    const CodeLocation commented("a.c", 7, "not a function");
    EXPECT_EQ(commented.comment(), "not a function");
    EXPECT_EQ(commented.function(), "");
    EXPECT_EQ(commented.language(), CodeLocation::NoLanguage);

    const CodeLocation all("a.c:9", "g", CodeLocation::Plain, "c", CustomInfo("k", "v"));
    EXPECT_EQ(all.file(), "a.c");
    EXPECT_EQ(all.line(), 9);
    EXPECT_EQ(all.function(), "g");
    EXPECT_EQ(all.comment(), "c");
    EXPECT_EQ(all.customInfo("k"), "v");
    EXPECT_EQ(all.customInfo("missing"), "");
    EXPECT_FALSE(all.isEmpty());
    EXPECT_TRUE(CodeLocation().isEmpty());
    EXPECT_EQ(CodeLocation().line(), -1);

    const CodeLocation onlyFunction("h", CodeLocation::Plain, "c2", CustomInfo("x", "y"));
    EXPECT_EQ(onlyFunction.file(), "");
    EXPECT_EQ(onlyFunction.line(), -1);
    EXPECT_EQ(onlyFunction.customInfo("x"), "y");
}

TEST(CodeLocation, PositionTextIsSplitAtTheColon) {
    EXPECT_EQ(CodeLocation(std::string("src/a.cpp:42")).line(), 42);
    EXPECT_EQ(CodeLocation(std::string("src/a.cpp:42")).file(), "src/a.cpp");
    EXPECT_EQ(CodeLocation(std::string("src/a.cpp")).line(), -1);
    EXPECT_EQ(CodeLocation(std::string("a.cpp:x")).line(), -1);
    EXPECT_EQ(CodeLocation(std::string("a.cpp:12:5")).line(), 12);
    const CodeLocation windows(std::string("C:\\src\\a.cpp:7"), "note");
    EXPECT_EQ(windows.file(), "C:\\src\\a.cpp");
    EXPECT_EQ(windows.line(), 7);
    EXPECT_EQ(windows.comment(), "note");
}

TEST(CodeLocation, MissingFunctionTextIsReported) {
    QorTest::AssertionRecorder recorder;
    CodeLocation location("a.c", 1, static_cast<const char*>(nullptr), CodeLocation::Cpp);
    EXPECT_TRUE(recorder.saw({"codeLocation->function"}));
    EXPECT_EQ(location.function(), "");
    location.setFunction("kept", CodeLocation::Plain);
    location.setFunction(nullptr, CodeLocation::Plain);
    EXPECT_EQ(location.function(), "kept");
}

TEST(CodeLocation, CompilerSignaturesAreReducedToQualifiedNames) {
    const struct {
        const char* signature;
        const char* name;
    } cases[] = {
        {"virtual int Orvane::Core::Foo::bar(int) const", "Orvane::Core::Foo::bar"},
        {"static void ns::A<T>::f(T) [with T = int]", "ns::A::f"},
        {"std::map<int, std::string> ns::g(const std::map<int, int>&)", "ns::g"},
        {"ns::A::A(int)", "ns::A::A"},
        {"ns::A::~A()", "ns::A::~A"},
        {"int main()", "main"},
        {"bool ns::A::operator==(const ns::A&) const", "ns::A::operator=="},
        {"bool ns::A::operator<(const ns::A&) const", "ns::A::operator<"},
        {"ns::A& ns::A::operator<<=(int)", "ns::A::operator<<="},
        {"void ns::A::operator()(int)", "ns::A::operator()"},
        {"ns::A::operator unsigned int() const", "ns::A::operator unsigned int"},
        {"void* ns::A::operator new(std::size_t)", "ns::A::operator new"},
        {"std::string ns::name[abi:cxx11]()", "ns::name"},
        {"ns::f()::<lambda(int)>", "ns::f::<lambda>"},
        {"auto main()::(lambda at a.cpp:5:14)::operator()() const", "main::<lambda>::operator()"},
        {"void {anonymous}::helper()", "{anonymous}::helper"},
        {"void (anonymous namespace)::helper()", "(anonymous namespace)::helper"},
        {"decltype(x) ns::h(int)", "ns::h"},
        {"int __cdecl ns::A::f(int) const", "ns::A::f"},
        {"class std::basic_string<char,struct std::char_traits<char> > __thiscall ns::A::s(void)",
         "ns::A::s"},
        {"void __cdecl `anonymous namespace'::helper(void)", "`anonymous namespace'::helper"},
        {"ns::A::f", "ns::A::f"},
        {"  plain  ", "plain"},
        {"", ""},
    };
    for (const auto& c : cases) {
        EXPECT_EQ(CodeLocation::reduceFunction(c.signature, CodeLocation::Cpp), c.name)
            << c.signature;
    }
    // Other languages keep the text, without its outer blanks.
    EXPECT_EQ(CodeLocation::reduceFunction(" int f(void) ", CodeLocation::Plain), "int f(void)");
    EXPECT_EQ(CodeLocation::reduceFunction("f", CodeLocation::C), "f");
    // A text that is no signature is kept rather than lost.
    EXPECT_EQ(CodeLocation::reduceFunction("void (", CodeLocation::Cpp), "void (");
}

TEST(CodeLocation, MacroNamesTheEnclosingFunction) {
    const CodeLocation location = QorTestNs::Widget().where();
    EXPECT_EQ(location.function(), "QorTestNs::Widget::where");
    EXPECT_EQ(location.line(), QorTestNs::Widget::line());
    EXPECT_EQ(location.file(), __FILE__);
    EXPECT_EQ(location.language(), CodeLocation::Cpp);
    EXPECT_EQ(QOR_CODE_LOCATION_COMMENT("why").comment(), "why");
    // What this compiler really supplies for a template member and a lambda.
    EXPECT_EQ(QorTestNs::Box<std::string>().where("x").function(), "QorTestNs::Box::where");
    const auto inLambda = [] { return QOR_CODE_LOCATION; };
    EXPECT_EQ(inLambda().function(),
              "CodeLocation_MacroNamesTheEnclosingFunction_Test::TestBody::<lambda>");
}

TEST(CodeLocation, CopiesAndMovesAreIndependent) {
    CodeLocation original("a.c", 1, "f", CodeLocation::Plain);
    CodeLocation copy(original);
    copy.setLine(2);
    EXPECT_EQ(original.line(), 1);
    CodeLocation moved(std::move(copy));
    EXPECT_EQ(moved.line(), 2);
    // A moved-from value reads as empty and can be used again.
    EXPECT_TRUE(copy.isEmpty()); // NOLINT(bugprone-use-after-move)
    copy = original;
    EXPECT_EQ(copy, original);
}

// ---- ModuleInfo and NameInfo ------------------------------------------------------------------

TEST(ModuleInfo, TextFormLeavesOutMissingParts) {
    EXPECT_EQ(ModuleInfo("core", "dll", Version(3, 35, 4)).asString().str(), "core (dll) 3.35.4");
    EXPECT_EQ(ModuleInfo("core", "", Version(1, 2)).asString().str(), "core 1.2.0");
    EXPECT_EQ(ModuleInfo("core", "dll", Version()).asString().str(), "core (dll)");
    EXPECT_EQ(ModuleInfo("", "dll", Version(1, 0)).asString().str(), "(dll) 1.0.0");
    EXPECT_EQ(ModuleInfo().asString().str(), "");
    EXPECT_TRUE(ModuleInfo().isEmpty());
    EXPECT_FALSE(ModuleInfo("x", "", Version()).isEmpty());
}

TEST(ModuleInfo, UniqueIdFollowsNameAndTypeUntilSetExplicitly) {
    const ModuleInfo a("core", "dll", Version(1, 0));
    const ModuleInfo b("core", "dll", Version(2, 0));
    EXPECT_EQ(a.uniqueId(), b.uniqueId());
    EXPECT_EQ(a.uniqueId(), ModuleInfo::makeUniqueId("core", "dll"));
    EXPECT_NE(a.uniqueId(), ModuleInfo("core", "exe", Version(1, 0)).uniqueId());
    EXPECT_EQ(ModuleInfo::makeUniqueId("", ""), 0u);

    ModuleInfo filled;
    filled.setName("app");
    EXPECT_EQ(filled.uniqueId(), ModuleInfo::makeUniqueId("app", ""));
    filled.setUniqueId(77);
    filled.setType("exe");
    EXPECT_EQ(filled.uniqueId(), 77u);
    EXPECT_EQ(ModuleInfo("x", "y", Version(), 5).uniqueId(), 5u);
}

TEST(NameInfo, HoldsNameDescriptionAndAnnotations) {
    NameInfo info("Log File", "Path of the log file", CustomInfo("unit", "path"));
    EXPECT_EQ(info.name(), "Log File");
    EXPECT_EQ(info.description(), "Path of the log file");
    EXPECT_EQ(info.customInfo().get("unit", ""), "path");
    NameInfo copy(info);
    copy.customInfo().set("unit", "file");
    EXPECT_NE(copy, info);
    EXPECT_TRUE(NameInfo().isEmpty());
    EXPECT_FALSE(info.isEmpty());
}

// ---- ErrorInfo --------------------------------------------------------------------------------

TEST(ErrorInfo, DefaultAndTextConstructorsDifferInCodeAndEmptiness) {
    const ErrorInfo none;
    EXPECT_TRUE(none.isEmpty());
    EXPECT_EQ(none.errorCode(), 0);
    EXPECT_EQ(none.errorText(), "");

    const ErrorInfo texts[] = {
        ErrorInfo("x", kWhen),
        ErrorInfo("x", "hint", kWhen),
        ErrorInfo("x", CodeLocation("a.c", 1), kWhen),
        ErrorInfo("x", "hint", CodeLocation("a.c", 1), kWhen),
    };
    for (const ErrorInfo& e : texts) {
        EXPECT_FALSE(e.isEmpty());
        EXPECT_EQ(e.errorCode(), -1);
        EXPECT_EQ(e.errorText(), "x");
        EXPECT_EQ(e.dateTime(), kWhen);
        EXPECT_EQ(e.asLongString().str().find("Error Code: "), std::string::npos);
    }
    EXPECT_EQ(texts[1].hint(), "hint");
    EXPECT_EQ(texts[2].codeLocation().file(), "a.c");
    EXPECT_EQ(texts[3].hint(), "hint");
    EXPECT_EQ(texts[3].codeLocation().line(), 1);

    ErrorInfo filled;
    filled.setModuleInfo(ModuleInfo("m", "", Version()));
    EXPECT_TRUE(filled.isEmpty()) << "a module stamp does not fill a record";
    filled.setErrorText("now");
    EXPECT_FALSE(filled.isEmpty());
}

TEST(ErrorInfo, ShortFormIsExact) {
    ErrorInfo e("x", kWhen);
    e.setErrorCode(5);
    EXPECT_EQ(e.asShortString().str(), "[] x (5) ");
    EXPECT_EQ(fullRecord().asShortString().str(), "[core (dll) 3.35.4] disk full (5) ");
}

TEST(ErrorInfo, LongFormIsExact) {
    EXPECT_EQ(fullRecord().asLongString().str(), "Module: core (dll) 3.35.4\n"
                                                 "Location: a.c:12: f \n"
                                                 "Date: 2024-01-31T23:59:59\n"
                                                 "Error Text: disk full\n"
                                                 "Error Code: 5\n"
                                                 "Error Hint: \n"
                                                 "free some space\n"
                                                 "a: 1\n"
                                                 "b: 2\n");
    // No module, no text, no code: those lines go; the hint label stays, with an empty line.
    ErrorInfo bare("", kWhen);
    EXPECT_EQ(bare.asLongString().str(), "Location: (unknown)\n"
                                         "Date: 2024-01-31T23:59:59\n"
                                         "Error Hint: \n"
                                         "\n");
}

TEST(ErrorInfo, ModuleCanBeStampedOnAConstRecord) {
    const ErrorInfo e("x", kWhen);
    e.setModuleInfo(ModuleInfo("plugin", "dll", Version(1, 0)));
    EXPECT_EQ(e.moduleInfo().name(), "plugin");
    EXPECT_EQ(e.asShortString().str(), "[plugin (dll) 1.0.0] x (-1) ");
}

TEST(ErrorInfo, CopiesAreDeep) {
    ErrorInfo original = fullRecord();
    ErrorInfo copy(original);
    copy.customInfo().set("a", "changed");
    copy.setErrorText("other");
    copy.setModuleInfo(ModuleInfo());
    EXPECT_EQ(original.customInfo().get("a", ""), "1");
    EXPECT_EQ(original.errorText(), "disk full");
    EXPECT_EQ(original.moduleInfo().name(), "core");
    ErrorInfo assigned;
    assigned = original;
    EXPECT_EQ(assigned.asLongString(), original.asLongString());
    EXPECT_FALSE(assigned.isEmpty());
}

// ---- Result and the show-error hook -----------------------------------------------------------

TEST(Result, CarriesSuccessAndRecord) {
    const Result ok;
    EXPECT_TRUE(ok.isOk());
    EXPECT_TRUE(static_cast<bool>(ok));
    EXPECT_TRUE(ok.errorInfo().isEmpty());
    const Result failed(ErrorInfo("bad", kWhen));
    EXPECT_FALSE(failed.isOk());
    const ErrorInfo& record = failed;
    EXPECT_EQ(record.errorText(), "bad");
    EXPECT_TRUE(Result(ErrorInfo("warning only"), true).isOk());
    Result assigned = false;
    EXPECT_FALSE(assigned.isOk());
    assigned = failed;
    EXPECT_EQ(assigned.errorInfo().errorText(), "bad");
}

TEST(Result, ShowErrorGoesThroughTheInstalledHandler) {
    ShowErrorHandlerGuard guard;
    ShownError shown;
    Result::setShowErrorHandler(&recordShownError, &shown);
    Result(fullRecord()).showError(CodeLocation("init.cpp", 3), -1, 7);
    EXPECT_EQ(shown.calls, 1);
    EXPECT_EQ(shown.longForm, fullRecord().asLongString().str());
    EXPECT_EQ(shown.location, "init.cpp:3");
    EXPECT_EQ(shown.x, -1);
    EXPECT_EQ(shown.y, 7);

    void* context = nullptr;
    EXPECT_EQ(Result::setShowErrorHandler(nullptr, nullptr, &context), &recordShownError);
    EXPECT_EQ(context, &shown);
    EXPECT_EQ(Result::setShowErrorHandler(nullptr), &Result::defaultShowErrorHandler);
}

TEST(Result, DefaultHandlerWritesTheLongFormToStandardError) {
    ShowErrorHandlerGuard guard;
    Result::setShowErrorHandler(nullptr);
    testing::internal::CaptureStderr();
    Result(fullRecord()).showError(CodeLocation("init.cpp", 3), 0, 0);
    const std::string written = testing::internal::GetCapturedStderr();
    EXPECT_EQ(written, "Error shown at init.cpp:3\n" + fullRecord().asLongString().str());
}

namespace {
ShownError g_cShown;
std::string g_cText;
std::string g_cFunction;

void cHandler(const orv_ErrorInfo* error, const orv_CodeLocation* location, int x, int y,
              void* context) {
    g_cText = error->errorText;
    g_cFunction = location->function;
    g_cShown.x = x;
    g_cShown.y = y;
    g_cShown.calls += *static_cast<int*>(context);
}
} // namespace

TEST(Result, CHandlerSharesTheOneHook) {
    ShowErrorHandlerGuard guard;
    int step = 1;
    EXPECT_EQ(orv_setShowErrorHandler(&cHandler, &step, nullptr), nullptr);
    Result(ErrorInfo("from C", kWhen)).showError(CodeLocation("init", CodeLocation::Plain), 4, 5);
    EXPECT_EQ(g_cShown.calls, 1);
    EXPECT_EQ(g_cText, "from C");
    EXPECT_EQ(g_cFunction, "init");
    EXPECT_EQ(g_cShown.x, 4);
    EXPECT_EQ(g_cShown.y, 5);

    // A C++ handler replaces the C one; the C setter then reports no C predecessor.
    ShownError shown;
    Result::setShowErrorHandler(&recordShownError, &shown);
    Result(ErrorInfo("x", kWhen)).showError(CodeLocation(), 0, 0);
    EXPECT_EQ(g_cShown.calls, 1);
    EXPECT_EQ(shown.calls, 1);
    void* previousContext = &step;
    EXPECT_EQ(orv_setShowErrorHandler(&cHandler, &step, &previousContext), nullptr);
    EXPECT_EQ(previousContext, nullptr);
    EXPECT_EQ(orv_setShowErrorHandler(nullptr, nullptr, &previousContext), &cHandler);
    EXPECT_EQ(previousContext, &step);
    EXPECT_EQ(Result::setShowErrorHandler(nullptr), &Result::defaultShowErrorHandler);
}

namespace {
std::atomic<int> g_concurrentCalls{0};
void countingHandler(const ErrorInfo&, const CodeLocation&, int, int, void*) {
    ++g_concurrentCalls;
}
void otherCountingHandler(const ErrorInfo&, const CodeLocation&, int, int, void*) {
    ++g_concurrentCalls;
}
} // namespace

TEST(Result, HandlerCanBeReplacedWhileErrorsAreShown) {
    ShowErrorHandlerGuard guard;
    Result::setShowErrorHandler(&countingHandler);
    const int perThread = 2000;
    std::vector<std::thread> showers;
    for (int t = 0; t < 3; ++t) {
        showers.emplace_back([perThread] {
            const Result failed(ErrorInfo("x", kWhen));
            for (int i = 0; i < perThread; ++i)
                failed.showError(CodeLocation(), i, 0);
        });
    }
    for (int i = 0; i < 1000; ++i) {
        Result::setShowErrorHandler(i % 2 ? &countingHandler : &otherCountingHandler);
    }
    for (std::thread& t : showers)
        t.join();
    EXPECT_EQ(g_concurrentCalls.load(), 3 * perThread);
}

// ---- OperationObject --------------------------------------------------------------------------

namespace {

class Loader : public OperationObject {
public:
    bool load(long code) {
        setCurrentErrorInfo(ErrorInfo("cannot load", kWhen));
        currentErrorInfo().setErrorCode(code);
        return false;
    }
    String* makeName() { return new String("name", parentOfStorages()); }
    Object* storages() const { return parentOfStorages(); }
};

class DeathFlag : public BaseObject {
public:
    DeathFlag(Object* parent, bool* dead) : BaseObject(Standalone, parent), m_dead(dead) {}
    ~DeathFlag() override { *m_dead = true; }

private:
    bool* m_dead;
};

} // namespace

TEST(OperationObject, KeepsTheLastFailureWithAShortCode) {
    Loader loader;
    EXPECT_TRUE(loader.getCurrentErrorInfo().isEmpty());
    loader.load(70000);
    EXPECT_EQ(loader.getErrorText(), "cannot load");
    EXPECT_EQ(loader.getCurrentErrorInfo().errorCode(), 70000);
    EXPECT_EQ(loader.getErrorCode(), static_cast<short>(70000));
    loader.load(-1);
    EXPECT_EQ(loader.getErrorCode(), -1);

    ShowErrorHandlerGuard guard;
    ShownError shown;
    Result::setShowErrorHandler(&recordShownError, &shown);
    loader.showError(CodeLocation("here", 1), 2, 3);
    EXPECT_EQ(shown.calls, 1);
    EXPECT_EQ(shown.longForm, loader.getCurrentErrorInfo().asLongString().str());
}

TEST(OperationObject, StoragesLiveAsLongAsTheObjectButAreNoChildren) {
    bool dead = false;
    {
        Loader loader;
        String* name = loader.makeName();
        EXPECT_EQ(name->str(), "name");
        new DeathFlag(name->parentObject(), &dead);
        EXPECT_TRUE(loader.getChildren().empty());
        Loader copy(loader);
        EXPECT_EQ(loader.storages(), name->parentObject());
        EXPECT_NE(copy.storages(), loader.storages());
    }
    EXPECT_TRUE(dead);
}

// ---- conversions to and from the C records ---------------------------------------------------

TEST(CWrapper, BufferIsEmptiedByEachConversion) {
    orv_CustomInfo_Buffer buffer;
    const orv_CustomInfo first = fromCustomInfo(CustomInfo("k", "v"), buffer);
    EXPECT_STREQ(first.items[0].value, "v");
    const orv_CustomInfo none = fromCustomInfo(CustomInfo(), buffer);
    EXPECT_EQ(none.count, 0u);
    EXPECT_EQ(none.items, nullptr);
}

TEST(CWrapper, CodeLocationRecordsKeepEmptinessAndCheckTheFunction) {
    orv_CodeLocation_Buffer buffer;
    const orv_CodeLocation empty = fromCodeLocation(CodeLocation(), buffer);
    EXPECT_STREQ(empty.file, "");
    EXPECT_EQ(empty.line, -1);
    EXPECT_EQ(empty.language, orv_Language_None);
    EXPECT_TRUE(toCodeLocation(empty).isEmpty());

    const orv_CustomInfoItem items[] = {{"z", "1"}, {"y", nullptr}};
    const _orv_CodeLocationInput input =
        orv_CodeLocationInput_init("b.c", 4, "int ns::f(int)", orv_Language_Cpp, nullptr, 2, items);
    const CodeLocation location = toCodeLocation(input);
    EXPECT_EQ(location.function(), "ns::f");
    EXPECT_EQ(location.comment(), "");
    EXPECT_EQ(location.customInfo("y"), "");
    EXPECT_TRUE(location.customInfo().contains("y"));

    QorTest::AssertionRecorder recorder;
    const CodeLocation missing = toCodeLocation(orv_CodeLocation_init3("c.c", 1, nullptr, 2));
    EXPECT_TRUE(recorder.saw({"codeLocation->function"}));
    EXPECT_EQ(missing.file(), "c.c");
    toCodeLocation(orv_CodeLocation_init4("c.c", 1));
    EXPECT_EQ(recorder.texts().size(), 1u);
}

TEST(CWrapper, ModuleAndNameRecords) {
    orv_ModuleInfo_Buffer moduleBuffer;
    const ModuleInfo module("core", "dll", Version(3, 35, 4, 1), 99);
    const orv_ModuleInfo record = fromModuleInfo(module, moduleBuffer);
    EXPECT_STREQ(record.type, "dll");
    EXPECT_EQ(record.versionMinor, 35);
    EXPECT_EQ(record.versionBuild, 1);
    EXPECT_EQ(record.uniqueId, 99u);
    EXPECT_EQ(toModuleInfo(record), module);
    orv_ModuleInfo derived = record;
    derived.uniqueId = 0;
    EXPECT_EQ(toModuleInfo(derived).uniqueId(), ModuleInfo::makeUniqueId("core", "dll"));

    orv_NameInfo_Buffer nameBuffer;
    const NameInfo name("Title", "Text", CustomInfo("k", "v"));
    const orv_NameInfo nameRecord = toNameInfo(name, nameBuffer);
    EXPECT_STREQ(nameRecord.description, "Text");
    EXPECT_EQ(toNameInfo(nameRecord), name);

    // An error's module travels as a name record and comes back whole, id included.
    BufferStorage storage;
    EXPECT_EQ(moduleFromNameInfo(moduleAsNameInfo(module, storage)), module);
    EXPECT_TRUE(moduleFromNameInfo(moduleAsNameInfo(ModuleInfo(), storage)).isEmpty());
}
