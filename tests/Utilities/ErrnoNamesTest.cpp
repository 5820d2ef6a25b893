#include "Utilities/ErrnoNames.h"

#include <gtest/gtest.h>

#include <string>

TEST(ErrnoNamesTest, PrimaryNamesForEveryLinuxNumberAndNullOutside)
{
    // Shared numbers give the primary name; 41 and 58 are unused on Linux.
    const std::pair<int, std::string> rows[] = {{1, "EPERM"},       {11, "EAGAIN"},  {35, "EDEADLK"},
                                                {57, "EBADSLT"},    {59, "EBFONT"},  {95, "EOPNOTSUPP"},
                                                {131, "ENOTRECOVERABLE"}};
    for (const auto& [number, name] : rows) {
        EXPECT_EQ(std::string(ErrnoName(number) ? ErrnoName(number) : "null"), name);
    }
    int named = 0;
    for (int number = -10; number < 300; ++number) {
        named += ErrnoName(number) != nullptr;
    }
    EXPECT_EQ(named, 129);
    EXPECT_EQ(ErrnoName(41), nullptr);
    EXPECT_EQ(ErrnoName(58), nullptr);
}
