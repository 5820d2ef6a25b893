#include "Utilities/EventCodes.h"

#include <fcntl.h>
#include <sys/wait.h>
#include <syslog.h>
#include <unistd.h>

#include <gtest/gtest.h>

#include <algorithm>
#include <cstdlib>
#include <cstring>
#include <regex>
#include <string>
#include <vector>

#include "Database/IDatabaseErrorStatusMessage.h"
#include "Utilities/OSSLinuxFactory.h"
#include "Utilities/PipeSender.h"
#include "tests/support/FifoReader.h"
#include "tests/support/Sandbox.h"

namespace {

struct CFakeErrorStatus : IDatabaseErrorStatusMessage {
    VeskEventCode_T SetErrorStatus(std::uint32_t Status) override { return m_Word = Status, ++m_Writes, SUCCESS; }
    std::uint32_t GetErrorStatus() override { return m_Word; }
    std::uint32_t m_Word = 0;
    int m_Writes = 0;
};

using namespace std::string_literals;

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
    COSSLinuxFactory m_Factory;
    CFakeErrorStatus m_Status;
};

// "<task>:<what> (<code>) @ <time> in <where> because <why> (OptDebug Build)",
// the time being ctime's text without its newline.
void ExpectLine(const std::string& Line, const std::string& What, VeskEventCode_T Code, const std::string& Why)
{
    const std::string head = "MasterBottomTask:" + What + " (" + std::to_string(Code) + ") @ ";
    const std::string tail = " in CThing::Do because " + Why + " (OptDebug Build)";
    ASSERT_GT(Line.size(), head.size() + tail.size()) << Line;
    EXPECT_EQ(Line.substr(0, head.size()), head);
    EXPECT_EQ(Line.substr(Line.size() - tail.size()), tail);
    static const std::regex cTime("[A-Z][a-z]{2} [A-Z][a-z]{2} [ 1-3][0-9] [0-9]{2}:[0-9]{2}:[0-9]{2} [0-9]{4}");
    EXPECT_TRUE(std::regex_match(Line.substr(head.size(), Line.size() - head.size() - tail.size()), cTime)) << Line;
}

