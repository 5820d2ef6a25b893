#include "Utilities/OSSLinuxFile.h"

#include <fcntl.h>
#include <poll.h>
#include <sys/ioctl.h>
#include <unistd.h>

#include <cerrno>
#include <cstdarg>
#include <cstdio>
#include <cstdint>
#include <cstring>
#include <mutex>
#include <vector>

#include "Utilities/VeskAssert.h"
#include "Utilities/VeskEventCode.h"

namespace {

// Every diagnostic line goes out at once: the units' output is usually a
// pipe or a log file, and a line still buffered at fork() would be printed
// twice.
__attribute__((format(printf, 1, 2))) void PrintLine(const char* Format, ...)
{
    va_list args;
    va_start(args, Format);
    std::vprintf(Format, args);
    va_end(args);
    std::fflush(stdout);
}

// A whole-file lock record: start 0, length 0 (to the end, however long the
// file grows), measured from the start.
struct flock WholeFileLock(short Type)
{
    struct flock lock {};
    lock.l_type = Type;
    lock.l_whence = SEEK_SET;
    lock.l_start = 0;
    lock.l_len = 0;
    lock.l_pid = -1;
    return lock;
}

// Storage of closed file objects, kept for the next open: the records open
// and close their files several times on every loop turn, and a turn should
// not need the heap. Only blocks of the class's own size are kept.
constexpr size_t cRecycledFiles = 8;
std::mutex g_RecycledMutex;
void* g_Recycled[cRecycledFiles];
size_t g_RecycledCount = 0;

}  // namespace

void* COSSLinuxFile::operator new(size_t Size)
{
    if (Size == sizeof(COSSLinuxFile)) {
        const std::lock_guard<std::mutex> lock(g_RecycledMutex);
        if (g_RecycledCount > 0) {
            return g_Recycled[--g_RecycledCount];
        }
    }
    return ::operator new(Size);
}

void COSSLinuxFile::operator delete(void* Block, size_t Size)
{
    if (Block == nullptr) {
        return;
    }
    if (Size == sizeof(COSSLinuxFile)) {
        const std::lock_guard<std::mutex> lock(g_RecycledMutex);
        if (g_RecycledCount < cRecycledFiles) {
            g_Recycled[g_RecycledCount++] = Block;
            return;
        }
    }
    ::operator delete(Block);
}

COSSLinuxFile::COSSLinuxFile(const char* Name, int flags, int mode)
    : m_FileDescriptor(-1), m_LastError(0), m_FileName{}
{
    VESK_ASSERT(Name);
    // A bounded copy that leaves the last character non-zero exactly when
    // the name does not fit.
    const size_t length = strnlen(Name, sizeof(m_FileName));
    std::memcpy(m_FileName, Name, length);
    VESK_ASSERT((m_FileName[sizeof(m_FileName) - 1] == 0) && "File name is too long!");

    // Whatever may be written is never reached through a symbolic link at
    // its name: a link planted there would have the unit write a file
    // anywhere the process may write. The open fails (ELOOP) like any other
    // failed open. Links in the directories above are the deployment's own.
    const int accessMode = flags & O_ACCMODE;
    const int openFlags = accessMode == O_RDONLY ? flags : flags | O_NOFOLLOW;
    m_FileDescriptor = open(Name, openFlags, mode);
    if (m_FileDescriptor == -1) {
        m_LastError = errno;
        return;
    }

    // Every open is refused while another process writes the file, so no
    // reader ever sees a record half written. The descriptor stays open
    // until destruction; note that closing it drops any lock this process
    // holds on the file through another object. A write-only open simply
    // tries to take the lock: that fails exactly when a query would have
    // found another process's lock.
    if (accessMode == O_WRONLY) {
        if (!ApplyLock(flags)) {
            return;
        }
    } else if (CheckForLock() != -1 || m_LastError != 0) {
        m_LastError = FILE_ACCESS_DENIED;
        return;
    }

    // Read-write opens get a read-only stream: the units have always asked
    // for "rw", which the C library reads as "r" (only the first letter and
    // a '+' count). "r" is the defined spelling of that, so stream reads
    // work on them and stream writes fail with EBADF, as they always have.
    // Read-write files (the pipes) are written through Write instead.
    m_Stream.Prepare(m_FileDescriptor, (accessMode == O_WRONLY) ? "w" : "r");
}

COSSLinuxFile::~COSSLinuxFile()
{
    Close();
}

pid_t COSSLinuxFile::CheckForLock()
{
    // F_GETLK reports only other processes' locks: this process's own locks
    // never conflict with it. A write lock conflicts with every lock another
    // process holds, so when that query works its answer is complete; the
    // read lock query is made only after a failed one, for its own line.
    struct flock lock = WholeFileLock(F_WRLCK);
    if (fcntl(m_FileDescriptor, F_GETLK, &lock) == -1) {
        m_LastError = errno;
        PrintLine("Error in COSSLinuxFile::CheckForLock(F_WRLCK): %d\n", m_LastError);
        lock = WholeFileLock(F_RDLCK);
        if (fcntl(m_FileDescriptor, F_GETLK, &lock) == -1) {
            m_LastError = errno;
            PrintLine("Error in COSSLinuxFile::CheckForLock(F_RDLCK): %d\n", m_LastError);
        }
    }
    if (lock.l_pid != -1) {
        PrintLine("%d COSSLinuxFile::CheckForLock() %s locked by %d for %d\n", static_cast<int>(getpid()), m_FileName,
                  static_cast<int>(lock.l_pid), static_cast<int>(lock.l_type));
        return lock.l_pid;
    }
    return -1;
}

