#include "Utilities/PipeReader.h"

#include <cerrno>
#include <cstddef>
#include <cstdint>

#include "Utilities/VeskAssert.h"

VeskEventCode_T CPipeReader::ReadPipeMessage(IOSSFile* Pipe, Buffer_Bytes_T* Buffer, char Terminator) const
{
    VESK_ASSERT(Pipe);
    VESK_ASSERT(Buffer);

    // The room on entry never exceeds the view's capacity (the view enforces
    // that), so storing below it stays inside the caller's memory.
    const size_t room = Buffer->size();
    if (room == 0) {
        return PIPE_MESSAGE_TOO_LONG;
    }
    VESK_ASSERT(Buffer->ptr());

    // The one-byte view is set up once. A read at end of file sets its size
    // to 0, so every later read asks for nothing and succeeds at once, and
    // the byte last read (0 when none was) is stored again and again until
    // the terminator or the full room ends the message. Pipes opened for
    // reading and writing, as command pipes are, never reach end of file.
    uint8_t byte = 0;
    Buffer_Bytes_T oneByte(&byte, sizeof(byte));
    size_t count = 0;
    bool readFailed = false;

    for (;;) {
        if (!Pipe->Read(&oneByte)) {
            readFailed = true;
            break;
        }
        Buffer->ptr()[count] = byte;
        ++count;
        if (count >= room) {
            Buffer->size(count);
            return PIPE_MESSAGE_TOO_LONG;
        }
        if (byte == static_cast<uint8_t>(Terminator)) {
            break;
        }
    }

    VeskEventCode_T result = SUCCESS;
    if (readFailed) {
        const int error = Pipe->GetLastError();
        // A writer's message is one write, so running dry part-way through
        // only happens when the writer sent no terminator; take what came.
        result = (error == EAGAIN && count > 0) ? SUCCESS : error;
    }
    Buffer->size(count);
    return result;
}
