#ifndef DATABASE_DATABASETRANSDUCERSFITTEDMESSAGE_H
#define DATABASE_DATABASETRANSDUCERSFITTEDMESSAGE_H

#include <cstdint>

#include "Database/DatabaseRecord.h"
#include "Database/DatabaseSupportedTransducersMessage.h"

// The transducer fitted to the module, in the form of a list entry.
struct Sonar4TransducersFittedPacket : Sonar4Packet<57> {
    static constexpr size_t cTransducerOffset = 17;
    static constexpr auto cFields = Sonar4Fields({
        {"number of transducers fitted", 16, FIELD_U8, 1, ""},
        {"fitted transducer entry", cTransducerOffset, FIELD_BYTES, 39, ""},
        {"reserved", cTransducerOffset + 39, FIELD_U8, 1, ""},
    });
    uint8_t GetNumTransducersFitted() const { return Get<uint8_t, 16>(); }
    void SetNumTransducersFitted(uint8_t Count) { Set<uint8_t, 16>(Count); }
    Sonar4TransducerInfo_T GetTransducer() const;
    void SetTransducer(const Sonar4TransducerInfo_T& Info);
};

class CDatabaseTransducersFittedMessage : public CDatabaseRecordOf<Sonar4TransducersFittedPacket> {
public:
    static const DatabaseRecordDescription_T cDescription;

    explicit CDatabaseTransducersFittedMessage(IOSSFactory* pFactory);

    uint8_t GetNumTransducersFitted() const { return m_Packet.GetNumTransducersFitted(); }
    Sonar4TransducerInfo_T GetTransducer() const { return m_Packet.GetTransducer(); }
    // In memory only; call writeDB() to store.
    void SetNumTransducersFitted(uint8_t Count) { m_Packet.SetNumTransducersFitted(Count); }
    void SetTransducer(const Sonar4TransducerInfo_T& Info) { m_Packet.SetTransducer(Info); }
};

#endif
