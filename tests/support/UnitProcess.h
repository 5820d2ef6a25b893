#ifndef TESTS_SUPPORT_UNITPROCESS_H
#define TESTS_SUPPORT_UNITPROCESS_H

#include <sys/types.h>

#include <string>

// For tests in a network namespace of their own: the unit's interface,
// eth0 with 10.0.0.2/24 (one end of a veth pair); true when it is up.
bool AddUnitInterface();

// A socket that receives what the task multicasts, as a display unit does
// (group 224.0.0.64, port 3201, on 10.0.0.2); -1 when it cannot be had.
int OpenDisplayReceiver();

// Runs the task executable as the start-up scripts do, its output appended
// to OutputFile; returns the launcher's exit status, -1 when it did not
// exit (an abort). The forked task is not waited for.
int LaunchTask(const std::string& OutputFile);

// The pid a task's PID file in PID_LOCATION names, or -1 when there is none.
pid_t TaskPidFromPidFile();

#endif
