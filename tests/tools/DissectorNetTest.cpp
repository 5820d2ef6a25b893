// The generated capture dissector, run by tshark over packets our own codec
// built and over a capture of the real task's broadcast.
#include <sys/prctl.h>
#include <sys/wait.h>
#include <unistd.h>

#include <gtest/gtest.h>

#include <csignal>
#include <cstdlib>
#include <string>
#include <vector>

#include "Sonar4/Sonar4.h"
#include "Sonar4/Sonar4MessageTable.h"
#include "Sonar4/Sonar4PacketText.h"
#include "Utilities/OSSLinuxFactory.h"
#include "Utilities/PcapFile.h"
#include "tests/support/TargetCommand.h"
#include "tests/support/Sandbox.h"
#include "tests/support/ToolRun.h"
#include "tests/support/UnitProcess.h"

namespace {

class DissectorNetTest : public ::testing::Test {
protected:
    void SetUp() override
    {
        if (std::system("command -v tshark > /dev/null") != 0) {
            GTEST_SKIP() << "tshark is not installed (tools/install-deps.sh installs it)";
        }
        m_Sandbox.SetUnitEnvironment();
        ASSERT_TRUE(AddUnitInterface());
    }

    // tshark's verbose decode of Capture with the dissector; fails the test
    // on any error the dissector's script raises.
    std::string Decode(const std::string& Capture)
    {
        const std::string out = m_Sandbox / "tshark.out";
        const std::string command = "tshark -X lua_script:" + std::string(VESK_DISSECTOR_FILE) + " -r " + Capture +
                                    " -V > " + out + " 2>&1";
        EXPECT_EQ(std::system(command.c_str()), 0);
        const std::string decoded = CSandbox::ReadFile(out);
        for (const char* error : {"Lua Error", "Lua: Error", "Dissector bug"}) {
            EXPECT_EQ(decoded.find(error), std::string::npos) << decoded;
        }
        return decoded;
    }

    static UdpDatagram_T Datagram(const uint8_t* Bytes, size_t Size)
    {
        return {0x0A000002, 0xE0000040, 3201, 3201, std::vector<uint8_t>(Bytes, Bytes + Size)};
    }

    CSandbox m_Sandbox;
    COSSLinuxFactory m_Factory;
};

// "master depth (cm)" as the dissector labels a field.
std::string Label(const PacketField_T& Field)
{
    return std::string(Field.Name) + (*Field.Unit ? std::string(" (") + Field.Unit + ")" : "") + ": ";
}

TEST_F(DissectorNetTest, EveryMessageTheCodecBuildsIsDecodedFieldByField)
{
    const std::string capture = m_Sandbox / "codec.pcap";
    std::vector<const Sonar4MessageRow_T*> built;
    {
        CSonar4 codec(&m_Factory);
        CPcapWriter writer(capture);
        for (const Sonar4MessageRow_T& row : GetSonar4MessageTable()) {
            if (row.Record.Kind == RECORD_NONE || row.Record.FileName == nullptr) {
                continue;
            }
            std::vector<uint8_t> packet(row.Record.PacketSize);
            Buffer_Bytes_T buffer(packet.data(), packet.size());
            ASSERT_EQ(codec.ConstructMessage(row.Id, &buffer, 0), SUCCESS) << row.IdName;
            ASSERT_TRUE(writer.Write(Datagram(packet.data(), buffer.size())));
            built.push_back(&row);
        }
        // And what must be flagged: an unknown id, a short packet.
        const uint8_t unknown[16] = {0x0F, 0x01, 0x27, 0x00, 16, 0, 0, 0, 116, 0, 0, 0};
        ASSERT_TRUE(writer.Write(Datagram(unknown, sizeof(unknown))));
        const uint8_t shortBottom[10] = {0x08, 0x01, 0x27, 0x00, 22, 0, 0, 0, 116, 0};
        ASSERT_TRUE(writer.Write(Datagram(shortBottom, sizeof(shortBottom))));
    }
    ASSERT_FALSE(built.empty());

    const std::string decoded = Decode(capture);
    size_t at = 0;
    for (const Sonar4MessageRow_T* row : built) {
        const std::string name = CSonar4PacketText::MessageName(*row);
        at = decoded.find("Sonar4, " + name + "\n", at);
        ASSERT_NE(at, std::string::npos) << name << " not decoded in order:\n" << decoded;
        const size_t end = decoded.find("\nFrame ", at);
        const std::string tree = decoded.substr(at, end - at);
        for (size_t i = 0; i < row->Record.FieldCount; ++i) {
            EXPECT_NE(tree.find(Label(row->Record.Fields[i])), std::string::npos)
                << name << " lacks " << row->Record.Fields[i].Name << ":\n" << tree;
        }
    }
    for (const char* text : {"master depth (cm): -2147483648", "serial number: 1234", "unknown message id 0x27010F",
                             "size field 22, packet 10 bytes", "10 of 22 bytes"}) {
        EXPECT_NE(decoded.find(text), std::string::npos) << decoded;
    }
}

TEST_F(DissectorNetTest, ACaptureOfTheTasksBroadcastShowsTheMasterBottom)
{
    // Bottoms 1200 (secondary) and 1500 (primary), offset -300: 900.
    ASSERT_EQ(RunTool({"db", "set", "SystemSettings", "DepthOffset=-300"}).Exit, 0);
    ASSERT_EQ(RunTool({"db", "set", "LocalBottom:SPT", "Depth=1200", "State=2"}).Exit, 0);
    ASSERT_EQ(RunTool({"db", "set", "LocalBottom:PPT", "Depth=1500", "State=2"}).Exit, 0);
    if (prctl(PR_SET_CHILD_SUBREAPER, 1) != 0 && Emulator()) {
        GTEST_SKIP() << Emulator() << " refuses PR_SET_CHILD_SUBREAPER and IP_MULTICAST_IF";
    }
    ASSERT_EQ(prctl(PR_SET_CHILD_SUBREAPER, 1), 0);
    ASSERT_EQ(LaunchTask(m_Sandbox / "task.out"), 0) << CSandbox::ReadFile(m_Sandbox / "task.out");

    const std::string capture = m_Sandbox / "unit.pcap";
    const ToolRun_T dumped = RunTool({"dump", "--count", "3", "--save", capture});
    EXPECT_EQ(RunTool({"send", "--wait=20", "shutdown"}).Exit, 0);
    ASSERT_EQ(dumped.Exit, 0) << dumped.Output;
    EXPECT_TRUE(dumped.Says("master depth=900 cm")) << dumped.Output;

    const std::string decoded = Decode(capture);
    for (const char* text : {"Sonar4, MasterBottomRecord", "master depth (cm): 900", "offset mode: 1", "Dst: 224.0.0.64"}) {
        EXPECT_NE(decoded.find(text), std::string::npos) << decoded;
    }
    while (waitpid(-1, nullptr, WNOHANG) > 0) {
    }
}

} // namespace
