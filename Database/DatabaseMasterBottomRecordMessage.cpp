#include "Database/DatabaseMasterBottomRecordMessage.h"

namespace {

// No valid bottom yet; the offset mode and the first payload byte stay 0.
void SetNoBottom(IOSSFactory*, uint8_t* Packet, uint32_t)
{
    LittleEndian::Write<int32_t>(Packet + Sonar4MasterBottomRecordPacket::cMasterDepthOffset, cNoBottom);
}

} // namespace

const DatabaseRecordDescription_T CDatabaseMasterBottomRecordMessage::cDescription = {
    {"CDatabaseMasterBottomRecordMessage", "NONPERSISTED_DATABASE_ROOT"},
    {"Sonar4MasterBottomRecordPacket", "m_MasterBottomRecord", "masterBottomRecord",
     "Message_Id_Sonar4_Master_Bottom_Record"},
    "MasterBottomRecord.bin", Message_Id_Sonar4_Master_Bottom_Record, UNIT_CHECK_VERSION_AND_SERIAL,
    nullptr, 0, &SetNoBottom};

CDatabaseMasterBottomRecordMessage::CDatabaseMasterBottomRecordMessage(IOSSFactory* pFactory)
    : CDatabaseRecordOf(pFactory, cDescription)
{
}
