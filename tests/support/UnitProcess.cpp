#include "tests/support/UnitProcess.h"

#include <arpa/inet.h>
#include <netinet/in.h>
#include <sys/socket.h>
#include <unistd.h>

#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <fstream>

#include "tests/support/TargetCommand.h"

namespace {

// True when the network namespace of this process has no interface but
// the loopback, as one made for a test has: the machine's own (or a
// container's) has more, and gets nothing added.
bool OnlyLoopback()
{
    std::ifstream devices("/proc/self/net/dev");
    std::string line;
    int interfaces = 0;
    int loopbacks = 0;
    while (std::getline(devices, line)) {
        // "  lo: 8664 98 ...": one line per interface, after two of headings.
        const std::size_t colon = line.find(':');
        if (colon != std::string::npos) {
            const std::size_t name = line.find_first_not_of(' ');
            ++interfaces;
            loopbacks += line.substr(name, colon - name) == "lo";
        }
    }
    return interfaces == 1 && loopbacks == 1;
}

} // namespace

bool AddUnitInterface()
{
    if (!OnlyLoopback()) {
        std::fprintf(stderr, "not a network namespace of the test's own (it has interfaces besides lo): "
                             "no eth0 added\n");
        return false;
    }
    return std::system("ip link add eth0 type veth peer name eth0-peer && "
                       "ip addr add 10.0.0.2/24 dev eth0 && ip link set eth0 up && "
                       "ip link set eth0-peer up") == 0;
}

int OpenDisplayReceiver()
{
    const int receiver = socket(AF_INET, SOCK_DGRAM, 0);
    sockaddr_in address{};
    address.sin_family = AF_INET;
    address.sin_port = htons(3201);
    const ip_mreq membership{{inet_addr("224.0.0.64")}, {inet_addr("10.0.0.2")}};
    if (receiver >= 0 && (bind(receiver, reinterpret_cast<sockaddr*>(&address), sizeof(address)) != 0 ||
                          setsockopt(receiver, IPPROTO_IP, IP_ADD_MEMBERSHIP, &membership, sizeof(membership)) != 0)) {
        close(receiver);
        return -1;
    }
    return receiver;
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
