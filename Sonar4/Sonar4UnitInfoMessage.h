#ifndef SONAR4_SONAR4UNITINFOMESSAGE_H
#define SONAR4_SONAR4UNITINFOMESSAGE_H

#include "Database/DatabaseUnitInfoMessage.h"
#include "Sonar4/Sonar4RecordMessage.h"

// Who this unit is, for the discovery protocol; made with the unit's
// address (host byte order) as the service info message gives it.
class CSonar4UnitInfoMessage : public CSonar4RecordMessage<CDatabaseUnitInfoMessage> {
public:
    CSonar4UnitInfoMessage(IOSSFactory* pFactory, IP_Address_T HostOrderAddress)
        : CSonar4RecordMessage(pFactory, HostOrderAddress)
    {
    }
};

#endif
