#include "Utilities/OSSLinuxNetwork.h"

#include <arpa/inet.h>
#include <fcntl.h>
#include <ifaddrs.h>
#include <netdb.h>
#include <sys/socket.h>
#include <unistd.h>

#include <cerrno>
#include <cstring>

#include "Utilities/VeskAssert.h"
#include "Utilities/VeskEventCode.h"

namespace {

bool BeginsWith(const char* Text, const char* Prefix)
{
    return std::strncmp(Text, Prefix, std::strlen(Prefix)) == 0;
}

template <size_t N>
bool BeginsWithAny(const char* Text, const char* const (&Prefixes)[N])
{
    for (const char* prefix : Prefixes) {
        if (BeginsWith(Text, prefix)) {
            return true;
        }
    }
    return false;
}

// Picks the unit's own address from the interface list. The loopback (or,
// for SYSTEM_ADDRESS_TEN_NET, the "10." net) is the fallback: the last such
// interface wins. With SYSTEM_ADDRESS_PRIVATE_FIRST the first interface on a
// private-looking net wins at once. The prefixes are plain text on purpose:
// units are configured with whole 172.x and 192.x nets.
// Returns the address in network byte order, 0 when nothing matched, and
// the errno of getifaddrs (0 when it worked) through pError.
AUINT32 ChooseSystemAddress(int AddressChoice, int* pError)
{
    const char* const firstPrefix = (AddressChoice == SYSTEM_ADDRESS_TEN_NET) ? "10." : "127.";
    static const char* const cPrivatePrefixes[] = {"10.", "192.", "172."};
    const bool tryPrivate = (AddressChoice == SYSTEM_ADDRESS_PRIVATE_FIRST);

    *pError = 0;
    ifaddrs* interfaces = nullptr;
    if (getifaddrs(&interfaces) == -1) {
        *pError = errno;
        return 0;
    }

    char chosen[NI_MAXHOST] = {};
    for (const ifaddrs* entry = interfaces; entry != nullptr; entry = entry->ifa_next) {
        if (entry->ifa_addr == nullptr || entry->ifa_addr->sa_family != AF_INET) {
            continue;
        }
        char host[NI_MAXHOST] = {};
        if (getnameinfo(entry->ifa_addr, sizeof(sockaddr_in), host, sizeof(host), nullptr, 0, NI_NUMERICHOST) != 0) {
            continue;
        }
        if (tryPrivate && BeginsWithAny(host, cPrivatePrefixes)) {
            std::memcpy(chosen, host, sizeof(chosen));
            break;
        }
        if (BeginsWith(host, firstPrefix)) {
            std::memcpy(chosen, host, sizeof(chosen));
        }
    }
    freeifaddrs(interfaces);

    if (chosen[0] == '\0') {
        return 0;
    }
    in_addr address{};
    return inet_aton(chosen, &address) != 0 ? address.s_addr : 0;
}

} // namespace

COSSLinuxNetwork::COSSLinuxNetwork(int domain, int type, int protocol, int AddressChoice)
    : m_Socket(-1), m_LastError(0), m_Address{}, m_SystemAddress(0)
{
    Socket(domain, type, protocol);
    int interfaceError = 0;
    m_SystemAddress = ChooseSystemAddress(AddressChoice, &interfaceError);
    if (interfaceError != 0) {
        m_LastError = interfaceError;
    }
}

COSSLinuxNetwork::~COSSLinuxNetwork()
{
    Close();
}

bool COSSLinuxNetwork::Socket(int domain, int type, int protocol)
{
    VESK_ASSERT((m_Socket == -1) &&
                "Socket should be closed before (re-)opening a socket - this is probably a resource leak!");
    m_Socket = socket(domain, type, protocol);
    m_LastError = ErrnoIf(m_Socket == -1);
    return m_LastError == 0;
}

void COSSLinuxNetwork::Close()
{
    VESK_ASSERT(m_Socket != -1);
    m_LastError = ErrnoIf(close(m_Socket) == -1);
}

bool COSSLinuxNetwork::SetSockOpt(int level, int name, const void* value, size_t length)
{
    VESK_ASSERT(m_Socket != -1);
    m_LastError = ErrnoIf(setsockopt(m_Socket, level, name, value, static_cast<socklen_t>(length)) == -1);
    return m_LastError == 0;
}

