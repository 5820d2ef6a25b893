#include "Database/DatabaseSystemStatusDataMessage.h"

#include "Database/RecordDescription.h"

VESK_RECORD_DESCRIPTION(CDatabaseSystemStatusDataMessage)
    .Directory("NONPERSISTED_DATABASE_ROOT")
    .FileName("SystemStatus.bin")
    .Message(VESK_NAMED(Message_Id_Sonar4_System_Status_Data))
    .PacketName("Sonar4SystemStatusDataPacket")
    .MemberName("m_SystemStatusData")
    .LoadedName("systemStatusData");

CDatabaseSystemStatusDataMessage::CDatabaseSystemStatusDataMessage(IOSSFactory* pFactory)
    : CDatabaseRecordOf(pFactory, cDescription)
{
}
