#ifndef DATABASE_DATABASESUPPORTEDTRANSDUCERSMESSAGE_H
#define DATABASE_DATABASESUPPORTEDTRANSDUCERSMESSAGE_H

#include <cstdint>
#include <string>

#include "Database/DatabaseRecord.h"
#include "Database/DatabaseTransducerIdMessage.h"
#include "Database/TransducerCounts.h"

// One transducer as the user interface lists it, summarised from its
// identification record.
struct Sonar4TransducerInfo_T : PacketBytes<39> {
    // Text, zero-filled.
    static constexpr size_t cNameSize = 25;
    // 1 for a transducer with a speed log.
    static constexpr size_t cSpeedLogOffset = 25;
    // u16 each, 100 Hz: element A, then B.
    static constexpr size_t cNominalFrequencyOffset[2] = {26, 28};
    // Degrees times two, the second beam first: element A, then B.
    static constexpr size_t cBeamAnglesOffset[2] = {30, 32};
    // u16 each: element A, then B.
    static constexpr size_t cPowerOffset[2] = {34, 36};
    // 1 when element A's band is wide.
    static constexpr size_t cWidebandOffset = 38;

    // Up to cNameSize characters, without the terminating zero.
    std::string GetName() const;
    uint16_t GetPowerA() const { return Get<uint16_t, cPowerOffset[0]>(); }
};
static_assert(sizeof(Sonar4TransducerInfo_T) == Sonar4TransducerInfo_T::cSize, "an entry holds nothing but its bytes");

// The list: a count, then 35 entries (depth, then speed, then test
// transducers), unused ones zero.
struct Sonar4SupportedTransducersPacket : Sonar4Packet<1383> {
    static constexpr size_t cMaxTransducers = CTransducerCounts::cMaxListed;
    static constexpr size_t cNumTransducersOffset = 16;
    static constexpr size_t cEntriesOffset = 18;
    static constexpr auto cFields = Sonar4Fields({
        {"number of transducers", cNumTransducersOffset, FIELD_U16, 1, ""},
        {"transducer entries (39 bytes each)", cEntriesOffset, FIELD_BYTES,
         cMaxTransducers * Sonar4TransducerInfo_T::cSize, ""},
    });

    uint16_t GetNumTransducers() const { return Get<uint16_t, cNumTransducersOffset>(); }
    void SetNumTransducers(uint16_t Count) { Set<uint16_t, cNumTransducersOffset>(Count); }
    Sonar4TransducerInfo_T GetTransducer(size_t Index) const;
    void SetTransducer(size_t Index, const Sonar4TransducerInfo_T& Info);
};
static_assert(Sonar4SupportedTransducersPacket::cEntriesOffset +
                      Sonar4SupportedTransducersPacket::cMaxTransducers * sizeof(Sonar4TransducerInfo_T) ==
                  sizeof(Sonar4SupportedTransducersPacket),
              "the entries fill the packet");

// The legacy transducers (those without identification memory) the user
// can choose, found by loading every file of SUPPORTED_TRANSDUCER_DIR in
// turn into an identification record.
class CDatabaseSupportedTransducersMessage : public CDatabaseRecordOf<Sonar4SupportedTransducersPacket> {
public:
    static const DatabaseRecordDescription_T cDescription;

    explicit CDatabaseSupportedTransducersMessage(IOSSFactory* pFactory);

    // Lists the depth, speed and test transducer files, stores the list and
    // gives TransducerId back its bytes (its selection becomes automatic).
    // Failing to store the list is fatal: the user would be offered nothing.
    VeskEventCode_T EnumerateTransducers(CDatabaseTransducerIdMessage* TransducerId);
    // Appends one entry; more than 35 is fatal.
    void addTransducer(const Sonar4TransducerInfo_T& Info);

    // The entry of the transducer whose record TransducerId holds now.
    static Sonar4TransducerInfo_T DescribeTransducer(const CDatabaseTransducerIdMessage& TransducerId);
    // Log ticks per nautical mile of a speed transducer selection.
    static uint32_t GetTicksPerNauticalMile(SpeedTransducerSelection_T Selection);

    // Counted by the last enumeration (see CTransducerCounts).
    static uint16_t GetNumDepthTransducers();
    static uint16_t GetNumSpeedTransducers();
    // Depth and test transducers; 35 until the first enumeration.
    static uint16_t GetNumDepthTypeTransducers();
};

#endif
