#include <gtest/gtest.h>

#include <string>

#include "Utilities/LittleEndian.h"
#include "Utilities/PcapFile.h"
#include "tests/support/Sandbox.h"

namespace {

UdpDatagram_T Datagram(std::string Payload, uint16_t Port)
{
    return {0x0A000002, 0xE0000040, 40000, Port, std::vector<uint8_t>(Payload.begin(), Payload.end())};
}

TEST(PcapFileTest, DatagramsWrittenAreReadBackWhole)
{
    CSandbox sandbox;
    const std::string path = sandbox / "unit.pcap";
    {
        CPcapWriter writer(path);
        ASSERT_TRUE(writer.Ok());
        EXPECT_TRUE(writer.Write(Datagram("first", 3201)));
        EXPECT_TRUE(writer.Write(Datagram("", 3200)));
        EXPECT_TRUE(writer.Write(Datagram(std::string(1469, '\x5A'), 3201)));
    }
    CPcapReader reader(path);
    ASSERT_EQ(reader.Error(), "");
    UdpDatagram_T read;
    ASSERT_TRUE(reader.Next(read));
    EXPECT_EQ(std::string(read.Payload.begin(), read.Payload.end()), "first");
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
}

// A capture made elsewhere: big-endian header, Ethernet frames, one of them
// not IPv4, one cut off inside its record.
TEST(PcapFileTest, ForeignCapturesAreReadAndDamageIsNamed)
{
    CSandbox sandbox;
    auto big32 = [](uint32_t v) { return std::string{char(v >> 24), char(v >> 16), char(v >> 8), char(v)}; };
    std::string file =
        big32(0xA1B2C3D4) + std::string("\x00\x02\x00\x04", 4) + big32(0) + big32(0) + big32(65535) + big32(1);
    const std::string udp = std::string("\x9C\x40\x0C\x81\x00\x0B\x00\x00", 8) + "abc";
    const std::string ip =
        std::string("\x45\x00\x00\x1F\x00\x00\x00\x00\x01\x11\x00\x00", 12) + big32(0x0A000002) + big32(0xE0000040);
    const std::string ipv4Frame = std::string(12, '\x01') + std::string("\x08\x00", 2) + ip + udp;
    const std::string arpFrame = std::string(12, '\x01') + "\x08\x06" + std::string(28, '\0');
    for (const std::string& frame : {arpFrame, ipv4Frame}) {
        file += big32(0) + big32(0) + big32(static_cast<uint32_t>(frame.size())) +
                big32(static_cast<uint32_t>(frame.size())) + frame;
    }
    file += big32(0) + big32(0) + big32(100) + big32(100) + "cut";
    CPcapReader reader(sandbox.WriteFile("foreign.pcap", file));
    ASSERT_EQ(reader.Error(), "");
    UdpDatagram_T read;
    ASSERT_TRUE(reader.Next(read));
    EXPECT_EQ(std::string(read.Payload.begin(), read.Payload.end()), "abc");
    EXPECT_EQ(read.DestinationPort, 3201);
    EXPECT_FALSE(reader.Next(read));
    EXPECT_EQ(reader.Error(), "ends inside a record");

    EXPECT_EQ(CPcapReader(sandbox.WriteFile("text.pcap", "not a capture file at all")).Error(),
              "is not a capture file of the classic format (pcapng: save it as pcap)");
    EXPECT_EQ(CPcapReader(sandbox / "missing.pcap").Error(), "cannot be opened");
}

} // namespace
