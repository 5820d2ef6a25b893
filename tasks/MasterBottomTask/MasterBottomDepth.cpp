#include "tasks/MasterBottomTask/MasterBottomDepth.h"

namespace MasterBottomDepth {

namespace {

int32_t AddWrapping(int32_t Depth, int32_t Offset)
{
    return static_cast<int32_t>(static_cast<uint32_t>(Depth) + static_cast<uint32_t>(Offset));
}

} // namespace

uint8_t OffsetMode(int32_t Offset)
{
    if (Offset > 0) {
        return cOffsetPositive;
    }
    return Offset == 0 ? cOffsetNone : cOffsetNegative;
}

int32_t Compute(uint8_t SecondaryState, int32_t SecondaryDepth, uint8_t PrimaryState, int32_t PrimaryDepth,
                int32_t Offset)
{
    if (SecondaryState == cStateValid) {
        if (PrimaryState == cStateValid) {
            const int32_t shallower = PrimaryDepth < SecondaryDepth ? PrimaryDepth : SecondaryDepth;
            return AddWrapping(shallower, Offset);
        }
        if (PrimaryState == cStateNotInUse) {
            return AddWrapping(SecondaryDepth, Offset);
        }
        return cInvalidDepth;
    }
    if (SecondaryState == cStateNotInUse && PrimaryState == cStateValid) {
        return AddWrapping(PrimaryDepth, Offset);
    }
    return cInvalidDepth;
}

} // namespace MasterBottomDepth
