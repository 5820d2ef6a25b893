// The generated capture dissector, run by tshark over packets our own codec
// built and over a capture of the real task's broadcast.
#include <sys/prctl.h>
#include <sys/wait.h>
#include <unistd.h>

#include <gtest/gtest.h>

#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <regex>
#include <set>
#include <sstream>
#include <string>
#include <vector>

#include "Sonar4/Sonar4.h"
#include "Sonar4/Sonar4MessageTable.h"
#include "Utilities/OSSLinuxFactory.h"
#include "tests/support/Sandbox.h"
#include "tests/support/TargetCommand.h"
#include "tests/support/ToolRun.h"
#include "tests/support/UnitProcess.h"
#include "tools/vesk/PcapFile.h"
#include "tools/vesk/Sonar4PacketText.h"

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
        // tshark's personal folders (configuration, Lua plugins) are the
        // sandbox's, whatever the machine's user keeps in their own.
        m_Sandbox.SetEnv("HOME", m_Sandbox.Path().c_str());
        m_Sandbox.SetEnv("WIRESHARK_CONFIG_DIR", m_Sandbox.MakeDir("wireshark").c_str());
        const std::string folders = m_Sandbox / "folders";
        ASSERT_EQ(std::system(("tshark -G folders > " + folders + " 2>&1").c_str()), 0);
        std::smatch found;
        const std::string listed = CSandbox::ReadFile(folders);
        ASSERT_TRUE(std::regex_search(listed, found, std::regex("Global Lua Plugins:\\s*(\\S+)"))) << listed;
        m_GlobalPlugins = found[1];
    }

    // A tshark command that loads no dissector but the one a test gives it.
    // The global Lua plugin folder, where an installed package keeps its own
    // copy, is replaced in a mount namespace of the command's own: by
    // PluginFolder when one is given, else by an empty folder. (As root,
    // tshark ignores the variables that would move that folder.)
    std::string Tshark(const std::string& Arguments, const std::string& PluginFolder = "") const
    {
        const std::string replace = PluginFolder.empty() ? "mount -t tmpfs -o ro,size=4k tmpfs \"$1\""
                                                         : "mount --bind \"$2\" \"$1\"";
        return "unshare -m --propagation private sh -c '{ [ ! -d \"$1\" ] || " + replace +
               "; } && shift 2 && exec tshark \"$@\"' sh " + m_GlobalPlugins + " " +
               (PluginFolder.empty() ? "-" : PluginFolder) + " " + Arguments;
    }

    std::string WithDissector() const { return "-X lua_script:" + std::string(VESK_DISSECTOR_FILE) + " "; }

    // The output of a tshark run; fails the test when tshark fails or the
    // dissector's script raises an error.
    std::string RunTshark(const std::string& Command)
    {
        const std::string out = m_Sandbox / "tshark.out";
        const std::string errors = m_Sandbox / "tshark.err";
        EXPECT_EQ(std::system((Command + " > " + out + " 2> " + errors).c_str()), 0) << Command;
        const std::string said = CSandbox::ReadFile(errors);
        EXPECT_EQ(said.find("Lua"), std::string::npos) << said;
        return CSandbox::ReadFile(out);
    }

    // tshark's verbose decode of Capture with the build's dissector.
    std::string Decode(const std::string& Capture)
    {
        const std::string decoded = RunTshark(Tshark(WithDissector() + "-r " + Capture + " -V"));
        for (const char* error : {"Lua Error", "Dissector bug"}) {
            EXPECT_EQ(decoded.find(error), std::string::npos) << decoded;
        }
        return decoded;
    }

    static UdpDatagram_T Datagram(const uint8_t* Bytes, size_t Size)
    {
        return {0x0A000002, 0xE0000040, 3201, 3201, std::vector<uint8_t>(Bytes, Bytes + Size)};
    }

    // A capture of every record packet the codec builds, in table order,
    // followed by packets to be flagged: an unknown id, a master bottom cut
    // short and of another version, two bytes that are not even an id.
    // Returns the rows of the codec's packets.
    std::vector<const Sonar4MessageRow_T*> WriteCodecCapture(const std::string& Capture)
    {
        std::vector<const Sonar4MessageRow_T*> built;
        CSonar4 codec(&m_Factory);
        CPcapWriter writer(Capture);
        for (const Sonar4MessageRow_T& row : GetSonar4MessageTable()) {
            if (row.Record.Kind == RECORD_NONE || row.Record.FileName == nullptr) {
                continue;
            }
            std::vector<uint8_t> packet(row.Record.PacketSize);
            Buffer_Bytes_T buffer(packet.data(), packet.size());
            EXPECT_EQ(codec.ConstructMessage(row.Id, &buffer, 0), SUCCESS) << row.IdName;
            EXPECT_TRUE(writer.Write(Datagram(packet.data(), buffer.size())));
            built.push_back(&row);
        }
        for (const std::vector<uint8_t>& flagged : cFlaggedPackets) {
            EXPECT_TRUE(writer.Write(Datagram(flagged.data(), flagged.size())));
        }
        return built;
    }

    static const std::vector<std::vector<uint8_t>> cFlaggedPackets;

    CSandbox m_Sandbox;
    COSSLinuxFactory m_Factory;
    std::string m_GlobalPlugins;
};

