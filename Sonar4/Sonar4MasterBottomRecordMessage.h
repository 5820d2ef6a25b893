#ifndef SONAR4_SONAR4MASTERBOTTOMRECORDMESSAGE_H
#define SONAR4_SONAR4MASTERBOTTOMRECORDMESSAGE_H

#include "Database/DatabaseMasterBottomRecordMessage.h"
#include "Sonar4/Sonar4RecordMessage.h"

// The one bottom depth the unit reports.
class CSonar4MasterBottomRecordMessage : public CSonar4RecordMessage<CDatabaseMasterBottomRecordMessage> {
public:
    using CSonar4RecordMessage::CSonar4RecordMessage;
};

#endif
