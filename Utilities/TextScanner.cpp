#include "Utilities/TextScanner.h"

#include <cerrno>
#include <climits>
#include <cstring>

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

CTextScanner::CTextScanner(IOSSFile& File, const Buffer_Bytes_T& First, int FirstError) : m_File(File)
{
    VESK_ASSERT(First.size() <= sizeof(m_Text));
    if (FirstError != 0) {
        m_ReadError = FirstError;
        m_AtEnd = true;
    } else if (First.size() > 0) {
        std::memcpy(m_Text, First.ptr(), First.size());
        m_Size = First.size();
        m_AtEnd = m_Size < sizeof(m_Text);
    }
}

int CTextScanner::Peek()
{
    if (m_Next == m_Size && !m_AtEnd) {
        // An interrupted read is tried again, as the stream would. Any other
        // failed read ends the text; its error is what every later scan
        // reports, as the stream's reads do.
        constexpr int cMaxInterruptions = 8;
        Buffer_Bytes_T buffer(m_Text, sizeof(m_Text));
        for (int interruptions = 1; !m_File.Read(&buffer); ++interruptions) {
            buffer.size(sizeof(m_Text));
            if (m_File.GetLastError() != EINTR || interruptions == cMaxInterruptions) {
                m_ReadError = m_File.GetLastError();
                buffer.size(0);
                break;
            }
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

CTextScanner::Scan_T CTextScanner::ScanNumber(Number_T& Number)
{
    SkipBlanks();
    int next = Peek();
    if (next == -1) {
        return SCAN_END;
    }
    Number.Negative = next == '-';
    if (next == '-' || next == '+') {
        ++m_Next;
        next = Peek();
    }
    if (!IsDigit(next)) {
        // What follows the sign is left for the next scan.
        return SCAN_NO_NUMBER;
    }
    for (; IsDigit(next); ++m_Next, next = Peek()) {
        const unsigned long digit = static_cast<unsigned long>(next - '0');
        if (Number.Magnitude > (ULONG_MAX - digit) / 10) {
            Number.Overflow = true;
            Number.Magnitude = ULONG_MAX;
        } else if (!Number.Overflow) {
            Number.Magnitude = Number.Magnitude * 10 + digit;
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

template <typename Stored>
bool CTextScanner::ReadValue(Stored* Data, Stored (*Convert)(const Number_T&))
{
    VESK_ASSERT(Data);
    Number_T number;
    const Scan_T result = ScanNumber(number);
    if (result != SCAN_END) {
        *Data = result == SCAN_VALUE ? Convert(number) : 0;
    }
    return Finish(result);
}

int CTextScanner::AsInt(const Number_T& Number)
{
    // As a signed long conversion: saturated at its limits, then cut to the
    // int the scan stores.
    const unsigned long limit = Number.Negative ? static_cast<unsigned long>(LONG_MAX) + 1 : LONG_MAX;
    if (Number.Overflow || Number.Magnitude > limit) {
        errno = ERANGE;
        return static_cast<int>(Number.Negative ? LONG_MIN : LONG_MAX);
    }
    return static_cast<int>(Number.Negative ? static_cast<long>(0 - Number.Magnitude)
                                            : static_cast<long>(Number.Magnitude));
}

UINT8 CTextScanner::AsByte(const Number_T& Number)
{
    // As an unsigned long conversion (a minus sign negates modulo its range),
    // cut to the unsigned int the scan stores, then to a byte.
    if (Number.Overflow) {
        errno = ERANGE;
        return static_cast<UINT8>(static_cast<unsigned int>(ULONG_MAX));
    }
    const unsigned long value = Number.Negative ? 0 - Number.Magnitude : Number.Magnitude;
    return static_cast<UINT8>(static_cast<unsigned int>(value));
}

bool CTextScanner::Read(int* Data)
{
    return ReadValue(Data, &AsInt);
}

bool CTextScanner::Read(UINT8* Data)
{
    return ReadValue(Data, &AsByte);
}
