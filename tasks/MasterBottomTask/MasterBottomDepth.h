#ifndef TASKS_MASTERBOTTOMTASK_MASTERBOTTOMDEPTH_H
#define TASKS_MASTERBOTTOMTASK_MASTERBOTTOMDEPTH_H

#include <cstdint>

// The master bottom rules, kept apart from the task's I/O.
namespace MasterBottomDepth {

// Offset mode of the master bottom record: the sign of the depth offset.
constexpr uint8_t cOffsetNone = 0;
constexpr uint8_t cOffsetNegative = 1;
constexpr uint8_t cOffsetPositive = 2;

uint8_t OffsetMode(int32_t Offset);

// The states are those of the local bottom records; cNoBottom when there is
// no valid master bottom. The shallower of two valid bottoms wins (the secondary on a tie); a ping
// task that is in use but has lost its bottom makes the master bottom
// invalid even when the other one has a bottom. The offset is added with
// 32-bit wrap-around, as the display units expect.
int32_t Compute(uint8_t SecondaryState, int32_t SecondaryDepth, uint8_t PrimaryState, int32_t PrimaryDepth,
                int32_t Offset);

} // namespace MasterBottomDepth

#endif
