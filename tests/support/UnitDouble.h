#ifndef TESTS_SUPPORT_UNITDOUBLE_H
#define TESTS_SUPPORT_UNITDOUBLE_H

#include <functional>
#include <string>
#include <utility>
#include <vector>

#include "Utilities/OSSLinuxFactory.h"
#include "tests/support/FileFaults.h"
#include "tests/support/ForwardingFactory.h"
#include "tests/support/UnitNetwork.h"

// The unit as most tests need it: the real Linux factory for files, pipes,
// environment and threads, except that
// - events are recorded instead of printed and logged, and what reaches the
//   system log (from an event reporter built on this factory) is kept;
// - file operations can be made to fail (Arm): once a fault has been armed,
//   every file made is a faulty file counting its calls;
// - shell commands are done in this process for the plain paths and single
//   patterns tests use: a shell each would cost a process per call (the
//   real commands have the factory's own tests);
// - sockets are the in-process network m_Net, whose system address is
//   10.0.0.2, so that no interface and no privilege is needed.
class CUnitDouble : public CForwardingFactory, public CFileFaults {
public:
    struct Event {
        int Level;
        VeskEventCode_T Code;
        std::string Where;
        std::string Why;
    };

    CUnitDouble();

    VeskEventCode_T SendEvent(int level, VeskEventCode_T code, const char* where, const char* why) override;
    void WriteSystemLog(int Priority, const char* Line) override;
    IOSSFile* CreateFile(const char* Name, int flags, int mode) override;
    IOSSFile* CreatePipe(const char* Name, int flags) override;
    VeskEventCode_T LinkFile(const char* Existing, const char* NewName) override;
    IOSSNetwork* CreateNetwork(int domain, int type, int protocol, int AddressChoice) override;
    VeskEventCode_T RemoveDirs(const char* Name, bool recursive) override;
    VeskEventCode_T CopyDirs(const char* From, const char* To) override;
    VeskEventCode_T CreateFullPath(const char* FullPath) override;
    VeskEventCode_T CopyFile(const char* From, const char* To, BackGroundCopy_T Background) override;
    VeskEventCode_T MoveFile(const char* From, const char* To) override;
    VeskEventCode_T CreateSoftLink(const char* Target, const char* Link) override;
    VeskEventCode_T RemoveFiles(const char* Path, const char* Name) override;

    // When false, events and log lines are dropped as they come: fuzzers
    // report rejected input by the million.
    bool m_KeepEvents = true;
    std::vector<Event> m_Events;
    // Priority and line of each system log call.
    std::vector<std::pair<int, std::string>> m_Logged;

    // When non-zero, the next CreateFile calls answer a file whose open
    // failed with this error (one call per m_FailOpenCount), armed or not.
    int m_FailOpenWith = 0;
    int m_FailOpenCount = 0;

    // Called with the name just before each link (when set): what another
    // process may do while a new file is being written.
    std::function<void(const std::string& NewName)> m_BeforeLink;

    UnitNet_T m_Net;

private:
    IOSSFile* FailedOpen(int Error);

    // The real factory, whose own events (a size it could not read) come
    // back to the double instead of being printed.
    class CReal : public COSSLinuxFactory {
    public:
        explicit CReal(CUnitDouble& Double) : m_Double(Double) {}
        VeskEventCode_T SendEvent(int level, VeskEventCode_T code, const char* where, const char* why) override
        {
            return m_Double.SendEvent(level, code, where, why);
        }
        void WriteSystemLog(int Priority, const char* Line) override { m_Double.WriteSystemLog(Priority, Line); }

    private:
        CUnitDouble& m_Double;
    };

    CReal m_Real;
};

#endif
