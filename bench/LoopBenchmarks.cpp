// The pure computations of one turn of the task's loop.
#include <array>
#include <cstdint>
#include <string>

#include <benchmark/benchmark.h>

#include "Database/DatabaseMasterBottomRecordMessage.h"
#include "Utilities/CommandPipeDecoder.h"
#include "tasks/MasterBottomTask/MasterBottomDepth.h"

namespace {

struct BottomCase {
    uint8_t SecondaryState;
    int32_t SecondaryDepth;
    uint8_t PrimaryState;
    int32_t PrimaryDepth;
    int32_t Offset;
};

// Every branch of the rules, so that no single one is predicted perfectly.
constexpr std::array<BottomCase, 8> cBottoms = {{
    {2, 1500, 2, 1480, 30},
    {2, 1480, 2, 1500, -30},
    {2, 900, 0, 0, 0},
    {0, 0, 2, 2500, 12},
    {1, 1500, 2, 1400, 0},
    {2, 1500, 1, 1400, 0},
    {0, 0, 0, 0, 0},
    {2, INT32_MAX, 2, INT32_MAX, 100},
}};

void BM_MasterBottomCompute(benchmark::State& state)
{
    size_t row = 0;
    for (auto _ : state) {
        const BottomCase& c = cBottoms[row];
        row = (row + 1) % cBottoms.size();
        benchmark::DoNotOptimize(MasterBottomDepth::OffsetMode(c.Offset));
        benchmark::DoNotOptimize(
            MasterBottomDepth::Compute(c.SecondaryState, c.SecondaryDepth, c.PrimaryState, c.PrimaryDepth, c.Offset));
    }
}
BENCHMARK(BM_MasterBottomCompute);

// Fills a master bottom packet, then checks its header and reads the payload
// back, the depth lying at an odd offset: the field access that building
// and checking one packet costs. The packet is made to live in memory, as
// a real one does, so that no access is folded away.
void BM_PacketFieldAccess(benchmark::State& state)
{
    Sonar4MasterBottomRecordPacket packet{};
    int32_t depth = 1500;
    uint32_t serial = 1234;
    for (auto _ : state) {
        benchmark::DoNotOptimize(serial);
        packet.SetMessageID(Message_Id_Sonar4_Master_Bottom_Record);
        packet.SetMessageSize(sizeof(packet));
        packet.SetSonar4Version(SONAR4_VERSION);
        packet.SetSerialNumber(serial);
        packet.SetMasterDepth(depth);
        packet.SetOffsetMode(MasterBottomDepth::cOffsetPositive);
        benchmark::DoNotOptimize(packet);
        const Sonar4HeaderView header{packet.data()};
        const bool ours = header.GetMessageID() == Message_Id_Sonar4_Master_Bottom_Record &&
                          header.GetMessageSize() == sizeof(packet) && header.GetSonar4Version() == SONAR4_VERSION &&
                          header.GetSerialNumber() == serial;
        benchmark::DoNotOptimize(ours);
        depth = packet.GetMasterDepth() + packet.GetOffsetMode();
    }
}
BENCHMARK(BM_PacketFieldAccess);

// Every word of the table with an argument behind it, and a message no word
// begins: one decode per message.
void BM_DecodeCommand(benchmark::State& state)
{
    std::array<std::string, cPipeCommandTable.size() + 1> messages;
    for (size_t i = 0; i < cPipeCommandTable.size(); ++i) {
        messages[i] = std::string(cPipeCommandTable[i].first) + "MasterBottomTask";
    }
    messages.back() = "NotACommandOfThisModule";
    const CommandPipeDecoder decoder;
    size_t next = 0;
    for (auto _ : state) {
        benchmark::DoNotOptimize(decoder.DecodeCommand(messages[next].c_str()));
        next = next + 1 == messages.size() ? 0 : next + 1;
    }
    state.SetItemsProcessed(state.iterations());
}
BENCHMARK(BM_DecodeCommand);

// The two commands this task serves: the frequent one and the last resort.
void BM_DecodeCommand_AreYouAlive(benchmark::State& state)
{
    const CommandPipeDecoder decoder;
    for (auto _ : state) {
        benchmark::DoNotOptimize(decoder.DecodeCommand("Are You Alive?"));
    }
}
BENCHMARK(BM_DecodeCommand_AreYouAlive);

void BM_DecodeCommand_Unknown(benchmark::State& state)
{
    const CommandPipeDecoder decoder;
    for (auto _ : state) {
        benchmark::DoNotOptimize(decoder.DecodeCommand("NotACommandOfThisModule"));
    }
}
BENCHMARK(BM_DecodeCommand_Unknown);

} // namespace
