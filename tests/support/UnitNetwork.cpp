#include "tests/support/UnitNetwork.h"

#include <arpa/inet.h>

#include <algorithm>
#include <cerrno>
#include <climits>

#include "Utilities/VeskAssert.h"

UnitNet_T::UnitNet_T()
    : TenNetAddress(inet_addr("10.0.0.2")), LoopbackAddress(inet_addr("127.0.0.1")),
      PrivateFirstAddress(inet_addr("10.0.0.2"))
{
}

bool CUnitNetwork::Done()
{
    m_LastError = m_Net.Error;
    return m_LastError == 0;
}

bool CUnitNetwork::SetSockOpt(int, int, const void* value, size_t)
{
    VESK_ASSERT(value);
    return Done();
}

bool CUnitNetwork::EnableTxMulticast()
{
    return Done();
}

bool CUnitNetwork::Send(const Buffer_Bytes_T* Buffer, IP_Address_str_T Address, IP_Port_T Port)
{
    VESK_ASSERT(Buffer);
    VESK_ASSERT(Address);
    if (!Done()) {
        return false;
    }
    if (m_Net.KeepSent) {
        m_Net.Sent.push_back({Address, Port, {Buffer->ptr(), Buffer->ptr() + Buffer->size()}});
    }
    return true;
}

bool CUnitNetwork::GetSystemIPAddress(AUINT32* pIpAddr)
{
    VESK_ASSERT(pIpAddr);
    switch (m_AddressChoice) {
    case SYSTEM_ADDRESS_LOOPBACK:
        *pIpAddr = m_Net.LoopbackAddress;
        break;
    case SYSTEM_ADDRESS_PRIVATE_FIRST:
        *pIpAddr = m_Net.PrivateFirstAddress;
        break;
    default:
        *pIpAddr = m_Net.TenNetAddress;
        break;
    }
    return *pIpAddr != 0;
}

bool CUnitNetwork::Bind(IP_Port_T)
{
    return Done();
}

bool CUnitNetwork::BindToAddress(IP_Address_str_T Address, IP_Port_T)
{
    VESK_ASSERT(Address);
    return Done();
}

bool CUnitNetwork::Receive(Buffer_Bytes_T* Buffer)
{
    VESK_ASSERT(Buffer);
    if (Done() && m_Net.ToReceive.empty()) {
        m_LastError = EAGAIN;
    }
    if (m_LastError != 0) {
        Buffer->size(0);
        return false;
    }
    // A datagram longer than the room is cut to it, as by the real socket.
    const std::vector<uint8_t>& datagram = m_Net.ToReceive.front();
    const size_t size = std::min(datagram.size(), Buffer->size());
    std::copy(datagram.begin(), datagram.begin() + static_cast<long>(size), Buffer->ptr());
    Buffer->size(size);
    m_Net.ToReceive.pop_front();
    return true;
}

bool CUnitNetwork::SetSocketFlags(int)
{
    return Done();
}

bool CUnitNetwork::ClearSocketFlags(int)
{
    return Done();
}

int CUnitNetwork::GetSocket() const
{
    return INT_MAX;
}
