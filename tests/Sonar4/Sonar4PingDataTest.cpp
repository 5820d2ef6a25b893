// Ping data runs: how a ping of any size is cut into numbered segments, and
// the operations a record without a file refuses.
#include <cstdint>
#include <string>
#include <vector>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "Sonar4/Sonar4PingData.h"
#include "tests/support/RecordingFactory.h"
#include "tests/support/Sandbox.h"

namespace {

::testing::Matcher<const std::string&> Assertion(const std::string& Text)
{
    return ::testing::HasSubstr("Assertion `" + Text + "' failed");
}

// Ping data whose every byte tells where it lies.
std::vector<uint8_t> Samples(size_t Size)
{
    std::vector<uint8_t> bytes(Size);
    for (size_t i = 0; i < Size; ++i) {
        bytes[i] = static_cast<uint8_t>(i * 7 + i / 251);
    }
    return bytes;
}

class Sonar4PingDataTest : public ::testing::Test {
protected:
    static constexpr size_t cPacket = 1469;

    void SetUp() override { m_Sandbox.SetUnitEnvironment(); }

    // Next segment as it left CreateMessage (empty at the end of the run).
    std::vector<uint8_t> Next(CSonar4PingData& Message)
    {
        std::vector<uint8_t> out(cPacket, 0xEE);
        Buffer_Bytes_T buffer(out.data(), out.size());
        EXPECT_EQ(Message.CreateMessage(&buffer), SUCCESS);
        out.resize(buffer.size());
        return out;
    }

    static uint32_t U32(const std::vector<uint8_t>& Bytes, size_t Offset)
    {
        return LittleEndian::Read<uint32_t>(Bytes.data() + Offset);
    }

    CSandbox m_Sandbox;
    CRecordingFactory m_Factory;
};

struct RunCase {
    size_t Size;
    std::vector<size_t> SegmentData;
};

TEST_F(Sonar4PingDataTest, RunsAreCutIntoNumberedSegmentsOfAtMost1432DataBytes)
{
    const RunCase cases[] = {
        {3000, {1432, 1432, 136}},
        {1432, {1432}},
        {1433, {1432, 1}},
        {0, {}},
    };
    for (const RunCase& run : cases) {
        SCOPED_TRACE(run.Size);
        CSonar4PingData message(&m_Factory);
        EXPECT_EQ(message.GetPacketSize(), cPacket);
        std::vector<uint8_t> samples = Samples(run.Size);
        const Buffer_Bytes_T pingData(samples.data(), samples.size());
        message.SetPingData(&pingData, 0xA5, 2, 17);

        size_t offset = 0;
        for (size_t number = 0; number < run.SegmentData.size(); ++number) {
            const size_t n = run.SegmentData[number];
            const std::vector<uint8_t> segment = Next(message);
            ASSERT_EQ(segment.size(), 37 + n);
            EXPECT_EQ(U32(segment, 0), 0x270101u);
            EXPECT_EQ(U32(segment, 4), 37 + n);
            EXPECT_EQ(U32(segment, 8), 116u);
            EXPECT_EQ(U32(segment, 12), 1234u);
            EXPECT_EQ(U32(segment, 16), 0u);
            EXPECT_EQ(U32(segment, 20), offset);
            EXPECT_EQ(U32(segment, 24), run.Size);
            EXPECT_EQ(U32(segment, 28), run.Size);
            EXPECT_EQ(std::vector<uint8_t>(segment.begin() + 32, segment.begin() + 37),
                      (std::vector<uint8_t>{2, 0xA5, uint8_t(number), uint8_t(run.SegmentData.size()), 17}));
            EXPECT_TRUE(std::equal(segment.begin() + 37, segment.end(), samples.begin() + offset));
            offset += n;
        }
        EXPECT_TRUE(Next(message).empty());
        EXPECT_TRUE(Next(message).empty()) << "the run stays over";
    }
}

TEST_F(Sonar4PingDataTest, BeforeAnyRunThereIsNothingToSend)
{
    CSonar4PingData message(&m_Factory);
    EXPECT_TRUE(Next(message).empty());
    EXPECT_TRUE(m_Factory.m_Events.empty());
}

TEST_F(Sonar4PingDataTest, A256SegmentRunWithAPartialLastSegmentWrapsItsCountTo0)
{
    std::vector<uint8_t> samples = Samples(365161);
    const Buffer_Bytes_T pingData(samples.data(), samples.size());
    CSonar4PingData message(&m_Factory);
    message.SetPingData(&pingData, 0, 0, 0);
    std::vector<uint8_t> segment;
    for (unsigned number = 0; number < 256; ++number) {
        segment = Next(message);
        ASSERT_EQ(segment.size(), number < 255 ? cPacket : 38u);
        EXPECT_EQ(segment[34], number);
        EXPECT_EQ(segment[35], 0);
    }
    EXPECT_EQ(segment.back(), samples.back());
    EXPECT_TRUE(Next(message).empty());
}

TEST_F(Sonar4PingDataTest, ANewRunAbandonsTheOldOne)
{
    std::vector<uint8_t> first = Samples(3000);
    std::vector<uint8_t> second(10, 0x5A);
    const Buffer_Bytes_T firstData(first.data(), first.size());
    const Buffer_Bytes_T secondData(second.data(), second.size());
    CSonar4PingData message(&m_Factory);
    message.SetPingData(&firstData, 1, 1, 1);
    Next(message);
    message.SetPingData(&secondData, 2, 2, 2);
    const std::vector<uint8_t> segment = Next(message);
    ASSERT_EQ(segment.size(), 47u);
    EXPECT_EQ(U32(segment, 20), 0u);
    EXPECT_EQ(segment[34], 0);
    EXPECT_EQ(segment[35], 1);
    EXPECT_EQ(segment.back(), 0x5A);
    EXPECT_TRUE(Next(message).empty());
}

TEST_F(Sonar4PingDataTest, MisuseEndsTheProcessWithItsOwnText)
{
    CSonar4PingData message(&m_Factory);
    std::vector<uint8_t> tooMuch(366592);
    const Buffer_Bytes_T tooMuchData(tooMuch.data(), tooMuch.size());
    EXPECT_DEATH(message.SetPingData(&tooMuchData, 0, 0, 0),
                 Assertion("nos <= std::numeric_limits<PacketSegmentNumber_T>::max()"));

    std::vector<uint8_t> samples = Samples(10);
    const Buffer_Bytes_T pingData(samples.data(), samples.size());
    message.SetPingData(&pingData, 0, 0, 0);
    std::vector<uint8_t> out(cPacket);
    Buffer_Bytes_T shortOutput(out.data(), out.size());
    shortOutput.size(cPacket - 1);
    EXPECT_DEATH(message.CreateMessage(&shortOutput), Assertion("OutputBuffer->size() >= sizeof(m_PingDataPacket)"));

    const std::string noFile = "0 && \"CDatabasePingData does not have an underlying Database file!\"";
    EXPECT_DEATH(message.GetDBFilePath(), Assertion(noFile));
    EXPECT_DEATH(message.DecodeMessage(&pingData), Assertion("0 && \"CDatabasePingData is write-only\""));
    CDatabasePingData record(&m_Factory);
    EXPECT_DEATH(record.readDB(), Assertion(noFile));
    EXPECT_DEATH(record.writeDB(), Assertion(noFile));
    EXPECT_DEATH(CDatabasePingData(nullptr), Assertion("m_pFactory"));
}

} // namespace
