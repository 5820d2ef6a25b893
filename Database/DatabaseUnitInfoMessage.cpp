#include "Database/DatabaseUnitInfoMessage.h"

#include <cstring>

#include "Database/RecordDescription.h"
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

VESK_RECORD_DESCRIPTION(CDatabaseUnitInfoMessage)
    .Directory("NONPERSISTED_DATABASE_ROOT")
    .FileName("UnitInfo.bin")
    .Message(VESK_NAMED(Sonar4_Unit_Info_Message))
    .PacketName("Sonar4UnitInfoPacket")
    .MemberName("m_UnitInfo")
    .LoadedName("unitInfo")
    .SetComputedDefaults(&SetUnitDefaults);

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
