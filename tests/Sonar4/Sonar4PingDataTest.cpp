// Ping data runs: how a ping of any size is cut into numbered segments, and
// the operations a record without a file refuses.
#include <cstdint>
#include <string>
#include <vector>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "Sonar4/Sonar4PingData.h"
#include "tests/support/Sandbox.h"
#include "tests/support/TestBytes.h"
#include "tests/support/UnitDouble.h"

namespace {

using Bytes = std::vector<uint8_t>;

// Ping data whose bytes differ from their neighbours'.
Bytes Samples(size_t Size)
{
    Bytes bytes(Size);
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
    static Bytes Next(CSonar4PingData& Message)
    {
        Bytes out(cPacket, 0xEE);
        Buffer_Bytes_T buffer(out.data(), out.size());
        EXPECT_EQ(Message.CreateMessage(&buffer), SUCCESS);
        out.resize(buffer.size());
        return out;
    }

    CSandbox m_Sandbox;
    CUnitDouble m_Factory;
};

TEST_F(Sonar4PingDataTest, RunsAreCutIntoNumberedSegmentsOfAtMost1432DataBytes)
{
    const std::pair<size_t, std::vector<size_t>> runs[] = {
        {3000, {1432, 1432, 136}}, {1432, {1432}}, {1433, {1432, 1}}, {0, {}}};
    for (const auto& [size, segments] : runs) {
        SCOPED_TRACE(size);
        CSonar4PingData message(&m_Factory);
        Bytes samples = Samples(size);
        const Buffer_Bytes_T pingData(samples.data(), samples.size());
        message.SetPingData(&pingData, 0xA5, 2, 17);

        size_t offset = 0;
        for (size_t number = 0; number < segments.size(); ++number) {
            const size_t n = segments[number];
            // id, size, version, serial 1234, unused, offset, total twice,
            // type, tag, number, count, configuration index; then the data.
            const std::string header = HeaderBytes(0x270101, uint32_t(37 + n), 116, 1234) + Le32(0) + Le32(uint32_t(offset)) +
                                 Le32(uint32_t(size)) + Le32(uint32_t(size));
            Bytes expected(header.begin(), header.end());
            expected.insert(expected.end(), {2, 0xA5, uint8_t(number), uint8_t(segments.size()), 17});
            expected.insert(expected.end(), samples.begin() + offset, samples.begin() + offset + n);
            EXPECT_EQ(Next(message), expected) << "segment " << number;
            offset += n;
        }
        EXPECT_TRUE(Next(message).empty());
        EXPECT_TRUE(Next(message).empty()) << "the run stays over";
    }
}

TEST_F(Sonar4PingDataTest, A256SegmentRunWithAPartialLastSegmentWrapsItsCountTo0)
{
    Bytes samples = Samples(365161);
    const Buffer_Bytes_T pingData(samples.data(), samples.size());
    CSonar4PingData message(&m_Factory);
    message.SetPingData(&pingData, 0, 0, 0);
    Bytes segment;
    for (unsigned number = 0; number < 256; ++number) {
        segment = Next(message);
        ASSERT_EQ(segment.size(), number < 255 ? cPacket : 38u);
        EXPECT_EQ(segment[34], number);
        EXPECT_EQ(segment[35], 0);
    }
    EXPECT_EQ(segment.back(), samples.back());
    EXPECT_TRUE(Next(message).empty());
}

TEST_F(Sonar4PingDataTest, NothingIsSentBeforeARunAndANewRunAbandonsTheOldOne)
{
    CSonar4PingData message(&m_Factory);
    EXPECT_TRUE(Next(message).empty());
    Bytes first = Samples(3000), second(10, 0x5A);
    const Buffer_Bytes_T firstData(first.data(), first.size());
    const Buffer_Bytes_T secondData(second.data(), second.size());
    message.SetPingData(&firstData, 1, 1, 1);
    Next(message);
    message.SetPingData(&secondData, 2, 2, 2);
    const Bytes segment = Next(message);
    ASSERT_EQ(segment.size(), 47u);
    EXPECT_EQ(Bytes(segment.begin() + 20, segment.begin() + 24), Bytes(4, 0)) << "offset";
    EXPECT_EQ(Bytes(segment.begin() + 32, segment.begin() + 37), Bytes({2, 2, 0, 1, 2}));
    EXPECT_EQ(Bytes(segment.begin() + 37, segment.end()), second);
    EXPECT_TRUE(Next(message).empty());
    EXPECT_TRUE(m_Factory.m_Events.empty());
}

TEST_F(Sonar4PingDataTest, MisuseEndsTheProcessWithItsOwnText)
{
    CSonar4PingData message(&m_Factory);
    Bytes tooMuch(366592);
    const Buffer_Bytes_T tooMuchData(tooMuch.data(), tooMuch.size());
    EXPECT_DEATH(message.SetPingData(&tooMuchData, 0, 0, 0),
                 Assertion("nos <= std::numeric_limits<PacketSegmentNumber_T>::max()"));

    Bytes out(cPacket);
    const Buffer_Bytes_T pingData(out.data(), 10);
    message.SetPingData(&pingData, 0, 0, 0);
    Buffer_Bytes_T shortOutput(out.data(), out.size());
    shortOutput.size(cPacket - 1);
    EXPECT_DEATH(message.CreateMessage(&shortOutput), Assertion("OutputBuffer->size() >= sizeof(m_PingDataPacket)"));

    const std::string noFile = "0 && \"CDatabasePingData does not have an underlying Database file!\"";
    EXPECT_DEATH(message.GetDBFilePath(), Assertion(noFile));
    EXPECT_DEATH(message.DecodeMessage(&pingData), Assertion("0 && \"CDatabasePingData is write-only\""));
    CDatabasePingData record(&m_Factory);
    EXPECT_DEATH(record.readDB(), Assertion(noFile));
}

} // namespace
