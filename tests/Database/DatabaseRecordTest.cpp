// Behaviour every binary record shares, proven once over each record, plus
// the few fields and rules particular records have of their own.
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cerrno>
#include <cstdio>
#include <string>
#include <tuple>
#include <vector>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "Database/DatabaseErrorStatusMessage.h"
#include "Database/DatabaseMasterBottomRecordMessage.h"
#include "Database/DatabaseRecordingStatusMessage.h"
#include "Database/DatabaseSystemLimitsMessage.h"
#include "Database/DatabaseUnitInfoMessage.h"
#include "tests/support/Sandbox.h"
#include "tests/support/TestBytes.h"
#include "tests/support/UnitDouble.h"

// The machinery is shared: it is proven here on the master bottom record;
// the codec's message table test proves the common promises of every record.
class DatabaseRecordTest : public ::testing::Test {
protected:
    using Record = CDatabaseMasterBottomRecordMessage;
    static constexpr size_t cSize = Record::cPacketSize;
    static constexpr const char* cFile = "nonpersisted/MasterBottomRecord.bin";
    static constexpr const char* cClass = "CDatabaseMasterBottomRecordMessage";

    void SetUp() override { m_Sandbox.SetUnitEnvironment(); }

    std::string Path() const { return m_Sandbox / cFile; }
    std::string FileBytes() const { return CSandbox::ReadFile(Path()); }
    void WriteFileBytes(const std::string& Bytes) { m_Sandbox.WriteFile(cFile, Bytes); }
    // A packet of this record: header fields as given, every payload byte Fill.
    static std::string Image(uint32_t Version = 116, uint32_t Serial = 1234, char Fill = 0x5A, uint32_t Size = cSize)
    {
        return HeaderBytes(0x270108, Size, Version, Serial) + std::string(cSize - 16, Fill);
    }
    std::string PacketOf(const Record& R) const { return {reinterpret_cast<const char*>(R.GetPacket().data()), cSize}; }
    // Why-texts of the events so far, each of which must come at level 3
    // from "<class><Operation>"; then forgotten.
    std::vector<std::string> TakeWhys(const std::string& Operation)
    {
        std::vector<std::string> whys;
        for (const auto& event : m_Factory.m_Events) {
            EXPECT_EQ(event.Where + " " + std::to_string(event.Level), cClass + Operation + " 3");
            whys.push_back(event.Why);
        }
        m_Factory.m_Events.clear();
        return whys;
    }

    CSandbox m_Sandbox;
    CUnitDouble m_Factory;
};

TEST_F(DatabaseRecordTest, AUnitInfoFileOfAnotherAddressIsBroughtUpToDate)
{
    CDatabaseUnitInfoMessage(&m_Factory, 0x0A000002);
    CDatabaseUnitInfoMessage moved(&m_Factory, 0xC0A80105);
    EXPECT_EQ(moved.GetIPAddress(), 0xC0A80105u);
    EXPECT_EQ(Hex(CSandbox::ReadFile(moved.GetDBFilePath()).substr(16, 4)), "C0 A8 01 05");
    EXPECT_TRUE(m_Factory.m_Events.empty());
}

TEST_F(DatabaseRecordTest, ALongerFileIsReadAndCutAtTheNextStore)
{
    Record record(&m_Factory);
    // The message is the file as it is now; a longer file is cut at the next store.
    WriteFileBytes(Image() + "tail");
    std::string out(cSize, '\0');
    Buffer_Bytes_T buffer(out.data(), out.size());
    EXPECT_EQ(record.CreateMessage(&buffer), SUCCESS);
    EXPECT_EQ(out.substr(0, buffer.size()), Image());
    EXPECT_EQ(record.writeDB(), SUCCESS);
    EXPECT_EQ(FileBytes(), Image());
    EXPECT_TRUE(m_Factory.m_Events.empty());
}

// A rejected file is reported, deleted and replaced by the defaults at the
// next load; the values in memory stay as they were.
TEST_F(DatabaseRecordTest, ShortOrForeignFileIsReportedRemovedAndRecreatedAtTheNextLoad)
{
    const std::string version = "Old Sonar 4 found V115 expected V116";
    const std::string serial = "Serial Number Mismatch found99 expected 1234";
    const std::tuple<std::string, VeskEventCode_T, const char*, std::vector<std::string>> cases[] = {
        {Image().substr(0, cSize - 1), FAILED_TO_READ_FILE_CONTENTS, "::readDB",
         {"Failed to read contents", "Removing File Possible Old Version Of Sonar 4 "}},
        {Image(116, 99), SUCCESS, "::ConfirmSonar4Version", {serial}},
        {Image(115, 99), SUCCESS, "::ConfirmSonar4Version", {version, serial}},
    };
    Record record(&m_Factory);
    const std::string defaults = FileBytes();
    for (const auto& [file, result, where, whys] : cases) {
        WriteFileBytes(file);
        EXPECT_EQ(record.readDB(), result);
        EXPECT_EQ(TakeWhys(where), whys);
        EXPECT_FALSE(CSandbox::Exists(Path()));
        EXPECT_EQ(PacketOf(record), defaults);
        EXPECT_EQ(record.readDB(), SUCCESS);
        EXPECT_EQ(FileBytes(), defaults);
    }
}

