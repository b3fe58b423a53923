// User interaction: the requests built from error records, the text provider's exact output, the
// GUI plug-in engine with the recording test plug-in, the routing of Result::showError and the
// C face.
#include "qorcommon/applicationinfo.h"
#include "qorcommon/c/gui.h"
#include "qorcommon/c/guiplugin.h"
#include "qorcommon/cwrapper.h"
#include "qorcommon/fileinfo.h"
#include "qorcommon/guiprovider.h"
#include "qorcommon/libraryloader.h"
#include "qorcommon/libraryservices.h"
#include "qorcommon/logging.h"

#include "platform/platform.h"
#include "testsupport.h"

#include <gtest/gtest.h>

#include <atomic>
#include <cstdio>
#include <fstream>
#include <memory>
#include <string>
#include <thread>
#include <vector>

#ifndef _WIN32
#include <fcntl.h>
#include <stdlib.h>
#include <unistd.h>
#endif

using namespace Orvane::Core;

namespace {

std::string besideTests(const std::string& name) {
    const FileInfo executable(Platform::executablePath());
    return FileInfo::join(executable.directory(), name + LibraryLoader::suffix());
}

std::string guiPluginPath() {
    return besideTests("qortestguiplugin");
}

ErrorInfo sampleError() {
    return ErrorInfo(ModuleInfo("Inventory", "exe", Version(2, 5, 1)),
                     CodeLocation("src/stock.cpp", 42, "Stock::book", CodeLocation::Plain), 17,
                     "stock is negative", "count the shelf\nthen book again",
                     CustomInfo("order", "4711"), DateTime(2024, 1, 31, 23, 59, 59));
}

std::vector<std::string> fieldNames(const GuiRequest& request) {
    std::vector<std::string> names;
    for (const GuiRequest::Field& field : request.fields())
        names.push_back(field.first);
    return names;
}

// Keeps the messages that reach it as "<priority> <text>".
class MessageLog : public Logger {
public:
    MessageLog() : Logger(GC<LoggerHelper>(), "gui", ModuleInfo()) {}
    std::vector<std::string> messages;

protected:
    void storeEntry(Priority prio, const LogEntry& entry, const StringList&, const DateTime&,
                    double) override {
        messages.push_back(std::string(priorityName(prio)) + " " + entry.text());
    }
};

// Holds the test plug-in loaded for the whole test, so the tests can reach its recording
// functions, and restores the user-interaction state afterwards.
class GuiPluginTest : public testing::Test {
protected:
    void SetUp() override {
        ASSERT_TRUE(m_plugin.load(guiPluginPath())) << m_plugin.errorText();
        m_plugin.function<void (*)(const char*)>("qortest_gui_setRecord")(m_record.c_str());
        m_plugin.function<void (*)(int)>("qortest_gui_claimRevision")(GUI_PLUGIN_API_REVISION);
        setGuiLogger(m_log);
    }
    void TearDown() override {
        setGuiLogger(GC<Logger>());
        deinitGuiProvider();
        unloadGuiPlugin();
        m_plugin.function<void (*)(const char*)>("qortest_gui_setRecord")("");
    }

    /// The lines the plug-in recorded so far.
    std::vector<std::string> recorded() const {
        std::vector<std::string> lines;
        std::ifstream in(m_record);
        for (std::string line; std::getline(in, line);)
            lines.push_back(line);
        return lines;
    }

    QorTest::ScratchDir m_scratch{"gui"};
    std::string m_record = m_scratch.file("record.txt");
    LibraryLoader m_plugin;
    MessageLog* m_messages = new MessageLog;
    GC<Logger> m_log{m_messages};
};

} // namespace

