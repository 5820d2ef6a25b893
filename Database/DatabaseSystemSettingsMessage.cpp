#include "Database/DatabaseSystemSettingsMessage.h"

#include "Database/TransducerCounts.h"

// An all-zero payload: no depth offset until the settings are received.
const DatabaseRecordDescription_T CDatabaseSystemSettingsMessage::cDescription = {
    {"CDatabaseSystemSettingsMessage", "DATABASE_DIR_SYSTEM_DATA"},
    {"Sonar4SystemSettingsPacket", "m_SystemSettings", "systemSettings", "Message_Id_Sonar4_System_Settings"},
    "SystemSettings.bin", Message_Id_Sonar4_System_Settings, UNIT_CHECK_VERSION_AND_SERIAL};

CDatabaseSystemSettingsMessage::CDatabaseSystemSettingsMessage(IOSSFactory* pFactory)
    : CDatabaseRecordOf(pFactory, cDescription)
{
}

uint16_t CDatabaseSystemSettingsMessage::GetNumDepthTypeTransducers()
{
    return CTransducerCounts::DepthType();
}
