// The vesk tool's command line, and the subcommands that need no network:
// run as a process, in a sandboxed unit environment.
#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "Database/DatabaseCommandMessage.h"
#include "Database/DatabaseErrorStatusMessage.h"
#include "Database/DatabaseSystemSettingsMessage.h"
#include "Utilities/OSSLinuxFactory.h"
#include "tests/support/FifoReader.h"
#include "tests/support/Sandbox.h"
#include "tests/support/ToolRun.h"

namespace {

class VeskToolTest : public ::testing::Test {
protected:
    void SetUp() override { m_Sandbox.SetUnitEnvironment(); }

    CSandbox m_Sandbox;
    COSSLinuxFactory m_Factory;
};

TEST_F(VeskToolTest, CommandLineErrorsAreNamedWithTheirExitStatus)
{
    const struct {
        std::vector<std::string> Args;
        int Exit;
        const char* Says;
    } cases[] = {
        {{}, 2, "usage: vesk COMMAND"},
        {{"frobnicate"}, 2, "unknown command 'frobnicate'"},
        {{"send"}, 2, "what to send is missing"},
        {{"send", "--wait", "hello"}, 2, "--wait waits for"},
        {{"send", "--wait=0", "Shutdown"}, 2, "--wait takes whole seconds"},
        {{"send", "--bogus", "x"}, 2, "unknown option --bogus"},
        {{"check", "extra"}, 2, "unexpected argument extra"},
        {{"ping-task", "PPT", "2-100"}, 2, "'2-100' is not STATE:DEPTH"},
        {{"ping-task", "PPT", "256:100"}, 2, "'256:100' is not STATE:DEPTH"},
        {{"ping-task", "PPT"}, 2, "no bottoms given"},
        {{"db"}, 2, "what to do is missing"},
        {{"db", "set", "Nope", "X=1"}, 2, "no settable record Nope"},
        {{"db", "set", "SystemSettings", "DepthOffset=abc"}, 2, "is not FIELD=NUMBER"},
        {{"db", "set", "SystemSettings", "Colour=1"}, 2, "no settable field Colour"},
        {{"db", "set", "LocalBottom:PPT", "State=256"}, 2, "State must lie in 0..255"},
        {{"db", "set", "LocalBottom", "State=2"}, 2, "LocalBottom takes its ping task's extension"},
        {{"display", "--seconds", "0"}, 2, "--seconds takes"},
    };
    for (const auto& usage : cases) {
        const ToolRun_T run = RunTool(usage.Args);
        EXPECT_EQ(run.Exit, usage.Exit) << run.Output;
        EXPECT_TRUE(run.Says(usage.Says)) << "expected \"" << usage.Says << "\" in: " << run.Output;
    }
}

TEST_F(VeskToolTest, EverySubcommandHasHelpWithItsExitStatuses)
{
    const ToolRun_T overview = RunTool({"--help"});
    ASSERT_EQ(overview.Exit, 0);
    for (const char* command : {"dump", "db", "check", "send", "ping-task", "display", "dissector"}) {
        if (!overview.Says(std::string("  ") + command + " ")) {
            continue; // not part of this build
        }
        const ToolRun_T help = RunTool({command, "--help"});
        EXPECT_EQ(help.Exit, 0) << command;
        EXPECT_TRUE(help.Says("usage: vesk " + std::string(command))) << help.Output;
        EXPECT_TRUE(help.Says("exit: 0")) << help.Output;
    }
    const ToolRun_T version = RunTool({"--version"});
    EXPECT_EQ(version.Exit, 0);
    EXPECT_EQ(version.Output.compare(0, 5, "vesk "), 0) << version.Output;
}

TEST_F(VeskToolTest, SendRefusesWhenNoTaskServesThePipeAndForceSendsNulTerminated)
{
    CFifoReader pipe(getenv("IPC_MASTER_BOTTOM_TASK"));
    const ToolRun_T refused = RunTool({"send", "shutdown"});
    EXPECT_EQ(refused.Exit, 1);
    EXPECT_TRUE(refused.Says("no running task serves IPC_MASTER_BOTTOM_TASK")) << refused.Output;
    // A refused command must not wait in the FIFO for the next start.
    EXPECT_EQ(pipe.Drain(), "");

    EXPECT_EQ(RunTool({"send", "--force", "shutdown"}).Exit, 0);
    EXPECT_EQ(RunTool({"send", "--force", "LedSetPattern:7"}).Exit, 0);
    EXPECT_EQ(pipe.Drain(), std::string("Shutdown\0LedSetPattern:7\0", 25));

    m_Sandbox.SetEnv("IPC_LED_TASK", nullptr);
    const ToolRun_T unset = RunTool({"send", "--to", "IPC_LED_TASK", "--force", "x"});
    EXPECT_EQ(unset.Exit, 3);
    EXPECT_TRUE(unset.Says("IPC_LED_TASK is not set")) << unset.Output;
}

TEST_F(VeskToolTest, DbSetStoresThroughTheRecordClasses)
{
    ASSERT_EQ(RunTool({"db", "set", "SystemSettings", "DepthOffset=-300"}).Exit, 0);
    ASSERT_EQ(RunTool({"db", "set", "ErrorStatus", "ErrorStatus=0x80000005"}).Exit, 0);
    ASSERT_EQ(RunTool({"db", "set", "LocalBottom:PPT", "Depth=1200", "State=2"}).Exit, 0);
    // The record's validation applies: a code it does not know is stored as 0.
    ASSERT_EQ(RunTool({"db", "set", "Command", "command word=7", "CommandCode=9"}).Exit, 0);

    CDatabaseSystemSettingsMessage settings(&m_Factory);
    EXPECT_EQ(settings.GetDepthOffset(), -300);
    CDatabaseErrorStatusMessage status(&m_Factory);
    EXPECT_EQ(status.GetErrorStatus(), 0x80000005u);
    EXPECT_EQ(CSandbox::ReadFile(m_Sandbox / "nonpersisted/LocalBottomStatePPT.txt"), "1200\n2\n");
    CDatabaseCommandMessage command(&m_Factory);
    EXPECT_EQ(command.GetCommandWord(), 7u);
    EXPECT_EQ(command.GetCommandCode(), 0u);

    // Without its directory the record would be written into "/".
    m_Sandbox.SetEnv("DATABASE_DIR_SYSTEM_DATA", nullptr);
    const ToolRun_T unset = RunTool({"db", "set", "SystemSettings", "DepthOffset=1"});
    EXPECT_EQ(unset.Exit, 3);
    EXPECT_TRUE(unset.Says("DATABASE_DIR_SYSTEM_DATA is not set")) << unset.Output;
    EXPECT_FALSE(CSandbox::Exists("/SystemSettings.bin"));
}

TEST_F(VeskToolTest, PingTaskStepsThroughItsBottoms)
{
    const ToolRun_T run = RunTool({"ping-task", "--interval", "1", "--count", "3", "SPT", "2:100", "1:-5"});
    ASSERT_EQ(run.Exit, 0) << run.Output;
    // Steps 100, -5, 100: the last one written stays.
    EXPECT_EQ(CSandbox::ReadFile(m_Sandbox / "nonpersisted/LocalBottomStateSPT.txt"), "100\n2\n");

    m_Sandbox.SetEnv("NONPERSISTED_DATABASE_ROOT", nullptr);
    EXPECT_EQ(RunTool({"ping-task", "--count", "1", "SPT", "2:1"}).Exit, 3);
}

} // namespace