TEST(GuiRequest, ErrorFormHasItsFieldsInOrder) {
    const ErrorInfo error = sampleError();
    const GuiRequest request = GuiRequest::showError(error);
    EXPECT_EQ(request.name(), "show_error");
    EXPECT_EQ(
        fieldNames(request),
        (std::vector<std::string>{"err_datetime", "err_stationName", "err_errorCode",
                                  "err_errorText", "err_module", "err_moduleVer", "err_function",
                                  "err_errorHint", "err_capsError", "err_sourcePosition"}));
    EXPECT_EQ(request.field("err_datetime"), "2024-01-31T23:59:59");
    EXPECT_EQ(request.field("err_stationName"), ApplicationInfo::computerName());
    EXPECT_EQ(request.field("err_errorCode"), "17");
    EXPECT_EQ(request.field("err_errorText"), "stock is negative");
    EXPECT_EQ(request.field("err_module"), "Inventory");
    EXPECT_EQ(request.field("err_moduleVer"), "2.5.1");
    EXPECT_EQ(request.field("err_function"), "Stock::book");
    EXPECT_EQ(request.field("err_errorHint"), "count the shelf\nthen book again");
    // The details keep what no other field has room for: the annotations.
    EXPECT_EQ(request.field("err_capsError"), error.asLongString().str());
    EXPECT_NE(request.field("err_capsError").find("order: 4711"), std::string::npos);
    EXPECT_EQ(request.field("err_sourcePosition"), "src/stock.cpp:42");
    EXPECT_EQ(request.x(), GuiRequest::NoPosition);

    // A record without code, module, function or line leaves those fields empty.
    const GuiRequest bare = GuiRequest::showError(ErrorInfo("bare", CodeLocation("b.c", -1)));
    EXPECT_EQ(bare.field("err_errorCode"), "");
    EXPECT_EQ(bare.field("err_module"), "");
    EXPECT_EQ(bare.field("err_moduleVer"), "");
    EXPECT_EQ(bare.field("err_sourcePosition"), "b.c:");
    EXPECT_EQ(bare.fields().size(), 10u);
}

TEST(GuiRequest, WarningFormAndFieldUpdates) {
    GuiRequest warning = GuiRequest::showWarning(sampleError(), 5);
    EXPECT_EQ(warning.name(), "show_warning");
    EXPECT_EQ(fieldNames(warning),
              (std::vector<std::string>{"warn_station", "warn_errorText", "warn_module",
                                        "warn_moduleVer", "#warn_auto_close_delay"}));
    EXPECT_EQ(warning.field("warn_errorText"), "stock is negative");
    EXPECT_EQ(warning.field("warn_moduleVer"), "2.5.1");
    EXPECT_EQ(warning.field("#warn_auto_close_delay"), "5");
    EXPECT_TRUE(GuiRequest::isNumberField("#warn_auto_close_delay"));
    EXPECT_EQ(GuiRequest::showWarning(sampleError(), -3).field("#warn_auto_close_delay"), "0");

    // A known field changes in its place; a new one goes to the end; a copy is independent.
    const GuiRequest before = warning;
    warning.setField("warn_module", "Other");
    warning.setField("extra", "x");
    EXPECT_EQ(fieldNames(warning)[2], "warn_module");
    EXPECT_EQ(fieldNames(warning).back(), "extra");
    EXPECT_EQ(warning.field("warn_module"), "Other");
    EXPECT_EQ(before.field("warn_module"), "Inventory");
    EXPECT_FALSE(before.hasField("extra"));
    EXPECT_EQ(before.field("absent"), "");
}

TEST(TextGuiProvider, WritesFormsAsExactText) {
    GuiRequest request("show_error");
    request.setField("err_errorText", "disk full");
    request.setField("err_errorCode", "");
    request.setField("err_errorHint", "free space\nthen retry");
    request.setField("*logon_password", "secret");
    EXPECT_EQ(TextGuiProvider::formatRequest(request), "==== Error ====\n"
                                                       "err_errorText: disk full\n"
                                                       "err_errorCode:\n"
                                                       "err_errorHint: free space\n"
                                                       "  then retry\n"
                                                       "logon_password: (hidden)\n"
                                                       "===============\n");
    EXPECT_EQ(TextGuiProvider::formatRequest(GuiRequest("custom_form")),
              "==== custom_form ====\n=====================\n");

    // The default provider writes the block to standard error; so does Result::showError once
    // the provider is installed.
    ASSERT_TRUE(initGuiProvider(""));
    const GuiRequest warning = GuiRequest::showWarning(sampleError(), 3);
    testing::internal::CaptureStderr();
    guiShowWarning(warning);
    Result(sampleError()).showError(QOR_CODE_LOCATION, 1, 2);
    const std::string written = testing::internal::GetCapturedStderr();
    deinitGuiProvider();
    EXPECT_EQ(written, TextGuiProvider::formatRequest(warning) +
                           TextGuiProvider::formatRequest(GuiRequest::showError(sampleError())));
    EXPECT_EQ(TextGuiProvider::formatRequest(warning).substr(0, 16), "==== Warning ===");
}

