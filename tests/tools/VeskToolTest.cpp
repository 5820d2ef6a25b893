// The vesk tool's command line, and the subcommands that need no network:
// run as a process, in a sandboxed unit environment.
#include <signal.h>
#include <sys/prctl.h>
#include <sys/wait.h>
#include <unistd.h>

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
    void TearDown() override
    {
        for (const pid_t child : m_Children) {
            kill(child, SIGKILL);
            waitpid(child, nullptr, 0);
        }
    }

    // A process that sleeps until the test ends, running Executable (a
    // copy of the system's sleep under the name wanted), or this test
    // binary itself when Executable is empty.
    pid_t Start(const std::string& Executable)
    {
        const pid_t child = fork();
        if (child == 0) {
            // Also when the test crashes before its teardown.
            prctl(PR_SET_PDEATHSIG, SIGKILL);
            if (!Executable.empty()) {
                execl(Executable.c_str(), Executable.c_str(), "1000", static_cast<char*>(nullptr));
            }
            pause();
            _exit(0);
        }
        m_Children.push_back(child);
        return child;
    }

    // The PID file the task writes for itself, naming Pid.
    std::string WritePidFile(pid_t Pid)
    {
        return m_Sandbox.WriteFile("pid/" + std::to_string(Pid) + ".txt",
                                   "MasterBottomTask\nIPC_MASTER_BOTTOM_TASK\n" + std::to_string(Pid) + "\n13.34\n");
    }

    CSandbox m_Sandbox;
    COSSLinuxFactory m_Factory;
    std::vector<pid_t> m_Children;
};

