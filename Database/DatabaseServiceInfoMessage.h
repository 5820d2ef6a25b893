#ifndef DATABASE_DATABASESERVICEINFOMESSAGE_H
#define DATABASE_DATABASESERVICEINFOMESSAGE_H

#include <cstddef>
#include <cstdint>
#include <string>

#include "Database/DatabaseFile.h"
#include "Sonar4/Sonar4Packet.h"
#include "Sonar4/Sonar4Types.h"
#include "Utilities/ByteBuffer.h"
#include "Utilities/IOSSNetwork.h"

using IPPort32_T = UINT32;
using DBPath_Length_T = UINT16;

// The discovery packet that sounders exchange, kept whole (550 bytes) in the
// file. It has a layout of its own, not the usual record header: no size or
// version fields, the serial number right after the id. Only the first
// cSentHeaderSize + path length bytes travel on the network.
//
// Address fields hold the four octets in transmission order; their getters
// return the address as the platform's socket address holds it (network
// byte order).
struct Sonar4ServiceInfoPacket : PacketBytes<550> {
    static constexpr size_t cIdOffset = 0;
    static constexpr size_t cSerialOffset = 4;
    static constexpr size_t cKindOffset = 8;
    static constexpr size_t cReservedOffset = 12;
    static constexpr size_t cDataLengthOffset = 18;
    static constexpr size_t cOutputAddressOffset = 20;
    static constexpr size_t cDataPortOffset = 24;
    static constexpr size_t cInputAddressOffset = 28;
    static constexpr size_t cControlPortOffset = 32;
    static constexpr size_t cPathLengthOffset = 36;
    static constexpr size_t cRootDirOffset = 38;
    static constexpr size_t cRootDirSize = 512;
    // Bytes from the start of the packet to the end of the path length field.
    static constexpr size_t cSentHeaderSize = cRootDirOffset;
    // Bytes counted by the data length field that precede the path.
    static constexpr size_t cDataLengthBeforePath = cRootDirOffset - cOutputAddressOffset;
    static constexpr PacketField_T cFields[] = {
        {"message id", cIdOffset, FIELD_U32, 1, ""},
        {"serial number", cSerialOffset, FIELD_U32, 1, ""},
        {"packet kind", cKindOffset, FIELD_U32, 1, ""},
        {"reserved", cReservedOffset, FIELD_BYTES, cDataLengthOffset - cReservedOffset, ""},
        {"data length", cDataLengthOffset, FIELD_U16, 1, "byte"},
        {"output IP address", cOutputAddressOffset, FIELD_IPV4, 1, ""},
        {"data port", cDataPortOffset, FIELD_U32, 1, ""},
        {"input IP address", cInputAddressOffset, FIELD_IPV4, 1, ""},
        {"control port", cControlPortOffset, FIELD_U32, 1, ""},
        {"path length", cPathLengthOffset, FIELD_U16, 1, "byte"},
        {"root directory", cRootDirOffset, FIELD_CHARS, cRootDirSize, ""},
    };

    LNET_MESSAGE_ID_T GetMessageID() const { return Get<uint32_t, cIdOffset>(); }
    uint32_t GetSerialNumber() const { return Get<uint32_t, cSerialOffset>(); }
    void SetSerialNumber(uint32_t Serial) { Set<uint32_t, cSerialOffset>(Serial); }
    // 39 for a service info packet; other kinds are not ours to handle.
    uint32_t GetKind() const { return Get<uint32_t, cKindOffset>(); }
    void SetKind(uint32_t Kind) { Set<uint32_t, cKindOffset>(Kind); }
    void ClearReserved() { Set<uint32_t, cReservedOffset>(0); Set<uint16_t, cReservedOffset + 4>(0); }
    uint16_t GetDataLength() const { return Get<uint16_t, cDataLengthOffset>(); }
    void SetDataLength(uint16_t Length) { Set<uint16_t, cDataLengthOffset>(Length); }
    IP_Address_T GetOutputIPAddress() const { return AddressAt(cOutputAddressOffset); }
    void SetOutputIPAddress(IP_Address_T Address) { SetAddressAt(cOutputAddressOffset, Address); }
    IPPort32_T GetDataPort() const { return Get<uint32_t, cDataPortOffset>(); }
    void SetDataPort(IPPort32_T Port) { Set<uint32_t, cDataPortOffset>(Port); }
    IP_Address_T GetInputIPAddress() const { return AddressAt(cInputAddressOffset); }
    void SetInputIPAddress(IP_Address_T Address) { SetAddressAt(cInputAddressOffset, Address); }
    // The unit's address in host byte order.
    uint32_t GetInputIPAddressSwapped() const { return GetBigEndian<uint32_t, cInputAddressOffset>(); }
    IPPort32_T GetControlPort() const { return Get<uint32_t, cControlPortOffset>(); }
    void SetControlPort(IPPort32_T Port) { Set<uint32_t, cControlPortOffset>(Port); }
    // Root directory text plus its terminating NUL.
    DBPath_Length_T GetPathLength() const { return Get<uint16_t, cPathLengthOffset>(); }
    void SetPathLength(DBPath_Length_T Length) { Set<uint16_t, cPathLengthOffset>(Length); }
    uint8_t* RootDir() { return m_Bytes + cRootDirOffset; }

private:
    // The address field at Offset, as the platform's socket address holds it.
    IP_Address_T AddressAt(size_t Offset) const;
    void SetAddressAt(size_t Offset, IP_Address_T Address);
};
static_assert(sizeof(Sonar4ServiceInfoPacket) == Sonar4ServiceInfoPacket::cSize,
              "the packet holds nothing but its bytes");

