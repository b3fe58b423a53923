// The "orvane.cfg" configuration handler: the cache snapshots, the settings record, and reading
// and replacing the file. The grammar, its reader and the writer of the text are the format unit
// (orvanecfgformat.cpp).
#include "qorcommon/orvanecfgconfighandler.h"

#include "orvanecfgformat.h"

#include "qorcommon/globalvariable.h"
#include "qorcommon/string.h"

#include "configmessages.h"
#include "platform/platform.h"

#include <atomic>
#include <cstdio>
#include <initializer_list>
#include <list>
#include <memory>
#include <mutex>
#include <string_view>
#include <utility>

namespace Orvane {
namespace Core {

namespace {

using namespace ConfigMessages;

using Orvanecfg::format;
using Orvanecfg::kByteOrderMarkSize;

// ---- process-wide state ---------------------------------------------------------------------

using Settings = OrvanecfgConfigHandler::Settings;

// Never destroyed: handlers may live into static destruction.
GlobalVariable<Settings>& settingsVariable() {
    static auto* variable = new GlobalVariable<Settings>;
    return *variable;
}

GlobalVariable<std::string>& pathVariable() {
    static auto* variable = new GlobalVariable<std::string>;
    return *variable;
}

// Library texts are in the core encoding; the platform layer takes UTF-8.
std::string toPlatformText(const std::string& text) {
    if (String::coreEncoding() == String::UTF8) return text;
    return String::fromCoreEncoding(text, String::UTF8);
}

std::string fromPlatformText(const std::string& text) {
    if (String::coreEncoding() == String::UTF8) return text;
    return String::toCoreEncoding(text, String::UTF8);
}

// Reads the file into `cache` in pieces. False when it cannot be opened or read (a folder opens on
// POSIX and fails at the first read).
bool readFile(const std::string& path, Orvanecfg::Cache& cache, Orvanecfg::ParseReport& report) {
    std::FILE* file = Platform::openFile(toPlatformText(path), "rb");
    if (!file) return false;
    Orvanecfg::Reader reader(path, cache);
    char piece[32768];
    std::size_t got = 0;
    while ((got = std::fread(piece, 1, sizeof piece, file)) > 0)
        reader.feed(piece, got);
    const bool ok = std::ferror(file) == 0;
    std::fclose(file);
    report = reader.finish();
    return ok;
}

// Replaces the file as a whole, so the target is either the old file or the whole new one. The
// messages name the target.
bool replaceFile(const std::string& path, const std::string& text, std::string& message) {
    const std::string target = toPlatformText(path);
    if (Platform::isDirectory(target)) {
        message = format(kCannotOpen, {path});
        return false;
    }
    std::string error;
    if (!Platform::replaceFileContents(target, text.data(), text.size(), error)) {
        message = format(kCannotOpen, {path});
        return false;
    }
    return true;
}

bool settingOf(const Orvanecfg::Cache& cache, const char* path) {
    const Orvanecfg::Entry* entry = cache.find(path);
    bool value = false;
    if (entry && !entry->empty()) ConfigHandler::parseBoolean(std::string(entry->front()), value);
    return value;
}

std::string joinLines(const std::vector<std::string>& messages) {
    std::string text;
    for (std::size_t i = 0; i < messages.size(); ++i) {
        if (i > 0) text += "\r\n";
        text += messages[i];
    }
    return text;
}

} // namespace

// ---- the handler ----------------------------------------------------------------------------

const char* const OrvanecfgConfigHandler::WritingEnabledPath =
    "ORVANE_CONFIG_HANDLER/IS_WRITING_ENABLED";
const char* const OrvanecfgConfigHandler::SettingEnabledPath =
    "ORVANE_CONFIG_HANDLER/IS_SETTING_ENABLED";
const char* const OrvanecfgConfigHandler::DebugWritingPath = "ORVANE_CONFIG_HANDLER/DEBUG_WRITING";

using CachePtr = std::shared_ptr<const Orvanecfg::Cache>;

struct OrvanecfgConfigHandler::Private {
    // Guards the pointer only: readers copy it and let go at once.
    std::mutex snapshotLock;
    CachePtr cache = std::make_shared<const Orvanecfg::Cache>();
    // Serialises the writers of the cache, so that no copy-change-publish loses another's change.
    std::mutex writeLock;
    mutable std::mutex errorLock;
    ErrorInfo lastErrorInfo;

