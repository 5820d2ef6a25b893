#include "Sonar4/Sonar4.h"

#include <cstdlib>
#include <functional>
#include <memory>
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

// The service info record inside the codec needs the unit's address.
class Sonar4Test : public testing::Test {
protected:
    static void SetUpTestSuite()
    {
        ASSERT_EQ(0, std::system("ip link add vs4 type veth peer name vs4p && ip addr add 10.0.0.2/24 dev vs4"));
    }
    static void TearDownTestSuite() { EXPECT_EQ(0, std::system("ip link del vs4")); }
    void SetUp() override { m_Sandbox.SetUnitEnvironment(); }

    CSandbox m_Sandbox;
    CRecordingFactory m_Factory;
};

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

    // Ids without a message object build nothing and count nothing.
    for (const LNET_MESSAGE_ID_T id : {cUnknownId, LNET_MESSAGE_ID_T{Message_Id_Sonar4_Ping_Parameters}}) {
        EXPECT_EQ(FAILED_TO_SEND_ALL_DATA, codec.ConstructMessage(id, &buffer, 0));
        EXPECT_EQ(0u, codec.GetConstructedCount(id));
    }
}

TEST_F(Sonar4Test, DecodeCountsWhatItReceives)
{
    struct Row {
        LNET_MESSAGE_ID_T Id;
        size_t Size;
        VeskEventCode_T Result;
    };
    const Row rows[] = {
        {cUnknownId, 8, SUCCESS},                                 // only counted, left to the caller
        {Message_Id_Sonar4_System_Settings, 8, 7},                // too short for its record
        {Sonar4_Service_Info_Message, 8, SUCCESS},                // too short to name its kind
        {Message_Id_Sonar4_Ping_Parameters, 94, FAILED_TO_FIND_PING},
    };
    CSonar4 codec(&m_Factory);
    uint32_t errors = 0;
    for (const Row& row : rows) {
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
    // A buffer too short to hold a configuration index is not read for one.
    std::vector<uint8_t> short20(20, 9);
    const Buffer_Bytes_T twenty(short20.data(), short20.size());
    EXPECT_EQ(0, codec.GetPingConfigIndex(&twenty));
}

TEST_F(Sonar4Test, BuffersTooShortForTheHeaderAreFatal)
{
    CSonar4 codec(&m_Factory);
    std::vector<uint8_t> bytes(7);
    const Buffer_Bytes_T seven(bytes.data(), 7);
    const Buffer_Bytes_T three(bytes.data(), 3);
    LNET_MESSAGE_ID_T id = 0;
    EXPECT_DEATH(codec.DecodeMessage(&three, &id), "Buffer->size\\(\\) >= sizeof\\(LNET_MESSAGE_ID_T\\)'");
    EXPECT_DEATH(codec.GetMessageSize(&seven),
                 "Buffer->size\\(\\) >= sizeof\\(LNET_MESSAGE_ID_T\\) \\+ sizeof\\(MessageSize_Bytes_T\\)");
    EXPECT_DEATH(codec.DecodeMessage(nullptr, &id), "`Buffer'");
    EXPECT_DEATH(CSonar4 none(nullptr), "pFactory && \"Factory not specified\"");
}

TEST_F(Sonar4Test, MessageClassesForwardToTheirRecords)
{
    struct Row {
        std::function<ISonar4Message*()> Make;
        size_t PacketSize;
        const char* File;
    };
    const Row rows[] = {
        {[&] { return new CSonar4SystemSettingsMessage(&m_Factory); }, 562, "systemdata/SystemSettings.bin"},
        {[&] { return new CSonar4EnvironmentLimitsMessage(&m_Factory); }, 35, "nonpersisted/EnvironmentLimits.bin"},
        {[&] { return new CSonar4SystemLimitsMessage(&m_Factory); }, 49, "nonpersisted/SystemLimits.bin"},
        {[&] { return new CSonar4MasterBottomRecordMessage(&m_Factory); }, 22, "nonpersisted/MasterBottomRecord.bin"},
        {[&] { return new CSonar4ErrorStatusMessage(&m_Factory); }, 20, "nonpersisted/ErrorStatus.bin"},
        {[&] { return new CSonar4ServiceInfoMessage(&m_Factory); }, 550, "systemdata/ServiceInfo.bin"},
    };
    for (const Row& row : rows) {
        SCOPED_TRACE(row.File);
        const std::unique_ptr<ISonar4Message> message(row.Make());
        EXPECT_EQ(row.PacketSize, message->GetPacketSize());
        EXPECT_EQ(m_Sandbox / row.File, message->GetDBFilePath());
        std::vector<uint8_t> bytes(row.PacketSize);
        Buffer_Bytes_T buffer(bytes.data(), bytes.size());
        ASSERT_EQ(SUCCESS, message->CreateMessage(&buffer));
        // The discovery packet is sent only up to the end of its path.
        const std::string file = CSandbox::ReadFile(m_Sandbox / row.File);
        EXPECT_EQ(file.substr(0, buffer.size()), std::string(bytes.begin(), bytes.begin() + buffer.size()));
        if (row.PacketSize != 550) {
            EXPECT_EQ(row.PacketSize, buffer.size());
        }
    }
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
