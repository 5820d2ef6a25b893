#ifndef TESTS_SUPPORT_UNITNETWORK_H
#define TESTS_SUPPORT_UNITNETWORK_H

#include <cstdint>
#include <deque>
#include <string>
#include <vector>

#include "Utilities/IOSSNetwork.h"

// One datagram handed to Send.
struct SentDatagram_T {
    std::string Address;
    IP_Port_T Port;
    std::vector<uint8_t> Bytes;
};

// The network every socket of one unit double shares: what the sockets
// answer, what they sent and what they are to receive.
struct UnitNet_T {
    // The system address each SystemAddressChoice_T finds, in network byte
    // order; 0 as on a unit without such an interface. Both the "10." net
    // and the first private one are 10.0.0.2, as a unit's eth0 has it.
    AUINT32 TenNetAddress;
    AUINT32 LoopbackAddress;
    AUINT32 PrivateFirstAddress;
    // When non-zero, every socket call fails with this errno.
    int Error = 0;
    // When false, sent datagrams are dropped, so that a turn allocates nothing.
    bool KeepSent = true;
    std::vector<SentDatagram_T> Sent;
    // Received in order, one per Receive; EAGAIN when empty.
    std::deque<std::vector<uint8_t>> ToReceive;

    UnitNet_T();
};

// A datagram socket without a socket: sends are kept in the shared network
// and receives come from it, so that tests need no interface of their own.
class CUnitNetwork : public IOSSNetwork {
public:
    CUnitNetwork(UnitNet_T& Net, int AddressChoice) : m_Net(Net), m_AddressChoice(AddressChoice) {}

    bool SetSockOpt(int level, int name, const void* value, size_t length) override;
    bool EnableTxMulticast() override;
    bool Send(const Buffer_Bytes_T* Buffer, IP_Address_str_T Address, IP_Port_T Port) override;
    bool GetSystemIPAddress(AUINT32* pIpAddr) override;
    bool Bind(IP_Port_T Port) override;
    bool BindToAddress(IP_Address_str_T Address, IP_Port_T Port) override;
    bool Receive(Buffer_Bytes_T* Buffer) override;
    bool SetSocketFlags(int flags) override;
    bool ClearSocketFlags(int flags) override;
    int GetLastError() const override { return m_LastError; }
    // No descriptor, yet not -1: callers take -1 for a socket that never
    // opened and leave it undeleted. Polling this one reports POLLNVAL.
    int GetSocket() const override;

private:
    // Records the network's error as this call's result.
    bool Done();

    UnitNet_T& m_Net;
    int m_AddressChoice;
    int m_LastError = 0;
};

#endif
