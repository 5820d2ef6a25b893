#ifndef UTILITIES_OSSLINUXNOTIFY_H
#define UTILITIES_OSSLINUXNOTIFY_H

#include <sys/select.h>

#include <cstdint>

#include "Utilities/IOSSNotify.h"

// File watching on the Linux units: one inotify instance, opened by the
// constructor.
class COSSLinuxNotify : public IOSSNotify {
public:
    COSSLinuxNotify();
    ~COSSLinuxNotify() override;

    int AddToWatch(const char* FilePathName, int Mask) override;
    int GetFileDescriptor() override;
    uint32_t ReadEvent() override;
    int GetLastError() override;

private:
    // The fixed part of an inotify event, as the kernel lays it out. Events
    // on watched files carry no name, so this is the whole event.
    struct EventHeader_T {
        int32_t WatchDescriptor;
        uint32_t Mask;
        uint32_t Cookie;
        uint32_t NameLength;
    };
    static_assert(sizeof(EventHeader_T) == 16, "inotify event header is 16 bytes");

    EventHeader_T m_Event{};
    int m_NotifyFd = -1;
    // Marks the instance's descriptor once something is watched, ready for
    // a select over it.
    fd_set m_DescriptorSet;
    int m_LastError = 0;
};

#endif