const std::vector<std::pair<VeskEventCode_T, std::string>> cTexts = {
    {0, "SUCCESS"}, {-1, "libUSB Input/output error"}, {-2, "libUSB Invalid parameter"},
    {-3, "libUSB Access denied (insufficient permissions)"},
    {-4, "libUSB No such device (it may have been disconnected)"}, {-5, "libUSB Entity not found"},
    {-6, "libUSB Resource busy"}, {-7, "libUSB Operation timed out"}, {-8, "libUSB Overflow"},
    {-9, "libUSB Pipe error"}, {-10, "libUSB System call interrupted (perhaps due to signal)"},
    {-11, "libUSB Insufficient memory"}, {-12, "libUSB Operation not supported or unimplemented on this platform"},
    {-99, "libUSB Other error"}, {-101, "OSS_FILE_FAILURE"}, {-102, "OSS_NETWORK_FAILURE"},
    {-103, "DOBII_FAILURE"}, {-104, "FILE_HANDLE_UNINITIALISED"}, {-105, "NO_FACTORY_PRESENT"},
    {-106, "NO_ROOT_DIR_ENVVAR_PRESENT"}, {-107, "DATABASE_NOT_COPIED_PATH_TOO_LONG"},
    {-108, "PIPE_MESSAGE_TOO_LONG"}, {-109, "FAILED_TO_SEND_ALL_DATA"}, {-110, "PIPE_OPEN_FAILURE"},
    {-111, "TASK_NO_PINGS_ENABLED"}, {-112, "SONAR4_ERROR_NO_TX_SOCKET_CREATED"},
    {-113, "SONAR4_ERROR_BUFFER_TOO_SMALL_FOR_MESSAGE"}, {-114, "SONAR4_ERROR_BIND_FAILURE_SYSTEM_PORT"},
    {-115, "SONAR4_ERROR_RECIEVE_FAILURE_SYSTEM_PORT"}, {-116, "SONAR4_ERROR_MESSAGE_UNKNOWN"},
    {-117, "TOO_MANY_FILES_TO_POLL"}, {-118, "DATABASE_NOT_CREATED"}, {-119, "TASK_TIMED_OUT"},
    {-120, "TOO_MANY_TASKS_TO_MONITOR"}, {-121, "TASK_FAILURE_DETECTED"}, {-122, "NO_TASK_MATCHES_ACK"},
    {-123, "PING_PARAM_FAILED_TO_OPEN_FILE "}, {-124, "PING_PARAM_NO_FILES_FOUND"},
    {-125, "ERROR_REPORT_TOO_LARGE"}, {-126, "LOSS_OF_NETWORK_TRAFFIC"}, {-127, "PIPE_COMMAND_UNKNOWN"},
    {-128, "NO_RESPONSE_FROM_TASK"}, {-129, "SONAR4_PING_CHANGE_COMMAND_NOT_RECOGNISED"},
    {-130, "SONAR4_DEBUG_COMMAND_NOT_RECOGNISED"}, {-131, "SONAR4_GLOBAL_CHANGE_COMMAND_NOT_RECOGNISED"},
    {-132, "SONAR4_XDCR_CHANGE_COMMAND_NOT_RECOGNISED"}, {-133, "NO_ENVIRONMENT_VARIABLE_FOUND"},
    {-134, "NETWORK_TRAFFIC_FOUND"}, {-135, "Shutdown task request"}, {-136, "Failure to download Sam3u code"},
    {-137, "Failure to download FPGA"}, {-138, "Failure to read the USB"}, {-139, "Failure to write to the USB"},
    {-140, "File Access Denied"}, {-141, "Failed to read File Contents"}, {-142, "Failed to write File Contents"},
    {-143, "Failed to find ping"}, {-144, "No TransducerID data available"},
    {-145, "The code block length contained in header is 0"}, {-146, "Failed to create pointer to file"},
    {-147, "DOBII header checksum is wrong"}, {-148, "DOBII header extraction failed"},
    {-149, "DOBII checksum failed"}, {-150, "DOBII file checksum is wrong"},
    {-151, "Failed to extract data from file"}, {-152, "Failed to download dob and install it"},
    {-153, "Failure to sychronise the USB"}, {-154, "USB is not waiting for any data"},
    {-155, "Mismatch in Depth Transducer Power levels"}, {-156, "Depth Transducer has been unplugged"},
    {-157, "Depth Transducer user selection mismatch"}, {-158, "Possible File corruption found in database"},
    {-159, "FPGA Timeout due to a failure to boost"}, {-160, "Transducer Too Hot to ping"},
    {-161, "Power Amp Too Hot to ping"}, {-162, "Transducer Cooled Down"}, {-163, "Power Amp Cooled Down"},
    {-164, "Ambient Too Hot to ping"}, {-165, "Ambient Cooled Down"}, {-166, "Temperatures have read as zero"},
    {-167, "Battery Voltage Too High"}, {-168, "Battery Voltage Too Low"}, {-169, "Battery Voltage OK"},
    {-170, "Battery Voltage OK"}, {-171, "UART Poll timed out"}, {-172, "Thread Creation Failed"},
    {-173, "UART Failure"}, {-174, "No Water Temp Available"}, {-175, "Transducer Reconnected"},
    {-176, "FPGA Pinging Again"}, {-177, "No FPGA Interface Installed"}, {-178, "No Fpga Data received Over SPI"},
};

} // namespace

TEST_F(EventCodesTest, EveryCodePrintsOneLineWithItsTextAndNumber)
{
    ASSERT_EQ(cTexts.size(), 92u);
    auto rows = cTexts;
    rows.insert(rows.end(), {{ENOENT, std::strerror(ENOENT)}, {EPERM, std::strerror(EPERM)},
                             {-13, CEventCodes::cNotListedText}, {-100, CEventCodes::cNotListedText},
                             {-179, CEventCodes::cNotListedText}});
    for (const auto& [code, what] : rows) {
        CEventCodes events(&m_Factory, nullptr);
        const std::string printed = Send(events, LOG_INFO, code, "it happened");
        EXPECT_EQ(printed, "6::"s + events.GetMessage() + "\n");
        ExpectLine(events.GetMessage(), what, code, "it happened");
    }
    // No code outside the table has a text of its own.
    for (VeskEventCode_T code = -300; code <= 300; ++code) {
        const bool listed =
            std::any_of(cTexts.begin(), cTexts.end(), [code](const auto& row) { return row.first == code; });
        EXPECT_EQ(CEventCodes::EventText(code) != nullptr, listed) << code;
    }
}

