// The in-memory configuration handler.
#include "qorcommon/memoryconfighandler.h"

#include "qorcommon/string.h"
#include "configmessages.h"

#include <map>
#include <mutex>
#include <shared_mutex>
#include <utility>
#include <vector>

namespace Orvane {
namespace Core {

namespace {

using namespace ConfigMessages;

std::string fill(const char* pattern, const std::string& value) {
    String text(pattern);
    text.a(value);
    return text.str();
}

std::string fill(const char* pattern, const char* first, const std::string& second) {
    String text(pattern);
    text.a(first).a(second);
    return text.str();
}

} // namespace

struct MemoryConfigHandler::Private {
    mutable std::shared_mutex lock;
    std::map<std::string, std::vector<std::string>> entries;
    // Key -> names of its entries, in the order they were first written.
    std::map<std::string, std::vector<std::string>> keys;

    const std::vector<std::string>* find(const std::string& path) const {
        auto it = entries.find(path);
        return it == entries.end() ? nullptr : &it->second;
    }
};

MemoryConfigHandler::MemoryConfigHandler(GC<ConfigHandler> base)
    : ConfigHandler(std::move(base)), d(new Private) {}

MemoryConfigHandler::~MemoryConfigHandler() {
    delete d;
}

bool MemoryConfigHandler::isOperationSupported(Operation operation) const {
    switch (operation) {
    case ReadingEntries:
    case WritingEntries:
    case ReadingKeys:
    case WritingKeys:
        return true;
    default:
        return false;
    }
}

bool MemoryConfigHandler::removeEntry(const std::string& path) {
    std::string key, name;
    const std::string::size_type slash = path.rfind('/');
    if (slash != std::string::npos) {
        key = path.substr(0, slash);
        name = path.substr(slash + 1);
    }
    std::unique_lock<std::shared_mutex> guard(d->lock);
    if (d->entries.erase(path) == 0) return false;
    auto names = d->keys.find(key);
    if (names != d->keys.end()) {
        std::vector<std::string>& list = names->second;
        for (auto it = list.begin(); it != list.end(); ++it) {
            if (*it == name) {
                list.erase(it);
                break;
            }
        }
    }
    return true;
}

void MemoryConfigHandler::clear() {
    std::unique_lock<std::shared_mutex> guard(d->lock);
    d->entries.clear();
    d->keys.clear();
}

std::size_t MemoryConfigHandler::entryCount() const {
    std::shared_lock<std::shared_mutex> guard(d->lock);
    return d->entries.size();
}

StringList MemoryConfigHandler::entryPaths() const {
    StringList paths;
    std::shared_lock<std::shared_mutex> guard(d->lock);
    for (const auto& entry : d->entries)
        paths.append(entry.first);
    return paths;
}

bool MemoryConfigHandler::splitPath(const std::string& path, std::string& key, std::string& name) {
    const std::string::size_type slash = path.rfind('/');
    if (slash == std::string::npos) {
        setLastError(fill(kIncorrectPath, path), OperationFailed);
        return false;
    }
    if (slash == 0 || slash + 1 == path.size()) {
        setLastError(fill(kEmptyPart, path), OperationFailed);
        return false;
    }
    key.assign(path, 0, slash);
    name.assign(path, slash + 1, std::string::npos);
    return true;
}

bool MemoryConfigHandler::readEntryAsStringList(const std::string& path, StringList& out) {
    {
        std::shared_lock<std::shared_mutex> guard(d->lock);
        if (const std::vector<std::string>* values = d->find(path)) {
            out.list().assign(values->begin(), values->end());
            return true;
        }
    }
    std::string key, name;
    if (splitPath(path, key, name))
        setLastError(fill(kEntryNotFound, typeName(), path), OperationFailed);
    return false;
}

bool MemoryConfigHandler::readEntryAsString(const std::string& path, std::string& out) {
    {
        std::shared_lock<std::shared_mutex> guard(d->lock);
        if (const std::vector<std::string>* values = d->find(path)) {
            if (values->empty()) {
                out.clear();
            } else {
                out = values->front();
            }
            return true;
        }
    }
    std::string key, name;
    if (splitPath(path, key, name))
        setLastError(fill(kEntryNotFound, typeName(), path), OperationFailed);
    return false;
}

bool MemoryConfigHandler::readKeyList(const std::string& path, StringList& out) {
    {
        std::shared_lock<std::shared_mutex> guard(d->lock);
        auto it = d->keys.find(path);
        if (it != d->keys.end()) {
            out.list().assign(it->second.begin(), it->second.end());
            return true;
        }
    }
    setLastError(fill(kKeyNotFound, typeName(), path), OperationFailed);
    return false;
}

bool MemoryConfigHandler::entryIsExisting(const std::string& path, bool& exists) {
    std::string key, name;
    if (!splitPath(path, key, name)) return false;
    std::shared_lock<std::shared_mutex> guard(d->lock);
    exists = d->find(path) != nullptr;
    return true;
}

bool MemoryConfigHandler::keyIsExisting(const std::string& path, bool& exists) {
    std::shared_lock<std::shared_mutex> guard(d->lock);
    exists = d->keys.count(path) != 0;
    return true;
}

bool MemoryConfigHandler::store(const std::string& path, std::vector<std::string>&& values) {
    std::string key, name;
    if (!splitPath(path, key, name)) return false;
    std::unique_lock<std::shared_mutex> guard(d->lock);
    auto inserted = d->entries.emplace(path, std::vector<std::string>());
    inserted.first->second = std::move(values);
    if (inserted.second) d->keys[key].push_back(std::move(name));
    return true;
}

bool MemoryConfigHandler::writeEntryAsStringList(const std::string& path,
                                                 const StringList& values) {
    return store(path, std::vector<std::string>(values.begin(), values.end()));
}

bool MemoryConfigHandler::writeEntryAsString(const std::string& path, const std::string& value) {
    return store(path, std::vector<std::string>(1, value));
}

bool MemoryConfigHandler::writeKey(const std::string& path) {
    if (path.empty()) {
        setLastError(fill(kIncorrectPath, path), OperationFailed);
        return false;
    }
    std::unique_lock<std::shared_mutex> guard(d->lock);
    d->keys[path];
    return true;
}

} // namespace Core
} // namespace Orvane