// Only a regular file of the record's name is its file: anything else there
// is treated as no file (the defaults are stored, and the store fails on a
// directory or a FIFO nobody reads), and an empty file is a short one.
TEST_F(DatabaseRecordTest, WhatIsNoRegularFileAtTheNameIsNoRecordFile)
{
    Record record(&m_Factory);
    record.SetMasterDepth(777);
    ASSERT_EQ(record.writeDB(), SUCCESS);
    const std::string stored = FileBytes();
    const std::string elsewhere = m_Sandbox / "elsewhere.bin";
    m_Sandbox.WriteFile("elsewhere.bin", stored);
    std::remove(Path().c_str());

    ASSERT_EQ(mkdir(Path().c_str(), 0755), 0);
    EXPECT_EQ(record.readDB(), EISDIR);
    EXPECT_EQ(TakeWhys(" CheckForFile"), std::vector<std::string>{"failed to write to DB"});
    EXPECT_NE(record.GetMasterDepth(), 777);
    ASSERT_EQ(rmdir(Path().c_str()), 0);

    record.SetMasterDepth(777);
    ASSERT_EQ(mkfifo(Path().c_str(), 0644), 0);
    EXPECT_EQ(record.readDB(), ENXIO);
    EXPECT_EQ(TakeWhys(" CheckForFile"), std::vector<std::string>{"failed to write to DB"});
    EXPECT_NE(record.GetMasterDepth(), 777);
    std::remove(Path().c_str());

    // Nor is a link to a whole record, and nothing is ever written through
    // one: the defaults' store fails as a failed open fails.
    ASSERT_EQ(symlink(elsewhere.c_str(), Path().c_str()), 0);
    EXPECT_EQ(record.readDB(), ELOOP);
    EXPECT_EQ(TakeWhys(" CheckForFile"), std::vector<std::string>{"failed to write to DB"});
    EXPECT_NE(record.GetMasterDepth(), 777);
    EXPECT_EQ(record.writeDB(), ELOOP);
    EXPECT_EQ(CSandbox::ReadFile(elsewhere), stored);
    std::remove(Path().c_str());

    WriteFileBytes("");
    EXPECT_EQ(record.readDB(), FAILED_TO_READ_FILE_CONTENTS);
    EXPECT_EQ(TakeWhys("::readDB"),
              (std::vector<std::string>{"Failed to read contents", "Removing File Possible Old Version Of Sonar 4 "}));
    EXPECT_FALSE(CSandbox::Exists(Path()));
}

// Another process may make the file while this one makes it: its file is
// kept (and loaded) rather than overwritten with defaults, while a value of
// this record's own is stored into it as into any existing file.
TEST_F(DatabaseRecordTest, AFileMadeMeanwhileElsewhereKeepsItsContentAgainstDefaultsOnly)
{
    const std::string theirs = Image(116, 1234, 0x33);
    m_Factory.m_BeforeLink = [&](const std::string& Name) {
        if (Name == Path()) {
            WriteFileBytes(theirs);
        }
    };
    Record record(&m_Factory);
    EXPECT_EQ(record.GetLastError(), SUCCESS);
    EXPECT_EQ(FileBytes(), theirs);
    EXPECT_EQ(PacketOf(record), theirs);

    ASSERT_EQ(std::remove(Path().c_str()), 0);
    EXPECT_EQ(record.readDB(), SUCCESS);
    EXPECT_EQ(FileBytes(), theirs) << "recreating the missing file gave way too";

    ASSERT_EQ(std::remove(Path().c_str()), 0);
    record.SetMasterDepth(777);
    EXPECT_EQ(record.writeDB(), SUCCESS);
    EXPECT_EQ(FileBytes(), PacketOf(record));
    EXPECT_NE(FileBytes(), theirs);
    EXPECT_TRUE(m_Factory.m_Events.empty());
}

// A process that dies while it makes the file leaves none: the next one
// finds it missing, not empty.
TEST_F(DatabaseRecordTest, AProcessKilledWhileMakingTheFileLeavesNoFile)
{
    std::fflush(stdout);
    const pid_t maker = fork();
    if (maker == 0) {
        m_Factory.m_BeforeLink = [](const std::string&) { _exit(0); };
        Record record(&m_Factory);
        _exit(1);
    }
    int status = -1;
    ASSERT_EQ(waitpid(maker, &status, 0), maker);
    ASSERT_TRUE(WIFEXITED(status) && WEXITSTATUS(status) == 0) << "died making the file";
    EXPECT_FALSE(CSandbox::Exists(Path()));
    Record record(&m_Factory);
    EXPECT_EQ(FileBytes(), PacketOf(record));
    EXPECT_TRUE(m_Factory.m_Events.empty());
}

