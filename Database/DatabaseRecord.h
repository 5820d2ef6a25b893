#ifndef DATABASE_DATABASERECORD_H
#define DATABASE_DATABASERECORD_H

// Binary records: one Sonar4 packet kept in one file.
//
// The load, store, check, decode and hand-out logic lives here once, in
// CDatabaseRecord, and works on the packet's bytes as the record's
// description tells it. A record class states only what is its own.
//
// To add a record:
//  1. In Database/Database<Thing>Message.h declare its packet,
//       struct Sonar4<Thing>Packet : Sonar4Packet<N> { ...field accessors... };
//     and the class
//       class CDatabase<Thing>Message : public CDatabaseRecordOf<Sonar4<Thing>Packet> {
//       public: explicit CDatabase<Thing>Message(IOSSFactory* pFactory); ...getters, setters...
//       };
//     The packet also lists its fields for the tools (cFields, made with
//     Sonar4Fields); accessors and field list share named offsets.
//  2. In the .cpp define its public cDescription with
//     VESK_RECORD_DESCRIPTION (Database/RecordDescription.h), field by
//     field: directory variable, file, message id, C++ names, and where it
//     has them a unit check, default payload bytes, hooks for computed
//     defaults and for validation. The constructor only passes the factory
//     and the description on.
//  3. Setters change the in-memory packet; callers then call writeDB().
//  4. Add its row to the codec's message table (Sonar4/Sonar4MessageTable.cpp):
//       RECORD_ROW(CSonar4RecordMessage<CDatabase<Thing>Message>, RECEIVE_...)
//     or a message class of its own where it adds operations. The generic
//     record tests, the fuzzers and the tools read the table.
// Everything else (readDB, writeDB, CheckForFile, DecodeMessage,
// CreateMessage, ConfirmSonar4Version, GetPacket, GetDBFilePath,
// GetLastError, cPacketSize) comes with CDatabaseRecordOf.

#include <cstddef>
#include <cstdint>
#include <string>

#include "Database/DatabaseFile.h"
#include "Sonar4/Sonar4Packet.h"
#include "Sonar4/Sonar4Types.h"
#include "Utilities/ByteBuffer.h"

// Which header fields make a file or a received packet this unit's.
enum RecordUnitCheck_T {
    // Version and serial number: the packet is addressed to one unit.
    UNIT_CHECK_VERSION_AND_SERIAL,
    // Version only: packets for any unit are accepted; no serial is kept.
    UNIT_CHECK_VERSION_ONLY,
};

// The C++ names of a record's pieces. Assertion texts name them, so that a
// failure points at the record concerned.
struct DatabaseRecordNames_T {
    const char* Packet = nullptr;       // packet struct, e.g. "Sonar4MasterBottomRecordPacket"
    const char* Member = nullptr;       // packet member, e.g. "m_MasterBottomRecord"
    const char* Loaded = nullptr;       // packet read from the file, e.g. "masterBottomRecord"
    const char* MessageId = nullptr;    // id enumerator, e.g. "Message_Id_Sonar4_Master_Bottom_Record"
};

struct DatabaseRecordDescription_T {
    DatabaseFileDescription_T File;
    DatabaseRecordNames_T Names;
    const char* FileName = nullptr;
    LNET_MESSAGE_ID_T MessageId{};
    RecordUnitCheck_T UnitCheck = UNIT_CHECK_VERSION_AND_SERIAL;
    // Default payload from offset 16 on, as bytes; the rest stays zero.
    const uint8_t* DefaultPayload = nullptr;
    size_t DefaultPayloadSize = 0;
    // Defaults that depend on the deployment or on the record's instance
    // (its configuration index, the unit's address), written over the above.
    void (*SetComputedDefaults)(IOSSFactory* pFactory, uint8_t* Packet, uint32_t Instance) = nullptr;
    // Replaces out-of-range payload values; true when anything was replaced.
    // Null: the record stores whatever it is given.
    bool (*ReplaceInvalidValues)(uint8_t* Packet) = nullptr;
    // Why-texts of failed stores and loads, and the operation named in the
    // where-text of a failed store.
    const char* WriteFailedWhy = "Failed to write contents";
    const char* ReadFailedWhy = "Failed to read contents";
    const char* WriteFailedOperation = "writeDB";
    // Payload bytes (from offset 16) that a missing file resets in memory
    // when the store is deferred; the rest keep their values. All of them
    // by default.
    size_t MissingFileResetBytes = SIZE_MAX;
    // Assertion texts of CreateMessage for records that word them their own
    // way; null: the tested expression. An empty-buffer text adds that check
    // ahead of the size check.
    const char* NullBufferAssertion = nullptr;
    const char* EmptyBufferAssertion = nullptr;
    const char* SmallBufferAssertion = nullptr;
};

