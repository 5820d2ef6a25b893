#ifndef TESTS_SUPPORT_FORWARDINGFILE_H
#define TESTS_SUPPORT_FORWARDINGFILE_H

#include <memory>

#include "Utilities/IOSSFile.h"

// Owns a target file and hands every operation to it, unchanged. A test
// double derives from it and overrides only what it changes.
class CForwardingFile : public IOSSFile {
public:
    explicit CForwardingFile(std::unique_ptr<IOSSFile> Target);

    bool Seek(int offset, int whence) override;
    bool Read(Buffer_Bytes_T* Buffer) override;
    bool Write(const Buffer_Bytes_T* Buffer) override;
    bool Ioctl(unsigned request, unsigned argument) override;
    bool ReadStream(UINT8* Data) override;
    bool ReadStream(UINT16* Data) override;
    bool ReadStream(UINT32* Data) override;
    bool ReadStream(int* Data) override;
    bool ReadStream(long unsigned int* Data) override;
    bool ReadStream(int* Data, size_t Count) override;
    bool ReadStream(double* Data) override;
    bool ReadStream(float* Data) override;
    bool ReadStream(float* Data, size_t Count) override;
    bool ReadStream(char* Data) override;
    bool ReadStream(char* Data, const char* Format) override;
    bool ReadStream(short int* Data) override;
    bool ReadStream(short int* Data, size_t Count) override;
    bool ReadStream(bool* Data) override;
    bool WriteStream(const char* Data) override;
    int Poll(short events, int timeout) override;
    int MultiPoll(PollMembers_T* ElementsToPoll, int timeout) override;
    int GetLastError() const override;
    int GetFileDescriptor() const override;
    bool SeekStream(long offset, int whence) override;
    long TellStream() override;
    int Fsync() override;
    int Ftruncate(int length) override;

private:
    std::unique_ptr<IOSSFile> m_pTarget;
};

#endif
