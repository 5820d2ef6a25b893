#include "Database/DatabaseErrorStatusMessage.h"

#include "Database/RecordDescription.h"

// Quiet construction, and a missing file only resets the word in memory:
// see the class comment. The default word is 0, no fault standing.
VESK_RECORD_DESCRIPTION(CDatabaseErrorStatusMessage)
    .Directory("NONPERSISTED_DATABASE_ROOT")
    .FileName("ErrorStatus.bin")
    .Message(VESK_NAMED(Message_Id_Sonar4_Error_Status))
    .PacketName("Sonar4ErrorStatusPacket")
    .MemberName("m_ErrorStatus")
    .LoadedName("errorStatus")
    .ReportsConstruction(false)
    .CheckForFileWrites(false);

CDatabaseErrorStatusMessage::CDatabaseErrorStatusMessage(IOSSFactory* pFactory)
    : CDatabaseRecordOf(pFactory, cDescription)
{
}

VeskEventCode_T CDatabaseErrorStatusMessage::SetErrorStatus(uint32_t Status)
{
    m_Packet.SetErrorStatus(Status);
    return writeDB();
}

uint32_t CDatabaseErrorStatusMessage::GetErrorStatus()
{
    // A failed read leaves the word in memory, which is the best there is.
    readDB();
    return m_Packet.GetErrorStatus();
}
