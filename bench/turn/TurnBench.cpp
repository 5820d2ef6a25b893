// One loop turn of the task, timed: the same turn as the task's loop (the
// command pipe polled without waiting, the three loads, the store, the
// packet built from the record file, the send), run back to back in the
// unit whose environment this process is started in. Prints the CPU and
// wall time per turn in the form the floor program prints them, so that
// bench/turn-vs-floor.sh can set the two side by side.
#include <time.h>

#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <memory>

#include "Database/DatabaseErrorStatusMessage.h"
#include "Utilities/OSSLinuxFactory.h"
#include "tasks/MasterBottomTask/MasterBottomTask.h"

namespace {

double NowNs(clockid_t Clock)
{
    timespec now{};
    clock_gettime(Clock, &now);
    return static_cast<double>(now.tv_sec) * 1e9 + static_cast<double>(now.tv_nsec);
}

constexpr long cWarmUpTurns = 200;

} // namespace

int main(int argc, char** argv)
{
    if (argc != 3 || std::strcmp(argv[1], "turns") != 0 || std::atol(argv[2]) <= 0) {
        std::fprintf(stderr, "usage: vesk_turn_bench turns N\n");
        return 2;
    }
    const long turns = std::atol(argv[2]);

    // Built as main builds them; event lines would only go to the console.
    COSSLinuxFactory factory;
    CDatabaseErrorStatusMessage errorStatus(&factory);
    factory.SetErrorStatusMessage(&errorStatus);
    MasterBottomTask task(&factory);
    if (task.GetStatus() != SUCCESS) {
        std::fprintf(stderr, "vesk_turn_bench: the task could not be built (%d)\n", task.GetStatus());
        return 1;
    }

    for (long turn = 0; turn < cWarmUpTurns; ++turn) {
        task.RunTurn(0);
    }
    const double cpu0 = NowNs(CLOCK_PROCESS_CPUTIME_ID);
    const double wall0 = NowNs(CLOCK_MONOTONIC);
    for (long turn = 0; turn < turns; ++turn) {
        task.RunTurn(0);
    }
    const double cpu1 = NowNs(CLOCK_PROCESS_CPUTIME_ID);
    const double wall1 = NowNs(CLOCK_MONOTONIC);
    std::printf("task turns=%ld cpu_ns_per_turn=%.0f wall_ns_per_turn=%.0f\n", turns, (cpu1 - cpu0) / turns,
                (wall1 - wall0) / turns);
    return 0;
}
