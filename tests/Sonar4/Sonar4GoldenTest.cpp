// The packets of every record the codec builds, compared byte for byte with
// packets an x86-64 build made and checked in (tests/golden/). On a target
// where long, size_t or time_t have other widths, or where unaligned access
// has other rules, a field written at the wrong width, offset or byte order
// shows here as a difference. The service info packet carries the unit's
// address, 10.0.0.2 from the double's network.
//
// To make the files anew on x86-64: VESK_WRITE_GOLDEN=1 Sonar4GoldenTest.
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <fstream>
#include <iterator>
#include <string>

#include <gtest/gtest.h>

#include "Database/DatabaseErrorStatusMessage.h"
#include "Database/DatabaseMasterBottomRecordMessage.h"
#include "Database/DatabaseSystemLimitsMessage.h"
#include "Database/DatabaseSystemSettingsMessage.h"
#include "Sonar4/Sonar4.h"
#include "Sonar4/Sonar4MessageTable.h"
#include "tests/support/Sandbox.h"
#include "tests/support/TestBytes.h"
#include "tests/support/UnitDouble.h"

namespace {

// Above INT32_MAX: a 32-bit long must not cut these short.
constexpr uint32_t cSerial = 3000000123u;
constexpr uint32_t cMaxDepthCm = 2500000000u;

// The golden file of one instance of a row: its record's file name, or its
// record class's name for a record kept in no file.
std::string GoldenPath(const Sonar4MessageRow_T& Row, unsigned Instance)
{
    char name[128];
    if (Row.Record.FileName) {
        std::snprintf(name, sizeof(name), Row.Record.FileName, Instance);
    } else {
        std::snprintf(name, sizeof(name), "%s.bin", Row.Record.ClassName);
    }
    return std::string(VESK_GOLDEN_DIR) + "/" + name;
}

class Sonar4GoldenTest : public ::testing::Test {
protected:
    void SetUp() override
    {
        m_Sandbox.SetUnitEnvironment();
        m_Sandbox.SetEnv("EMBEDDED_SERIAL_NUMBER_OVERRIDE", std::to_string(cSerial).c_str());
        m_Sandbox.SetEnv("MAX_ALLOWED_DEPTH_IN_CM", std::to_string(cMaxDepthCm).c_str());
        m_Sandbox.SetEnv("DATA_PORT_OVERRIDE", "40001");
        // Published as it stands, so it must not be the sandbox's random name.
        m_Sandbox.SetEnv("ROOT_DIR", "/usr/local/unit");

        // Typed fields of every width and sign, stored before the codec loads them.
        CDatabaseMasterBottomRecordMessage bottom(&m_Factory);
        bottom.SetMasterDepth(-1234567);
        bottom.SetOffsetMode(2);
        ASSERT_EQ(bottom.writeDB(), SUCCESS);
        CDatabaseSystemSettingsMessage settings(&m_Factory);
        settings.SetDepthOffset(-250);
        ASSERT_EQ(settings.writeDB(), SUCCESS);
        CDatabaseErrorStatusMessage status(&m_Factory);
        ASSERT_EQ(status.SetErrorStatus(0x80000401u), SUCCESS);
    }

    CSandbox m_Sandbox;
    CUnitDouble m_Factory;
};

TEST_F(Sonar4GoldenTest, EveryBuiltPacketIsTheCheckedInOneAndDecodesBackToIt)
{
    const bool write = std::getenv("VESK_WRITE_GOLDEN") != nullptr;
    CSonar4 codec(&m_Factory);
    // A second set of message objects, made as the codec makes them, to receive the packets.
    struct Receivers {
        Sonar4MessageMap_T m_Map;
        ~Receivers() { DeleteSonar4Messages(m_Map); }
    } receivers;
    MakeSonar4Messages(&m_Factory, receivers.m_Map);
    size_t compared = 0;
    for (const Sonar4MessageRow_T& row : GetSonar4MessageTable()) {
        for (unsigned instance = 0; row.Record.Kind != RECORD_NONE && instance < row.Instances; ++instance) {
            const std::string path = GoldenPath(row, instance);
            SCOPED_TRACE(path);
            std::string built(row.Record.PacketSize, '\0');
            Buffer_Bytes_T buffer(built.data(), built.size());
            ASSERT_EQ(codec.ConstructMessage(row.Id, &buffer, static_cast<PingConfigIndex_T>(instance)), SUCCESS);
            built.resize(buffer.size());
            if (write) {
                std::ofstream(path, std::ios::binary) << built;
                continue;
            }
            const std::string expected = CSandbox::ReadFile(path);
            EXPECT_EQ(Hex(built, 16), Hex(expected, 16));
            ++compared;
            if (row.Record.Kind != RECORD_SHARED) {
                continue;   // the service info packet is a neighbour's when received
            }
            // Received by a message of its own, stored, and built again from its file.
            ISonar4Message* const message = std::next(receivers.m_Map.lower_bound(row.Id), instance)->second;
            EXPECT_EQ(Receive(*message, expected), SUCCESS);
            std::string again(row.Record.PacketSize, '\0');
            Buffer_Bytes_T againBuffer(again.data(), again.size());
            ASSERT_EQ(message->CreateMessage(&againBuffer), SUCCESS);
            again.resize(againBuffer.size());
            EXPECT_EQ(Hex(again, 16), Hex(expected, 16));
        }
    }
    EXPECT_TRUE(write || compared > 0);
    // Notices (the service info record tells how it chose its group) are fine.
    for (const auto& event : m_Factory.m_Events) {
        EXPECT_GT(event.Level, cErrorLevel) << event.Where << ": " << event.Why;
    }
}

// The same values read back through the typed accessors on this target.
TEST_F(Sonar4GoldenTest, TypedFieldsReadBackAtTheirWidths)
{
    CDatabaseMasterBottomRecordMessage bottom(&m_Factory);
    EXPECT_EQ(bottom.GetMasterDepth(), -1234567);
    EXPECT_EQ(bottom.GetOffsetMode(), 2);
    EXPECT_EQ(bottom.GetPacket().GetSerialNumber(), cSerial);
    EXPECT_EQ(bottom.GetUnitSerialNumber(), cSerial);
    EXPECT_EQ(CDatabaseSystemSettingsMessage(&m_Factory).GetDepthOffset(), -250);
    EXPECT_EQ(CDatabaseSystemLimitsMessage(&m_Factory).GetPacket().GetMaxAllowedDepthCm(), cMaxDepthCm);
    EXPECT_EQ(CDatabaseErrorStatusMessage(&m_Factory).GetErrorStatus(), 0x80000401u);
}

} // namespace
