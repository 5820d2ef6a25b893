// The packets of every record the codec builds, compared byte for byte with
// packets an x86-64 build made and checked in (tests/golden/). On a target
// where long, size_t or time_t have other widths, or where unaligned access
// has other rules, a field written at the wrong width, offset or byte order
// shows here as a difference. The unit has an eth0 (the service info packet
// carries its address), hence a network namespace of its own.
//
// To make the files anew on x86-64: VESK_WRITE_GOLDEN=1 Sonar4GoldenNetTest.
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <fstream>
#include <iterator>
#include <string>

#include <gtest/gtest.h>

#include "Database/DatabaseEnvironmentLimitsMessage.h"
#include "Database/DatabaseErrorStatusMessage.h"
#include "Database/DatabaseMasterBottomRecordMessage.h"
#include "Database/DatabaseSystemLimitsMessage.h"
#include "Database/DatabaseSystemSettingsMessage.h"
#include "Sonar4/Sonar4.h"
#include "tests/support/RecordingFactory.h"
#include "tests/support/Sandbox.h"

namespace {

// Above INT32_MAX: a 32-bit long must not cut these short.
constexpr uint32_t cSerial = 3000000123u;
constexpr uint32_t cMaxDepthCm = 2500000000u;

struct GoldenCase {
    LNET_MESSAGE_ID_T Id;
    const char* File;
    // Takes the packet in through its record (as received from a display
    // unit) and answers the stored record's bytes; null where the packet is
    // only ever sent.
    std::string (*Decode)(IOSSFactory* pFactory, const std::string& Packet);
};

template <typename Record>
std::string DecodeWith(IOSSFactory* pFactory, const std::string& Packet)
{
    Record record(pFactory);
    const Buffer_Bytes_T buffer(const_cast<char*>(Packet.data()), Packet.size());
    EXPECT_EQ(record.DecodeMessage(&buffer), SUCCESS);
    Record reloaded(pFactory);
    return {reinterpret_cast<const char*>(reloaded.GetPacket().data()), Record::cPacketSize};
}

const GoldenCase cCases[] = {
    {Message_Id_Sonar4_System_Settings, "SystemSettings.bin", &DecodeWith<CDatabaseSystemSettingsMessage>},
    {Message_Id_Sonar4_Environment_Limits, "EnvironmentLimits.bin", &DecodeWith<CDatabaseEnvironmentLimitsMessage>},
    {Message_Id_Sonar4_System_Settings_Limits, "SystemLimits.bin", &DecodeWith<CDatabaseSystemLimitsMessage>},
    {Message_Id_Sonar4_Master_Bottom_Record, "MasterBottomRecord.bin",
     &DecodeWith<CDatabaseMasterBottomRecordMessage>},
    {Message_Id_Sonar4_Error_Status, "ErrorStatus.bin", &DecodeWith<CDatabaseErrorStatusMessage>},
    {Sonar4_Service_Info_Message, "ServiceInfo.bin", nullptr},
};

// Hex, sixteen bytes a line, so that a difference shows where it is.
std::string Hex(const std::string& Bytes)
{
    std::string text;
    char byte[4];
    for (size_t i = 0; i < Bytes.size(); ++i) {
        std::snprintf(byte, sizeof(byte), i % 16 == 15 ? "%02X\n" : "%02X ", static_cast<unsigned char>(Bytes[i]));
        text += byte;
    }
    return text;
}

std::string GoldenPath(const char* File)
{
    return std::string(VESK_GOLDEN_DIR) + "/" + File;
}

class Sonar4GoldenNetTest : public ::testing::Test {
protected:
    static void SetUpTestSuite()
    {
        ASSERT_EQ(std::system("ip link add eth0 type veth peer name eth0-peer && "
                              "ip addr add 10.0.0.2/24 dev eth0 && ip link set eth0 up"),
                  0);
    }

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
    CRecordingFactory m_Factory;
};

TEST_F(Sonar4GoldenNetTest, EveryBuiltPacketIsTheCheckedInOneAndDecodesBackToIt)
{
    const bool write = std::getenv("VESK_WRITE_GOLDEN") != nullptr;
    CSonar4 codec(&m_Factory);
    for (const GoldenCase& golden : cCases) {
        SCOPED_TRACE(golden.File);
        std::string built(1500, '\0');
        Buffer_Bytes_T buffer(built.data(), built.size());
        ASSERT_EQ(codec.ConstructMessage(golden.Id, &buffer, 0), SUCCESS);
        built.resize(buffer.size());
        if (write) {
            std::ofstream(GoldenPath(golden.File), std::ios::binary) << built;
            continue;
        }
        std::ifstream file(GoldenPath(golden.File), std::ios::binary);
        ASSERT_TRUE(file) << GoldenPath(golden.File);
        const std::string expected{std::istreambuf_iterator<char>(file), std::istreambuf_iterator<char>()};
        EXPECT_EQ(Hex(built), Hex(expected));
        if (golden.Decode) {
            EXPECT_EQ(Hex(golden.Decode(&m_Factory, expected)), Hex(expected));
        }
    }
    // Notices (the service info record tells how it chose its group) are fine.
    for (const auto& event : m_Factory.m_Events) {
        EXPECT_GT(event.Level, 3) << event.Where << ": " << event.Why;
    }
}

// The same values read back through the typed accessors on this target.
TEST_F(Sonar4GoldenNetTest, TypedFieldsReadBackAtTheirWidths)
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
