#include "tools/vesk/StopSignal.h"

#include <signal.h>
#include <time.h>

namespace {

volatile sig_atomic_t gStop = 0;

void OnSignal(int)
{
    gStop = 1;
}

} // namespace

void CatchStopSignals()
{
    struct sigaction action {};
    action.sa_handler = OnSignal;
    sigaction(SIGTERM, &action, nullptr);
    sigaction(SIGINT, &action, nullptr);
}

bool StopRequested()
{
    return gStop != 0;
}

void SleepMs(long Milliseconds)
{
    timespec delay{Milliseconds / 1000, (Milliseconds % 1000) * 1000000L};
    nanosleep(&delay, nullptr);
}
