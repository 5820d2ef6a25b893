#include "Database/DatabaseCommandMessage.h"

namespace {

bool ReplaceInvalidCommand(uint8_t* Packet)
{
    const size_t offset = Sonar4CommandPacket::cCommandCodeOffset;
    if (LittleEndian::Read<uint32_t>(Packet + offset) <= Sonar4CommandPacket::cHighestCommandCode) {
        return false;
    }
    LittleEndian::Write<uint32_t>(Packet + offset, 0);
    return true;
}

} // namespace

// Payload zero: no command yet.
const DatabaseRecordDescription_T CDatabaseCommandMessage::cDescription = {
    {"CDatabaseCommandMessage", "NONPERSISTED_DATABASE_ROOT", "m_pFactory", true, true, 6, "Failed to write to DB"},
    {"Sonar4CommandPacket", "m_Command", "command", "Message_Id_Sonar4_Command"},
    "Command.bin", Message_Id_Sonar4_Command, UNIT_CHECK_VERSION_ONLY,
    nullptr, 0, nullptr, &ReplaceInvalidCommand,
    "failed to write contents", "Failed to read contents", "writeDB()"};

CDatabaseCommandMessage::CDatabaseCommandMessage(IOSSFactory* pFactory) : CDatabaseRecordOf(pFactory, cDescription)
{
}
