#ifndef UTILITIES_TASKPIDFILES_H
#define UTILITIES_TASKPIDFILES_H

#include <string>
#include <vector>

// The PID files in a PID directory, read back: which tasks announce that
// they run, and whether the announced process is still there. Operators
// and start-up scripts need this to refuse a second instance, to wait for a
// task to end and to clear the file of a task that died without removing it.
class CTaskPidFiles {
public:
    struct Entry_T {
        std::string Path;
        std::string TaskName;
        // Name of the task's command-pipe variable (second line).
        std::string CommandPipe;
        int Pid = -1;
        std::string Version;
        // The process named in the file exists.
        bool Alive = false;
    };

    // Every "<pid>.txt" file in Directory whose command-pipe line equals
    // CommandPipe (every file when CommandPipe is empty). A missing or
    // unreadable directory gives none.
    static std::vector<Entry_T> Find(const std::string& Directory, const std::string& CommandPipe);

    // Removes the files of processes that no longer exist; returns their paths.
    static std::vector<std::string> RemoveStale(const std::string& Directory, const std::string& CommandPipe);
};

#endif
