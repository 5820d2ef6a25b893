#include "Utilities/EventCodes.h"

#include <cstdint>
#include <cstdio>
#include <cstring>
#include <ctime>
#include <iterator>
#include <memory>
#include <new>

#include "Database/IDatabaseErrorStatusMessage.h"
#include "Utilities/IOSSFactory.h"
#include "Utilities/LedPatternMessage.h"
#include "Utilities/PipeSender.h"
#include "Utilities/VeskAssert.h"

namespace {

// One row per code: its text, its LED pattern and its error status bits.
// A constant-initialised array rather than a map: it exists before any
// constructor runs, so an event reported from another static's constructor
// still finds it.
constexpr EventCodeRow_T cEvents[] = {
    {0, "SUCCESS"},
    {-1, "libUSB Input/output error"},
    {-2, "libUSB Invalid parameter"},
    {-3, "libUSB Access denied (insufficient permissions)"},
    {-4, "libUSB No such device (it may have been disconnected)"},
    {-5, "libUSB Entity not found"},
    {-6, "libUSB Resource busy"},
    {-7, "libUSB Operation timed out"},
    {-8, "libUSB Overflow"},
    {-9, "libUSB Pipe error"},
    {-10, "libUSB System call interrupted (perhaps due to signal)"},
    {-11, "libUSB Insufficient memory"},
    {-12, "libUSB Operation not supported or unimplemented on this platform"},
    {-99, "libUSB Other error"},
    {-101, "OSS_FILE_FAILURE"},
    {-102, "OSS_NETWORK_FAILURE"},
    {-103, "DOBII_FAILURE"},
    {-104, "FILE_HANDLE_UNINITIALISED"},
    {-105, "NO_FACTORY_PRESENT"},
    {-106, "NO_ROOT_DIR_ENVVAR_PRESENT"},
    {-107, "DATABASE_NOT_COPIED_PATH_TOO_LONG"},
    {-108, "PIPE_MESSAGE_TOO_LONG"},
    {-109, "FAILED_TO_SEND_ALL_DATA"},
    {-110, "PIPE_OPEN_FAILURE"},
    {-111, "TASK_NO_PINGS_ENABLED"},
    {-112, "SONAR4_ERROR_NO_TX_SOCKET_CREATED"},
    {-113, "SONAR4_ERROR_BUFFER_TOO_SMALL_FOR_MESSAGE"},
    {-114, "SONAR4_ERROR_BIND_FAILURE_SYSTEM_PORT"},
    {-115, "SONAR4_ERROR_RECIEVE_FAILURE_SYSTEM_PORT"},
    {-116, "SONAR4_ERROR_MESSAGE_UNKNOWN"},
    {-117, "TOO_MANY_FILES_TO_POLL"},
    {-118, "DATABASE_NOT_CREATED"},
    {-119, "TASK_TIMED_OUT"},
    {-120, "TOO_MANY_TASKS_TO_MONITOR"},
    {-121, "TASK_FAILURE_DETECTED"},
    {-122, "NO_TASK_MATCHES_ACK"},
    {-123, "PING_PARAM_FAILED_TO_OPEN_FILE "},
    {-124, "PING_PARAM_NO_FILES_FOUND"},
    {-125, "ERROR_REPORT_TOO_LARGE"},
    {-126, "LOSS_OF_NETWORK_TRAFFIC", 1, LED_SET, 0x00000001u, STATUS_OR},
    {-127, "PIPE_COMMAND_UNKNOWN"},
    {-128, "NO_RESPONSE_FROM_TASK"},
    {-129, "SONAR4_PING_CHANGE_COMMAND_NOT_RECOGNISED"},
    {-130, "SONAR4_DEBUG_COMMAND_NOT_RECOGNISED"},
    {-131, "SONAR4_GLOBAL_CHANGE_COMMAND_NOT_RECOGNISED"},
    {-132, "SONAR4_XDCR_CHANGE_COMMAND_NOT_RECOGNISED"},
    {-133, "NO_ENVIRONMENT_VARIABLE_FOUND"},
    {-134, "NETWORK_TRAFFIC_FOUND", 1, LED_CLEAR, 0xFFFFFFFEu, STATUS_AND},
    {-135, "Shutdown task request"},
    {-136, "Failure to download Sam3u code"},
    {-137, "Failure to download FPGA"},
    {-138, "Failure to read the USB"},
    {-139, "Failure to write to the USB"},
    {-140, "File Access Denied"},
    {-141, "Failed to read File Contents"},
    {-142, "Failed to write File Contents"},
    {-143, "Failed to find ping"},
    {-144, "No TransducerID data available"},
    {-145, "The code block length contained in header is 0"},
    {-146, "Failed to create pointer to file"},
    {-147, "DOBII header checksum is wrong"},
    {-148, "DOBII header extraction failed"},
    {-149, "DOBII checksum failed"},
    {-150, "DOBII file checksum is wrong"},
    {-151, "Failed to extract data from file"},
    {-152, "Failed to download dob and install it"},
    {-153, "Failure to sychronise the USB"},
    {-154, "USB is not waiting for any data"},
    {-155, "Mismatch in Depth Transducer Power levels"},
    {-156, "Depth Transducer has been unplugged", 2, LED_SET, 0x00000002u, STATUS_OR},
    {-157, "Depth Transducer user selection mismatch"},
    // Deliberately an AND: file corruption wipes every other standing fault
    // and leaves bit 3 as it was. Other units depend on this; do not make it
    // an OR. Nothing clears its LED pattern: it stays lit.
    {-158, "Possible File corruption found in database", 4, LED_SET, 0x00000008u, STATUS_AND},
    {-159, "FPGA Timeout due to a failure to boost", 3, LED_SET, 0x00000004u, STATUS_OR},
    {-160, "Transducer Too Hot to ping", 5, LED_SET, 0x00000010u, STATUS_OR},
    {-161, "Power Amp Too Hot to ping", 6, LED_SET, 0x00000020u, STATUS_OR},
    {-162, "Transducer Cooled Down", 5, LED_CLEAR, 0xFFFFFFEFu, STATUS_AND},
    {-163, "Power Amp Cooled Down", 6, LED_CLEAR, 0xFFFFFFDFu, STATUS_AND},
    {-164, "Ambient Too Hot to ping", 7, LED_SET, 0x00000040u, STATUS_OR},
    {-165, "Ambient Cooled Down", 7, LED_CLEAR, 0xFFFFFFBFu, STATUS_AND},
    {-166, "Temperatures have read as zero"},
    {-167, "Battery Voltage Too High", 8, LED_SET, 0x00000080u, STATUS_OR},
    {-168, "Battery Voltage Too Low", 9, LED_SET, 0x00000100u, STATUS_OR},
    // -169 ends the too-high condition, -170 the too-low one.
    {-169, "Battery Voltage OK", 8, LED_CLEAR, 0xFFFFFF7Fu, STATUS_AND},
    {-170, "Battery Voltage OK", 9, LED_CLEAR, 0xFFFFFEFFu, STATUS_AND},
    {-171, "UART Poll timed out"},
    {-172, "Thread Creation Failed"},
    {-173, "UART Failure"},
    {-174, "No Water Temp Available"},
    {-175, "Transducer Reconnected", 2, LED_CLEAR, 0xFFFFFFFDu, STATUS_AND},
    {-176, "FPGA Pinging Again", 3, LED_CLEAR, 0xFFFFFFFBu, STATUS_AND},
    {-177, "No FPGA Interface Installed"},
    {-178, "No Fpga Data received Over SPI"},
};
static_assert(sizeof(cEvents) / sizeof(cEvents[0]) == 92, "one row per listed event");

constexpr const char* cBuildLabel = "OptDebug";
constexpr const char* cErrorHandlerPipe = "IPC_ERROR_HANDLER_TASK";

// The line has always been handed to syslog as its format, so a "%%" typed
// into a Where or Why text is logged as a single "%". Passing an arbitrary
// line as a format is undefined behaviour as soon as it holds a conversion
// with no argument, so the line never becomes the format: when its only
// '%' characters are "%%" pairs, the pairs are collapsed here, which is
// exactly what the logger would have printed; any other '%' makes the line
// go out verbatim.
void LogLine(IOSSFactory* pFactory, int priority, const char (&Line)[CEventCodes::cMessageSize])
{
    char logged[CEventCodes::cMessageSize];
    size_t out = 0;
    // Collapsing only ever shortens the line; the bound keeps every read and
    // write inside the buffers whatever the line holds.
    for (size_t in = 0; in + 1 < sizeof(logged) && Line[in] != '\0'; ++in) {
        if (Line[in] == '%') {
            if (Line[in + 1] != '%') {
                pFactory->WriteSystemLog(priority, Line);
                return;
            }
            ++in;
        }
        logged[out++] = Line[in];
    }
    logged[out] = '\0';
    pFactory->WriteSystemLog(priority, logged);
}

} // namespace

