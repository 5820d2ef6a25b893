#ifndef UTILITIES_PIDFILE_H
#define UTILITIES_PIDFILE_H

#include <string>

#include "Utilities/IOSSFactory.h"
#include "Utilities/VeskEventCode.h"

// A task's announcement that it runs: "<pid>.txt" in the directory named by
// PID_LOCATION, holding the task name, the name of its command-pipe variable,
// the pid and the software version, one per line. The task writes it when
// its loop starts and removes it when the loop ends; the process that forked
// the task waits for it with its own object.
class CPidFile {
public:
    // CommandPipe is the name of the task's command-pipe environment variable,
    // or null for none; it must be shorter than 256 characters. The task name
    // is taken from the factory now, so set it on the factory first.
    CPidFile(IOSSFactory* pFactory, const char* CommandPipe);

    virtual ~CPidFile() = default;
    CPidFile(const CPidFile&) = delete;
    CPidFile& operator=(const CPidFile&) = delete;

    // Writes the file for the calling process. NO_ROOT_DIR_ENVVAR_PRESENT
    // when PID_LOCATION is unset or the file cannot be created (a symbolic
    // link at its name included). A new file appears only once all its lines
    // are written, or not at all; a file left by an earlier process with
    // the same pid is written over in place, its line writes unchecked.
    VeskEventCode_T WritePidFile();
    // Removes the file written by WritePidFile; OSS_FILE_FAILURE when none
    // was written by this object.
    VeskEventCode_T RemovePidFile();
    // Checks once a second, eleven times, the first after one second, for the
    // file of process pid; true as soon as it is there.
    bool WaitForPidFile(int pid);
    // PID_LOCATION + "/" + pid + ".txt". Valid until the next call. Aborts
    // when PID_LOCATION is unset.
    const char* PidFilePath(int pid) const;

protected:
    // The pause between two checks of WaitForPidFile: sleep(3). Tests put a
    // clock of their own here.
    virtual void Sleep(unsigned Seconds);

private:
    static std::string PidFileName(int pid);
    // Writes the four lines; false when any write failed.
    bool WriteLines(IOSSFile& File) const;

    int m_Pid;
    std::string m_TaskName;
    char m_CommandPipe[256];
    IOSSFactory* m_pFactory;
    mutable std::string m_Path;
};

#endif
