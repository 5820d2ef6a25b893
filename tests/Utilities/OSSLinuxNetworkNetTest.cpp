#include "Utilities/OSSLinuxNetwork.h"

#include <arpa/inet.h>
#include <fcntl.h>
#include <sys/socket.h>
#include <sys/wait.h>
#include <unistd.h>

#include <gtest/gtest.h>

#include <cerrno>
#include <cstdlib>
#include <string>

#include "Utilities/DottedQuad.h"
#include "tests/support/TargetCommand.h"

namespace {

// One end of a veth pair, with an address; both ends up so the link has carrier.
void AddInterface(const std::string& Name, const std::string& Address)
{
    const std::string command = "ip link add " + Name + " type veth peer name peer_" + Name + " && ip addr add " +
                                Address + " dev " + Name + " && ip link set peer_" + Name + " up && ip link set " +
                                Name + " up";
    ASSERT_EQ(std::system(command.c_str()), 0) << command;
}

std::string SystemAddressText(int Choice)
{
    COSSLinuxNetwork network(AF_INET, SOCK_DGRAM, 0, Choice);
    AUINT32 address = 0;
    return network.GetSystemIPAddress(&address) ? DottedQuad(ntohl(address)) : "not found";
}

// A socket bound to Address at a free port (returned), whose receives give
// up after 10 s instead of hanging the run when nothing arrives.
IP_Port_T BindReceiver(COSSLinuxNetwork* pNetwork, const char* Address)
{
    const timeval limit{10, 0};
    EXPECT_TRUE(pNetwork->BindToAddress(Address, 0) &&
                pNetwork->SetSockOpt(SOL_SOCKET, SO_RCVTIMEO, &limit, sizeof(limit)));
    sockaddr_in bound{};
    socklen_t length = sizeof(bound);
    getsockname(pNetwork->GetSocket(), reinterpret_cast<sockaddr*>(&bound), &length);
    return ntohs(bound.sin_port);
}

} // namespace

class OSSLinuxNetworkNetTest : public testing::Test {
protected:
    // All tests share one namespace when the binary runs them together.
    void TearDown() override
    {
        EXPECT_EQ(std::system("ip link del eth0 2>/dev/null; ip link del eth1 2>/dev/null; true"), 0);
    }

    COSSLinuxNetwork m_Receiver{AF_INET, SOCK_DGRAM, 0, SYSTEM_ADDRESS_LOOPBACK};
    COSSLinuxNetwork m_Sender{AF_INET, SOCK_DGRAM, 0, SYSTEM_ADDRESS_TEN_NET};
};

// Interfaces are listed lo, eth0, eth1: the first private address wins,
// loopback is the fallback.
TEST_F(OSSLinuxNetworkNetTest, SystemAddressFollowsTheChoiceAndInterfaceOrder)
{
    EXPECT_EQ(SystemAddressText(SYSTEM_ADDRESS_PRIVATE_FIRST), "127.0.0.1");
    EXPECT_EQ(SystemAddressText(SYSTEM_ADDRESS_TEN_NET), "not found");
    AddInterface("eth0", "192.168.1.5/24");
    AddInterface("eth1", "10.0.0.2/24");
    EXPECT_EQ(SystemAddressText(SYSTEM_ADDRESS_PRIVATE_FIRST), "192.168.1.5");
    EXPECT_EQ(SystemAddressText(SYSTEM_ADDRESS_LOOPBACK), "127.0.0.1");
    EXPECT_EQ(SystemAddressText(SYSTEM_ADDRESS_TEN_NET), "10.0.0.2");
}

