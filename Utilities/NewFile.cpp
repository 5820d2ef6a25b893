#include "Utilities/NewFile.h"

#include <fcntl.h>
#include <unistd.h>

#include <atomic>
#include <cerrno>

#include "Utilities/VeskAssert.h"

namespace {

constexpr int cNewFileFlags = O_WRONLY | O_CREAT | O_EXCL | O_NONBLOCK;
// Temporary names left by processes that died while writing are skipped;
// this many in a row would mean something else is wrong.
constexpr int cNameAttempts = 16;

// Different for every temporary name this process makes, whichever thread.
unsigned NextNumber()
{
    static std::atomic<unsigned> s_Number{0};
    return s_Number++;
}

std::string TemporaryNameFor(const std::string& Name)
{
    const size_t slash = Name.rfind('/');
    const size_t base = slash == std::string::npos ? 0 : slash + 1;
    return Name.substr(0, base) + "." + Name.substr(base) + "." + std::to_string(getpid()) + "." +
           std::to_string(NextNumber());
}

} // namespace

CNewFile::CNewFile(IOSSFactory* pFactory, const std::string& Name, int Mode) : m_pFactory(pFactory), m_Name(Name)
{
    VESK_ASSERT(m_pFactory);
    for (int attempt = 0; attempt < cNameAttempts; ++attempt) {
        std::string temporary = TemporaryNameFor(m_Name);
        const bool inPlace = temporary.length() > IOSSFile::cMaxNameLength;
        m_pFile.reset(m_pFactory->CreateFile(inPlace ? m_Name.c_str() : temporary.c_str(), cNewFileFlags, Mode));
        m_OpenError = m_pFile ? m_pFile->GetLastError() : SUCCESS;
        if (m_OpenError == SUCCESS) {
            if (m_pFile && !inPlace) {
                m_TemporaryName = std::move(temporary);
            }
            return;
        }
        // Opened, and so created, but refused afterwards (its lock): the
        // name goes again. A failed open created nothing.
        const bool created = m_pFile && m_pFile->GetFileDescriptor() != -1;
        m_pFile.reset();
        if (created) {
            m_pFactory->UnlinkFile(inPlace ? m_Name.c_str() : temporary.c_str());
        }
        if (inPlace || m_OpenError != EEXIST) {
            return;
        }
    }
}

CNewFile::~CNewFile()
{
    m_pFile.reset();
    if (!m_TemporaryName.empty()) {
        m_pFactory->UnlinkFile(m_TemporaryName.c_str());
    }
}

VeskEventCode_T CNewFile::Publish()
{
    if (m_TemporaryName.empty()) {
        return SUCCESS;
    }
    return m_pFactory->LinkFile(m_TemporaryName.c_str(), m_Name.c_str());
}
