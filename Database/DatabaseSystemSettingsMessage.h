#ifndef DATABASE_DATABASESYSTEMSETTINGSMESSAGE_H
#define DATABASE_DATABASESYSTEMSETTINGSMESSAGE_H

#include <cstdint>

#include "Database/DatabaseRecord.h"

// The unit's system settings. This module reads only the depth offset; the
// rest of the payload is carried as received.
struct Sonar4SystemSettingsPacket : Sonar4Packet<562> {
    // Added to the merged bottom depth, in the units of the local bottom records.
    int32_t GetDepthOffset() const { return Get<int32_t, 60>(); }
    void SetDepthOffset(int32_t Offset) { Set<int32_t, 60>(Offset); }
};
static_assert(sizeof(Sonar4SystemSettingsPacket) == 562, "system settings packet is 562 bytes");

class CDatabaseSystemSettingsMessage : public CDatabaseRecordOf<Sonar4SystemSettingsPacket> {
public:
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
