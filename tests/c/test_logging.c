/* Loggers, frames, entries and listeners, called from C. */
#include "ctest_support.h"

#include "qorcommon/c/errorinfo.h"
#include "qorcommon/c/logging.h"
#include "qorcommon/c/object.h"

#include <stdio.h>
#include <string.h>

/* What the listener saw of the last entry. */
typedef struct {
    int count;
    char loggerName[64];
    int priority;
    int context;
    char text[512];
    long statusCode;
    char file[64];
    int line;
    char function[64];
    char customContext[64];
    unsigned stackCount;
    char innermost[128];
    int year;
} Seen;

static void copyText(char* target, size_t size, const char* text) {
    snprintf(target, size, "%s", text ? text : "<null>");
}

static void remember(const orv_LogEvent* event, void* context) {
    Seen* seen = (Seen*)context;
    ++seen->count;
    copyText(seen->loggerName, sizeof seen->loggerName, event->loggerName);
    seen->priority = event->priority;
    seen->context = event->entry.context;
    copyText(seen->text, sizeof seen->text, event->entry.text);
    seen->statusCode = event->entry.statusCode;
    copyText(seen->file, sizeof seen->file, event->entry.location.file);
    seen->line = event->entry.location.line;
    copyText(seen->function, sizeof seen->function, event->entry.location.function);
    copyText(seen->customContext, sizeof seen->customContext, event->entry.customContext);
    seen->stackCount = event->stackCount;
    copyText(seen->innermost, sizeof seen->innermost,
             event->stackCount ? event->stack[event->stackCount - 1] : "");
    seen->year = event->time.tm_year + 1900;
}

static Seen seen;
static orv_Logger_ptr logger;
static orv_LoggingListener_ptr listener;

static orv_CodeLocation here(int line, const char* function) {
    return orv_CodeLocation_init3("c.c", line, function, orv_Language_Plain);
}

static void test_retval_functions_return_their_value(void) {
    orv_LoggingFrame_ptr frame = orv_logging_BeginFrame2(logger, "f");
    CHECK(frame.obj != NULL);
    CHECK(seen.context == orv_LogContext_BeginLogging);
    CHECK_STR(seen.text, "f");
    CHECK(seen.priority == orv_LogPriority_Status);
    CHECK(orv_logging_EndFrame_retval2_int(7, frame, "f", "%d", 7) == 7);
    CHECK(seen.context == orv_LogContext_EndLogging);
    CHECK_STR(seen.text, "7");
    CHECK_STR(seen.function, "f");
    CHECK(seen.priority == orv_LogPriority_Status);

    frame = orv_logging_BeginFrame1(logger, here(10, "g"));
    CHECK_STR(seen.text, "");
    CHECK_STR(seen.function, "g");
    CHECK(seen.line == 10);
    CHECK(orv_logging_EndFrame_retval1_bool(1, frame, here(11, "g"), "%s", "true") == 1);
    CHECK_STR(seen.text, "true");
    CHECK(seen.line == 11);

    frame = orv_logging_BeginFrame(logger, here(20, "h"));
    CHECK(orv_logging_EndFrame_retval1_float(2.5f, frame, here(21, "h"), "%.2f", 2.5) == 2.5f);
    CHECK_STR(seen.text, "2.50");

    frame = orv_logging_BeginFrame2(logger, "s");
    {
        const char* value = "result";
        CHECK(orv_logging_EndFrame_retval2_str(value, frame, "s", "'%s'", value) == value);
        CHECK_STR(seen.text, "'result'");
    }

    frame = orv_logging_BeginFrame2(logger, "b");
    CHECK(orv_logging_EndFrame_retval2_bool(0, frame, NULL, "%d", 0) == 0);
    CHECK_STR(seen.text, "0");
    /* Without a function name the end entry has no location. */
    CHECK_STR(seen.function, "");
    CHECK(seen.line == -1);

    frame = orv_logging_BeginFrame2(logger, "i");
    CHECK(orv_logging_EndFrame_retval1_int(-3, frame, here(30, "i"), "%d/%s", -3, "x") == -3);
    CHECK_STR(seen.text, "-3/x");
    frame = orv_logging_BeginFrame2(logger, "fl");
    CHECK(orv_logging_EndFrame_retval2_float(0.5f, frame, "fl", "%g", 0.5) == 0.5f);
    CHECK_STR(seen.text, "0.5");
    frame = orv_logging_BeginFrame2(logger, "st");
    CHECK(orv_logging_EndFrame_retval1_str(NULL, frame, here(31, "st"), "none") == NULL);
    CHECK_STR(seen.text, "none");
}

