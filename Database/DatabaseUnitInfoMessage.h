#ifndef DATABASE_DATABASEUNITINFOMESSAGE_H
#define DATABASE_DATABASEUNITINFOMESSAGE_H

#include <cstdint>

#include "Database/DatabaseRecord.h"
#include "Utilities/IOSSNetwork.h"

// Who this unit is, for the discovery protocol: its address, its product
// family and its product id text.
struct Sonar4UnitInfoPacket : Sonar4Packet<54> {
    static constexpr size_t cAddressOffset = 16;
    static constexpr size_t cProductFamilyOffset = 20;
    static constexpr size_t cProductIdOffset = 22;
    static constexpr size_t cProductIdSize = 32;
    static constexpr auto cFields = Sonar4Fields({
        {"IP address", cAddressOffset, FIELD_IPV4, 1, ""},
        {"product family", cProductFamilyOffset, FIELD_U16, 1, ""},
        {"product id", cProductIdOffset, FIELD_CHARS, cProductIdSize, ""},
    });

    // Host byte order in and out; the packet holds the octets in
    // transmission order.
    IP_Address_T GetIPAddress() const { return GetBigEndian<uint32_t, cAddressOffset>(); }
    void SetIPAddress(IP_Address_T HostOrder) { SetBigEndian<uint32_t, cAddressOffset>(HostOrder); }
    uint16_t GetProductFamily() const { return Get<uint16_t, cProductFamilyOffset>(); }
    const uint8_t* ProductId() const { return m_Bytes + cProductIdOffset; }
};

// Built with the unit's address as the service info record knows it: a
// file holding another address is brought up to date at construction.
class CDatabaseUnitInfoMessage : public CDatabaseRecordOf<Sonar4UnitInfoPacket> {
public:
    static const DatabaseRecordDescription_T cDescription;

    CDatabaseUnitInfoMessage(IOSSFactory* pFactory, IP_Address_T HostOrderAddress);

    IP_Address_T GetIPAddress() const { return m_Packet.GetIPAddress(); }
};

#endif
