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

class LedPatternMessageTest : public testing::Test {
protected:
    void SetUp() override { m_Sandbox.SetUnitEnvironment(); }

    CSandbox m_Sandbox;
    COSSLinuxFactory m_Factory;
};

TEST_F(LedPatternMessageTest, MessageIsPrefixNumberAndNulInOneWrite)
{
    CFifoReader led(std::getenv("IPC_LED_TASK"));
    CLedPatternMessage message(&m_Factory);
    EXPECT_EQ(std::string(message.GetMessage(), CLedPatternMessage::cMessageSize),
              std::string(CLedPatternMessage::cMessageSize, '\0'));

    EXPECT_EQ(message.ClearPattern(1), SUCCESS);
    EXPECT_EQ(led.Drain(), "LedClrPattern:1\0"s);
    EXPECT_EQ(message.SetPattern(12), SUCCESS);
    EXPECT_EQ(led.Drain(), "LedSetPattern:12\0"s);

    // 63 characters still go; one more is silently dropped rather than cut.
    const std::string prefix(59, 'p');
    EXPECT_EQ(message.Send(prefix.c_str(), 1234), SUCCESS);
    EXPECT_EQ(led.Drain(), prefix + "1234" + '\0');
    EXPECT_EQ(message.Send(prefix.c_str(), 12345), SUCCESS);
    EXPECT_EQ(led.Drain(), "");
}

TEST_F(LedPatternMessageTest, MissingPipeAnswersItsErrnoButNeverFailsAnEvent)
{
    const std::string path = m_Sandbox / "no-led-pipe";
    m_Sandbox.SetEnv("IPC_LED_TASK", path.c_str());
    CLedPatternMessage message(&m_Factory);
    EXPECT_EQ(message.SetPattern(1), ENOENT);
    EXPECT_FALSE(CSandbox::Exists(path));
    EXPECT_EQ(CEventCodes(&m_Factory, nullptr).SendToLed(LOSS_OF_NETWORK_TRAFFIC), SUCCESS);
}

TEST(LedPatternMessageCodeTest, OnlyAPrefixFollowedByDigitsNamesAPattern)
{
    const std::pair<const char*, LedErrorPattern_T> rows[] = {
        {"LedSetPattern:5", 5},       {"LedClrPattern:12", 12},      {"LedSetPattern:0", 0},
        {"LedSetPattern:007", 7},     {"LedSetPattern:2147483647", 2147483647},
        {"LedSetPattern:2147483648", cNoLedPattern}, {"LedSetPattern:", cNoLedPattern},
        {"LedSetPattern:-3", cNoLedPattern},         {"LedSetPattern:+3", cNoLedPattern},
        {"LedSetPattern: 3", cNoLedPattern},         {"LedSetPattern:3x", cNoLedPattern},
        {"LedSetPattern5", cNoLedPattern},           {"ledsetpattern:5", cNoLedPattern},
        {"Shutdown", cNoLedPattern},                 {"", cNoLedPattern},
    };
    for (const auto& [text, pattern] : rows) {
        EXPECT_EQ(CLedPatternMessage::getCode(text), pattern) << text;
    }
}