static void test_end_frames_and_formatting(void) {
    char expected[400];
    int i;
    orv_LoggingFrame_ptr frame = orv_logging_BeginFrame2(logger, "long");
    /* Longer than any small fixed buffer: measured, then formatted. */
    for (i = 0; i < 300; ++i)
        expected[i] = (char)('a' + i % 26);
    expected[300] = '\0';
    orv_logging_EndFrame_retval2(frame, "long", "%s|%d", expected, 300);
    CHECK(strlen(seen.text) == 304);
    CHECK(strncmp(seen.text, expected, 300) == 0);
    CHECK_STR(seen.text + 300, "|300");

    frame = orv_logging_BeginFrame2(logger, "r");
    orv_logging_EndFrame_retval(frame, here(40, "r"), "%s-%d", "a", 3);
    CHECK_STR(seen.text, "a-3");
    CHECK(seen.line == 40);
    frame = orv_logging_BeginFrame2(logger, "r1");
    orv_logging_EndFrame_retval1(frame, here(41, "r1"), "%%");
    CHECK_STR(seen.text, "%");

    frame = orv_logging_BeginFrame2(logger, "e");
    orv_logging_EndFrame(frame, here(42, "e"));
    CHECK(seen.context == orv_LogContext_EndLogging);
    CHECK_STR(seen.text, "");
    CHECK(seen.line == 42);
    frame = orv_logging_BeginFrame2(logger, "e1");
    orv_logging_EndFrame1(frame, here(43, "e1"));
    CHECK(seen.line == 43);
    frame = orv_logging_BeginFrame2(logger, "e2");
    orv_logging_EndFrame2(frame);
    CHECK(seen.context == orv_LogContext_EndLogging);
    CHECK(seen.line == -1);
}

static void test_entries_through_frames(void) {
    orv_LogEntry record;
    orv_LogEntry filled;
    orv_LogEntry_ptr entry;
    orv_LoggingFrame_ptr outer = orv_logging_BeginFrame1(logger, here(50, "outer"));
    orv_LoggingFrame_ptr frame = orv_logging_BeginFrame1(logger, here(51, "inner"));

    CHECK(orv_logging_AddCall_short2(frame, "callee", "callee(%d, \"%s\")", 1, "two") == 1);
    CHECK(seen.priority == orv_LogPriority_Hint);
    CHECK(seen.context == orv_LogContext_General);
    CHECK(seen.statusCode == 0);
    CHECK_STR(seen.text, "callee(1, \"two\")");
    CHECK_STR(seen.function, "callee");
    CHECK(seen.stackCount == 2);
    CHECK_STR(seen.innermost, "c.c:51: inner ");
    CHECK(seen.year >= 2024);

    CHECK(orv_logging_AddCall_short1(frame, here(52, "x"), "x()") == 1);
    CHECK(seen.line == 52);

    entry = orv_LogEntry_createStatus2(12, "ok");
    CHECK(orv_logging_AddEntry1(frame, orv_LogPriority_Warning, entry) == 1);
    CHECK(seen.priority == orv_LogPriority_Warning);
    CHECK(seen.context == orv_LogContext_Status);
    CHECK(seen.statusCode == 12);
    orv_LogEntry_destruct(entry);

    filled = orv_LogEntry_init2(&record, orv_LogContext_Custom, "v", 3, "key");
    CHECK(record.location.line == -1);
    CHECK(filled.statusCode == 3 && record.statusCode == 3);
    CHECK(orv_logging_AddEntry2(frame, orv_LogPriority_Message, record) == 1);
    CHECK(seen.context == orv_LogContext_Custom);
    CHECK_STR(seen.customContext, "key");
    CHECK_STR(seen.text, "v");
    CHECK_STR(seen.file, "");

    orv_LogEntry_init(&record, orv_LogContext_General, NULL, 0, here(53, "loc"), NULL);
    orv_SimpleLogging_addEntry(frame, orv_LogPriority_Info, record);
    CHECK_STR(seen.text, "");
    CHECK_STR(seen.customContext, "");
    CHECK(seen.line == 53);

    CHECK(orv_SimpleLogging_endFrame_rv(frame, here(54, "inner"), "done") == 1);
    CHECK_STR(seen.text, "done");
    CHECK(seen.stackCount == 2);
    CHECK(orv_SimpleLogging_endFrame(outer, here(55, "outer")) == 1);
    CHECK(seen.stackCount == 1);
    CHECK_STR(seen.innermost, "c.c:50: outer ");

    frame = orv_SimpleLogging_beginFrame(logger, here(56, "simple"));
    CHECK_STR(seen.function, "simple");
    CHECK(orv_SimpleLogging_endFrame(frame, here(57, "simple")) == 1);
}

