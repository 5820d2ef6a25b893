#ifndef UTILITIES_OSSLINUXFILE_H
#define UTILITIES_OSSLINUXFILE_H

#include <sys/types.h>

#include <cstddef>

#include "Utilities/FileTextStream.h"
#include "Utilities/IOSSFile.h"

// A file of the Linux units, opened by the constructor.
//
// Opening enforces one writer per file between processes with whole-file
// fcntl record locks. Those locks belong to the process, not to the
// descriptor: two opens of one file in one process never conflict, and
// closing any descriptor of a file drops all of the process's locks on it.
// Only write-only opens take the lock; every open checks for one, so nobody
// can open a file another process holds open write-only (-140).
//
// An open for writing (write-only or read-write) refuses a symbolic link at
// the name: the last error is then ELOOP, as from any failed open.
class COSSLinuxFile : public IOSSFile {
public:
    COSSLinuxFile(const char* Name, int flags, int mode);
    ~COSSLinuxFile() override;

    // Files are opened and closed several times on every loop turn: the
    // storage of closed ones is kept for the next open instead of going
    // back to the heap.
    static void* operator new(size_t Size);
    static void operator delete(void* Block, size_t Size);

    bool Seek(int offset, int whence) override;
    bool Read(Buffer_Bytes_T* Buffer) override;
    bool Write(const Buffer_Bytes_T* Buffer) override;
    bool Ioctl(unsigned request, unsigned argument) override;
    bool ReadStream(UINT8* Data) override { return m_Stream.Read(Data); }
    bool ReadStream(UINT16* Data) override { return m_Stream.Read(Data); }
    bool ReadStream(UINT32* Data) override { return m_Stream.Read(Data); }
    bool ReadStream(int* Data) override { return m_Stream.Read(Data); }
    bool ReadStream(long unsigned int* Data) override { return m_Stream.Read(Data); }
    bool ReadStream(int* Data, size_t Count) override { return m_Stream.Read(Data, Count); }
    bool ReadStream(double* Data) override { return m_Stream.Read(Data); }
    bool ReadStream(float* Data) override { return m_Stream.Read(Data); }
    bool ReadStream(float* Data, size_t Count) override { return m_Stream.Read(Data, Count); }
    bool ReadStream(char* Data) override { return m_Stream.Read(Data); }
    bool ReadStream(char* Data, const char* Format) override { return m_Stream.Read(Data, Format); }
    bool ReadStream(short int* Data) override { return m_Stream.Read(Data); }
    bool ReadStream(short int* Data, size_t Count) override { return m_Stream.Read(Data, Count); }
    bool ReadStream(bool* Data) override { return m_Stream.Read(Data); }
    bool WriteStream(const char* Data) override { return m_Stream.Write(Data); }
    int Poll(short events, int timeout) override;
    int MultiPoll(PollMembers_T* ElementsToPoll, int timeout) override;
    int GetLastError() const override;
    int GetFileDescriptor() const override;
    bool SeekStream(long offset, int whence) override { return m_Stream.Seek(offset, whence); }
    long TellStream() override { return m_Stream.Tell(); }
    int Fsync() override;
    int Ftruncate(int length) override;

private:
    // One read or write of the buffer's current size; the size becomes the
    // count moved.
    template <typename Transfer>
    bool TransferBuffer(const Buffer_Bytes_T* Buffer, Transfer transfer);
    // Owner of a lock that would keep this open from writing (or reading)
    // the whole file, or -1. A failed query is recorded as the last error.
    pid_t CheckForLock();
    // Takes the whole-file write lock of a write-only open; false when that
    // failed (last error -140 when another process holds it).
    bool ApplyLock(int flags);
    void Close();

    int m_FileDescriptor;
    int m_LastError;
    char m_FileName[cMaxNameLength + 1];
    CFileTextStream m_Stream{m_LastError};
};

#endif
