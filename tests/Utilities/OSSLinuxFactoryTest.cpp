#include "Utilities/OSSLinuxFactory.h"

#include <unistd.h>

#include <gtest/gtest.h>

#include <cerrno>
#include <string>

#include "tests/support/RecordingFactory.h"
#include "tests/support/Sandbox.h"

class OSSLinuxFactoryTest : public testing::Test {
protected:
    CSandbox m_Sandbox;
    CRecordingFactory m_Factory;
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
    EXPECT_TRUE(m_Factory.m_Events.empty());
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
    // "mkdir -p " and the path must fit 255 characters.
    const std::string base = m_Sandbox / std::string(100, 'a') + "/";
    const std::string longest = base + std::string(246 - base.size(), 'b');
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
    const std::string missing = m_Sandbox / "missing";
    EXPECT_EQ(m_Factory.GetFileSize(missing.c_str()), 0);
    EXPECT_EQ(m_Factory.GetFileSize(m_Sandbox.WriteFile("five", "12345").c_str()), 5);
    ASSERT_EQ(m_Factory.m_Events.size(), 1u);
    EXPECT_EQ(m_Factory.m_Events[0].Code, ENOENT);
    EXPECT_EQ(m_Factory.m_Events[0].Why, missing);
}
