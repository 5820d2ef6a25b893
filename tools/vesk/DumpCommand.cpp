// vesk dump: Sonar4 packets as text or JSON lines, from the network, from
// record files or from a capture file, decoded by the message table.
#include <arpa/inet.h>
#include <poll.h>
#include <unistd.h>

#include <cstdio>
#include <ctime>
#include <initializer_list>
#include <memory>
#include <string>
#include <vector>

#include "Utilities/DottedQuad.h"
#include "Utilities/IOSSFactory.h"
#include "tools/vesk/GroupSocket.h"
#include "tools/vesk/PcapFile.h"
#include "tools/vesk/Sonar4PacketText.h"
#include "tools/vesk/StopSignal.h"
#include "tools/vesk/ToolCommand.h"
#include "tools/vesk/ToolFile.h"

namespace {

struct DumpOptions_T {
    bool Json = false;
    std::string Origin;
};

// Prints one packet; true when it was flagged.
bool Print(const DumpOptions_T& Options, const std::string& Origin, const uint8_t* Bytes, size_t Size)
{
    const Sonar4PacketReport_T report = CSonar4PacketText::Decode(Bytes, Size);
    if (Options.Json) {
        std::string from;
        for (const char c : Origin) {
            from += c == '"' || c == '\\' ? std::string("\\") + c : std::string(1, c);
        }
        std::string json = CSonar4PacketText::Json(report);
        json.insert(1, "\"from\":\"" + from + "\",");
        std::printf("%s\n", json.c_str());
    } else {
        std::printf("%s: %s\n", Origin.c_str(), CSonar4PacketText::Text(report).c_str());
    }
    std::fflush(stdout);
    return !report.Flags.empty();
}

std::string Endpoint(uint32_t Address, uint16_t Port)
{
    return DottedQuad(Address) + ":" + std::to_string(Port);
}

struct TextOption_T {
    const char* Name;
    std::string* Value;
};

// Takes the first of Options that is next: null when none is, "" when it
// came with its value, its name when the value is missing or empty.
const char* TakeText(CToolArgs& Args, std::initializer_list<TextOption_T> Options)
{
    for (const TextOption_T& option : Options) {
        if (Args.TakeOption(option.Name, option.Value, true)) {
            return option.Value->empty() ? option.Name : "";
        }
    }
    return nullptr;
}

// Large enough for any packet of the message table (and for every datagram).
constexpr size_t cLargestPacket = 65535;

int DumpFiles(CToolArgs& Args, const DumpOptions_T& Options, const std::vector<std::string>& Files)
{
    bool flagged = false;
    for (const std::string& path : Files) {
        const CToolFile::Look_T look = CToolFile::Read(path, cLargestPacket);
        if (look.Kind != CToolFile::REGULAR) {
            return Args.Error(TOOL_UNAVAILABLE, path + " cannot be read: " + CToolFile::Describe(look));
        }
        if (look.Bytes.size() > cLargestPacket) {
            return Args.Error(TOOL_UNAVAILABLE,
                              path + " is too large: " + std::to_string(look.Size) + " bytes, longer than any packet");
        }
        flagged = Print(Options, path, look.Bytes.data(), look.Bytes.size()) || flagged;
    }
    return flagged ? TOOL_FAILED : TOOL_OK;
}

int DumpCapture(CToolArgs& Args, const DumpOptions_T& Options, const std::string& Path)
{
    CToolFile::Look_T look;
    const int fd = CToolFile::OpenRegular(Path, look);
    if (fd < 0) {
        return Args.Error(TOOL_UNAVAILABLE, Path + " cannot be read: " + CToolFile::Describe(look));
    }
    CPcapReader reader(fd);
    if (!reader.Error().empty()) {
        close(fd);
        return Args.Error(TOOL_UNAVAILABLE, Path + " " + reader.Error());
    }
    bool flagged = false;
    UdpDatagram_T datagram;
    while (reader.Next(datagram)) {
        const std::string origin = Endpoint(datagram.Source, datagram.SourcePort) + ">" +
                                   Endpoint(datagram.Destination, datagram.DestinationPort);
        flagged = Print(Options, origin, datagram.Payload.data(), datagram.Payload.size()) || flagged;
    }
    close(fd);
    if (!reader.Error().empty()) {
        return Args.Error(TOOL_FAILED, Path + " " + reader.Error());
    }
    return flagged ? TOOL_FAILED : TOOL_OK;
}

int DumpNetwork(IOSSFactory* pFactory, CToolArgs& Args, const DumpOptions_T& Options, const UnitGroup_T& Where,
                long long Seconds, long long Count, const std::string& SavePath)
{
    std::string error;
    const std::unique_ptr<IOSSNetwork> socket = JoinUnitGroup(pFactory, Where, error);
    if (!socket) {
        return Args.Error(TOOL_UNAVAILABLE, error);
    }
    std::unique_ptr<CPcapWriter> save;
    if (!SavePath.empty()) {
        save.reset(new CPcapWriter(SavePath));
        if (!save->Ok()) {
            return Args.Error(TOOL_UNAVAILABLE, SavePath + " cannot be written");
        }
    }
    std::fprintf(stderr, "vesk dump: listening on %s port %u\n", Where.Group.c_str(), Where.Port);
    CatchStopSignals();
    const time_t end = Seconds > 0 ? time(nullptr) + Seconds : 0;
    long long received = 0;
    bool flagged = false;
    std::vector<uint8_t> datagram(65536);
    in_addr group{};
    inet_aton(Where.Group.c_str(), &group);
    while (!StopRequested() && (end == 0 || time(nullptr) < end) && (Count == 0 || received < Count)) {
        pollfd ready{socket->GetSocket(), POLLIN, 0};
        if (poll(&ready, 1, 200) <= 0) {
            continue;
        }
        sockaddr_in from{};
        socklen_t fromLength = sizeof(from);
        const ssize_t size = recvfrom(socket->GetSocket(), datagram.data(), datagram.size(), 0,
                                      reinterpret_cast<sockaddr*>(&from), &fromLength);
        if (size < 0) {
            continue;
        }
        ++received;
        UdpDatagram_T captured{ntohl(from.sin_addr.s_addr), ntohl(group.s_addr), ntohs(from.sin_port), Where.Port,
                               std::vector<uint8_t>(datagram.begin(), datagram.begin() + size)};
        if (save && !save->Write(captured)) {
            return Args.Error(TOOL_FAILED, SavePath + " cannot be written");
        }
        const std::string origin = Endpoint(captured.Source, captured.SourcePort);
        flagged = Print(Options, origin, captured.Payload.data(), captured.Payload.size()) || flagged;
    }
    std::fprintf(stderr, "vesk dump: %lld packets\n", received);
    if (received == 0) {
        return Args.Error(TOOL_FAILED, "nothing received");
    }
    return flagged ? TOOL_FAILED : TOOL_OK;
}

int Run(IOSSFactory* pFactory, CToolArgs& Args)
{
    DumpOptions_T options;
    std::string value, pcap, serviceInfo, group, save;
    long long port = 0, seconds = 0, count = 0;
    bool files = false;
    for (bool more = true; more;) {
        if (Args.TakeOption("json")) {
            options.Json = true;
        } else if (Args.TakeOption("files")) {
            files = true;
        } else if (const char* name = TakeText(Args, {{"pcap", &pcap}, {"save", &save},
                                                         {"service-info", &serviceInfo}, {"group", &group}})) {
            // Without its value it would listen on the network instead of
            // reading or writing a capture, and never end.
            if (name[0] != '\0') {
                return Args.UsageError(std::string("--") + name + " takes a value");
            }
        } else if (Args.TakeOption("port", &value, true)) {
            if (!ParseNumber(value, 1, 65535, port)) {
                return Args.UsageError("--port takes 1 to 65535");
            }
        } else if (Args.TakeOption("seconds", &value, true)) {
            if (!ParseNumber(value, 1, 86400, seconds)) {
                return Args.UsageError("--seconds takes 1 to 86400");
            }
        } else if (Args.TakeOption("count", &value, true)) {
            if (!ParseNumber(value, 1, 1000000000, count)) {
                return Args.UsageError("--count takes a positive number");
            }
        } else {
            more = false;
        }
    }
    if (!Args.Empty() && Args.Peek().compare(0, 2, "--") == 0) {
        return Args.UsageError("unknown option " + Args.Peek());
    }
    const std::vector<std::string> rest = Args.Rest();
    if (files) {
        if (rest.empty()) {
            return Args.UsageError("--files takes one or more record files");
        }
        return DumpFiles(Args, options, rest);
    }
    if (!rest.empty()) {
        return Args.UsageError("unexpected argument " + rest.front() + " (record files go after --files)");
    }
    if (!pcap.empty()) {
        return DumpCapture(Args, options, pcap);
    }
    UnitGroup_T where{group, static_cast<uint16_t>(port)};
    if (group.empty() || port == 0) {
        if (serviceInfo.empty()) {
            const char* directory = pFactory->GetEnv("DATABASE_DIR_SYSTEM_DATA");
            if (directory == nullptr) {
                return Args.Error(TOOL_UNAVAILABLE, "DATABASE_DIR_SYSTEM_DATA is not set: give --service-info FILE "
                                                    "or --group and --port");
            }
            serviceInfo = std::string(directory) + "/ServiceInfo.bin";
        }
        std::string error;
        const UnitGroup_T unit = ReadUnitGroup(serviceInfo, error);
        if (!error.empty()) {
            return Args.Error(TOOL_UNAVAILABLE, error);
        }
        where.Group = group.empty() ? unit.Group : group;
        where.Port = port == 0 ? unit.Port : where.Port;
    }
    return DumpNetwork(pFactory, Args, options, where, seconds, count, save);
}

} // namespace