static void test_entry_objects(void) {
    orv_LogEntry_ptr entry = orv_LogEntry_createFromVariable3("x", "int", "%d", 5);
    orv_LogEntry record;
    CHECK_STR(orv_LogEntry_asString(entry), "x='5' (int)");
    orv_LogEntry_destruct(entry);
    entry = orv_LogEntry_createFromVariable3("x", NULL, "%s", "five");
    CHECK_STR(orv_LogEntry_asString(entry), "x='five'");
    orv_LogEntry_destruct(entry);
    entry = orv_LogEntry_createFromVariable(here(60, "v"), "y", "long", "%ld", 6L);
    record = orv_LogEntry_get(entry);
    CHECK_STR(record.text, "y='6' (long)");
    CHECK(record.location.line == 60);
    orv_LogEntry_destruct(entry);

    entry = orv_LogEntry_createGeneral2("%s!", "hi");
    record = orv_LogEntry_get(entry);
    CHECK(record.context == orv_LogContext_General);
    CHECK_STR(record.text, "hi!");
    CHECK(record.statusCode == 0);
    orv_LogEntry_destruct(entry);
    entry = orv_LogEntry_createGeneral(here(62, "g"), "n=%d", 1);
    CHECK(orv_LogEntry_get(entry).location.line == 62);
    orv_LogEntry_destruct(entry);

    entry = orv_LogEntry_createStatus(here(64, "s"), 12, "ok");
    CHECK_STR(orv_LogEntry_asString(entry), "ok(12)");
    orv_LogEntry_destruct(entry);

    entry = orv_LogEntry_createCustom2("key", "value");
    CHECK_STR(orv_LogEntry_asString(entry), "keyvalue");
    orv_LogEntry_destruct(entry);
    entry = orv_LogEntry_createCustom(here(66, "c"), "k", "v");
    record = orv_LogEntry_get(entry);
    CHECK(record.context == orv_LogContext_Custom);
    CHECK_STR(record.customContext, "k");
    orv_LogEntry_destruct(entry);

    entry = orv_LogEntry_create(orv_LogContext_EndLogging, "7", 0, here(68, "fn"), NULL);
    CHECK_STR(orv_LogEntry_asString(entry), "End: fn(7)");
    orv_LogEntry_destruct(entry);
    entry = orv_LogEntry_create1(orv_LogContext_BeginLogging, NULL, 0, here(69, "fn"), NULL);
    CHECK_STR(orv_LogEntry_asString(entry), "Begin: fn");
    orv_LogEntry_destruct(entry);
    entry = orv_LogEntry_create2(orv_LogContext_Custom, "t", 2, "k");
    CHECK_STR(orv_LogEntry_asString(entry), "kt(2)");
    orv_LogEntry_destruct(entry);

    entry = orv_LogEntry_fromFunctionName2("int f(int a)", "called");
    record = orv_LogEntry_get(entry);
    CHECK_STR(record.location.function, "int f");
    CHECK_STR(record.text, "called");
    orv_LogEntry_destruct(entry);
    entry = orv_LogEntry_fromFunctionName1(here(70, "old"), "void g(void)", "t");
    record = orv_LogEntry_get(entry);
    CHECK_STR(record.location.function, "void g");
    CHECK(record.location.line == 70);
    orv_LogEntry_destruct(entry);

    /* An entry handed to the object stack goes with its frame. */
    orv_objectStack_newFrame();
    entry = orv_LogEntry_createStatus2(1, "kept");
    orv_objectStack_setToGlobalValue(orv_LogEntry_asObject(entry));
    orv_objectStack_deleteActualFrame();
    CHECK_STR(orv_LogEntry_asString(entry), "kept(1)");
    orv_objectStack_deleteActualFrame();
}

