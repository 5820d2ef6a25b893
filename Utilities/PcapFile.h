#ifndef UTILITIES_PCAPFILE_H
#define UTILITIES_PCAPFILE_H

#include <cstdint>
#include <cstdio>
#include <string>
#include <vector>

// UDP datagrams in a capture file (the classic libpcap format that every
// capture tool reads and writes). The tools write what they receive, so a
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

class CPcapReader {
public:
    explicit CPcapReader(const std::string& Path);
    ~CPcapReader();
    CPcapReader(const CPcapReader&) = delete;
    CPcapReader& operator=(const CPcapReader&) = delete;

    // "" when the file opened and its header is one this reader knows.
    const std::string& Error() const { return m_Error; }
    // The next UDP datagram over IPv4; false at the end of the file (or at
    // a record cut short, which Error() then names). Frames that are not
    // UDP over IPv4 are skipped.
    bool Next(UdpDatagram_T& Datagram);

private:
    bool ReadRecord(std::vector<uint8_t>& Frame);

    FILE* m_pFile = nullptr;
    std::string m_Error;
    bool m_Swapped = false;
    uint32_t m_LinkType = 0;
};

#endif
