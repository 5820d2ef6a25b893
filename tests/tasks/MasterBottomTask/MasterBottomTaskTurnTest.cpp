// Steady turns of the task object itself, in this process: what a turn
// costs in memory, and how it heals files that went missing. Its socket is
// the unit double's in-process network.
#include <gtest/gtest.h>

#include <atomic>
#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <memory>
#include <string>

#include "Database/DatabaseErrorStatusMessage.h"
#include "Database/DatabaseMasterBottomRecordMessage.h"
#include "Database/DatabaseSystemSettingsMessage.h"
#include "tasks/MasterBottomTask/MasterBottomTask.h"
#include "tests/support/Sandbox.h"
#include "tests/support/UnitDouble.h"

#if defined(__SANITIZE_ADDRESS__)
#define VESK_COUNTS_ALLOCATIONS 0
#elif defined(__has_feature)
#if __has_feature(address_sanitizer)
#define VESK_COUNTS_ALLOCATIONS 0
#endif
#endif
#ifndef VESK_COUNTS_ALLOCATIONS
#define VESK_COUNTS_ALLOCATIONS 1
#endif

namespace {

std::atomic<bool> g_Counting{false};
std::atomic<long> g_Allocations{0};

[[maybe_unused]] void CountAllocation()
{
    if (g_Counting.load(std::memory_order_relaxed)) {
        g_Allocations.fetch_add(1, std::memory_order_relaxed);
    }
}

} // namespace

#if VESK_COUNTS_ALLOCATIONS

// The C library's allocator, counted: operator new, the streams and
// everything else take their memory here. (The sanitizers bring their own.)
extern "C" {
void* __libc_malloc(size_t Size);
void* __libc_calloc(size_t Count, size_t Size);
void* __libc_realloc(void* Block, size_t Size);
void __libc_free(void* Block);

void* malloc(size_t Size)
{
    CountAllocation();
    return __libc_malloc(Size);
}

void* calloc(size_t Count, size_t Size)
{
    CountAllocation();
    return __libc_calloc(Count, Size);
}

void* realloc(void* Block, size_t Size)
{
    CountAllocation();
    return __libc_realloc(Block, Size);
}

void free(void* Block)
{
    __libc_free(Block);
}
}
#endif

namespace {

class MasterBottomTaskTurnTest : public ::testing::Test {
protected:
    void SetUp() override
    {
        m_Sandbox.SetUnitEnvironment();
        m_ErrorStatus.reset(new CDatabaseErrorStatusMessage(&m_Factory));
        m_Factory.SetErrorStatusMessage(m_ErrorStatus.get());
        m_Task.reset(new MasterBottomTask(&m_Factory));
        ASSERT_EQ(m_Task->GetStatus(), SUCCESS);
    }

    std::string RecordPath(const char* Variable, const char* Name) const
    {
        return std::string(std::getenv(Variable)) + "/" + Name;
    }

    void RunTurns(int Turns)
    {
        for (int turn = 0; turn < Turns; ++turn) {
            ASSERT_EQ(m_Task->RunTurn(0), SUCCESS);
        }
    }

    CSandbox m_Sandbox;
    CUnitDouble m_Factory;
    std::unique_ptr<CDatabaseErrorStatusMessage> m_ErrorStatus;
    std::unique_ptr<MasterBottomTask> m_Task;
};

TEST_F(MasterBottomTaskTurnTest, SteadyTurnsTakeNoMemory)
{
    if (!VESK_COUNTS_ALLOCATIONS) {
        GTEST_SKIP() << "the sanitizers replace the allocator";
    }
    m_Sandbox.WriteFile("nonpersisted/LocalBottomStatePPT.txt", "1500\n2\n");
    m_Sandbox.WriteFile("nonpersisted/LocalBottomStateSPT.txt", "1480\n2\n");
    RunTurns(20);
    // Each turn multicast the master bottom; kept datagrams would cost memory.
    ASSERT_EQ(m_Factory.m_Net.Sent.size(), 20u);
    EXPECT_EQ(m_Factory.m_Net.Sent.back().Address, "224.0.0.64");
    EXPECT_EQ(m_Factory.m_Net.Sent.back().Port, 3201);
    EXPECT_EQ(m_Factory.m_Net.Sent.back().Bytes.size(), 22u);
    m_Factory.m_Net.KeepSent = false;
    g_Allocations = 0;
    g_Counting = true;
    RunTurns(300);
    g_Counting = false;
    EXPECT_EQ(g_Allocations.load(), 0);

    // The turns did their work: the record holds the shallower bottom.
    CDatabaseMasterBottomRecordMessage record(&m_Factory);
    EXPECT_EQ(record.GetPacket().GetMasterDepth(), 1480);
}

// A record file that went missing (or was replaced by something that is no
// regular file) is made again with its defaults by the next turn, which
// then goes on with them.
TEST_F(MasterBottomTaskTurnTest, MissingFilesAreRecreatedWithTheirDefaultsByTheNextTurn)
{
    CDatabaseSystemSettingsMessage settings(&m_Factory);
    settings.SetDepthOffset(-300);
    ASSERT_EQ(settings.writeDB(), SUCCESS);
    m_Sandbox.WriteFile("nonpersisted/LocalBottomStatePPT.txt", "1500\n2\n");
    m_Sandbox.WriteFile("nonpersisted/LocalBottomStateSPT.txt", "1200\n2\n");
    RunTurns(1);
    CDatabaseMasterBottomRecordMessage record(&m_Factory);
    ASSERT_EQ(record.readDB(), SUCCESS);
    EXPECT_EQ(record.GetPacket().GetMasterDepth(), 900);

    const std::string secondary = RecordPath("NONPERSISTED_DATABASE_ROOT", "LocalBottomStateSPT.txt");
    const std::string master = RecordPath("NONPERSISTED_DATABASE_ROOT", "MasterBottomRecord.bin");
    ASSERT_EQ(std::remove(secondary.c_str()), 0);
    ASSERT_EQ(std::remove(master.c_str()), 0);
    ASSERT_EQ(std::remove(RecordPath("DATABASE_DIR_SYSTEM_DATA", "SystemSettings.bin").c_str()), 0);
    m_Sandbox.MakeDir("systemdata/SystemSettings.bin");
    m_Factory.m_Events.clear();
    RunTurns(1);

    EXPECT_EQ(CSandbox::ReadFile(secondary), "-2147483648\n0\n");
    // The secondary is out of use now, and the settings (a directory where
    // the file was) give no offset: the primary's bottom as it is.
    ASSERT_EQ(record.readDB(), SUCCESS);
    EXPECT_EQ(record.GetPacket().GetMasterDepth(), 1500);
    EXPECT_EQ(record.GetPacket().GetOffsetMode(), 0);
    // Making the settings file where a directory stands fails and says so,
    // and the load after it too; the missing local bottom and record files
    // are made silently.
    ASSERT_EQ(m_Factory.m_Events.size(), 2u);
    EXPECT_EQ(m_Factory.m_Events[0].Level, cErrorLevel);
    EXPECT_EQ(m_Factory.m_Events[0].Code, EISDIR);
    EXPECT_EQ(m_Factory.m_Events[0].Where, "CDatabaseSystemSettingsMessage CheckForFile");
    EXPECT_EQ(m_Factory.m_Events[0].Why, "failed to write to DB");
    EXPECT_EQ(m_Factory.m_Events[1].Code, EISDIR);
    EXPECT_EQ(m_Factory.m_Events[1].Why, "Failed to Read System Settings but so what");
}

} // namespace
