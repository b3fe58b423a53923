// One thing worth logging: a message, a status code, a custom key with a text, or the begin or
// end of a function scope.
#pragma once

#include "qorcommon/errorinfo.h"
#include "qorcommon/export.h"
#include "qorcommon/privateptr.h"
#include "qorcommon/string.h"

#include <cstdint>
#include <string>

namespace Orvane {
namespace Core {

/// A log entry: a value, copied freely.
///
/// Entries are immutable once made, so copies share one record (a copy costs an atomic
/// increment): every log entry is copied into its frame's element and the logger's last element,
/// and a deep copy per step would dominate the cost of logging.
/// Thread safety: reentrant; copies of one entry may be made from several threads at once.
class QORCOMMON_API LogEntry {
public:
    /// What kind of entry this is. The numbers are part of the C face.
    enum Context : std::int32_t {
        /// Written when a frame begins; the text is the function name.
        BeginLogging = 0,
        /// A general message.
        General = 1,
        /// A status code with an optional text.
        Status = 2,
        /// A key (the custom context) with a text.
        Custom = 3,
        /// Written when a frame ends; the text is the return value or empty.
        EndLogging = 4
    };

    /// A null entry: General, no text, status -1.
    LogEntry();
    LogEntry(Context context, long status);
    LogEntry(Context context, long status, const CodeLocation& location);
    LogEntry(Context context, const std::string& text, long status);
    LogEntry(Context context, const std::string& text, long status,
             const std::string& customContext);
    LogEntry(Context context, const std::string& text, long status, const CodeLocation& location);
    LogEntry(Context context, const std::string& text, long status, const CodeLocation& location,
             const std::string& customContext);
    LogEntry(const LogEntry& other) noexcept;
    LogEntry(LogEntry&& other) noexcept;
    LogEntry& operator=(const LogEntry& other) noexcept;
    LogEntry& operator=(LogEntry&& other) noexcept;
    ~LogEntry();

    Context context() const;
    const std::string& text() const;
    const std::string& customContext() const;
    /// The location the entry speaks of; an empty location when none was given.
    const CodeLocation& location() const;
    long statusCode() const;
    /// True only for a default-constructed entry.
    bool isNull() const;

    /// The entry for debugging and listeners:
    ///   BeginLogging / EndLogging: "Begin: " / "End: " and the location's function, then
    ///     "(text)" when there is a text; with an empty location the text alone.
    ///   General / Status: the text, then "(status)" when the status is not 0.
    ///   Custom: the custom context directly followed by the text, then the status as above.
    ///   any other context: "".
    String asString() const;

    // ---- factories ---------------------------------------------------------------------------

    static LogEntry fromStatus(long status);
    static LogEntry fromStatus(long status, const std::string& text);
    static LogEntry fromStatus(long status, const CodeLocation& location);
    static LogEntry fromStatus(long status, const std::string& text, const CodeLocation& location);
    static LogEntry fromGeneralMessage(const std::string& text);
    static LogEntry fromGeneralMessage(const std::string& text, const CodeLocation& location);
    static LogEntry fromCustomContext(const std::string& customContext, const std::string& text);
    static LogEntry fromCustomContext(const std::string& customContext, const std::string& text,
                                      const CodeLocation& location);
    /// A General entry "name='value'".
    static LogEntry fromVariable_str(const std::string& name, const std::string& value);
    /// A General entry "name='value' (type)".
    static LogEntry fromVariable_str(const std::string& name, const std::string& value,
                                     const std::string& type);
    static LogEntry fromVariable_str(const std::string& name, const std::string& value,
                                     const CodeLocation& location);
    static LogEntry fromVariable_str(const std::string& name, const std::string& value,
                                     const std::string& type, const CodeLocation& location);

private:
    struct Private;
    explicit LogEntry(Private* record);
    SharedPrivatePtr<Private> d;
};

} // namespace Core
} // namespace Orvane
