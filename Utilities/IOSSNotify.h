#ifndef UTILITIES_IOSSNOTIFY_H
#define UTILITIES_IOSSNOTIFY_H

#include <cstdint>

// Tells a task that a file changed, without polling the file's contents.
// Obtained only from IOSSFactory::CreateNotify, which opens the watching
// instance at once; the caller owns the object and deletes it, which closes
// the instance. A failed open still yields an object: check GetLastError()
// right after creation. Any number of files can be watched on one object;
// its descriptor is polled together with pipes and files, and one event is
// read when it is ready. One object per waiting thread; there is no lock.
class IOSSNotify {
public:
    virtual ~IOSSNotify() = default;

    // Watches FilePathName (must not be null) for the events in Mask (the
    // platform's inotify event bits). Returns the watch descriptor; a
    // negative value when the watch could not be added (the errno is kept
    // for GetLastError); 0 when the instance never opened. Watch files, not
    // directories: events inside a directory carry a name that ReadEvent
    // does not consume.
    virtual int AddToWatch(const char* FilePathName, int Mask) = 0;
    // The instance's descriptor, for polling; -1 when it never opened. It
    // stays owned by this object.
    virtual int GetFileDescriptor() = 0;
    // Reads one event (blocking until there is one; poll first) and returns
    // its event mask. The read's result is not examined: when nothing could
    // be read, the previous event's mask (0 before the first) comes back.
    virtual uint32_t ReadEvent() = 0;
    // 0, or the errno of the last failed open or watch.
    virtual int GetLastError() = 0;

protected:
    IOSSNotify() = default;
    IOSSNotify(const IOSSNotify&) = delete;
    IOSSNotify& operator=(const IOSSNotify&) = delete;
};

#endif
