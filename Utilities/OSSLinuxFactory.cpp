#include "Utilities/OSSLinuxFactory.h"

#include <dirent.h>
#include <fcntl.h>
#include <sys/stat.h>
#include <syslog.h>

#include <cerrno>
#include <climits>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <initializer_list>

#include "Utilities/EventCodes.h"
#include "Utilities/OSSLinuxFile.h"
#include "Utilities/OSSLinuxNetwork.h"
#include "Utilities/OSSLinuxNotify.h"
#include "Utilities/VeskAssert.h"

namespace {

// Joins Parts into a command of at most Size - 1 characters and runs it with
// the shell. A command that does not fit fails and runs nothing: cutting it
// could run a different command (a shorter path for "rm -rf", say). Only a
// shell that cannot be started is a failure; the command's own exit status
// is not examined (callers check the result on disk where it matters).
template <size_t Size>
VeskEventCode_T RunShellCommand(std::initializer_list<const char*> Parts)
{
    char command[Size] = {};
    size_t length = 0;
    for (const char* part : Parts) {
        const size_t partLength = std::strlen(part);
        if (partLength >= Size - length) {
            return OSS_FILE_FAILURE;
        }
        std::memcpy(command + length, part, partLength);
        length += partLength;
    }
    return std::system(command) < 0 ? OSS_FILE_FAILURE : SUCCESS;
}

constexpr size_t cShortCommand = 256;
constexpr size_t cLongCommand = 512;

// The pthread calls report failure by a positive number; only a negative one
// has ever counted as a failure here, so in practice they always succeed.
VeskEventCode_T ThreadResult(int result)
{
    return result < 0 ? THREAD_CREATION_FAILED : SUCCESS;
}

void CloseDirectory(DIR* Directory)
{
    VESK_ASSERT_TEXT(closedir(Directory) == 0, "0 && \"closedir returned failure!\"");
}

// Whether the entry is a regular file itself (a link to one is not).
bool IsRegularFile(DIR* Directory, const dirent* Entry)
{
    if (Entry->d_type != DT_UNKNOWN) {
        return Entry->d_type == DT_REG;
    }
    // Some file systems do not fill in the type.
    struct stat status;
    return fstatat(dirfd(Directory), Entry->d_name, &status, AT_SYMLINK_NOFOLLOW) == 0 && S_ISREG(status.st_mode);
}

} // namespace

COSSLinuxFactory::COSSLinuxFactory() : m_TaskName("NoName"), m_pErrorStatus(nullptr) {}

COSSLinuxFactory::~COSSLinuxFactory() = default;

void COSSLinuxFactory::SetName(const std::string& Name)
{
    m_TaskName = Name;
}

const std::string& COSSLinuxFactory::GetName() const
{
    return m_TaskName;
}

void COSSLinuxFactory::SetErrorStatusMessage(IDatabaseErrorStatusMessage* pErrorStatus)
{
    m_pErrorStatus = pErrorStatus;
}

IOSSFile* COSSLinuxFactory::CreatePipe(const char* Name, int flags)
{
    VESK_ASSERT(Name);
    return new COSSLinuxFile(Name, flags, 0);
}

IOSSFile* COSSLinuxFactory::CreateFile(const char* Name, int flags, int mode)
{
    VESK_ASSERT(Name);
    return new COSSLinuxFile(Name, flags, mode);
}

IOSSNetwork* COSSLinuxFactory::CreateNetwork(int domain, int type, int protocol, int AddressChoice)
{
    return new COSSLinuxNetwork(domain, type, protocol, AddressChoice);
}

IOSSNotify* COSSLinuxFactory::CreateNotify()
{
    return new COSSLinuxNotify();
}

const char* COSSLinuxFactory::GetEnv(const char* Name)
{
    VESK_ASSERT(Name);
    return std::getenv(Name);
}

VeskEventCode_T COSSLinuxFactory::SetEnv(const char* Name, const char* Value, bool overwrite)
{
    VESK_ASSERT(Name);
    VESK_ASSERT(Value);
    return setenv(Name, Value, overwrite ? 1 : 0) == 0 ? SUCCESS : errno;
}

VeskEventCode_T COSSLinuxFactory::Makedir(const char* Name, mode_t mode)
{
    VESK_ASSERT(Name);
    return mkdir(Name, mode) == 0 ? SUCCESS : errno;
}

VeskEventCode_T COSSLinuxFactory::RemoveDirs(const char* Name, bool recursive)
{
    VESK_ASSERT(Name);
    return RunShellCommand<cShortCommand>({recursive ? "rm -rf " : "rmdir ", Name});
}

