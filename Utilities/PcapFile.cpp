#include "Utilities/PcapFile.h"

#include <sys/time.h>

#include <algorithm>

#include "Utilities/LittleEndian.h"

namespace {

constexpr uint32_t cMagic = 0xA1B2C3D4;
constexpr uint32_t cSwappedMagic = 0xD4C3B2A1;
constexpr uint32_t cLinkEthernet = 1;
constexpr uint32_t cLinkRawIp = 101;
constexpr uint32_t cLinkLinuxCooked = 113;
constexpr uint32_t cLinkIpv4 = 228;
constexpr uint32_t cSnapLength = 65535;
constexpr size_t cIpHeaderSize = 20;
constexpr size_t cUdpHeaderSize = 8;

uint16_t ReadBig16(const uint8_t* p)
{
    return static_cast<uint16_t>((p[0] << 8) | p[1]);
}

uint32_t ReadBig32(const uint8_t* p)
{
    return (static_cast<uint32_t>(p[0]) << 24) | (static_cast<uint32_t>(p[1]) << 16) |
           (static_cast<uint32_t>(p[2]) << 8) | p[3];
}

void WriteBig16(uint8_t* p, uint16_t Value)
{
    p[0] = static_cast<uint8_t>(Value >> 8);
    p[1] = static_cast<uint8_t>(Value);
}

void WriteBig32(uint8_t* p, uint32_t Value)
{
    WriteBig16(p, static_cast<uint16_t>(Value >> 16));
    WriteBig16(p + 2, static_cast<uint16_t>(Value));
}

uint16_t IpChecksum(const uint8_t* Header)
{
    uint32_t sum = 0;
    for (size_t i = 0; i < cIpHeaderSize; i += 2) {
        sum += ReadBig16(Header + i);
    }
    while (sum >> 16) {
        sum = (sum & 0xFFFF) + (sum >> 16);
    }
    return static_cast<uint16_t>(~sum);
}

// Where the IPv4 header starts in a frame of the link type; false when the
// frame carries something else.
bool IpOffset(uint32_t LinkType, const std::vector<uint8_t>& Frame, size_t& Offset)
{
    switch (LinkType) {
    case cLinkRawIp:
    case cLinkIpv4:
        Offset = 0;
        return true;
    case cLinkEthernet:
        Offset = 14;
        return Frame.size() >= Offset && ReadBig16(Frame.data() + 12) == 0x0800;
    case cLinkLinuxCooked:
        Offset = 16;
        return Frame.size() >= Offset && ReadBig16(Frame.data() + 14) == 0x0800;
    default:
        return false;
    }
}

} // namespace

CPcapWriter::CPcapWriter(const std::string& Path) : m_pFile(std::fopen(Path.c_str(), "wb"))
{
    if (m_pFile == nullptr) {
        return;
    }
    uint8_t header[24] = {};
    LittleEndian::Write<uint32_t>(header, cMagic);
    LittleEndian::Write<uint16_t>(header + 4, 2);
    LittleEndian::Write<uint16_t>(header + 6, 4);
    LittleEndian::Write<uint32_t>(header + 16, cSnapLength);
    LittleEndian::Write<uint32_t>(header + 20, cLinkRawIp);
    if (std::fwrite(header, sizeof(header), 1, m_pFile) != 1) {
        std::fclose(m_pFile);
        m_pFile = nullptr;
    }
}

CPcapWriter::~CPcapWriter()
{
    if (m_pFile != nullptr) {
        std::fclose(m_pFile);
    }
}

