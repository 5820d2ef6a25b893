#include "Sonar4/Sonar4.h"

#include <cstdlib>
#include <string>
#include <tuple>
#include <vector>

#include <gtest/gtest.h>

#include "Sonar4/Sonar4EnvironmentLimitsMessage.h"
#include "Sonar4/Sonar4ErrorStatusMessage.h"
#include "Sonar4/Sonar4MasterBottomRecordMessage.h"
#include "Sonar4/Sonar4PingResultsMessage.h"
#include "Sonar4/Sonar4ServiceInfoMessage.h"
#include "Sonar4/Sonar4SystemLimitsMessage.h"
#include "Sonar4/Sonar4SystemSettingsMessage.h"
#include "Utilities/LittleEndian.h"
#include "tests/support/RecordingFactory.h"
#include "tests/support/Sandbox.h"

namespace {

constexpr LNET_MESSAGE_ID_T cUnknownId = 0x27010F;

// The service info record inside the codec needs the unit's address; the
// interface goes with the test's own network namespace.
class Sonar4Test : public testing::Test {
protected:
    static void SetUpTestSuite()
    {
        ASSERT_EQ(0, std::system("ip link add vs4 type veth peer name vs4p && ip addr add 10.0.0.2/24 dev vs4"));
    }
    void SetUp() override { m_Sandbox.SetUnitEnvironment(); }

    CSandbox m_Sandbox;
    CRecordingFactory m_Factory;
};

TEST_F(Sonar4Test, CodecBuildsFromRecordFilesAndCountsWhatItHandles)
{
    CSonar4 codec(&m_Factory);
    std::vector<uint8_t> bytes(1400);
    Buffer_Bytes_T buffer(bytes.data(), bytes.size());
    ASSERT_EQ(SUCCESS, codec.ConstructMessage(Message_Id_Sonar4_Master_Bottom_Record, &buffer, 0));
    ASSERT_EQ(22u, codec.GetMessageSize(&buffer));
    EXPECT_EQ(CSandbox::ReadFile(m_Sandbox / "nonpersisted/MasterBottomRecord.bin"),
              std::string(bytes.begin(), bytes.begin() + buffer.size()));
    EXPECT_EQ(1u, codec.GetConstructedCount(Message_Id_Sonar4_Master_Bottom_Record));
    // An id without a message object builds nothing and counts nothing.
    EXPECT_EQ(FAILED_TO_SEND_ALL_DATA, codec.ConstructMessage(cUnknownId, &buffer, 0));
    EXPECT_EQ(0u, codec.GetConstructedCount(cUnknownId));

    const std::tuple<LNET_MESSAGE_ID_T, size_t, VeskEventCode_T> received[] = {
        {cUnknownId, 8, SUCCESS},                                 // only counted, left to the caller
        {Message_Id_Sonar4_System_Settings, 8, 7},                // too short for its record
        {Sonar4_Service_Info_Message, 8, SUCCESS},                // too short to name its kind
    };
    uint32_t errors = 0;
    LNET_MESSAGE_ID_T id = 0;
    for (const auto& [sentId, size, result] : received) {
        SCOPED_TRACE(sentId);
        std::vector<uint8_t> packet(size);
        LittleEndian::Write<uint32_t>(packet.data(), sentId);
        const Buffer_Bytes_T buffer(packet.data(), packet.size());
        EXPECT_EQ(result, codec.DecodeMessage(&buffer, &id));
        EXPECT_EQ(sentId, id);
        errors += result != SUCCESS;
        EXPECT_EQ(errors, codec.GetDecodeErrorCount());
        EXPECT_EQ(result == SUCCESS ? 1u : 0u, codec.GetReceivedCount(sentId));
    }
    // A buffer too short to hold a configuration index is not read for one;
    // one too short to hold an id is a programming error.
    std::vector<uint8_t> nines(20, 9);
    const Buffer_Bytes_T twenty(nines.data(), nines.size()), three(nines.data(), 3);
    EXPECT_EQ(0, codec.GetPingConfigIndex(&twenty));
    EXPECT_DEATH(codec.DecodeMessage(&three, &id), "Buffer->size\\(\\) >= sizeof\\(LNET_MESSAGE_ID_T\\)'");
}

// The message classes only name their records: the codec's copy of the
// master bottom record proves the forwarding itself.
TEST_F(Sonar4Test, MessageClassesNameTheirRecordsAndAddTheirOwnOperations)
{
    EXPECT_EQ(CDatabaseSystemSettingsMessage::cPacketSize, CSonar4SystemSettingsMessage(&m_Factory).GetPacketSize());
    EXPECT_EQ(CDatabaseEnvironmentLimitsMessage::cPacketSize,
              CSonar4EnvironmentLimitsMessage(&m_Factory).GetPacketSize());
    EXPECT_EQ(CDatabaseSystemLimitsMessage::cPacketSize, CSonar4SystemLimitsMessage(&m_Factory).GetPacketSize());
    EXPECT_EQ(CDatabaseMasterBottomRecordMessage::cPacketSize,
              CSonar4MasterBottomRecordMessage(&m_Factory).GetPacketSize());
    EXPECT_EQ(CDatabaseServiceInfoMessage::cPacketSize, CSonar4ServiceInfoMessage(&m_Factory).GetPacketSize());
    CSonar4ErrorStatusMessage errorStatus(&m_Factory);
    EXPECT_EQ(CDatabaseErrorStatusMessage::cPacketSize, errorStatus.GetPacketSize());
    CDatabaseErrorStatusMessage(&m_Factory).SetErrorStatus(0x10);
    EXPECT_EQ(0u, errorStatus.GetPacket()->GetErrorStatus()) << "the packet as last loaded, no file read";
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