TEST(TextGuiProvider, LogonIsCancelledWithoutATerminal) {
    if (Platform::isStandardInputTerminal()) GTEST_SKIP() << "standard input is a terminal";
    std::FILE* out = std::tmpfile();
    ASSERT_NE(out, nullptr);
    TextGuiProvider provider(out);
    GuiRequest answer = GuiRequest::logonAnswer("alice");
    ErrorInfo failure;
    EXPECT_EQ(provider.logon(GuiRequest::logon("Inventory"), answer, failure),
              GuiProvider::Cancelled);
    EXPECT_EQ(answer.field("logon_user"), "alice") << "a cancelled form keeps the given values";
    std::rewind(out);
    char line[128] = {};
    ASSERT_NE(std::fgets(line, sizeof line, out), nullptr);
    EXPECT_STREQ(line, "Log-on cancelled: standard input is not a terminal\n");
    std::fclose(out);
}

#ifndef _WIN32
namespace {

// A pseudo-terminal in place of standard input while it lives; what is written to it arrives as
// typed.
class TerminalInput {
public:
    TerminalInput() {
        m_master = posix_openpt(O_RDWR | O_NOCTTY);
        if (m_master < 0 || grantpt(m_master) != 0 || unlockpt(m_master) != 0) return;
        const int slave = open(ptsname(m_master), O_RDWR | O_NOCTTY);
        if (slave < 0) return;
        m_savedInput = dup(STDIN_FILENO);
        dup2(slave, STDIN_FILENO);
        close(slave);
        std::clearerr(stdin);
    }
    ~TerminalInput() {
        if (m_savedInput >= 0) {
            dup2(m_savedInput, STDIN_FILENO);
            close(m_savedInput);
            std::clearerr(stdin);
        }
        if (m_master >= 0) close(m_master);
    }
    TerminalInput(const TerminalInput&) = delete;
    TerminalInput& operator=(const TerminalInput&) = delete;

    bool ok() const { return m_savedInput >= 0; }
    bool type(const std::string& text) {
        return write(m_master, text.data(), text.size()) == static_cast<ssize_t>(text.size());
    }

private:
    int m_master = -1;
    int m_savedInput = -1;
};

} // namespace

TEST(TextGuiProvider, LogonAsksEachAnswerAtATerminal) {
    std::FILE* out = std::tmpfile();
    ASSERT_NE(out, nullptr);
    TextGuiProvider provider(out);
    const GuiRequest request = GuiRequest::logon("Inventory");
    GuiRequest answer = GuiRequest::logonAnswer("alice");
    GuiRequest cancelled = GuiRequest::logonAnswer("alice");
    ErrorInfo failure;
    {
        TerminalInput terminal;
        if (!terminal.ok()) GTEST_SKIP() << "no pseudo-terminal";
        ASSERT_TRUE(Platform::isStandardInputTerminal());
        // An empty line keeps the pre-filled user; the password is read without echo.
        ASSERT_TRUE(terminal.type("\npw\n"));
        EXPECT_EQ(provider.logon(request, answer, failure), GuiProvider::Accepted);
        // End of input (Ctrl-D at the start of a line) cancels and keeps the given values.
        ASSERT_TRUE(terminal.type("bob\n\x04"));
        EXPECT_EQ(provider.logon(request, cancelled, failure), GuiProvider::Cancelled);
    }
    EXPECT_EQ(answer.field("logon_user"), "alice");
    EXPECT_EQ(answer.field("*logon_password"), "pw");
    EXPECT_EQ(cancelled.field("logon_user"), "alice");

    std::string written;
    std::rewind(out);
    for (int c; (c = std::fgetc(out)) != EOF;)
        written += static_cast<char>(c);
    std::fclose(out);
    const std::string form = TextGuiProvider::formatRequest(request);
    EXPECT_EQ(written, form + "logon_user [alice]: logon_password: \n" + form +
                           "logon_user [alice]: logon_password: \nLog-on cancelled\n");
}
#endif