// A datagram from another process longer than the room is cut to it; an
// empty non-blocking socket then fails with size 0, and the flag operations
// keep reporting that failure while still changing the flags.
TEST_F(OSSLinuxNetworkNetTest, UnicastTruncationFailedReceiveAndStickyFlagErrors)
{
    const IP_Port_T port = BindReceiver(&m_Receiver, "127.0.0.1");
    const pid_t child = fork();
    if (child == 0) {
        char payload[] = "0123456789abcdefghij";
        const Buffer_Bytes_T buffer(payload, sizeof(payload));
        _exit(m_Sender.Send(&buffer, "127.0.0.1", port) ? 0 : 1);
    }
    char memory[16] = {};
    Buffer_Bytes_T small(memory, sizeof(memory));
    small.size(10);
    ASSERT_TRUE(m_Receiver.Receive(&small)) << m_Receiver.GetLastError();
    EXPECT_EQ(small.size(), 10u);
    EXPECT_STREQ(memory, "0123456789");
    waitpid(child, nullptr, 0);

    ASSERT_TRUE(m_Receiver.SetSocketFlags(O_NONBLOCK));
    small.size(10);
    EXPECT_FALSE(m_Receiver.Receive(&small));
    EXPECT_EQ(small.size(), 0u);
    EXPECT_EQ(m_Receiver.GetLastError(), EAGAIN);
    EXPECT_FALSE(m_Receiver.ClearSocketFlags(O_NONBLOCK));
    EXPECT_EQ(fcntl(m_Receiver.GetSocket(), F_GETFL) & O_NONBLOCK, 0);
    EXPECT_FALSE(m_Receiver.SetSocketFlags(O_NONBLOCK));
    EXPECT_EQ(fcntl(m_Receiver.GetSocket(), F_GETFL) & O_NONBLOCK, O_NONBLOCK);
}

// Without a route in the namespace, the group is reachable only through the
// interface that EnableTxMulticast selects.
TEST_F(OSSLinuxNetworkNetTest, MulticastLeavesThroughTheSystemAddressAndReachesGroupMembers)
{
    AddInterface("eth1", "10.0.0.2/24");
    const IP_Port_T port = BindReceiver(&m_Receiver, "239.192.0.7");
    const ip_mreq membership{{inet_addr("239.192.0.7")}, {inet_addr("10.0.0.2")}};
    ASSERT_TRUE(m_Receiver.SetSockOpt(IPPROTO_IP, IP_ADD_MEMBERSHIP, &membership, sizeof(membership)));

    // The system address is chosen when the socket is made, so after eth1.
    COSSLinuxNetwork sender(AF_INET, SOCK_DGRAM, 0, SYSTEM_ADDRESS_TEN_NET);
    const bool enabled = sender.EnableTxMulticast();
    if (!enabled && sender.GetLastError() == ENOPROTOOPT && Emulator()) {
        GTEST_SKIP() << Emulator() << " refuses IP_MULTICAST_IF";
    }
    ASSERT_TRUE(enabled) << sender.GetLastError();
    char message[] = "to the group";
    const Buffer_Bytes_T buffer(message, sizeof(message));
    ASSERT_TRUE(sender.Send(&buffer, "239.192.0.7", port)) << sender.GetLastError();
    Pipe_Buffer_T received;
    ASSERT_TRUE(m_Receiver.Receive(&received)) << m_Receiver.GetLastError();
    EXPECT_STREQ(reinterpret_cast<const char*>(received.ptr()), "to the group");
}

TEST_F(OSSLinuxNetworkNetTest, MisuseIsAProgrammingError)
{
    EXPECT_DEATH(COSSLinuxNetwork(-1, SOCK_DGRAM, 0, SYSTEM_ADDRESS_LOOPBACK).Bind(0),
                 "Assertion `m_Socket != -1' failed");
    EXPECT_DEATH(m_Sender.Socket(AF_INET, SOCK_DGRAM, 0),
                 "Assertion `\\(m_Socket == -1\\) && \"Socket should be closed before \\(re-\\)opening a socket - "
                 "this is probably a resource leak!\"' failed");
    EXPECT_DEATH(m_Sender.Send(nullptr, "127.0.0.1", 1), "Assertion `Buffer' failed");
}