CEventCodes::CEventCodes(IOSSFactory* pFactory, IDatabaseErrorStatusMessage* pErrorStatus)
    : m_Task(), m_Message{}, m_pFactory(pFactory), m_pErrorStatus(pErrorStatus)
{
    VESK_ASSERT(pFactory);
    m_Task = pFactory->GetName();
    VESK_ASSERT(m_Task.c_str());
}

const EventCodeRow_T* CEventCodes::FindEvent(VeskEventCode_T code)
{
    for (const EventCodeRow_T& row : cEvents) {
        if (row.Code == code) {
            return &row;
        }
    }
    return nullptr;
}

const char* CEventCodes::EventText(VeskEventCode_T code)
{
    const EventCodeRow_T* row = FindEvent(code);
    return row ? row->Text : nullptr;
}

EventCodeTable_T CEventCodes::Events()
{
    return {std::begin(cEvents), std::end(cEvents)};
}

VeskEventCode_T CEventCodes::SendEvent(int priority, VeskEventCode_T code, const char* Where, const char* Why)
{
    VESK_ASSERT(Where);
    VESK_ASSERT(Why);

    const char* What = EventText(code);
    if (What == nullptr) {
        What = cNotListedText;
    }
    if (code > 0) {
        // Positive codes are errno values passed through.
        What = std::strerror(code);
    }

    const VeskEventCode_T result = ConstructMessage(What, Where, Why, code);
    if (result == SUCCESS) {
        // Flushed at once: with stdout on a file or pipe the line would
        // otherwise sit in the buffer, and a fork would print it twice.
        std::printf("%d::%s\n", priority, m_Message);
        std::fflush(stdout);
        LogLine(m_pFactory, priority, m_Message);
    }

    // The effects do not depend on the line having fitted.
    SendToLed(code);
    UpdateErrorStatus(code);
    return result;
}

