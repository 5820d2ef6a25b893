#ifndef DATABASE_DATABASEMASTERBOTTOMRECORDMESSAGE_H
#define DATABASE_DATABASEMASTERBOTTOMRECORDMESSAGE_H

#include <cstdint>

#include "Database/DatabaseRecord.h"

// The one bottom depth the unit reports. The depth lies at an odd offset;
// the packet has no padding.
struct Sonar4MasterBottomRecordPacket : Sonar4Packet<22> {
    static constexpr size_t cFirstByteOffset = 16;
    static constexpr size_t cMasterDepthOffset = 17;
    static constexpr size_t cOffsetModeOffset = 21;
    static constexpr auto cFields = Sonar4Fields({
        {"first byte", cFirstByteOffset, FIELD_U8, 1, ""},
        {"master depth", cMasterDepthOffset, FIELD_S32, 1, "cm"},
        {"offset mode", cOffsetModeOffset, FIELD_U8, 1, ""},
    });

    // Merged bottom depth plus the depth offset, or cNoBottom.
    int32_t GetMasterDepth() const { return Get<int32_t, cMasterDepthOffset>(); }
    void SetMasterDepth(int32_t Depth) { Set<int32_t, cMasterDepthOffset>(Depth); }
    // Sign of the depth offset applied: 0 none, 1 negative, 2 positive.
    uint8_t GetOffsetMode() const { return Get<uint8_t, cOffsetModeOffset>(); }
    void SetOffsetMode(uint8_t Mode) { Set<uint8_t, cOffsetModeOffset>(Mode); }
};

class CDatabaseMasterBottomRecordMessage : public CDatabaseRecordOf<Sonar4MasterBottomRecordPacket> {
public:
    static const DatabaseRecordDescription_T cDescription;

    explicit CDatabaseMasterBottomRecordMessage(IOSSFactory* pFactory);

    // In memory only; call writeDB() to store.
    void SetMasterDepth(int32_t Depth) { m_Packet.SetMasterDepth(Depth); }
    void SetOffsetMode(uint8_t Mode) { m_Packet.SetOffsetMode(Mode); }
    int32_t GetMasterDepth() const { return m_Packet.GetMasterDepth(); }
    uint8_t GetOffsetMode() const { return m_Packet.GetOffsetMode(); }
};

#endif