const ToolCommand_T cDumpCommand = {
    "dump", "decode Sonar4 packets from the network, record files or a capture file",
    "usage: vesk dump [--json] [--group ADDRESS --port PORT | --service-info FILE]\n"
    "                 [--seconds N] [--count N] [--save CAPTURE.pcap]\n"
    "       vesk dump [--json] --pcap CAPTURE.pcap\n"
    "       vesk dump [--json] --files RECORD.bin...\n"
    "\n"
    "Prints each packet on one line: message name, id, size, then every field\n"
    "with its value and unit, as the message table lays it out (--json: one\n"
    "JSON object per line). A packet that is short, has a wrong size field,\n"
    "another protocol version or an unknown id is printed with FLAGGED and why.\n"
    "\n"
    "From the network it joins the unit's multicast group on its data port,\n"
    "by default those of ServiceInfo.bin in DATABASE_DIR_SYSTEM_DATA (or of\n"
    "--service-info FILE), and runs until stopped, N seconds or N packets.\n"
    "--save also writes what it receives to a capture file (pcap) that\n"
    "capture tools open. --pcap reads UDP datagrams from a capture file of\n"
    "either format capture tools write (pcap or pcapng; raw IPv4, Ethernet or\n"
    "Linux cooked frames). A UDP length beyond the captured bytes gives the\n"
    "payload as captured; a frame whose UDP length is below 8 is skipped.\n"
    "\n"
    "exit: 0 every packet was sound; 1 a packet was flagged, or nothing was\n"
    "      received; 2 wrong command line; 3 a file, variable or socket could\n"
    "      not be used (a file that is no regular file, or too large)\n",
    &Run};
