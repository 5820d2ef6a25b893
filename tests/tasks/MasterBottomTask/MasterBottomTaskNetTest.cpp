// The task as the unit runs it: the real executable, started the way the
// start-up scripts start it, in a network namespace where eth0 has
// 10.0.0.2/24, listened to as a display unit listens to it.
#include <fcntl.h>
#include <poll.h>
#include <signal.h>
#include <sys/prctl.h>
#include <sys/socket.h>
#include <sys/wait.h>
#include <unistd.h>

#include <gtest/gtest.h>

#include <algorithm>
#include <cerrno>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <memory>
#include <sstream>
#include <string>
#include <thread>
#include <tuple>
#include <vector>

#include "Database/DatabaseLocalBottomRecord.h"
#include "Database/DatabaseMasterBottomRecordMessage.h"
#include "Database/DatabaseSystemSettingsMessage.h"
#include "Utilities/OSSLinuxFactory.h"
#include "tasks/MasterBottomTask/MasterBottomDepth.h"
#include "tests/support/TargetCommand.h"
#include "tests/support/FifoReader.h"
#include "tests/support/FileHolder.h"
#include "tests/support/Sandbox.h"
#include "tests/support/UnitProcess.h"

namespace {

using Clock = std::chrono::steady_clock;
// Only a bound on how long a broken task is waited for, never a measure.
constexpr auto cPatience = std::chrono::seconds(20);
// The task's answer to "Are You Alive?", as the error handler receives it.
const std::string cAck = std::string("MasterBottomTask:ACK_MasterBottomTask") + '\0';

class MasterBottomTaskNetTest : public ::testing::Test {
protected:
    void SetUp() override
    {
        m_Sandbox.SetUnitEnvironment();
        ASSERT_TRUE(AddUnitInterface());
        // The task is the launcher's child; it becomes ours when the launcher exits.
        if (prctl(PR_SET_CHILD_SUBREAPER, 1) != 0) {
            // Then only the tests that see the launcher alone can run.
            ASSERT_NE(Emulator(), nullptr) << "PR_SET_CHILD_SUBREAPER: " << std::strerror(errno);
            m_TaskNotReapable = true;
        }
        m_Receiver = OpenDisplayReceiver();
        ASSERT_GE(m_Receiver, 0);
        m_ErrorHandler.reset(new CFifoReader(std::getenv("IPC_ERROR_HANDLER_TASK")));
    }

    void TearDown() override
    {
        m_Others.push_back(m_TaskPid);
        for (const pid_t other : m_Others) {
            if (other > 0 && kill(other, 0) == 0) {
                kill(other, SIGKILL);
                waitpid(other, nullptr, 0);
            }
        }
        if (m_Receiver >= 0) {
            close(m_Receiver);
        }
    }

    // Runs the executable as the start-up scripts do; returns the launcher's
    // exit status. The output of both processes goes to task.out.
    int Launch()
    {
        const int status = LaunchTask(m_Sandbox / "task.out");
        m_TaskPid = TaskPidFromPidFile();
        return status;
    }

    std::string PidFilePath() const
    {
        return std::string(std::getenv("PID_LOCATION")) + "/" + std::to_string(m_TaskPid) + ".txt";
    }

    std::string Output() const { return CSandbox::ReadFile(m_Sandbox / "task.out"); }
    static std::string RecordPath()
    {
        return std::string(std::getenv("NONPERSISTED_DATABASE_ROOT")) + "/MasterBottomRecord.bin";
    }

    // Into the command pipe of the unit in the environment, or into Pipe.
    void SendCommand(const std::string& Command, const std::string& Pipe = "")
    {
        const int fd = open(Pipe.empty() ? std::getenv("IPC_MASTER_BOTTOM_TASK") : Pipe.c_str(), O_WRONLY | O_NONBLOCK);
        ASSERT_GE(fd, 0);
        ASSERT_EQ(write(fd, Command.c_str(), Command.size() + 1), static_cast<ssize_t>(Command.size() + 1));
        close(fd);
    }

    // What reaches the error handler's pipe until an acknowledgement's
    // length has come, or until the patience is over.
    std::string AwaitAck()
    {
        std::string received;
        for (const auto deadline = Clock::now() + cPatience; received.size() < cAck.size() && Clock::now() < deadline;) {
            received += m_ErrorHandler->Drain();
            std::this_thread::sleep_for(std::chrono::milliseconds(5));
        }
        return received;
    }

