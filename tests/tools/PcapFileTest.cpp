#include <fcntl.h>
#include <unistd.h>

#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "Utilities/LittleEndian.h"
#include "tests/support/Sandbox.h"
#include "tools/vesk/PcapFile.h"

namespace {

UdpDatagram_T Datagram(std::string Payload, uint16_t Port)
{
    return {0x0A000002, 0xE0000040, 40000, Port, std::vector<uint8_t>(Payload.begin(), Payload.end())};
}

std::string Text(const UdpDatagram_T& Datagram)
{
    return std::string(Datagram.Payload.begin(), Datagram.Payload.end());
}

std::string Big16(uint32_t v)
{
    return {char(v >> 8), char(v)};
}

std::string Big32(uint32_t v)
{
    return {char(v >> 24), char(v >> 16), char(v >> 8), char(v)};
}

std::string Little16(uint32_t v)
{
    return {char(v), char(v >> 8)};
}

std::string Little32(uint32_t v)
{
    return {char(v), char(v >> 8), char(v >> 16), char(v >> 24)};
}

// An IPv4 packet holding a UDP datagram whose length field says UdpLength
// (8 + the payload when 0).
std::string Ip(const std::string& Payload, uint16_t Port = 3201, uint32_t UdpLength = 0)
{
    const size_t udpSize = 8 + Payload.size();
    const std::string udp =
        Big16(40000) + Big16(Port) + Big16(UdpLength != 0 ? UdpLength : static_cast<uint32_t>(udpSize)) +
        Big16(0) + Payload;
    return std::string("\x45\x00", 2) + Big16(static_cast<uint32_t>(20 + udpSize)) +
           std::string("\x00\x00\x00\x00\x01\x11\x00\x00", 8) + Big32(0x0A000002) + Big32(0xE0000040) + udp;
}

std::string Ethernet(const std::string& Packet, uint16_t Type = 0x0800)
{
    return std::string(12, '\x01') + Big16(Type) + Packet;
}

std::string Cooked(const std::string& Packet)
{
    return std::string(14, '\x02') + Big16(0x0800) + Packet;
}

// The captures a capture tool writes in the block format, in either byte order.
struct Blocks_T {
    bool Big;

    std::string U16(uint32_t v) const { return Big ? Big16(v) : Little16(v); }
    std::string U32(uint32_t v) const { return Big ? Big32(v) : Little32(v); }
    std::string Block(uint32_t Type, std::string Body) const
    {
        Body.resize((Body.size() + 3) / 4 * 4, '\0');
        const uint32_t length = static_cast<uint32_t>(Body.size() + 12);
        return U32(Type) + U32(length) + Body + U32(length);
    }
    std::string Section() const
    {
        return Block(0x0A0D0D0A, U32(0x1A2B3C4D) + U16(1) + U16(0) + std::string(8, '\xFF'));
    }
    std::string Interface(uint16_t LinkType, uint32_t SnapLength = 65535) const
    {
        return Block(1, U16(LinkType) + U16(0) + U32(SnapLength));
    }
    std::string Enhanced(uint32_t Interface, const std::string& Frame, uint32_t Captured) const
    {
        return Block(6, U32(Interface) + U32(0) + U32(0) + U32(Captured) + U32(static_cast<uint32_t>(Frame.size())) +
                            Frame);
    }
    std::string Enhanced(uint32_t Interface, const std::string& Frame) const
    {
        return Enhanced(Interface, Frame, static_cast<uint32_t>(Frame.size()));
    }
    std::string Simple(const std::string& Frame) const
    {
        return Block(3, U32(static_cast<uint32_t>(Frame.size())) + Frame);
    }
};

class PcapFileTest : public ::testing::Test {
protected:
    // Every datagram the reader gives for the capture; Error its last word.
    std::vector<std::string> ReadAll(const std::string& Capture, std::string& Error)
    {
        return ReadPath(m_Sandbox.WriteFile("capture", Capture), Error);
    }

