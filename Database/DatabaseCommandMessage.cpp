#include "Database/DatabaseCommandMessage.h"

#include "Database/RecordDescription.h"

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
VESK_RECORD_DESCRIPTION(CDatabaseCommandMessage)
    .Directory("NONPERSISTED_DATABASE_ROOT")
    .FileName("Command.bin")
    .Message(VESK_NAMED(Message_Id_Sonar4_Command))
    .PacketName("Sonar4CommandPacket")
    .MemberName("m_Command")
    .LoadedName("command")
    .UnitCheck(UNIT_CHECK_VERSION_ONLY)
    .ReplaceInvalidValues(&ReplaceInvalidCommand)
    .CheckForFileFailureLevel(6)
    .CheckForFileFailureWhy("Failed to write to DB")
    .WriteFailedWhy("failed to write contents")
    .WriteFailedOperation("writeDB()");

CDatabaseCommandMessage::CDatabaseCommandMessage(IOSSFactory* pFactory) : CDatabaseRecordOf(pFactory, cDescription)
{
}
