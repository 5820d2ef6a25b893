#include "Utilities/LittleEndian.h"

#include <gtest/gtest.h>

#include <cstdint>
#include <vector>

namespace {

// Bytes 1..8 from an odd offset, so that no read or write can lean on
// alignment.
std::vector<uint8_t> Counting()
{
    return {0xEE, 0x01, 0x02, 0x03, 0x04, 0x05, 0x06, 0x07, 0x08, 0xEE};
}

} // namespace

TEST(ByteOrderTest, ReadsEachWidthInBothOrdersAtAnyOffset)
{
    const std::vector<uint8_t> bytes = Counting();
    const uint8_t* p = bytes.data() + 1;
    EXPECT_EQ(LittleEndian::Read<uint16_t>(p), 0x0201u);
    EXPECT_EQ(BigEndian::Read<uint16_t>(p), 0x0102u);
    EXPECT_EQ(LittleEndian::Read<uint32_t>(p), 0x04030201u);
    EXPECT_EQ(BigEndian::Read<uint32_t>(p), 0x01020304u);
    EXPECT_EQ(LittleEndian::Read<uint64_t>(p), 0x0807060504030201u);
    EXPECT_EQ(BigEndian::Read<uint64_t>(p), 0x0102030405060708u);

    // Signed fields keep their sign; the top bit lies in the last byte
    // little-endian and in the first big-endian.
    const uint8_t topBit[] = {0x00, 0x00, 0x00, 0x80, 0x00, 0x00, 0x00};
    EXPECT_EQ(LittleEndian::Read<int32_t>(topBit), INT32_MIN);
    EXPECT_EQ(BigEndian::Read<int32_t>(topBit + 3), INT32_MIN);
    EXPECT_EQ(LittleEndian::Read<int16_t>(topBit + 2), -32768);
    EXPECT_EQ(BigEndian::Read<int16_t>(topBit + 3), -32768);
}

TEST(ByteOrderTest, WritesTouchOnlyTheFieldAndReadBackWhatWasWritten)
{
    std::vector<uint8_t> bytes(10, 0xEE);
    BigEndian::Write<uint32_t>(bytes.data() + 1, 0x01020304u);
    EXPECT_EQ(bytes, (std::vector<uint8_t>{0xEE, 0x01, 0x02, 0x03, 0x04, 0xEE, 0xEE, 0xEE, 0xEE, 0xEE}));
    LittleEndian::Write<uint16_t>(bytes.data() + 5, 0x0605u);
    BigEndian::Write<int16_t>(bytes.data() + 7, -2);
    EXPECT_EQ(bytes, (std::vector<uint8_t>{0xEE, 0x01, 0x02, 0x03, 0x04, 0x05, 0x06, 0xFF, 0xFE, 0xEE}));

    for (const int64_t value : {INT64_MIN, int64_t{-1}, int64_t{0}, int64_t{0x0102030405060708}, INT64_MAX}) {
        uint8_t field[8];
        LittleEndian::Write<int64_t>(field, value);
        EXPECT_EQ(LittleEndian::Read<int64_t>(field), value);
        BigEndian::Write<int64_t>(field, value);
        EXPECT_EQ(BigEndian::Read<int64_t>(field), value);
    }
}
