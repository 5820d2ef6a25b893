#ifndef UTILITIES_IOSSFILE_H
#define UTILITIES_IOSSFILE_H

#include <poll.h>

#include <cstddef>
#include <vector>

#include "Utilities/ByteBuffer.h"
#include "Utilities/VeskTypes.h"

// Entries laid out as the platform's poll record (descriptor, requested
// events, returned events).
using PollMembers_T = std::vector<pollfd>;

// One open file, named pipe or device node. Obtained only from
// IOSSFactory::CreateFile / CreatePipe, which open it at once; the caller owns
// it and deletes it, which closes it. A failed open still yields an object:
// check GetLastError() right after creation.
//
// GetLastError() is 0, an errno value, -1 (Ioctl) or -140 (the file is held
// open write-only by another process). Boolean results are true exactly when
// the recorded error is 0, unless an operation says otherwise.
class IOSSFile {
public:
    // Longest name (path) a file can be opened by; a longer one is a
    // programming error.
    static constexpr size_t cMaxNameLength = 255;

    virtual ~IOSSFile() = default;

    // lseek on the descriptor. False with no descriptor.
    virtual bool Seek(int offset, int whence) = 0;
    // One read of up to Buffer->size() bytes; the size becomes the count read
    // (0 at end of file). False with no descriptor or on failure.
    virtual bool Read(Buffer_Bytes_T* Buffer) = 0;
    // One write of Buffer->size() bytes; the size becomes the count written.
    virtual bool Write(const Buffer_Bytes_T* Buffer) = 0;
    // ioctl; a non-zero result is recorded as the error (-1, not errno).
    virtual bool Ioctl(unsigned request, unsigned argument) = 0;

    // Typed text reads from the stream. Past the end of the text they report
    // success with the destination unchanged, unless errno was already set.
    virtual bool ReadStream(UINT8* Data) = 0;
    virtual bool ReadStream(UINT16* Data) = 0;
    virtual bool ReadStream(UINT32* Data) = 0;
    virtual bool ReadStream(int* Data) = 0;
    virtual bool ReadStream(long unsigned int* Data) = 0;
    virtual bool ReadStream(int* Data, size_t Count) = 0;
    // The floating point slots keep the fielded units' results: the double
    // slot yields a tiny subnormal and the float slots 0.0, whatever the text.
    virtual bool ReadStream(double* Data) = 0;
    virtual bool ReadStream(float* Data) = 0;
    virtual bool ReadStream(float* Data, size_t Count) = 0;
    virtual bool ReadStream(char* Data) = 0;
    virtual bool ReadStream(char* Data, const char* Format) = 0;
    virtual bool ReadStream(short int* Data) = 0;
    virtual bool ReadStream(short int* Data, size_t Count) = 0;
    virtual bool ReadStream(bool* Data) = 0;
    // Writes the text (no newline added) and flushes.
    virtual bool WriteStream(const char* Data) = 0;

    // poll this file: 1 ready, 0 timed out, -1 failed (error recorded).
    virtual int Poll(short events, int timeout) = 0;
    // poll several descriptors; returns -1, 0, or the one-based position of
    // the first ready entry. Elements' returned events are not filled in.
    virtual int MultiPoll(PollMembers_T* ElementsToPoll, int timeout) = 0;

    virtual int GetLastError() const = 0;
    virtual int GetFileDescriptor() const = 0;
    virtual bool SeekStream(long offset, int whence) = 0;
    // ftell on the stream; -1 without a stream.
    virtual long TellStream() = 0;
    // 0 or errno; neither changes the last error.
    virtual int Fsync() = 0;
    virtual int Ftruncate(int length) = 0;

protected:
    IOSSFile() = default;
    IOSSFile(const IOSSFile&) = delete;
    IOSSFile& operator=(const IOSSFile&) = delete;
};

#endif
