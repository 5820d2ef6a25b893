#ifndef SONAR4_SONAR4ENVIRONMENTDATAMESSAGE_H
#define SONAR4_SONAR4ENVIRONMENTDATAMESSAGE_H

#include "Database/DatabaseEnvironmentDataMessage.h"
#include "Sonar4/Sonar4RecordMessage.h"

// The environment data the unit publishes.
class CSonar4EnvironmentDataMessage : public CSonar4RecordMessage<CDatabaseEnvironmentDataMessage> {
public:
    using CSonar4RecordMessage::CSonar4RecordMessage;
};

#endif
