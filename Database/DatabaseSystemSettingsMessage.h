#ifndef DATABASE_DATABASESYSTEMSETTINGSMESSAGE_H
#define DATABASE_DATABASESYSTEMSETTINGSMESSAGE_H

#include <cstdint>

#include "Database/DatabaseRecord.h"

// The unit's system settings. This module reads only the depth offset; the
// rest of the payload is carried as received.
struct Sonar4SystemSettingsPacket : Sonar4Packet<562> {
    static constexpr size_t cDepthOffsetOffset = 60;
    static constexpr auto cFields = Sonar4Fields({
        {"settings before depth offset", 16, FIELD_BYTES, cDepthOffsetOffset - 16, ""},
        {"depth offset", cDepthOffsetOffset, FIELD_S32, 1, "cm"},
        {"settings after depth offset", cDepthOffsetOffset + 4, FIELD_BYTES, 562 - (cDepthOffsetOffset + 4), ""},
    });

    // Added to the merged bottom depth, in the units of the local bottom records.
    int32_t GetDepthOffset() const { return Get<int32_t, cDepthOffsetOffset>(); }
    void SetDepthOffset(int32_t Offset) { Set<int32_t, cDepthOffsetOffset>(Offset); }
};

class CDatabaseSystemSettingsMessage : public CDatabaseRecordOf<Sonar4SystemSettingsPacket> {
public:
    static const DatabaseRecordDescription_T cDescription;

    explicit CDatabaseSystemSettingsMessage(IOSSFactory* pFactory);

    int32_t GetDepthOffset() const { return m_Packet.GetDepthOffset(); }
    // Depth transducer selections the settings may name (legacy depth and
    // test transducers), as the last enumeration of the supported
    // transducers counted them.
    static uint16_t GetNumDepthTypeTransducers();
    // In memory only; call writeDB() to store.
    void SetDepthOffset(int32_t Offset) { m_Packet.SetDepthOffset(Offset); }
};

#endif
