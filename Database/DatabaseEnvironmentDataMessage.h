#ifndef DATABASE_DATABASEENVIRONMENTDATAMESSAGE_H
#define DATABASE_DATABASEENVIRONMENTDATAMESSAGE_H

#include "Database/DatabaseRecord.h"

// The environment data the unit publishes. Stored, sent and replaced whole;
// the module never reads a field of it by name. Kept in the persisted
// directory, so it survives a restart.
struct Sonar4EnvironmentDataPacket : Sonar4Packet<68> {
    static constexpr auto cFields = Sonar4Fields({
        {"environment data", 16, FIELD_BYTES, 68 - 16, ""},
    });
};

class CDatabaseEnvironmentDataMessage : public CDatabaseRecordOf<Sonar4EnvironmentDataPacket> {
public:
    static const DatabaseRecordDescription_T cDescription;

    explicit CDatabaseEnvironmentDataMessage(IOSSFactory* pFactory);
};

#endif
