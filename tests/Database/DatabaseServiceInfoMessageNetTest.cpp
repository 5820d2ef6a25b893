#include "Database/DatabaseServiceInfoMessage.h"

#include <cstdio>
#include <cstdlib>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "tests/support/RecordingFactory.h"
#include "tests/support/Sandbox.h"

namespace {

// Runs in a network namespace of its own: interfaces added here vanish with it.
class ServiceInfoTest : public testing::Test {
protected:
    void SetUp() override { m_Sandbox.SetUnitEnvironment(); }
    void TearDown() override
    {
        for (const std::string& name : m_Interfaces) {
            EXPECT_EQ(0, std::system(("ip link del " + name).c_str()));
        }
    }

    void AddInterface(const std::string& Address)
    {
        const std::string name = "vsi" + std::to_string(m_Interfaces.size());
        const std::string command = "ip link add " + name + " type veth peer name " + name + "p && ip addr add " +
                                    Address + "/24 dev " + name + " && ip link set " + name + " up";
        ASSERT_EQ(0, std::system(command.c_str()));
        m_Interfaces.push_back(name);
    }

    std::string FilePath() const { return m_Sandbox / "systemdata/ServiceInfo.bin"; }
    std::string File() const { return CSandbox::ReadFile(FilePath()); }
    void PatchFile(size_t Offset, const std::string& Bytes)
    {
        std::string content = File();
        content.replace(Offset, Bytes.size(), Bytes);
        m_Sandbox.WriteFile("systemdata/ServiceInfo.bin", content);
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
        std::vector<uint8_t> bytes(packet.data(), packet.data() + Size);
        const Buffer_Bytes_T buffer(bytes.data(), bytes.size());
        return Record.DecodeMessage(&buffer);
    }

