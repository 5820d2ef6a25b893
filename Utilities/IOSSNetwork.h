#ifndef UTILITIES_IOSSNETWORK_H
#define UTILITIES_IOSSNETWORK_H

#include <cstddef>
#include <cstdint>

#include "Utilities/ByteBuffer.h"
#include "Utilities/VeskTypes.h"

using IP_Address_str_T = const char*;   // dotted-quad text
using IP_Port_T = std::uint16_t;        // host byte order
using IP_Address_T = std::uint32_t;

// Which interface address becomes the unit's own (system) address.
enum SystemAddressChoice_T : int {
    SYSTEM_ADDRESS_TEN_NET = 0,          // last "10." interface
    SYSTEM_ADDRESS_LOOPBACK = 1,         // last "127." interface
    SYSTEM_ADDRESS_PRIVATE_FIRST = 3,    // first 10./192./172. one, else the last loopback
};

// One IPv4 datagram socket, opened by the constructor. The caller owns it.
// Boolean results are true exactly when GetLastError() is 0 (the errno of the
// last failed call). Using an object whose socket never opened is a
// programming error.
class IOSSNetwork {
public:
    virtual ~IOSSNetwork() = default;

    virtual bool SetSockOpt(int level, int name, const void* value, size_t length) = 0;
    // Makes the system address the outgoing interface for multicast.
    virtual bool EnableTxMulticast() = 0;
    // One datagram of Buffer->size() bytes. A short send cuts the size.
    virtual bool Send(const Buffer_Bytes_T* Buffer, IP_Address_str_T Address, IP_Port_T Port) = 0;
    // The system address in network byte order; false when there is none.
    virtual bool GetSystemIPAddress(AUINT32* pIpAddr) = 0;
    virtual bool Bind(IP_Port_T Port) = 0;
    virtual bool BindToAddress(IP_Address_str_T Address, IP_Port_T Port) = 0;
    // One datagram of at most Buffer->size() bytes; the size becomes the
    // count received (0 on failure).
    virtual bool Receive(Buffer_Bytes_T* Buffer) = 0;
    virtual bool SetSocketFlags(int flags) = 0;
    virtual bool ClearSocketFlags(int flags) = 0;
    virtual int GetLastError() const = 0;
    virtual int GetSocket() const = 0;

protected:
    IOSSNetwork() = default;
    IOSSNetwork(const IOSSNetwork&) = delete;
    IOSSNetwork& operator=(const IOSSNetwork&) = delete;
};

#endif
