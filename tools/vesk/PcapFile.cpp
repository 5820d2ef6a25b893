#include "tools/vesk/PcapFile.h"

#include <fcntl.h>
#include <sys/time.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstring>

#include "Utilities/LittleEndian.h"

namespace {

constexpr uint32_t cMagic = 0xA1B2C3D4;
constexpr uint32_t cNanoMagic = 0xA1B23C4D;
constexpr size_t cClassicHeaderSize = 24;
constexpr size_t cClassicRecordSize = 16;
// The block format: block type and total length, then the body, then the
// total length again.
constexpr uint32_t cBlockSectionHeader = 0x0A0D0D0A;
constexpr uint32_t cBlockInterface = 1;
constexpr uint32_t cBlockSimplePacket = 3;
constexpr uint32_t cBlockEnhancedPacket = 6;
constexpr uint32_t cByteOrderMagic = 0x1A2B3C4D;
constexpr size_t cBlockHeadSize = 8;
// No link layer frame of any capture tool is longer; a larger length is damage.
constexpr uint32_t cLargestFrame = 262144;
// A packet block of the largest frame with generous room for options.
constexpr uint32_t cLargestBlock = cLargestFrame + 65536;
constexpr size_t cChunkSize = 65536;
constexpr uint32_t cLinkEthernet = 1;
constexpr uint32_t cLinkRawIp = 101;
constexpr uint32_t cLinkLinuxCooked = 113;
constexpr uint32_t cLinkIpv4 = 228;
constexpr uint32_t cSnapLength = 65535;
constexpr size_t cIpHeaderSize = 20;
constexpr size_t cUdpHeaderSize = 8;

uint16_t IpChecksum(const uint8_t* Header)
{
    uint32_t sum = 0;
    for (size_t i = 0; i < cIpHeaderSize; i += 2) {
        sum += BigEndian::Read<uint16_t>(Header + i);
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
        return Frame.size() >= Offset && BigEndian::Read<uint16_t>(Frame.data() + 12) == 0x0800;
    case cLinkLinuxCooked:
        Offset = 16;
        return Frame.size() >= Offset && BigEndian::Read<uint16_t>(Frame.data() + 14) == 0x0800;
    default:
        return false;
    }
}

} // namespace

