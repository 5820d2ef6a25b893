#ifndef SONAR4_SONAR4ERRORSTATUSMESSAGE_H
#define SONAR4_SONAR4ERRORSTATUSMESSAGE_H

#include "Database/DatabaseErrorStatusMessage.h"
#include "Sonar4/Sonar4RecordMessage.h"

// The unit's error status word, as other units read it.
class CSonar4ErrorStatusMessage : public CSonar4RecordMessage<CDatabaseErrorStatusMessage> {
public:
    using CSonar4RecordMessage::CSonar4RecordMessage;

    // The record's packet as last loaded, for reading its fields directly;
    // does not read the file.
    virtual const Sonar4ErrorStatusPacket* GetPacket() const { return &GetRecord().GetPacket(); }
};

#endif
