#ifndef SONAR4_SONAR4SYSTEMLIMITSMESSAGE_H
#define SONAR4_SONAR4SYSTEMLIMITSMESSAGE_H

#include "Database/DatabaseSystemLimitsMessage.h"
#include "Sonar4/Sonar4RecordMessage.h"

// The limits of the unit's settings.
class CSonar4SystemLimitsMessage : public CSonar4RecordMessage<CDatabaseSystemLimitsMessage> {
public:
    using CSonar4RecordMessage::CSonar4RecordMessage;
};

#endif
