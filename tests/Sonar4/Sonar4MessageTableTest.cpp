// What every row of the codec's message table promises, proven over the
// table itself: a new row is covered here without an edit.
#include "Sonar4/Sonar4MessageTable.h"

#include <cstdlib>
#include <fstream>
#include <ostream>
#include <set>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "tests/support/Sandbox.h"
#include "tests/support/TestBytes.h"
#include "tests/support/UnitDouble.h"

// Shown for a row parameter (and so in the test names the build discovers)
// instead of the row's address, which changes from build to build.
void PrintTo(const Sonar4MessageRow_T* Row, std::ostream* Out)
{
    *Out << Row->Record.ClassName;
}

namespace {

constexpr uint32_t cUnit = 1234;

TEST(Sonar4MessageTableTest, RowsAreUniqueAndEveryLayoutTilesItsPacket)
{
    std::set<LNET_MESSAGE_ID_T> ids;
    for (const Sonar4MessageRow_T& row : GetSonar4MessageTable()) {
        SCOPED_TRACE(row.IdName);
        EXPECT_TRUE(ids.insert(row.Id).second) << "one row per id";
        EXPECT_EQ(&row, FindSonar4MessageRow(row.Id));
        EXPECT_EQ(row.Instances, row.ConfigIndex ? PingConfigIndex_end : 1u);
        EXPECT_EQ(row.Receive == RECEIVE_BY_PING_CONFIG_INDEX, row.ConfigIndex != nullptr);
        const Sonar4RecordFacts_T& record = row.Record;
        if (record.Kind == RECORD_NONE) {
            EXPECT_EQ(record.FieldCount, 0u);
            continue;
        }
        // Fields follow each other without gap or overlap up to the end of
        // the packet, so a tool showing them shows every byte exactly once.
        size_t next = 0;
        for (size_t i = 0; i < record.FieldCount; ++i) {
            const PacketField_T& field = record.Fields[i];
            EXPECT_EQ(field.Offset, next) << field.Name;
            EXPECT_GT(field.Count, 0u) << field.Name;
            EXPECT_STRNE(PacketFieldTypeName(field.Type), "?");
            next = field.Offset + field.Size();
        }
        EXPECT_EQ(next, record.PacketSize);
        if (record.Kind == RECORD_SHARED) {
            EXPECT_STREQ(record.Fields[0].Name, "message id");
        }
    }
    EXPECT_EQ(FindSonar4MessageRow(0x27FFFF), nullptr);
}

// The whole message set is made as the codec makes it (the unit info record
// takes the service info record's address from the double's network).
class Sonar4MessageRowTest : public testing::TestWithParam<const Sonar4MessageRow_T*> {
protected:
    void SetUp() override
    {
        m_Sandbox.SetUnitEnvironment();
        MakeSonar4Messages(&m_Factory, m_Messages);
        m_pMessage = m_Messages.find(Row().Id)->second;
        m_Factory.m_Events.clear();
    }
    void TearDown() override { DeleteSonar4Messages(m_Messages); }

    const Sonar4MessageRow_T& Row() const { return *GetParam(); }
    size_t Size() const { return Row().Record.PacketSize; }
    bool Addressed() const { return Row().Record.UnitCheck == UNIT_CHECK_VERSION_AND_SERIAL; }
    std::string File() const { return CSandbox::ReadFile(m_pMessage->GetDBFilePath()); }
    void WriteFile(const std::string& Bytes) const
    {
        std::ofstream(m_pMessage->GetDBFilePath(), std::ios::binary | std::ios::trunc) << Bytes;
    }
    // The message's packet as built now, or "" when building failed.
    std::string Built()
    {
        std::string bytes(Size(), '\0');
        Buffer_Bytes_T buffer(bytes.data(), bytes.size());
        if (m_pMessage->CreateMessage(&buffer) != SUCCESS) {
            return "";
        }
        return bytes.substr(0, buffer.size());
    }

