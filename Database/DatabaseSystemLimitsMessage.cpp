#include "Database/DatabaseSystemLimitsMessage.h"

#include <cstdlib>

#include "Database/RecordDescription.h"

namespace {

// u16 1, 800, 1, 500; i32 -3000, 3000; i16 -550, 550; u8 1; u16 14000, 15500; u32 100.
const uint8_t cDefaultPayload[] = {0x01, 0x00, 0x20, 0x03, 0x01, 0x00, 0xF4, 0x01, 0x48, 0xF4,
                                   0xFF, 0xFF, 0xB8, 0x0B, 0x00, 0x00, 0xDA, 0xFD, 0x26, 0x02,
                                   0x01, 0xB0, 0x36, 0x8C, 0x3C, 0x64, 0x00, 0x00, 0x00};

// 3048 m, the deepest bottom the unit reports unless the deployment says otherwise.
constexpr uint32_t cDefaultMaxAllowedDepthCm = 304800;

void SetMaxAllowedDepth(IOSSFactory* pFactory, uint8_t* Packet, uint32_t)
{
    uint32_t depth = cDefaultMaxAllowedDepthCm;
    if (const char* text = pFactory->GetEnv("MAX_ALLOWED_DEPTH_IN_CM")) {
        // 64-bit parse, as for serial numbers: the same depth on every target.
        depth = static_cast<uint32_t>(std::strtoll(text, nullptr, 10));
    }
    LittleEndian::Write<uint32_t>(Packet + Sonar4SystemLimitsPacket::cMaxAllowedDepthOffset, depth);
}

} // namespace

VESK_RECORD_DESCRIPTION(CDatabaseSystemLimitsMessage)
    .Directory("NONPERSISTED_DATABASE_ROOT")
    .FileName("SystemLimits.bin")
    .Message(VESK_NAMED(Message_Id_Sonar4_System_Settings_Limits))
    .PacketName("Sonar4SystemLimitsPacket")
    .MemberName("m_SystemLimits")
    .LoadedName("systemLimits")
    .DefaultPayload(cDefaultPayload)
    .SetComputedDefaults(&SetMaxAllowedDepth)
    .FactoryAssertion("m_pFactory && \"no Factory specified\"");

CDatabaseSystemLimitsMessage::CDatabaseSystemLimitsMessage(IOSSFactory* pFactory)
    : CDatabaseRecordOf(pFactory, cDescription)
{
}
