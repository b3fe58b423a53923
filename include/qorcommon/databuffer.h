// The raw-buffer view shared by String (bytes of text) and ByteArray (plain bytes): code that only
// moves bytes around can take a DataBuffer<T>& and serve both.
#pragma once

#include "qorcommon/export.h"

#include <cstddef>

namespace Orvane {
namespace Core {

/// Thread safety: reentrant.
template <class T> class DataBuffer {
public:
    virtual ~DataBuffer();

    /// The first element; valid until the buffer is resized. Never null, also when empty.
    virtual T* buffer() = 0;
    virtual const T* buffer() const = 0;
    /// The number of elements held.
    virtual std::size_t bufferSize() const = 0;
    /// Grows (new elements are zero) or shrinks the buffer; false when memory runs out.
    virtual bool resizeBuffer(std::size_t size) = 0;
    /// Empties the buffer.
    virtual void reset() = 0;
    /// Appends `count` elements; false when `data` is null with a non-zero count or memory runs
    /// out (the buffer is then unchanged).
    virtual bool appendData(const T* data, std::size_t count) = 0;
    /// Replaces the content with `count` elements, with the same failures as appendData.
    virtual bool copyDataFrom(const T* data, std::size_t count) = 0;
    /// Copies at most `count` elements starting at element `offset` to `target` and returns how
    /// many were copied (0 when `offset` is at or past the end or `target` is null).
    virtual std::size_t copyDataTo(void* target, std::size_t offset, std::size_t count) const = 0;

protected:
    DataBuffer() = default;
    DataBuffer(const DataBuffer&) = default;
    DataBuffer& operator=(const DataBuffer&) = default;
};

template <class T> DataBuffer<T>::~DataBuffer() = default;

// One vtable and type identity for both instantiations, in the library, so that a dynamic_cast
// to DataBuffer<char> works on objects made on either side of the DLL boundary.
extern template class QORCOMMON_API DataBuffer<char>;
extern template class QORCOMMON_API DataBuffer<unsigned char>;

} // namespace Core
} // namespace Orvane