TEST_F(VeskToolTest, CommandLineErrorsAreNamedWithTheirExitStatus)
{
    const struct {
        std::vector<std::string> Args;
        int Exit;
        const char* Says;
    } cases[] = {
        {{}, 2, "usage: vesk [--env FILE] COMMAND"},
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
        {{"--version", "extra"}, 2, "--version takes no argument"},
        {{"--env"}, 2, "--env takes"},
        // Without a file name these would listen on the network for ever.
        {{"dump", "--pcap"}, 2, "--pcap takes a value"},
        {{"dump", "--save"}, 2, "--save takes a value"},
        {{"dump", "--save="}, 2, "--save takes a value"},
        {{"pid", "extra"}, 2, "unexpected argument extra"},
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
    for (const char* command : {"dump", "db", "check", "send", "pid", "ping-task", "display", "dissector"}) {
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

// A PID file counts only when its process runs the task's executable: a
// number reused by another process after a crash, or a planted file, is
// stale, and that process is left alone.
TEST_F(VeskToolTest, OnlyAProcessOfTheTasksExecutableCountsAsTheRunningTask)
{
    const pid_t unrelated = Start("");
    const std::string stale = WritePidFile(unrelated);
    EXPECT_EQ(RunTool({"pid"}).Exit, 1);
    const ToolRun_T noted = RunTool({"check"});
    EXPECT_TRUE(noted.Says("note    " + stale + ": stale PID file: process " + std::to_string(unrelated) +
                           " is not the task [repairable]"))
        << noted.Output;
    EXPECT_FALSE(noted.Says("already runs")) << noted.Output;
    // Nothing is sent into the pipe of a task that is not there.
    const ToolRun_T sent = RunTool({"send", "--wait=1", "shutdown"});
    EXPECT_EQ(sent.Exit, 1);
    EXPECT_TRUE(sent.Says("no running task serves IPC_MASTER_BOTTOM_TASK")) << sent.Output;

    const ToolRun_T repaired = RunTool({"check", "--repair"});
    EXPECT_TRUE(repaired.Says("repair  " + stale + ": removed: stale PID file")) << repaired.Output;
    EXPECT_FALSE(CSandbox::Exists(stale));
    EXPECT_EQ(waitpid(unrelated, nullptr, WNOHANG), 0) << "the unrelated process survives";

    // A process of an executable called as the task's is the task, also
    // after its file was replaced (as a package upgrade does).
    const std::string executable = m_Sandbox / "MasterBottomTask";
    ASSERT_EQ(std::system(("cp /bin/sleep '" + executable + "'").c_str()), 0);
    const pid_t task = Start(executable);
    const std::string running = WritePidFile(task);
    // Until exec has happened the child still runs this test's binary.
    for (int i = 0; i < 1000 && RunTool({"pid"}).Exit != 0; ++i) {
        usleep(10000);
    }
    ASSERT_EQ(unlink(executable.c_str()), 0);
    const ToolRun_T pid = RunTool({"pid"});
    EXPECT_EQ(pid.Exit, 0) << pid.Output;
    EXPECT_EQ(pid.Output, std::to_string(task) + "\n");
    const ToolRun_T second = RunTool({"check", "--repair"});
    EXPECT_TRUE(second.Says("PROBLEM " + running + ": the task already runs as process " + std::to_string(task)))
        << second.Output;
    EXPECT_TRUE(CSandbox::Exists(running));

    m_Sandbox.SetEnv("PID_LOCATION", nullptr);
    const ToolRun_T unset = RunTool({"pid"});
    EXPECT_EQ(unset.Exit, 3);
    EXPECT_TRUE(unset.Says("PID_LOCATION is not set")) << unset.Output;
}

// The unit's environment file fills in what the environment does not set.
TEST_F(VeskToolTest, TheEnvironmentFileSetsWhatIsNotSetAlready)
{
    const std::string fromFile = m_Sandbox.MakeDir("fromfile");
    const std::string file = m_Sandbox.WriteFile(
        "unit.env", "# the unit's settings\n\nNONPERSISTED_DATABASE_ROOT=\"" + fromFile + "\"\nPID_LOCATION='" +
                        fromFile + "'\n");
    m_Sandbox.SetEnv("NONPERSISTED_DATABASE_ROOT", nullptr);
    m_Sandbox.SetEnv("PID_LOCATION", nullptr);
    // Nothing is read unless asked for (the tests never read the unit's).
    EXPECT_EQ(RunTool({"pid"}).Exit, 3);

    m_Sandbox.SetEnv("VESK_ENV_FILE", file.c_str());
    EXPECT_EQ(RunTool({"pid"}).Exit, 1);
    const ToolRun_T shown = RunTool({"db", "show", "MasterBottomRecord"});
    EXPECT_TRUE(shown.Says(fromFile + "/MasterBottomRecord.bin cannot be read: missing")) << shown.Output;

    // A variable set explicitly wins over the file.
    m_Sandbox.SetEnv("NONPERSISTED_DATABASE_ROOT", (m_Sandbox / "nonpersisted").c_str());
    const ToolRun_T explicitly = RunTool({"db", "show", "MasterBottomRecord"});
    EXPECT_TRUE(explicitly.Says(m_Sandbox / "nonpersisted/MasterBottomRecord.bin")) << explicitly.Output;

    // A file asked for must be there and well formed; --env comes first.
    const std::string bad = m_Sandbox.WriteFile("bad.env", "# fine\nA=1\nthis is no assignment\n");
    for (const std::vector<std::string>& args :
         {std::vector<std::string>{"--env", m_Sandbox / "missing.env", "pid"}, {"--env", bad, "pid"}}) {
        const ToolRun_T refused = RunTool(args);
        EXPECT_EQ(refused.Exit, 3) << refused.Output;
        EXPECT_TRUE(refused.Says(args[1])) << refused.Output;
    }
    EXPECT_TRUE(RunTool({"--env", bad, "pid"}).Says(bad + ":3: not NAME=VALUE"));
    m_Sandbox.SetEnv("VESK_ENV_FILE", (m_Sandbox / "missing.env").c_str());
    EXPECT_EQ(RunTool({"pid"}).Exit, 3);
    m_Sandbox.SetEnv("PID_LOCATION", nullptr);
    EXPECT_EQ(RunTool({"--env", file, "pid"}).Exit, 1) << "--env wins over VESK_ENV_FILE";
}

} // namespace
