// The supported transducers list inside the codec: received settings may
// name one of its transducers, so the list is reloaded before they are decoded.
#include <cstdio>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "Sonar4/Sonar4.h"
#include "Utilities/LittleEndian.h"
#include "tests/support/RecordingFactory.h"
#include "tests/support/Sandbox.h"
#include "tests/support/UnitProcess.h"

namespace {

class Sonar4TransducerMessagesTest : public testing::Test {
protected:
    static void SetUpTestSuite() { ASSERT_TRUE(AddUnitInterface()); }
    void SetUp() override { m_Sandbox.SetUnitEnvironment(); }

    CSandbox m_Sandbox;
    CRecordingFactory m_Factory;
};

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
