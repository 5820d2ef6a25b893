// Taking one 20-byte command off a real FIFO, a byte per read as the task
// does.
#include <fcntl.h>
#include <unistd.h>

#include <cerrno>
#include <cstring>
#include <memory>
#include <string>

#include <benchmark/benchmark.h>

#include "Utilities/ByteBuffer.h"
#include "Utilities/IOSSFactory.h"
#include "Utilities/PipeReader.h"
#include "bench/BenchUnit.h"

namespace {

// 19 characters and the NUL: an acknowledgement as the error handler's
// pipe carries them.
constexpr char cMessage[] = "ACK_PrimaryPingTask";
static_assert(sizeof(cMessage) == 20, "a 20-byte message");
// Messages written at a time, well inside the pipe's capacity.
constexpr size_t cBatch = 1000;

void BM_ReadPipeMessage(benchmark::State& state)
{
    // A FIFO of its own per run, so that no message is left over from the
    // run before.
    static int run = 0;
    const std::string path = BenchUnit::MakeFifo("Bench" + std::to_string(run++) + ".fifo");
    // The reader first: a non-blocking writer cannot open a FIFO nobody reads.
    const std::unique_ptr<IOSSFile> pipe(BenchUnit::Factory()->CreatePipe(path.c_str(), O_RDONLY | O_NONBLOCK));
    const int writer = open(path.c_str(), O_WRONLY | O_NONBLOCK);
    unlink(path.c_str());
    if (pipe->GetLastError() != 0 || writer < 0) {
        state.SkipWithError("cannot open the FIFO");
        return;
    }
    std::string batch;
    for (size_t i = 0; i < cBatch; ++i) {
        batch.append(cMessage, sizeof(cMessage));
    }

    const CPipeReader reader;
    Pipe_Buffer_T message;
    size_t pending = 0;
    for (auto _ : state) {
        if (pending == 0) {
            state.PauseTiming();
            const ssize_t written = write(writer, batch.data(), batch.size());
            state.ResumeTiming();
            if (written != static_cast<ssize_t>(batch.size())) {
                state.SkipWithError("cannot fill the FIFO");
                break;
            }
            pending = cBatch;
        }
        message.Reset();
        if (reader.ReadPipeMessage(pipe.get(), &message, '\0') != SUCCESS || message.size() != sizeof(cMessage)) {
            state.SkipWithError("message not read whole");
            break;
        }
        --pending;
    }
    state.SetBytesProcessed(static_cast<int64_t>(state.iterations() * sizeof(cMessage)));
    close(writer);
}
BENCHMARK(BM_ReadPipeMessage);

} // namespace
