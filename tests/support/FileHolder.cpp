#include "tests/support/FileHolder.h"

#include <fcntl.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cstdio>
#include <stdexcept>

#include "Utilities/OSSLinuxFile.h"

CFileHolder::CFileHolder(const std::string& Path, int Flags)
{
    int ready[2];
    int release[2];
    if (pipe(ready) != 0 || pipe(release) != 0) {
        throw std::runtime_error("pipe failed");
    }
    std::fflush(stdout);
    m_Pid = fork();
    if (m_Pid == 0) {
        // The holder's own lock lines are not what a test looks at.
        dup2(open("/dev/null", O_WRONLY), STDOUT_FILENO);
        COSSLinuxFile file(Path.c_str(), Flags, 0600);
        const int error = file.GetLastError();
        char byte;
        if (write(ready[1], &error, sizeof(error)) == sizeof(error)) {
            close(release[1]);
            (void)!read(release[0], &byte, 1);  // returns once the test closes its end
        }
        _exit(0);
    }
    close(ready[1]);
    close(release[0]);
    m_Release = release[1];
    if (read(ready[0], &m_OpenError, sizeof(m_OpenError)) != static_cast<ssize_t>(sizeof(m_OpenError))) {
        m_OpenError = -1;
    }
    close(ready[0]);
}

CFileHolder::~CFileHolder()
{
    Release();
}

void CFileHolder::Release()
{
    if (m_Pid > 0) {
        close(m_Release);
        waitpid(m_Pid, nullptr, 0);
        m_Pid = -1;
    }
}
