#ifndef SONAR4_SONAR4SYSTEMSETTINGSMESSAGE_H
#define SONAR4_SONAR4SYSTEMSETTINGSMESSAGE_H

#include "Database/DatabaseSystemSettingsMessage.h"
#include "Sonar4/Sonar4RecordMessage.h"

// The unit's system settings.
class CSonar4SystemSettingsMessage : public CSonar4RecordMessage<CDatabaseSystemSettingsMessage> {
public:
    using CSonar4RecordMessage::CSonar4RecordMessage;
};

#endif
