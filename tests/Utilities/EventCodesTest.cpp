#include "Utilities/EventCodes.h"

#include <sys/wait.h>
#include <unistd.h>

#include <gtest/gtest.h>

#include <cstdlib>
#include <cstring>
#include <ctime>
#include <map>
#include <regex>
#include <set>
#include <string>
#include <tuple>

#include "Database/IDatabaseErrorStatusMessage.h"
#include "Utilities/LedPatternMessage.h"
#include "Utilities/OSSLinuxFactory.h"
#include "Utilities/PipeSender.h"
#include "tests/support/FifoReader.h"
#include "tests/support/Sandbox.h"
#include "tests/support/UnitDouble.h"

namespace {

using namespace std::string_literals;

struct CFakeErrorStatus : IDatabaseErrorStatusMessage {
    VeskEventCode_T SetErrorStatus(std::uint32_t Status) override { return m_Word = Status, ++m_Writes, SUCCESS; }
    std::uint32_t GetErrorStatus() override { return m_Word; }
    std::uint32_t m_Word = 0;
    int m_Writes = 0;
};

class EventCodesTest : public testing::Test {
protected:
    void SetUp() override
    {
        m_Sandbox.SetUnitEnvironment();
        m_Factory.SetName("MasterBottomTask");
    }

    // Sends one event; returns what it printed.
    std::string Send(CEventCodes& Events, int Priority, VeskEventCode_T Code, const std::string& Why,
                     VeskEventCode_T Expected = SUCCESS)
    {
        testing::internal::CaptureStdout();
        EXPECT_EQ(Events.SendEvent(Priority, Code, "CThing::Do", Why.c_str()), Expected) << Code;
        return testing::internal::GetCapturedStdout();
    }

    CSandbox m_Sandbox;
    // Keeps what reaches the system log; events built directly on it print
    // and log as on a unit.
    CUnitDouble m_Factory;
};

// The text with its ctime time stamp replaced by "<time>".
std::string Masked(const std::string& Text)
{
    static const std::regex cTime("[A-Z][a-z]{2} [A-Z][a-z]{2} [ 1-3][0-9] [0-9]{2}:[0-9]{2}:[0-9]{2} [0-9]{4}");
    return std::regex_replace(Text, cTime, "<time>");
}

} // namespace

TEST(EventTableTest, EveryCodeHasOneRowThatLookupsFind)
{
    std::set<VeskEventCode_T> codes;
    for (const EventCodeRow_T& row : CEventCodes::Events()) {
        EXPECT_TRUE(codes.insert(row.Code).second) << "two rows for " << row.Code;
        EXPECT_EQ(CEventCodes::FindEvent(row.Code), &row) << row.Code;
        ASSERT_NE(row.Text, nullptr);
        EXPECT_NE(row.Text[0], '\0') << row.Code;
    }
    // The gaps of the numbering stay unlisted.
    for (VeskEventCode_T gap : {-13, -98, -100}) {
        EXPECT_EQ(CEventCodes::FindEvent(gap), nullptr) << gap;
    }
    const std::pair<VeskEventCode_T, const char*> chosen[] = {
        {0, "SUCCESS"}, {-99, "libUSB Other error"}, {-123, "PING_PARAM_FAILED_TO_OPEN_FILE "},
        {-141, "Failed to read File Contents"}, {-178, "No Fpga Data received Over SPI"}};
    for (const auto& [code, text] : chosen) {
        EXPECT_STREQ(CEventCodes::EventText(code), text) << code;
    }
}

