#ifndef SONAR4_SONAR4SUPPORTEDTRANSDUCERSMESSAGE_H
#define SONAR4_SONAR4SUPPORTEDTRANSDUCERSMESSAGE_H

#include "Database/DatabaseSupportedTransducersMessage.h"
#include "Sonar4/Sonar4RecordMessage.h"

// The legacy transducers the user can choose.
class CSonar4SupportedTransducersMessage : public CSonar4RecordMessage<CDatabaseSupportedTransducersMessage> {
public:
    using CSonar4RecordMessage::CSonar4RecordMessage;

    // Re-reads the list from its file. Received settings may name a
    // transducer from it, and another task may have enumerated since.
    virtual VeskEventCode_T ReloadRecord() { return GetRecord().readDB(); }
};

#endif
