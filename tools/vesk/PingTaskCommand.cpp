// vesk ping-task: a stand-in for a ping task, writing its local bottom
// record the way the real one does, for running the master bottom task on
// a development machine.
#include <cstdio>
#include <vector>

#include "Database/DatabaseLocalBottomRecord.h"
#include "tools/vesk/StopSignal.h"
#include "tools/vesk/ToolCommand.h"

namespace {

struct Bottom_T {
    long long State;
    long long Depth;
};

bool ParseBottom(const std::string& Text, Bottom_T& Bottom)
{
    const size_t colon = Text.find(':');
    return colon != std::string::npos && ParseNumber(Text.substr(0, colon), 0, 255, Bottom.State) &&
           ParseNumber(Text.substr(colon + 1), INT32_MIN, INT32_MAX, Bottom.Depth);
}

int Run(IOSSFactory* pFactory, CToolArgs& Args)
{
    long long intervalMs = 700;
    long long count = 0;
    std::string value;
    for (bool more = true; more;) {
        if (Args.TakeOption("interval", &value, true)) {
            if (!ParseNumber(value, 1, 3600000, intervalMs)) {
                return Args.UsageError("--interval takes milliseconds, 1 to 3600000");
            }
        } else if (Args.TakeOption("count", &value, true)) {
            if (!ParseNumber(value, 1, 1000000, count)) {
                return Args.UsageError("--count takes a number of steps, 1 to 1000000");
            }
        } else {
            more = false;
        }
    }
    if (Args.Empty()) {
        return Args.UsageError("the file extension is missing");
    }
    const std::string extension = Args.Take();
    std::vector<Bottom_T> bottoms;
    for (const std::string& text : Args.Rest()) {
        Bottom_T bottom{};
        if (!ParseBottom(text, bottom)) {
            return Args.UsageError("'" + text + "' is not STATE:DEPTH");
        }
        bottoms.push_back(bottom);
    }
    if (bottoms.empty()) {
        return Args.UsageError("no bottoms given");
    }
    if (pFactory->GetEnv("NONPERSISTED_DATABASE_ROOT") == nullptr) {
        return Args.Error(TOOL_UNAVAILABLE, "NONPERSISTED_DATABASE_ROOT is not set");
    }

    CatchStopSignals();
    CDatabaseLocalBottomRecord record(pFactory, extension.c_str());
    for (long long step = 0; !StopRequested() && (count == 0 || step < count); ++step) {
        const Bottom_T& bottom = bottoms[static_cast<size_t>(step) % bottoms.size()];
        record.SetState(static_cast<uint8_t>(bottom.State));
        record.SetDepth(static_cast<int32_t>(bottom.Depth));
        // The master bottom task may hold the file for a moment: try again.
        VeskEventCode_T stored;
        while ((stored = record.writeDB()) == FILE_ACCESS_DENIED && !StopRequested()) {
            SleepMs(1);
        }
        if (stored != SUCCESS && stored != FILE_ACCESS_DENIED) {
            return Args.Error(TOOL_FAILED, std::string("cannot write ") + record.GetDBFilePath());
        }
        if (count == 0 || step + 1 < count) {
            SleepMs(static_cast<long>(intervalMs));
        }
    }
    return TOOL_OK;
}

} // namespace

const ToolCommand_T cPingTaskCommand = {
    "ping-task", "stand-in for a ping task: writes its local bottom record in steps",
    "usage: vesk ping-task [--interval MS] [--count N] EXTENSION STATE:DEPTH...\n"
    "\n"
    "Writes \"LocalBottomState<EXTENSION>.txt\" in NONPERSISTED_DATABASE_ROOT,\n"
    "stepping through the given bottoms every MS milliseconds (default 700),\n"
    "round and round until stopped (SIGINT, SIGTERM) or N steps are written.\n"
    "STATE 2 is a valid bottom, 0 a ping task not in use, any other in use\n"
    "without a bottom; DEPTH is a signed 32-bit number.\n"
    "\n"
    "exit: 0 stopped; 1 the record could not be written; 2 wrong command line;\n"
    "      3 NONPERSISTED_DATABASE_ROOT unset\n",
    &Run};
