#ifndef DATABASE_DATABASEENVIRONMENTLIMITSMESSAGE_H
#define DATABASE_DATABASEENVIRONMENTLIMITSMESSAGE_H

#include "Database/DatabaseRecord.h"

// Limits the unit announces for its environment readings. Stored, sent and
// replaced whole; the module never reads a field of it by name.
struct Sonar4EnvironmentLimitsPacket : Sonar4Packet<35> {
};
static_assert(sizeof(Sonar4EnvironmentLimitsPacket) == 35, "environment limits packet is 35 bytes");

class CDatabaseEnvironmentLimitsMessage : public CDatabaseRecordOf<Sonar4EnvironmentLimitsPacket> {
public:
    explicit CDatabaseEnvironmentLimitsMessage(IOSSFactory* pFactory);
};

#endif
