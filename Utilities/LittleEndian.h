#ifndef UTILITIES_LITTLEENDIAN_H
#define UTILITIES_LITTLEENDIAN_H

#include <cstddef>
#include <cstdint>
#include <type_traits>

// The one place where multi-byte fields are read and written. Packets and
// records are packed and little-endian; the headers of captures and of IP
// and UDP are big-endian (network byte order). Fields may lie at any byte
// offset, so they are assembled byte by byte: no alignment or host byte
// order assumptions.
namespace ByteOrder {

// Byte i of a field holds bits 8 * Shift(i) and up.
template <typename T, bool BigEndian>
constexpr size_t Shift(size_t i)
{
    return 8 * (BigEndian ? sizeof(T) - 1 - i : i);
}

template <typename T, bool BigEndian>
inline T Read(const uint8_t* p)
{
    static_assert(std::is_integral<T>::value, "integral fields only");
    using U = std::make_unsigned_t<T>;
    U value = 0;
    for (size_t i = 0; i < sizeof(T); ++i) {
        value = static_cast<U>(value | static_cast<U>(static_cast<U>(p[i]) << Shift<T, BigEndian>(i)));
    }
    return static_cast<T>(value);
}

template <typename T, bool BigEndian>
inline void Write(uint8_t* p, T value)
{
    static_assert(std::is_integral<T>::value, "integral fields only");
    using U = std::make_unsigned_t<T>;
    U bits = static_cast<U>(value);
    for (size_t i = 0; i < sizeof(T); ++i) {
        p[i] = static_cast<uint8_t>(bits >> Shift<T, BigEndian>(i));
    }
}

} // namespace ByteOrder

namespace LittleEndian {

template <typename T>
inline T Read(const uint8_t* p)
{
    return ByteOrder::Read<T, false>(p);
}

template <typename T>
inline void Write(uint8_t* p, T value)
{
    ByteOrder::Write<T, false>(p, value);
}

} // namespace LittleEndian

namespace BigEndian {

template <typename T>
inline T Read(const uint8_t* p)
{
    return ByteOrder::Read<T, true>(p);
}

template <typename T>
inline void Write(uint8_t* p, T value)
{
    ByteOrder::Write<T, true>(p, value);
}

} // namespace BigEndian

#endif
