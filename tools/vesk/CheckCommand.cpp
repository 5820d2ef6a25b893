// vesk check: is this unit's configuration one the task can start with?
#include <cstdio>

#include "tools/vesk/DatabaseFileCheck.h"
#include "tools/vesk/RecordFiles.h"
#include "tools/vesk/ToolCommand.h"
#include "tools/vesk/UnitConfigCheck.h"

namespace {

ConfigFindings_T CheckAll(IOSSFactory* pFactory)
{
    ConfigFindings_T findings;
    CUnitConfigCheck unit(pFactory);
    unit.CheckEnvironment(findings);
    unit.CheckInstances(findings);
    CDatabaseFileCheck files(pFactory);
    for (const RecordFileExpectation_T& record : UnitRecordFiles()) {
        files.Check(record, findings);
    }
    files.CheckTransducerFiles(findings);
    return findings;
}

ConfigFindings_T Repair(IOSSFactory* pFactory)
{
    ConfigFindings_T done = CUnitConfigCheck(pFactory).RemoveStalePidFiles();
    CDatabaseFileCheck files(pFactory);
    for (const RecordFileExpectation_T& record : UnitRecordFiles()) {
        files.Repair(record, done);
    }
    return done;
}

void Print(const ConfigFindings_T& Findings, bool Quiet)
{
    for (const ConfigFinding_T& finding : Findings) {
        const bool problem = finding.Severity == ConfigFinding_T::PROBLEM;
        if (problem || !Quiet) {
            std::printf("%s %s: %s%s\n", problem ? "PROBLEM" : "note   ", finding.Subject.c_str(),
                        finding.Text.c_str(), finding.Repairable ? " [repairable]" : "");
        }
    }
}

int Run(IOSSFactory* pFactory, CToolArgs& Args)
{
    bool repair = false;
    bool quiet = false;
    for (bool more = true; more;) {
        if (Args.TakeOption("repair")) {
            repair = true;
        } else if (Args.TakeOption("quiet")) {
            quiet = true;
        } else {
            more = false;
        }
    }
    if (!Args.Empty()) {
        return Args.UsageError("unexpected argument " + Args.Peek());
    }
    if (repair) {
        const ConfigFindings_T done = Repair(pFactory);
        for (const ConfigFinding_T& finding : done) {
            std::printf("%s %s: %s\n", finding.Severity == ConfigFinding_T::PROBLEM ? "PROBLEM" : "repair ",
                        finding.Subject.c_str(), finding.Text.c_str());
        }
    }
    const ConfigFindings_T findings = CheckAll(pFactory);
    Print(findings, quiet);
    size_t problems = 0;
    bool repairable = false;
    bool unset = false;
    for (const ConfigFinding_T& finding : findings) {
        problems += finding.Severity == ConfigFinding_T::PROBLEM ? 1 : 0;
        repairable = repairable || finding.Repairable;
        unset = unset || finding.Unset;
    }
    if (problems == 0) {
        std::printf("check: a start can succeed\n");
        return TOOL_OK;
    }
    std::printf("check: %zu problem%s; the task would not start cleanly%s\n", problems, problems == 1 ? "" : "s",
                repairable ? " (vesk check --repair moves aside what is marked repairable)" : "");
    // Without a variable the task needs, what it names could not be looked at.
    return unset ? TOOL_UNAVAILABLE : TOOL_FAILED;
}

} // namespace

const ToolCommand_T cCheckCommand = {
    "check", "check the unit's configuration before a start; --repair fixes record and PID files",
    "usage: vesk check [--repair] [--quiet]\n"
    "\n"
    "Checks what the master bottom task needs from its environment: every\n"
    "variable it reads (set and sensible), the directories (present, writable),\n"
    "the pipes (FIFOs), an interface with a 10.x.x.x address to send from, no\n"
    "instance already running, every record file (a regular file with the\n"
    "record's id, size field, version and serial number) and the legacy\n"
    "transducer files. Each finding names the variable or path concerned.\n"
    "PROBLEM lines stop a clean start; notes do not (a missing record file, for\n"
    "example, is created with its defaults). Files are opened without following\n"
    "links or blocking, and never read past what a record holds.\n"
    "\n"
    "--repair  first moves aside, to NAME.bad-1, NAME.bad-2, ... beside it, each\n"
    "          record file the task would abort on or could not use (a wrong id\n"
    "          or size field, a directory, FIFO, link, device or socket at its\n"
    "          name; the next start recreates it with its defaults), removes PID\n"
    "          files whose process is not the task, and says what it did\n"
    "--quiet   prints problems only\n"
    "\n"
    "exit: 0 a start can succeed; 1 problems remain; 2 wrong command line;\n"
    "      3 a variable the task needs is not set\n",
    &Run};