TEST_F(DatabaseRecordTest, FailuresToOpenOrWriteAreReportedAndReturned)
{
    m_Factory.Arm(FAULT_OPEN, 1, EACCES);
    Record record(&m_Factory);
    EXPECT_EQ(record.GetLastError(), EACCES);
    EXPECT_EQ(TakeWhys(" constructor"), std::vector<std::string>{"failed to write to DB"});

    m_Factory.Arm(FAULT_WRITE, 1, ENOSPC);
    EXPECT_EQ(record.writeDB(), FAILED_TO_WRITE_FILE_CONTENTS);
    EXPECT_EQ(m_Factory.m_Events.at(0).Code, ENOSPC);
    EXPECT_EQ(TakeWhys("::writeDB"), std::vector<std::string>{"Failed to write contents"});
}

using DatabaseRecordDeathTest = DatabaseRecordTest;
using DatabaseRecordFieldsTest = DatabaseRecordTest;

// The assertion texts are built from each record's description; these are
// the ones the master bottom record must print.
TEST_F(DatabaseRecordDeathTest, ProgrammingErrorsAbortNamingTheRecordsOwnMembers)
{
    CDatabaseMasterBottomRecordMessage record(&m_Factory);
    std::string bytes = FileBytes();
    Buffer_Bytes_T small(bytes.data(), bytes.size() - 1);
    EXPECT_DEATH(record.CreateMessage(&small), Assertion("Buffer->size() >= sizeof(m_MasterBottomRecord)"));
    std::string foreign = Le32(0x27010B) + bytes.substr(4);
    EXPECT_DEATH(Receive(record, foreign), Assertion("pSonar4MasterBottomRecordPacket->GetMessageID() == "
                                                             "Message_Id_Sonar4_Master_Bottom_Record"));
    WriteFileBytes(foreign);
    EXPECT_DEATH(record.readDB(),
                 Assertion("masterBottomRecord.GetMessageID() == Message_Id_Sonar4_Master_Bottom_Record"));
    WriteFileBytes(bytes.replace(4, 1, 1, '\x17'));
    EXPECT_DEATH(record.readDB(),
                 Assertion("masterBottomRecord.GetMessageSize() == sizeof(Sonar4MasterBottomRecordPacket)"));

    EXPECT_DEATH(CDatabaseMasterBottomRecordMessage(nullptr), Assertion("m_pFactory"));
    m_Sandbox.SetEnv("NONPERSISTED_DATABASE_ROOT", m_Sandbox.MakeDir(std::string(240, 'd')).c_str());
    EXPECT_DEATH(CDatabaseMasterBottomRecordMessage{&m_Factory},
                 Assertion("m_DatabaseFilePath.length() <= MAX_DATABASE_PATH_LENGTH"));
}

TEST_F(DatabaseRecordFieldsTest, SerialIsCachedOnceKnownAndTheMaximumDepthComesFromTheEnvironment)
{
    // The serial number is looked up again until it is known, then kept.
    m_Sandbox.SetEnv("EMBEDDED_SERIAL_NUMBER_OVERRIDE", "0");
    CDatabaseMasterBottomRecordMessage record(&m_Factory);
    EXPECT_EQ(record.GetPacket().GetSerialNumber(), 0u);
    EXPECT_EQ(Hex(FileBytes().substr(16)), "00 00 00 00 80 00") << "no depth, no offset";
    m_Sandbox.SetEnv("EMBEDDED_SERIAL_NUMBER_OVERRIDE", "0077xyz");
    EXPECT_EQ(record.GetUnitSerialNumber(), 77u);
    m_Sandbox.SetEnv("EMBEDDED_SERIAL_NUMBER_OVERRIDE", "88");
    EXPECT_EQ(record.GetUnitSerialNumber(), 77u);

    // The maximum depth is 304800 cm unless the unit's environment says otherwise.
    const std::string limits = CDatabaseSystemLimitsMessage(&m_Factory).GetDBFilePath();
    EXPECT_EQ(Hex(CSandbox::ReadFile(limits).substr(45)), "A0 A6 04 00");
    std::remove(limits.c_str());
    m_Sandbox.SetEnv("MAX_ALLOWED_DEPTH_IN_CM", "20000");
    CDatabaseSystemLimitsMessage{&m_Factory};
    EXPECT_EQ(Hex(CSandbox::ReadFile(limits).substr(45)), "20 4E 00 00");
}

