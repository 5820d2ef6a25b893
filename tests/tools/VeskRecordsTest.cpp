// vesk db and vesk dump over every record the message table knows, and
// over files and packets that are wrong in each way a record checks.
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <gtest/gtest.h>

#include <functional>
#include <string>
#include <vector>

#include "Sonar4/Sonar4MessageTable.h"
#include "tests/support/Sandbox.h"
#include "tests/support/TestBytes.h"
#include "tests/support/ToolRun.h"
#include "tools/vesk/PcapFile.h"
#include "tools/vesk/Sonar4PacketText.h"

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
        {"unknown-id", HeaderBytes(0x27FFFF, 16, 116, 1234, 16), "FLAGGED unknown message id 0x27FFFF"},
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

// Whatever damage a unit's record directory suffers, the tool names it and
// ends: it never follows the link, blocks on the FIFO, aborts on the
// directory or reads the 2 GiB file whole.
TEST_F(VeskRecordsTest, AnythingButARecordFileAtARecordsNameIsNamedAndMovedAside)
{
    const std::string path = m_Sandbox / "nonpersisted/MasterBottomRecord.bin";
    const std::string wrongId = HeaderBytes(0x270105, 22, 116, 1234, 22);
    struct Damage_T {
        const char* Name;
        std::function<void()> Make;
        // What check says is there.
        std::string Named;
        // What show and dump say, and their exit status.
        std::string Shown;
        int ShowExit;
        // The thing moved aside is the one that was there.
        std::function<void(const std::string&)> Kept;
    };
    const auto isKind = [](mode_t Kind) {
        return [Kind](const std::string& Aside) {
            struct stat st {};
            ASSERT_EQ(lstat(Aside.c_str(), &st), 0);
            EXPECT_EQ(st.st_mode & S_IFMT, Kind);
        };
    };
    const Damage_T damages[] = {
        {"directory", [&] { m_Sandbox.MakeDir("nonpersisted/MasterBottomRecord.bin/inside"); },
         "is a directory", "cannot be read: a directory", 3,
         [](const std::string& Aside) { EXPECT_TRUE(CSandbox::Exists(Aside + "/inside")); }},
        {"FIFO", [&] { m_Sandbox.MakeFifo("nonpersisted/MasterBottomRecord.bin"); }, "is a FIFO",
         "cannot be read: a FIFO", 3, isKind(S_IFIFO)},
        {"link", [&] { ASSERT_EQ(symlink("/dev/zero", path.c_str()), 0); }, "is a symbolic link to /dev/zero",
         "cannot be read: a symbolic link to /dev/zero", 3, isKind(S_IFLNK)},
        {"sparse 2 GiB",
         [&] {
             const int fd = open(path.c_str(), O_WRONLY | O_CREAT, 0640);
             ASSERT_GE(fd, 0);
             EXPECT_EQ(ftruncate(fd, off_t{2} << 30), 0);
             close(fd);
         },
         "holds message id 0x0 instead of 0x270108", "is too large: 2147483648 bytes", 3,
         [](const std::string& Aside) {
             struct stat st {};
             ASSERT_EQ(stat(Aside.c_str(), &st), 0);
             EXPECT_EQ(st.st_size, off_t{2} << 30);
         }},
        {"wrong id", [&] { m_Sandbox.WriteFile("nonpersisted/MasterBottomRecord.bin", wrongId); },
         "holds message id 0x270105 instead of 0x270108", "FLAGGED", 1,
         [&](const std::string& Aside) { EXPECT_EQ(CSandbox::ReadFile(Aside), wrongId); }},
    };
    // A look must cost little whatever it looks at.
    constexpr long cSmallKb = 64 * 1024;
    for (const Damage_T& damage : damages) {
        SCOPED_TRACE(damage.Name);
        damage.Make();
        const ToolRun_T checked = RunTool({"check"});
        const ToolRun_T shown = RunTool({"db", "show", "MasterBottomRecord"});
        const ToolRun_T dumped = RunTool({"dump", "--files", path});
        const ToolRun_T captured = RunTool({"dump", "--pcap", path});
        EXPECT_EQ(captured.Exit, 3) << captured.Output;
        for (const ToolRun_T& run : {checked, shown, dumped, captured}) {
            EXPECT_FALSE(run.Killed) << run.Output;
            EXPECT_LT(run.MaxRssKb, cSmallKb);
        }
        EXPECT_EQ(checked.Exit, 1);
        EXPECT_TRUE(checked.Says("PROBLEM " + path + ": " + damage.Named)) << checked.Output;
        EXPECT_TRUE(checked.Says("[repairable]")) << checked.Output;
        EXPECT_EQ(shown.Exit, damage.ShowExit) << shown.Output;
        EXPECT_TRUE(shown.Says(damage.Shown)) << shown.Output;
        EXPECT_EQ(dumped.Exit, damage.ShowExit) << dumped.Output;
        EXPECT_TRUE(dumped.Says(damage.Shown)) << dumped.Output;

        const ToolRun_T repaired = RunTool({"check", "--repair"});
        EXPECT_FALSE(repaired.Killed);
        EXPECT_LT(repaired.MaxRssKb, cSmallKb);
        EXPECT_TRUE(repaired.Says("repair  " + path + ": moved to " + path + ".bad-1")) << repaired.Output;
        EXPECT_FALSE(repaired.Says("PROBLEM " + path)) << repaired.Output;
        damage.Kept(path + ".bad-1");
        // The next start creates the record afresh.
        EXPECT_FALSE(CSandbox::Exists(path));
        EXPECT_TRUE(repaired.Says(path + ": missing: created with its defaults")) << repaired.Output;
        // Nothing set aside is ever overwritten: the next one goes beside it.
        ASSERT_EQ(std::rename((path + ".bad-1").c_str(), (path + ".bad-2").c_str()), 0);
        m_Sandbox.WriteFile("nonpersisted/MasterBottomRecord.bin.bad-1", "earlier");
        m_Sandbox.WriteFile("nonpersisted/MasterBottomRecord.bin", wrongId);
        EXPECT_TRUE(RunTool({"check", "--repair"}).Says("moved to " + path + ".bad-3"));
        EXPECT_EQ(CSandbox::ReadFile(path + ".bad-1"), "earlier");
        for (const char* aside : {".bad-1", ".bad-2", ".bad-3"}) {
            ASSERT_EQ(std::system(("rm -rf '" + path + aside + "'").c_str()), 0);
        }
    }

    // Without a record directory the check cannot look at the records.
    m_Sandbox.SetEnv("NONPERSISTED_DATABASE_ROOT", nullptr);
    const ToolRun_T unset = RunTool({"check"});
    EXPECT_EQ(unset.Exit, 3) << unset.Output;
    EXPECT_TRUE(unset.Says("PROBLEM NONPERSISTED_DATABASE_ROOT: is not set")) << unset.Output;
}

