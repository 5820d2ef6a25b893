// File watching against real files: a change wakes a poller, failures are
// kept as errno, and an instance that never opened touches no descriptor.
#include "Utilities/OSSLinuxNotify.h"

#include <fcntl.h>
#include <poll.h>
#include <sys/inotify.h>
#include <sys/resource.h>
#include <unistd.h>

#include <memory>

#include <gtest/gtest.h>

#include "tests/support/RecordingFactory.h"
#include "tests/support/Sandbox.h"

namespace {

class OSSLinuxNotifyTest : public testing::Test {
protected:
    CSandbox m_Sandbox;
    CRecordingFactory m_Factory;
};

TEST_F(OSSLinuxNotifyTest, AWrittenFileMakesTheDescriptorReadableWithAModifyEvent)
{
    const std::string path = m_Sandbox.WriteFile("watched", "old");
    const std::unique_ptr<IOSSNotify> notify(m_Factory.CreateNotify());
    ASSERT_EQ(notify->GetLastError(), 0);
    ASSERT_GT(notify->AddToWatch(path.c_str(), IN_MODIFY | IN_CLOSE_WRITE), 0);

    pollfd ready = {notify->GetFileDescriptor(), POLLIN, 0};
    EXPECT_EQ(poll(&ready, 1, 0), 0) << "nothing happened yet";
    m_Sandbox.WriteFile("watched", "new");
    ASSERT_EQ(poll(&ready, 1, -1), 1);
    EXPECT_TRUE(ready.revents & POLLIN);
    EXPECT_TRUE(notify->ReadEvent() & IN_MODIFY);
}

TEST_F(OSSLinuxNotifyTest, WatchingAMissingFileFailsWithItsErrno)
{
    COSSLinuxNotify notify;
    EXPECT_LT(notify.AddToWatch((m_Sandbox / "missing").c_str(), IN_MODIFY), 0);
    EXPECT_EQ(notify.GetLastError(), ENOENT);
    EXPECT_DEATH(notify.AddToWatch(nullptr, IN_MODIFY), "Assertion `FilePathName' failed");
}

// Takes every descriptor slot so that the open fails, then checks that the
// object left all of them alone. Ends the process: 0 when all held.
[[noreturn]] void OpenFailsAndNothingIsClosed()
{
    // One object first, while descriptors are free: a sanitizer's type check
    // needs descriptors of its own the first time it meets the class.
    COSSLinuxNotify{};
    const int highest = dup(0);
    const rlimit limit = {rlim_t(highest) + 1, rlim_t(highest) + 1};
    bool ok = highest > 0 && setrlimit(RLIMIT_NOFILE, &limit) == 0;
    {
        COSSLinuxNotify notify;
        ok = ok && notify.GetLastError() == EMFILE && notify.GetFileDescriptor() == -1;
        ok = ok && notify.AddToWatch("/", IN_MODIFY) == 0 && notify.ReadEvent() == 0;
    }
    for (int fd = 0; fd <= highest; ++fd) {
        ok = ok && fcntl(fd, F_GETFD) != -1;
    }
    _exit(ok ? 0 : 1);
}

TEST_F(OSSLinuxNotifyTest, AnInstanceThatNeverOpenedClosesNothing)
{
    EXPECT_EXIT(OpenFailsAndNothingIsClosed(), testing::ExitedWithCode(0), "");
}

} // namespace
