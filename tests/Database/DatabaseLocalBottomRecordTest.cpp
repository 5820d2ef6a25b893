#include <cstdio>
#include <string>

#include <gtest/gtest.h>

#include "Database/DatabaseLocalBottomRecord.h"
#include "tests/support/RecordingFactory.h"
#include "tests/support/Sandbox.h"

namespace {

class DatabaseLocalBottomRecordTest : public ::testing::Test {
protected:
    void SetUp() override { m_Sandbox.SetUnitEnvironment(); }

    CSandbox m_Sandbox;
    CRecordingFactory m_Factory;
};

TEST_F(DatabaseLocalBottomRecordTest, MissingFileIsCreatedWithNoBottomAndShorterTextsLeaveNoTail)
{
    CDatabaseLocalBottomRecord record(&m_Factory, "PPT");
    EXPECT_EQ(record.GetDBFilePath(), m_Sandbox / "nonpersisted/LocalBottomStatePPT.txt");
    EXPECT_EQ(CSandbox::ReadFile(record.GetDBFilePath()), "-2147483648\n0\n");
    EXPECT_EQ(record.GetDepth(), INT32_MIN);

    record.SetDepth(12);
    record.SetState(2);
    ASSERT_EQ(record.writeDB(), SUCCESS);
    EXPECT_EQ(CSandbox::ReadFile(record.GetDBFilePath()), "12\n2\n");
    EXPECT_TRUE(m_Factory.m_Events.empty());
}

TEST_F(DatabaseLocalBottomRecordTest, EachPingTaskHasItsOwnFileReadAfreshEachTime)
{
    CDatabaseLocalBottomRecord primary(&m_Factory, "PPT");
    CDatabaseLocalBottomRecord secondary(&m_Factory, "SPT");
    m_Sandbox.WriteFile("nonpersisted/LocalBottomStateSPT.txt", "  4711\n\n 2 \n");

    ASSERT_EQ(primary.readDB(), SUCCESS);
    ASSERT_EQ(secondary.readDB(), SUCCESS);
    EXPECT_EQ(primary.GetDepth(), INT32_MIN);
    EXPECT_EQ(secondary.GetDepth(), 4711);
    EXPECT_EQ(secondary.GetState(), 2);
}

TEST_F(DatabaseLocalBottomRecordTest, LostFileIsRecreatedWithNoBottom)
{
    CDatabaseLocalBottomRecord record(&m_Factory, nullptr);
    EXPECT_EQ(record.GetDBFilePath(), m_Sandbox / "nonpersisted/LocalBottomState");
    record.SetDepth(5);
    std::remove(record.GetDBFilePath());
    ASSERT_EQ(record.readDB(), SUCCESS);
    EXPECT_EQ(record.GetDepth(), INT32_MIN);
}

} // namespace
