#include "tests/support/UnitProcess.h"

#include <fcntl.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cstdlib>

bool AddUnitInterface()
{
    return std::system("ip link add eth0 type veth peer name eth0-peer && "
                       "ip addr add 10.0.0.2/24 dev eth0 && ip link set eth0 up && "
                       "ip link set eth0-peer up") == 0;
}

int LaunchTask(const std::string& OutputFile)
{
#ifdef VESK_TASK_BINARY
    const pid_t launcher = fork();
    if (launcher == 0) {
        const int fd = open(OutputFile.c_str(), O_WRONLY | O_CREAT | O_APPEND, 0640);
        dup2(fd, STDOUT_FILENO);
        dup2(fd, STDERR_FILENO);
        execl(VESK_TASK_BINARY, VESK_TASK_BINARY, static_cast<char*>(nullptr));
        _exit(127);
    }
    int status = 0;
    waitpid(launcher, &status, 0);
    return WIFEXITED(status) ? WEXITSTATUS(status) : -1;
#else
    (void)OutputFile;
    return 127;
#endif
}
