// The factory's file system services, and the file watching it hands out.
#include "Utilities/OSSLinuxFactory.h"

#include <fcntl.h>
#include <poll.h>
#include <sys/inotify.h>
#include <sys/resource.h>
#include <syslog.h>
#include <unistd.h>

#include <gtest/gtest.h>

#include <cerrno>
#include <filesystem>
#include <memory>
#include <set>
#include <string>

#include "Utilities/OSSLinuxNotify.h"
#include "tests/support/Sandbox.h"
#include "tests/support/UnitDouble.h"

class OSSLinuxFactoryTest : public testing::Test {
protected:
    CSandbox m_Sandbox;
    COSSLinuxFactory m_Factory;
};

TEST_F(OSSLinuxFactoryTest, CheckForFileMatchesOnlyARegularFileAndCheckForDirSaysWhyNot)
{
    EXPECT_EQ(COSSLinuxFactory().GetName(), "NoName");
    m_Sandbox.MakeDir("only-ab");
    const std::string file = m_Sandbox.WriteFile("only-ab/ab", "x");
    m_Sandbox.MakeDir("dir-a/a");
    m_Sandbox.MakeDir("file-a");
    m_Sandbox.WriteFile("file-a/a", "x");
    m_Sandbox.MakeDir("link-a");
    ASSERT_EQ(symlink("../file-a/a", (m_Sandbox / "link-a/a").c_str()), 0);
    const std::pair<const char*, bool> rows[] = {
        {"only-ab", false}, {"dir-a", false}, {"file-a", true}, {"link-a", false}, {"missing", false}};
    testing::internal::CaptureStdout();
    for (const auto& [directory, found] : rows) {
        EXPECT_EQ(m_Factory.CheckForFile((m_Sandbox / directory).c_str(), "a"), found) << directory;
    }
    // A name reaching into a sub-directory is no entry of the directory.
    EXPECT_FALSE(m_Factory.CheckForFile(m_Sandbox.Path().c_str(), "file-a/a"));
    EXPECT_TRUE(m_Factory.CheckForDir(m_Sandbox.Path().c_str()));
    EXPECT_FALSE(m_Factory.CheckForDir((m_Sandbox / "missing").c_str()));
    EXPECT_FALSE(m_Factory.CheckForDir(file.c_str()));
    // CheckForFile is silent, even about a missing directory.
    EXPECT_EQ(testing::internal::GetCapturedStdout(),
              "COSSLinuxFactory::CheckForDir: " + m_Sandbox / "missing" + "::No such file or directory " +
                  "COSSLinuxFactory::CheckForDir: " + file + "::Not a directory ");
    EXPECT_DEATH(m_Factory.CheckForFile(m_Sandbox.Path().c_str(), "/a"),
                 "Assertion `\\(FileName\\[0\\] != '/'\\) && \"FileName should not include a leading slash, that "
                 "could be the end of the FullPath\"' failed");
}

TEST_F(OSSLinuxFactoryTest, ShellCommandsIgnoreTheCommandsExitStatusButNotAnOverlongCommand)
{
    const std::string full = m_Sandbox.MakeDir("full");
    m_Sandbox.WriteFile("full/f", "data");
    // rmdir refuses a non-empty directory; that is not the caller's failure.
    EXPECT_EQ(m_Factory.RemoveDirs(full.c_str(), false), SUCCESS);
    EXPECT_TRUE(CSandbox::Exists(full + "/f"));
    // "mkdir -p " and the quoted path (two quotes more) must fit 255 characters.
    const std::string base = m_Sandbox / std::string(100, 'a') + "/";
    const std::string longest = base + std::string(244 - base.size(), 'b');
    EXPECT_EQ(m_Factory.CreateFullPath((longest + "b").c_str()), OSS_FILE_FAILURE);
    EXPECT_FALSE(CSandbox::Exists(base));
    EXPECT_EQ(m_Factory.CreateFullPath(longest.c_str()), SUCCESS);
    EXPECT_TRUE(CSandbox::Exists(longest));
}

TEST_F(OSSLinuxFactoryTest, BackgroundCopyReturnsBeforeTheCopyIsDone)
{
    // cp blocks on an empty FIFO until it is written to, so returning at all
    // shows that the copy runs in the background.
    const std::string source = m_Sandbox.MakeFifo("source");
    const std::string target = m_Sandbox / "target";
    ASSERT_EQ(m_Factory.CopyFile(source.c_str(), target.c_str(), COPY_IN_BACKGROUND), SUCCESS);
    m_Sandbox.WriteFile("source", "data");   // waits for cp to open its end
    // Wait (generously) for cp to finish before the sandbox goes.
    for (int i = 0; i < 3000 && CSandbox::ReadFile(target) != "data"; ++i) {
        usleep(10000);
    }
    EXPECT_EQ(CSandbox::ReadFile(target), "data");
}

TEST_F(OSSLinuxFactoryTest, GetFileSizeReportsAMissingFileOnce)
{
    // The double hands the call to the real factory and records its event.
    CUnitDouble factory;
    const std::string missing = m_Sandbox / "missing";
    EXPECT_EQ(factory.GetFileSize(missing.c_str()), 0);
    EXPECT_EQ(factory.GetFileSize(m_Sandbox.WriteFile("five", "12345").c_str()), 5);
    ASSERT_EQ(factory.m_Events.size(), 1u);
    EXPECT_EQ(factory.m_Events[0].Code, ENOENT);
    EXPECT_EQ(factory.m_Events[0].Why, missing);
}

namespace {

// Every entry below Directory, as paths relative to it.
std::set<std::string> Tree(const std::string& Directory)
{
    std::set<std::string> entries;
    for (const auto& entry : std::filesystem::recursive_directory_iterator(Directory)) {
        entries.insert(std::filesystem::relative(entry.path(), Directory).string());
    }
    return entries;
}

} // namespace

