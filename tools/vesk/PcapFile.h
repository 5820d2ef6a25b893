#ifndef TOOLS_VESK_PCAPFILE_H
#define TOOLS_VESK_PCAPFILE_H

#include <cstdint>
#include <cstdio>
#include <string>
#include <vector>

// UDP datagrams in a capture file. The tools write what they receive, so a
// unit's traffic can be captured without a capture tool on the unit, and
// read what such tools captured.
struct UdpDatagram_T {
    uint32_t Source;       // IPv4 address, host byte order
    uint32_t Destination;  // IPv4 address, host byte order
    uint16_t SourcePort;
    uint16_t DestinationPort;
    std::vector<uint8_t> Payload;
};

class CPcapWriter {
public:
    // Creates (truncates) Path; Ok() tells whether that worked.
    explicit CPcapWriter(const std::string& Path);
    ~CPcapWriter();
    CPcapWriter(const CPcapWriter&) = delete;
    CPcapWriter& operator=(const CPcapWriter&) = delete;

    bool Ok() const { return m_pFile != nullptr; }
    // One raw IPv4 packet holding the datagram; false when the write failed.
    bool Write(const UdpDatagram_T& Datagram);

private:
    FILE* m_pFile;
};

// Reads UDP datagrams over IPv4 from a capture: the classic format (either
// byte order, micro- or nanosecond stamps) and the block format capture
// tools write by default (section header, interface description, enhanced
// and simple packet blocks, either byte order, several sections). Link
// types: raw IPv4, Ethernet, Linux cooked. It reads in bounded chunks and
// holds one frame at a time, so a capture of any size takes little memory,
// and it never reads outside a frame whatever its length fields say.
class CPcapReader {
public:
    // Reads the capture from Fd's current position; Fd stays the caller's.
    explicit CPcapReader(int Fd);
    CPcapReader(const CPcapReader&) = delete;
    CPcapReader& operator=(const CPcapReader&) = delete;

    // "" while the capture is one this reader knows and undamaged.
    const std::string& Error() const { return m_Error; }
    // The next UDP datagram over IPv4; false at the end of the capture (or
    // at damage, which Error() then names). Frames that are not UDP over
    // IPv4, and those whose UDP length is below the UDP header's 8 bytes,
    // are skipped; a UDP length beyond the captured bytes (a small snap
    // length) gives the payload as far as it was captured.
    bool Next(UdpDatagram_T& Datagram);

private:
    enum Format_T { CLASSIC, BLOCKS };

    // Makes Count bytes available at m_Buffer[m_Start]; false at the end.
    bool Fill(size_t Count);
    // Takes Count bytes into Out (or drops them when Out is null).
    bool Take(size_t Count, std::vector<uint8_t>* Out);
    bool ReadClassicFrame(std::vector<uint8_t>& Frame);
    bool ReadBlockFrame(std::vector<uint8_t>& Frame);
    bool ReadSectionHeader(const std::vector<uint8_t>& Body);
    uint16_t Get16(const uint8_t* p) const;
    uint32_t Get32(const uint8_t* p) const;

    int m_Fd;
    std::vector<uint8_t> m_Buffer;
    size_t m_Start = 0;
    std::string m_Error;
    Format_T m_Format = CLASSIC;
    bool m_BigEndian = false;
    uint32_t m_LinkType = 0;
    // Of the current frame's interface (the block format) or the file.
    uint32_t m_FrameLinkType = 0;
    struct Interface_T {
        uint32_t LinkType;
        uint32_t SnapLength;
    };
    std::vector<Interface_T> m_Interfaces;
};

#endif
