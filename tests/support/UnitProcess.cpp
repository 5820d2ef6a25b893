#include "tests/support/UnitProcess.h"

#include <cstdlib>
#include <filesystem>

#include "tests/support/TargetCommand.h"

bool AddUnitInterface()
{
    return std::system("ip link add eth0 type veth peer name eth0-peer && "
                       "ip addr add 10.0.0.2/24 dev eth0 && ip link set eth0 up && "
                       "ip link set eth0-peer up") == 0;
}

int LaunchTask(const std::string& OutputFile)
{
#ifdef VESK_TASK_BINARY
    return CTargetCommand(VESK_TASK_BINARY).Run(OutputFile);
#else
    (void)OutputFile;
    return 127;
#endif
}

pid_t TaskPidFromPidFile()
{
    const char* const directory = std::getenv("PID_LOCATION");
    std::error_code error;
    const std::filesystem::directory_iterator first(directory ? directory : "", error);
    return error || first == std::filesystem::directory_iterator() ? -1
                                                                   : std::atoi(first->path().filename().c_str());
}
