#include "testsupport.h"

#include <filesystem>
#include <mutex>

namespace QorTest {
namespace {
std::mutex recorderMutex;
}

AssertionRecorder::AssertionRecorder() {
    m_previous = Orvane::Core::setAssertionHandler(&AssertionRecorder::record, this,
                                                   &m_previousContext);
}

AssertionRecorder::~AssertionRecorder() {
    Orvane::Core::setAssertionHandler(m_previous, m_previousContext);
}

void AssertionRecorder::record(const char* expression, const char*, int, void* context) {
    auto* self = static_cast<AssertionRecorder*>(context);
    std::lock_guard<std::mutex> lock(recorderMutex);
    self->m_texts.emplace_back(expression ? expression : "");
}

std::vector<std::string> AssertionRecorder::texts() const {
    std::lock_guard<std::mutex> lock(recorderMutex);
    return m_texts;
}

void AssertionRecorder::clear() {
    std::lock_guard<std::mutex> lock(recorderMutex);
    m_texts.clear();
}

ScratchDir::ScratchDir(const std::string& name) {
    namespace fs = std::filesystem;
    fs::path p = fs::current_path() / ("scratch_" + name);
    std::error_code ec;
    fs::remove_all(p, ec);
    fs::create_directories(p);
    m_path = p.string();
}

ScratchDir::~ScratchDir() {
    std::error_code ec;
    std::filesystem::remove_all(m_path, ec);
}

std::string ScratchDir::file(const std::string& name) const {
    return (std::filesystem::path(m_path) / name).string();
}

} // namespace QorTest