CPcapWriter::CPcapWriter(const std::string& Path) : m_pFile(nullptr)
{
    // A link planted at the name must not send the capture elsewhere.
    const int fd = open(Path.c_str(), O_WRONLY | O_CREAT | O_TRUNC | O_NOFOLLOW | O_CLOEXEC, 0644);
    if (fd < 0) {
        return;
    }
    m_pFile = fdopen(fd, "wb");
    if (m_pFile == nullptr) {
        close(fd);
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
    BigEndian::Write<uint16_t>(ip + 2, static_cast<uint16_t>(length));
    ip[8] = 1;  // time to live, as multicast on the local network is sent
    ip[9] = 17; // UDP
    BigEndian::Write<uint32_t>(ip + 12, Datagram.Source);
    BigEndian::Write<uint32_t>(ip + 16, Datagram.Destination);
    BigEndian::Write<uint16_t>(ip + 10, IpChecksum(ip));
    uint8_t* udp = ip + cIpHeaderSize;
    BigEndian::Write<uint16_t>(udp, Datagram.SourcePort);
    BigEndian::Write<uint16_t>(udp + 2, Datagram.DestinationPort);
    BigEndian::Write<uint16_t>(udp + 4, static_cast<uint16_t>(cUdpHeaderSize + Datagram.Payload.size()));
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

CPcapReader::CPcapReader(int Fd) : m_Fd(Fd)
{
    if (!Fill(4)) {
        m_Error = "is too short for a capture file";
        return;
    }
    const uint32_t magic = LittleEndian::Read<uint32_t>(m_Buffer.data() + m_Start);
    const uint32_t bigEndianMagic = BigEndian::Read<uint32_t>(m_Buffer.data() + m_Start);
    if (magic == cBlockSectionHeader) {
        m_Format = BLOCKS;
        return;
    }
    std::vector<uint8_t> header;
    if (!Take(cClassicHeaderSize, &header)) {
        m_Error = "is too short for a capture file";
        return;
    }
    if (magic == cMagic || magic == cNanoMagic) {
        m_BigEndian = false;
    } else if (bigEndianMagic == cMagic || bigEndianMagic == cNanoMagic) {
        m_BigEndian = true;
    } else {
        m_Error = "is not a capture file";
        return;
    }
    m_LinkType = Get32(header.data() + 20);
}

uint16_t CPcapReader::Get16(const uint8_t* p) const
{
    return m_BigEndian ? BigEndian::Read<uint16_t>(p) : LittleEndian::Read<uint16_t>(p);
}

uint32_t CPcapReader::Get32(const uint8_t* p) const
{
    return m_BigEndian ? BigEndian::Read<uint32_t>(p) : LittleEndian::Read<uint32_t>(p);
}

bool CPcapReader::Fill(size_t Count)
{
    if (m_Start > 0 && m_Buffer.size() - m_Start < Count) {
        m_Buffer.erase(m_Buffer.begin(), m_Buffer.begin() + static_cast<std::ptrdiff_t>(m_Start));
        m_Start = 0;
    }
    while (m_Buffer.size() - m_Start < Count) {
        const size_t had = m_Buffer.size();
        m_Buffer.resize(had + cChunkSize);
        ssize_t count;
        do {
            count = read(m_Fd, m_Buffer.data() + had, cChunkSize);
        } while (count < 0 && errno == EINTR);
        m_Buffer.resize(had + static_cast<size_t>(std::max<ssize_t>(count, 0)));
        if (count < 0) {
            m_Error = std::string("cannot be read: ") + std::strerror(errno);
            return false;
        }
        if (count == 0) {
            return false;
        }
    }
    return true;
}

bool CPcapReader::Take(size_t Count, std::vector<uint8_t>* Out)
{
    if (Out != nullptr) {
        Out->clear();
    }
    // In chunks, so that skipping a block of any length holds one chunk.
    while (Count > 0) {
        const size_t part = std::min(Count, cChunkSize);
        if (!Fill(part)) {
            return false;
        }
        if (Out != nullptr) {
            Out->insert(Out->end(), m_Buffer.begin() + static_cast<std::ptrdiff_t>(m_Start),
                        m_Buffer.begin() + static_cast<std::ptrdiff_t>(m_Start + part));
        }
        m_Start += part;
        Count -= part;
    }
    return true;
}

bool CPcapReader::ReadClassicFrame(std::vector<uint8_t>& Frame)
{
    std::vector<uint8_t> record;
    if (!Take(cClassicRecordSize, &record)) {
        if (m_Error.empty() && m_Buffer.size() > m_Start) {
            m_Error = "ends inside a record";
        }
        return false;
    }
    const uint32_t captured = Get32(record.data() + 8);
    if (captured > cLargestFrame) {
        m_Error = "holds a record of " + std::to_string(captured) + " bytes: not a capture file";
        return false;
    }
    if (!Take(captured, &Frame)) {
        if (m_Error.empty()) {
            m_Error = "ends inside a record";
        }
        return false;
    }
    m_FrameLinkType = m_LinkType;
    return true;
}

bool CPcapReader::ReadSectionHeader(const std::vector<uint8_t>& Body)
{
    // The byte-order magic says how this section's numbers are written.
    const bool little = LittleEndian::Read<uint32_t>(Body.data()) == cByteOrderMagic;
    if (!little && BigEndian::Read<uint32_t>(Body.data()) != cByteOrderMagic) {
        m_Error = "has a section header of no known byte order";
        return false;
    }
    m_BigEndian = !little;
    m_Interfaces.clear();
    return true;
}

bool CPcapReader::ReadBlockFrame(std::vector<uint8_t>& Frame)
{
    for (;;) {
        std::vector<uint8_t> head;
        if (!Take(cBlockHeadSize, &head)) {
            if (m_Error.empty() && m_Buffer.size() > m_Start) {
                m_Error = "ends inside a block";
            }
            return false;
        }
        // The section header's type reads the same in either byte order;
        // the other types are in the order of their section.
        const bool section = LittleEndian::Read<uint32_t>(head.data()) == cBlockSectionHeader;
        const uint32_t type = section ? cBlockSectionHeader : Get32(head.data());
        if (section) {
            // The section header's length is in its own byte order, told by
            // the magic that follows it.
            if (!Fill(4)) {
                m_Error = "ends inside a block";
                return false;
            }
            ReadSectionHeader(std::vector<uint8_t>(m_Buffer.begin() + static_cast<std::ptrdiff_t>(m_Start),
                                                   m_Buffer.begin() + static_cast<std::ptrdiff_t>(m_Start + 4)));
            if (!m_Error.empty()) {
                return false;
            }
        }
        const uint32_t length = Get32(head.data() + 4);
        if (length < cBlockHeadSize + 4 || length % 4 != 0) {
            m_Error = "holds a block of " + std::to_string(length) + " bytes: not a capture file";
            return false;
        }
        const bool known = type == cBlockSectionHeader || type == cBlockInterface || type == cBlockEnhancedPacket ||
                           type == cBlockSimplePacket;
        if (!known) {
            if (!Take(length - cBlockHeadSize, nullptr)) {
                m_Error = "ends inside a block";
                return false;
            }
            continue;
        }
        if (length > cLargestBlock) {
            m_Error = "holds a block of " + std::to_string(length) + " bytes: not a capture file";
            return false;
        }
        // The body and the trailing copy of the length.
        std::vector<uint8_t> body;
        if (!Take(length - cBlockHeadSize, &body)) {
            m_Error = "ends inside a block";
            return false;
        }
        body.resize(body.size() - 4);
        switch (type) {
        case cBlockSectionHeader:
            if (body.size() < 16) {
                m_Error = "has a section header too short for its fields";
                return false;
            }
            break;
        case cBlockInterface:
            if (body.size() < 8) {
                m_Error = "has an interface description too short for its fields";
                return false;
            }
            m_Interfaces.push_back({Get16(body.data()), Get32(body.data() + 4)});
            break;
        case cBlockEnhancedPacket: {
            if (body.size() < 20) {
                m_Error = "has a packet block too short for its fields";
                return false;
            }
            const uint32_t interface = Get32(body.data());
            const uint32_t captured = Get32(body.data() + 12);
            if (interface >= m_Interfaces.size() || captured > body.size() - 20) {
                m_Error = "has a packet block of an unknown interface or longer than its block";
                return false;
            }
            m_FrameLinkType = m_Interfaces[interface].LinkType;
            Frame.assign(body.begin() + 20, body.begin() + 20 + captured);
            return true;
        }
        case cBlockSimplePacket: {
            if (body.size() < 4 || m_Interfaces.empty()) {
                m_Error = "has a simple packet block without an interface";
                return false;
            }
            // Only the original length is given: the captured part is what
            // the snap length and the block leave of it.
            size_t captured = std::min<size_t>(Get32(body.data()), body.size() - 4);
            if (m_Interfaces[0].SnapLength != 0) {
                captured = std::min<size_t>(captured, m_Interfaces[0].SnapLength);
            }
            m_FrameLinkType = m_Interfaces[0].LinkType;
            Frame.assign(body.begin() + 4, body.begin() + 4 + static_cast<std::ptrdiff_t>(captured));
            return true;
        }
        default:
            break;
        }
    }
}

bool CPcapReader::Next(UdpDatagram_T& Datagram)
{
    std::vector<uint8_t> frame;
    while (m_Error.empty() && (m_Format == CLASSIC ? ReadClassicFrame(frame) : ReadBlockFrame(frame))) {
        size_t offset = 0;
        if (!IpOffset(m_FrameLinkType, frame, offset) || frame.size() < offset + cIpHeaderSize) {
            continue;
        }
        const uint8_t* ip = frame.data() + offset;
        const size_t ipHeader = static_cast<size_t>(ip[0] & 0x0F) * 4;
        // A fragment after the first holds no UDP header.
        const bool laterFragment = (BigEndian::Read<uint16_t>(ip + 6) & 0x1FFF) != 0;
        if ((ip[0] >> 4) != 4 || ip[9] != 17 || laterFragment || ipHeader < cIpHeaderSize ||
            frame.size() < offset + ipHeader + cUdpHeaderSize) {
            continue;
        }
        const uint8_t* udp = ip + ipHeader;
        const size_t udpLength = BigEndian::Read<uint16_t>(udp + 4);
        if (udpLength < cUdpHeaderSize) {
            continue;
        }
        // A length past the captured bytes: the datagram as far as captured.
        const size_t available = frame.size() - offset - ipHeader;
        const size_t end = std::min(udpLength, available);
        Datagram.Source = BigEndian::Read<uint32_t>(ip + 12);
        Datagram.Destination = BigEndian::Read<uint32_t>(ip + 16);
        Datagram.SourcePort = BigEndian::Read<uint16_t>(udp);
        Datagram.DestinationPort = BigEndian::Read<uint16_t>(udp + 2);
        Datagram.Payload.assign(udp + cUdpHeaderSize, udp + end);
        return true;
    }
    return false;
}
