// Behaviour every binary record shares, proven once over each record, plus
// the few fields particular records give names to.
#include <fcntl.h>
#include <unistd.h>

#include <cerrno>
#include <cstdio>
#include <string>
#include <tuple>
#include <vector>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "Database/DatabaseEnvironmentLimitsMessage.h"
#include "Database/DatabaseMasterBottomRecordMessage.h"
#include "Database/DatabaseSystemLimitsMessage.h"
#include "Database/DatabaseSupportedTransducersMessage.h"
#include "Database/DatabaseSystemSettingsMessage.h"
#include "Database/DatabaseTransducersFittedMessage.h"
#include "tests/support/FileHolder.h"
#include "tests/support/RecordingFactory.h"
#include "tests/support/Sandbox.h"

namespace {

// Where each record's file lives and what it holds by default (hex; null
// for an all-zero payload).
struct RecordCase {
    const char* Class;
    const char* File;
    uint32_t Id;
    const char* DefaultPayload;
};
template <typename Record>
const RecordCase cCase{};
template <>
const RecordCase cCase<CDatabaseEnvironmentLimitsMessage> = {"CDatabaseEnvironmentLimitsMessage",
    "nonpersisted/EnvironmentLimits.bin", 0x270105, "8A 02 BC 02 EE 02 20 03 04 29 10 27 30 75 D0 84 F4 01 05"};
template <>
const RecordCase cCase<CDatabaseSystemLimitsMessage> = {"CDatabaseSystemLimitsMessage", "nonpersisted/SystemLimits.bin",
    0x270107, "01 00 20 03 01 00 F4 01 48 F4 FF FF B8 0B 00 00 DA FD 26 02 01 B0 36 8C 3C 64 00 00 00 A0 A6 04 00"};
template <>
const RecordCase cCase<CDatabaseMasterBottomRecordMessage> = {"CDatabaseMasterBottomRecordMessage",
    "nonpersisted/MasterBottomRecord.bin", 0x270108, "00 00 00 00 80 00"};
template <>
const RecordCase cCase<CDatabaseSystemSettingsMessage> = {"CDatabaseSystemSettingsMessage",
    "systemdata/SystemSettings.bin", 0x270106, nullptr};
template <>
const RecordCase cCase<CDatabaseSupportedTransducersMessage> = {"CDatabaseSupportedTransducersMessage",
    "nonpersisted/SupportedTransducers.bin", 0x270109, nullptr};
// One transducer fitted, its entry not yet filled in.
template <>
const RecordCase cCase<CDatabaseTransducersFittedMessage> = {"CDatabaseTransducersFittedMessage",
    "nonpersisted/TransducersFitted.bin", 0x27010A,
    "01 00 00 00 00 00 00 00 00 00 00 00 00 00 00 00 00 00 00 00 00 00 00 00 00 00 00 00 00 00 00 00 00 00 00 00 00 00 00 00 00"};

std::string Hex(const std::string& Bytes)
{
    std::string text;
    char three[4];
    for (unsigned char byte : Bytes) {
        text.append(three, std::snprintf(three, sizeof(three), " %02X", byte));
    }
    return text.substr(1);
}

std::string Le32(uint32_t Value)
{
    return {char(Value), char(Value >> 8), char(Value >> 16), char(Value >> 24)};
}

::testing::Matcher<const std::string&> Assertion(const std::string& Text)
{
    return ::testing::HasSubstr("Assertion `" + Text + "' failed");
}

} // namespace

template <typename Record>
class DatabaseRecordTest : public ::testing::Test {
protected:
    static constexpr size_t cSize = Record::cPacketSize;

    void SetUp() override { m_Sandbox.SetUnitEnvironment(); }

    std::string Path() const { return m_Sandbox / cCase<Record>.File; }
    std::string FileBytes() const { return CSandbox::ReadFile(Path()); }
    void WriteFileBytes(const std::string& Bytes) { m_Sandbox.WriteFile(cCase<Record>.File, Bytes); }
    // A packet of this record: header fields as given, every payload byte Fill.
    static std::string Image(uint32_t Version = 116, uint32_t Serial = 1234, char Fill = 0x5A, uint32_t Size = cSize)
    {
        return Le32(cCase<Record>.Id) + Le32(Size) + Le32(Version) + Le32(Serial) + std::string(cSize - 16, Fill);
    }
    std::string PacketOf(const Record& R) const { return {reinterpret_cast<const char*>(R.GetPacket().data()), cSize}; }
    // Why-texts of the events so far, each of which must come at level 3
    // from "<class><Operation>"; then forgotten.
    std::vector<std::string> TakeWhys(const std::string& Operation)
    {
        std::vector<std::string> whys;
        for (const auto& event : m_Factory.m_Events) {
            EXPECT_EQ(event.Where + " " + std::to_string(event.Level), cCase<Record>.Class + Operation + " 3");
            whys.push_back(event.Why);
        }
        m_Factory.m_Events.clear();
        return whys;
    }

