#include "Utilities/PidFile.h"

#include <sys/wait.h>
#include <unistd.h>

#include <gtest/gtest.h>

#include <cstdio>
#include <filesystem>
#include <fstream>
#include <string>
#include <utility>

#include "Utilities/OSSLinuxFactory.h"
#include "tests/support/Sandbox.h"
#include "tests/support/UnitDouble.h"

namespace {

// Forks a process that writes its PID file as the task "MasterBottomTask"
// after DelayMicroseconds; returns its pid.
pid_t StartWriter(const char* CommandPipe, useconds_t DelayMicroseconds = 0)
{
    const pid_t child = fork();
    if (child == 0) {
        usleep(DelayMicroseconds);
        COSSLinuxFactory factory;
        factory.SetName("MasterBottomTask");
        _exit(CPidFile(&factory, CommandPipe).WritePidFile());
    }
    return child;
}

} // namespace

class PidFileTest : public testing::Test {
protected:
    PidFileTest() { m_Sandbox.SetEnv("PID_LOCATION", (m_Sandbox / "run/pids").c_str()); }
    std::string PathOf(int pid) const { return m_Sandbox / ("run/pids/" + std::to_string(pid) + ".txt"); }

    CSandbox m_Sandbox;
    COSSLinuxFactory m_Factory;
};

// The directory is made on demand; the lines are name, pipe variable, pid
// and version.
TEST_F(PidFileTest, WriterAnnouncesItselfInFileNamedAfterItsPid)
{
    const std::string longest(255, 'P');
    for (const char* pipe : {"IPC_MASTER_BOTTOM_TASK", static_cast<const char*>(nullptr), longest.c_str()}) {
        const pid_t child = StartWriter(pipe);
        waitpid(child, nullptr, 0);
        EXPECT_EQ(CSandbox::ReadFile(PathOf(child)), "MasterBottomTask\n" + std::string(pipe ? pipe : "") + "\n" +
                                                         std::to_string(child) + "\n13.34\n");
    }
    EXPECT_DEATH(CPidFile(&m_Factory, std::string(256, 'P').c_str()),
                 "Assertion `m_CommandPipe\\[sizeof\\(m_CommandPipe\\) - 1\\] == 0' failed");
}

TEST_F(PidFileTest, RemoveDeletesOnlyAFileThisObjectWroteAndTheLocationMustBeSet)
{
    CPidFile pidFile(&m_Factory, nullptr);
    m_Sandbox.MakeDir("run/pids");
    const std::string own = m_Sandbox.WriteFile("run/pids/" + std::to_string(getpid()) + ".txt", "another's\n");
    EXPECT_EQ(pidFile.RemovePidFile(), OSS_FILE_FAILURE);
    EXPECT_EQ(CSandbox::ReadFile(own), "another's\n");
    ASSERT_EQ(pidFile.WritePidFile(), SUCCESS);
    EXPECT_EQ(pidFile.RemovePidFile(), SUCCESS);
    EXPECT_FALSE(CSandbox::Exists(own));

    m_Sandbox.SetEnv("PID_LOCATION", nullptr);
    EXPECT_EQ(pidFile.WritePidFile(), NO_ROOT_DIR_ENVVAR_PRESENT);
    EXPECT_DEATH(pidFile.PidFilePath(1), "PID_LOCATION environment variable not set");
}

// A link at the name is refused as a file that cannot be created, and a
// file whose lines cannot all be written never appears.
TEST_F(PidFileTest, NoFileIsWrittenThroughALinkOrLeftHalfWritten)
{
    CPidFile pidFile(&m_Factory, "IPC_MASTER_BOTTOM_TASK");
    m_Sandbox.MakeDir("run/pids");
    const std::string outside = m_Sandbox.WriteFile("outside", "kept\n");
    const std::string path = PathOf(getpid());
    ASSERT_EQ(symlink(outside.c_str(), path.c_str()), 0);
    EXPECT_EQ(pidFile.WritePidFile(), NO_ROOT_DIR_ENVVAR_PRESENT);
    EXPECT_EQ(CSandbox::ReadFile(outside), "kept\n");
    ASSERT_EQ(unlink(path.c_str()), 0);

    CUnitDouble faulty;
    faulty.SetName("MasterBottomTask");
    CPidFile failing(&faulty, "IPC_MASTER_BOTTOM_TASK");
    faulty.Arm(FAULT_WRITE_STREAM, 3, ENOSPC);
    EXPECT_EQ(failing.WritePidFile(), NO_ROOT_DIR_ENVVAR_PRESENT);
    EXPECT_TRUE(faulty.Fired());
    EXPECT_TRUE(std::filesystem::is_empty(m_Sandbox / "run/pids"));
}

TEST_F(PidFileTest, WaitFindsAFileWrittenLaterByAnotherProcess)
{
    const pid_t child = StartWriter("IPC_MASTER_BOTTOM_TASK", 1500 * 1000);
    EXPECT_TRUE(CPidFile(&m_Factory, nullptr).WaitForPidFile(child));
    waitpid(child, nullptr, 0);
}

// A PID file waiter on a clock of the test's own: each pause moves the clock
// on, and the file appears once the clock passes AppearsAt seconds.
class CClockedPidFile : public CPidFile {
public:
    CClockedPidFile(IOSSFactory* pFactory, std::string Path, double AppearsAt)
        : CPidFile(pFactory, nullptr), m_Path(std::move(Path)), m_AppearsAt(AppearsAt)
    {
    }
    double m_Now = 0;
    int m_Pauses = 0;

protected:
    void Sleep(unsigned Seconds) override
    {
        ++m_Pauses;
        m_Now += Seconds;
        if (m_Now >= m_AppearsAt && !CSandbox::Exists(m_Path)) {
            std::ofstream(m_Path) << "MasterBottomTask\n";
        }
    }

private:
    std::string m_Path;
    double m_AppearsAt;
};

// The parent gives the child eleven seconds, checking once a second from
// the first second on.
TEST_F(PidFileTest, WaitChecksOnceASecondForElevenSeconds)
{
    m_Sandbox.MakeDir("run/pids");
    const struct {
        double AppearsAt;
        bool Found;
        int Pauses;
    } rows[] = {{0.5, true, 1}, {10.5, true, 11}, {11.5, false, 11}};
    for (const auto& row : rows) {
        SCOPED_TRACE(row.AppearsAt);
        const std::string path = PathOf(4321);
        std::remove(path.c_str());
        CClockedPidFile waiter(&m_Factory, path, row.AppearsAt);
        EXPECT_EQ(waiter.WaitForPidFile(4321), row.Found);
        EXPECT_EQ(waiter.m_Pauses, row.Pauses);
    }
}
