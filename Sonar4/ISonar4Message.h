#ifndef SONAR4_ISONAR4MESSAGE_H
#define SONAR4_ISONAR4MESSAGE_H

#include <cstddef>

#include "Utilities/ByteBuffer.h"
#include "Utilities/VeskEventCode.h"

// The codec's handle on one message id. Each implementation holds the
// record of its message and forwards to it: the record owns the file, the
// defaults and the checks, the message only gives the codec a uniform handle.
class ISonar4Message {
public:
    virtual ~ISonar4Message() = default;

    // Size in bytes of the message's packet; a constant per class.
    virtual size_t GetPacketSize() const = 0;
    // Accepts a received packet of this id (Buffer must not be null).
    virtual VeskEventCode_T DecodeMessage(const Buffer_Bytes_T* Buffer) = 0;
    // Re-reads the record and copies its packet into Buffer, whose size must
    // be at least GetPacketSize(); on success the size is the bytes written.
    virtual VeskEventCode_T CreateMessage(Buffer_Bytes_T* Buffer) = 0;
    // Full path of the record file; null for a message without a record.
    virtual const char* GetDBFilePath() const = 0;

protected:
    ISonar4Message() = default;
    ISonar4Message(const ISonar4Message&) = delete;
    ISonar4Message& operator=(const ISonar4Message&) = delete;
};

#endif
