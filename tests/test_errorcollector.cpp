#include "qorcommon/c/errorinfocollector.h"
#include "qorcommon/confighandler.h"
#include "qorcommon/errorinfocollector.h"
#include "qorcommon/errorinfocollectorfeature.h"
#include "qorcommon/errorlistener.h"

#include "../capi/chandles.h"
#include "testsupport.h"

#include <gtest/gtest.h>

#include <atomic>
#include <functional>
#include <mutex>
#include <stdexcept>
#include <string>
#include <thread>
#include <vector>

using namespace Orvane::Core;

namespace {

const ModuleInfo kModule("app", "exe", Version(1, 2, 3));

ErrorInfo record(const std::string& text) {
    return ErrorInfo(text, CodeLocation("a.cpp", 7));
}

// Appends "<name>:<error text>" to a shared journal and runs an optional action first.
class Journal : public ErrorInfoCollectorListener {
public:
    Journal(std::string name, std::vector<std::string>& journal)
        : m_name(std::move(name)), m_journal(journal) {}
    std::function<void(const ErrorInfo&)> action;

    void errorInfoAdded(const ErrorInfo& errorInfo, const ModuleInfo&,
                        const CodeLocation&) override {
        m_journal.push_back(m_name + ":" + errorInfo.errorText());
        if (action) action(errorInfo);
    }

private:
    std::string m_name;
    std::vector<std::string>& m_journal;
};

// The listener list is one for the process: every case must leave it as it found it.
class Collector : public testing::Test {
protected:
    void SetUp() override { m_before = ErrorInfoCollector::listenerCount(); }
    void TearDown() override {
        for (auto* listener : m_registered)
            collector->unregisterListener(listener);
        EXPECT_EQ(ErrorInfoCollector::listenerCount(), m_before);
    }
    void registerAll(std::initializer_list<ErrorInfoCollectorListener*> listeners) {
        for (auto* listener : listeners) {
            ASSERT_TRUE(collector->registerListener(listener).isOk());
            m_registered.push_back(listener);
        }
    }

