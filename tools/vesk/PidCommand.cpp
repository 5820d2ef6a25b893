// vesk pid: the process number of the running master bottom task, for
// start-up scripts that keep a PID file of their own.
#include <algorithm>
#include <cstdio>
#include <vector>

#include "Utilities/IOSSFactory.h"
#include "tools/vesk/TaskPidFiles.h"
#include "tools/vesk/ToolCommand.h"

namespace {

int Run(IOSSFactory* pFactory, CToolArgs& Args)
{
    if (!Args.Empty()) {
        return Args.UsageError("unexpected argument " + Args.Peek());
    }
    const char* directory = pFactory->GetEnv("PID_LOCATION");
    if (directory == nullptr || *directory == '\0') {
        return Args.Error(TOOL_UNAVAILABLE, "PID_LOCATION is not set");
    }
    std::vector<int> running;
    for (const CTaskPidFiles::Entry_T& entry : CTaskPidFiles::Find(directory, "IPC_MASTER_BOTTOM_TASK")) {
        if (entry.IsTask) {
            running.push_back(entry.Pid);
        }
    }
    if (running.empty()) {
        return TOOL_FAILED;
    }
    std::printf("%d\n", *std::min_element(running.begin(), running.end()));
    return TOOL_OK;
}

} // namespace

const ToolCommand_T cPidCommand = {
    "pid", "print the PID of the running master bottom task",
    "usage: vesk pid\n"
    "\n"
    "Prints on one line the PID of the running master bottom task: that of a\n"
    "PID file in PID_LOCATION for IPC_MASTER_BOTTOM_TASK whose process is the\n"
    "task's executable (a file naming any other process is stale and ignored).\n"
    "Prints nothing when no task runs.\n"
    "\n"
    "exit: 0 printed; 1 no task runs; 2 wrong command line;\n"
    "      3 PID_LOCATION is not set\n",
    &Run};
