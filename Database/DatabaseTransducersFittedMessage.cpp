#include "Database/DatabaseTransducersFittedMessage.h"

#include <cstring>

#include "Database/RecordDescription.h"

namespace {

// One transducer, not yet described: the task that identifies it fills the entry.
const uint8_t cDefaultPayload[] = {1};

} // namespace

VESK_RECORD_DESCRIPTION(CDatabaseTransducersFittedMessage)
    .Directory("NONPERSISTED_DATABASE_ROOT")
    .FileName("TransducersFitted.bin")
    .Message(VESK_NAMED(Message_Id_Sonar4_Transducers_Fitted))
    .PacketName("Sonar4TransducersFittedPacket")
    .MemberName("m_TransducersFitted")
    .LoadedName("transducersFitted")
    .DefaultPayload(cDefaultPayload)
    .NullBufferAssertion("Buffer && \"Buffer should not be NULL\"")
    .EmptyBufferAssertion("Buffer->size() != 0 && \"Buffer should not be empty\"")
    .SmallBufferAssertion("Buffer->size() >= sizeof(m_TransducersFitted) && \"Buffer is too small\"");

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
