#include "Database/DatabaseServiceInfoMessage.h"

#include <arpa/inet.h>

#include <cstdlib>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "tests/support/Sandbox.h"
#include "tests/support/UnitDouble.h"

namespace {

class ServiceInfoTest : public testing::Test {
protected:
    // A known product takes the first private address, here a "192." one;
    // any other product only trusts the "10." one.
    void SetUp() override
    {
        m_Sandbox.SetUnitEnvironment();
        m_Factory.m_Net.PrivateFirstAddress = inet_addr("192.168.1.5");
    }

    std::string File() const { return CSandbox::ReadFile(m_Sandbox / "systemdata/ServiceInfo.bin"); }
    void PatchFile(size_t Offset, const std::string& Bytes)
    {
        m_Sandbox.WriteFile("systemdata/ServiceInfo.bin", File().replace(Offset, Bytes.size(), Bytes));
    }

    // Hands Record a neighbour's discovery packet of Size bytes.
    static VeskEventCode_T Decode(CDatabaseServiceInfoMessage& Record, uint32_t Serial, IPPort32_T Control,
                                  IPPort32_T Data, size_t Size = 550)
    {
        Sonar4ServiceInfoPacket packet{};
        packet.SetSerialNumber(Serial);
        packet.SetKind(39);
        packet.SetControlPort(Control);
        packet.SetDataPort(Data);
        const Buffer_Bytes_T buffer(packet.data(), Size);
        return Record.DecodeMessage(&buffer);
    }

