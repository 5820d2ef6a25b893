#ifndef TESTS_SUPPORT_TOOLRUN_H
#define TESTS_SUPPORT_TOOLRUN_H

#include <string>
#include <vector>

// The vesk tool run as a process, as an operator or a service file runs
// it, in this process's environment. It never reads the unit's installed
// environment file: VESK_ENV_FILE is empty unless the test sets it.
struct ToolRun_T {
    // Exit status; -1 when it did not exit (killed by a signal or the guard).
    int Exit;
    // Standard output and standard error, interleaved as written.
    std::string Output;
    // The run outlived the guard and was killed: a hang, never a slow run.
    bool Killed = false;
    // Peak resident memory of the tool, in KiB.
    long MaxRssKb = 0;

    bool Says(const std::string& Text) const { return Output.find(Text) != std::string::npos; }
};

ToolRun_T RunTool(const std::vector<std::string>& Args);

#endif
