#include "tests/support/FaultyFactory.h"

#include "Utilities/OSSLinuxFile.h"

namespace {

// The real file, with the factory's chosen failures. A failure leaves the
// file untouched and reports the injected error as the last error, as the
// real class reports a failed call.
class CFaultyFile : public COSSLinuxFile {
public:
    CFaultyFile(CFaultyFactory& Factory, const char* Name, int flags, int mode)
        : COSSLinuxFile(Name, flags, mode), m_Factory(Factory)
    {
        if (COSSLinuxFile::GetLastError() == 0) {
            m_Error = m_Factory.Inject(FAULT_LOCK);
        }
    }
    // A file whose open failed: the real class on a path that cannot exist.
    CFaultyFile(CFaultyFactory& Factory, int OpenError)
        : COSSLinuxFile("", 0, 0), m_Factory(Factory), m_Error(OpenError)
    {
    }

    int GetLastError() const override { return m_Error != 0 ? m_Error : COSSLinuxFile::GetLastError(); }

    bool Read(Buffer_Bytes_T* Buffer) override
    {
        return Transfer(Buffer, FAULT_READ, FAULT_SHORT_READ,
                        [this](Buffer_Bytes_T* Part) { return COSSLinuxFile::Read(Part); });
    }
    bool Write(const Buffer_Bytes_T* Buffer) override
    {
        return Transfer(Buffer, FAULT_WRITE, FAULT_SHORT_WRITE,
                        [this](const Buffer_Bytes_T* Part) { return COSSLinuxFile::Write(Part); });
    }
    int Ftruncate(int length) override
    {
        if (const int error = m_Factory.Inject(FAULT_FTRUNCATE)) {
            return error;
        }
        return COSSLinuxFile::Ftruncate(length);
    }
    bool WriteStream(const char* Data) override
    {
        return Checked(FAULT_WRITE_STREAM, [&] { return COSSLinuxFile::WriteStream(Data); });
    }
    bool ReadStream(int* Data) override
    {
        return Checked(FAULT_READ_STREAM, [&] { return COSSLinuxFile::ReadStream(Data); });
    }
    bool ReadStream(UINT8* Data) override
    {
        return Checked(FAULT_READ_STREAM, [&] { return COSSLinuxFile::ReadStream(Data); });
    }

private:
    template <typename Call>
    bool Checked(FileFault_T Fault, Call call)
    {
        m_Error = m_Factory.Inject(Fault);
        return m_Error == 0 && call();
    }

    template <typename Buffer, typename Call>
    bool Transfer(Buffer* pBuffer, FileFault_T Fault, FileFault_T ShortFault, Call call)
    {
        m_Error = m_Factory.Inject(Fault);
        if (m_Error != 0) {
            return false;
        }
        if (m_Factory.Inject(ShortFault) == 0) {
            return call(pBuffer);
        }
        Buffer_Bytes_T half(const_cast<uint8_t*>(pBuffer->ptr()), pBuffer->size() / 2);
        const bool moved = call(&half);
        pBuffer->size(half.size());
        return moved;
    }

    CFaultyFactory& m_Factory;
    int m_Error = 0;
};

} // namespace

const char* FileFaultName(FileFault_T Fault)
{
    static const char* const cNames[FAULT_KINDS] = {"open",      "lock",         "read",
                                                    "short read", "write",       "short write",
                                                    "ftruncate", "read stream", "write stream",
                                                    "link"};
    return cNames[Fault];
}

void CFaultyFactory::Arm(FileFault_T Fault, int Nth, int Error)
{
    m_Calls.clear();
    m_Fault = Fault;
    m_Nth = Nth;
    m_Error = Error;
    m_Fired = false;
}

int CFaultyFactory::Calls(FileFault_T Fault) const
{
    const auto found = m_Calls.find(Fault);
    return found == m_Calls.end() ? 0 : found->second;
}

int CFaultyFactory::Inject(FileFault_T Fault)
{
    const int call = ++m_Calls[Fault];
    if (m_Nth == 0 || Fault != m_Fault || call != m_Nth) {
        return 0;
    }
    m_Fired = true;
    // Short transfers report no error: they only move less.
    return (Fault == FAULT_SHORT_READ || Fault == FAULT_SHORT_WRITE) ? 1 : m_Error;
}

IOSSFile* CFaultyFactory::CreateFile(const char* Name, int flags, int mode)
{
    if (const int error = Inject(FAULT_OPEN)) {
        return new CFaultyFile(*this, error);
    }
    return new CFaultyFile(*this, Name, flags, mode);
}

IOSSFile* CFaultyFactory::CreatePipe(const char* Name, int flags)
{
    return CreateFile(Name, flags, 0);
}

VeskEventCode_T CFaultyFactory::LinkFile(const char* Existing, const char* NewName)
{
    if (m_BeforeLink) {
        m_BeforeLink(NewName);
    }
    if (const int error = Inject(FAULT_LINK)) {
        return error;
    }
    return CRecordingFactory::LinkFile(Existing, NewName);
}
