#include "Utilities/LedPatternMessage.h"

#include <climits>
#include <cstdio>
#include <cstring>

#include "Utilities/PipeSender.h"
#include "Utilities/VeskAssert.h"

namespace {

constexpr const char* cLedPipe = "IPC_LED_TASK";

// The rest of Text after Prefix, or null when Text does not begin with it.
const char* AfterPrefix(const char* Text, const char* Prefix)
{
    const size_t length = std::strlen(Prefix);
    return std::strncmp(Text, Prefix, length) == 0 ? Text + length : nullptr;
}

} // namespace

CLedPatternMessage::CLedPatternMessage(IOSSFactory* pFactory)
    : m_Message{}, m_Reserved(0), m_pFactory(pFactory)
{
    VESK_ASSERT(pFactory);
}

CLedPatternMessage::~CLedPatternMessage() = default;

VeskEventCode_T CLedPatternMessage::SetPattern(LedErrorPattern_T Pattern)
{
    return Send(cSetPrefix, Pattern);
}

VeskEventCode_T CLedPatternMessage::ClearPattern(LedErrorPattern_T Pattern)
{
    return Send(cClearPrefix, Pattern);
}

VeskEventCode_T CLedPatternMessage::Send(const char* Prefix, int Number)
{
    VESK_ASSERT(Prefix);
    const int needed = std::snprintf(m_Message, sizeof(m_Message), "%s%d", Prefix, Number);
    if (needed < 0 || static_cast<size_t>(needed) >= sizeof(m_Message)) {
        // A cut message could name another pattern: send none. The LED is
        // advisory, so this is not an error for the caller.
        return SUCCESS;
    }
    return PipeSender::Send(m_pFactory, cLedPipe, m_Message);
}

LedErrorPattern_T CLedPatternMessage::getCode(const char* Message)
{
    VESK_ASSERT(Message);
    const char* digits = AfterPrefix(Message, cSetPrefix);
    if (digits == nullptr) {
        digits = AfterPrefix(Message, cClearPrefix);
    }
    if (digits == nullptr || *digits == '\0') {
        return cNoLedPattern;
    }
    LedErrorPattern_T value = 0;
    for (const char* p = digits; *p != '\0'; ++p) {
        if (*p < '0' || *p > '9') {
            return cNoLedPattern;
        }
        const int digit = *p - '0';
        if (value > (INT_MAX - digit) / 10) {
            return cNoLedPattern;
        }
        value = value * 10 + digit;
    }
    return value;
}