// Paths reach the shell commands as single words: an unquoted blank once made
// "rm -rf" remove a sibling directory. Each path is relative to the working
// directory, so that a leading '-' is where an option would be. The
// neighbours are what the commands would have touched had they split or
// expanded the path; "pwned" is what a command injected after ';' would make.
TEST_F(OSSLinuxFactoryTest, LinkGivesAFileAnotherNameButNeverTakesOneThatIsThere)
{
    const std::string file = m_Sandbox.WriteFile("file", "new");
    const std::string taken = m_Sandbox.WriteFile("taken", "old");
    const std::string dangling = m_Sandbox / "dangling";
    ASSERT_EQ(symlink((m_Sandbox / "nowhere").c_str(), dangling.c_str()), 0);
    EXPECT_EQ(m_Factory.LinkFile(file.c_str(), (m_Sandbox / "name").c_str()), SUCCESS);
    EXPECT_EQ(m_Factory.LinkFile(file.c_str(), taken.c_str()), EEXIST);
    EXPECT_EQ(m_Factory.LinkFile(file.c_str(), dangling.c_str()), EEXIST);
    EXPECT_EQ(CSandbox::ReadFile(taken), "old");
    EXPECT_FALSE(CSandbox::Exists(m_Sandbox / "nowhere"));

    EXPECT_EQ(m_Factory.UnlinkFile(file.c_str()), SUCCESS);
    EXPECT_EQ(m_Factory.UnlinkFile(file.c_str()), ENOENT);
    EXPECT_EQ(CSandbox::ReadFile(m_Sandbox / "name"), "new");
}

// The line is the message, never a format: its '%' characters go to the
// log as they stand.
TEST_F(OSSLinuxFactoryTest, SystemLogTakesTheLineAsItStands)
{
    // Logged without openlog in the product; an echo to stderr shows here
    // what the logger got.
    openlog("vesk-test", LOG_PERROR, LOG_USER);
    testing::internal::CaptureStderr();
    COSSLinuxFactory().WriteSystemLog(LOG_DEBUG, "50%% %s%n% done");
    const std::string logged = testing::internal::GetCapturedStderr();
    openlog(nullptr, 0, LOG_USER);   // closelog alone keeps the echo
    closelog();
    EXPECT_NE(logged.find("vesk-test: 50%% %s%n% done\n"), std::string::npos) << logged;
}

TEST_F(OSSLinuxFactoryTest, ShellCommandsTouchExactlyTheNamedPath)
{
    const std::string names[] = {"a b", "quo'te", "dol$HOME", "semi;touch pwned", "new\nline", "-rf", "star*"};
    const std::set<std::string> neighbours = {"a", "b", "quo", "te", "dol", "semi", "new", "line", "star", "rf"};
    const std::string home = std::filesystem::current_path();
    for (const std::string& name : names) {
        SCOPED_TRACE(name);
        const std::string work = m_Sandbox.MakeDir("work");
        std::set<std::string> expected;
        for (const std::string& neighbour : neighbours) {
            m_Sandbox.WriteFile("work/" + neighbour, "keep");
            expected.insert(neighbour);
        }
        std::filesystem::current_path(work);
        const std::string sub = name + "/sub";
        EXPECT_EQ(m_Factory.CreateFullPath(sub.c_str()), SUCCESS);
        m_Sandbox.WriteFile("work/" + sub + "/f", "data");
        EXPECT_EQ(m_Factory.CopyFile((sub + "/f").c_str(), (name + "/g").c_str(), COPY_AND_WAIT), SUCCESS);
        EXPECT_EQ(m_Factory.MoveFile((name + "/g").c_str(), (name + "/h").c_str()), SUCCESS);
        EXPECT_EQ(CSandbox::ReadFile(work + "/" + name + "/h"), "data");
        EXPECT_EQ(m_Factory.CreateSoftLink((name + "/h").c_str(), "link"), SUCCESS);
        EXPECT_TRUE(std::filesystem::equivalent("link", name + "/h"));
        EXPECT_EQ(m_Factory.CreateFullPath((name + "/copy").c_str()), SUCCESS);
        EXPECT_EQ(m_Factory.CopyDirs(sub.c_str(), (name + "/copy").c_str()), SUCCESS);
        EXPECT_EQ(CSandbox::ReadFile(work + "/" + name + "/copy/f"), "data");
        EXPECT_EQ(m_Factory.RemoveFiles(name.c_str(), "h"), SUCCESS);
        // A pattern in the name still matches.
        EXPECT_EQ(m_Factory.RemoveFiles((name + "/copy").c_str(), "*"), SUCCESS);
        EXPECT_EQ(Tree(name), (std::set<std::string>{"sub", "sub/f", "copy"}));
        EXPECT_EQ(m_Factory.RemoveDirs((name + "/copy").c_str(), false), SUCCESS);
        EXPECT_EQ(m_Factory.RemoveDirs(name.c_str(), true), SUCCESS);
        std::filesystem::current_path(home);
        expected.insert("link");
        EXPECT_EQ(Tree(work), expected);
        for (const std::string& neighbour : neighbours) {
            EXPECT_EQ(CSandbox::ReadFile(work + "/" + neighbour), "keep") << neighbour;
        }
        std::filesystem::remove_all(work);
    }
}

using OSSLinuxNotifyTest = OSSLinuxFactoryTest;

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

namespace {

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

} // namespace

TEST_F(OSSLinuxNotifyTest, AnInstanceThatNeverOpenedClosesNothing)
{
    EXPECT_EXIT(OpenFailsAndNothingIsClosed(), testing::ExitedWithCode(0), "");
}
