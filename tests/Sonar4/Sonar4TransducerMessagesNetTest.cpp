// The transducer messages inside the codec: their places among the other
// messages, and the list reload that received settings trigger.
#include <cstdlib>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "Sonar4/Sonar4.h"
#include "Sonar4/Sonar4MessageTable.h"
#include "Sonar4/Sonar4SupportedTransducersMessage.h"
#include "Sonar4/Sonar4TransducersFittedMessage.h"
#include "Utilities/LittleEndian.h"
#include "tests/support/RecordingFactory.h"
#include "tests/support/Sandbox.h"

namespace {

class Sonar4TransducerMessagesTest : public testing::Test {
protected:
    static void SetUpTestSuite()
    {
        ASSERT_EQ(0, std::system("ip link add vx4 type veth peer name vx4p && ip addr add 10.0.0.2/24 dev vx4"));
    }
    void SetUp() override { m_Sandbox.SetUnitEnvironment(); }

    CSandbox m_Sandbox;
    CRecordingFactory m_Factory;
};

TEST_F(Sonar4TransducerMessagesTest, TransducerRowsFollowTheMasterBottomInTheCodecsOrder)
{
    // The codec's order of making; messages not made yet are skipped.
    const LNET_MESSAGE_ID_T order[] = {
        Message_Id_Sonar4_System_Settings, Message_Id_Sonar4_Ping_Results, Message_Id_Sonar4_Ping_Parameters,
        Message_Id_Sonar4_Heartbeat, Message_Id_Sonar4_Ping_Data, Message_Id_Sonar4_System_Status_Data,
        Message_Id_Sonar4_Environment_Data, Message_Id_Sonar4_Environment_Limits,
        Message_Id_Sonar4_System_Settings_Limits, Message_Id_Sonar4_Master_Bottom_Record,
        Message_Id_Sonar4_Supported_Transducers, Message_Id_Sonar4_Transducers_Fitted, Message_Id_Sonar4_Command,
        Message_Id_Sonar4_Error_Status, Sonar4_Service_Info_Message, Sonar4_Unit_Info_Message,
        Message_Id_Sonar4_Recording_Status};
    std::vector<LNET_MESSAGE_ID_T> made;
    for (const Sonar4MessageRow_T& row : GetSonar4MessageTable()) {
        made.push_back(row.Id);
    }
    std::vector<LNET_MESSAGE_ID_T> expected;
    for (LNET_MESSAGE_ID_T id : order) {
        if (FindSonar4MessageRow(id) != nullptr) {
            expected.push_back(id);
        }
    }
    EXPECT_EQ(made, expected);
    EXPECT_NE(FindSonar4MessageRow(Message_Id_Sonar4_Supported_Transducers)->Reload, nullptr);
    EXPECT_EQ(CSonar4SupportedTransducersMessage(&m_Factory).GetPacketSize(), 1383u);
    EXPECT_EQ(CSonar4TransducersFittedMessage(&m_Factory).GetPacketSize(), 57u);
}

TEST_F(Sonar4TransducerMessagesTest, ReceivedSettingsReloadTheListFirstEvenWhenRejected)
{
    CSonar4 codec(&m_Factory);
    const std::string list = m_Sandbox / "nonpersisted/SupportedTransducers.bin";
    ASSERT_TRUE(CSandbox::Exists(list));
    // A lost list is recreated by the reload; other packets leave it alone.
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

} // namespace
