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
#define VESK_EVENT(Name, Code, Text) {Name, Text},
#define VESK_LASTING_EVENT(Name, Code, Text, LedPattern, LedAction, StatusMask, StatusAction) \
    {Name, Text, LedPattern, LedAction, StatusMask, StatusAction},
#include "Utilities/VeskEventCodes.def"
};

constexpr bool EachCodeHasOneRow()
{
    for (const EventCodeRow_T& row : cEvents) {
        int rows = 0;
        for (const EventCodeRow_T& other : cEvents) {
            rows += other.Code == row.Code ? 1 : 0;
        }
        if (rows != 1) {
            return false;
        }
    }
    return true;
}
// A number given twice in the list would hide the second row from lookups.
static_assert(EachCodeHasOneRow(), "two rows for one code in Utilities/VeskEventCodes.def");

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
