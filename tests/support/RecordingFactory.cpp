#include "tests/support/RecordingFactory.h"

#include <fcntl.h>

#include "Utilities/OSSLinuxFile.h"
#include "Utilities/VeskAssert.h"

namespace {

// A file whose open failed: the real file class on a path that cannot exist,
// so every operation fails as after any failed open, reporting the chosen error.
class CFailedFile : public COSSLinuxFile {
public:
    explicit CFailedFile(int Error) : COSSLinuxFile("", O_RDONLY, 0), m_Error(Error) {}
    int GetLastError() const override { return m_Error; }

private:
    int m_Error;
};

} // namespace

VeskEventCode_T CRecordingFactory::SendEvent(int level, VeskEventCode_T code, const char* where, const char* why)
{
    VESK_ASSERT(where && why);
    m_Events.push_back({level, code, where, why});
    return SUCCESS;
}

IOSSFile* CRecordingFactory::CreateFile(const char* Name, int flags, int mode)
{
    if (m_FailOpenWith != 0 && m_FailOpenCount > 0) {
        --m_FailOpenCount;
        return new CFailedFile(m_FailOpenWith);
    }
    return COSSLinuxFactory::CreateFile(Name, flags, mode);
}

void CRecordingFactory::WriteSystemLog(int Priority, const char* Line)
{
    VESK_ASSERT(Line);
    m_Logged.emplace_back(Priority, Line);
}
