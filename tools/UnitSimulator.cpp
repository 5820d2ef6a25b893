// Stand-ins for the parts of a unit around the master bottom task, for
// running the task on a development machine:
//
//   UnitSimulator ping-task EXT STATE:DEPTH [STATE:DEPTH ...] [-i MS]
//       a ping task writing its local bottom record ("LocalBottomState<EXT>.txt"),
//       stepping through the given bottoms every MS milliseconds (default 700),
//       until it is stopped
//   UnitSimulator set-offset CENTIMETRES
//       stores the depth offset in the system settings record
//   UnitSimulator listen [SECONDS]
//       a display unit: receives the master bottom messages on the unit's
//       multicast group and data port and prints each change of the bottom
//
// The environment is that of the unit (database directories, serial number).
#include <poll.h>
#include <signal.h>
#include <sys/socket.h>
#include <time.h>
#include <unistd.h>
#include <netinet/in.h>
#include <arpa/inet.h>

#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <memory>
#include <string>
#include <vector>

#include "Database/DatabaseLocalBottomRecord.h"
#include "Database/DatabaseMasterBottomRecordMessage.h"
#include "Database/DatabaseServiceInfoMessage.h"
#include "Database/DatabaseSystemSettingsMessage.h"
#include "Utilities/OSSLinuxFactory.h"