VeskEventCode_T COSSLinuxFactory::CopyDirs(const char* From, const char* To)
{
    VESK_ASSERT(From);
    VESK_ASSERT(To);
    return RunShellCommand<cShortCommand>({"cp -rp ", From, "/* ", To});
}

VeskEventCode_T COSSLinuxFactory::CreateFullPath(const char* FullPath)
{
    VESK_ASSERT(FullPath);
    return RunShellCommand<cShortCommand>({"mkdir -p ", FullPath});
}

VeskEventCode_T COSSLinuxFactory::CopyFile(const char* From, const char* To, BackGroundCopy_T Background)
{
    VESK_ASSERT(From);
    VESK_ASSERT(To);
    return RunShellCommand<cLongCommand>({"cp -f ", From, " ", To, Background == 0 ? " &" : ""});
}

VeskEventCode_T COSSLinuxFactory::MoveFile(const char* From, const char* To)
{
    VESK_ASSERT(From);
    VESK_ASSERT(To);
    return RunShellCommand<cLongCommand>({"mv -f ", From, " ", To});
}

bool COSSLinuxFactory::CheckForFile(const char* FullPath, const char* FileName)
{
    VESK_ASSERT(FullPath);
    VESK_ASSERT(FileName);
    VESK_ASSERT((FileName[0] != '/') &&
                "FileName should not include a leading slash, that could be the end of the FullPath");

    DIR* directory = opendir(FullPath);
    if (directory == nullptr) {
        return false;
    }
    bool found = false;
    while (!found) {
        const dirent* entry = readdir(directory);
        if (entry == nullptr) {
            break;
        }
        found = std::strcmp(entry->d_name, FileName) == 0 && IsRegularFile(directory, entry);
    }
    CloseDirectory(directory);
    return found;
}

bool COSSLinuxFactory::CheckForDir(const char* FullPath)
{
    VESK_ASSERT(FullPath);
    DIR* directory = opendir(FullPath);
    if (directory == nullptr) {
        const int error = errno;
        std::printf("COSSLinuxFactory::CheckForDir: %s::%s ", FullPath, std::strerror(error));
        std::fflush(stdout);
        return false;
    }
    CloseDirectory(directory);
    return true;
}

VeskEventCode_T COSSLinuxFactory::CreateSoftLink(const char* Target, const char* Link)
{
    VESK_ASSERT(Target);
    VESK_ASSERT(Link);
    return RunShellCommand<cLongCommand>({"ln -s ", Target, " ", Link});
}

VeskEventCode_T COSSLinuxFactory::RemoveFiles(const char* Path, const char* Name)
{
    VESK_ASSERT(Name);
    VESK_ASSERT(Path);
    return RunShellCommand<cShortCommand>({"rm -rf ", Path, "/", Name});
}

VeskEventCode_T COSSLinuxFactory::Sync()
{
    return RunShellCommand<cShortCommand>({"sync"});
}

VeskEventCode_T COSSLinuxFactory::SendEvent(int level, VeskEventCode_T code, const char* where, const char* why)
{
    CEventCodes event(this, m_pErrorStatus);
    return event.SendEvent(level, code, where, why);
}

VeskEventCode_T COSSLinuxFactory::CreateThread(pthread_t* Thread, const pthread_attr_t* Attributes,
                                               void* (*StartRoutine)(void*), void* Argument)
{
    VESK_ASSERT(Thread);
    VESK_ASSERT(StartRoutine);
    return ThreadResult(pthread_create(Thread, Attributes, StartRoutine, Argument));
}

VeskEventCode_T COSSLinuxFactory::JoinThread(pthread_t Thread, void** Result)
{
    return ThreadResult(pthread_join(Thread, Result));
}

VeskEventCode_T COSSLinuxFactory::DetachThread(pthread_t Thread)
{
    return ThreadResult(pthread_detach(Thread));
}

VeskEventCode_T COSSLinuxFactory::InitThreadAttr(pthread_attr_t* Attributes)
{
    VESK_ASSERT(Attributes);
    return ThreadResult(pthread_attr_init(Attributes));
}

VeskEventCode_T COSSLinuxFactory::SendAckToErrorHandler(const char* Ack)
{
    CEventCodes event(this, m_pErrorStatus);
    return event.SendAckToErrorHandler(Ack);
}

int COSSLinuxFactory::GetFileSize(const char* file)
{
    VESK_ASSERT(file);
    struct stat status;
    if (stat(file, &status) != 0) {
        // A missing and an empty file both answer 0; only this event tells
        // them apart.
        SendEvent(LOG_INFO, errno, "COSSLinuxFactory::GetFileSize", file);
        return 0;
    }
    return status.st_size > INT_MAX ? INT_MAX : static_cast<int>(status.st_size);
}
