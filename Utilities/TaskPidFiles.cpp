#include "Utilities/TaskPidFiles.h"

#include <dirent.h>
#include <signal.h>

#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <fstream>

namespace {

// "<digits>.txt": the only names a task gives its PID file.
bool IsPidFileName(const char* Name, int& Pid)
{
    const size_t length = std::strlen(Name);
    const size_t digits = length > 4 ? length - 4 : 0;
    if (digits == 0 || digits > 9 || std::strcmp(Name + digits, ".txt") != 0) {
        return false;
    }
    for (size_t i = 0; i < digits; ++i) {
        if (Name[i] < '0' || Name[i] > '9') {
            return false;
        }
    }
    Pid = std::atoi(Name);
    return Pid > 0;
}

bool ProcessExists(int Pid)
{
    // EPERM: the process exists but belongs to someone else.
    return kill(Pid, 0) == 0 || errno == EPERM;
}

} // namespace

std::vector<CTaskPidFiles::Entry_T> CTaskPidFiles::Find(const std::string& Directory, const std::string& CommandPipe)
{
    std::vector<Entry_T> found;
    DIR* const directory = opendir(Directory.c_str());
    if (directory == nullptr) {
        return found;
    }
    while (const dirent* item = readdir(directory)) {
        Entry_T entry;
        if (!IsPidFileName(item->d_name, entry.Pid)) {
            continue;
        }
        entry.Path = Directory + "/" + item->d_name;
        std::ifstream in(entry.Path);
        std::string pidLine;
        std::getline(in, entry.TaskName);
        std::getline(in, entry.CommandPipe);
        std::getline(in, pidLine);
        std::getline(in, entry.Version);
        if (!CommandPipe.empty() && entry.CommandPipe != CommandPipe) {
            continue;
        }
        entry.Alive = ProcessExists(entry.Pid);
        found.push_back(entry);
    }
    closedir(directory);
    return found;
}

std::vector<std::string> CTaskPidFiles::RemoveStale(const std::string& Directory, const std::string& CommandPipe)
{
    std::vector<std::string> removed;
    for (const Entry_T& entry : Find(Directory, CommandPipe)) {
        if (!entry.Alive && std::remove(entry.Path.c_str()) == 0) {
            removed.push_back(entry.Path);
        }
    }
    return removed;
}
