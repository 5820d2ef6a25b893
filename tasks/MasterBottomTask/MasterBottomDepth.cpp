#include "tasks/MasterBottomTask/MasterBottomDepth.h"

#include "Database/DatabaseLocalBottomRecord.h"
#include "Sonar4/Sonar4Types.h"

namespace MasterBottomDepth {

namespace {

using LocalBottom = CDatabaseLocalBottomRecord;

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
    if (SecondaryState == LocalBottom::cStateValidBottom) {
        if (PrimaryState == LocalBottom::cStateValidBottom) {
            const int32_t shallower = PrimaryDepth < SecondaryDepth ? PrimaryDepth : SecondaryDepth;
            return AddWrapping(shallower, Offset);
        }
        if (PrimaryState == LocalBottom::cStateNotInUse) {
            return AddWrapping(SecondaryDepth, Offset);
        }
        return cNoBottom;
    }
    if (SecondaryState == LocalBottom::cStateNotInUse && PrimaryState == LocalBottom::cStateValidBottom) {
        return AddWrapping(PrimaryDepth, Offset);
    }
    return cNoBottom;
}

} // namespace MasterBottomDepth
