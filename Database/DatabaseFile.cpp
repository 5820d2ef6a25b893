#include "Database/DatabaseFile.h"

#include <fcntl.h>

#include <cstdlib>

#include "Database/SerialNumberInfo.h"
#include "Utilities/ByteBuffer.h"
#include "Utilities/VeskAssert.h"

namespace {

IOSSFactory* RequireFactory(IOSSFactory* pFactory, const char* Assertion)
{
    VESK_ASSERT_TEXT(pFactory, Assertion);
    return pFactory;
}

std::string DirectoryOf(IOSSFactory* pFactory, const char* Variable)
{
    const char* value = pFactory->GetEnv(Variable);
    return value ? value : "";
}

std::string BuildPath(const std::string& Directory, const std::string& FileName)
{
    std::string path = Directory + "/" + FileName;
    VESK_ASSERT_TEXT(path.length() <= MAX_DATABASE_PATH_LENGTH,
                     "m_DatabaseFilePath.length() <= MAX_DATABASE_PATH_LENGTH");
    return path;
}

} // namespace

CDatabaseFile::CDatabaseFile(IOSSFactory* pFactory, const DatabaseFileDescription_T& Description,
                             const std::string& FileName)
    : m_pFactory(RequireFactory(pFactory, Description.FactoryAssertion)),
      m_FileDescription(Description),
      m_Directory(DirectoryOf(pFactory, Description.DirectoryVariable)),
      m_FileName(FileName),
      m_DatabaseFilePath(BuildPath(m_Directory, m_FileName))
{
}

void CDatabaseFile::LoadOrCreate()
{
    VeskEventCode_T result;
    const char* why;
    if (FileExists()) {
        result = readDB();
        why = "failed to read DB";
    } else {
        SetDefaults();
        result = writeDB();
        why = "failed to write to DB";
    }
    if (result != SUCCESS && m_FileDescription.ReportsConstruction) {
        m_pFactory->SendEvent(3, result, Where(" ", "constructor").c_str(), why);
        m_LastError = result;
    }
}

VeskEventCode_T CDatabaseFile::CheckForFile()
{
    if (FileExists()) {
        return SUCCESS;
    }
    if (!m_FileDescription.CheckForFileWrites) {
        ResetForMissingFile();
        return SUCCESS;
    }
    SetDefaults();
    const VeskEventCode_T result = writeDB();
    if (result != SUCCESS) {
        m_pFactory->SendEvent(m_FileDescription.CheckForFileFailureLevel, result,
                              Where(" ", "CheckForFile").c_str(), m_FileDescription.CheckForFileFailureWhy);
        m_LastError = result;
    }
    return result;
}

bool CDatabaseFile::FileExists() const
{
    return m_pFactory->CheckForFile(m_Directory.c_str(), m_FileName.c_str());
}

void CDatabaseFile::RemoveFile() const
{
    // Only a shell that cannot start fails here, and the next load finds out
    // about a file that is still there anyway.
    m_pFactory->RemoveFiles(m_Directory.c_str(), m_FileName.c_str());
}

std::string CDatabaseFile::Where(const char* Separator, const char* Operation) const
{
    return std::string(m_FileDescription.ClassName) + Separator + Operation;
}

std::unique_ptr<IOSSFile> CDatabaseFile::Open(int Flags, int Mode, VeskEventCode_T& Result) const
{
    std::unique_ptr<IOSSFile> file(m_pFactory->CreateFile(GetDBFilePath(), Flags, Mode));
    Result = file ? file->GetLastError() : SUCCESS;
    if (Result != SUCCESS) {
        file.reset();
    }
    return file;
}

std::unique_ptr<IOSSFile> CDatabaseFile::OpenForStore(VeskEventCode_T& Result) const
{
    return Open(O_WRONLY | O_CREAT | O_NONBLOCK, 0640, Result);
}

std::unique_ptr<IOSSFile> CDatabaseFile::OpenForLoad(VeskEventCode_T& Result)
{
    if (m_FileDescription.LoadChecksForFile) {
        Result = CheckForFile();
        if (Result != SUCCESS) {
            return nullptr;
        }
    }
    return Open(O_RDONLY | O_NONBLOCK, 0, Result);
}

VeskEventCode_T CDatabaseFile::StoreBytes(IOSSFile& File, const uint8_t* Bytes, size_t Size, const char* WhyFailed,
                                          const char* Operation) const
{
    // The file layer only reads from a buffer handed to Write.
    const Buffer_Bytes_T buffer(const_cast<uint8_t*>(Bytes), Size);
    if (File.Write(&buffer) && buffer.size() == Size) {
        File.Ftruncate(static_cast<int>(Size));
        return SUCCESS;
    }
    if (!m_FileDescription.ReportsStoreFailures) {
        return SUCCESS;
    }
    m_pFactory->SendEvent(3, File.GetLastError(), Where("::", Operation).c_str(), WhyFailed);
    return FAILED_TO_WRITE_FILE_CONTENTS;
}

VeskEventCode_T CDatabaseFile::LoadBytes(IOSSFile& File, uint8_t* Bytes, size_t Size, const char* WhyFailed) const
{
    Buffer_Bytes_T buffer(Bytes, Size);
    if (File.Read(&buffer) && buffer.size() == Size) {
        return SUCCESS;
    }
    const std::string where = Where("::", "readDB");
    m_pFactory->SendEvent(3, File.GetLastError(), where.c_str(), WhyFailed);
    if (buffer.size() != Size) {
        // A short file is what a record of an older, smaller layout leaves
        // behind: drop it so that the next load starts afresh.
        m_pFactory->SendEvent(3, File.GetLastError(), where.c_str(), "Removing File Possible Old Version Of Sonar 4 ");
        RemoveFile();
    }
    return FAILED_TO_READ_FILE_CONTENTS;
}

uint32_t CDatabaseFile::GetUnitSerialNumber()
{
    if (m_SerialNumber == 0) {
        m_SerialNumber = LookUpUnitSerialNumber(m_pFactory);
    }
    return m_SerialNumber;
}

uint32_t CDatabaseFile::LookUpUnitSerialNumber(IOSSFactory* pFactory)
{
    if (const char* text = pFactory->GetEnv("EMBEDDED_SERIAL_NUMBER_OVERRIDE")) {
        // strtoll: a 32-bit long would cut serial numbers above INT32_MAX
        // to LONG_MAX; 64 bits parse them alike on every target.
        return static_cast<uint32_t>(std::strtoll(text, nullptr, 10));
    }
    return CSerialNumberInfo().GetSerialNumber();
}
