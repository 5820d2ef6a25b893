#ifndef UTILITIES_LEDPATTERNMESSAGE_H
#define UTILITIES_LEDPATTERNMESSAGE_H

#include <cstddef>

#include "Utilities/VeskEventCode.h"
#include "Utilities/VeskTypes.h"

class IOSSFactory;

// Number of a front-panel LED error pattern (1 to 9 are in use).
using LedErrorPattern_T = int;

// What getCode answers for a text that names no pattern.
constexpr LedErrorPattern_T cNoLedPattern = -1;

// Asks the LED task, through its pipe (IPC_LED_TASK), to show or stop showing
// a pattern. The LED task keeps the state; this object only sends.
class CLedPatternMessage {
public:
    static constexpr size_t cMessageSize = 64;
    static constexpr const char* cSetPrefix = "LedSetPattern:";
    static constexpr const char* cClearPrefix = "LedClrPattern:";

    // The factory is not owned and must outlive the object.
    explicit CLedPatternMessage(IOSSFactory* pFactory);
    virtual ~CLedPatternMessage();
    CLedPatternMessage(const CLedPatternMessage&) = delete;
    CLedPatternMessage& operator=(const CLedPatternMessage&) = delete;

    // Sends "LedSetPattern:<n>" / "LedClrPattern:<n>".
    VeskEventCode_T SetPattern(LedErrorPattern_T Pattern);
    VeskEventCode_T ClearPattern(LedErrorPattern_T Pattern);

    // Sends Prefix followed by Number in decimal, NUL included. A text longer
    // than 63 characters is not sent and counts as success; otherwise the
    // result is 0 or the errno of opening or writing the pipe (2 when there is
    // no pipe at the path).
    VeskEventCode_T Send(const char* Prefix, int Number);

    // The pattern named by a received message: the text must be one of the
    // two prefixes followed by nothing but one or more decimal digits, whose
    // value fits a LedErrorPattern_T. Anything else (other prefix, no digits,
    // sign, blanks, trailing characters, overflow) gives cNoLedPattern.
    static LedErrorPattern_T getCode(const char* Message);

    // The last message built (all zero before the first).
    const char* GetMessage() const { return m_Message; }

private:
    char m_Message[cMessageSize];
    [[maybe_unused]] UINT32 m_Reserved;   // kept zero; room for a future field
    IOSSFactory* m_pFactory;
};

#endif
