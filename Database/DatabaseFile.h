#ifndef DATABASE_DATABASEFILE_H
#define DATABASE_DATABASEFILE_H

#include <cerrno>
#include <cstddef>
#include <cstdint>
#include <memory>
#include <string>

#include "Utilities/ByteBuffer.h"
#include "Utilities/IOSSFactory.h"
#include "Utilities/NewFile.h"
#include "Utilities/VeskEventCode.h"

// Longest full path of a record file.
constexpr size_t MAX_DATABASE_PATH_LENGTH = 256;
// Permissions of a record file the records make.
constexpr int cRecordFileMode = 0640;

// What the life cycle of a record file needs to know about its record.
struct DatabaseFileDescription_T {
    // Class name of the record: the where-texts of its events start with it.
    const char* ClassName = nullptr;
    // Environment variable naming the directory of the file.
    const char* DirectoryVariable = nullptr;
    // Text of the assertion on a missing factory.
    const char* FactoryAssertion = "m_pFactory";
    // False for a record on the event path itself (the error status record):
    // its construction must neither report nor remember a failure.
    bool ReportsConstruction = true;
    // False when a missing file is only reset in memory and comes into being
    // at the next store.
    bool CheckForFileWrites = true;
    // How a failed store of the defaults in CheckForFile is reported.
    int CheckForFileFailureLevel = cErrorLevel;
    const char* CheckForFileFailureWhy = "failed to write to DB";
    // False when a load reads whatever file is there without recreating a
    // missing one first (a missing file then fails to open).
    bool LoadChecksForFile = true;
    // False when a failed or short store is neither reported nor returned:
    // for a record whose readers cope with a stale file and whose writer
    // has nothing better to do than try again next time.
    bool ReportsStoreFailures = true;
};

// The file side shared by every record, binary or text: where the file is,
// whether it is there, and the load-or-create rule applied when a record is
// built and before every load. A missing file is recreated with the
// record's defaults, so the database heals itself after a file was lost or
// rejected.
//
// Derived records supply readDB, writeDB and SetDefaults, and call
// LoadOrCreate from their own constructor (where those overrides are
// already in place).
class CDatabaseFile {
public:
    virtual ~CDatabaseFile() = default;
    CDatabaseFile(const CDatabaseFile&) = delete;
    CDatabaseFile& operator=(const CDatabaseFile&) = delete;

    // Refreshes the in-memory value from the file.
    virtual VeskEventCode_T readDB() = 0;
    // Stores the in-memory value into the file.
    virtual VeskEventCode_T writeDB() = 0;

    // SUCCESS when the file exists. Otherwise the value is reset to its
    // defaults and (unless the record defers it) stored; a failed store is
    // reported and kept as the last error.
    VeskEventCode_T CheckForFile();

    const char* GetDBFilePath() const { return m_DatabaseFilePath.c_str(); }
    // EMBEDDED_SERIAL_NUMBER_OVERRIDE (decimal) when set, else the device's
    // own; cached once known, looked up again while it is 0.
    uint32_t GetUnitSerialNumber();
    // The same lookup, uncached, for objects that carry a serial number
    // without having a file.
    static uint32_t LookUpUnitSerialNumber(IOSSFactory* pFactory);
    // Failure of the construction or of CheckForFile; 0 when none.
    VeskEventCode_T GetLastError() const { return m_LastError; }

protected:
    // An unset directory variable counts as an empty directory name: the
    // deployment sets all of them, and the record does not guard against it.
    CDatabaseFile(IOSSFactory* pFactory, const DatabaseFileDescription_T& Description, const std::string& FileName);

    virtual void SetDefaults() = 0;
    // What CheckForFile does to the value in memory when it finds the file
    // missing and the record defers the store: the defaults, unless the
    // record resets less.
    virtual void ResetForMissingFile() { SetDefaults(); }

    // Loads an existing file, or creates it with the defaults.
    void LoadOrCreate();
    // writeDB of the defaults set for a missing file.
    VeskEventCode_T StoreDefaults();

