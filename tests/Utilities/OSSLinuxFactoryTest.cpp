#include "Utilities/OSSLinuxFactory.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <gtest/gtest.h>

#include <cerrno>
#include <cstring>
#include <string>

#include "tests/support/RecordingFactory.h"
#include "tests/support/Sandbox.h"

class OSSLinuxFactoryTest : public testing::Test {
protected:
    CSandbox m_Sandbox;
    COSSLinuxFactory m_Factory;
};

TEST_F(OSSLinuxFactoryTest, FreshFactoryIsNamedNoNameUntilRenamed)
{
    EXPECT_EQ(m_Factory.GetName(), "NoName");
    m_Factory.SetName("MasterBottomTask");
    EXPECT_EQ(m_Factory.GetName(), "MasterBottomTask");
}

TEST_F(OSSLinuxFactoryTest, CheckForFileMatchesOnlyARegularFileOfExactlyThatName)
{
    m_Sandbox.MakeDir("only-ab");
    m_Sandbox.WriteFile("only-ab/ab", "x");
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
    EXPECT_EQ(testing::internal::GetCapturedStdout(), "");
    EXPECT_DEATH(m_Factory.CheckForFile(m_Sandbox.Path().c_str(), "/a"),
                 "Assertion `\\(FileName\\[0\\] != '/'\\) && \"FileName should not include a leading slash, that "
                 "could be the end of the FullPath\"' failed");
}

TEST_F(OSSLinuxFactoryTest, CheckForDirSaysWhyADirectoryCannotBeOpened)
{
    const std::string missing = m_Sandbox / "missing";
    const std::string file = m_Sandbox.WriteFile("file", "x");
    testing::internal::CaptureStdout();
    EXPECT_TRUE(m_Factory.CheckForDir(m_Sandbox.Path().c_str()));
    EXPECT_FALSE(m_Factory.CheckForDir(missing.c_str()));
    EXPECT_FALSE(m_Factory.CheckForDir(file.c_str()));
    EXPECT_EQ(testing::internal::GetCapturedStdout(),
              "COSSLinuxFactory::CheckForDir: " + missing + "::No such file or directory " +
                  "COSSLinuxFactory::CheckForDir: " + file + "::Not a directory ");
}

TEST_F(OSSLinuxFactoryTest, ShellCommandsDoTheirWorkAndIgnoreTheCommandsExitStatus)
{
    const std::string full = m_Sandbox.MakeDir("full");
    m_Sandbox.WriteFile("full/f", "data");
    const std::string deep = m_Sandbox / "x/y";
    // rmdir refuses a non-empty directory; that is not the caller's failure.
    EXPECT_EQ(m_Factory.RemoveDirs(full.c_str(), false), SUCCESS);
    EXPECT_TRUE(CSandbox::Exists(full + "/f"));
    EXPECT_EQ(m_Factory.CreateFullPath(deep.c_str()), SUCCESS);
    EXPECT_EQ(m_Factory.CopyDirs(full.c_str(), deep.c_str()), SUCCESS);
    EXPECT_EQ(CSandbox::ReadFile(deep + "/f"), "data");
    EXPECT_EQ(m_Factory.CopyFile((full + "/f").c_str(), (m_Sandbox / "c").c_str(), COPY_AND_WAIT), SUCCESS);
    EXPECT_EQ(CSandbox::ReadFile(m_Sandbox / "c"), "data");
    EXPECT_EQ(m_Factory.CopyFile((m_Sandbox / "none").c_str(), (m_Sandbox / "c2").c_str(), COPY_AND_WAIT), SUCCESS);
    EXPECT_EQ(m_Factory.MoveFile((m_Sandbox / "c").c_str(), (m_Sandbox / "d").c_str()), SUCCESS);
    EXPECT_FALSE(CSandbox::Exists(m_Sandbox / "c"));
    EXPECT_EQ(m_Factory.CreateSoftLink((m_Sandbox / "d").c_str(), (m_Sandbox / "l").c_str()), SUCCESS);
    EXPECT_EQ(CSandbox::ReadFile(m_Sandbox / "l"), "data");
    EXPECT_EQ(m_Factory.RemoveFiles(deep.c_str(), "*"), SUCCESS);
    EXPECT_FALSE(CSandbox::Exists(deep + "/f"));
    EXPECT_TRUE(CSandbox::Exists(deep));
    EXPECT_EQ(m_Factory.RemoveDirs(full.c_str(), true), SUCCESS);
    EXPECT_FALSE(CSandbox::Exists(full));
    EXPECT_EQ(m_Factory.Sync(), SUCCESS);
}

