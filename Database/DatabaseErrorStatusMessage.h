#ifndef DATABASE_DATABASEERRORSTATUSMESSAGE_H
#define DATABASE_DATABASEERRORSTATUSMESSAGE_H

#include <cstdint>

#include "Database/DatabaseRecord.h"
#include "Database/IDatabaseErrorStatusMessage.h"

// The unit's persistent error status word, one bit per standing fault.
struct Sonar4ErrorStatusPacket : Sonar4Packet<20> {
    static constexpr size_t cErrorStatusOffset = 16;
    static constexpr auto cFields = Sonar4Fields({
        {"error status", cErrorStatusOffset, FIELD_U32, 1, ""},
    });

    uint32_t GetErrorStatus() const { return Get<uint32_t, cErrorStatusOffset>(); }
    void SetErrorStatus(uint32_t Status) { Set<uint32_t, cErrorStatusOffset>(Status); }
};

// Events update this record, so it must never report its own construction,
// and reading it must not create its file: a missing file reads as word 0
// until the next SetErrorStatus stores one.
class CDatabaseErrorStatusMessage : public IDatabaseErrorStatusMessage,
                                    public CDatabaseRecordOf<Sonar4ErrorStatusPacket> {
public:
    static const DatabaseRecordDescription_T cDescription;

    explicit CDatabaseErrorStatusMessage(IOSSFactory* pFactory);

    VeskEventCode_T SetErrorStatus(uint32_t Status) override;
    uint32_t GetErrorStatus() override;
};

#endif