    // Exit status of the task after it has ended by itself (a task that
    // never ends is caught by the test's time limit).
    int WaitForTaskExit()
    {
        int status = 0;
        const pid_t ended = waitpid(m_TaskPid, &status, 0);
        m_TaskPid = -1;
        return ended > 0 && WIFEXITED(status) ? WEXITSTATUS(status) : -1;
    }

    // Stores what the ping tasks and the settings would store, waiting out
    // the task's own brief hold of a file.
    template <typename Record>
    static void Store(Record& record)
    {
        VeskEventCode_T status;
        while ((status = record.writeDB()) == FILE_ACCESS_DENIED) {
            std::this_thread::sleep_for(std::chrono::milliseconds(1));
        }
        ASSERT_EQ(status, SUCCESS);
    }

    void SetInputs(uint8_t SecondaryState, int32_t SecondaryDepth, uint8_t PrimaryState, int32_t PrimaryDepth,
                   int32_t Offset)
    {
        CDatabaseSystemSettingsMessage settings(&m_Factory);
        settings.SetDepthOffset(Offset);
        Store(settings);
        const auto storeBottom = [this](const char* Name, uint8_t State, int32_t Depth) {
            CDatabaseLocalBottomRecord bottom(&m_Factory, Name);
            bottom.SetState(State);
            bottom.SetDepth(Depth);
            Store(bottom);
        };
        storeBottom("SPT", SecondaryState, SecondaryDepth);
        storeBottom("PPT", PrimaryState, PrimaryDepth);
    }

    // The next datagram, its size in Size; false when none came in time
    // (or, with Wait false, when none is queued).
    bool NextPacket(Sonar4MasterBottomRecordPacket& Packet, size_t& Size, bool Wait = true)
    {
        pollfd ready{m_Receiver, POLLIN, 0};
        if (poll(&ready, 1, Wait ? static_cast<int>(cPatience.count() * 1000) : 0) <= 0) {
            return false;
        }
        uint8_t datagram[1500];
        const ssize_t received = recv(m_Receiver, datagram, sizeof(datagram), 0);
        Size = received > 0 ? static_cast<size_t>(received) : 0;
        Packet = Sonar4MasterBottomRecordPacket{};
        std::memcpy(Packet.data(), datagram, std::min(Size, sizeof(Packet)));
        return true;
    }

    bool ReceiveMasterBottom(int32_t Depth, uint8_t OffsetMode)
    {
        Sonar4MasterBottomRecordPacket packet;
        size_t size;
        // The task broadcasts every turn, so a wrong value must not keep
        // the loop going past the deadline.
        for (const auto deadline = Clock::now() + cPatience; Clock::now() < deadline && NextPacket(packet, size);) {
            if (packet.GetMasterDepth() == Depth && packet.GetOffsetMode() == OffsetMode) {
                return true;
            }
        }
        return false;
    }

