// Named shared memory. The block begins with a header that records the size the owner asked
// for: Windows rounds mappings up to whole pages, and both sides must agree on size().
#include "qorcommon/sharedmemory.h"

#include "platform/platform.h"

#include <cstdint>
#include <cstring>

namespace Orvane {
namespace Core {

namespace {

struct Header {
    std::uint64_t magic;
    std::uint64_t size;
};

constexpr std::uint64_t headerMagic = 0x514F52534D454D31ULL; // "QORSMEM1"
// The bytes after the header keep the alignment of the mapping for any type.
constexpr std::size_t headerSpace = 64;

} // namespace

struct SharedMemory::Private {
    Platform::SharedMapping mapping;
    std::string name;
    std::string error;
    std::size_t size = 0;
    bool owner = false;
};

SharedMemory::SharedMemory() : d(new Private) {}

SharedMemory::~SharedMemory() {
    close();
    delete d;
}

bool SharedMemory::create(const std::string& name, std::size_t size) {
    close();
    std::string reason;
    if (size == 0 || size > SIZE_MAX - headerSpace) {
        d->error =
            "cannot create shared memory '" + name + "': invalid size " + std::to_string(size);
        return false;
    }
    if (!Platform::createSharedMemory(name, size + headerSpace, d->mapping, reason)) {
        d->error = "cannot create shared memory '" + name + "': " + reason;
        return false;
    }
    const Header header{headerMagic, size};
    std::memcpy(d->mapping.address, &header, sizeof header);
    d->name = name;
    d->size = size;
    d->owner = true;
    d->error.clear();
    return true;
}

bool SharedMemory::open(const std::string& name) {
    close();
    std::string reason;
    if (!Platform::openSharedMemory(name, d->mapping, reason)) {
        d->error = "cannot open shared memory '" + name + "': " + reason;
        return false;
    }
    Header header{};
    if (d->mapping.length >= headerSpace) std::memcpy(&header, d->mapping.address, sizeof header);
    if (header.magic != headerMagic || header.size > d->mapping.length - headerSpace) {
        Platform::closeSharedMemory(d->mapping);
        d->error = "cannot open shared memory '" + name + "': not a block of this library";
        return false;
    }
    d->name = name;
    d->size = static_cast<std::size_t>(header.size);
    d->owner = false;
    d->error.clear();
    return true;
}

void SharedMemory::close() {
    if (!d->mapping.address) return;
    Platform::closeSharedMemory(d->mapping);
    if (d->owner) {
        std::string reason;
        if (!Platform::removeSharedMemory(d->name, reason))
            d->error = "cannot remove shared memory '" + d->name + "': " + reason;
    }
    d->name.clear();
    d->size = 0;
    d->owner = false;
}

bool SharedMemory::isAttached() const {
    return d->mapping.address != nullptr;
}

bool SharedMemory::isOwner() const {
    return d->owner;
}

const std::string& SharedMemory::name() const {
    return d->name;
}

void* SharedMemory::data() {
    return d->mapping.address ? static_cast<unsigned char*>(d->mapping.address) + headerSpace
                              : nullptr;
}

const void* SharedMemory::data() const {
    return d->mapping.address ? static_cast<unsigned char*>(d->mapping.address) + headerSpace
                              : nullptr;
}

std::size_t SharedMemory::size() const {
    return d->size;
}

const std::string& SharedMemory::errorText() const {
    return d->error;
}

bool SharedMemory::remove(const std::string& name, std::string* error) {
    std::string reason;
    if (Platform::removeSharedMemory(name, reason)) return true;
    if (error) *error = "cannot remove shared memory '" + name + "': " + reason;
    return false;
}

} // namespace Core
} // namespace Orvane
