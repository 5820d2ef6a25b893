#ifndef TESTS_SUPPORT_FILEFAULTS_H
#define TESTS_SUPPORT_FILEFAULTS_H

#include <map>

// File operations that can be made to fail.
enum FileFault_T {
    FAULT_OPEN,          // the open itself: no file is created
    FAULT_LOCK,          // the lock: the file is opened (and created) but refused
    FAULT_READ,          // Read
    FAULT_SHORT_READ,    // Read that moves half the bytes asked for
    FAULT_WRITE,         // Write
    FAULT_SHORT_WRITE,   // Write that moves half the bytes asked for
    FAULT_FTRUNCATE,     // Ftruncate
    FAULT_READ_STREAM,   // a typed text read
    FAULT_WRITE_STREAM,  // WriteStream
    FAULT_LINK,          // LinkFile: a new file is not put in place
    FAULT_KINDS
};

const char* FileFaultName(FileFault_T Fault);

// Which call of which file operation is to fail, and how: the Nth call
// (counted over every file involved) of one chosen operation fails with a
// chosen error, an errno value such as ENOSPC, EINTR or EAGAIN, or -140 as
// when another process holds the file. Short transfers move half the bytes
// for real and report success, as a full disk may.
class CFileFaults {
public:
    // Arms one fault; calls are counted afresh from here. Nth 0 only counts.
    void Arm(FileFault_T Fault, int Nth, int Error);
    // No more faults; counting goes on.
    void Disarm() { m_Nth = 0; }
    // Calls of an operation since the last Arm.
    int Calls(FileFault_T Fault) const;
    // Whether the armed fault has been injected.
    bool Fired() const { return m_Fired; }
    // Whether Arm was ever called: only then are calls counted at all.
    bool Armed() const { return m_Armed; }

    // Counts a call of Fault; the error to inject for it, or 0.
    int Inject(FileFault_T Fault);

private:
    std::map<FileFault_T, int> m_Calls;
    FileFault_T m_Fault = FAULT_OPEN;
    int m_Nth = 0;
    int m_Error = 0;
    bool m_Fired = false;
    bool m_Armed = false;
};

#endif
