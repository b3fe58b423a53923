// Log entries: one immutable record shared by all copies of an entry.
#include "qorcommon/logentry.h"

#include <atomic>
#include <utility>

namespace Orvane {
namespace Core {

struct LogEntry::Private {
    std::atomic<long> uses{1};
    Context context = General;
    std::string text;
    std::string customContext;
    // Most entries carry no location, and an empty CodeLocation costs two allocations: an entry
    // without one points at the shared empty location instead.
    const CodeLocation* location = nullptr;
    long status = 0;
    bool null = false;

    Private() = default;
    Private(Context c, std::string t, long s) : context(c), text(std::move(t)), status(s) {}
    ~Private() {
        if (location != &emptyLocation()) delete location;
    }
    Private(const Private&) = delete;
    Private& operator=(const Private&) = delete;

    static const CodeLocation& emptyLocation() {
        static const CodeLocation* const empty = new CodeLocation();
        return *empty;
    }

    // The record of every null entry. Never counted and never freed: default-constructed and
    // moved-from entries share it without touching a shared counter.
    static Private* nullRecord() {
        static Private* const record = [] {
            auto* r = new Private;
            r->status = -1;
            r->null = true;
            r->location = &emptyLocation();
            return r;
        }();
        return record;
    }

    static void retain(Private* record) {
        if (record != nullRecord()) record->uses.fetch_add(1, std::memory_order_relaxed);
    }

    static void release(Private* record) {
        if (record == nullRecord()) return;
        if (record->uses.fetch_sub(1, std::memory_order_acq_rel) == 1) delete record;
    }

    static Private* make(Context context, std::string text, long status) {
        auto* record = new Private(context, std::move(text), status);
        record->location = &emptyLocation();
        return record;
    }

    static Private* make(Context context, std::string text, long status,
                         const CodeLocation& where) {
        auto* record = new Private(context, std::move(text), status);
        record->location = new CodeLocation(where);
        return record;
    }
};

namespace {

std::string quotedVariable(const std::string& name, const std::string& value) {
    std::string text;
    text.reserve(name.size() + value.size() + 3);
    text += name;
    text += "='";
    text += value;
    text += '\'';
    return text;
}

std::string typedVariable(const std::string& name, const std::string& value,
                          const std::string& type) {
    // The same text as the template "{0}='{1}' ({2})" filled with name, value and type.
    return quotedVariable(name, value) + " (" + type + ")";
}

} // namespace

LogEntry::LogEntry(Private* record) : d(record) {}

LogEntry::LogEntry() : d(Private::nullRecord()) {}

LogEntry::LogEntry(Context context, long status)
    : d(Private::make(context, std::string(), status)) {}

LogEntry::LogEntry(Context context, long status, const CodeLocation& location)
    : d(Private::make(context, std::string(), status, location)) {}

LogEntry::LogEntry(Context context, const std::string& text, long status)
    : d(Private::make(context, text, status)) {}

LogEntry::LogEntry(Context context, const std::string& text, long status,
                   const std::string& customContext)
    : d(Private::make(context, text, status)) {
    d->customContext = customContext;
}

LogEntry::LogEntry(Context context, const std::string& text, long status,
                   const CodeLocation& location)
    : d(Private::make(context, text, status, location)) {}

LogEntry::LogEntry(Context context, const std::string& text, long status,
                   const CodeLocation& location, const std::string& customContext)
    : d(Private::make(context, text, status, location)) {
    d->customContext = customContext;
}

LogEntry::LogEntry(const LogEntry& other) noexcept : d(other.d) {
    Private::retain(d);
}

LogEntry::LogEntry(LogEntry&& other) noexcept : d(other.d) {
    other.d = Private::nullRecord();
}

LogEntry& LogEntry::operator=(const LogEntry& other) noexcept {
    // Taking the new record before dropping the old one keeps self-assignment safe.
    Private::retain(other.d);
    Private::release(d);
    d = other.d;
    return *this;
}

LogEntry& LogEntry::operator=(LogEntry&& other) noexcept {
    std::swap(d, other.d);
    return *this;
}

LogEntry::~LogEntry() {
    Private::release(d);
}

LogEntry::Context LogEntry::context() const {
    return d->context;
}

const std::string& LogEntry::text() const {
    return d->text;
}

const std::string& LogEntry::customContext() const {
    return d->customContext;
}

const CodeLocation& LogEntry::location() const {
    return *d->location;
}

long LogEntry::statusCode() const {
    return d->status;
}

bool LogEntry::isNull() const {
    return d->null;
}

namespace {

void appendStatus(std::string& out, long status) {
    if (status != 0) out += "(" + std::to_string(status) + ")";
}

std::string scopeText(const char* label, const LogEntry& entry) {
    if (entry.location().isEmpty()) return entry.text();
    std::string out = label;
    out += entry.location().function();
    if (!entry.text().empty()) out += "(" + entry.text() + ")";
    return out;
}

} // namespace

String LogEntry::asString() const {
    std::string out;
    switch (d->context) {
    case BeginLogging:
        out = scopeText("Begin: ", *this);
        break;
    case EndLogging:
        out = scopeText("End: ", *this);
        break;
    case General:
    case Status:
        out = d->text;
        appendStatus(out, d->status);
        break;
    case Custom:
        out = d->customContext + d->text;
        appendStatus(out, d->status);
        break;
    }
    return String(std::move(out));
}

// ---- factories --------------------------------------------------------------------------------

LogEntry LogEntry::fromStatus(long status) {
    return LogEntry(Status, status);
}

LogEntry LogEntry::fromStatus(long status, const std::string& text) {
    return LogEntry(Status, text, status);
}

LogEntry LogEntry::fromStatus(long status, const CodeLocation& location) {
    return LogEntry(Status, status, location);
}

LogEntry LogEntry::fromStatus(long status, const std::string& text, const CodeLocation& location) {
    return LogEntry(Status, text, status, location);
}

LogEntry LogEntry::fromGeneralMessage(const std::string& text) {
    return LogEntry(General, text, 0);
}

LogEntry LogEntry::fromGeneralMessage(const std::string& text, const CodeLocation& location) {
    return LogEntry(General, text, 0, location);
}

LogEntry LogEntry::fromCustomContext(const std::string& customContext, const std::string& text) {
    return LogEntry(Custom, text, 0, customContext);
}

LogEntry LogEntry::fromCustomContext(const std::string& customContext, const std::string& text,
                                     const CodeLocation& location) {
    return LogEntry(Custom, text, 0, location, customContext);
}

LogEntry LogEntry::fromVariable_str(const std::string& name, const std::string& value) {
    return LogEntry(Private::make(General, quotedVariable(name, value), 0));
}

LogEntry LogEntry::fromVariable_str(const std::string& name, const std::string& value,
                                    const std::string& type) {
    return LogEntry(Private::make(General, typedVariable(name, value, type), 0));
}

LogEntry LogEntry::fromVariable_str(const std::string& name, const std::string& value,
                                    const CodeLocation& location) {
    return LogEntry(Private::make(General, quotedVariable(name, value), 0, location));
}

LogEntry LogEntry::fromVariable_str(const std::string& name, const std::string& value,
                                    const std::string& type, const CodeLocation& location) {
    return LogEntry(Private::make(General, typedVariable(name, value, type), 0, location));
}

} // namespace Core
} // namespace Orvane
