#include "Database/DatabaseEnvironmentDataMessage.h"

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

const DatabaseRecordDescription_T CDatabaseEnvironmentDataMessage::cDescription = {
    {"CDatabaseEnvironmentDataMessage", "DATABASE_DIR_SYSTEM_DATA"},
    {"Sonar4EnvironmentDataPacket", "m_EnvironmentData", "environmentData", "Message_Id_Sonar4_Environment_Data"},
    "EnvironmentData.bin", Message_Id_Sonar4_Environment_Data, UNIT_CHECK_VERSION_AND_SERIAL,
    cDefaultPayload, sizeof(cDefaultPayload)};

CDatabaseEnvironmentDataMessage::CDatabaseEnvironmentDataMessage(IOSSFactory* pFactory)
    : CDatabaseRecordOf(pFactory, cDescription)
{
}
