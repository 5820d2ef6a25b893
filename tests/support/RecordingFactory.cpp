#include "tests/support/RecordingFactory.h"

#include "Utilities/VeskAssert.h"

namespace {

// A file whose open failed: every operation reports failure.
class CFailedFile : public IOSSFile {
public:
    explicit CFailedFile(int Error) : m_Error(Error) {}
    bool Seek(int, int) override { return false; }
    bool Read(Buffer_Bytes_T*) override { return false; }
    bool Write(const Buffer_Bytes_T*) override { return false; }
    bool Ioctl(unsigned, unsigned) override { return false; }
    bool ReadStream(UINT8*) override { return false; }
    bool ReadStream(UINT16*) override { return false; }
    bool ReadStream(UINT32*) override { return false; }
    bool ReadStream(int*) override { return false; }
    bool ReadStream(long unsigned int*) override { return false; }
    bool ReadStream(int*, size_t) override { return false; }
    bool ReadStream(double*) override { return false; }
    bool ReadStream(float*) override { return false; }
    bool ReadStream(float*, size_t) override { return false; }
    bool ReadStream(char*) override { return false; }
    bool ReadStream(char*, const char*) override { return false; }
    bool ReadStream(short int*) override { return false; }
    bool ReadStream(short int*, size_t) override { return false; }
    bool ReadStream(bool*) override { return false; }
    bool WriteStream(const char*) override { return false; }
    int Poll(short, int) override { return 0; }
    int MultiPoll(PollMembers_T*, int) override { return -1; }
    int GetLastError() const override { return m_Error; }
    int GetFileDescriptor() const override { return -1; }
    bool SeekStream(long, int) override { return false; }
    long TellStream() override { return -1; }
    int Fsync() override { return 0; }
    int Ftruncate(int) override { return 0; }

private:
    int m_Error;
};

} // namespace

VeskEventCode_T CRecordingFactory::SendEvent(int level, VeskEventCode_T code, const char* where, const char* why)
{
    VESK_ASSERT(where);
    VESK_ASSERT(why);
    m_Events.push_back({level, code, where, why});
    return m_PassThrough ? COSSLinuxFactory::SendEvent(level, code, where, why) : SUCCESS;
}

IOSSFile* CRecordingFactory::CreateFile(const char* Name, int flags, int mode)
{
    if (m_FailOpenWith != 0 && m_FailOpenCount > 0) {
        --m_FailOpenCount;
        return new CFailedFile(m_FailOpenWith);
    }
    return COSSLinuxFactory::CreateFile(Name, flags, mode);
}

std::vector<CRecordingFactory::Event> CRecordingFactory::EventsAt(const std::string& Where) const
{
    std::vector<Event> found;
    for (const Event& event : m_Events) {
        if (event.Where == Where) {
            found.push_back(event);
        }
    }
    return found;
}