TEST_F(DatabaseRecordFieldsTest, ErrorStatusReadWithoutAFileIsZeroAndCreatesNothing)
{
    const std::string path = m_Sandbox / "nonpersisted/ErrorStatus.bin";
    CDatabaseErrorStatusMessage record(&m_Factory);
    ASSERT_EQ(record.SetErrorStatus(0x40), SUCCESS);
    std::remove(path.c_str());
    EXPECT_EQ(record.GetErrorStatus(), 0u);
    EXPECT_FALSE(CSandbox::Exists(path));
    EXPECT_TRUE(m_Factory.m_Events.empty());
}

// Events raised in one process set the word that every other process reads;
// the file-corruption event keeps only bit 3, so it also wipes the network bit.
TEST_F(DatabaseRecordFieldsTest, EventsSetTheErrorStatusWordAnotherProcessReads)
{
    const auto raise = [](VeskEventCode_T Code) {
        if (const pid_t child = fork(); child != 0) {
            int status = -1;
            waitpid(child, &status, 0);
            return status;
        }
        COSSLinuxFactory factory;
        CDatabaseErrorStatusMessage record(&factory);
        factory.SetErrorStatusMessage(&record);
        factory.SendEvent(cErrorLevel, Code, "DatabaseRecordFieldsTest", "raised");
        _exit(0);
    };
    ASSERT_EQ(raise(LOSS_OF_NETWORK_TRAFFIC), 0);
    EXPECT_EQ(CDatabaseErrorStatusMessage(&m_Factory).GetErrorStatus(), 1u);
    ASSERT_EQ(raise(DATABASE_FILE_CORRUPTION), 0);
    EXPECT_EQ(CDatabaseErrorStatusMessage(&m_Factory).GetErrorStatus(), 0u);
}

// The recording status record fails quietly: see the class comment.
TEST_F(DatabaseRecordFieldsTest, RecordingStatusFailedStoresAndLoadsReportNothing)
{
    const std::string path = m_Sandbox / "nonpersisted/RecordingStatus.bin";
    // A directory that is not there: construction neither reports nor keeps it.
    m_Sandbox.SetEnv("NONPERSISTED_DATABASE_ROOT", (m_Sandbox / "missing").c_str());
    CDatabaseRecordingStatusMessage lost(&m_Factory);
    EXPECT_EQ(lost.GetLastError(), SUCCESS);
    EXPECT_EQ(lost.writeDB(), ENOENT) << "a file that cannot be opened is still said so";
    EXPECT_EQ(lost.readDB(), ENOENT) << "a load does not create the file";
    m_Sandbox.SetEnv("NONPERSISTED_DATABASE_ROOT", (m_Sandbox / "nonpersisted").c_str());

    CDatabaseRecordingStatusMessage record(&m_Factory);
    m_Factory.Arm(FAULT_WRITE, 1, ENOSPC);
    EXPECT_EQ(record.writeDB(), SUCCESS);
    EXPECT_TRUE(m_Factory.Fired());
    ASSERT_EQ(unlink(path.c_str()), 0);
    // A short file is still reported as the loads of every record report it.
    m_Sandbox.WriteFile("nonpersisted/RecordingStatus.bin", "short");
    EXPECT_EQ(record.readDB(), FAILED_TO_READ_FILE_CONTENTS);
    EXPECT_EQ(m_Factory.m_Events.size(), 2u);
    EXPECT_EQ(m_Factory.m_Events.at(0).Where, "CDatabaseRecordingStatusMessage::readDB");
}

TEST_F(DatabaseRecordFieldsTest, RecordingStatusMissingFileResetsOnlyTheStatusUntilTheNextStore)
{
    const std::string path = m_Sandbox / "nonpersisted/RecordingStatus.bin";
    CDatabaseRecordingStatusMessage record(&m_Factory);
    std::string received = CSandbox::ReadFile(path);
    received.replace(16, std::string::npos, 69, '\x42');
    ASSERT_EQ(Receive(record, received), SUCCESS);

    ASSERT_EQ(unlink(path.c_str()), 0);
    EXPECT_EQ(record.CheckForFile(), SUCCESS);
    EXPECT_FALSE(CSandbox::Exists(path));
    const Sonar4RecordingStatusPacket& packet = record.GetPacket();
    EXPECT_EQ(std::string(reinterpret_cast<const char*>(packet.data()) + 16, 69),
              std::string(6, '\0') + std::string(63, '\x42'));
    EXPECT_EQ(packet.GetMessageSize(), 85u);
    EXPECT_EQ(record.writeDB(), SUCCESS);
    EXPECT_EQ(CSandbox::ReadFile(path).size(), 85u);
    EXPECT_TRUE(m_Factory.m_Events.empty());
}
