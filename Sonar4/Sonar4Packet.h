#ifndef SONAR4_SONAR4PACKET_H
#define SONAR4_SONAR4PACKET_H

#include <cstddef>
#include <cstdint>

#include "Sonar4/Sonar4Types.h"
#include "Utilities/LittleEndian.h"

// N packed bytes with typed access at fixed offsets. Offsets are template
// arguments so that a field reaching past the packet fails to compile.
template <size_t N>
struct PacketBytes {
    static constexpr size_t cSize = N;

    uint8_t m_Bytes[N];

    template <typename T, size_t Offset>
    T Get() const
    {
        static_assert(Offset + sizeof(T) <= N, "field outside the packet");
        return LittleEndian::Read<T>(m_Bytes + Offset);
    }

    template <typename T, size_t Offset>
    void Set(T Value)
    {
        static_assert(Offset + sizeof(T) <= N, "field outside the packet");
        LittleEndian::Write<T>(m_Bytes + Offset, Value);
    }

    uint8_t* data() { return m_Bytes; }
    const uint8_t* data() const { return m_Bytes; }
};

// Every record packet starts with the 16-byte Sonar4 header:
// u32 message id, u32 size of the whole packet, u32 protocol version,
// u32 serial number of the unit the packet belongs to.
constexpr size_t cSonar4HeaderSize = 16;

template <size_t N>
struct Sonar4Packet : PacketBytes<N> {
    static_assert(N >= cSonar4HeaderSize, "a Sonar4 packet holds at least its header");

    LNET_MESSAGE_ID_T GetMessageID() const { return this->template Get<uint32_t, 0>(); }
    MessageSize_Bytes_T GetMessageSize() const { return this->template Get<uint32_t, 4>(); }
    uint32_t GetSonar4Version() const { return this->template Get<uint32_t, 8>(); }
    uint32_t GetSerialNumber() const { return this->template Get<uint32_t, 12>(); }

    void SetMessageID(LNET_MESSAGE_ID_T Id) { this->template Set<uint32_t, 0>(Id); }
    void SetMessageSize(MessageSize_Bytes_T Size) { this->template Set<uint32_t, 4>(Size); }
    void SetSonar4Version(uint32_t Version) { this->template Set<uint32_t, 8>(Version); }
    void SetSerialNumber(uint32_t Serial) { this->template Set<uint32_t, 12>(Serial); }
};

// Header fields of a packet that is only known as bytes (a received buffer
// or a file being checked). The caller guarantees 16 readable bytes.
struct Sonar4HeaderView {
    const uint8_t* m_pBytes;

    LNET_MESSAGE_ID_T GetMessageID() const { return LittleEndian::Read<uint32_t>(m_pBytes + 0); }
    MessageSize_Bytes_T GetMessageSize() const { return LittleEndian::Read<uint32_t>(m_pBytes + 4); }
    uint32_t GetSonar4Version() const { return LittleEndian::Read<uint32_t>(m_pBytes + 8); }
    uint32_t GetSerialNumber() const { return LittleEndian::Read<uint32_t>(m_pBytes + 12); }
};

#endif