TEST_F(OSSLinuxFactoryTest, BackgroundCopyReturnsBeforeTheCopyIsDone)
{
    // cp blocks on an empty FIFO until it is written to, so returning at all
    // shows that the copy runs in the background.
    const std::string source = m_Sandbox.MakeFifo("source");
    const std::string target = m_Sandbox / "target";
    ASSERT_EQ(m_Factory.CopyFile(source.c_str(), target.c_str(), COPY_IN_BACKGROUND), SUCCESS);
    const int fd = open(source.c_str(), O_WRONLY);   // waits for cp to open its end
    ASSERT_GE(fd, 0);
    ASSERT_EQ(write(fd, "data", 4), 4);
    close(fd);
    // Wait (generously) for cp to finish before the sandbox goes.
    for (int i = 0; i < 3000 && CSandbox::ReadFile(target) != "data"; ++i) {
        usleep(10000);
    }
    EXPECT_EQ(CSandbox::ReadFile(target), "data");
}

TEST_F(OSSLinuxFactoryTest, CommandTooLongForItsBufferFailsAndRunsNothing)
{
    // "mkdir -p " and the path must fit 255 characters.
    const std::string base = m_Sandbox / std::string(100, 'a') + "/";
    const std::string longest = base + std::string(246 - base.size(), 'b');
    EXPECT_EQ(m_Factory.CreateFullPath((longest + "b").c_str()), OSS_FILE_FAILURE);
    EXPECT_FALSE(CSandbox::Exists(base));
    EXPECT_EQ(m_Factory.CreateFullPath(longest.c_str()), SUCCESS);
    EXPECT_TRUE(CSandbox::Exists(longest));
    // The long commands have room for 511 characters.
    const std::string link = m_Sandbox / "l";
    const std::string target(511 - std::strlen("ln -s  ") - link.size(), 't');
    struct stat status;
    EXPECT_EQ(m_Factory.CreateSoftLink((target + "t").c_str(), link.c_str()), OSS_FILE_FAILURE);
    EXPECT_NE(lstat(link.c_str(), &status), 0);
    EXPECT_EQ(m_Factory.CreateSoftLink(target.c_str(), link.c_str()), SUCCESS);
    EXPECT_EQ(lstat(link.c_str(), &status), 0);
}

TEST_F(OSSLinuxFactoryTest, GetFileSizeReportsAMissingFileOnce)
{
    CRecordingFactory factory;
    const std::string missing = m_Sandbox / "missing";
    EXPECT_EQ(factory.GetFileSize(missing.c_str()), 0);
    EXPECT_EQ(factory.GetFileSize(m_Sandbox.WriteFile("five", "12345").c_str()), 5);
    EXPECT_EQ(factory.GetFileSize(m_Sandbox.WriteFile("empty", "").c_str()), 0);
    ASSERT_EQ(factory.m_Events.size(), 1u);
    EXPECT_EQ(factory.m_Events[0].Level, 6);
    EXPECT_EQ(factory.m_Events[0].Code, ENOENT);
    EXPECT_EQ(factory.m_Events[0].Where, "COSSLinuxFactory::GetFileSize");
    EXPECT_EQ(factory.m_Events[0].Why, missing);
}
