#ifndef SONAR4_SONAR4PINGPARAMETERSMESSAGE_H
#define SONAR4_SONAR4PINGPARAMETERSMESSAGE_H

#include "Database/DatabasePingParametersMessage.h"
#include "Sonar4/Sonar4RecordMessage.h"

// One ping configuration; the codec holds one per configuration index and
// tells them apart by the index their packets hold.
class CSonar4PingParametersMessage : public CSonar4RecordMessage<CDatabasePingParametersMessage> {
public:
    CSonar4PingParametersMessage(IOSSFactory* pFactory, PingConfigIndex_T Index) : CSonar4RecordMessage(pFactory, Index)
    {
    }

    // Reloads the record from its file.
    VeskEventCode_T Refresh() { return GetRecord().readDB(); }
    // The configuration index of the packet as last loaded.
    PingConfigIndex_T GetPingConfigIndex() const { return GetRecord().GetPingConfigIndex(); }
};

#endif
