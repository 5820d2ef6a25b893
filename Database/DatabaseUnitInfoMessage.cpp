#include "Database/DatabaseUnitInfoMessage.h"

#include <cstring>

#include "Utilities/ProductFamily.h"

namespace {

void SetUnitDefaults(IOSSFactory* pFactory, uint8_t* Packet, uint32_t HostOrderAddress)
{
    using P = Sonar4UnitInfoPacket;
    BigEndian::Write<uint32_t>(Packet + P::cAddressOffset, HostOrderAddress);
    LittleEndian::Write<uint16_t>(Packet + P::cProductFamilyOffset,
                                  static_cast<uint16_t>(GetProductFamily(pFactory)));
    // NUL-padded; a longer id is cut to the field.
    if (const char* productId = pFactory->GetEnv("PRODUCT_ID")) {
        std::strncpy(reinterpret_cast<char*>(Packet + P::cProductIdOffset), productId, P::cProductIdSize);
    }
}

} // namespace

const DatabaseRecordDescription_T CDatabaseUnitInfoMessage::cDescription = {
    {"CDatabaseUnitInfoMessage", "NONPERSISTED_DATABASE_ROOT"},
    {"Sonar4UnitInfoPacket", "m_UnitInfo", "unitInfo", "Sonar4_Unit_Info_Message"},
    "UnitInfo.bin", Sonar4_Unit_Info_Message, UNIT_CHECK_VERSION_AND_SERIAL,
    nullptr, 0, &SetUnitDefaults};

CDatabaseUnitInfoMessage::CDatabaseUnitInfoMessage(IOSSFactory* pFactory, IP_Address_T HostOrderAddress)
    : CDatabaseRecordOf(pFactory, cDescription, HostOrderAddress)
{
    if (m_Packet.GetIPAddress() == HostOrderAddress) {
        return;
    }
    m_Packet.SetIPAddress(HostOrderAddress);
    if (const VeskEventCode_T result = writeDB()) {
        m_pFactory->SendEvent(cErrorLevel, result, "CDatabaseUnitInfoMessage constructor", "failed to write to DB");
        SetLastError(result);
    }
}
