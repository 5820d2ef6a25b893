#include "tests/support/FaultyFile.h"

#include <utility>

CFaultyFile::CFaultyFile(CFileFaults& Faults, std::unique_ptr<IOSSFile> Target)
    : CForwardingFile(std::move(Target)), m_Faults(Faults)
{
    if (CForwardingFile::GetLastError() == 0) {
        m_Error = m_Faults.Inject(FAULT_LOCK);
    }
}

CFaultyFile::CFaultyFile(CFileFaults& Faults, std::unique_ptr<IOSSFile> Target, int OpenError)
    : CForwardingFile(std::move(Target)), m_Faults(Faults), m_Error(OpenError)
{
}

int CFaultyFile::GetLastError() const
{
    return m_Error != 0 ? m_Error : CForwardingFile::GetLastError();
}

bool CFaultyFile::Read(Buffer_Bytes_T* Buffer)
{
    return Transfer(Buffer, FAULT_READ, FAULT_SHORT_READ,
                    [this](Buffer_Bytes_T* Part) { return CForwardingFile::Read(Part); });
}

bool CFaultyFile::Write(const Buffer_Bytes_T* Buffer)
{
    return Transfer(Buffer, FAULT_WRITE, FAULT_SHORT_WRITE,
                    [this](const Buffer_Bytes_T* Part) { return CForwardingFile::Write(Part); });
}

int CFaultyFile::Ftruncate(int length)
{
    if (const int error = m_Faults.Inject(FAULT_FTRUNCATE)) {
        return error;
    }
    return CForwardingFile::Ftruncate(length);
}

bool CFaultyFile::WriteStream(const char* Data)
{
    return Checked(FAULT_WRITE_STREAM, [&] { return CForwardingFile::WriteStream(Data); });
}

bool CFaultyFile::ReadStream(int* Data)
{
    return Checked(FAULT_READ_STREAM, [&] { return CForwardingFile::ReadStream(Data); });
}

bool CFaultyFile::ReadStream(UINT8* Data)
{
    return Checked(FAULT_READ_STREAM, [&] { return CForwardingFile::ReadStream(Data); });
}

template <typename Call>
bool CFaultyFile::Checked(FileFault_T Fault, Call call)
{
    m_Error = m_Faults.Inject(Fault);
    return m_Error == 0 && call();
}

template <typename Buffer, typename Call>
bool CFaultyFile::Transfer(Buffer* pBuffer, FileFault_T Fault, FileFault_T ShortFault, Call call)
{
    m_Error = m_Faults.Inject(Fault);
    if (m_Error != 0) {
        return false;
    }
    if (m_Faults.Inject(ShortFault) == 0) {
        return call(pBuffer);
    }
    Buffer_Bytes_T half(const_cast<uint8_t*>(pBuffer->ptr()), pBuffer->size() / 2);
    const bool moved = call(&half);
    pBuffer->size(half.size());
    return moved;
}