VeskEventCode_T CEventCodes::ConstructMessage(const char* What, const char* Where, const char* Why,
                                              VeskEventCode_T code)
{
    VESK_ASSERT(What);
    VESK_ASSERT(Where);
    VESK_ASSERT(Why);

    const std::time_t now = std::time(nullptr);
    char timeText[64] = {};
    if (ctime_r(&now, timeText) != nullptr) {
        const size_t length = std::strlen(timeText);
        if (length > 0) {
            timeText[length - 1] = '\0';   // the newline
        }
    }

    const int needed = std::snprintf(m_Message, sizeof(m_Message), "%s:%s (%d) @ %s in %s because %s (%s Build)",
                                     m_Task.c_str(), What, code, timeText, Where, Why, cBuildLabel);
    if (needed < 0 || static_cast<size_t>(needed) >= sizeof(m_Message)) {
        return ERROR_REPORT_TOO_LARGE;
    }
    return SUCCESS;
}

VeskEventCode_T CEventCodes::ConstructAck(const char* Ack)
{
    VESK_ASSERT(Ack);
    const int needed = std::snprintf(m_Message, sizeof(m_Message), "%s:%s", m_Task.c_str(), Ack);
    if (needed < 0 || static_cast<size_t>(needed) >= sizeof(m_Message)) {
        return ERROR_REPORT_TOO_LARGE;
    }
    return SUCCESS;
}

VeskEventCode_T CEventCodes::SendAckToErrorHandler(const char* Ack)
{
    VESK_ASSERT(Ack);
    const VeskEventCode_T result = ConstructAck(Ack);
    if (result != SUCCESS) {
        return result;
    }
    return PipeSender::Send(m_pFactory, cErrorHandlerPipe, m_Message);
}

VeskEventCode_T CEventCodes::SendToLed(VeskEventCode_T code)
{
    std::unique_ptr<CLedPatternMessage> pLedMsg(new (std::nothrow) CLedPatternMessage(m_pFactory));
    VESK_ASSERT(pLedMsg);
    const EventCodeRow_T* row = code < 0 ? FindEvent(code) : nullptr;
    // Events never fail because of the LED: its results are not examined.
    if (row && row->Led == LED_SET) {
        pLedMsg->SetPattern(row->LedPattern);
    } else if (row && row->Led == LED_CLEAR) {
        pLedMsg->ClearPattern(row->LedPattern);
    }
    return SUCCESS;
}

VeskEventCode_T CEventCodes::UpdateErrorStatus(VeskEventCode_T code)
{
    if (code >= 0 || m_pErrorStatus == nullptr) {
        return SUCCESS;
    }
    const EventCodeRow_T* row = FindEvent(code);
    if (row == nullptr || row->Status == STATUS_NONE) {
        return SUCCESS;
    }
    // Read-modify-write through the record: each step goes to the file, so
    // other processes see the word at once; a change between the two steps
    // is lost.
    const std::uint32_t word = m_pErrorStatus->GetErrorStatus();
    m_pErrorStatus->SetErrorStatus(row->Status == STATUS_OR ? (word | row->StatusMask) : (word & row->StatusMask));
    return SUCCESS;
}
