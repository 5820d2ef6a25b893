#include "Database/DatabasePingParametersMessage.h"

#include "Database/RecordDescription.h"

namespace {

// Configuration 0 pings the primary channel at 200 kHz, configuration 1
// the secondary one at 50 kHz; the others start disabled with the same
// settings, even indices on the primary channel and odd on the secondary,
// ready to be enabled.
constexpr PingParameterDefaults_T cPrimary = {0, 0, 2000, 100, 100, 10000, 100};
constexpr PingParameterDefaults_T cSecondary = {0, 1, 500, 400, 100, 30000, 200};

constexpr PingParameterTable_T MakeDefaultPingParameters()
{
    PingParameterTable_T table{};
    for (size_t index = 0; index < table.size(); ++index) {
        table[index] = index % 2 == 0 ? cPrimary : cSecondary;
        table[index].Enabled = index < 2 ? 1 : 0;
    }
    return table;
}

void SetConfigurationDefaults(IOSSFactory*, uint8_t* Packet, uint32_t Instance)
{
    using P = Sonar4PingParametersPacket;
    const PingParameterDefaults_T& defaults = cDefaultPingParameters.at(Instance);
    LittleEndian::Write<uint8_t>(Packet + P::cConfigIndexOffset, static_cast<uint8_t>(Instance));
    LittleEndian::Write<uint8_t>(Packet + P::cEnabledOffset, defaults.Enabled);
    LittleEndian::Write<uint8_t>(Packet + P::cChannelOffset, defaults.Channel);
    LittleEndian::Write<uint16_t>(Packet + P::cFrequencyOffset, defaults.Frequency100Hz);
    LittleEndian::Write<uint16_t>(Packet + P::cPulseLengthOffset, defaults.PulseLengthUs);
    LittleEndian::Write<uint8_t>(Packet + P::cPowerOffset, defaults.PowerPercent);
    LittleEndian::Write<uint32_t>(Packet + P::cRangeOffset, defaults.RangeCm);
    LittleEndian::Write<uint16_t>(Packet + P::cPingIntervalOffset, defaults.PingIntervalMs);
}

} // namespace

const PingParameterTable_T cDefaultPingParameters = MakeDefaultPingParameters();

VESK_RECORD_DESCRIPTION(CDatabasePingParametersMessage)
    .Directory("DATABASE_DIR_PING_PARAMETERS")
    .FileName("PingParameters%u.bin")
    .Message(VESK_NAMED(Message_Id_Sonar4_Ping_Parameters))
    .PacketName("Sonar4PingParametersPacket")
    .MemberName("m_PingParameters")
    .LoadedName("pingParameters")
    .SetComputedDefaults(&SetConfigurationDefaults);

CDatabasePingParametersMessage::CDatabasePingParametersMessage(IOSSFactory* pFactory, PingConfigIndex_T Index)
    : CDatabaseRecordOf(pFactory, cDescription, Index)
{
}
