#ifndef SONAR4_SONAR4RECORDINGSTATUSMESSAGE_H
#define SONAR4_SONAR4RECORDINGSTATUSMESSAGE_H

#include "Database/DatabaseRecordingStatusMessage.h"
#include "Sonar4/Sonar4RecordMessage.h"

// The recording status the unit publishes.
class CSonar4RecordingStatusMessage : public CSonar4RecordMessage<CDatabaseRecordingStatusMessage> {
public:
    using CSonar4RecordMessage::CSonar4RecordMessage;

    // The record's packet as last loaded, for reading its fields directly;
    // does not read the file.
    virtual const Sonar4RecordingStatusPacket* GetPacket() const { return &GetRecord().GetPacket(); }
};

#endif