    GC<ErrorInfoCollector> collector{new QOR::DummyErrorInfoCollector};
    std::vector<std::string> journal;

private:
    std::size_t m_before = 0;
    std::vector<ErrorInfoCollectorListener*> m_registered;
};

TEST_F(Collector, ListenersHearEveryRecordOnceInRegistrationOrder) {
    Journal a("a", journal), b("b", journal), c("c", journal), stranger("x", journal);
    registerAll({&b, &a, &c});
    ASSERT_TRUE(collector->registerListener(&a).isOk()); // a second registration is ignored
    collector->unregisterListener(&stranger);            // never registered: nothing changes
    {
        QorTest::AssertionRecorder assertions;
        EXPECT_FALSE(collector->registerListener(nullptr).isOk());
        EXPECT_TRUE(assertions.saw({"listener != nullptr"}));
    }

    EXPECT_TRUE(collector->add(record("one"), kModule, CodeLocation()).isOk());
    EXPECT_EQ(journal, (std::vector<std::string>{"b:one", "a:one", "c:one"}));

    journal.clear();
    collector->unregisterListener(&a);
    collector->add(record("two"), kModule, CodeLocation());
    EXPECT_EQ(journal, (std::vector<std::string>{"b:two", "c:two"}));
}

TEST_F(Collector, ListenersGetTheThreeArgumentsAndCannotChangeTheResult) {
    class Failing : public ErrorInfoCollector {
    protected:
        Result storeErrorInfo(const ErrorInfo&, const ModuleInfo&, const CodeLocation&) override {
            return Result(ErrorInfo("disk full"), false);
        }
    };
    struct Seen : ErrorInfoCollectorListener {
        std::string text, module, where;
        void errorInfoAdded(const ErrorInfo& e, const ModuleInfo& m,
                            const CodeLocation& at) override {
            text = e.errorText();
            module = m.asString().str();
            where = at.asString().str();
        }
    } seen;
    struct Throwing : ErrorInfoCollectorListener {
        void errorInfoAdded(const ErrorInfo&, const ModuleInfo&, const CodeLocation&) override {
            throw std::runtime_error("boom");
        }
    } throwing;
    registerAll({&throwing, &seen});
    QorTest::AssertionRecorder assertions;

    GC<ErrorInfoCollector> failing(new Failing);
    const Result result = failing->add(record("lost"), kModule, CodeLocation("b.cpp", 9));
    EXPECT_FALSE(result.isOk());
    EXPECT_EQ(result.errorInfo().errorText(), "disk full");
    // The throwing listener is reported and the walk goes on to the next one.
    EXPECT_TRUE(assertions.saw({"error info collector listener threw: boom"}));
    EXPECT_EQ(seen.text, "lost");
    EXPECT_EQ(seen.module, "app (exe) 1.2.3");
    EXPECT_EQ(seen.where, "b.cpp:9");
}

TEST_F(Collector, AListenerMayStoreAnotherRecordOnTheSameThread) {
    Journal reentrant("r", journal), after("b", journal);
    int depth = 0;
    reentrant.action = [&](const ErrorInfo&) {
        if (depth++ == 0) {
            EXPECT_TRUE(collector->add(record("inner"), kModule, CodeLocation()).isOk());
        }
        --depth;
    };
    registerAll({&reentrant, &after});
    collector->add(record("outer"), kModule, CodeLocation());
    EXPECT_EQ(journal, (std::vector<std::string>{"r:outer", "r:inner", "b:inner", "b:outer"}));
}

TEST_F(Collector, ChangesMadeDuringAWalkTakeEffectAtOnce) {
    Journal changer("changer", journal), removed("removed", journal), added("added", journal),
        self("self", journal);
    changer.action = [&](const ErrorInfo&) {
        collector->unregisterListener(&removed);
        collector->registerListener(&added);
    };
    self.action = [&](const ErrorInfo&) { collector->unregisterListener(&self); };
    registerAll({&self, &changer, &removed});

    // Removed before its turn: not called. Added during the walk: first hears the next record.
    collector->add(record("one"), kModule, CodeLocation());
    EXPECT_EQ(journal, (std::vector<std::string>{"self:one", "changer:one"}));
    journal.clear();
    collector->add(record("two"), kModule, CodeLocation());
    EXPECT_EQ(journal, (std::vector<std::string>{"changer:two", "added:two"}));
    collector->unregisterListener(&added);
}

TEST_F(Collector, StoringThreadsAndRegisteringThreadsShareTheList) {
    struct Counting : ErrorInfoCollectorListener {
        std::atomic<int> calls{0};
        void errorInfoAdded(const ErrorInfo&, const ModuleInfo&, const CodeLocation&) override {
            ++calls;
        }
    } steady, coming;
    registerAll({&steady});
    constexpr int kThreads = 4, kRecords = 300;
    std::atomic<bool> storing{true};
    std::thread changer([&] {
        while (storing) {
            collector->registerListener(&coming);
            collector->unregisterListener(&coming);
        }
    });
    std::vector<std::thread> storers;
    for (int t = 0; t < kThreads; ++t) {
        storers.emplace_back([&] {
            for (int i = 0; i < kRecords; ++i)
                collector->add(record("x"), kModule, CodeLocation());
        });
    }
    for (auto& thread : storers)
        thread.join();
    storing = false;
    changer.join();
    EXPECT_EQ(steady.calls, kThreads * kRecords);
}

TEST(DummyErrorInfoCollectorFeature, MakesACollectorThatKeepsNothingAndSucceeds) {
    GC<QOR::ErrorInfoCollectorFeature> feature(new QOR::DummyErrorInfoCollectorFeature);
    EXPECT_STREQ(feature->type(), "error_info_collector");
    EXPECT_STREQ(feature->name(), "dummy");
    EXPECT_EQ(feature->uniqueId(), QOR::Feature::toUniqueId("error_info_collector", "dummy"));
    GC<ErrorInfoCollector> made = feature->createObject(GC<ConfigHandler>());
    ASSERT_FALSE(made.isNull());
    EXPECT_STREQ(made->typeName(), "Orvane::Core::QOR::DummyErrorInfoCollector");
    EXPECT_TRUE(made->add(record("e"), kModule, CodeLocation()).isOk());
}

// ---- the C face ---------------------------------------------------------------------------------

struct CSeen {
    int calls = 0;
    std::string text, module, file, function;
    int line = 0;
    unsigned long long moduleId = 0;
};
CSeen cSeen;

void cCallback(const orv_ErrorInfo* error, const orv_ModuleInfo* module,
               const orv_CodeLocation* location) {
    ++cSeen.calls;
    cSeen.text = error->errorText;
    cSeen.module = std::string(module->name) + "|" + module->type + "|" +
                   std::to_string(module->versionMajor) + "." +
                   std::to_string(module->versionMinor) + "." +
                   std::to_string(module->versionPatch);
    cSeen.moduleId = module->uniqueId;
    cSeen.file = location->file;
    cSeen.line = location->line;
    cSeen.function = location->function;
}

TEST(CErrorInfoCollector, CallbackGetsTheThreeRecordsAndTheTagStaysWithTheListener) {
    cSeen = CSeen();
    GC<ErrorInfoCollector> collector(new QOR::DummyErrorInfoCollector);
    const std::size_t before = ErrorInfoCollector::listenerCount();
    auto handle = CApi::wrapGC<orv_ErrorInfoCollector_ptr>(collector);
    int tag = 0;
    orv_ErrorInfoCollectorListener_ptr lis =
        orv_ErrorInfoCollector_registerListener1(handle, &cCallback, &tag);
    ASSERT_NE(lis.obj, nullptr);
    EXPECT_EQ(orv_ErrorInfoCollectorListener_tag(lis), &tag);

    collector->add(ErrorInfo("bad input", CodeLocation("in.c", 3)), kModule,
                   CodeLocation("main.c", 42, "run", CodeLocation::C));
    EXPECT_EQ(cSeen.calls, 1);
    EXPECT_EQ(cSeen.text, "bad input");
    EXPECT_EQ(cSeen.module, "app|exe|1.2.3");
    EXPECT_EQ(cSeen.moduleId, kModule.uniqueId());
    EXPECT_EQ(cSeen.file, "main.c");
    EXPECT_EQ(cSeen.line, 42);
    EXPECT_EQ(cSeen.function, "run");

    orv_ErrorInfoCollector_unregisterListener(handle, lis);
    collector->add(record("unheard"), kModule, CodeLocation());
    EXPECT_EQ(cSeen.calls, 1);
    orv_ErrorInfoCollectorListener_destruct(lis);

    // Freeing a listener that is still registered takes it off the list.
    lis = orv_ErrorInfoCollector_registerListener1(handle, &cCallback, nullptr);
    EXPECT_EQ(ErrorInfoCollector::listenerCount(), before + 1);
    orv_ErrorInfoCollectorListener_destruct(lis);
    EXPECT_EQ(ErrorInfoCollector::listenerCount(), before);
    collector->add(record("unheard"), kModule, CodeLocation());
    EXPECT_EQ(cSeen.calls, 1);
    CApi::releaseGC<ErrorInfoCollector>(handle);
}

TEST(CErrorInfoCollector, NullArgumentsAreReportedByName) {
    GC<ErrorInfoCollector> collector(new QOR::DummyErrorInfoCollector);
    auto handle = CApi::wrapGC<orv_ErrorInfoCollector_ptr>(collector);
    const orv_ErrorInfoCollector_ptr noCollector = {nullptr};
    const orv_ErrorInfoCollectorListener_ptr noListener = {nullptr};
    QorTest::AssertionRecorder assertions;
    EXPECT_EQ(orv_ErrorInfoCollector_registerListener1(noCollector, &cCallback, nullptr).obj,
              nullptr);
    EXPECT_EQ(orv_ErrorInfoCollector_registerListener1(handle, nullptr, nullptr).obj, nullptr);
    orv_ErrorInfoCollector_unregisterListener(noCollector, noListener);
    orv_ErrorInfoCollector_unregisterListener(handle, noListener);
    orv_ErrorInfoCollectorListener_destruct(noListener);
    EXPECT_TRUE(assertions.saw({"obj.obj", "callback", "obj.obj", "lis.obj", "lis.obj"}));
    CApi::releaseGC<ErrorInfoCollector>(handle);
}

short errorListenerCallback(void* user, const void* error) {
    *static_cast<std::string*>(user) = static_cast<const orv_ErrorInfo*>(error)->errorText;
    return 1;
}

TEST(CErrorListener, HandsTheRecordToTheCallbackAndReportsAMissingOne) {
    std::string seen;
    CWrapper::orv_ErrorListener listener(&seen, &errorListenerCallback);
    EXPECT_TRUE(listener.add(ErrorInfo("no route")));
    EXPECT_EQ(seen, "no route");

    CWrapper::orv_ErrorListener empty(nullptr, nullptr);
    QorTest::AssertionRecorder assertions;
    EXPECT_FALSE(empty.add(ErrorInfo("x")));
    EXPECT_TRUE(assertions.saw({"priv->cb"}));
}

} // namespace
