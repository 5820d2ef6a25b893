#ifndef SONAR4_SONAR4HEARTBEATMESSAGE_H
#define SONAR4_SONAR4HEARTBEATMESSAGE_H

#include "Database/DatabaseHeartbeatMessage.h"
#include "Sonar4/Sonar4RecordMessage.h"

// The heartbeat of the device that drives the unit.
class CSonar4HeartbeatMessage : public CSonar4RecordMessage<CDatabaseHeartbeatMessage> {
public:
    using CSonar4RecordMessage::CSonar4RecordMessage;
};

#endif