const std::vector<std::vector<uint8_t>> DissectorNetTest::cFlaggedPackets = {
    {0x0F, 0x01, 0x27, 0x00, 16, 0, 0, 0, 116, 0, 0, 0, 0, 0, 0, 0},
    {0x08, 0x01, 0x27, 0x00, 22, 0, 0, 0, 117, 0},
    {0x08, 0x01},
};

// "master depth (cm)" as the dissector labels a field.
std::string Label(const PacketField_T& Field)
{
    return std::string(Field.Name) + (*Field.Unit ? std::string(" (") + Field.Unit + ")" : "") + ": ";
}

// What tshark prints of the field sonar4.id for the codec capture: a line
// per packet, empty for the two bytes without an id.
std::string IdLines(const std::vector<const Sonar4MessageRow_T*>& Built)
{
    std::string lines;
    char line[16];
    for (const Sonar4MessageRow_T* row : Built) {
        std::snprintf(line, sizeof(line), "0x%08x\n", row->Id);
        lines += line;
    }
    return lines + "0x0027010f\n0x00270108\n\n";
}

TEST_F(DissectorNetTest, EveryMessageTheCodecBuildsIsDecodedFieldByField)
{
    const std::string capture = m_Sandbox / "codec.pcap";
    const std::vector<const Sonar4MessageRow_T*> built = WriteCodecCapture(capture);
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
    for (const char* text : {"master depth (cm): -2147483648", "serial number: 1234"}) {
        EXPECT_NE(decoded.find(text), std::string::npos) << decoded;
    }
}

TEST_F(DissectorNetTest, EveryPacketCarriesItsIdAndWhatDumpFlagsInDumpsWords)
{
    const std::string capture = m_Sandbox / "codec.pcap";
    const std::vector<const Sonar4MessageRow_T*> built = WriteCodecCapture(capture);

    EXPECT_EQ(RunTshark(Tshark(WithDissector() + "-r " + capture + " -T fields -e sonar4.id")), IdLines(built));

    const ToolRun_T dumped = RunTool({"dump", "--pcap", capture});
    const std::string decoded = Decode(capture);
    const std::regex flag("FLAGGED ([^;]*);");
    size_t flags = 0;
    for (std::sregex_iterator it(dumped.Output.begin(), dumped.Output.end(), flag), end; it != end; ++it, ++flags) {
        EXPECT_NE(decoded.find((*it)[1].str()), std::string::npos) << (*it)[1] << " not in\n" << decoded;
    }
    // Unknown id; short, other version; short without an id.
    EXPECT_EQ(flags, 4u) << dumped.Output;
}

TEST_F(DissectorNetTest, ACopyInItsPluginFolderDecodesEveryMessageOnce)
{
    // As the package installs it: no -X, tshark finds it in its folder.
    const std::string folder = m_Sandbox.MakeDir("plugins");
    m_Sandbox.WriteFile("plugins/vesk-sonar4.lua", CSandbox::ReadFile(VESK_DISSECTOR_FILE));
    const std::string capture = m_Sandbox / "codec.pcap";
    const std::vector<const Sonar4MessageRow_T*> built = WriteCodecCapture(capture);

    // A second registration would fail, and one that worked would give
    // each packet its id twice.
    EXPECT_EQ(RunTshark(Tshark("-r " + capture + " -T fields -e sonar4.id", folder)), IdLines(built));
}

TEST_F(DissectorNetTest, EveryFilterFieldTheDocsNameIsOneTsharkKnows)
{
    const std::string known = RunTshark(Tshark("-G fields " + WithDissector()));
    std::set<std::string> named;
    // A field name in the text: "sonar4." and more, not part of a file name
    // such as vesk-sonar4.lua.
    const std::regex field("(^|[^-\\w])(sonar4(\\.\\w+)+)");
    for (const auto& page : std::filesystem::directory_iterator(VESK_DOCS_DIR)) {
        if (page.path().extension() != ".md") {
            continue;
        }
        const std::string text = CSandbox::ReadFile(page.path());
        for (std::sregex_iterator it(text.begin(), text.end(), field), end; it != end; ++it) {
            named.insert((*it)[2]);
        }
    }
    ASSERT_FALSE(named.empty());
    for (const std::string& name : named) {
        EXPECT_NE(known.find("\t" + name + "\t"), std::string::npos) << name << " is no field tshark knows";
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
