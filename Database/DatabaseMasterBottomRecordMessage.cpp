#include "Database/DatabaseMasterBottomRecordMessage.h"

#include "Database/RecordDescription.h"

namespace {

// No valid bottom yet; the offset mode and the first payload byte stay 0.
void SetNoBottom(IOSSFactory*, uint8_t* Packet, uint32_t)
{
    LittleEndian::Write<int32_t>(Packet + Sonar4MasterBottomRecordPacket::cMasterDepthOffset, cNoBottom);
}

} // namespace

VESK_RECORD_DESCRIPTION(CDatabaseMasterBottomRecordMessage)
    .Directory("NONPERSISTED_DATABASE_ROOT")
    .FileName("MasterBottomRecord.bin")
    .Message(VESK_NAMED(Message_Id_Sonar4_Master_Bottom_Record))
    .PacketName("Sonar4MasterBottomRecordPacket")
    .MemberName("m_MasterBottomRecord")
    .LoadedName("masterBottomRecord")
    .SetComputedDefaults(&SetNoBottom);

CDatabaseMasterBottomRecordMessage::CDatabaseMasterBottomRecordMessage(IOSSFactory* pFactory)
    : CDatabaseRecordOf(pFactory, cDescription)
{
}
