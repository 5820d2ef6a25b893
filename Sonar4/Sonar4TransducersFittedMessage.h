#ifndef SONAR4_SONAR4TRANSDUCERSFITTEDMESSAGE_H
#define SONAR4_SONAR4TRANSDUCERSFITTEDMESSAGE_H

#include "Database/DatabaseTransducersFittedMessage.h"
#include "Sonar4/Sonar4RecordMessage.h"

// The transducer fitted to the module.
class CSonar4TransducersFittedMessage : public CSonar4RecordMessage<CDatabaseTransducersFittedMessage> {
public:
    using CSonar4RecordMessage::CSonar4RecordMessage;
};

#endif
