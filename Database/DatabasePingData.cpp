#include "Database/DatabasePingData.h"

#include <algorithm>
#include <cstring>
#include <limits>

#include "Database/DatabaseFile.h"
#include "Utilities/IOSSFactory.h"
#include "Utilities/VeskAssert.h"

namespace {

// Data type a segment carries before the first run is started.
constexpr PingDataType_T cInitialPingDataType = 4;

} // namespace

CDatabasePingData::CDatabasePingData(IOSSFactory* pFactory) : m_pFactory(pFactory)
{
    VESK_ASSERT(m_pFactory);
    m_PingDataPacket.SetMessageID(Message_Id_Sonar4_Ping_Data);
    m_PingDataPacket.SetSonar4Version(SONAR4_VERSION);
    m_PingDataPacket.SetPingDataType(cInitialPingDataType);
    m_SerialNumber = CDatabaseFile::LookUpUnitSerialNumber(m_pFactory);
}

void CDatabasePingData::SetPingData(const Buffer_Bytes_T* PingData, UINT8 Tag, PingDataType_T Type,
                                    PingConfigIndex_T Index)
{
    VESK_ASSERT(PingData);
    m_pPingData = PingData->ptr();
    m_PingDataCapacity = PingData->capacity();
    m_PingDataRemaining = PingData->size();

    // Only whole segments are checked: a run of 256 segments whose last one
    // is partial passes, and its count wraps to 0 in the one-byte field.
    // Receivers rely on that boundary, so it stays where it is.
    const size_t nos = m_PingDataRemaining / Sonar4PingDataPacket::cMaxSegmentData;
    VESK_ASSERT(nos <= std::numeric_limits<PacketSegmentNumber_T>::max());
    const bool partial = m_PingDataRemaining % Sonar4PingDataPacket::cMaxSegmentData != 0;
    m_PingDataPacket.SetSegmentCount(static_cast<PacketSegmentNumber_T>(nos + (partial ? 1 : 0)));

    m_PingDataPacket.SetPingDataSize(static_cast<uint32_t>(m_PingDataRemaining));
    m_PingDataPacket.SetPingDataType(Type);
    m_PingDataPacket.SetTag(Tag);
    m_PingDataPacket.SetPingConfigIndex(Index);
    m_PingDataPacket.SetSegmentNumber(0);
    m_PingDataPacket.SetSegmentOffset(0);
    m_PingDataPacket.Set<uint32_t, 16>(0);
}

VeskEventCode_T CDatabasePingData::CreateMessage(Buffer_Bytes_T* OutputBuffer)
{
    VESK_ASSERT(OutputBuffer);
    VESK_ASSERT(OutputBuffer->size() >= sizeof(m_PingDataPacket));
    if (m_PingDataRemaining == 0) {
        OutputBuffer->size(0);
        return SUCCESS;
    }

    const size_t offset = m_PingDataPacket.GetSegmentOffset();
    const size_t n = std::min(m_PingDataRemaining, Sonar4PingDataPacket::cMaxSegmentData);
    // The view was taken whole and only ever shrinks from the front.
    VESK_ASSERT(offset + n <= m_PingDataCapacity);
    uint8_t* data = m_PingDataPacket.SegmentData();
    std::memcpy(data, m_pPingData + offset, n);
    std::memset(data + n, 0, Sonar4PingDataPacket::cMaxSegmentData - n);
    m_PingDataRemaining -= n;

    const size_t segmentSize = Sonar4PingDataPacket::cSegmentHeaderSize + n;
    m_PingDataPacket.SetMessageID(Message_Id_Sonar4_Ping_Data);
    m_PingDataPacket.SetMessageSize(static_cast<MessageSize_Bytes_T>(segmentSize));
    m_PingDataPacket.SetSonar4Version(SONAR4_VERSION);
    m_PingDataPacket.SetSerialNumber(m_SerialNumber);

    // The segment goes out as it stands; then the run state moves on, even
    // when the segment could not be delivered.
    const bool fits = segmentSize <= OutputBuffer->size();
    if (fits) {
        std::memcpy(OutputBuffer->ptr(), m_PingDataPacket.data(), segmentSize);
    }
    m_PingDataPacket.SetSegmentNumber(static_cast<PacketSegmentNumber_T>(m_PingDataPacket.GetSegmentNumber() + 1));
    m_PingDataPacket.SetSegmentOffset(static_cast<uint32_t>(offset + n));

    if (!fits) {
        m_pFactory->SendEvent(cErrorLevel, SONAR4_ERROR_BUFFER_TOO_SMALL_FOR_MESSAGE,
                              "CDatabasePingData::CreateMessage", "Buffer too small");
        OutputBuffer->size(0);
        return SONAR4_ERROR_BUFFER_TOO_SMALL_FOR_MESSAGE;
    }
    OutputBuffer->size(segmentSize);
    return SUCCESS;
}

VeskEventCode_T CDatabasePingData::readDB()
{
    VESK_ASSERT(0 && "CDatabasePingData does not have an underlying Database file!");
    return SUCCESS;
}

VeskEventCode_T CDatabasePingData::writeDB()
{
    VESK_ASSERT(0 && "CDatabasePingData does not have an underlying Database file!");
    return SUCCESS;
}

const char* CDatabasePingData::GetDBFilePath() const
{
    VESK_ASSERT(0 && "CDatabasePingData does not have an underlying Database file!");
    return nullptr;
}

VeskEventCode_T CDatabasePingData::DecodeMessage(const Buffer_Bytes_T*)
{
    VESK_ASSERT(0 && "CDatabasePingData is write-only");
    return SUCCESS;
}
