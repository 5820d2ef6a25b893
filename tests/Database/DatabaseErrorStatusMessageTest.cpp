#include <sys/wait.h>
#include <unistd.h>

#include <cstdio>
#include <string>

#include <gtest/gtest.h>

#include "Database/DatabaseErrorStatusMessage.h"
#include "Utilities/OSSLinuxFactory.h"
#include "tests/support/RecordingFactory.h"
#include "tests/support/Sandbox.h"

namespace {

class DatabaseErrorStatusMessageTest : public ::testing::Test {
protected:
    void SetUp() override { m_Sandbox.SetUnitEnvironment(); }
    std::string Path() const { return m_Sandbox / "nonpersisted/ErrorStatus.bin"; }

    CSandbox m_Sandbox;
    CRecordingFactory m_Factory;
};

TEST_F(DatabaseErrorStatusMessageTest, ReadingWithoutAFileGivesZeroAndCreatesNothing)
{
    CDatabaseErrorStatusMessage record(&m_Factory);
    ASSERT_EQ(record.SetErrorStatus(0x40), SUCCESS);
    std::remove(Path().c_str());
    EXPECT_EQ(record.GetErrorStatus(), 0u);
    EXPECT_FALSE(CSandbox::Exists(Path()));
    EXPECT_TRUE(m_Factory.m_Events.empty());

    EXPECT_EQ(record.SetErrorStatus(1), SUCCESS);
    EXPECT_EQ(CSandbox::ReadFile(Path()),
              std::string("\x0D\x01\x27\x00\x14\x00\x00\x00\x74\x00\x00\x00\xD2\x04\x00\x00\x01\x00\x00\x00", 20));
}

// Events raised in one process set the word that every other process reads;
// the file-corruption event keeps only bit 3, so it also wipes the network bit.
TEST_F(DatabaseErrorStatusMessageTest, EventsSetTheWordAnotherProcessReads)
{
    const auto raise = [](VeskEventCode_T Code) {
        if (const pid_t child = fork(); child != 0) {
            int status = -1;
            waitpid(child, &status, 0);
            return status;
        }
        COSSLinuxFactory factory;
        CDatabaseErrorStatusMessage record(&factory);
        factory.SetErrorStatusMessage(&record);
        factory.SendEvent(3, Code, "DatabaseErrorStatusMessageTest", "raised");
        _exit(0);
    };
    ASSERT_EQ(raise(LOSS_OF_NETWORK_TRAFFIC), 0);
    EXPECT_EQ(CDatabaseErrorStatusMessage(&m_Factory).GetErrorStatus(), 1u);
    ASSERT_EQ(raise(DATABASE_FILE_CORRUPTION), 0);
    EXPECT_EQ(CDatabaseErrorStatusMessage(&m_Factory).GetErrorStatus(), 0u);
}

} // namespace
