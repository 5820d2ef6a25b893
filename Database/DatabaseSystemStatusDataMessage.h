#ifndef DATABASE_DATABASESYSTEMSTATUSDATAMESSAGE_H
#define DATABASE_DATABASESYSTEMSTATUSDATAMESSAGE_H

#include "Database/DatabaseRecord.h"

// The unit's system status as other tasks publish it. This module stores,
// sends and replaces it whole; an all-zero payload means nothing reported yet.
struct Sonar4SystemStatusDataPacket : Sonar4Packet<1063> {
    static constexpr auto cFields = Sonar4Fields({
        {"system status", 16, FIELD_BYTES, 1063 - 16, ""},
    });
};

class CDatabaseSystemStatusDataMessage : public CDatabaseRecordOf<Sonar4SystemStatusDataPacket> {
public:
    static const DatabaseRecordDescription_T cDescription;

    explicit CDatabaseSystemStatusDataMessage(IOSSFactory* pFactory);
};

#endif