    CSandbox m_Sandbox;
    CRecordingFactory m_Factory;
    std::vector<std::string> m_Interfaces;
};

TEST_F(ServiceInfoTest, FreshFileHoldsTheDiscoveryPacket)
{
    AddInterface("10.0.0.2");
    m_Sandbox.SetEnv("DATA_PORT_OVERRIDE", "4000");
    CDatabaseServiceInfoMessage record(&m_Factory);
    const std::string root = getenv("ROOT_DIR");
    const char pathLength = static_cast<char>(root.size() + 1);
    // id, serial 1234, kind 39, reserved, data length, group, data port,
    // own address (octets in order), control port, path length, root.
    const std::string expected = std::string("\0\0\0\0\xD2\x04\0\0\x27\0\0\0\0\0\0\0\0\0", 18) +
                                 std::string(1, static_cast<char>(pathLength + 18)) + '\0' +
                                 std::string("\xE0\0\0\x40\xA0\x0F\0\0\x0A\0\0\x02\x80\x0C\0\0", 16) + pathLength +
                                 '\0' + root + std::string(512 - root.size(), '\0');
    EXPECT_EQ(expected, File());
    EXPECT_EQ(4000u, record.GetDataPort());

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

TEST_F(ServiceInfoTest, AddressAndGroupFollowTheProduct)
{
    // A known product takes the first private address, even a "192." one.
    AddInterface("192.168.1.5");
    AddInterface("10.0.0.2");
    EXPECT_STREQ("229.0.32.160", CDatabaseServiceInfoMessage(&m_Factory).GetOutputIPAddressText());
    const auto events = m_Factory.EventsAt("CDatabaseServiceInfoMessage::SetDefaultValues");
    ASSERT_EQ(1u, events.size());
    EXPECT_EQ(4, events[0].Level);
    EXPECT_EQ("HostFormatIpAddress :  c0a80105 when masked  : 280105 when shifted by 5  : 50020a0 final multicast  : "
              "e50020a0",
              events[0].Why);

    // Any other product only trusts the "10." net, and stops without it.
    m_Sandbox.SetEnv("PRODUCT_ID", "NOSUCH");
    EXPECT_EQ(0x0200000Au, CDatabaseServiceInfoMessage(&m_Factory).GetInputIPAddress());
    TearDown();
    m_Interfaces.clear();
    std::remove(FilePath().c_str());
    EXPECT_DEATH(CDatabaseServiceInfoMessage record(&m_Factory), "GetInputIPAddress\\(\\) != 0");
}

TEST_F(ServiceInfoTest, OnlyTheSmallerSerialNumberGivesWayOnAClash)
{
    AddInterface("10.0.0.2");
    CDatabaseServiceInfoMessage record(&m_Factory);
    m_Factory.m_Events.clear();
    EXPECT_EQ(SUCCESS, Decode(record, 1000, 3200, 3201));
    EXPECT_EQ(SUCCESS, Decode(record, 1234, 3200, 3201)) << "our own packet looped back";
    EXPECT_TRUE(m_Factory.m_Events.empty());

    EXPECT_EQ(SUCCESS, Decode(record, 5000, 3200, 3201));
    EXPECT_EQ(std::string("\x83\x0C\0\0\x82\x0C\0\0", 8), File().substr(24, 4) + File().substr(32, 4));
    ASSERT_EQ(1u, m_Factory.m_Events.size());
    EXPECT_EQ(6, m_Factory.m_Events[0].Level);
    EXPECT_EQ("Port numbers clashed with another sounder, switching to 3202 for control and 3203 for data.",
              m_Factory.m_Events[0].Why);
}

TEST_F(ServiceInfoTest, ShortPacketIsWarnedAboutAndStillExamined)
{
    AddInterface("10.0.0.2");
    CDatabaseServiceInfoMessage record(&m_Factory);
    m_Factory.m_Events.clear();
    // 30 bytes: the data port is there, the control port is missing.
    EXPECT_EQ(SUCCESS, Decode(record, 5000, 3219, 3200, 30));
    ASSERT_EQ(2u, m_Factory.m_Events.size());
    EXPECT_EQ(7, m_Factory.m_Events[0].Code);
    EXPECT_EQ("Service info message buffer too small: 30 bytes, serial: 5000", m_Factory.m_Events[0].Why);
    EXPECT_EQ(3201u, record.GetControlPort());
    EXPECT_EQ(3202u, record.GetDataPort());
}

TEST_F(ServiceInfoTest, ConstructionRepairsAStaleFile)
{
    AddInterface("10.0.0.2");
    { CDatabaseServiceInfoMessage first(&m_Factory); }
    const auto construct = [&](size_t Offset, const std::string& Bytes) {
        PatchFile(Offset, Bytes);
        m_Factory.m_Events.clear();
        CDatabaseServiceInfoMessage record(&m_Factory);
        EXPECT_EQ(std::string("\xD2\x04\0\0\x27", 5), File().substr(4, 5));
        EXPECT_STREQ("224.0.0.64", record.GetOutputIPAddressText());
        EXPECT_EQ(1u, m_Factory.EventsAt("CDatabaseServiceInfoMessage constructor").size());
        return m_Factory.EventsAt("CDatabaseServiceInfoMessage");
    };
    // The fixed group of older releases is replaced even at the same address.
    EXPECT_TRUE(construct(20, std::string("\xE0\0\0\x01", 4)).empty());
    EXPECT_EQ("OP Address is new style so we are downgrading 400000e0",
              construct(28, std::string("\x0A\0\0\x09", 4)).at(0).Why);
    construct(4, std::string("\x63\0\0\0", 4));
    EXPECT_EQ("Serial Number currently in Member Variable is 99 System Tells us 1234 So rewriting file",
              m_Factory.m_Events.at(0).Why);
}

TEST_F(ServiceInfoTest, PortsMovedByAnotherWriterStopPublishing)
{
    AddInterface("10.0.0.2");
    CDatabaseServiceInfoMessage mover(&m_Factory);
    CDatabaseServiceInfoMessage bystander(&m_Factory);
    ASSERT_EQ(SUCCESS, Decode(mover, 5000, 3200, 3201));
    std::vector<uint8_t> bytes(550);
    Buffer_Bytes_T buffer(bytes.data(), bytes.size());
    EXPECT_EQ(OSS_NETWORK_FAILURE, bystander.CreateMessage(&buffer));
    EXPECT_EQ(SUCCESS, mover.CreateMessage(&buffer));
}

TEST_F(ServiceInfoTest, RunningOutOfPortsIsFatal)
{
    AddInterface("10.0.0.2");
    CDatabaseServiceInfoMessage record(&m_Factory);
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
