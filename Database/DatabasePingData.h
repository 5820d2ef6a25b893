#ifndef DATABASE_DATABASEPINGDATA_H
#define DATABASE_DATABASEPINGDATA_H

#include <cstddef>
#include <cstdint>

#include "Sonar4/Sonar4Packet.h"
#include "Sonar4/Sonar4Types.h"
#include "Utilities/ByteBuffer.h"
#include "Utilities/VeskEventCode.h"
#include "Utilities/VeskTypes.h"

class IOSSFactory;

// One segment of a ping data run: the header, the run state and up to
// cMaxSegmentData bytes of the ping's samples. Only the first
// cSegmentHeaderSize + n bytes go out for a segment of n data bytes.
struct Sonar4PingDataPacket : Sonar4Packet<1469> {
    static constexpr size_t cUnusedOffset = 16;
    static constexpr size_t cSegmentOffsetOffset = 20;
    static constexpr size_t cPingDataSizeOffset = 24;
    static constexpr size_t cPingDataSizeAgainOffset = 28;
    static constexpr size_t cPingDataTypeOffset = 32;
    static constexpr size_t cTagOffset = 33;
    static constexpr size_t cSegmentNumberOffset = 34;
    static constexpr size_t cSegmentCountOffset = 35;
    static constexpr size_t cPingConfigIndexOffset = 36;
    static constexpr size_t cSegmentHeaderSize = 37;
    static constexpr size_t cMaxSegmentData = cSize - cSegmentHeaderSize;
    static constexpr auto cFields = Sonar4Fields({
        {"unused", cUnusedOffset, FIELD_U32, 1, ""},
        {"segment offset", cSegmentOffsetOffset, FIELD_U32, 1, "byte"},
        {"ping data size", cPingDataSizeOffset, FIELD_U32, 1, "byte"},
        {"ping data size again", cPingDataSizeAgainOffset, FIELD_U32, 1, "byte"},
        {"ping data type", cPingDataTypeOffset, FIELD_U8, 1, ""},
        {"tag", cTagOffset, FIELD_U8, 1, ""},
        {"segment number", cSegmentNumberOffset, FIELD_U8, 1, ""},
        {"segment count", cSegmentCountOffset, FIELD_U8, 1, ""},
        {"configuration index", cPingConfigIndexOffset, FIELD_U8, 1, ""},
        {"data", cSegmentHeaderSize, FIELD_BYTES, cMaxSegmentData, ""},
    });

    // Where this segment's first data byte lies within the whole ping data.
    uint32_t GetSegmentOffset() const { return Get<uint32_t, cSegmentOffsetOffset>(); }
    void SetSegmentOffset(uint32_t Offset) { Set<uint32_t, cSegmentOffsetOffset>(Offset); }
    // The run's total size, carried twice on the wire.
    uint32_t GetPingDataSize() const { return Get<uint32_t, cPingDataSizeOffset>(); }
    void SetPingDataSize(uint32_t Size)
    {
        Set<uint32_t, cPingDataSizeOffset>(Size);
        Set<uint32_t, cPingDataSizeAgainOffset>(Size);
    }
    PingDataType_T GetPingDataType() const { return Get<PingDataType_T, cPingDataTypeOffset>(); }
    void SetPingDataType(PingDataType_T Type) { Set<PingDataType_T, cPingDataTypeOffset>(Type); }
    UINT8 GetTag() const { return Get<UINT8, cTagOffset>(); }
    void SetTag(UINT8 Tag) { Set<UINT8, cTagOffset>(Tag); }
    PacketSegmentNumber_T GetSegmentNumber() const { return Get<PacketSegmentNumber_T, cSegmentNumberOffset>(); }
    void SetSegmentNumber(PacketSegmentNumber_T Number) { Set<PacketSegmentNumber_T, cSegmentNumberOffset>(Number); }
    PacketSegmentNumber_T GetSegmentCount() const { return Get<PacketSegmentNumber_T, cSegmentCountOffset>(); }
    void SetSegmentCount(PacketSegmentNumber_T Count) { Set<PacketSegmentNumber_T, cSegmentCountOffset>(Count); }
    PingConfigIndex_T GetPingConfigIndex() const { return Get<PingConfigIndex_T, cPingConfigIndexOffset>(); }
    void SetPingConfigIndex(PingConfigIndex_T Index) { Set<PingConfigIndex_T, cPingConfigIndexOffset>(Index); }

    uint8_t* SegmentData() { return data() + cSegmentHeaderSize; }
};
static_assert(sizeof(Sonar4PingDataPacket) == Sonar4PingDataPacket::cSize, "the packet holds nothing but its bytes");

// Cuts the sampled data of one ping, far larger than a datagram, into a
// run of numbered segment packets. Write-only and without a file: it keeps
// nothing but the run in progress, and the ping data bytes stay the
// caller's, who keeps them alive and unchanged until the run ends.
class CDatabasePingData {
public:
    static constexpr size_t cPacketSize = sizeof(Sonar4PingDataPacket);

    // pFactory must not be null; the serial number is looked up once here.
    explicit CDatabasePingData(IOSSFactory* pFactory);
    CDatabasePingData(const CDatabasePingData&) = delete;
    CDatabasePingData& operator=(const CDatabasePingData&) = delete;

    // Starts a run over PingData (not copied), abandoning any run in
    // progress. More than 255 whole segments is a programming error.
    void SetPingData(const Buffer_Bytes_T* PingData, UINT8 Tag, PingDataType_T Type, PingConfigIndex_T Index);
    // Writes the next segment into OutputBuffer, whose current size must be
    // at least cPacketSize, and sets its size to the segment's; at the end
    // of the run (or before any) the size is set to 0 and SUCCESS returned.
    VeskEventCode_T CreateMessage(Buffer_Bytes_T* OutputBuffer);

    // A record without a file has nothing to read, write, name or accept:
    // calling these is a programming error.
    VeskEventCode_T readDB();
    VeskEventCode_T writeDB();
    const char* GetDBFilePath() const;
    VeskEventCode_T DecodeMessage(const Buffer_Bytes_T* Buffer);

private:
    IOSSFactory* m_pFactory;
    Sonar4PingDataPacket m_PingDataPacket{};
    const uint8_t* m_pPingData = nullptr;
    size_t m_PingDataCapacity = 0;
    size_t m_PingDataRemaining = 0;
    uint32_t m_SerialNumber = 0;
};

#endif
