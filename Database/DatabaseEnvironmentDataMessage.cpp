#include "Database/DatabaseEnvironmentDataMessage.h"

#include "Database/RecordDescription.h"

namespace {

// Read as little-endian u16: 0, 65535, four zeros, six times -32768 (no
// reading), then twelve 0xFF bytes and sixteen zero bytes.
const uint8_t cDefaultPayload[] = {
    0x00, 0x00, 0xFF, 0xFF,                                                 //
    0x00, 0x00, 0x00, 0x00, 0x00, 0x00, 0x00, 0x00,                         //
    0x00, 0x80, 0x00, 0x80, 0x00, 0x80, 0x00, 0x80, 0x00, 0x80, 0x00, 0x80, //
    0xFF, 0xFF, 0xFF, 0xFF, 0xFF, 0xFF, 0xFF, 0xFF, 0xFF, 0xFF, 0xFF, 0xFF, //
    0x00, 0x00, 0x00, 0x00, 0x00, 0x00, 0x00, 0x00, 0x00, 0x00, 0x00, 0x00, 0x00, 0x00, 0x00, 0x00};
static_assert(sizeof(cDefaultPayload) == Sonar4EnvironmentDataPacket::cSize - cSonar4HeaderSize, "the whole payload");

} // namespace

VESK_RECORD_DESCRIPTION(CDatabaseEnvironmentDataMessage)
    .Directory("DATABASE_DIR_SYSTEM_DATA")
    .FileName("EnvironmentData.bin")
    .Message(VESK_NAMED(Message_Id_Sonar4_Environment_Data))
    .PacketName("Sonar4EnvironmentDataPacket")
    .MemberName("m_EnvironmentData")
    .LoadedName("environmentData")
    .DefaultPayload(cDefaultPayload);

CDatabaseEnvironmentDataMessage::CDatabaseEnvironmentDataMessage(IOSSFactory* pFactory)
    : CDatabaseRecordOf(pFactory, cDescription)
{
}