TEST(EventTableTest, EachLedPatternHasOneSettingCodeAndTheCodeThatClearsItClearsTheSameStatusBit)
{
    std::map<LedErrorPattern_T, const EventCodeRow_T*> setting;
    std::set<std::uint32_t> bits;
    for (const EventCodeRow_T& row : CEventCodes::Events()) {
        // An event with a lasting condition has both effects, others neither.
        EXPECT_EQ(row.Led == LED_NONE, row.Status == STATUS_NONE) << row.Code;
        if (row.Led == LED_SET) {
            EXPECT_TRUE(setting.emplace(row.LedPattern, &row).second) << row.Code;
            EXPECT_EQ(row.StatusMask & (row.StatusMask - 1), 0u) << row.Code << " sets one bit";
            EXPECT_TRUE(bits.insert(row.StatusMask).second) << row.Code;
        }
    }
    EXPECT_EQ(setting.size(), 9u);
    EXPECT_EQ(bits.size(), 9u);
    int clearing = 0;
    for (const EventCodeRow_T& row : CEventCodes::Events()) {
        if (row.Led == LED_CLEAR) {
            ++clearing;
            ASSERT_EQ(setting.count(row.LedPattern), 1u) << row.Code;
            const EventCodeRow_T& set = *setting[row.LedPattern];
            EXPECT_EQ(set.Status, STATUS_OR) << set.Code;
            EXPECT_EQ(row.Status, STATUS_AND) << row.Code;
            EXPECT_EQ(row.StatusMask, ~set.StatusMask) << row.Code;
        }
    }
    // File corruption (pattern 4) is never cleared, and its status mask is
    // ANDed in: it keeps bit 3 and wipes the others.
    EXPECT_EQ(clearing, 8);
    EXPECT_EQ(setting[4]->Code, -158);
    EXPECT_EQ(setting[4]->Status, STATUS_AND);
    EXPECT_EQ(setting[4]->StatusMask, 0x8u);
}

TEST_F(EventCodesTest, LinesCarryTheCodesTextAndNumberInUpTo511Characters)
{
    const std::pair<VeskEventCode_T, std::string> lines[] = {
        {0, "SUCCESS (0)"}, {-123, "PING_PARAM_FAILED_TO_OPEN_FILE  (-123)"}, {-170, "Battery Voltage OK (-170)"},
        {ENOENT, std::strerror(ENOENT) + " (2)"s}, {-13, CEventCodes::cNotListedText + " (-13)"s},
        {-100, CEventCodes::cNotListedText + " (-100)"s}, {-9999, CEventCodes::cNotListedText + " (-9999)"s}};
    for (const auto& [number, what] : lines) {
        CEventCodes events(&m_Factory, nullptr);
        const std::string line = "MasterBottomTask:" + what + " @ <time> in CThing::Do because it happened (OptDebug Build)";
        EXPECT_EQ(Masked(Send(events, cInfoLevel, number, "it happened")), "6::" + line + "\n");
        ASSERT_EQ(m_Factory.m_Logged.size(), 1u);
        EXPECT_EQ(m_Factory.m_Logged[0].first, cInfoLevel);
        EXPECT_EQ(Masked(m_Factory.m_Logged[0].second), line);
        m_Factory.m_Logged.clear();
    }

    // The longest line is printed and logged whole, to its last character
    // and not one beyond; one more is neither.
    CEventCodes events(&m_Factory, nullptr);
    ASSERT_EQ(events.ConstructMessage("SUCCESS", "CThing::Do", "", SUCCESS), SUCCESS);
    const size_t fixedLength = std::strlen(events.GetMessage());
    EXPECT_EQ(Send(events, cErrorLevel, SUCCESS, std::string(512 - fixedLength, 'y'), ERROR_REPORT_TOO_LARGE), "");
    EXPECT_TRUE(m_Factory.m_Logged.empty());
    const std::string filler(508 - fixedLength, 'y');
    const std::string printed = Send(events, cErrorLevel, SUCCESS, filler + "%%z");
    const std::string head = std::string(events.GetMessage()).substr(0, fixedLength - 17);
    EXPECT_EQ(printed, "3::" + head + filler + "%%z (OptDebug Build)\n");
    EXPECT_EQ(std::strlen(events.GetMessage()), 511u);
    ASSERT_EQ(m_Factory.m_Logged.size(), 1u);
    EXPECT_EQ(m_Factory.m_Logged[0].first, cErrorLevel);
    EXPECT_EQ(m_Factory.m_Logged[0].second, head + filler + "%z (OptDebug Build)");
    EXPECT_EQ(m_Factory.m_Logged[0].second.size(), 510u);
}

// The stamp is the event's own time as ctime writes it: on a target whose
// time_t or long is narrower, a stamp read at the wrong width shows as
// another date.
TEST_F(EventCodesTest, StampIsTheTimeOfTheEvent)
{
    CEventCodes events(&m_Factory, nullptr);
    const std::time_t start = std::time(nullptr);
    const std::string line = Send(events, cInfoLevel, SUCCESS, "it happened");
    const std::time_t end = std::time(nullptr);
    const std::string stamp = line.substr(line.find(" @ ") + 3, 24) + "\n";
    EXPECT_TRUE(stamp == std::ctime(&start) || stamp == std::ctime(&end)) << line;
}