static void test_simple_logging_and_listeners(void) {
    orv_ModuleInfo module = {"mod", "dll", 1, 2, 3, 0, 0};
    orv_Logger_ptr named = orv_SimpleLogging_init(&module, "named");
    orv_Logger_ptr byModule = orv_SimpleLogging_init(&module, NULL);
    orv_LoggingListener_ptr second;
    orv_LoggingFrame_ptr frame;
    Seen other;
    CHECK_STR(orv_Logger_name(named), "named");
    CHECK_STR(orv_Logger_name(byModule), "mod");

    /* Loggers of one handler share its listeners. */
    CHECK(orv_Logger_registerListener(named, listener) == 0);
    memset(&other, 0, sizeof other);
    second = orv_LoggingListener_create(remember, &other);
    CHECK(orv_Logger_registerListener(byModule, second) == 1);
    seen.count = 0;
    frame = orv_logging_BeginFrame2(named, "n");
    orv_logging_EndFrame2(frame);
    CHECK(seen.count == 2 && other.count == 2);
    CHECK_STR(other.loggerName, "named");
    CHECK(orv_Logger_unregisterListener(named, second) == 1);
    CHECK(orv_Logger_unregisterListener(named, second) == 0);
    orv_LoggingListener_destruct(second);
    frame = orv_logging_BeginFrame2(byModule, "m");
    orv_logging_EndFrame2(frame);
    CHECK(seen.count == 4 && other.count == 2);
    CHECK_STR(seen.loggerName, "mod");

    orv_SimpleLogging_deinit(named);
    orv_SimpleLogging_deinit(byModule);
}

static void test_null_handles_are_reported(void) {
    orv_Logger_ptr noLogger = {NULL};
    orv_LoggingFrame_ptr noFrame = {NULL};
    orv_LogEntry_ptr noEntry = {NULL};
    orv_LoggingListener_ptr noListener = {NULL};
    orv_LogEntry record = orv_LogEntry_init2(NULL, orv_LogContext_General, "x", 0, NULL);
    orv_LoggingFrame_ptr frame;

    ctest_clear_assertions();
    CHECK(orv_logging_BeginFrame2(noLogger, "f").obj == NULL);
    CHECK_STR(ctest_last_assertion(), "logger.obj");
    CHECK(orv_SimpleLogging_beginFrame(noLogger, here(1, "f")).obj == NULL);
    CHECK_STR(ctest_last_assertion(), "logger.obj");
    orv_SimpleLogging_deinit(noLogger);
    CHECK_STR(ctest_last_assertion(), "logger.obj");

    CHECK(orv_logging_EndFrame_retval2_int(9, noFrame, "f", "%d", 9) == 9);
    CHECK_STR(ctest_last_assertion(), "loggingFrame.obj");
    orv_logging_EndFrame2(noFrame);
    CHECK_STR(ctest_last_assertion(), "loggingFrame.obj");
    CHECK(orv_logging_AddEntry2(noFrame, orv_LogPriority_Info, record) == 0);
    CHECK(orv_SimpleLogging_endFrame(noFrame, here(1, "f")) == 0);
    CHECK(orv_logging_AddCall_short2(noFrame, "f", "x") == 0);
    CHECK_STR(ctest_last_assertion(), "loggingFrame.obj");

    frame = orv_logging_BeginFrame2(logger, "f");
    CHECK(orv_logging_AddEntry1(frame, orv_LogPriority_Info, noEntry) == 0);
    CHECK_STR(ctest_last_assertion(), "entry.obj");
    orv_logging_EndFrame2(frame);
    CHECK(orv_LogEntry_asObject(noEntry).obj == NULL);
    orv_LogEntry_destruct(noEntry);
    CHECK_STR(ctest_last_assertion(), "entry.obj");

    CHECK(orv_Logger_registerListener(logger, noListener) == 0);
    CHECK_STR(ctest_last_assertion(), "listener.obj");
    orv_LoggingListener_destruct(noListener);
    CHECK_STR(ctest_last_assertion(), "listener.obj");
    CHECK(orv_LoggingListener_create(NULL, NULL).obj == NULL);
    CHECK_STR(ctest_last_assertion(), "callback");
    CHECK(ctest_assertion_count() == 14);
}

int main(void) {
    orv_ModuleInfo module = {"ctest", "exe", 1, 0, 0, 0, 0};
    ctest_record_assertions();
    logger = orv_SimpleLogging_init(&module, "c");
    listener = orv_LoggingListener_create(remember, &seen);
    CHECK(orv_Logger_registerListener(logger, listener) == 1);

    test_retval_functions_return_their_value();
    test_end_frames_and_formatting();
    test_entries_through_frames();
    test_entry_objects();
    test_simple_logging_and_listeners();
    test_null_handles_are_reported();

    CHECK(orv_Logger_unregisterListener(logger, listener) == 1);
    orv_LoggingListener_destruct(listener);
    orv_SimpleLogging_deinit(logger);
    CHECK(ctest_assertion_count() == 14);
    return ctest_finish("logging");
}
