#ifndef DATABASE_DATABASECOMMANDMESSAGE_H
#define DATABASE_DATABASECOMMANDMESSAGE_H

#include <cstdint>

#include "Database/DatabaseRecord.h"

// The last command received for the module, for every task to read.
struct Sonar4CommandPacket : Sonar4Packet<24> {
    static constexpr size_t cCommandWordOffset = 16;
    static constexpr size_t cCommandCodeOffset = 20;
    // Codes above this are not commands; they are stored as 0.
    static constexpr uint32_t cHighestCommandCode = 6;
    static constexpr auto cFields = Sonar4Fields({
        {"command word", cCommandWordOffset, FIELD_U32, 1, ""},
        {"command code", cCommandCodeOffset, FIELD_U32, 1, ""},
    });

    uint32_t GetCommandWord() const { return Get<uint32_t, cCommandWordOffset>(); }
    void SetCommandWord(uint32_t Word) { Set<uint32_t, cCommandWordOffset>(Word); }
    uint32_t GetCommandCode() const { return Get<uint32_t, cCommandCodeOffset>(); }
    void SetCommandCode(uint32_t Code) { Set<uint32_t, cCommandCodeOffset>(Code); }
};

// Commands come from any device and are meant for every unit: the record
// checks only the protocol version and keeps the sender's serial number as
// it came. A code out of range is stored (and loaded) as 0.
class CDatabaseCommandMessage : public CDatabaseRecordOf<Sonar4CommandPacket> {
public:
    static const DatabaseRecordDescription_T cDescription;

    explicit CDatabaseCommandMessage(IOSSFactory* pFactory);

    uint32_t GetCommandWord() const { return m_Packet.GetCommandWord(); }
    uint32_t GetCommandCode() const { return m_Packet.GetCommandCode(); }
    // In memory only; call writeDB() to store.
    void SetCommandWord(uint32_t Word) { m_Packet.SetCommandWord(Word); }
    void SetCommandCode(uint32_t Code) { m_Packet.SetCommandCode(Code); }
};

#endif
