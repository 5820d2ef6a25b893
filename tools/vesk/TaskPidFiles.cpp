#include "tools/vesk/TaskPidFiles.h"

#include <dirent.h>
#include <signal.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <cstring>

#include "tools/vesk/ToolFile.h"

namespace {

constexpr const char* cTaskExecutable = "MasterBottomTask";
constexpr const char* cTaskPipe = "IPC_MASTER_BOTTOM_TASK";
// The kernel keeps 15 characters of a command name.
constexpr size_t cCommandNameLength = 15;
// A PID file has four short lines; /proc texts read here are short too.
constexpr size_t cLongestText = 4096;
constexpr const char* cDeletedSuffix = " (deleted)";

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

std::string BaseName(const std::string& Path)
{
    const size_t slash = Path.rfind('/');
    return slash == std::string::npos ? Path : Path.substr(slash + 1);
}

std::string ProcText(int Pid, const char* Entry)
{
    const CToolFile::Look_T look = CToolFile::Read("/proc/" + std::to_string(Pid) + "/" + Entry, cLongestText);
    return std::string(look.Bytes.begin(), look.Bytes.end());
}

bool IsZombieOrGone(int Pid)
{
    // "pid (comm) S ...": the state follows the last ')' (comm may hold any).
    const std::string stat = ProcText(Pid, "stat");
    const size_t close = stat.rfind(')');
    return close == std::string::npos || close + 2 >= stat.size() || stat[close + 2] == 'Z';
}

// Under a user-mode emulator the process runs the emulator, which takes the
// program as its first or second argument, or after its own options
// ("qemu-arm -L SYSROOT PROGRAM").
bool EmulatedCommandLineIs(int Pid, const std::string& Executable)
{
    if (std::getenv("VESK_EMULATOR") == nullptr) {
        return false;
    }
    const std::string line = ProcText(Pid, "cmdline");
    std::vector<std::string> arguments;
    for (size_t start = 0; start < line.size();) {
        const size_t end = std::min(line.find('\0', start), line.size());
        arguments.push_back(line.substr(start, end - start));
        start = end + 1;
    }
    size_t program = 1;
    while (program < arguments.size() && arguments[program].compare(0, 1, "-") == 0) {
        program += 2;
    }
    for (const size_t index : {size_t{1}, size_t{2}, program}) {
        if (index < arguments.size() && BaseName(arguments[index]) == Executable) {
            return true;
        }
    }
    return false;
}

std::vector<std::string> Lines(const std::vector<uint8_t>& Bytes)
{
    std::vector<std::string> lines(1);
    for (const uint8_t byte : Bytes) {
        if (byte == '\n') {
            lines.emplace_back();
        } else {
            lines.back() += static_cast<char>(byte);
        }
    }
    lines.resize(4);
    return lines;
}

} // namespace

bool CTaskPidFiles::IsTaskProcess(int Pid, const std::string& Executable)
{
    if (Pid <= 0 || Executable.empty() || IsZombieOrGone(Pid)) {
        return false;
    }
    char target[4096];
    const std::string exe = "/proc/" + std::to_string(Pid) + "/exe";
    const ssize_t length = readlink(exe.c_str(), target, sizeof(target) - 1);
    if (length >= 0) {
        std::string name = BaseName(std::string(target, static_cast<size_t>(length)));
        // A package upgrade replaces the executable under a running task.
        const size_t suffix = std::strlen(cDeletedSuffix);
        if (name.size() > suffix && name.compare(name.size() - suffix, suffix, cDeletedSuffix) == 0) {
            name.resize(name.size() - suffix);
        }
        return name == Executable || EmulatedCommandLineIs(Pid, Executable);
    }
    // Another user's process: its command name is still readable.
    std::string comm = ProcText(Pid, "comm");
    if (!comm.empty() && comm.back() == '\n') {
        comm.pop_back();
    }
    return comm == Executable.substr(0, cCommandNameLength) || EmulatedCommandLineIs(Pid, Executable);
}

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
        // Whatever sits at the name (a FIFO, a huge file) gives empty lines.
        const std::vector<std::string> lines = Lines(CToolFile::Read(entry.Path, cLongestText).Bytes);
        entry.TaskName = lines[0];
        entry.CommandPipe = lines[1];
        entry.Version = lines[3];
        if (!CommandPipe.empty() && entry.CommandPipe != CommandPipe) {
            continue;
        }
        // The master bottom task's file must name its executable; another
        // task's is taken at the word of its first line.
        entry.IsTask = IsTaskProcess(entry.Pid, entry.CommandPipe == cTaskPipe ? cTaskExecutable : entry.TaskName);
        // EPERM: another user's process has the number.
        entry.Exists = kill(entry.Pid, 0) == 0 || errno == EPERM;
        found.push_back(entry);
    }
    closedir(directory);
    return found;
}

std::vector<std::string> CTaskPidFiles::RemoveStale(const std::string& Directory, const std::string& CommandPipe)
{
    std::vector<std::string> removed;
    for (const Entry_T& entry : Find(Directory, CommandPipe)) {
        if (!entry.IsTask && std::remove(entry.Path.c_str()) == 0) {
            removed.push_back(entry.Path);
        }
    }
    return removed;
}
