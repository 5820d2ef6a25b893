#include "Database/DatabaseErrorStatusMessage.h"

// Quiet construction, and a missing file only resets the word in memory:
// see the class comment. The default word is 0, no fault standing.
const DatabaseRecordDescription_T CDatabaseErrorStatusMessage::cDescription = {
    {"CDatabaseErrorStatusMessage", "NONPERSISTED_DATABASE_ROOT", "m_pFactory", false, false},
    {"Sonar4ErrorStatusPacket", "m_ErrorStatus", "errorStatus", "Message_Id_Sonar4_Error_Status"},
    "ErrorStatus.bin", Message_Id_Sonar4_Error_Status, UNIT_CHECK_VERSION_AND_SERIAL};

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
