#include "Utilities/TextScanner.h"

#include <cerrno>
#include <climits>

#include "Utilities/VeskAssert.h"

namespace {

// The blanks of the C locale, which the task runs in.
bool IsBlank(int Character)
{
    return Character == ' ' || (Character >= '\t' && Character <= '\r');
}

bool IsDigit(int Character)
{
    return Character >= '0' && Character <= '9';
}

} // namespace

int CTextScanner::Peek()
{
    if (m_Next == m_Size && !m_AtEnd) {
        Buffer_Bytes_T buffer(m_Text, sizeof(m_Text));
        // A failed read ends the text; its errno is what every later scan
        // reports, as the stream's reads do.
        if (!m_File.Read(&buffer)) {
            m_ReadError = errno;
            buffer.size(0);
        }
        m_Size = buffer.size();
        m_Next = 0;
        m_AtEnd = m_Size < sizeof(m_Text);
    }
    return m_Next < m_Size ? m_Text[m_Next] : -1;
}

void CTextScanner::SkipBlanks()
{
    while (IsBlank(Peek())) {
        ++m_Next;
    }
}

CTextScanner::Scan_T CTextScanner::ScanNumber(bool& Negative, unsigned long& Magnitude, bool& Overflow)
{
    SkipBlanks();
    int next = Peek();
    if (next == -1) {
        return SCAN_END;
    }
    Negative = next == '-';
    if (next == '-' || next == '+') {
        ++m_Next;
        next = Peek();
    }
    if (!IsDigit(next)) {
        // What follows the sign is left for the next scan.
        return SCAN_NO_NUMBER;
    }
    Magnitude = 0;
    Overflow = false;
    for (; IsDigit(next); ++m_Next, next = Peek()) {
        const unsigned long digit = static_cast<unsigned long>(next - '0');
        if (Magnitude > (ULONG_MAX - digit) / 10) {
            Overflow = true;
            Magnitude = ULONG_MAX;
        } else if (!Overflow) {
            Magnitude = Magnitude * 10 + digit;
        }
    }
    SkipBlanks();
    return SCAN_VALUE;
}

bool CTextScanner::Finish(Scan_T Result)
{
    if (Result != SCAN_END) {
        m_LastError = 0;
        return true;
    }
    // The C library's scan leaves errno 0 at a clean end of the text, and
    // the read's errno after a failed read.
    errno = m_ReadError;
    m_LastError = m_ReadError;
    return m_LastError == 0;
}

bool CTextScanner::Read(int* Data)
{
    VESK_ASSERT(Data);
    bool negative = false;
    unsigned long magnitude = 0;
    bool overflow = false;
    const Scan_T result = ScanNumber(negative, magnitude, overflow);
    if (result == SCAN_VALUE) {
        // As a signed long conversion: saturated at its limits, then cut to
        // the int the scan stores.
        const unsigned long limit = negative ? static_cast<unsigned long>(LONG_MAX) + 1 : LONG_MAX;
        long value;
        if (overflow || magnitude > limit) {
            errno = ERANGE;
            value = negative ? LONG_MIN : LONG_MAX;
        } else {
            value = negative ? static_cast<long>(0 - magnitude) : static_cast<long>(magnitude);
        }
        *Data = static_cast<int>(value);
    } else if (result == SCAN_NO_NUMBER) {
        *Data = 0;
    }
    return Finish(result);
}

bool CTextScanner::Read(UINT8* Data)
{
    VESK_ASSERT(Data);
    bool negative = false;
    unsigned long magnitude = 0;
    bool overflow = false;
    const Scan_T result = ScanNumber(negative, magnitude, overflow);
    if (result == SCAN_VALUE) {
        // As an unsigned long conversion (a minus sign negates modulo its
        // range), cut to the unsigned int the scan stores, then to a byte.
        unsigned long value = negative ? 0 - magnitude : magnitude;
        if (overflow) {
            errno = ERANGE;
            value = ULONG_MAX;
        }
        *Data = static_cast<UINT8>(static_cast<unsigned int>(value));
    } else if (result == SCAN_NO_NUMBER) {
        *Data = 0;
    }
    return Finish(result);
}
