#include "tests/support/ToolRun.h"

#include <poll.h>
#include <signal.h>
#include <sys/resource.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cstdlib>
#include <ctime>

#include "tests/support/TargetCommand.h"

#ifndef VESK_TOOL_BINARY
#define VESK_TOOL_BINARY "vesk"
#endif

namespace {

// Far beyond any run of the tool in these tests, also emulated and under
// sanitizers: only a hang reaches it, and the test then fails instead of
// hanging itself.
constexpr int cGuardMilliseconds = 90000;

long long Milliseconds()
{
    timespec now{};
    clock_gettime(CLOCK_MONOTONIC, &now);
    return static_cast<long long>(now.tv_sec) * 1000 + now.tv_nsec / 1000000;
}

} // namespace

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
        if (std::getenv("VESK_ENV_FILE") == nullptr) {
            setenv("VESK_ENV_FILE", "", 1);
        }
        command.Exec();
        _exit(127);
    }
    close(out[1]);
    ToolRun_T run{-1, ""};
    char chunk[4096];
    const long long deadline = Milliseconds() + cGuardMilliseconds;
    for (;;) {
        pollfd ready{out[0], POLLIN, 0};
        const long long left = deadline - Milliseconds();
        if (left <= 0 || poll(&ready, 1, static_cast<int>(left)) == 0) {
            kill(child, SIGKILL);
            run.Killed = true;
            break;
        }
        const ssize_t count = read(out[0], chunk, sizeof(chunk));
        if (count <= 0) {
            break;
        }
        run.Output.append(chunk, static_cast<size_t>(count));
    }
    close(out[0]);
    int status = 0;
    rusage usage{};
    wait4(child, &status, 0, &usage);
    run.Exit = WIFEXITED(status) ? WEXITSTATUS(status) : -1;
    run.MaxRssKb = usage.ru_maxrss;
    return run;
}
