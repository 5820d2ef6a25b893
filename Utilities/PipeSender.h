#ifndef UTILITIES_PIPESENDER_H
#define UTILITIES_PIPESENDER_H

#include "Utilities/VeskEventCode.h"

class IOSSFactory;

// Puts one message into another task's named pipe.
class PipeSender {
public:
    PipeSender() = delete;

    // Opens the pipe whose path is the value of the environment variable
    // PipeEnvName (read-write, so the open neither blocks nor needs a reader;
    // non-blocking, so a full pipe fails instead of hanging), writes Message
    // and its NUL in one write, and closes it again. Returns 0 or the errno of
    // the failed open or write (ELOOP for a symbolic link at the path), or
    // PIPE_OPEN_FAILURE when what was opened is no FIFO; a short write is not
    // detected. An unset variable is a deployment error and aborts.
    static VeskEventCode_T Send(IOSSFactory* pFactory, const char* PipeEnvName, const char* Message);
};

#endif
