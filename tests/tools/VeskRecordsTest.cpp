// vesk db and vesk dump over every record the message table knows, and
// over files and packets that are wrong in each way a record checks.
#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "Sonar4/Sonar4MessageTable.h"
#include "Sonar4/Sonar4PacketText.h"
#include "Utilities/PcapFile.h"
#include "tests/support/TestBytes.h"
#include "tests/support/Sandbox.h"
#include "tests/support/ToolRun.h"

namespace {

class VeskRecordsTest : public ::testing::Test {
protected:
    void SetUp() override { m_Sandbox.SetUnitEnvironment(); }

    // Rows whose record is a file of its own.
    static std::vector<const Sonar4MessageRow_T*> FileRows()
    {
        std::vector<const Sonar4MessageRow_T*> rows;
        for (const Sonar4MessageRow_T& row : GetSonar4MessageTable()) {
            if (row.Record.FileName != nullptr && row.Record.Kind != RECORD_NONE) {
                rows.push_back(&row);
            }
        }
        return rows;
    }

    CSandbox m_Sandbox;
};

// Field value of a JSON line as printed, e.g. "\"name\":\"message size\",\"value\":22".
std::string JsonField(const std::string& Name, const std::string& Value)
{
    return "{\"name\":\"" + Name + "\",\"value\":" + Value;
}

TEST_F(VeskRecordsTest, EveryRecordIsCreatedShownAndDumpedWithItsOwnHeader)
{
    const std::vector<const Sonar4MessageRow_T*> rows = FileRows();
    ASSERT_FALSE(rows.empty());
    const ToolRun_T list = RunTool({"db", "list"});
    ASSERT_EQ(list.Exit, 0);
    for (const Sonar4MessageRow_T* row : rows) {
        const std::string name =
            CSonar4PacketText::MessageName(*row) + (row->Instances > 1 ? std::to_string(row->Instances - 1) : "");
        SCOPED_TRACE(name);
        EXPECT_TRUE(list.Says(CSonar4PacketText::MessageName(*row))) << list.Output;

        ToolRun_T created = RunTool({"db", "create", name});
        if (created.Exit != 0 && created.Says("only at its first store")) {
            // A record that makes its file only when it is first set.
            created = RunTool({"db", "set", name, name + "=0"});
        }
        ASSERT_EQ(created.Exit, 0) << created.Output;
        EXPECT_EQ(RunTool({"db", "create", name}).Exit, 1) << "an existing file is kept without --force";
        EXPECT_EQ(RunTool({"db", "create", "--force", name}).Exit, 0);

        const ToolRun_T shown = RunTool({"db", "show", "--json", name});
        ASSERT_EQ(shown.Exit, 0) << shown.Output;
        EXPECT_TRUE(shown.Says("\"flags\":[]")) << shown.Output;
        EXPECT_TRUE(shown.Says("\"id\":" + std::to_string(row->Id))) << shown.Output;
        if (row->Record.Kind == RECORD_SHARED) {
            EXPECT_TRUE(shown.Says(JsonField("message size", std::to_string(row->Record.PacketSize))));
            EXPECT_TRUE(shown.Says(JsonField("Sonar4 version", "116"))) << shown.Output;
        }
        // Every field of the layout is shown.
        for (size_t i = 0; i < row->Record.FieldCount; ++i) {
            EXPECT_TRUE(shown.Says("{\"name\":\"" + std::string(row->Record.Fields[i].Name) + "\""))
                << row->Record.Fields[i].Name << " in " << shown.Output;
        }
    }
}

TEST_F(VeskRecordsTest, ShowGivesValuesWithTheirUnitsAndExitsByWhatIsMissing)
{
    ASSERT_EQ(RunTool({"db", "create", "MasterBottomRecord"}).Exit, 0);
    const ToolRun_T shown = RunTool({"db", "show", "MasterBottomRecord"});
    EXPECT_EQ(shown.Exit, 0);
    for (const char* text : {"master depth", "-2147483648 cm", "serial number", "1234"}) {
        EXPECT_TRUE(shown.Says(text)) << shown.Output;
    }

    EXPECT_EQ(RunTool({"db", "show", "NoSuchRecord"}).Exit, 2);
    EXPECT_EQ(RunTool({"db", "show", m_Sandbox / "missing.bin"}).Exit, 3);
    m_Sandbox.SetEnv("NONPERSISTED_DATABASE_ROOT", nullptr);
    EXPECT_EQ(RunTool({"db", "show", "MasterBottomRecord"}).Exit, 3);
}

struct Malformed_T {
    const char* Name;
    std::string Bytes;
    const char* Flag;
};

TEST_F(VeskRecordsTest, MalformedPacketsAreFlaggedFromFilesAndCaptures)
{
    const Malformed_T cases[] = {
        {"short", HeaderBytes(0x270108, 22, 116, 1234, 21), "FLAGGED short: 21 of 22 bytes"},
        {"wrong-size-field", HeaderBytes(0x270108, 30, 116, 1234, 22),
         "FLAGGED size field says 30, the packet has 22 bytes"},
        {"unknown-id", HeaderBytes(0x27010F, 16, 116, 1234, 16), "FLAGGED unknown message id 0x27010F"},
        {"wrong-version", HeaderBytes(0x270108, 22, 115, 1234, 22), "FLAGGED protocol version 115, expected 116"},
        {"no-id", std::string("\x08\x01", 2), "FLAGGED short: 2 bytes, not even a message id"},
        {"sound", HeaderBytes(0x270108, 22, 116, 1234, 22), ""},
    };
    std::vector<std::string> files;
    {
        CPcapWriter capture(m_Sandbox / "malformed.pcap");
        for (const Malformed_T& malformed : cases) {
            files.push_back(m_Sandbox.WriteFile(malformed.Name, malformed.Bytes));
            capture.Write({0x0A000002, 0xE0000040, 3201, 3201,
                           std::vector<uint8_t>(malformed.Bytes.begin(), malformed.Bytes.end())});
        }
    }
    std::vector<std::string> args{"dump", "--files"};
    args.insert(args.end(), files.begin(), files.end());
    const ToolRun_T fromFiles = RunTool(args);
    const ToolRun_T fromCapture = RunTool({"dump", "--pcap", m_Sandbox / "malformed.pcap"});
    for (const ToolRun_T& run : {fromFiles, fromCapture}) {
        EXPECT_EQ(run.Exit, 1) << run.Output;
        for (const Malformed_T& malformed : cases) {
            if (*malformed.Flag != '\0') {
                EXPECT_TRUE(run.Says(malformed.Flag)) << malformed.Name << ":\n" << run.Output;
            }
        }
        EXPECT_EQ(run.Output.find("FLAGGED", run.Output.rfind("MasterBottomRecord")), std::string::npos)
            << "the sound packet, last, is not flagged:\n"
            << run.Output;
    }
    EXPECT_TRUE(fromCapture.Says("10.0.0.2:3201>224.0.0.64:3201")) << fromCapture.Output;

    const ToolRun_T json = RunTool({"dump", "--json", "--files", files.back()});
    EXPECT_EQ(json.Exit, 0);
    EXPECT_TRUE(json.Says(JsonField("master depth", "0") + ",\"unit\":\"cm\"}")) << json.Output;

    EXPECT_EQ(RunTool({"dump", "--pcap", m_Sandbox.WriteFile("junk", "junk")}).Exit, 3);
    EXPECT_EQ(RunTool({"dump", "--files"}).Exit, 2);
}

} // namespace
