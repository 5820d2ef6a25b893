#ifndef TESTS_SUPPORT_RECORDINGFACTORY_H
#define TESTS_SUPPORT_RECORDINGFACTORY_H

#include <string>
#include <utility>
#include <vector>

#include "Utilities/OSSLinuxFactory.h"

// The real Linux factory, except that events are recorded instead of being
// printed and logged, that what reaches the system log (from an event
// reporter built on this factory) is kept instead, and that CreateFile can
// be made to hand back a file that failed to open with a chosen error.
class CRecordingFactory : public COSSLinuxFactory {
public:
    struct Event {
        int Level;
        VeskEventCode_T Code;
        std::string Where;
        std::string Why;
    };

    VeskEventCode_T SendEvent(int level, VeskEventCode_T code, const char* where, const char* why) override;
    IOSSFile* CreateFile(const char* Name, int flags, int mode) override;
    void WriteSystemLog(int Priority, const char* Line) override;

    std::vector<Event> m_Events;
    // Priority and line of each system log call.
    std::vector<std::pair<int, std::string>> m_Logged;
    // When non-zero, the next CreateFile calls answer a file whose open
    // failed with this error (one call per FailOpenCount).
    int m_FailOpenWith = 0;
    int m_FailOpenCount = 0;
};

#endif
