#ifndef SONAR4_SONAR4ENVIRONMENTLIMITSMESSAGE_H
#define SONAR4_SONAR4ENVIRONMENTLIMITSMESSAGE_H

#include "Database/DatabaseEnvironmentLimitsMessage.h"
#include "Sonar4/Sonar4RecordMessage.h"

// The limits of the unit's environment readings.
class CSonar4EnvironmentLimitsMessage : public CSonar4RecordMessage<CDatabaseEnvironmentLimitsMessage> {
public:
    using CSonar4RecordMessage::CSonar4RecordMessage;
};

#endif