TEST_F(EventCodesTest, LineOf512CharactersIsRefusedButStillDrivesLedAndStatus)
{
    CEventCodes probe(&m_Factory, nullptr);
    ASSERT_EQ(probe.ConstructMessage("LOSS_OF_NETWORK_TRAFFIC", "CThing::Do", "", LOSS_OF_NETWORK_TRAFFIC), SUCCESS);
    const size_t fixedLength = std::strlen(probe.GetMessage());
    CFifoReader led(std::getenv("IPC_LED_TASK"));
    CEventCodes events(&m_Factory, &m_Status);

    const std::string tooLong(512 - fixedLength, 'y');
    EXPECT_EQ(Send(events, LOG_ERR, LOSS_OF_NETWORK_TRAFFIC, tooLong, ERROR_REPORT_TOO_LARGE), "");
    EXPECT_EQ(std::strlen(events.GetMessage()), 511u);
    EXPECT_EQ(m_Status.m_Word, 0x1u);
    EXPECT_EQ(led.Drain(), "LedSetPattern:1\0"s);

    const std::string longest(511 - fixedLength, 'y');
    const std::string printed = Send(events, LOG_ERR, LOSS_OF_NETWORK_TRAFFIC, longest);
    EXPECT_EQ(printed, "3::"s + events.GetMessage() + "\n");
    EXPECT_EQ(std::strlen(events.GetMessage()), 511u);
}

TEST_F(EventCodesTest, LoggedLineTreatsOnlyDoubledPercentsAsTheLoggerWould)
{
    // The process normally logs without openlog; echoing to stderr lets the
    // test see exactly what went to the logger.
    openlog("vesk-test", LOG_PERROR, LOG_USER);
    CEventCodes events(&m_Factory, nullptr);
    testing::internal::CaptureStderr();
    const std::string printed = Send(events, LOG_ERR, SUCCESS, "50%% done") + Send(events, LOG_ERR, SUCCESS, "%s%n%");
    const std::string logged = testing::internal::GetCapturedStderr();
    openlog(nullptr, 0, LOG_USER);   // closelog alone keeps the echo
    closelog();
    EXPECT_NE(printed.find("because 50%% done (OptDebug"), std::string::npos) << printed;
    EXPECT_NE(logged.find("because 50% done (OptDebug"), std::string::npos) << logged;
    EXPECT_NE(logged.find("because %s%n% (OptDebug"), std::string::npos) << logged;
}

TEST_F(EventCodesTest, EventsSetAndClearTheirLedPatternAndStatusBits)
{
    struct Row {
        VeskEventCode_T Code;
        std::string Led;   // what reaches the LED pipe
        std::uint32_t Before, After;
    };
    const Row rows[] = {
        {-126, "LedSetPattern:1", 0, 0x1}, {-134, "LedClrPattern:1", ~0u, 0xFFFFFFFE},
        {-156, "LedSetPattern:2", 0, 0x2}, {-175, "LedClrPattern:2", ~0u, 0xFFFFFFFD},
        {-159, "LedSetPattern:3", 0, 0x4}, {-176, "LedClrPattern:3", ~0u, 0xFFFFFFFB},
        // File corruption keeps bit 3 as it was and wipes every other bit.
        {-158, "LedSetPattern:4", 0x1F7, 0x0}, {-158, "LedSetPattern:4", 0xF, 0x8},
        {-160, "LedSetPattern:5", 0, 0x10}, {-162, "LedClrPattern:5", ~0u, 0xFFFFFFEF},
        {-161, "LedSetPattern:6", 0, 0x20}, {-163, "LedClrPattern:6", ~0u, 0xFFFFFFDF},
        {-164, "LedSetPattern:7", 0, 0x40}, {-165, "LedClrPattern:7", ~0u, 0xFFFFFFBF},
        // Same text, different conditions.
        {-167, "LedSetPattern:8", 0, 0x80}, {-169, "LedClrPattern:8", 0x180, 0x100},
        {-168, "LedSetPattern:9", 0, 0x100}, {-170, "LedClrPattern:9", 0x180, 0x080},
        {0, "", 0x5, 0x5}, {ENOENT, "", 0x5, 0x5}, {-13, "", 0x5, 0x5}, {-101, "", 0x5, 0x5},
    };
    CFifoReader led(std::getenv("IPC_LED_TASK"));
    for (const Row& row : rows) {
        m_Status.m_Word = row.Before;
        m_Status.m_Writes = 0;
        CEventCodes events(&m_Factory, &m_Status);
        Send(events, LOG_ERR, row.Code, "x");
        EXPECT_EQ(led.Drain(), row.Led.empty() ? "" : row.Led + '\0') << row.Code;
        EXPECT_EQ(m_Status.m_Word, row.After) << row.Code;
        EXPECT_EQ(m_Status.m_Writes, row.Led.empty() ? 0 : 1) << row.Code;
        // Without a record only the LED is driven.
        CEventCodes withoutRecord(&m_Factory, nullptr);
        Send(withoutRecord, LOG_ERR, row.Code, "x");
        EXPECT_EQ(led.Drain(), row.Led.empty() ? "" : row.Led + '\0') << row.Code;
    }
}

