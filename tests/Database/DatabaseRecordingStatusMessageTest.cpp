// The recording status record fails quietly: see the class comment.
#include <unistd.h>

#include <cerrno>
#include <string>

#include <gtest/gtest.h>

#include "Database/DatabaseRecordingStatusMessage.h"
#include "tests/support/RecordingFactory.h"
#include "tests/support/Sandbox.h"

namespace {

class DatabaseRecordingStatusMessageTest : public testing::Test {
protected:
    void SetUp() override { m_Sandbox.SetUnitEnvironment(); }

    std::string Path() const { return m_Sandbox / "nonpersisted/RecordingStatus.bin"; }

    CSandbox m_Sandbox;
    CRecordingFactory m_Factory;
};

TEST_F(DatabaseRecordingStatusMessageTest, FailedStoresAndLoadsReportNothing)
{
    // A directory that is not there: construction neither reports nor keeps it.
    m_Sandbox.SetEnv("NONPERSISTED_DATABASE_ROOT", (m_Sandbox / "missing").c_str());
    CDatabaseRecordingStatusMessage lost(&m_Factory);
    EXPECT_EQ(lost.GetLastError(), SUCCESS);
    EXPECT_EQ(lost.writeDB(), ENOENT) << "a file that cannot be opened is still said so";
    EXPECT_EQ(lost.readDB(), ENOENT) << "a load does not create the file";
    m_Sandbox.SetEnv("NONPERSISTED_DATABASE_ROOT", (m_Sandbox / "nonpersisted").c_str());

    CDatabaseRecordingStatusMessage record(&m_Factory);
    ASSERT_EQ(unlink(Path().c_str()), 0);
    ASSERT_EQ(symlink("/dev/full", Path().c_str()), 0);
    EXPECT_EQ(record.writeDB(), SUCCESS);
    ASSERT_EQ(unlink(Path().c_str()), 0);
    // A short file is still reported as the loads of every record report it.
    m_Sandbox.WriteFile("nonpersisted/RecordingStatus.bin", "short");
    EXPECT_EQ(record.readDB(), FAILED_TO_READ_FILE_CONTENTS);
    EXPECT_EQ(m_Factory.m_Events.size(), 2u);
    EXPECT_EQ(m_Factory.m_Events.at(0).Where, "CDatabaseRecordingStatusMessage::readDB");
}

TEST_F(DatabaseRecordingStatusMessageTest, MissingFileResetsOnlyTheStatusUntilTheNextStore)
{
    CDatabaseRecordingStatusMessage record(&m_Factory);
    std::string received = CSandbox::ReadFile(Path());
    received.replace(16, std::string::npos, 69, '\x42');
    const Buffer_Bytes_T buffer(received.data(), received.size());
    ASSERT_EQ(record.DecodeMessage(&buffer), SUCCESS);

    ASSERT_EQ(unlink(Path().c_str()), 0);
    EXPECT_EQ(record.CheckForFile(), SUCCESS);
    EXPECT_FALSE(CSandbox::Exists(Path()));
    const Sonar4RecordingStatusPacket& packet = record.GetPacket();
    EXPECT_EQ(std::string(reinterpret_cast<const char*>(packet.data()) + 16, 69),
              std::string(6, '\0') + std::string(63, '\x42'));
    EXPECT_EQ(packet.GetMessageSize(), 85u);
    EXPECT_EQ(record.writeDB(), SUCCESS);
    EXPECT_EQ(CSandbox::ReadFile(Path()).size(), 85u);
    EXPECT_TRUE(m_Factory.m_Events.empty());
}

} // namespace
