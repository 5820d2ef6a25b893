#include "Database/DatabaseEnvironmentLimitsMessage.h"

#include "Database/RecordDescription.h"

namespace {

// Nine u16 limits (650, 700, 750, 800, 10500, 10000, 30000, 34000, 500) and a u8 5.
const uint8_t cDefaultPayload[] = {0x8A, 0x02, 0xBC, 0x02, 0xEE, 0x02, 0x20, 0x03, 0x04, 0x29,
                                   0x10, 0x27, 0x30, 0x75, 0xD0, 0x84, 0xF4, 0x01, 0x05};

} // namespace

VESK_RECORD_DESCRIPTION(CDatabaseEnvironmentLimitsMessage)
    .Directory("NONPERSISTED_DATABASE_ROOT")
    .FileName("EnvironmentLimits.bin")
    .Message(VESK_NAMED(Message_Id_Sonar4_Environment_Limits))
    .PacketName("Sonar4EnvironmentLimitsPacket")
    .MemberName("m_EnvironmentLimits")
    .LoadedName("environmentLimits")
    .DefaultPayload(cDefaultPayload);

CDatabaseEnvironmentLimitsMessage::CDatabaseEnvironmentLimitsMessage(IOSSFactory* pFactory)
    : CDatabaseRecordOf(pFactory, cDescription)
{
}
