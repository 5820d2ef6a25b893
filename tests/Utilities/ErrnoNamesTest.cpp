#include "Utilities/ErrnoNames.h"

#include <gtest/gtest.h>

#include <string>

TEST(ErrnoNamesTest, PrimaryNamesForEveryLinuxNumberAndNullOutside)
{
    // Shared numbers give the primary name; 41 and 58 are unused on Linux.
    const std::pair<int, const char*> rows[] = {{1, "EPERM"},  {11, "EAGAIN"},     {35, "EDEADLK"},
                                                {57, "EBADSLT"}, {95, "EOPNOTSUPP"}, {131, "ENOTRECOVERABLE"},
                                                {0, "null"},   {41, "null"},       {58, "null"}, {132, "null"}};
    int named = 0;
    for (int number = -10; number < 300; ++number) {
        named += ErrnoName(number) != nullptr;
    }
    EXPECT_EQ(named, 129);
    for (const auto& [number, name] : rows) {
        EXPECT_EQ(std::string(ErrnoName(number) ? ErrnoName(number) : "null"), name) << number;
    }
}