TEST_F(GuiPluginTest, ShownErrorsReachThePluginAndDeinitRestoresTheHandler) {
    int marker = 0;
    const Result::ShowErrorHandler before =
        Result::setShowErrorHandler([](const ErrorInfo&, const CodeLocation&, int, int,
                                       void* context) { ++*static_cast<int*>(context); },
                                    &marker);

    const Result init = initGuiProvider(guiPluginPath());
    ASSERT_TRUE(init) << init.errorInfo().hint();
    EXPECT_TRUE(isGuiPluginLoaded());
    // The plug-in's message came back through the callback table.
    EXPECT_EQ(m_messages->messages, std::vector<std::string>{"Status test GUI plug-in ready"});

    Result(sampleError()).showError(QOR_CODE_LOCATION, 10, 20);
    EXPECT_EQ(marker, 0) << "the previous handler is not called while the provider is installed";

    deinitGuiProvider();
    EXPECT_FALSE(isGuiPluginLoaded());
    Result(sampleError()).showError(QOR_CODE_LOCATION, 0, 0);
    EXPECT_EQ(marker, 1) << "deinit restores the previous handler";
    Result::setShowErrorHandler(before);

    const GuiRequest expected = GuiRequest::showError(sampleError());
    std::vector<std::string> lines = {"init 1 " + QOR::getModuleInfo().version().toString(),
                                      "show show_error 10 20"};
    for (const GuiRequest::Field& field : expected.fields()) {
        std::string value = field.second;
        for (std::size_t at = value.find('\n'); at != std::string::npos; at = value.find('\n', at))
            value.replace(at, 1, "\\n");
        lines.push_back(field.first + "=" + value);
    }
    lines.push_back("end");
    lines.push_back("shutdown");
    EXPECT_EQ(recorded(), lines);
}

TEST_F(GuiPluginTest, LoadFailuresExplainWhyAndKeepTheTextProvider) {
    const auto expectInitFailure = [](const std::string& path, const std::string& reasonPart) {
        const Result result = initGuiProvider(path);
        ASSERT_FALSE(result);
        const ErrorInfo& error = result.errorInfo();
        EXPECT_EQ(error.errorText(), "cannot initialize GUI handler");
        EXPECT_EQ(error.moduleInfo(), QOR::getModuleInfo());
        EXPECT_NE(error.hint().find(reasonPart), std::string::npos) << error.hint();
        EXPECT_EQ(error.customInfo().get("reason", ""), error.hint());
        EXPECT_TRUE(error.customInfo().contains("gui_plugin"));
        EXPECT_FALSE(isGuiPluginLoaded());
    };
    // A missing file: the loader's text names the file, the system's reason follows.
    expectInitFailure(m_scratch.file("no_such_plugin"), "no_such_plugin" + LibraryLoader::suffix());
    // A library that is no GUI plug-in.
    expectInitFailure(besideTests("qortestplugin"), "gui_plugin_getApiRevision");
    // A plug-in of another revision.
    m_plugin.function<void (*)(int)>("qortest_gui_claimRevision")(2);
    expectInitFailure(guiPluginPath(), "revision 2");

    // Errors shown after a failed start still reach the user, as text.
    testing::internal::CaptureStderr();
    Result(sampleError()).showError(QOR_CODE_LOCATION, 0, 0);
    EXPECT_EQ(testing::internal::GetCapturedStderr(),
              TextGuiProvider::formatRequest(GuiRequest::showError(sampleError())));
}

TEST_F(GuiPluginTest, FormsThePluginCannotShowFallBackToText) {
    ASSERT_TRUE(loadGuiPlugin(guiPluginPath()));
    ErrorInfo refused("refuse");
    const GuiRequest warning = GuiRequest::showWarning(refused, 0);
    testing::internal::CaptureStderr();
    guiShowWarning(warning);
    const std::string written = testing::internal::GetCapturedStderr();
    EXPECT_EQ(written.substr(0, TextGuiProvider::formatRequest(warning).size()),
              TextGuiProvider::formatRequest(warning));
    EXPECT_NE(written.find("the GUI plug-in did not show the form 'show_warning'"),
              std::string::npos)
        << written;
}

TEST_F(GuiPluginTest, LogonFormsCollectOnlyTheAskedAnswers) {
    ASSERT_TRUE(loadGuiPlugin(guiPluginPath()));
    GuiRequest answer = GuiRequest::logonAnswer("alice");
    EXPECT_EQ(guiLogon(GuiRequest::logon("Inventory"), answer), GuiProvider::Accepted);
    EXPECT_EQ(fieldNames(answer), (std::vector<std::string>{"logon_user", "*logon_password"}));
    EXPECT_EQ(answer.field("logon_user"), "tester");
    EXPECT_EQ(answer.field("*logon_password"), "s3cret");

    GuiRequest kept = GuiRequest::logonAnswer("alice");
    EXPECT_EQ(guiLogon(GuiRequest::logon("cancel"), kept), GuiProvider::Cancelled);
    EXPECT_EQ(kept.field("logon_user"), "alice");

    // A plug-in failure goes to the text provider, which cannot ask without a terminal.
    if (!Platform::isStandardInputTerminal()) {
        testing::internal::CaptureStderr();
        EXPECT_EQ(guiLogon(GuiRequest::logon("fail"), kept), GuiProvider::Cancelled);
        testing::internal::GetCapturedStderr();
    }
    const std::vector<std::string> lines = recorded();
    ASSERT_GE(lines.size(), 7u);
    EXPECT_EQ(lines[1], "logon logon");
    EXPECT_EQ(lines[2], "logon_application=Inventory");
    EXPECT_EQ(lines[3], "logon_station=" + ApplicationInfo::computerName());
    EXPECT_EQ(lines[4], "ask logon_user=alice");
    EXPECT_EQ(lines[5], "ask *logon_password=");
}

