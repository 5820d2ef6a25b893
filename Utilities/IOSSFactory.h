#ifndef UTILITIES_IOSSFACTORY_H
#define UTILITIES_IOSSFACTORY_H

#include <pthread.h>
#include <sys/types.h>

#include <string>

#include "Utilities/IOSSFile.h"
#include "Utilities/IOSSNetwork.h"
#include "Utilities/IOSSNotify.h"
#include "Utilities/VeskEventCode.h"

class IDatabaseErrorStatusMessage;

// How CopyFile runs its copy. Zero means in the background: the call
// returns before the copy has finished.
enum BackGroundCopy_T : int {
    COPY_IN_BACKGROUND = 0,
    COPY_AND_WAIT = 1,
};

// The one way to the operating system. main creates exactly one per process;
// everything else holds it unowned. Objects returned by the Create
// operations belong to the caller. Null pointer arguments are programming
// errors (assertions naming the argument).
class IOSSFactory {
public:
    virtual ~IOSSFactory() = default;

    // Name under which events and acknowledgements are sent; "NoName" at first.
    virtual void SetName(const std::string& Name) = 0;
    virtual const std::string& GetName() const = 0;
    // Not owned; handed to every event reporter.
    virtual void SetErrorStatusMessage(IDatabaseErrorStatusMessage* pErrorStatus) = 0;

    // A file opened with these open flags (mode 0). Never null.
    virtual IOSSFile* CreatePipe(const char* Name, int flags) = 0;
    virtual IOSSFile* CreateFile(const char* Name, int flags, int mode) = 0;
    // A datagram socket, opened at once, whose system address is chosen by
    // AddressChoice (SystemAddressChoice_T). Never null.
    virtual IOSSNetwork* CreateNetwork(int domain, int type, int protocol, int AddressChoice) = 0;
    // A file watching instance, opened at once. Never null.
    virtual IOSSNotify* CreateNotify() = 0;

    // The variable's value, or null when unset.
    virtual const char* GetEnv(const char* Name) = 0;
    // 0, or the errno of setenv.
    virtual VeskEventCode_T SetEnv(const char* Name, const char* Value, bool overwrite) = 0;
    // One mkdir (no parents): 0 or errno.
    virtual VeskEventCode_T Makedir(const char* Name, mode_t mode) = 0;

    // Shell commands. Only a shell that cannot be started, or a command text
    // too long for its buffer, is a failure (OSS_FILE_FAILURE); the
    // command's own exit status is not examined.
    virtual VeskEventCode_T RemoveDirs(const char* Name, bool recursive) = 0;
    virtual VeskEventCode_T CopyDirs(const char* From, const char* To) = 0;
    virtual VeskEventCode_T CreateFullPath(const char* FullPath) = 0;
    virtual VeskEventCode_T CopyFile(const char* From, const char* To, BackGroundCopy_T Background) = 0;
    virtual VeskEventCode_T MoveFile(const char* From, const char* To) = 0;

    // True when FullPath holds a regular file named exactly FileName.
    virtual bool CheckForFile(const char* FullPath, const char* FileName) = 0;
    // True when FullPath can be opened as a directory; prints why not.
    virtual bool CheckForDir(const char* FullPath) = 0;

    virtual VeskEventCode_T CreateSoftLink(const char* Target, const char* Link) = 0;
    // rm -rf Path/Name; Name may be a shell pattern.
    virtual VeskEventCode_T RemoveFiles(const char* Path, const char* Name) = 0;
    virtual VeskEventCode_T Sync() = 0;

    // Reports one event: prints and logs the event line, drives the LED and
    // the error status record (level: cErrorLevel, cWarningLevel or cInfoLevel).
    virtual VeskEventCode_T SendEvent(int level, VeskEventCode_T code, const char* where, const char* why) = 0;

    virtual VeskEventCode_T CreateThread(pthread_t* Thread, const pthread_attr_t* Attributes,
                                         void* (*StartRoutine)(void*), void* Argument) = 0;
    virtual VeskEventCode_T JoinThread(pthread_t Thread, void** Result) = 0;
    virtual VeskEventCode_T DetachThread(pthread_t Thread) = 0;
    virtual VeskEventCode_T InitThreadAttr(pthread_attr_t* Attributes) = 0;

    // Sends "<task name>:<Ack>" to the error handler task's pipe.
    virtual VeskEventCode_T SendAckToErrorHandler(const char* Ack) = 0;
    // Size from stat; 0 (and an informational event) when stat fails.
    virtual int GetFileSize(const char* file) = 0;

    // One more name for the file Existing (link(2)); never replaces
    // anything at NewName, not even a symbolic link: EEXIST then. 0 or errno.
    virtual VeskEventCode_T LinkFile(const char* Existing, const char* NewName) = 0;
    // Removes the name (unlink(2)): 0 or errno.
    virtual VeskEventCode_T UnlinkFile(const char* Name) = 0;

    // Hands one finished event line to the system log at Priority, as it
    // stands (never as a format). The one way events reach the log.
    virtual void WriteSystemLog(int Priority, const char* Line) = 0;

protected:
    IOSSFactory() = default;
    IOSSFactory(const IOSSFactory&) = delete;
    IOSSFactory& operator=(const IOSSFactory&) = delete;
};

#endif