// The machinery shared by every binary record. It does not own the packet:
// CDatabaseRecordOf holds it and hands its bytes over.
class CDatabaseRecord : public CDatabaseFile {
public:
    VeskEventCode_T readDB() override;
    VeskEventCode_T writeDB() override;
    // Takes over a packet received for this record (header included) and
    // stores it; 7 (E2BIG) when it is short or not for this unit/version.
    VeskEventCode_T DecodeMessage(const Buffer_Bytes_T* Buffer);
    // Refreshes from the file and copies the packet into Buffer, whose
    // current size must be at least the packet size.
    VeskEventCode_T CreateMessage(Buffer_Bytes_T* Buffer);
    // Accepts a packet read from the file, or reports and deletes the file.
    // The caller guarantees a whole packet header at Packet.
    bool ConfirmSonar4Version(const uint8_t* Packet);


protected:
    // Loaded: room for a packet read from the file before it is accepted.
    // Instance tells apart records of one description (the configuration
    // index of a ping parameters record, the unit's address): it replaces
    // "%u" in the file name and is handed to SetComputedDefaults.
    CDatabaseRecord(IOSSFactory* pFactory, const DatabaseRecordDescription_T& Description, uint8_t* Packet,
                    uint8_t* Loaded, size_t PacketSize, uint32_t Instance);

    void SetDefaults() override;
    void ResetForMissingFile() override;
    // Called after a received packet was taken over and stored (whatever the
    // store's result), for records that act on what they receive.
    virtual void PacketAccepted() {}

private:
    // Header as a fresh record has it: id, size 0, version, serial 0; payload 0.
    void InitialisePacket(uint8_t* Packet) const;
    bool IsAddressed() const { return m_Description.UnitCheck == UNIT_CHECK_VERSION_AND_SERIAL; }
    void ReplaceInvalidValues(const char* Operation);

    const DatabaseRecordDescription_T& m_Description;
    uint8_t* const m_pPacket;
    uint8_t* const m_pLoaded;
    const size_t m_PacketSize;
    const uint32_t m_Instance;
};

// Storage for the packet, constructed before CDatabaseRecord so that the
// record can load into it while it is being built.
template <typename Packet>
struct DatabasePacketHolder_T {
    Packet m_Packet{};
    // A load lands here first, so a rejected file leaves m_Packet as it was;
    // kept with the record so that loads need no memory of their own.
    Packet m_Loaded{};
};

// A record holding a packet of type Packet.
template <typename Packet>
class CDatabaseRecordOf : protected DatabasePacketHolder_T<Packet>, public CDatabaseRecord {
public:
    using Packet_T = Packet;
    static constexpr size_t cPacketSize = sizeof(Packet);
    // The size is stated once, as the packet's template argument; a member
    // added beside the bytes would be loaded and stored with them.
    static_assert(cPacketSize == Packet::cSize, "a record packet holds nothing but its bytes");

    // The packet as last loaded or set; does not read the file.
    const Packet& GetPacket() const { return this->m_Packet; }

protected:
    CDatabaseRecordOf(IOSSFactory* pFactory, const DatabaseRecordDescription_T& Description, uint32_t Instance = 0)
        : DatabasePacketHolder_T<Packet>(),
          CDatabaseRecord(pFactory, Description, this->m_Packet.data(), this->m_Loaded.data(), cPacketSize, Instance)
    {
    }
};

#endif
