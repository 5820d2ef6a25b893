// The record file I/O of one turn of the task's loop, on real files in the
// benchmark's unit directory.
#include <cstdint>

#include <benchmark/benchmark.h>

#include "Database/DatabaseLocalBottomRecord.h"
#include "Database/DatabaseMasterBottomRecordMessage.h"
#include "Database/DatabaseSystemSettingsMessage.h"
#include "bench/BenchUnit.h"
#include "tasks/MasterBottomTask/MasterBottomDepth.h"

namespace {

// A ping task's file as it is in normal running: a valid bottom.
void StoreLocalBottom(CDatabaseLocalBottomRecord& record, int32_t Depth)
{
    record.SetDepth(Depth);
    record.SetState(CDatabaseLocalBottomRecord::cStateValidBottom);
    record.writeDB();
}

void BM_LocalBottomReadDB(benchmark::State& state)
{
    CDatabaseLocalBottomRecord record(BenchUnit::Factory(), "PPT");
    StoreLocalBottom(record, 1500);
    for (auto _ : state) {
        if (record.readDB() != SUCCESS) {
            state.SkipWithError("readDB failed");
            break;
        }
        benchmark::DoNotOptimize(record.GetDepth());
    }
}
BENCHMARK(BM_LocalBottomReadDB);

void BM_SystemSettingsReadDB(benchmark::State& state)
{
    CDatabaseSystemSettingsMessage settings(BenchUnit::Factory());
    settings.SetDepthOffset(30);
    settings.writeDB();
    for (auto _ : state) {
        if (settings.readDB() != SUCCESS) {
            state.SkipWithError("readDB failed");
            break;
        }
        benchmark::DoNotOptimize(settings.GetDepthOffset());
    }
}
BENCHMARK(BM_SystemSettingsReadDB);

// Store the new master bottom, then build the packet to send from the file.
void BM_MasterBottomStoreAndBuild(benchmark::State& state)
{
    CDatabaseMasterBottomRecordMessage record(BenchUnit::Factory());
    uint8_t packet[CDatabaseMasterBottomRecordMessage::cPacketSize];
    int32_t depth = 1500;
    for (auto _ : state) {
        record.SetMasterDepth(depth++);
        record.SetOffsetMode(MasterBottomDepth::cOffsetPositive);
        Buffer_Bytes_T buffer(packet, sizeof(packet));
        if (record.writeDB() != SUCCESS || record.CreateMessage(&buffer) != SUCCESS) {
            state.SkipWithError("store or build failed");
            break;
        }
        benchmark::DoNotOptimize(packet);
    }
}
BENCHMARK(BM_MasterBottomStoreAndBuild);

// All the record work of one turn as the task does it: read the settings and
// both local bottoms, compute, store the master bottom, and build the packet
// through the codec's own record object. Polling the pipe and sending the
// datagram are left out.
void BM_LoopTurnRecordWork(benchmark::State& state)
{
    CDatabaseSystemSettingsMessage settings(BenchUnit::Factory());
    CDatabaseLocalBottomRecord secondary(BenchUnit::Factory(), "SPT");
    CDatabaseLocalBottomRecord primary(BenchUnit::Factory(), "PPT");
    CDatabaseMasterBottomRecordMessage master(BenchUnit::Factory());
    CDatabaseMasterBottomRecordMessage codecRecord(BenchUnit::Factory());
    settings.SetDepthOffset(30);
    settings.writeDB();
    StoreLocalBottom(secondary, 1480);
    StoreLocalBottom(primary, 1500);
    uint8_t packet[CDatabaseMasterBottomRecordMessage::cPacketSize];

    for (auto _ : state) {
        settings.readDB();
        secondary.readDB();
        primary.readDB();
        const int32_t offset = settings.GetDepthOffset();
        master.SetOffsetMode(MasterBottomDepth::OffsetMode(offset));
        master.SetMasterDepth(MasterBottomDepth::Compute(secondary.GetState(), secondary.GetDepth(),
                                                         primary.GetState(), primary.GetDepth(), offset));
        Buffer_Bytes_T buffer(packet, sizeof(packet));
        if (master.writeDB() != SUCCESS || codecRecord.CreateMessage(&buffer) != SUCCESS) {
            state.SkipWithError("store or build failed");
            break;
        }
        benchmark::DoNotOptimize(packet);
    }
}
BENCHMARK(BM_LoopTurnRecordWork);

} // namespace
