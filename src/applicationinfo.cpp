// Facts about the running process, from the platform layer.
#include "qorcommon/applicationinfo.h"

#include "qorcommon/fileinfo.h"

#include "platform/platform.h"

#include <mutex>

namespace Orvane {
namespace Core {

namespace {

std::mutex& versionMutex() {
    static std::mutex mutex;
    return mutex;
}

// Set by the host; never destroyed, so that version() stays usable during static destruction.
std::string& hostVersion() {
    static std::string* version = new std::string;
    return *version;
}

} // namespace

bool ApplicationInfo::isTerminal(StandardStream stream) {
    return Platform::isTerminal(stream);
}

bool ApplicationInfo::enableColourSequences(StandardStream stream) {
    return Platform::enableColourSequences(stream);
}

std::string ApplicationInfo::executablePath() {
    return Platform::executablePath();
}

std::string ApplicationInfo::executableDirectory() {
    return FileInfo(executablePath()).directory();
}

std::string ApplicationInfo::executableName() {
    return FileInfo(executablePath()).baseName();
}

std::string ApplicationInfo::executableExtension() {
    return FileInfo(executablePath()).extension();
}

std::string ApplicationInfo::version() {
    {
        std::lock_guard<std::mutex> lock(versionMutex());
        if (!hostVersion().empty()) return hostVersion();
    }
    const std::string own = Platform::fileVersion(executablePath());
    return own.empty() ? "0.0.0" : own;
}

void ApplicationInfo::setVersion(const std::string& version) {
    std::lock_guard<std::mutex> lock(versionMutex());
    hostVersion() = version;
}

long ApplicationInfo::processId() {
    return Platform::currentProcessId();
}

std::string ApplicationInfo::userName() {
    return Platform::userName();
}

std::string ApplicationInfo::computerName() {
    return Platform::computerName();
}

} // namespace Core
} // namespace Orvane
