#include "Utilities/DottedQuad.h"

#include <gtest/gtest.h>

TEST(DottedQuadTest, ShowsTheMostSignificantOctetFirstAndEveryOctetInFull)
{
    EXPECT_EQ(DottedQuad(0x0A000002u), "10.0.0.2");
    EXPECT_EQ(DottedQuad(0xE0000040u), "224.0.0.64");
    EXPECT_EQ(DottedQuad(0u), "0.0.0.0");
    EXPECT_EQ(DottedQuad(0xFFFFFFFFu), "255.255.255.255");
}
