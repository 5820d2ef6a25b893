#include <sys/wait.h>
#include <unistd.h>

#include <cerrno>
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
    EXPECT_EQ(CSandbox::ReadFile(Path()), std::string("\x0D\x01\x27\x00\x14\x00\x00\x00\x74\x00\x00\x00"
                                                      "\xD2\x04\x00\x00\x01\x00\x00\x00",
                                                      20));
}

// The record sits on the event path, so its construction stays silent.
TEST_F(DatabaseErrorStatusMessageTest, ConstructionNeverReportsNorKeepsAFailure)
{
    m_Factory.m_FailOpenWith = EACCES;
    m_Factory.m_FailOpenCount = 1;
    CDatabaseErrorStatusMessage record(&m_Factory);
    EXPECT_TRUE(m_Factory.m_Events.empty());
    EXPECT_EQ(record.GetLastError(), SUCCESS);
}

TEST_F(DatabaseErrorStatusMessageTest, AnotherProcessReadsTheWordOneProcessSet)
{
    const pid_t child = fork();
    if (child == 0) {
        CRecordingFactory factory;
        _exit(CDatabaseErrorStatusMessage(&factory).SetErrorStatus(0x10) == SUCCESS ? 0 : 1);
    }
    int status = -1;
    waitpid(child, &status, 0);
    ASSERT_EQ(status, 0);
    EXPECT_EQ(CDatabaseErrorStatusMessage(&m_Factory).GetErrorStatus(), 0x10u);
}

// The file-corruption event keeps only bit 3, so it also wipes the network bit.
TEST_F(DatabaseErrorStatusMessageTest, EventsDriveTheWordThroughTheFactory)
{
    COSSLinuxFactory factory;
    CDatabaseErrorStatusMessage record(&factory);
    factory.SetErrorStatusMessage(&record);

    factory.SendEvent(3, LOSS_OF_NETWORK_TRAFFIC, "DatabaseErrorStatusMessageTest", "network lost");
    EXPECT_EQ(CDatabaseErrorStatusMessage(&m_Factory).GetErrorStatus(), 1u);
    factory.SendEvent(3, DATABASE_FILE_CORRUPTION, "DatabaseErrorStatusMessageTest", "corrupt file");
    EXPECT_EQ(CDatabaseErrorStatusMessage(&m_Factory).GetErrorStatus(), 0u);
}

} // namespace
