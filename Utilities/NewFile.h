#ifndef UTILITIES_NEWFILE_H
#define UTILITIES_NEWFILE_H

#include <memory>
#include <string>

#include "Utilities/IOSSFactory.h"
#include "Utilities/VeskEventCode.h"

// A file that does not exist yet, made so that nobody ever sees it half
// written: it is written under a temporary name in the same directory
// (".<name>.<pid>.<n>") and only then linked to its own name. A process that
// dies while writing leaves no file at the name, never an empty one.
//
// The link never replaces anything: when another process made the file
// meanwhile, Publish answers EEXIST, the temporary is dropped, and the caller
// writes the existing file as it writes any existing file.
class CNewFile {
public:
    // Opens a fresh temporary file (write-only, created exclusively, with
    // Mode) beside Name. A name too long to have a temporary name beside it
    // is created in place, exclusively, as the only way left.
    CNewFile(IOSSFactory* pFactory, const std::string& Name, int Mode);
    // Removes the temporary name, and with it the file unless it was
    // published.
    ~CNewFile();
    CNewFile(const CNewFile&) = delete;
    CNewFile& operator=(const CNewFile&) = delete;

    // The open temporary file, or null when it could not be made.
    IOSSFile* File() const { return m_pFile.get(); }
    // Why File() is null: the failed open's error (an errno value, EEXIST
    // when a name made in place exists), or SUCCESS when the factory gave no
    // file object at all.
    VeskEventCode_T OpenError() const { return m_OpenError; }

    // Gives the written file its name: 0, EEXIST when something is at the
    // name already (a link included), or the errno of the failed link.
    VeskEventCode_T Publish();

    // Makes the file Name with what Write puts into the file it is given
    // (returning SUCCESS or its failure). SUCCESS, EEXIST when something was
    // at the name first (then left as it is), or the failure of the open
    // (OSS_FILE_FAILURE when the factory gave no file), of Write or of the
    // link; on every failure the name is as it was.
    template <typename Writer>
    static VeskEventCode_T Make(IOSSFactory* pFactory, const std::string& Name, int Mode, Writer&& Write)
    {
        CNewFile made(pFactory, Name, Mode);
        if (made.File() == nullptr) {
            return made.OpenError() != SUCCESS ? made.OpenError() : OSS_FILE_FAILURE;
        }
        const VeskEventCode_T written = Write(*made.File());
        return written != SUCCESS ? written : made.Publish();
    }

private:
    IOSSFactory* const m_pFactory;
    const std::string m_Name;
    // Empty when the file was made in place.
    std::string m_TemporaryName;
    std::unique_ptr<IOSSFile> m_pFile;
    VeskEventCode_T m_OpenError = SUCCESS;
};

#endif
