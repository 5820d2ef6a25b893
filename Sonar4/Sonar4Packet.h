#ifndef SONAR4_SONAR4PACKET_H
#define SONAR4_SONAR4PACKET_H

#include <array>
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

    // A field held big-endian: an address in transmission order.
    template <typename T, size_t Offset>
    T GetBigEndian() const
    {
        static_assert(Offset + sizeof(T) <= N, "field outside the packet");
        return BigEndian::Read<T>(m_Bytes + Offset);
    }

    template <typename T, size_t Offset>
    void SetBigEndian(T Value)
    {
        static_assert(Offset + sizeof(T) <= N, "field outside the packet");
        BigEndian::Write<T>(m_Bytes + Offset, Value);
    }

    uint8_t* data() { return m_Bytes; }
    const uint8_t* data() const { return m_Bytes; }
};

// How a packet field is stored, for tools that show or edit packets
// without knowing their C++ types. Integers are little-endian; an IPv4
// address is four octets in transmission order.
enum PacketFieldType_T {
    FIELD_U8,
    FIELD_S8,
    FIELD_U16,
    FIELD_S16,
    FIELD_U32,
    FIELD_S32,
    FIELD_U64,
    FIELD_IPV4,
    // Bytes without a known meaning, carried as they are.
    FIELD_BYTES,
    // Text, NUL-padded.
    FIELD_CHARS,
};

constexpr size_t PacketFieldTypeWidth(PacketFieldType_T Type)
{
    switch (Type) {
    case FIELD_U16:
    case FIELD_S16:
        return 2;
    case FIELD_U32:
    case FIELD_S32:
    case FIELD_IPV4:
        return 4;
    case FIELD_U64:
        return 8;
    default:
        return 1;
    }
}

// One field of a packet's layout: Count elements of Type from Offset on.
// Unit is the unit of the value as a reader writes it ("cm", "100 Hz"),
// empty when the value is a plain number, a code or a set of bits.
struct PacketField_T {
    const char* Name;
    size_t Offset;
    PacketFieldType_T Type;
    size_t Count;
    const char* Unit;

    constexpr size_t Size() const { return PacketFieldTypeWidth(Type) * Count; }
};

// Every record packet starts with the 16-byte Sonar4 header:
// u32 message id, u32 size of the whole packet, u32 protocol version,
// u32 serial number of the unit the packet belongs to.
constexpr size_t cSonar4IdOffset = 0;
constexpr size_t cSonar4SizeOffset = 4;
constexpr size_t cSonar4VersionOffset = 8;
constexpr size_t cSonar4SerialOffset = 12;
constexpr size_t cSonar4HeaderSize = 16;

constexpr PacketField_T cSonar4HeaderFields[] = {
    {"message id", cSonar4IdOffset, FIELD_U32, 1, ""},
    {"message size", cSonar4SizeOffset, FIELD_U32, 1, "byte"},
    {"Sonar4 version", cSonar4VersionOffset, FIELD_U32, 1, ""},
    {"serial number", cSonar4SerialOffset, FIELD_U32, 1, ""},
};
constexpr size_t cSonar4HeaderFieldCount = sizeof(cSonar4HeaderFields) / sizeof(cSonar4HeaderFields[0]);

// The layout of a whole record packet: the header fields, then Payload
// (whose offsets count from the start of the packet).
template <size_t N>
constexpr std::array<PacketField_T, cSonar4HeaderFieldCount + N> Sonar4Fields(const PacketField_T (&Payload)[N])
{
    std::array<PacketField_T, cSonar4HeaderFieldCount + N> fields{};
    for (size_t i = 0; i < cSonar4HeaderFieldCount; ++i) {
        fields[i] = cSonar4HeaderFields[i];
    }
    for (size_t i = 0; i < N; ++i) {
        fields[cSonar4HeaderFieldCount + i] = Payload[i];
    }
    return fields;
}

template <size_t N>
struct Sonar4Packet : PacketBytes<N> {
    static_assert(N >= cSonar4HeaderSize, "a Sonar4 packet holds at least its header");

    LNET_MESSAGE_ID_T GetMessageID() const { return this->template Get<uint32_t, cSonar4IdOffset>(); }
    MessageSize_Bytes_T GetMessageSize() const { return this->template Get<uint32_t, cSonar4SizeOffset>(); }
    uint32_t GetSonar4Version() const { return this->template Get<uint32_t, cSonar4VersionOffset>(); }
    uint32_t GetSerialNumber() const { return this->template Get<uint32_t, cSonar4SerialOffset>(); }

    void SetMessageID(LNET_MESSAGE_ID_T Id) { this->template Set<uint32_t, cSonar4IdOffset>(Id); }
    void SetMessageSize(MessageSize_Bytes_T Size) { this->template Set<uint32_t, cSonar4SizeOffset>(Size); }
    void SetSonar4Version(uint32_t Version) { this->template Set<uint32_t, cSonar4VersionOffset>(Version); }
    void SetSerialNumber(uint32_t Serial) { this->template Set<uint32_t, cSonar4SerialOffset>(Serial); }
};

// Header fields of a packet that is only known as bytes (a received buffer
// or a file being checked). The caller guarantees 16 readable bytes.
struct Sonar4HeaderView {
    const uint8_t* m_pBytes;

    LNET_MESSAGE_ID_T GetMessageID() const { return LittleEndian::Read<uint32_t>(m_pBytes + cSonar4IdOffset); }
    MessageSize_Bytes_T GetMessageSize() const { return LittleEndian::Read<uint32_t>(m_pBytes + cSonar4SizeOffset); }
    uint32_t GetSonar4Version() const { return LittleEndian::Read<uint32_t>(m_pBytes + cSonar4VersionOffset); }
    uint32_t GetSerialNumber() const { return LittleEndian::Read<uint32_t>(m_pBytes + cSonar4SerialOffset); }
};

#endif
