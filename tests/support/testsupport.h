// Helpers shared by the test suites.
#pragma once

#include "qorcommon/assertion.h"

#include <chrono>
#include <string>
#include <thread>
#include <vector>

namespace QorTest {

/// Records the assertion texts reported while it lives; restores the previous handler after.
class AssertionRecorder {
public:
    AssertionRecorder();
    ~AssertionRecorder();
    AssertionRecorder(const AssertionRecorder&) = delete;
    AssertionRecorder& operator=(const AssertionRecorder&) = delete;

    /// The expression texts in the order they were reported.
    std::vector<std::string> texts() const;
    /// True when exactly these texts were reported, in this order.
    bool saw(const std::vector<std::string>& expected) const { return texts() == expected; }
    void clear();

private:
    static void record(const char* expression, const char* file, int line, void* context);
    std::vector<std::string> m_texts;
    Orvane::Core::AssertionHandler m_previous;
    void* m_previousContext = nullptr;
};

/// A scratch folder below the test's working folder, removed with its contents afterwards.
class ScratchDir {
public:
    explicit ScratchDir(const std::string& name);
    ~ScratchDir();
    const std::string& path() const { return m_path; }
    std::string file(const std::string& name) const;

private:
    std::string m_path;
};

/// Waits for a condition that another thread makes true, for far longer than it should ever take
/// (30 s), so that a loaded machine does not make a test fail; true once the condition holds.
template <class Condition> bool eventually(Condition condition) {
    for (int i = 0; i < 3000; ++i) {
        if (condition()) return true;
        std::this_thread::sleep_for(std::chrono::milliseconds(10));
    }
    return condition();
}

} // namespace QorTest