// The legacy transducer files as the enumeration reads them: numbered from
// 0 per kind, ending at the first name that is no whole regular file.
TEST_F(VeskRecordsTest, TransducerFilesTheEnumerationStopsOrAbortsOnAreNamed)
{
    const std::string directory = m_Sandbox.MakeDir("transducers");
    m_Sandbox.SetEnv("SUPPORTED_TRANSDUCER_DIR", directory.c_str());
    m_Sandbox.SetEnv("TRANSDUCER_ID_FILE_PREFIX", "DepthXdcr");
    m_Sandbox.SetEnv("SPEED_TRANSDUCER_ID_FILE_PREFIX", "SpeedXdcr");
    const std::string whole(234, 'x');
    m_Sandbox.WriteFile("transducers/DepthXdcr0.bin", whole);
    m_Sandbox.MakeFifo("transducers/DepthXdcr1.bin");
    m_Sandbox.WriteFile("transducers/DepthXdcr2.bin", whole);
    m_Sandbox.WriteFile("transducers/SpeedXdcr0.bin", std::string(100, 'x'));
    const ToolRun_T listed = RunTool({"check"});
    EXPECT_FALSE(listed.Killed);
    EXPECT_TRUE(listed.Says("PROBLEM " + directory + "/DepthXdcr1.bin: a FIFO: the transducer list ends before it"))
        << listed.Output;
    EXPECT_TRUE(listed.Says("PROBLEM " + directory + "/SpeedXdcr0.bin: 100 bytes, shorter than 234")) << listed.Output;
    EXPECT_TRUE(listed.Says("note    " + directory + ": 1 legacy transducer files are offered")) << listed.Output;

    // The list holds 35 entries; the enumeration aborts on the 36th.
    for (int i = 0; i < 36; ++i) {
        m_Sandbox.WriteFile("transducers/TestTransducerId" + std::to_string(i) + ".bin", whole);
    }
    EXPECT_TRUE(RunTool({"check"}).Says("PROBLEM " + directory +
                                        ": 37 legacy transducer files: the list holds 35, the enumeration aborts"));
}

} // namespace
