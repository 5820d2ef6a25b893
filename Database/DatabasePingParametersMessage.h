#ifndef DATABASE_DATABASEPINGPARAMETERSMESSAGE_H
#define DATABASE_DATABASEPINGPARAMETERSMESSAGE_H

#include <array>
#include <cstdint>

#include "Database/DatabaseRecord.h"

// The settings of one ping configuration. The configuration index at
// offset 20 is what the codec tells configurations apart by; the named
// fields are those a unit engineer sets most, the rest is carried as
// received.
struct Sonar4PingParametersPacket : Sonar4Packet<94> {
    static constexpr size_t cReservedOffset = 16;
    static constexpr size_t cConfigIndexOffset = 20;
    static constexpr size_t cEnabledOffset = 21;
    static constexpr size_t cChannelOffset = 22;
    static constexpr size_t cFrequencyOffset = 23;
    static constexpr size_t cPulseLengthOffset = 25;
    static constexpr size_t cPowerOffset = 27;
    static constexpr size_t cRangeOffset = 28;
    static constexpr size_t cPingIntervalOffset = 32;
    static constexpr size_t cOtherSettingsOffset = 34;
    static constexpr auto cFields = Sonar4Fields({
        {"reserved", cReservedOffset, FIELD_BYTES, cConfigIndexOffset - cReservedOffset, ""},
        {"configuration index", cConfigIndexOffset, FIELD_U8, 1, ""},
        {"enabled", cEnabledOffset, FIELD_U8, 1, ""},
        {"channel", cChannelOffset, FIELD_U8, 1, ""},
        {"frequency", cFrequencyOffset, FIELD_U16, 1, "100 Hz"},
        {"pulse length", cPulseLengthOffset, FIELD_U16, 1, "us"},
        {"power", cPowerOffset, FIELD_U8, 1, "%"},
        {"range", cRangeOffset, FIELD_U32, 1, "cm"},
        {"ping interval", cPingIntervalOffset, FIELD_U16, 1, "ms"},
        {"other settings", cOtherSettingsOffset, FIELD_BYTES, 94 - cOtherSettingsOffset, ""},
    });

    PingConfigIndex_T GetPingConfigIndex() const { return Get<uint8_t, cConfigIndexOffset>(); }
    void SetPingConfigIndex(PingConfigIndex_T Index) { Set<uint8_t, cConfigIndexOffset>(Index); }
    uint8_t GetEnabled() const { return Get<uint8_t, cEnabledOffset>(); }
    uint8_t GetChannel() const { return Get<uint8_t, cChannelOffset>(); }
    uint16_t GetFrequency100Hz() const { return Get<uint16_t, cFrequencyOffset>(); }
    uint16_t GetPulseLengthUs() const { return Get<uint16_t, cPulseLengthOffset>(); }
    uint8_t GetPowerPercent() const { return Get<uint8_t, cPowerOffset>(); }
    uint32_t GetRangeCm() const { return Get<uint32_t, cRangeOffset>(); }
    uint16_t GetPingIntervalMs() const { return Get<uint16_t, cPingIntervalOffset>(); }
};

// What a fresh configuration holds, per configuration index.
struct PingParameterDefaults_T {
    uint8_t Enabled;
    uint8_t Channel;
    uint16_t Frequency100Hz;
    uint16_t PulseLengthUs;
    uint8_t PowerPercent;
    uint32_t RangeCm;
    uint16_t PingIntervalMs;
};
using PingParameterTable_T = std::array<PingParameterDefaults_T, PingConfigIndex_end>;
extern const PingParameterTable_T cDefaultPingParameters;

// One ping configuration, in a file of its own ("PingParameters<index>.bin")
// that persists across restarts.
class CDatabasePingParametersMessage : public CDatabaseRecordOf<Sonar4PingParametersPacket> {
public:
    static const DatabaseRecordDescription_T cDescription;

    CDatabasePingParametersMessage(IOSSFactory* pFactory, PingConfigIndex_T Index);

    // The index the packet holds (not the one the record was made with).
    PingConfigIndex_T GetPingConfigIndex() const { return m_Packet.GetPingConfigIndex(); }
};

#endif
