#include "Sonar4/Sonar4.h"

#include <cstdlib>
#include <cstring>
#include <string>
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

// A message class hands out its record's file: Sent bytes of it, in a
// buffer of the record's packet size.
template <typename Message, typename Record>
void ExpectMessageOfRecord(IOSSFactory* Factory, size_t Sent = Record::cPacketSize)
{
    Message message(Factory);
    SCOPED_TRACE(message.GetDBFilePath());
    EXPECT_EQ(Record::cPacketSize, message.GetPacketSize());
    std::vector<uint8_t> bytes(Record::cPacketSize);
    Buffer_Bytes_T buffer(bytes.data(), bytes.size());
    ASSERT_EQ(SUCCESS, message.CreateMessage(&buffer));
    ASSERT_EQ(Sent, buffer.size());
    EXPECT_EQ(CSandbox::ReadFile(message.GetDBFilePath()).substr(0, Sent),
              std::string(bytes.begin(), bytes.begin() + Sent));
}

TEST_F(Sonar4Test, ConstructMessageCopiesTheRecordFile)
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
}

TEST_F(Sonar4Test, DecodeCountsWhatItReceives)
{
    const struct {
        LNET_MESSAGE_ID_T Id;
        size_t Size;
        VeskEventCode_T Result;
    } rows[] = {
        {cUnknownId, 8, SUCCESS},                                 // only counted, left to the caller
        {Message_Id_Sonar4_System_Settings, 8, 7},                // too short for its record
        {Sonar4_Service_Info_Message, 8, SUCCESS},                // too short to name its kind
        {Message_Id_Sonar4_Ping_Parameters, 94, FAILED_TO_FIND_PING},
    };
    CSonar4 codec(&m_Factory);
    uint32_t errors = 0;
    for (const auto& row : rows) {
        SCOPED_TRACE(row.Id);
        std::vector<uint8_t> bytes(row.Size);
        LittleEndian::Write<uint32_t>(bytes.data(), row.Id);
        const Buffer_Bytes_T buffer(bytes.data(), bytes.size());
        LNET_MESSAGE_ID_T id = 0;
        EXPECT_EQ(row.Result, codec.DecodeMessage(&buffer, &id));
        EXPECT_EQ(row.Id, id);
        errors += row.Result != SUCCESS;
        EXPECT_EQ(errors, codec.GetDecodeErrorCount());
        EXPECT_EQ(row.Result == SUCCESS ? 1u : 0u, codec.GetReceivedCount(row.Id));
    }
    // A buffer too short to hold a configuration index is not read for one;
    // one too short to hold an id is a programming error.
    std::vector<uint8_t> bytes(20, 9);
    const Buffer_Bytes_T twenty(bytes.data(), 20);
    EXPECT_EQ(0, codec.GetPingConfigIndex(&twenty));
    const Buffer_Bytes_T three(bytes.data(), 3);
    LNET_MESSAGE_ID_T id = 0;
    EXPECT_DEATH(codec.DecodeMessage(&three, &id), "Buffer->size\\(\\) >= sizeof\\(LNET_MESSAGE_ID_T\\)'");
}

TEST_F(Sonar4Test, MessageClassesForwardToTheirRecords)
{
    ExpectMessageOfRecord<CSonar4SystemSettingsMessage, CDatabaseSystemSettingsMessage>(&m_Factory);
    ExpectMessageOfRecord<CSonar4EnvironmentLimitsMessage, CDatabaseEnvironmentLimitsMessage>(&m_Factory);
    ExpectMessageOfRecord<CSonar4SystemLimitsMessage, CDatabaseSystemLimitsMessage>(&m_Factory);
    ExpectMessageOfRecord<CSonar4MasterBottomRecordMessage, CDatabaseMasterBottomRecordMessage>(&m_Factory);
    ExpectMessageOfRecord<CSonar4ErrorStatusMessage, CDatabaseErrorStatusMessage>(&m_Factory);
    // The discovery packet is sent only up to the end of its path.
    ExpectMessageOfRecord<CSonar4ServiceInfoMessage, CDatabaseServiceInfoMessage>(
        &m_Factory, 39 + std::strlen(getenv("ROOT_DIR")));
}

TEST_F(Sonar4Test, OperationsOutsideTheInterface)
{
    CSonar4PingResultsMessage pingResults(&m_Factory);
    std::vector<uint8_t> bytes(16, 0xAB);
    Buffer_Bytes_T buffer(bytes.data(), 5);
    EXPECT_EQ(SUCCESS, pingResults.CreateMessage(&buffer));
    EXPECT_EQ(5u, buffer.size());
    EXPECT_EQ(std::vector<uint8_t>(16, 0xAB), bytes);

    CSonar4ErrorStatusMessage errorStatus(&m_Factory);
    CDatabaseErrorStatusMessage(&m_Factory).SetErrorStatus(0x10);
    EXPECT_EQ(0u, errorStatus.GetPacket()->GetErrorStatus()) << "the packet as last loaded, no file read";
    EXPECT_EQ(0x0A000002u, CSonar4ServiceInfoMessage(&m_Factory).GetUnitInfoIPAddress());
}

} // namespace
