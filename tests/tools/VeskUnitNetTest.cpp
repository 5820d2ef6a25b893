// vesk check and vesk send against the real task, in a network namespace
// where eth0 has 10.0.0.2/24 as on a unit.
#include <signal.h>
#include <sys/prctl.h>
#include <sys/wait.h>
#include <unistd.h>

#include <gtest/gtest.h>

#include <cstdlib>
#include <string>
#include <vector>

#include "tests/support/TestBytes.h"
#include "tests/support/TargetCommand.h"
#include "tests/support/Sandbox.h"
#include "tests/support/ToolRun.h"
#include "tests/support/UnitProcess.h"

namespace {

class VeskUnitNetTest : public ::testing::Test {
protected:
    void SetUp() override
    {
        m_Sandbox.SetUnitEnvironment();
        ASSERT_TRUE(AddUnitInterface());
        // The task is the launcher's child; it becomes ours when the launcher exits.
        if (prctl(PR_SET_CHILD_SUBREAPER, 1) != 0 && Emulator()) {
            // Every test here runs the task, which does not start without IP_MULTICAST_IF.
            GTEST_SKIP() << Emulator() << " refuses PR_SET_CHILD_SUBREAPER and IP_MULTICAST_IF";
        }
        ASSERT_EQ(prctl(PR_SET_CHILD_SUBREAPER, 1), 0);
    }

    void TearDown() override
    {
        for (const pid_t pid : m_Reap) {
            kill(pid, SIGKILL);
        }
        while (waitpid(-1, nullptr, WNOHANG) > 0) {
        }
    }

    // Runs the task as the service does; the launcher's exit status, or -1
    // when it did not exit (an abort).
    int Launch()
    {
        const int status = LaunchTask(m_Sandbox / "task.out");
        if (const pid_t task = TaskPidFromPidFile(); task > 0) {
            m_Reap.push_back(task);
        }
        return status;
    }

    std::string Db(const std::string& Name) const { return m_Sandbox / ("nonpersisted/" + Name); }

