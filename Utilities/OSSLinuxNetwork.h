#ifndef UTILITIES_OSSLINUXNETWORK_H
#define UTILITIES_OSSLINUXNETWORK_H

#include <netinet/in.h>

#include "Utilities/IOSSNetwork.h"

// An IPv4 datagram socket of the Linux units. The constructor opens the
// socket and picks the unit's own address from the interface list.
class COSSLinuxNetwork : public IOSSNetwork {
public:
    COSSLinuxNetwork(int domain, int type, int protocol, int AddressChoice);
    ~COSSLinuxNetwork() override;

    bool SetSockOpt(int level, int name, const void* value, size_t length) override;
    bool EnableTxMulticast() override;
    bool Send(const Buffer_Bytes_T* Buffer, IP_Address_str_T Address, IP_Port_T Port) override;
    bool GetSystemIPAddress(AUINT32* pIpAddr) override;
    bool Bind(IP_Port_T Port) override;
    bool BindToAddress(IP_Address_str_T Address, IP_Port_T Port) override;
    bool Receive(Buffer_Bytes_T* Buffer) override;
    bool SetSocketFlags(int flags) override;
    bool ClearSocketFlags(int flags) override;
    int GetLastError() const override;
    int GetSocket() const override;

    bool Socket(int domain, int type, int protocol);
    void Close();

private:
    // Binds to the address and port, keeping them as the local address.
    bool BindTo(in_addr_t NetworkOrderAddress, IP_Port_T Port);
    // Writes back the socket's file-status flags as Update makes them.
    template <typename Update>
    bool ChangeSocketFlags(Update update);

    int m_Socket;
    int m_LastError;
    sockaddr_in m_Address;
    AUINT32 m_SystemAddress;
};

#endif
