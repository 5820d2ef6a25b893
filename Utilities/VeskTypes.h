#ifndef UTILITIES_VESKTYPES_H
#define UTILITIES_VESKTYPES_H

#include <cstdint>

// Fixed-width names used across the module's interfaces and packets.
using UINT8 = std::uint8_t;
using UINT16 = std::uint16_t;
using UINT32 = std::uint32_t;
using INT8 = std::int8_t;
using INT16 = std::int16_t;
using INT32 = std::int32_t;
using AUINT32 = std::uint32_t;

#endif
