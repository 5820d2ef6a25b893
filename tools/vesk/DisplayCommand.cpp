// vesk display: a stand-in for a display unit, joining the unit's
// multicast group and printing each change of the master bottom.
#include <poll.h>
#include <unistd.h>

#include <cerrno>
#include <cstdio>
#include <cstring>
#include <ctime>
#include <memory>
#include <string>

#include "Database/DatabaseMasterBottomRecordMessage.h"
#include "Sonar4/Sonar4MessageTable.h"
#include "Utilities/IOSSFactory.h"
#include "tools/vesk/GroupSocket.h"
#include "tools/vesk/StopSignal.h"
#include "tools/vesk/ToolCommand.h"

namespace {

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

// The unit of the master depth as the message table states it.
std::string DepthUnit()
{
    const Sonar4MessageRow_T* row = FindSonar4MessageRow(Message_Id_Sonar4_Master_Bottom_Record);
    for (size_t i = 0; row != nullptr && i < row->Record.FieldCount; ++i) {
        if (row->Record.Fields[i].Offset == Sonar4MasterBottomRecordPacket::cMasterDepthOffset) {
            return row->Record.Fields[i].Unit;
        }
    }
    return "";
}

int Run(IOSSFactory* pFactory, CToolArgs& Args)
{
    long long seconds = 0;
    std::string value;
    if (Args.TakeOption("seconds", &value, true) && !ParseNumber(value, 1, 86400, seconds)) {
        return Args.UsageError("--seconds takes 1 to 86400");
    }
    if (!Args.Empty()) {
        return Args.UsageError("unexpected argument " + Args.Peek());
    }
    if (pFactory->GetEnv("DATABASE_DIR_SYSTEM_DATA") == nullptr) {
        return Args.Error(TOOL_UNAVAILABLE, "DATABASE_DIR_SYSTEM_DATA is not set (the service info record is there)");
    }
    // The task's service info record (made at its start) says where it publishes.
    const char* directory = pFactory->GetEnv("DATABASE_DIR_SYSTEM_DATA");
    const std::string serviceInfo = std::string(directory) + "/ServiceInfo.bin";
    CatchStopSignals();
    // A display comes up before or after the unit: wait for the unit's record.
    while (access(serviceInfo.c_str(), F_OK) != 0 && !StopRequested()) {
        SleepMs(100);
    }
    std::string error;
    const UnitGroup_T where = ReadUnitGroup(serviceInfo, error);
    const std::unique_ptr<IOSSNetwork> socket = error.empty() ? JoinUnitGroup(pFactory, where, error) : nullptr;
    if (!socket) {
        return Args.Error(TOOL_UNAVAILABLE, error);
    }
    const std::string& group = where.Group;
    const IP_Port_T port = where.Port;
    std::printf("[display] listening on %s port %u\n", group.c_str(), port);
    std::fflush(stdout);

    const time_t end = seconds > 0 ? time(nullptr) + seconds : 0;
    const std::string unit = DepthUnit();
    bool haveLast = false;
    Sonar4MasterBottomRecordPacket last{};
    unsigned long received = 0;
    while (!StopRequested() && (end == 0 || time(nullptr) < end)) {
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
        const std::string depth = packet.GetMasterDepth() == cNoBottom
                                      ? std::string("none")
                                      : std::to_string(packet.GetMasterDepth()) + " " + unit;
        std::printf("[display] master bottom: %s (%s), message %lu from unit %u\n", depth.c_str(),
                    OffsetModeText(packet.GetOffsetMode()), received, packet.GetSerialNumber());
        std::fflush(stdout);
    }
    std::printf("[display] %lu master bottom messages received\n", received);
    return received > 0 ? TOOL_OK : TOOL_FAILED;
}

} // namespace

const ToolCommand_T cDisplayCommand = {
    "display", "stand-in for a display unit: prints each change of the master bottom",
    "usage: vesk display [--seconds N]\n"
    "\n"
    "Joins the unit's multicast group on its data port (both from the service\n"
    "info record in DATABASE_DIR_SYSTEM_DATA) and prints each change of the\n"
    "master bottom, until stopped (SIGINT, SIGTERM) or N seconds have passed.\n"
    "\n"
    "exit: 0 master bottom messages were received; 1 none came;\n"
    "      2 wrong command line; 3 the group could not be joined\n",
    &Run};
