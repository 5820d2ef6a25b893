#ifndef TESTS_SUPPORT_TOOLRUN_H
#define TESTS_SUPPORT_TOOLRUN_H

#include <string>
#include <vector>

// The vesk tool run as a process, as an operator or a service file runs
// it, in this process's environment.
struct ToolRun_T {
    int Exit;
    // Standard output and standard error, interleaved as written.
    std::string Output;

    bool Says(const std::string& Text) const { return Output.find(Text) != std::string::npos; }
};

ToolRun_T RunTool(const std::vector<std::string>& Args);

#endif
