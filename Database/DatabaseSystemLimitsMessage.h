#ifndef DATABASE_DATABASESYSTEMLIMITSMESSAGE_H
#define DATABASE_DATABASESYSTEMLIMITSMESSAGE_H

#include <cstdint>

#include "Database/DatabaseRecord.h"

// Limits the unit announces for its settings. Stored, sent and replaced
// whole; only the deepest allowed depth has a name, because the deployment
// can choose it.
struct Sonar4SystemLimitsPacket : Sonar4Packet<49> {
    static constexpr size_t cMaxAllowedDepthOffset = 45;
    static constexpr auto cFields = Sonar4Fields({
        {"limits a", 16, FIELD_U16, 4, ""},
        {"limits b", 24, FIELD_S32, 2, ""},
        {"limits c", 32, FIELD_S16, 2, ""},
        {"limit d", 36, FIELD_U8, 1, ""},
        {"limits e", 37, FIELD_U16, 2, ""},
        {"limit f", 41, FIELD_U32, 1, ""},
        {"max allowed depth", cMaxAllowedDepthOffset, FIELD_U32, 1, "cm"},
    });
    uint32_t GetMaxAllowedDepthCm() const { return Get<uint32_t, cMaxAllowedDepthOffset>(); }
    void SetMaxAllowedDepthCm(uint32_t Depth) { Set<uint32_t, cMaxAllowedDepthOffset>(Depth); }
};

class CDatabaseSystemLimitsMessage : public CDatabaseRecordOf<Sonar4SystemLimitsPacket> {
public:
    static const DatabaseRecordDescription_T cDescription;

    explicit CDatabaseSystemLimitsMessage(IOSSFactory* pFactory);
};

#endif