TEST_F(GuiPluginTest, CFace) {
    QorTest::AssertionRecorder assertions;
    EXPECT_EQ(gui_load(m_scratch.file("missing").c_str()), 0);
    EXPECT_NE(std::string(gui_lastError()).find("missing"), std::string::npos);
    EXPECT_EQ(gui_isLoaded(), 0);
    // Without a logger, a plug-in's messages go to standard error.
    setGuiLogger(GC<Logger>());
    testing::internal::CaptureStderr();
    EXPECT_EQ(gui_load(guiPluginPath().c_str()), 1) << gui_lastError();
    EXPECT_EQ(testing::internal::GetCapturedStderr(),
              "GUI plug-in Status: test GUI plug-in ready\n");
    setGuiLogger(m_log);
    EXPECT_STREQ(gui_lastError(), "");
    EXPECT_EQ(gui_isLoaded(), 1);

    CWrapper::orv_ErrorInfo_Buffer buffer;
    const orv_ErrorInfo record = CWrapper::fromErrorInfo(sampleError(), buffer);
    orv_ShowErrorInfoXY(&record, 3, 4);
    orv_ShowErrorInfo1(&record);
    orv_ShowErrorInfo1(nullptr);
    EXPECT_TRUE(assertions.saw({"error"}));

    char user[16] = "alice";
    char password[16] = "";
    EXPECT_EQ(orv_Logon("Inventory", user, sizeof user, password, sizeof password),
              orv_Logon_Accepted);
    EXPECT_STREQ(user, "tester");
    EXPECT_STREQ(password, "s3cret");
    char tiny[4] = "";
    EXPECT_EQ(orv_Logon("Inventory", user, sizeof user, tiny, sizeof tiny), orv_Logon_TooLong);
    EXPECT_STREQ(tiny, "");

    EXPECT_EQ(gui_unload(), 1);
    EXPECT_EQ(gui_unload(), 0);
    EXPECT_EQ(gui_isLoaded(), 0);

    std::vector<std::string> shows;
    for (const std::string& line : recorded())
        if (line.rfind("show ", 0) == 0) shows.push_back(line);
    EXPECT_EQ(shows, (std::vector<std::string>{"show show_error 3 4", "show show_error -1 -1"}));

    // The text provider's functions write even while a plug-in is current.
    ASSERT_EQ(gui_load(guiPluginPath().c_str()), 1);
    testing::internal::CaptureStderr();
    orv_def_gui_showError(&record, 0, 0);
    EXPECT_EQ(testing::internal::GetCapturedStderr(),
              TextGuiProvider::formatRequest(GuiRequest::showError(sampleError())));
}

namespace {

class CountingProvider : public GuiProvider {
public:
    std::atomic<int> shown{0};
    Result showError(const GuiRequest&) override {
        ++shown;
        return true;
    }
    Result showWarning(const GuiRequest&) override { return true; }
    Answer logon(const GuiRequest&, GuiRequest&, ErrorInfo&) override { return Cancelled; }
};

} // namespace

TEST(GuiProvider, ReplacingTheProviderWhileFormsAreShownLosesNone) {
    auto first = std::make_shared<CountingProvider>();
    auto second = std::make_shared<CountingProvider>();
    const std::shared_ptr<GuiProvider> before = setGuiProvider(first);
    constexpr int kThreads = 4;
    constexpr int kForms = 500;
    const GuiRequest request("show_error");
    std::vector<std::thread> threads;
    for (int t = 0; t < kThreads; ++t) {
        threads.emplace_back([&] {
            for (int i = 0; i < kForms; ++i)
                guiShowError(request);
        });
    }
    for (int i = 0; i < 200; ++i) {
        setGuiProvider(i % 2 ? std::shared_ptr<GuiProvider>(first) : second);
    }
    for (std::thread& thread : threads)
        thread.join();
    EXPECT_EQ(first->shown + second->shown, kThreads * kForms);

    // Null restores the default provider.
    setGuiProvider(nullptr);
    EXPECT_EQ(guiProvider(), defaultGuiProvider());
    setGuiProvider(before);
}