    CSandbox m_Sandbox;
    CRecordingFactory m_Factory;
};

using Records = ::testing::Types<CDatabaseEnvironmentLimitsMessage, CDatabaseSystemLimitsMessage,
                                 CDatabaseMasterBottomRecordMessage, CDatabaseSystemSettingsMessage,
                                 CDatabaseSupportedTransducersMessage, CDatabaseTransducersFittedMessage>;
TYPED_TEST_SUITE(DatabaseRecordTest, Records);

TYPED_TEST(DatabaseRecordTest, MissingFileIsCreatedWithDefaultsAndALongerOneIsCutAtTheNextStore)
{
    TypeParam record(&this->m_Factory);
    const std::string bytes = this->FileBytes();
    const char* payload = cCase<TypeParam>.DefaultPayload;
    EXPECT_EQ(Hex(bytes), Hex(this->Image().substr(0, 16)) + " " +
                              (payload ? payload : Hex(std::string(this->cSize - 16, '\0'))));
    EXPECT_EQ(this->PacketOf(record), bytes);

    // The message is the file as it is now; a longer file is cut at the next store.
    this->WriteFileBytes(this->Image() + "tail");
    std::string out(this->cSize, '\0');
    Buffer_Bytes_T buffer(out.data(), out.size());
    EXPECT_EQ(record.CreateMessage(&buffer), SUCCESS);
    EXPECT_EQ(out.substr(0, buffer.size()), this->Image());
    EXPECT_EQ(record.writeDB(), SUCCESS);
    EXPECT_EQ(this->FileBytes(), this->Image());
    EXPECT_TRUE(this->m_Factory.m_Events.empty());
}

// A rejected file is reported, deleted and replaced by the defaults at the
// next load; the values in memory stay as they were.
TYPED_TEST(DatabaseRecordTest, ShortOrForeignFileIsReportedRemovedAndRecreatedAtTheNextLoad)
{
    const std::string version = "Old Sonar 4 found V115 expected V116";
    const std::string serial = "Serial Number Mismatch found99 expected 1234";
    const std::tuple<std::string, VeskEventCode_T, const char*, std::vector<std::string>> cases[] = {
        {this->Image().substr(0, this->cSize - 1), FAILED_TO_READ_FILE_CONTENTS, "::readDB",
         {"Failed to read contents", "Removing File Possible Old Version Of Sonar 4 "}},
        {this->Image(115, 1234), SUCCESS, "::ConfirmSonar4Version", {version}},
        {this->Image(116, 99), SUCCESS, "::ConfirmSonar4Version", {serial}},
        {this->Image(115, 99), SUCCESS, "::ConfirmSonar4Version", {version, serial}},
    };
    TypeParam record(&this->m_Factory);
    const std::string defaults = this->FileBytes();
    for (const auto& [file, result, where, whys] : cases) {
        this->WriteFileBytes(file);
        EXPECT_EQ(record.readDB(), result);
        EXPECT_EQ(this->TakeWhys(where), whys);
        EXPECT_FALSE(CSandbox::Exists(this->Path()));
        EXPECT_EQ(this->PacketOf(record), defaults);
        EXPECT_EQ(record.readDB(), SUCCESS);
        EXPECT_EQ(this->FileBytes(), defaults);
    }
}

TYPED_TEST(DatabaseRecordTest, ReceivedPacketIsStoredOnlyWhenWholeAndForThisUnit)
{
    const std::tuple<std::string, VeskEventCode_T, std::vector<std::string>> cases[] = {
        {this->Image(116, 99), E2BIG, {"Error in incoming message exp SN 1234 got  99exp S4V 116 got  116"}},
        {this->Image(117, 1234), E2BIG, {"Error in incoming message exp SN 1234 got  1234exp S4V 116 got  117"}},
        {this->Image().substr(0, this->cSize - 1), E2BIG, {}},
        // The size field is rewritten on store; bytes past the packet are ignored.
        {this->Image(116, 1234, 0x21, 0) + "extra", SUCCESS, {}},
    };
    TypeParam record(&this->m_Factory);
    for (auto [received, result, whys] : cases) {
        const std::string before = this->FileBytes();
        const Buffer_Bytes_T buffer(received.data(), received.size());
        EXPECT_EQ(record.DecodeMessage(&buffer), result);
        EXPECT_EQ(this->TakeWhys("::DecodeMessage"), whys);
        EXPECT_EQ(this->FileBytes(), result == SUCCESS ? this->Image(116, 1234, 0x21) : before);
    }
}

