#include "Database/DatabaseHeartbeatMessage.h"

#include <ctime>

#include "Database/RecordDescription.h"

namespace {

// Mode 0, no time, no depth.
const uint8_t cDefaultPayload[] = {0x00, 0xFF, 0xFF, 0xFF, 0xFF, 0xFF, 0xFF, 0xFF, 0xFF, 0x00, 0x00,
                                   0x00, 0x00, 0x00, 0x00, 0x00, 0x00, 0x00, 0x00, 0x00, 0x80};
static_assert(sizeof(cDefaultPayload) == Sonar4HeartbeatPacket::cSize - cSonar4HeaderSize, "the whole payload");

// The two lowest values both mean "no bottom"; other negative ones are
// faults. The deepest depth is a fixed limit of the protocol, whatever the
// unit's own limit; the highest value is a marker of its own.
int32_t ValidDepth(int32_t Depth)
{
    if (Depth == cNoBottom || Depth == cNoBottom + 1 || Depth == INT32_MAX) {
        return Depth;
    }
    if (Depth < 0) {
        return cNoBottom;
    }
    return Depth > Sonar4HeartbeatPacket::cDeepestDepthCm ? Sonar4HeartbeatPacket::cDeepestDepthCm : Depth;
}

bool ReplaceInvalidHeartbeat(uint8_t* Packet)
{
    using P = Sonar4HeartbeatPacket;
    const uint8_t mode = LittleEndian::Read<uint8_t>(Packet + P::cModeOffset);
    const int32_t depth = LittleEndian::Read<int32_t>(Packet + P::cDepthOffset);
    const int32_t validDepth = ValidDepth(depth);
    const bool replaced = mode > P::cHighestMode || validDepth != depth;
    if (mode > P::cHighestMode) {
        LittleEndian::Write<uint8_t>(Packet + P::cModeOffset, P::cHighestMode);
    }
    LittleEndian::Write<int32_t>(Packet + P::cDepthOffset, validDepth);
    return replaced;
}

} // namespace

VESK_RECORD_DESCRIPTION(CDatabaseHeartbeatMessage)
    .Directory("NONPERSISTED_DATABASE_ROOT")
    .FileName("Heartbeat.bin")
    .Message(VESK_NAMED(Message_Id_Sonar4_Heartbeat))
    .PacketName("Sonar4HeartbeatPacket")
    .MemberName("m_HeartbeatPacket")
    .LoadedName("heartbeatPacket")
    .UnitCheck(UNIT_CHECK_VERSION_ONLY)
    .DefaultPayload(cDefaultPayload)
    .ReplaceInvalidValues(&ReplaceInvalidHeartbeat);

CDatabaseHeartbeatMessage::CDatabaseHeartbeatMessage(IOSSFactory* pFactory)
    : CDatabaseRecordOf(pFactory, cDescription)
{
}

void CDatabaseHeartbeatMessage::LogTime()
{
    const uint64_t time = m_Packet.GetTime();
    if (time == Sonar4HeartbeatPacket::cNoTime) {
        return;
    }
    if (m_LogCounter != -1 && m_LogCounter < cLogInterval) {
        ++m_LogCounter;
        return;
    }
    // The low 32 bits as UTC, in the C library's fixed 24-character form
    // and its line feed; the year stays below 2107, well inside the buffer.
    const std::time_t seconds = static_cast<std::time_t>(time & 0xFFFFFFFFu);
    std::tm calendar{};
    char text[32] = "";
    if (gmtime_r(&seconds, &calendar) != nullptr) {
        asctime_r(&calendar, text);
    }
    m_pFactory->SendEvent(cInfoLevel, SUCCESS, "CDatabaseHeartbeatMessage::LogTime", text);
    m_LogCounter = 1;
}
