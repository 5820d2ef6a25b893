#include "Utilities/OSSLinuxFactory.h"

#include <dirent.h>
#include <fcntl.h>
#include <sys/stat.h>
#include <syslog.h>
#include <unistd.h>

#include <cerrno>
#include <climits>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <initializer_list>
#include <string>

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
VeskEventCode_T RunShellCommand(std::initializer_list<std::string> Parts)
{
    char command[Size] = {};
    size_t length = 0;
    for (const std::string& part : Parts) {
        if (part.size() >= Size - length) {
            return OSS_FILE_FAILURE;
        }
        std::memcpy(command + length, part.data(), part.size());
        length += part.size();
    }
    return std::system(command) < 0 ? OSS_FILE_FAILURE : SUCCESS;
}

// Text as part of one single-quoted shell word: nothing inside single quotes
// is special but the quote itself, which is closed, escaped and reopened.
std::string SingleQuoted(const std::string& Text)
{
    std::string word = "'";
    for (const char c : Text) {
        word += (c == '\'') ? std::string("'\\''") : std::string(1, c);
    }
    return word + "'";
}

// A path as exactly one shell word, whatever characters it holds (blanks,
// quotes, '$', ';', newlines). A path that starts with '-' is written as
// "./-...": it names the same file, and no command takes it for an option.
// That works for every command alike and leaves the command text itself
// unchanged, which "--" would not.
std::string PathWord(const char* Path)
{
    return SingleQuoted(Path[0] == '-' ? std::string("./") + Path : std::string(Path));
}

// A file name that may be a shell pattern: quoted like a path, except that
// the pattern characters stay outside the quotes so that they still match.
std::string PatternWord(const char* Name)
{
    static const char* const cPatternCharacters = "*?[]";
    std::string word;
    std::string literal;
    for (const char* p = Name; *p != 0; ++p) {
        if (std::strchr(cPatternCharacters, *p) != nullptr) {
            if (!literal.empty()) {
                word += SingleQuoted(literal);
                literal.clear();
            }
            word += *p;
        } else {
            literal += *p;
        }
    }
    return literal.empty() && !word.empty() ? word : word + SingleQuoted(literal);
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

// Whether Name in the directory at Directory (a descriptor, or AT_FDCWD for
// a Name that carries its directory) is a regular file itself: a link to
// one is not.
bool IsRegularFile(int Directory, const char* Name)
{
    struct stat status;
    return fstatat(Directory, Name, &status, AT_SYMLINK_NOFOLLOW) == 0 && S_ISREG(status.st_mode);
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
    return ErrnoIf(setenv(Name, Value, overwrite ? 1 : 0) != 0);
}

VeskEventCode_T COSSLinuxFactory::Makedir(const char* Name, mode_t mode)
{
    VESK_ASSERT(Name);
    return ErrnoIf(mkdir(Name, mode) != 0);
}

VeskEventCode_T COSSLinuxFactory::RemoveDirs(const char* Name, bool recursive)
{
    VESK_ASSERT(Name);
    return RunShellCommand<cShortCommand>({recursive ? "rm -rf " : "rmdir ", PathWord(Name)});
}

VeskEventCode_T COSSLinuxFactory::CopyDirs(const char* From, const char* To)
{
    VESK_ASSERT(From);
    VESK_ASSERT(To);
    return RunShellCommand<cShortCommand>({"cp -rp ", PathWord(From), "/* ", PathWord(To)});
}

VeskEventCode_T COSSLinuxFactory::CreateFullPath(const char* FullPath)
{
    VESK_ASSERT(FullPath);
    return RunShellCommand<cShortCommand>({"mkdir -p ", PathWord(FullPath)});
}

VeskEventCode_T COSSLinuxFactory::CopyFile(const char* From, const char* To, BackGroundCopy_T Background)
{
    VESK_ASSERT(From);
    VESK_ASSERT(To);
    return RunShellCommand<cLongCommand>({"cp -f ", PathWord(From), " ", PathWord(To), Background == 0 ? " &" : ""});
}

VeskEventCode_T COSSLinuxFactory::MoveFile(const char* From, const char* To)
{
    VESK_ASSERT(From);
    VESK_ASSERT(To);
    return RunShellCommand<cLongCommand>({"mv -f ", PathWord(From), " ", PathWord(To)});
}

bool COSSLinuxFactory::CheckForFile(const char* FullPath, const char* FileName)
{
    VESK_ASSERT(FullPath);
    VESK_ASSERT(FileName);
    VESK_ASSERT((FileName[0] != '/') &&
                "FileName should not include a leading slash, that could be the end of the FullPath");

    // A directory entry never has a slash in its name: such a name would
    // reach into a sub-directory instead. An empty directory name is no
    // directory (it is not the root).
    if (FullPath[0] == '\0' || std::strchr(FileName, '/') != nullptr) {
        return false;
    }
    // One look at the name itself, whatever else the directory holds: the
    // record loads ask this several times a loop turn.
    char path[PATH_MAX];
    const size_t directoryLength = std::strlen(FullPath);
    const size_t nameLength = std::strlen(FileName);
    if (directoryLength + 1 + nameLength < sizeof(path)) {
        std::memcpy(path, FullPath, directoryLength);
        path[directoryLength] = '/';
        std::memcpy(path + directoryLength + 1, FileName, nameLength + 1);
        return IsRegularFile(AT_FDCWD, path);
    }
    // Too long to name at once: look inside the directory.
    const int directory = open(FullPath, O_RDONLY | O_DIRECTORY | O_CLOEXEC);
    if (directory == -1) {
        return false;
    }
    const bool found = IsRegularFile(directory, FileName);
    close(directory);
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
    return RunShellCommand<cLongCommand>({"ln -s ", PathWord(Target), " ", PathWord(Link)});
}

VeskEventCode_T COSSLinuxFactory::RemoveFiles(const char* Path, const char* Name)
{
    VESK_ASSERT(Name);
    VESK_ASSERT(Path);
    return RunShellCommand<cShortCommand>({"rm -rf ", PathWord(Path), "/", PatternWord(Name)});
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
        SendEvent(cInfoLevel, errno, "COSSLinuxFactory::GetFileSize", file);
        return 0;
    }
    return status.st_size > INT_MAX ? INT_MAX : static_cast<int>(status.st_size);
}

VeskEventCode_T COSSLinuxFactory::LinkFile(const char* Existing, const char* NewName)
{
    VESK_ASSERT(Existing);
    VESK_ASSERT(NewName);
    return ErrnoIf(link(Existing, NewName) != 0);
}

VeskEventCode_T COSSLinuxFactory::UnlinkFile(const char* Name)
{
    VESK_ASSERT(Name);
    return ErrnoIf(unlink(Name) != 0);
}

static_assert(cErrorLevel == LOG_ERR && cWarningLevel == LOG_WARNING && cInfoLevel == LOG_INFO,
              "event levels are syslog priorities");

void COSSLinuxFactory::WriteSystemLog(int Priority, const char* Line)
{
    VESK_ASSERT(Line);
    syslog(Priority, "%s", Line);
}