    CSandbox m_Sandbox;
    CUnitDouble m_Factory;
    Sonar4MessageMap_T m_Messages;
    ISonar4Message* m_pMessage = nullptr;
};

TEST_P(Sonar4MessageRowTest, DefaultsAreStoredWholeAndBuiltAtThePacketSize)
{
    EXPECT_EQ(m_pMessage->GetPacketSize(), Size());
    const std::string file = File();
    ASSERT_EQ(file.size(), Size());
    EXPECT_EQ(file.substr(0, 16), HeaderBytes(Row().Id, Size(), 116, Addressed() ? cUnit : 0));
    EXPECT_EQ(Built(), file);
    EXPECT_TRUE(m_Factory.m_Events.empty());
}

TEST_P(Sonar4MessageRowTest, ReceivedPacketIsStoredOnlyWhenWholeAndOfThisVersionAndUnit)
{
    const std::string defaults = File();
    const std::string payload = defaults.substr(16);
    // Size field 0 and bytes past the packet: the size is rewritten on
    // store and the extra bytes are ignored.
    const std::string stored = HeaderBytes(Row().Id, Size(), 116, cUnit) + payload;
    const struct {
        std::string Packet;
        VeskEventCode_T Result;
    } cases[] = {
        {HeaderBytes(Row().Id, Size(), 115, cUnit) + payload, E2BIG},
        {HeaderBytes(Row().Id, Size(), 116, 99) + payload, Addressed() ? E2BIG : SUCCESS},
        {stored.substr(0, Size() - 1), E2BIG},
        {HeaderBytes(Row().Id, 0, 116, cUnit) + payload + "extra", SUCCESS},
    };
    for (const auto& received : cases) {
        WriteFile(defaults);
        EXPECT_EQ(Receive(*m_pMessage, received.Packet), received.Result);
        const std::string expected = received.Result != SUCCESS
                                         ? defaults
                                         : received.Packet.substr(0, 4) + Le32(Size()) +
                                               received.Packet.substr(8, Size() - 8);
        EXPECT_EQ(File(), expected);
        EXPECT_EQ(Built(), expected);
    }
}

TEST_P(Sonar4MessageRowTest, FileOfAnotherVersionIsDeletedAndTheLastValuesAreBuilt)
{
    const std::string defaults = File();
    WriteFile(HeaderBytes(Row().Id, Size(), 115, cUnit) + defaults.substr(16));
    EXPECT_EQ(Built(), defaults);
    EXPECT_FALSE(CSandbox::Exists(m_pMessage->GetDBFilePath()));
    ASSERT_FALSE(m_Factory.m_Events.empty());
    EXPECT_EQ(m_Factory.m_Events[0].Why, "Old Sonar 4 found V115 expected V116");
    EXPECT_EQ(m_Factory.m_Events[0].Where, std::string(Row().Record.ClassName) + "::ConfirmSonar4Version");
}

// A record that validates puts a received value outside its range right
// before it stores it, and a loaded one before it hands it out; any other
// keeps the bytes as they came. Every byte at its extreme makes at least
// one field of a validating record out of range.
TEST_P(Sonar4MessageRowTest, OutOfRangeValuesAreReplacedExactlyWhenTheRowValidates)
{
    const std::string replaced = "Invalid data Values being replaced";
    for (const char extreme : {'\xFF', '\x80', '\x7F'}) {
        SCOPED_TRACE(static_cast<int>(static_cast<unsigned char>(extreme)));
        const std::string packet = HeaderBytes(Row().Id, Size(), 116, cUnit, Size(), extreme);

        ASSERT_EQ(Receive(*m_pMessage, packet), SUCCESS);
        const bool storedChanged = File() != packet;
        EXPECT_EQ(Built(), File());

        WriteFile(packet);
        m_Factory.m_Events.clear();
        const bool loadedChanged = Built() != packet;
        EXPECT_EQ(File(), packet) << "a load replaces values in memory only";

        if (Row().Record.Validates) {
            // Not every extreme is out of range for every field; the one
            // that is must not pass.
            EXPECT_EQ(storedChanged, loadedChanged);
            EXPECT_EQ(loadedChanged, !m_Factory.m_Events.empty());
            if (extreme == '\xFF') {
                EXPECT_TRUE(storedChanged) << Hex(File(), 16);
                ASSERT_FALSE(m_Factory.m_Events.empty());
                EXPECT_EQ(m_Factory.m_Events.back().Why, replaced);
            }
        } else {
            EXPECT_FALSE(storedChanged) << Hex(File(), 16);
            EXPECT_FALSE(loadedChanged) << Hex(Built(), 16);
            EXPECT_TRUE(m_Factory.m_Events.empty());
        }
    }
}

std::vector<const Sonar4MessageRow_T*> SharedRecordRows()
{
    std::vector<const Sonar4MessageRow_T*> rows;
    for (const Sonar4MessageRow_T& row : GetSonar4MessageTable()) {
        if (row.Record.Kind == RECORD_SHARED) {
            rows.push_back(&row);
        }
    }
    return rows;
}

INSTANTIATE_TEST_SUITE_P(SharedRecords, Sonar4MessageRowTest, testing::ValuesIn(SharedRecordRows()),
                         [](const testing::TestParamInfo<const Sonar4MessageRow_T*>& Info) {
                             return std::string(Info.param->IdName);
                         });

} // namespace