TEST_F(EventCodesTest, LoggedLineTreatsOnlyDoubledPercentsAsTheLoggerWould)
{
    // Why-text, what the log receives of it. Any single '%' keeps the line
    // as printed; only a line of "%%" pairs has them collapsed.
    const std::pair<std::string, std::string> rows[] = {
        {"50%% done", "50% done"}, {"%%%%", "%%"}, {"%s%n%", "%s%n%"}, {"%%s%", "%%s%"}, {"100%", "100%"},
        {"%", "%"}, {"", ""}};
    for (const auto& [why, logged] : rows) {
        SCOPED_TRACE(why);
        CEventCodes events(&m_Factory, nullptr);
        const std::string printed = Send(events, cErrorLevel, SUCCESS, why);
        EXPECT_NE(printed.find(" because " + why + " (OptDebug Build)\n"), std::string::npos) << printed;
        ASSERT_EQ(m_Factory.m_Logged.size(), 1u);
        const std::string& line = m_Factory.m_Logged[0].second;
        EXPECT_EQ(line.substr(line.find(" because ")), " because " + logged + " (OptDebug Build)");
        m_Factory.m_Logged.clear();
    }
}

TEST_F(EventCodesTest, EventsSetAndClearTheirLedPatternAndStatusBitsEvenWhenRefused)
{
    // Code, 'S' (set) or 'C' (clear) or 0 (no effect), LED pattern, status word before and after.
    const std::tuple<VeskEventCode_T, char, int, std::uint32_t, std::uint32_t> rows[] = {
        {-126, 'S', 1, 0, 0x1}, {-134, 'C', 1, ~0u, ~0x1u}, {-164, 'S', 7, 0, 0x40}, {-165, 'C', 7, ~0u, ~0x40u},
        // File corruption keeps bit 3 as it was and wipes every other bit.
        {-158, 'S', 4, 0x1F7, 0x0}, {-158, 'S', 4, 0xF, 0x8},
        // Same text, different conditions.
        {-167, 'S', 8, 0, 0x80}, {-169, 'C', 8, 0x180, 0x100}, {-168, 'S', 9, 0, 0x100}, {-170, 'C', 9, 0x180, 0x80},
        {0, 0, 0, 0x5, 0x5}, {ENOENT, 0, 0, 0x5, 0x5}, {-13, 0, 0, 0x5, 0x5}, {-101, 0, 0, 0x5, 0x5},
    };
    CFifoReader led(std::getenv("IPC_LED_TASK"));
    for (const auto& [code, action, pattern, before, after] : rows) {
        CFakeErrorStatus status;
        status.m_Word = before;
        CEventCodes events(&m_Factory, &status), withoutRecord(&m_Factory, nullptr);
        // A line too long to print still has its effects; without a record only the LED is driven.
        Send(events, cErrorLevel, code, std::string(600, 'y'), ERROR_REPORT_TOO_LARGE);
        Send(withoutRecord, cErrorLevel, code, "x");
        const std::string message = (action == 'S' ? "LedSetPattern:" : "LedClrPattern:") + std::to_string(pattern);
        EXPECT_EQ(led.Drain(), action ? message + '\0' + message + '\0' : "") << code;
        EXPECT_EQ(status.m_Word, after) << code;
        EXPECT_EQ(status.m_Writes, action ? 1 : 0) << code;
    }
}

TEST_F(EventCodesTest, AcknowledgementArrivesByteForByteUnlessTooLongAndAnUnsetPipeAborts)
{
    CFifoReader handler(std::getenv("IPC_ERROR_HANDLER_TASK"));
    EXPECT_EQ(m_Factory.SendAckToErrorHandler("ACK_MasterBottomTask"), SUCCESS);
    EXPECT_EQ(handler.Drain(), "MasterBottomTask:ACK_MasterBottomTask\0"s);
    const std::string name(500, 'T');
    m_Factory.SetName(name);
    EXPECT_EQ(m_Factory.SendAckToErrorHandler(("ACK_" + name).c_str()), ERROR_REPORT_TOO_LARGE);
    EXPECT_EQ(handler.Drain(), "");
    EXPECT_DEATH((dup2(STDERR_FILENO, STDOUT_FILENO), PipeSender::Send(&m_Factory, "VESK_UNSET_PIPE", "x")),
                 "PipeSender::Send\\(\\) PipePath is 'VESK_UNSET_PIPE'; Not the name of a valid Environment "
                 "Variable or it is not set\n.*Assertion `pipeName && \"PipeSender::Send\\(\\) PipePath is not the "
                 "name of a valid Environment Variable or it is not set\"' failed");
}

