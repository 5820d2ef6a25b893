#ifndef TOOLS_VESK_STOPSIGNAL_H
#define TOOLS_VESK_STOPSIGNAL_H

// For the subcommands that run until they are stopped: SIGINT and SIGTERM
// set a flag that their loops test, so they end cleanly and say so.
void CatchStopSignals();
bool StopRequested();
// Sleeps, cut short by a stop signal.
void SleepMs(long Milliseconds);

#endif