TEST_F(EventCodesTest, FactoryHandsItsRecordToEveryEvent)
{
    CFifoReader led(std::getenv("IPC_LED_TASK"));
    m_Factory.SetErrorStatusMessage(&m_Status);
    m_Factory.SendEvent(LOG_ERR, LOSS_OF_NETWORK_TRAFFIC, "CThing::Do", "silence");
    EXPECT_EQ(m_Status.m_Word, 0x1u);
    m_Factory.SendEvent(LOG_INFO, NETWORK_TRAFFIC_FOUND, "CThing::Do", "traffic");
    EXPECT_EQ(m_Status.m_Word, 0x0u);
    EXPECT_EQ(led.Drain(), "LedSetPattern:1\0LedClrPattern:1\0"s);
}

TEST_F(EventCodesTest, AcknowledgementArrivesByteForByte)
{
    CFifoReader handler(std::getenv("IPC_ERROR_HANDLER_TASK"));
    EXPECT_EQ(m_Factory.SendAckToErrorHandler("ACK_MasterBottomTask"), SUCCESS);
    EXPECT_EQ(handler.Drain(), "MasterBottomTask:ACK_MasterBottomTask\0"s);

    // 506 + ":" + "ACK_" is the longest acknowledgement that fits.
    m_Factory.SetName(std::string(506, 'T'));
    EXPECT_EQ(m_Factory.SendAckToErrorHandler("ACK_"), SUCCESS);
    EXPECT_EQ(handler.Drain(), std::string(506, 'T') + ":ACK_" + '\0');
    m_Factory.SetName(std::string(507, 'T'));
    EXPECT_EQ(m_Factory.SendAckToErrorHandler("ACK_"), ERROR_REPORT_TOO_LARGE);
    m_Factory.SetName(std::string(500, 'T'));
    EXPECT_EQ(m_Factory.SendAckToErrorHandler(("ACK_" + std::string(500, 'T')).c_str()), ERROR_REPORT_TOO_LARGE);
    EXPECT_EQ(handler.Drain(), "");

    m_Sandbox.SetEnv("IPC_ERROR_HANDLER_TASK", (m_Sandbox / "missing").c_str());
    EXPECT_EQ(m_Factory.SendAckToErrorHandler("ACK_"), ENOENT);
}

TEST_F(EventCodesTest, UnsetPipeVariableIsReportedThenAborts)
{
    EXPECT_DEATH(
        {
            dup2(STDERR_FILENO, STDOUT_FILENO);
            PipeSender::Send(&m_Factory, "VESK_UNSET_PIPE", "x");
        },
        "PipeSender::Send\\(\\) PipePath is 'VESK_UNSET_PIPE'; Not the name of a valid Environment Variable or it "
        "is not set\n.*Assertion `pipeName && \"PipeSender::Send\\(\\) PipePath is not the name of a valid "
        "Environment Variable or it is not set\"' failed");
}

TEST_F(EventCodesTest, EachLineReachesARedirectedStdoutOnceAcrossForks)
{
    const std::string output = m_Sandbox / "stdout.txt";
    std::fflush(stdout);
    const pid_t child = fork();
    ASSERT_GE(child, 0);
    if (child == 0) {
        // A file makes stdout fully buffered, as on the units.
        if (std::freopen(output.c_str(), "w", stdout) == nullptr) {
            _exit(1);
        }
        m_Factory.SendEvent(LOG_INFO, SUCCESS, "CThing::Do", "before fork");
        const pid_t grandchild = fork();
        if (grandchild == 0) {
            m_Factory.SendEvent(LOG_INFO, SUCCESS, "CThing::Do", "in grandchild");
            _exit(0);
        }
        waitpid(grandchild, nullptr, 0);
        _exit(0);   // no exit-time flush: what is not written by now is lost
    }
    int status = 0;
    ASSERT_EQ(waitpid(child, &status, 0), child);
    ASSERT_TRUE(WIFEXITED(status) && WEXITSTATUS(status) == 0);
    const std::string text = CSandbox::ReadFile(output);
    const auto count = [&text](const std::string& Needle) {
        size_t found = 0;
        for (size_t at = text.find(Needle); at != std::string::npos; at = text.find(Needle, at + 1)) {
            ++found;
        }
        return found;
    };
    EXPECT_EQ(count("\n"), 2u) << text;
    EXPECT_EQ(count("6::MasterBottomTask:SUCCESS (0) @ "), 2u) << text;
    EXPECT_EQ(count("because before fork (OptDebug Build)\n"), 1u) << text;
    EXPECT_EQ(count("because in grandchild (OptDebug Build)\n"), 1u) << text;
}