    // The record's file, opened through the factory. Null when the
    // operation is over before it started; Result then says how: SUCCESS
    // when the factory gave no file object, else the file's error (an errno
    // value, or -140 while another process holds the file for writing).
    //
    // These openers return the file and give the code through Result,
    // unlike the rest of the layer, which returns the code: what a caller
    // tests first is whether it has a file to work on, and the file is then
    // scoped to that test (if (auto file = Open...)). A null file is not
    // always a failure: a factory that gives no file object (as test
    // factories may) ends the operation with SUCCESS, so the caller returns
    // Result either way. Returning the code with the file as an
    // out-parameter would keep both checks and lose the scoping.
    std::unique_ptr<IOSSFile> Open(int Flags, int Mode, VeskEventCode_T& Result) const;
    // Stores the record: Write puts the whole content into the file it is
    // given and returns SUCCESS or its failure (reported). An existing file
    // is written in place under its lock and never truncated on open, so a
    // failed write cannot leave it emptier than it was. A missing one is
    // written whole under a temporary name and then linked into place, so
    // that nobody, not even after a crash, finds it empty or half written;
    // should another process make it meanwhile, that file is written in
    // place instead. A failed open ends the store with its error and no
    // event (an errno value, ELOOP for a symbolic link at the name, or -140
    // while another process holds the file); a factory that gives no file
    // object ends it with SUCCESS.
    // Defaults stored because the file was missing are not forced on a file
    // another process made meanwhile: that file is left as it is.
    template <typename Writer>
    VeskEventCode_T Store(Writer&& Write);
    // Opened for a load, after CheckForFile has recreated a missing file.
    // First is the room for the load's first read: on return it holds what
    // that read gave (nothing: the load reads from the start itself), or
    // FirstError is the errno of its failure, the load's own failure.
    std::unique_ptr<IOSSFile> OpenForLoad(VeskEventCode_T& Result, Buffer_Bytes_T& First, int& FirstError);

    // Writes the Size bytes in place and cuts the file after them (it may
    // have been longer) only once they are all written. A failed or short
    // write is reported at "<class>::Operation" with WhyFailed (unless the
    // record ignores failed stores): -142; it never leaves the file shorter
    // than it was.
    VeskEventCode_T StoreBytes(IOSSFile& File, const uint8_t* Bytes, size_t Size, const char* WhyFailed,
                               const char* Operation = "writeDB") const;
    // Reads exactly Size bytes into Bytes, where OpenForLoad's First and
    // FirstError tell how its read of their start went. A failed read is
    // reported with WhyFailed; a short file is also reported and removed:
    // -141.
    VeskEventCode_T LoadBytes(IOSSFile& File, uint8_t* Bytes, size_t Size, const char* WhyFailed,
                              const Buffer_Bytes_T& First, int FirstError) const;

    // After a failed store: removes the file when it is shorter than Size
    // (it held no record before the store either).
    void RemoveIfShorterThan(size_t Size) const;

    // Keeps a failure of construction-time work as the last error.
    void SetLastError(VeskEventCode_T Error) { m_LastError = Error; }

    // What a store answers after its write: a failed write of a record
    // that ignores failed stores is SUCCESS.
    VeskEventCode_T Written(VeskEventCode_T Result) const
    {
        return Result == FAILED_TO_WRITE_FILE_CONTENTS && !m_FileDescription.ReportsStoreFailures ? SUCCESS : Result;
    }
    // The existing file opened for a store, or null with Result as Open
    // gives it (ENOENT when there is none).
    std::unique_ptr<IOSSFile> OpenExistingForStore(VeskEventCode_T& Result) const;

    bool FileExists() const;
    // Deletes the file (a rejected or truncated one, or one about to be
    // replaced). Fails only when the shell cannot be started.
    VeskEventCode_T RemoveFile() const;
    // "<class><separator><operation>", the where-text of an event.
    std::string Where(const char* Separator, const char* Operation) const;

    IOSSFactory* const m_pFactory;
    const DatabaseFileDescription_T& m_FileDescription;

private:
    const std::string m_Directory;
    const std::string m_FileName;
    const std::string m_DatabaseFilePath;
    // False when the existence check can never find the file: no directory
    // name, or a slash in the file name (an extension from the environment).
    const bool m_NameCanExist;
    VeskEventCode_T m_LastError = SUCCESS;
    uint32_t m_SerialNumber = 0;
    // Set while the defaults of a missing file are stored, and when that
    // store found the file made by another process meanwhile.
    bool m_StoringDefaults = false;
    bool m_MadeMeanwhile = false;
};

template <typename Writer>
VeskEventCode_T CDatabaseFile::Store(Writer&& Write)
{
    VeskEventCode_T result;
    if (const std::unique_ptr<IOSSFile> file = OpenExistingForStore(result)) {
        return Written(Write(*file));
    }
    if (result != ENOENT) {
        return result;
    }
    // A new file that is not whole is never put in place, not even for a
    // record that takes a failed store lightly.
    result = CNewFile::Make(m_pFactory, m_DatabaseFilePath, cRecordFileMode, Write);
    if (result != EEXIST) {
        return Written(result);
    }
    // Another process made the file first. Defaults give way to it; a value
    // of this record's own is stored in it as in any existing file.
    if (m_StoringDefaults) {
        m_MadeMeanwhile = true;
        return SUCCESS;
    }
    const std::unique_ptr<IOSSFile> file = OpenExistingForStore(result);
    return file ? Written(Write(*file)) : result;
}

#endif