    static std::vector<std::string> ReadPath(const std::string& Path, std::string& Error)
    {
        const int fd = open(Path.c_str(), O_RDONLY);
        EXPECT_GE(fd, 0);
        CPcapReader reader(fd);
        std::vector<std::string> payloads;
        for (UdpDatagram_T read; reader.Next(read);) {
            payloads.push_back(Text(read));
        }
        Error = reader.Error();
        close(fd);
        return payloads;
    }

    CSandbox m_Sandbox;
};

using Payloads = std::vector<std::string>;

TEST_F(PcapFileTest, DatagramsWrittenAreReadBackWhole)
{
    const std::string path = m_Sandbox / "unit.pcap";
    {
        CPcapWriter writer(path);
        ASSERT_TRUE(writer.Ok());
        EXPECT_TRUE(writer.Write(Datagram("first", 3201)));
        EXPECT_TRUE(writer.Write(Datagram("", 3200)));
        EXPECT_TRUE(writer.Write(Datagram(std::string(1469, '\x5A'), 3201)));
    }
    const int fd = open(path.c_str(), O_RDONLY);
    ASSERT_GE(fd, 0);
    CPcapReader reader(fd);
    ASSERT_EQ(reader.Error(), "");
    UdpDatagram_T read;
    ASSERT_TRUE(reader.Next(read));
    EXPECT_EQ(Text(read), "first");
    EXPECT_EQ(read.Source, 0x0A000002u);
    EXPECT_EQ(read.Destination, 0xE0000040u);
    EXPECT_EQ(read.SourcePort, 40000);
    EXPECT_EQ(read.DestinationPort, 3201);
    ASSERT_TRUE(reader.Next(read));
    EXPECT_TRUE(read.Payload.empty());
    EXPECT_EQ(read.DestinationPort, 3200);
    ASSERT_TRUE(reader.Next(read));
    EXPECT_EQ(read.Payload.size(), 1469u);
    EXPECT_FALSE(reader.Next(read));
    EXPECT_EQ(reader.Error(), "");
    close(fd);
}

TEST_F(PcapFileTest, AWriterRefusesALinkAtItsName)
{
    const std::string outside = m_Sandbox / "outside";
    const std::string path = m_Sandbox / "unit.pcap";
    ASSERT_EQ(symlink(outside.c_str(), path.c_str()), 0);
    CPcapWriter writer(path);
    EXPECT_FALSE(writer.Ok());
    EXPECT_NE(access(outside.c_str(), F_OK), 0);
}

// A classic capture made elsewhere: big-endian header, Ethernet frames, one
// of them not IPv4, one cut off inside its record.
TEST_F(PcapFileTest, ForeignCapturesAreReadAndDamageIsNamed)
{
    std::string file = Big32(0xA1B2C3D4) + std::string("\x00\x02\x00\x04", 4) + Big32(0) + Big32(0) + Big32(65535) +
                       Big32(1);
    for (const std::string& frame : {Ethernet(std::string(28, '\0'), 0x0806), Ethernet(Ip("abc"))}) {
        file += Big32(0) + Big32(0) + Big32(static_cast<uint32_t>(frame.size())) +
                Big32(static_cast<uint32_t>(frame.size())) + frame;
    }
    std::string error;
    EXPECT_EQ(ReadAll(file + Big32(0) + Big32(0) + Big32(100) + Big32(100) + "cut", error), Payloads{"abc"});
    EXPECT_EQ(error, "ends inside a record");
    EXPECT_EQ(ReadAll(file + "partial", error), Payloads{"abc"});
    EXPECT_EQ(error, "ends inside a record");
    EXPECT_EQ(ReadAll(file, error), Payloads{"abc"});
    EXPECT_EQ(error, "");

    EXPECT_EQ(ReadAll("not a capture file at all", error), Payloads{});
    EXPECT_EQ(error, "is not a capture file");
    EXPECT_EQ(ReadAll("", error), Payloads{});
    EXPECT_EQ(error, "is too short for a capture file");
}

// A UDP length field is believed only as far as the frame goes: beyond the
// captured bytes (a small snap length) the payload is what was captured,
// below the UDP header's own 8 bytes the frame is skipped.
TEST_F(PcapFileTest, TheUdpLengthNeverReachesOutsideTheFrame)
{
    const Blocks_T blocks{false};
    const std::string cut = Ip("whole payload", 3201, 8 + 100);
    std::string error;
    EXPECT_EQ(ReadAll(blocks.Section() + blocks.Interface(101) + blocks.Enhanced(0, cut) +
                          blocks.Enhanced(0, Ip("never read", 3201, 7)) + blocks.Enhanced(0, Ip("ok")),
                      error),
              (Payloads{"whole payload", "ok"}));
    EXPECT_EQ(error, "");
    // Trailing link layer padding after a shorter datagram is not payload.
    EXPECT_EQ(ReadAll(blocks.Section() + blocks.Interface(101) + blocks.Enhanced(0, Ip("pad", 3201, 8 + 2)), error),
              Payloads{"pa"});
    // A frame captured short of its UDP header gives nothing.
    EXPECT_EQ(ReadAll(blocks.Section() + blocks.Interface(101) + blocks.Enhanced(0, Ip("x").substr(0, 25)), error),
              Payloads{});
}

TEST_F(PcapFileTest, BlockCapturesOfEitherByteOrderAndEveryLinkTypeAreRead)
{
    for (const bool big : {false, true}) {
        SCOPED_TRACE(big ? "big-endian" : "little-endian");
        const Blocks_T blocks{big};
        const Blocks_T other{!big};
        // Interfaces of three link types, an unknown block between them, a
        // frame captured short of its block, a simple packet block, and a
        // second section of the other byte order with interfaces of its own.
        const std::string capture =
            blocks.Section() + blocks.Interface(1) + blocks.Interface(113) + blocks.Block(0x0BAD, "ignored") +
            blocks.Interface(228) + blocks.Enhanced(0, Ethernet(Ip("ethernet"))) +
            blocks.Enhanced(1, Cooked(Ip("cooked"))) + blocks.Enhanced(2, Ip("raw")) +
            blocks.Enhanced(0, Ethernet(Ip("no")), 20) + blocks.Enhanced(0, Ethernet(Ip("arp"), 0x0806)) +
            blocks.Simple(Ethernet(Ip("simple"))) + other.Section() + other.Interface(101) +
            other.Enhanced(0, Ip("second section"));
        std::string error;
        EXPECT_EQ(ReadAll(capture, error),
                  (Payloads{"ethernet", "cooked", "raw", "simple", "second section"}));
        EXPECT_EQ(error, "");

        // Damage: a packet of an interface never described, a block whose
        // length runs past the file, one whose length is no block's.
        EXPECT_EQ(ReadAll(blocks.Section() + blocks.Enhanced(0, Ip("x")), error), Payloads{});
        EXPECT_EQ(error, "has a packet block of an unknown interface or longer than its block");
        EXPECT_EQ(ReadAll(blocks.Section() + blocks.Interface(101) + blocks.Enhanced(0, Ip("x"), 4000), error),
                  Payloads{});
        EXPECT_EQ(error, "has a packet block of an unknown interface or longer than its block");
        const std::string whole = blocks.Section() + blocks.Interface(101) + blocks.Enhanced(0, Ip("kept"));
        EXPECT_EQ(ReadAll(whole + blocks.Enhanced(0, Ip("lost")).substr(0, 30), error), Payloads{"kept"});
        EXPECT_EQ(error, "ends inside a block");
        EXPECT_EQ(ReadAll(whole + blocks.U32(6) + blocks.U32(10), error), Payloads{"kept"});
        EXPECT_EQ(error, "holds a block of 10 bytes: not a capture file");
    }
}

} // namespace