namespace {

volatile sig_atomic_t gStop = 0;

void OnSignal(int)
{
    gStop = 1;
}

void CatchStopSignals()
{
    struct sigaction action {};
    action.sa_handler = OnSignal;
    sigaction(SIGTERM, &action, nullptr);
    sigaction(SIGINT, &action, nullptr);
}

void SleepMs(long Ms)
{
    timespec delay{Ms / 1000, (Ms % 1000) * 1000000L};
    nanosleep(&delay, nullptr);
}

int Usage()
{
    std::fprintf(stderr,
                 "usage: UnitSimulator ping-task EXT STATE:DEPTH... [-i MS]\n"
                 "       UnitSimulator set-offset CENTIMETRES\n"
                 "       UnitSimulator listen [SECONDS]\n");
    return 2;
}

struct Bottom {
    int State;
    long Depth;
};

int PingTask(IOSSFactory* pFactory, int argc, char** argv)
{
    if (argc < 2) {
        return Usage();
    }
    const char* extension = argv[0];
    long intervalMs = 700;
    std::vector<Bottom> bottoms;
    for (int i = 1; i < argc; ++i) {
        if (std::strcmp(argv[i], "-i") == 0 && i + 1 < argc) {
            intervalMs = std::strtol(argv[++i], nullptr, 10);
            continue;
        }
        Bottom bottom{};
        if (std::sscanf(argv[i], "%d:%ld", &bottom.State, &bottom.Depth) != 2) {
            return Usage();
        }
        bottoms.push_back(bottom);
    }
    if (bottoms.empty() || intervalMs <= 0) {
        return Usage();
    }

    CatchStopSignals();
    CDatabaseLocalBottomRecord record(pFactory, extension);
    for (size_t step = 0; gStop == 0; ++step) {
        const Bottom& bottom = bottoms[step % bottoms.size()];
        record.SetState(static_cast<uint8_t>(bottom.State));
        record.SetDepth(static_cast<int32_t>(bottom.Depth));
        // The master bottom task may hold the file for a moment: try again.
        while (record.writeDB() == FILE_ACCESS_DENIED && gStop == 0) {
            SleepMs(1);
        }
        SleepMs(intervalMs);
    }
    return 0;
}

int SetOffset(IOSSFactory* pFactory, int argc, char** argv)
{
    if (argc != 1) {
        return Usage();
    }
    CDatabaseSystemSettingsMessage settings(pFactory);
    settings.SetDepthOffset(static_cast<int32_t>(std::strtol(argv[0], nullptr, 10)));
    VeskEventCode_T status;
    while ((status = settings.writeDB()) == FILE_ACCESS_DENIED) {
        SleepMs(1);
    }
    return status == SUCCESS ? 0 : 1;
}

const char* OffsetModeText(uint8_t Mode)
{
    switch (Mode) {
    case 0:
        return "no offset";
    case 1:
        return "negative offset";
    case 2:
        return "positive offset";
    default:
        return "unknown offset mode";
    }
}

int Listen(IOSSFactory* pFactory, int argc, char** argv)
{
    const long seconds = argc > 0 ? std::strtol(argv[0], nullptr, 10) : 0;
    CDatabaseServiceInfoMessage serviceInfo(pFactory);
    const std::string group = serviceInfo.GetOutputIPAddressText();
    const IP_Port_T port = static_cast<IP_Port_T>(serviceInfo.GetDataPort());

    std::unique_ptr<IOSSNetwork> socket(pFactory->CreateNetwork(AF_INET, SOCK_DGRAM, 17, SYSTEM_ADDRESS_TEN_NET));
    const int reuse = 1;
    socket->SetSockOpt(SOL_SOCKET, SO_REUSEADDR, &reuse, sizeof(reuse));
    if (!socket->Bind(port)) {
        std::fprintf(stderr, "listen: cannot bind port %u: %s\n", port, std::strerror(socket->GetLastError()));
        return 1;
    }
    ip_mreq membership{};
    membership.imr_multiaddr.s_addr = inet_addr(group.c_str());
    AUINT32 ownAddress = 0;
    socket->GetSystemIPAddress(&ownAddress);
    membership.imr_interface.s_addr = ownAddress;
    if (!socket->SetSockOpt(IPPROTO_IP, IP_ADD_MEMBERSHIP, &membership, sizeof(membership))) {
        std::fprintf(stderr, "listen: cannot join %s: %s\n", group.c_str(), std::strerror(socket->GetLastError()));
        return 1;
    }
    std::printf("[display] listening on %s port %u\n", group.c_str(), port);
    std::fflush(stdout);

    CatchStopSignals();
    const time_t end = seconds > 0 ? time(nullptr) + seconds : 0;
    bool haveLast = false;
    Sonar4MasterBottomRecordPacket last{};
    unsigned long received = 0;
    while (gStop == 0 && (end == 0 || time(nullptr) < end)) {
        pollfd ready{socket->GetSocket(), POLLIN, 0};
        if (poll(&ready, 1, 200) <= 0) {
            continue;
        }
        Sonar4MasterBottomRecordPacket packet{};
        Buffer_Bytes_T buffer(packet.data(), sizeof(packet));
        if (!socket->Receive(&buffer) || buffer.size() != sizeof(packet) ||
            packet.GetMessageID() != Message_Id_Sonar4_Master_Bottom_Record) {
            continue;
        }
        ++received;
        if (haveLast && packet.GetMasterDepth() == last.GetMasterDepth() &&
            packet.GetOffsetMode() == last.GetOffsetMode()) {
            continue;
        }
        haveLast = true;
        last = packet;
        if (packet.GetMasterDepth() == INT32_MIN) {
            std::printf("[display] master bottom: none (%s), message %lu from unit %u\n",
                        OffsetModeText(packet.GetOffsetMode()), received, packet.GetSerialNumber());
        } else {
            std::printf("[display] master bottom: %d (%s), message %lu from unit %u\n", packet.GetMasterDepth(),
                        OffsetModeText(packet.GetOffsetMode()), received, packet.GetSerialNumber());
        }
        std::fflush(stdout);
    }
    std::printf("[display] %lu master bottom messages received\n", received);
    return received > 0 ? 0 : 1;
}

} // namespace

int main(int argc, char** argv)
{
    if (argc < 2) {
        return Usage();
    }
    COSSLinuxFactory factory;
    factory.SetName(std::string("UnitSimulator-") + argv[1]);
    const std::string command = argv[1];
    if (command == "ping-task") {
        return PingTask(&factory, argc - 2, argv + 2);
    }
    if (command == "set-offset") {
        return SetOffset(&factory, argc - 2, argv + 2);
    }
    if (command == "listen") {
        return Listen(&factory, argc - 2, argv + 2);
    }
    return Usage();
}
