#ifndef SONAR4_SONAR4SERVICEINFOMESSAGE_H
#define SONAR4_SONAR4SERVICEINFOMESSAGE_H

#include "Database/DatabaseServiceInfoMessage.h"
#include "Sonar4/Sonar4RecordMessage.h"

// The discovery packet: where this sounder can be reached.
class CSonar4ServiceInfoMessage : public CSonar4RecordMessage<CDatabaseServiceInfoMessage> {
public:
    using CSonar4RecordMessage::CSonar4RecordMessage;

    // The unit's own address in host byte order (the packet's input address
    // field, byte-swapped), as the unit info message is built with it.
    IP_Address_T GetUnitInfoIPAddress() const { return GetRecord().GetPacket().GetInputIPAddressSwapped(); }
};

#endif
