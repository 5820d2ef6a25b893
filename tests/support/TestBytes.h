// Byte strings the tests build packets and files from, and read them back as.
#pragma once

#include <cstdint>
#include <cstdio>
#include <string>

#include <gmock/gmock.h>

#include "Utilities/ByteBuffer.h"

inline std::string Le32(uint32_t Value)
{
    return {char(Value), char(Value >> 8), char(Value >> 16), char(Value >> 24)};
}

// A packet's header (id, size field, version, serial), cut to Length or
// padded with Fill.
inline std::string HeaderBytes(uint32_t Id, uint32_t Size, uint32_t Version, uint32_t Serial, size_t Length = 16,
                               char Fill = '\0')
{
    std::string bytes = Le32(Id) + Le32(Size) + Le32(Version) + Le32(Serial);
    bytes.resize(Length, Fill);
    return bytes;
}

// "0A 00 FF": bytes as a difference shows best, PerLine of them a line if
// given, so that a difference in a long packet shows where it is.
inline std::string Hex(const std::string& Bytes, size_t PerLine = 0)
{
    std::string text;
    char three[4];
    for (size_t i = 0; i < Bytes.size(); ++i) {
        text += i == 0 ? "" : (PerLine != 0 && i % PerLine == 0) ? "\n" : " ";
        text.append(three, std::snprintf(three, sizeof(three), "%02X", static_cast<unsigned char>(Bytes[i])));
    }
    return text;
}

// Hands Packet to a record or message as a received packet.
template <typename Receiver>
auto Receive(Receiver& R, const std::string& Packet)
{
    const Buffer_Bytes_T buffer(const_cast<char*>(Packet.data()), Packet.size());
    return R.DecodeMessage(&buffer);
}

// The text of a failed VESK_ASSERT on Condition.
inline ::testing::Matcher<const std::string&> Assertion(const std::string& Condition)
{
    return ::testing::HasSubstr("Assertion `" + Condition + "' failed");
}
