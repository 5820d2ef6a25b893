#include "Database/DatabaseRecordingStatusMessage.h"

// All-zero payload by default.
const DatabaseRecordDescription_T CDatabaseRecordingStatusMessage::cDescription = {
    {"CDatabaseRecordingStatusMessage", "NONPERSISTED_DATABASE_ROOT", "m_pFactory", false, false, 3,
     "failed to write to DB", false, false},
    {"Sonar4RecordingStatusPacket", "m_RecordingStatus", "recordingStatus", "Message_Id_Sonar4_Recording_Status"},
    "RecordingStatus.bin", Message_Id_Sonar4_Recording_Status, UNIT_CHECK_VERSION_AND_SERIAL,
    nullptr, 0, nullptr, nullptr, "Failed to write contents", "Failed to read contents", "writeDB",
    Sonar4RecordingStatusPacket::cStatusSize};

CDatabaseRecordingStatusMessage::CDatabaseRecordingStatusMessage(IOSSFactory* pFactory)
    : CDatabaseRecordOf(pFactory, cDescription)
{
}
