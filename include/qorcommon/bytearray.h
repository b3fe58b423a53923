// A resizable byte buffer.
#pragma once

#include "qorcommon/databuffer.h"
#include "qorcommon/object.h"

#include <cstddef>
#include <string>
#include <vector>

namespace Orvane {
namespace Core {

/// Thread safety: reentrant.
class QORCOMMON_API ByteArray : public StorageObject, public DataBuffer<unsigned char> {
public:
    explicit ByteArray(Object* parent = nullptr);
    /// `size` zero bytes.
    explicit ByteArray(std::size_t size, Object* parent = nullptr);
    /// A copy of `size` bytes at `data` (none when `data` is null).
    ByteArray(const unsigned char* data, std::size_t size, Object* parent = nullptr);
    /// The bytes of the text.
    explicit ByteArray(const std::string& bytes, Object* parent = nullptr);
    explicit ByteArray(std::vector<unsigned char> bytes, Object* parent = nullptr);
    ByteArray(const ByteArray& other);
    ByteArray(ByteArray&& other) noexcept;
    ~ByteArray() override;

    /// Assignment copies the bytes only: the object keeps its own parent.
    ByteArray& operator=(const ByteArray& other);
    ByteArray& operator=(ByteArray&& other) noexcept;

    /// The bytes as a std::string (any byte values, embedded zeros included).
    std::string toString() const;

    unsigned char* data();
    const unsigned char* data() const;
    std::size_t size() const;
    bool isEmpty() const;
    /// Grows with zero bytes or shrinks.
    void resize(std::size_t size);
    void append(const unsigned char* data, std::size_t size);
    void append(const ByteArray& other);
    unsigned char& operator[](std::size_t i);
    unsigned char operator[](std::size_t i) const;
    const std::vector<unsigned char>& bytes() const;
    std::vector<unsigned char>& bytes();

    bool operator==(const ByteArray& other) const;
    bool operator!=(const ByteArray& other) const { return !(*this == other); }

    // DataBuffer<unsigned char>
    unsigned char* buffer() override;
    const unsigned char* buffer() const override;
    std::size_t bufferSize() const override;
    bool resizeBuffer(std::size_t size) override;
    void reset() override;
    bool appendData(const unsigned char* data, std::size_t count) override;
    bool copyDataFrom(const unsigned char* data, std::size_t count) override;
    std::size_t copyDataTo(void* target, std::size_t offset, std::size_t count) const override;

private:
    struct Private;
    Private* d;
};

} // namespace Core
} // namespace Orvane
