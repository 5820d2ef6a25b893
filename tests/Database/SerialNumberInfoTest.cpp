#include <string>

#include <gtest/gtest.h>

#include "Database/SerialNumberInfo.h"
#include "tests/support/Sandbox.h"

TEST(SerialNumberInfoTest, FirstLineIsKeptAsTextAndItsLeadingDigitsAsNumber)
{
    const struct {
        const char* Content;
        const char* Text;
        uint32_t Number;
    } cases[] = {
        {"1234567\nsecond line\n", "1234567", 1234567}, {"  42-B\n", "  42-B", 42},
        {"4294967295", "4294967295", 4294967295u},     {"4294967296\n", "4294967296", 0},
        {"SN1234\n", "SN1234", 0},                     {"-5\n", "-5", 0},
        {"", "Unknown", 0},                            {nullptr, "Unknown", 0},
    };
    for (const auto& c : cases) {
        CSandbox sandbox;
        if (c.Content) {
            sandbox.WriteFile("SerialNumber", c.Content);
        }
        const CSerialNumberInfo info((sandbox / "SerialNumber").c_str());
        EXPECT_EQ(info.GetSerialNumberText(), c.Text);
        EXPECT_EQ(info.GetSerialNumber(), c.Number) << c.Text;
    }
}