    CachePtr snapshot() {
        std::lock_guard<std::mutex> guard(snapshotLock);
        return cache;
    }

    // Call with writeLock held.
    void publish(CachePtr next) {
        {
            std::lock_guard<std::mutex> guard(snapshotLock);
            cache.swap(next);
        }
        // The old cache is freed here, outside the lock, unless readers still hold it.
    }
};

OrvanecfgConfigHandler::OrvanecfgConfigHandler(GC<ConfigHandler> base)
    : ConfigHandler(std::move(base)), d(new Private) {}

OrvanecfgConfigHandler::~OrvanecfgConfigHandler() {
    delete d;
}

const char* OrvanecfgConfigHandler::typeName() const {
    return "Orvane::Core::OrvanecfgConfigHandler";
}

bool OrvanecfgConfigHandler::init() {
    return updateCache(true);
}

bool OrvanecfgConfigHandler::isOperationSupported(Operation operation) const {
    switch (operation) {
    case ReadingEntries:
    case KeepingCache:
    case UpdatingCache:
    case ReadingKeys:
        return true;
    case WritingEntries:
    case WritingKeys: {
        const Settings current = settings();
        return current.writingEnabled || current.settingEnabled;
    }
    case FlushingCache:
        return settings().writingEnabled;
    default:
        return false;
    }
}

bool OrvanecfgConfigHandler::updateCurrentCache() {
    const std::string path = getOrvanecfgPath();
    auto next = std::make_shared<Orvanecfg::Cache>();
    Orvanecfg::ParseReport report;
    std::vector<std::string> failures;
    if (!readFile(path, *next, report)) {
        failures.push_back(format(kCannotOpen, {path}));
    } else {
        failures = std::move(report.messages);
        if (!report.aborted) {
            Settings read;
            read.writingEnabled = settingOf(*next, WritingEnabledPath);
            read.settingEnabled = settingOf(*next, SettingEnabledPath);
            read.debugWriting = settingOf(*next, DebugWritingPath);
            {
                std::lock_guard<std::mutex> guard(d->writeLock);
                d->publish(std::move(next));
            }
            settingsVariable().assign(read);
        }
    }
    if (failures.empty()) {
        setHandlerStatus(NoError);
        return true;
    }
    const std::string detail = joinLines(failures);
    {
        std::lock_guard<std::mutex> guard(d->errorLock);
        d->lastErrorInfo = ErrorInfo(kCannotInitialize, detail, QOR_CODE_LOCATION);
    }
    setLastError(detail, OperationFailed);
    return false;
}

bool OrvanecfgConfigHandler::flushCurrentCache() {
    const Settings current = settings();
    if (!current.writingEnabled) {
        setLastError(kWritingNotEnabled, OperationFailed);
        return false;
    }
    const std::string text = Orvanecfg::write(*d->snapshot());
    std::string message;
    if (!replaceFile(getOrvanecfgPath(), text, message)) {
        setLastError(message, OperationFailed);
        return false;
    }
    if (current.debugWriting) {
        std::fwrite(text.data() + kByteOrderMarkSize, 1, text.size() - kByteOrderMarkSize, stdout);
        std::fflush(stdout);
    }
    setHandlerStatus(NoError);
    return true;
}

ErrorInfo OrvanecfgConfigHandler::getLastErrorInfo() const {
    std::lock_guard<std::mutex> guard(d->errorLock);
    return d->lastErrorInfo;
}

void OrvanecfgConfigHandler::setOrvanecfgPath(const std::string& path) {
    pathVariable().assign(path);
}

std::string OrvanecfgConfigHandler::getOrvanecfgPath() {
    std::string path = *pathVariable().access();
    if (!path.empty()) return path;
    return fromPlatformText(Platform::currentDirectory()) + "/orvane.cfg";
}

OrvanecfgConfigHandler::Settings OrvanecfgConfigHandler::settings() {
    return *settingsVariable().access();
}

// ---- reading and writing the cache ------------------------------------------------------------

bool OrvanecfgConfigHandler::readEntryAsStringList(const std::string& path, StringList& out) {
    if (!checkPath(path)) return false;
    const CachePtr cache = d->snapshot();
    const Orvanecfg::Entry* entry = cache->find(path);
    if (!entry) return entryNotFound(path);
    std::list<std::string>& list = out.list();
    // The nodes of the caller's list are reused; only missing ones are made.
    auto node = list.begin();
    entry->forEach([&](std::string_view value) {
        if (node == list.end()) {
            list.emplace_back(value);
        } else {
            node->assign(value.data(), value.size());
            ++node;
        }
    });
    list.erase(node, list.end());
    return true;
}

bool OrvanecfgConfigHandler::readEntryAsString(const std::string& path, std::string& out) {
    if (!checkPath(path)) return false;
    const CachePtr cache = d->snapshot();
    const Orvanecfg::Entry* entry = cache->find(path);
    if (!entry) return entryNotFound(path);
    const std::string_view first = entry->front();
    out.assign(first.data(), first.size());
    return true;
}

bool OrvanecfgConfigHandler::readKeyList(const std::string& path, StringList& out) {
    const CachePtr cache = d->snapshot();
    const Orvanecfg::Section* section = cache->section(path);
    if (!section) {
        setLastError(format(kKeyNotFound, {typeName(), path}), OperationFailed);
        return false;
    }
    std::list<std::string>& names = out.list();
    names.clear();
    for (const auto& entry : *section)
        names.push_back(entry.first);
    return true;
}

bool OrvanecfgConfigHandler::entryIsExisting(const std::string& path, bool& exists) {
    if (!checkPath(path)) return false;
    exists = d->snapshot()->find(path) != nullptr;
    return true;
}

bool OrvanecfgConfigHandler::keyIsExisting(const std::string& path, bool& exists) {
    exists = d->snapshot()->section(path) != nullptr;
    return true;
}

bool OrvanecfgConfigHandler::writeEntryAsStringList(const std::string& path,
                                                    const StringList& values) {
    if (!isOperationSupported(WritingEntries)) {
        setLastError(kSettingEntryNotEnabled, OperationFailed);
        return false;
    }
    if (!checkPath(path)) return false;
    Orvanecfg::Entry entry;
    for (const std::string& value : values)
        entry.append(value);
    std::lock_guard<std::mutex> guard(d->writeLock);
    // Copies the section list and the changed section; the other sections are shared.
    auto next = std::make_shared<Orvanecfg::Cache>(*d->snapshot());
    Orvanecfg::setEntry(*next, path, std::move(entry));
    d->publish(std::move(next));
    return true;
}

bool OrvanecfgConfigHandler::writeKey(const std::string& path) {
    if (!isOperationSupported(WritingKeys)) {
        setLastError(kSettingKeyNotEnabled, OperationFailed);
        return false;
    }
    if (path.empty()) {
        setLastError(format(kIncorrectPath, {path}), OperationFailed);
        return false;
    }
    std::lock_guard<std::mutex> guard(d->writeLock);
    const CachePtr current = d->snapshot();
    if (current->section(path)) return true;
    auto next = std::make_shared<Orvanecfg::Cache>(*current);
    Orvanecfg::addSection(*next, path);
    d->publish(std::move(next));
    return true;
}

bool OrvanecfgConfigHandler::checkPath(const std::string& path) {
    const std::size_t slash = path.rfind('/');
    if (slash == std::string::npos) {
        setLastError(format(kIncorrectPath, {path}), OperationFailed);
        return false;
    }
    if (slash == 0 || slash + 1 == path.size()) {
        setLastError(format(kEmptyPart, {path}), OperationFailed);
        return false;
    }
    return true;
}

bool OrvanecfgConfigHandler::entryNotFound(const std::string& path) {
    setLastError(format(kEntryNotFound, {typeName(), path}), OperationFailed);
    return false;
}

} // namespace Core
} // namespace Orvane
