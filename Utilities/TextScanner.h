#ifndef UTILITIES_TEXTSCANNER_H
#define UTILITIES_TEXTSCANNER_H

#include <cstddef>
#include <cstdint>

#include "Utilities/ByteBuffer.h"
#include "Utilities/IOSSFile.h"
#include "Utilities/VeskTypes.h"

// Decimal values read from a file's text with the same results as the
// file's typed stream reads ("%d " and "%u "), without a stream: the text
// is taken with the file's own Read, a chunk at a time, and a read that
// returns less than asked for is taken as the end of the text. A short text
// file therefore costs one read and no memory beyond this object.
//
// As with the stream reads: a text that is no number stores 0 (a sign on
// its own is used up), a number too long for the scan's width is cut as
// the C library cuts it (errno ERANGE when even a long cannot hold it), and
// at the end of the text nothing is stored and the result is true, unless
// a read failed (its errno is then the error).
class CTextScanner {
public:
    // The text is read in chunks of this size: a page, as a stream reads
    // it, so that even megabytes of blanks cost few reads.
    static constexpr size_t cChunkSize = 4096;

    explicit CTextScanner(IOSSFile& File) : m_File(File) {}
    // Text whose first chunk was read already: First holds what that read
    // gave (nothing: the scanner makes the first read itself), or
    // FirstError the errno of its failure.
    CTextScanner(IOSSFile& File, const Buffer_Bytes_T& First, int FirstError);
    CTextScanner(const CTextScanner&) = delete;
    CTextScanner& operator=(const CTextScanner&) = delete;

    // As IOSSFile::ReadStream(int*) and ReadStream(UINT8*).
    bool Read(int* Data);
    bool Read(UINT8* Data);
    // 0, or the errno of the failed read that ended the text.
    int GetLastError() const { return m_LastError; }

private:
    enum Scan_T { SCAN_VALUE, SCAN_NO_NUMBER, SCAN_END };
    // A scanned number: its sign and its digits' value, saturated at the
    // widest unsigned long (Overflow tells that it was).
    struct Number_T {
        bool Negative = false;
        unsigned long Magnitude = 0;
        bool Overflow = false;
    };

    // One number: blanks, an optional sign, the digits, then the blanks
    // after it.
    Scan_T ScanNumber(Number_T& Number);
    // One value: the number converted, 0 for a text that is no number,
    // nothing at the end of the text.
    template <typename Stored>
    bool ReadValue(Stored* Data, Stored (*Convert)(const Number_T&));
    static int AsInt(const Number_T& Number);
    static UINT8 AsByte(const Number_T& Number);
    // Whether a scan met a value; at the end records errno.
    bool Finish(Scan_T Result);
    // The next character, or -1 at the end of the text.
    int Peek();
    void SkipBlanks();

    IOSSFile& m_File;
    uint8_t m_Text[cChunkSize] = {};
    size_t m_Size = 0;
    size_t m_Next = 0;
    bool m_AtEnd = false;
    int m_ReadError = 0;
    int m_LastError = 0;
};

#endif
