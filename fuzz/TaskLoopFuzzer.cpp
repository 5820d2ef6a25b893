// The task's loop fed through its real command pipe: any bytes at all,
// written into the FIFO as another process would, then read, split and
// acted on by the running loop, which recomputes, stores and broadcasts the
// master bottom on every turn.
//
// Each input is followed by a terminator and "Shutdown", so that every run
// ends; the loop must end there (or at an earlier "Shutdown" in the input)
// with the shutdown code, whatever came before. Inputs are kept short (the
// loop turns once per message and reads a byte at a time): what matters is
// the variety of messages, not their bulk.
#include <fcntl.h>
#include <unistd.h>

#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <memory>

#include "fuzz/FuzzUnit.h"
#include "tasks/MasterBottomTask/MasterBottomTask.h"

namespace {

constexpr size_t cMaxInput = 256;
const char cShutdown[] = "\0Shutdown";  // with its own terminator: 10 bytes

// Reads a FIFO empty without blocking.
void Drain(const char* Path)
{
    const int fd = open(Path, O_RDONLY | O_NONBLOCK);
    uint8_t bytes[4096];
    while (fd >= 0 && read(fd, bytes, sizeof(bytes)) > 0) {
    }
    if (fd >= 0) {
        close(fd);
    }
}

} // namespace

extern "C" int LLVMFuzzerInitialize(int*, char***)
{
    FuzzUnit::Prepare();
    return 0;
}

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* Data, size_t Size)
{
    static const char* const pipe = std::getenv("IPC_MASTER_BOTTOM_TASK");
    static const char* const errorHandler = std::getenv("IPC_ERROR_HANDLER_TASK");
    // Held open for reading too, as the task holds it, so that the pipe
    // keeps its bytes between tasks and a write never waits for a reader.
    static const int writer = open(pipe, O_RDWR | O_NONBLOCK);
    FuzzUnit::Require(writer >= 0, "the command pipe cannot be written");

    if (Size > cMaxInput) {
        return 0;
    }
    // One task, built as main builds it, turns its loop for every input (a
    // task starts only once, and building it costs far more than its
    // turns): the turns of Start's loop, without its PID file and events.
    static const std::unique_ptr<MasterBottomTask> task = [] {
        std::unique_ptr<MasterBottomTask> built(new MasterBottomTask(FuzzUnit::Factory()));
        FuzzUnit::Require(built->GetStatus() == SUCCESS, "the task could not be built");
        return built;
    }();
    FuzzUnit::Require(write(writer, Data, Size) == static_cast<ssize_t>(Size), "the input did not fit the pipe");
    FuzzUnit::Require(write(writer, cShutdown, sizeof(cShutdown)) == sizeof(cShutdown), "no room for Shutdown");
    // Every turn takes at least one message of at least one byte off the
    // pipe, so the loop must end within as many turns as there are bytes.
    VeskEventCode_T result = SUCCESS;
    for (size_t turns = 0; result == SUCCESS; ++turns) {
        FuzzUnit::Require(turns <= Size + sizeof(cShutdown), "the loop did not end on Shutdown");
        result = task->RunTurn(0);
    }
    FuzzUnit::Require(result == SHUTDOWN_TASK_REQUEST, "the loop ended on something else than Shutdown");

    // What an earlier "Shutdown" left unread, and the acknowledgements.
    Drain(pipe);
    Drain(errorHandler);
    return 0;
}
