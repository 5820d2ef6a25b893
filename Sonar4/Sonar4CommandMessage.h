#ifndef SONAR4_SONAR4COMMANDMESSAGE_H
#define SONAR4_SONAR4COMMANDMESSAGE_H

#include "Database/DatabaseCommandMessage.h"
#include "Sonar4/Sonar4RecordMessage.h"

// The last command received for the module.
class CSonar4CommandMessage : public CSonar4RecordMessage<CDatabaseCommandMessage> {
public:
    using CSonar4RecordMessage::CSonar4RecordMessage;

    // The record's packet as last loaded, for reading its fields directly;
    // does not read the file.
    virtual const Sonar4CommandPacket* GetPacket() const { return &GetRecord().GetPacket(); }
};

#endif
