#include "tests/support/ToolRun.h"

#include <sys/wait.h>
#include <unistd.h>

#include "tests/support/TargetCommand.h"

#ifndef VESK_TOOL_BINARY
#define VESK_TOOL_BINARY "vesk"
#endif

ToolRun_T RunTool(const std::vector<std::string>& Args)
{
    int out[2];
    if (pipe(out) != 0) {
        return {-1, "pipe failed"};
    }
    const CTargetCommand command(VESK_TOOL_BINARY, Args);
    const pid_t child = fork();
    if (child == 0) {
        dup2(out[1], STDOUT_FILENO);
        dup2(out[1], STDERR_FILENO);
        close(out[0]);
        close(out[1]);
        command.Exec();
        _exit(127);
    }
    close(out[1]);
    ToolRun_T run{-1, ""};
    char chunk[4096];
    for (ssize_t count; (count = read(out[0], chunk, sizeof(chunk))) > 0;) {
        run.Output.append(chunk, static_cast<size_t>(count));
    }
    close(out[0]);
    int status = 0;
    waitpid(child, &status, 0);
    run.Exit = WIFEXITED(status) ? WEXITSTATUS(status) : -1;
    return run;
}
