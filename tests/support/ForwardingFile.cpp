#include "tests/support/ForwardingFile.h"

#include <utility>

#include "Utilities/VeskAssert.h"

CForwardingFile::CForwardingFile(std::unique_ptr<IOSSFile> Target) : m_pTarget(std::move(Target))
{
    VESK_ASSERT(m_pTarget);
}

bool CForwardingFile::Seek(int offset, int whence)
{
    return m_pTarget->Seek(offset, whence);
}

bool CForwardingFile::Read(Buffer_Bytes_T* Buffer)
{
    return m_pTarget->Read(Buffer);
}

bool CForwardingFile::Write(const Buffer_Bytes_T* Buffer)
{
    return m_pTarget->Write(Buffer);
}

bool CForwardingFile::Ioctl(unsigned request, unsigned argument)
{
    return m_pTarget->Ioctl(request, argument);
}

bool CForwardingFile::ReadStream(UINT8* Data)
{
    return m_pTarget->ReadStream(Data);
}

bool CForwardingFile::ReadStream(UINT16* Data)
{
    return m_pTarget->ReadStream(Data);
}

bool CForwardingFile::ReadStream(UINT32* Data)
{
    return m_pTarget->ReadStream(Data);
}

bool CForwardingFile::ReadStream(int* Data)
{
    return m_pTarget->ReadStream(Data);
}

bool CForwardingFile::ReadStream(long unsigned int* Data)
{
    return m_pTarget->ReadStream(Data);
}

bool CForwardingFile::ReadStream(int* Data, size_t Count)
{
    return m_pTarget->ReadStream(Data, Count);
}

bool CForwardingFile::ReadStream(double* Data)
{
    return m_pTarget->ReadStream(Data);
}

bool CForwardingFile::ReadStream(float* Data)
{
    return m_pTarget->ReadStream(Data);
}

bool CForwardingFile::ReadStream(float* Data, size_t Count)
{
    return m_pTarget->ReadStream(Data, Count);
}

bool CForwardingFile::ReadStream(char* Data)
{
    return m_pTarget->ReadStream(Data);
}

bool CForwardingFile::ReadStream(char* Data, const char* Format)
{
    return m_pTarget->ReadStream(Data, Format);
}

bool CForwardingFile::ReadStream(short int* Data)
{
    return m_pTarget->ReadStream(Data);
}

bool CForwardingFile::ReadStream(short int* Data, size_t Count)
{
    return m_pTarget->ReadStream(Data, Count);
}

bool CForwardingFile::ReadStream(bool* Data)
{
    return m_pTarget->ReadStream(Data);
}

bool CForwardingFile::WriteStream(const char* Data)
{
    return m_pTarget->WriteStream(Data);
}

int CForwardingFile::Poll(short events, int timeout)
{
    return m_pTarget->Poll(events, timeout);
}

int CForwardingFile::MultiPoll(PollMembers_T* ElementsToPoll, int timeout)
{
    return m_pTarget->MultiPoll(ElementsToPoll, timeout);
}

int CForwardingFile::GetLastError() const
{
    return m_pTarget->GetLastError();
}

int CForwardingFile::GetFileDescriptor() const
{
    return m_pTarget->GetFileDescriptor();
}

bool CForwardingFile::SeekStream(long offset, int whence)
{
    return m_pTarget->SeekStream(offset, whence);
}

long CForwardingFile::TellStream()
{
    return m_pTarget->TellStream();
}

int CForwardingFile::Fsync()
{
    return m_pTarget->Fsync();
}

int CForwardingFile::Ftruncate(int length)
{
    return m_pTarget->Ftruncate(length);
}
