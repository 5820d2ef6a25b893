#include "tools/vesk/GroupSocket.h"

#include <arpa/inet.h>
#include <netinet/in.h>
#include <sys/socket.h>

#include <algorithm>
#include <cstring>

#include "Database/DatabaseServiceInfoMessage.h"
#include "Utilities/DottedQuad.h"
#include "Utilities/IOSSFactory.h"
#include "tools/vesk/ToolFile.h"

UnitGroup_T ReadUnitGroup(const std::string& ServiceInfoPath, std::string& Error)
{
    UnitGroup_T where;
    const CToolFile::Look_T look = CToolFile::Read(ServiceInfoPath, sizeof(Sonar4ServiceInfoPacket));
    if (look.Kind != CToolFile::REGULAR) {
        Error = ServiceInfoPath + " cannot be read: " + CToolFile::Describe(look);
        return where;
    }
    Sonar4ServiceInfoPacket packet{};
    std::copy_n(look.Bytes.begin(), std::min(look.Bytes.size(), sizeof(packet)), packet.data());
    if (look.Bytes.size() < Sonar4ServiceInfoPacket::cSentHeaderSize ||
        packet.GetMessageID() != Sonar4_Service_Info_Message) {
        Error = ServiceInfoPath + ": not a service info file";
        return where;
    }
    where.Group = DottedQuad(ntohl(packet.GetOutputIPAddress()));
    if (packet.GetDataPort() == 0 || packet.GetDataPort() > 65535) {
        Error = ServiceInfoPath + ": data port " + std::to_string(packet.GetDataPort()) + " is no port";
        return where;
    }
    where.Port = static_cast<uint16_t>(packet.GetDataPort());
    return where;
}

std::unique_ptr<IOSSNetwork> JoinUnitGroup(IOSSFactory* pFactory, const UnitGroup_T& Where, std::string& Error)
{
    std::unique_ptr<IOSSNetwork> socket(pFactory->CreateNetwork(AF_INET, SOCK_DGRAM, 17, SYSTEM_ADDRESS_TEN_NET));
    const int reuse = 1;
    socket->SetSockOpt(SOL_SOCKET, SO_REUSEADDR, &reuse, sizeof(reuse));
    if (!socket->Bind(Where.Port)) {
        Error = "cannot bind port " + std::to_string(Where.Port) + ": " + std::strerror(socket->GetLastError());
        return nullptr;
    }
    in_addr group{};
    if (inet_aton(Where.Group.c_str(), &group) == 0) {
        Error = "'" + Where.Group + "' is no IPv4 address";
        return nullptr;
    }
    if (!IN_MULTICAST(ntohl(group.s_addr))) {
        return socket;
    }
    ip_mreq membership{};
    membership.imr_multiaddr = group;
    AUINT32 ownAddress = 0;
    socket->GetSystemIPAddress(&ownAddress);
    membership.imr_interface.s_addr = ownAddress;
    if (!socket->SetSockOpt(IPPROTO_IP, IP_ADD_MEMBERSHIP, &membership, sizeof(membership))) {
        Error = "cannot join " + Where.Group + ": " + std::strerror(socket->GetLastError());
        return nullptr;
    }
    return socket;
}
