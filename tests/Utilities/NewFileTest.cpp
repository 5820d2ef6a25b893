// A new file appears at its name whole or not at all, and never in place of
// anything that is there.
#include "Utilities/NewFile.h"

#include <sys/wait.h>
#include <unistd.h>

#include <gtest/gtest.h>

#include <cerrno>
#include <filesystem>
#include <set>
#include <string>

#include "Utilities/OSSLinuxFactory.h"
#include "tests/support/Sandbox.h"

namespace {

class NewFileTest : public testing::Test {
protected:
    // The names in the sandbox directory.
    std::set<std::string> Names() const
    {
        std::set<std::string> names;
        for (const auto& entry : std::filesystem::directory_iterator(m_Sandbox.Path())) {
            names.insert(entry.path().filename().string());
        }
        return names;
    }

    static bool Write(CNewFile& File, const std::string& Text)
    {
        return File.File() != nullptr && File.File()->WriteStream(Text.c_str());
    }

    CSandbox m_Sandbox;
    COSSLinuxFactory m_Factory;
};

} // namespace

TEST_F(NewFileTest, TheNameAppearsOnlyWhenPublishedAndNoTemporaryStays)
{
    const std::string path = m_Sandbox / "Record.bin";
    {
        CNewFile made(&m_Factory, path, 0640);
        ASSERT_EQ(made.OpenError(), SUCCESS);
        ASSERT_TRUE(Write(made, "whole"));
        EXPECT_FALSE(CSandbox::Exists(path));
        // Written under a hidden name beside it.
        const std::set<std::string> names = Names();
        ASSERT_EQ(names.size(), 1u);
        EXPECT_EQ(names.begin()->rfind(".Record.bin.", 0), 0u) << *names.begin();
        EXPECT_EQ(made.Publish(), SUCCESS);
        EXPECT_EQ(CSandbox::ReadFile(path), "whole");
    }
    EXPECT_EQ(Names(), std::set<std::string>{"Record.bin"});
    EXPECT_EQ(std::filesystem::status(path).permissions() & std::filesystem::perms::others_all,
              std::filesystem::perms::none);

    // Dropped unpublished: nothing at all.
    const std::string other = m_Sandbox / "Other.bin";
    {
        CNewFile dropped(&m_Factory, other, 0640);
        ASSERT_TRUE(Write(dropped, "half"));
    }
    EXPECT_EQ(Names(), std::set<std::string>{"Record.bin"});
}

// Whatever is at the name stays as it is: a file another process made, or
// a symbolic link (dangling or not), which is never followed.
TEST_F(NewFileTest, PublishingNeverReplacesWhatIsAtTheName)
{
    const std::string outside = m_Sandbox.WriteFile("outside", "theirs");
    const std::string taken = m_Sandbox.WriteFile("Taken.bin", "theirs");
    const std::string link = m_Sandbox / "Link.bin";
    const std::string dangling = m_Sandbox / "Dangling.bin";
    ASSERT_EQ(symlink(outside.c_str(), link.c_str()), 0);
    ASSERT_EQ(symlink((m_Sandbox / "nowhere").c_str(), dangling.c_str()), 0);
    for (const std::string& path : {taken, link, dangling}) {
        SCOPED_TRACE(path);
        CNewFile made(&m_Factory, path, 0640);
        ASSERT_TRUE(Write(made, "ours"));
        EXPECT_EQ(made.Publish(), EEXIST);
    }
    EXPECT_EQ(CSandbox::ReadFile(taken), "theirs");
    EXPECT_EQ(CSandbox::ReadFile(outside), "theirs");
    EXPECT_FALSE(CSandbox::Exists(m_Sandbox / "nowhere"));
    EXPECT_EQ(Names(), (std::set<std::string>{"outside", "Taken.bin", "Link.bin", "Dangling.bin"}));
}

// A writer killed before it published leaves no file at the name.
TEST_F(NewFileTest, AWriterThatDiesBeforePublishingLeavesNoFileAtTheName)
{
    const std::string path = m_Sandbox / "Record.bin";
    std::fflush(stdout);
    const pid_t writer = fork();
    if (writer == 0) {
        CNewFile made(&m_Factory, path, 0640);
        Write(made, "whole");
        _exit(made.OpenError() == SUCCESS ? 0 : 1);
    }
    int status = 0;
    ASSERT_EQ(waitpid(writer, &status, 0), writer);
    ASSERT_TRUE(WIFEXITED(status) && WEXITSTATUS(status) == 0);
    EXPECT_FALSE(CSandbox::Exists(path));
    // Its temporary is all that is left, under a name no reader looks for.
    const std::set<std::string> names = Names();
    ASSERT_EQ(names.size(), 1u);
    EXPECT_EQ(names.begin()->rfind(".Record.bin." + std::to_string(writer) + ".", 0), 0u) << *names.begin();
}

// A path with no room for the longer temporary name beside it is created
// in place, still never over an existing file.
TEST_F(NewFileTest, APathTooLongForATemporaryNameIsCreatedInPlaceExclusively)
{
    std::string path = m_Sandbox.Path() + "/";
    path += std::string(IOSSFile::cMaxNameLength - path.size(), 'n');
    {
        CNewFile made(&m_Factory, path, 0640);
        ASSERT_EQ(made.OpenError(), SUCCESS);
        EXPECT_TRUE(CSandbox::Exists(path));
        ASSERT_TRUE(Write(made, "whole"));
        EXPECT_EQ(made.Publish(), SUCCESS);
    }
    EXPECT_EQ(CSandbox::ReadFile(path), "whole");
    CNewFile again(&m_Factory, path, 0640);
    EXPECT_EQ(again.File(), nullptr);
    EXPECT_EQ(again.OpenError(), EEXIST);
    EXPECT_EQ(CSandbox::ReadFile(path), "whole");
}