bool COSSLinuxFile::ApplyLock(int flags)
{
    struct flock lock = WholeFileLock(F_WRLCK);
    if (fcntl(m_FileDescriptor, F_SETLK, &lock) == 0) {
        return true;
    }
    const int error = errno;
    if (error == EAGAIN || error == EACCES) {
        // Another process holds the file. F_SETLK does not say who, so ask
        // now: the line naming the holder is the one a query before the
        // lock would have printed. A holder already gone again (-1) is the
        // race the lock line itself reports.
        const pid_t owner = CheckForLock();
        if (owner == -1 && m_LastError == 0) {
            PrintLine("%d: COSSLinuxFile::ApplyLock(%d) locked by %d %s\n", static_cast<int>(getpid()), flags, -1,
                      m_FileName);
        }
        m_LastError = FILE_ACCESS_DENIED;
    } else {
        m_LastError = error;
        PrintLine("Error in COSSLinuxFile::ApplyLock(%d): %d\n", flags, error);
    }
    return false;
}

void COSSLinuxFile::Close()
{
    if (!m_Stream.Close() && m_FileDescriptor != -1) {
        close(m_FileDescriptor);
    }
    m_FileDescriptor = -1;
}

bool COSSLinuxFile::Seek(int offset, int whence)
{
    if (m_FileDescriptor == -1) {
        return false;
    }
    m_LastError = ErrnoIf(lseek(m_FileDescriptor, offset, whence) == -1);
    return m_LastError == 0;
}

template <typename Transfer>
bool COSSLinuxFile::TransferBuffer(const Buffer_Bytes_T* Buffer, Transfer transfer)
{
    if (m_FileDescriptor == -1) {
        return false;
    }
    m_LastError = 0;
    const ssize_t count = transfer(m_FileDescriptor, Buffer->ptr(), Buffer->size());
    if (count == -1) {
        m_LastError = errno;
        return false;
    }
    Buffer->size(static_cast<size_t>(count));
    return true;
}

bool COSSLinuxFile::Read(Buffer_Bytes_T* Buffer)
{
    VESK_ASSERT(Buffer);
    return TransferBuffer(Buffer, [](int fd, uint8_t* data, size_t size) { return read(fd, data, size); });
}

bool COSSLinuxFile::Write(const Buffer_Bytes_T* Buffer)
{
    VESK_ASSERT(Buffer);
    return TransferBuffer(Buffer, [](int fd, const uint8_t* data, size_t size) { return write(fd, data, size); });
}

bool COSSLinuxFile::Ioctl(unsigned request, unsigned argument)
{
    if (m_FileDescriptor == -1) {
        return false;
    }
    m_LastError = 0;
    // Any non-zero result is a failure and is itself the recorded error
    // (-1 for a failed call; errno is not consulted).
    const int result = ioctl(m_FileDescriptor, request, argument);
    if (result != 0) {
        m_LastError = result;
        return false;
    }
    return true;
}

int COSSLinuxFile::Poll(short events, int timeout)
{
    if (m_FileDescriptor == -1) {
        return 0;
    }
    pollfd member{m_FileDescriptor, events, 0};
    const int result = poll(&member, 1, timeout);
    m_LastError = ErrnoIf(result == -1);
    return result;
}

int COSSLinuxFile::MultiPoll(PollMembers_T* ElementsToPoll, int timeout)
{
    VESK_ASSERT(ElementsToPoll);
    m_LastError = 0;
    // A copy, so that the caller's entries never carry returned events.
    std::vector<pollfd> members;
    members.reserve(ElementsToPoll->size());
    for (const pollfd& element : *ElementsToPoll) {
        const int fd = element.fd;
        VESK_ASSERT((fd != -1) && "bad FileDescriptor specified");
        members.push_back(pollfd{fd, element.events, 0});
    }

    const int result = poll(members.data(), members.size(), timeout);
    if (result == -1) {
        m_LastError = errno;
        return -1;
    }
    if (result == 0 || members.empty()) {
        return result;
    }
    // One source per call, earliest first: a caller that serves it and
    // polls again reaches the later ones.
    for (size_t i = 0; i < members.size(); ++i) {
        if ((members[i].revents & members[i].events) != 0) {
            return static_cast<int>(i + 1);
        }
    }
    // Only conditions nobody asked for (hang-up, error): nothing to serve.
    return 0;
}

int COSSLinuxFile::GetLastError() const
{
    return m_LastError;
}

int COSSLinuxFile::GetFileDescriptor() const
{
    return m_FileDescriptor;
}

int COSSLinuxFile::Fsync()
{
    if (m_FileDescriptor == -1) {
        return 0;
    }
    return ErrnoIf(fsync(m_FileDescriptor) == -1);
}

int COSSLinuxFile::Ftruncate(int length)
{
    if (m_FileDescriptor == -1) {
        return 0;
    }
    if (ftruncate(m_FileDescriptor, length) == -1) {
        const int error = errno;
        PrintLine("Error in COSSLinuxFile::Ftruncate(): %d\n", error);
        return error;
    }
    return 0;
}
