#ifndef UTILITIES_EVENTCODES_H
#define UTILITIES_EVENTCODES_H

#include <cstddef>
#include <cstdint>
#include <string>

#include "Utilities/LedPatternMessage.h"
#include "Utilities/VeskEventCode.h"

class IOSSFactory;
class IDatabaseErrorStatusMessage;

// What an event does to its front-panel LED pattern.
enum EventLedAction_T : std::uint8_t { LED_NONE, LED_SET, LED_CLEAR };
// What an event does to the error status word: OR its mask in, or AND the
// word with its mask.
enum EventStatusAction_T : std::uint8_t { STATUS_NONE, STATUS_OR, STATUS_AND };

// Everything the system knows about one event code. Codes without a row
// are shown with CEventCodes::cNotListedText and have no effects.
struct EventCodeRow_T {
    VeskEventCode_T Code;
    const char* Text;
    LedErrorPattern_T LedPattern = cNoLedPattern;
    EventLedAction_T Led = LED_NONE;
    std::uint32_t StatusMask = 0;
    EventStatusAction_T Status = STATUS_NONE;
};

// The rows of the event table, in the table's order.
struct EventCodeTable_T {
    const EventCodeRow_T* Begin;
    const EventCodeRow_T* End;
    const EventCodeRow_T* begin() const { return Begin; }
    const EventCodeRow_T* end() const { return End; }
};

// Reports one event: turns it into one line, prints and logs that line,
// drives the LED pattern and the error status word the event has. Also sends
// acknowledgements to the error-handler task. Built by the factory for one
// call and thrown away; the LED task and the error status record keep the
// state.
class CEventCodes {
public:
    static constexpr size_t cMessageSize = 512;
    // What is shown for a code that has no text of its own.
    static constexpr const char* cNotListedText = "Event Not Listed in CEventCodes.cpp";

    // Neither pointer is owned; the error status record may be null (no
    // status effects then).
    CEventCodes(IOSSFactory* pFactory, IDatabaseErrorStatusMessage* pErrorStatus);
    CEventCodes(const CEventCodes&) = delete;
    CEventCodes& operator=(const CEventCodes&) = delete;

    // Prints "<priority>::<line>" and logs the line at that syslog priority,
    // then applies the LED and error status effects of the code (also when the
    // line was too long to print). Returns 0 or -125 (line too long).
    VeskEventCode_T SendEvent(int priority, VeskEventCode_T code, const char* Where, const char* Why);

    // Formats the event line into the message buffer; -125 when it needs 512
    // characters or more (the buffer then holds its first 511).
    VeskEventCode_T ConstructMessage(const char* What, const char* Where, const char* Why, VeskEventCode_T code);
    // Formats "<task name>:<Ack>" into the message buffer; -125 when too long.
    VeskEventCode_T ConstructAck(const char* Ack);
    // Sends "<task name>:<Ack>" to the pipe named by IPC_ERROR_HANDLER_TASK.
    // Returns -125 (nothing sent), or the pipe's result.
    VeskEventCode_T SendAckToErrorHandler(const char* Ack);
    // Sets or clears the code's LED pattern, if it has one. The LED is
    // advisory: the pipe's result is ignored and 0 returned.
    VeskEventCode_T SendToLed(VeskEventCode_T code);
    // Applies the code's error status mask, if it has one and there is a
    // record. Always 0.
    VeskEventCode_T UpdateErrorStatus(VeskEventCode_T code);

    // The code's row, or null when it has none.
    static const EventCodeRow_T* FindEvent(VeskEventCode_T code);
    // The text of the code's row, or null when it has none.
    static const char* EventText(VeskEventCode_T code);
    // The whole table, one row per code.
    static EventCodeTable_T Events();

    // The last line or acknowledgement built.
    const char* GetMessage() const { return m_Message; }

private:
    std::string m_Task;
    char m_Message[cMessageSize];
    IOSSFactory* m_pFactory;
    IDatabaseErrorStatusMessage* m_pErrorStatus;
};

#endif
