#ifndef UTILITIES_LITTLEENDIAN_H
#define UTILITIES_LITTLEENDIAN_H

#include <cstddef>
#include <cstdint>
#include <type_traits>

// The one place where packet fields are read and written. Packets are packed
// and little-endian and fields may lie at any byte offset, so fields are
// assembled byte by byte: no alignment or host byte order assumptions.
namespace LittleEndian {

template <typename T>
inline T Read(const uint8_t* p)
{
    static_assert(std::is_integral<T>::value, "integral fields only");
    using U = std::make_unsigned_t<T>;
    U value = 0;
    for (size_t i = 0; i < sizeof(T); ++i) {
        value = static_cast<U>(value | static_cast<U>(static_cast<U>(p[i]) << (8 * i)));
    }
    return static_cast<T>(value);
}

template <typename T>
inline void Write(uint8_t* p, T value)
{
    static_assert(std::is_integral<T>::value, "integral fields only");
    using U = std::make_unsigned_t<T>;
    U bits = static_cast<U>(value);
    for (size_t i = 0; i < sizeof(T); ++i) {
        p[i] = static_cast<uint8_t>(bits >> (8 * i));
    }
}

} // namespace LittleEndian

#endif
