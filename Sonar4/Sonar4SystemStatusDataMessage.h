#ifndef SONAR4_SONAR4SYSTEMSTATUSDATAMESSAGE_H
#define SONAR4_SONAR4SYSTEMSTATUSDATAMESSAGE_H

#include "Database/DatabaseSystemStatusDataMessage.h"
#include "Sonar4/Sonar4RecordMessage.h"

// The unit's system status.
class CSonar4SystemStatusDataMessage : public CSonar4RecordMessage<CDatabaseSystemStatusDataMessage> {
public:
    using CSonar4RecordMessage::CSonar4RecordMessage;
};

#endif
