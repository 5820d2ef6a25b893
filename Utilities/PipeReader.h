#ifndef UTILITIES_PIPEREADER_H
#define UTILITIES_PIPEREADER_H

#include "Utilities/ByteBuffer.h"
#include "Utilities/IOSSFile.h"
#include "Utilities/VeskEventCode.h"

// Takes one message off a command pipe.
class CPipeReader {
public:
    // Reads Pipe one byte per call up to and including Terminator, so that
    // the next message stays in the pipe. Buffer->size() on entry is the room
    // available; on return it is the number of bytes stored (terminator
    // included). Nothing is stored beyond that room.
    //
    // Returns:
    //  - SUCCESS after the terminator; also when a non-blocking pipe ran
    //    empty (EAGAIN) after at least one byte: the message is then
    //    unterminated, so callers hand in a zeroed buffer;
    //  - PIPE_MESSAGE_TOO_LONG when the room is used up, even if the last byte
    //    stored is the terminator; the rest of the message stays in the pipe.
    //    At end of file the byte last read is stored again until the room is
    //    full; when nothing was read it is a 0, which a 0 terminator takes
    //    for the end of a one-byte message (SUCCESS);
    //  - otherwise the pipe's errno (EAGAIN for an empty non-blocking pipe).
    VeskEventCode_T ReadPipeMessage(IOSSFile* Pipe, Buffer_Bytes_T* Buffer, char Terminator) const;
};

#endif
