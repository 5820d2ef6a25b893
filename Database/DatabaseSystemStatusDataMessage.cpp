#include "Database/DatabaseSystemStatusDataMessage.h"

const DatabaseRecordDescription_T CDatabaseSystemStatusDataMessage::cDescription = {
    {"CDatabaseSystemStatusDataMessage", "NONPERSISTED_DATABASE_ROOT"},
    {"Sonar4SystemStatusDataPacket", "m_SystemStatusData", "systemStatusData",
     "Message_Id_Sonar4_System_Status_Data"},
    "SystemStatus.bin", Message_Id_Sonar4_System_Status_Data, UNIT_CHECK_VERSION_AND_SERIAL};

CDatabaseSystemStatusDataMessage::CDatabaseSystemStatusDataMessage(IOSSFactory* pFactory)
    : CDatabaseRecordOf(pFactory, cDescription)
{
}
