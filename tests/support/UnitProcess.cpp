#include "tests/support/UnitProcess.h"

#include <cstdlib>

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
