#ifndef DATABASE_DATABASEHEARTBEATMESSAGE_H
#define DATABASE_DATABASEHEARTBEATMESSAGE_H

#include <cstdint>

#include "Database/DatabaseRecord.h"

// The heartbeat of the device that drives the unit: its mode, its clock and
// the depth it shows. The time and the depth lie at odd offsets.
struct Sonar4HeartbeatPacket : Sonar4Packet<37> {
    static constexpr size_t cModeOffset = 16;
    static constexpr size_t cTimeOffset = 17;
    static constexpr size_t cReservedOffset = 25;
    static constexpr size_t cDepthOffset = 33;
    static constexpr uint8_t cHighestMode = 2;
    // Seconds since 1970 in the low 32 bits; all ones: the sender has no time.
    static constexpr uint64_t cNoTime = UINT64_MAX;
    static constexpr int32_t cDeepestDepthCm = 304800;
    static constexpr auto cFields = Sonar4Fields({
        {"mode", cModeOffset, FIELD_U8, 1, ""},
        {"time", cTimeOffset, FIELD_U64, 1, "s"},
        {"reserved", cReservedOffset, FIELD_BYTES, cDepthOffset - cReservedOffset, ""},
        {"depth", cDepthOffset, FIELD_S32, 1, "cm"},
    });

    uint8_t GetMode() const { return Get<uint8_t, cModeOffset>(); }
    void SetMode(uint8_t Mode) { Set<uint8_t, cModeOffset>(Mode); }
    uint64_t GetTime() const { return Get<uint64_t, cTimeOffset>(); }
    void SetTime(uint64_t Time) { Set<uint64_t, cTimeOffset>(Time); }
    int32_t GetDepth() const { return Get<int32_t, cDepthOffset>(); }
    void SetDepth(int32_t Depth) { Set<int32_t, cDepthOffset>(Depth); }
};

// Heartbeats come from any device: the record checks only the protocol
// version. Mode and depth are clamped on every store and load. The sender's
// time is logged for the first timed heartbeat and every 601st after it, so
// that the unit's log can be lined up with the sender's clock.
class CDatabaseHeartbeatMessage : public CDatabaseRecordOf<Sonar4HeartbeatPacket> {
public:
    static const DatabaseRecordDescription_T cDescription;
    // Timed heartbeats between two logged ones.
    static constexpr int32_t cLogInterval = 601;

    explicit CDatabaseHeartbeatMessage(IOSSFactory* pFactory);

    uint8_t GetMode() const { return m_Packet.GetMode(); }
    uint64_t GetTime() const { return m_Packet.GetTime(); }
    int32_t GetDepth() const { return m_Packet.GetDepth(); }

    // Logs the heartbeat's time when it is due (see the class comment).
    void LogTime();

protected:
    void PacketAccepted() override { LogTime(); }

private:
    // -1 until the first timed heartbeat.
    int32_t m_LogCounter = -1;
};

#endif
