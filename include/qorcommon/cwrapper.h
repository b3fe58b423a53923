// Conversions between the library's error and identity classes and the plain records of the C
// face.
//
// A from... (or toNameInfo) conversion writes the object into a buffer and returns a record
// whose texts and item arrays point into that buffer: the record is valid as long as the buffer
// lives and is not filled again (each conversion first empties the buffer it is given). Custom
// info items are laid out in key order. A to... conversion reads a record into a new object;
// null texts read as empty.
//
// The records are declared here only: code that reads or fills them includes
// qorcommon/c/errorinfo.h, so that the C++ face stays free of the C headers.
#pragma once

#include "qorcommon/errorinfo.h"
#include "qorcommon/export.h"
#include "qorcommon/moduleinfo.h"

#include <string>

struct orv_CustomInfo;
struct _orv_CustomInfoInput;
struct orv_CodeLocation;
struct _orv_CodeLocationInput;
struct orv_NameInfo;
struct orv_ModuleInfo;
struct orv_ErrorInfo;

namespace Orvane {
namespace Core {
namespace CWrapper {

/// Owner of the texts and item arrays that records point into. Addresses it hands out stay valid
/// until clear() or destruction.
/// Thread safety: reentrant.
class QORCOMMON_API BufferStorage {
public:
    BufferStorage();
    ~BufferStorage();
    BufferStorage(const BufferStorage&) = delete;
    BufferStorage& operator=(const BufferStorage&) = delete;

    /// Forgets everything kept; the addresses handed out become invalid.
    void clear();
    /// A NUL-terminated copy of `text`.
    const char* keep(const std::string& text);
    /// The annotations as items in key order ({0, null} when there are none).
    orv_CustomInfo keep(const CustomInfo& customInfo);

private:
    struct Private;
    Private* d;
};

// One buffer type per record, so that a buffer is not handed to the wrong conversion.
class QORCOMMON_API orv_CustomInfo_Buffer : public BufferStorage {};
class QORCOMMON_API orv_CodeLocation_Buffer : public BufferStorage {};
class QORCOMMON_API orv_NameInfo_Buffer : public BufferStorage {};
class QORCOMMON_API orv_ModuleInfo_Buffer : public BufferStorage {};
class QORCOMMON_API orv_ErrorInfo_Buffer : public BufferStorage {};

QORCOMMON_API orv_CustomInfo fromCustomInfo(const CustomInfo& customInfo,
                                            orv_CustomInfo_Buffer& buffer);
QORCOMMON_API CustomInfo toCustomInfo(const orv_CustomInfo& record);
QORCOMMON_API CustomInfo toCustomInfo(const _orv_CustomInfoInput& record);

/// An empty location gives empty texts, line -1 and language orv_Language_None.
QORCOMMON_API orv_CodeLocation fromCodeLocation(const CodeLocation& codeLocation,
                                                orv_CodeLocation_Buffer& buffer);
/// Only the parts that carry something are set (a file or comment that is not empty, a line
/// that is not negative, annotations), so a record of empty parts gives an empty location. A
/// function that is not empty is set with its language (and reduced by it); a null function with
/// a language other than orv_Language_None is reported as "codeLocation->function".
QORCOMMON_API CodeLocation toCodeLocation(const orv_CodeLocation& record);
QORCOMMON_API CodeLocation toCodeLocation(const _orv_CodeLocationInput& record);

QORCOMMON_API orv_NameInfo toNameInfo(const NameInfo& nameInfo, orv_NameInfo_Buffer& buffer);
QORCOMMON_API NameInfo toNameInfo(const orv_NameInfo& record);

QORCOMMON_API orv_ModuleInfo fromModuleInfo(const ModuleInfo& moduleInfo,
                                            orv_ModuleInfo_Buffer& buffer);
/// A uniqueId of 0 lets the module derive its id from name and type.
QORCOMMON_API ModuleInfo toModuleInfo(const orv_ModuleInfo& record);

/// The module travels as an orv_NameInfo (see orv_NameInfo in qorcommon/c/errorinfo.h); the
/// time as the local calendar record of the record's DateTime (milliseconds are dropped).
QORCOMMON_API orv_ErrorInfo fromErrorInfo(const ErrorInfo& errorInfo, orv_ErrorInfo_Buffer& buffer);
QORCOMMON_API ErrorInfo toErrorInfo(const orv_ErrorInfo& record);

/// The module of an error record in the orv_NameInfo form, and back. moduleAsNameInfo adds to
/// what the buffer holds, for filling one buffer with the parts of a larger record.
QORCOMMON_API orv_NameInfo moduleAsNameInfo(const ModuleInfo& moduleInfo, BufferStorage& buffer);
QORCOMMON_API ModuleInfo moduleFromNameInfo(const orv_NameInfo& record);

} // namespace CWrapper
} // namespace Core
} // namespace Orvane