// Where this sounder can be reached: its own address, the multicast group it
// publishes on (derived from its address), its control and data ports and
// the root of its installation. Neighbours' discovery packets move this
// unit's ports when they clash and this unit has the smaller serial number.
//
// Once another process has moved the ports in the file, this process is
// bound to ports that are no longer the record's: from then on it publishes
// nothing (CreateMessage returns OSS_NETWORK_FAILURE) and ignores neighbours.
//
// Construction needs the unit's IPv4 address: without one it stops on an
// assertion.
class CDatabaseServiceInfoMessage : public CDatabaseFile {
public:
    using Packet_T = Sonar4ServiceInfoPacket;
    static constexpr size_t cPacketSize = sizeof(Sonar4ServiceInfoPacket);
    static const DatabaseFileDescription_T cFileDescription;
    static constexpr const char* cFileName = "ServiceInfo.bin";
    static constexpr uint32_t cServiceInfoKind = 39;
    static constexpr IPPort32_T cDefaultControlPort = 3200;
    static constexpr IPPort32_T cDefaultDataPort = 3201;
    static constexpr IPPort32_T cMinimumValidPort = 3200;
    static constexpr IPPort32_T cMaximumValidPort = 3219;

    explicit CDatabaseServiceInfoMessage(IOSSFactory* pFactory);

    VeskEventCode_T readDB() override;
    VeskEventCode_T writeDB() override;
    // A neighbour's discovery packet; see the class comment.
    VeskEventCode_T DecodeMessage(const Buffer_Bytes_T* Buffer);
    // The discovery packet as the file holds it now; Buffer's size must be at
    // least cPacketSize and becomes the bytes to send.
    VeskEventCode_T CreateMessage(Buffer_Bytes_T* Buffer);

    // Root directory, serial number, ports (with their overrides) and the
    // addresses derived from the unit's current address. In memory only.
    void SetDefaultValues();
    // Rewrites the file with defaults when it belongs to another unit.
    void CheckSerialNumber();
    // The first port after Port (and not below 3200) that nobody is known to
    // use; marks it used. Running out of ports is an assertion.
    IPPort32_T FindFreePortAfter(IPPort32_T Port);

    IP_Address_T GetOutputIPAddress() const { return m_ServiceInfo.GetOutputIPAddress(); }
    IP_Address_T GetInputIPAddress() const { return m_ServiceInfo.GetInputIPAddress(); }
    IPPort32_T GetDataPort() const { return m_ServiceInfo.GetDataPort(); }
    IPPort32_T GetControlPort() const { return m_ServiceInfo.GetControlPort(); }
    // Dotted quad of the output (multicast) address.
    const char* GetOutputIPAddressText() const { return m_OutputIPAddressText.c_str(); }
    // Takes the address in host byte order. In memory only.
    void SetOutputIPAddress(IP_Address_T HostOrderAddress);

    bool GetPortsChanged() const { return m_PortsChanged; }
    const Sonar4ServiceInfoPacket& GetPacket() const { return m_ServiceInfo; }

protected:
    void SetDefaults() override { SetDefaultValues(); }

private:
    // A socket whose system address is the unit's own; the caller deletes it.
    IOSSNetwork* OpenSocket();
    // Replaces the file's addresses when the unit's address has changed or
    // the file still names the fixed group of older releases.
    void AdoptCurrentAddress();
    // Rewrites the file with the defaults after a construction-time check;
    // a failure is reported at Where and kept as the last error.
    void RewriteWithDefaults(const char* Where);
    void RefreshOutputIPAddressText();
    bool IsPortUsed(IPPort32_T Port) const;
    void MarkPortUsed(IPPort32_T Port);

    Sonar4ServiceInfoPacket m_ServiceInfo{};
    // Bit n: port cMinimumValidPort + n is taken by this unit or a neighbour.
    uint32_t m_UsedPorts = 0;
    bool m_PortsChanged = false;
    std::string m_OutputIPAddressText;
};

#endif
