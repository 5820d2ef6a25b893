#include "Database/DatabaseSystemSettingsMessage.h"

#include "Database/RecordDescription.h"
#include "Database/TransducerCounts.h"

// An all-zero payload: no depth offset until the settings are received.
VESK_RECORD_DESCRIPTION(CDatabaseSystemSettingsMessage)
    .Directory("DATABASE_DIR_SYSTEM_DATA")
    .FileName("SystemSettings.bin")
    .Message(VESK_NAMED(Message_Id_Sonar4_System_Settings))
    .PacketName("Sonar4SystemSettingsPacket")
    .MemberName("m_SystemSettings")
    .LoadedName("systemSettings");

CDatabaseSystemSettingsMessage::CDatabaseSystemSettingsMessage(IOSSFactory* pFactory)
    : CDatabaseRecordOf(pFactory, cDescription)
{
}

uint16_t CDatabaseSystemSettingsMessage::GetNumDepthTypeTransducers()
{
    return CTransducerCounts::DepthType();
}