TYPED_TEST(DatabaseRecordTest, FailuresToOpenOrWriteAreReportedAndReturned)
{
    this->m_Factory.m_FailOpenWith = EACCES;
    this->m_Factory.m_FailOpenCount = 1;
    TypeParam record(&this->m_Factory);
    EXPECT_EQ(record.GetLastError(), EACCES);
    EXPECT_EQ(this->TakeWhys(" constructor"), std::vector<std::string>{"failed to write to DB"});

    ASSERT_EQ(symlink("/dev/full", this->Path().c_str()), 0);
    EXPECT_EQ(record.writeDB(), FAILED_TO_WRITE_FILE_CONTENTS);
    EXPECT_EQ(this->m_Factory.m_Events.at(0).Code, ENOSPC);
    EXPECT_EQ(this->TakeWhys("::writeDB"), std::vector<std::string>{"Failed to write contents"});
    std::remove(this->Path().c_str());

    // Another task writing the file keeps this one from storing over it.
    ASSERT_EQ(record.readDB(), SUCCESS);
    const std::string before = this->FileBytes();
    CFileHolder writer(this->Path(), O_WRONLY);
    ASSERT_EQ(writer.OpenError(), 0);
    EXPECT_EQ(record.writeDB(), FILE_ACCESS_DENIED);
    EXPECT_EQ(this->FileBytes(), before);
}

// The remaining cases concern one record at a time.
using DatabaseRecordDeathTest = DatabaseRecordTest<CDatabaseMasterBottomRecordMessage>;
using DatabaseRecordFieldsTest = DatabaseRecordTest<CDatabaseMasterBottomRecordMessage>;

// The assertion texts are built from each record's description; these are
// the ones the master bottom record must print.
TEST_F(DatabaseRecordDeathTest, ProgrammingErrorsAbortNamingTheRecordsOwnMembers)
{
    CDatabaseMasterBottomRecordMessage record(&m_Factory);
    std::string bytes = FileBytes();
    Buffer_Bytes_T small(bytes.data(), bytes.size() - 1);
    EXPECT_DEATH(record.CreateMessage(&small), Assertion("Buffer->size() >= sizeof(m_MasterBottomRecord)"));
    std::string foreign = Le32(0x27010B) + bytes.substr(4);
    const Buffer_Bytes_T received(foreign.data(), foreign.size());
    EXPECT_DEATH(record.DecodeMessage(&received), Assertion("pSonar4MasterBottomRecordPacket->GetMessageID() == "
                                                             "Message_Id_Sonar4_Master_Bottom_Record"));
    WriteFileBytes(foreign);
    EXPECT_DEATH(record.readDB(),
                 Assertion("masterBottomRecord.GetMessageID() == Message_Id_Sonar4_Master_Bottom_Record"));
    WriteFileBytes(bytes.replace(4, 1, 1, '\x17'));
    EXPECT_DEATH(record.readDB(),
                 Assertion("masterBottomRecord.GetMessageSize() == sizeof(Sonar4MasterBottomRecordPacket)"));

    EXPECT_DEATH(CDatabaseMasterBottomRecordMessage(nullptr), Assertion("m_pFactory"));
    EXPECT_DEATH(CDatabaseSystemLimitsMessage(nullptr), Assertion("m_pFactory && \"no Factory specified\""));
    m_Sandbox.SetEnv("NONPERSISTED_DATABASE_ROOT", m_Sandbox.MakeDir(std::string(240, 'd')).c_str());
    EXPECT_DEATH(CDatabaseMasterBottomRecordMessage{&m_Factory},
                 Assertion("m_DatabaseFilePath.length() <= MAX_DATABASE_PATH_LENGTH"));
}

TEST_F(DatabaseRecordFieldsTest, SerialIsCachedOnceKnownAndNamedFieldsSitAtTheirOffsets)
{
    // The serial number is looked up again until it is known, then kept.
    m_Sandbox.SetEnv("EMBEDDED_SERIAL_NUMBER_OVERRIDE", "0");
    CDatabaseMasterBottomRecordMessage record(&m_Factory);
    EXPECT_EQ(record.GetPacket().GetSerialNumber(), 0u);
    m_Sandbox.SetEnv("EMBEDDED_SERIAL_NUMBER_OVERRIDE", "0077xyz");
    EXPECT_EQ(record.GetUnitSerialNumber(), 77u);
    m_Sandbox.SetEnv("EMBEDDED_SERIAL_NUMBER_OVERRIDE", "88");
    EXPECT_EQ(record.GetUnitSerialNumber(), 77u);

    record.SetOffsetMode(2);
    record.SetMasterDepth(-1);
    ASSERT_EQ(record.writeDB(), SUCCESS);
    EXPECT_EQ(Hex(FileBytes().substr(16)), "00 FF FF FF FF 02");

    // The default maximum depth is among the default payloads above.
    m_Sandbox.SetEnv("MAX_ALLOWED_DEPTH_IN_CM", "20000");
    const std::string limits = CSandbox::ReadFile(CDatabaseSystemLimitsMessage(&m_Factory).GetDBFilePath());
    EXPECT_EQ(Hex(limits.substr(45)), "20 4E 00 00");
}
