#include "Utilities/PidFile.h"

#include <fcntl.h>
#include <unistd.h>

#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <cstring>

#include "Utilities/NewFile.h"
#include "Utilities/VeskAssert.h"

namespace {

constexpr const char* cPidLocationVariable = "PID_LOCATION";

// The software version as the release process states it. Readers of PID
// files expect it as major.minor with a two-digit minor.
constexpr double cSoftwareVersion = 13.34;

constexpr int cPidFileFlags = O_WRONLY | O_CREAT | O_NONBLOCK;
constexpr int cPidFileMode = 0640;

constexpr unsigned cWaitChecks = 11;
constexpr unsigned cWaitIntervalSeconds = 1;

// Splits the version at its decimal point as printed with two decimals, so
// that binary rounding of 13.34 cannot turn the minor into 33.
void SplitVersion(double Version, int* pMajor, int* pMinor)
{
    char text[32] = {};
    std::snprintf(text, sizeof(text), "%.2f", Version);
    char* point = nullptr;
    *pMajor = static_cast<int>(std::strtol(text, &point, 10));
    *pMinor = (*point == '.') ? static_cast<int>(std::strtol(point + 1, nullptr, 10)) : 0;
}

} // namespace

CPidFile::CPidFile(IOSSFactory* pFactory, const char* CommandPipe)
    : m_Pid(-1), m_CommandPipe{}, m_pFactory(pFactory)
{
    VESK_ASSERT(m_pFactory);
    m_TaskName = m_pFactory->GetName();
    if (CommandPipe != nullptr) {
        // Copies at most the whole array; a name that fills it leaves no room
        // for the terminator and is refused below.
        const size_t length = strnlen(CommandPipe, sizeof(m_CommandPipe));
        std::memcpy(m_CommandPipe, CommandPipe, length);
        VESK_ASSERT(m_CommandPipe[sizeof(m_CommandPipe) - 1] == 0);
    }
}

VeskEventCode_T CPidFile::WritePidFile()
{
    m_Pid = static_cast<int>(getpid());

    const char* directory = m_pFactory->GetEnv(cPidLocationVariable);
    if (directory == nullptr) {
        return NO_ROOT_DIR_ENVVAR_PRESENT;
    }
    // Only a shell that cannot start fails here; a directory that still does
    // not exist shows up as the open failing below.
    m_pFactory->CreateFullPath(directory);

    // Made whole before it appears: the waiting parent, and anyone who lists
    // the running tasks, never finds it empty.
    const std::string path = PidFilePath(m_Pid);
    const VeskEventCode_T made = CNewFile::Make(m_pFactory, path, cPidFileMode, [this](IOSSFile& File) {
        return WriteLines(File) ? SUCCESS : OSS_FILE_FAILURE;
    });
    if (made == SUCCESS) {
        return SUCCESS;
    }
    if (made != EEXIST) {
        return NO_ROOT_DIR_ENVVAR_PRESENT;
    }

    // The file of an earlier process that had this pid: written over in
    // place, as it always was.
    IOSSFile* file = m_pFactory->CreateFile(path.c_str(), cPidFileFlags, cPidFileMode);
    if (file == nullptr) {
        return NO_ROOT_DIR_ENVVAR_PRESENT;
    }
    if (file->GetLastError() != 0) {
        delete file;
        return NO_ROOT_DIR_ENVVAR_PRESENT;
    }
    // Nothing reads the file back before the task runs, so a failed line
    // write here is not worth failing the start for.
    WriteLines(*file);
    delete file;
    return SUCCESS;
}

bool CPidFile::WriteLines(IOSSFile& File) const
{
    int major = 0;
    int minor = 0;
    SplitVersion(cSoftwareVersion, &major, &minor);

    // One formatted write per line. Room for the longest command-pipe name,
    // its newline and the NUL.
    char line[sizeof(m_CommandPipe) + 1];
    bool written = true;
    std::memset(line, 0, sizeof(line));
    std::snprintf(line, sizeof(line), "%s\n", m_TaskName.c_str());
    written = File.WriteStream(line) && written;
    std::memset(line, 0, sizeof(line));
    std::snprintf(line, sizeof(line), "%s\n", m_CommandPipe);
    written = File.WriteStream(line) && written;
    std::memset(line, 0, sizeof(line));
    std::snprintf(line, sizeof(line), "%d\n", m_Pid);
    written = File.WriteStream(line) && written;
    std::memset(line, 0, sizeof(line));
    std::snprintf(line, sizeof(line), "%d.%02d\n", major, minor);
    written = File.WriteStream(line) && written;
    return written;
}

VeskEventCode_T CPidFile::RemovePidFile()
{
    if (m_Pid == -1) {
        return OSS_FILE_FAILURE;
    }
    errno = 0;
    const VeskEventCode_T result = m_pFactory->RemoveDirs(PidFilePath(m_Pid), true);
    if (result == SUCCESS) {
        return SUCCESS;
    }
    return errno != 0 ? errno : result;
}

bool CPidFile::WaitForPidFile(int pid)
{
    const char* directory = m_pFactory->GetEnv(cPidLocationVariable);
    VESK_ASSERT_TEXT(directory, "PID_LOCATION environment variable not set");
    const std::string fileName = PidFileName(pid);

    for (unsigned check = 0; check < cWaitChecks; ++check) {
        Sleep(cWaitIntervalSeconds);
        if (m_pFactory->CheckForFile(directory, fileName.c_str())) {
            return true;
        }
    }
    return false;
}

void CPidFile::Sleep(unsigned Seconds)
{
    sleep(Seconds);
}

const char* CPidFile::PidFilePath(int pid) const
{
    const char* directory = m_pFactory->GetEnv(cPidLocationVariable);
    VESK_ASSERT_TEXT(directory, "PID_LOCATION environment variable not set");
    m_Path = std::string(directory) + "/" + PidFileName(pid);
    return m_Path.c_str();
}

std::string CPidFile::PidFileName(int pid)
{
    return std::to_string(pid) + ".txt";
}