    CSandbox m_Sandbox;
    CUnitDouble m_Factory;
};

// The layout is the golden packet's; here, the group a known product takes
// from its first private address, and how much of the file is sent.
TEST_F(ServiceInfoTest, GroupFollowsTheFirstPrivateAddressAndOnlyThePathIsSent)
{
    CDatabaseServiceInfoMessage record(&m_Factory);
    const std::string root = getenv("ROOT_DIR");
    EXPECT_STREQ("229.0.32.160", record.GetOutputIPAddressText());
    ASSERT_EQ(1u, m_Factory.m_Events.size());
    EXPECT_EQ(cWarningLevel, m_Factory.m_Events[0].Level);
    EXPECT_EQ("HostFormatIpAddress :  c0a80105 when masked  : 280105 when shifted by 5  : 50020a0 final multicast  : "
              "e50020a0", m_Factory.m_Events[0].Why);

    std::vector<uint8_t> bytes(600);
    Buffer_Bytes_T buffer(bytes.data(), bytes.size());
    ASSERT_EQ(SUCCESS, record.CreateMessage(&buffer));
    EXPECT_EQ(root.size() + 1 + 38, buffer.size());
    // A corrupt path length never sends more than the packet.
    PatchFile(36, "\xFF\xFF");
    buffer.Reset();
    ASSERT_EQ(SUCCESS, record.CreateMessage(&buffer));
    EXPECT_EQ(550u, buffer.size());
}

TEST_F(ServiceInfoTest, AShortFileLeavesWhatWasReadInTheRecordAndIsRemoved)
{
    CDatabaseServiceInfoMessage record(&m_Factory);
    const IPPort32_T control = record.GetControlPort();
    // 30 bytes: the data port (offset 24) is in them, the control port (32) is not.
    m_Sandbox.WriteFile("systemdata/ServiceInfo.bin", File().substr(0, 24) + std::string("\x8A\x0C\0\0", 4) + "\0\0");
    m_Factory.m_Events.clear();
    EXPECT_EQ(FAILED_TO_READ_FILE_CONTENTS, record.readDB());
    EXPECT_EQ(3210u, record.GetDataPort());
    EXPECT_EQ(control, record.GetControlPort());
    EXPECT_FALSE(record.GetPortsChanged());
    EXPECT_FALSE(CSandbox::Exists(m_Sandbox / "systemdata/ServiceInfo.bin"));
    ASSERT_EQ(2u, m_Factory.m_Events.size());
    EXPECT_EQ("Failed to read contents", m_Factory.m_Events[0].Why);
    EXPECT_EQ("CDatabaseServiceInfoMessage::readDB", m_Factory.m_Events[1].Where);
}

TEST_F(ServiceInfoTest, ConstructionFollowsTheUnitsAddress)
{
    m_Sandbox.SetEnv("PRODUCT_ID", "NOSUCH");
    EXPECT_STREQ("224.0.0.64", CDatabaseServiceInfoMessage(&m_Factory).GetOutputIPAddressText());
    // The fixed group of older releases is replaced even at the same address.
    PatchFile(20, std::string("\xE0\0\0\x01", 4));
    EXPECT_STREQ("224.0.0.64", CDatabaseServiceInfoMessage(&m_Factory).GetOutputIPAddressText());
    EXPECT_EQ(std::string("\xE0\0\0\x40", 4), File().substr(20, 4));
    // So is another unit's file.
    PatchFile(4, std::string("\x63\0\0\0", 4));
    CDatabaseServiceInfoMessage{&m_Factory};
    EXPECT_EQ(std::string("\xD2\x04\0\0", 4), File().substr(4, 4));
}

TEST_F(ServiceInfoTest, OnlyTheSmallerSerialNumberGivesWayOnAClash)
{
    CDatabaseServiceInfoMessage record(&m_Factory);
    CDatabaseServiceInfoMessage bystander(&m_Factory);
    m_Factory.m_Events.clear();
    EXPECT_EQ(SUCCESS, Decode(record, 1000, 3200, 3201));
    EXPECT_EQ(SUCCESS, Decode(record, 1234, 3200, 3201)) << "our own packet looped back";
    const Buffer_Bytes_T empty(nullptr, 0);
    EXPECT_EQ(SUCCESS, record.DecodeMessage(&empty));
    EXPECT_TRUE(m_Factory.m_Events.empty());

    EXPECT_EQ(SUCCESS, Decode(record, 5000, 3200, 3201));
    EXPECT_EQ(std::string("\x83\x0C\0\0\x82\x0C\0\0", 8), File().substr(24, 4) + File().substr(32, 4));
    ASSERT_EQ(1u, m_Factory.m_Events.size());
    EXPECT_EQ(cInfoLevel, m_Factory.m_Events[0].Level);
    EXPECT_EQ("Port numbers clashed with another sounder, switching to 3202 for control and 3203 for data.",
              m_Factory.m_Events[0].Why);

    // A 30-byte packet carries the data port but not the control port.
    EXPECT_EQ(SUCCESS, Decode(record, 6000, 3219, 3203, 30));
    EXPECT_EQ(7, m_Factory.m_Events.at(1).Code);
    EXPECT_EQ("Service info message buffer too small: 30 bytes, serial: 6000", m_Factory.m_Events[1].Why);
    EXPECT_EQ(3204u, record.GetControlPort());
    EXPECT_EQ(3205u, record.GetDataPort());

    // Another process of this unit is left on ports the file no longer holds.
    std::vector<uint8_t> bytes(550);
    Buffer_Bytes_T buffer(bytes.data(), bytes.size());
    EXPECT_EQ(OSS_NETWORK_FAILURE, bystander.CreateMessage(&buffer));
    EXPECT_EQ(SUCCESS, record.CreateMessage(&buffer));
}

TEST_F(ServiceInfoTest, PortsAreTakenInTurnAndRunningOutIsFatal)
{
    m_Sandbox.SetEnv("DATA_PORT_OVERRIDE", "4000");
    CDatabaseServiceInfoMessage record(&m_Factory);
    // Ports outside the range, ours or a neighbour's, take none of it.
    ASSERT_EQ(SUCCESS, Decode(record, 1000, 4000, 4001));
    EXPECT_EQ(3200u, record.FindFreePortAfter(0));
    EXPECT_EQ(3201u, record.FindFreePortAfter(3199));
    EXPECT_EQ(3205u, record.FindFreePortAfter(3204));
    EXPECT_DEATH(record.FindFreePortAfter(3219), "Port <= cMaximumValidPort");
    for (IPPort32_T port = 3206; port <= 3219; ++port) {
        record.FindFreePortAfter(port - 1);
    }
    EXPECT_DEATH(record.FindFreePortAfter(3204), "Port <= cMaximumValidPort") << "no wrap-around to 3202";
}

} // namespace