bool COSSLinuxNetwork::EnableTxMulticast()
{
    VESK_ASSERT(m_Socket != -1);
    in_addr interfaceAddress{};
    interfaceAddress.s_addr = m_SystemAddress;
    m_LastError =
        ErrnoIf(setsockopt(m_Socket, IPPROTO_IP, IP_MULTICAST_IF, &interfaceAddress, sizeof(interfaceAddress)) == -1);
    // Set a second time on purpose: units in the field have always done so,
    // and only this second setting decides the result.
    m_LastError =
        ErrnoIf(setsockopt(m_Socket, IPPROTO_IP, IP_MULTICAST_IF, &interfaceAddress, sizeof(interfaceAddress)) == -1);
    return m_LastError == 0;
}

bool COSSLinuxNetwork::Send(const Buffer_Bytes_T* Buffer, IP_Address_str_T Address, IP_Port_T Port)
{
    VESK_ASSERT(Buffer);
    VESK_ASSERT(Address);
    VESK_ASSERT(m_Socket != -1);

    sockaddr_in destination{};
    destination.sin_family = AF_INET;
    destination.sin_port = htons(Port);
    destination.sin_addr.s_addr = inet_addr(Address);

    const ssize_t sent = sendto(m_Socket, Buffer->ptr(), Buffer->size(), 0,
                                reinterpret_cast<const sockaddr*>(&destination), sizeof(destination));
    m_LastError = ErrnoIf(sent == -1);
    if (sent != -1 && static_cast<size_t>(sent) < Buffer->size()) {
        Buffer->size(static_cast<size_t>(sent));
    }
    return m_LastError == 0;
}

bool COSSLinuxNetwork::GetSystemIPAddress(AUINT32* pIpAddr)
{
    VESK_ASSERT(pIpAddr);
    *pIpAddr = m_SystemAddress;
    return m_SystemAddress != 0;
}

bool COSSLinuxNetwork::BindTo(in_addr_t NetworkOrderAddress, IP_Port_T Port)
{
    std::memset(&m_Address, 0, sizeof(m_Address));
    m_Address.sin_family = AF_INET;
    m_Address.sin_port = htons(Port);
    m_Address.sin_addr.s_addr = NetworkOrderAddress;
    m_LastError = ErrnoIf(bind(m_Socket, reinterpret_cast<const sockaddr*>(&m_Address), sizeof(m_Address)) == -1);
    return m_LastError == 0;
}

bool COSSLinuxNetwork::Bind(IP_Port_T Port)
{
    VESK_ASSERT(m_Socket != -1);
    return BindTo(htonl(INADDR_ANY), Port);
}

bool COSSLinuxNetwork::BindToAddress(IP_Address_str_T Address, IP_Port_T Port)
{
    VESK_ASSERT(Address);
    VESK_ASSERT(m_Socket != -1);
    // Invalid text becomes 255.255.255.255 and bind reports the failure.
    return BindTo(inet_addr(Address), Port);
}

bool COSSLinuxNetwork::Receive(Buffer_Bytes_T* Buffer)
{
    VESK_ASSERT(Buffer);
    VESK_ASSERT(m_Socket != -1);
    socklen_t addressLength = sizeof(m_Address);
    // A datagram longer than the room is cut to it; recvfrom reports the
    // bytes stored.
    const ssize_t received = recvfrom(m_Socket, Buffer->ptr(), Buffer->size(), 0,
                                      reinterpret_cast<sockaddr*>(&m_Address), &addressLength);
    m_LastError = ErrnoIf(received == -1);
    Buffer->size(received == -1 ? 0 : static_cast<size_t>(received));
    return m_LastError == 0;
}

// The flag operations keep an earlier error: callers set flags right after
// a failed call and must still see that failure.
template <typename Update>
bool COSSLinuxNetwork::ChangeSocketFlags(Update update)
{
    const int current = fcntl(m_Socket, F_GETFL);
    if (current == -1 || fcntl(m_Socket, F_SETFL, update(current)) == -1) {
        m_LastError = errno;
    }
    return m_LastError == 0;
}

bool COSSLinuxNetwork::SetSocketFlags(int flags)
{
    VESK_ASSERT(m_Socket != -1);
    return ChangeSocketFlags([flags](int current) { return current | flags; });
}

bool COSSLinuxNetwork::ClearSocketFlags(int flags)
{
    VESK_ASSERT(m_Socket != -1);
    return ChangeSocketFlags([flags](int current) { return current & ~flags; });
}

int COSSLinuxNetwork::GetLastError() const
{
    return m_LastError;
}

int COSSLinuxNetwork::GetSocket() const
{
    return m_Socket;
}
