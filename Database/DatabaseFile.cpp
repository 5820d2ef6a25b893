#include "Database/DatabaseFile.h"

#include <fcntl.h>

#include <cerrno>
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
      m_DatabaseFilePath(BuildPath(m_Directory, m_FileName)),
      m_NameCanExist(!m_Directory.empty() && m_FileName.find('/') == std::string::npos)
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
        result = StoreDefaults();
        why = "failed to write to DB";
        if (m_MadeMeanwhile) {
            // Another process made the file first: it is loaded as if it
            // had been there all along.
            result = readDB();
            why = "failed to read DB";
        }
    }
    if (result != SUCCESS && m_FileDescription.ReportsConstruction) {
        m_pFactory->SendEvent(cErrorLevel, result, Where(" ", "constructor").c_str(), why);
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
    const VeskEventCode_T result = StoreDefaults();
    if (result != SUCCESS) {
        m_pFactory->SendEvent(m_FileDescription.CheckForFileFailureLevel, result,
                              Where(" ", "CheckForFile").c_str(), m_FileDescription.CheckForFileFailureWhy);
        m_LastError = result;
    }
    return result;
}

VeskEventCode_T CDatabaseFile::StoreDefaults()
{
    m_StoringDefaults = true;
    m_MadeMeanwhile = false;
    const VeskEventCode_T result = writeDB();
    m_StoringDefaults = false;
    return result;
}

bool CDatabaseFile::FileExists() const
{
    return m_pFactory->CheckForFile(m_Directory.c_str(), m_FileName.c_str());
}

VeskEventCode_T CDatabaseFile::RemoveFile() const
{
    // Only a shell that cannot start fails here; the loaders ignore it, as
    // the next load finds out about a file that is still there anyway.
    return m_pFactory->RemoveFiles(m_Directory.c_str(), m_FileName.c_str());
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

std::unique_ptr<IOSSFile> CDatabaseFile::OpenExistingForStore(VeskEventCode_T& Result) const
{
    return Open(O_WRONLY | O_NONBLOCK, 0, Result);
}

std::unique_ptr<IOSSFile> CDatabaseFile::OpenForLoad(VeskEventCode_T& Result, Buffer_Bytes_T& First,
                                                     int& FirstError)
{
    const size_t room = First.size();
    First.size(0);
    FirstError = 0;
    if (m_FileDescription.LoadChecksForFile) {
        // Nearly every load finds its file in place, and the loop loads
        // several every turn: the file is opened (O_NOFOLLOW: a link in its
        // place is no record file) and read at once, without a look at the
        // name first. The name is looked at only when that does not work,
        // and a load then ends as it would have after the look: what is no
        // regular file (nothing, a link, a directory, an idle FIFO) goes the
        // missing file's way; a regular file's failed open, failed read or
        // empty text is the load's own. (A device node, or a FIFO another
        // process is writing into, is read for what it gives.) A name the
        // look never finds (no directory name, a slash in the file name)
        // goes that way at once.
        std::unique_ptr<IOSSFile> file;
        if (m_NameCanExist) {
            file = Open(O_RDONLY | O_NONBLOCK | O_NOFOLLOW, 0, Result);
        }
        if (file) {
            First.size(room);
            const bool read = file->Read(&First);
            if (read && First.size() > 0) {
                return file;
            }
            First.size(0);
            if (FileExists()) {
                // An interrupted read is the load's to try again.
                FirstError = read || file->GetLastError() == EINTR ? 0 : file->GetLastError();
                return file;
            }
            file.reset();
        } else if (FileExists()) {
            return nullptr;
        }
        Result = CheckForFile();
        if (Result != SUCCESS) {
            return nullptr;
        }
    }
    return Open(O_RDONLY | O_NONBLOCK, 0, Result);
}

namespace {

// Moves Size bytes with as many Read or Write calls as it takes: a regular
// file may move fewer bytes than asked (a signal, a file system near full)
// and still take the rest. An interrupted call is tried again; any other
// failure, or a call that moves nothing (the end of the file), stops it.
// The first Done bytes were moved before. The count moved, those included;
// Failed tells a failure from an early end.
size_t TransferAll(IOSSFile& File, uint8_t* Bytes, size_t Size, bool Write, bool& Failed, size_t Done = 0)
{
    constexpr int cMaxInterruptions = 8;
    size_t moved = Done;
    int interruptions = 0;
    Failed = false;
    while (moved < Size) {
        Buffer_Bytes_T part(Bytes + moved, Size - moved);
        if (!(Write ? File.Write(&part) : File.Read(&part))) {
            if (File.GetLastError() == EINTR && ++interruptions < cMaxInterruptions) {
                continue;
            }
            Failed = true;
            break;
        }
        if (part.size() == 0) {
            break;
        }
        moved += part.size();
    }
    return moved;
}

} // namespace

VeskEventCode_T CDatabaseFile::StoreBytes(IOSSFile& File, const uint8_t* Bytes, size_t Size, const char* WhyFailed,
                                          const char* Operation) const
{
    // The file layer only reads from a buffer handed to Write.
    bool failed;
    if (TransferAll(File, const_cast<uint8_t*>(Bytes), Size, true, failed) == Size) {
        File.Ftruncate(static_cast<int>(Size));
        return SUCCESS;
    }
    RemoveIfShorterThan(Size);
    if (m_FileDescription.ReportsStoreFailures) {
        m_pFactory->SendEvent(cErrorLevel, File.GetLastError(), Where("::", Operation).c_str(), WhyFailed);
    }
    return FAILED_TO_WRITE_FILE_CONTENTS;
}

VeskEventCode_T CDatabaseFile::LoadBytes(IOSSFile& File, uint8_t* Bytes, size_t Size, const char* WhyFailed,
                                         const Buffer_Bytes_T& First, int FirstError) const
{
    bool failed = FirstError != 0;
    if (!failed && TransferAll(File, Bytes, Size, false, failed, First.size()) == Size) {
        return SUCCESS;
    }
    const std::string where = Where("::", "readDB");
    m_pFactory->SendEvent(cErrorLevel, File.GetLastError(), where.c_str(), WhyFailed);
    if (!failed) {
        // The file ended early: a short file is what a record of an older,
        // smaller layout leaves behind. Drop it so that the next load starts
        // afresh. A read that failed says nothing about the file.
        m_pFactory->SendEvent(cErrorLevel, File.GetLastError(), where.c_str(),
                              "Removing File Possible Old Version Of Sonar 4 ");
        RemoveFile();
    }
    return FAILED_TO_READ_FILE_CONTENTS;
}

void CDatabaseFile::RemoveIfShorterThan(size_t Size) const
{
    // Stores never truncate before writing, so a file that held a whole
    // record still does after any failed store. One that is shorter now held
    // none: it was just created (a full file system refuses the first write)
    // or has an older layout. Left behind, every reader would take it for a
    // record, report it and remove it, and the next store would create it
    // empty again; gone, it reads as missing, which it was.
    // Only a regular file: a link or a device in its place is someone's
    // deliberate doing, and the records never took it for theirs.
    if (FileExists() && static_cast<size_t>(m_pFactory->GetFileSize(GetDBFilePath())) < Size) {
        RemoveFile();
    }
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
