#ifndef TOOLS_VESK_TASKPIDFILES_H
#define TOOLS_VESK_TASKPIDFILES_H

#include <string>
#include <vector>

// The PID files in a PID directory, read back: which tasks announce that
// they run, and whether the announced process is that task. Operators and
// start-up scripts need this to refuse a second instance, to wait for a
// task to end and to clear the file of a task that died without removing
// it, also when its number has since gone to another process.
class CTaskPidFiles {
public:
    struct Entry_T {
        std::string Path;
        std::string TaskName;
        // Name of the task's command-pipe variable (second line).
        std::string CommandPipe;
        int Pid = -1;
        std::string Version;
        // The process named in the file is the task (see IsTaskProcess;
        // for the master bottom task's pipe its executable is required).
        bool IsTask = false;
        // Some process has the number (the task, or one that reused it).
        bool Exists = false;
    };

    // Every "<pid>.txt" file in Directory whose command-pipe line equals
    // CommandPipe (every file when CommandPipe is empty). A missing or
    // unreadable directory gives none.
    static std::vector<Entry_T> Find(const std::string& Directory, const std::string& CommandPipe);

    // Removes the files whose process is not the task; returns their paths.
    static std::vector<std::string> RemoveStale(const std::string& Directory, const std::string& CommandPipe);

    // Whether Pid is a running (not zombie) process of Executable (a base
    // name): its exe link, else (another user's process) its command name,
    // or under a user-mode emulator its command line.
    static bool IsTaskProcess(int Pid, const std::string& Executable);
};

#endif