    CSandbox m_Sandbox;
    COSSLinuxFactory m_Factory;
    int m_Receiver = -1;
    std::unique_ptr<CFifoReader> m_ErrorHandler;
    pid_t m_TaskPid = -1;
    // Further tasks a test started, ended with it.
    std::vector<pid_t> m_Others;
    bool m_TaskNotReapable = false;
};

// The task's broadcasts need IP_MULTICAST_IF and waiting for it needs
// PR_SET_CHILD_SUBREAPER; qemu-user refuses both.
#define SKIP_IF_THE_TASK_CANNOT_BE_FOLLOWED()                                                                   \
    if (m_TaskNotReapable) {                                                                                     \
        GTEST_SKIP() << Emulator() << " refuses PR_SET_CHILD_SUBREAPER and IP_MULTICAST_IF";                     \
    }

TEST_F(MasterBottomTaskNetTest, BroadcastsTheRecordAndFollowsTheMasterBottomRules)
{
    SKIP_IF_THE_TASK_CANNOT_BE_FOLLOWED();
    ASSERT_EQ(Launch(), 0) << Output();
    ASSERT_GT(m_TaskPid, 0);
    ASSERT_TRUE(CSandbox::Exists(PidFilePath()));

    // The rules themselves are proven on their own; here every kind of input
    // must reach the broadcast through the files.
    std::vector<std::tuple<uint8_t, int32_t, uint8_t, int32_t, int32_t>> rows;
    for (const int32_t offset : {-300, 0, 250}) {
        for (const uint8_t ss : {0, 1, 2}) {
            for (const uint8_t sp : {0, 1, 2}) {
                rows.emplace_back(ss, 1200, sp, 1500, offset);
            }
        }
        rows.emplace_back(2, 1500, 2, 1200, offset);
        rows.emplace_back(2, 800, 2, 800, offset);
    }
    for (const auto& [ss, ds, sp, dp, offset] : rows) {
        SetInputs(ss, ds, sp, dp, offset);
        EXPECT_TRUE(ReceiveMasterBottom(MasterBottomDepth::Compute(ss, ds, sp, dp, offset),
                                        MasterBottomDepth::OffsetMode(offset)))
            << "Ss=" << int(ss) << " Ds=" << ds << " Sp=" << int(sp) << " Dp=" << dp << " O=" << offset;
    }

    // With the inputs steady, every packet is the record file, byte for byte.
    Sonar4MasterBottomRecordPacket last{};
    size_t lastSize;
    ASSERT_TRUE(NextPacket(last, lastSize));
    EXPECT_EQ(lastSize, 22u);
    EXPECT_EQ(CSandbox::ReadFile(RecordPath()), std::string(reinterpret_cast<const char*>(last.data()), sizeof(last)));

    EXPECT_EQ(Output().find("3::"), std::string::npos) << Output();
}

// An answered command leaves no event; one the task does not serve does.
TEST_F(MasterBottomTaskNetTest, AnswersAreYouAliveOnceAndSilentlyAndReportsCommandsItDoesNotServe)
{
    SKIP_IF_THE_TASK_CANNOT_BE_FOLLOWED();
    ASSERT_EQ(Launch(), 0) << Output();
    const std::string before = Output();
    SendCommand("Are You Alive?");
    const std::string received = AwaitAck();
    EXPECT_EQ(Output(), before);
    SendCommand("UpdateSystemSettings");
    SendCommand("Shutdown");
    ASSERT_EQ(WaitForTaskExit(), 0);
    EXPECT_EQ(received + m_ErrorHandler->Drain(), cAck);
    const std::string output = Output();
    EXPECT_NE(output.find("3::MasterBottomTask:PIPE_COMMAND_UNKNOWN (-127) @ "), std::string::npos) << output;
    EXPECT_NE(output.find(" in MasterBottomTask::Start because Command decode Unknown (OptDebug Build)\n"),
              std::string::npos)
        << output;
}

TEST_F(MasterBottomTaskNetTest, ShutdownBroadcastsOnceMoreThenEndsCleanly)
{
    SKIP_IF_THE_TASK_CANNOT_BE_FOLLOWED();
    SetInputs(2, 1000, 0, 0, 0);
    ASSERT_EQ(Launch(), 0) << Output();
    ASSERT_TRUE(ReceiveMasterBottom(1000, 0));
    const std::string pidFile = PidFilePath();

    // Held still, the task sees the new inputs and the command together: the
    // one turn that reads "Shutdown" must still update and broadcast.
    ASSERT_EQ(kill(m_TaskPid, SIGSTOP), 0);
    SetInputs(2, 4321, 0, 0, -1);
    SendCommand("Shutdown");
    Sonar4MasterBottomRecordPacket last{};
    size_t size;
    while (NextPacket(last, size, false)) {
    }
    ASSERT_EQ(kill(m_TaskPid, SIGCONT), 0);
    ASSERT_EQ(WaitForTaskExit(), 0);

    // Everything the task sent is queued by now; the last packet counts.
    last = Sonar4MasterBottomRecordPacket{};
    while (NextPacket(last, size, false)) {
    }
    EXPECT_EQ(last.GetMasterDepth(), 4320);
    EXPECT_EQ(last.GetOffsetMode(), 1);

    EXPECT_FALSE(CSandbox::Exists(pidFile));
    const std::string output = Output();
    const std::string ending = "6::MasterBottomTask:Shutdown task request (-135) @ ";
    const size_t at = output.rfind(ending);
    ASSERT_NE(at, std::string::npos) << output;
    EXPECT_NE(output.find(" in MasterBottomTask::Start because MasterBottomTask Task ending (OptDebug Build)\n", at),
              std::string::npos);
}

// Started with standard streams closed ("MasterBottomTask >&-", also
// "2>&-" and "<&-"), the task holds them on /dev/null: its command pipe
// gets a descriptor of its own, so no event line lands in it, it broadcasts
// as often as a task started as usual beside it, and it answers and stops.
TEST_F(MasterBottomTaskNetTest, StartedWithClosedStandardStreamsItBroadcastsAsOftenAndServesItsCommandPipe)
{
    SKIP_IF_THE_TASK_CANNOT_BE_FOLLOWED();
    const CTargetCommand task(VESK_TASK_BINARY);
    const std::string commandPipe = std::getenv("IPC_MASTER_BOTTOM_TASK");
    const std::string output = m_Sandbox / "task.out";
    const std::vector<int> rows[] = {
        {STDOUT_FILENO}, {STDOUT_FILENO, STDERR_FILENO}, {STDIN_FILENO, STDOUT_FILENO, STDERR_FILENO}};
    for (const std::vector<int>& closed : rows) {
        SCOPED_TRACE("descriptors closed: " + std::to_string(closed.size()));
        SetInputs(2, 2000, 0, 0, 0);
        std::fflush(nullptr);
        const pid_t launcher = fork();
        if (launcher == 0) {
            const int errors = open(output.c_str(), O_WRONLY | O_CREAT | O_APPEND, 0640);
            dup2(errors, STDERR_FILENO);
            close(errors);
            for (const int fd : closed) {
                close(fd);
            }
            task.Exec();
            _exit(127);
        }
        int status = -1;
        ASSERT_EQ(waitpid(launcher, &status, 0), launcher);
        ASSERT_TRUE(WIFEXITED(status) && WEXITSTATUS(status) == 0) << status << Output();
        m_TaskPid = TaskPidFromPidFile();
        ASSERT_GT(m_TaskPid, 0);

        const std::string descriptors = "/proc/" + std::to_string(m_TaskPid) + "/fd";
        const auto target = [&](const std::string& Name) {
            char text[4096] = {};
            const ssize_t length = readlink((descriptors + "/" + Name).c_str(), text, sizeof(text) - 1);
            return std::string(text, length > 0 ? static_cast<size_t>(length) : 0);
        };
        for (const int fd : closed) {
            EXPECT_EQ(target(std::to_string(fd)), "/dev/null") << fd;
        }
        int pipeDescriptor = -1;
        for (const auto& entry : std::filesystem::directory_iterator(descriptors)) {
            if (target(entry.path().filename()) == commandPipe) {
                pipeDescriptor = std::atoi(entry.path().filename().c_str());
            }
        }
        EXPECT_GE(pipeDescriptor, 3);

        {
            // A task started as usual in a unit of its own, at the same time
            // and so under the same load; the depth tells whose a datagram is.
            CSandbox unit;
            unit.SetUnitEnvironment();
            SetInputs(2, 1000, 0, 0, 0);
            ASSERT_EQ(LaunchTask(unit / "task.out"), 0) << CSandbox::ReadFile(unit / "task.out");
            const pid_t reference = TaskPidFromPidFile();
            ASSERT_GT(reference, 0);
            m_Others.push_back(reference);
            ASSERT_TRUE(ReceiveMasterBottom(1000, 0));
            Sonar4MasterBottomRecordPacket packet;
            size_t size;
            while (NextPacket(packet, size, false)) {
            }
            int usual = 0;
            int withClosed = 0;
            while (usual + withClosed < 200 && NextPacket(packet, size)) {
                usual += packet.GetMasterDepth() == 1000;
                withClosed += packet.GetMasterDepth() == 2000;
            }
            EXPECT_GE(withClosed * 2, usual) << "started as usual: " << usual << ", with closed streams: " << withClosed;
            SendCommand("Shutdown");
            ASSERT_EQ(waitpid(reference, nullptr, 0), reference);
            m_Others.pop_back();
        }

        SendCommand("Are You Alive?", commandPipe);
        EXPECT_EQ(AwaitAck(), cAck);
        SendCommand("Shutdown", commandPipe);
        EXPECT_EQ(WaitForTaskExit(), 0);
    }
}

// Links planted at the names the task writes, pointing out of the unit:
// none is written through, and each store fails as a failed open fails.
TEST_F(MasterBottomTaskNetTest, NothingIsWrittenThroughALinkAtANameTheTaskWrites)
{
    SKIP_IF_THE_TASK_CANNOT_BE_FOLLOWED();
    const std::string outside = m_Sandbox.WriteFile("outside", "not the unit's");
    const std::string nonpersisted = std::getenv("NONPERSISTED_DATABASE_ROOT");
    const std::string systemData = std::getenv("DATABASE_DIR_SYSTEM_DATA");
    const std::string links[] = {nonpersisted + "/MasterBottomRecord.bin", nonpersisted + "/LocalBottomStatePPT.txt",
                                 nonpersisted + "/LocalBottomStateSPT.txt", systemData + "/SystemSettings.bin",
                                 systemData + "/ServiceInfo.bin", m_Sandbox / "error-handler.fifo"};
    for (const std::string& link : links) {
        ASSERT_EQ(symlink(outside.c_str(), link.c_str()), 0) << link;
    }
    m_Sandbox.SetEnv("IPC_ERROR_HANDLER_TASK", links[5].c_str());

    ASSERT_EQ(Launch(), 0) << Output();
    const std::string refused = std::string("3::MasterBottomTask:") + std::strerror(ELOOP) + " (40) @ ";
    const std::string failedStore = " in MasterBottomTask::SetMasterBottomRecord because Failed to write "
                                    "MasterBottomRecord (OptDebug Build)\n";
    for (const auto deadline = Clock::now() + cPatience;
         Output().find(failedStore) == std::string::npos && Clock::now() < deadline;) {
        std::this_thread::sleep_for(std::chrono::milliseconds(5));
    }
    SendCommand("Are You Alive?");
    SendCommand("Shutdown");
    ASSERT_EQ(WaitForTaskExit(), 0);

    EXPECT_EQ(CSandbox::ReadFile(outside), "not the unit's");
    for (const std::string& link : links) {
        EXPECT_TRUE(std::filesystem::is_symlink(link)) << link;
    }
    const std::string output = Output();
    const size_t store = output.find(failedStore);
    ASSERT_NE(store, std::string::npos) << output;
    EXPECT_EQ(output.rfind(refused, store), output.rfind("3::", store)) << output;
    for (const char* made : {" in CDatabaseServiceInfoMessage constructor because failed to write to DB",
                             " in CDatabaseLocalBottomRecord CheckForFile because failed to write to DB"}) {
        EXPECT_NE(output.find(made), std::string::npos) << made << "\n" << output;
    }
}

TEST_F(MasterBottomTaskNetTest, AWriterHoldingTheRecordIsNoError)
{
    SKIP_IF_THE_TASK_CANNOT_BE_FOLLOWED();
    SetInputs(2, 2000, 2, 2100, 0);
    ASSERT_EQ(Launch(), 0) << Output();
    ASSERT_TRUE(ReceiveMasterBottom(2000, 0));

    // The task itself holds the file for a moment on every turn.
    std::unique_ptr<CFileHolder> writer;
    do {
        writer.reset(new CFileHolder(RecordPath(), O_WRONLY));
    } while (writer->OpenError() == FILE_ACCESS_DENIED);
    ASSERT_EQ(writer->OpenError(), 0);
    // The task keeps turning while the record is held: the other bottoms
    // change underneath, unseen until the hold ends.
    SetInputs(2, 2500, 2, 2600, 0);
    std::this_thread::sleep_for(std::chrono::milliseconds(300));
    writer->Release();

    EXPECT_TRUE(ReceiveMasterBottom(2500, 0));
    const std::string output = Output();
    EXPECT_EQ(output.find("Failed to write MasterBottomRecord"), std::string::npos) << output;
    EXPECT_EQ(output.find("3::"), std::string::npos) << output;
}

// Counted, never timed: the system calls of each steady turn, from a trace
// of the real task over a few hundred turns. The files are opened afresh on
// every turn (another task may have replaced one), but nothing else is paid
// for twice.
TEST_F(MasterBottomTaskNetTest, ASteadyTurnMakesAtMostThirtySystemCalls)
{
    SKIP_IF_THE_TASK_CANNOT_BE_FOLLOWED();
    ASSERT_EQ(std::system("command -v strace >/dev/null"), 0) << "strace is missing: tools/install-deps.sh installs it";
    SetInputs(2, 1200, 2, 1500, -300);
    const std::string trace = m_Sandbox / "trace";
    std::fflush(stdout);
    const pid_t tracer = fork();
    if (tracer == 0) {
        const int fd = open((m_Sandbox / "task.out").c_str(), O_WRONLY | O_CREAT | O_APPEND, 0640);
        dup2(fd, STDOUT_FILENO);
        dup2(fd, STDERR_FILENO);
        // The leak checker of a sanitized build cannot run under a tracer.
        setenv("ASAN_OPTIONS", "detect_leaks=0", 1);
        execlp("strace", "strace", "-f", "-qq", "-o", trace.c_str(), VESK_TASK_BINARY, static_cast<char*>(nullptr));
        _exit(127);
    }
    for (const auto deadline = Clock::now() + cPatience; m_TaskPid <= 0 && Clock::now() < deadline;) {
        std::this_thread::sleep_for(std::chrono::milliseconds(10));
        m_TaskPid = TaskPidFromPidFile();
    }
    ASSERT_GT(m_TaskPid, 0) << Output();
    const pid_t task = m_TaskPid;
    Sonar4MasterBottomRecordPacket packet;
    size_t size;
    for (int turn = 0; turn < 300; ++turn) {
        ASSERT_TRUE(NextPacket(packet, size));
    }
    SendCommand("Shutdown");
    ASSERT_EQ(WaitForTaskExit(), 0);
    ASSERT_EQ(waitpid(tracer, nullptr, 0), tracer);

    // The task's calls, a turn starting at each poll of the command pipe.
    std::istringstream lines(CSandbox::ReadFile(trace));
    const std::string own = std::to_string(task) + " ";
    std::vector<std::vector<std::string>> turns;
    for (std::string line; std::getline(lines, line);) {
        if (line.compare(0, own.size(), own) != 0) {
            continue;
        }
        const std::string call = line.substr(line.find_first_not_of(' ', own.size()));
        // Signals, exits and the second half of an interrupted call are no calls.
        if (call.rfind("<...", 0) == 0 || call.rfind("---", 0) == 0 || call.rfind("+++", 0) == 0) {
            continue;
        }
        if (call.rfind("poll(", 0) == 0) {
            turns.emplace_back();
        }
        if (!turns.empty()) {
            turns.back().push_back(call);
        }
    }
    ASSERT_GE(turns.size(), 300u);
    // The first turns make the files; the last one reads "Shutdown".
    const auto worst = std::max_element(turns.begin() + 50, turns.end() - 50,
                                        [](const auto& A, const auto& B) { return A.size() < B.size(); });
    std::string listing;
    for (const std::string& call : *worst) {
        listing += call.substr(0, call.find('(')) + " ";
    }
    EXPECT_LE(worst->size(), 30u) << listing;
    EXPECT_NE(listing.find("sendto"), std::string::npos) << listing;
}

TEST_F(MasterBottomTaskNetTest, OtherProductsNeedNoMasterBottomTask)
{
    m_Sandbox.SetEnv("PRODUCT_ID", std::getenv("PRODUCT_ID_ORVA1"));
    EXPECT_EQ(Launch(), 0);
    EXPECT_EQ(m_TaskPid, -1);
    // Before the task has named itself, the factory reports as "NoName".
    EXPECT_NE(Output().find("6::NoName:SUCCESS (0) @ "), std::string::npos);
    EXPECT_NE(Output().find(" in MasterBottomTask main() because NO NEED TO LAUNCH MASTERBOTTOM TASK ON THIS "
                            "SOUNDER  (OptDebug Build)\n"),
              std::string::npos)
        << Output();
}

TEST_F(MasterBottomTaskNetTest, ATaskWithoutAFifoAtItsCommandPipeDoesNotStart)
{
    // A missing pipe, and a regular file where the FIFO should be (what a
    // writer that came before the FIFO leaves behind).
    const struct {
        std::string Path;
        std::string Code;
    } rows[] = {{m_Sandbox / "missing/MasterBottomTask.fifo", "No such file or directory (2)"},
                {m_Sandbox.WriteFile("plain.fifo", std::string("Shutdown") + '\0'), "PIPE_OPEN_FAILURE (-110)"}};
    for (const auto& row : rows) {
        SCOPED_TRACE(row.Path);
        m_Sandbox.SetEnv("IPC_MASTER_BOTTOM_TASK", row.Path.c_str());
        std::remove((m_Sandbox / "task.out").c_str());
        EXPECT_EQ(Launch(), 1);
        EXPECT_EQ(m_TaskPid, -1);
        const std::string output = Output();
        EXPECT_NE(output.find("3::MasterBottomTask:" + row.Code + " @ "), std::string::npos) << output;
        EXPECT_NE(output.find(" in MasterBottomTask constructor because cannot use command pipe " + row.Path +
                              " (OptDebug Build)\n"),
                  std::string::npos)
            << output;
        EXPECT_NE(output.find(" in main() because Failed to create MasterBottomTask Task (OptDebug Build)\n"),
                  std::string::npos)
            << output;
        EXPECT_EQ(output.find("MasterBottomTask starting"), std::string::npos) << output;
    }
}

} // namespace
