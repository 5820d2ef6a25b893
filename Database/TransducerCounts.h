#ifndef DATABASE_TRANSDUCERCOUNTS_H
#define DATABASE_TRANSDUCERCOUNTS_H

#include <cstdint>

// How many transducers of each kind the last enumeration of the supported
// transducer files listed, kept for the process. The list counts them and
// the records that number selections after them read them; neither record
// needs the other for it.
class CTransducerCounts {
public:
    // Entries the supported transducers list has room for.
    static constexpr uint16_t cMaxListed = 35;

    // Zero of each kind: an enumeration starts.
    static void Restart();
    static void AddDepth();
    static void AddSpeed();
    static void AddTest();

    static uint16_t Depth();
    static uint16_t Speed();
    // Depth and test transducers; cMaxListed until the first enumeration,
    // so that a settings record read before it accepts any depth
    // transducer selection.
    static uint16_t DepthType();
};

#endif
