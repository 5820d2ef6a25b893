#ifndef DATABASE_DATABASEENVIRONMENTLIMITSMESSAGE_H
#define DATABASE_DATABASEENVIRONMENTLIMITSMESSAGE_H

#include "Database/DatabaseRecord.h"

// Limits the unit announces for its environment readings. Stored, sent and
// replaced whole; the module never reads a field of it by name.
struct Sonar4EnvironmentLimitsPacket : Sonar4Packet<35> {
    static constexpr auto cFields = Sonar4Fields({
        {"limits", 16, FIELD_U16, 9, ""},
        {"last limit", 34, FIELD_U8, 1, ""},
    });
};

class CDatabaseEnvironmentLimitsMessage : public CDatabaseRecordOf<Sonar4EnvironmentLimitsPacket> {
public:
    static const DatabaseRecordDescription_T cDescription;

    explicit CDatabaseEnvironmentLimitsMessage(IOSSFactory* pFactory);
};

#endif
