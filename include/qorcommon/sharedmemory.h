// Named blocks of memory shared between processes.
#pragma once

#include "qorcommon/export.h"

#include <cstddef>
#include <string>

namespace Orvane {
namespace Core {

/// One mapping of a named shared block. The process that create()s a name owns it: its close()
/// or destructor removes the name, while processes that open()ed it keep their mappings until
/// they close them. Used by one thread at a time; synchronising access to the bytes is the
/// callers' business.
class QORCOMMON_API SharedMemory {
public:
    SharedMemory();
    ~SharedMemory();
    SharedMemory(const SharedMemory&) = delete;
    SharedMemory& operator=(const SharedMemory&) = delete;

    /// Creates the block `name` (a plain word: no "/" or "\\") of `size` bytes, zero-filled,
    /// and maps it; false when the name exists already or the system refuses.
    bool create(const std::string& name, std::size_t size);
    /// Maps the existing block `name`; size() is the size its owner asked for.
    bool open(const std::string& name);
    /// Unmaps the block; the owner also removes its name. Nothing happens when none is mapped.
    void close();

    bool isAttached() const;
    bool isOwner() const;
    const std::string& name() const;
    /// The block's bytes; null when none is mapped.
    void* data();
    const void* data() const;
    std::size_t size() const;

    /// Why the last failed call failed, with the system's reason; empty after a success.
    const std::string& errorText() const;

    /// Removes a name left behind by an owner that ended without closing (POSIX keeps such
    /// names until reboot; on Windows a block ends with its last user and this always succeeds).
    static bool remove(const std::string& name, std::string* error = nullptr);

private:
    struct Private;
    Private* d;
};

} // namespace Core
} // namespace Orvane