    CSandbox m_Sandbox;
    std::vector<pid_t> m_Reap;
};

TEST_F(VeskUnitNetTest, ACompleteUnitPassesAndAPartialOneHasEachFaultNamed)
{
    const ToolRun_T clean = RunTool({"check"});
    EXPECT_EQ(clean.Exit, 0) << clean.Output;
    EXPECT_TRUE(clean.Says("network: sends from 10.0.0.2")) << clean.Output;
    EXPECT_TRUE(clean.Says("check: a start can succeed")) << clean.Output;
    // A dump that receives nothing did not see what it was run for.
    const ToolRun_T silent = RunTool({"dump", "--group", "127.0.0.1", "--port", "3999", "--seconds", "1"});
    EXPECT_EQ(silent.Exit, 1) << silent.Output;
    EXPECT_TRUE(silent.Says("vesk dump: nothing received")) << silent.Output;

    struct Fault_T {
        const char* Variable;
        std::string Value; // "unset" unsets it
        std::string Named;
    };
    const std::string file = m_Sandbox.WriteFile("plain", "x");
    const Fault_T faults[] = {
        {"IPC_LED_TASK", "unset", "PROBLEM IPC_LED_TASK: is not set"},
        {"IPC_ERROR_HANDLER_TASK", file, "IPC_ERROR_HANDLER_TASK=" + file + ": is not a FIFO"},
        {"PID_LOCATION", m_Sandbox / "gone", "PID_LOCATION=" + (m_Sandbox / "gone") + ": cannot be used"},
        {"NONPERSISTED_DATABASE_ROOT", "unset", "PROBLEM NONPERSISTED_DATABASE_ROOT: is not set"},
        {"DATABASE_DIR_SYSTEM_DATA", file, "DATABASE_DIR_SYSTEM_DATA=" + file + ": is not a directory"},
        {"DATABASE_DIR_PING_PARAMETERS", "relative", "is not an absolute path"},
        {"ROOT_DIR", "", "PROBLEM ROOT_DIR: is empty"},
        {"SECONDARY_PING_TASK_FILE_EXTENSTION", "PPT", "equals the primary's"},
        {"DATA_PORT_OVERRIDE", "32o1", "DATA_PORT_OVERRIDE=32o1: is not a decimal number"},
        {"CONTROL_PORT_OVERRIDE", "70000", "CONTROL_PORT_OVERRIDE=70000: is outside 1..65535"},
        {"PRODUCT_ID", getenv("PRODUCT_ID_DUSKO4"), "PRODUCT_ID: is not a product of family 9"},
    };
    for (const Fault_T& fault : faults) {
        m_Sandbox.SetEnv(fault.Variable, fault.Value == "unset" ? nullptr : fault.Value.c_str());
    }
    const ToolRun_T partial = RunTool({"check"});
    // Unset variables: what they name could not be looked at.
    EXPECT_EQ(partial.Exit, 3);
    for (const Fault_T& fault : faults) {
        EXPECT_TRUE(partial.Says(fault.Named)) << "expected \"" << fault.Named << "\" in:\n" << partial.Output;
    }
    EXPECT_TRUE(partial.Says("check: 11 problems")) << partial.Output;

    ASSERT_EQ(std::system("ip addr flush dev eth0"), 0);
    EXPECT_TRUE(RunTool({"check"}).Says("PROBLEM network: no interface has a 10.x.x.x address"));
}

TEST_F(VeskUnitNetTest, FilesTheRecordsReplaceThemselvesAreOnlyNoted)
{
    // Short, of another version, of another unit: the records delete and
    // recreate these without stopping the task.
    m_Sandbox.WriteFile("nonpersisted/MasterBottomRecord.bin", std::string(10, '\0'));
    m_Sandbox.WriteFile("nonpersisted/SystemLimits.bin", HeaderBytes(0x270107, 49, 115, 1234, 49));
    m_Sandbox.WriteFile("nonpersisted/EnvironmentLimits.bin", HeaderBytes(0x270105, 35, 116, 99, 35));
    const ToolRun_T run = RunTool({"check"});
    EXPECT_EQ(run.Exit, 0) << run.Output;
    for (const char* noted : {"MasterBottomRecord.bin: 10 bytes, shorter than its 22-byte packet",
                              "SystemLimits.bin: protocol version 115 instead of 116",
                              "EnvironmentLimits.bin: serial number 99 is another unit's"}) {
        EXPECT_TRUE(run.Says(noted)) << run.Output;
    }
}

TEST_F(VeskUnitNetTest, RepairTurnsAnAbortingStartIntoACleanOne)
{
    struct Corruption_T {
        std::string Path;
        std::string Bytes;
        const char* Named;
    };
    const Corruption_T corruptions[] = {
        {Db("MasterBottomRecord.bin"), HeaderBytes(0x270105, 22, 116, 1234, 22),
         "holds message id 0x270105 instead of 0x270108"},
        {m_Sandbox / "systemdata/SystemSettings.bin", HeaderBytes(0x270106, 600, 116, 1234, 562),
         "size field says 600 instead of 562"},
    };
    for (const Corruption_T& corruption : corruptions) {
        SCOPED_TRACE(corruption.Path);
        m_Sandbox.WriteFile(corruption.Path.substr(m_Sandbox.Path().size() + 1), corruption.Bytes);
        // As it stands the task stops on the file before it forks.
        EXPECT_EQ(Launch(), -1);

        const ToolRun_T found = RunTool({"check"});
        EXPECT_EQ(found.Exit, 1);
        EXPECT_TRUE(found.Says("PROBLEM " + corruption.Path + ": " + corruption.Named)) << found.Output;
        EXPECT_TRUE(found.Says("[repairable]")) << found.Output;

        const ToolRun_T repaired = RunTool({"check", "--repair"});
        EXPECT_EQ(repaired.Exit, 0) << repaired.Output;
        EXPECT_TRUE(repaired.Says("repair  " + corruption.Path + ": moved to " + corruption.Path + ".bad-1"))
            << repaired.Output;
        EXPECT_EQ(CSandbox::ReadFile(corruption.Path + ".bad-1"), corruption.Bytes);

        ASSERT_EQ(Launch(), 0) << CSandbox::ReadFile(m_Sandbox / "task.out");
        EXPECT_EQ(CSandbox::ReadFile(corruption.Path).size(), corruption.Bytes.size() == 22 ? 22u : 562u);
        const ToolRun_T stopped = RunTool({"send", "--wait=20", "Shutdown"});
        ASSERT_EQ(stopped.Exit, 0) << stopped.Output;
        EXPECT_EQ(TaskPidFromPidFile(), -1);
    }
}

TEST_F(VeskUnitNetTest, SendWaitsForTheAnswerAndCheckRefusesASecondInstance)
{
    ASSERT_EQ(Launch(), 0) << CSandbox::ReadFile(m_Sandbox / "task.out");

    // The task's PID file (its last line) and the tool state one software version.
    std::string pidFile = CSandbox::ReadFile(std::string(getenv("PID_LOCATION")) + "/" +
                                             std::to_string(m_Reap.at(0)) + ".txt");
    pidFile.pop_back();
    const std::string taskVersion = pidFile.substr(pidFile.rfind('\n') + 1);
    EXPECT_TRUE(RunTool({"--version"}).Says("vesk " + taskVersion + ".")) << taskVersion;

    const ToolRun_T alive = RunTool({"send", "--wait=20", "alive"});
    EXPECT_EQ(alive.Exit, 0) << alive.Output;
    EXPECT_TRUE(alive.Says("acknowledged: MasterBottomTask:ACK_MasterBottomTask")) << alive.Output;

    const ToolRun_T second = RunTool({"check", "--quiet"});
    EXPECT_EQ(second.Exit, 1);
    EXPECT_TRUE(second.Says("the task already runs as process " + std::to_string(m_Reap.at(0)))) << second.Output;

    const ToolRun_T stopped = RunTool({"send", "--wait=20", "shutdown"});
    EXPECT_EQ(stopped.Exit, 0) << stopped.Output;
    EXPECT_TRUE(stopped.Says("the task has ended")) << stopped.Output;
}

TEST_F(VeskUnitNetTest, RepairRemovesThePidFileOfATaskThatDied)
{
    ASSERT_EQ(Launch(), 0) << CSandbox::ReadFile(m_Sandbox / "task.out");
    const pid_t task = m_Reap.at(0);
    kill(task, SIGKILL);
    waitpid(task, nullptr, 0);
    const std::string stale = std::string(getenv("PID_LOCATION")) + "/" + std::to_string(task) + ".txt";
    ASSERT_TRUE(CSandbox::Exists(stale));

    const ToolRun_T noted = RunTool({"check"});
    EXPECT_EQ(noted.Exit, 0) << noted.Output;
    EXPECT_TRUE(noted.Says(stale + ": stale PID file: process " + std::to_string(task) + " no longer runs [repairable]"))
        << noted.Output;
    EXPECT_EQ(RunTool({"send", "alive"}).Exit, 1);
    EXPECT_EQ(RunTool({"check", "--repair"}).Exit, 0);
    EXPECT_FALSE(CSandbox::Exists(stale));
}

} // namespace
