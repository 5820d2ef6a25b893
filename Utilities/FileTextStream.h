#ifndef UTILITIES_FILETEXTSTREAM_H
#define UTILITIES_FILETEXTSTREAM_H

#include <cstddef>
#include <cstdio>

#include "Utilities/VeskTypes.h"

// The typed text stream over an open file's descriptor, made on first use:
// most files are only ever read or written whole, and a stream costs a
// query of the descriptor and memory on every open. Its failures are
// recorded in the owning file's last error, which it is given to share.
// Once made, the stream owns the descriptor: closing it closes both.
class CFileTextStream {
public:
    explicit CFileTextStream(int& LastError) : m_LastError(LastError) {}
    CFileTextStream(const CFileTextStream&) = delete;
    CFileTextStream& operator=(const CFileTextStream&) = delete;

    // The descriptor and the fdopen mode of the stream still to be made.
    void Prepare(int Descriptor, const char* Mode);
    // True when a stream was made and is now closed, its descriptor with it;
    // false when the descriptor is still the caller's to close.
    bool Close();

    bool Read(UINT8* Data);
    bool Read(UINT16* Data);
    bool Read(UINT32* Data);
    bool Read(int* Data);
    bool Read(long unsigned int* Data);
    bool Read(int* Data, size_t Count);
    bool Read(double* Data);
    bool Read(float* Data);
    bool Read(float* Data, size_t Count);
    bool Read(char* Data);
    bool Read(char* Data, const char* Format);
    bool Read(short int* Data);
    bool Read(short int* Data, size_t Count);
    bool Read(bool* Data);
    bool Write(const char* Data);
    bool Seek(long offset, int whence);
    long Tell();

private:
    // The stream, made now if it is still to be made; null with no
    // descriptor or when it cannot be made (errno recorded).
    FILE* Stream();

    // One typed value scanned with Format into a Scanned temporary and
    // stored as Stored; past the end of the text the error is errno.
    template <typename Scanned, typename Stored>
    bool ReadValue(Stored* Data, const char* Format);
    // Count values, each as above; a position with no text left is kept.
    template <typename Scanned, typename Stored>
    bool ReadValues(Stored* Data, size_t Count, const char* Format);

    int& m_LastError;
    int m_FileDescriptor = -1;
    FILE* m_pFile = nullptr;
    // Mode of the stream still to be made; null when there is none to make.
    const char* m_StreamMode = nullptr;
};

#endif
