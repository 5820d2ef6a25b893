#ifndef DATABASE_DATABASESYSTEMLIMITSMESSAGE_H
#define DATABASE_DATABASESYSTEMLIMITSMESSAGE_H

#include <cstdint>

#include "Database/DatabaseRecord.h"

// Limits the unit announces for its settings. Stored, sent and replaced
// whole; only the deepest allowed depth has a name, because the deployment
// can choose it.
struct Sonar4SystemLimitsPacket : Sonar4Packet<49> {
    static constexpr size_t cMaxAllowedDepthOffset = 45;
    uint32_t GetMaxAllowedDepthCm() const { return Get<uint32_t, cMaxAllowedDepthOffset>(); }
    void SetMaxAllowedDepthCm(uint32_t Depth) { Set<uint32_t, cMaxAllowedDepthOffset>(Depth); }
};
static_assert(sizeof(Sonar4SystemLimitsPacket) == 49, "system limits packet is 49 bytes");

class CDatabaseSystemLimitsMessage : public CDatabaseRecordOf<Sonar4SystemLimitsPacket> {
public:
    explicit CDatabaseSystemLimitsMessage(IOSSFactory* pFactory);
};

#endif
