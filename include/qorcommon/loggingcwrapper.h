// Conversions between log entries and the plain records of the C face (see qorcommon/cwrapper.h
// for the buffer rules; code that reads or fills the record includes qorcommon/c/logging.h).
#pragma once

#include "qorcommon/cwrapper.h"
#include "qorcommon/export.h"
#include "qorcommon/logentry.h"

struct orv_LogEntry;

namespace Orvane {
namespace Core {
namespace CWrapper {

/// Owner of the texts that an orv_LogEntry record points into, its location's included.
/// Thread safety: reentrant.
class QORCOMMON_API orv_LogEntry_Buffer : public BufferStorage {
public:
    orv_LogEntry_Buffer();
    ~orv_LogEntry_Buffer();
    /// The part that holds the location's texts.
    orv_CodeLocation_Buffer& locationBuffer();

private:
    struct Private;
    Private* d;
};

/// Writes the entry into the buffer (emptied first) and returns a record pointing into it. An
/// entry without a location gives empty texts, line -1 and language orv_Language_None.
QORCOMMON_API orv_LogEntry fromLogEntry(const LogEntry& entry, orv_LogEntry_Buffer& buffer);
/// The entry of a record: null texts read as empty, a location of empty parts gives an entry
/// without a location. A null record is reported as "record" and gives a null entry.
QORCOMMON_API LogEntry toLogEntry(const orv_LogEntry* record);

} // namespace CWrapper
} // namespace Core
} // namespace Orvane
