// Event reporting: building the line, and the whole report (line printed to
// standard output, here /dev/null, and handed to the system log).
#include <benchmark/benchmark.h>

#include "Utilities/EventCodes.h"
#include "Utilities/IOSSFactory.h"
#include "bench/BenchUnit.h"

namespace {

void BM_EventLineConstruct(benchmark::State& state)
{
    CEventCodes event(BenchUnit::Factory(), nullptr);
    for (auto _ : state) {
        benchmark::DoNotOptimize(event.ConstructMessage("Failed to read File Contents",
                                                        "MasterBottomTask::SetMasterBottomRecord",
                                                        "Failed to Read PPT Local Bottom but so what",
                                                        FAILED_TO_READ_FILE_CONTENTS));
    }
}
BENCHMARK(BM_EventLineConstruct);

// A code without LED or status effect: nothing but the line goes out.
void BM_FactorySendEvent(benchmark::State& state)
{
    IOSSFactory* factory = BenchUnit::Factory();
    factory->SetName("MasterBottomTask");
    for (auto _ : state) {
        benchmark::DoNotOptimize(factory->SendEvent(cInfoLevel, FAILED_TO_READ_FILE_CONTENTS,
                                                    "MasterBottomTask::SetMasterBottomRecord",
                                                    "Failed to Read PPT Local Bottom but so what"));
    }
}
BENCHMARK(BM_FactorySendEvent);

} // namespace
