#include "Sonar4/Sonar4.h"

#include <algorithm>
#include <cstdlib>
#include <string>
#include <tuple>
#include <vector>

#include <gtest/gtest.h>

#include "Sonar4/Sonar4ErrorStatusMessage.h"
#include "Sonar4/Sonar4PingParametersMessage.h"
#include "Sonar4/Sonar4PingResultsMessage.h"
#include "Sonar4/Sonar4ServiceInfoMessage.h"
#include "Utilities/LittleEndian.h"
#include "tests/support/Sandbox.h"
#include "tests/support/TestBytes.h"
#include "tests/support/UnitDouble.h"

namespace {

// Far from the block in use, so that the next record added does not take it.
constexpr LNET_MESSAGE_ID_T cUnknownId = 0x27FFFF;

// The service info record inside the codec takes the unit's address from
// the double's network.
class Sonar4Test : public testing::Test {
protected:
    void SetUp() override { m_Sandbox.SetUnitEnvironment(); }

    CSandbox m_Sandbox;
    CUnitDouble m_Factory;
};

// Settings received may name a transducer of the supported list, so the
// list is reloaded (a lost one recreated) before they are decoded, even when
// they are then rejected; other packets leave it alone.
TEST_F(Sonar4Test, ReceivedSettingsReloadTheTransducerListFirst)
{
    CSonar4 codec(&m_Factory);
    const std::string list = m_Sandbox / "nonpersisted/SupportedTransducers.bin";
    ASSERT_TRUE(CSandbox::Exists(list));
    std::remove(list.c_str());
    std::vector<uint8_t> packet(8);
    LittleEndian::Write<uint32_t>(packet.data(), Message_Id_Sonar4_Environment_Limits);
    const Buffer_Bytes_T buffer(packet.data(), packet.size());
    LNET_MESSAGE_ID_T id = 0;
    EXPECT_EQ(SUCCESS, codec.DecodeMessage(&buffer, &id));
    EXPECT_FALSE(CSandbox::Exists(list));
    LittleEndian::Write<uint32_t>(packet.data(), Message_Id_Sonar4_System_Settings);
    EXPECT_EQ(E2BIG, codec.DecodeMessage(&buffer, &id));
    EXPECT_EQ(CSandbox::ReadFile(list).size(), 1383u);
}

// A packet of Id with as much of the unit's header as fits in Size (at
// least 8 bytes) and a payload of Fill bytes.
std::vector<uint8_t> Packet(LNET_MESSAGE_ID_T Id, size_t Size, uint8_t Fill = 0)
{
    const std::string bytes = HeaderBytes(Id, static_cast<uint32_t>(Size), 116, 1234, Size, static_cast<char>(Fill));
    return {bytes.begin(), bytes.end()};
}

TEST_F(Sonar4Test, TheCodecMakesEveryMessageInItsOrderAndBuildsFromTheRecordFiles)
{
    // The order of making (rows added later may stand between these).
    const std::vector<LNET_MESSAGE_ID_T> order = {0x270106, 0x27010B, 0x270102, 0x270100, 0x270101, 0x270103,
                                                  0x270104, 0x270105, 0x270107, 0x270108, 0x270109, 0x27010A,
                                                  0x27010C, 0x27010D,
                                                  Sonar4_Service_Info_Message, Sonar4_Unit_Info_Message, 0x27010E};
    std::vector<LNET_MESSAGE_ID_T> made;
    for (const Sonar4MessageRow_T& row : GetSonar4MessageTable()) {
        if (std::find(order.begin(), order.end(), row.Id) != order.end()) {
            made.push_back(row.Id);
        }
    }
    EXPECT_EQ(made, order);

    // Each message builds from its record file.
    CSonar4 codec(&m_Factory);
    std::vector<uint8_t> bytes(1500, 0xEE);
    Buffer_Bytes_T buffer(bytes.data(), bytes.size());
    ASSERT_EQ(SUCCESS, codec.ConstructMessage(Message_Id_Sonar4_Master_Bottom_Record, &buffer, 0));
    EXPECT_EQ(22u, codec.GetMessageSize(&buffer));
    EXPECT_EQ(CSandbox::ReadFile(m_Sandbox / "nonpersisted/MasterBottomRecord.bin"),
              std::string(bytes.begin(), bytes.begin() + buffer.size()));
    EXPECT_EQ(1u, codec.GetConstructedCount(Message_Id_Sonar4_Master_Bottom_Record));
}

TEST_F(Sonar4Test, PingParametersAreBuiltByWalkingTheConfigurationsAndReceivedByTheirIndex)
{
    CSonar4 codec(&m_Factory);
    // Building configuration 5 refreshes 0 to 5 on the way, recreating
    // their files, and no further.
    for (int index = 0; index < 32; ++index) {
        std::remove((m_Sandbox / "pingparameters/PingParameters" + std::to_string(index) + ".bin").c_str());
    }
    std::vector<uint8_t> bytes(100, 0xEE);
    Buffer_Bytes_T buffer(bytes.data(), bytes.size());
    ASSERT_EQ(SUCCESS, codec.ConstructMessage(Message_Id_Sonar4_Ping_Parameters, &buffer, 5));
    EXPECT_EQ(94u, buffer.size());
    EXPECT_EQ(5, codec.GetPingConfigIndex(&buffer));
    for (int index = 0; index < 32; ++index) {
        EXPECT_EQ(index <= 5, CSandbox::Exists(m_Sandbox / "pingparameters/PingParameters" + std::to_string(index) + ".bin"))
            << index;
    }
    // An index no configuration has: SUCCESS, the buffer untouched, counted.
    const std::vector<uint8_t> before = bytes;
    Buffer_Bytes_T untouched(bytes.data(), bytes.size());
    EXPECT_EQ(SUCCESS, codec.ConstructMessage(Message_Id_Sonar4_Ping_Parameters, &untouched, 40));
    EXPECT_EQ(before, bytes);
    EXPECT_EQ(bytes.size(), untouched.size());
    EXPECT_EQ(2u, codec.GetConstructedCount(Message_Id_Sonar4_Ping_Parameters));

    // A received configuration goes to the record holding its index.
    std::vector<uint8_t> received = Packet(Message_Id_Sonar4_Ping_Parameters, 94, 0x33);
    received[20] = 7;
    const Buffer_Bytes_T seven(received.data(), received.size());
    LNET_MESSAGE_ID_T id = 0;
    EXPECT_EQ(SUCCESS, codec.DecodeMessage(&seven, &id));
    EXPECT_EQ(std::string(received.begin(), received.end()),
              CSandbox::ReadFile(m_Sandbox / "pingparameters/PingParameters7.bin"));
    received[20] = 32;
    const Buffer_Bytes_T unknown(received.data(), received.size());
    EXPECT_EQ(FAILED_TO_FIND_PING, codec.DecodeMessage(&unknown, &id));
    EXPECT_EQ(1u, codec.GetDecodeErrorCount());
    EXPECT_EQ(1u, codec.GetReceivedCount(Message_Id_Sonar4_Ping_Parameters));

    // The index is read wherever the buffer's memory holds it.
    const Buffer_Bytes_T emptyButRoomy(received.data(), 21);
    emptyButRoomy.size(0);
    EXPECT_EQ(32, codec.GetPingConfigIndex(&emptyButRoomy));
    const Buffer_Bytes_T twenty(received.data(), 20);
    EXPECT_EQ(0, codec.GetPingConfigIndex(&twenty));
}

TEST_F(Sonar4Test, ReceivedPacketsAreDecodedOrLeftToTheCallerByTheirIdAndCounted)
{
    CSonar4 codec(&m_Factory);
    std::vector<uint8_t> command = Packet(Message_Id_Sonar4_Command, 24);
    command[20] = 9;
    const struct {
        std::vector<uint8_t> Bytes;
        VeskEventCode_T Result;
    } received[] = {
        {Packet(cUnknownId, 8), SUCCESS},                           // only counted, left to the caller
        {Packet(Sonar4_Unit_Info_Message, 54, 0x44), SUCCESS},      // left to the caller, not stored
        {Packet(Message_Id_Sonar4_System_Settings, 8), E2BIG},      // too short for its record
        {Packet(Sonar4_Service_Info_Message, 8), SUCCESS},          // too short to name its kind
        {Packet(Message_Id_Sonar4_Heartbeat, 37, 0x01), SUCCESS},   // decoded and stored
        {command, SUCCESS},                                         // decoded, its code replaced
    };
    uint32_t errors = 0;
    for (const auto& [bytes, result] : received) {
        const LNET_MESSAGE_ID_T sentId = LittleEndian::Read<uint32_t>(bytes.data());
        SCOPED_TRACE(sentId);
        const Buffer_Bytes_T buffer(const_cast<uint8_t*>(bytes.data()), bytes.size());
        LNET_MESSAGE_ID_T id = 0;
        EXPECT_EQ(result, codec.DecodeMessage(&buffer, &id));
        EXPECT_EQ(sentId, id);
        errors += result != SUCCESS;
        EXPECT_EQ(errors, codec.GetDecodeErrorCount());
        EXPECT_EQ(result == SUCCESS ? 1u : 0u, codec.GetReceivedCount(sentId));
    }
    EXPECT_EQ(0x01, CSandbox::ReadFile(m_Sandbox / "nonpersisted/Heartbeat.bin").at(16));
    EXPECT_EQ(0, CSandbox::ReadFile(m_Sandbox / "nonpersisted/Command.bin").at(20));
    EXPECT_NE(0x44, CSandbox::ReadFile(m_Sandbox / "nonpersisted/UnitInfo.bin").at(20));

    // An id without a message object builds nothing and counts nothing.
    std::vector<uint8_t> bytes(100);
    Buffer_Bytes_T buffer(bytes.data(), bytes.size());
    EXPECT_EQ(FAILED_TO_SEND_ALL_DATA, codec.ConstructMessage(cUnknownId, &buffer, 0));
    EXPECT_EQ(0u, codec.GetConstructedCount(cUnknownId));
    // A buffer too short to hold an id is a programming error.
    const Buffer_Bytes_T three(bytes.data(), 3);
    LNET_MESSAGE_ID_T id = 0;
    EXPECT_DEATH(codec.DecodeMessage(&three, &id), "Buffer->size\\(\\) >= sizeof\\(LNET_MESSAGE_ID_T\\)'");
}

TEST_F(Sonar4Test, PingDataIsHandedOutASegmentPerCallUntilAnEmptyOne)
{
    CSonar4 codec(&m_Factory);
    std::vector<uint8_t> ping(3000, 0x5C);
    const Buffer_Bytes_T pingData(ping.data(), ping.size());
    std::vector<uint8_t> none;
    const Buffer_Bytes_T continued(none.data(), 0);
    std::vector<uint8_t> bytes(1469);
    std::vector<size_t> sizes;
    for (int call = 0; call < 4; ++call) {
        Buffer_Bytes_T out(bytes.data(), bytes.size());
        ASSERT_EQ(SUCCESS, codec.PingDataTok(&out, call == 0 ? &pingData : &continued, 9, 1, 3));
        sizes.push_back(out.size());
    }
    EXPECT_EQ(sizes, (std::vector<size_t>{1469, 1469, 173, 0}));
    EXPECT_EQ(4u, codec.GetConstructedCount(Message_Id_Sonar4_Ping_Data));
}

// The message classes only name their records: the codec's copy of the
// master bottom record proves the forwarding itself.
TEST_F(Sonar4Test, MessageClassesNameTheirRecordsAndAddTheirOwnOperations)
{
    // GetPacket is the packet as last loaded: no file is read for it.
    CSonar4ErrorStatusMessage errorStatus(&m_Factory);
    CDatabaseErrorStatusMessage(&m_Factory).SetErrorStatus(0x10);
    EXPECT_EQ(0u, errorStatus.GetPacket()->GetErrorStatus());

    // A configuration is known by the index its packet holds after a refresh.
    CSonar4PingParametersMessage configuration(&m_Factory, 3);
    EXPECT_EQ(3, configuration.GetPingConfigIndex());
    std::string file = CSandbox::ReadFile(configuration.GetDBFilePath());
    file[20] = 9;
    m_Sandbox.WriteFile("pingparameters/PingParameters3.bin", file);
    EXPECT_EQ(3, configuration.GetPingConfigIndex());
    EXPECT_EQ(SUCCESS, configuration.Refresh());
    EXPECT_EQ(9, configuration.GetPingConfigIndex());
    EXPECT_EQ(0x0A000002u, CSonar4ServiceInfoMessage(&m_Factory).GetUnitInfoIPAddress());

    // Ping results have no record: nothing is built into the buffer.
    CSonar4PingResultsMessage pingResults(&m_Factory);
    EXPECT_EQ(0u, pingResults.GetPacketSize());
    std::vector<uint8_t> bytes(16, 0xAB);
    Buffer_Bytes_T buffer(bytes.data(), 5);
    EXPECT_EQ(SUCCESS, pingResults.CreateMessage(&buffer));
    EXPECT_EQ(5u, buffer.size());
    EXPECT_EQ(std::vector<uint8_t>(16, 0xAB), bytes);
}

} // namespace