// Messages go into a FIFO only, and never through a symbolic link at the
// pipe's name, not even to a FIFO: a link fails as the open fails, anything
// but a FIFO is no pipe. Neither is written to.
TEST_F(EventCodesTest, PipeMessagesGoOnlyIntoAFifoAndNeverThroughALink)
{
    const std::string fifo = std::getenv("IPC_ERROR_HANDLER_TASK");
    CFifoReader handler(fifo);
    const std::string outside = m_Sandbox.WriteFile("outside", "kept");
    const std::string toFifo = m_Sandbox / "to-fifo";
    const std::string toFile = m_Sandbox / "to-file";
    ASSERT_EQ(symlink(fifo.c_str(), toFifo.c_str()), 0);
    ASSERT_EQ(symlink(outside.c_str(), toFile.c_str()), 0);
    const std::string plain = m_Sandbox.WriteFile("plain.fifo", "kept");
    const std::pair<std::string, VeskEventCode_T> rows[] = {
        {toFifo, ELOOP}, {toFile, ELOOP}, {plain, PIPE_OPEN_FAILURE}, {fifo, SUCCESS}};
    for (const auto& [path, result] : rows) {
        m_Sandbox.SetEnv("IPC_ERROR_HANDLER_TASK", path.c_str());
        EXPECT_EQ(m_Factory.SendAckToErrorHandler("ACK_MasterBottomTask"), result) << path;
    }
    EXPECT_EQ(handler.Drain(), "MasterBottomTask:ACK_MasterBottomTask\0"s);
    EXPECT_EQ(CSandbox::ReadFile(outside), "kept");
    EXPECT_EQ(CSandbox::ReadFile(plain), "kept");
}

TEST_F(EventCodesTest, EachLineReachesARedirectedStdoutOnceAcrossForks)
{
    const std::string output = m_Sandbox / "stdout.txt";
    std::fflush(stdout);
    if (fork() == 0) {
        // A file makes stdout fully buffered, as on the units. _exit skips the
        // exit-time flush: only what SendEvent flushed itself reaches the file.
        if (std::freopen(output.c_str(), "w", stdout) != nullptr) {
            CEventCodes(&m_Factory, nullptr).SendEvent(cInfoLevel, SUCCESS, "CThing::Do", "before fork");
            if (fork() == 0) {
                CEventCodes(&m_Factory, nullptr).SendEvent(cInfoLevel, SUCCESS, "CThing::Do", "in grandchild");
            }
            wait(nullptr);   // the grandchild has none to wait for
        }
        _exit(0);
    }
    wait(nullptr);
    const std::string head = "6::MasterBottomTask:SUCCESS (0) @ <time> in CThing::Do because ";
    EXPECT_EQ(Masked(CSandbox::ReadFile(output)),
              head + "before fork (OptDebug Build)\n" + head + "in grandchild (OptDebug Build)\n");
}

// The LED task's messages, which events send.
using LedPatternMessageTest = EventCodesTest;

TEST_F(LedPatternMessageTest, MessageIsPrefixNumberAndNulInOneWriteOrAnErrnoWithoutPipe)
{
    CLedPatternMessage message(&m_Factory);
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
    m_Sandbox.SetEnv("IPC_LED_TASK", (m_Sandbox / "no-led-pipe").c_str());
    EXPECT_EQ(message.SetPattern(1), ENOENT);
    EXPECT_FALSE(CSandbox::Exists(m_Sandbox / "no-led-pipe"));
    EXPECT_EQ(CEventCodes(&m_Factory, nullptr).SendToLed(LOSS_OF_NETWORK_TRAFFIC), SUCCESS);   // never fails an event
}

TEST_F(LedPatternMessageTest, OnlyAPrefixFollowedByDigitsNamesAPattern)
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
