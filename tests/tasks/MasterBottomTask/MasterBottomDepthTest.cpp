#include "tasks/MasterBottomTask/MasterBottomDepth.h"

#include <gtest/gtest.h>

#include "Sonar4/Sonar4Types.h"

using namespace MasterBottomDepth;

TEST(MasterBottomDepthTest, FollowsTheStateTable)
{
    const struct {
        uint8_t SecondaryState;
        int32_t SecondaryDepth;
        uint8_t PrimaryState;
        int32_t PrimaryDepth;
        int32_t Offset;
        int32_t Expected;
    } rows[] = {
        // Both valid: the shallower plus the offset.
        {2, 1200, 2, 1500, -300, 900},
        {2, 1500, 2, 1200, 250, 1450},
        {2, 700, 2, 700, 0, 700},
        // Only one ping task in use.
        {2, 1200, 0, 1500, -300, 900},
        {0, 1200, 2, 1500, 100, 1600},
        // In use without a bottom spoils the other's bottom.
        {2, 1200, 1, 1500, 0, cNoBottom},
        {2, 1200, 7, 1500, 0, cNoBottom},
        {1, 1200, 2, 1500, 0, cNoBottom},
        {3, 1200, 2, 1500, 0, cNoBottom},
        // Nobody has a bottom.
        {0, 1200, 0, 1500, 0, cNoBottom},
        {0, 1200, 1, 1500, 0, cNoBottom},
        {1, 1200, 1, 1500, 0, cNoBottom},
        // Signed comparison: a negative depth is the shallower one.
        {2, -5, 2, 10, 0, -5},
        {2, 10, 2, -5, 0, -5},
        // The offset is added with wrap-around.
        {2, INT32_MAX, 0, 0, 1, INT32_MIN},
        {0, 0, 2, INT32_MIN, -1, INT32_MAX},
    };
    for (const auto& row : rows) {
        EXPECT_EQ(Compute(row.SecondaryState, row.SecondaryDepth, row.PrimaryState, row.PrimaryDepth, row.Offset),
                  row.Expected)
            << "Ss=" << int(row.SecondaryState) << " Ds=" << row.SecondaryDepth << " Sp=" << int(row.PrimaryState)
            << " Dp=" << row.PrimaryDepth << " O=" << row.Offset;
    }
    // The offset mode is the offset's sign.
    EXPECT_EQ(OffsetMode(0), cOffsetNone);
    EXPECT_EQ(OffsetMode(-1), cOffsetNegative);
    EXPECT_EQ(OffsetMode(INT32_MIN), cOffsetNegative);
    EXPECT_EQ(OffsetMode(1), cOffsetPositive);
}
