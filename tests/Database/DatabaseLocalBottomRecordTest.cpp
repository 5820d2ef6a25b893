#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <string>

#include <gtest/gtest.h>

#include "Database/DatabaseLocalBottomRecord.h"
#include "tests/support/Sandbox.h"
#include "tests/support/UnitDouble.h"

TEST(DatabaseLocalBottomRecordTest, EachPingTaskKeepsItsBottomInATextFileOfItsOwn)
{
    CSandbox sandbox;
    sandbox.SetUnitEnvironment();
    CUnitDouble factory;
    CDatabaseLocalBottomRecord primary(&factory, "PPT");
    CDatabaseLocalBottomRecord secondary(&factory, "SPT");
    EXPECT_EQ(CSandbox::ReadFile(primary.GetDBFilePath()), "-2147483648\n0\n");
    EXPECT_EQ(primary.GetDepth(), INT32_MIN);
    // A shorter text leaves no tail of the longer one.
    primary.SetDepth(12);
    primary.SetState(2);
    ASSERT_EQ(primary.writeDB(), SUCCESS);
    EXPECT_EQ(CSandbox::ReadFile(primary.GetDBFilePath()), "12\n2\n");

    EXPECT_EQ(secondary.GetDBFilePath(), sandbox / "nonpersisted/LocalBottomStateSPT.txt");
    sandbox.WriteFile("nonpersisted/LocalBottomStateSPT.txt", "  4711\n\n 2 \n");
    ASSERT_EQ(primary.readDB(), SUCCESS);
    ASSERT_EQ(secondary.readDB(), SUCCESS);
    EXPECT_EQ(primary.GetDepth(), 12);
    EXPECT_EQ(secondary.GetDepth(), 4711);
    EXPECT_EQ(secondary.GetState(), 2);
    EXPECT_TRUE(factory.m_Events.empty());
}

// A directory at the name is no bottom file: the bottom goes back to none
// (and storing that fails). An empty file holds no new bottom: the one
// read before stands.
TEST(DatabaseLocalBottomRecordTest, ADirectoryOrAnEmptyFileIsNoBottom)
{
    CSandbox sandbox;
    sandbox.SetUnitEnvironment();
    CUnitDouble factory;
    CDatabaseLocalBottomRecord primary(&factory, "PPT");
    sandbox.WriteFile("nonpersisted/LocalBottomStatePPT.txt", "1200\n2\n");
    ASSERT_EQ(primary.readDB(), SUCCESS);

    sandbox.WriteFile("nonpersisted/LocalBottomStatePPT.txt", "");
    EXPECT_EQ(primary.readDB(), SUCCESS);
    EXPECT_EQ(primary.GetDepth(), 1200);

    ASSERT_EQ(unlink(primary.GetDBFilePath()), 0);
    ASSERT_EQ(mkdir(primary.GetDBFilePath(), 0755), 0);
    EXPECT_EQ(primary.readDB(), EISDIR);
    EXPECT_EQ(primary.GetDepth(), INT32_MIN);
    EXPECT_EQ(primary.GetState(), 0);
    ASSERT_EQ(factory.m_Events.size(), 1u);
    EXPECT_EQ(factory.m_Events[0].Why, "failed to write to DB");
    rmdir(primary.GetDBFilePath());

    // An extension with a slash names no file of the directory, even where
    // the path leads to one: the bottom is none, stored over it.
    sandbox.MakeDir("nonpersisted/LocalBottomState");
    sandbox.WriteFile("nonpersisted/elsewhere.txt", "55\n2\n");
    CDatabaseLocalBottomRecord astray(&factory, "/../elsewhere");
    sandbox.WriteFile("nonpersisted/elsewhere.txt", "55\n2\n");
    EXPECT_EQ(astray.readDB(), SUCCESS);
    EXPECT_EQ(astray.GetDepth(), INT32_MIN);
}
