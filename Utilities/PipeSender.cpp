#include "Utilities/PipeSender.h"

#include <fcntl.h>
#include <sys/stat.h>

#include <cstdio>
#include <cstring>
#include <memory>

#include "Utilities/ByteBuffer.h"
#include "Utilities/IOSSFactory.h"
#include "Utilities/VeskAssert.h"

VeskEventCode_T PipeSender::Send(IOSSFactory* pFactory, const char* PipeEnvName, const char* Message)
{
    VESK_ASSERT(pFactory);
    VESK_ASSERT(Message);
    VESK_ASSERT(PipeEnvName);

    const char* pipeName = pFactory->GetEnv(PipeEnvName);
    if (pipeName == nullptr) {
        std::printf("PipeSender::Send() PipePath is '%s'; "
                    "Not the name of a valid Environment Variable or it is not set\n",
                    PipeEnvName);
        std::fflush(stdout);
    }
    VESK_ASSERT(
        pipeName && "PipeSender::Send() PipePath is not the name of a valid Environment Variable or it is not set");

    // Read-write: the open succeeds without a reader and never blocks, and
    // never creates anything at the path.
    std::unique_ptr<IOSSFile> pPipe(pFactory->CreatePipe(pipeName, O_RDWR | O_NONBLOCK));
    VESK_ASSERT(pPipe && "PipeSender::Send() Pipe not created");

    VeskEventCode_T status = pPipe->GetLastError();
    // Only a FIFO takes messages: a regular file or a device at the path
    // (the link to one is already refused by the open) would be written to
    // for good. It fails as the task's own command pipe does in its place.
    struct stat kind {};
    if (status == SUCCESS && (fstat(pPipe->GetFileDescriptor(), &kind) != 0 || !S_ISFIFO(kind.st_mode))) {
        status = PIPE_OPEN_FAILURE;
    }
    if (status == SUCCESS) {
        // The view is only read by Write; the text and its NUL go in one write
        // so that messages of several writers never interleave.
        const Buffer_Bytes_T message(const_cast<char*>(Message), std::strlen(Message) + 1);
        if (!pPipe->Write(&message)) {
            status = pPipe->GetLastError();
        }
    }
    return status;
}
