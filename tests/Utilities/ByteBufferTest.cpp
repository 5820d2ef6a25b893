#include "Utilities/ByteBuffer.h"

#include <gtest/gtest.h>

#include <cstring>

TEST(ByteBufferTest, SizeUpToCapacityIsAcceptedAndOneMoreAborts)
{
    uint8_t memory[8] = {};
    Buffer_Bytes_T buffer(memory, sizeof(memory));
    buffer.size(3);
    EXPECT_EQ(buffer.size(), 3u);
    buffer.size(8);
    EXPECT_EQ(buffer.size(), 8u);
    EXPECT_DEATH(buffer.size(9),
                 "Utilities/ByteBuffer.h:[0-9]+: void Buffer_Bytes_T::size\\(size_t\\) const: "
                 "Assertion `NewSize <= m_Original_Size_Bytes' failed");
}

TEST(ByteBufferTest, PipeBufferStartsFullSizeAndZeroed)
{
    Pipe_Buffer_T pipe;
    ASSERT_EQ(pipe.size(), 512u);
    for (size_t i = 0; i < 512; ++i) {
        ASSERT_EQ(pipe.ptr()[i], 0) << i;
    }
}

TEST(ByteBufferTest, ResetClearsWholeCapacityAndRestoresSize)
{
    uint8_t memory[6];
    std::memset(memory, 0xAB, sizeof(memory));
    {
        Buffer_Bytes_T buffer(memory, 4);
        buffer.size(1);
        buffer.Reset();
        EXPECT_EQ(buffer.size(), 4u);
        EXPECT_EQ(buffer.capacity(), 4u);
    }
    // The view cleared only its own capacity and freed nothing.
    const uint8_t expected[6] = {0, 0, 0, 0, 0xAB, 0xAB};
    EXPECT_EQ(std::memcmp(memory, expected, sizeof(memory)), 0);

    Buffer_Bytes_T empty(nullptr, 0);
    empty.Reset();
    EXPECT_EQ(empty.size(), 0u);
}
