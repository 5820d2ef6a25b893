#include "Database/DatabaseTransducersFittedMessage.h"

#include <cstring>

namespace {

// One transducer, not yet described: the task that identifies it fills the entry.
const uint8_t cDefaultPayload[] = {1};

} // namespace

const DatabaseRecordDescription_T CDatabaseTransducersFittedMessage::cDescription = [] {
    DatabaseRecordDescription_T description = {
        {"CDatabaseTransducersFittedMessage", "NONPERSISTED_DATABASE_ROOT"},
        {"Sonar4TransducersFittedPacket", "m_TransducersFitted", "transducersFitted",
         "Message_Id_Sonar4_Transducers_Fitted"},
        "TransducersFitted.bin", Message_Id_Sonar4_Transducers_Fitted, UNIT_CHECK_VERSION_AND_SERIAL,
        cDefaultPayload, sizeof(cDefaultPayload)};
    description.NullBufferAssertion = "Buffer && \"Buffer should not be NULL\"";
    description.EmptyBufferAssertion = "Buffer->size() != 0 && \"Buffer should not be empty\"";
    description.SmallBufferAssertion = "Buffer->size() >= sizeof(m_TransducersFitted) && \"Buffer is too small\"";
    return description;
}();

Sonar4TransducerInfo_T Sonar4TransducersFittedPacket::GetTransducer() const
{
    Sonar4TransducerInfo_T info;
    std::memcpy(info.data(), m_Bytes + cTransducerOffset, sizeof(info));
    return info;
}

void Sonar4TransducersFittedPacket::SetTransducer(const Sonar4TransducerInfo_T& Info)
{
    std::memcpy(m_Bytes + cTransducerOffset, Info.data(), sizeof(Info));
}

CDatabaseTransducersFittedMessage::CDatabaseTransducersFittedMessage(IOSSFactory* pFactory)
    : CDatabaseRecordOf(pFactory, cDescription)
{
}
