// The command and heartbeat records: version-only records that replace
// out-of-range values on every store and load, and the heartbeat's time log.
#include <cerrno>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "Database/DatabaseCommandMessage.h"
#include "Database/DatabaseHeartbeatMessage.h"
#include "tests/support/Sandbox.h"
#include "tests/support/TestBytes.h"
#include "tests/support/UnitDouble.h"

namespace {

template <typename T>
std::string Le(T Value)
{
    std::string bytes(sizeof(T), '\0');
    LittleEndian::Write<T>(reinterpret_cast<uint8_t*>(bytes.data()), Value);
    return bytes;
}

std::string Command(uint32_t Code, uint32_t Serial = 77)
{
    return HeaderBytes(0x27010C, 24, 116, Serial) + Le<uint32_t>(0xABCD) + Le<uint32_t>(Code);
}

std::string Heartbeat(uint8_t Mode, int32_t Depth, uint64_t Time = UINT64_MAX, uint32_t Version = 116)
{
    return HeaderBytes(0x270100, 37, Version, 5) + Le<uint8_t>(Mode) + Le<uint64_t>(Time) + std::string(8, '\x11') +
           Le<int32_t>(Depth);
}

class DatabaseValidatedRecordsTest : public testing::Test {
protected:
    void SetUp() override { m_Sandbox.SetUnitEnvironment(); }

    // "<level> <where> <why>" of the events so far; then forgotten.
    std::vector<std::string> TakeEvents()
    {
        std::vector<std::string> events;
        for (const auto& event : m_Factory.m_Events) {
            events.push_back(std::to_string(event.Level) + " " + event.Where + " " + event.Why);
        }
        m_Factory.m_Events.clear();
        return events;
    }

    CSandbox m_Sandbox;
    CUnitDouble m_Factory;
};

const std::vector<std::string> cNotice(const char* Where)
{
    return {std::string("6 ") + Where + " Invalid data Values being replaced"};
}

TEST_F(DatabaseValidatedRecordsTest, CommandCodeOutOfRangeIsStoredAndLoadedAsZero)
{
    CDatabaseCommandMessage record(&m_Factory);
    // Any unit's command is taken, its serial number kept as it came.
    EXPECT_EQ(Receive(record, Command(6)), SUCCESS);
    EXPECT_EQ(CSandbox::ReadFile(record.GetDBFilePath()), Command(6));
    EXPECT_TRUE(TakeEvents().empty());
    EXPECT_EQ(Receive(record, Command(9)), SUCCESS);
    EXPECT_EQ(CSandbox::ReadFile(record.GetDBFilePath()), Command(0));
    EXPECT_EQ(TakeEvents(), cNotice("CDatabaseCommandMessage::writeDB()"));

    // A bad code in the file is replaced in memory only, until the next store.
    m_Sandbox.WriteFile("nonpersisted/Command.bin", Command(7));
    EXPECT_EQ(record.readDB(), SUCCESS);
    EXPECT_EQ(record.GetCommandCode(), 0u);
    EXPECT_EQ(TakeEvents(), cNotice("CDatabaseCommandMessage::readDB()"));
    EXPECT_EQ(CSandbox::ReadFile(record.GetDBFilePath()), Command(7));
    EXPECT_EQ(record.writeDB(), SUCCESS);
    EXPECT_EQ(CSandbox::ReadFile(record.GetDBFilePath()), Command(0));

    const std::string old = HeaderBytes(0x27010C, 24, 115, 77) + std::string(8, '\0');
    EXPECT_EQ(Receive(record, old), E2BIG);
    EXPECT_EQ(TakeEvents(), std::vector<std::string>{"3 CDatabaseCommandMessage::DecodeMessage Error in incoming "
                                                     "message exp S4V 116 got  115"});
}

TEST_F(DatabaseValidatedRecordsTest, CommandFailureTextsAreItsOwn)
{
    CDatabaseCommandMessage record(&m_Factory);
    std::remove(record.GetDBFilePath());
    m_Factory.Arm(FAULT_OPEN, 1, EACCES);
    EXPECT_EQ(record.CheckForFile(), EACCES);
    EXPECT_EQ(TakeEvents(), std::vector<std::string>{"6 CDatabaseCommandMessage CheckForFile Failed to write to DB"});
    m_Factory.Arm(FAULT_WRITE, 1, ENOSPC);
    EXPECT_EQ(record.writeDB(), FAILED_TO_WRITE_FILE_CONTENTS);
    EXPECT_EQ(TakeEvents(), std::vector<std::string>{"3 CDatabaseCommandMessage::writeDB() failed to write contents"});
}

TEST_F(DatabaseValidatedRecordsTest, HeartbeatModeAndDepthAreClampedWithOneNotice)
{
    const struct {
        uint8_t Mode;
        int32_t Depth;
        uint8_t StoredMode;
        int32_t StoredDepth;
    } cases[] = {
        {2, 0, 2, 0},
        {0, 304800, 0, 304800},
        {1, INT32_MIN, 1, INT32_MIN},
        {1, INT32_MIN + 1, 1, INT32_MIN + 1},
        {1, INT32_MAX, 1, INT32_MAX},
        {5, 400000, 2, 304800},
        {0, 304801, 0, 304800},
        {0, -5, 0, INT32_MIN},
        {3, -1, 2, INT32_MIN},
    };
    CDatabaseHeartbeatMessage record(&m_Factory);
    for (const auto& c : cases) {
        SCOPED_TRACE(std::to_string(c.Mode) + "/" + std::to_string(c.Depth));
        EXPECT_EQ(Receive(record, Heartbeat(c.Mode, c.Depth)), SUCCESS);
        EXPECT_EQ(CSandbox::ReadFile(record.GetDBFilePath()), Heartbeat(c.StoredMode, c.StoredDepth));
        const bool replaced = c.Mode != c.StoredMode || c.Depth != c.StoredDepth;
        EXPECT_EQ(TakeEvents(), replaced ? cNotice("CDatabaseHeartbeatMessage::writeDB()") : std::vector<std::string>{});
    }
    m_Sandbox.WriteFile("nonpersisted/Heartbeat.bin", Heartbeat(9, 1));
    EXPECT_EQ(record.readDB(), SUCCESS);
    EXPECT_EQ(record.GetMode(), 2);
    EXPECT_EQ(TakeEvents(), cNotice("CDatabaseHeartbeatMessage::readDB()"));
}

TEST_F(DatabaseValidatedRecordsTest, HeartbeatTimeIsLoggedFirstThenEvery601st)
{
    CDatabaseHeartbeatMessage record(&m_Factory);
    // 2001-09-09 01:46:40 UTC in the low 32 bits; the high ones are ignored.
    const uint64_t time = (uint64_t{7} << 32) | 1000000000u;
    std::vector<int> logged;
    for (int heartbeat = 1; heartbeat <= 1203; ++heartbeat) {
        // Heartbeats without a time neither log nor count.
        ASSERT_EQ(Receive(record, Heartbeat(0, 0)), SUCCESS);
        ASSERT_EQ(Receive(record, Heartbeat(0, 0, time)), SUCCESS);
        for (const std::string& event : TakeEvents()) {
            EXPECT_EQ(event, "6 CDatabaseHeartbeatMessage::LogTime Sun Sep  9 01:46:40 2001\n");
            logged.push_back(heartbeat);
        }
    }
    EXPECT_EQ(logged, (std::vector<int>{1, 602, 1203}));
}

} // namespace
