// vesk send: puts one command into a task's pipe, the way the other tasks
// do, and optionally waits for its effect.
#include <fcntl.h>
#include <poll.h>
#include <unistd.h>

#include <cerrno>
#include <cstdio>
#include <cstring>
#include <ctime>
#include <string>

#include "Utilities/IOSSFactory.h"
#include "Utilities/PipeSender.h"
#include "tools/vesk/TaskPidFiles.h"
#include "tools/vesk/ToolCommand.h"

namespace {

const char* const cAlive = "Are You Alive?";
const char* const cShutdown = "Shutdown";

std::string CommandText(const std::string& Word)
{
    if (Word == "alive") {
        return cAlive;
    }
    if (Word == "shutdown") {
        return cShutdown;
    }
    return Word;
}

double Now()
{
    timespec now{};
    clock_gettime(CLOCK_MONOTONIC, &now);
    return static_cast<double>(now.tv_sec) + static_cast<double>(now.tv_nsec) / 1e9;
}

bool AnyAlive(const std::string& PidDirectory, const std::string& Pipe)
{
    for (const CTaskPidFiles::Entry_T& entry : CTaskPidFiles::Find(PidDirectory, Pipe)) {
        if (entry.IsTask) {
            return true;
        }
    }
    return false;
}

// Waits until no running task announces itself on Pipe any more (a task
// that died without removing its file has ended too).
bool WaitForEnd(const std::string& PidDirectory, const std::string& Pipe, double Seconds)
{
    const double end = Now() + Seconds;
    while (AnyAlive(PidDirectory, Pipe)) {
        if (Now() >= end) {
            return false;
        }
        usleep(50000);
    }
    return true;
}

// Reads NUL-terminated messages from the error handler's pipe until an
// acknowledgement arrives; prints it.
bool WaitForAck(int Fd, double Seconds)
{
    const double end = Now() + Seconds;
    std::string message;
    for (double left; (left = end - Now()) > 0;) {
        pollfd ready{Fd, POLLIN, 0};
        if (poll(&ready, 1, static_cast<int>(left * 1000) + 1) <= 0) {
            continue;
        }
        char byte;
        while (read(Fd, &byte, 1) == 1) {
            if (byte != '\0') {
                message += byte;
                continue;
            }
            if (message.find(":ACK_") != std::string::npos) {
                std::printf("acknowledged: %s\n", message.c_str());
                return true;
            }
            message.clear();
        }
    }
    return false;
}

int Run(IOSSFactory* pFactory, CToolArgs& Args)
{
    std::string pipe = "IPC_MASTER_BOTTOM_TASK";
    std::string waitText;
    bool wait = false;
    bool force = false;
    for (bool more = true; more;) {
        if (Args.TakeOption("to", &pipe, true)) {
        } else if (Args.TakeOption("wait", &waitText)) {
            wait = true;
        } else if (Args.TakeOption("force")) {
            force = true;
        } else {
            more = false;
        }
    }
    if (Args.Empty() || Args.Peek().compare(0, 2, "--") == 0) {
        return Args.UsageError(Args.Empty() ? "what to send is missing" : "unknown option " + Args.Peek());
    }
    const std::string text = CommandText(Args.Take());
    if (!Args.Empty()) {
        return Args.UsageError("one command at a time (quote a text with blanks)");
    }
    long long seconds = 15;
    if (!waitText.empty() && !ParseNumber(waitText, 1, 3600, seconds)) {
        return Args.UsageError("--wait takes whole seconds, 1 to 3600");
    }
    const bool alive = text.compare(0, std::strlen(cAlive), cAlive) == 0;
    const bool shutdown = text.compare(0, std::strlen(cShutdown), cShutdown) == 0;
    if (wait && !alive && !shutdown) {
        return Args.UsageError("--wait waits for \"Are You Alive?\" or \"Shutdown\" only");
    }
    if (text.empty() || text.size() > 510) {
        return Args.UsageError("a command has 1 to 510 characters");
    }
    if (pFactory->GetEnv(pipe.c_str()) == nullptr) {
        return Args.Error(TOOL_UNAVAILABLE, pipe + " is not set");
    }
    const char* pidDirectory = pFactory->GetEnv("PID_LOCATION");
    // A command nobody reads stays in the FIFO and is served by the next
    // start: a left-over "Shutdown" would stop it at once.
    if (!force && pidDirectory != nullptr && !AnyAlive(pidDirectory, pipe)) {
        return Args.Error(TOOL_FAILED, "no running task serves " + pipe + " (PID_LOCATION " + pidDirectory +
                                           "): nothing sent; --force sends all the same");
    }
    if (wait && shutdown && pidDirectory == nullptr) {
        return Args.Error(TOOL_UNAVAILABLE, "PID_LOCATION is not set: the end of the task cannot be seen");
    }

    int ackFd = -1;
    if (wait && alive) {
        const char* errorHandler = pFactory->GetEnv("IPC_ERROR_HANDLER_TASK");
        if (errorHandler == nullptr) {
            return Args.Error(TOOL_UNAVAILABLE, "IPC_ERROR_HANDLER_TASK is not set: the answer cannot be seen");
        }
        // Opened before sending, so the answer cannot pass unseen.
        ackFd = open(errorHandler, O_RDONLY | O_NONBLOCK);
        if (ackFd < 0) {
            return Args.Error(TOOL_UNAVAILABLE, std::string(errorHandler) + ": " + std::strerror(errno));
        }
    }
    const VeskEventCode_T sent = PipeSender::Send(pFactory, pipe.c_str(), text.c_str());
    if (sent != SUCCESS) {
        if (ackFd >= 0) {
            close(ackFd);
        }
        return Args.Error(TOOL_FAILED, "cannot write to " + std::string(pFactory->GetEnv(pipe.c_str())) + ": " +
                                           std::strerror(sent > 0 ? sent : EIO));
    }
    if (!wait) {
        return TOOL_OK;
    }
    if (alive) {
        const bool answered = WaitForAck(ackFd, static_cast<double>(seconds));
        close(ackFd);
        return answered ? TOOL_OK : Args.Error(TOOL_FAILED, "no acknowledgement within " + waitText + " s");
    }
    if (!WaitForEnd(pidDirectory, pipe, static_cast<double>(seconds))) {
        return Args.Error(TOOL_FAILED, "the task still runs after " + std::to_string(seconds) + " s");
    }
    std::printf("the task has ended\n");
    return TOOL_OK;
}

} // namespace

const ToolCommand_T cSendCommand = {
    "send", "write a command into a task's pipe; --wait for its answer or end",
    "usage: vesk send [--to VARIABLE] [--wait[=SECONDS]] [--force] COMMAND\n"
    "\n"
    "Writes COMMAND, NUL-terminated, into the pipe named by VARIABLE\n"
    "(default IPC_MASTER_BOTTOM_TASK). COMMAND is any text; 'alive' and\n"
    "'shutdown' stand for \"Are You Alive?\" and \"Shutdown\".\n"
    "\n"
    "Nothing is sent when PID_LOCATION shows no running task on that pipe (a\n"
    "command left in the FIFO would be served by the next start); a PID file\n"
    "counts only when its process is the task. --force sends all the same.\n"
    "\n"
    "--wait[=SECONDS] (default 15):\n"
    "  \"Are You Alive?\"  waits for the acknowledgement on IPC_ERROR_HANDLER_TASK\n"
    "                    (only where no error handler task reads that pipe)\n"
    "  \"Shutdown\"        waits until no PID file names a running task\n"
    "\n"
    "exit: 0 sent (and answered); 1 not sent, or no answer in time;\n"
    "      2 wrong command line; 3 pipe variable unset or pipe unusable\n",
    &Run};
