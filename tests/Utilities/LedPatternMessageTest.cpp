#include "Utilities/LedPatternMessage.h"

#include <gtest/gtest.h>

#include <cerrno>
#include <cstdlib>
#include <string>

#include "Utilities/EventCodes.h"
#include "Utilities/OSSLinuxFactory.h"
#include "tests/support/FifoReader.h"
#include "tests/support/Sandbox.h"

using namespace std::string_literals;

TEST(LedPatternMessageTest, MessageIsPrefixNumberAndNulInOneWriteOrAnErrnoWithoutPipe)
{
    CSandbox sandbox;
    sandbox.SetUnitEnvironment();
    COSSLinuxFactory factory;
    CLedPatternMessage message(&factory);
    {
        CFifoReader led(std::getenv("IPC_LED_TASK"));
        EXPECT_EQ(message.ClearPattern(1), SUCCESS);
        EXPECT_EQ(led.Drain(), "LedClrPattern:1\0"s);
        // 63 characters still go; one more is silently dropped rather than cut.
        const std::string prefix(59, 'p');
        EXPECT_EQ(message.Send(prefix.c_str(), 1234), SUCCESS);
        EXPECT_EQ(message.Send(prefix.c_str(), 12345), SUCCESS);
        EXPECT_EQ(led.Drain(), prefix + "1234" + '\0');
    }
    sandbox.SetEnv("IPC_LED_TASK", (sandbox / "no-led-pipe").c_str());
    EXPECT_EQ(message.SetPattern(1), ENOENT);
    EXPECT_FALSE(CSandbox::Exists(sandbox / "no-led-pipe"));
    EXPECT_EQ(CEventCodes(&factory, nullptr).SendToLed(LOSS_OF_NETWORK_TRAFFIC), SUCCESS);   // never fails an event
}

TEST(LedPatternMessageTest, OnlyAPrefixFollowedByDigitsNamesAPattern)
{
    const std::pair<const char*, LedErrorPattern_T> rows[] = {
        {"LedSetPattern:5", 5}, {"LedClrPattern:12", 12}, {"LedSetPattern:007", 7},
        {"LedSetPattern:2147483647", 2147483647}, {"LedSetPattern:2147483648", cNoLedPattern},
        {"LedSetPattern:", cNoLedPattern}, {"LedSetPattern:-3", cNoLedPattern}, {"LedSetPattern: 3", cNoLedPattern},
        {"LedSetPattern:3x", cNoLedPattern}, {"LedSetPattern5", cNoLedPattern}, {"ledsetpattern:5", cNoLedPattern},
        {"", cNoLedPattern},
    };
    for (const auto& [text, pattern] : rows) {
        EXPECT_EQ(CLedPatternMessage::getCode(text), pattern) << text;
    }
}