bool CPcapWriter::Write(const UdpDatagram_T& Datagram)
{
    if (m_pFile == nullptr || Datagram.Payload.size() > cSnapLength - cIpHeaderSize - cUdpHeaderSize) {
        return false;
    }
    const size_t length = cIpHeaderSize + cUdpHeaderSize + Datagram.Payload.size();
    std::vector<uint8_t> packet(length, 0);
    uint8_t* ip = packet.data();
    ip[0] = 0x45;
    WriteBig16(ip + 2, static_cast<uint16_t>(length));
    ip[8] = 1;  // time to live, as multicast on the local network is sent
    ip[9] = 17; // UDP
    WriteBig32(ip + 12, Datagram.Source);
    WriteBig32(ip + 16, Datagram.Destination);
    WriteBig16(ip + 10, IpChecksum(ip));
    uint8_t* udp = ip + cIpHeaderSize;
    WriteBig16(udp, Datagram.SourcePort);
    WriteBig16(udp + 2, Datagram.DestinationPort);
    WriteBig16(udp + 4, static_cast<uint16_t>(cUdpHeaderSize + Datagram.Payload.size()));
    // UDP checksum 0: none computed, which IPv4 allows.
    std::copy(Datagram.Payload.begin(), Datagram.Payload.end(), udp + cUdpHeaderSize);

    timeval now{};
    gettimeofday(&now, nullptr);
    uint8_t record[16];
    LittleEndian::Write<uint32_t>(record, static_cast<uint32_t>(now.tv_sec));
    LittleEndian::Write<uint32_t>(record + 4, static_cast<uint32_t>(now.tv_usec));
    LittleEndian::Write<uint32_t>(record + 8, static_cast<uint32_t>(length));
    LittleEndian::Write<uint32_t>(record + 12, static_cast<uint32_t>(length));
    const bool written = std::fwrite(record, sizeof(record), 1, m_pFile) == 1 &&
                         std::fwrite(packet.data(), packet.size(), 1, m_pFile) == 1;
    return written && std::fflush(m_pFile) == 0;
}

CPcapReader::CPcapReader(const std::string& Path) : m_pFile(std::fopen(Path.c_str(), "rb"))
{
    if (m_pFile == nullptr) {
        m_Error = "cannot be opened";
        return;
    }
    uint8_t header[24];
    if (std::fread(header, sizeof(header), 1, m_pFile) != 1) {
        m_Error = "is too short for a capture file";
        return;
    }
    const uint32_t magic = LittleEndian::Read<uint32_t>(header);
    if (magic != cMagic && magic != cSwappedMagic) {
        m_Error = "is not a capture file of the classic format (pcapng: save it as pcap)";
        return;
    }
    m_Swapped = magic == cSwappedMagic;
    const uint32_t link = LittleEndian::Read<uint32_t>(header + 20);
    m_LinkType = m_Swapped ? __builtin_bswap32(link) : link;
}

CPcapReader::~CPcapReader()
{
    if (m_pFile != nullptr) {
        std::fclose(m_pFile);
    }
}

bool CPcapReader::ReadRecord(std::vector<uint8_t>& Frame)
{
    uint8_t record[16];
    if (std::fread(record, sizeof(record), 1, m_pFile) != 1) {
        return false;
    }
    uint32_t captured = LittleEndian::Read<uint32_t>(record + 8);
    if (m_Swapped) {
        captured = __builtin_bswap32(captured);
    }
    if (captured > 262144) {
        m_Error = "holds a record of " + std::to_string(captured) + " bytes: not a capture file";
        return false;
    }
    Frame.resize(captured);
    if (captured != 0 && std::fread(Frame.data(), captured, 1, m_pFile) != 1) {
        m_Error = "ends inside a record";
        return false;
    }
    return true;
}

bool CPcapReader::Next(UdpDatagram_T& Datagram)
{
    if (!m_Error.empty()) {
        return false;
    }
    std::vector<uint8_t> frame;
    while (ReadRecord(frame)) {
        size_t offset = 0;
        if (!IpOffset(m_LinkType, frame, offset) || frame.size() < offset + cIpHeaderSize) {
            continue;
        }
        const uint8_t* ip = frame.data() + offset;
        const size_t ipHeader = static_cast<size_t>(ip[0] & 0x0F) * 4;
        if ((ip[0] >> 4) != 4 || ip[9] != 17 || ipHeader < cIpHeaderSize ||
            frame.size() < offset + ipHeader + cUdpHeaderSize) {
            continue;
        }
        const uint8_t* udp = ip + ipHeader;
        const size_t udpLength = ReadBig16(udp + 4);
        const size_t available = frame.size() - offset - ipHeader;
        // A length field past the captured bytes: take what was captured.
        const size_t end = udpLength >= cUdpHeaderSize && udpLength <= available ? udpLength : available;
        Datagram.Source = ReadBig32(ip + 12);
        Datagram.Destination = ReadBig32(ip + 16);
        Datagram.SourcePort = ReadBig16(udp);
        Datagram.DestinationPort = ReadBig16(udp + 2);
        Datagram.Payload.assign(udp + cUdpHeaderSize, udp + end);
        return true;
    }
    return false;
}
