#ifndef UTILITIES_BYTEBUFFER_H
#define UTILITIES_BYTEBUFFER_H

#include <cstddef>
#include <cstdint>
#include <cstring>

#include "Utilities/VeskAssert.h"

// A non-owning view of a block of bytes: where it is, how much room there is
// (fixed at construction) and how many bytes are meaningful now.
// Readers take the current size as the most they may store and set it to
// what they stored; writers send exactly the current size.
class Buffer_Bytes_T {
public:
    Buffer_Bytes_T(void* Data, size_t SizeBytes)
        : m_pData(static_cast<uint8_t*>(Data)), m_Original_Size_Bytes(SizeBytes), m_Size_Bytes(SizeBytes)
    {
    }
    virtual ~Buffer_Bytes_T() = default;

    Buffer_Bytes_T(const Buffer_Bytes_T&) = delete;
    Buffer_Bytes_T& operator=(const Buffer_Bytes_T&) = delete;

    uint8_t* ptr() const { return m_pData; }
    size_t size() const { return m_Size_Bytes; }
    size_t capacity() const { return m_Original_Size_Bytes; }

    // Declared const: readers of a const view still report what they stored.
    void size(size_t NewSize) const
    {
        VESK_ASSERT(NewSize <= m_Original_Size_Bytes);
        m_Size_Bytes = NewSize;
    }

    // Clears the whole capacity and makes all of it available again.
    void Reset()
    {
        if (m_pData != nullptr) {
            std::memset(m_pData, 0, m_Original_Size_Bytes);
        }
        m_Size_Bytes = m_Original_Size_Bytes;
    }

protected:
    uint8_t* m_pData;
    const size_t m_Original_Size_Bytes;
    mutable size_t m_Size_Bytes;
};

// The one variant with storage of its own: room for one inter-task pipe
// message.
class Pipe_Buffer_T : public Buffer_Bytes_T {
public:
    static constexpr size_t cPipeBufferSize = 512;

    Pipe_Buffer_T() : Buffer_Bytes_T(nullptr, cPipeBufferSize), m_Array{} { m_pData = m_Array; }

private:
    uint8_t m_Array[cPipeBufferSize];
};

#endif
