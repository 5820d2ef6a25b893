#include "Database/DatabaseRecordingStatusMessage.h"

#include "Database/RecordDescription.h"

// All-zero payload by default.
VESK_RECORD_DESCRIPTION(CDatabaseRecordingStatusMessage)
    .Directory("NONPERSISTED_DATABASE_ROOT")
    .FileName("RecordingStatus.bin")
    .Message(VESK_NAMED(Message_Id_Sonar4_Recording_Status))
    .PacketName("Sonar4RecordingStatusPacket")
    .MemberName("m_RecordingStatus")
    .LoadedName("recordingStatus")
    .ReportsConstruction(false)
    .CheckForFileWrites(false)
    .LoadChecksForFile(false)
    .ReportsStoreFailures(false)
    .MissingFileResetBytes(Sonar4RecordingStatusPacket::cStatusSize);

CDatabaseRecordingStatusMessage::CDatabaseRecordingStatusMessage(IOSSFactory* pFactory)
    : CDatabaseRecordOf(pFactory, cDescription)
{
}
