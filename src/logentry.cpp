// Log entries: one immutable record shared by all copies of an entry.
#include "qorcommon/logentry.h"

#include <utility>

namespace Orvane {
namespace Core {

// The shared empty block is the record of every null entry: default-constructed and moved-from
// entries point at it without allocating or touching a shared counter.
struct LogEntry::Private : SharedPrivate {
    Context context = General;
    std::string text;
    std::string customContext;
    // An empty location allocates nothing, so entries without one cost no more for holding it.
    CodeLocation location;
    long status = -1;
    bool null = true;

    Private() = default;
    Private(Context c, std::string t, long s, std::string custom = std::string())
        : context(c), text(std::move(t)), customContext(std::move(custom)), status(s), null(false) {
    }
    Private(Context c, std::string t, long s, const CodeLocation& where,
            std::string custom = std::string())
        : context(c), text(std::move(t)), customContext(std::move(custom)), location(where),
          status(s), null(false) {}
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

LogEntry::LogEntry() = default;

LogEntry::LogEntry(Context context, long status) : d(new Private(context, std::string(), status)) {}

LogEntry::LogEntry(Context context, long status, const CodeLocation& location)
    : d(new Private(context, std::string(), status, location)) {}

LogEntry::LogEntry(Context context, const std::string& text, long status)
    : d(new Private(context, text, status)) {}

LogEntry::LogEntry(Context context, const std::string& text, long status,
                   const std::string& customContext)
    : d(new Private(context, text, status, customContext)) {}

LogEntry::LogEntry(Context context, const std::string& text, long status,
                   const CodeLocation& location)
    : d(new Private(context, text, status, location)) {}

LogEntry::LogEntry(Context context, const std::string& text, long status,
                   const CodeLocation& location, const std::string& customContext)
    : d(new Private(context, text, status, location, customContext)) {}

LogEntry::LogEntry(const LogEntry& other) noexcept = default;
LogEntry::LogEntry(LogEntry&& other) noexcept = default;
LogEntry& LogEntry::operator=(const LogEntry& other) noexcept = default;
LogEntry& LogEntry::operator=(LogEntry&& other) noexcept = default;
LogEntry::~LogEntry() = default;

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
    return d->location;
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
    return LogEntry(new Private(General, quotedVariable(name, value), 0));
}

LogEntry LogEntry::fromVariable_str(const std::string& name, const std::string& value,
                                    const std::string& type) {
    return LogEntry(new Private(General, typedVariable(name, value, type), 0));
}

LogEntry LogEntry::fromVariable_str(const std::string& name, const std::string& value,
                                    const CodeLocation& location) {
    return LogEntry(new Private(General, quotedVariable(name, value), 0, location));
}

LogEntry LogEntry::fromVariable_str(const std::string& name, const std::string& value,
                                    const std::string& type, const CodeLocation& location) {
    return LogEntry(new Private(General, typedVariable(name, value, type), 0, location));
}

} // namespace Core
} // namespace Orvane
