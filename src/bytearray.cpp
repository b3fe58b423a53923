#include "qorcommon/bytearray.h"

#include <algorithm>
#include <cstring>
#include <exception>
#include <functional>
#include <utility>

namespace Orvane {
namespace Core {

template class DataBuffer<unsigned char>;

struct ByteArray::Private {
    std::vector<unsigned char> bytes;
};

namespace {
// Shared by buffer() and data() of empty arrays, which must not return null.
unsigned char emptyByte = 0;
} // namespace

ByteArray::ByteArray(Object* parent) : StorageObject(parent), d(new Private) {}

ByteArray::ByteArray(std::size_t size, Object* parent)
    : StorageObject(parent), d(new Private{std::vector<unsigned char>(size, 0)}) {}

ByteArray::ByteArray(const unsigned char* data, std::size_t size, Object* parent)
    : StorageObject(parent), d(new Private) {
    if (data) d->bytes.assign(data, data + size);
}

ByteArray::ByteArray(const std::string& bytes, Object* parent)
    : StorageObject(parent),
      d(new Private{std::vector<unsigned char>(bytes.begin(), bytes.end())}) {}

ByteArray::ByteArray(std::vector<unsigned char> bytes, Object* parent)
    : StorageObject(parent), d(new Private{std::move(bytes)}) {}

ByteArray::ByteArray(const ByteArray& other)
    : StorageObject(other), DataBuffer<unsigned char>(other), d(new Private(*other.d)) {}

ByteArray::ByteArray(ByteArray&& other) noexcept
    : StorageObject(other), DataBuffer<unsigned char>(other),
      d(new Private{std::move(other.d->bytes)}) {}

ByteArray::~ByteArray() {
    delete d;
}

ByteArray& ByteArray::operator=(const ByteArray& other) {
    if (this != &other) d->bytes = other.d->bytes;
    return *this;
}

ByteArray& ByteArray::operator=(ByteArray&& other) noexcept {
    if (this != &other) d->bytes = std::move(other.d->bytes);
    return *this;
}

std::string ByteArray::toString() const {
    return std::string(reinterpret_cast<const char*>(data()), d->bytes.size());
}

unsigned char* ByteArray::data() {
    return d->bytes.empty() ? &emptyByte : d->bytes.data();
}
const unsigned char* ByteArray::data() const {
    return d->bytes.empty() ? &emptyByte : d->bytes.data();
}
std::size_t ByteArray::size() const {
    return d->bytes.size();
}
bool ByteArray::isEmpty() const {
    return d->bytes.empty();
}
void ByteArray::resize(std::size_t size) {
    d->bytes.resize(size, 0);
}

void ByteArray::append(const unsigned char* data, std::size_t size) {
    if (!data || size == 0) return;
    // Bytes from inside this array are copied first: growing the vector may move them.
    const unsigned char* begin = d->bytes.data();
    const std::less<const unsigned char*> before;
    if (!d->bytes.empty() && !before(data, begin) && before(data, begin + d->bytes.size())) {
        const std::vector<unsigned char> copy(data, data + size);
        d->bytes.insert(d->bytes.end(), copy.begin(), copy.end());
    } else {
        d->bytes.insert(d->bytes.end(), data, data + size);
    }
}

void ByteArray::append(const ByteArray& other) {
    append(other.data(), other.size());
}

unsigned char& ByteArray::operator[](std::size_t i) {
    return d->bytes[i];
}
unsigned char ByteArray::operator[](std::size_t i) const {
    return d->bytes[i];
}
const std::vector<unsigned char>& ByteArray::bytes() const {
    return d->bytes;
}
std::vector<unsigned char>& ByteArray::bytes() {
    return d->bytes;
}

bool ByteArray::operator==(const ByteArray& other) const {
    return d->bytes == other.d->bytes;
}

unsigned char* ByteArray::buffer() {
    return data();
}
const unsigned char* ByteArray::buffer() const {
    return data();
}
std::size_t ByteArray::bufferSize() const {
    return d->bytes.size();
}

bool ByteArray::resizeBuffer(std::size_t size) {
    try {
        d->bytes.resize(size, 0);
        return true;
    } catch (const std::exception&) {
        return false;
    }
}

void ByteArray::reset() {
    d->bytes.clear();
}

bool ByteArray::appendData(const unsigned char* data, std::size_t count) {
    if (count == 0) return true;
    if (!data) return false;
    try {
        append(data, count);
        return true;
    } catch (const std::exception&) {
        return false;
    }
}

bool ByteArray::copyDataFrom(const unsigned char* data, std::size_t count) {
    if (count != 0 && !data) return false;
    try {
        std::vector<unsigned char> source(data, data + count);
        d->bytes.swap(source);
        return true;
    } catch (const std::exception&) {
        return false;
    }
}

std::size_t ByteArray::copyDataTo(void* target, std::size_t offset, std::size_t count) const {
    if (!target || offset >= d->bytes.size()) return 0;
    const std::size_t n = std::min(count, d->bytes.size() - offset);
    std::memcpy(target, d->bytes.data() + offset, n);
    return n;
}

} // namespace Core
} // namespace Orvane
